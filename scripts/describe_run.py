#!/usr/bin/python3
"""Sets the figures of runs side by side: peaks, declared precursors and what tarvek made of them.

Each RUN is the path of a run's .ms1 and .ms2 files without the ending (NAME.ms1.gz is read as well).
The tables that tarvek wrote for the runs may follow in the same order:

    scripts/describe_run.py [--csv DIRECTORY] RUN...

DIRECTORY holds the precursor table NAME.csv of each run. Without it the last rows are left out. The
output is a Markdown table, one column a run. Needs python3-numpy (Debian package of that name).

How the rows are counted:
- quantiles are written 5 % / 50 % / 95 %;
- centre on isotope k: the activation centre lies k isotope spacings above the declared m/z;
- declared isotope: the determined precursor of the declared charge whose m/z lies a whole number k of
  isotope spacings, -4 to 4, from the declared one within 15 ppm (the nearest k first) says that the
  declared m/z sits on isotope k; "other" is when there is none;
- precursors per scan: as determined; a scan without any keeps its declared one and counts one.
"""
import argparse
import collections
import gzip
import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "python"))
import tarvek_io  # noqa: E402

ISOTOPE_SPACING_DA = 1.00286  # mean of peptides
PROTON_DA = 1.007276
TOLERANCE_PPM = 15.0
SHIFTS = sorted(range(-4, 5), key=abs)


def open_text(base, ending):
    plain = pathlib.Path(base + ending)
    if plain.exists():
        return open(plain, encoding="ascii")
    return gzip.open(base + ending + ".gz", "rt", encoding="ascii")


def read_scans(base, ending):
    """Yields (attributes, peak intensities, declared precursors as (charge, M+H)) of each scan."""
    attributes, intensities, declared = None, [], []
    with open_text(base, ending) as lines:
        for line in lines:
            if line[0].isdigit():
                intensities.append(float(line.split()[1]))
            elif line[0] == "S":
                if attributes is not None:
                    yield attributes, intensities, declared
                attributes, intensities, declared = {"scan": int(line.split()[1])}, [], []
            elif line[0] == "I":
                _, key, value = line.rstrip("\r\n").split("\t")
                attributes[key] = value
            elif line[0] == "Z":
                _, charge, mass = line.split()
                declared.append((int(charge), float(mass)))
    if attributes is not None:
        yield attributes, intensities, declared


def quantiles(values, digits=0):
    values = sorted(values)
    if not values:
        return "-"
    picked = (values[min(len(values) - 1, int(len(values) * q))] for q in (0.05, 0.5, 0.95))
    return " / ".join(f"{value:.{digits}f}" for value in picked)


def shares(counts, names):
    total = sum(counts.values())
    if not total:
        return "-"
    return ", ".join(f"{name}: {100.0 * counts[name] / total:.1f} %" for name in names)


def isotope_shift(mz, mono_mz, charge):
    """How many isotope spacings mz is above mono_mz; None when it is not a whole number."""
    for k in SHIFTS:
        expected = mono_mz + k * ISOTOPE_SPACING_DA / abs(charge)
        if abs(mz - expected) <= expected * TOLERANCE_PPM / 1e6:
            return k
    return None


def isotope_class(shift):
    if shift is None:
        return "other"
    return "3 and more" if shift >= 3 else "below 0" if shift < 0 else str(shift)


ISOTOPE_CLASSES = ("below 0", "0", "1", "2", "3 and more", "other")


def describe_surveys(rows, base):
    peaks, ranges, weakest, rt = [], [], [], []
    for attributes, intensities, _ in read_scans(base, ".ms1"):
        rt.append(float(attributes["RetTime"]))
        if not intensities:
            continue
        peaks.append(len(intensities))
        ranges.append(max(intensities) / min(intensities))
        weakest.append(1e6 * min(intensities) / sum(intensities))
    rows["surveys"] = str(len(rt))
    rows["seconds between surveys"] = quantiles([b - a for a, b in zip(rt, rt[1:])], 2)
    rows["peaks per survey"] = quantiles(peaks)
    rows["survey: largest / smallest peak"] = quantiles(ranges)
    rows["survey: smallest peak / sum of peaks, 1e-6"] = quantiles(weakest)


def describe_fragments(rows, base):
    peaks, ranges, centres = [], [], []
    charges, shifts = collections.Counter(), collections.Counter()
    for attributes, intensities, declared in read_scans(base, ".ms2"):
        centre = float(attributes["ActivationCenter"])
        centres.append(centre)
        peaks.append(len(intensities))
        if intensities:
            ranges.append(max(intensities) / min(intensities))
        charge, mass = declared[0] if declared else (0, 0.0)
        charges["unknown" if charge == 0 else "5 and more" if charge >= 5 else str(charge)] += 1
        if charge > 0:
            mz = (mass + (charge - 1) * PROTON_DA) / charge
            shifts[isotope_class(isotope_shift(centre, mz, charge))] += 1
    rows["MS2 scans"] = str(len(peaks))
    rows["peaks per MS2 scan"] = quantiles(peaks)
    rows["MS2: largest / smallest peak"] = quantiles(ranges)
    rows["activation centre, m/z"] = quantiles(centres)
    rows["declared charge"] = shares(charges, ("unknown", "1", "2", "3", "4", "5 and more"))
    rows["centre on isotope k of the declared m/z"] = shares(shifts, ISOTOPE_CLASSES)


def describe_table(rows, path):
    shifts, heavy, numbers = collections.Counter(), collections.Counter(), collections.Counter()
    table = tarvek_io.read_precursors(path)
    for row, (mz, charge) in enumerate(zip(table.declared_mz.tolist(), table.declared_charge.tolist())):
        determined = [(abs(mono), abs(z)) for mono, z in zip(*(part.tolist() for part in table.of_row(row)))]
        numbers["4 and more" if len(determined) >= 4 else str(len(determined))] += 1
        found = [isotope_shift(mz, mono, z) for mono, z in determined if z == charge]
        known = sorted((k for k in found if k is not None), key=abs)
        shift = isotope_class(known[0] if known else None)
        shifts[shift] += 1
        if mz * charge > 2000.0:
            heavy[shift] += 1
    rows["declared isotope"] = shares(shifts, ISOTOPE_CLASSES)
    rows["declared isotope, above 2000 Da"] = shares(heavy, ISOTOPE_CLASSES)
    rows["precursors per scan"] = shares(numbers, ("1", "2", "3", "4 and more"))
    rows["precursors per scan, mean"] = f"{table.mz.size / max(1, len(table)):.2f}"


def main():
    parser = argparse.ArgumentParser(description="Sets the figures of runs side by side.")
    parser.add_argument("--csv", help="directory with the precursor tables NAME.csv")
    parser.add_argument("runs", nargs="+", metavar="RUN", help="path without .ms1 and .ms2")
    arguments = parser.parse_args()
    columns = {}
    for base in arguments.runs:
        name = pathlib.Path(base).name
        rows = columns[name] = {}
        describe_surveys(rows, base)
        describe_fragments(rows, base)
        if arguments.csv:
            describe_table(rows, pathlib.Path(arguments.csv) / (name + ".csv"))
    names = list(columns)
    print("| | " + " | ".join(names) + " |")
    print("|---" * (len(names) + 1) + "|")
    for row in columns[names[0]]:
        print(f"| {row} | " + " | ".join(columns[name][row] for name in names) + " |")


if __name__ == "__main__":
    main()
