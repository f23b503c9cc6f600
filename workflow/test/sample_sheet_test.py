"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "scripts"))
from sample_sheet import extraction_environment, joint_environment, read_samples

PRESETS = Path(__file__).parent.parent.parent / "data/presets"
CONFIG = {"isolation_width": 2.0, "charge_range": "2t6", "fasta": "", "auto": False, "preset": "",
          "preset_folder": str(PRESETS)}


class SampleSheet(unittest.TestCase):
    def read(self, text, **config):
        with tempfile.TemporaryDirectory() as folder:
            self.sheet = Path(folder) / "samples.tsv"
            self.sheet.write_bytes(text if isinstance(text, bytes) else text.encode())
            return read_samples(str(self.sheet), {**CONFIG, **config})

    def message(self, text):
        with self.assertRaises(SystemExit) as caught:
            self.read(text)
        return str(caught.exception)

    def test_paths_are_relative_to_the_sheet(self):
        sample = self.read("sample\tfile\na\tx/b.c.mzML.gz\n")["a"]
        self.assertEqual(sample.file, str(self.sheet.parent / "x/b.c.mzML.gz"))
        self.assertEqual((sample.ending, sample.kind), (".mzML.gz", "xml"))

    def test_settings_of_a_sample_come_before_those_of_the_configuration(self):
        samples = self.read("sample\tfile\tisolation_width\tcharge_range\tfaims\tfasta\n"
                            "a\ta.RAW\t1.6\t-3t-1\t-45\tp.fasta\n"
                            "b\tb.wiff\t\t\t\t\n", fasta="/q.fasta")
        a, b = samples.values()
        self.assertEqual((a.isolation_width, a.charge_range, a.extractor_options, a.kind),
                         (1.6, "-3t-1", "--faims -45", "raw"))
        self.assertTrue(a.fasta.endswith("/p.fasta"))
        self.assertEqual((b.isolation_width, b.charge_range, b.extractor_options, b.kind, b.fasta),
                         (2.0, "2t6", "", "wiff", "/q.fasta"))

    def settings(self, row, **config):
        head = "sample\tfile\tisolation_width\tcharge_range\n"
        return self.read(head + f"a\ta.mzML\t{row}\n", **config)["a"].settings_options

    def test_the_sheet_wins_then_the_preset_then_auto_then_the_configuration(self):
        self.assertEqual(self.settings("\t"), "--width=2 --charges=2t6")
        self.assertEqual(self.settings("1.6\t-3t-1"), "--width=1.6 --charges=-3t-1")
        self.assertEqual(self.settings("\t", auto=True), "--auto")
        self.assertEqual(self.settings("1.6\t", auto=True), "--auto --width=1.6")
        self.assertEqual(self.settings("\t", preset="velos"), "--preset velos")
        self.assertEqual(self.settings("\t1t3", preset="velos", auto=True), "--auto --preset velos --charges=1t3")
        self.assertEqual(self.settings("\t", preset="n15"), "--preset n15 --width=2")

    def test_a_preset_that_is_not_installed_is_refused(self):
        for preset in ("velo", "../presets/velos"):
            with self.assertRaisesRegex(SystemExit, "and none of lipid, lumos, n15, qe, topdown, velos"):
                self.settings("\t", preset=preset)

    def test_empty_lines_are_passed_over(self):
        self.assertEqual(list(self.read("sample\tfile\r\n\r\na\ta.mzML\r\n\t\r\n")), ["a"])

    def test_mistakes_are_named_with_their_line(self):
        head = "sample\tfile\n"
        self.assertIn(":3: sample a stands twice", self.message(head + "a\ta.mzML\na\tb.mzML\n"))
        self.assertIn(":2: sample 'a.b' may hold", self.message(head + "a.b\ta.mzML\n"))
        self.assertIn(":2: a sample cannot be called report", self.message(head + "report\ta.mzML\n"))
        self.assertIn(":2: a.txt is none of", self.message(head + "a\ta.txt\n"))
        self.assertIn(":2: sample a has no file", self.message(head + "a\t\n"))
        self.assertIn(":2: more fields", self.message(head + "a\ta.mzML\tb\n"))
        self.assertIn("no column file", self.message("sample,file\n"))
        self.assertIn("unknown column width", self.message("sample\tfile\twidth\n"))
        self.assertIn("no samples", self.message(head))
        self.assertIn("are numbers", self.message("sample\tfile\tfaims\na\ta.mzML\tx\n"))
        self.assertIn("column file stands twice", self.message("sample\tfile\tfile\na\ta.mzML\tb.mzML\n"))

    def test_a_name_that_programs_would_take_for_an_option_is_refused(self):
        self.assertIn(":2: sample '-a' may hold", self.message("sample\tfile\n-a\ta.mzML\n"))
        self.assertEqual(list(self.read("sample\tfile\n_a-\ta.mzML\n")), ["_a-"])

    def test_settings_that_are_none_are_refused(self):
        for width in ("nan", "inf", "0", "-1"):
            self.assertIn(":2: isolation_width is ", self.message(
                f"sample\tfile\tisolation_width\na\ta.mzML\t{width}\n"))
        for charges in ("two", "2", "226", "2t", "t6"):
            self.assertIn(f":2: charge_range is '{charges}' and not", self.message(
                f"sample\tfile\tcharge_range\na\ta.mzML\t{charges}\n"))
        self.assertIn(":2: faims is nan", self.message("sample\tfile\tfaims\na\ta.mzML\tnan\n"))

    def test_a_sheet_in_another_encoding_is_named(self):
        for encoding in ("latin-1", "utf-16"):
            message = self.message("sample\tfile\na\tr\u00fcn.mzML\n".encode(encoding))
            self.assertIn(str(self.sheet), message)
            self.assertIn("no UTF-8 text", message)
        self.assertIn("r\u00fcn.mzML", self.read("sample\tfile\na\tr\u00fcn.mzML\n".encode("utf-8-sig"))["a"].file)


class ExtractionEnvironment(unittest.TestCase):
    def test_it_holds_what_the_configuration_says(self):
        self.assertEqual(extraction_environment({"analyser": "", "activation": None}), "")
        self.assertEqual(extraction_environment({"analyser": "ms1=FTMS,ms2=ITMS", "activation": "ETD"}),
                         "TARVEK_ANALYSER=ms1=FTMS,ms2=ITMS TARVEK_ACTIVATION=ETD")
        self.assertEqual(extraction_environment({"analyser": "ITMS", "activation": ""}), "TARVEK_ANALYSER=ITMS")

    def test_other_words_are_refused(self):
        for analyser in ("quadrupole", "FTMS; rm x", "ms3=FTMS", "ftms"):
            with self.assertRaisesRegex(SystemExit, "analyser is '"):
                extraction_environment({"analyser": analyser, "activation": ""})
        with self.assertRaisesRegex(SystemExit, "activation is 'hcd' and none of HCD"):
            extraction_environment({"analyser": "", "activation": "hcd"})


class JointEnvironment(unittest.TestCase):
    def test_it_holds_the_probability(self):
        self.assertEqual(joint_environment({"joint": ""}), "")
        self.assertEqual(joint_environment({"joint": None}), "")
        self.assertEqual(joint_environment({"joint": 0}), "TARVEK_JOINT=0")
        self.assertEqual(joint_environment({"joint": "0.30"}), "TARVEK_JOINT=0.3")

    def test_what_is_no_probability_is_refused(self):
        for joint in ("often", "1.5", -0.1, "nan", "0.3; rm x"):
            with self.assertRaisesRegex(SystemExit, "is not a probability|not a probability from 0 to 1"):
                joint_environment({"joint": joint})


if __name__ == "__main__":
    unittest.main()
