#!/usr/bin/python3
"""Holds two builds of the tool against each other, on captures and on damaged copies of them.

    tests/e2e/same_output.py --against OTHER/build/bin/dcap --count 10000 --seed 1 [CAPTURE...]

Standard output, standard error, exit status and files written have to be the same. Every difference is told in a line
and makes the exit status 1. The tool under test is build/bin/dcap, or $DCAP_TOOL.
"""
import itertools
import os
import random
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


def result(tool, command, path, folder):
    """What a build makes of a capture: its exit status or signal, and the bytes of all that it writes."""
    output, errors, written = (Path(folder, name) for name in ("stdout", "stderr", "written"))
    written.write_bytes(b"")
    command = [str(written) if word == "OUT" else word for word in command]
    status, _, _ = mutants.run(command, path, output, errors, tool)
    return {"exit status": str(os.waitstatus_to_exitcode(status)).encode(), "standard output": output.read_bytes(),
            "standard error": errors.read_bytes(), "file written": written.read_bytes()}


def first_difference(text, other):
    for number, (line, wanted) in enumerate(itertools.zip_longest(text.split(b"\n"), other.split(b"\n")), 1):
        if line != wanted:
            return f"line {number}: {line!r:.300}, not {wanted!r:.300}"


def compare(other, path, commands):
    """What the builds do not do alike with a capture, a line for each command."""
    found = []
    with tempfile.TemporaryDirectory(dir=mutants.SHARED_MEMORY) as folder:
        for command in commands:
            ours, theirs = (result(tool, command, path, folder) for tool in (TOOL, other))
            found += [f"dcap {shlex.join(command)}: {what}, {first_difference(ours[what], theirs[what])}"
                      for what in ours if ours[what] != theirs[what]]
    return found


def main():
    parser = mutants.options_of(__doc__)
    parser.add_argument("--against", metavar="DCAP", required=True, help="the other build of the tool")
    parser.add_argument("--keep", metavar="DIR", default=SOURCE / "build/different",
                        help="where mutants that differ are kept (build/different)")
    options = parser.parse_args()

    def attempt(path, index, _):
        rnd = random.Random(f"{options.seed}:{index}:commands")
        return compare(options.against, path, COMMANDS + [command for command in FURTHER_COMMANDS
                                                          if rnd.randrange(FURTHER_SHARE) == 0])

    with tempfile.TemporaryDirectory() as folder:
        paths = options.captures or mutants.all_kinds(folder)
        sources = mutants.Mutants(paths, options.seed)
        differences = [f"{path}: {text}" for path in paths
                       for text in compare(options.against, path, COMMANDS + FURTHER_COMMANDS)]
    print(f"{len(paths)} captures", *differences, sep="\n", flush=True)
    total = mutants.run_all(sources, options.first, options.count, options.jobs, attempt, options.keep)
    print(total)
    sys.exit(1 if differences or total.failures else 0)


if __name__ == "__main__":
    main()
