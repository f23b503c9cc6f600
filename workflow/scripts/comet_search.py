#!/usr/bin/env python3
"""Searches the MGF files of one sample with Comet (Debian package comet-ms).

Writes the best match of each scan, by E-value, with its q-value (decoys / targets, monotone), and a
one-row summary. Fragment types and tolerances follow the kind of MS2 scans, which is in the name of
each file (run_HCDFT.mgf). Comet's own files go to the current directory.
"""
import argparse
from pathlib import Path

import comet


def count_scans(mgf_files):
    """Searched scans and precursors."""
    scans, precursors = set(), 0
    for mgf in mgf_files:
        for line in mgf.open(encoding="ascii"):
            if line.startswith("SCANS="):
                scans.add((mgf.name, line.strip()))
                precursors += 1
    return len(scans), precursors


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--sample", required=True)
    parser.add_argument("--mgf", required=True, type=Path, help="directory of the MGF files")
    parser.add_argument("--fasta", required=True, type=Path)
    parser.add_argument("--matches", required=True, type=Path, help="table to write")
    parser.add_argument("--summary", required=True, type=Path, help="table to write")
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--precursor-ppm", type=float, default=20)
    parser.add_argument("--fdr", type=float, default=0.01)
    return parser.parse_args()


def search(mgf, options):
    settings = comet.settings_of(mgf, options.threads, options.precursor_ppm)
    return comet.search(mgf, options.fasta, settings, Path(), mgf.stem)


def main():
    options = parse_arguments()
    mgf_files = sorted(options.mgf.glob("*.mgf"))
    matches = comet.best_matches([match for mgf in mgf_files for match in search(mgf, options)])
    shares = comet.q_values(matches)
    with options.matches.open("w", encoding="utf-8") as table:
        names = [name for name in (matches[0] if matches else {"mgf": "", "scan": ""}) if name]
        table.write("\t".join(names + ["q_value"]) + "\n")
        for match, share in zip(matches, shares):
            table.write("\t".join([match[name] for name in names] + [f"{share:.6f}"]) + "\n")
    accepted = len(comet.accepted(matches, options.fdr))
    scans, precursors = count_scans(mgf_files)
    options.summary.write_text("sample\tscans\tprecursors\tidentified_scans\tfdr\n"
                               f"{options.sample}\t{scans}\t{precursors}\t{accepted}\t{options.fdr:g}\n")


if __name__ == "__main__":
    main()
