"""Damaged captures: no crash, no hang, no undocumented exit status, no great amount of memory; and an independent
reader agrees with every value."""
import os
import tempfile
import unittest
from pathlib import Path

import mutants
from harness import main

PLAIN = not os.environ.get("DCAPKIT_TEST_KIND")


class DamagedCaptures(unittest.TestCase):
    def test_every_mutant_ends_well(self):
        damaged = mutants.Mutants(mutants.real_captures(), seed=1)
        total = mutants.run_all(damaged, first=0, count=400 if PLAIN else 40, jobs=2, frugal=PLAIN)
        self.assertEqual(total.failures, [], total)
        self.assertLess(len(total.large), 10, total)


class IndependentReader(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.paths = mutants.all_kinds(folder.name)

    def test_it_agrees_about_every_capture(self):
        for path in self.paths:
            with self.subTest(path.name):
                self.assertEqual(mutants.difference(path, Path(self.folder, "text")), "")

    def test_it_agrees_about_mutants(self):
        damaged = mutants.Mutants(self.paths, seed=1)
        total = mutants.run_all(damaged, first=0, count=300 if PLAIN else 30, jobs=2, compare=True)
        self.assertEqual(total.failures, [], total)


if __name__ == "__main__":
    main()
