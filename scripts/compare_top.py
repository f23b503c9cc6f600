#!/usr/bin/python3
"""Scans identified with one, some and all precursors of each scan.

Needs comet-ms and python3-numpy (Debian packages of these names). Give it the directory of the programs
tarvek and tarvek-tools, the isotope table, a protein FASTA file and extracted runs:

    scripts/compare_top.py build/release/bin data/IPV.txt proteins.fasta WORKDIR run1.ms1 [run2.ms1 ...]
        [--width 4]

For each run it determines precursors with co-elute 0 and with co-elute 1, rewrites the latter with
'tarvek-tools mgf --engine xtandem' (one file with the scan in its titles) and --top 1, 2, 3 or
nothing, searches each with Comet (settings of compare_search.py), keeps the best match of each scan
by E-value, and counts scans accepted at 1 % false discovery rate, for the runs together.
"""
import argparse
import pathlib
import subprocess

import compare_search
from compare_search import comet


def run_quietly(*command):
    subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def determine(options, run, co_elute):
    """Path of the MGF that tarvek writes for a run, in a separate folder."""
    out = options.workdir / f"co-elute{co_elute}" / run.stem
    out.mkdir(parents=True, exist_ok=True)
    run_quietly(options.programs / "tarvek", "-D", run, "-O", out, "-I", options.table, "-p", "0",
                "-r", "1", "-C", co_elute, "-W", options.width)
    written = list(out.glob("*.mgf"))
    if len(written) != 1:
        raise SystemExit(f"{run} has several kinds of MS2 scans: {written}")
    return written[0]


def rewrite(options, mgf, name, *more):
    out = options.workdir / name / mgf.parent.name
    out.mkdir(parents=True, exist_ok=True)
    run_quietly(options.programs / "tarvek-tools", "mgf", "--engine", "xtandem", "--out", out, *more, mgf)
    return out / mgf.name


def compare(options):
    """Yields (way, precursors, matches) with the matches of all runs."""
    alone = [determine(options, run, 0) for run in options.runs]
    together = [determine(options, run, 1) for run in options.runs]
    ways = {"co-elute 0": [rewrite(options, mgf, "alone") for mgf in alone]}
    for top in (1, 2, 3):
        ways[f"co-elute 1, --top {top}"] = [rewrite(options, mgf, f"top{top}", "--top", top)
                                           for mgf in together]
    ways["co-elute 1, all"] = [rewrite(options, mgf, "all") for mgf in together]
    for way, files in ways.items():
        matches, precursors = [], 0
        for mgf in files:
            work = mgf.parent / "search"
            work.mkdir(exist_ok=True)
            precursors += sum(1 for _ in compare_search.read_blocks(mgf))
            matches += compare_search.search(mgf, options.fasta, 0, work)
        yield way, precursors, matches


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("table", type=pathlib.Path)
    parser.add_argument("fasta", type=pathlib.Path)
    parser.add_argument("workdir", type=pathlib.Path)
    parser.add_argument("runs", type=pathlib.Path, nargs="+")
    parser.add_argument("--width", default="2", help="isolation_width of tarvek")
    options = parser.parse_args()
    options.workdir = options.workdir.resolve()
    options.fasta = options.fasta.resolve()
    options.workdir.mkdir(parents=True, exist_ok=True)
    if len({run.stem for run in options.runs}) < len(options.runs):
        parser.error("two runs have one name; their outputs could not be told apart")
    print("| precursors | blocks | matched scans | scans at 1 % FDR |")
    print("|---|---|---|---|")
    for way, precursors, matches in compare(options):
        print(f"| {way} | {precursors} | {len(matches)} | {len(comet.accepted(matches, compare_search.FDR))} |")


if __name__ == "__main__":
    main()
