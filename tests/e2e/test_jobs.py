"""Several threads: whatever the file, they give what one gives, and end when one ends."""
import os
import random
import struct
import subprocess

from harness import SAMPLE, TOOL, FileTest, captures, dcap, repeat_frames, write_capture

COMMANDS = (["dump"], ["dump", "--format", "jsonl"], ["dump", "--format", "canonical"],
            ["dump", "--frames", "2,4-7,9-"], ["info", "--scan"])


def results(jobs, command, path):
    done = subprocess.run([TOOL, "-v", *command, "--jobs", str(jobs), path], capture_output=True)
    return done.returncode, done.stdout, done.stderr


class Jobs(FileTest):
    def write(self, frames, *calls):
        write_capture(self.out, *calls)
        repeat_frames(self.out, self.file, frames)

    def compare(self, path, commands=COMMANDS):
        """The exit statuses of the commands, having compared all they give."""
        statuses = []
        for command in commands:
            one, several = (results(jobs, command, path) for jobs in (1, 4))
            if one != several:
                raise AssertionError(f"{command} {path}: {one[0]}, {several[0]}\n"
                                     f"{one[2][-500:]}\n{several[2][-500:]}")
            statuses.append(one[0])
        return statuses

    def test_captures_give_the_same(self):
        for path in (SAMPLE, *captures(finished=False).values()):
            self.assertEqual(self.compare(path), [0] * len(COMMANDS))

    def test_damaged_captures_give_the_same(self):
        draw = random.Random(1)
        sources = [path.read_bytes()[:60000] for path in (SAMPLE, *captures().values())]
        failures = 0
        for i in range(30):
            data = bytearray(draw.choice(sources))
            struct.pack_into("<IQ", data, 20, draw.randrange(100), len(data))
            for _ in range(draw.randrange(1, 12)):
                data[draw.randrange(32, len(data))] = draw.choice((0, 1, 2, 5, 255))
            self.file.write_bytes(data[:len(data) - draw.choice((0, 0, 1, 1000))])
            failures += any(self.compare(self.file, [COMMANDS[i % 4], COMMANDS[4]]))
        self.assertGreater(failures, 5)

    def test_floods_of_warnings_are_cut_short_in_the_same_places(self):
        self.write(50, *[(0x9003 + i % 7, b"12") for i in range(3000)])
        self.assertEqual(self.compare(self.file, [["dump"]]), [0])
        self.assertIn(b"repeated", results(3, ["dump"], self.file)[2])

    def test_a_reader_that_has_enough_ends_them(self):
        self.write(200, *[(0x9003, struct.pack("<II", 0x8892, i)) for i in range(3000)])
        with subprocess.Popen([TOOL, "dump", "--jobs", "3", self.file], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, restore_signals=False) as tool:
            tool.stdout.read(1000)
            tool.stdout.close()
            self.assertEqual(tool.wait(timeout=120), 0)
            self.assertEqual(tool.stderr.read(), b"")

    def test_a_file_that_shrinks_while_it_is_read_is_damaged(self):
        for jobs in ("1", "3"):
            self.write(200, *[(0x9003, struct.pack("<II", 0x8892, i)) for i in range(3000)])
            with subprocess.Popen([TOOL, "dump", "--jobs", jobs, self.file], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE) as tool:
                tool.stdout.read(1000)
                os.truncate(self.file, self.file.stat().st_size // 2)
                self.assertTrue(tool.stdout.read().endswith(b"\n"))
                self.assertEqual(tool.wait(timeout=120), 1)
                self.assertRegex(tool.stderr.read().decode(), "frame 1[0-9][0-9] .*: Could not read")

    def test_pipes_are_read_by_one(self):
        with SAMPLE.open("rb") as file, subprocess.Popen(["cat"], stdin=file, stdout=subprocess.PIPE) as cat:
            self.assertEqual(dcap("dump", "--jobs", "3", "/dev/stdin", stdin=cat.stdout), dcap("dump", SAMPLE))
