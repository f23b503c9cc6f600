#!/usr/bin/python3
"""The figures of README and cookbook: what comet-ms finds in real runs with declared and determined precursors.

    scripts/compare_runs.py PREFIX DATA WORKDIR

PREFIX: where tarvek is installed (./dev install PREFIX). DATA: the folder of real runs, which are named below. Needs
comet-ms and python3-numpy. For each run it determines precursors as they are by default and with --joint --calibrate,
searches as compare_search.py does, and prints for each way "scans / matches / peptides" at 1 % false discovery rate,
counted by 'tarvek-tools psms' with decoys / targets; in the last row all runs are ranked together, with
(decoys + 1) / targets.
"""
import gzip
import pathlib
import shutil
import subprocess
import sys

import compare_search
from compare_search import comet

SCRIPTS = pathlib.Path(__file__).resolve().parent
HEK = "hek293-velos/BottomUpSnips_prunedDb.xml.gz"
K13 = "lowinput-k13/HumanFastaSlice.fasta.gz"
MOUSE = "mm-example/mouse-10.xml.gz"
BSA = "bsa-orbixl/bsa.fasta.gz"
# Of each run its file, the width of its isolation window and its proteins.
RUNS = (("hek293-velos/HEK293_2_16173.mzML", "4", (HEK,)),
        ("hek293-velos/HEK293_4_11989.mzML", "4", (HEK,)),
        ("yeast-velos/SmallCalibratible_Yeast.mzML", "3", ("yeast-velos/yeast_uniprot_120226.fasta.gz",)),
        ("mm-example/mm_example.mzML", "3", (MOUSE,)),
        ("lowinput-k13/K13_02ng_1min_frac1.mzML", "1.6", (K13,)),
        ("b6-fusion-it/sliced_b6.mzML", "0.7", (MOUSE, HEK, K13)),  # most peptides of mouse and man are equal
        ("bsa-orbixl/BSA_min_21.mzXML", "2", (BSA,)),
        ("bsa-orbixl/BSA_min_23.mzXML", "2", (BSA,)))
WAYS = ("declared", "declared, isotope errors", "Tarvek", "Tarvek `--joint --calibrate`")


def unpack(source, target):
    with gzip.open(source) as packed, open(target, "wb") as out:
        shutil.copyfileobj(packed, out)


def write_fasta(data, proteins, fasta):
    """All proteins in one FASTA file."""
    parts = []
    for name in proteins:
        part = fasta.with_name("part.fasta")
        if ".xml" in name:
            subprocess.run([sys.executable, SCRIPTS / "protein_xml_to_fasta.py", data / name, part], check=True,
                           stdout=subprocess.DEVNULL)
        else:
            unpack(data / name, part)
        parts.append(part.read_bytes())
        part.unlink()
    fasta.write_bytes(b"".join(part if part.endswith(b"\n") else part + b"\n" for part in parts))


def determine(prefix, run, width, out, *options):
    """The MGF that tarvek writes for a run."""
    subprocess.run([prefix / "bin/tarvek-tools", "run", run, "-o", out, "--width", width, "--again", *options],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    mgf, = out.glob(f"{run.stem}_*.mgf")
    return mgf


def search_run(prefix, data, name, width, proteins, work):
    """The scans of a run, and for each way Comet's table."""
    work.mkdir(parents=True, exist_ok=True)
    run, fasta = work / pathlib.Path(name).name, work / "proteins.fasta"
    unpack(data / (name + ".gz"), run)
    write_fasta(data, proteins, fasta)
    mgf = determine(prefix, run, width, work / "default")
    joint = determine(prefix, run, width, work / "joint", "--joint", "--calibrate")
    declared = work / f"{run.stem}_declared.mgf"
    compare_search.write_declared(mgf, work / "default" / f"{run.stem}.csv", declared)
    scans = {scan for scan, _ in compare_search.read_blocks(mgf)}
    tables = []
    for path, isotope_error in ((declared, 0), (declared, 3), (mgf, 0), (joint, 0)):
        folder = work / f"search_{len(tables)}"
        folder.mkdir(exist_ok=True)
        tables.append(compare_search.search_table(path, fasta, isotope_error, folder, mgf))
    return len(scans), tables


def cells(prefix, tables_of_ways, *options):
    for tables in tables_of_ways:
        found = comet.count(prefix / "bin/tarvek-tools", tables, *options)
        yield f"{found['scans']} / {found['matches']} / {found['peptides']}"


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    prefix, data, work = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    print("| run | isolation | scans | " + " | ".join(WAYS) + " |")
    print("|" + "---|" * (len(WAYS) + 3))
    all_scans, all_tables = 0, [[] for _ in WAYS]
    for name, width, proteins in RUNS:
        stem = pathlib.Path(name).stem
        scans, tables = search_run(prefix, data, name, width, proteins, work / stem)
        all_scans += scans
        for list_of_way, table in zip(all_tables, tables):
            list_of_way.append(table)
        print(f"| {stem} | {width} | {scans} | " +
              " | ".join(cells(prefix, ([table] for table in tables), "--no-plus-one")) + " |", flush=True)
    print(f"| all together | | {all_scans} | " + " | ".join(cells(prefix, all_tables)) + " |")


if __name__ == "__main__":
    main()
