"""Damaged captures: no crash, no hang, no undocumented exit status, no great amount of memory; and an independent
reader agrees with every value."""
import os
import tempfile
import unittest

import mutants

PLAIN = not os.environ.get("DCAPKIT_TEST_KIND")


class DamagedCaptures(unittest.TestCase):
    def test_every_mutant_ends_well(self):
        damaged = mutants.Mutants(mutants.real_captures(), seed=1)
        total = mutants.run_all(damaged, 0, 400 if PLAIN else 40, jobs=2, attempt=mutants.try_commands)
        self.assertEqual(total.failures, [], total)


class IndependentReader(unittest.TestCase):
    def test_it_agrees_about_every_capture_and_about_mutants(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = mutants.all_kinds(folder)
            for path in paths:
                self.assertEqual(mutants.differences(path), [], path)
            damaged = mutants.Mutants(paths, seed=1)
        total = mutants.run_all(damaged, 0, 300 if PLAIN else 30, jobs=2, attempt=mutants.differences)
        self.assertEqual(total.failures, [], total)
