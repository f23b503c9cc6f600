#!/usr/bin/env python3
"""Compares tarvek with the least input and output work that its job needs.

    scripts/bench_floor.py TARVEK BASE OUTDIR [--table IPV] [--floor IO_FLOOR] [--pairs N]

BASE.ms1 and BASE.ms2 are a run, IPV is the isotope table (data/IPV.txt). IO_FLOOR is a program of your own that
reads the same files, converts every number and writes outputs of the same shape, without any
decision; it is called as IO_FLOOR BASE OUTDIR PRECURSORS_PER_SCAN and prints "... total SECONDS s".
Without it, only tarvek is timed. Prints each pair, the medians, their ratio, and the peak memory
with its limit of 64 MB + 24 bytes for each survey peak (all surveys of runs below 10,000).
"""
import argparse
import os
import re
import subprocess
import sys
import time


def run(command):
    """(seconds, peak memory in MB, standard output) of a command that must succeed."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output = process.stdout.read().decode()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.monotonic() - start
    if status != 0:
        sys.exit(f"{' '.join(command)} failed:\n{output}")
    return seconds, usage.ru_maxrss / 1024, output


def median_of(values):
    """The module statistics is not in python3-minimal."""
    ordered = sorted(values)
    return (ordered[len(ordered) // 2] + ordered[~(len(ordered) // 2)]) / 2


def mean_precursors(table):
    with open(table, encoding="ascii") as rows:
        next(rows)
        counts = [int(row.split(", ")[5]) for row in rows]
    return sum(counts) / len(counts), len(counts)


def survey_peaks(path, kept_surveys=10000):
    """Peaks of the last surveys: at least as many as tarvek holds at once in a run without more
    surveys."""
    counts = []
    with open(path, "rb") as lines:
        for line in lines:
            if line[:1] == b"S":
                counts.append(0)
            elif line[:1].isdigit():
                counts[-1] += 1
    return sum(counts[-kept_surveys:])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("tarvek", "base", "outdir"):
        parser.add_argument(name)
    parser.add_argument("--table", default="data/IPV.txt")
    parser.add_argument("--floor")
    parser.add_argument("--pairs", type=int, default=5)
    options = parser.parse_args()
    os.makedirs(options.outdir, exist_ok=True)
    command = [options.tarvek, "-D", options.base + ".ms1", "-O", options.outdir, "-r", "1", "-I", options.table]
    run(command)  # warms the page cache
    table = os.path.join(options.outdir, os.path.basename(options.base) + ".csv")
    precursors, scans = mean_precursors(table)
    print(f"{scans} MS2 scans written, {precursors:.3f} precursors each")
    ours, floors, memory = [], [], 0.0
    for _ in range(options.pairs):
        line = ""
        if options.floor:
            text = run([options.floor, options.base, options.outdir, f"{precursors:.3f}"])[2]
            floors.append(float(re.search(r"total ([0-9.]+) s", text).group(1)))
            line = f"floor {floors[-1]:.3f} s, "
        seconds, peak, _ = run(command)
        ours.append(seconds)
        memory = max(memory, peak)
        print(f"{line}tarvek {seconds:.3f} s")
    for leftover in ("floor.pf1", "floor.pf2", "floor.mgf", "floor.csv"):
        if os.path.exists(os.path.join(options.outdir, leftover)):
            os.remove(os.path.join(options.outdir, leftover))
    median = median_of(ours)
    print(f"median: tarvek {median:.3f} s, {scans / median:.0f} MS2 scans/s")
    if floors:
        floor = median_of(floors)
        print(f"median: floor {floor:.3f} s; tarvek takes {median / floor:.2f} x the floor")
    limit = 64 + 24 * survey_peaks(options.base + ".ms1") / 2**20
    print(f"peak memory {memory:.0f} MB, limit {limit:.0f} MB")


if __name__ == "__main__":
    main()
