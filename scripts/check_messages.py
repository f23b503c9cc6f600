#!/usr/bin/env python3
"""Checks that docs/messages.md holds every message of the programs, and that it would notice a missing one.

    scripts/check_messages.py [ROOT]

In src/ and extractor/ a message is a string literal with a blank in it. In tools/, whose literals are texts of reports and helps for the most
part, it is one in a statement that begins with throw, or a call of Fail or SayError. Adjacent literals are one.
Parts between escape sequences are looked for one by one, since the page shows only what a user sees. The page may
shorten a message: after two words or more, eight characters at least, "..." takes the place of the rest of its
expression. Literals that are no messages (parameter template, table headers, formats) are listed below; a listed one
that no longer exists is an error, too.
"""
import re
import sys
from pathlib import Path

# Files with texts that are explained elsewhere or are words of instrument files: parameter
# template, headers of text spectra, makers' names; elements of mzML and mzXML, words for analysers
# and arrays, models of instruments.
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

PUNCTUATION = " .,:;"
LITERAL = r'"(?:[^"\\\n]|\\.)*"'
PARTS = rf"//[^\n]*|/\*.*?\*/|'(?:[^'\\]|\\.)'|{LITERAL}(?:\s*{LITERAL})*"
STATEMENT_ENDS = ";{}"
EXPRESSION_ENDS = ",?:"  # unless inside a call or parentheses that are part of it
ENDS_AND_PARENTHESES = f"::|[{STATEMENT_ENDS}{EXPRESSION_ENDS}()]"  # "::" does not end it
COMMENT_OR_LITERALS = re.compile(f"{PARTS}|{ENDS_AND_PARENTHESES}", re.S)
WORDS = ("throw", "Fail", "SayError")
RAISING = re.compile(rf"{PARTS}|\b(?:{'|'.join(WORDS)})\b|{ENDS_AND_PARENTHESES}", re.S)


def tokens_of(pattern, source):
    """All matches of pattern in C++ text without directives and raw literals."""
    source = re.sub(r"(?m)^\s*#.*$", "", source)
    return pattern.findall(re.sub(r'\bR"([^(\s]*)\(.*?\)\1"', '""', source, flags=re.S))


def joined(literals):
    return "".join(literal[1:-1] for literal in re.findall(LITERAL, literals))


def expressions_in(tokens, is_kept):
    """The literals of each expression, without those that is_kept refuses: [[literal]]."""
    expressions, depth, lowest = [[]], 0, 0  # lowest: since the first literal of the expression
    for token in tokens:
        depth += (token == "(") - (token == ")")
        lowest = min(lowest, depth)
        if is_kept(token):
            lowest = lowest if expressions[-1] else depth
            expressions[-1].append(joined(token))
        elif token in STATEMENT_ENDS or token in EXPRESSION_ENDS and depth <= lowest:
            expressions.append([])
    return [literals for literals in expressions if literals]


def expressions_of(source):
    """[[literal]] of C++ text: the literals of each expression, adjacent ones joined, escapes as written."""
    return expressions_in(tokens_of(COMMENT_OR_LITERALS, source), lambda token: token.startswith('"'))


def thrown_expressions_of(source):
    """The literals between a word that raises or prints an error and the end of the statement; none
    in a definition, which ends at a brace."""
    is_raising = False

    def is_kept(token):
        nonlocal is_raising
        is_raising = token in WORDS or is_raising and token not in (";", "{")
        return is_raising and token.startswith('"')

    return expressions_in(tokens_of(RAISING, source), is_kept)


def parts_of(literal):
    """What of a literal the page must hold, without the punctuation around it."""
    parts = [" ".join(part.split()).strip(PUNCTUATION) for part in re.split(r"\\[ntr]", literal.replace('\\"', '"'))]
    return [part for part in parts if len(re.findall("[A-Za-z]", part)) >= 4]


def is_message(literal):
    return " " in literal and not literal.startswith(NO_MESSAGES)


def messages_of(sources, expressions=expressions_of):
    """[(name, [literal])]: the literals of one expression that are messages. sources: name -> text."""
    found = [(name, [literal for literal in literals if is_message(literal)])
             for name, text in sources.items() for literals in expressions(text)]
    return [(name, literals) for name, literals in found if literals]


def is_shortened_in(page, part):
    """Whether the page has the first words of part, two or more with eight characters at least, and "..." for the others."""
    words = part.split()
    beginnings = (" ".join(words[:n]).rstrip(PUNCTUATION) for n in range(2, len(words) + 1))
    return any(len(beginning) >= 8 and re.search(rf"(?:\b|(?=\W)){re.escape(beginning)} ?\.\.\.", page)
               for beginning in beginnings)


def missing_in(page, messages):
    """[(name, part)]."""
    page = " ".join(page.split())
    missing = []
    for name, literals in messages:
        for part in (part for literal in literals for part in parts_of(literal)):
            if is_shortened_in(page, part):
                break
            if part not in page:
                missing.append((name, part))
    return missing


def check_itself():
    source = {"a.cpp": '#include "no such file.h"\nthrow "Cannot do " + x +  // "not this one"\n  " now,\\n"\n "or ever";'}
    messages = messages_of(source)
    assert missing_in("Cannot do X now, or ever", messages) == []
    assert missing_in("Cannot do X now,", messages) == [("a.cpp", "or ever")]
    source = {"b.cpp": 'void A::Fail(const std::string& what) {\n  Say("no error");\n}\n'
                       'if (x) reader.Fail("too few " + y); Say("nothing new", \';\'); // throw "not me"\n'
                       'const char* page = R"(throw "nor me")"; throw path + ": cannot go on";'}
    messages = messages_of(source, thrown_expressions_of)
    assert messages == [("b.cpp", ["too few "]), ("b.cpp", [": cannot go on"])], messages
    assert missing_in("`too few fields`, `cannot go on`", messages) == []
    source = {"c.cpp": 'throw a + " was lost on its way to " + std::name(b, c) + (d ? " and" : " or is it ") + "found again";\n'
                       'throw x ? "one by one by one" : "all at once";'}
    messages = messages_of(source)
    for page in ("A was lost ..., one by one ..., all at once", "A was lost on..., one by one..., all at once"):
        assert missing_in(page, messages) == [], page
    for page in ("A was..., one by one...", "Awas lost..., one by one...", "was lo..., one by one by one"):
        assert missing_in(page, messages) == [
            ("c.cpp", "was lost on its way to"), ("c.cpp", "or is it"), ("c.cpp", "found again"), ("c.cpp", "all at once")]
    assert missing_in("was lost..., one by..., all at once", messages) == [("c.cpp", "one by one by one")]


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
    messages = {folder: messages_of(texts, thrown_expressions_of if folder == "tools" else expressions_of)
                for folder, texts in sources.items()}
    missing = [found for folder in messages.values() for found in missing_in(page, folder)]
    for name, part in missing:
        print(f"{name}: '{part}' is not in docs/messages.md")
    literals = [literal for folder in sources.values() for text in folder.values()
                for expression in expressions_of(text) for literal in expression]
    stale = [start for start in NO_MESSAGES if not any(literal.startswith(start) for literal in literals)]
    for start in stale:
        print(f"scripts/check_messages.py: no literal begins with '{start}' any more")
    for folder in sources:
        print(f"{folder}: {len(messages[folder])} messages in {len(sources[folder])} files")
    print(f"{len(missing)} not described")
    return 1 if missing or stale or min(map(len, messages.values())) < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
