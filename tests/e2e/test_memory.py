"""Memory: what a dump needs does not grow with the capture."""
import os
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import CAPTURES, TOOL, captures, main, write_capture

MIB = 1 << 20
FORMATS = ("text", "jsonl", "canonical")


def repeat_frames(source, target, size):
    """A capture of about `size` bytes: the blocks of another again and again."""
    data = source.read_bytes()
    times = size // (len(data) - 32)
    frames, = struct.unpack_from("<I", data, 20)
    with target.open("wb") as file:
        file.write(data[:20] + struct.pack("<IQ", frames * times, 32 + times * (len(data) - 32)))
        for _ in range(times):
            file.write(data[32:])


def peak(*arguments):
    """The most memory that the tool had in use, in bytes, by the time it had written all."""
    with subprocess.Popen([TOOL, *map(str, arguments)], stdout=subprocess.PIPE) as process:
        most = 0
        while os.read(process.stdout.fileno(), MIB // 4):
            status = Path(f"/proc/{process.pid}/status").read_text()
            marks = [line for line in status.splitlines() if line.startswith("VmHWM:")]
            most = max([most, *(int(line.split()[1]) * 1024 for line in marks)])
    if process.returncode:
        raise AssertionError(f"{arguments}: exit status {process.returncode}")
    return most


@unittest.skipIf(os.environ.get("DCAPKIT_TEST_KIND"), "only the plain build is frugal")
class Memory(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name) / "large.dcap"

    def check(self, *arguments, largest):
        used = peak(*arguments, self.file)
        self.assertGreater(used, 0)
        self.assertLess(used, 16 * MIB + 2 * largest)

    @unittest.skipUnless(captures(), "no captures here")
    def test_many_frames_need_no_more_than_few(self):
        repeat_frames(CAPTURES / "video.dcap", self.file, 200 * MIB)
        for form in FORMATS:
            with self.subTest(form):
                self.check("dump", "--format", form, largest=0)

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


if __name__ == "__main__":
    main()
