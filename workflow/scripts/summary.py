"""A row for each sample: its settings, what was identified, and what the checks found."""
import csv

from exported import read_record
from findings import SEVERITIES, read_findings, text_of_findings

COLUMNS = ("sample", "scans", "precursors", "identified_scans", "fdr", "matches", "peptides", "proteins",
           "isolation_width", "charge_range", "findings", "worst", "finding")


def read_rows(path):
    """The rows of a summary, of one sample's search or of all samples."""
    with open(path, encoding="utf-8", newline="") as table:
        return list(csv.DictReader(table, delimiter="\t", quoting=csv.QUOTE_NONE))


def summary_row(sample, record_path, checks, search_summary=None):
    """column -> text. record_path: BASE.tarvek. Scans and precursors are those that were searched, without a search
    the exported ones; columns of the search are empty then."""
    record = read_record(record_path)
    row = {**dict.fromkeys(COLUMNS, ""), "scans": record["count"]["ms2_exported"],
           "precursors": record["count"]["precursors"]}
    if search_summary:
        row |= read_rows(search_summary)[0]
    findings = read_findings(checks)
    row |= {"sample": sample, "isolation_width": f"{float(record['setting']['isolation_width']):g}",
            "charge_range": record["setting"]["charge_range"], "findings": len(findings)}
    if findings:
        worst = findings[0]
        row |= {"worst": worst["severity"], "finding": f"{worst['meaning']} {worst['advice']}"}
    return {name: " ".join(str(row[name]).split()) for name in COLUMNS}


def table_text(rows):
    return "".join("\t".join(fields) + "\n" for fields in [COLUMNS, *(row.values() for row in rows)])


def aligned(rows):
    """The same for a terminal, without the text of findings."""
    fields = [COLUMNS[:-1], *(list(row.values())[:-1] for row in rows)]
    widths = [max(map(len, column)) for column in zip(*fields)]
    return "".join("  ".join(f"{text:<{width}}" for text, width in zip(row, widths)).rstrip() + "\n" for row in fields)


def all_findings(checks_of_samples, severities=SEVERITIES):
    """The findings of all samples. checks_of_samples: name -> files."""
    texts = ((name, text_of_findings(finding for finding in read_findings(checks) if finding["severity"] in severities))
             for name, checks in checks_of_samples.items())
    return "\n".join(f"{name}\n{text}" for name, text in texts if text)
