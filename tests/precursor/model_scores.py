#!/usr/bin/env python3
"""Prints the rows of kScores in ScoringModels_test.cpp, worked out without any code of the program.

Run it when `./dev train` has written new tables. The vectors are those of the test; the formula and the reader
of the tables are those of the golden runs. It ends with an error when a term is 0 in every vector,
since the test would not check its coefficient.
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "golden"))
sys.dont_write_bytecode = True
import expected_outputs as golden  # noqa: E402

FEATURES = ["ipv_0", "ipv_m1", "ipv_m2", "xic_0_1", "xic_m1_0", "elution_share", "window_ratio", "isotope_count",
            "window_isotope_count", "mz_spread", "charge_times_mz", "abs_charge"]
VECTORS = [  # low, middling and high values
    [0.6, -0.2, -0.1, 0.1, 0.2, 0.05, 0.04, 2, 1, 0.1, 600.0, 1],
    [0.981, 0.8, 0.5, 0.95, 0.9, 0.7, 0.3, 4, 3, 2.5, 1500.0, 3],
    [1.0, 0.97, 0.99, 1.0, 0.998, 0.999, 1.75, 5, 5, 14.0, 4400.0, 5],
]
STEPS = 1000


def mean_between(model):
    """The mean score at even steps from the low vector to the high one, so that every knot
    contributes."""
    total = 0.0
    for step in range(STEPS + 1):
        values = [low + step / STEPS * (high - low) for low, high in zip(VECTORS[0], VECTORS[2])]
        total += golden.score_of(model, dict(zip(FEATURES, values)))
    return total / (STEPS + 1)


def main():
    for letter, number in sorted([(letter, number) for number, letter in golden.TABLE_LETTERS.items()] + [("E", 4)]):
        intercept, terms = golden.scoring_model(number)
        vectors = [dict(zip(FEATURES, vector)) for vector in VECTORS]
        for term in terms:
            name, side, low, knot, high, _ = term
            if all(golden.hinge(side, low, knot, high, vector[name]) == 0 for vector in vectors):
                sys.exit(f"model {letter}: {term} is 0 in every vector")
        scores = [golden.score_of((intercept, terms), vector) for vector in vectors]
        scores.append(mean_between((intercept, terms)))
        print(f"    {{&kModel{letter}, {{{', '.join(f'{score:.15g}' for score in scores)}}}}},")


if __name__ == "__main__":
    main()
