"""Which programs are given a case, and what they must leave.

A road is one command. The roads of a case share its folder, in their order, except those of a kind in
FRESH, which find it as the case made it.
"""
import os
import shutil
import subprocess
from pathlib import Path

import samples

FRESH = {"planted", "binary", "report"}


class Programs:
    """Where the programs are, and the good outputs that the tools are given next to a hostile input."""

    def __init__(self, folder, source):
        folder = Path(folder).resolve()
        self.tarvek = str(folder / "bin" / "tarvek")
        self.tools = str(folder / "bin" / "tarvek-tools")
        self.extractor = str(folder / "libexec" / "tarvek" / "morvex_xml.exe")
        self.isotopes = str(folder / "share" / "tarvek" / "IPV.txt")
        self.package = str(Path(source).resolve() / "python")
        self.reader = str(Path(__file__).resolve().parent / "read_all.py")
        self.good = None
        for path in (self.tarvek, self.tools, self.extractor, self.isotopes):
            if not os.path.exists(path):
                raise SystemExit(f"hostile: there is no {path}")

    def make_good(self, folder):
        """A good run and its outputs; what is wrong here is wrong with the programs or the samples."""
        folder = Path(folder)
        (folder / "in").mkdir(parents=True)
        (folder / "in" / "run.mzML").write_text(samples.mzml())
        (folder / "truth.tsv").write_text(samples.TRUTH)
        (folder / "comet.txt").write_text(samples.COMET)
        subprocess.run([self.tarvek, "-D", str(folder / "in" / "run.mzML"), "-O", str(folder / "out")],
                       check=True, stdout=subprocess.DEVNULL)
        self.good = folder

    def install_good(self, out):
        """Copies the good outputs into a folder, without the log."""
        os.makedirs(out, exist_ok=True)
        for path in (self.good / "out").iterdir():
            if not path.name.endswith("Log.txt"):
                shutil.copy2(path, out)


class Road:
    """outputs: the folders that it may write to. needs: what must be there after status 0. table: the
    precursor table that must be whole after status 0, and must not be there otherwise. restores: a
    precursor table that must have the rows of the good run after status 0, whoever wrote it. says_json:
    standard output is JSON after status 0."""

    def __init__(self, name, argv, outputs=(), needs=(), table=None, cwd="cwd", is_main=False, restores=None, says_json=False):
        self.name, self.argv, self.outputs, self.needs = name, argv, outputs, needs
        self.table, self.cwd, self.is_main = table, cwd, is_main
        self.restores, self.says_json = restores, says_json


def base_of(given):
    """The name of a run, as the programs make it from the name of its file."""
    name = os.path.basename(os.fsencode(given))
    if name[-3:].lower() == b".gz":
        name = name[:-3]
    return name.rpartition(b".")[0]


def in_folder(folder, *names):
    return os.path.join(os.fsencode(folder), *(os.fsencode(name) for name in names))


def roads_of(case, place, programs):
    """The roads of a case in the folder place."""
    given = in_folder(place, case.given)
    return list(_KINDS[case.kind](case, Path(place), given, programs))


def _tarvek(case, place, given, programs, name="tarvek", out="out", more=()):
    folder = in_folder(place, out)
    return Road(name, [programs.tarvek, "-D", given, "-O", folder, *case.options, *more], [folder],
                table=in_folder(folder, base_of(given) + b".csv"), is_main=True)


def _run(case, place, given, programs, out="other/run", more=(), name="run"):
    folder = in_folder(place, out)
    return Road(name, [programs.tools, "run", *more, "--jobs", "1", "-o", folder, "--", given], [folder],
                table=in_folder(folder, base_of(given) + b".csv"), is_main=True)


def _tools(place, base, programs, source):
    """Everything that reads the outputs of a run. base: their path without endings."""
    tools, out = programs.tools, os.path.dirname(base)
    other = place / "other"
    yield Road("check outputs", [tools, "check", out])
    yield Road("report", [tools, "report", out, "-o", str(other / "pages")], [str(other / "pages")])
    yield Road("table", [tools, "table", out, "--input", str(place / "in"), "-o", str(other / "table" / "t.tsv")],
               [str(other / "table")])
    yield Road("table --json", [tools, "table", base, "--json"], says_json=True)
    yield Road("mgf", [tools, "mgf", "--engine", "comet", "--out", str(other / "mgf"), out], [str(other / "mgf")])
    yield Road("explain", [tools, "explain", base, "2", "--input", source])
    yield Road("mzml", [tools, "mzml", base, source, "-o", str(other / "mzml" / "m.mzML")], [str(other / "mzml")])
    yield Road("score", [tools, "score", base + b".csv", str(programs.good / "truth.tsv")])
    yield Road("psms", [tools, "psms", str(programs.good / "comet.txt"), "--precursors", out, "--no-plus-one", "--all", "-o",
                        str(other / "psms" / "p.tsv")], [str(other / "psms")])
    yield Road("calibrate", [tools, "calibrate", base])
    yield Road("python", ["/usr/bin/python3", programs.reader, programs.package, out])


def _instrument(case, place, given, programs):
    base = base_of(given)
    tools, good = programs.tools, programs.good
    for form, endings in (("-ms", (b".ms1", b".ms2")), ("-msb", ()), ("-mgf", ())):
        folder = in_folder(place, "other", "extracted" + form)
        yield Road("extractor " + form, [programs.extractor, form, "-o", folder, given], [folder],
                   needs=[in_folder(folder, base + b".morvex")] + [in_folder(folder, base + ending) for ending in endings])
    yield _tarvek(case, place, given, programs)
    yield _tarvek(case, place, given, programs, "tarvek -b 1", "other/binary", ("-b", "1"))
    yield _run(case, place, given, programs)
    yield _run(case, place, given, programs, "other/joint", ("--joint", "--auto", "--calibrate"), "run --joint --auto --calibrate")
    yield Road("check", [tools, "check", "--", given])
    yield Road("settings", [tools, "settings", "--auto", "--", given])
    other = str(place / "other" / "good")
    yield Road("mzml of a good run", [tools, "mzml", str(good / "out" / "run"), given, "-o", other + "/m.mzML"], [other])
    yield Road("mzml --split of a good run", [tools, "mzml", "--split", str(good / "out" / "run"), given, "-o", other + "/s.mzML"], [other])
    yield Road("explain of a good run", [tools, "explain", str(good / "out" / "run"), "2", "--input", given])
    yield from _dashed(case, place, given, programs)
    if case.rows is not None or case.name.startswith(("random", "encoding", "array", "number")):
        yield from _tools(place, in_folder(place, "out", base), programs, given)


def _dashed(case, place, given, programs):
    """Names that begin with a dash, as they are given in their own folder."""
    name = os.path.basename(given)
    if not name.startswith(b"-"):
        return
    out = in_folder(place, "other", "dash")
    yield Road("tarvek in the folder", [programs.tarvek, "-D", name, "-O", out], [out],
               table=in_folder(out, base_of(given) + b".csv"), cwd="in", is_main=True)
    folder = in_folder(place, "in")
    yield Road("tarvek with the name alone", [programs.tarvek, name], [folder], table=in_folder(folder, base_of(given) + b".csv"),
               cwd="in", is_main=True)
    yield Road("extractor in the folder", [programs.extractor, "-o", out + b"2", "./" + os.fsdecode(name)], [out + b"2"], cwd="in")


def _pair(case, place, given, programs):
    yield _tarvek(case, place, given, programs)
    if not case.options:
        yield _run(case, place, given, programs, more=("--joint", "--auto"))
        yield Road("check", [programs.tools, "check", "--", given])
    else:
        return
    yield from _tools(place, in_folder(place, "out", base_of(given)), programs, in_folder(place, "in"))


def _mgf(case, place, given, programs):
    out = in_folder(place, "out")
    yield Road("tarvek", [programs.tarvek, "-D", given, "-O", out], [out], needs=[in_folder(out, base_of(given) + b".pf2")])
    yield Road("check", [programs.tools, "check", "--", given])
    for engine in ("comet", "xtandem", "msgf", "sage", "mascot"):
        folder = str(place / "other" / engine)
        yield Road("mgf " + engine, [programs.tools, "mgf", "--engine", engine, "--out", folder, "--", given], [folder])
    yield Road("python", ["/usr/bin/python3", programs.reader, programs.package, in_folder(place, "in")])


def _binary(case, place, given, programs):
    yield _tarvek(case, place, given, programs)
    yield Road("check", [programs.tools, "check", in_folder(place, "out")])
    yield Road("explain", [programs.tools, "explain", in_folder(place, "out", "run"), "2"])


def _planted(case, place, given, programs):
    yield _tarvek(case, place, given, programs)
    yield _tarvek(case, place, given, programs, "tarvek -r 1", more=("-r", "1"))
    yield _run(case, place, given, programs, "out")
    out = in_folder(place, "out")
    yield Road("extractor", [programs.extractor, "-ms", "-o", out, given], [out], needs=[in_folder(out, "run.morvex")])


def _report(case, place, given, programs):
    pages = str(place / "pages")
    yield Road("report", [programs.tools, "report", str(programs.good / "out"), "-o", pages], [pages])


def _outputs(case, place, given, programs):
    yield from _tools(place, given, programs, str(programs.good / "in" / "run.mzML"))
    yield Road("calibrate --apply", [programs.tools, "calibrate", "--apply", given], [str(place / "out")])
    if "/field " not in case.name:  # rows with other words are rows
        yield Road("tarvek again", [programs.tarvek, "-D", str(programs.good / "in" / "run.mzML"), "-O", str(place / "out")],
                   [str(place / "out")], restores=given + b".csv")


def _psms(case, place, given, programs):
    out = str(place / "other" / "psms")
    yield Road("psms", [programs.tools, "psms", given, "--decoy-prefix", "DECOY_", "--no-plus-one", "--fdr", "1", "--precursors",
                        str(programs.good / "out"), "-o", out + "/p.tsv"], [out])
    yield Road("psms --json", [programs.tools, "psms", given, "--json", "--decoy-prefix", "DECOY_"], says_json=True)


def _score(case, place, given, programs):
    yield Road("score", [programs.tools, "score", str(programs.good / "out" / "run.csv"), given])
    yield Road("score --json", [programs.tools, "score", "--json", str(programs.good / "out" / "run.csv"), given], says_json=True)
    yield Road("score of another", [programs.tools, "score", given, str(programs.good / "truth.tsv")])


def _params(case, place, given, programs):
    yield Road("tarvek", [programs.tarvek, given], [in_folder(place, "out"), in_folder(place, "in")], table=None, cwd="in")
    yield Road("check", [programs.tools, "check", given])


def _isotopes(case, place, given, programs):
    table = in_folder(place, "in", "IPV.txt")
    yield _tarvek(case, place, given, programs, more=("-I", table))
    yield _run(case, place, given, programs, more=("--isotope-table", table))
    yield Road("check", [programs.tools, "check", "-I", table, given])
    yield Road("explain", [programs.tools, "explain", str(programs.good / "out" / "run"), "2", "-I", table, "--input",
                           str(programs.good / "in")])
    pages = str(place / "other" / "pages")
    yield Road("report", [programs.tools, "report", "-I", table, str(programs.good / "out"), "-o", pages], [pages])


_KINDS = {"instrument": _instrument, "pair": _pair, "mgf": _mgf, "binary": _binary, "planted": _planted, "report": _report,
          "outputs": _outputs, "psms": _psms, "score": _score, "params": _params, "isotopes": _isotopes}
