"""The SQL of docs/recipes.md, run with DuckDB, answers what `dcap stats` counts.

DuckDB comes from the npm registry, into the build directory when this test first runs there.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from harness import SAMPLE, SOURCE, captures, dcap, main

INPUTS = {**captures(finished=False), "sample": SAMPLE}
BINARIES = Path(os.environ.get("DCAPKIT_BINARY_DIR", SOURCE / "build"))
UNREACHABLE = "ENOTFOUND|EAI_AGAIN|ECONNREFUSED|ECONNRESET|ENETUNREACH|EHOSTUNREACH|TIMEDOUT|TIMEOUT"


def skip(reason):
    print("skipped:", reason)
    sys.exit(77)


def install_duckdb():
    """The folder with DuckDB's package and the script that queries it."""
    if not shutil.which("npm") or not shutil.which("node"):
        skip("there is no npm here")
    folder = BINARIES / "duckdb"
    folder.mkdir(parents=True, exist_ok=True)
    lock = (SOURCE / "tests/duckdb/package-lock.json").read_bytes()
    installed = folder / "installed"
    for file in (SOURCE / "tests/duckdb").iterdir():
        shutil.copy(file, folder)
    if not installed.exists() or installed.read_bytes() != lock:
        done = subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund",
                               "--fetch-retries=1", "--fetch-timeout=60000"],
                              cwd=folder, capture_output=True, text=True)
        if done.returncode != 0:
            if re.search(UNREACHABLE, done.stderr):
                skip("the npm registry cannot be reached")
            raise AssertionError(done.stderr)
        installed.write_bytes(lock)
    return folder


def questions():
    """The statements that prepare the tables, and the questions by their headings."""
    text = (SOURCE / "docs/recipes.md").read_text().split("\n## SQL\n")[1]
    blocks = re.findall(r"(?:^### (.*?)\n+)?^```sql\n(.*?)^```$", text, re.M | re.S)
    return blocks[0][1], {title: sql for title, sql in blocks[1:]}


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
            return sorted(((frame["frame"], frame["bytes"]) for frame in frames),
                          key=lambda row: (-row[1], row[0]))[:5]
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


def numbers(rows):
    """Rows with whole numbers as such: wide ones come as texts."""
    return [[int(value) if isinstance(value, str) and value.isdecimal() else value
             for value in row] for row in rows]


class Recipes(unittest.TestCase):
    def test_sql_answers_what_stats_counts(self):
        prepare, asked = questions()
        self.assertEqual(len(asked), 10)
        with tempfile.TemporaryDirectory() as work:
            folders = [Path(work) / name for name in INPUTS]
            for folder, path in zip(folders, INPUTS.values()):
                folder.mkdir()
                (folder / "capture.jsonl").write_bytes(dcap("dump", "--format", "jsonl", path))
            job = {"folders": [*map(str, folders)], "prepare": prepare,
                   "questions": [*asked.values()]}
            done = subprocess.run(["node", "query.mjs"], cwd=DUCKDB, input=json.dumps(job),
                                  capture_output=True, text=True)
            self.assertEqual(done.returncode, 0, done.stderr)
        for (name, path), answers in zip(INPUTS.items(), json.loads(done.stdout)):
            stats = json.loads(dcap("stats", "--json", path))
            for title, rows in zip(asked, answers):
                with self.subTest(name, question=title):
                    self.assertEqual(numbers(rows), [[*row] for row in expected(title, stats)])


if __name__ == "__main__":
    if os.environ.get("DCAPKIT_TEST_KIND"):
        skip("the plain build's lines are the same")
    DUCKDB = install_duckdb()
    main()
