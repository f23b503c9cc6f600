#!/usr/bin/python3
"""Simulates the runs for fitting the joint determination, and those for its evaluation.

Usage: joint_simulate.py BIN OUT
  BIN  folder with tarvek and tarvek-tools
  OUT  working folder: OUT/fit/NAME.features.tsv, and OUT/held with runs, truth and features

The settings are those of joint_profiles.tsv; seeds and sizes are below. An existing run is made
again only if its settings, the programs or their tables have changed.
"""
import pathlib
import subprocess
import sys

from evaluate import HOME, read_rows
from joint_runs import checksum, write_features

# kind -> first seed, MS2 scans. The run of row i (from 1) has the seed first + i.
KINDS = {"fit": (5000, 1500), "held": (6000, 1000)}
ENDINGS = (".ms1", ".ms2")


def run(*command):
    subprocess.run([str(part) for part in command], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def isotope_table(programs, options, out):
    if "n15" not in options:
        return HOME.parent / "data/IPV.txt"
    table = out / "IPV_n15.txt"
    run(programs / "tarvek-tools", "ipv", "--label", "n15", table)
    return table


def charges_of(options):
    """The charges of a profile, as an option of tarvek-tools."""
    return ["--charges", "-6", "-2"] if "--negative" in options else []


def make_run(programs, out, kind, number, row):
    base = out / kind / row["profile"]
    base.parent.mkdir(parents=True, exist_ok=True)
    first_seed, scans = KINDS[kind]
    simulate = ["--seed", first_seed + number, "--ms2", scans, "--isolation-width", row["width"],
                *row["options"].split()]
    ipv = isotope_table(programs, row["options"], out)
    table, stamp = base.with_suffix(".features.tsv"), base.with_suffix(".stamp")
    state = checksum(programs / "tarvek-tools", ipv, repr(simulate).encode())
    if table.exists() and stamp.exists() and stamp.read_text() == state:
        return
    run(programs / "tarvek-tools", "simulate", *simulate, base)
    write_features(programs, f"{base}.ms1", table, ["--truth", f"{base}.truth.tsv"], row["width"], ipv,
                   *charges_of(row["options"]))
    if kind == "fit":
        for ending in (*ENDINGS, ".truth.tsv"):
            base.with_suffix(ending).unlink()
    stamp.write_text(state)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    programs, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    for kind in KINDS:
        for number, row in enumerate(read_rows(HOME / "joint_profiles.tsv"), 1):
            make_run(programs, out, kind, number, row)


if __name__ == "__main__":
    main()
