#!/usr/bin/env python3
"""Times tarvek-tools batch with two jobs against one, on simulated runs.

    scripts/measure_batch.py build/release/bin WORKDIR [--files 100] [--scans 1000] [--pairs 3]

It simulates the runs once (seeds 1, 2, ...), warms the page cache with one batch, then alternates batches of
one and of two jobs and prints the time of each, the ratio of each pair, and the median ratio. The outputs of
all batches must be the same bytes. At last it breaks one file: the others must finish. Exit status
0 when all this holds; the ratio is only reported, as it depends on what else the machine does.
"""
import argparse
import hashlib
import pathlib
import shutil
import statistics
import subprocess
import sys
import time


def simulate(options):
    runs = options.workdir / "in"
    runs.mkdir(parents=True, exist_ok=True)
    for seed in range(1, options.files + 1):
        if not (runs / f"run{seed}.truth.tsv").exists():
            subprocess.run([options.programs / "tarvek-tools", "simulate", "--seed", str(seed), "--ms2",
                            str(options.scans), runs / f"run{seed}"], check=True)
    return runs


def batch(options, runs, name, jobs, *more):
    """(seconds, exit status, last line) of a batch into an empty directory."""
    out = options.workdir / name
    shutil.rmtree(out, ignore_errors=True)
    command = [options.programs / "tarvek-tools", "batch", "--jobs", str(jobs), *more, "--", "-D", runs,
               "-F", "ms1", "-O", out, "-I", options.table]
    start = time.monotonic()
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    return time.monotonic() - start, result.returncode, result.stdout.splitlines()[-1]


def fingerprint(out):
    """SHA-256 over names and contents of the output files; logs are in a subfolder."""
    digest = hashlib.sha256()
    for path in sorted(path for path in out.iterdir() if path.is_file()):
        digest.update(path.name.encode())
        digest.update(path.read_bytes())
    return digest.hexdigest()


def measure(options, runs):
    """Prints the pairs; the set of all fingerprints."""
    fingerprints, ratios = set(), []
    batch(options, runs, "out1", 1)
    for pair in range(1, options.pairs + 1):
        seconds = {}
        for jobs in (1, 2):
            seconds[jobs], status, sums = batch(options, runs, f"out{jobs}", jobs)
            if status != 0:
                sys.exit(f"a batch failed: {sums}")
            fingerprints.add(fingerprint(options.workdir / f"out{jobs}"))
            shutil.rmtree(options.workdir / f"out{jobs}")  # so that the disk has finished writing
        ratios.append(seconds[2] / seconds[1])
        print(f"pair {pair}: 1 job {seconds[1]:.2f} s, 2 jobs {seconds[2]:.2f} s, ratio {ratios[-1]:.3f}",
              flush=True)
    print(f"median ratio {statistics.median(ratios):.3f}, smallest {min(ratios):.3f}")
    return fingerprints


def break_one(options, runs):
    """(exit status, last line) of a batch in which the MS2 file of one run is missing."""
    broken, hidden = runs / "run2.ms2", runs / "run2.ms2.hidden"
    broken.rename(hidden)
    try:
        _, status, sums = batch(options, runs, "broken", 2, "--keep-going")
    finally:
        hidden.rename(broken)
    return status, sums


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("workdir", type=pathlib.Path)
    parser.add_argument("--files", type=int, default=100)
    parser.add_argument("--scans", type=int, default=1000)
    parser.add_argument("--pairs", type=int, default=3)
    options = parser.parse_args()
    options.table = pathlib.Path(__file__).resolve().parent.parent / "data" / "IPV.txt"
    runs = simulate(options)
    fingerprints = measure(options, runs)
    print("the same bytes from all" if len(fingerprints) == 1 else "DIFFERENT BYTES")
    status, sums = break_one(options, runs)
    print(f"one file broken: status {status}, {sums}")
    finishes = status == 1 and sums.startswith(f"{options.files - 1} done, 1 failed")
    sys.exit(0 if len(fingerprints) == 1 and finishes else 1)


if __name__ == "__main__":
    main()
