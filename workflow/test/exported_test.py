"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "scripts"))
from exported import main


class Exported(unittest.TestCase):
    def run_main(self, *texts):
        with tempfile.TemporaryDirectory() as folder:
            paths = [str(Path(folder) / f"record{number}") for number in range(len(texts))]
            for path, text in zip(paths, texts):
                Path(path).write_text(text)
            try:
                main(paths)
            except SystemExit as error:
                return str(error).replace(folder + "/", "")
        return ""

    def test_a_run_that_exports_something_is_right(self):
        self.assertEqual(self.run_main("count\tms2_exported\t1\ncount\tms2_read\t9\nleft_out\tx\t8\n"), "")

    def test_a_run_without_ms2_scans_is_right(self):
        self.assertEqual(self.run_main("count\tms2_exported\t0\ncount\tms2_read\t0\n"), "")

    def test_the_largest_reason_is_named(self):
        record = "setting\tx\t1\ncount\tms2_exported\t0\ncount\tms2_read\t9\nleft_out\ta\t3\nleft_out\tb\t6\n"
        self.assertEqual(self.run_main(record), "record0: none of 9 MS2 scans is exported; 6 left out: b")

    def test_what_was_lost_in_the_extraction_counts(self):
        self.assertEqual(self.run_main("count\tms2_exported\t0\ncount\tms2_read\t0\n",
                                       "All was extracted.\ncount\tms2_read\t7\nleft_out\tno analyser\t7\n"),
                         "record0: none of 7 MS2 scans is exported; 7 left out: no analyser")

    def test_a_record_that_does_not_say_is_an_error(self):
        self.assertIn("does not say", self.run_main("count\tms2_read\t9\n"))
        self.assertIn("record0, line 1: x is no number", self.run_main("count\tms2_exported\tx\n"))


if __name__ == "__main__":
    unittest.main()
