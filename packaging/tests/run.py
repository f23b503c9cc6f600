#!/usr/bin/python3
"""Tests every recipe, or those that are named: packaging/tests/run.py [bioconda] [galaxy] [nf_core] [container]

Ends with a line "N passed, N failed"; what cannot run here is named and counted as skipped.
"""
import sys
import unittest

RECIPES = ("bioconda", "galaxy", "nf_core", "container")


class CountingResult(unittest.TextTestResult):
    passed = 0

    def addSuccess(self, test):
        super().addSuccess(test)
        self.passed += 1


def main(names):
    suite = unittest.defaultTestLoader.loadTestsFromNames([f"{name}_test" for name in names or RECIPES])
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2, resultclass=CountingResult).run(suite)
    failed = len(result.failures) + len(result.errors)
    print()
    for test, why in result.skipped:
        print(f"skipped: {test.id()}: {why}")
    skipped = f", {len(result.skipped)} skipped" if result.skipped else ""
    print(f"recipes: {result.passed} passed, {failed} failed{skipped}")
    return int(failed > 0 or result.passed == 0)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
