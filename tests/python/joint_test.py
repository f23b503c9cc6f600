"""The fit of the joint determination: labels, model and figures on cases made by hand.

joint_test.py SOURCE_DIRECTORY
"""
import math
import sys
import tempfile
import unittest
import unittest.mock
from pathlib import Path

SOURCE = Path(sys.argv[1]).resolve()
sys.path[:0] = [str(SOURCE / "scripts"), str(SOURCE / "training")]

import numpy as np  # noqa: E402

import joint_eval  # noqa: E402
import joint_labels  # noqa: E402
import joint_model  # noqa: E402
import joint_runs  # noqa: E402
from joint_model import Model, Steps, Table  # noqa: E402

ISOTOPE = 1.00286864


def match(scan, e_value, peptide="PEPTIDER", protein="P1", charge="2", mass=1000.0, theory=1000.0, mgf="a.mgf"):
    return {"mgf": mgf, "scan": str(scan), "e-value": str(e_value), "plain_peptide": peptide,
            "modified_peptide": f"K.{peptide}.A", "protein": protein, "charge": charge,
            "exp_neutral_mass": str(mass), "calc_neutral_mass": str(theory)}


def table(rows, identified, names=("x",)):
    """rows: scan, m/z, charge, label; the only feature is 0."""
    scan, mz, charge, label = (np.array(column, float) for column in zip(*rows))
    return Table("t", scan.astype(int), mz, charge.astype(int), names, np.zeros((len(rows), len(names))), label,
                 identified)


class Conceivable(unittest.TestCase):
    def test_peaks_nearer_than_the_tolerance_are_one_weighted_by_intensity(self):
        # 100.0005 is 5 ppm above 100: (100 + 3 * 100.0005) / 4.
        centres = joint_labels.cluster([200.0, 100.0005, 100.0], [2.0, 3.0, 1.0], 8.0)
        np.testing.assert_allclose(centres, [100.000375, 200.0], rtol=0, atol=1e-9)

    def test_nothing_comes_of_no_peaks(self):
        self.assertEqual(list(joint_labels.cluster([], [], 8.0)), [])
        self.assertEqual(joint_labels.conceivable(np.empty(0), 500.0, 1.0, ()), [])

    def test_a_peak_with_a_partner_gives_itself_and_three_isotopes_down(self):
        peaks = np.array([500.0, 500.0 + ISOTOPE / 2])
        found = joint_labels.conceivable_of_charge(peaks, 2, 500.0, 1.0)
        np.testing.assert_allclose(found, [500.0 - below * ISOTOPE / 2 for below in range(4)], atol=1e-9)
        self.assertEqual(joint_labels.conceivable_of_charge(peaks, 3, 500.0, 1.0), [])

    def test_no_isotope_in_the_window_no_precursor(self):
        # Six isotopes of charge 2 reach 2.5 m/z above the first.
        peaks = np.array([500.0, 500.0 + ISOTOPE / 2])
        self.assertEqual(joint_labels.conceivable_of_charge(peaks, 2, 504.0, 1.0), [])
        # From 502.1 on: 500 + 2.507 is inside, 499.499 + 2.507 is not.
        self.assertEqual(joint_labels.conceivable_of_charge(peaks, 2, 503.2, 1.0), [500.0])

    def test_peptides_too_light_to_be_searched_are_none(self):
        # 500 as charge 1 is 499 Da, under 600.
        peaks = np.array([500.0, 500.0 + ISOTOPE])
        self.assertEqual(joint_labels.conceivable_of_charge(peaks, 1, 500.0, 1.0), [])

    def test_the_declared_ion_is_one_without_any_peak(self):
        found = joint_labels.conceivable(np.empty(0), 650.0, 1.0, ((650.0, 2),))
        self.assertEqual([charge for _, charge in found], [2] * 4)
        np.testing.assert_allclose([mz for mz, _ in found],
                                   [650.0 - below * ISOTOPE / 2 for below in (3, 2, 1, 0)], atol=1e-9)


class Searched(unittest.TestCase):
    def test_leucine_and_isoleucine_are_one_peptide_of_a_scan(self):
        best = joint_runs.one_a_peptide([match(1, 0.5, "PLK"), match(1, 0.1, "PIK"), match(2, 0.2, "PLK")])
        self.assertEqual([(row["scan"], row["e-value"]) for row in best], [("1", "0.1"), ("2", "0.2")])

    def test_scans_of_two_files_are_two(self):
        count = joint_runs.count_of(2, [match(1, 1e-5, mgf="a.mgf"), match(1, 1e-5, mgf="b.mgf")])
        self.assertEqual(count, (2, 2, 2, 2))

    def test_counts_of_scans_peptides_and_sure_ones(self):
        # Below E 0.01 two scans with three peptides, two of them sure; the decoy cuts off the rest:
        # one decoy per three targets is more than 1 %.
        found = [match(1, 1e-6), match(1, 1e-4, "ELVISR"), match(2, 0.01), match(3, 0.02, "RVDE", "DECOY_P1"),
                 match(4, 0.03, "SAMPLER")]
        self.assertEqual(joint_runs.count_of(9, found), (9, 2, 3, 2))

    def test_matches_far_from_the_errors_of_the_run_are_not_accepted(self):
        near = [match(scan, 1e-5, mass=1000.005) for scan in range(1, 6)]  # 5 ppm, on m/z a little less
        accepted, bias = joint_labels.accept([*near, match(9, 1e-6, mass=999.99)])  # -10 ppm
        self.assertEqual(sorted(row["scan"] for row in accepted), list("12345"))
        self.assertAlmostEqual(bias, 5 * 1000 / (1000 + 2 * 1.007276), places=2)

    def test_the_candidate_nearest_to_the_peptide_in_this_run_is_its_observation(self):
        # Theory 501.007276; 4 ppm above it is 501.00928.
        self.assertEqual(joint_labels.best_observed(match(1, 1), [501.0070, 501.0091, 501.0130], 4.0), 501.0091)

    def test_a_scan_is_read_from_its_lines(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "a.ms2"
            path.write_text("H\tExtractor\tx\nS\t7\t7\t650.32\nI\tRetTime\t12.5\nI\tInstrumentType\tITMS\n"
                            "I\tActivationType\tCID\nI\tActivationCenter\t650.5\nZ\t2\t1299.632724\n100.5 3.0\n"
                            "200.5 4.0\n")
            (scan,) = joint_runs.read_scans(path)
        self.assertEqual((scan.number, scan.rt_seconds, scan.kind, scan.centre_mz), (7, 12.5, "CIDIT", 650.5))
        # (1299.632724 + 1.007276) / 2
        self.assertAlmostEqual(scan.declared[0][0], 650.32, places=9)
        self.assertEqual([list(values) for values in scan.spectrum()], [[100.5, 200.5], [3.0, 4.0]])
        self.assertEqual(joint_runs.mgf_block("a", scan, 650.32, 2),
                         "BEGIN IONS\nTITLE=a.7.7.2.0.dta\nCHARGE=2+\nRTINSECONDS=12.5000\nPEPMASS=650.320000\n"
                         "100.5 3.0\n200.5 4.0\nEND IONS\n")


class Labels(unittest.TestCase):
    def test_other_charges_isotopes_and_harmonics_overlap(self):
        for name, mz, charge, expected in (
                ("its m/z, another charge", 500.0, 3, True), ("an isotope above", 500.0 + ISOTOPE / 2, 2, True),
                ("an isotope below", 500.0 - ISOTOPE / 2, 2, True),
                ("charge 4 at the second isotope", 500.0 + ISOTOPE / 2, 4, True),
                ("begins below, and its second peak is the ion's first", 500.0 - ISOTOPE / 3, 3, True),
                ("between the isotopes", 500.3, 2, False), ("far above", 505.0, 2, False)):
            with self.subTest(name):
                self.assertEqual(joint_model.overlaps(mz, charge, 500.0, 2), expected)

    def test_what_is_not_known_of_a_real_run_weighs_little(self):
        nan = math.nan
        rows = [(1, 500.0, 2, 1), (1, 500.0, 3, 0), (1, 500.0, 6, nan), (1, 503.3, 2, nan), (2, 500.0, 2, nan)]
        label, weight = joint_model.labels_of_real(table(rows, {1: [(500.0, 2)]}))
        self.assertEqual(list(label), [1, 0, 0, 0, 0])
        self.assertEqual(list(weight), [1, 1, 1, joint_model.REST_WEIGHT, joint_model.UNKNOWN_SCAN_WEIGHT])

    def test_real_and_simulated_runs_share_the_weight(self):
        real = table([(1, 500.0, 2, 1)], {1: [(500.0, 2)]})
        simulated = table([(1, 500.0, 2, 1), (1, 600.0, 2, 0), (1, 700.0, 2, math.nan)], None)
        _, labels, weights = joint_model.pool([real, simulated], real_share=0.25)
        self.assertEqual(list(labels), [1, 1, 0, 0])
        self.assertEqual(list(weights), [1.0, 1.5, 1.5, 0.0])  # a quarter of four rows, and the rest


class AdditiveModel(unittest.TestCase):
    MODEL = Model(("x", "y"), 0.5, (Steps(np.array([1.0, 2.0]), np.array([-1.0, 0.25, 3.0])),
                                    Steps(np.array([]), np.array([0.125]))), ((-1.0, -2.0), (1.0, 2.0), (2.0, 3.0)))

    def test_a_value_holds_up_to_its_threshold(self):
        x = [0.0, 1.0, 1.0000001, 2.0, 2.5]
        scores = joint_model.score(self.MODEL, np.array([[value, 7.0] for value in x]))
        self.assertEqual(list(scores), [-0.375, -0.375, 0.875, 0.875, 3.625])

    def test_the_curve_is_flat_beyond_its_knots(self):
        scores = np.array([-2.0, -1.0, 0.5, 1.0, 1.5, 2.0, 4.0])
        self.assertEqual(list(joint_model.log_odds(self.MODEL, scores)), [-2.0, -2.0, 1.0, 2.0, 2.5, 3.0, 3.0])

    def test_even_odds_are_one_half(self):
        self.assertEqual(joint_model.logistic(np.array([0.0, math.log(3)]))[0], 0.5)
        self.assertAlmostEqual(joint_model.logistic(np.array([math.log(3)]))[0], 0.75, places=12)
        self.assertEqual(list(joint_model.logistic(np.array([-1e4, 1e4]))), [joint_model.logistic(-700.0), 1.0])

    def test_stumps_of_a_feature_add_up(self):
        # (5: -1 | 1) and (3: 10 | 0), and one at 5 again: up to 3: -1 + 10 - 2, up to 5: -1 - 2, beyond: 1 + 2.
        steps = joint_model.steps_of(np.array([1.0, 4.0, 6.0]), [(5.0, -1.0, 1.0), (3.0, 10.0, 0.0), (5.0, -2.0, 2.0)])
        self.assertEqual((list(steps.thresholds), list(steps.values)), ([3.0, 5.0], [7.0, -3.0, 3.0]))

    def test_a_threshold_between_equal_values_is_none(self):
        steps = joint_model.steps_of(np.array([1.0, 4.0]), [(3.0, 1.0, 2.0), (3.0, 1.0, 0.0)])
        self.assertEqual((list(steps.thresholds), list(steps.values)), ([], [2.0]))

    def test_a_threshold_keeps_its_digits_where_nine_would_move_a_value(self):
        self.assertEqual(joint_model.rounded_threshold(0.1234567891234, np.array([0.1, 0.2])), 0.123456789)
        self.assertEqual(joint_model.rounded_threshold(0.1234567891234, np.array([0.1234567891, 0.2])), 0.1234567891234)

    def test_neighbours_that_fall_are_pooled(self):
        # 3 and 1 with weights 1 and 3: 1.5; then 4 and 2: 3.
        self.assertEqual(joint_model.rising([0.0, 3.0, 1.0, 4.0, 2.0], [1, 1, 3, 1, 1]), [0.0, 1.5, 1.5, 3.0, 3.0])

    def test_the_logistic_fit_of_two_scores_is_their_log_odds(self):
        # 1 of 4 true at score -1, 3 of 4 at 1: log odds -ln 3 and ln 3.
        slope, intercept = joint_model.platt(np.array([-1.0] * 4 + [1.0] * 4), np.array([1, 0, 0, 0, 1, 1, 1, 0.0]))
        self.assertAlmostEqual(slope, math.log(3), places=6)
        self.assertAlmostEqual(intercept, 0.0, places=6)

    def test_knots_rise_and_undo_a_wrong_scale(self):
        # Scores are half the log odds: the curve has to double them.
        random = np.random.default_rng(1)
        truth = random.normal(0, 3, 200000)
        labels = (random.random(200000) < joint_model.logistic(truth)).astype(float)
        knots = joint_model.calibration_knots(truth / 2, labels)
        self.assertTrue(all(a[0] < b[0] and a[1] < b[1] for a, b in zip(knots, knots[1:])))
        model = self.MODEL._replace(knots=knots)
        for score in (-1.5, -0.5, 0.0, 0.7, 1.6):
            self.assertAlmostEqual(float(joint_model.log_odds(model, np.array([score]))[0]), 2 * score, delta=0.12)

    def test_the_source_holds_the_model_to_the_bit(self):
        odd = self.MODEL._replace(intercept=-1.0 / 3.0)
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "JointModelTable.cpp"
            path.write_text(joint_model.cpp_of(odd, "Note."))
            again = joint_model.model_of_cpp(path)
        self.assertEqual((again.names, again.intercept, again.knots), (odd.names, odd.intercept, odd.knots))
        for one, other in zip(again.steps, odd.steps):
            self.assertEqual((list(one.thresholds), list(one.values)), (list(other.thresholds), list(other.values)))

    def test_runs_of_a_sample_are_left_out_together(self):
        self.assertEqual([joint_runs.group_of(name) for name in ("HEK293_2_16173", "HEK293_4_11989", "dense")],
                         ["hek293-velos", "hek293-velos", "dense"])
        for groups, folds, expected in ((["a", "a", "b"], 0, ["2", "2", "01"]),
                                        (["a", "b", "c"], 2, ["1", "02", "1"])):
            fit = unittest.mock.patch.object(joint_model, "fit", lambda tables, _: "".join(tables))
            with self.subTest(groups=groups), fit:
                self.assertEqual(joint_model.models_without(["0", "1", "2"], groups, None, folds), expected)
        with self.assertRaisesRegex(SystemExit, "All runs are of one group"):
            joint_model.models_without(["0", "1"], ["a", "a"])

    def test_a_table_of_features_is_read_with_what_was_identified(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "run.features.tsv"
            path.write_text("scan\tmz\tcharge\tx\tlabel\n3\t500.25\t2\t0.5\tNA\n4\t600.5\t-3\t1.5\t1\n")
            self.assertIsNone(joint_model.read_table(path).identified)
            (Path(folder) / "run.identified.tsv").write_text("scan\tmz\tcharge\tpeptide\n3\t500.25\t2\tPEK\n")
            read = joint_model.read_table(path)
            path.write_text("scan\tmz\tcharge\tx\tlabel\n3\t500.25\t2\tnan\t1\n")
            with self.assertRaisesRegex(SystemExit, "run.features.tsv: a feature is not a finite number"):
                joint_model.read_table(path)
        self.assertEqual((read.name, list(read.scan), list(read.charge), read.names), ("run", [3, 4], [2, -3], ("x",)))
        self.assertEqual(read.identified, {3: [(500.25, 2)]})
        self.assertTrue(math.isnan(read.label[0]) and read.label[1] == 1)


class Figures(unittest.TestCase):
    TRUTHS = {1: [joint_eval.Truth(500.0, 2, 0.8, True), joint_eval.Truth(501.2, 3, 0.12, False),
                  joint_eval.Truth(499.4, 2, 0.02, False)]}

    def figures(self, *ions):
        return {name: tuple(parts) for name, parts in joint_eval.tally({1: list(ions)}, self.TRUTHS).items()}

    def test_the_exact_set_is_every_ion_of_five_percent_and_no_other(self):
        both = ((500.0, 2), (501.2, 3))
        self.assertEqual(self.figures(*both), {
            "precision": (2, 2), "recall_target": (1, 1), "recall_10": (2, 2), "recall_5_15": (1, 1), "exact": (1, 1),
            "wrong_charge": (0, 2), "off_by_one": (0, 2), "precursors": (2, 1)})
        self.assertEqual(self.figures(*both, (499.4, 2))["exact"], (0, 1))
        self.assertEqual(self.figures(both[0])["exact"], (0, 1))
        self.assertEqual(self.figures(both[0], both[0])["exact"], (0, 1))

    def test_errors_are_told_apart(self):
        found = self.figures((500.0, 4), (500.0 + 1.00335 / 2, 2), (507.0, 2))
        self.assertEqual((found["precision"], found["wrong_charge"], found["off_by_one"]), ((0, 3), (1, 3), (1, 3)))

    def test_signs_of_negative_ions_do_not_count(self):
        self.assertEqual(self.figures((-500.0, -2))["precision"], (1, 1))

    def test_a_scan_without_a_precursor_counts(self):
        found = {name: tuple(parts) for name, parts in joint_eval.tally({}, self.TRUTHS).items()}
        self.assertEqual((found["recall_target"], found["exact"], found["precursors"]), ((0, 1), (0, 1), (0, 1)))

    def test_of_one_ion_twice_the_surer_is_chosen(self):
        rows = [(1, 500.001, 2, 0), (1, 500.0, 2, 0), (1, 500.0, 3, 0), (1, 600.0, 2, 0), (2, 700.0, 2, 0)]
        found = joint_eval.chosen(table(rows, None), np.array([0.6, 0.9, 0.5, 0.4, 0.7]), 0.5)
        self.assertEqual(found, {1: [(500.0, 2), (500.0, 3)], 2: [(700.0, 2)]})

    def test_identified_precursors_are_found_again_at_their_charge(self):
        # 500.004 is 8 ppm off, 600.007 is 11.7 ppm off, 700 has another charge, scan 2 has nothing.
        identified = {1: [(500.0, 2), (600.0, 2), (700.0, 2)], 2: [(500.0, 2)]}
        self.assertEqual(joint_eval.identified_chosen({1: [(500.004, 2), (600.007, 2), (700.0, 3)]}, identified), 1)

    def test_a_doubtful_label_counts_as_false_in_the_calibration(self):
        tenths = joint_eval.deciles(np.array([0.05, 0.95, 1.0, 0.91, 0.99]), np.array([0, 1, 1, math.nan, 0]))
        self.assertEqual((tenths[0][0], tenths[0][2]), (1, 0.0))
        self.assertEqual((tenths[9][0], tenths[9][2]), (4, 0.5))
        self.assertEqual(tenths[5][0], 0)

    def test_a_number_of_spectra_gives_the_probability(self):
        tables = [table([(1, 500.0, 2, 0), (1, 600.0, 2, 0)], None), table([(1, 500.0, 2, 0), (1, 500.001, 2, 0)], None)]
        probabilities = [np.array([0.9, 0.3]), np.array([0.8, 0.7])]
        # 0.9 and 0.8 are two spectra; the 0.7 is the same ion as 0.8; the 0.3 is the third.
        for spectra, threshold in ((1, 0.9), (2, 0.7), (3, 0.3), (9, 0.3)):
            self.assertEqual(joint_eval.threshold_of(spectra, tables, probabilities), threshold)

    def test_runs_are_summed_and_ranked_together(self):
        # Alone the second run accepts nothing beyond its decoy. With a hundred targets of the first
        # run it does.
        first = [match(scan, 1e-5) for scan in range(1, 101)]
        second = [match(1, 1e-6, protein="DECOY_P1", mgf="b.mgf"), match(2, 1e-4, mgf="b.mgf")]
        counts = joint_eval.counts_of([(100, first), (2, second)])
        self.assertEqual([tuple(count) for count in counts],
                         [(100, 100, 100, 100), (2, 0, 0, 1), (102, 100, 100, 101), (102, 101, 101, 101)])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
