#!/usr/bin/env python3
"""Compares the results for simulated runs with their truth: check_results.py RESULTS DATA

In each sample at least 90 % of the scans must be identified, and at least 95 % of the matches must
have a peptide that was isolated in their scan. Isoleucine and leucine count as equal.
"""
import csv
import sys
from pathlib import Path


def true_peptides(path):
    """scan -> peptides in it."""
    peptides = {}
    with open(path, newline="") as table:
        for row in csv.DictReader(table, delimiter="\t"):
            peptides.setdefault(row["scan"], set()).add(row["peptide"].replace("I", "L"))
    return peptides


def check(results, data, summary):
    name = summary["sample"]
    truth = true_peptides(data / f"{name}.truth.tsv")
    with open(results / name / "search" / f"{name}.psms.tsv", newline="") as table:
        rows = list(csv.DictReader(table, delimiter="\t"))
    ids = {row["psm_id"] for row in rows}
    right = sum(row["sequence"].replace("I", "L") in truth.get(row["scan"], ()) for row in rows)
    scans, identified = int(summary["scans"]), int(summary["identified_scans"])
    print(f"{name}: {identified} of {scans} scans identified, {right} of {len(rows)} matches with a peptide that is in them")
    if identified != len({row["scan"] for row in rows}) or int(summary["matches"]) != len(rows) or len(ids) != len(rows):
        sys.exit(f"{name}: the summary says {identified} scans, {summary['matches']} matches; the table differs")
    if summary["worst"] not in ("", "note") or summary["isolation_width"] != "2":
        sys.exit(f"{name}: a {summary['worst']} ({summary['finding']}) or a width other than the declared 2")
    if identified < 0.9 * scans or right < 0.95 * len(rows):
        sys.exit(f"{name}: too few")


def main():
    results, data = map(Path, sys.argv[1:])
    with open(results / "summary.tsv", newline="") as table:
        summaries = list(csv.DictReader(table, delimiter="\t"))
    if len(summaries) != 3:
        sys.exit(f"summary.tsv has {len(summaries)} samples")
    for summary in summaries:
        check(results, data, summary)


if __name__ == "__main__":
    main()
