"""The SQL of docs/recipes.md and docs/farm.md, run with DuckDB, answers what `dcap stats` counts.

DuckDB comes from the npm registry, into the build directory when this test first runs there.
"""
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

from harness import SAMPLE, SOURCE, TOOL, FileTest, captures, dcap

INPUTS = {**captures(finished=False), "sample": SAMPLE}
BINARIES = Path(os.environ.get("DCAPKIT_BINARY_DIR", SOURCE / "build"))


def install_duckdb():
    """The folder with DuckDB's package and the script that queries it."""
    folder = BINARIES / "duckdb"
    folder.mkdir(parents=True, exist_ok=True)
    lock = (SOURCE / "tests/e2e/duckdb/package-lock.json").read_bytes()
    installed = folder / "installed"
    for file in (SOURCE / "tests/e2e/duckdb").iterdir():
        shutil.copy(file, folder)
    if not installed.exists() or installed.read_bytes() != lock:
        done = subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund",
                               "--fetch-timeout=60000"], cwd=folder, capture_output=True, text=True)
        if done.returncode != 0:
            raise AssertionError(done.stderr)
        installed.write_bytes(lock)
    return folder


def blocks(document, language):
    """The blocks of a document, each with the heading right before it."""
    return re.findall(rf"(?:^### (.*?)\n+)?^```{language}\n(.*?)^```$",
                      (SOURCE / "docs" / document).read_text(), re.M | re.S)


def ask(folders, prepare, questions):
    """The rows that answer each question in each folder, whole numbers as such: wide ones are texts."""
    job = {"folders": [*map(str, folders)], "prepare": prepare, "questions": questions}
    done = subprocess.run(["node", "query.mjs"], cwd=install_duckdb(), input=json.dumps(job),
                          capture_output=True, text=True)
    if done.returncode != 0:
        raise AssertionError(done.stderr)
    return [[[[int(value) if isinstance(value, str) and value.isdecimal() else value
               for value in row] for row in rows] for rows in answers] for answers in json.loads(done.stdout)]


def expected(title, stats):
    """What `dcap stats` says to a question."""
    frames, sizes = stats["frames"], stats["uploadedBytes"]
    names = stats["callsByName"]
    match title:
        case "Which calls are made, and how often?":
            return sorted(names.items(), key=lambda item: (-item[1], item[0]))
        case "Which thread makes how many calls?":
            return sorted((int(thread), n) for thread, n in stats["callsByThread"].items())
        case "How many calls has a frame: at least, on average, at most?":
            calls = [frame["calls"] for frame in frames if frame["frame"] != 0]
            return [(min(calls), round(sum(calls) / len(calls), 3), max(calls))]
        case "How many draw calls has each frame?":
            return [(frame["frame"], frame["drawCalls"]) for frame in frames]
        case "Which frames take most room in the file?":
            return sorted(((frame["frame"], frame["bytes"]) for frame in frames), key=lambda row: (-row[1], row[0]))[:5]
        case "Which frames upload textures, and how many bytes?":
            return [(frame["frame"], frame["uploadedBytes"]["texture"]) for frame in frames
                    if frame["uploadedBytes"]["texture"]]
        case "How many bytes are written into buffers, by call and through mappings?":
            return [(sizes["buffer"], sizes["mapped"])]
        case "How many bytes do draw calls read from client memory?":
            return [(sizes["clientVertices"], sizes["clientIndices"])]
        case "How many shaders are handed over, and how many bytes of source?":
            return [(names.get("glShaderSource", 0), sizes["shader"])]
        case "Which metadata records are there?":
            return sorted(stats["metadataByName"].items())
    raise AssertionError("no answer is known to: " + title)


class Recipes(FileTest):
    def test_sql_answers_what_stats_counts(self):
        (_, prepare), *asked = blocks("recipes.md", "sql")
        self.assertEqual(len(asked), 10)
        folders = [self.folder / name for name in INPUTS]
        for folder, path in zip(folders, INPUTS.values()):
            folder.mkdir()
            (folder / "capture.jsonl").write_bytes(dcap("dump", "--format", "jsonl", path))
        answers = ask(folders, prepare, [sql for _, sql in asked])
        for (name, path), answered in zip(INPUTS.items(), answers):
            stats = json.loads(dcap("stats", "--json", path))
            for (title, _), rows in zip(asked, answered):
                with self.subTest(name, question=title):
                    self.assertEqual(rows, [[*row] for row in expected(title, stats)])

    def test_a_farm_answers_what_stats_counts_of_each_capture(self):
        (self.folder / "captures").mkdir()
        for path in INPUTS.values():
            shutil.copy(path, self.folder / "captures")
        (_, task), = blocks("farm.md", "bash")
        subprocess.run(["bash", "-ec", task], cwd=self.folder, check=True, stderr=subprocess.DEVNULL,
                       env={**os.environ, "PATH": f"{Path(TOOL).parent}:{os.environ['PATH']}"})
        (_, lines), (_, totals), (_, partition), (_, busiest) = blocks("farm.md", "sql")
        (totals, busiest), = ask([self.folder], lines + partition, [totals, busiest])
        stats = {name: json.loads(dcap("stats", "--json", path)) for name, path in INPUTS.items()}
        self.assertEqual(totals, [[name, one["frameBlocks"], one["calls"], one["drawCalls"]]
                                  for name, one in sorted(stats.items())])
        self.assertEqual(busiest, sorted(
            ([name, frame["frame"], frame["calls"]] for name, one in stats.items()
             for frame in one["frames"] if 2 <= frame["frame"] <= 10 and frame["calls"]),
            key=lambda row: (-row[2], *row[:2]))[:10])
