#!/usr/bin/env python3
"""Checks that docs/messages.md holds every message of src/, and that it would notice a missing one.

    scripts/check_messages.py [ROOT]

A message is a string literal with a blank in it; adjacent literals are one. Parts between escape sequences
are looked for one by one, since the page shows only what a user sees. Literals that are no messages (parameter
template, table headers, formats) are listed below; a listed one that no longer exists is an error, too.
"""
import re
import sys
from pathlib import Path

# Files whose texts are explained elsewhere: parameter template, headers of text spectra, makers' names.
OTHER_FILES = {"UserParameters/ParameterText.cpp", "IO/MsTextHeader.cpp", "Utils/ProductTexts.h"}

# Beginnings of literals, escapes as written.
NO_MESSAGES = (
    "BEGIN IONS", "END IONS", "ActivationType, ", "%.5f %.1f", "%.Nf %.Mf",  # file formats
    " -a -i ",  # the extractor's command line
    "\\t |       E-mail: ", "\\t |       Web: ", "\\t /       Tarvek2.0 (",  # banner
    "\\nUSAGE:\\n", "\\t\\tdefault: ",  # usage text
)

LITERAL = r'"(?:[^"\\\n]|\\.)*"'
COMMENT_OR_LITERALS = re.compile(rf"//[^\n]*|/\*.*?\*/|'(?:[^'\\]|\\.)'|{LITERAL}(?:\s*{LITERAL})*", re.S)


def literals_of(source):
    """String literals of C++ text, adjacent ones joined, escapes as written."""
    source = re.sub(r"(?m)^\s*#.*$", "", source)
    for found in COMMENT_OR_LITERALS.findall(source):
        if found.startswith('"'):
            yield "".join(literal[1:-1] for literal in re.findall(LITERAL, found))


def parts_of(literal):
    """What of a literal must stand in the page."""
    parts = [" ".join(part.split()) for part in re.split(r"\\[ntr]", literal.replace('\\"', '"'))]
    return [part for part in parts if len(re.findall("[A-Za-z]", part)) >= 4]


def is_message(literal):
    return " " in literal and not literal.startswith(NO_MESSAGES)


def missing_in(page, sources):
    """[(name, part)]. sources: name -> text."""
    page = " ".join(page.split())
    return [(name, part) for name, text in sources.items() for literal in literals_of(text)
            if is_message(literal) for part in parts_of(literal) if part not in page]


def check_itself():
    source = {"a.cpp": '#include "no such file.h"\nthrow "Cannot do " + x +  // "not this one"\n  " now,\\n"\n "or ever";'}
    assert missing_in("Cannot do X now, or ever", source) == []
    assert missing_in("Cannot do X now,", source) == [("a.cpp", "or ever")]


def main():
    check_itself()
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent)
    files = sorted(path for path in (root / "src").rglob("*") if path.suffix in (".h", ".cpp")
                   and str(path.relative_to(root / "src")) not in OTHER_FILES)
    sources = {str(path.relative_to(root)): path.read_text() for path in files}
    missing = missing_in((root / "docs/messages.md").read_text(), sources)
    for name, part in missing:
        print(f"{name}: '{part}' is not in docs/messages.md")
    literals = [literal for text in sources.values() for literal in literals_of(text)]
    stale = [start for start in NO_MESSAGES if not any(literal.startswith(start) for literal in literals)]
    for start in stale:
        print(f"scripts/check_messages.py: no literal begins with '{start}' any more")
    count = sum(map(is_message, literals))
    print(f"{count} messages in {len(sources)} files, {len(missing)} not described")
    return 1 if missing or stale or count < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
