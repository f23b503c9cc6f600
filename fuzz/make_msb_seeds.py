#!/usr/bin/env python3
"""Writes the seeds of fuzz_msb: a scan table, a NUL byte, and the records of an .msb file."""
import pathlib
import struct

COLUMNS = ("ScanNo PrecursorScan activationCenter RetTime IonInjectionTime activationType "
           "InstrumentType NumberofPeaks StartPos EndPos lowerCharge monoIsotopicMz").split()


def table(*rows):
    lines = ["\t".join(COLUMNS)] + ["\t".join(str(field) for field in row) for row in rows]
    return "\n".join(lines).encode() + b"\n\0"


def record(scan_no, peaks):
    mz = [peak[0] for peak in peaks]
    intensity = [peak[1] for peak in peaks]
    count = len(peaks)
    return struct.pack(f"<ii{count}d{count}d", scan_no, count, *mz, *intensity)


MS1 = (1, -1, 0, 0.5, 12, "", "FTMS", 2, 0, 40, 0, 0)
MS2 = (2, 1, 500.25, 0.75, 20, "HCD", "ITMS", 1, 40, 64, 2, 499.75)
TWO_PEAKS = record(1, [(300.5, 10.0), (200.25, 5.0)])
ONE_PEAK = record(2, [(150.5, 7.0)])
SEEDS = {
    "both_levels": table(MS1, MS2) + TWO_PEAKS + ONE_PEAK,
    "no_peaks": table((0, 0, 0, 0, 0, "", "", 0, 0, 0, 0, 0)) + record(0, []),
    "not_a_number": table(MS1) + record(1, [(float("nan"), 1.0), (200.0, float("inf"))]),
    "cut": table(MS1) + TWO_PEAKS[:30],
    "over_the_limit": table(MS1) + struct.pack("<ii", 1, 10001),
}

if __name__ == "__main__":
    folder = pathlib.Path(__file__).parent / "seeds" / "msb"
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in SEEDS.items():
        (folder / name).write_bytes(content)
