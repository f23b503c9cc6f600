#!/usr/bin/env python3
"""Ends with an error when MS2 scans were read but none was exported: exported.py RECORD [MARKER]

RECORD: BASE.tarvek, which tarvek writes next to its table. MARKER: BASE.morvex of the extraction,
which says what the instrument file held. Lines of both: kind, key and value with tabs between them.
"""
import sys


def read_record(path):
    """kind -> key -> number, of counts and of scans left out; of settings the text."""
    record = {"count": {}, "left_out": {}, "setting": {}}
    with open(path, encoding="utf-8", errors="replace") as lines:
        for number, line in enumerate(lines, 1):
            fields = line.rstrip("\r\n").split("\t")
            if len(fields) != 3 or fields[0] not in record:
                continue
            try:
                record[fields[0]][fields[1]] = fields[2] if fields[0] == "setting" else int(fields[2])
            except ValueError as error:
                raise SystemExit(f"{path}, line {number}: {fields[2]} is no number") from error
    return record


def why_nothing(records):
    """Why the run of these records exported no scan, the reason of the run itself first; empty when
    it did export, or had nothing to export."""
    exported = records[0]["count"].get("ms2_exported")
    read = max((record["count"].get("ms2_read", 0) for record in records), default=0)
    if exported is None:
        return "it does not say how many MS2 scans were exported"
    if exported > 0 or read == 0:
        return ""
    reasons = {reason: count for record in reversed(records) for reason, count in record["left_out"].items()}
    text = f"none of {read} MS2 scans is exported"
    if not reasons:
        return text
    reason = max(sorted(reasons), key=reasons.get)
    return f"{text}; {reasons[reason]} left out: {reason}"


def main(paths):
    reason = why_nothing([read_record(path) for path in paths])
    if reason:
        raise SystemExit(f"{paths[0]}: {reason}")


if __name__ == "__main__":
    main(sys.argv[1:])
