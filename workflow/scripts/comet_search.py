#!/usr/bin/env python3
"""Searches the MGF files of one sample with Comet (Debian package comet-ms).

Writes the accepted matches with their precursors, as 'tarvek-tools psms' does, and a one-row summary. Fragment
types and tolerances follow the kind of MS2 scans, which is in the name of each file (run_HCDFT.mgf). Comet's own
files go to the current directory.
"""
import argparse
import json
from pathlib import Path

import comet

COUNTED = ("scans", "matches", "peptides", "proteins")


def count_scans(mgf_files):
    """Searched scans and precursors. A scan may be in several files, with further precursors."""
    scans, precursors = set(), 0
    for mgf in mgf_files:
        for line in mgf.open(encoding="ascii"):
            if line.startswith("SCANS="):
                scans.add(line.strip())
                precursors += 1
    return len(scans), precursors


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sample", required=True)
    parser.add_argument("--mgf", required=True, type=Path, help="directory of the MGF files")
    parser.add_argument("--table", required=True, type=Path, help="precursor table of the sample")
    parser.add_argument("--fasta", required=True, type=Path)
    parser.add_argument("--matches", required=True, type=Path, help="table to write")
    parser.add_argument("--summary", required=True, type=Path, help="table to write")
    parser.add_argument("--tools", default="tarvek-tools", help="the program tarvek-tools")
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--settings", required=True, type=json.loads, help="of comet_settings, as JSON")
    parser.add_argument("--fdr", type=float, default=0.01)
    parser.add_argument("--plus-one", action="store_true", help="add 1 to the decoys when estimating the rate")
    return parser.parse_args()


def search(mgf, options):
    """Comet's table of the matches."""
    tolerance = options.settings["fragment_tolerance"][comet.kind_of(mgf)[1]]
    settings = {**comet.settings_of(mgf, options.threads), "fragment_bin_tol": str(tolerance),
                **options.settings["parameters"]}
    comet.search(mgf, options.fasta, settings, Path(), mgf.stem)
    return Path(f"{mgf.stem}.txt")


def main():
    options = parse_arguments()
    mgf_files = sorted(options.mgf.glob("*.mgf"))
    # Comet writes no output for a file without spectra.
    tables = [search(mgf, options) for mgf in mgf_files if mgf.stat().st_size]
    estimate = () if options.plus_one else ("--no-plus-one",)
    found = comet.count(options.tools, tables, "--precursors", options.table, "--fdr", options.fdr, "--out",
                        options.matches, *estimate)
    if not tables:
        options.matches.write_text("psm_id\n")
    scans, precursors = count_scans(mgf_files)
    names = ["sample", "scans", "precursors", "identified_scans", "fdr", "matches", "peptides", "proteins"]
    values = [options.sample, scans, precursors, found["scans"], f"{options.fdr:g}",
              *(found[name] for name in COUNTED[1:])]
    options.summary.write_text("\t".join(names) + "\n" + "\t".join(map(str, values)) + "\n")


if __name__ == "__main__":
    main()
