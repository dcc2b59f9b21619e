"""Statistics: they agree with what is listed of the captures."""
import collections
import csv
import io
import json
import re
import unittest

from harness import SAMPLE, captures, dcap, jsonl

INPUTS = {**captures(finished=False), "sample": SAMPLE}
KINDS = (("buffer", r"glBuffer(Sub)?Data"), ("texture", r"gl(Compressed)?Tex(Sub)?Image[23]D"),
         ("shader", "glShaderSource"), ("clientIndices", r"glDraw\w*Elements\w*"),
         ("clientVertices", r"VertexAttribI?PointerData"),
         ("mapped", "FlushMappedBufferRangeData|UnmapBufferData"))


def stats(path, *options):
    return json.loads(dcap("stats", "--json", path, *options))


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
                           "calls": 0, "clientData": 0, "metadata": 0,
                           "uploadedBytes": collections.Counter()})
        elif line["type"] != "capture":
            frame = frames[-1]
            frame[{"call": "calls", "client-data": "clientData"}.get(line["type"], "metadata")] += 1
            if "args" in line:
                kind, size = uploaded(line)
                frame["uploadedBytes"][kind] += size
    return frames


class Statistics(unittest.TestCase):
    def test_each_frame_agrees_with_its_listing(self):
        for name, path in INPUTS.items():
            for options in ((), ("--frames", "2-5", "--calls", "!glGet*,!meta.*")):
                with self.subTest(name, options=options):
                    made = stats(path, *options)["frames"]
                    expected = count(jsonl(path, *options))
                    self.assertEqual(len(made), len(expected))
                    for one, other in zip(made, expected):
                        other["uploadedBytes"] = {kind: other["uploadedBytes"][kind] for kind in one["uploadedBytes"]}
                        self.assertEqual({key: one[key] for key in other}, other)
                        self.assertEqual(one.get("setup", False), one["frame"] == 0)

    def test_classes_agree_with_the_selection(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                made = stats(path)
                self.assertEqual(made["drawCalls"], made["callsByClass"]["draw"])
                for one, calls in made["callsByClass"].items():
                    listed = jsonl(path, "--class", one)
                    self.assertEqual(sum(line["type"] == "call" for line in listed), calls, one)

    def test_sums_of_frames_are_those_of_the_capture(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                made = stats(path)
                rows = [*csv.DictReader(io.StringIO(dcap("stats", "--per-frame", path).decode()))]
                self.assertEqual([(row["frame"], row["calls"], row["draw"]) for row in rows],
                                 [(str(frame["frame"]), str(frame["calls"]), str(frame["drawCalls"]))
                                  for frame in made["frames"]])
                sums = {key: sum(int(row[key]) for row in rows) for key in rows[0]}
                for key in ("calls", "clientData", "metadata"):
                    self.assertEqual(sums[key], made[key])
                for key, calls in made["callsByClass"].items():
                    self.assertEqual(sums[key], calls)
                for key, size in made["uploadedBytes"].items():
                    self.assertEqual(sums[key + "Bytes"], size)
                self.assertEqual(sum(made["callsByName"].values()), made["calls"])

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
                    "frames": made["frameBlocks"], "set-up blocks": made["setUpBlocks"],
                    "calls": made["calls"], "draw calls": made["drawCalls"],
                    "client data": made["clientData"], "metadata records": made["metadata"],
                    "uploaded bytes": sum(made["uploadedBytes"].values())})
                for title, key in (("uploaded bytes", "uploadedBytes"),
                                   ("calls by class", "callsByClass"),
                                   ("calls by thread", "callsByThread"),
                                   ("calls by name", "callsByName"),
                                   ("client data by name", "clientDataByName"),
                                   ("metadata records by name", "metadataByName")):
                    self.assertEqual(tables[title], {k: n for k, n in made[key].items() if n}, key)
                most = max((f for f in made["frames"] if f["frame"]), key=lambda f: f["calls"])
                self.assertRegex(dcap("stats", path).decode(),
                                 rf"  calls +\d+ +[\d.]+ +{most['calls']}  \(frame {most['frame']}\)")
