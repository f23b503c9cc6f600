#!/usr/bin/env python3
"""Times the way from mzML and mzXML to all outputs against other programs, in interleaved pairs.

    scripts/bench_mzml.py PREFIX RUN.mzML WORK [--before PREFIX] [--pairs N] [--kinds zlib,plain,...]

PREFIX is an installed tree (bin/tarvek, libexec/tarvek, share/tarvek). RUN.mzML is compressed by zlib, as
tarvek-tools simulate writes it. Timed are: tarvek as it is; with one thread; with --before, the tarvek of another
tree; and msconvert --mgf where it is installed. The other kinds (plain, numpress and mzxml by msconvert, gz, bgzip)
are made in WORK where these programs are installed. Prints for each kind the median of each program's wall time, CPU time and peak memory,
and the ratios to the first. All programs of one kind run once in each round; outputs are checked: those of all tarveks
are the same bytes, and msconvert wrote as many spectra as there are MS2 scans.
"""
import argparse
import gzip
import hashlib
import os
import shutil
import subprocess
import sys
import time

KINDS = ("zlib", "plain", "numpress", "mzxml", "gz", "bgzip")
OPTIONS = {"plain": ["--mzML"], "numpress": ["--mzML", "--zlib", "--numpressAll"], "mzxml": ["--mzXML", "--zlib"]}


def run(command, environment=None):
    """(wall seconds, CPU seconds, peak MB) of a command that must succeed, its children included."""
    start = time.monotonic()
    with open(os.devnull, "wb") as nowhere:
        process = subprocess.Popen(command, stdout=nowhere, stderr=nowhere, env=environment)
        _, status, usage = os.wait4(process.pid, 0)
    wall = time.monotonic() - start
    if status != 0:
        sys.exit(f"{' '.join(command)} failed with {status}")
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def median_of(values):
    ordered = sorted(values)
    return (ordered[len(ordered) // 2] + ordered[~(len(ordered) // 2)]) / 2


def with_maker(source, path):
    """A copy that names an instrument model, which msconvert needs to write mzXML."""
    with open(source, "rb") as lines, open(path, "wb") as out:
        for line in lines:
            out.write(line.replace(b'accession="MS:1000031" name="instrument model"',
                                   b'accession="MS:1000449" name="LTQ Orbitrap"'))
    return path


def make_kind(kind, source, work):
    """The run in another form, made once; None when no program here can make it."""
    if kind == "zlib":
        return source
    base = os.path.splitext(os.path.basename(source))[0]
    if kind in ("gz", "bgzip"):
        path = os.path.join(work, kind, base + ".mzML.gz")
        if not os.path.exists(path):
            os.makedirs(os.path.dirname(path), exist_ok=True)
            if kind == "bgzip":
                if not shutil.which("bgzip"):
                    return None
                with open(path, "wb") as out:
                    subprocess.run(["bgzip", "-c", source], stdout=out, check=True)
            else:
                with open(source, "rb") as plain, gzip.open(path, "wb", 6) as packed:
                    shutil.copyfileobj(plain, packed, 1 << 20)
        return path
    if not shutil.which("msconvert"):
        return None
    path = os.path.join(work, kind, base + (".mzXML" if kind == "mzxml" else ".mzML"))
    if not os.path.exists(path):
        if kind == "mzxml":
            source = with_maker(source, os.path.join(work, "with-maker.mzML"))
        folder, name = os.path.split(path)
        command = ["msconvert", source, "--64", "-o", folder, "--outfile", name] + OPTIONS[kind]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return path


def digest_of(folder):
    """The digest of every output except the log, without the dates in headers."""
    whole = hashlib.sha256()
    for name in sorted(os.listdir(folder)):
        if name.endswith(".txt"):
            continue
        with open(os.path.join(folder, name), "rb") as content:
            first = content.readline()
            whole.update(name.encode() + (b"" if first.startswith(b"H\tCreationDate") else first))
            for block in iter(lambda: content.read(1 << 20), b""):
                whole.update(block)
    return whole.hexdigest()


class Contender:
    def __init__(self, name, command, environment=None, folder=None):
        self.name, self.command, self.folder = name, command, folder
        self.environment = dict(os.environ, **(environment or {}))
        self.times = []

    def once(self):
        if self.folder:
            shutil.rmtree(self.folder, ignore_errors=True)
        self.times.append(run(self.command, self.environment))

    def medians(self):
        return [median_of(column) for column in zip(*self.times)]


def contenders_for(kind, path, arguments, work):
    def tarvek(name, prefix, environment=None):
        folder = os.path.join(work, "out-" + name.replace(" ", "-"))
        return Contender(name, [os.path.join(prefix, "bin/tarvek"), "-D", path, "-O", folder, "-L", work], environment, folder)

    listed = [tarvek("tarvek", arguments.prefix), tarvek("one thread", arguments.prefix, {"TARVEK_THREADS": "1"})]
    if arguments.before:
        listed.append(tarvek("before", arguments.before))
    if shutil.which("msconvert") and kind != "bgzip":  # of a gzip file it reads the first member alone
        folder = os.path.join(work, "out-msconvert")
        listed.append(Contender("msconvert", ["msconvert", "--mgf", path, "-o", folder], None, folder))
    return listed


def check(listed):
    """The number of MS2 scans; all answers agree."""
    digests = {one.name: digest_of(one.folder) for one in listed if one.name != "msconvert"}
    if len(set(digests.values())) != 1:
        sys.exit(f"outputs differ: {digests}")
    folder = listed[0].folder
    table = next(name for name in os.listdir(folder) if name.endswith(".csv"))
    with open(os.path.join(folder, table), "rb") as rows:
        scans = sum(1 for _ in rows) - 1
    for one in listed:
        if one.name == "msconvert":
            name = next(name for name in os.listdir(one.folder) if name.endswith(".mgf"))
            with open(os.path.join(one.folder, name), "rb") as lines:
                spectra = sum(1 for line in lines if line.startswith(b"BEGIN IONS"))
            if spectra != scans:
                sys.exit(f"msconvert wrote {spectra} spectra, tarvek {scans} scans")
    return scans


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("prefix", "run", "work"):
        parser.add_argument(name)
    parser.add_argument("--before")
    parser.add_argument("--pairs", type=int, default=5)
    parser.add_argument("--kinds", default=",".join(KINDS))
    arguments = parser.parse_args()
    os.makedirs(arguments.work, exist_ok=True)
    print("| input | program | wall s | CPU s | peak MB | wall ratio | CPU ratio |\n|---|---|---|---|---|---|---|")
    for kind in arguments.kinds.split(","):
        path = make_kind(kind, os.path.abspath(arguments.run), os.path.abspath(arguments.work))
        if path is None:
            print(f"{kind}: left out, nothing here can make it", file=sys.stderr)
            continue
        listed = contenders_for(kind, path, arguments, os.path.abspath(arguments.work))
        for _ in range(arguments.pairs):
            for one in listed:
                one.once()
        check(listed)
        first = listed[0].medians()
        for one in listed:
            wall, cpu, peak = one.medians()
            print(f"| {kind} {os.path.getsize(path) / 1e6:.0f} MB | {one.name} | {wall:.2f} | {cpu:.2f} | {peak:.0f} | "
                  f"{first[0] / wall:.2f} | {first[1] / cpu:.2f} |", flush=True)


if __name__ == "__main__":
    main()
