"""Captures that a recorder left unfinished, or that lost their end."""
import os
import random
import tempfile
import unittest
from pathlib import Path

from harness import CAPTURES, SAMPLE, dcap, main, run, run_with_full_disk, sha256, summary


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
                         "last block size and trailer are missing; read as if finalised (see 'dcap finalize')\n")

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
                self.assertRegex(done.stderr.decode(), "cut: .*; read as if finalised .*\n$")

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
                for command in ("dump", "stats"):
                    done = run(command, path, status=1)
                    self.assertEqual((done.stdout, done.stderr.decode()), (b"", f"dcap: {path}: {why}\n"))

    def unfinished(self):
        """Leaves the sample as a recorder that died; returns the bytes of the sample."""
        whole = SAMPLE.read_bytes()
        last, position = 32, 32
        while position < len(whole):
            last = position
            position += 6 + int.from_bytes(whole[position + 2:position + 6], "little")
        self.file.write_bytes(whole[:20] + bytes(12) + whole[32:last + 2] + bytes(4) +
                              whole[last + 6:-8])
        return whole

    @unittest.skipUnless(CAPTURES.is_dir(), "no captures here")
    def test_finalising_a_real_one_gives_the_finished_one(self):
        self.file.write_bytes((CAPTURES / "video-unfinished.dcap").read_bytes())
        dcap("finalize", self.file)
        self.assertEqual(self.file.read_bytes(), (CAPTURES / "video.dcap").read_bytes())

    def test_a_dry_run_tells_what_finalising_does_and_writes_nothing(self):
        whole = self.unfinished()
        before = self.file.read_bytes()
        told = dcap("finalize", "--dry-run", self.file)
        self.assertIn(f"file size: 0 -> {len(whole)}\n".encode(), told)
        self.assertEqual(self.file.read_bytes(), before)
        self.assertEqual(dcap("finalize", self.file), told)
        self.assertEqual(self.file.read_bytes(), whole)
        self.assertEqual(dcap("finalize", self.file), f"{self.file}: finalised already\n".encode())

    def test_finalising_a_cut_one_shortens_it(self):
        whole = SAMPLE.read_bytes()
        for size in random.Random(4).sample(range(33, len(whole) - 8), 20):
            with self.subTest(size):
                self.file.write_bytes(whole[:size])
                listed = run("dump", self.file, status=3).stdout
                run("finalize", self.file, status=3)
                done = run("dump", self.file)
                self.assertEqual((done.stdout, done.stderr), (listed, b""))

    def test_a_copy_is_there_whole_or_not_at_all(self):
        whole = self.unfinished()
        before = self.file.read_bytes()
        copy = self.file.with_name("copy.dcap")
        self.assertEqual(
            run_with_full_disk("finalize", self.file, "-o", copy, limit=len(whole) - 1),
            f"dcap: Cannot write {copy}: File too large\n")
        self.assertEqual(os.listdir(self.file.parent), [self.file.name])
        dcap("finalize", self.file, "-o", copy)
        self.assertEqual(copy.read_bytes(), whole)
        self.assertEqual(self.file.read_bytes(), before)
        self.assertEqual(len(os.listdir(self.file.parent)), 2)
        failed = run("finalize", self.file, "-o", "/dev/full", status=1)
        self.assertEqual(failed.stderr, b"dcap: Cannot write /dev/full: No space left on device\n")

    def test_the_next_run_finishes_what_a_full_disk_stopped(self):
        whole = self.unfinished()
        self.assertEqual(
            run_with_full_disk("finalize", self.file, limit=len(whole) - 8),
            f"dcap: {self.file}: Cannot finalize capture file. "
            "The final frame trailer could not be written to file.\n")
        dcap("finalize", self.file)
        self.assertEqual(self.file.read_bytes(), whole)

    def test_a_read_only_file_is_left_alone_even_by_the_super_user(self):
        whole = self.unfinished()
        before = self.file.read_bytes()
        self.file.chmod(0o444)
        failed = run("finalize", self.file, status=1)
        self.assertIn(b"Cannot finalize capture file. The data writer is invalid.", failed.stderr)
        self.assertEqual(self.file.read_bytes(), before)
        self.file.chmod(0o644)
        dcap("finalize", self.file)
        self.assertEqual(self.file.read_bytes(), whole)

    @unittest.skipIf(os.geteuid() == 0, "the super-user may read everything")
    def test_a_file_that_may_not_be_read_is_told_so(self):
        self.unfinished()
        self.file.chmod(0)
        self.assertIn(b"Cannot read capture file. The data reader is invalid. (Permission denied)",
                      run("finalize", self.file, status=1).stderr)


if __name__ == "__main__":
    main()
