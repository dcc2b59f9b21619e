"""Memory: what a dump needs does not grow with the capture."""
import os
import struct
import subprocess
import sys
import unittest

from harness import CAPTURES, TOOL, FileTest, repeat_frames, write_capture

MIB = 1 << 20
FORMATS = ("text", "jsonl", "canonical")


# Runs a command and prints its exit status and the most memory, in KiB, that it had in use. As an
# interpreter of its own, since the memory of the one that starts the command counts, too.
METER = """
import os, resource, sys
child = os.fork()
if child == 0:
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
    os.execv(sys.argv[1], sys.argv[1:])
status = os.waitpid(child, 0)[1]
print(status, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
"""


def peak(*arguments):
    """The most memory, in bytes, that the tool uses to write to /dev/null."""
    done = subprocess.run([sys.executable, "-ISc", METER, TOOL, *map(str, arguments)], check=True, capture_output=True)
    status, kib = map(int, done.stdout.split())
    if status:
        raise AssertionError(f"{arguments}: {done.stderr.decode()}")
    return kib * 1024


@unittest.skipIf(os.environ.get("DCAPKIT_TEST_KIND"), "only the plain build is frugal")
class Memory(FileTest):
    def check(self, *arguments, largest, file=None):
        self.assertLess(peak(*arguments, file or self.file), 16 * MIB + 2 * largest)

    def test_many_frames_need_no_more_than_few(self):
        source = CAPTURES / "two-contexts-threads.dcap"
        repeat_frames(source, self.file, 200 * MIB // source.stat().st_size)
        for form in FORMATS:
            with self.subTest(form):
                self.check("dump", "--format", form, largest=0)
        for form in ((), ("--json",), ("--per-frame",)):
            with self.subTest(form):
                self.check("stats", *form, largest=0)

    def test_a_large_payload_is_held_twice_at_most(self):
        size = 24 * MIB
        text, numbers = b"line\n" * (size // 5), struct.pack("<4f", 1, 0.1, -1e20, 3) * (size // 16)
        for kind, call in {
                "bytes": (0x900C, struct.pack("<4I", 0x8892, size, 2, len(text)) + text + bytes(4)),
                "string": (0x9062, struct.pack("<IiIIII", 1, 1, 6, 1, 4, len(text)) + text + bytes(4)),
                "array": (0x9070, struct.pack("<iiII", 0, size // 4, 2, size // 4) + numbers)}.items():
            write_capture(self.file, call)
            for form in FORMATS:
                with self.subTest(kind, form=form):
                    self.check("dump", "--format", form, largest=len(call[1]))

    def test_what_is_only_claimed_needs_no_memory(self):
        size = 200 * MIB
        for kind, call in {
                "bytes": (0x900C, struct.pack("<5I", 0x8892, size, 2, size, 7)),
                "unrecorded": (0x900C, struct.pack("<5I", 0x8892, size, 0x12, size, 7)),
                "string": (0x9062, struct.pack("<7I", 1, 1, 6, 1, 4, size, 7)),
                "array": (0x9070, struct.pack("<5I", 0, size // 4, 2, size // 4, 7)),
                "flush": (0x90A9, struct.pack("<7I", 1, 0, size, 2, 4, 7, 7)),
                "vertices": (0x9028, struct.pack("<13I", 4, 0, 3, 1, 0x908C, 0, 4, 0x1406, 0, 0, 0, 2, size) +
                             bytes(4))}.items():
            write_capture(self.file, call)
            for form in FORMATS:
                with self.subTest(kind, form=form):
                    self.check("dump", "--format", form, largest=0)

    def test_threads_do_not_hold_large_payloads_at_once(self):
        size = 24 * MIB
        call = struct.pack("<4I", 0x8892, size, 2, size) + b"bytes of data\n\n\n" * (size // 16) + bytes(4)
        write_capture(self.file, (0x900C, call))
        repeat_frames(self.file, self.out, 6)
        self.check("dump", "--jobs", "2", largest=size, file=self.out)
