"""Small files that ask for much: a clear message, soon, and few lines of log."""
import struct

from harness import FileTest, run, write_capture

MILLION = 1_000_000
ASKS_TOO_MUCH = "A recorded size asks for more memory than there is to be had."
CANNOT_DECOMPRESS = "Could not decompress the API call data."


class Limits(FileTest):
    def check(self, *arguments, status, message="", lines=None):
        """Exit status, message on the standard error, and the number of lines on the standard output."""
        done = run(*arguments, self.file, status=status, timeout=60)
        self.assertIn(message, done.stderr.decode())
        self.assertLess(done.stderr.count(b"\n"), 50)
        if lines is not None:
            self.assertEqual(done.stdout.count(b"\n"), lines)

    def write_blocks(self, blocks, options=0x100):
        self.file.write_bytes(struct.pack("<4sIIQIQ", b"DCAP", 0, options, 0, 1, 32 + len(blocks)) + blocks)

    def test_a_million_unknown_blocks(self):
        frame = struct.pack("<HII", 1, 4, 1)
        self.write_blocks(frame + struct.pack("<HI", 7, 0) * MILLION)
        self.check("dump", status=0, message="repeated 262143 times", lines=2)
        self.check("info", "--scan", status=0)

    def test_a_million_unknown_sub_blocks(self):
        self.write_blocks(struct.pack("<HII", 1, 4 + 6 * MILLION, 1) + struct.pack("<HI", 9, 0) * MILLION)
        self.check("dump", status=0, message="repeated 262143 times", lines=2)

    def test_a_call_that_is_cut_a_hundred_thousand_times(self):
        write_capture(self.file, *[(0x9003, b"\1\0")] * 100_000)
        self.check("dump", status=0, message="repeated", lines=100_002)

    def test_strings_of_4_gib(self):
        write_capture(self.file, (0x902C, b""), (0x9002, struct.pack("<4I", 1, 2, 4, 0xFFFFFFFF)))
        self.check("dump", status=0, lines=4)
        strings = struct.pack("<9I", 1, 2, 6, 2, 0x14, 0xFFFFFFFF, 0x14, 0xFFFFFFFF, 0)
        write_capture(self.file, (0x902C, b""), (0x9062, strings))
        self.check("dump", status=1, message=ASKS_TOO_MUCH, lines=3)

    def test_an_array_of_4_billion_elements(self):
        write_capture(self.file, (0x9070, struct.pack("<4I", 1, 2, 2, 0xFFFFFFFF)))
        self.check("dump", status=1, message=ASKS_TOO_MUCH, lines=2)

    def test_a_table_of_4_billion_entries(self):
        record = struct.pack("<HIHHII", 1, 12, 3, 4, 7, 0xFFFFFFFF)
        self.write_blocks(struct.pack("<HII", 1, 4 + len(record), 1) + record)
        self.check("dump", status=0, message="too small", lines=2)

    def test_a_decompression_bomb(self):
        unit = b"\x1f\x00\x01\x00" + b"\xff" * 1000 + b"\x00\x50\0\0\0\0\0"
        for size, status in ((255 * 1001 + 1 + 19 - 255 + 5, 0), (0xFFFFFFFF, 1)):
            call = struct.pack("<HIHI", 5, 6 + len(unit), 0x902C, size) + unit
            self.write_blocks(struct.pack("<HII", 1, 4 + len(call), 1) + call, options=0x2100)
            with self.subTest(size):
                self.check("dump", status=status, message="" if status == 0 else CANNOT_DECOMPRESS,
                           lines=2 + (status == 0))
