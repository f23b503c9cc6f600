#!/usr/bin/env python3
"""Searches the MGF files of one sample with Comet (Debian package comet-ms).

Writes the best match of each scan, by E-value, with its q-value (decoys / targets, monotone), and a
one-row summary. Fragment types and tolerances follow the kind of MS2 scans, which is in the name of
each file (run_HCDFT.mgf). Comet writes its own files into the current directory.
"""
import argparse
import re
import subprocess
from pathlib import Path

SETTINGS = {
    "decoy_search": "1",
    "peptide_mass_units": "2",
    "isotope_error": "0",
    "output_pepxmlfile": "0",
    "output_txtfile": "1",
    "num_output_lines": "1",
    "clip_nterm_methionine": "1",
}
BINS = {"FT": {"fragment_bin_tol": "0.02", "fragment_bin_offset": "0.0"},
        "IT": {"fragment_bin_tol": "1.0005", "fragment_bin_offset": "0.4"}}
# Collisions break b and y ions, electron transfer c and z, both together all four.
IONS = {"CID": "BY", "HCD": "BY", "ETD": "CZ", "ETCID": "BCYZ", "ETHCD": "BCYZ"}


def settings_of(mgf, options):
    """Comet's settings for one file; its kind is the part behind the last underscore."""
    kind = re.fullmatch(r".*_(CID|HCD|ETD|ETCID|ETHCD)(FT|IT)(MS)?", mgf.stem)
    if kind is None:
        raise SystemExit(f"{mgf}: the name does not say how the scans were fragmented (_HCDFT, ...)")
    ions = {f"use_{letter}_ions": str(int(letter in IONS[kind[1]])) for letter in "ABCXYZ"}
    return {**SETTINGS, **BINS[kind[2]], **ions, "database_name": str(options.fasta),
            "num_threads": str(options.threads), "peptide_mass_tolerance": str(options.precursor_ppm)}


def write_parameters(path, settings):
    """Comet's own template with the given settings."""
    subprocess.run(["comet-ms", "-p"], check=True, stdout=subprocess.DEVNULL)
    text = Path("comet.params.new").read_text()
    for key, value in settings.items():
        text, found = re.subn(rf"(?m)^{key} = *[^#\n]*", lambda _: f"{key} = {value} ", text)
        if found != 1:
            raise SystemExit(f"comet-ms has no parameter {key}")
    path.write_text(text)


def search(mgf, options):
    """Comet's rows for one file, as dictionaries."""
    parameters = Path(f"{mgf.stem}.params")
    write_parameters(parameters, settings_of(mgf, options))
    subprocess.run(["comet-ms", f"-P{parameters}", f"-N{mgf.stem}", str(mgf)], check=True)
    # The first line holds the time of the search, the second the names of the columns.
    _, names, *rows = Path(f"{mgf.stem}.txt").read_text().splitlines()
    return [{"mgf": mgf.name, **dict(zip(names.split("\t"), row.split("\t")))} for row in rows]


def is_decoy(match):
    return all(name.startswith("DECOY_") for name in match["protein"].split(","))


def best_matches(matches):
    """The match of lowest E-value for each scan, lowest first; ties by scan, then by charge."""
    order = lambda match: (float(match["e-value"]), int(match["scan"]), int(match["charge"]),
                           match["plain_peptide"])
    best = {}
    for match in sorted(matches, key=order):
        best.setdefault((match["mgf"], match["scan"]), match)
    return list(best.values())


def q_values(matches):
    """Share of decoys above each place, the smallest of it and all places below."""
    shares, decoys, targets = [], 0, 0
    for match in matches:
        decoys += is_decoy(match)
        targets += not is_decoy(match)
        shares.append(min(1.0, decoys / max(targets, 1)))
    for place in range(len(shares) - 2, -1, -1):
        shares[place] = min(shares[place], shares[place + 1])
    return shares


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


def main():
    options = parse_arguments()
    mgf_files = sorted(options.mgf.glob("*.mgf"))
    matches = best_matches([match for mgf in mgf_files for match in search(mgf, options)])
    shares = q_values(matches)
    with options.matches.open("w", encoding="utf-8") as table:
        names = [name for name in (matches[0] if matches else {"mgf": "", "scan": ""}) if name]
        table.write("\t".join(names + ["q_value"]) + "\n")
        for match, share in zip(matches, shares):
            table.write("\t".join([match[name] for name in names] + [f"{share:.6f}"]) + "\n")
    accepted = sum(share <= options.fdr and not is_decoy(match) for match, share in zip(matches, shares))
    scans, precursors = count_scans(mgf_files)
    options.summary.write_text("sample\tscans\tprecursors\tidentified_scans\tfdr\n"
                               f"{options.sample}\t{scans}\t{precursors}\t{accepted}\t{options.fdr:g}\n")


if __name__ == "__main__":
    main()
