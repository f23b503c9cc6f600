#!/usr/bin/python3
"""Scans, matches, peptides and proteins found by a search engine, with declared and with determined precursors.

Needs comet-ms and python3-numpy (Debian packages of these names). Give it the precursor table that tarvek
wrote for a run, the MGF file of the run and a protein FASTA file; tarvek-tools must be on the PATH:

    compare_search.py OUT/run.csv OUT/run_HCDFT.mgf proteins.fasta [WORKDIR]

It writes a second MGF with the same peaks and the declared precursors (from the table) and searches three
times against the proteins and their reversed decoys: the declared precursors, the same while the engine
tries isotope errors, and the determined ones. All three are counted by 'tarvek-tools psms': the best match of
each precursor by E-value, each peptide once a scan, at 1 % false discovery rate by decoys / targets (with
--plus-one by (decoys + 1) / targets).
"""
import argparse
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
    """scan -> (m/z, charge) without signs, for scans with a declared precursor."""
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
    """The best match of each scan. kind_of: the MGF; its name says how the scans were
    fragmented."""
    return comet.best_matches(comet.read_table(search_table(mgf, fasta, isotope_error, workdir, kind_of), mgf))


def search_table(mgf, fasta, isotope_error, workdir, kind_of=None, precursor_ppm=20.0):
    """Comet's table of the matches of one file. It has the name of the file, so that psms finds the
    run."""
    settings = comet.settings_of(kind_of or mgf, precursor_ppm=precursor_ppm, isotope_error=isotope_error)
    folder = workdir / f"isotope_error_{isotope_error}"
    folder.mkdir(exist_ok=True)
    comet.search(mgf, fasta, settings, folder, mgf.stem, console=subprocess.DEVNULL)
    return folder / f"{mgf.stem}.txt"


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("table", type=pathlib.Path, help="precursor table (.csv)")
    parser.add_argument("mgf", type=pathlib.Path, help="MGF beside it, or as rewritten for Comet")
    parser.add_argument("fasta", type=pathlib.Path, help="proteins without decoys")
    parser.add_argument("workdir", type=pathlib.Path, nargs="?", help="folder of Comet's files")
    parser.add_argument("--tools", default="tarvek-tools", help="the program tarvek-tools (default: on the PATH)")
    parser.add_argument("--precursor-ppm", type=float, default=20.0)
    parser.add_argument("--plus-one", action="store_true",
                        help="estimate the rate by (decoys + 1) / targets, which needs long runs")
    return parser.parse_args()


def main():
    options = parse_arguments()
    table, mgf, fasta = (path.resolve() for path in (options.table, options.mgf, options.fasta))
    workdir = (options.workdir or pathlib.Path(tempfile.mkdtemp())).resolve()
    workdir.mkdir(parents=True, exist_ok=True)
    files = comet.files_of(mgf)
    declared = workdir / f"{mgf.stem}_declared.mgf"
    write_declared(mgf, table, declared)
    scans = collections.Counter(scan for file in files for scan, _ in read_blocks(file))
    estimate = () if options.plus_one else ("--no-plus-one",)
    print(f"{len(scans)} scans, {sum(scans.values())} determined precursors; accepted at 1 % FDR:")
    print(f"{'precursors':<40}{'scans':>7}{'matches':>9}{'peptides':>10}{'proteins':>10}")
    for name, paths, isotope_error in (("declared", [declared], 0),
                                       ("declared, engine tries isotope errors", [declared], 3),
                                       ("determined", files, 0)):
        tables = [search_table(path, fasta, isotope_error, workdir, mgf, options.precursor_ppm)
                  for path in paths if path.stat().st_size]
        found = comet.count(options.tools, tables, "--fdr", FDR, *estimate)
        print(f"{name:<40}{found['scans']:>7}{found['matches']:>9}{found['peptides']:>10}{found['proteins']:>10}",
              flush=True)


if __name__ == "__main__":
    main()
