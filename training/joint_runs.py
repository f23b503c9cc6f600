"""Real runs for the joint determination: their scans, cached searches, and results of searches.

Not a program; joint_labels.py and joint_eval.py use it. A run is unpacked from the folder of runs, its
fragment scans are searched with comet-ms for whatever precursors the caller chose, and the result
is cached under the checksum of all inputs, so that no search runs twice.
"""
import hashlib
import json
import pathlib
import subprocess
import sys
from typing import NamedTuple

import numpy as np

HOME = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HOME.parent / "scripts"))
sys.path.insert(0, str(HOME))
from compare_search import comet  # noqa: E402
from real_runs import unpack, write_fasta  # noqa: E402

PROTON_DA = 1.007276
FDR = 0.01
SURE_E_VALUE = 0.001
# Masses that Comet digests proteins to, in Da.
LOWEST_MASS_DA, HIGHEST_MASS_DA = 600.0, 5000.0


class Run(NamedTuple):
    path: str         # folder/name without an ending
    proteins: tuple   # files, of which the proteins are searched together
    width: str        # declared isolation width, m/z
    settings: dict    # Comet's settings besides the usual ones

    @property
    def name(self):
        return pathlib.Path(self.path).name


# All human proteins that come with the runs: each of these samples has a part of them.
HUMAN = ("hek293-velos/BottomUpSnips_prunedDb.xml.gz", "lowinput-k13/HumanFastaSlice.fasta.gz")
MOUSE = ("mm-example/mouse-10.xml.gz",)
RUNS = (
    Run("hek293-velos/HEK293_2_16173", HUMAN, "4", {}),
    Run("hek293-velos/HEK293_4_11989", HUMAN, "4", {}),
    Run("yeast-velos/SmallCalibratible_Yeast", ("yeast-velos/yeast_uniprot_120226.fasta.gz",), "3", {}),
    Run("mm-example/mm_example", MOUSE, "3", {}),
    # The sample is so small that more human proteins only add wrong peptides.
    Run("lowinput-k13/K13_02ng_1min_frac1", HUMAN[1:], "1.6", {}),
    # A mouse: most peptides of conserved proteins are the same as in man.
    Run("b6-fusion-it/sliced_b6", MOUSE + HUMAN, "0.7", {}),
    Run("bsa-orbixl/BSA_min_21", ("bsa-orbixl/bsa.fasta.gz",), "2", {}),
    Run("bsa-orbixl/BSA_min_23", ("bsa-orbixl/bsa.fasta.gz",), "2", {}),
)


def group_of(name):
    """The group that a run is left out with: the runs of its folder, which are of one sample."""
    return next((run.path.split("/")[0] for run in RUNS if run.name == name), name)


class Scan(NamedTuple):
    number: int
    rt_seconds: float
    kind: str              # activation and analyser, such as HCDFT; only the analyser for a survey
    centre_mz: float       # of the isolation window; 0 for a survey
    declared: tuple        # (m/z, charge) of each ion that the file declares
    peaks: list            # lines of the file

    def spectrum(self):
        """m/z and intensity, ascending in m/z as in the file."""
        values = np.array([line.split() for line in self.peaks], dtype=float).reshape(-1, 2)
        return values[:, 0], values[:, 1]


def scan_of_lines(lines):
    """A scan from its lines; the first begins with S."""
    first, notes, declared, peaks = lines[0].split(), {}, [], []
    for line in lines[1:]:
        if line[0].isdigit():
            peaks.append(line)
        elif line.startswith("I\t"):
            _, key, value = line.split("\t", 2)
            notes[key] = value
        elif line.startswith("Z\t"):
            charge, mh = int(line.split()[1]), float(line.split()[2])
            declared.append(((mh + (charge - 1) * PROTON_DA) / charge, charge))
    analyser = "IT" if notes.get("InstrumentType", "FTMS").startswith("IT") else "FT"
    return Scan(int(first[1]), float(notes["RetTime"]), notes.get("ActivationType", "") + analyser,
                float(notes.get("ActivationCenter", 0)), tuple(declared), peaks)


def read_scans(path):
    """The scans of a .ms1 or .ms2 file in file order."""
    scans, lines = [], []
    for line in pathlib.Path(path).read_text(encoding="ascii").splitlines():
        if line.startswith("S\t"):
            if lines:
                scans.append(scan_of_lines(lines))
            lines = [line]
        elif lines and line:
            lines.append(line)
    return scans + ([scan_of_lines(lines)] if lines else [])


def prepare(data, run, folder):
    """Unpacks a run and its proteins into folder. Returns the paths of its .ms1 file and its FASTA
    file."""
    folder.mkdir(parents=True, exist_ok=True)
    fasta, parts = folder / "proteins.fasta", []
    for number, proteins in enumerate(run.proteins):
        part = folder / f"proteins_{number}.fasta"
        write_fasta(data / proteins, part)
        parts.append(part.read_bytes())
        part.unlink()
    fasta.write_bytes(b"".join(parts))
    return unpack(data, run.path, folder), fasta


def mgf_block(name, scan, mz, charge):
    head = (f"BEGIN IONS\nTITLE={name}.{scan.number}.{scan.number}.{charge}.0.dta\nCHARGE={charge}+\n"
            f"RTINSECONDS={scan.rt_seconds:.4f}\nPEPMASS={mz:.6f}\n")
    return head + "\n".join(scan.peaks) + "\nEND IONS\n"


def write_mgf(folder, run, scans, precursors):
    """An MGF file with a block for each (m/z, charge) of precursors[scan number]; its path. Only
    scans of the commonest kind, since a search has the settings of one kind."""
    kinds = sorted(scan.kind for scan in scans if precursors.get(scan.number))
    kind = max(kinds, key=kinds.count) if kinds else scans[0].kind
    path = folder / f"{run.name}_{kind}.mgf"
    with open(path, "w", encoding="ascii") as out:
        for scan in scans:
            if scan.kind == kind:
                out.writelines(mgf_block(run.name, scan, mz, charge)
                               for mz, charge in precursors.get(scan.number, ()))
    return path


def checksum(*parts):
    digest = hashlib.sha256()
    for part in parts:
        content = part if isinstance(part, bytes) else pathlib.Path(part).read_bytes()
        digest.update(len(content).to_bytes(8, "little") + content)
    return digest.hexdigest()


def search(mgf, fasta, run, precursor_ppm, cache):
    """The matches of an MGF file by comet-ms in one thread, from cache if they are there."""
    settings = {**comet.settings_of(mgf, threads=1, precursor_ppm=precursor_ppm), **run.settings}
    if not mgf.stat().st_size:
        return []
    cache.mkdir(parents=True, exist_ok=True)
    kept = cache / f"{checksum(mgf, fasta, json.dumps(settings, sort_keys=True).encode())}.txt"
    if not kept.exists():
        comet.search(mgf, fasta, settings, mgf.parent, "comet", console=subprocess.DEVNULL)
        (mgf.parent / "comet.txt").replace(kept)
    return comet.read_table(kept, mgf)


def write_features(programs, ms1, table, labels, width, ipv, *options):
    """The candidates of a run with the features of the joint determination, or with those of the scoring models
    where tarvek-tools has no others. labels: the option that says what is true."""
    tools = programs / "tarvek-tools"
    known = subprocess.run([tools, "features", "--help"], check=True, capture_output=True, text=True).stdout
    joint = ["--joint"] if "--joint" in known else []
    if not joint:
        print(f"{tools} features has no --joint: {table.name} holds the scoring models' features")
    subprocess.run([str(part) for part in (tools, "features", *joint, ms1, table, *labels, "-W", width, "-I", ipv,
                                           *options)], check=True, stdout=subprocess.DEVNULL)


def observed_mz(match):
    charge = int(match["charge"])
    return float(match["exp_neutral_mass"]) / charge + PROTON_DA


def theoretical_mz(match):
    charge = int(match["charge"])
    return float(match["calc_neutral_mass"]) / charge + PROTON_DA


def error_ppm(match):
    return 1e6 * (observed_mz(match) / theoretical_mz(match) - 1)


def peptide_key(match):
    """File, scan and sequence; leucine and isoleucine weigh the same."""
    return match["mgf"], match["scan"], match["plain_peptide"].replace("I", "L")


def one_a_peptide(matches, key=peptide_key):
    """The match of lowest E-value for each key, lowest first; among equal ones the lower charge, then the
    first peptide of the alphabet, then the lower mass."""
    best = {}
    for match in sorted(matches, key=lambda match: (
            comet.e_value(match), int(match["scan"]), int(match["charge"]), match["plain_peptide"],
            float(match["exp_neutral_mass"]))):
        best.setdefault(key(match), match)
    return list(best.values())


class Count(NamedTuple):
    spectra: int   # searched
    scans: int     # with an accepted best match
    matches: int   # accepted peptides, each once a scan
    sure: int      # of those, with an E-value that is sure by itself


def count_of(spectra, matches):
    """The result of a search of some spectra: scans and peptides of scans at 1 % false discovery
    rate, each ranked separately. matches: of one run, or of several that are ranked together."""
    peptides = one_a_peptide(matches)
    sure = [match for match in peptides if comet.e_value(match) <= SURE_E_VALUE and not comet.is_decoy(match)]
    return Count(spectra, len(comet.accepted(comet.best_matches(matches), FDR)),
                 len(comet.accepted(peptides, FDR)), len(sure))
