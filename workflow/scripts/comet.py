"""Searches with Comet (Debian package comet-ms) and selects the accepted matches.

A match is a row of Comet's table, column -> text, with the name of the searched file as "mgf".
"""
import json
import re
import subprocess
from pathlib import Path

DECOY = "DECOY_"  # Comet's prefix for the names of decoys
SETTINGS = {
    "decoy_search": "1",
    "peptide_mass_units": "2",
    "isotope_error": "0",
    "output_pepxmlfile": "0",
    "output_txtfile": "1",
    "num_output_lines": "1",
    "clip_nterm_methionine": "1",
}
BINS = {"FT": {"fragment_bin_tol": "0.02", "fragment_bin_offset": "0.0"},
        "IT": {"fragment_bin_tol": "1.0005", "fragment_bin_offset": "0.4"}}
# Collisions break b and y ions, electron transfer c and z, both together all four.
IONS = {"CID": "BY", "HCD": "BY", "ETD": "CZ", "ETCID": "BCYZ", "ETHCD": "BCYZ"}


def kind_of(mgf):
    """(activation, analyser FT or IT) of one MGF file of tarvek, from its name: run_HCDFT, or run_HCDFT_2 for
    further precursors of the same scans."""
    kind = re.fullmatch(r".*_(CID|HCD|ETD|ETCID|ETHCD)(FT|IT)(MS)?(_\d+)?", mgf.stem)
    if kind is None:
        raise SystemExit(f"{mgf}: the name does not say how the scans were fragmented (_HCDFT, ...)")
    return kind[1], kind[2]


def settings_of(mgf, threads=0, precursor_ppm=20.0, isotope_error=0):
    """Comet's settings for one MGF file of tarvek by its kind. threads: 0 takes all cores."""
    activation, analyser = kind_of(mgf)
    ions = {f"use_{letter}_ions": str(int(letter in IONS[activation])) for letter in "ABCXYZ"}
    return {**SETTINGS, **BINS[analyser], **ions, "num_threads": str(threads),
            "peptide_mass_tolerance": str(precursor_ppm), "isotope_error": str(isotope_error)}


def enzyme_number(text, name):
    """The number that the list at the end of Comet's parameters gives an enzyme."""
    found = re.search(rf"(?m)^([0-9]+)\.[ \t]+{re.escape(name)}[ \t]", text)
    if found is None:
        raise SystemExit(f"comet-ms knows no enzyme {name}")
    return found[1]


def write_parameters(path, settings):
    """Comet's own template, which stays beside it, with the given settings; enzymes may have their names."""
    subprocess.run(["comet-ms", "-p"], cwd=path.parent, check=True, stdout=subprocess.DEVNULL)
    text = (path.parent / "comet.params.new").read_text()
    for key, value in settings.items():
        if key.endswith("_enzyme_number") and not value.isdigit():
            value = enzyme_number(text, value)
        text, found = re.subn(rf"(?m)^{key} = *[^#\n]*", lambda _: f"{key} = {value} ", text)
        if found != 1:
            raise SystemExit(f"comet-ms has no parameter {key}")
    path.write_text(text)


def files_of(mgf):
    """An MGF file for Comet with those of further precursors of equal charge: run_HCDFT.mgf, run_HCDFT_2.mgf, ..."""
    files = [mgf]
    while (further := mgf.with_name(f"{mgf.stem}_{len(files) + 1}.mgf")).exists():
        files.append(further)
    return files


def count(tools, tables, *options):
    """The counts of 'tarvek-tools psms' for tables of Comet: scans, matches, peptides and proteins,
    by name. tools: the program."""
    command = [tools, "psms", "--json", "--decoy-prefix", DECOY, *options, "--", *tables] if tables else None
    if command is None:
        return dict.fromkeys(("scans", "matches", "peptides", "proteins"), 0)
    done = subprocess.run([str(word) for word in command], check=False, capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit(done.stderr.strip())
    return json.loads(done.stdout)


def read_table(path, mgf):
    """The matches in a table of Comet."""
    # The first line holds the time of the search, the second the names of the columns.
    _, names, *rows = path.read_text().splitlines()
    return [{"mgf": mgf.name, **dict(zip(names.split("\t"), row.split("\t")))} for row in rows]


def link(path, target):
    """Makes path a link to target, unless it is that file."""
    if path.is_symlink():
        path.unlink()
    if not path.exists() or not path.samefile(target):
        path.symlink_to(Path(target).absolute())


def search(mgf, fasta, settings, folder, name, console=None):
    """The matches of one file. folder keeps Comet's files, named name.*; the inputs are linked
    there, because '#' and ':' in a path have a meaning for Comet. console: for its output, as in
    subprocess."""
    link(folder / f"{name}.mgf", mgf)
    link(folder / f"{name}.fasta", fasta)
    write_parameters(folder / f"{name}.params", {**settings, "database_name": f"{name}.fasta"})
    subprocess.run(["comet-ms", f"-P{name}.params", f"-N{name}", f"{name}.mgf"], cwd=folder, check=True,
                   stdout=console)
    return read_table(folder / f"{name}.txt", mgf)


def is_decoy(match):
    return all(name.startswith(DECOY) for name in match["protein"].split(","))


def e_value(match):
    return float(match["e-value"])


def best_matches(matches):
    """The match of lowest E-value for each scan of each file, lowest first. Among equal ones of a scan
    the lower charge, then the first peptide of the alphabet: nothing that favours targets."""
    order = lambda match: (e_value(match), int(match["scan"]), int(match["charge"]), match["plain_peptide"])
    best = {}
    for match in sorted(matches, key=order):
        best.setdefault((match["mgf"], match["scan"]), match)
    return list(best.values())


def q_values(matches):
    """The q-value at each place: the smallest share of decoys among the matches down to it or to
    any place below. matches: ascending in E-value. Equal E-values have one share, since no cut can
    separate them."""
    shares, decoys, targets, first = [], 0, 0, 0
    for place, match in enumerate(matches):
        decoys += is_decoy(match)
        targets += not is_decoy(match)
        if place + 1 == len(matches) or e_value(matches[place + 1]) > e_value(match):
            shares += [min(1.0, decoys / max(targets, 1))] * (place + 1 - first)
            first = place + 1
    for place in range(len(shares) - 2, -1, -1):
        shares[place] = min(shares[place], shares[place + 1])
    return shares


def accepted(matches, fdr):
    """The targets among the matches with a q-value of at most fdr. matches: one per scan, in any
    order."""
    ranked = sorted(matches, key=e_value)
    return [match for match, share in zip(ranked, q_values(ranked)) if share <= fdr and not is_decoy(match)]
