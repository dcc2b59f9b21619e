"""Captures that a recorder left unfinished, or that lost their end."""
import os
import random
import subprocess

from harness import SAMPLE, TOOL, FileTest, canonical, captures, dcap, frames, run, run_with_full_disk


class Unfinished(FileTest):
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
        for path, why in ((self.file, "Could not read capture file header. " "The file may be invalid or corrupt."),
                          (__file__, "The specified file is not a valid capture file. " "FourCC does not match DCAP."),
                          (self.file.parent, "Cannot read capture file. " "The data reader is invalid. (Not a file)"),
                          (self.file.with_name("none"), "Cannot read capture file. "
                           "The data reader is invalid. (No such file or directory)")):
            with self.subTest(path):
                for command in ("dump", "stats"):
                    done = run(command, path, status=1)
                    self.assertEqual((done.stdout, done.stderr.decode()), (b"", f"dcap: {path}: {why}\n"))

    def unfinished(self, source=SAMPLE):
        """Leaves a capture as a recorder that died; returns the bytes of the finished one."""
        whole = source.read_bytes()
        trailer = 0 if whole[9] & 1 else 8
        last = frames(source)[-1]["offset"]
        self.file.write_bytes(whole[:20] + bytes(12) + whole[32:last + 2] + bytes(4) +
                              whole[last + 6:len(whole) - trailer])
        return whole

    def test_a_real_one_is_listed_and_written_as_if_it_were_finished(self):
        for name, path in captures().items():
            with self.subTest(name):
                whole = self.unfinished(path)
                done = run("dump", "--format", "canonical", self.file)
                self.assertEqual(done.stdout, canonical(path))
                self.assertRegex(done.stderr.decode(), f"^dcap: {self.file}: unfinished: frame count, file size.*"
                                 r" missing; read as if finalised \(see 'dcap finalize'\)\n$")
                dcap("finalize", self.file)
                self.assertEqual(self.file.read_bytes(), whole)

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
        self.assertEqual(run_with_full_disk("finalize", self.file, "-o", copy, limit=len(whole) - 1),
            f"dcap: Cannot write {copy}: File too large\n")
        self.assertEqual(os.listdir(self.file.parent), [self.file.name])
        dcap("finalize", self.file, "-o", copy)
        self.assertEqual(copy.read_bytes(), whole)
        self.assertEqual(self.file.read_bytes(), before)
        self.assertEqual(len(os.listdir(self.file.parent)), 2)
        failed = run("finalize", self.file, "-o", "/dev/full", status=1)
        self.assertEqual(failed.stderr, b"dcap: Cannot write /dev/full: No space left on device\n")

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

    def test_a_file_that_may_not_be_read_is_told_so(self):
        self.unfinished()
        self.file.chmod(0)
        # The super-user may read everything unless that right is taken away.
        bound = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"] if os.geteuid() == 0 else []
        done = subprocess.run([*bound, TOOL, "finalize", self.file], capture_output=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"Cannot read capture file. The data reader is invalid. (Permission denied)", done.stderr)
