"""The scripts of the project on files made by hand: scripts_test.py SOURCE_DIRECTORY"""
import argparse
import gzip
import math
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv[1]).resolve()
sys.path[:0] = [str(SOURCE / "scripts"), str(SOURCE / "training")]

import compare_features  # noqa: E402
import compare_search  # noqa: E402
import compare_top  # noqa: E402
import evaluate  # noqa: E402
import load  # noqa: E402


class InFolder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path


class CompareFeatures(unittest.TestCase):
    def test_quartiles_lie_between_the_values(self):
        self.assertEqual(compare_features.quartiles([4, 1, 3, 2, 5]), [2, 3, 4])
        self.assertEqual(compare_features.quartiles([1, 2]), [1.25, 1.5, 1.75])
        self.assertEqual(compare_features.quartiles([7]), [7, 7, 7])

    def test_the_distance_is_that_of_the_cumulated_distributions(self):
        distance = compare_features.kolmogorov_smirnov
        self.assertEqual(distance([1, 2, 3], [3, 2, 1]), 0)
        self.assertEqual(distance([1, 2], [3, 4, 5]), 1)
        self.assertEqual(distance([0, 0, 0, 1], [0, 1, 1, 1]), 0.5)

    def test_of_a_scan_the_true_precursor_with_most_of_the_window_is_the_main_one(self):
        rows = [{"scan": scan, "label": label, "window_share": share} for scan, label, share in (
            ("1", "1", "0.2"), ("1", "1", "0.7"), ("1", "0", "0.9"), ("2", "NA", "1"), ("3", "1", "0.1"))]
        self.assertEqual(compare_features.main_precursors(rows), [rows[1], rows[4]])


class ProteinXml(InFolder):
    @staticmethod
    def xml(namespace, entries):
        return f'<?xml version="1.0"?><uniprot{namespace}>{entries}</uniprot>'.encode()

    ENTRY = ("<entry><accession>P1</accession><accession>Q9</accession><name>ONE</name>"
             "<comment><isoform><sequence type='described'/></isoform></comment>"
             "<sequence>\n MKV\n LW </sequence></entry>")

    def convert(self, content, *options, name="p.xml"):
        self.fasta = self.folder / "p.fasta"
        return subprocess.run([sys.executable, SOURCE / "scripts/protein_xml_to_fasta.py",
                               self.write(name, content), self.fasta, *options], capture_output=True, text=True)

    def test_any_namespace_will_do(self):
        for namespace in (' xmlns="http://uniprot.org/uniprot"', ' xmlns="https://uniprot.org/uniprot"', ""):
            self.assertEqual(self.convert(self.xml(namespace, self.ENTRY)).returncode, 0)
            self.assertEqual(self.fasta.read_text(), ">P1 ONE\nMKVLW\n")

    def test_decoys_are_reversed(self):
        self.convert(self.xml("", self.ENTRY), "--decoys")
        self.assertEqual(self.fasta.read_text(), ">P1 ONE\nMKVLW\n>DECOY_P1 reversed\nWLVKM\n")

    def test_what_is_no_protein_file_is_named_and_leaves_nothing(self):
        whole = self.xml("", self.ENTRY)
        packed = gzip.compress(whole)
        for name, content, text in (
                ("p.xml", self.xml("", ""), "no protein entries"),
                ("p.xml", self.xml("", self.ENTRY + "<entry><accession>P2</accession></entry>"),
                 "entry 2 (P2) has no sequence"),
                ("p.xml", self.xml("", "<entry><sequence>MK</sequence></entry>"), "has no accession"),
                ("p.xml", whole[:-20], "p.xml"), ("p.xml.gz", packed[:-9], "p.xml.gz"), ("p.xml.gz", whole, "p.xml.gz")):
            with self.subTest(text=text, content=content):
                done = self.convert(content, name=name)
                self.assertEqual((done.returncode, len(done.stderr.splitlines())), (1, 1), done.stderr)
                self.assertIn(text, done.stderr)
                self.assertIn(name, done.stderr)
                self.assertEqual([path.name for path in self.folder.glob("p.fasta*")], [])


class DeclaredPrecursors(InFolder):
    TABLE = ("ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, P\n"
             "HCD, FTMS, 7, 650.320000, 2, 2, 1, 650.321234, 2, 2, 433.880000, 3, \n"
             "HCD, FTMS, 8, -1.000000, -1, 1, 1, 500.500000, 2, \n"
             "HCD, FTMS, 9, 400.000000, 3, 1, 1, -400.100000, -2, \n")

    @staticmethod
    def block(scan, charge, sign, index, mz):
        minus = "-" if sign == "-" else ""
        return (f"BEGIN IONS\nTITLE=a.run.{scan}.{scan}.{minus}{charge}.{index}.dta\nCHARGE={charge}{sign}\n"
                f"RTINSECONDS=1.5000000\nPEPMASS={mz}\n100.50000 10.0\nEND IONS\n")

    def declared(self, ending="\n"):
        mgf = (self.block(7, 2, "+", 0, "650.321234") + self.block(7, 3, "+", 1, "433.880000") +
               self.block(8, 2, "+", 0, "500.500000") + self.block(9, 2, "-", 0, "400.100000"))
        out = self.folder / "declared.mgf"
        compare_search.write_declared(self.write("a.run_HCDFT.mgf", mgf.replace("\n", ending).encode()),
                                      self.write("a.run.csv", self.TABLE.encode()), out)
        return out.read_bytes().decode().replace("\r\n", "\n")

    def test_one_block_a_scan_that_declares_a_precursor_with_the_sign_of_its_ions(self):
        expected = self.block(7, 2, "+", 0, "650.320000") + self.block(9, 3, "-", 0, "400.000000")
        self.assertEqual(self.declared(), expected)

    def test_lines_may_end_with_cr_lf(self):
        self.assertEqual(self.declared("\r\n"), self.declared())


class OneFolderForEachRun(InFolder):
    def test_a_run_whose_name_begins_with_that_of_another_is_not_mistaken_for_it(self):
        tarvek = self.write("tarvek", b'#!/bin/sh\nfor file; do :; done; out=$4; base=$(basename "$2" .ms1)\n'
                                      b'mkdir -p "$out" && echo "$base" >"$out/${base}_HCDFT.mgf"\n')
        tarvek.chmod(0o755)
        options = argparse.Namespace(programs=self.folder, workdir=self.folder / "work", table="IPV.txt", width="2")
        paths = [compare_top.determine(options, Path(f"{name}.ms1"), 1) for name in ("a", "a_b", "a")]
        self.assertEqual([path.read_text().strip() for path in paths], ["a", "a_b", "a"])


class AreaUnderTheCurve(unittest.TestCase):
    def test_it_is_the_share_of_pairs_in_the_right_order(self):
        # Pairs of a true (3, 1) and a false score (2, 0): 3 > 2, 3 > 0, 1 < 2, 1 > 0: three of four.
        self.assertEqual(evaluate.auc([3, 2, 1, 0], [1, 0, 1, 0]), 0.75)
        self.assertEqual(evaluate.auc([2, 1], [0, 1]), 0.0)

    def test_a_tie_counts_half(self):
        # True 1, false 1 and 0: half a pair and a whole one, of two.
        self.assertEqual(evaluate.auc([1, 1, 0], [1, 0, 0]), 0.75)
        self.assertEqual(evaluate.auc([5, 5, 5, 5], [1, 0, 1, 0]), 0.5)

    def test_without_a_pair_there_is_none(self):
        for labels in ([1, 1], [0, 0]):
            self.assertTrue(math.isnan(evaluate.auc([1, 2], labels)))
        self.assertTrue(math.isnan(evaluate.auc([], [])))


class MeasuredCommand(unittest.TestCase):
    def test_much_on_standard_error_does_not_block(self):
        run = load.Measured(["timeout", "20", sys.executable, "-c", "import sys; sys.stderr.write('x' * 300000); sys.exit(3)"])
        self.assertEqual((run.status, len(run.errors)), (3, 300000))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
