#!/usr/bin/env python3
"""Compares the features of the joint determination between real runs and simulated ones of their settings.

Usage: compare_features.py [options] BIN REAL OUT
  BIN   folder with tarvek-tools
  REAL  folder that joint_labels.py wrote: RUN.identified.tsv, and the scans in runs/RUN
  OUT   working folder: simulated runs and feature tables

Prints Markdown tables: for the features that differ most, the quartiles of the real run, of a simulated one as it
was (--realism 0) and as it is with --realism, and the Kolmogorov-Smirnov distance of both from the real one.
"""
import argparse
import csv
import pathlib
import subprocess
import sys
from typing import NamedTuple

HOME = pathlib.Path(__file__).resolve().parent
SEED, SCANS = 7001, 1000
# They show where in the gradient, and of which species, a part of a run is.
LEFT_OUT = ("scan", "label", "mz", "mass", "mass_defect")


class Run(NamedTuple):
    name: str
    title: str
    width: str       # isolation width, m/z
    settings: tuple  # of the simulated run: precursors per survey, the resolving power


RUNS = (
    Run("HEK293_2_16173", "HEK293", "4", ("--top", "10")),
    Run("SmallCalibratible_Yeast", "yeast", "3", ("--top", "5")),
    Run("K13_02ng_1min_frac1", "0.2 ng", "1.6", ("--top", "4", "--resolution", "85000", "--noise", "0.7")),
)


def quartiles(values):
    """By linear interpolation. values: not empty."""
    ranked = sorted(values)
    found = []
    for part in (0.25, 0.5, 0.75):
        place = part * (len(ranked) - 1)
        below = int(place)
        above = min(below + 1, len(ranked) - 1)
        found.append(ranked[below] + (ranked[above] - ranked[below]) * (place - below))
    return found


def kolmogorov_smirnov(first, second):
    """The largest distance between the two cumulative distributions. Both not empty."""
    first, second = sorted(first), sorted(second)
    i = j = 0
    largest = 0.0
    while i < len(first) and j < len(second):
        value = min(first[i], second[j])
        while i < len(first) and first[i] == value:
            i += 1
        while j < len(second) and second[j] == value:
            j += 1
        largest = max(largest, abs(i / len(first) - j / len(second)))
    return largest


def main_precursors(rows):
    """For each scan the true candidate with most of the window. Searches rarely identify the
    others."""
    best = {}
    for row in rows:
        share = float(row["window_share"])
        if row["label"] == "1" and (row["scan"] not in best or share > float(best[row["scan"]]["window_share"])):
            best[row["scan"]] = row
    return list(best.values())


def all_candidates(rows):
    return rows


def run_program(*command):
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != 0:
        sys.exit(f"{done.stdout}\ncompare_features: failed: {' '.join(map(str, command))}")


def features(program, ms1, table, width, *labels):
    """The rows of a table, which is written again."""
    run_program(program, "features", "--joint", "-W", width, "-I", HOME.parent / "data" / "IPV.txt", *labels, ms1,
                table)
    with open(table, encoding="ascii", newline="") as lines:
        return list(csv.DictReader(lines, delimiter="\t"))


def tables(arguments, run):
    """The rows of the real run, and of the simulated one without and with realism."""
    real = pathlib.Path(arguments.real)
    yield features(arguments.features, real / "runs" / run.name / f"{run.name}.ms1",
                   arguments.out / f"{run.name}.real.tsv", run.width, "--identified",
                   real / f"{run.name}.identified.tsv")
    for realism in ("0", arguments.realism):
        base = arguments.out / f"{run.name}.realism-{realism}"
        run_program(arguments.bin / "tarvek-tools", "simulate", "--seed", SEED, "--ms2", SCANS, "--isolation-width",
                    run.width, "--realism", realism, *run.settings, base)
        yield features(arguments.features, f"{base}.ms1", f"{base}.tsv", run.width, "--truth", f"{base}.truth.tsv")


def distances(names, real, others):
    """{feature: (KS of each of the others)}"""
    return {name: [kolmogorov_smirnov(column(real, name), column(other, name)) for other in others]
            for name in names}


def column(rows, name):
    return [float(row[name]) for row in rows]


def spread(rows, name):
    return " / ".join(f"{value:.3g}" for value in quartiles(column(rows, name)))


def mean(values):
    values = list(values)
    return sum(values) / len(values)


def print_table(title, chosen, top):
    """chosen: {run: [rows of the real run, before, after]}"""
    for run, sets in chosen.items():
        if any(not rows for rows in sets):
            sys.exit(f"compare_features: {run.name}: nothing to compare")
    names = [name for name in next(iter(chosen.values()))[0][0] if name not in LEFT_OUT]
    found = {run: distances(names, sets[0], sets[1:]) for run, sets in chosen.items()}
    telling = sorted(names, key=lambda name: -mean(found[run][name][0] for run in chosen))[:top]
    print(f"\n{title} (" + "; ".join(
        f"{run.title}: {', '.join(str(len(rows)) for rows in sets)}" for run, sets in chosen.items()) + "):\n")
    print("| feature | run | real | before | after | KS before | KS after |\n|---|---|---|---|---|---|---|")
    for name in telling:
        for run, (real, before, after) in chosen.items():
            first, second = found[run][name]
            print(f"| `{name}` | {run.title} | {spread(real, name)} | {spread(before, name)} | "
                  f"{spread(after, name)} | {first:.2f} | {second:.2f} |")
    for run in chosen:
        first, second = (mean(found[run][name][i] for name in names) for i in (0, 1))
        print(f"| mean of all {len(names)} | {run.title} | | | | {first:.3f} | {second:.3f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bin", type=pathlib.Path)
    parser.add_argument("real", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--realism", default="1", help="of the simulated runs behind \"after\" (1)")
    parser.add_argument("--top", type=int, default=12, help="features shown (12)")
    parser.add_argument("--features", type=pathlib.Path, help="the program that writes features, if not of BIN")
    arguments = parser.parse_args()
    arguments.features = arguments.features or arguments.bin / "tarvek-tools"
    arguments.out.mkdir(parents=True, exist_ok=True)
    rows = {run: list(tables(arguments, run)) for run in RUNS}
    for title, choose in (("Main true precursors", main_precursors), ("All candidates", all_candidates)):
        print_table(title, {run: [choose(part) for part in parts] for run, parts in rows.items()}, arguments.top)


if __name__ == "__main__":
    main()
