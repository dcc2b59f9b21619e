"""The example programs: what they print is what the tool lists of the same capture."""
import collections
import re
import subprocess
import tempfile
import unittest
from pathlib import Path

from harness import SAMPLE, TOOL, captures, jsonl

INPUTS = {**captures(), "sample": SAMPLE}


def example(name, *arguments, status=0):
    program = Path(TOOL).with_name(name)
    done = subprocess.run([program, *map(str, arguments)], capture_output=True, check=False)
    if done.returncode != status:
        raise AssertionError(f"{name} {arguments}: exit status {done.returncode}, not {status}\n"
                             f"{done.stderr.decode(errors='replace')}")
    return done.stdout.decode().splitlines()


class Examples(unittest.TestCase):
    def test_draws_per_frame_counts_what_is_listed(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                lines = jsonl(path, "--calls", "glDrawArrays,glDrawElements")
                draws = collections.Counter(line["frame"] for line in lines if line["type"] == "call")
                frames = lines[0]["frames"]
                self.assertEqual(example("draws_per_frame", path),
                                 [str(draws[frame]) for frame in range(1, frames + 1)])

    def test_print_thread_prints_the_calls_of_that_thread(self):
        for name, path in INPUTS.items():
            calls = [line for line in jsonl(path) if line["type"] == "call"]
            for thread in {call.get("thread", 0) for call in calls}:
                with self.subTest(name, thread=thread):
                    self.assertEqual(
                        [re.match(r"(\d+) (\w+)\(", line).groups() for line in example("print_thread", path, thread)],
                        # Set-up calls come before a first frame ends.
                        [(str(call["frame"] or 1), call["name"]) for call in calls if call.get("thread", 0) == thread])
        self.assertEqual(example("print_thread", SAMPLE, 4102), [
            "3 glGenTextures(n=1, textures=[1 elements])",
            "3 glBindTexture(target=GL_TEXTURE_2D, texture=5)",
            "3 glTexParameteri(target=GL_TEXTURE_2D, pname=GL_TEXTURE_MIN_FILTER, param=9729)",
            "3 glTexImage2D(target=GL_TEXTURE_2D, level=0, internalformat=6408, width=64, height=64, "
            "border=0, format=GL_RGBA, type=GL_UNSIGNED_BYTE, pixels=[16384 elements])",
            "3 glFenceSync(condition=GL_SYNC_GPU_COMMANDS_COMPLETE, flags=0) = 1"])

    def test_keep_textures_keeps_the_bytes_of_every_image(self):
        for name, path in INPUTS.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                listed = [line for line in jsonl(path, "--calls", "gl*Tex*Image?D,!glCopy*") if "crc32" in str(line)]
                kept = [line.rsplit(", ", 1)[1] for line in example("keep_textures", path, folder)]
                self.assertEqual(len(kept), len(listed))
                for name, line in zip(kept, listed):
                    data = Path(folder, name).read_bytes()
                    size = int(re.search(r"'bytes': (\d+)", str(line))[1])
                    self.assertEqual(len(data.split(b"ENDHDR\n", 1)[-1]), size)
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(example("keep_textures", SAMPLE, folder), [
                "frame 3: glTexImage2D, 64x64x1, format 0x1908, type 0x1401, 1.pam"])

    def test_largest_payloads_come_first(self):
        self.assertEqual(example("largest_payloads", SAMPLE)[:2], [
            "16424 bytes, frame number 3, glTexImage2D",
            "192 bytes, frame number 1, glShaderSource"])
        for name, path in INPUTS.items():
            with self.subTest(name):
                lines = example("largest_payloads", path)
                sizes = [int(line.split()[0]) for line in lines]
                self.assertEqual((len(lines), sizes), (10, sorted(sizes, reverse=True)))

    def test_object_uses_counts_the_arguments_that_name_objects(self):
        for name, path in INPUTS.items():
            with self.subTest(name):
                named = collections.Counter()
                for line in jsonl(path):
                    if line["type"] == "call":
                        named.update(("program", value) for key, value in line["args"].items()
                                     if key == "program" and value)
                        if line["name"] == "glCreateProgram":
                            named["program", line["result"]] += 1
                counted = dict(line.split(": ") for line in example("object_uses", path))
                self.assertEqual({key: int(count) for key, count in counted.items() if key.startswith("program ")},
                                 {f"{kind} {number}": n for (kind, number), n in named.items()})
        self.assertIn("texture 5: 1", example("object_uses", SAMPLE))

    def test_what_is_no_capture_is_an_error(self):
        for name in ("draws_per_frame", "largest_payloads", "object_uses"):
            example(name, __file__, status=1)
            example(name, "/nonexistent.dcap", status=1)
            example(name, status=1)
        example("print_thread", __file__, 1, status=1)
        with tempfile.TemporaryDirectory() as folder:
            example("keep_textures", __file__, folder, status=1)
            example("record_sample", folder, status=1)
