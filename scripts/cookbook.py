#!/usr/bin/env python3
"""The figures of docs/cookbook.md and of README's table, by the installed programs alone.

    scripts/cookbook.py PREFIX DATA WORKDIR [--check]

PREFIX: where tarvek is installed. DATA: the folder of real runs. WORKDIR is emptied. Runs the commands of the page, in
its blocks marked console, in one shell with PREFIX/bin and the system's programs on the PATH, and writes what each
prints behind it; then makes README's table, between <!-- gains --> and <!-- /gains -->, by compare_runs.py. With
--check nothing is written, and a difference ends with status 1. Seconds do not count as a difference.

In a block "$ " begins a command, which goes on in the next line after a \\; what follows is its standard output.
"""
import argparse
import dataclasses
import difflib
import gzip
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/cookbook.md"
README = ROOT / "README.md"
INSTALLED = "/opt/tarvek"  # the prefix that the page has
BLOCK = re.compile(r"(?ms)^```console\n(.*?)^```$")
GAINS = re.compile(r"(?s)(<!-- gains -->\n).*?(<!-- /gains -->)")
END_OF_OUTPUT = "\x1e"
# Packed file of DATA -> what the page calls it.
INPUTS = {"hek293-velos/HEK293_2_16173.mzML.gz": "HEK293_2_16173.mzML",
          "hek293-velos/HEK293_4_11989.mzML.gz": "HEK293_4_11989.mzML",
          "yeast-velos/SmallCalibratible_Yeast.mzML.gz": "SmallCalibratible_Yeast.mzML",
          "yeast-velos/yeast_uniprot_120226.fasta.gz": "yeast.fasta"}
PROTEINS = "hek293-velos/BottomUpSnips_prunedDb.xml.gz"
SAMPLES = (("sample", "file", "fasta"), ("hek_2", "HEK293_2_16173.mzML", "proteins.fasta"),
           ("hek_4", "HEK293_4_11989.mzML", "proteins.fasta"), ("yeast", "SmallCalibratible_Yeast.mzML", "yeast.fasta"))
BROKEN_BYTES = 2_000_000


@dataclasses.dataclass
class Step:
    command: str  # without "$ ", with its line ends
    output: str


def steps_of(block):
    """The commands of a block with what they print."""
    steps, open_command = [], False
    for line in block.splitlines(keepends=True):
        if open_command:
            steps[-1].command += line
        elif line.startswith("$ "):
            steps.append(Step(line[2:], ""))
        elif steps:
            steps[-1].output += line
        else:
            raise SystemExit(f"{PAGE}: a block begins with output: {line.strip()}")
        open_command = steps[-1].command.endswith("\\\n") and not steps[-1].output
    return steps


def steps_of_page(text):
    return [step for block in BLOCK.findall(text) for step in steps_of(block)]


def with_outputs(text, outputs):
    """The page with other outputs, one for each of its commands."""
    left = iter(outputs)

    def block(match):
        return "```console\n" + "".join(f"$ {step.command}{next(left)}" for step in steps_of(match[1])) + "```"
    return BLOCK.sub(block, text)


def without_seconds(text):
    """What two runs have in common: seconds have one decimal and are a column or followed by an s."""
    return re.sub(r"(?<![\d.])\d+\.\d(?= s\b|  |$)", "#.#", text, flags=re.MULTILINE)


def kept_where_equal(old, new):
    """The new outputs, but the old where only seconds differ."""
    return [before if without_seconds(before) == without_seconds(after) else after for before, after in zip(old, new)]


def put_inputs(data, work):
    for packed, name in INPUTS.items():
        with gzip.open(data / packed) as source, open(work / name, "wb") as target:
            shutil.copyfileobj(source, target)
    shutil.copy(data / PROTEINS, work)
    runs = work / "runs"
    runs.mkdir()
    for name in ("HEK293_2_16173.mzML", "HEK293_4_11989.mzML"):
        (runs / name).hardlink_to(work / name)
    (runs / "broken.mzML").write_bytes((work / "SmallCalibratible_Yeast.mzML").read_bytes()[:BROKEN_BYTES])
    (work / "samples.tsv").write_text("".join("\t".join(row) + "\n" for row in SAMPLES))


def run_commands(commands, prefix, work):
    """Standard output of each command. All run in one bash, so that variables stay; one that fails ends it."""
    script = "".join(f"{command.rstrip()}\nstatus=$?; echo '{END_OF_OUTPUT}' $status; ((status == 0)) || exit\n"
                     for command in commands)
    environment = {"PATH": f"{prefix}/bin:/usr/bin:/bin", "HOME": str(work), "LC_ALL": "C.UTF-8"}
    with open(work / "errors.txt", "w") as errors:
        done = subprocess.run(["bash", "-c", script.replace(INSTALLED, str(prefix))], cwd=work, env=environment,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors, text=True, check=False)
    parts = re.split(rf"{END_OF_OUTPUT} (\d+)\n", done.stdout)
    succeeded = parts[1::2].count("0")
    if succeeded < len(commands):
        raise SystemExit(f"'{commands[succeeded].strip()}' failed\n{(work / 'errors.txt').read_text()[-2000:]}")
    return [output.replace(str(prefix), INSTALLED) for output in parts[:-1:2]]


def with_table(text, table, path):
    if len(GAINS.findall(text)) != 1:
        raise SystemExit(f"{path} has not one pair of <!-- gains --> and <!-- /gains -->")
    return GAINS.sub(lambda match: match[1] + table + match[2], text)


def update(path, new, check):
    """Writes a document, or only compares it. True when it was as it is now."""
    old = path.read_text(encoding="utf-8")
    sys.stdout.writelines(difflib.unified_diff(old.splitlines(keepends=True), new.splitlines(keepends=True),
                                               f"{path.name} as it is", f"{path.name} as it comes out"))
    if old != new and not check:
        path.write_text(new, encoding="utf-8")
    return old == new


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("prefix", type=pathlib.Path)
    parser.add_argument("data", type=pathlib.Path)
    parser.add_argument("workdir", type=pathlib.Path)
    parser.add_argument("--check", action="store_true", help="write nothing; status 1 when something differs")
    options = parser.parse_args()
    prefix, data, work = (path.resolve() for path in (options.prefix, options.data, options.workdir))
    if not (data / PROTEINS).is_file():
        raise SystemExit(f"{data} does not hold the real runs: {PROTEINS} is missing")
    shutil.rmtree(work, ignore_errors=True)
    (work / "page").mkdir(parents=True)
    put_inputs(data, work / "page")
    page = PAGE.read_text(encoding="utf-8")
    steps = steps_of_page(page)
    outputs = run_commands([step.command for step in steps], prefix, work / "page")
    same = update(PAGE, with_outputs(page, kept_where_equal([step.output for step in steps], outputs)), options.check)
    table, = run_commands([f"{INSTALLED}/share/tarvek/scripts/compare_runs.py {INSTALLED} '{data}' '{work}/table'"],
                          prefix, work)
    same &= update(README, with_table(README.read_text(encoding="utf-8"), table, README), options.check)
    print("The figures are those of the documents." if same else
          "The figures differ." if options.check else "The documents have new figures.")
    return 1 if options.check and not same else 0


if __name__ == "__main__":
    sys.exit(main())
