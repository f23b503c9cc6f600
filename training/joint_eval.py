#!/usr/bin/python3
"""Figures of the joint determination, compared with those of the default scoring model.

Usage: joint_eval.py BIN DATA LABELS SIMULATED MODEL [--thresholds P,...] [--spectra N,...] [--ppm PPM,...]
                     [--parts real,simulated] [--real-share SHARE] [--tables FOLDER]
  BIN        folder with tarvek and tarvek-tools
  DATA       folder of the real runs
  LABELS     folder of joint_labels.py
  SIMULATED  folder of joint_simulate.py
  MODEL      the C++ source that fit_joint.py wrote
  --spectra  numbers of searched spectra over all real runs, for each of which the probability is chosen; so
             two fits are compared at equal cost
  --tables   folder with RUN.csv, precursor tables of another determination, counted too where they are

Real runs: candidates with at least the probability are searched with comet-ms; the model is fitted without the
runs of the sample and has MODEL's knots. Simulated runs: those kept apart, with MODEL itself. OUT is the console.
"""
import argparse
import pathlib
import subprocess
import sys
from typing import NamedTuple

import numpy as np

import joint_model
import joint_runs
from evaluate import HOME, read_rows
from joint_runs import RUNS
from joint_simulate import charges_of, isotope_table

sys.path.insert(0, str(HOME.parent / "python"))
import tarvek_io  # noqa: E402

TOL_PPM = 10.0
MIN_SHARE = 0.05
ISOTOPE_DA = 1.00335
# Settings of the determination by a scoring model that the joint one is compared with; W: the declared width.
BY_MODEL = {"scoring model, -W 2": ["-W", "2"], "scoring model, declared width, -t 0.25": ["-W", "W", "-t", "0.25"]}


# ---- choice

def chosen(table, probabilities, threshold):
    """scan -> [(m/z, charge)] of at least the probability, best first; one within the tolerance at a charge."""
    found = {}
    for row in np.argsort(-probabilities, kind="stable"):
        if probabilities[row] < threshold:
            break
        ions = found.setdefault(int(table.scan[row]), [])
        mz, charge = float(table.mz[row]), int(table.charge[row])
        if not any(its == charge and abs(mz - other) <= 1e-6 * TOL_PPM * abs(other) for other, its in ions):
            ions.append((mz, charge))
    return found


def precursors_of_table(path):
    """scan -> [(m/z, charge)] of a precursor table of tarvek."""
    table = tarvek_io.read_precursors(path)
    found = {}
    for place, scan in enumerate(table.scan_no.tolist()):
        first, last = table.first[place], table.first[place + 1]
        found.setdefault(scan, []).extend(zip(table.mz[first:last].tolist(), table.charge[first:last].tolist()))
    return found


def by_model(programs, ms1, options, width, ipv, out, negative=False):
    """The precursors that tarvek determines."""
    out.mkdir(parents=True, exist_ok=True)
    options = [width if option == "W" else option for option in options]
    charges = ["-c", "-6t-2"] if negative else []
    subprocess.run([programs / "tarvek", "-D", ms1, "-O", out, "-L", out, "-I", ipv, *options, *charges, "-r", "1",
                    "-m", "0", "-p", "0"], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return precursors_of_table(out / f"{ms1.stem}.csv")


def threshold_of(spectra, tables, probabilities):
    """The lowest occurring probability that chooses at most so many precursors over all runs; the
    highest one if even that gives more."""
    values = np.unique(np.concatenate(probabilities))
    low, high = 0, len(values) - 1
    while low < high:
        middle = (low + high) // 2
        count = sum(len(ions) for table, its in zip(tables, probabilities)
                    for ions in chosen(table, its, values[middle]).values())
        low, high = (low, middle) if count <= spectra else (middle + 1, high)
    return float(values[low])


# ---- real runs

class RealRun(NamedTuple):
    run: object
    ms1: pathlib.Path
    fasta: pathlib.Path
    scans: list
    table: joint_model.Table


def real_runs(data, labels):
    runs = []
    for run in RUNS:
        features = labels / f"{run.name}.features.tsv"
        if features.exists():
            ms1, fasta = joint_runs.prepare(data, run, labels / "runs" / run.name)
            runs.append(RealRun(run, ms1, fasta, joint_runs.read_scans(ms1.with_suffix(".ms2")),
                                joint_model.read_table(features)))
    return runs


def searched(real, precursors, ppm, cache):
    """The number of spectra and the matches of a run."""
    mgf = joint_runs.write_mgf(real.ms1.parent, real.run, real.scans, precursors)
    matches = joint_runs.search(mgf, real.fasta, real.run, ppm, cache)
    mgf.unlink()
    return sum(map(len, precursors.values())), matches


def counts_of(answers):
    """The count of each run, their sum, and that of all matches ranked together: a rate of 1 % allows no decoy at all
    among the few matches of a small run."""
    each = [joint_runs.count_of(*answer) for answer in answers]
    total = [joint_runs.Count(*map(sum, zip(*each)))] if each else []
    together = joint_runs.count_of(sum(spectra for spectra, _ in answers),
                                   [match for _, matches in answers for match in matches])
    return [*each, *total, together]


def model_choices(programs, runs):
    return {name: [by_model(programs, real.ms1, options, real.run.width, HOME.parent / "data/IPV.txt",
                             real.ms1.parent / "by_model") for real in runs]
            for name, options in BY_MODEL.items()}


def unseen_probabilities(runs, simulated, knots, real_share):
    """For each run the probabilities of its candidates, by a model fitted without its sample."""
    models, found = {}, []
    for real in runs:
        group = joint_runs.group_of(real.run.name)
        if group not in models:
            others = [other.table for other in runs if joint_runs.group_of(other.run.name) != group]
            models[group] = joint_model.fit(others + simulated, real_share)._replace(knots=knots)
        found.append(joint_model.probability(models[group], real.table.features))
    return found


def real_choices(runs, probabilities, options):
    """method -> [precursors of each run]."""
    choices = model_choices(options.programs, runs)
    if options.tables:
        choices[str(options.tables)] = [precursors_of_table(options.tables / f"{real.run.name}.csv") for real in runs]
    tables = [real.table for real in runs]
    thresholds = options.thresholds + [threshold_of(number, tables, probabilities) for number in options.spectra]
    for threshold in thresholds:
        choices[f"joint, {threshold:.4g}"] = [chosen(table, its, threshold)
                                              for table, its in zip(tables, probabilities)]
    return choices


def print_real(choices, runs, ppm, cache):
    print(f"\nReal runs, searched at {ppm:g} ppm: spectra / scans / matches / sure ones (E <= 0.001)\n")
    names = [real.run.name for real in runs]
    print("| | " + " | ".join(names) + " | sum | ranked together |\n|---|" + "---|" * (len(names) + 2))
    for method, precursors in choices.items():
        answers = [searched(real, found, ppm, cache) for real, found in zip(runs, precursors)]
        cells = (" / ".join(map(str, count)) for count in counts_of(answers))
        print(f"| {method} | " + " | ".join(cells) + " |", flush=True)


def identified_chosen(found, identified):
    """How many identified precursors of a run are among the chosen ones."""
    return sum(any(charge == its and abs(mz - its_mz) <= 1e-6 * TOL_PPM * mz for its_mz, its in found.get(scan, []))
               for scan, ions in identified.items() for mz, charge in ions)


def print_identified(choices, runs):
    """The smoothest measure of a fit: it needs no search and does not depend on decoys."""
    whole = sum(len(ions) for real in runs for ions in real.table.identified.values())
    print(f"\nOf the {whole} precursors that joint_labels.py identified in the real runs\n\n| | spectra | chosen |\n"
          "|---|---|---|")
    for method, precursors in choices.items():
        spectra = sum(len(ions) for found in precursors for ions in found.values())
        chosen_ones = sum(identified_chosen(found, real.table.identified) for real, found in zip(runs, precursors))
        print(f"| {method} | {spectra} | {chosen_ones} |")


# ---- simulated runs

class Truth(NamedTuple):
    mz: float
    charge: int
    share: float
    is_target: bool


def read_truth(path):
    """scan -> [Truth]; m/z and charge without sign, as a run has ions of one polarity."""
    truths = {}
    for row in read_rows(path):
        truths.setdefault(int(row["scan"]), []).append(
            Truth(abs(float(row["mz"])), abs(int(row["charge"])), float(row["share"]), row["is_target"] == "1"))
    return truths


def agree(mz, charge, truth):
    return charge == truth.charge and abs(mz - truth.mz) <= 1e-6 * TOL_PPM * truth.mz


def isotope_offset(mz, truth):
    """Isotopes, -3 to 3, from a true precursor to an m/z; None if it is at none of them."""
    for offset in (0, -1, 1, -2, 2, -3, 3):
        shifted = truth.mz + offset * ISOTOPE_DA / truth.charge
        if abs(mz - shifted) <= 1e-6 * TOL_PPM * shifted:
            return offset
    return None


def verdict(mz, charge, truths):
    """The kind of a reported precursor: an isotope offset of the nearest true one of its charge (0:
    true), "charge" if it is an isotope of a true one of another charge, else None."""
    large = [truth for truth in truths if truth.share >= MIN_SHARE]
    offsets = [(truth.charge == charge, isotope_offset(mz, truth)) for truth in large]
    same = [offset for is_same, offset in offsets if is_same and offset is not None]
    if same:
        return min(same, key=abs)
    return "charge" if any(offset is not None for _, offset in offsets) else None


def is_exact(found, truths):
    """Whether a scan's precursors are exactly those with the least share."""
    large = [truth for truth in truths if truth.share >= MIN_SHARE]
    return len(found) == len(large) and all(any(agree(*ion, truth) for ion in found) for truth in large)


FIGURES = ("precision", "recall_target", "recall_10", "recall_5_15", "exact", "wrong_charge", "off_by_one", "precursors")
HEADS = ("precision", "recall of the target", "recall of 10 % ions and more", "recall of 5 to 15 % ions",
         "exact sets", "wrong charge", "off by one", "precursors a scan")


def tally(found, truths):
    """(part, whole) of each of FIGURES over a run. found: scan -> [(m/z, charge)]."""
    parts = {name: [0, 0] for name in FIGURES}

    def add(name, part):
        parts[name][0] += int(part)
        parts[name][1] += 1

    for scan, its_truths in truths.items():
        ions = [(abs(mz), abs(charge)) for mz, charge in found.get(scan, [])]
        for truth in its_truths:
            hit = any(agree(*ion, truth) for ion in ions)
            for name, counts in (("recall_target", truth.is_target), ("recall_10", truth.share >= 0.10),
                                 ("recall_5_15", 0.05 <= truth.share < 0.15)):
                if counts:
                    add(name, hit)
        verdicts = [verdict(*ion, its_truths) for ion in ions]
        for answer in verdicts:
            add("precision", answer == 0)
            add("wrong_charge", answer == "charge")
            add("off_by_one", answer in (-1, 1))
        add("exact", is_exact(ions, its_truths))
        parts["precursors"][0] += len(ions)
        parts["precursors"][1] += 1
    return parts


def figures_text(parts):
    shares = [parts[name][0] / max(parts[name][1], 1) for name in FIGURES]
    return " | ".join([f"{share:.3f}" for share in shares[:-1]] + [f"{shares[-1]:.2f}"])


def print_simulated(programs, folder, model, thresholds, tables):
    heads = " | ".join(HEADS)
    print(f"\nSimulated runs, kept apart\n\n| run | | {heads} |\n|---|---|" + "---|" * len(HEADS))
    scored = []
    for row in read_rows(HOME / "joint_profiles.tsv"):
        base = folder / "held" / row["profile"]
        truths = read_truth(base.with_suffix(".truth.tsv"))
        table = joint_model.read_table(base.with_suffix(".features.tsv"))
        probabilities = joint_model.probability(model, table.features)
        scored.append((row["profile"], probabilities, table.label))
        ipv = isotope_table(programs, row["options"], folder)
        methods = {name: by_model(programs, base.with_suffix(".ms1"), options, row["width"], ipv,
                                   base.parent / "by_model", bool(charges_of(row["options"])))
                   for name, options in BY_MODEL.items()}
        if tables and (tables / f"{row['profile']}.csv").exists():
            methods[str(tables)] = precursors_of_table(tables / f"{row['profile']}.csv")
        methods |= {f"joint, {threshold:g}": chosen(table, probabilities, threshold) for threshold in thresholds}
        for name, found in methods.items():
            print(f"| {row['profile']} | {name} | {figures_text(tally(found, truths))} |", flush=True)
    print_calibration(scored)


# ---- calibration

def deciles(probabilities, labels):
    """(candidates, mean probability, share of true ones) of each tenth of the probability. A doubtful label counts
    as false; NaN for both of an empty tenth."""
    place = np.minimum((probabilities * 10).astype(int), 9)
    true = labels == 1
    return [(int((place == i).sum()), probabilities[place == i].mean() if (place == i).any() else np.nan,
             true[place == i].mean() if (place == i).any() else np.nan) for i in range(10)]


def print_calibration(scored):
    print("\nCalibration: share of true candidates (and how many candidates) by probability\n")
    print("| run | " + " | ".join(f"{i / 10:g} to {(i + 1) / 10:g}" for i in range(10)) + " |\n|---|" + "---|" * 10)
    everything = ("all", *(np.concatenate(columns) for columns in list(zip(*scored))[1:]))
    known = ~np.isnan(everything[2])
    clear = ("all, without doubtful ones", everything[1][known], everything[2][known])
    for name, probabilities, labels in [*scored, everything, clear]:
        cells = [f"{share:.2f} ({count})" if count else "" for count, _, share in deciles(probabilities, labels)]
        print(f"| {name} | " + " | ".join(cells) + " |")


def reals(text):
    return [float(part) for part in text.split(",") if part]


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for name in ("programs", "data", "labels", "simulated", "model"):
        parser.add_argument(name, type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("--thresholds", type=reals, default=[0.2, 0.35, 0.5, 0.65, 0.8, 0.9])
    parser.add_argument("--spectra", type=reals, default=[])
    parser.add_argument("--real-share", type=float, default=joint_model.REAL_SHARE)
    parser.add_argument("--ppm", type=reals, default=[10.0])
    parser.add_argument("--parts", default="real,simulated")
    parser.add_argument("--tables", type=pathlib.Path)
    options = parser.parse_args()
    model = joint_model.model_of_cpp(options.model)
    if "real" in options.parts:
        runs = real_runs(options.data, options.labels)
        simulated = [joint_model.read_table(path)
                     for path in sorted((options.simulated / "fit").glob("*.features.tsv"))]
        probabilities = unseen_probabilities(runs, simulated, model.knots, options.real_share)
        choices = real_choices(runs, probabilities, options)
        print_identified(choices, runs)
        for ppm in options.ppm:
            print_real(choices, runs, ppm, options.labels / "cache")
    if "simulated" in options.parts:
        print_simulated(options.programs, options.simulated, model, options.thresholds, options.tables)


if __name__ == "__main__":
    main()
