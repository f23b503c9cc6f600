"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import yaml

sys.path.insert(0, str(Path(__file__).parent.parent / "scripts"))
import comet
import comet_settings

DEFAULTS = yaml.safe_load((Path(__file__).parent.parent / "config.yaml").read_text())
PROTON = 1.007276
WATER = 18.010565
# Monoisotopic masses of residues, of published tables.
RESIDUES = {"A": 71.037114, "C": 103.009185, "D": 115.026943, "E": 129.042593, "F": 147.068414, "G": 57.021464,
            "I": 113.084064, "K": 128.094963, "L": 113.084064, "M": 131.040485, "P": 97.052764, "R": 156.101111,
            "S": 87.032028, "T": 101.047679, "V": 99.068414, "Y": 163.063329}


def settings(**config):
    return comet_settings.comet_settings({**DEFAULTS, **config})


def parameters(**config):
    return settings(**config)["parameters"]


class Defaults(unittest.TestCase):
    def test_they_are_carbamidomethyl_oxidation_and_trypsin(self):
        found = parameters()
        self.assertEqual({name: mass for name, mass in found.items() if name.startswith("add_") and float(mass)},
                         {"add_C_cysteine": "57.021464"})
        self.assertEqual(found["variable_mod01"], "15.9949 M 0 3 -1 0 0 0.0")
        self.assertEqual(found["variable_mod02"], "0.0 X 0 3 -1 0 0 0.0")
        self.assertEqual((found["search_enzyme_number"], found["allowed_missed_cleavage"],
                          found["peptide_mass_tolerance"]), ("Trypsin", "2", "20"))
        self.assertEqual(settings()["fragment_tolerance"], {"FT": 0.02, "IT": 1.0005})
        self.assertNotIn("clear_mz_range", found)


class Modifications(unittest.TestCase):
    def test_a_fixed_one_changes_each_of_its_residues(self):
        found = parameters(fixed_modifications="KR+8.5,N-term+1, C-term-2.5,protein-N-term+3 protein-C-term+4")
        named = {name: mass for name, mass in found.items() if name.startswith("add_") and float(mass)}
        self.assertEqual(named, {"add_K_lysine": "8.5", "add_R_arginine": "8.5", "add_Nterm_peptide": "1.0",
                                 "add_Cterm_peptide": "-2.5", "add_Nterm_protein": "3.0", "add_Cterm_protein": "4.0"})

    def test_cysteine_is_bare_when_it_is_not_named(self):
        self.assertEqual(parameters(fixed_modifications=[])["add_C_cysteine"], "0.0")

    def test_variable_ones_fill_comets_slots(self):
        found = parameters(variable_modifications=["STY+79.966331", "N-term+1", "protein-N-term+42.010565", "protein-C-term+2"])
        self.assertEqual([found[f"variable_mod0{slot}"] for slot in range(1, 6)],
                         ["79.966331 STY 0 3 -1 0 0 0.0", "1.0 n 0 1 -1 0 0 0.0", "42.010565 n 0 1 0 0 0 0.0",
                          "2.0 c 0 1 0 1 0 0.0", "0.0 X 0 3 -1 0 0 0.0"])

    def test_mistakes_are_named(self):
        for word in ("C", "57.02", "C57.02", "c+57.02", "C+57,02x", "Nterm+1", "C+1e3", "Oxidation", ""):
            with self.assertRaisesRegex(SystemExit, "variable_modifications: '.*' is not like C\\+57"):
                parameters(variable_modifications=[word])
        for config, pattern in (
                ({"fixed_modifications": "J+1"}, "fixed_modifications: 'J\\+1' has letters that stand for no amino acid"),
                ({"fixed_modifications": "C+0.0"}, "fixed_modifications: 'C\\+0.0' changes nothing"),
                ({"fixed_modifications": "C+1,KC+2"}, "fixed_modifications: two of them change C"),
                ({"variable_modifications": ["M+1"] * 10}, "variable_modifications: 10 of them, and Comet takes 9")):
            with self.assertRaisesRegex(SystemExit, pattern):
                parameters(**config)


class Label(unittest.TestCase):
    def test_it_is_fixed_on_lysine_and_the_n_terminus(self):
        for name, mass in (("TMT", "229.162932"), ("TMTpro", "304.207146")):
            found = parameters(tmt=name)
            self.assertEqual((found["add_K_lysine"], found["add_Nterm_peptide"], found["add_C_cysteine"]),
                             (mass, mass, "57.021464"))

    def test_reporter_ions_are_left_out(self):
        # The lightest has 126.1277, the heaviest of TMT 131.1445 and of TMTpro 135.1516.
        self.assertEqual(parameters(tmt="TMT")["clear_mz_range"], "125.5 131.5")
        self.assertEqual(parameters(tmt="TMTpro")["clear_mz_range"], "125.5 135.5")

    def test_a_word_that_is_no_label_and_a_place_that_is_taken_are_refused(self):
        for name in ("tmt", True, "TMT10"):
            with self.assertRaisesRegex(SystemExit, "tmt is '.*' and neither empty nor TMT nor TMTpro"):
                parameters(tmt=name)
        for place in ("K", "N-term"):
            with self.assertRaisesRegex(SystemExit, f"fixed_modifications: {place} has the label of tmt already"):
                parameters(tmt="TMT", fixed_modifications=f"{place}+8.014199")


class EnzymeAndTolerances(unittest.TestCase):
    def test_a_misspelt_enzyme_is_answered_with_the_nearest(self):
        with self.assertRaisesRegex(SystemExit, "enzyme is 'Tripsin' and none of No_enzyme, .*; did you mean Trypsin"):
            parameters(enzyme="Tripsin")

    def test_what_is_out_of_range_is_refused(self):
        for name, value in (("missed_cleavages", 6), ("missed_cleavages", "two"), ("precursor_ppm", 0),
                            ("precursor_ppm", "20 ppm"), ("fragment_da_ft", 0), ("fragment_da_it", 3)):
            with self.assertRaisesRegex(SystemExit, f"{name} is '{value}' and not a (whole )?number from"):
                settings(**{name: value})

    def test_they_reach_comet(self):
        found = settings(enzyme="Lys_C", missed_cleavages=0, precursor_ppm=4.5, fragment_da_ft=0.05)
        self.assertEqual((found["parameters"]["search_enzyme_number"], found["parameters"]["sample_enzyme_number"],
                          found["parameters"]["allowed_missed_cleavage"], found["parameters"]["peptide_mass_tolerance"],
                          found["fragment_tolerance"]["FT"]), ("Lys_C", "Lys_C", "0", "4.5", 0.05))


def masses_of(peptide, added):
    """Residue masses; added: place (0 first, -1 last) -> what a modification adds there."""
    masses = [RESIDUES[letter] for letter in peptide]
    for place, mass in added.items():
        masses[place] += mass
    return masses


def mgf_block(peptide, added, scan):
    """A spectrum of the b and y ions of a peptide of charge 2."""
    masses = masses_of(peptide, added)
    ions = sorted([sum(masses[:cut]) + PROTON for cut in range(1, len(masses))] +
                  [sum(masses[cut:]) + WATER + PROTON for cut in range(1, len(masses))])
    peaks = "".join(f"{mz:.5f} 100.0\n" for mz in ions)
    return (f"BEGIN IONS\nTITLE=run.{scan}.{scan}.2.0.dta\nSCANS={scan}\nCHARGE=2+\n"
            f"PEPMASS={(sum(masses) + WATER) / 2 + PROTON:.6f}\n{peaks}END IONS\n")


@unittest.skipUnless(shutil.which("comet-ms"), "there is no comet-ms")
class Searches(unittest.TestCase):
    """Comet finds a spectrum made by hand with the settings that fit it, and not with others."""

    PROTEIN = "MSSAVLEEPGIFKLLVESPTYIDRDAFGLTIPEKVVTCELGSIRLSGYEAIPMTDR"

    def found(self, peptide, added, **config):
        with tempfile.TemporaryDirectory() as folder:
            mgf, fasta = Path(folder) / "run_HCDFT.mgf", Path(folder) / "p.fasta"
            mgf.write_text(mgf_block(peptide, added, 7))
            fasta.write_text(f">P1\n{self.PROTEIN}\n")
            chosen = {**comet.settings_of(mgf, threads=1), **parameters(**config), "minimum_peaks": "5"}
            matches = comet.search(mgf, fasta, chosen, Path(folder), "s", subprocess.DEVNULL)
            # All ions of the spectrum are those of the peptide.
            return any(match["plain_peptide"] == peptide and not comet.is_decoy(match) and
                       match["ions_matched"] == match["ions_total"] for match in matches)

    def test_tmt_labels_lysine_and_the_n_terminus(self):
        both = {0: 229.162932, -1: 229.162932}
        self.assertTrue(self.found("DAFGLTIPEK", both, tmt="TMT"))
        self.assertFalse(self.found("DAFGLTIPEK", both))
        self.assertFalse(self.found("DAFGLTIPEK", {}, tmt="TMT"))
        self.assertTrue(self.found("LLVESPTYIDR", {0: 304.207146}, tmt="TMTpro"))

    def test_fixed_and_variable_modifications(self):
        carbamidomethyl, oxidised = {4: 57.021464}, {8: 15.9949}
        self.assertTrue(self.found("VVTCELGSIR", {3: 57.021464}))
        self.assertFalse(self.found("VVTCELGSIR", {3: 57.021464}, fixed_modifications=[]))
        self.assertFalse(self.found("VVTCELGSIR", carbamidomethyl))
        self.assertTrue(self.found("LSGYEAIPMTDR", oxidised))
        self.assertFalse(self.found("LSGYEAIPMTDR", oxidised, variable_modifications=[]))
        self.assertTrue(self.found("LLVESPTYIDR", {4: 79.966331}, variable_modifications="M+15.9949,STY+79.966331"))

    def test_an_acetylated_protein_and_not_any_peptide(self):
        acetyl = "protein-N-term+42.010565"
        self.assertTrue(self.found("MSSAVLEEPGIFK", {0: 42.010565}, variable_modifications=acetyl))
        self.assertTrue(self.found("SSAVLEEPGIFK", {0: 42.010565}, variable_modifications=acetyl))
        self.assertFalse(self.found("LLVESPTYIDR", {0: 42.010565}, variable_modifications=acetyl))
        self.assertTrue(self.found("LLVESPTYIDR", {0: 42.010565}, variable_modifications="N-term+42.010565"))

    def test_the_enzyme_and_its_missed_cleavages(self):
        long = "LLVESPTYIDRDAFGLTIPEK"
        self.assertTrue(self.found(long, {}, enzyme="Lys_C", missed_cleavages=0))
        self.assertTrue(self.found(long, {}, missed_cleavages=1))
        self.assertFalse(self.found(long, {}, missed_cleavages=0))
        self.assertTrue(self.found("ESPTYIDRDAF", {}, enzyme="No_enzyme"))

    def test_comet_knows_all_enzymes(self):
        with tempfile.TemporaryDirectory() as folder:
            for number, enzyme in enumerate(comet_settings.ENZYMES):
                path = Path(folder) / "c.params"
                comet.write_parameters(path, parameters(enzyme=enzyme))
                self.assertIn(f"\nsearch_enzyme_number = {number} ", path.read_text())


if __name__ == "__main__":
    unittest.main()
