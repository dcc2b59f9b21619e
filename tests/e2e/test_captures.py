"""Captures of real programs: what the tool lists of them is what was recorded."""
import collections
import unittest

from harness import canonical, captures, dcap, main, summary


class Captures(unittest.TestCase):
    def test_canonical_form_is_what_was_recorded(self):
        for name, path in captures().items():
            with self.subTest(name):
                self.assertEqual(dcap("dump", "--format", "canonical", path).splitlines(),
                                 canonical(path).splitlines())

    def test_text_lists_every_call_and_record_once(self):
        for name, path in captures().items():
            with self.subTest(name):
                expected = summary(path)
                lines = dcap("dump", path).decode("ascii").splitlines()
                names = collections.Counter(
                    line.split(" ", 1)[1].split("(", 1)[0] for line in lines
                    if not line.startswith("#"))
                meta = {k.removeprefix("meta."): n for k, n in names.items() if k.startswith("meta.")}
                self.assertEqual(meta, expected["metadata_records"])
                client = expected["client_data_operations"]
                self.assertEqual({k: n for k, n in names.items() if k in client}, client)
                calls = {k: n for k, n in names.items() if k[:2] in ("gl", "eg")}
                self.assertEqual(calls, expected["calls_by_name"])
                frames = sum(line.startswith("# frame ") for line in lines)
                self.assertEqual(frames, expected["frame_blocks"])


if __name__ == "__main__":
    main()
