#!/usr/bin/python3
"""Lets single system calls fail, over every input format and every tool.

    calls.py INSTALLED [short] [--points N] [--only TEXT] [--jobs N] [--work FOLDER]

Each command is run once under strace to count its calls, then once for each point: the call number K fails, alone
or with all of its kind that follow. strace rather than a library that is loaded before: it reaches the calls that
are made inside the C library and the start of threads, and it needs no compiler. Promises: no signal, and an end;
status 0 only with the outputs and the standard output of an undisturbed run; else a reason is named; nothing that is
not whole under a final name; inputs stay as they are; run again, all is as if nothing had been. Known: known.tsv,
whose case is here "calls/COMMAND/CALL", its road "once" or "for good".
"""
import argparse
import collections
import gzip
import os
import re
import shutil
import subprocess
import sys
import time
from concurrent.futures import ProcessPoolExecutor
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import hostile  # noqa: E402
import judge  # noqa: E402
import roads  # noqa: E402
import samples  # noqa: E402

# The call as people name it: its names in the system, and the error that it meets.
CALLS = {"open": (("openat", "open"), "EACCES"), "read": (("read", "pread64", "readv"), "EIO"),
         "write": (("write", "writev", "pwrite64"), "ENOSPC"), "close": (("close",), "EIO"),
         "rename": (("rename", "renameat", "renameat2"), "EACCES"), "unlink": (("unlink", "unlinkat"), "EACCES"),
         "stat": (("newfstatat", "stat", "fstat", "lstat", "statx"), "EACCES"), "flock": (("flock",), "EIO"),
         "fork": (("clone3", "clone", "vfork", "fork"), "EAGAIN"), "sync": (("fsync", "fdatasync"), "EIO"),
         "mkdir": (("mkdir", "mkdirat"), "EACCES"), "list": (("getdents64",), "EIO")}
WRONG = "wrong"  # status 0 with other outputs than those of an undisturbed run
SILENT = "silent"  # a failure without a reason
STUCK = "stuck"  # run again, the outputs are still others
INPUT = "input"  # an input changed
SHORT_RUNS = 120


class Command:
    """argv: words in which {in}, {given} and {out} are folders; out is where it writes, and given what it may
    rewrite. speaks: its standard output is a result."""

    def __init__(self, name, argv, speaks=False, rewrites=False):
        self.name, self.argv, self.speaks, self.rewrites = name, argv, speaks, rewrites


def commands(programs):
    tarvek, tools, extractor = programs.tarvek, programs.tools, programs.extractor

    def of_tarvek(name, *words):
        return Command("tarvek " + name, [tarvek, *words, "-O", "{out}"])

    def of_tools(name, *words, **more):
        return Command(name, [tools, *words], **more)

    yield of_tarvek("text", "-D", "{in}/run.ms1")
    yield of_tarvek("mzML", "-D", "{in}/run.mzML")
    yield of_tarvek("mzML -b 1", "-D", "{in}/run.mzML", "-b", "1")
    yield of_tarvek("mzML -d 1", "-D", "{in}/run.mzML", "-d", "1")
    yield of_tarvek("mzML.gz", "-D", "{in}/packed.mzML.gz")
    yield of_tarvek("mzXML", "-D", "{in}/small.mzXML")
    yield of_tarvek("mgf", "-D", "{in}/small.mgf")
    yield of_tarvek("folder", "-D", "{in}", "-F", "mzml")
    yield Command("tarvek params", [tarvek, "{in}/run.params"])
    for form in ("-ms", "-msb", "-mgf"):
        yield Command("extractor " + form, [extractor, form, "-o", "{out}", "{in}/run.mzML"])
    yield of_tools("run", "run", "{in}/run.mzML", "-o", "{out}", "--jobs", "1")
    yield of_tools("run --calibrate", "run", "--calibrate", "--auto", "{in}/run.mzML", "-o", "{out}", "--jobs", "1")
    yield of_tools("check an input", "check", "--json", "{in}/run.mzML", speaks=True)
    yield of_tools("check outputs", "check", "{given}", speaks=True)
    yield of_tools("report", "report", "{given}", "-o", "{out}")
    yield of_tools("mgf", "mgf", "--engine", "comet", "--out", "{out}", "{given}")
    yield of_tools("mgf --gzip", "mgf", "--engine", "sage", "--gzip", "--out", "{out}", "{given}")
    yield of_tools("psms", "psms", "{in}/comet.txt", "--precursors", "{given}", "--no-plus-one", "--all", "-o", "{out}/p.tsv",
                   speaks=True)
    yield of_tools("table", "table", "{given}", "-o", "{out}/t.tsv")
    yield of_tools("table --json", "table", "--json", "{given}/run", speaks=True)
    yield of_tools("mzml", "mzml", "{given}/run", "{in}/run.mzML", "-o", "{out}/m.mzML")
    yield of_tools("mzml --split", "mzml", "--split", "{given}/run", "{in}/packed.mzML.gz", "-o", "{out}/m.mzML")
    yield of_tools("explain", "explain", "{given}/run", "2", speaks=True)
    yield of_tools("score", "score", "{given}/run.csv", "{in}/run.truth.tsv", speaks=True)
    yield of_tools("simulate", "simulate", "--seed", "2", "--ms2", "20", "{out}/s")
    yield of_tools("calibrate --apply", "calibrate", "--apply", "{given}/run", rewrites=True)


def make_inputs(programs, folder):
    """The inputs and the outputs of a finished run, from which each try takes copies."""
    inputs, given = folder / "in", folder / "given"
    inputs.mkdir(parents=True)
    for form in ("mzml", "text"):
        subprocess.run([programs.tools, "simulate", "--seed", "7", "--ms2", "60", "--format", form, str(inputs / "run")],
                       check=True, stdout=subprocess.DEVNULL)
    (inputs / "packed.mzML.gz").write_bytes(gzip.compress((inputs / "run.mzML").read_bytes(), mtime=0))
    (inputs / "small.mzXML").write_text(samples.mzxml())
    (inputs / "small.mgf").write_text(samples.mgf())
    (inputs / "comet.txt").write_text(samples.COMET)
    subprocess.run([programs.tarvek, "-D", str(inputs / "run.mzML"), "-O", str(given)], check=True, stdout=subprocess.DEVNULL)
    (given / "TarvekPlusLog.txt").unlink()


def prepare(source, place):
    shutil.rmtree(place, ignore_errors=True)
    for name in ("cwd", "home", "tmp", "out"):
        (place / name).mkdir(parents=True)
    shutil.copytree(source / "in", place / "in")
    shutil.copytree(source / "given", place / "given")
    (place / "in" / "run.params").write_text(samples.params(place / "in" / "run.mzML", place / "out").replace(
        "rewrite_files = 1", "rewrite_files = 0"))


def words_of(command, place):
    return [word.replace("{in}", str(place / "in")).replace("{given}", str(place / "given")).replace("{out}", str(place / "out"))
            for word in command.argv]


_CREATED = re.compile(rb"(?m)^H\tCreationDate\t.*$")


def outputs_of(place, command):
    """What a command left: {path: bytes}, without logs and the time in extracted text. Of what it rewrites, what it
    was given."""
    folder = place / ("given" if command.rewrites else "out")
    return {str(path.relative_to(folder)): _CREATED.sub(b"", path.read_bytes(), count=1) for path in sorted(folder.rglob("*"))
            if path.is_file() and not path.name.endswith("Log.txt") and "batch_logs" not in path.parts}


def spoken(command, ran, place):
    return ran.output.replace(os.fsencode(place), b"") if command.speaks else b""


class Reference:
    """What an undisturbed run leaves, without what two such runs do not have in common."""

    def __init__(self, command, source, place):
        seen = []
        for _ in range(2):
            prepare(source, place)
            ran = run_plain(command, place)
            if ran.status != 0:
                raise SystemExit(f"calls: {command.name} fails undisturbed: {ran.output.decode(errors='replace')}")
            seen.append((outputs_of(place, command), spoken(command, ran, place)))
        (first, said), (second, said_again) = seen
        self.names = set(first) | set(second)
        self.outputs = {name: content for name, content in first.items() if second.get(name) == content}
        self.said = said if said == said_again else None

    def differs(self, outputs):
        """The name of an output that is another or missing; else of one that should not be; else empty."""
        for name, content in self.outputs.items():
            if outputs.get(name) != content:
                return name
        return next(iter(sorted(self.names - set(outputs))), next(iter(sorted(set(outputs) - self.names)), ""))


def run_plain(command, place):
    return judge.run(words_of(command, place), place / "cwd", hostile.environment(place), place)


def count_calls(command, source, place):
    """How often each call is made by the first process, and how often by the loader before the program:
    {(call, name in the system): (loader, all)}."""
    prepare(source, place)
    log = place / "strace"
    every = ",".join(sorted({"?" + name for names, _ in CALLS.values() for name in names}))
    subprocess.run(["strace", "-f", "-qq", "-o", str(log), "-e", "trace=" + every, *words_of(command, place)], cwd=place / "cwd",
                   env=hostile.environment(place), check=False, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    lines = log.read_text(errors="replace").splitlines()
    first = lines[0].split()[0]
    own = [re.match(r"\d+ +(\w+)\(", line) for line in lines if line.split()[0] == first]
    names = [match[1] for match in own if match]
    texts = [line for line in lines if line.split()[0] == first and re.match(r"\d+ +(\w+)\(", line)]
    loader = max((place for place, text in enumerate(texts) if re.search(r'openat\(.*(\.so|ld\.so\.cache)', text)), default=-1)
    # After a library is opened its head is read, its size is asked for, and it is closed.
    loader = min(loader + 4, len(names) - 1)
    counts = {}
    for call, (system_names, _) in CALLS.items():
        for name in system_names:
            if name in names:
                counts[call, name] = (names[:loader].count(name), names.count(name))
    return counts


def points_of(counts, most):
    for (call, name), (before, total) in counts.items():
        number = total - before
        chosen = range(number) if number <= most else sorted({round(i * (number - 1) / (most - 1)) for i in range(most)}) \
            if most > 1 else [number // 2]
        for point in chosen:
            for mode in ("once", "for good"):
                yield call, name, before + point + 1, mode


def try_point(command, reference, source, place, call, name, number, mode):
    """The verdicts on one point, with words on them, and the command."""
    prepare(source, place)
    planted = {path: judge.signature(path) for path in place.rglob("*")}
    before = judge.snapshot(place / "in")
    error = CALLS[call][1]
    inject = ["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={name}", "-e",
              f"inject={name}:error={error}:when={number}{'+' if mode == 'for good' else ''}"]
    ran = judge.run(inject + words_of(command, place), place / "cwd", hostile.environment(place), place)
    said, outputs = spoken(command, ran, place), outputs_of(place, command)
    found = [one for one in judge.judge_process(ran, True) if one[0] in (judge.SIGNAL, judge.TIME)]
    found += [(verdict, word) for verdict, word in judge.judge_outputs(place / ("given" if command.rewrites else "out"), planted)
              if verdict == judge.HALF]
    # An input that may not be opened is passed over, as documented, with two lines of WARN.
    if ran.status == 0 and not (b"is not a valid datapath" in ran.output and b"Cannot open input File" in ran.output):
        if call == "unlink":  # what cannot be deleted stays
            outputs = {path: content for path, content in outputs.items() if not path.endswith("_unfinished")}
        name_of = reference.differs(outputs)
        if name_of:
            found.append((WRONG, f"status 0, and {name_of} is missing, another, or too much"))
        elif reference.said is not None and said != reference.said:
            found.append((WRONG, "status 0, and the standard output is another"))
    elif not ran.output.strip() and call != "write" and ran.status > 0:
        found.append((SILENT, f"status {ran.status} without a word"))
    if judge.snapshot(place / "in") != before:
        found.append((INPUT, "an input has changed"))
    again = run_plain(command, place)
    name_of = reference.differs(outputs_of(place, command))
    if again.status != 0 or name_of:
        found.append((STUCK, f"run again: status {again.status}, {name_of or 'all outputs'}; "
                             f"{again.output[-200:].decode(errors='replace').strip()}"))
    return found, inject + words_of(command, place)


_STATE = {}


def work(task):
    index, (command_index, call, name, number, mode) = task
    root, references, all_commands = _STATE["root"], _STATE["references"], _STATE["commands"]
    place = root / f"{index:05d}"
    found, argv = try_point(all_commands[command_index], references[command_index], root / "source", place, call, name, number, mode)
    known = _STATE["known"]
    results = [(verdict, word, known.of(f"calls/{all_commands[command_index].name}/{call}", mode, verdict))
               for verdict, word in dict(found).items()]
    if all(line is not None for *_, line in results):
        shutil.rmtree(place, ignore_errors=True)
    return task, results, argv


def main():
    sys.stdout.reconfigure(errors="backslashreplace")  # names of cases and files need not be UTF-8
    parser = argparse.ArgumentParser()
    parser.add_argument("installed")
    parser.add_argument("short", nargs="?", choices=["short"])
    parser.add_argument("--points", type=int, default=6)
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--work", default="build/hostile-calls")
    options = parser.parse_args()
    if shutil.which("strace") is None:
        raise SystemExit("calls: there is no strace")
    root = Path(options.work).resolve()
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    programs = roads.Programs(options.installed, Path(__file__).resolve().parents[2])
    make_inputs(programs, root / "source")
    picked = [command for command in commands(programs) if options.only in command.name]
    tasks, references = [], []
    for index, command in enumerate(picked):
        references.append(Reference(command, root / "source", root / "reference"))
        counts = count_calls(command, root / "source", root / "reference")
        tasks += [(index, *point) for point in points_of(counts, 1 if options.short else options.points)]
    if options.short and len(tasks) > SHORT_RUNS:
        tasks = [tasks[i * len(tasks) // SHORT_RUNS] for i in range(SHORT_RUNS)]
    _STATE.update(root=root, references=references, commands=picked,
                  known=hostile.Known(Path(__file__).resolve().parent / "known.tsv"))
    return report(tasks, picked, options, root)


def report(tasks, picked, options, root):
    tried, kept, awaited, states = collections.Counter(), collections.Counter(), collections.Counter(), collections.Counter()
    used = collections.Counter()
    start = time.monotonic()
    with open(root / "findings.tsv", "w", encoding="utf-8", errors="surrogateescape") as findings, \
            ProcessPoolExecutor(options.jobs) as pool:
        for (_, (index, call, name, number, mode)), results, argv in pool.map(work, enumerate(tasks), chunksize=1):
            case = f"calls/{picked[index].name}/{call}"
            bad = [one for one in results if one[2] is None]
            tried[call] += 1
            for verdict, word, _ in bad:
                print(f"FAIL {case} {number} {mode} | {verdict}: {word}\n  {hostile.shell_words(argv)}", flush=True)
                print(case, f"{name} {number} {mode}", verdict, ascii(word), hostile.shell_words(argv), sep="\t", file=findings, flush=True)
            for *_, line in results:
                if line is not None:
                    used["\t".join(line)] += 1
            kinds = {line[3] for *_, line in results if line is not None}
            state = "failed" if bad else "awaited" if "awaited" in kinds else "passed"
            states[state] += 1
            kept[call] += state == "passed"
            awaited[call] += state == "awaited"
    for line, number in sorted(used.items()):
        fields = line.split("\t")
        print(f"{fields[3]}, {number} times: {fields[0]} of {fields[1]}, {fields[2]}: {fields[4]}")
    print("| call that fails | cases | kept |\n|---|---|---|")
    for call in CALLS:
        if tried[call]:
            print(f"| {call} | {tried[call]} | {kept[call]} |" + (f" {awaited[call]} awaited" if awaited[call] else ""))
    print(f"calls: {len(picked)} commands, {len(tasks)} cases in {time.monotonic() - start:.0f} s: {states['passed']} passed, "
          f"{states['failed']} failed, {states['awaited']} awaited")
    return 1 if states["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
