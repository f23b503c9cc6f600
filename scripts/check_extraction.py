#!/usr/bin/env python3
"""Compares extracted .ms1/.ms2 files with their mzML or mzXML file, scan by scan.

An independent reading of the instrument file: Python's own XML, zlib and struct, the whole file in
memory, none of the extractor's code. Every difference is printed; the exit status is their number,
at most 99.

    check_extraction.py RUN.mzML[.gz] BASE        # compares with BASE.ms1 and BASE.ms2

Spectra declared as profiles are compared in everything but their peaks, which are picked.
Numpress arrays are not read.
"""
import argparse
import base64
import decimal
import gzip
import re
import struct
import sys
import xml.etree.ElementTree as ET
import zlib

PROTON = decimal.Decimal("1.007276")
FOURIER = {"MS:1000484", "MS:1000079", "MS:1003379", "MS:1000084"}
TRAPS = {"MS:1000264", "MS:1000291", "MS:1000082", "MS:1000083", "MS:1000078"}
ACTIVATIONS = {"MS:1000422": "HCD", "MS:1002481": "HCD", "MS:1002678": "HCD", "MS:1000133": "CID",
               "MS:1002472": "CID", "MS:1002679": "CID", "MS:1000598": "ETD",
               "MS:1002631": "ETHCD", "MS:1003182": "ETCID"}


def fixed(value, digits):
    """The text of printf("%.Nf"): exact, ties to even."""
    return format(value, ".%df" % digits)


def local(element):
    return element.tag.rsplit("}", 1)[-1]


def children(element, name):
    return [child for child in element.iter() if local(child) == name]


def params(element):
    return {p.get("accession"): p for p in element if local(p) == "cvParam"}


def value(found, accession):
    return float(found[accession].get("value")) if accession in found else None


class MzmlFile:
    def __init__(self, root):
        self.groups = {g.get("id"): list(g) for g in children(root, "referenceableParamGroup")}
        for element in list(root.iter()):
            for ref in [c for c in element if local(c) == "referenceableParamGroupRef"]:
                element.extend(self.groups[ref.get("ref")])
        self.analysers = {}
        for configuration in children(root, "instrumentConfiguration"):
            ordered = sorted(children(configuration, "analyzer"), key=lambda a: int(a.get("order")))
            if ordered:
                self.analysers[configuration.get("id")] = set(params(ordered[-1]))
        self.default = children(root, "run")[0].get("defaultInstrumentConfigurationRef")
        self.spectra = children(root, "spectrum")

    def scans(self):
        numbers, levels, refs = {}, {}, {}
        latest = {}
        for position, spectrum in enumerate(self.spectra):
            found = params(spectrum)
            match = re.fullmatch(r"(?:controllerType=\d+ controllerNumber=\d+ )?scan=(\d+)|"
                                 r"scanId=(\d+)", spectrum.get("id"))
            number = int(match.group(1) or match.group(2)) if match else position + 1
            level = int(value(found, "MS:1000511") or 0)
            scan_element = children(spectrum, "scan")[0]
            scan = params(scan_element)
            numbers[spectrum.get("id")] = number
            levels[number] = level
            mz, intensity = self.arrays(spectrum)
            out = {"scan": number, "level": level,
                   "profile": "MS:1000128" in found,
                   "peaks": list(zip(mz, intensity)),
                   "rt": self.seconds(scan.get("MS:1000016")),
                   "iit": value(scan, "MS:1000927") or 0.0,
                   "instrument": self.instrument(scan_element, scan)}
            polarity = "-" if "MS:1000129" in found else "+"
            if level == 1:
                latest[polarity] = number
            if level == 2:
                self.precursor(spectrum, out, numbers, levels, refs, latest.get(polarity, 0))
            yield out

    @staticmethod
    def seconds(time):
        if time is None:
            return 0.0
        return float(time.get("value")) * (1.0 if time.get("unitAccession") == "UO:0000010"
                                           else 60.0)

    def instrument(self, element, scan):
        own = element.get("instrumentConfigurationRef")
        line = scan["MS:1000512"].get("value") if "MS:1000512" in scan else ""
        if own is None and line[:4] in ("FTMS", "ITMS"):
            return line[:4]
        terms = self.analysers.get(own or self.default, set())
        if terms & FOURIER:
            return "FTMS"
        if terms & TRAPS:
            return "ITMS"
        return line[:4]

    @staticmethod
    def precursor(spectrum, out, numbers, levels, refs, latest):
        precursor = children(spectrum, "precursor")[0]
        window = params(children(precursor, "isolationWindow")[0])
        ions = [params(ion) for ion in children(precursor, "selectedIon")]
        out["centre"] = value(window, "MS:1000827") or value(ions[0], "MS:1000744")
        out["ions"] = [(value(ion, "MS:1000744"), int(value(ion, "MS:1000041") or 0))
                       for ion in ions]
        methods = {ACTIVATIONS[a] for a in params(children(precursor, "activation")[0])
                   if a in ACTIVATIONS}
        if methods == {"ETD", "HCD"}:
            methods = {"ETHCD"}
        if methods == {"ETD", "CID"}:
            methods = {"ETCID"}
        out["activation"] = "/".join(sorted(methods))
        parent = numbers.get(precursor.get("spectrumRef"))
        refs[out["scan"]] = parent
        while parent is not None and levels[parent] != 1:
            parent = refs.get(parent)
        out["parent"] = latest if parent is None else parent

    @staticmethod
    def arrays(spectrum):
        result = {}
        for array in children(spectrum, "binaryDataArray"):
            found = params(array)
            raw = base64.b64decode(children(array, "binary")[0].text or "")
            if "MS:1000574" in found and raw:
                raw = zlib.decompress(raw)
            kind = "d" if "MS:1000523" in found else "f"
            numbers = struct.unpack("<%d%s" % (len(raw) // struct.calcsize(kind), kind), raw)
            for name in ("MS:1000514", "MS:1000515"):
                if name in found:
                    result[name] = numbers
        return result.get("MS:1000514", ()), result.get("MS:1000515", ())


class MzxmlFile:
    def __init__(self, root):
        self.analysers = {}
        for instrument in children(root, "msInstrument"):
            word = children(instrument, "msMassAnalyzer")[0].get("value")
            self.analysers[instrument.get("msInstrumentID")] = (
                "FTMS" if word in ("orbitrap", "FTMS") else "ITMS")
        self.root = root

    def scans(self):
        latest = 0
        for scan in children(self.root, "scan"):
            peaks = [p for p in scan if local(p) == "peaks"][0]
            raw = base64.b64decode(peaks.text or "")
            if peaks.get("compressionType") == "zlib":
                raw = zlib.decompress(raw)
            kind = "d" if peaks.get("precision") == "64" else "f"
            numbers = struct.unpack(">%d%s" % (len(raw) // struct.calcsize(kind), kind), raw)
            if scan.get("peaksCount") == "0":
                numbers = ()
            time = scan.get("retentionTime")
            out = {"scan": int(scan.get("num")), "level": int(scan.get("msLevel")),
                   "profile": scan.get("centroided") == "0",
                   "peaks": list(zip(numbers[::2], numbers[1::2])),
                   "rt": float(time[2:-1]) * (60.0 if time.endswith("M") else 1.0), "iit": 0.0,
                   "instrument": self.analysers[scan.get("msInstrumentID")]}
            if out["level"] == 1:
                latest = out["scan"]
            if out["level"] == 2:
                precursor = [p for p in scan if local(p) == "precursorMz"][0]
                mz = float(precursor.text)
                out.update(centre=mz, activation=precursor.get("activationMethod"),
                           ions=[(mz, int(precursor.get("precursorCharge", 0)))],
                           parent=int(precursor.get("precursorScanNum", latest)))
            yield out


def z_line(mz, charge, digits):
    if charge == 0:
        return "Z\t0\t0"
    charge = abs(charge)
    mass = mz * charge - (charge - 1) * float(PROTON)
    return "Z\t%d\t%s" % (charge, fixed(mass, digits))


def expected_blocks(instrument_file, mz_digits, intensity_digits):
    """Level, scan number and the lines of each block that the text files should hold."""
    for scan in instrument_file.scans():
        if scan["level"] not in (1, 2):
            continue
        zero = fixed(0.0, intensity_digits)
        peaks = sorted((m, i) for m, i in scan["peaks"] if i > 0)
        lines = [fixed(m, mz_digits) + " " + fixed(i, intensity_digits) for m, i in peaks
                 if fixed(i, intensity_digits) != zero]
        if not lines:
            continue
        head = ["I\tRetTime\t" + fixed(scan["rt"], 4), "I\tIonInjectionTime\t" +
                fixed(scan["iit"], 4), "I\tInstrumentType\t" + scan["instrument"]]
        if scan["level"] == 2:
            head += ["I\tActivationType\t" + scan["activation"],
                     "I\tActivationCenter\t" + fixed(scan["centre"], mz_digits),
                     "I\tPrecursorScan\t%d" % scan["parent"]]
            head += [z_line(mz, charge, mz_digits) for mz, charge in scan["ions"]]
        yield scan["level"], scan["scan"], head, None if scan["profile"] else lines


def read_blocks(path):
    blocks = {}
    with open(path, encoding="ascii") as file:
        for line in file.read().split("\n"):
            if line.startswith("S\t"):
                head, peaks = blocks.setdefault(int(line.split("\t")[1]), ([], []))
            elif line[:2] in ("I\t", "Z\t"):
                head.append(line)
            elif line[:1].isdigit():
                peaks.append(line)
    return blocks


def compare(expected, found):
    """Yields one sentence per difference."""
    count = 0
    for level, number, head, peaks in expected:
        count += 1
        block = found[level].pop(number, None)
        if block is None:
            yield "scan %d is missing" % number
            continue
        for line in sorted(set(head) ^ set(block[0])):
            yield "scan %d: %s %r" % (number, "lacks" if line in head else "has", line)
        if peaks is not None and sorted(peaks) != sorted(block[1]):
            yield "scan %d: %d peaks where %d are expected, or others" % (
                number, len(block[1]), len(peaks))
    for level in (1, 2):
        for number in found[level]:
            yield "scan %d of level %d is not expected" % (number, level)
    print("%d scans compared" % count)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("instrument_file")
    parser.add_argument("base", help="path of the .ms1 and .ms2 files without their extension")
    parser.add_argument("-i", type=int, default=1, help="decimals of intensities")
    parser.add_argument("-m", type=int, default=5, help="decimals of m/z")
    arguments = parser.parse_args()
    opener = gzip.open if arguments.instrument_file.endswith(".gz") else open
    with opener(arguments.instrument_file, "rb") as file:
        root = ET.parse(file).getroot()
    instrument_file = MzxmlFile(root) if local(root) == "mzXML" else MzmlFile(root)
    found = {1: read_blocks(arguments.base + ".ms1"), 2: read_blocks(arguments.base + ".ms2")}
    differences = 0
    for difference in compare(expected_blocks(instrument_file, arguments.m, arguments.i), found):
        print(difference)
        differences += 1
    print("%d differences" % differences)
    return min(differences, 99)


if __name__ == "__main__":
    sys.exit(main())
