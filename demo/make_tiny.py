#!/usr/bin/env python3
"""Writes tiny.ms1, tiny.ms2 and tiny.truth.csv beside this script: a run so small that it can be read.

Four tryptic peptides of bovine serum albumin elute over 15 MS1 scans. Their isotope envelopes are
computed from their elemental compositions. The MS2 scans isolate them the way instruments do in
practice: on the +1 isotope instead of the monoisotopic peak, or two peptides in one window.
tiny.truth.csv says which peptides each MS2 scan isolated. The output is the same on every run.
"""
import math
import pathlib
import random

PROTON = 1.007276
# Carbon, hydrogen, nitrogen, oxygen, sulphur atoms of each amino acid residue.
RESIDUES = {
    "A": (3, 5, 1, 1, 0), "D": (4, 5, 1, 3, 0), "E": (5, 7, 1, 3, 0), "F": (9, 9, 1, 1, 0),
    "H": (6, 7, 3, 1, 0), "I": (6, 11, 1, 1, 0), "K": (6, 12, 2, 1, 0), "L": (6, 11, 1, 1, 0),
    "N": (4, 6, 2, 2, 0), "P": (5, 7, 1, 1, 0), "Q": (5, 8, 2, 2, 0), "R": (6, 12, 4, 1, 0),
    "S": (3, 5, 1, 2, 0), "T": (4, 7, 1, 2, 0), "V": (5, 9, 1, 1, 0),
}
WATER = (0, 2, 0, 1, 0)
MONO_DA = (12.0, 1.00782503207, 14.0030740048, 15.99491461956, 31.972071)
# Natural abundances of the isotopes +0, +1, +2 of C, H, N, O, S (IUPAC).
ABUNDANCE = ((0.9893, 0.0107), (0.999885, 0.000115), (0.99636, 0.00364),
             (0.99757, 0.00038, 0.00205), (0.9499, 0.0075, 0.0425))
ISOTOPE_SPACING_DA = 1.00286  # mean spacing of peptide isotope peaks
# sequence, charge, MS1 scan of the elution apex (counted from 0), height of the apex
PEPTIDES = {
    "LVNELTEFAK": (2, 5, 4.0e6),
    "VPQVSTPTLVEVSR": (3, 7, 2.5e6),
    "HLVDEPQNLIK": (2, 8, 3.0e6),
    "DAIPENLPPLTADFAEDK": (3, 9, 3.5e6),
}
MS1_SCANS = 15
CYCLE_S = 2.0
# MS1 scan that precedes the MS2 scan -> MS2 scans as (peptide and its isotope in the centre, all
# peptides inside the isolation window)
MS2_SCANS = {
    4: [("LVNELTEFAK", 0, ["LVNELTEFAK"])],
    5: [("LVNELTEFAK", 1, ["LVNELTEFAK"])],
    6: [("VPQVSTPTLVEVSR", 1, ["VPQVSTPTLVEVSR"])],
    7: [("HLVDEPQNLIK", 0, ["HLVDEPQNLIK", "DAIPENLPPLTADFAEDK"]),
        ("VPQVSTPTLVEVSR", 2, ["VPQVSTPTLVEVSR"])],
    8: [("DAIPENLPPLTADFAEDK", 1, ["DAIPENLPPLTADFAEDK", "HLVDEPQNLIK"])],
}


def composition(sequence):
    rows = [RESIDUES[residue] for residue in sequence] + [WATER]
    return [sum(column) for column in zip(*rows)]


def neutral_mass(sequence):
    return sum(n * mass for n, mass in zip(composition(sequence), MONO_DA))


def envelope(sequence, length=6):
    """Isotope intensities +0, +1, ... with the largest at 1."""
    pattern = [1.0]
    for count, element in zip(composition(sequence), ABUNDANCE):
        for _ in range(count):
            pattern = [sum(pattern[i - j] * element[j] for j in range(len(element))
                           if 0 <= i - j < len(pattern)) for i in range(length)]
    return [value / max(pattern) for value in pattern]


def isotope_mz(sequence, charge, isotope=0):
    return (neutral_mass(sequence) + isotope * ISOTOPE_SPACING_DA) / charge + PROTON


def ms1_peaks(index, rng):
    peaks = [(rng.uniform(400.0, 900.0), rng.uniform(5e3, 3e4)) for _ in range(25)]  # noise
    for sequence, (charge, apex, height) in PEPTIDES.items():
        elution = math.exp(-((index - apex) / 2.0) ** 2 / 2.0)
        for isotope, share in enumerate(envelope(sequence)):
            intensity = height * elution * share * rng.uniform(0.95, 1.05)
            if intensity > 1e4:
                mz = isotope_mz(sequence, charge, isotope) * (1 + rng.gauss(0, 1.5e-6))
                peaks.append((mz, intensity))
    return sorted(peaks)


def fragment_peaks(sequences, rng):
    """Singly charged b and y ions."""
    peaks = []
    for sequence in sequences:
        for cut in range(2, len(sequence)):
            b_ion = neutral_mass(sequence[:cut]) - neutral_mass("") + PROTON
            y_ion = neutral_mass(sequence[cut:]) + PROTON
            peaks += [(mz, rng.uniform(1e3, 5e4)) for mz in (b_ion, y_ion)]
    return sorted(peaks)


def peak_lines(peaks):
    return "".join(f"{mz:.5f} {intensity:.1f}\n" for mz, intensity in peaks)


def scan_head(scan, seconds, more=""):
    return (f"S\t{scan}\t{scan}{more}\nI\tRetTime\t{seconds:.2f}\nI\tIonInjectionTime\t10.00\n"
            "I\tInstrumentType\tFTMS\n")


def ms2_block(scan, precursor_scan, seconds, target, rng):
    sequence, isotope, isolated = target
    charge = PEPTIDES[sequence][0]
    centre = isotope_mz(sequence, charge, isotope)
    singly_charged = centre * charge - (charge - 1) * PROTON
    return (scan_head(scan, seconds, f"\t{centre:.5f}") + "I\tActivationType\tHCD\n"
            f"I\tActivationCenter\t{centre:.5f}\nI\tPrecursorScan\t{precursor_scan}\n"
            f"Z\t{charge}\t{singly_charged:.5f}\n" + peak_lines(fragment_peaks(isolated, rng)))


def main():
    rng = random.Random(20)
    ms1 = ms2 = "H\tExtractor\tmake_tiny.py\nH\tDataType\tCentroided\n"
    truth = "MS2Scan, Peptide, MZ, Charge\n"
    scan = 0
    for index in range(MS1_SCANS):
        scan += 1
        precursor_scan = scan
        ms1 += scan_head(scan, index * CYCLE_S) + peak_lines(ms1_peaks(index, rng))
        for target in MS2_SCANS.get(index, []):
            scan += 1
            seconds = index * CYCLE_S + 0.2 * (scan - precursor_scan)
            ms2 += ms2_block(scan, precursor_scan, seconds, target, rng)
            for sequence in target[2]:
                charge = PEPTIDES[sequence][0]
                truth += f"{scan}, {sequence}, {isotope_mz(sequence, charge):.6f}, {charge}\n"
    folder = pathlib.Path(__file__).resolve().parent
    for name, text in (("tiny.ms1", ms1), ("tiny.ms2", ms2), ("tiny.truth.csv", truth)):
        (folder / name).write_text(text, encoding="ascii", newline="\n")


main()
