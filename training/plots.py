#!/usr/bin/env python3
"""Pictures of the scoring models: what each feature adds to the score, and precision against recall.

Usage: plots.py SOURCES OUT PICTURES
  SOURCES   folder of the Model*.cpp
  OUT       folder of train.py with the feature tables of the held-out runs
  PICTURES  folder for hinges_MODEL.svg and precision_recall.svg
"""
import pathlib
import re
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt
import numpy

from evaluate import HOME, MODELS, merge, read_rows, read_table

matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "tarvek", "font.size": 9,
                            "axes.spines.top": False, "axes.spines.right": False})
THRESHOLD = -0.34
TERM = re.compile(r"\{&(\w+), \{k(Plus|Minus), ([-\d.e+]+), ([-\d.e+]+), ([-\d.e+]+)\}, ([-\d.e+]+)\}")
TITLES = {"Similarity0": "ipv_similarity_0", "SimilarityM1": "ipv_similarity_m1",
          "SimilarityM2": "ipv_similarity_m2", "Correlation01": "xic_correlation_0_1",
          "CorrelationM1": "xic_correlation_m1_0", "ElutionShare": "elution_share",
          "WindowRatio": "window_intensity_ratio", "IsotopeCount": "isotope_count",
          "WindowIsotopes": "window_isotope_count", "MzSpread": "mz_spread_ppm",
          "ChargeTimesMz": "charge_times_mz", "AbsCharge": "abs_charge"}
METADATA = {"Date": None, "Creator": None}


def save(figure, path):
    """Writes the picture without blanks at line ends and without dates: equal data give equal
    bytes."""
    figure.savefig(path, metadata=METADATA)
    plt.close(figure)
    lines = path.read_text(encoding="utf-8").splitlines()
    path.write_text("".join(line.rstrip() + "\n" for line in lines), encoding="utf-8")


def terms_of(path):
    """[(feature, is_plus, before, t, after, coefficient)] of a table."""
    return [(name, side == "Plus", *map(float, numbers))
            for name, side, *numbers in TERM.findall(path.read_text())]


def hinge(x, is_plus, before, t, after):
    width = after - before
    if is_plus:
        d = x - before
        middle = (2 * after + before - 3 * t) / width**2 * d**2 + (2 * t - after - before) / width**3 * d**3
        return numpy.where(x <= before, 0, numpy.where(x >= after, x - t, middle))
    d = x - after
    middle = ((3 * t - 2 * before - after) / width**2 * d**2
              + (before + after - 2 * t) / -(width**3) * d**3)
    return numpy.where(x <= before, t - x, numpy.where(x >= after, 0, middle))


def draw_hinges(model, terms, data, path):
    features = list(dict.fromkeys(term[0] for term in terms))
    columns = 3
    rows = -(-len(features) // columns)
    figure, axes = plt.subplots(rows, columns, figsize=(9, 2.1 * rows), squeeze=False, sharey=True,
                                layout="constrained")
    for axis in axes.flat[len(features):]:
        axis.set_axis_off()
    for axis, feature in zip(axes.flat, features):
        values = data[TITLES[feature]]
        x = numpy.linspace(numpy.quantile(values, 0.001), numpy.quantile(values, 0.999), 200)
        own = [term for term in terms if term[0] == feature]
        axis.plot(x, sum(term[5] * hinge(x, *term[1:5]) for term in own), color="#1f6f8b")
        for knot in sorted({term[3] for term in own}):
            axis.axvline(knot, color="#bbbbbb", linewidth=0.7, linestyle=":")
        axis.set_title(TITLES[feature], fontsize=9)
    figure.suptitle(f"Model {model.name}: what each feature adds to the score (knots dotted)")
    save(figure, path)


def precision_recall(scores, labels):
    """Recall and precision at each threshold, thinned to 200 points."""
    order = numpy.argsort(-scores, kind="stable")
    true = numpy.cumsum(labels[order])
    places = numpy.unique(numpy.linspace(len(order) // 100, len(order) - 1, 200).astype(int))
    return true[places] / true[-1], true[places] / (places + 1)


def draw_precision_recall(tables, path):
    figure, axes = plt.subplots(2, 3, figsize=(9, 6), sharex=True, sharey=True, layout="constrained")
    axes.flat[-1].set_axis_off()
    colours = plt.get_cmap("tab10")
    for axis, (profile, table) in zip(axes.flat, tables.items()):
        labels = numpy.array(table["label"])
        for colour, model in enumerate(MODELS):
            scores = numpy.array(table[f"score_{model.number}"])
            axis.plot(*precision_recall(scores, labels), color=colours(colour), linewidth=1,
                      label=f"model {model.name}")
            taken = scores > THRESHOLD
            axis.plot(labels[taken].sum() / labels.sum(), labels[taken].mean(), "o", markersize=4,
                      color=colours(colour))
        axis.set_title(f"held-out runs of {profile}", fontsize=9)
        axis.set_xlim(0.7, 1.0)
        axis.set_ylim(0.4, 1.0)
        axis.set_xlabel("recall of true candidates")
        axis.set_ylabel("precision")
    figure.legend(*axes.flat[0].get_legend_handles_labels(), loc="lower right", title="dots: threshold -0.34")
    save(figure, path)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sources, out, pictures = (pathlib.Path(argument) for argument in sys.argv[1:])
    pictures.mkdir(parents=True, exist_ok=True)
    profiles = read_rows(HOME / "profiles.tsv")
    tables = {profile: merge([read_table(out / f"{row['profile']}-{row['width']}-held.features.tsv")
                              for row in profiles if row["profile"] == profile])
              for profile in dict.fromkeys(row["profile"] for row in profiles)}
    for model in MODELS:
        draw_hinges(model, terms_of(sources / f"Model{model.name}.cpp"),
                    tables[model.profile or "velos"], pictures / f"hinges_{model.name}.svg")
    draw_precision_recall(tables, pictures / "precision_recall.svg")


if __name__ == "__main__":
    main()
