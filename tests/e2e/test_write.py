"""Commands that write captures: repack, trim and cat."""
import os

from harness import CAPTURES, SAMPLE, FileTest, captures, dcap, events, run, run_with_full_disk

FILES = {**captures(), "sample": SAMPLE}


def blocks(path):
    """Type, number and size of every block."""
    return [line.split()[1:] for line in dcap("dump", "--format", "canonical", path).splitlines()
            if line.startswith(b"block ")]


class Write(FileTest):
    def write(self, command, *arguments):
        """The bytes of the capture that a command writes."""
        done = run(command, *arguments, "-o", self.out)
        self.assertEqual((done.stdout, done.stderr), (b"", b""))
        return self.out.read_bytes()

    def test_repack_without_options_copies(self):
        for name, path in FILES.items():
            with self.subTest(name):
                self.assertEqual(self.write("repack", path), path.read_bytes())
                self.assertEqual(self.write("trim", "--frames", "1-", path), path.read_bytes())

    def test_compressing_and_back_returns_the_first_bytes(self):
        packed, repacked = self.folder / "packed.dcap", self.folder / "repacked.dcap"
        for name, path in FILES.items():
            with self.subTest(name):
                plain = self.write("repack", "--compression", "none", path)
                packed.write_bytes(self.write("repack", "--compression", "lz4", self.out))
                self.assertLess(packed.stat().st_size, len(plain))
                repacked.write_bytes(self.write("repack", "--compression", "lz77", packed))
                self.assertNotEqual(repacked.read_bytes(), packed.read_bytes())
                self.assertEqual(events(packed), events(path))
                self.assertEqual(events(repacked), events(path))
                self.assertEqual(self.write("repack", "--compression", "none", repacked), plain)

    def test_trailers_come_and_go(self):
        bare = self.folder / "bare.dcap"
        for name, path in FILES.items():
            with self.subTest(name):
                ended = self.write("repack", "--trailers", path)
                bare.write_bytes(self.write("repack", "--no-trailers", path))
                self.assertEqual(len(ended) - bare.stat().st_size, 8 * len(blocks(path)))
                self.assertEqual(self.write("repack", "--trailers", bare), ended)
        run("repack", "--trailers", "--no-trailers", SAMPLE, "-o", self.out, status=2)

    def test_trim_keeps_what_dump_lists(self):
        for selection in (("--frames", "0,2-3,7"), ("--threads", "4102,2,1200"),
                          ("--calls", "gl*,!glGet*"), ("--calls", "meta.*"), ("--class", "draw,upload")):
            for name, path in FILES.items():
                with self.subTest(name, selection=selection):
                    self.write("trim", *selection, path)
                    self.assertEqual(events(self.out), events(*selection, path))

    def test_trim_keeps_the_numbers_of_frames_unless_told(self):
        numbers = [number for _, number, _ in blocks(SAMPLE)]
        self.write("trim", "--frames", "2,4", SAMPLE)
        self.assertEqual([number for _, number, _ in blocks(self.out)], [numbers[1], numbers[3]])
        self.write("trim", "--frames", "2,4", "--renumber", SAMPLE)
        self.assertEqual([number for _, number, _ in blocks(self.out)], [b"1", b"2"])

    def test_trim_keeps_set_up_blocks(self):
        path = CAPTURES / "features-setup-block.dcap"
        self.write("trim", "--frames", "3", path)
        self.assertEqual(events(self.out), events("--frames", "0,3", path))

    def test_cat_lists_as_its_parts_do(self):
        self.write("cat", SAMPLE, SAMPLE, SAMPLE)
        self.assertEqual(events(self.out), 3 * events(SAMPLE))
        self.write("cat", SAMPLE, SAMPLE, "--renumber")
        count = 2 * len(blocks(SAMPLE))
        self.assertEqual([number for _, number, _ in blocks(self.out)],
                         [b"%d" % (i + 1) for i in range(count)])

    def test_cat_refuses_captures_of_other_options(self):
        other = self.folder / "other.dcap"
        run("repack", "--no-trailers", SAMPLE, "-o", other)
        failed = run("cat", SAMPLE, other, "-o", self.out, status=1)
        self.assertEqual(failed.stderr.decode(), f"dcap: {other}: Its options are 0x00002140, not "
                         f"0x00002040 as those of {SAMPLE}. First give it to: "
                         "dcap repack --compression lz4 --trailers\n")
        self.assertEqual(os.listdir(self.folder), ["other.dcap"])

    def test_unfinished_captures_are_written_finished(self):
        whole = SAMPLE.read_bytes()
        cut = self.folder / "cut.dcap"
        cut.write_bytes(whole[:-20])
        failed = run("repack", cut, "-o", self.out, status=3)
        self.assertRegex(failed.stderr.decode(), "cut: .*; read as if finalised .*\n$")
        self.assertEqual(events(self.out), events(SAMPLE)[:-1])

    def test_an_output_may_replace_its_input(self):
        self.out.write_bytes(SAMPLE.read_bytes())
        self.write("repack", "--compression", "none", self.out)
        self.assertEqual(events(self.out), events(SAMPLE))
        self.assertEqual(os.listdir(self.folder), ["out.dcap"])

    def test_a_failure_leaves_what_stood_there(self):
        self.out.write_bytes(b"old")
        damaged = self.folder / "damaged.dcap"
        whole = SAMPLE.read_bytes()
        first_size = int(blocks(SAMPLE)[0][2])
        for place in (44, 38 + first_size - 4):  # a sub-block's size, a block's trailer
            damaged.write_bytes(whole[:place] + b"\xff\xff\xff\xff" + whole[place + 4:])
            failed = run("repack", "--compression", "none", damaged, "-o", self.out, status=1)
            self.assertRegex(failed.stderr.decode(), rf"^dcap: {damaged}: offset \d+: .*DCAP file processing failed: ")
        run("repack", self.folder / "none.dcap", "-o", self.out, status=1)
        self.assertEqual(self.out.read_bytes(), b"old")
        self.assertEqual(sorted(os.listdir(self.folder)), ["damaged.dcap", "out.dcap"])
        self.assertEqual(run_with_full_disk("repack", SAMPLE, "-o", self.out, limit=1000),
                         f"dcap: Cannot write {self.out}: File too large\n")
        self.assertEqual(self.out.read_bytes(), b"old")
        self.assertEqual(sorted(os.listdir(self.folder)), ["damaged.dcap", "out.dcap"])
