"""The net of tests/hostile catches what it is for: programs that do each wrong thing, on purpose."""
import os
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import cases  # noqa: E402
import hostile  # noqa: E402
import judge  # noqa: E402
import roads  # noqa: E402
import samples  # noqa: E402

HEADER = ("ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, PrecursorIdentifier, MZ, Charge\n"
          "HCD, FT, 2, 500.250000, 2, 1, 1, 500.250000, 2, \n")


class Verdicts(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.place = Path(self._folder.name).resolve() / "case"
        (self.place.parent / "console").mkdir()

    def tearDown(self):
        self._folder.cleanup()

    def of(self, script, rows=None, wall=judge.WALL_SECONDS):
        """The verdicts on a program of the shell that is to write out/run.csv."""
        case = cases.instrument("test", samples.mzml(), rows=rows)
        hostile.prepare(case, self.place, None)
        before = judge.snapshot(self.place)
        out = str(self.place / "out")
        road = roads.Road("tarvek", ["/bin/sh", "-c", f"mkdir -p ../out; cat > ../table <<'END'\n{HEADER}END\n"
                                     f"mv ../table ../out/run.csv;{script}"], [out],
                          table=os.fsencode(out + "/run.csv"), is_main=True)
        ran = judge.run(road.argv, self.place / "cwd", hostile.environment(self.place), self.place.parent / "console", wall=wall)
        found, _ = hostile.verdicts_of(case, road, ran, before, self.place, {}, False)
        return sorted({verdict for verdict, _ in found})

    def test_a_good_run_has_none(self):
        self.assertEqual(self.of("echo fine", rows=1), [])

    def test_a_signal(self):
        self.assertEqual(self.of("rm ../out/run.csv; kill -SEGV $$"), [judge.SIGNAL])

    def test_a_program_that_hangs(self):
        self.assertIn(judge.TIME, self.of("sleep 20", wall=0.3))

    def test_memory(self):
        self.assertEqual(self.of("/usr/bin/python3 -c 'x = b\"x\" * 300000000'"), [judge.MEMORY])

    def test_a_shell(self):
        self.assertIn(judge.SHELL, self.of("touch pwned"))
        self.assertIn(judge.SHELL, self.of("touch ../out/pwned"))

    def test_status_0_without_a_table(self):
        self.assertEqual(self.of("rm ../out/run.csv"), [judge.NO_TABLE])

    def test_a_table_that_is_cut(self):
        self.assertEqual(self.of("printf 'HCD, FT, 3' >> ../out/run.csv"), [judge.HALF])

    def test_a_table_after_a_failure(self):
        self.assertEqual(self.of("exit 1"), [judge.HALF])

    def test_a_good_input_that_is_refused(self):
        self.assertEqual(self.of("rm ../out/run.csv; exit 1", rows=1), [judge.REFUSED])

    def test_an_input_that_changes(self):
        self.assertEqual(self.of("echo x >> ../in/run.mzML"), [judge.OUTSIDE])

    def test_a_file_beside_the_outputs(self):
        self.assertEqual(self.of("echo x > ../outside/new"), [judge.OUTSIDE])

    def test_escapes_and_forged_lines(self):
        self.assertEqual(self.of("printf '\\033[31m'"), [judge.LOG])
        self.assertEqual(self.of("printf 'name\\nforged line\\n'"), [judge.LOG])
        self.assertEqual(self.of("printf '\\377\\376 no UTF-8\\n' > ../out/TarvekPlusLog.txt"), [judge.LOG])

    def test_markup(self):
        self.assertEqual(self.of("echo '<img src=x onerror=pwned></html>' > ../out/run.html"), [judge.PAGE])

    def test_a_page_that_is_cut(self):
        self.assertEqual(self.of("echo '<html>' > ../out/run.html"), [judge.HALF])

    def test_a_sanitizer_and_a_traceback(self):
        self.assertEqual(self.of("echo '==1==ERROR: AddressSanitizer: heap'"), [judge.SANITIZER])
        self.assertEqual(self.of("/usr/bin/python3 -c 'raise KeyError' || true"), [judge.TRACE])


class Cases(unittest.TestCase):
    def test_they_are_many_and_have_names_of_their_own(self):
        names = [case.name for case in cases.all_cases(1, 60)]
        self.assertGreater(len(names), 400)
        self.assertEqual(len(names), len(set(names)))

    def test_the_seed_decides_the_random_ones(self):
        for number in range(10):
            self.assertEqual(cases.randomly_changed(samples.mzml(), number), cases.randomly_changed(samples.mzml(), number))
        self.assertNotEqual(cases.randomly_changed(samples.mzml(), 1), cases.randomly_changed(samples.mzml(), 2))

    def test_a_sample_has_some_of_each_group(self):
        every = list(cases.all_cases(1, 60))
        sample = hostile.chosen(every, True, None)
        self.assertEqual({case.name.split("/")[0] for case in sample}, {case.name.split("/")[0] for case in every})


if __name__ == "__main__":
    unittest.main()
