#!/usr/bin/env python3
"""Draws random sentences of the documentation and comments of the code for reading aloud, and
counts words.

    scripts/draw_prose.py [--seed N] [--number N]

Prints N sentences of Markdown files and N comments of C++ files, each with its place, then the words of all Markdown files
and how often words appear that we do not want. Judging the samples is up to the reader.
"""
import argparse
import random
import re
import subprocess

UNWANTED = re.compile(r"\b(beside|stands?|whose|told|bears|for want of|has it|mend(?:ed|s)?)\b|\b(?:is|are) no\b", re.IGNORECASE)


def tracked(*patterns):
    listed = subprocess.run(["git", "ls-files", *patterns], check=True, capture_output=True, text=True)
    return listed.stdout.split("\n")[:-1]


def sentences(path):
    """(line, sentence) of the prose of a Markdown file: without code blocks, tables and headings."""
    in_code, paragraph, start = False, [], 0
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(list(lines) + ["\n"], 1):
            if line.startswith("```"):
                in_code = not in_code
            text = line.strip()
            is_prose = text and not in_code and not line.startswith(("    ", "|", "#", "```", "<"))
            is_item = re.match(r"(?:[-*]|\d+\.) ", text) is not None
            if paragraph and (not is_prose or is_item):
                for sentence in re.split(r"(?<=[.!?:]) (?=[A-Z`*\[])", " ".join(paragraph)):
                    yield start, sentence
                paragraph = []
            if is_prose:
                start = start if paragraph else number
                paragraph.append(text)


def comments(path):
    """(line, comment) of a C++ file: neighbouring lines of // are one comment."""
    block, start = [], 0
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(list(lines) + ["\n"], 1):
            found = re.match(r"\s*///? ?(.*)", line) or re.match(r"[^\"']*[;,{}()] +// (.*)", line)
            alone = line.lstrip().startswith("//")
            if block and not (found and alone):
                yield start, " ".join(block)
                block = []
            if found:
                start = start if block else number
                block.append(found.group(1).strip())


def draw(generator, what, paths, pieces, number):
    found = [(path, line, text) for path in paths for line, text in pieces(path) if len(text.split()) > 3]
    print(f"{min(number, len(found))} of {len(found)} {what}:")
    for path, line, text in sorted(generator.sample(found, min(number, len(found)))):
        print(f"  {path}:{line}: {text}")
    print(f"  unwanted words in all of them: {sum(len(UNWANTED.findall(text)) for _, _, text in found)}\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--number", type=int, default=60)
    arguments = parser.parse_args()
    generator = random.Random(arguments.seed)
    pages = tracked("*.md")
    draw(generator, "sentences", pages, sentences, arguments.number)
    draw(generator, "comments", tracked("*.h", "*.cpp"), comments, arguments.number)
    total = 0
    for page in pages:
        with open(page, encoding="utf-8") as text:
            total += len(text.read().split())
    print(f"{total} words in {len(pages)} Markdown files")


if __name__ == "__main__":
    main()
