"""What the end-to-end tests share: the tool, the captures, and running the one on the other."""
import gzip
import hashlib
import json
import os
import resource
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(os.environ.get("DCAPKIT_SOURCE_DIR", Path(__file__).resolve().parents[2]))
TOOL = os.environ.get("DCAP_TOOL", str(SOURCE / "build/bin/dcap"))
CAPTURES = SOURCE / "tests/captures"
SAMPLE = SOURCE / "examples/sample.dcap"

# Programs that count the lines they run through read and write files of their own as they end.
COUNTS_LINES = os.environ.get("DCAPKIT_TEST_KIND") == "coverage"


def captures(finished=True):
    """The captures of real programs by name, with those in DCAPKIT_CAPTURES_DIR, if that is set; without those left
    unfinished."""
    folders = [CAPTURES, *filter(None, [os.environ.get("DCAPKIT_CAPTURES_DIR")])]
    return {path.stem: path for folder in folders for path in sorted(Path(folder).glob("*.dcap"))
            if not (finished and path.stem.endswith("-unfinished"))}


def summary(path):
    return json.loads(path.with_suffix(".summary.json").read_text())


def canonical(path):
    """The canonical form of a finished capture, as it was recorded."""
    return gzip.decompress(path.with_suffix(".canonical.txt.gz").read_bytes())


def run(*arguments, status=0, **options):
    """Runs the tool; fails unless it ends with `status`. Returns the completed process."""
    done = subprocess.run([TOOL, *map(str, arguments)], capture_output=True, **options)
    if done.returncode != status:
        raise AssertionError(f"{arguments}: exit status {done.returncode}, not {status}\n"
                             f"{done.stderr.decode(errors='replace')}")
    return done


def dcap(*arguments, **options):
    """The standard output of the tool."""
    return run(*arguments, **options).stdout


def run_with_full_disk(*arguments, limit):
    """What the tool says, and fails with, when no file can grow beyond `limit` bytes."""
    if COUNTS_LINES:
        raise unittest.SkipTest("the counts would be lost")
    return run(*arguments, status=1, restore_signals=False,  # Python ignores SIGXFSZ
               preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))).stderr.decode()


def commands():
    """The names of the tool's commands."""
    listed = dcap("--help").decode().split("Commands:\n")[1].split("\n\n")[0]
    return [line.split()[0] for line in listed.splitlines()]


def events(*arguments):
    """The canonical lines of calls and records, with their frames' numbers."""
    return [line for line in dcap("dump", "--format", "canonical", *arguments).splitlines()
            if not line.startswith((b"file ", b"block "))]


def jsonl(path, *options):
    """The lines of a listing in JSON."""
    return [json.loads(line) for line in dcap("dump", "--format", "jsonl", *options, path).decode().splitlines()]


def frames(path, **how):
    """The frames of a capture, as the tool tells them."""
    return json.loads(dcap("frames", "--json", path, **how))


def write_frames(path, calls_of_frames):
    """Writes a capture of frames, each a list of calls, pairs of an identifier and a payload."""
    data = b""
    for number, calls in enumerate(calls_of_frames, 1):
        block = b"".join((struct.pack("<I", number),
                          *(struct.pack("<HIH", 3, 2 + len(payload), call) + payload for call, payload in calls),
                          b"\xee" * 8))
        data += struct.pack("<HI", 1, len(block)) + block
    path.write_bytes(struct.pack("<4sHBBI8xIQ", b"DCAP", 0, 2, 1, 0, number, 32 + len(data)) + data)


def write_capture(path, *calls):
    """Writes a capture of one frame with `calls`."""
    write_frames(path, [calls])


def repeat_frames(source, target, times):
    """Writes a capture of another's blocks again and again."""
    data = source.read_bytes()
    count, = struct.unpack_from("<I", data, 20)
    with target.open("wb") as file:
        file.write(data[:20] + struct.pack("<IQ", count * times, 32 + times * (len(data) - 32)))
        for _ in range(times):
            file.write(data[32:])


class FileTest(unittest.TestCase):
    """A test with a folder of its own, and names for a capture and another that is made of it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.file, self.out = self.folder / "capture.dcap", self.folder / "out.dcap"


def sha256(data):
    return hashlib.sha256(data).hexdigest()
