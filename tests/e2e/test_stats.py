"""Statistics: they agree with the summaries of the captures and with what is listed of these."""
import collections
import csv
import io
import json
import re
import unittest

from harness import SAMPLE, captures, dcap, main, summary

INPUTS = {**captures(finished=False), "sample": SAMPLE}
KINDS = (("buffer", r"glBuffer(Sub)?Data"), ("texture", r"gl(Compressed)?Tex(Sub)?Image[23]D"),
         ("shader", "glShaderSource"), ("client_indices", r"glDraw\w*Elements\w*"),
         ("client_vertices", r"VertexAttribI?PointerData"),
         ("mapped", "FlushMappedBufferRangeData|UnmapBufferData"))


def stats(path, *options):
    return json.loads(dcap("stats", "--json", path, *options))


def lines(path, *options):
    return [json.loads(line) for line in
            dcap("dump", "--format", "jsonl", path, *options).splitlines()]


def uploaded(line):
    """The kind of what a line uploads, and its bytes."""
    for kind, names in KINDS:
        if re.fullmatch(names, line["name"]):
            size = 0
            for value in line["args"].values():
                value = value.get("data", value) if isinstance(value, dict) else value
                if isinstance(value, dict) and "crc32" in value:
                    size += value["bytes"]
                elif kind == "shader" and isinstance(value, list):
                    size += sum(len(text.encode()) for text in value if isinstance(text, str))
            return kind, size
    return None, 0


def count(listed):
    """What `stats` should say of each frame, from the listing."""
    frames = []
    for line in listed:
        if line["type"] == "frame":
            frames.append({"frame": line["frame"], "number": line["number"], "bytes": line["bytes"],
                           "calls": 0, "client_data": 0, "metadata": 0,
                           "uploaded_bytes": collections.Counter()})
        elif line["type"] != "capture":
            frame = frames[-1]
            frame[{"call": "calls", "client-data": "client_data"}.get(line["type"], "metadata")] += 1
            if "args" in line:
                kind, size = uploaded(line)
                frame["uploaded_bytes"][kind] += size
    return frames


class Statistics(unittest.TestCase):
    @unittest.skipUnless(captures(), "no captures here")
    def test_they_agree_with_the_summaries(self):
        for name, path in captures(finished=False).items():
            with self.subTest(name):
                made, expected = stats(path), summary(path)
                for key in ("frame_blocks", "set_up_blocks", "calls", "calls_by_name",
                            "client_data_operations", "metadata_records"):
                    self.assertEqual(made[key], expected[key], key)
                self.assertEqual(sorted(map(int, made["calls_by_thread"])), expected["thread_ids"])

    def test_each_frame_agrees_with_its_listing(self):
        for name, path in INPUTS.items():
            for options in ((), ("--frames", "2-5", "--calls", "!glGet*,!meta.*")):
                with self.subTest(name, options=options):
                    made = stats(path, *options)["frames"]
                    expected = count(lines(path, *options))
                    self.assertEqual(len(made), len(expected))
                    for one, other in zip(made, expected):
                        other["uploaded_bytes"] = {
                            kind: other["uploaded_bytes"][kind] for kind in one["uploaded_bytes"]}
                        self.assertEqual({key: one[key] for key in other}, other)
                        self.assertEqual(one.get("setup", False), one["frame"] == 0)

    def test_classes_agree_with_the_selection(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                made = stats(path)
                self.assertEqual(made["draw_calls"], made["calls_by_class"]["draw"])
                for one, calls in made["calls_by_class"].items():
                    listed = lines(path, "--class", one)
                    self.assertEqual(sum(line["type"] == "call" for line in listed), calls, one)

    def test_sums_of_frames_are_those_of_the_capture(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                made = stats(path)
                rows = [*csv.DictReader(io.StringIO(dcap("stats", "--per-frame", path).decode()))]
                self.assertEqual([(row["frame"], row["calls"], row["draw"]) for row in rows],
                                 [(str(frame["frame"]), str(frame["calls"]), str(frame["draw_calls"]))
                                  for frame in made["frames"]])
                sums = {key: sum(int(row[key]) for row in rows) for key in rows[0]}
                for key in ("calls", "client_data", "metadata"):
                    self.assertEqual(sums[key], made[key])
                for key, calls in made["calls_by_class"].items():
                    self.assertEqual(sums[key], calls)
                for key, size in made["uploaded_bytes"].items():
                    self.assertEqual(sums[key + "_bytes"], size)
                self.assertEqual(sum(made["calls_by_name"].values()), made["calls"])

    def test_tables_show_the_same_numbers(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                made, title, tables = stats(path), "", collections.defaultdict(dict)
                for line in dcap("stats", path).decode().splitlines():
                    row = re.fullmatch(r"( *)(\S.*?) +(\d+)", line)
                    if row:
                        tables[title if row[1] else ""][row[2]] = int(row[3])
                    elif line:
                        title = line
                self.assertEqual(tables[""], {
                    "frames": made["frame_blocks"], "set-up blocks": made["set_up_blocks"],
                    "calls": made["calls"], "draw calls": made["draw_calls"],
                    "client data": made["client_data"], "metadata records": made["metadata"],
                    "uploaded bytes": sum(made["uploaded_bytes"].values())})
                for title, key in (("uploaded bytes", "uploaded_bytes"),
                                   ("calls by class", "calls_by_class"),
                                   ("calls by thread", "calls_by_thread"),
                                   ("calls by name", "calls_by_name"),
                                   ("client data by name", "client_data_operations"),
                                   ("metadata records by name", "metadata_records")):
                    self.assertEqual(tables[title], {k: n for k, n in made[key].items() if n}, key)
                most = max((f for f in made["frames"] if f["frame"]), key=lambda f: f["calls"])
                self.assertRegex(dcap("stats", path).decode(),
                                 rf"  calls +\d+ +[\d.]+ +{most['calls']}  \(frame {most['frame']}\)")


if __name__ == "__main__":
    main()
