#!/usr/bin/env python3
"""Writes real runs again with other people's converters and compares what tarvek makes of each.

    scripts/dialects.py BIN DATA WORK [--only WORD] [--list]

BIN holds tarvek and the extractors, DATA the runs as NAME.mzML.gz or NAME.mzXML.gz, WORK is created
again. Needs msconvert (Debian's libpwiz-tools) and FileConverter (Debian's topp). Prints a table: a
row for each way of writing, summed over all runs. The exit status is 1 when a scan is missing or
has other precursors and the spectra give no reason for it.

A scan of a copy is matched with that of the original by retention time and m/z of the declared precursor, in file order.
It is "equal" when its precursors have the same charges and m/z within 2 ppm. Otherwise its reason is the first
difference between what the extractor wrote for the two scans, or for the surveys around them.
"""
import argparse
import bisect
import collections
import gzip
import re
import shutil
import subprocess
import sys
from pathlib import Path

SAME_PPM = 2.0
SAME_SECONDS = 0.06
CONVERTER_SECONDS = 60
SURVEYS_AROUND = 6  # five before and after the survey of a scan decide, and the one between


# ---- ways of writing a run -----------------------------------------------------------------------

class NotWritten(Exception):
    """A converter that could not write its copy."""


def run(*words):
    """A converter; some hang, or end with status 0, after an error."""
    try:
        done = subprocess.run([str(w) for w in words], capture_output=True, text=True, errors="replace",
                              timeout=CONVERTER_SECONDS)
    except subprocess.TimeoutExpired:
        raise NotWritten(f"{words[0]} hung") from None
    lines = (done.stdout + done.stderr).splitlines()
    errors = [at for at, line in enumerate(lines) if line.startswith(("Error", "[IO"))]
    if errors:
        raise NotWritten(f"{words[0]}: {' '.join(lines[errors[0]:][:2])}")
    if done.returncode != 0:
        raise NotWritten(f"{words[0]} ended with status {done.returncode}")


def msconvert(inputs, out, *options):
    run("msconvert", *inputs, *options, "--outfile", out.name, "-o", out.parent)
    if not out.exists():  # some versions add the ending again, or use the id of the run
        found = [p for p in out.parent.iterdir() if p.name.startswith(out.name)]
        found[0].rename(out)


def by_msconvert(ending, *options):
    def write(original, folder):
        out = folder / f"{original.stem}.{ending}"
        msconvert([original], out, *options)
        return out
    return write


def by_fileconverter(ending, *options):
    def write(original, folder):
        out = folder / f"{original.stem}.{ending}"
        run("FileConverter", "-in", original, "-out", out, *options)
        return out
    return write


def merged_twice(original, folder):
    """The run twice in one file: every number and id occurs twice."""
    twin = folder / "twin" / original.name
    twin.parent.mkdir()
    shutil.copy(original, twin)
    out = folder / f"{original.stem}.mzML"
    msconvert([original, twin], out, "--merge")
    return out


def sorted_by_level(original, folder):
    """All surveys, then all MS2 scans."""
    parts = []
    for level in ("1", "2-"):
        part = folder / f"level{level[0]}" / original.name.replace(".mzXML", ".mzML")
        part.parent.mkdir()
        msconvert([original], part, "--filter", f"msLevel {level}")
        parts.append(part)
    out = folder / f"{original.stem}.mzML"
    msconvert(parts, out, "--merge")
    return out


def gzipped(original, folder):
    out = folder / (original.name + ".gz")
    with open(original, "rb") as plain, gzip.open(out, "wb") as packed:
        shutil.copyfileobj(plain, packed)
    return out


class Way:
    def __init__(self, name, write, copies=1, only_profile=False):
        self.name, self.write, self.copies, self.only_profile = name, write, copies, only_profile


WAYS = [
    Way("msconvert, mzML", by_msconvert("mzML")),
    Way("msconvert, mzML, zlib", by_msconvert("mzML", "--zlib")),
    Way("msconvert, mzML, 32 bit", by_msconvert("mzML", "--32")),
    Way("msconvert, mzML, numpress, zlib", by_msconvert("mzML", "--numpressAll", "--zlib")),
    Way("msconvert, mzXML", by_msconvert("mzXML", "--mzXML")),
    Way("msconvert, mzXML, zlib", by_msconvert("mzXML", "--mzXML", "--zlib")),
    Way("FileConverter, mzML", by_fileconverter("mzML")),
    Way("FileConverter, mzML, numpress", by_fileconverter("mzML", "-lossy_compression")),
    Way("FileConverter, mzXML", by_fileconverter("mzXML")),
    Way("FileConverter, mzXML, \"MaxQuant\"", by_fileconverter("mzXML", "-force_MaxQuant_compatibility")),
    Way("gzip", gzipped),
    Way("msconvert --merge, the run twice", merged_twice, copies=2),
    Way("sorted by level (msconvert --merge)", sorted_by_level),
    Way("msconvert threshold 100 on profiles",
        by_msconvert("mzML", "--filter", "threshold absolute 100 most-intense"), only_profile=True),
    Way("msconvert zeroSamples removeExtra on profiles",
        by_msconvert("mzML", "--filter", "zeroSamples removeExtra"), only_profile=True),
]


# ---- what tarvek makes of a file -----------------------------------------------------------------

class Scan:
    def __init__(self, number):
        self.number, self.seconds, self.centre, self.survey = number, 0.0, 0.0, 0
        self.analyser = self.activation = ""
        self.declared, self.peaks, self.precursors = [], [], None  # None: not exported


class Run:
    """Surveys and MS2 scans as the extractor wrote them, with the precursors of the table."""

    def __init__(self, base):
        self.surveys = read_spectra(base.with_name(base.name + ".ms1"))
        self.scans = read_spectra(base.with_name(base.name + ".ms2"))
        self.left_out = left_out_reasons(base.with_name(base.name + ".morvex"))
        self.survey_numbers = [s.number for s in self.surveys]
        by_number = {s.number: s for s in self.scans}
        table = base.with_name(base.name + ".csv").read_text().splitlines()[1:]
        for row in table:
            fields = row.split(", ")
            count = int(fields[5])
            slots = [fields[6 + 3 * i:9 + 3 * i] for i in range(count)]
            by_number[int(fields[2])].precursors = [(float(mz), int(charge)) for _, mz, charge in slots]

    def around(self, scan):
        at = bisect.bisect_left(self.survey_numbers, scan.survey)
        return self.surveys[max(0, at - SURVEYS_AROUND):at + SURVEYS_AROUND + 1]


def left_out_reasons(marker):
    """Reason to number of the MS2 scans that the extractor left out."""
    entries = (line.split("\t") for line in marker.read_text().splitlines())
    return {e[1]: int(e[2]) for e in entries if e[0] == "left_out"}


def read_spectra(path):
    scans = []
    for line in path.read_text().splitlines():
        fields = line.split("\t")
        if line[:1].isdigit():
            scans[-1].peaks.append(tuple(map(float, line.split(" "))))
        elif fields[0] == "S":
            scans.append(Scan(int(fields[1])))
        elif fields[0] == "Z":
            scans[-1].declared.append((int(fields[1]), float(fields[2])))
        elif fields[0] == "I":
            key, value = fields[1], fields[2]
            if key == "RetTime":
                scans[-1].seconds = float(value)
            elif key == "InstrumentType":
                scans[-1].analyser = value
            elif key == "ActivationType":
                scans[-1].activation = value
            elif key == "ActivationCenter":
                scans[-1].centre = float(value)
            elif key == "PrecursorScan":
                scans[-1].survey = int(value)
    return scans


def process(bin_dir, path, folder):
    """Runs tarvek as a user would; None when it failed."""
    done = subprocess.run([str(bin_dir / "tarvek"), "-D", str(path), "-O", str(folder), "-L", str(folder)],
                          capture_output=True, text=True, errors="replace", cwd=bin_dir)
    base = re.sub(r"(\.gz)?$", "", path.name)
    base = base[:base.rfind(".")]
    if done.returncode != 0 or not (folder / f"{base}.csv").exists():
        errors = [line for line in (done.stdout + done.stderr).splitlines() if "ERROR" in line or "morvex" in line]
        return None, errors[-1] if errors else f"status {done.returncode}"
    return Run(folder / base), ""


# ---- comparison ----------------------------------------------------------------------------------

def near(a, b, ppm=SAME_PPM):
    return abs(a - b) <= ppm * 1e-6 * max(abs(a), abs(b), 1.0)


def same_precursors(a, b):
    if a is None or b is None:
        return a is b
    return len(a) == len(b) and all(ca == cb and near(ma, mb) for (ma, ca), (mb, cb) in zip(sorted(a), sorted(b)))


def same_peaks(a, b):
    """Whether two lists are equal up to the rounding of 32-bit numbers or lossy compression."""
    return len(a) == len(b) and all(near(x[0], y[0]) for x, y in zip(a, b))


def same_digits(a, b):
    return [x[0] for x in a] == [y[0] for y in b] and all(near(x[1], y[1], 1000.0) for x, y in zip(a, b))


def reason(original, a, copy, b):
    """Why two matched scans may have other precursors; empty when the extractor wrote the same for both."""
    if a.activation != b.activation:
        return f"activation {a.activation} is {b.activation} in the copy"
    if a.analyser != b.analyser:
        return f"analyser {a.analyser} is {b.analyser} in the copy"
    if abs(a.centre - b.centre) > 1.5e-5:  # one in the last digit is rounding
        return "the copy declares another isolation target, or none"
    if [z for z, _ in a.declared] != [z for z, _ in b.declared]:
        return "the copy declares other charges"
    if not all(abs(x - y) < 1e-4 for (_, x), (_, y) in zip(a.declared, b.declared)):
        return "the copy declares another selected ion"
    surveys, others = original.around(a), copy.around(b)
    if len(surveys) != len(others) or not all(abs(x.seconds - y.seconds) < SAME_SECONDS for x, y in zip(surveys, others)):
        return "other surveys around the scan"
    if [x.analyser for x in surveys] != [x.analyser for x in others]:
        return "another analyser of the surveys in the copy"
    if not all(same_peaks(x.peaks, y.peaks) for x, y in zip(surveys, others)):
        return "other peaks in the surveys of the copy"
    if not all(same_digits(x.peaks, y.peaks) for x, y in zip(surveys, others)):
        return "m/z or intensities of fewer digits in the copy"
    return ""


def match(original, copy):
    """Pairs (scan, its copy or None), a scan's copies in file order, and copies without an
    original."""
    waiting = collections.defaultdict(collections.deque)
    for scan in copy:
        waiting[round(scan.seconds)].append(scan)
    pairs = []
    for scan in original:
        seconds = round(scan.seconds)
        near_in_time = [other for second in (seconds - 1, seconds, seconds + 1) for other in waiting[second]
                        if abs(other.seconds - scan.seconds) < SAME_SECONDS and is_same_spectrum(scan, other)]
        found = min(near_in_time, default=None,
                    key=lambda other: (other.activation != scan.activation, other.analyser != scan.analyser,
                                       abs(len(other.peaks) - len(scan.peaks)), other.number))
        if found:
            waiting[round(found.seconds)].remove(found)
        pairs.append((scan, found))
    return pairs, [scan for rest in waiting.values() for scan in rest]


def is_same_spectrum(a, b):
    """Whether the highest peaks of both are (nearly) the same; peak picking may shift them a
    little."""
    highest = max(a.peaks, key=lambda p: p[1])[0]
    return any(abs(mz - highest) < 0.02 for mz, _ in b.peaks)


class Row:
    def __init__(self):
        self.runs = self.scans = self.equal = self.more = 0
        self.reasons = collections.Counter()
        self.unexplained = []
        self.failed = []
        self.not_written = []


def compare(name, original, copies, copy, row):
    row.scans += copies * len(original.scans)
    pool = copy.scans
    missing = []
    for _ in range(copies):
        pairs, pool = match(original.scans, pool)
        pool.sort(key=lambda s: s.number)
        for a, b in pairs:
            if b is None:
                missing.append(f"{name}: scan {a.number} is missing")
            elif same_precursors(a.precursors, b.precursors):
                row.equal += 1
            else:
                why = reason(original, a, copy, b)
                row.reasons[why or "UNEXPLAINED"] += 1
                if not why:
                    row.unexplained.append(f"{name}: scan {a.number} has {a.precursors}, its copy {b.number} {b.precursors}")
    row.more += len(pool)
    more_left_out = {why: n - copies * original.left_out.get(why, 0) for why, n in copy.left_out.items()}
    if missing and len(missing) == sum(more_left_out.values()):
        row.reasons.update({f"left out: {why}": n for why, n in more_left_out.items() if n > 0})
    elif missing:
        row.reasons["MISSING"] += len(missing)
        row.unexplained += missing


def is_profile(path):
    text = path.read_bytes()
    return b"MS:1000128" in text


def unpack(data, work):
    runs = []
    for packed in sorted(data.glob("**/*.mz*ML.gz")):
        plain = work / "original" / packed.name[:-3]
        plain.parent.mkdir(parents=True, exist_ok=True)
        with gzip.open(packed) as source, open(plain, "wb") as target:
            shutil.copyfileobj(source, target)
        runs.append(plain)
    return runs


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bin", type=Path)
    parser.add_argument("data", type=Path)
    parser.add_argument("work", type=Path)
    parser.add_argument("--only", default="", help="ways whose name has this word")
    parser.add_argument("--list", action="store_true", help="name every scan without a reason")
    args = parser.parse_args()
    for program in ("msconvert", "FileConverter"):
        if not shutil.which(program):
            sys.exit(f"{program} is not installed (Debian: libpwiz-tools, topp)")
    args.bin, args.work = args.bin.resolve(), args.work.resolve()
    shutil.rmtree(args.work, ignore_errors=True)
    args.work.mkdir(parents=True)
    runs = unpack(args.data, args.work)
    if not runs:
        sys.exit(f"no .mzML.gz or .mzXML.gz in {args.data}")
    originals = {}
    for path in runs:
        originals[path], error = process(args.bin, path, args.work / "original-out")
        if error:
            sys.exit(f"{path}: {error}")
    print("| written by | runs | MS2 scans | same precursors | others, with the reason |\n|---|---|---|---|---|")
    is_bad = False
    for way in [w for w in WAYS if args.only in w.name]:
        row = Row()
        for path in runs:
            if way.only_profile and not is_profile(path):
                continue
            folder = args.work / re.sub(r"\W+", "-", way.name) / path.stem
            folder.mkdir(parents=True)
            try:
                written = way.write(path, folder)
            except NotWritten as error:
                row.not_written.append(f"{path.name}: {error}")
                shutil.rmtree(folder)
                continue
            row.runs += 1
            copy, error = process(args.bin, written, folder / "out")
            if error:
                row.failed.append(f"{path.name}: {error}")
                row.scans += way.copies * len(originals[path].scans)
            else:
                compare(path.name, originals[path], way.copies, copy, row)
            shutil.rmtree(folder)
        reasons = "; ".join(f"{n} {why}" for why, n in row.reasons.most_common())
        if row.more:
            reasons += f"; {row.more} scans more than in the original"
        if row.not_written:
            reasons += f"; {len(row.not_written)} runs not written by the converter"
        if row.failed:
            reasons += f"; {len(row.failed)} RUNS FAILED"
        print(f"| {way.name} | {row.runs} | {row.scans} | {row.equal} | {reasons.lstrip('; ') or '-'} |", flush=True)
        for line in row.failed + (row.not_written if args.list else []) + (row.unexplained if args.list else row.unexplained[:3]):
            print("   ", line, file=sys.stderr)
        is_bad = is_bad or bool(row.unexplained or row.failed)
    return 1 if is_bad else 0


if __name__ == "__main__":
    sys.exit(main())
