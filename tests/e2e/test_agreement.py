"""Every command on every capture of a real program: what they tell agrees with the summaries of the
captures and among the commands."""
import collections
import functools
import json

from harness import FileTest, canonical, captures, commands, dcap, events, jsonl, run, sha256, summary


def parsed(command, path, *options):
    return json.loads(dcap(command, "--json", *options, path))


def counted(values):
    return dict(sorted(collections.Counter(values).items()))


def on_every_capture(check):
    @functools.wraps(check)
    def test(self):
        for name, path in captures(finished=False).items():
            with self.subTest(name):
                check(self, path, summary(path))
    return test


class EveryCommand(FileTest):
    def test_has_its_part_in_these_tests(self):
        self.assertEqual({*commands()},
                         {"dump", "info", "frames", "stats", "finalize", "repack", "trim", "cat"})

    def test_lists_what_was_recorded(self):
        for name, path in captures().items():
            with self.subTest(name):
                self.assertEqual(dcap("dump", "--format", "canonical", path).splitlines(), canonical(path).splitlines())

    @on_every_capture
    def test_counts_the_same_calls_and_records(self, path, expected):
        listed, made, told = jsonl(path), parsed("stats", path), parsed("info", path, "--scan")
        text = [line for line in dcap("dump", path).decode().splitlines() if line[0] != "#"]
        of_type = collections.defaultdict(list)
        for line in listed:
            of_type[line["type"]].append(line)
        for kind, summed, total, by_name in (
                ("call", "calls_by_name", "calls", "callsByName"),
                ("client-data", "client_data_operations", "clientData", "clientDataByName"),
                ("metadata", "metadata_records", "metadata", "metadataByName")):
            names = counted(line["name"] for line in of_type[kind])
            self.assertEqual(names, expected[summed])
            self.assertEqual(made[by_name], names)
            self.assertEqual(made[total], len(of_type[kind]))
        self.assertEqual(len(of_type["call"]), expected["calls"])
        self.assertEqual(told["eglCalls"] + told["glesCalls"], expected["calls"])
        self.assertEqual(told["eglCalls"], sum(line["api"] == "EGL" for line in of_type["call"]))
        self.assertEqual(told["metadataRecords"], made["metadata"])
        self.assertEqual(counted(line.split(" ", 1)[1].split("(", 1)[0].removeprefix("meta.") for line in text),
                         counted(line["name"] for kind in ("call", "client-data", "metadata") for line in of_type[kind]))

    @on_every_capture
    def test_tells_the_same_frames_and_sizes(self, path, expected):
        capture, *listed = jsonl(path)
        told, placed, made = parsed("info", path), parsed("frames", path), parsed("stats", path)
        frames = [line for line in listed if line["type"] == "frame"]
        real = [line for line in frames if not line.get("setup")]
        self.assertEqual({told["finalisedBytes"], capture["bytes"]}, {expected["file_bytes"]})
        self.assertEqual({told["frames"], capture["frames"], made["frameBlocks"], len(placed), len(real)},
                         {expected["frame_blocks"]})
        self.assertEqual(made["setUpBlocks"], expected["set_up_blocks"])
        # Those of `frames` include the six bytes of the block's header.
        self.assertEqual([(one["frame"], one["number"], one["bytes"] - 6) for one in placed],
                         [(one["frame"], one["number"], one["bytes"]) for one in real])
        self.assertEqual([(one["frame"], one["number"], one["bytes"]) for one in made["frames"]],
                         [(one["frame"], one["number"], one["bytes"]) for one in frames])
        self.assertEqual(32 + sum(one["bytes"] + 6 for one in frames), expected["file_bytes"])

    @on_every_capture
    def test_knows_the_same_threads(self, path, expected):
        listed, made, told = jsonl(path), parsed("stats", path), parsed("info", path, "--scan")
        threads = counted(line["thread"] for line in listed if "thread" in line
                          and line["type"] in ("call", "metadata"))
        self.assertEqual([*threads], expected["thread_ids"])
        self.assertEqual({one["id"]: one["subBlocks"] for one in told["threads"]}, threads)
        calls = counted(line["thread"] for line in listed if line["type"] == "call" and "thread" in line)
        self.assertEqual({int(one): n for one, n in made["callsByThread"].items()}, calls)

    @on_every_capture
    def test_that_writes_keeps_what_is_listed(self, path, expected):
        whole = events(path)
        if path.stem.endswith("-unfinished"):
            dcap("finalize", path, "-o", self.out)
            self.assertEqual(sha256(self.out.read_bytes()), expected["finalised_sha256"])
            self.assertEqual(events(self.out), whole)
        dcap("repack", "--compression", "lz4", path, "-o", self.out)
        self.assertEqual(events(self.out), whole)
        self.assertEqual(parsed("info", self.out)["finalised"], True)
        dcap("trim", "--frames", "2-4", path, "-o", self.out)
        self.assertEqual([one for one in parsed("stats", self.out)["frames"] if one["frame"]],
                         [{**one, "frame": one["frame"] - 1}
                          for one in parsed("stats", path)["frames"] if 2 <= one["frame"] <= 4])
        run("cat", path, path, "-o", self.out)
        frames, twice = parsed("frames", path), parsed("frames", self.out)
        self.assertEqual([one["bytes"] for one in twice], [one["bytes"] for one in frames] * 2)
        once = [line for line in whole if not line.startswith(b"S")]
        self.assertEqual(events(self.out), whole + once)  # set-up calls in the middle are skipped
