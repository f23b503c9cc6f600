#!/usr/bin/env python3
"""What 'tarvek-tools check --json' found, as text: findings.py FOUND.json"""
import json
import sys

SEVERITIES = ("defect", "warning", "note")  # the worst first


def read_findings(paths):
    """The findings of several checks, the worst first: dictionaries with severity, code, file, meaning, advice."""
    found = []
    for path in paths:
        with open(path, encoding="utf-8") as text:
            found += json.load(text)["findings"]
    return sorted(found, key=lambda finding: SEVERITIES.index(finding["severity"]))


def text_of_findings(findings):
    return "".join(f"{finding['severity']}: {finding['file']}: {finding['meaning']}\n  {finding['advice']}\n"
                   for finding in findings)


if __name__ == "__main__":
    print(text_of_findings(read_findings(sys.argv[1:])), end="")
