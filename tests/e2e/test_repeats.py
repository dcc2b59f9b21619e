"""A call is listed in the same way whatever has been listed before it."""
import random
import re

from harness import SAMPLE, FileTest, captures, dcap, run, write_frames

FORMATS = ("text", "jsonl")
MOST_FRAMES = 60


def logged(done):
    """How many lines the calls made the library log; floods are cut short."""
    count = 0
    for line in done.stderr.decode().splitlines():
        repeated = re.search(r"repeated (\d+) times", line)
        count += int(repeated[1]) if repeated else "compressed with" not in line
    return count


class Repeats(FileTest):
    def compare(self, path, frames):
        """Compares the listing of all frames with those of each frame by itself."""
        for form in FORMATS:
            command = ("-v", "dump", "--jobs", "1", "--format", form, path, "--frames")
            whole = run(*command, f"1-{frames}")
            alone = [run(*command, str(frame)) for frame in range(1, frames + 1)]
            lines = [part.stdout.splitlines() for part in alone]
            self.assertEqual(whole.stdout.splitlines(), lines[0][:1] + [line for part in lines for line in part[1:]])
            self.assertEqual(logged(whole), sum(logged(part) for part in alone))

    def test_of_captures(self):
        for path in (SAMPLE, *captures().values()):
            frames = len(dcap("frames", path).splitlines()) - 1
            if frames <= MOST_FRAMES:
                self.compare(path, frames)

    def test_of_payloads_that_are_nearly_the_same(self):
        draw = random.Random(1)
        calls = [*range(0x8001, 0x8040), *range(0x9001, 0x91f0)]
        pool = [(draw.choice(calls), bytes(draw.choice((0, 0, 0, 1)) for _ in range(size)))
                for size in range(60) for _ in range(5)]
        pool += [(call, payload[:-1] + b"\1") for call, payload in pool if payload]
        pool += [(call, bytes(8)) for call in calls]
        write_frames(self.file, [draw.choices(pool, k=2000) for _ in range(8)])
        self.compare(self.file, 8)
