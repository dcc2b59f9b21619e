#!/usr/bin/python3
"""Damages captures in every way that storage and crashes do, and lets the tool read what is left.

    tests/e2e/mutants.py --count 100000 --seed 7 [CAPTURE...]

Each mutant goes through `dcap dump`, `dcap info --scan` and `dcap finalize`. Fails for a signal, for an exit status that is
not documented, for more than 10 seconds and for more than 1 GiB of memory. With --compare, the canonical form of each has
to be the one that the independent reader makes of it instead, and so has the exit status. The seed and the number of a
mutant make it: `--first NUMBER --count 1 --keep DIR` writes it to a file.
"""
import argparse
import collections
import itertools
import multiprocessing
import os
import random
import signal
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import lz4.block
import lz4.frame

import reader
from harness import SAMPLE, SOURCE, TOOL, captures

RANDOM_CAPTURE = os.environ.get("RANDOM_CAPTURE", str(SOURCE / "build/bin/random_capture"))
MIB = 1 << 20
COMMANDS = (("dump",), ("info", "--scan"), ("finalize",))
STATUSES = (0, 1, 3)
SECONDS = 10
MEMORY = 1024 * MIB
SHARED_MEMORY = "/dev/shm" if os.path.isdir("/dev/shm") else None


def real_captures():
    return [SAMPLE, *captures(finished=False).values()]


def all_kinds(folder):
    """All captures there are, the sample in each kind of compression, and random ones, written to a folder."""
    lz77, frames = Path(folder, "sample-lz77.dcap"), Path(folder, "sample-lz4-frames.dcap")
    subprocess.run([TOOL, "repack", "--compression", "lz77", "-o", lz77, SAMPLE], check=True)
    frames.write_bytes(with_lz4_frames(SAMPLE.read_bytes()))
    subprocess.run([RANDOM_CAPTURE, folder, "40", "1"], check=True)
    for seed in range(4):
        Path(folder, f"words-{seed}.dcap").write_bytes(capture_of_words(random.Random(seed)))
    return [*real_captures(), *sorted(Path(folder).glob("*.dcap"))]


def capture_of_words(rnd):
    """Every record and every call, with payloads of numbers that are likely counts, lengths, flags and functions."""
    def payload(size):
        words = [rnd.choice((0, 1, 1, 2, 2, 3, 4, 6, 8, 9, 10, 12, 14, 18, 20, 22, 34)) if rnd.randrange(50)
                 else rnd.choice((reader.VERTEX, reader.VERTEX_I, -1)) for _ in range(size)]
        return struct.pack(f"<{size}i", *words) + bytes(rnd.randrange(4))
    kinds = [(1, struct.pack("<HH", *kind)) for kind in [*reader.RECORDS, (4, 7), (5, 1)] for _ in range(20)]
    kinds += [(3, struct.pack("<H", call)) for call in reader.CALLS]
    rnd.shuffle(kinds)
    block = struct.pack("<I", 1)
    for kind, description in kinds:
        content = description + payload(rnd.randrange(rnd.choice((2, 6, 14, 40))))  # short ones lack the most
        block += struct.pack("<HI", kind, len(content)) + content
    return struct.pack("<4sIIQIQHI", b"DCAP", 0, 0x100, 0, 1, 38 + len(block), 1, len(block)) + block


def with_lz4_frames(data):
    """The same capture with each raw LZ4 block as a frame, with and without checksums."""
    out, options = bytearray(data[:32]), struct.unpack_from("<I", data, 8)[0]
    width = 10 if options & 0x40 else 6
    at, trailer = 32, b"" if options & 0x100 else data[-8:]
    while at < len(data):
        kind, size = struct.unpack_from("<HI", data, at)
        body, sub, end = bytearray(data[at + 6:at + 10]), at + 10, at + 6 + size - len(trailer)
        while sub < end:
            sub_kind, sub_size = struct.unpack_from("<HI", data, sub)
            content = data[sub + width:sub + width + sub_size]
            if sub_kind == 5:
                checked = len(content) % 2 == 1
                plain = lz4.block.decompress(content[6:], uncompressed_size=struct.unpack_from("<I", content, 2)[0])
                content = content[:6] + lz4.frame.compress(plain, content_checksum=checked, block_checksum=checked,
                                                           block_linked=checked, store_size=checked)
            body += struct.pack("<HI", sub_kind, len(content)) + data[sub + 6:sub + width] + content
            sub += width + sub_size
        out += struct.pack("<HI", kind, len(body) + len(trailer)) + body + trailer
        at += 6 + size
    struct.pack_into("<Q", out, 24, len(out))
    return bytes(out)


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
        self.blocks = self.blocks or [(0, len(self.data))]
        self.headers = self.headers or [0]


class Mutants:
    """Mutant `i` of a seed is the same in every run over the same captures."""

    def __init__(self, paths, seed):
        self.sources = [Source(path) for path in paths]
        # Small captures are read faster, and a byte of theirs matters more.
        self.weights = [1 / max(4096, len(source.data)) for source in self.sources]
        self.seed = seed

    def make(self, index):
        rnd = random.Random(f"{self.seed}:{index}")
        source, = rnd.choices(self.sources, self.weights)
        data = bytearray(source.data)
        change = rnd.choice(CHANGES)
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


def zero_page(data, source, rnd):
    """A sector or page that never reached the disk."""
    first, end = page(data, source, rnd)
    data[first:end] = bytes(end - first)


def lose_page(data, source, rnd):
    first, end = page(data, source, rnd)
    if end - first < len(data):
        del data[first:end]


def page(data, source, rnd):
    size = rnd.choice((512, 4096))
    first = place(data, source, rnd) // size * size
    return first, min(first + size, len(data))


def set_type(data, source, rnd):
    """Makes a block or sub-block another one, known or not."""
    at = rnd.choice(source.headers)
    if at + 2 <= len(data):
        struct.pack_into("<H", data, at, rnd.choice((0, 1, 2, 3, 4, 5, 6, 0x5555)))


CHANGES = (flip_bit, change_byte, change_byte, set_number, cut, double, swap) * 3 + (zero_page, lose_page, set_type)


class Result:
    """What came out of a number of mutants."""

    def __init__(self):
        self.mutants = 0
        self.statuses = collections.Counter()
        self.failures = []
        self.slowest = (0, 0, "")

    def add(self, other):
        self.mutants += other.mutants
        self.statuses += other.statuses
        self.failures += other.failures
        self.slowest = max(self.slowest, other.slowest)

    def __str__(self):
        lines = [f"{self.mutants} mutants, slowest run {self.slowest[0]:.2f} s "
                 f"({self.slowest[2]} of {self.slowest[1]})"]
        for command in COMMANDS:
            name = " ".join(command)
            counts = [f"exit status {status} {count} times"
                      for (of, status), count in sorted(self.statuses.items()) if of == name]
            if counts:
                lines.append(f"{name}: {', '.join(counts)}")
        return "\n".join(lines + self.failures)


def run(command, path, output=os.devnull, errors=os.devnull, tool=TOOL):
    """Runs the tool; its wait status, the seconds and the peak of its memory."""
    files = [(os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0)]
    files += [(os.POSIX_SPAWN_OPEN, fd, name, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
              for fd, name in ((1, output), (2, errors))]
    started = time.monotonic()
    child = os.posix_spawn(tool, [tool, *command, path], os.environ, file_actions=files)
    signal.signal(signal.SIGALRM, lambda *_: os.kill(child, signal.SIGKILL))
    signal.alarm(SECONDS)
    _, status, usage = os.wait4(child, 0)
    signal.alarm(0)
    return status, time.monotonic() - started, usage.ru_maxrss * 1024


def differences(path, *_):
    """How the tool's canonical form and the independent reader's differ."""
    done = subprocess.run([TOOL, "dump", "--format", "canonical", path], capture_output=True, text=True, timeout=SECONDS)
    text, expected = reader.read(Path(path).read_bytes())
    if done.returncode != expected:
        return [f"exit status {done.returncode}, of the reader {expected}"]
    pairs = itertools.zip_longest(done.stdout.splitlines(), text.splitlines())
    for number, (line, other) in enumerate(pairs, 1):
        if line != other:
            return [f"line {number}: {line!r:.300}, of the reader {other!r:.300}"]
    return []


def try_commands(path, index, result):
    """Runs every command on a mutant; returns what went wrong."""
    frugal = not os.environ.get("DCAPKIT_TEST_KIND")
    failures = []
    for command in COMMANDS:
        name = " ".join(command)
        status, seconds, memory = run(command, path)
        result.slowest = max(result.slowest, (seconds, index, name))
        if os.WIFSIGNALED(status):
            failures.append(f"{name}: signal {os.WTERMSIG(status)} after {seconds:.1f} s")
            continue
        result.statuses[name, os.WEXITSTATUS(status)] += 1
        if os.WEXITSTATUS(status) not in STATUSES:
            failures.append(f"{name}: exit status {os.WEXITSTATUS(status)}")
        if frugal and memory > MEMORY:
            failures.append(f"{name}: {memory // MIB} MiB")
    return failures


def try_range(bounds):
    mutants, attempt, keep = _arguments
    result = Result()
    with tempfile.TemporaryDirectory(dir=SHARED_MEMORY) as folder:
        path = os.path.join(folder, "mutant.dcap")
        for index in range(*bounds):
            data = mutants.make(index)
            Path(path).write_bytes(data)
            failures = attempt(path, index, result)
            result.mutants += 1
            result.failures += [f"seed {mutants.seed} mutant {index}: {text}" for text in failures]
            if keep and (failures or bounds[1] - bounds[0] == 1):
                Path(keep, f"mutant-{mutants.seed}-{index}.dcap").write_bytes(data)
    return result


def run_all(mutants, first, count, jobs, attempt, keep=None):
    """Makes `count` mutants in `jobs` processes, and of each the attempt, a function of its path, its number and a
    Result to be filled, that tells what went wrong."""
    if keep:
        Path(keep).mkdir(parents=True, exist_ok=True)
    step = 100
    total = Result()
    # Forked, so that the captures need not be sent.
    with multiprocessing.get_context("fork").Pool(jobs, set_arguments, (mutants, attempt, keep)) as pool:
        last = first + count
        for done in pool.imap_unordered(try_range, [(at, min(at + step, last)) for at in range(first, last, step)]):
            total.add(done)
            if total.mutants % 10000 == 0 and total.mutants < count:
                print(total, flush=True)
    return total


def set_arguments(*arguments):
    global _arguments
    _arguments = arguments


def options_of(description):
    """A parser of the options that every program about mutants has."""
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--count", type=int, default=1000, help="how many mutants (1000)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--first", type=int, default=0, help="number of the first (0)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at a time")
    parser.add_argument("captures", metavar="CAPTURE", type=Path, nargs="*",
                        help="what to damage; by default the captures of real programs and the sample, "
                             "for comparing also random captures")
    return parser


def main():
    parser = options_of(__doc__)
    parser.add_argument("--compare", action="store_true", help="compare with the independent reader")
    parser.add_argument("--keep", metavar="DIR", help="write those that fail, or the only one, to DIR")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        mutants = Mutants(options.captures or (all_kinds(folder) if options.compare else real_captures()), options.seed)
    total = run_all(mutants, options.first, options.count, options.jobs,
                    differences if options.compare else try_commands, options.keep)
    print(total)
    sys.exit(1 if total.failures else 0)


if __name__ == "__main__":
    main()
