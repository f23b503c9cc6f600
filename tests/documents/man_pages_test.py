#!/usr/bin/env python3
"""The man pages format without a warning and hold every option that the programs print.

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
    """The formatted page, and what the formatter warns of."""
    man = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", str(PAGES / name)], capture_output=True,
                         text=True, env=ENVIRONMENT, cwd=PAGES.parent, check=True)
    return man.stdout, man.stderr


def options_of(text):
    """Options that begin a line of a help text: -W,--isolation-width, -ms, -D."""
    return {option for words in re.findall(r"(?m)^\s+(-[^\s]+)", text) for option in words.split(",")}


def has_option(page, option):
    return re.search(rf"(?<![\w-]){re.escape(option)}(?![\w-])", page) is not None


class ManPages(unittest.TestCase):
    def assertHasAll(self, page, options, name):
        self.assertGreater(len(options), 0, name)
        self.assertEqual([], sorted(option for option in options if not has_option(page, option)), name)

    def test_pages_format_without_a_warning_and_name_this_version(self):
        version = subprocess.run([TARVEK, "--version"], check=True, capture_output=True, text=True).stdout
        version = re.search(r"[0-9]+(\.[0-9]+)+", version)[0]
        for page in sorted(PAGES.glob("*.1")):
            if page.read_text().startswith(".so "):
                continue
            text, warnings = page_text(page.name)
            self.assertEqual("", warnings, page.name)
            self.assertIn(f"Tarvek {version}", text, page.name)

    def test_links_lead_to_a_page(self):
        for page in sorted(PAGES.glob("*.1")):
            if page.read_text().startswith(".so man1/"):
                self.assertTrue((PAGES / page.read_text().split("/")[1].strip()).is_file(), page.name)

    def test_tarvek_has_every_option_and_its_key(self):
        page, _ = page_text("tarvek.1")
        rows = re.findall(r"(?m)^\t(-.)\t(\S+)\t", help_of(TARVEK))
        self.assertEqual(20, len(rows))
        self.assertHasAll(page, {option for option, _ in rows} | {"--help", "--version"}, "tarvek")
        for option, key in rows:
            self.assertRegex(page, rf"(?m)^\s*{option}, {re.escape(key)}$")

    def test_the_extractor_has_every_option(self):
        self.assertHasAll(page_text("morvex_xml.exe.1")[0], options_of(help_of(EXTRACTOR)), "morvex_xml.exe")

    def test_tarvek_tools_has_every_option_in_the_section_of_its_subcommand(self):
        page, _ = page_text("tarvek-tools.1")
        sections = dict(re.findall(r"(?ms)^([A-Z]+)$(.*?)(?=^[A-Z])", page))
        subcommands = re.findall(r"(?m)^  (\w+)", help_of(TOOLS).split("Subcommands:")[1])
        self.assertIn("check", subcommands)
        for subcommand in subcommands:
            self.assertIn(subcommand.upper(), sections)
            options = options_of(help_of(TOOLS, subcommand)) - {"-h", "--help"}
            self.assertHasAll(sections[subcommand.upper()], options, subcommand)
        self.assertHasAll(page, {"-h", "--help"}, "tarvek-tools")


if __name__ == "__main__":
    PAGES = Path(sys.argv[1]) / "docs/man"
    TARVEK, TOOLS, EXTRACTOR = sys.argv[2:5]
    unittest.main(argv=sys.argv[:1])
