#!/usr/bin/env python3
"""Damages captures in every way that storage and crashes do, and lets the tool read what is left.

    tests/e2e/mutants.py --count 100000 --seed 7 [CAPTURE...]

Each mutant goes through `dcap dump`, `dcap info --scan` and `dcap finalize`. Fails for a signal, for an exit status that is
not documented, for more than 10 seconds and for more than 1 GiB of memory. The seed and the number of a mutant make it:
`--first NUMBER --count 1 --keep DIR` writes it to a file.
"""
import argparse
import collections
import multiprocessing
import os
import random
import signal
import struct
import sys
import tempfile
import time
from pathlib import Path

from harness import SAMPLE, TOOL, captures

MIB = 1 << 20
COMMANDS = (("dump",), ("info", "--scan"), ("finalize",))
STATUSES = (0, 1, 3)
SECONDS = 10
MEMORY = 1024 * MIB
REMARKABLE_MEMORY = 64 * MIB


class Source:
    """A capture, and where its blocks and headers are."""

    def __init__(self, path):
        self.name = path.stem
        self.data = path.read_bytes()
        self.blocks = []   # first and end offsets
        self.headers = []  # offsets of block and sub-block headers
        options, = struct.unpack_from("<I", self.data, 8)
        at = 32
        while at + 6 <= len(self.data):
            size, = struct.unpack_from("<I", self.data, at + 2)
            end = min(at + 6 + size, len(self.data))
            self.blocks.append((at, end))
            self.headers.append(at)
            sub = at + 10
            while sub + 10 <= end - (0 if options & 0x100 else 8):
                self.headers.append(sub)
                sub += (10 if options & 0x40 else 6) + struct.unpack_from("<I", self.data, sub + 2)[0]
            at = end


class Mutants:
    """Mutant `i` of a seed is the same in every run over the same captures."""

    def __init__(self, paths, seed):
        self.sources = [Source(path) for path in paths]
        # Small captures are read faster, and a byte of theirs matters more.
        self.weights = [1 / len(source.data) for source in self.sources]
        self.seed = seed

    def make(self, index):
        rnd = random.Random(f"{self.seed}:{index}")
        source, = rnd.choices(self.sources, self.weights)
        data = bytearray(source.data)
        change = rnd.choice((flip_bit, change_byte, change_byte, set_number, cut, double, swap))
        for _ in range(rnd.choice((1, 1, 1, 2, 4))):
            change(data, source, rnd)
        if rnd.random() < 0.2:
            data[rnd.randrange(min(32, len(data)))] ^= 1 << rnd.randrange(8)
        return data


def place(data, source, rnd):
    """An offset: half of the time in or right behind a header, where the sizes are."""
    if rnd.random() < 0.5:
        at = rnd.choice(source.headers) + rnd.randrange(32)
        if at < len(data):
            return at
    return rnd.randrange(len(data))


def flip_bit(data, source, rnd):
    data[place(data, source, rnd)] ^= 1 << rnd.randrange(8)


def change_byte(data, source, rnd):
    data[place(data, source, rnd)] = rnd.randrange(256)


def set_number(data, source, rnd):
    at = place(data, source, rnd)
    number = rnd.choice((0, 1, 7, 0xFFFF, 1 << 20, 1 << 27, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF))
    data[at:at + 4] = struct.pack("<I", number)


def cut(data, source, rnd):
    """What a full disk leaves, or a piece that is lost."""
    at = max(1, place(data, source, rnd))
    del data[at:len(data) if rnd.random() < 0.5 else at + rnd.randrange(5000)]


def piece(data, source, rnd):
    """Bounds of a block, or of any bytes."""
    first, end = rnd.choice(source.blocks)
    if rnd.random() < 0.5 or first >= len(data):
        first = place(data, source, rnd)
        end = first + rnd.randrange(5000)
    return first, min(end, len(data))


def double(data, source, rnd):
    first, end = piece(data, source, rnd)
    at = place(data, source, rnd) if rnd.random() < 0.5 else end
    data[at:at] = data[first:end]


def swap(data, source, rnd):
    (a, b), (c, d) = sorted((piece(data, source, rnd), piece(data, source, rnd)))
    if b <= c:
        data[a:d] = data[c:d] + data[b:c] + data[a:b]


class Result:
    """What came out of a number of mutants."""

    def __init__(self):
        self.mutants = 0
        self.statuses = collections.Counter()
        self.failures = []
        self.large = []
        self.slowest = (0, 0, "")

    def add(self, other):
        self.mutants += other.mutants
        self.statuses += other.statuses
        self.failures += other.failures
        self.large += other.large
        self.slowest = max(self.slowest, other.slowest)

    def __str__(self):
        lines = [f"{self.mutants} mutants, slowest run {self.slowest[0]:.2f} s "
                 f"({self.slowest[2]} of {self.slowest[1]})"]
        for command in COMMANDS:
            name = " ".join(command)
            lines.append(f"{name}: " + ", ".join(
                f"exit status {status} {count} times" for (of, status), count
                in sorted(self.statuses.items()) if of == name))
        lines.append(f"{len(self.large)} runs took more than 64 MiB")
        lines += [f"  {size // MIB} MiB: {name} of {index}" for size, index, name in sorted(self.large)[-5:]]
        return "\n".join(lines + self.failures)


def run(command, path):
    """Runs the tool; its wait status, the seconds and the peak of its memory."""
    nothing = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_RDWR, 0) for fd in (0, 1, 2)]
    started = time.monotonic()
    child = os.posix_spawn(TOOL, [TOOL, *command, path], os.environ, file_actions=nothing)
    signal.signal(signal.SIGALRM, lambda *_: os.kill(child, signal.SIGKILL))
    signal.alarm(SECONDS)
    _, status, usage = os.wait4(child, 0)
    signal.alarm(0)
    return status, time.monotonic() - started, usage.ru_maxrss * 1024


def try_mutants(mutants, indices, keep, frugal):
    result = Result()
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as folder:
        path = os.path.join(folder, "mutant.dcap")
        for index in indices:
            data = mutants.make(index)
            Path(path).write_bytes(data)
            failures = []
            for command in COMMANDS:
                name = " ".join(command)
                status, seconds, memory = run(command, path)
                result.slowest = max(result.slowest, (seconds, index, name))
                if frugal and memory > REMARKABLE_MEMORY:
                    result.large.append((memory, index, name))
                if os.WIFSIGNALED(status):
                    failures.append(f"{name}: signal {os.WTERMSIG(status)} after {seconds:.1f} s")
                    continue
                result.statuses[name, os.WEXITSTATUS(status)] += 1
                if os.WEXITSTATUS(status) not in STATUSES:
                    failures.append(f"{name}: exit status {os.WEXITSTATUS(status)}")
                if frugal and memory > MEMORY:
                    failures.append(f"{name}: {memory // MIB} MiB")
            result.mutants += 1
            result.failures += [f"seed {mutants.seed} mutant {index}: dcap {text}" for text in failures]
            if keep and (failures or len(indices) == 1):
                Path(keep, f"mutant-{mutants.seed}-{index}.dcap").write_bytes(data)
    return result


def run_all(mutants, first, count, jobs, keep=None, frugal=True):
    """Tries `count` mutants in `jobs` processes. Memory is looked at when `frugal`."""
    step = 100
    total = Result()
    # Forked, so that the captures need not be sent.
    with multiprocessing.get_context("fork").Pool(jobs, set_mutants, (mutants, keep, frugal)) as pool:
        last = first + count
        for done in pool.imap_unordered(try_range, [(at, min(at + step, last))
                                                    for at in range(first, last, step)]):
            total.add(done)
            if count > 10000 and total.mutants % 10000 == 0:
                print(total, flush=True)
    return total


def set_mutants(*arguments):
    global _arguments
    _arguments = arguments


def try_range(bounds):
    mutants, keep, frugal = _arguments
    return try_mutants(mutants, range(*bounds), keep, frugal)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--count", type=int, default=1000, help="how many mutants (1000)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--first", type=int, default=0, help="number of the first (0)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at a time")
    parser.add_argument("--keep", metavar="DIR", help="write those that fail, or the only one, to DIR")
    parser.add_argument("captures", metavar="CAPTURE", type=Path, nargs="*",
                        help="what to damage; by default all captures of real programs and the sample")
    options = parser.parse_args()
    paths = options.captures or [SAMPLE, *captures(finished=False).values()]
    total = run_all(Mutants(paths, options.seed), options.first, options.count, options.jobs, options.keep)
    print(total)
    sys.exit(1 if total.failures else 0)


if __name__ == "__main__":
    main()
