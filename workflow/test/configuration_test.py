"""python3 -m unittest discover -s workflow/test -p '*_test.py'"""
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent / "scripts"))
from configuration import check_names, check_switches, count_of, number_of, text_of, words_of


class Configuration(unittest.TestCase):
    def refused(self, pattern, check, *arguments):
        with self.assertRaisesRegex(SystemExit, pattern):
            check(*arguments)

    def test_a_misspelt_setting_is_named_with_the_nearest(self):
        check_names({"enzyme": 1}, {"enzyme": 2, "tmt": 3})
        self.refused("'enzim', which does not exist; did you mean enzyme", check_names, {"enzim": 1}, ["enzyme"])
        self.refused("'colour', which does not exist$", check_names, {"colour": 1}, ["enzyme"])

    def test_a_switch_is_true_or_false(self):
        check_switches({"a": True, "b": False}, ["a", "b"])
        for value in ("yes", 1, None):
            self.refused("a is '.*' and not true or false", check_switches, {"a": value}, ["a"])

    def test_a_number_lies_between_its_ends(self):
        self.assertEqual([number_of({"a": value}, "a", 0, 2) for value in (0, "0.5", 2)], [0, 0.5, 2])
        for value in ("x", "", None, -0.1, 2.1, "nan", True):
            self.refused("a is '.*' and not a number from 0 to 2", number_of, {"a": value}, "a", 0, 2)

    def test_a_count_is_whole(self):
        self.assertEqual([count_of({"a": value}, "a", 0, 5) for value in (0, "3", 5)], [0, 3, 5])
        for value in (6, -1, 1.5, "1.0", "", None, True, "\u00b2"):
            self.refused("a is '.*' and not a whole number from 0 to 5", count_of, {"a": value}, "a", 0, 5)

    def test_texts_and_lists(self):
        self.assertEqual([text_of({"a": value}, "a") for value in (None, " b ", 0)], ["", "b", "0"])
        for value in (["A+1", "B+2"], "A+1, B+2", "A+1 B+2", ("A+1", " B+2 ")):
            self.assertEqual(words_of({"a": value}, "a"), ["A+1", "B+2"])
        self.assertEqual([words_of({"a": value}, "a") for value in ("", None, [])], [[], [], []])


if __name__ == "__main__":
    unittest.main()
