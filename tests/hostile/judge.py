"""Runs a program with limits and judges what it did.

A run has the verdicts below; none is a pass. Outputs are judged by their formats (docs/formats), written
here a second time in the plainest way.
"""
import hashlib
import json
import os
import re
import stat
import struct
import subprocess
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SIGNAL = "signal"  # ended by a signal, or by the abort of a failed check
SANITIZER = "sanitizer"
SHELL = "shell"  # a word of a name was run as a command
NO_TABLE = "no table"  # status 0 and no complete table
MEMORY = "memory"
TIME = "time"
HALF = "half-written"  # something under a final name that is not whole
OUTSIDE = "outside"  # something changed that is no output
LOG = "log"  # raw control characters, or a line that a name forged
PAGE = "page"  # a name became markup
TRACE = "traceback"  # an error of Python that tarvek_io does not announce
SIZE = "size"  # more output than a small input can need
UNJUDGED = "unjudged"  # the suite itself failed
REFUSED = "refused"  # a good input with an odd name that was not processed as any other

MEMORY_MB = 256
SECONDS = 20  # of computing
WALL_SECONDS = 40  # so that a busy machine is no finding
OUTPUT_MB = 100
_ADDRESS_SPACE = 3 << 30
_FILE_BYTES = 1 << 30
_TABLE_START = b"ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor"
_ENDINGS = ("_unfinished",)


class Ran:
    """How one run of a program ended."""

    def __init__(self, argv, status, seconds, cpu_seconds, peak_mb, is_late):
        self.argv, self.status, self.output = argv, status, b""
        self.seconds, self.cpu_seconds, self.peak_mb, self.is_late = seconds, cpu_seconds, peak_mb, is_late


_launchers = {}


def launcher():
    """The launcher of this process, which starts it when it is first asked for."""
    if os.getpid() not in _launchers:
        program = Path(__file__).resolve().with_name("launcher.py")
        _launchers[os.getpid()] = subprocess.Popen(["/usr/bin/python3", "-I", "-S", str(program)], stdin=subprocess.PIPE,
                                                   stdout=subprocess.PIPE, text=True)
    return _launchers[os.getpid()]


def run(argv, cwd, env, scratch, is_asan=False, wall=WALL_SECONDS):
    """Runs a program in its own session, and kills all of it that is left afterwards."""
    console = Path(scratch) / "console"
    order = {"argv": [os.fsdecode(word) for word in argv], "cwd": str(cwd), "env": env, "console": str(console), "wall": wall,
             "address_bytes": 0 if is_asan else _ADDRESS_SPACE, "file_bytes": _FILE_BYTES}
    helper = launcher()
    helper.stdin.write(json.dumps(order) + "\n")
    helper.stdin.flush()
    ran = Ran(argv, **json.loads(helper.stdout.readline()))
    with open(console, "rb") as out:
        ran.output = out.read(4 << 20)
    return ran


def judge_process(ran, is_asan, most_seconds=SECONDS):
    """The verdicts on the process itself, with a word on each."""
    verdicts = []
    if ran.is_late or ran.cpu_seconds > most_seconds:
        verdicts.append((TIME, f"{ran.seconds:.1f} s, {ran.cpu_seconds:.1f} s of them computing"))
    elif ran.status < 0 or ran.status in (134, 139):
        verdicts.append((SIGNAL, f"status {ran.status}"))
    if b"AddressSanitizer" in ran.output or b"runtime error:" in ran.output or b"LeakSanitizer" in ran.output:
        verdicts.append((SANITIZER, line_with(ran.output, (b"AddressSanitizer", b"runtime error:", b"LeakSanitizer"))))
    if not is_asan and ran.peak_mb > MEMORY_MB:
        verdicts.append((MEMORY, f"{ran.peak_mb:.0f} MB"))
    if b"Traceback (most recent call last)" in ran.output:
        verdicts.append((TRACE, ran.output.splitlines()[-1].decode("utf-8", "replace")[:200]))
    return verdicts


def line_with(output, words):
    for line in output.splitlines():
        if any(word in line for word in words):
            return line.decode("utf-8", "replace")[:200]
    return ""


_CONTROL = re.compile(rb"[\x00-\x08\x0b-\x1f\x7f]")
_FORGED = re.compile(rb"^forged", re.M)


def judge_text(name, content):
    """The verdicts on a log or on console output."""
    content = content.replace(b"\r\n", b"\n")
    found = _CONTROL.search(content)
    if found:
        return [(LOG, f"{name} holds byte {found[0][0]:#04x}")]
    if _FORGED.search(content):
        return [(LOG, f"{name} has a line that a name forged")]
    try:
        content.decode("utf-8")
    except UnicodeDecodeError as error:
        # The console is read in part, so that its last character may be cut.
        if error.start < len(content) - 4:
            return [(LOG, f"{name} is no UTF-8 at byte {error.start}")]
    return []


def table_rows(content):
    """The number of rows of a precursor table; ValueError when it is not whole."""
    lines = content.split(b"\n")
    if lines.pop() != b"":
        raise ValueError("the last line is cut")
    if not lines or not lines[0].startswith(_TABLE_START):
        raise ValueError("it has no header line")
    for place, line in enumerate(lines[1:], 2):
        if not line.endswith(b", "):
            raise ValueError(f"line {place} is cut")
        fields = line[:-2].split(b", ")
        if len(fields) < 6 or len(fields) != 6 + 3 * int(fields[5]):
            raise ValueError(f"line {place} lacks fields")
    return len(lines) - 1


def check_pf(path):
    """ValueError when a .pf1 or .pf2 does not fit its header and its index."""
    content = path.read_bytes()
    if len(content) < 8:
        raise ValueError("it has no header")
    count, title = struct.unpack_from("<ii", content)
    place = 8 + title
    if title < 0:
        raise ValueError("its title has a length below 0")
    offsets = []
    for _ in range(count):
        offsets.append(place)
        _, peaks = struct.unpack_from("<ii", content, place)
        place += 8 + 16 * peaks
        (precursors,) = struct.unpack_from("<i", content, place)
        place += 4 + 12 * precursors
    if place != len(content):
        raise ValueError(f"{len(content)} bytes are not {count} records")
    index = path.with_name(path.name + "idx").read_bytes()
    if len(index) != 8 * count or [struct.unpack_from("<ii", index, 8 * i)[1] for i in range(count)] != offsets:
        raise ValueError("its index is another")


def check_mgf(path):
    is_open = False
    with open(path, "rb") as lines:
        last = b"\n"
        for last in lines:
            if last.startswith(b"BEGIN IONS"):
                if is_open:
                    raise ValueError("a block is open in another")
                is_open = True
            elif last.startswith(b"END IONS"):
                is_open = False
    if is_open or not last.endswith(b"\n"):
        raise ValueError("its last block is cut")


def check_html(path):
    if not path.read_bytes().rstrip().endswith(b"</html>"):
        raise ValueError("the page is cut")


def check_json(path):
    json.loads(path.read_bytes())


def judge_json(output):
    """The verdicts on standard output that is one JSON text or one in each line, without inf and nan. What is said
    on standard error may come before it."""
    def refuse(word):
        raise ValueError(f"the JSON holds {word}")
    text = output.decode("utf-8", "replace")
    start = re.search(r"^[\[{]", text, re.M)
    if start is None or len(output) >= 4 << 20:  # nothing, or read in part
        return []
    text = text[start.start():]
    try:
        json.loads(text, parse_constant=refuse)
    except ValueError:
        try:
            for line in text.split("\n"):
                if line.startswith("{"):
                    json.loads(line, parse_constant=refuse)
        except ValueError as error:
            return [(HALF, f"standard output: {error}")]
    return []


def check_mzml(path):
    ElementTree.parse(path)


def check_lines(path):
    content = path.read_bytes()
    if content and not content.endswith(b"\n"):
        raise ValueError("its last line is cut")


def check_table(path):
    table_rows(path.read_bytes())


# What has its name only when it is whole; .pf and .mgf of a run are whole when its table is there.
_FINAL = {".csv": check_table, ".tarvek": check_lines, ".morvex": check_lines, ".html": check_html,
          ".json": check_json, ".tsv": check_lines, ".ms1": check_lines, ".ms2": check_lines,
          ".mzML": check_mzml}
_BESIDE_TABLE = {".mgf": check_mgf, ".pf1": check_pf, ".pf2": check_pf}


def judge_outputs(folder, planted):
    """The verdicts on all files in a folder of outputs. planted: names that the case put there, which are
    not judged as long as they are what it put there."""
    verdicts = []
    if not folder.is_dir():
        return verdicts
    total = 0
    for path in sorted(folder.rglob("*")):
        if path.is_symlink() or not path.is_file():
            continue
        size = path.stat().st_size
        total += size
        name = path.name
        if name.endswith(_ENDINGS) or planted.get(path) == signature(path):
            continue
        if name.endswith("Log.txt") or "batch_logs" in path.parts:
            verdicts += judge_text(name, path.read_bytes()[:4 << 20])
            continue
        check = _FINAL.get(path.suffix)
        if check is None and path.suffix in _BESIDE_TABLE:
            base = re.sub(r"_[A-Z]+(FT|IT|Unknown)$", "", path.stem)
            if (folder / (base + ".csv")).exists() or (folder / (base + ".tarvek")).exists():
                check = _BESIDE_TABLE[path.suffix]
        if check is not None:
            try:
                check(path)
            except (ValueError, LookupError, struct.error, OSError, ElementTree.ParseError) as error:
                verdicts.append((HALF, f"{name}: {error}"))
        if path.suffix == ".html" and re.search(rb"<img src=x|<script>forged", path.read_bytes()):
            verdicts.append((PAGE, f"{name} holds the markup of a name"))
    if total > OUTPUT_MB << 20:
        verdicts.append((SIZE, f"{total >> 20} MB in {folder.name}"))
    return verdicts


def signature(path):
    """What tells a change of a file, link, pipe or folder."""
    try:
        state = os.lstat(path)
    except OSError:
        return None
    kind = stat.S_IFMT(state.st_mode)
    if kind == stat.S_IFLNK:
        return kind, os.readlink(path)
    if kind != stat.S_IFREG:
        return kind, None
    if state.st_size > 1 << 24:
        return kind, state.st_size, state.st_mtime_ns
    with open(path, "rb") as file:
        return kind, hashlib.sha1(file.read()).hexdigest()


def snapshot(root):
    """The signatures of everything in a folder."""
    found = {}
    for folder, names, files in os.walk(root):
        for name in names + files:
            path = os.path.join(folder, name)
            found[path] = signature(path)
    return found


def judge_outside(before, after):
    changed = sorted(path for path in before.keys() | after.keys() if before.get(path) != after.get(path))
    if not changed:
        return []
    if any(b"pwned" in os.fsencode(os.path.basename(path))[:5] for path in changed):
        return [(SHELL, repr(changed[0]))]
    return [(OUTSIDE, repr(changed[0])[:200])]
