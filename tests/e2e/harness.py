"""What the end-to-end tests share: the tool, the captures, and running the one on the other."""
import gzip
import hashlib
import json
import os
import resource
import struct
import subprocess
import sys
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
               preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
               ).stderr.decode()


def write_capture(path, *calls):
    """Writes a capture of one frame with `calls`, pairs of an identifier and a payload."""
    block = b"".join((struct.pack("<I", 1),
                      *(struct.pack("<HIH", 3, 2 + len(payload), call) + payload for call, payload in calls),
                      b"\xee" * 8))
    path.write_bytes(struct.pack("<4sHBBI8xIQ", b"DCAP", 0, 2, 1, 0, 1, 38 + len(block)) +
                     struct.pack("<HI", 1, len(block)) + block)


def sha256(data):
    return hashlib.sha256(data).hexdigest()


def main():
    """Runs the tests of the calling module."""
    sys.exit(0 if unittest.main(exit=False).result.wasSuccessful() else 1)
