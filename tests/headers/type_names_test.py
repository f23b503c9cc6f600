#!/usr/bin/env python3
"""No two types of the product have one name in one namespace.

    type_names_test.py ROOT

Neither compiler nor linker reports it: the linker keeps one destructor for both types, which
corrupts memory at run time. Types in unnamed namespaces are each file's own. Relies on the layout
of the code: a namespace opens and a type begins in the first column, and a namespace closes with a
comment.
"""
import re
import sys
import tempfile
import unittest
from collections import defaultdict
from pathlib import Path

FOLDERS = ("src", "extractor", "tools")
OPENS = re.compile(r"^(?:inline )?namespace(?: ([\w:]+))? \{")
CLOSES = re.compile(r"^\}\s*// namespace")
TYPE = re.compile(r"^(?:class|struct|union|enum(?: class)?) (\w+)(?: final)?(?=\s*(?::(?!:)|\{|$))")


def types_in(path):
    """The full names of the types that a file defines and that other files can see."""
    namespaces = []
    for line in path.read_text().splitlines():
        if found := OPENS.match(line):
            if "}" not in line:
                namespaces.append(found[1] or "")
        elif CLOSES.match(line):
            namespaces.pop()
        elif (found := TYPE.match(line)) and "" not in namespaces:
            yield "::".join([*namespaces, found[1]])


def repeated_types(root):
    """full name -> files, of the types that more than one file defines."""
    files = defaultdict(list)
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                for name in types_in(path):
                    files[name].append(path.relative_to(root).as_posix())
    return files, {name: paths for name, paths in files.items() if len(paths) > 1}


class TypeNames(unittest.TestCase):
    def test_a_planted_pair_is_found(self):
        seen = "namespace tarvek {\nstruct Planted {\n  int m_a;\n};\n}  // namespace tarvek\n"
        unseen = "namespace tarvek {\nnamespace {\nstruct Planted {};\n}  // namespace\n}  // namespace tarvek\n"
        elsewhere = "namespace tarvek::other {\nclass Planted : public Base {};\n}  // namespace tarvek::other\n"
        for second, repeated in ((seen, ["tarvek::Planted"]), (unseen, []), (elsewhere, [])):
            with self.subTest(second), tempfile.TemporaryDirectory() as name:
                (Path(name) / "src").mkdir()
                (Path(name) / "src" / "A.h").write_text(seen)
                (Path(name) / "src" / "B.cpp").write_text(second)
                self.assertEqual(list(repeated_types(Path(name))[1]), repeated)

    def test_the_product_has_none(self):
        files, repeated = repeated_types(ROOT)
        for folder in FOLDERS:
            self.assertTrue(any(path.startswith(folder) for paths in files.values() for path in paths), folder)
        self.assertEqual(repeated, {})


if __name__ == "__main__":
    ROOT = Path(sys.argv.pop(1)).resolve()
    unittest.main()
