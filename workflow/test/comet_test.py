"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "scripts"))
import comet


def match(e_value, protein, scan=1, charge=2, peptide="A", mgf="run_HCDFT.mgf"):
    return {"mgf": mgf, "scan": str(scan), "charge": str(charge), "e-value": str(e_value),
            "plain_peptide": peptide, "protein": protein}


def ranked(proteins):
    return [match(place, protein) for place, protein in enumerate(proteins)]


class Matches(unittest.TestCase):
    def test_a_decoy_is_what_only_decoys_hold(self):
        self.assertTrue(comet.is_decoy(match(1, "DECOY_P1,DECOY_P2")))
        self.assertFalse(comet.is_decoy(match(1, "DECOY_P1,P2")))
        self.assertFalse(comet.is_decoy(match(1, "P_DECOY_")))

    def test_the_best_match_of_a_scan_has_the_lowest_e_value(self):
        best = comet.best_matches([match("2e-3", "P1", scan=7), match("1e-11", "P2", scan=7),
                                   match("1e-5", "P3", scan=8), match("1", "P4", scan=7, mgf="b_HCDFT.mgf")])
        self.assertEqual([one["protein"] for one in best], ["P2", "P3", "P4"])

    def test_among_equal_ones_of_a_scan_nothing_favours_targets(self):
        decoy, target = match(1, "DECOY_P1", charge=2, peptide="K"), match(1, "P1", charge=3, peptide="A")
        self.assertEqual(comet.best_matches([target, decoy]), [decoy])
        decoy, target = match(1, "DECOY_P1", peptide="A"), match(1, "P1", peptide="K")
        self.assertEqual(comet.best_matches([target, decoy]), [decoy])


class QValues(unittest.TestCase):
    def test_a_q_value_is_the_smallest_share_of_decoys_from_its_place_on(self):
        # Shares by hand: 0/1, 1/1, 1/2, 1/3, 2/3; the smallest from the second place on is 1/3.
        matches = ranked(("P1", "DECOY_P1", "P2,DECOY_P2", "P3", "DECOY_P4"))
        self.assertEqual(comet.q_values(matches), [0, 1 / 3, 1 / 3, 1 / 3, 2 / 3])

    def test_equal_e_values_are_not_parted(self):
        # Down to E = 2 there are two targets and one decoy, in whatever order: 1/2 for both places.
        target, decoy = match(2, "P2"), match(2, "DECOY_P3")
        for tie in ([target, decoy], [decoy, target]):
            self.assertEqual(comet.q_values([match(1, "P1"), *tie]), [0, 1 / 2, 1 / 2])

    def test_the_ends(self):
        self.assertEqual(comet.q_values([]), [])
        self.assertEqual(comet.q_values(ranked(("DECOY_P1", "DECOY_P2", "P1"))), [1, 1, 1])

    def test_accepted_are_the_targets_down_to_the_last_place_below_the_rate(self):
        # One decoy among four targets: 1/4 at the end, and 1/1, 1/2, 1/3 before.
        matches = ranked(("P1", "DECOY_P1", "P2", "P3", "P4"))
        names = lambda fdr: [one["protein"] for one in comet.accepted(matches[::-1], fdr)]
        self.assertEqual(names(0.25), ["P1", "P2", "P3", "P4"])
        self.assertEqual(names(0.24), ["P1"])
        self.assertEqual(names(1 / 3), ["P1", "P2", "P3", "P4"])

    def test_one_decoy_in_a_hundred_targets_is_one_per_cent(self):
        self.assertEqual(len(comet.accepted(ranked(["P"] * 100 + ["DECOY_P"]), 0.01)), 100)
        # With 99 targets the decoy would be more; the targets above it stay.
        self.assertEqual(len(comet.accepted(ranked(["P"] * 98 + ["DECOY_P", "P"]), 0.01)), 98)


class Settings(unittest.TestCase):
    def test_they_follow_the_kind_of_scans_in_the_name(self):
        trap = comet.settings_of(Path("a/run_x_ETCIDITMS.mgf"), threads=3, precursor_ppm=5)
        self.assertEqual([trap[f"use_{letter}_ions"] for letter in "ABCXYZ"], list("011011"))
        self.assertEqual((trap["fragment_bin_tol"], trap["num_threads"], trap["peptide_mass_tolerance"]),
                         ("1.0005", "3", "5"))
        orbitrap = comet.settings_of(Path("run_HCDFT.mgf"), isotope_error=3)
        self.assertEqual([orbitrap[f"use_{letter}_ions"] for letter in "ABCXYZ"], list("010010"))
        self.assertEqual((orbitrap["fragment_bin_tol"], orbitrap["isotope_error"]), ("0.02", "3"))

    def test_further_files_of_the_same_scans_have_their_kind_before_the_number(self):
        self.assertEqual(comet.settings_of(Path("run_CIDIT_2.mgf"))["fragment_bin_tol"], "1.0005")

    def test_a_name_without_a_kind_is_refused(self):
        with self.assertRaisesRegex(SystemExit, "run.mgf: the name does not say"):
            comet.settings_of(Path("run.mgf"))


class Enzymes(unittest.TestCase):
    TEXT = "x = 1\n[COMET_ENZYME_INFO]\n1.  Trypsin                1      KR          P\n2.  Trypsin/P    1  KR  -\n"

    def test_an_enzyme_has_the_number_of_comets_list(self):
        self.assertEqual(comet.enzyme_number(self.TEXT, "Trypsin"), "1")
        self.assertEqual(comet.enzyme_number(self.TEXT, "Trypsin/P"), "2")

    def test_one_that_is_not_in_the_list_is_refused(self):
        with self.assertRaisesRegex(SystemExit, "comet-ms knows no enzyme Tryp$"):
            comet.enzyme_number(self.TEXT, "Tryp")


class Counts(unittest.TestCase):
    def test_they_are_those_that_tarvek_tools_prints(self):
        with tempfile.TemporaryDirectory() as folder:
            tools = Path(folder) / "tools"
            tools.write_text('#!/bin/sh\n[ "$*" = "psms --json --decoy-prefix DECOY_ --fdr 0.01 -- a.txt b.txt" ] && echo \'{"scans": 3}\'\n')
            tools.chmod(0o755)
            self.assertEqual(comet.count(tools, ["a.txt", "b.txt"], "--fdr", 0.01), {"scans": 3})

    def test_an_error_is_handed_on(self):
        with tempfile.TemporaryDirectory() as folder:
            tools = Path(folder) / "tools"
            tools.write_text("#!/bin/sh\necho no decoys >&2\nexit 1\n")
            tools.chmod(0o755)
            with self.assertRaisesRegex(SystemExit, "no decoys"):
                comet.count(tools, ["a.txt"])

    def test_without_a_table_nothing_is_counted(self):
        self.assertEqual(set(comet.count("none", []).values()), {0})


class Files(unittest.TestCase):
    def test_an_mgf_has_further_files_for_precursors_of_equal_charge(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = [Path(folder) / name for name in ("r_HCDFT.mgf", "r_HCDFT_2.mgf", "r_HCDFT_3.mgf", "r_HCDFT_5.mgf")]
            for path in paths:
                path.touch()
            self.assertEqual(comet.files_of(paths[0]), paths[:3])

    def test_a_table_of_comet(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "run.txt"
            path.write_text("CometVersion 1\ta date\nscan\tcharge\te-value\n7\t2\t1.5E-03\n")
            self.assertEqual(comet.read_table(path, Path("x/run_HCDFT.mgf")),
                             [{"mgf": "run_HCDFT.mgf", "scan": "7", "charge": "2", "e-value": "1.5E-03"}])

    def test_a_link_replaces_an_older_one_and_spares_the_file_itself(self):
        with tempfile.TemporaryDirectory() as folder:
            target, path = Path(folder) / "a #1", Path(folder) / "b"
            target.write_text("kept")
            for _ in range(2):
                comet.link(path, target)
                self.assertEqual((path.is_symlink(), path.read_text()), (True, "kept"))
            comet.link(target, target)
            self.assertEqual((target.is_symlink(), target.read_text()), (False, "kept"))

    @unittest.skipUnless(shutil.which("comet-ms"), "there is no comet-ms")
    def test_paths_may_hold_what_comet_takes_for_something_else(self):
        with tempfile.TemporaryDirectory() as folder:
            odd, work = Path(folder) / "a #b:1-2", Path(folder) / "work of it"
            odd.mkdir()
            work.mkdir()
            fasta, mgf = odd / "p.fasta", odd / "run_HCDFT.mgf"
            fasta.write_text(">P1\nMKAAAAAAAAAAGGGGGGGGR\n")
            # No match is needed; Comet must read both files.
            mgf.write_text("BEGIN IONS\nTITLE=run.7.7.2.0.dta\nSCANS=7\nCHARGE=2+\nPEPMASS=650.3\n" +
                           "".join(f"{200 + place}.1 10.0\n" for place in range(20)) + "END IONS\n")
            matches = comet.search(mgf, fasta, comet.settings_of(mgf, threads=1), work, "s", subprocess.DEVNULL)
            self.assertEqual([match["mgf"] for match in matches], ["run_HCDFT.mgf"] * len(matches))
            self.assertTrue((work / "s.txt").read_text().splitlines()[1].startswith("scan\t"))


if __name__ == "__main__":
    unittest.main()
