#!/usr/bin/env python3
"""Checks that docs/messages.md holds every message of the programs, and that it would notice a missing one.

    scripts/check_messages.py [ROOT]

In src/ and extractor/ a message is a string literal with a blank in it. In tools/, whose literals are texts of reports and helps for the most
part, it is one in a statement that begins with throw, or a call of Fail or SayError. Adjacent literals are one.
Parts between escape sequences are looked for one by one, since the page shows only what a user sees. Literals that
are no messages (parameter template, table headers, formats) are listed below; a listed one that no longer exists
is an error, too.
"""
import re
import sys
from pathlib import Path

# Files whose texts are explained elsewhere or are words of instrument files: parameter template, headers of text
# spectra, makers' names; elements of mzML and mzXML, words for analysers and arrays, models of instruments.
OTHER_FILES = {"src/UserParameters/ParameterText.cpp", "src/IO/MsTextWriter.cpp", "src/Utils/ProductTexts.h",
               "extractor/XmlElements.cpp", "extractor/InstrumentTerms.cpp",
               "extractor/InstrumentModels.cpp"}

# Beginnings of literals, escapes as written.
NO_MESSAGES = (
    "BEGIN IONS", "END IONS", "ActivationType, ", "<?xml version=",  # file formats
    " -a -i ",  # the extractor's command line
    "\\t |       E-mail: ", "\\t |       Web: ", "\\t /       Tarvek2.0 (",  # banner
    "\\nUSAGE:\\n", "\\t\\tdefault: ",  # usage text
    "Usage: ", " [options] FILE\\n\\nExtracts", " for Tarvek.\\n", "mzML and mzXML files, plain",
    "raw files (through", "WIFF files (through",
    "mzML, mzXML (also .gz), raw",  # a help of tarvek-tools run
    "peakPicking vendor", "cmd.exe /d", "All spectra of ", " were extracted.",  # commands, the marker
)

LITERAL = r'"(?:[^"\\\n]|\\.)*"'
PARTS = rf"//[^\n]*|/\*.*?\*/|'(?:[^'\\]|\\.)'|{LITERAL}(?:\s*{LITERAL})*"
COMMENT_OR_LITERALS = re.compile(PARTS, re.S)
WORDS = ("throw", "Fail", "SayError")
RAISING = re.compile(rf"{PARTS}|\b(?:{'|'.join(WORDS)})\b|[;{{]", re.S)


def tokens_of(pattern, source):
    """What pattern finds in C++ text without its directives and raw literals."""
    source = re.sub(r"(?m)^\s*#.*$", "", source)
    return pattern.findall(re.sub(r'\bR"([^(\s]*)\(.*?\)\1"', '""', source, flags=re.S))


def joined(literals):
    return "".join(literal[1:-1] for literal in re.findall(LITERAL, literals))


def literals_of(source):
    """String literals of C++ text, adjacent ones joined, escapes as written."""
    return [joined(found) for found in tokens_of(COMMENT_OR_LITERALS, source) if found.startswith('"')]


def thrown_literals_of(source):
    """Those between a word that raises or prints an error and the end of the statement; none of a definition,
    whose words end at a brace."""
    is_raising, found = False, []
    for token in tokens_of(RAISING, source):
        if token.startswith('"') and is_raising:
            found.append(joined(token))
        elif token in (";", "{"):
            is_raising = False
        elif token in WORDS:
            is_raising = True
    return found


def parts_of(literal):
    """What of a literal must stand in the page; a colon may part it from the path before it."""
    parts = [" ".join(part.split()).strip(": ") for part in re.split(r"\\[ntr]", literal.replace('\\"', '"'))]
    return [part for part in parts if len(re.findall("[A-Za-z]", part)) >= 4]


def is_message(literal):
    return " " in literal and not literal.startswith(NO_MESSAGES)


def messages_of(sources, literals=literals_of):
    """[(name, literal)]. sources: name -> text."""
    return [(name, literal) for name, text in sources.items() for literal in literals(text) if is_message(literal)]


def missing_in(page, messages):
    """[(name, part)]."""
    page = " ".join(page.split())
    return [(name, part) for name, literal in messages for part in parts_of(literal) if part not in page]


def check_itself():
    source = {"a.cpp": '#include "no such file.h"\nthrow "Cannot do " + x +  // "not this one"\n  " now,\\n"\n "or ever";'}
    messages = messages_of(source)
    assert missing_in("Cannot do X now, or ever", messages) == []
    assert missing_in("Cannot do X now,", messages) == [("a.cpp", "or ever")]
    source = {"b.cpp": 'void A::Fail(const std::string& what) {\n  Say("no error");\n}\n'
                       'if (x) reader.Fail("too few " + y); Say("nothing new", \';\'); // throw "not me"\n'
                       'const char* page = R"(throw "nor me")"; throw path + ": cannot go on";'}
    messages = messages_of(source, thrown_literals_of)
    assert messages == [("b.cpp", "too few "), ("b.cpp", ": cannot go on")], messages
    assert missing_in("`too few fields`, `cannot go on`", messages) == []


def sources_in(root, folder):
    """name -> text of the C++ files, those explained elsewhere left out."""
    files = sorted(path for path in (root / folder).rglob("*") if path.suffix in (".h", ".cpp"))
    names = {path.relative_to(root).as_posix(): path for path in files}
    return {name: path.read_text() for name, path in names.items() if name not in OTHER_FILES}


def main():
    check_itself()
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent)
    page = (root / "docs/messages.md").read_text()
    sources = {folder: sources_in(root, folder) for folder in ("src", "extractor", "tools")}
    messages = {folder: messages_of(texts, thrown_literals_of if folder == "tools" else literals_of)
                for folder, texts in sources.items()}
    missing = [found for folder in messages.values() for found in missing_in(page, folder)]
    for name, part in missing:
        print(f"{name}: '{part}' is not in docs/messages.md")
    literals = [literal for folder in sources.values() for text in folder.values() for literal in literals_of(text)]
    stale = [start for start in NO_MESSAGES if not any(literal.startswith(start) for literal in literals)]
    for start in stale:
        print(f"scripts/check_messages.py: no literal begins with '{start}' any more")
    for folder in sources:
        print(f"{folder}: {len(messages[folder])} messages in {len(sources[folder])} files")
    print(f"{len(missing)} not described")
    return 1 if missing or stale or min(map(len, messages.values())) < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
