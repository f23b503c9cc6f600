#!/usr/bin/env python3
"""No file of the product includes itself by way of others.

    include_cycles_test.py ROOT

An include is searched in the folder of its file, then by the end of a path in all folders; a name
that is in two folders counts for both.
"""
import re
import sys
import tempfile
import unittest
from pathlib import Path

FOLDERS = ("src", "extractor", "tools")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"([^"]+)"', re.M)


def includes_in(root):
    """path -> paths that it includes; only files below the folders."""
    files = sorted(path for folder in FOLDERS for path in (root / folder).rglob("*") if path.suffix in (".h", ".cpp"))

    def meant(includer, name):
        beside = includer.parent / name
        return [beside] if beside in files else [path for path in files if path.as_posix().endswith("/" + name)]

    return {path: [found for name in INCLUDE.findall(path.read_text()) for found in meant(path, name)]
            for path in files}


def cycle_in(includes):
    """The files of one cycle, the first again at the end; empty when there is none."""
    done, way = set(), []

    def visit(path):
        if path in way:
            return way[way.index(path):] + [path]
        if path in done:
            return []
        way.append(path)
        for target in includes[path]:
            if found := visit(target):
                return found
        done.add(way.pop())
        return []

    return next((found for path in includes if (found := visit(path))), [])


class IncludeCycles(unittest.TestCase):
    def test_a_planted_one_is_found(self):
        for planted, cycle in (("", []), ('#include "room/A.h"\n', ["A.h", "B.h", "C.h", "A.h"])):
            with self.subTest(planted), tempfile.TemporaryDirectory() as name:
                room = Path(name) / "tools" / "room"
                room.mkdir(parents=True)
                (room / "A.h").write_text('#include <vector>\n#include "room/B.h"\n')
                (room / "B.h").write_text('  # include "C.h"\n')
                (room / "C.h").write_text(planted + '// #include "room/B.h"\n')
                found = cycle_in(includes_in(Path(name)))
                self.assertEqual([path.name for path in found], cycle)

    def test_the_product_has_none(self):
        includes = includes_in(ROOT)
        for folder in FOLDERS:
            self.assertTrue(any(path.is_relative_to(ROOT / folder) and targets for path, targets in includes.items()))
        self.assertEqual([path.relative_to(ROOT).as_posix() for path in cycle_in(includes)], [])


if __name__ == "__main__":
    ROOT = Path(sys.argv.pop(1)).resolve()
    unittest.main()
