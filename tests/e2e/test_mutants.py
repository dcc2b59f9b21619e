"""Damaged captures: no crash, no hang, no undocumented exit status, no great amount of memory."""
import os
import unittest

from harness import SAMPLE, captures, main
from mutants import Mutants, run_all

PLAIN = not os.environ.get("DCAPKIT_TEST_KIND")


class DamagedCaptures(unittest.TestCase):
    def test_every_mutant_ends_well(self):
        mutants = Mutants([SAMPLE, *captures(finished=False).values()], seed=1)
        total = run_all(mutants, first=0, count=400 if PLAIN else 40, jobs=2, frugal=PLAIN)
        self.assertEqual(total.failures, [], total)
        self.assertLess(len(total.large), 10, total)


if __name__ == "__main__":
    main()
