"""Selections: what is listed is what a filter of the whole listing keeps."""
import fnmatch
import re

from harness import CAPTURES, SAMPLE, SOURCE, FileTest, captures, dcap, frames, run, write_capture

CLIENT_DATA = ("VertexAttrib", "FlushMapped", "UnmapBufferData")


def events(lines):
    """(frame, thread, name, line) of every call and record of a listing. Client data bears the name
    of the call that follows: it is listed with that call."""
    frame, pending = 0, []
    for line in lines:
        if line.startswith("#"):
            found = re.match(r"# frame (\d+)", line)
            frame = int(found[1]) if found else frame
            continue
        thread, rest = line.split(" ", 1)
        pending.append((thread, line))
        name = rest.split("(", 1)[0]
        if not name.startswith(CLIENT_DATA):
            yield from ((frame, thread, name, kept) for thread, kept in pending)
            pending = []


def listed(path, *options, **how):
    return dcap("dump", path, *options, **how).decode().splitlines()


def bare(lines):
    return [line for line in lines if not line.startswith("#")]


class Selections(FileTest):
    def check(self, options, keep):
        """The listing with `options` has the events for which `keep(frame, thread, name)`."""
        kept = 0
        for name, path in {**captures(), "sample": SAMPLE}.items():
            with self.subTest(name, options=options):
                expected = [line for *key, line in events(listed(path)) if keep(*key)]
                self.assertEqual(bare(listed(path, *options)), expected)
                kept += len(expected)
        self.assertGreater(kept, 0)

    def test_frames_are_intervals_of_ordinals(self):
        self.check(["--frames", "2"], lambda frame, *_: frame == 2)
        self.check(["--frames", "3-4,2-3,8-"], lambda frame, *_: frame in (2, 3, 4) or frame >= 8)
        self.check(["--frames", "1", "--frames", "3"], lambda frame, *_: frame in (1, 3))

    def test_only_selected_frames_are_announced(self):
        headings = [line for line in listed(SAMPLE, "--frames", "2-3") if line.startswith("# frame")]
        self.assertEqual([line.split(",")[0] for line in headings], ["# frame 2", "# frame 3"])

    def test_set_up_calls_are_frame_0_and_there_unless_left_out(self):
        path = CAPTURES / "features-setup-block.dcap"
        whole, setUp, rest = (listed(path, *options) for options in ((), ("--frames", "0"), ("--frames", "1-")))
        self.assertIn("# set-up block 0, 1047 bytes", setUp)
        self.assertEqual(setUp + rest[1:], whole)

    def test_damage_counts_only_where_it_is_met(self):
        whole = listed(SAMPLE)
        headings = [i for i, line in enumerate(whole) if line.startswith("# frame")]
        offsets = [frame["offset"] for frame in frames(SAMPLE)]
        data = bytearray(SAMPLE.read_bytes())
        data[offsets[1] + 12:offsets[1] + 16] = b"\xFF" * 4  # the size of a sub-block
        self.file.write_bytes(data)
        self.assertEqual(listed(self.file, "--frames", "3-"), whole[:1] + whole[headings[2]:])
        self.assertIn(b"in frame 2 ", run("dump", self.file, "--frames", "2-", status=1).stderr)
        data[offsets[1] + 4] = 1  # the block ends beyond the file: nothing behind it can be found
        self.file.write_bytes(data)
        self.assertEqual(listed(self.file, "--frames", "1", status=1), whole[:headings[1]])
        self.assertIn(b"in frame 2 ", run("dump", self.file, "--frames", "3-", status=1).stderr)

    def test_threads_are_recorded_ids(self):
        self.check(["--threads", "4102"], lambda frame, thread, name: thread == "4102")
        self.check(["--threads", "1-2"], lambda frame, thread, name: thread in ("1", "2"))
        self.check(["--threads", "0"], lambda frame, thread, name: thread in ("0", "-"))

    def test_calls_match_patterns_without_exclusions(self):
        def named(*globs):
            return lambda _, __, name: any(fnmatch.fnmatchcase(name, glob) for glob in globs)
        self.check(["--calls", "glDraw*,eglSwapBuffers"], named("glDraw*", "eglSwapBuffers"))
        self.check(["--calls", "!glGet?rror,gl*"], lambda _, __, name: name.startswith("gl") and name != "glGetError")
        self.check(["--calls", "!gl*"], lambda _, __, name: not name.startswith("gl"))
        self.check(["--calls", "meta.*"], named("meta.*"))

    def test_a_call_without_a_name_is_in_no_selection(self):
        write_capture(self.file, (0xFFFF, b""), (0x902C, b""))
        for options in ((), ("--calls", "gl*"), ("--class", "sync")):
            self.assertEqual(bare(listed(self.file, *options)), ["- glFinish()"])
        self.assertEqual(bare(listed(self.file, "--calls", "!gl*")), [])

    def test_options_narrow_together(self):
        self.check(["--frames", "2-", "--class", "draw,present", "--calls", "!glDrawArrays"],
                   lambda frame, _, name: frame >= 2 and name != "glDrawArrays" and
                   re.match("gl(Multi)?Draw(Range|Arrays|Elements)|eglSwapBuffers", name))

    def test_every_call_is_of_exactly_one_class(self):
        classes = re.findall(r"^\| `(\w+)` \|", (SOURCE / "docs/selection.md").read_text(), re.M)
        for name, path in {**captures(), "sample": SAMPLE}.items():
            with self.subTest(name):
                parts = [line for one in classes for line in bare(listed(path, "--class", one))]
                self.assertEqual(sorted(parts), sorted(bare(listed(path, "--calls", "!meta.*"))))

    def test_mistakes_are_quoted(self):
        for option, value, quoted in (
                ("--frames", "1,,2", "'1,,2' has an empty part"),
                ("--frames", "1,20-10", "'20-10' ends before it begins"),
                ("--frames", "1-2-3", "'1-2-3' is neither"),
                ("--frames", "7,4294967296", "'4294967296' is beyond 4294967295"),
                ("--threads", "main", "'main' is neither"),
                ("--calls", "glDraw*,glDrawArray", "'glDrawArray' matches no call"),
                ("--class", "draw,drow", "'drow' is no class")):
            with self.subTest(value):
                error = run("dump", SAMPLE, option, value, status=2).stderr.decode()
                self.assertIn(f"{option}: {quoted}", error)
