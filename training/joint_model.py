"""The additive model of the joint determination: tables of candidates, fit, calibration and C++ source.

Not a program; fit_joint.py and joint_eval.py use it. The model is a sum of step functions, one for each feature,
and a piecewise linear curve from the sum to the log odds that a candidate is a precursor. Each of its numbers is
rounded to nine digits before it is used here, and the sum is taken in the table's order, so that Python and the C++
table give the same score.
"""
import os
import pathlib
import re
import textwrap
from typing import NamedTuple

os.environ["OMP_NUM_THREADS"] = "1"  # Several threads would add in any order.

import numpy as np  # noqa: E402

# Rounds and rate of the boosting, and the fewest candidates on each side of a step.
ROUNDS, RATE, FEWEST_IN_LEAF, L2 = 300, 0.1, 40, 1.0
# The weight of a real run's candidates without a verdict, counted as false: in a scan with an
# identified precursor, and in one without.
REST_WEIGHT, UNKNOWN_SCAN_WEIGHT = 0.3, 0.02
# The share of the real runs in the sum of weights.
REAL_SHARE = 0.5
TOL_PPM = 10.0
ISOTOPE_DA = 1.00286864
# Isotopes of an identified precursor, from the one below it, at which a false candidate begins or ends.
OVERLAP = range(-3, 6)
KNOTS = 12
LEAST_SLOPE = 0.05
REACH = 30.0


class Table(NamedTuple):
    """Candidates of a run. features: rows by columns; label: 1, 0 or NaN where it is doubtful."""
    name: str
    scan: np.ndarray
    mz: np.ndarray
    charge: np.ndarray
    names: tuple
    features: np.ndarray
    label: np.ndarray
    identified: dict  # scan -> [(m/z, charge)] in a real run, None in a simulated one


def nine_digits(value):
    """The double of the text with nine significant digits."""
    return float(f"{value:.9g}")


def read_identified(path):
    found = {}
    for line in path.read_text(encoding="ascii").splitlines()[1:]:
        scan, mz, charge = line.split("\t")[:3]
        found.setdefault(int(scan), []).append((float(mz), int(charge)))
    return found


def read_table(path):
    """A table of tarvek-tools features. It is one of a real run if RUN.identified.tsv is next to
    it."""
    path = pathlib.Path(path)
    head, _, body = path.read_text(encoding="ascii").partition("\n")
    names = head.split("\t")
    if names[:3] != ["scan", "mz", "charge"] or names[-1] != "label":
        raise SystemExit(f"{path}: the columns are not scan, mz, charge, features and label")
    try:
        values = np.array(body.replace("NA", "nan").split(), dtype=float).reshape(-1, len(names))
    except ValueError as error:
        raise SystemExit(f"{path}: {error}") from None
    if not np.isfinite(values[:, :-1]).all():
        raise SystemExit(f"{path}: a feature is not a finite number")
    run = path.name.removesuffix(".features.tsv")
    identified = path.with_name(f"{run}.identified.tsv")
    return Table(run, values[:, 0].astype(int), values[:, 1], values[:, 2].astype(int), tuple(names[3:-1]),
                 values[:, 3:-1], values[:, -1], read_identified(identified) if identified.exists() else None)


def check_names(tables):
    for table in tables:
        if table.names != tables[0].names:
            raise SystemExit(f"{table.name}: its features are not those of {tables[0].name}")


def overlaps(mz, charge, ion_mz, ion_charge, tol_ppm=TOL_PPM):
    """Whether a candidate that is not the ion itself claims its peaks: begins at one of its isotopes, or the ion
    begins at one of the candidate's. Other charges, isotopes off and harmonics do."""
    tolerance = 1e-6 * tol_ppm * ion_mz
    return any(abs(mz - ion_mz - place * ISOTOPE_DA / spacing) <= tolerance
               for spacing, places in ((ion_charge, OVERLAP), (charge, (-1, -2, -3))) for place in places)


def labels_of_real(table):
    """Labels without doubt, and weights: what the table labels and what overlaps with an identified precursor
    weighs 1, the rest little."""
    label, weight = table.label.copy(), np.ones(len(table.label))
    for row in np.flatnonzero(np.isnan(label)):
        ions = table.identified.get(table.scan[row])
        label[row] = 0
        if ions is None:
            weight[row] = UNKNOWN_SCAN_WEIGHT
        elif not any(overlaps(table.mz[row], table.charge[row], *ion) for ion in ions):
            weight[row] = REST_WEIGHT
    return label, weight


def labels_of_simulated(table):
    """Doubtful candidates have weight 0."""
    return np.nan_to_num(table.label), (~np.isnan(table.label)).astype(float)


def pool(tables, real_share=None):
    """Features, labels and weights of several runs. real_share (by default REAL_SHARE) divides the
    weight between real and simulated ones; the weights add up to the number of rows."""
    real_share = REAL_SHARE if real_share is None else real_share
    parts = [labels_of_simulated(table) if table.identified is None else labels_of_real(table) for table in tables]
    labels, weights = (np.concatenate(columns) for columns in zip(*parts))
    real = np.concatenate([np.full(len(table.label), table.identified is not None) for table in tables])
    for chosen, share in ((real, real_share), (~real, 1 - real_share)):
        if real.any() and not real.all() and weights[chosen].any():
            weights[chosen] *= share * len(labels) / weights[chosen].sum()
    return np.concatenate([table.features for table in tables]), labels, weights


class Steps(NamedTuple):
    """values[i] holds for x <= thresholds[i], the last beyond all."""
    thresholds: np.ndarray
    values: np.ndarray


class Model(NamedTuple):
    names: tuple
    intercept: float
    steps: tuple   # for each feature
    knots: tuple   # (score, log odds), ascending in both


def score(model, features):
    """The sum of the steps for each row, in the order of the features."""
    total = np.full(len(features), model.intercept)
    for column, steps in zip(features.T, model.steps):
        total = total + steps.values[np.searchsorted(steps.thresholds, column, side="left")]
    return total


def log_odds(model, scores):
    """The curve through the knots, flat beyond them; summed as in JointModel.cpp."""
    x, y = (np.array(values) for values in zip(*model.knots))
    inside = np.clip(scores, x[0], x[-1])
    high = np.clip(np.searchsorted(x, inside, side="right"), 1, len(x) - 1)
    low = high - 1
    return y[low] + (y[high] - y[low]) * (inside - x[low]) / (x[high] - x[low])


def logistic(values):
    return 1 / (1 + np.exp(-np.clip(values, -700, 700)))


def probability(model, features):
    return logistic(log_odds(model, score(model, features)))


def rounded_threshold(threshold, column):
    """A threshold with nine digits, if that separates the values like the full number."""
    rounded = nine_digits(threshold)
    return rounded if np.array_equal(column <= rounded, column <= threshold) else float(threshold)


def steps_of(column, jumps):
    """The step function that is the sum of (threshold, value up to it, value beyond). Neighbouring intervals of
    one value are one."""
    thresholds = sorted({jump[0] for jump in jumps})
    values = [0.0] * (len(thresholds) + 1)
    for threshold, left, right in jumps:
        place = thresholds.index(threshold)
        for i in range(len(values)):
            values[i] += left if i <= place else right
    values = [nine_digits(value) for value in values]
    kept = [i for i in range(len(thresholds)) if values[i] != values[i + 1]]
    return Steps(np.array([rounded_threshold(thresholds[i], column) for i in kept]),
                 np.array([values[i] for i in kept] + values[-1:]))


def boosted(features, labels, weights):
    """Stumps by gradient boosting of the log loss: the intercept, and (threshold, left, right) of every stump by
    feature."""
    from sklearn.ensemble import HistGradientBoostingClassifier
    trees = HistGradientBoostingClassifier(max_leaf_nodes=2, max_iter=ROUNDS, learning_rate=RATE,
                                           min_samples_leaf=FEWEST_IN_LEAF, l2_regularization=L2,
                                           early_stopping=False, random_state=0)
    trees.fit(features, labels, sample_weight=weights)
    intercept, jumps = float(trees._baseline_prediction.ravel()[0]), [[] for _ in range(features.shape[1])]
    for (tree,) in trees._predictors:
        root = tree.nodes[0]
        if root["is_leaf"]:
            intercept += float(root["value"])
        else:
            left, right = (float(tree.nodes[root[side]]["value"]) for side in ("left", "right"))
            jumps[root["feature_idx"]].append((float(root["num_threshold"]), left, right))
    return intercept, jumps, trees


def fit(tables, real_share=None):
    """A model without knots."""
    features, labels, weights = pool(tables, real_share)
    used = weights > 0
    features, labels, weights = features[used], labels[used], weights[used]
    intercept, jumps, trees = boosted(features, labels, weights)
    model = Model(tables[0].names, nine_digits(intercept),
                  tuple(steps_of(column, jump) for column, jump in zip(features.T, jumps)), ())
    difference = np.abs(score(model, features) - trees.decision_function(features)).max()
    if difference > 1e-6:
        raise SystemExit(f"The table of steps is not the fitted model: scores differ by {difference}")
    return model


def models_without(tables, groups, real_share=None, folds=0):
    """For each table the model fitted without its group. folds: leaves out this many sets of groups
    instead of each group alone, to save time; 0: each alone."""
    order = sorted(set(groups), key=groups.index)
    fold = [order.index(group) % (folds or len(order)) for group in groups]
    models = {}
    for number in sorted(set(fold)):
        rest = [table for table, its in zip(tables, fold) if its != number]
        if not rest:
            raise SystemExit("All runs are of one group: no model can be fitted without it")
        models[number] = fit(rest, real_share)
    return [models[number] for number in fold]


def rising(values, weights):
    """The nearest sequence that does not fall, in weighted least squares (pool adjacent violators)."""
    blocks = []
    for value, weight in zip(values, weights):
        blocks.append([value, weight, 1])
        while len(blocks) > 1 and blocks[-2][0] > blocks[-1][0]:
            value, weight, count = blocks.pop()
            last = blocks[-1]
            last[0] = (last[0] * last[1] + value * weight) / (last[1] + weight)
            last[1] += weight
            last[2] += count
    return [value for value, _, count in blocks for _ in range(count)]


def platt(scores, labels):
    """Slope and intercept of the most likely logistic curve, by Newton's method."""
    slope, intercept = 1.0, 0.0
    for _ in range(50):
        p = logistic(slope * scores + intercept)
        w = p * (1 - p) + 1e-12
        design = np.stack([scores, np.ones(len(scores))])
        step = np.linalg.solve((design * w) @ design.T + 1e-9 * np.eye(2), design @ (labels - p))
        slope, intercept = slope + step[0], intercept + step[1]
        if np.abs(step).max() < 1e-10:
            break
    return slope, intercept


def calibration_knots(scores, labels, knots=KNOTS):
    """Knots from scores that were not fitted. Uncertain candidates count more in the choice of the bins; in a
    bin the log odds are of its labels. Beyond the bins the curve continues with the slope of the
    logistic fit, far enough that no candidate is on its flat ends."""
    order = np.argsort(scores, kind="stable")
    scores, labels = scores[order], labels[order]
    slope, intercept = platt(scores, labels)
    p = logistic(slope * scores + intercept)
    doubt = np.cumsum(p * (1 - p) + 1e-3)
    bins = np.minimum((doubt / doubt[-1] * knots).astype(int), knots - 1)
    x, y, weights = [], [], []
    for number in range(knots):
        inside = bins == number
        if not inside.any():
            continue
        true, count = labels[inside].sum(), inside.sum()
        # The score at which the logistic curve has the bin's mean probability, as the curve bends in wide bins.
        mean = np.clip(p[inside].mean(), 1e-9, 1 - 1e-9)
        x.append((np.log(mean / (1 - mean)) - intercept) / slope)
        y.append(np.log((true + 0.5) / (count - true + 0.5)))
        weights.append((true + 0.5) * (count - true + 0.5) / (count + 1))
    y = rising(y, weights)
    x = [x[0] - REACH, *x, x[-1] + REACH]
    y = [y[0] - REACH * slope, *y, y[-1] + REACH * slope]
    for i in range(1, len(x)):
        y[i] = max(y[i], y[i - 1] + LEAST_SLOPE * (x[i] - x[i - 1]))
    return tuple((nine_digits(a), nine_digits(b)) for a, b in zip(x, y))


def knots_of_unseen(tables, models):
    """Knots from the simulated runs, each scored by the model that was fitted without it. Doubtful candidates
    count as false, as they do in the precision of a run."""
    unseen = [(score(model, table.features), np.nan_to_num(table.label))
              for table, model in zip(tables, models) if table.identified is None]
    if len(unseen) < 2:
        raise SystemExit("The calibration needs two simulated runs at least")
    return calibration_knots(*(np.concatenate(columns) for columns in zip(*unseen)))


def number_text(value):
    text = f"{value:.9g}"
    text = text if float(text) == value else repr(value)
    return text if any(mark in text for mark in ".en") else text + ".0"


def list_text(values):
    return "{" + ", ".join(map(number_text, values)) + "}"


def row_of(name, steps):
    return textwrap.wrap(f'{{"{name}", {list_text(steps.thresholds)}, {list_text(steps.values)}}},', width=100,
                         initial_indent="    ", subsequent_indent="        ", break_on_hyphens=False)


def cpp_of(model, note):
    """The C++ source of a model. The same model gives the same bytes."""
    lines = [f"// {line}" for line in note.splitlines()]
    lines += ["// clang-format off", "#include <array>", "", '#include "JointModel.h"', "", "namespace tarvek::joint {",
              "namespace {", "", f"constexpr std::array<JointSteps, {len(model.steps)}> kSteps = {{{{"]
    for name, steps in zip(model.names, model.steps):
        lines += row_of(name, steps)
    lines += ["}};", "", f"constexpr std::array<JointKnot, {len(model.knots)}> kKnots = {{{{"]
    lines += [f"    {{{number_text(x)}, {number_text(y)}}}," for x, y in model.knots]
    lines += ["}};", "", "}  // namespace", "",
              f"const JointModel kJointModel = {{{number_text(model.intercept)}, kSteps, kKnots}};", "",
              "}  // namespace tarvek::joint", ""]
    return "\n".join(lines)


def numbers(text):
    return np.array([float(part) for part in text.split(",") if part.strip()])


def model_of_cpp(path):
    """The model of a C++ source that cpp_of wrote."""
    text = pathlib.Path(path).read_text(encoding="ascii")
    rows = re.findall(r'\{"(\w+)",\s+\{([^}]*)\},\s+\{([^}]*)\}\}', text)
    knots = re.search(r"kKnots = \{\{(.*?)\}\};", text, re.S)
    intercept = re.search(r"kJointModel = \{([^,]+),", text)
    if not rows or knots is None or intercept is None:
        raise SystemExit(f"{path}: not a table of the joint model")
    pairs = re.findall(r"\{([^,{}]+), ([^,{}]+)\}", knots[1])
    return Model(tuple(name for name, _, _ in rows), float(intercept[1]),
                 tuple(Steps(numbers(thresholds), numbers(values)) for _, thresholds, values in rows),
                 tuple((float(x), float(y)) for x, y in pairs))
