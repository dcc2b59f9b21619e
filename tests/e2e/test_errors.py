"""What is said about a damaged capture: where, why, and what can be done."""
import os
import subprocess
from pathlib import Path

from harness import SAMPLE, TOOL, FileTest, frames, run

DATA = SAMPLE.read_bytes()
PREFIX = "DCAP file processing failed: "
FRAMES = [frame["offset"] for frame in frames(SAMPLE)]


def number(frame):
    """The recorded number of a frame, as the tool tells it."""
    return f"(number {int.from_bytes(DATA[frame + 6:frame + 10], 'little')})"


class Errors(FileTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / "it's broken.dcap"
        self.readers = (["dump"], ["stats", "--json"], ["dump", "--format", "jsonl"],
                        *([command, "-o", self.out] for command in ("repack", "trim", "cat")))

    def damage(self, offset, data):
        self.file.write_bytes(DATA[:offset] + data + DATA[offset + len(data):])

    def check(self, told, commands, saves=0):
        """Each command ends with this error, and tells how to save the frames before, if any."""
        expected = [f"dcap: {self.file}: {told}"]
        if saves:
            quoted = str(self.file).replace("'", "'\\''")
            expected.append("dcap: To save what comes before: "
                            f"dcap trim --frames 0-{saves} -o saved.dcap '{quoted}'")
        for command in commands:
            with self.subTest(command):
                lines = run(*command, self.file, status=1).stderr.decode().splitlines()
                self.assertEqual([line for line in lines if ": damaged: " not in line], expected)

    def test_damage_inside_a_frame_is_told_with_offset_frame_and_number(self):
        frame = FRAMES[2]
        self.damage(frame + 12, b"\xff\xff\xff\x7f")
        place = f"in frame 3 {number(frame)}"
        self.check(f"offset {frame + 20}: {place}: {PREFIX}Could not read sub-block data.",
                   (*self.readers, ["info", "--scan"]), saves=2)

    def test_damage_between_frames_is_told_by_the_frame_before(self):
        frame = FRAMES[2]
        self.damage(frame + 2, b"\x07\0\0\0")
        place = f"after frame 2 {number(FRAMES[1])}"
        self.check(f"offset {frame + 6}: {place}: {PREFIX}Block trailer is not present.",
                   (*self.readers, ["info"], ["frames"]), saves=2)

    def test_damage_at_the_start_leaves_nothing_to_save(self):
        self.damage(34, b"\x07\0\0\0")
        self.check(f"offset 38: {PREFIX}Block trailer is not present.",
                   (*self.readers, ["info"], ["frames"]))

    def test_the_advice_saves_what_comes_before(self):
        frame = FRAMES[2]
        run("trim", "--frames", "0-2", SAMPLE, "-o", self.out)
        for offset, data in ((frame + 12, b"\xff" * 4), (frame + 2, b"\xff" * 4),
                             (frame + 2, b"\x07\0\0\0")):
            with self.subTest(offset, data=data):
                self.damage(offset, data)
                done = run("dump", self.file, status=1)
                advice = done.stderr.decode().splitlines()[-1].split(": ", 2)[2]
                path = f"{Path(TOOL).parent}:{os.environ['PATH']}"
                subprocess.run(advice, shell=True, cwd=self.folder, stderr=subprocess.DEVNULL,
                               env={**os.environ, "PATH": path}, check=False)
                saved = self.folder / "saved.dcap"
                self.assertEqual(saved.read_bytes(), self.out.read_bytes())
                saved.unlink()

    def test_what_comes_through_a_pipe_cannot_be_saved_later(self):
        frame = FRAMES[2]
        self.damage(frame + 12, b"\xff" * 4)
        done = run("dump", "/dev/stdin", status=1, input=self.file.read_bytes())
        self.assertEqual(done.stderr.decode(),
                         f"dcap: /dev/stdin: offset {frame + 20}: in frame 3 {number(frame)}: "
                         f"{PREFIX}Could not read sub-block data.\n")

    def test_reading_that_ends_early_does_not_notice_what_follows(self):
        self.damage(FRAMES[2] + 12, b"\xff" * 4)
        for command in (["dump"], ["stats"], ["trim", "-o", self.out]):
            self.assertEqual(run(*command, "--frames", "0-2", self.file).stderr, b"")
