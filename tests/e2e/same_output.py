#!/usr/bin/env python3
"""Holds two builds of the tool against each other, on captures and on damaged copies of them.

    tests/e2e/same_output.py --against OTHER/build/bin/dcap --count 10000 --seed 1 [CAPTURE...]

Standard output, standard error, exit status and files written have to be the same. Every difference is told in a line
and makes the exit status 1; the capture is kept, so that the command line in the message shows it again. --allow takes a
regular expression for lines that may differ: they are left out before the rest is compared, and counted. The seed and
the number of a mutant make it: `--first NUMBER --count 1` tries it again. The tool under test is build/bin/dcap, or
$DCAP_TOOL.
"""
import collections
import multiprocessing
import os
import random
import re
import shlex
import sys
import tempfile
from pathlib import Path

import mutants
from harness import SOURCE, TOOL

COMMANDS = [("dump", "--jobs", "1"), ("dump", "--format", "jsonl", "--jobs", "1"),
            ("dump", "--format", "canonical", "--jobs", "1"), ("info", "--scan", "--json", "--jobs", "1"),
            ("frames",), ("stats", "--json")]
# Of these a mutant gets one in FURTHER_SHARE; a capture as it is gets all.
FURTHER_SHARE = 4
FURTHER_COMMANDS = [("-v", "dump", "--jobs", "2"), ("dump", "--format", "jsonl", "--jobs", "2"),
                    ("dump", "--format", "canonical", "--jobs", "2"), ("info", "--scan", "--jobs", "2"), ("info", "--json"),
                    ("dump", "--frames", "2-3", "--jobs", "2"), ("dump", "--class", "draw,upload"), ("stats", "--per-frame"),
                    ("frames", "--json"), ("finalize", "--dry-run"), ("finalize", "-o", "OUT"), ("repack", "-o", "OUT"),
                    ("repack", "--compression", "none", "--no-trailers", "-o", "OUT"),
                    ("trim", "--frames", "2-", "-o", "OUT")]


class Comparer:
    """Runs both builds in a folder of its own."""

    def __init__(self, other, allowed, folder):
        self.tools = (TOOL, other)
        self.allowed = [re.compile(pattern.encode()) for pattern in allowed]
        self.folder = Path(folder)
        self.counts = collections.Counter()

    def run(self, tool, command, path):
        """What a build makes of a capture: its exit status or signal, and the bytes of all that it writes."""
        output, errors, written = (str(self.folder / name) for name in ("stdout", "stderr", "written"))
        Path(written).unlink(missing_ok=True)
        command = [written if word == "OUT" else word for word in command]
        status, _, _ = mutants.run(command, path, output, errors, tool)
        self.counts["runs"] += 1
        code = os.waitstatus_to_exitcode(status)
        return {"exit status": str(code).encode(), "standard output": Path(output).read_bytes(),
                "standard error": Path(errors).read_bytes(),
                "file written": Path(written).read_bytes() if os.path.exists(written) else b""}

    def difference(self, command, path):
        """How the builds differ on a capture; empty if they do not."""
        ours, theirs = (self.run(tool, command, path) for tool in self.tools)
        if ours["exit status"] == theirs["exit status"] == b"-9":
            self.counts["runs that neither build ended in time"] += 1
            return ""
        for name, text in ours.items():
            if text != theirs[name]:
                where = self.first_difference(text, theirs[name])
                if where:
                    unsteady = self.run(self.tools[1], command, path)[name] != theirs[name]
                    return f"{name}, {where}{' (the other build differs from itself)' if unsteady else ''}"
        return ""

    def first_difference(self, text, other):
        lines, others = self.unallowed(text), self.unallowed(other)
        for (number, line), (_, other_line) in zip(lines, others):
            if line != other_line:
                return f"line {number}: {line!r:.300}, not {other_line!r:.300}"
        if len(lines) != len(others):
            number, line = (lines if len(lines) > len(others) else others)[min(len(lines), len(others))]
            return f"line {number}: {line!r:.300} is only here" if len(lines) > len(others) else \
                   f"line {number}: {line!r:.300} is missing"
        return ""

    def unallowed(self, text):
        lines = [(number, line) for number, line in enumerate(text.split(b"\n"), 1)
                 if not any(pattern.search(line) for pattern in self.allowed)]
        self.counts["lines that may differ"] += text.count(b"\n") + 1 - len(lines)
        return lines


def compare(comparer, path, name, commands, kept):
    """Runs the commands on a capture; a line for each that the builds do not do alike."""
    differences = []
    for command in commands:
        difference = comparer.difference(command, str(path))
        if difference:
            kept.parent.mkdir(parents=True, exist_ok=True)
            kept.write_bytes(Path(path).read_bytes())
            differences.append(f"{name}: dcap {shlex.join(command)} {kept}: {difference}")
    return differences


def set_arguments(*arguments):
    global _arguments
    _arguments = arguments


def try_mutants(bounds):
    sources, options = _arguments
    with tempfile.TemporaryDirectory(dir=mutants.SHARED_MEMORY) as folder:
        comparer = Comparer(options.against, options.allow, folder)
        path = Path(folder, "mutant.dcap")
        differences = []
        for index in range(*bounds):
            path.write_bytes(sources.make(index))
            rnd = random.Random(f"{options.seed}:{index}:commands")
            further = [command for command in FURTHER_COMMANDS if rnd.randrange(FURTHER_SHARE) == 0]
            differences += compare(comparer, path, f"mutant {index}", COMMANDS + further,
                                   Path(options.keep, f"mutant-{options.seed}-{index}.dcap"))
    return differences, bounds[1] - bounds[0], comparer.counts


def main():
    parser = mutants.options_of(__doc__)
    parser.add_argument("--against", metavar="DCAP", required=True, help="the other build of the tool")
    parser.add_argument("--keep", metavar="DIR", default=SOURCE / "build/different",
                        help="where captures that differ are kept (build/different)")
    parser.add_argument("--allow", metavar="REGEX", action="append", default=[], help="lines that may differ")
    options = parser.parse_args()
    differences, tried, counts = [], 0, collections.Counter()

    def report(found):
        differences.extend(found)
        print("\n".join(found), end="\n" if found else "", flush=True)

    with tempfile.TemporaryDirectory() as folder:
        paths = options.captures or mutants.all_kinds(folder)
        sources = mutants.Mutants(paths, options.seed)
        whole = Comparer(options.against, options.allow, folder)
        for path in paths:
            report(compare(whole, path, path.name, COMMANDS + FURTHER_COMMANDS, Path(options.keep, path.name)))
        counts += whole.counts
    last = options.first + options.count
    ranges = [(at, min(at + 20, last)) for at in range(options.first, last, 20)]
    # Forked, so that the captures need not be sent.
    with multiprocessing.get_context("fork").Pool(options.jobs, set_arguments, (sources, options)) as pool:
        for found, mutants_tried, more in pool.imap(try_mutants, ranges):
            report(found)
            tried += mutants_tried
            counts += more
            if tried % 1000 == 0:
                print(f"{tried} mutants, {len(differences)} differences", file=sys.stderr, flush=True)
    print(f"{len(paths)} captures and {tried} mutants of them, {len(differences)} differences;",
          ", ".join(f"{count} {name}" for name, count in counts.items()))
    sys.exit(1 if differences else 0)


if __name__ == "__main__":
    main()
