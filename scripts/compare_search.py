#!/usr/bin/env python3
"""Scans identified by a search engine, with declared and with determined precursors.

Needs comet-ms (Debian package of that name). Give it the precursor table that tarvek wrote for a run,
the MGF file beside it and a protein FASTA file:

    scripts/compare_search.py OUT/run.csv OUT/run_HCDFT.mgf proteins.fasta [WORKDIR]

It writes a second MGF with the same peaks and the declared precursors (from the table), searches both
against the proteins and their reversed decoys, keeps the best match of each scan by E-value, and counts
the scans accepted at 1 % false discovery rate (decoys / targets, monotone q-values).
"""
import collections
import pathlib
import re
import subprocess
import sys
import tempfile

SETTINGS = {
    "decoy_search": "1",
    "num_threads": "0",
    "peptide_mass_tolerance": "20.0",
    "peptide_mass_units": "2",
    "fragment_bin_tol": "0.02",
    "fragment_bin_offset": "0.0",
    "output_pepxmlfile": "0",
    "output_txtfile": "1",
    "num_output_lines": "1",
    "clip_nterm_methionine": "1",
}


def read_blocks(path):
    """Yields (scan, [lines]) of each BEGIN IONS block."""
    lines = []
    for line in open(path, encoding="ascii"):
        lines.append(line)
        if line == "END IONS\n":
            title = next(text for text in lines if text.startswith("TITLE="))
            yield int(title.split(".")[-5]), lines
            lines = []


def declared_precursors(table):
    """scan -> (m/z, charge) from the OrigMZ and OrigCharge columns."""
    declared = {}
    with open(table, encoding="ascii") as rows:
        next(rows)
        for row in rows:
            fields = row.split(", ")
            declared[int(fields[2])] = (fields[3], int(fields[4]))
    return declared


def write_declared(mgf, table, out):
    """The first block of each scan with its declared precursor."""
    declared = declared_precursors(table)
    seen = set()
    with open(out, "w", encoding="ascii") as target:
        for scan, lines in read_blocks(mgf):
            if scan in seen:
                continue
            seen.add(scan)
            mz, charge = declared[scan]
            for line in lines:
                if line.startswith("PEPMASS="):
                    line = f"PEPMASS={mz}\n"
                elif line.startswith("CHARGE="):
                    line = f"CHARGE={charge}+\n"
                elif line.startswith("TITLE="):
                    run = line[len("TITLE="):].rsplit(".", 5)[0]
                    line = f"TITLE={run}.{scan}.{scan}.{charge}.0.dta\n"
                target.write(line)


def write_parameters(path, fasta, isotope_error):
    subprocess.run(["comet-ms", "-p"], cwd=path.parent, check=True, stdout=subprocess.DEVNULL)
    text = (path.parent / "comet.params.new").read_text()
    for key, value in {**SETTINGS, "database_name": fasta, "isotope_error": isotope_error}.items():
        text, found = re.subn(rf"(?m)^{key} = *[^#\n]*", f"{key} = {value} ", text)
        if found != 1:
            sys.exit(f"comet-ms has no parameter {key}")
    path.write_text(text)


def search(mgf, fasta, isotope_error, workdir):
    """[(E-value, is decoy, scan)] of the best match of each scan."""
    parameters = workdir / "comet.params"
    write_parameters(parameters, fasta, isotope_error)
    base = workdir / f"{mgf.stem}.{isotope_error}"
    command = ["comet-ms", f"-P{parameters}", f"-N{base}", str(mgf)]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return [entry for entry, _ in best_matches(f"{base}.txt")]


def best_matches(path):
    """[((E-value, is decoy, scan), match)] of the best match of each scan in a table of comet-ms."""
    best = {}
    with open(path, encoding="ascii") as rows:
        next(rows)
        columns = next(rows).rstrip("\n").split("\t")
        for row in rows:
            match = dict(zip(columns, row.rstrip("\n").split("\t")))
            decoy = all(name.startswith("DECOY_") for name in match["protein"].split(","))
            entry = (float(match["e-value"]), decoy, int(match["scan"]))
            if entry[2] not in best or entry < best[entry[2]][0]:
                best[entry[2]] = (entry, match)
    return sorted(best.values(), key=lambda pair: pair[0])


def accepted_at(matches, fdr):
    """Scans above the last place where decoys / targets is at most fdr."""
    targets = decoys = accepted = 0
    for _, decoy, _ in matches:
        decoys += decoy
        targets += not decoy
        if decoys <= fdr * targets:
            accepted = targets
    return accepted


def main():
    if len(sys.argv) not in (4, 5):
        sys.exit(__doc__)
    table, mgf, fasta = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    workdir = pathlib.Path(sys.argv[4] if len(sys.argv) == 5 else tempfile.mkdtemp()).resolve()
    workdir.mkdir(parents=True, exist_ok=True)
    declared = workdir / f"{mgf.stem}_declared.mgf"
    write_declared(mgf, table, declared)
    scans = collections.Counter(scan for scan, _ in read_blocks(mgf))
    print(f"{len(scans)} scans, {sum(scans.values())} determined precursors")
    for name, path, isotope_error in (("declared", declared, 0),
                                      ("declared, engine tries isotope errors", declared, 3),
                                      ("determined", mgf, 0)):
        matches = search(path, fasta, isotope_error, workdir)
        print(f"{name}: {accepted_at(matches, 0.01)} scans at 1 % FDR")


if __name__ == "__main__":
    main()
