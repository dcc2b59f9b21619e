"""Captures that a recorder left unfinished, or that lost their end."""
import random
import tempfile
import unittest
from pathlib import Path

from harness import CAPTURES, SAMPLE, dcap, main, run, sha256, summary


class Unfinished(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name) / "capture.dcap"

    @unittest.skipUnless(CAPTURES.is_dir(), "no captures here")
    def test_a_real_one_is_listed_as_if_it_were_finalised(self):
        path = CAPTURES / "video-unfinished.dcap"
        done = run("dump", "--format", "canonical", path)
        self.assertEqual(sha256(done.stdout), summary(path)["bare_text_dump_sha256"])
        self.assertEqual(done.stderr.decode(), f"dcap: {path}: unfinished: frame count, file size, "
                         "last block size and trailer are missing; read as if finalised\n")

    def test_a_cut_one_is_listed_up_to_the_cut(self):
        whole = SAMPLE.read_bytes()
        lines = dcap("dump", SAMPLE).splitlines()
        places = random.Random(3).sample(range(33, len(whole) - 8), 20)
        for size in places:
            with self.subTest(size):
                self.file.write_bytes(whole[:size])
                done = run("dump", self.file, status=3)
                cut = done.stdout.splitlines()
                # The text of the file line and of the last frame's line tells sizes, which differ.
                self.assertEqual([line for line in cut if not line.startswith(b"#")],
                                 [line for line in lines[:len(cut)] if not line.startswith(b"#")])
                self.assertRegex(done.stderr.decode(), "cut: .*; read as if finalised\n$")

    def test_what_is_no_capture_is_refused(self):
        self.file.write_bytes(SAMPLE.read_bytes()[:31])
        for path, why in ((self.file, "Could not read capture file header. "
                           "The file may be invalid or corrupt."),
                          (__file__, "The specified file is not a valid capture file. "
                           "FourCC does not match DCAP."),
                          (self.file.parent, "Cannot read capture file. "
                           "The data reader is invalid. (Not a file)"),
                          (self.file.with_name("none"), "Cannot read capture file. "
                           "The data reader is invalid. (No such file or directory)")):
            with self.subTest(path):
                self.assertEqual(run("dump", path, status=1).stderr.decode(),
                                 f"dcap: {path}: {why}\n")


if __name__ == "__main__":
    main()
