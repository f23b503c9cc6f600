#!/usr/bin/env python3
"""Figures of every scoring model on held-out simulated runs.

Usage: evaluate.py BIN PROFILES OUT
  BIN       folder with tarvek and tarvek-tools
  PROFILES  the table of the simulated runs
  OUT       folder of train.py with the held-out runs; OUT/held_out.md is the answer
"""
import json
import math
import pathlib
import subprocess
import sys
from typing import NamedTuple

HOME = pathlib.Path(__file__).resolve().parent


class Model(NamedTuple):
    name: str
    number: int
    terms: int
    profile: str


def read_rows(path):
    """The rows of a tab-separated table with a header line, as dictionaries."""
    lines = pathlib.Path(path).read_text(encoding="ascii").splitlines()
    names = lines[0].split("\t")
    return [dict(zip(names, line.split("\t"))) for line in lines[1:]]


def read_models():
    """The models in the order of their names; E is given, not fitted."""
    fitted = [Model(row["model"], int(row["mars_model"]), int(row["terms"]), row["profile"])
              for row in read_rows(HOME / "models.tsv")]
    return tuple(sorted([*fitted, Model("E", 4, 18, "")]))


MODELS = read_models()


def read_table(path):
    """Columns of a feature table by name, as numbers; rows without a label are left out."""
    with open(path, encoding="ascii") as rows:
        names = next(rows).rstrip("\n").split("\t")
        place = names.index("label")
        kept = [fields for fields in (row.rstrip("\n").split("\t") for row in rows)
                if fields[place] != "NA"]
    return {name: [float(fields[i]) for fields in kept] for i, name in enumerate(names)}


def auc(scores, labels):
    """Share of the pairs of a true and a false candidate in which the true one scores higher; a tie
    counts half. NaN without a pair."""
    order = sorted(range(len(scores)), key=scores.__getitem__)
    rank_sum, place = 0.0, 0
    while place < len(order):
        end = place
        while end < len(order) and scores[order[end]] == scores[order[place]]:
            end += 1
        mean_rank = (place + 1 + end) / 2
        rank_sum += mean_rank * sum(labels[i] == 1 for i in order[place:end])
        place = end
    true = sum(label == 1 for label in labels)
    false = len(labels) - true
    return (rank_sum - true * (true + 1) / 2) / (true * false) if true and false else math.nan


def merge(tables):
    return {name: [value for table in tables for value in table[name]] for name in tables[0]}


def end_to_end(programs, base, width, ipv, model, out):
    """The result of `tarvek-tools score` for the run with a model."""
    out.mkdir(parents=True, exist_ok=True)
    command = [programs / "tarvek", "-D", f"{base}.ms1", "-O", out, "-L", out, "-I", ipv, "-W", width,
               "-M", str(model), "-r", "1", "-m", "0", "-p", "0"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    table = out / f"{pathlib.Path(base).name}.csv"
    answer = subprocess.run([programs / "tarvek-tools", "score", "--json", table, f"{base}.truth.tsv"],
                            check=True, stdout=subprocess.PIPE)
    return json.loads(answer.stdout)


def write_features(programs, run):
    subprocess.run([programs / "tarvek-tools", "features", f"{run['base']}.ms1",
                    f"{run['base']}.features.tsv", "--truth", f"{run['base']}.truth.tsv", "--scores",
                    "-W", run["width"], "-I", run["ipv"]], check=True, stdout=subprocess.DEVNULL)


def ratio_of(reports, key):
    parts = [report["determined"][key] for report in reports]
    return sum(part["part"] for part in parts) / sum(part["whole"] for part in parts)


def figures(programs, runs, model):
    """AUC, recall of the target, precision and precursors a scan over the runs of a profile."""
    table = merge([read_table(f"{run['base']}.features.tsv") for run in runs])
    reports = [end_to_end(programs, run["base"], run["width"], run["ipv"], model.number,
                          pathlib.Path(run["base"]).parent / f"model_{model.name}") for run in runs]
    precursors = sum(report["determined"]["precursors"] for report in reports)
    scans = sum(report["table_scans"] for report in reports)
    return (auc(table[f"score_{model.number}"], table["label"]), ratio_of(reports, "target_recall"),
            ratio_of(reports, "precision"), precursors / scans)


def held_out_runs(profiles, out):
    runs = {}
    for row in read_rows(profiles):
        name = f"{row['profile']}-{row['width']}-held"
        ipv = out / "IPV_n15.txt" if "n15" in row["options"] else HOME.parent / "data/IPV.txt"
        runs.setdefault(row["profile"], []).append(
            {"base": str(out / name), "width": row["width"], "ipv": ipv})
    return runs


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    programs, profiles, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    lines = []
    for profile, runs in held_out_runs(profiles, out).items():
        for run in runs:
            write_features(programs, run)
        lines += [f"**{profile}**", "", "| model | ROC-AUC | against E | recall of the target | precision |"
                  " precursors a scan |", "|---|---|---|---|---|---|"]
        answers = {model.name: figures(programs, runs, model) for model in MODELS}
        for model in MODELS:
            area, recall, precision, precursors = answers[model.name]
            name = f"**{model.name}**" if model.profile == profile else model.name
            lines.append(f"| {name} | {area:.4f} | {area - answers['E'][0]:+.4f} | {100 * recall:.1f} % |"
                         f" {100 * precision:.1f} % | {precursors:.2f} |")
        lines.append("")
    (out / "held_out.md").write_text("\n".join(lines))
    print("\n".join(lines))


if __name__ == "__main__":
    main()
