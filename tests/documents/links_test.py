#!/usr/bin/env python3
"""The links of all Markdown files: each file and each heading that one names is there.

    links_test.py FOLDER    the folder of the project
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

LINK = re.compile(r"\]\(([^)\s]+)\)|<a href=\"([^\"]+)\"")


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL))


def anchors(path):
    """Of the headings of a Markdown file, in the form that web pages of sources give them."""
    with open(path, encoding="utf-8") as lines:
        text = re.sub(r"^```.*?^```", "", lines.read(), flags=re.MULTILINE | re.DOTALL)
    found = set()
    for heading in re.findall(r"^#+ (.*)$", text, flags=re.MULTILINE):
        plain = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading).strip().lower()
        found.add(re.sub(r"[^\w\- ]", "", plain).replace(" ", "-"))
    return found


def broken_links(folder, pages):
    for page in pages:
        path = os.path.join(folder, page)
        with open(path, encoding="utf-8") as text:
            links = [one or other for one, other in LINK.findall(without_code(text.read()))]
        for link in links:
            if re.match(r"[a-z]+:", link):
                continue
            name, _, anchor = link.partition("#")
            target = os.path.normpath(os.path.join(os.path.dirname(path), name)) if name else path
            if not os.path.exists(target):
                yield f"{page}: {link}: no such file"
            elif anchor and anchor not in anchors(target):
                yield f"{page}: {link}: no such heading"


def pages_of(folder):
    listed = subprocess.run(["git", "-C", folder, "ls-files", "*.md"], capture_output=True, text=True)
    if listed.returncode == 0 and listed.stdout:
        return listed.stdout.split("\n")[:-1]
    return [os.path.relpath(os.path.join(root, name), folder)
            for root, folders, names in os.walk(folder) if "build" not in root.split(os.sep)
            for name in names if name.endswith(".md")]


class Links(unittest.TestCase):
    def test_lead_somewhere(self):
        pages = pages_of(FOLDER)
        self.assertGreater(len(pages), 20)
        self.assertEqual(list(broken_links(FOLDER, pages)), [])

    def test_that_are_broken_are_found(self):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in {"a.md": "# One `two`, three\n[b](b.md) [c](#one-two-three) [d](b.md#no) [e](no.md) [f](#x)\n"
                                       "`[no link](x.md)`\n", "b.md": "# B\n```\n# no\n```\n"}.items():
                with open(os.path.join(folder, name), "w", encoding="utf-8") as page:
                    page.write(text)
            self.assertEqual(list(broken_links(folder, ["a.md", "b.md"])),
                             ["a.md: b.md#no: no such heading", "a.md: no.md: no such file", "a.md: #x: no such heading"])


if __name__ == "__main__":
    FOLDER = sys.argv.pop(1)
    unittest.main()
