#!/usr/bin/python3
"""Scans identified by a search engine, with declared and with determined precursors.

Needs comet-ms and python3-numpy (Debian packages of these names). Give it the precursor table that tarvek
wrote for a run, the MGF file beside it and a protein FASTA file:

    scripts/compare_search.py OUT/run.csv OUT/run_HCDFT.mgf proteins.fasta [WORKDIR]

It writes a second MGF with the same peaks and the declared precursors (from the table) and searches three
times against the proteins and their reversed decoys: the declared precursors, the same while the engine
tries isotope errors, and the determined ones. Of each it keeps the best match of each scan by E-value, and
counts the scans accepted at 1 % false discovery rate (decoys / targets, monotone q-values).
"""
import collections
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path += [str(ROOT / "workflow/scripts"), str(ROOT / "python")]
import comet  # noqa: E402
import tarvek_io  # noqa: E402

FDR = 0.01


def read_blocks(path):
    """Yields (scan, [lines]) of each block of an MGF file of tarvek."""
    lines = []
    with open(path, encoding="ascii", newline="\n") as text:
        for line in text:
            lines.append(line)
            if line.rstrip("\r\n") == "END IONS":
                title = next(line for line in lines if line.startswith("TITLE="))
                yield tarvek_io.scan_of_title(title[len("TITLE="):].rstrip("\r\n")), lines
                lines = []


def declared_precursors(table):
    """scan -> (m/z, charge), neither with a sign, of the scans whose input declared one."""
    rows = tarvek_io.read_precursors(table)
    declared = zip(rows.scan_no.tolist(), rows.declared_mz.tolist(), rows.declared_charge.tolist())
    return {scan: (mz, charge) for scan, mz, charge in declared if charge > 0}


def with_precursor(lines, scan, mz, charge):
    """The lines of a block for another precursor; the sign of the charge stays."""
    negative = any(line.startswith("CHARGE=") and line.rstrip().endswith("-") for line in lines)
    for line in lines:
        if line.startswith("PEPMASS="):
            line = f"PEPMASS={mz:.6f}\n"
        elif line.startswith("CHARGE="):
            line = f"CHARGE={charge}{'-' if negative else '+'}\n"
        elif line.startswith("TITLE="):
            run = line[len("TITLE="):].rsplit(".", 5)[0]
            line = f"TITLE={run}.{scan}.{scan}.{'-' if negative else ''}{charge}.0.dta\n"
        yield line


def write_declared(mgf, table, out):
    """The first block of each scan with its declared precursor; scans without one are left out."""
    declared = declared_precursors(table)
    with open(out, "w", encoding="ascii") as target:
        for scan, lines in read_blocks(mgf):
            if scan in declared:
                target.writelines(with_precursor(lines, scan, *declared.pop(scan)))


def search(mgf, fasta, isotope_error, workdir, kind_of=None):
    """The best match of each scan. kind_of: the MGF whose name says how the scans were fragmented."""
    settings = comet.settings_of(kind_of or mgf, isotope_error=isotope_error)
    return comet.best_matches(comet.search(mgf, fasta, settings, workdir, f"{mgf.stem}.{isotope_error}",
                                           console=subprocess.DEVNULL))


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
        matches = search(path, fasta, isotope_error, workdir, mgf)
        print(f"{name}: {len(comet.accepted(matches, FDR))} scans at 1 % FDR")


if __name__ == "__main__":
    main()
