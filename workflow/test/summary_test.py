"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).parent.parent / "scripts"
sys.path.insert(0, str(SCRIPTS))
from summary import COLUMNS, aligned, all_findings, read_rows, summary_row, table_text

RECORD = ("tarvek 2.2.1\nsetting\tisolation_width\t1.600000\nsetting\tcharge_range\t2t6\n"
          "count\tms2_exported\t7\ncount\tprecursors\t11\n")


def finding(severity, meaning):
    return {"severity": severity, "code": "c", "file": "a b.mzML", "meaning": meaning, "advice": "Do it."}


class Summary(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.record = self.write("s.tarvek", RECORD)

    def write(self, name, text):
        path = self.folder / name
        path.write_text(text, encoding="utf-8")
        return path

    def check(self, name, *findings):
        return self.write(name, json.dumps({"checked": [], "findings": findings}))

    def row(self, *findings, search=None):
        checks = [self.check("input.json", *findings[:1]), self.check("output.json", *findings[1:])]
        return summary_row("s", self.record, checks, search)

    def test_without_a_search_the_record_counts(self):
        row = self.row()
        self.assertEqual(tuple(row), COLUMNS)
        self.assertEqual({name: text for name, text in row.items() if text},
                         {"sample": "s", "scans": "7", "precursors": "11", "isolation_width": "1.6",
                          "charge_range": "2t6", "findings": "0"})

    def test_with_a_search_its_own_counts_do(self):
        row = self.row(search=self.write("s.summary.tsv",
                                         "sample\tscans\tprecursors\tidentified_scans\tfdr\tmatches\tpeptides\tproteins\n"
                                         "s\t6\t10\t5\t0.01\t8\t4\t3\n"))
        self.assertEqual(list(row.values())[:8], ["s", "6", "10", "5", "0.01", "8", "4", "3"])

    def test_the_worst_finding_of_both_checks_is_shown(self):
        row = self.row(finding("note", "A note."), finding("warning", "Two\nlines,\ttab."), finding("warning", "Later."))
        self.assertEqual((row["findings"], row["worst"], row["finding"]), ("3", "warning", "Two lines, tab. Do it."))

    def test_the_tables(self):
        rows = [self.row(finding("note", 'A "quoted note.'))]
        lines = table_text(rows).splitlines()
        self.assertEqual([len(line.split("\t")) for line in lines], [len(COLUMNS)] * 2)
        self.assertTrue(lines[1].endswith("\tnote\tA \"quoted note. Do it."))
        self.assertEqual(read_rows(self.write("summary.tsv", table_text(rows))), rows)
        self.assertEqual([line.split() for line in aligned(rows).splitlines()],
                         [list(COLUMNS[:-1]), ["s", "7", "11", "1.6", "2t6", "1", "note"]])

    def test_all_findings_under_their_samples(self):
        checks = {"s": [self.check("1.json", finding("warning", "W."))], "t": [self.check("2.json")],
                  "u": [self.check("3.json", finding("note", "N."), finding("defect", "D."))]}
        self.assertEqual(all_findings(checks),
                         "s\nwarning: a b.mzML: W.\n  Do it.\n\n"
                         "u\ndefect: a b.mzML: D.\n  Do it.\nnote: a b.mzML: N.\n  Do it.\n")
        self.assertEqual(all_findings(checks, ["defect"]), "u\ndefect: a b.mzML: D.\n  Do it.\n")

    def test_the_script_prints_the_text(self):
        path = self.check("1.json", finding("warning", "\u00c5."))
        done = subprocess.run([sys.executable, SCRIPTS / "findings.py", path], check=True, capture_output=True,
                              env={"PYTHONIOENCODING": "utf-8"})
        self.assertEqual(done.stdout.decode(), "warning: a b.mzML: \u00c5.\n  Do it.\n")


if __name__ == "__main__":
    unittest.main()
