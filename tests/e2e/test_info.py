"""What info and frames tell of a capture, and how little of it they read."""
import json
import os
import struct
import subprocess
import unittest
from pathlib import Path

from harness import COUNTS_LINES, SAMPLE, TOOL, FileTest, captures, dcap, frames, run, summary


def info(path, *options, **how):
    return json.loads(dcap("info", "--json", *options, path, **how))


class Info(FileTest):
    def test_the_figures_of_real_captures_are_those_of_their_summaries(self):
        for name, path in captures(finished=False).items():
            with self.subTest(name):
                expected = summary(path)
                told = info(path, "--scan")
                self.assertEqual(told["finalised"], not name.endswith("-unfinished"))
                self.assertEqual(told["optionMask"], int(expected["option_mask"], 16))
                self.assertEqual(told["compression"], expected["compression"])
                self.assertEqual(told["processedSetUpBlocks"], expected["set_up_blocks"])
                self.assertEqual((told["firstNumber"], told["lastNumber"]), (1, told["frames"]))
                self.assertEqual(told["payloadBytes"] - told["storedPayloadBytes"],
                                 expected["compressed_payload_bytes_inflated"] - expected["compressed_payload_bytes"])

    def test_frames_lie_one_behind_the_other(self):
        position = 32
        for number, frame in enumerate(frames(SAMPLE), 1):
            self.assertEqual(frame["frame"], number)
            self.assertEqual(frame["offset"], position)
            position += frame["bytes"]
        self.assertEqual(position, SAMPLE.stat().st_size)
        table = [list(map(int, line.split())) for line in dcap("frames", SAMPLE).splitlines()[1:]]
        self.assertEqual(table, [list(frame.values()) for frame in frames(SAMPLE)])

    def test_what_an_unfinished_capture_lacks_is_told(self):
        whole = bytearray(SAMPLE.read_bytes())
        last = frames(SAMPLE)[-1]["offset"]
        whole[20:32] = bytes(12)
        whole[last + 2:last + 6] = bytes(4)
        self.file.write_bytes(whole[:-8])
        told = info(self.file)
        self.assertEqual(told["missing"], ["frame count", "file size", "last block size", "trailer"])
        self.assertEqual(frames(self.file), frames(SAMPLE))
        self.assertIn(b"state:            unfinished: frame count", dcap("info", self.file))
        self.file.write_bytes(whole[:-9])
        told = info(self.file, status=3)
        self.assertTrue(told["cut"])
        self.assertEqual(told["bytes"] - told["leftOutBytes"] + 8, told["finalisedBytes"])
        self.assertLess(frames(self.file, status=3)[-1]["bytes"], frames(SAMPLE)[-1]["bytes"])

    def test_a_damaged_capture_is_told_from_a_cut_one(self):
        whole = bytearray(SAMPLE.read_bytes())
        second = frames(SAMPLE)[1]["offset"]
        whole[second + 4] = 1  # the block is 64 KiB larger now
        self.file.write_bytes(whole)
        told = info(self.file, status=1)
        self.assertEqual((told["damaged"], told["cut"], told["frames"]), (True, False, 1))
        self.assertEqual(len(frames(self.file, status=1)), 1)
        self.assertIn(f": offset {second}: after frame 1 (number 1): The block runs past the end",
                      run("frames", self.file, status=1).stderr.decode())
        run("finalize", self.file, status=1)
        self.assertEqual(self.file.read_bytes(), whole)

    def test_empty_captures_are_captures(self):
        self.file.write_bytes(SAMPLE.read_bytes()[:20] + struct.pack("<IQ", 0, 32))
        self.assertEqual(frames(self.file), [])
        told = info(self.file, "--scan")
        self.assertEqual((told["finalised"], told["frames"], told["payloadBytes"]), (True, 0, 0))

    @unittest.skipIf(COUNTS_LINES, "the files of counts are read, too")
    def test_payloads_are_not_read(self):
        payload, count = 20 << 20, 100
        frame = 6 + 4 + 10 + 2 + payload + 8
        end = 32 + count * frame
        with open(self.file, "wb") as file:  # 2 GB, nearly all of it a hole; the last frame is empty
            file.write(struct.pack("<4sIIQIQ", b"DCAP", 0, 0x40, 0, count + 1, end + 18))
            for i in range(count):
                file.seek(32 + i * frame)
                file.write(struct.pack("<HIIHIIH", 1, frame - 6, i + 1, 3, 2 + payload, 7, 0x9062))
                file.seek(32 + (i + 1) * frame - 8)
                file.write(b"\xEE" * 8)
            file.write(struct.pack("<HII", 1, 12, count + 1) + b"\xEE" * 8)
        last = ["--frames", "0,101-"]
        for command in (["info"], ["info", "--scan"], ["frames"], ["finalize", "--dry-run"],
                        ["dump", *last], ["stats", *last], ["trim", *last, "-o", self.out]):
            with self.subTest(command):
                tool = subprocess.Popen([TOOL, *command, self.file], stdout=subprocess.DEVNULL)
                os.waitid(os.P_PID, tool.pid, os.WEXITED | os.WNOWAIT)
                read = int(Path(f"/proc/{tool.pid}/io").read_text().split()[1])
                _, status, usage = os.wait4(tool.pid, 0)
                tool.returncode = status
                self.assertEqual(status, 0)
                self.assertLess(read, 4 << 20)
                # Were the file mapped, reading it would be a page fault for every 64 KiB.
                self.assertLess(usage.ru_minflt + usage.ru_majflt, 8000)
        self.assertEqual(info(self.file, "--scan")["payloadBytes"], count * payload)
        self.assertIn(b"\n# frame 101, number 101, 12 bytes\n", dcap("dump", *last, self.file))
        self.assertEqual(self.out.stat().st_size, 32 + 18)
