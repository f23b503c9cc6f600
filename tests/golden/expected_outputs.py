#!/usr/bin/env python3
"""Works out the expected outputs of the golden runs, slowly and without any code of the program.

    tests/golden/expected_outputs.py tests/golden/input OUT [option value ...]

reads run.ms1, run.ms2 and IPV.txt from the input folder and writes run.csv, run.pf1, run_*.pf2, run_*.mgf and
the index files into OUT. Options are those of the program: -c, -C, -M, -z, -i. It also prints, for every MS2 scan,
each candidate that passes the filters, with its score and features; README.md quotes from that.

Everything is written for plain reading: linear searches, whole lists, no caches. The sums run in
the program's order, because the last bits of the recalibrated m/z depend on it.
"""
import collections
import math
import pathlib
import re
import struct
import sys

PROTON = 1.007276
SPACING = 1.003
TOLERANCE_PPM = 20.0
RECALIBRATION_PPM = 7.0
ISOLATION_WIDTH = 2.0
THRESHOLD = -0.34
STORE_LENGTH = 10000

# The scoring model of number 4. Feature, side, t-, t, t+, coefficient
MODEL_E_INTERCEPT = 0.413690411793215
MODEL_E = [
    ("ipv_m1", 1, 0.118683, 0.886521, 0.943259, 2.167891678118),
    ("ipv_m1", -1, 0.118683, 0.886521, 0.943259, -0.182055449457441),
    ("window_ratio", 1, 0.280507, 0.521009, 0.7605045, 0.484178202820683),
    ("window_ratio", -1, 0.280507, 0.521009, 0.7605045, -2.0012841532973),
    ("ipv_0", 1, 0.730544, 0.961079, 0.980539, 9.84830022285372),
    ("ipv_0", -1, 0.730544, 0.961079, 0.980539, -0.664726837910063),
    ("charge_times_mz", 1, 687.37946, 774.5019, 4315.231375, 5.86652807168618e-05),
    ("charge_times_mz", -1, 687.37946, 774.5019, 4315.231375, -0.000229163620818983),
    ("ipv_m2", 1, -0.053957, 0.636762, 0.799464, -0.47954051980684),
    ("ipv_m2", -1, -0.053957, 0.636762, 0.799464, 1.51413716980376),
    ("elution_share", 1, 0.4850235, 0.968961, 0.9844805, -1.05609578125814),
    ("elution_share", -1, 0.4850235, 0.968961, 0.9844805, -0.341778268342375),
    ("xic_m1_0", 1, 0.404172, 0.808344, 0.904172, -2.22773468584997),
    ("xic_m1_0", -1, 0.404172, 0.808344, 0.904172, -0.0407614339429833),
    ("xic_0_1", 1, 0.495494, 0.990988, 0.995494, 0.333777817101604),
    ("xic_0_1", -1, 0.495494, 0.990988, 0.995494, -0.402563975681755),
    ("ipv_m2", -1, 0.799464, 0.962166, 0.9810815, -1.20142953078344),
    ("abs_charge", 1, 2.5, 3.0, 4.5, -0.115481018847564),
]


# The fitted models with other numbers, read from the tables that `./dev train` writes.
TABLE_FOLDER = pathlib.Path(__file__).resolve().parents[2] / "src" / "precursor"
TABLE_LETTERS = {0: "A", 1: "B", 2: "C", 3: "D", 5: "F", 250: "G"}
TABLE_FEATURES = {
    "Similarity0": "ipv_0", "SimilarityM1": "ipv_m1", "SimilarityM2": "ipv_m2", "Correlation01": "xic_0_1",
    "CorrelationM1": "xic_m1_0", "ElutionShare": "elution_share", "WindowRatio": "window_ratio",
    "IsotopeCount": "isotope_count", "WindowIsotopes": "window_isotope_count", "MzSpread": "mz_spread",
    "ChargeTimesMz": "charge_times_mz", "AbsCharge": "abs_charge"}


def scoring_model(number):
    """Intercept and terms of a model."""
    if number == 4:
        return MODEL_E_INTERCEPT, MODEL_E
    text = (TABLE_FOLDER / f"Model{TABLE_LETTERS[number]}.cpp").read_text(encoding="ascii")
    terms = [(TABLE_FEATURES[name], 1 if side == "Plus" else -1, *map(float, knots.split(",")), float(coefficient))
             for name, side, knots, coefficient in
             re.findall(r"\{&(\w+),\s*\{k(Plus|Minus), ([^}]*)\},\s*([^}\s]+)\}", text)]
    count = int(re.search(r"std::array<ModelTerm, (\d+)>", text)[1])
    if len(terms) != count:
        raise ValueError(f"model {number}: {len(terms)} terms read of {count}")
    return float(re.search(r"kModel. = \{([^,]+),", text)[1]), terms


def score_of(model, features):
    intercept, terms = model
    return intercept + sum(c * hinge(side, low, knot, high, features[name])
                           for name, side, low, knot, high, c in terms)


def hinge(side, low, knot, high, x):
    if side > 0:
        if x <= low:
            return 0.0
        if x >= high:
            return x - knot
        p = (2 * high + low - 3 * knot) / (high - low) ** 2
        q = (2 * knot - high - low) / (high - low) ** 3
        return p * (x - low) ** 2 + q * (x - low) ** 3
    if x <= low:
        return knot - x
    if x >= high:
        return 0.0
    p = (3 * knot - 2 * low - high) / (low - high) ** 2
    q = (low + high - 2 * knot) / (low - high) ** 3
    return p * (x - high) ** 2 + q * (x - high) ** 3


# ---------------------------------------------------------------- input


def read_scans(path):
    """The scans of a .ms1 or .ms2 file that have peaks."""
    scans, scan, repeated = [], None, False
    for line in path.read_text(encoding="ascii").splitlines():
        fields = line.split("\t")
        if fields[0] == "S":
            number = int(fields[1])
            repeated = scan is not None and scan["no"] == number
            if repeated:
                continue
            if scan is not None and scan["peaks"]:
                scans.append(scan)
            scan = {"no": number, "rt": 0.0, "instrument": "", "activation": "", "centre": 0.0,
                    "precursor_scan": 0, "declared": [], "peaks": []}
        elif fields[0] == "I":
            key, value = fields[1], fields[2]
            if key == "RetTime":
                scan["rt"] = float(value)
            elif key == "InstrumentType":
                scan["instrument"] = {"F": "FT", "Q": "FT", "I": "IT"}.get(value[0], "Unknown")
            elif not repeated and key == "ActivationType":
                scan["activation"] = value.strip()
            elif not repeated and key == "ActivationCenter":
                scan["centre"] = float(value)
            elif not repeated and key == "PrecursorScan":
                scan["precursor_scan"] = int(value)
        elif fields[0] == "Z":
            charge, mass = int(fields[1]), float(fields[2])
            if charge < 1:
                charge = 2
            mz = scan["centre"] if abs(mass) < 1e-6 else (mass + (charge - 1) * PROTON) / charge
            scan["declared"].append((mz, charge))
        elif line[:1].isdigit() and not repeated:
            mz, intensity = line.split(" ")
            if float(intensity) > 1e-6:
                scan["peaks"].append((float(mz), float(intensity)))
    if scan is not None and scan["peaks"]:
        scans.append(scan)
    for each in scans:
        each["peaks"].sort(key=lambda peak: peak[0])
        each["declared"] = [(mz, z) for mz, z in each["declared"] if abs(mz) >= 1e-6]
    return scans


def read_isotope_table(path):
    numbers = [float(word) for word in path.read_text(encoding="ascii").split()]
    rows = [numbers[i:i + 5] for i in range(0, len(numbers), 5)]
    return rows + [[0.0] * 5] * (15000 - len(rows))


# ---------------------------------------------------------------- determination


def in_window(peaks, centre, tolerance):
    low = centre - tolerance
    return [peak for peak in peaks if peak[0] > low and peak[0] - centre < tolerance]


def nearest(peaks, mz):
    best = peaks[0]
    for peak in peaks:  # of two equally near ones the higher
        if abs(peak[0] - mz) <= abs(best[0] - mz):
            best = peak
    return best


def correlation(x, y):
    n = len(x)
    sx, sy = sum(x), sum(y)
    sxy = sum(a * b for a, b in zip(x, y))
    sxx, syy = sum(a * a for a in x), sum(b * b for b in y)
    spread = math.sqrt(max(0.0, (sxx - sx * sx / n) * (syy - sy * sy / n)))
    return 0.0 if spread <= 1e-6 else (sxy - sx * sy / n) / spread


def cosine(x, y):
    length = math.sqrt(sum(a * a for a in x) * sum(b * b for b in y))
    return 0.0 if length <= 1e-6 else sum(a * b for a, b in zip(x, y)) / length


class Candidate:
    def __init__(self, mz, charge, centre, isotopes, filtered, collected):
        """mz: without sign. isotopes: the table. filtered: ten peak lists. collected: all candidate peaks."""
        self.mz, self.charge = mz, charge
        z = abs(charge)
        self.position = lambda i: mz + i * SPACING / z
        self.matrix = self.observed(centre, filtered, collected)
        signed_mz = mz if charge > 0 else -mz
        expected = isotopes[int(signed_mz * charge - charge * PROTON + PROTON)]
        self.features = f = {}
        for name, shift in (("ipv_0", 0), ("ipv_m1", 1), ("ipv_m2", 2)):
            f[name] = max(correlation([0.0] * shift + expected, row[7 - shift:]) for row in self.matrix)
        f["isotope_count"] = max(self.run_length(row) for row in self.matrix)
        half = ISOLATION_WIDTH * 0.5 + 0.05
        f["window_isotope_count"] = sum(abs(self.position(i) - centre) < half for i in range(f["isotope_count"]))
        inside = in_window(collected, centre, ISOLATION_WIDTH * 0.5)
        total = sum(i for _, i in inside)
        explained = sum(i for k in range(f["isotope_count"])
                        for _, i in in_window(inside, self.position(k), TOLERANCE_PPM * centre / 1e6))
        f["window_ratio"] = explained * ISOLATION_WIDTH / total * 0.5 if total > 1e-6 else 0.0
        grid = self.matrix[1:]
        f["elution_share"] = 1.0 if self.whole < 1e-6 else sum(sum(row[7:]) for row in grid) / self.whole
        f["xic_0_1"] = cosine([row[7] for row in grid], [row[8] for row in grid])
        f["xic_m1_0"] = cosine([row[6] for row in grid], [row[7] for row in grid])
        f["charge_times_mz"] = mz * z
        f["abs_charge"] = float(z)

    def observed(self, centre, filtered, collected):
        """Row 0: single peaks of the candidate list; rows 1..10: sums over bins of 0.01 in the ten scans."""
        origin = ISOLATION_WIDTH + 1.0 - centre
        bin_count = 2 * int(100 * centre)
        bins = [{} for _ in filtered]
        for row, peaks in enumerate(filtered):
            for mz, intensity in peaks:
                b = int((mz - origin) * 100)
                if 0 <= b < bin_count:
                    bins[row][b] = bins[row].get(b, 0.0) + intensity
        matrix = [[0.0] * 12 for _ in range(11)]
        peak_tolerance = TOLERANCE_PPM * (self.mz if self.charge > 0 else -self.mz) / 1e6
        grid_tolerance = centre * TOLERANCE_PPM / 1e6
        for i in range(-7, 5):
            x = self.position(i)
            mz, intensity = nearest(collected, x)
            if abs(mz - x) < peak_tolerance:
                matrix[0][7 + i] = intensity
            low = int((x - grid_tolerance - origin) * 100)
            high = min(bin_count, int((x + grid_tolerance - origin) * 100) + 1)
            if low >= 1:
                for row in range(10):
                    matrix[row + 1][7 + i] = sum(bins[row].get(b, 0.0) for b in range(low, high))
        self.whole = sum(sum(row[6:]) for row in matrix[1:])
        for row in matrix:  # a valley after the +1 isotope ends the envelope
            for k in range(8, 11):
                if row[k - 1] >= row[k] and row[k + 1] > row[k]:
                    row[k + 1:] = [0.0] * (11 - k)
                    break
        return matrix

    @staticmethod
    def run_length(row):
        count = 0
        while count < 5 and row[7 + count] > 0:
            count += 1
        return count

    def passes(self, centre):
        f, z = self.features, abs(self.charge)
        signed_mz = self.mz if self.charge > 0 else -self.mz
        if f["isotope_count"] < 2 or (z > 3 and f["isotope_count"] < 3):
            return False
        if f["ipv_0"] < 0.5:
            return False
        if (z > 2 or signed_mz > centre + ISOLATION_WIDTH) and f["window_isotope_count"] < 2:
            return False
        return f["window_ratio"] >= 0.04


def collect(filtered, centre):
    collected = []
    for position in (4, 3, 5):
        collected = sorted(collected + in_window(filtered[position], centre, ISOLATION_WIDTH + 1.0))
        if collected and abs(nearest(collected, centre)[0] - centre) < TOLERANCE_PPM * centre / 1e6:
            break
    merged = []
    tolerance = TOLERANCE_PPM * collected[0][0] / 1e6 if collected else 0.0
    while collected:
        mz, intensity = collected.pop(0)
        while collected and abs(mz - collected[0][0]) < tolerance:
            other_mz, other = collected.pop(0)
            mz = (other * other_mz + intensity * mz) / (intensity + other)
            intensity = intensity + other
        merged.append((mz, intensity))
    return merged


def determine(store, scan, isotopes, options):
    """store: the MS1 scans that are there for this MS2 scan, oldest first."""
    centre = scan["centre"]
    numbers = [each["no"] for each in store]
    if scan["precursor_scan"] not in numbers:
        print(f"  scan {scan['no']}: precursor scan {scan['precursor_scan']} is not in the store")
        return []
    place = numbers.index(scan["precursor_scan"])
    extended = ISOLATION_WIDTH + 1.0 + TOLERANCE_PPM * 15000 / 1e6
    window = [in_window(store[i]["peaks"], centre, extended) if 0 <= i < len(store) else []
              for i in range(place - 4, place + 6)]
    filtered = []
    for peaks in window:
        highest = max((i for _, i in in_window(peaks, centre, 1.05)), default=0.0)
        filtered.append([peak for peak in peaks if peak[1] >= 0.02 * highest])
    collected = collect(filtered, centre)
    survivors = []
    for mz, _ in [peak for peak in collected if peak[0] <= ISOLATION_WIDTH * 0.5 + centre + 0.05]:
        for charge in range(options["charge_min"], options["charge_max"] + 1):
            positions = [mz + i * SPACING / abs(charge) for i in range(4)]
            if not options["co_elute"] and not any(
                    abs(x - centre) < TOLERANCE_PPM * centre / 1e6 for x in positions):
                continue
            candidate = Candidate(mz, charge, centre, isotopes, filtered, collected)
            if candidate.passes(centre):
                survivors.append(candidate)
    if not options["co_elute"] and len(survivors) > 1:
        survivors = [survivors[rank_product_order(survivors)[0]]]
    for each in survivors:
        each.score = score_of(options["model"], each.features)
    survivors.sort(key=lambda each: -each.score)
    answer = []
    for each in survivors:
        shown = ", ".join(f"{name} {value:.4g}" for name, value in each.features.items())
        print(f"  scan {scan['no']}: m/z {each.mz:.6f} charge {each.charge} score {each.score:.4f} ({shown})")
        if each.score > THRESHOLD and len(answer) == survivors.index(each):
            answer.append((recalibrated(window, each), each.charge))
    return answer


def rank_product_order(survivors):
    f = [each.features for each in survivors]
    entries = [[a["ipv_0"], -a["xic_m1_0"], a["xic_0_1"], a["window_ratio"], n] for n, a in enumerate(f)]
    for k in range(4):
        entries.sort(key=lambda entry: entry[k])
        for rank, entry in enumerate(entries):  # no ties in these runs
            entry[k] = rank + 1
    entries.sort(key=lambda e: e[0] ** 3 * e[1] * e[2] * e[3] ** 3)
    return [entry[4] for entry in entries]


def recalibrated(window, candidate):
    weighted = total = 0.0
    for peaks in window:
        for mz, intensity in in_window(peaks, candidate.mz, candidate.mz * RECALIBRATION_PPM / 1e6):
            weighted += mz * intensity
            total += intensity
    mz = weighted / total if total > 1e-6 else candidate.mz
    return mz if candidate.charge > 0 else -mz


# ---------------------------------------------------------------- the run


def process(ms1, ms2, isotopes, options, left_out):
    """Yields each written MS2 scan with its precursors; records why the others are left out."""
    empty = {"no": 0, "peaks": []}
    store, unread = [empty] * STORE_LENGTH, list(ms1)
    for scan in ms2:
        while len(store) >= 11 and store[-6]["no"] < scan["precursor_scan"]:
            if not unread:
                store.pop(0)
                break
            survey = unread.pop(0)
            if survey["instrument"] == "FT":
                store = store[1:] + [survey]
        if scan["activation"] not in ("CID", "HCD", "ETD", "ETCID", "ETHCD"):
            left_out[scan["no"]] = "activation type not known"
            continue
        if scan["instrument"] not in ("IT", "FT", "ITMS", "FTMS"):
            left_out[scan["no"]] = "analyser not known"
            continue
        precursors = scan["declared"]
        if len(store) >= 10 and precursors:
            precursors = determine(store, scan, isotopes, options) or scan["declared"]
        if precursors:
            yield scan, precursors
        else:
            left_out[scan["no"]] = "no usable precursor declared or determined"
            print(f"  scan {scan['no']}: no precursor, not written")


HEADER = ("ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor"
          + ", PrecursorIdentifier, MZ, Charge" * 5 + "\n")


def csv_row(scan, precursors):
    mz, charge = scan["declared"][0]
    row = f"{scan['activation']}, {scan['instrument']}, {scan['no']}, {mz:.6f}, {charge}, {len(precursors)}, "
    return row + "".join(f"{i}, {p[0]:.6f}, {p[1]}, " for i, p in enumerate(precursors, 1)) + "\n"


def mgf_blocks(scan, precursors, options):
    peaks = "".join(f"{mz:.{options['mz_digits']}f} {i:.{options['intensity_digits']}f}\n"
                    for mz, i in scan["peaks"])
    text = ""
    for n, (mz, charge) in enumerate(precursors):
        text += (f"BEGIN IONS\nTITLE=run.{scan['no']}.{scan['no']}.{charge}.{n}.dta\n"
                 f"CHARGE={abs(charge)}{'+' if charge >= 0 else '-'}\nRTINSECONDS={scan['rt']:.7f}\n"
                 f"PEPMASS={abs(mz):f}\n{peaks}END IONS\n")
    return text


def fingerprint(isotopes):
    """FNV-1a of the table with its 15000 rows."""
    numbers = [number for row in isotopes for number in row]
    value = 0xCBF29CE484222325
    for byte in struct.pack(f"<{len(numbers)}d", *numbers):
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return f"{value:016x}"


def record(path, ms1, ms2, written, left_out, isotopes, options):
    """The settings (those without an option here have their defaults) and what was counted."""
    settings = {
        "charge_range": f"{options['charge_min']}t{options['charge_max']}", "check_activationcenter": 1,
        "co-elute": int(options["co_elute"]), "cut_similiar_mono": 1, "intensity": options["intensity_digits"],
        "isolation_width": "2.000000", "isotope_table": fingerprint(isotopes), "m/z": options["mz_digits"],
        "mars_model": options["model_number"], "mars_threshold": "-0.340000", "mstol": "20.000000",
        "mstolppm": 1, "output_mgf": 1, "output_msb": 0, "output_pf": 1, "recalibrate_window": "7.000000"}
    counts = {"ms2_exported": len(written), "ms2_read": len(ms2),
              "precursors": sum(len(precursors) for _, precursors in written), "surveys": len(ms1)}
    return "".join(f"{kind}\t{key}\t{value}\n"
                   for kind, entries in (("setting", settings), ("count", counts),
                                         ("left_out", collections.Counter(left_out.values())), ("left_out_scan", left_out),
                                         ("source", {"bytes": path.stat().st_size, "name": path.name}))
                   for key, value in sorted(entries.items()))


def write_pf(path, records):
    data, index = struct.pack("<ii", len(records), 3) + b"run", b""
    for scan, precursors in records:
        index += struct.pack("<ii", scan["no"], len(data))
        data += struct.pack("<ii", scan["no"], len(scan["peaks"]))
        data += b"".join(struct.pack("<dd", *peak) for peak in scan["peaks"])
        data += struct.pack("<i", len(precursors)) + b"".join(struct.pack("<di", *p) for p in precursors)
    path.write_bytes(data)
    pathlib.Path(str(path) + "idx").write_bytes(index)


def read_options(words):
    options = {"charge_min": 2, "charge_max": 6, "co_elute": True, "mz_digits": 5, "intensity_digits": 1,
               "model": scoring_model(4), "model_number": 4}
    for letter, value in zip(words[::2], words[1::2]):
        if letter == "-c":
            options["charge_min"], options["charge_max"] = (int(word) for word in value.split("t"))
        elif letter == "-C":
            options["co_elute"] = value != "0"
        elif letter == "-M":
            options["model"], options["model_number"] = scoring_model(int(value)), int(value)
        else:
            options[{"-z": "mz_digits", "-i": "intensity_digits"}[letter]] = int(value)
    return options


def main():
    source, out = (pathlib.Path(word) for word in sys.argv[1:3])
    options = read_options(sys.argv[3:])
    out.mkdir(parents=True, exist_ok=True)
    ms1 = read_scans(source / "run.ms1")
    ms2 = read_scans(source / "run.ms2")
    isotopes = read_isotope_table(source / "IPV.txt")
    left_out = {}
    written = list(process(ms1, ms2, isotopes, options, left_out))
    (out / "run.tarvek").write_text(record(source / "run.ms1", ms1, ms2, written, left_out, isotopes, options), encoding="ascii")
    (out / "run.csv").write_text(HEADER + "".join(csv_row(*record) for record in written), encoding="ascii")
    write_pf(out / "run.pf1", [(scan, [(scan["rt"], 1)]) for scan in ms1])
    for key in sorted({scan["activation"] + scan["instrument"] for scan, _ in written}):
        records = [r for r in written if r[0]["activation"] + r[0]["instrument"] == key]
        write_pf(out / f"run_{key}.pf2", records)
        blocks = "".join(mgf_blocks(*record, options) for record in records)
        (out / f"run_{key}.mgf").write_text(blocks, encoding="ascii")


if __name__ == "__main__":
    main()
