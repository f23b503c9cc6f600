#!/usr/bin/python3
"""Every scoring model on real runs: identified scans, and how it ranks labelled candidates.

Usage: real_runs.py BIN DATA OUT
  BIN   folder with tarvek and tarvek-tools
  DATA  folder of the runs (see RUNS): .ms1.gz, .ms2.gz and their proteins OUT   working folder;
  OUT/real_runs.md is the answer

For each run and model tarvek writes an MGF, comet-ms searches it against the proteins with reversed
decoys, and scans with a match at 1 % false discovery rate are counted. The labels of candidates come
from a search of the declared precursors in which the engine itself tries isotope errors: a match gives
the peptide, and its composition the m/z and the charge, independently of tarvek.
"""
import gzip
import pathlib
import re
import shutil
import subprocess
import sys

HOME = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HOME.parent / "scripts"))
sys.path.insert(0, str(HOME))
import compare_search
import protein_xml_to_fasta
from compare_search import comet
from evaluate import MODELS, auc, read_table

PROTON_DA = 1.007276
WATER_DA = 18.0105647
RESIDUES_DA = {
    "G": 57.0214637, "A": 71.0371138, "S": 87.0320284, "P": 97.0527639, "V": 99.0684139,
    "T": 101.0476785, "C": 160.0306487, "L": 113.0840640, "I": 113.0840640, "N": 114.0429275,
    "D": 115.0269431, "Q": 128.0585775, "K": 128.0949631, "E": 129.0425931, "M": 131.0404846,
    "H": 137.0589119, "F": 147.0684139, "R": 156.1011110, "Y": 163.0633286, "W": 186.0793129,
}  # C is carbamidomethyl cysteine; sums of atomic masses of AME 2020

# folder/run, proteins, isolation width
RUNS = (
    ("hek293-velos/HEK293_2_16173", "BottomUpSnips_prunedDb.xml.gz", "4"),
    ("hek293-velos/HEK293_4_11989", "BottomUpSnips_prunedDb.xml.gz", "4"),
    ("yeast-velos/SmallCalibratible_Yeast", "yeast_uniprot_120226.fasta.gz", "3"),
    ("mm-example/mm_example", "mouse-10.xml.gz", "3"),
    ("lowinput-k13/K13_02ng_1min_frac1", "HumanFastaSlice.fasta.gz", "1.6"),
)


def write_fasta(proteins, path):
    """Unpacks FASTA, or extracts the entries of a protein XML."""
    if ".xml" in proteins.name:
        protein_xml_to_fasta.write_fasta(proteins, path)
        return
    with gzip.open(proteins) as source, open(path, "wb") as target:
        shutil.copyfileobj(source, target)


def unpack(data, run, folder):
    for ending in (".ms1", ".ms2"):
        with gzip.open(data / f"{run}{ending}.gz") as source:
            (folder / (pathlib.Path(run).name + ending)).write_bytes(source.read())
    return folder / (pathlib.Path(run).name + ".ms1")


def determine(programs, ms1, width, model, out):
    """The MGF that tarvek writes with a model."""
    out.mkdir(parents=True, exist_ok=True)
    command = [programs / "tarvek", "-D", ms1, "-O", out, "-L", out, "-I", HOME.parent / "data/IPV.txt",
               "-W", width, "-M", str(model), "-r", "1"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return next(out.glob("*.mgf"))


def peptide_mz(sequence, charge, modified):
    """m/z of a match, from its residues and the oxidised methionines of its modified form."""
    mass = WATER_DA + sum(RESIDUES_DA[letter] for letter in sequence)
    mass += sum(float(delta) for delta in re.findall(r"\[(-?[\d.]+)\]", modified) if float(delta) < 50)
    return mass / charge + PROTON_DA


def identified_precursors(matches):
    """Rows (scan, m/z, charge) of the accepted best matches of a search."""
    return [(int(match["scan"]),
             peptide_mz(match["plain_peptide"], int(match["charge"]), match["modified_peptide"]),
             int(match["charge"])) for match in comet.accepted(matches, compare_search.FDR)]


def labelled_auc(programs, ms1, width, identified, folder):
    """Numbers of true and false candidates and the ROC-AUC of every model on them."""
    peptides, features = folder / "identified.tsv", folder / "features.tsv"
    peptides.write_text("scan\tmz\tcharge\n" +
                        "".join(f"{scan}\t{mz:.6f}\t{charge}\n" for scan, mz, charge in identified))
    subprocess.run([programs / "tarvek-tools", "features", ms1, features, "--identified", peptides,
                    "--scores", "-W", width, "-I", HOME.parent / "data/IPV.txt"],
                   check=True, stdout=subprocess.DEVNULL)
    table = read_table(features)
    labels = table["label"]
    return (labels.count(1), labels.count(0),
            [auc(table[f"score_{model.number}"], labels) for model in MODELS])


def run_figures(programs, data, run, proteins, width, out):
    folder = out / pathlib.Path(run).name
    folder.mkdir(parents=True, exist_ok=True)
    fasta = folder / "proteins.fasta"
    write_fasta((data / run).parent / proteins, fasta)
    ms1 = unpack(data, run, folder)
    mgfs = {model.number: determine(programs, ms1, width, model.number, folder / f"model_{model.name}")
            for model in MODELS}
    declared = folder / f"{ms1.stem}_declared.mgf"
    table = mgfs[4].parent / f"{ms1.stem}.csv"
    compare_search.write_declared(mgfs[4], table, declared)

    def search(mgf, isotope_error, name):
        work = folder / f"search_{name}"
        work.mkdir(exist_ok=True)
        return compare_search.search(mgf, fasta, isotope_error, work, mgfs[4])

    isotopes = search(declared, 3, "isotopes")
    searches = [search(declared, 0, "declared"), isotopes]
    searches += [search(mgfs[model.number], 0, model.name) for model in MODELS]
    counts = [len(comet.accepted(matches, compare_search.FDR)) for matches in searches]
    return counts, labelled_auc(programs, ms1, width, identified_precursors(isotopes), folder)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    programs, data, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    names = [model.name for model in MODELS]
    first = ["| run | declared | declared, isotope errors | " + " | ".join(names) + " |",
             "|---|---|---|" + "---|" * len(names)]
    second = ["| run | true | false | " + " | ".join(names) + " |", "|---|---|---|" + "---|" * len(names)]
    for run, proteins, width in RUNS:
        counts, (true, false, areas) = run_figures(programs, data, run, proteins, width, out)
        name = f"{pathlib.Path(run).name}, {width} m/z"
        first.append(f"| {name} | " + " | ".join(map(str, counts)) + " |")
        second.append(f"| {name} | {true} | {false} | " + " | ".join(f"{a:.3f}" for a in areas) + " |")
    (out / "real_runs.md").write_text(
        "Scans identified at 1 % FDR:\n\n" + "\n".join(first) +
        "\n\nROC-AUC on labelled candidates:\n\n" + "\n".join(second) + "\n")
    print((out / "real_runs.md").read_text())


if __name__ == "__main__":
    main()
