#!/usr/bin/env python3
"""The man pages format without a warning and hold the options that the programs print, with their defaults.

    man_pages_test.py SOURCE_DIRECTORY TARVEK TARVEK_TOOLS EXTRACTOR
"""
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

ENVIRONMENT = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "MANWIDTH": "100"}


def help_of(*command):
    return subprocess.run([*command, "--help"], check=True, capture_output=True, text=True).stdout


def page_text(name):
    """The formatted page and the formatter's warnings."""
    man = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", str(PAGES / name)], capture_output=True,
                         text=True, env=ENVIRONMENT, cwd=PAGES.parent, check=True)
    return man.stdout, man.stderr


def entries_of(text, start):
    """option -> its description, from lines that start (a regular expression of blanks) with an
    option: -W,--isolation-width FLOAT=2 of a help text, -W, --isolation-width WIDTH of a page."""
    entries = {}
    for words, rest in re.findall(rf"(?m)^{start}(-[^\s,]+(?:, ?-[^\s,]+)*)(.*(?:\n(?!{start}-|\S).*)*)", text):
        entries |= {option.strip(): " ".join(rest.split()) for option in words.split(",")}
    return entries


def default_of(entry):
    """The text after "Default: " in an entry of a page; None without it."""
    found = re.search(r"Default: (.*?)\.(?: |$)", entry + " ")
    return found and found[1]


def default_in_help(entry):
    """The text after the type's = in an entry of CLI11 (FLOAT=2, TEXT:{a,b}=[a]); None without."""
    found = re.search(r"[A-Z}\]]=\[?([\w.]+)", entry)
    return found and found[1]


def same(default, expected):
    """A page may say more than the value."""
    word = default.split(",")[0].split(" ")[0]
    try:
        return float(word) == float(expected)
    except ValueError:
        return expected in re.split("[ ,]+", default)


class ManPages(unittest.TestCase):
    def assertSameOptions(self, page, help_text, name):
        self.assertGreater(len(help_text), 0, name)
        self.assertEqual(sorted(help_text), sorted(page), name)

    def assertSameDefault(self, page_entry, expected, help_entry, name):
        """expected: the default in the help, or None; a page may then repeat the words of the
        help."""
        default = default_of(page_entry)
        if expected is not None:
            self.assertIsNotNone(default, f"{name} is without a default")
            self.assertTrue(same(default, expected), f"{name}: {default} and not {expected}")
        elif default is not None:
            self.assertIn(default.split(",")[0].split(" ")[0], help_entry, name)

    def test_pages_format_without_a_warning_and_name_this_version(self):
        version = subprocess.run([TARVEK, "--version"], check=True, capture_output=True, text=True).stdout
        version = re.search(r"[0-9]+(\.[0-9]+)+", version)[0]
        for page in sorted(PAGES.glob("*.1")):
            if page.read_text().startswith(".so "):
                continue
            text, warnings = page_text(page.name)
            self.assertEqual("", warnings, page.name)
            self.assertIn(f"Tarvek {version}", text, page.name)

    def test_the_pages_of_the_other_extractors_are_links(self):
        links = {page.name: page.read_text() for page in PAGES.glob("*.1") if page.read_text().startswith(".so ")}
        self.assertEqual(links, dict.fromkeys(("morvex_raw.exe.1", "morvex_wiff.exe.1"), ".so man1/morvex_xml.exe.1\n"))

    def test_tarvek_has_the_options_with_their_keys_and_defaults(self):
        page = entries_of(page_text("tarvek.1")[0], " {7}")
        rows = re.findall(r"(?m)^\t(-.)\t(\S+)\t+default: (.*)$", help_of(TARVEK))
        self.assertEqual(20, len(rows))
        self.assertSameOptions(page, {option for option, _, _ in rows} | {"--help", "--version"}, "tarvek")
        for option, key, default in rows:
            self.assertTrue(page[option].startswith(f", {key} "), option)
            if default:
                self.assertSameDefault(page[option], default, "", option)

    def test_the_extractor_has_the_options(self):
        self.assertSameOptions(entries_of(page_text("morvex_xml.exe.1")[0], " {7}"),
                               entries_of(help_of(EXTRACTOR), "  "), "morvex_xml.exe")

    def test_tarvek_tools_has_the_options_in_the_section_of_their_subcommand(self):
        page, _ = page_text("tarvek-tools.1")
        sections = dict(re.findall(r"(?ms)^([A-Z]+)$(.*?)(?=^[A-Z])", page))
        subcommands = re.findall(r"(?m)^  (\w+)", help_of(TOOLS).split("Subcommands:")[1])
        self.assertIn("check", subcommands)
        for subcommand in subcommands:
            self.assertIn(subcommand.upper(), sections)
            section = entries_of(sections[subcommand.upper()], " {7}")
            # Options of a group are indented by two more blanks.
            options = entries_of(re.sub(r"(?m)^    (?=-)", "  ", help_of(TOOLS, subcommand)), "  ")
            options = {option: entry for option, entry in options.items() if option not in ("-h", "--help")}
            self.assertSameOptions(section, options, subcommand)
            for option, entry in options.items():
                self.assertSameDefault(section[option], default_in_help(entry), entry, f"{subcommand} {option}")
        for option in ("-h", "--help"):
            self.assertIn(option, page)


if __name__ == "__main__":
    PAGES = Path(sys.argv[1]) / "docs/man"
    TARVEK, TOOLS, EXTRACTOR = sys.argv[2:5]
    unittest.main(argv=sys.argv[:1])
