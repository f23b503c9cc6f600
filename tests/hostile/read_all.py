"""Reads every file of a folder that tarvek_io knows, to its end: read_all.py PACKAGE_FOLDER FOLDER.

An error that tarvek_io announces is a fine answer; any other leaves a traceback.
"""
import os
import sys

sys.path.insert(0, sys.argv[1])
sys.dont_write_bytecode = True
import tarvek_io  # noqa: E402


def read(path):
    if path.endswith((".pf1", ".pf2")):
        with tarvek_io.PfFile(path) as scans:
            return sum(scan.mz.size for scan in scans)
    if path.endswith(".csv"):
        return tarvek_io.read_precursors(path).mz.size
    if path.endswith(".mgf"):
        return sum(one.mz.size for one in tarvek_io.read_mgf(path))
    if path.endswith(".tarvek"):
        return len(tarvek_io.read_record(path).settings)
    return None


for name in sorted(os.listdir(sys.argv[2])):
    try:
        number = read(os.path.join(sys.argv[2], name))
        if number is not None:
            print(ascii(name), number)
    except (OSError, tarvek_io.FormatError) as error:
        print(ascii(f"{error}"))
