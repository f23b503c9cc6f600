#!/usr/bin/python3
"""Finds what real runs hold, by searching every conceivable precursor of their fragment scans.

Usage: joint_labels.py BIN DATA OUT
  BIN   folder with tarvek-tools
  DATA  folder of the runs (RUNS in joint_runs.py)
  OUT   working folder: OUT/RUN.identified.tsv and OUT/RUN.features.tsv of each run that gives enough;
        OUT/cache keeps answers of searches

A precursor is conceivable if one of its isotopes is in the window and it has, at its charge, a peak and a partner
one isotope above in one of the nearest surveys, or has them up to three isotopes further up; and so is the
declared ion, as it is and up to three isotopes below. comet-ms searches them all at once. Accepted are matches at
1 % false discovery rate, a peptide once in a scan, whose m/z error is near that of the run's sure ones.
"""
import pathlib
import sys

import numpy as np

import joint_runs
from joint_runs import (FDR, HIGHEST_MASS_DA, HOME, LOWEST_MASS_DA, PROTON_DA, RUNS, comet, error_ppm,
                        observed_mz, one_a_peptide, theoretical_mz)

# Mean distance of isotopes of a peptide, in Da.
ISOTOPE_DA = 1.00286864
CHARGES = range(1, 8)
SURVEYS = 3
CLUSTER_PPM = 8.0
PARTNER_PPM = 12.0
SAME_PPM = 5.0
ISOTOPES_BELOW = 3
ISOTOPES = 6
# How far an isotope may be outside the declared window, m/z.
WINDOW_MARGIN_MZ = 0.1
SEARCH_PPM = 20.0
# The largest distance of an accepted match's error from the run's median.
ERROR_PPM = 8.0
# Runs with fewer identified precursors are not used.
FEWEST = 5


def cluster(mz, intensity, ppm):
    """Centres of the groups of m/z values in which neighbours are at most ppm apart, weighted by intensity.
    mz in any order."""
    if not len(mz):
        return np.empty(0)
    order = np.argsort(mz, kind="stable")
    mz, intensity = np.asarray(mz, float)[order], np.asarray(intensity, float)[order]
    starts = np.concatenate([[0], 1 + np.flatnonzero(np.diff(mz) > 1e-6 * ppm * mz[:-1])])
    return np.add.reduceat(mz * intensity, starts) / np.add.reduceat(intensity, starts)


def has_near(values, wanted, ppm):
    """For each wanted m/z whether an ascending value lies within ppm."""
    if not len(values):
        return np.zeros(len(wanted), bool)
    above = np.clip(np.searchsorted(values, wanted), 0, len(values) - 1)
    below = np.maximum(above - 1, 0)
    distance = np.minimum(np.abs(values[above] - wanted), np.abs(values[below] - wanted))
    return distance <= 1e-6 * ppm * wanted


def reaches_window(mz, charge, centre, half_width):
    """For each monoisotopic m/z whether one of its first isotopes is in the window."""
    isotopes = np.asarray(mz, float)[:, None] + np.arange(ISOTOPES) * ISOTOPE_DA / charge
    return (np.abs(isotopes - centre) <= half_width + WINDOW_MARGIN_MZ).any(axis=1)


def conceivable_of_charge(peaks, charge, centre, half_width):
    """Monoisotopic m/z values of a charge: peaks with a partner first, then those further and further below."""
    spacing = ISOTOPE_DA / charge
    heads = peaks[has_near(peaks, peaks + spacing, PARTNER_PPM)]
    kept = []
    for below in range(ISOTOPES_BELOW + 1):
        mz = heads - below * spacing
        mz = mz[reaches_window(mz, charge, centre, half_width)]
        mass = (mz - PROTON_DA) * charge
        mz = mz[(mass >= LOWEST_MASS_DA) & (mass <= HIGHEST_MASS_DA)]
        kept += list(mz[~has_near(np.sort(kept), mz, SAME_PPM)])
    return kept


def conceivable(peaks, centre, half_width, declared):
    """(m/z, charge) of every precursor that a window may hold, by charge and m/z. peaks: ascending m/z of the
    surveys; declared: (m/z, charge) of the ions that the file declares."""
    found = []
    for charge in CHARGES:
        mz = conceivable_of_charge(peaks, charge, centre, half_width)
        for ion_mz, ion_charge in declared:
            below = ion_mz - np.arange(ISOTOPES_BELOW + 1) * ISOTOPE_DA / charge
            if ion_charge == charge:
                mz += list(below[~has_near(np.sort(mz), below, SAME_PPM)])
        found += [(value, charge) for value in sorted(mz)]
    return found


def nearest_surveys(surveys, rt_seconds):
    return sorted(surveys, key=lambda survey: abs(survey.rt_seconds - rt_seconds))[:SURVEYS]


def conceivable_precursors(surveys, scans, width):
    """scan number -> precursors that its window may hold."""
    spectra = {survey.number: survey.spectrum() for survey in surveys}
    found = {}
    for scan in scans:
        chosen = [spectra[survey.number] for survey in nearest_surveys(surveys, scan.rt_seconds)]
        mz, intensity = (np.concatenate(values) for values in zip(*chosen))
        lowest, highest = scan.centre_mz - width / 2 - 6.5, scan.centre_mz + width / 2 + 6.5
        inside = (mz >= lowest) & (mz <= highest)
        found[scan.number] = conceivable(cluster(mz[inside], intensity[inside], CLUSTER_PPM), scan.centre_mz,
                                         width / 2, scan.declared)
    return found


def accept(matches):
    """The accepted matches, and the run's m/z error in ppm. The median error of a first choice
    decides which matches the second may use."""
    first = comet.accepted(one_a_peptide(matches), FDR)
    if not first:
        return [], 0.0
    bias = float(np.median([error_ppm(match) for match in first]))
    near = [match for match in matches if abs(error_ppm(match) - bias) <= ERROR_PPM]
    second = comet.accepted(one_a_peptide(near), FDR)
    return second, bias


def best_observed(match, candidates, bias_ppm):
    """The candidate of a scan and charge that is nearest to the peptide's m/z in this run."""
    expected = theoretical_mz(match) * (1 + 1e-6 * bias_ppm)
    return min(candidates, key=lambda mz: (abs(mz - expected), mz))


def identified_rows(accepted, precursors, bias_ppm):
    rows = []
    for match in accepted:
        scan, charge = int(match["scan"]), int(match["charge"])
        mz = best_observed(match, [mz for mz, its in precursors[scan] if its == charge], bias_ppm)
        rows.append((scan, mz, charge, theoretical_mz(match), match["modified_peptide"], match["e-value"]))
    return sorted(rows)


def write_identified(rows, path):
    lines = ["scan\tmz\tcharge\ttheoretical_mz\tpeptide\te_value"]
    lines += [f"{scan}\t{mz:.6f}\t{charge}\t{theory:.6f}\t{peptide}\t{e_value}"
              for scan, mz, charge, theory, peptide, e_value in rows]
    path.write_text("\n".join(lines) + "\n", encoding="ascii")


def label_run(data, run, out):
    """Writes the identified precursors of a run; returns a line that sums them up."""
    folder = out / "runs" / run.name
    ms1, fasta = joint_runs.prepare(data, run, folder)
    scans = joint_runs.read_scans(ms1.with_suffix(".ms2"))
    precursors = conceivable_precursors(joint_runs.read_scans(ms1), scans, float(run.width))
    mgf = joint_runs.write_mgf(folder, run, scans, precursors)
    matches = joint_runs.search(mgf, fasta, run, SEARCH_PPM, out / "cache")
    mgf.unlink()
    accepted, bias = accept(matches)
    rows = identified_rows(accepted, precursors, bias)
    target = out / f"{run.name}.identified.tsv"
    if len(rows) < FEWEST:
        target.unlink(missing_ok=True)
    else:
        write_identified(rows, target)
    spectra = sum(map(len, precursors.values()))
    return (f"| {run.name} | {len(scans)} | {spectra} | {len({row[0] for row in rows})} | {len(rows)} | "
            f"{bias:+.2f} |" + ("" if len(rows) >= FEWEST else " too few"))


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    programs, data, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    print("| run | MS2 | spectra | scans | matches | bias, ppm |\n|---|---|---|---|---|---|")
    for run in RUNS:
        print(label_run(data, run, out), flush=True)
        if (out / f"{run.name}.identified.tsv").exists():
            joint_runs.write_features(programs, out / "runs" / run.name / f"{run.name}.ms1",
                                      out / f"{run.name}.features.tsv",
                                      ["--identified", out / f"{run.name}.identified.tsv"], run.width,
                                      HOME.parent / "data/IPV.txt")


if __name__ == "__main__":
    main()
