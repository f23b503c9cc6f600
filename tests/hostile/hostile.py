#!/usr/bin/python3
"""Gives hostile inputs to every program and judges what comes of it.

    hostile.py INSTALLED [short] [--asan] [--seed N] [--random N] [--only EXPRESSION] [--jobs N] [--work FOLDER] [--list]

INSTALLED: where the programs are, as cmake --install puts them. short: every case of a small sample.
--only: the cases with names in which the regular expression is found. --random: how many random structures. A failing case keeps its
folder in FOLDER, and its command is printed. Verdicts: judge.py. What is known: known.tsv.
"""
import argparse
import collections
import fnmatch
import os
import re
import shutil
import sys
import time
import traceback
import zlib
from concurrent.futures import ProcessPoolExecutor, as_completed
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import cases  # noqa: E402
import judge  # noqa: E402
import roads  # noqa: E402
import samples  # noqa: E402

SHORT_CASES = 200
LONG_CASES = re.compile("(64|256|500) MB|1 GB|,000|100000$|/pipe$|zero$")  # those that a short round leaves out
ASAN_FACTOR = 5  # how much slower the sanitized programs may be


class Known:
    """The lines of known.tsv: verdict, case, road (both patterns), "accepted" or "awaited", reason."""

    def __init__(self, path):
        self.lines = []
        for text in Path(path).read_text().splitlines():
            if text and not text.startswith("#"):
                fields = text.split("\t")
                if len(fields) != 5 or fields[3] not in ("accepted", "awaited"):
                    raise SystemExit(f"{path}: {text}")
                self.lines.append(fields)

    def of(self, case, road, verdict):
        """The first line that fits a verdict, None without one."""
        for line in self.lines:
            if line[0] == verdict and fnmatch.fnmatchcase(case, line[1]) and fnmatch.fnmatchcase(road, line[2]):
                return line
        return None


def environment(place):
    return {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "HOME": str(place / "home"), "TMPDIR": str(place / "tmp"),
            "ASAN_OPTIONS": "allocator_may_return_null=1:hard_rss_limit_mb=4000", "UBSAN_OPTIONS": "print_stacktrace=1"}


def prepare(case, place, programs):
    shutil.rmtree(place, ignore_errors=True)
    for name in ("cwd", "home", "tmp", "other", "outside", "in"):
        (place / name).mkdir(parents=True)
    if case.kind == "outputs":
        programs.install_good(place / "out")
    case.prepare(place)


def shell_words(argv):
    """A command that a shell understands, whatever bytes are in it."""
    words = []
    for word in argv:
        word = os.fsencode(word)
        plain = all(chr(byte).isalnum() and byte < 128 or byte in b"/._-=+:," for byte in word)
        words.append(word.decode() if plain and word else "$'" + "".join(
            chr(byte) if 32 <= byte < 127 and byte not in b"'\\" else f"\\x{byte:02x}" for byte in word) + "'")
    return " ".join(words)


def verdicts_of(case, road, ran, before, place, planted, is_asan):
    """All verdicts on a run, and the state of the folder after it."""
    found = judge.judge_process(ran, is_asan, judge.SECONDS * (ASAN_FACTOR if is_asan else 1))
    found += judge.judge_text("the console", ran.output)
    for folder in road.outputs:
        found += judge.judge_outputs(Path(os.fsdecode(folder)), planted)
    own = {os.fsdecode(folder) for folder in road.outputs} | {str(place / "tmp")}
    after = judge.snapshot(place)
    found += judge.judge_outside({path: seen for path, seen in before.items() if not inside(path, own)},
                                 {path: seen for path, seen in after.items() if not inside(path, own)})
    for path in after:
        if os.path.basename(path).startswith("pwned") and path not in before:
            found.append((judge.SHELL, path))
    found += table_verdicts(case, road, ran, planted)
    return found, after


def inside(path, folders):
    return any(path == folder or path.startswith(folder + os.sep) for folder in folders)


def table_verdicts(case, road, ran, planted):
    is_done = ran.status == 0 and not ran.is_late
    found = []
    for path in road.needs:
        if is_done and not os.path.isfile(path):
            found.append((judge.NO_TABLE, f"status 0 without {os.fsdecode(path)!r}"))
    rows = None
    if road.table is not None:
        path = Path(os.fsdecode(road.table))
        is_there = path.is_file() and planted.get(path) != judge.signature(path)
        try:
            rows = judge.table_rows(path.read_bytes()) if is_there else None
        except (ValueError, OSError) as error:
            found.append((judge.HALF, f"{path.name}: {error}"))
        if is_done and not is_there:
            found.append((judge.NO_TABLE, f"status 0 without {path.name!r}"))
        if not is_done and is_there:
            found.append((judge.HALF, f"{path.name!r} in spite of status {ran.status}"))
        if case.rows is not None and road.is_main and rows != case.rows and not found:
            found.append((judge.REFUSED, f"status {ran.status}, {rows} rows: " + last_words(ran.output)))
    if is_done and road.restores is not None:
        try:
            rows = judge.table_rows(Path(os.fsdecode(road.restores)).read_bytes())
        except (ValueError, OSError) as error:
            rows = error
        if rows != samples.GOOD_ROWS:
            found.append((judge.NO_TABLE, f"status 0, and the table of the good input has as rows: {rows}"))
    if is_done and road.says_json:
        found += judge.judge_json(ran.output)
    return found


def last_words(output):
    lines = [line for line in output.decode("utf-8", "replace").splitlines() if "ERROR" in line or "tarvek-tools" in line]
    return ascii((lines or [""])[-1])[:300]


def try_case(case, place, programs, known, is_asan):
    """Runs all roads of a case. Returns [(road, verdict, word, command, known line or None)] and the number of runs."""
    place = Path(place)
    prepare(case, place, programs)
    wall = judge.WALL_SECONDS * (ASAN_FACTOR if is_asan else 1)
    results, count = [], 0
    before = None
    for road in roads.roads_of(case, place, programs):
        if case.kind in roads.FRESH and count:
            prepare(case, place, programs)
            before = None
        if before is None:
            before = judge.snapshot(place)
            planted = {Path(path): seen for path, seen in before.items() if seen is not None}
        for folder in road.outputs:
            if road.name.split()[0] not in ("tarvek", "run"):  # which make theirs
                os.makedirs(folder, exist_ok=True)
        ran = judge.run(road.argv, place / road.cwd, environment(place), place.parent / f"{place.name}.console", is_asan, wall)
        count += 1
        found, before = verdicts_of(case, road, ran, before, place, planted, is_asan)
        for verdict, word in dict(found).items():
            results.append((road.name, verdict, word, f"cd {shell_words([str(place / road.cwd)])} && {shell_words(road.argv)}",
                            known.of(case.name, road.name, verdict)))
    return results, count


_STATE = {}


def work(index):
    case, programs, known, is_asan, root = _STATE["cases"][index], *_STATE["rest"]
    place = root / f"{index:05d}"
    os.makedirs(f"{place}.console", exist_ok=True)
    start = time.monotonic()
    try:
        results, count = try_case(case, place, programs, known, is_asan)
    except Exception:  # noqa: BLE001 - one case must not end the others
        results, count = [("the suite", judge.UNJUDGED, traceback.format_exc(), "", None)], 0
    finally:
        shutil.rmtree(f"{place}.console", ignore_errors=True)
    if any(line is None for *_, line in results):
        for folder, _, names in os.walk(place):  # what is kept is for reading
            for name in names:
                path = os.path.join(folder, name)
                if not os.path.islink(path) and os.path.getsize(path) > 64 << 20:
                    os.truncate(path, 64 << 20)
    else:
        shutil.rmtree(place, ignore_errors=True)
    return index, results, count, time.monotonic() - start


def chosen(all_cases, is_short, only):
    """The cases to try: all, those of an expression, or a sample that takes some of each group."""
    if only:
        return [case for case in all_cases if re.search(only, case.name)]
    if not is_short:
        return all_cases
    all_cases = [case for case in all_cases if not LONG_CASES.search(case.name)]
    ranked = sorted(all_cases, key=lambda case: zlib.crc32(case.name.encode()))
    groups = collections.defaultdict(list)
    for case in ranked:
        groups[case.name.split("/")[0]].append(case)
    picked, turn = [], 0
    while len(picked) < SHORT_CASES:
        for group in groups.values():
            if turn < len(group):
                picked.append(group[turn])
        turn += 1
    return [case for case in all_cases if case in set(picked[:SHORT_CASES])]


def main():
    sys.stdout.reconfigure(errors="backslashreplace")  # names of cases and files need not be UTF-8
    parser = argparse.ArgumentParser(add_help=True)
    parser.add_argument("installed")
    parser.add_argument("short", nargs="?", choices=["short"])
    parser.add_argument("--asan", action="store_true")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--random", type=int, default=60)
    parser.add_argument("--only")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--work", default="build/hostile")
    parser.add_argument("--list", action="store_true")
    options = parser.parse_args()
    picked = chosen(list(cases.all_cases(options.seed, options.random)), options.short == "short", options.only)
    if options.list:
        print("\n".join(case.name for case in picked))
        return 0
    root = Path(options.work).resolve()
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    programs = roads.Programs(options.installed, Path(__file__).resolve().parents[2])
    programs.make_good(root / "good")
    known = Known(Path(__file__).resolve().parent / "known.tsv")
    _STATE.update(cases=picked, rest=(programs, known, options.asan, root))
    good_before = judge.snapshot(root / "good")
    return report(picked, options, root, good_before)


def report(picked, options, root, good_before):
    counts, used, runs, slow = collections.Counter(), collections.Counter(), 0, []
    findings = open(root / "findings.tsv", "w", encoding="utf-8", errors="surrogateescape")
    with findings, ProcessPoolExecutor(options.jobs) as pool:
        for done in as_completed([pool.submit(work, index) for index in range(len(picked))]):
            index, results, count, seconds = done.result()
            name = picked[index].name
            runs += count
            slow.append((seconds, name))
            bad = [result for result in results if result[4] is None]
            for *_, line in results:
                if line is not None:
                    used["\t".join(line)] += 1
            for road, verdict, word, command, _ in bad:
                print(f"FAIL {name} | {road} | {verdict}: {word}\n  {command}", flush=True)
                print(name, road, verdict, word, command, sep="\t", file=findings, flush=True)
            kinds = {line[3] for *_, line in results if line is not None}
            state = "failed" if bad else "awaited" if "awaited" in kinds else "accepted" if kinds else "passed"
            counts[state] += 1
    if judge.snapshot(root / "good") != good_before:
        print("FAIL the good outputs, which were only to be read, have changed")
        counts["failed"] += 1
    for line, number in sorted(used.items()):
        fields = line.split("\t")
        print(f"{fields[3]}, {number} times: {fields[0]} of {fields[1]} by {fields[2]}: {fields[4]}")
    print("slowest: " + ", ".join(f"{name} {seconds:.0f} s" for seconds, name in sorted(slow, reverse=True)[:5]))
    print(f"hostile: {len(picked)} inputs, {runs} runs: {counts['passed'] + counts['accepted']} passed"
          f" ({counts['accepted']} of them with an accepted verdict), {counts['failed']} failed, {counts['awaited']} awaited")
    return 1 if counts["failed"] else 0


if __name__ == "__main__":
    sys.exit(main())
