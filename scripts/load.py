#!/usr/bin/env python3
"""tarvek under load: one large run, a directory of many files, and the same with a broken one.

    scripts/load.py TARVEK TARVEK_TOOLS WORKDIR [--scans N] [--files N] [--table IPV]

Simulates the input into WORKDIR, which is emptied first and removed at the end, and prints for each run the wall
time, the peak memory and the most files open at once (from /proc, read every few milliseconds), the
latter also for the first and the last fifth of a run over many files: it must not grow with their
number. Of the run with a broken file it checks that the message names it, that everything before it
is finished, and that a second run, after the file is fixed, skips what is finished and does the
rest. Ends with status 1 when any of this does not hold.
"""
import argparse
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

SCANS_OF_A_SMALL_FILE = 100


class Measured:
    """A command, its exit status, text and cost."""

    def __init__(self, command):
        start = time.monotonic()
        self.megabytes = 0.0
        # Standard error goes to a file: a pipe would be read only at the end, and a full pipe
        # blocks.
        with tempfile.TemporaryFile() as errors, subprocess.Popen(
                command, stdout=subprocess.DEVNULL, stderr=errors) as process:
            samples = []
            while True:
                pid, status = os.waitpid(process.pid, os.WNOHANG)
                if pid:
                    break
                samples.append((time.monotonic() - start, self.open_files(process.pid)))
                self.megabytes = max(self.megabytes, self.peak_megabytes(process.pid))
                time.sleep(0.003)
            process.returncode = os.waitstatus_to_exitcode(status)
            errors.seek(0)
            self.errors = errors.read().decode()
        self.seconds = time.monotonic() - start
        self.status = process.returncode
        self.most_open = max((count for _, count in samples), default=0)
        self.early = max((count for at, count in samples if at < self.seconds / 5), default=0)
        self.late = max((count for at, count in samples if at > self.seconds * 4 / 5), default=0)

    @staticmethod
    def open_files(pid):
        try:
            return len(os.listdir(f"/proc/{pid}/fd"))
        except OSError:
            return 0

    @staticmethod
    def peak_megabytes(pid):
        """Read from the system while the process lives; the value of wait4 also counts the parent
        before exec."""
        try:
            with open(f"/proc/{pid}/status", encoding="ascii") as status:
                return next((int(row.split()[1]) / 1024 for row in status if row.startswith("VmHWM:")), 0.0)
        except OSError:
            return 0.0

    def line(self, name):
        return (f"{name:<44} status {self.status:>3}  {self.seconds:8.2f} s  {self.megabytes:7.1f} MB  "
                f"open files {self.most_open:3d} (first fifth {self.early}, last fifth {self.late})")


class Checks:
    def __init__(self):
        self.failed = False

    def require(self, holds, text):
        print(f"  {'ok' if holds else 'BROKEN'}: {text}", flush=True)
        self.failed = self.failed or not holds


def simulate(tools, base, scans, seed):
    subprocess.run([tools, "simulate", "--seed", str(seed), "--ms2", str(scans), str(base)], check=True)


def tables(folder):
    """Names of the finished tables, without their ending."""
    return {path.stem for path in pathlib.Path(folder).glob("*.csv")}


def outputs_in(folder):
    """Names and digests of all files except the log."""
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in folder.iterdir()
            if path.suffix != ".txt"}


def one_large_run(options, work, checks):
    simulate(options.tools, work / "large", options.scans, 1)
    size = sum((work / f"large.ms{level}").stat().st_size for level in (1, 2)) / 1e6
    run = Measured([options.tarvek, "-D", str(work / "large.ms1"), "-O", str(work / "out"), "-I", options.table])
    print(run.line(f"{options.scans} MS2 scans, {size:.0f} MB of text"), flush=True)
    checks.require(run.status == 0 and tables(work / "out") == {"large"}, "the run is finished")
    for path in work.glob("large*"):
        path.unlink()
    shutil.rmtree(work / "out")


def many_files(options, work, checks):
    """Leaves the input for the next part."""
    folder = work / "many"
    folder.mkdir()
    simulate(options.tools, work / "small", SCANS_OF_A_SMALL_FILE, 2)
    for number in range(options.files):
        for ending in (".ms1", ".ms2"):
            shutil.copy(work / f"small{ending}", folder / f"f{number:04d}{ending}")
    command = [options.tarvek, "-D", str(folder), "-F", "ms1", "-O", str(work / "out"), "-I", options.table]
    run = Measured(command)
    print(run.line(f"{options.files} files of {SCANS_OF_A_SMALL_FILE} MS2 scans"), flush=True)
    checks.require(run.status == 0 and len(tables(work / "out")) == options.files, "every file is finished")
    checks.require(run.late <= run.early, "the open files do not grow with the files done")
    again = Measured(command)
    print(again.line("the same again, everything finished"), flush=True)
    checks.require(again.status == 0, "all files are skipped")
    undisturbed = outputs_in(work / "out")
    shutil.rmtree(work / "out")
    return command, undisturbed


def with_a_broken_one(command, undisturbed, options, work, checks):
    # tarvek uses the system's order of the directory, so the middle file must be found in that
    # order.
    listed = [entry.name for entry in os.scandir(work / "many") if entry.name.endswith(".ms1")]
    place = len(listed) // 2
    broken = work / "many" / listed[place].replace(".ms1", ".ms2")
    whole = broken.read_bytes()
    os.remove(broken)
    os.mkdir(broken)  # a file that nobody can open, not even root
    run = Measured(command)
    print(run.line(f"{options.files} files, number {place + 1} broken"), flush=True)
    before = {name.removesuffix(".ms1") for name in listed[:place]}
    checks.require(run.status == 255, "the exit status is -1")
    checks.require(str(broken) in run.errors.splitlines()[-1], f"the message names it: {run.errors.splitlines()[-1]}")
    checks.require(tables(work / "out") == before, f"the {len(before)} files before it are finished, no other")
    outputs = outputs_in(work / "out")
    checks.require(all(outputs.get(name) == digest for name, digest in undisturbed.items()
                       if name[:len(listed[0]) - 4] in before), "their outputs are complete")
    os.rmdir(broken)
    broken.write_bytes(whole)
    rest = Measured(command)
    print(rest.line("run again, the broken one mended"), flush=True)
    checks.require(rest.status == 0 and outputs_in(work / "out") == undisturbed, "all outputs are those of an undisturbed run")
    checks.require((work / "out" / "TarvekPlusLog.txt").read_text().count("has existed results, skipping...") ==
                   len(before), "what was finished was skipped")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("tarvek", "tools", "work"):
        parser.add_argument(name)
    parser.add_argument("--scans", type=int, default=200000)
    parser.add_argument("--files", type=int, default=500)
    parser.add_argument("--table", default="data/IPV.txt")
    options = parser.parse_args()
    work = pathlib.Path(options.work)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    checks = Checks()
    try:
        one_large_run(options, work, checks)
        command, undisturbed = many_files(options, work, checks)
        with_a_broken_one(command, undisturbed, options, work, checks)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    sys.exit(checks.failed)


if __name__ == "__main__":
    main()
