#!/usr/bin/env python3
"""Every header of the product compiles alone.

    headers_alone_test.py ROOT BUILD

If there is an X.cpp, it includes its own X.h first and so proves it; other headers are compiled
separately. The list of compiled sources: BUILD/compile_commands.json.
"""
import json
import re
import sys
import tempfile
import unittest
from pathlib import Path

FOLDERS = ("src", "extractor", "tools")
FIRST_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(\S+)', re.M)
GUARD = re.compile(r"(//[^\n]*\n|\s)*#pragma once\n")


def first_include(path):
    found = FIRST_INCLUDE.search(path.read_text())
    return found[1] if found else ""


def is_its_own(include, header):
    """Whether an include names this header: "X.h", or "room/X.h" of a room of tools/."""
    return include in (f'"{header.name}"', f'"{header.parent.name}/{header.name}"')


def faults_in(root, compiled):
    """What is wrong with the headers below root. compiled: the sources that a build compiles."""
    faults = []
    alone = {path.as_posix() for path in compiled if path.name.endswith(".h_alone.cpp")}
    for header in sorted(path for folder in FOLDERS for path in (root / folder).rglob("*.h")):
        name = header.relative_to(root).as_posix()
        source = header.with_suffix(".cpp")
        if not GUARD.match(header.read_text()):
            faults.append(f"{name}: does not open with #pragma once")
        if source.exists():
            if source not in compiled:
                faults.append(f"{name}: its source is not compiled")
            if not is_its_own(first_include(source), header):
                faults.append(f"{name}: its source does not include it first")
        elif not any(path.endswith(f"/{name}_alone.cpp") for path in alone):
            faults.append(f"{name}: nothing compiles it alone")
    return faults


class HeadersAlone(unittest.TestCase):
    def test_planted_faults_are_found(self):
        guarded = "// Contract.\n#pragma once\n"
        cases = (
            ({"src/A.h": guarded, "src/A.cpp": '#include "A.h"\n'}, ["src/A.cpp"], []),
            ({"tools/room/A.h": guarded, "tools/room/A.cpp": '#include "room/A.h"\n'}, ["tools/room/A.cpp"], []),
            ({"src/A.h": guarded}, ["build/src/A.h_alone.cpp"], []),
            ({"src/A.h": guarded}, ["build/tools/A.h_alone.cpp"], ["src/A.h: nothing compiles it alone"]),
            ({"src/A.h": guarded, "src/A.cpp": '#include <map>\n#include "A.h"\n'}, ["src/A.cpp"],
             ["src/A.h: its source does not include it first"]),
            ({"src/A.h": guarded, "src/A.cpp": '#include "A.h"\n'}, [], ["src/A.h: its source is not compiled"]),
            ({"src/A.h": "#include <map>\n#pragma once\n"}, ["build/src/A.h_alone.cpp"],
             ["src/A.h: does not open with #pragma once"]),
        )
        for files, compiled, faults in cases:
            with self.subTest(files), tempfile.TemporaryDirectory() as name:
                root = Path(name)
                for path, text in files.items():
                    (root / path).parent.mkdir(parents=True, exist_ok=True)
                    (root / path).write_text(text)
                self.assertEqual(faults_in(root, {root / path for path in compiled}), faults)

    def test_the_product_has_none(self):
        compiled = {Path(entry["directory"], entry["file"])
                    for entry in json.loads((BUILD / "compile_commands.json").read_text())}
        self.assertEqual(faults_in(ROOT, compiled), [])


if __name__ == "__main__":
    BUILD = Path(sys.argv.pop(2)).resolve()
    ROOT = Path(sys.argv.pop(1)).resolve()
    unittest.main()
