"""The package tarvek_io: its wheel (built and installed without network), types and conversions.

    package_test.py TARVEK_TOOLS SOURCE_DIRECTORY [arguments of unittest]
"""
import csv
import importlib.util
import inspect
import os
import re
import shutil
import subprocess
import sys
import tempfile
import typing
import unittest
import zipfile

TOOLS, SOURCE = (os.path.abspath(path) for path in sys.argv[1:3])
sys.path.insert(0, os.path.join(SOURCE, "python"))

import numpy as np  # noqa: E402
import tarvek_io  # noqa: E402

HEADER = ("ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, PrecursorIdentifier, "
          "MZ, Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, Charge, PrecursorIdentifier, MZ, "
          "Charge, PrecursorIdentifier, MZ, Charge\n")
TABLE = HEADER + ("HCD, FT, 2, 500.000000, 2, 1, 1, 500.000500, 2, \n"
                  "HCD, FT, 6, 700.000000, 2, 2, 1, 710.000000, 2, 2, -720.000000, -3, \n"
                  "CID, IT, 8, -1.000000, -1, 1, 1, 650.250000, 2, \n")


def has(*modules):
    return all(importlib.util.find_spec(module) for module in modules)


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="ascii", newline="") as out:
            out.write(text)
        return path

    def run_python(self, *arguments, **more):
        done = subprocess.run([sys.executable, *arguments], cwd=self.folder, capture_output=True, text=True,
                              check=False, **more)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout


class Wheel(Folder):
    @unittest.skipUnless(has("pip", "setuptools", "wheel"), "pip, setuptools or wheel is not installed")
    def test_it_is_built_and_installed_without_network_and_reads_a_table(self):
        shutil.copytree(os.path.join(SOURCE, "python"), os.path.join(self.folder, "source"))
        offline = ["--no-index", "--no-deps", "--no-cache-dir", "--disable-pip-version-check"]
        self.run_python("-m", "pip", "wheel", *offline, "--no-build-isolation", "-w", "wheels", "./source")
        wheels = os.listdir(os.path.join(self.folder, "wheels"))
        self.assertEqual(wheels, ["tarvek_io-2.2.1-py3-none-any.whl"])
        wheel = os.path.join("wheels", wheels[0])
        with zipfile.ZipFile(os.path.join(self.folder, wheel)) as files:
            names = files.namelist()
            metadata = files.read("tarvek_io-2.2.1.dist-info/METADATA").decode()
        self.assertIn("tarvek_io/__init__.py", names)
        self.assertIn("tarvek_io/py.typed", names)
        self.assertEqual([line for line in metadata.splitlines() if line.startswith("Requires-Dist")],
                         ["Requires-Dist: numpy (>=1.21)", "Requires-Dist: pandas (>=1.3) ; extra == 'pandas'"])
        self.run_python("-m", "pip", "install", *offline, "--target", "installed", wheel)
        table = self.write("run.csv", TABLE)
        printed = self.run_python(
            "-c", "import sys, tarvek_io; print(tarvek_io.__file__, len(tarvek_io.read_precursors(sys.argv[1])))", table,
            env={**os.environ, "PYTHONPATH": os.path.join(self.folder, "installed")})
        self.assertEqual(printed.split(),
                         [os.path.join(self.folder, "installed", "tarvek_io", "__init__.py"), "3"])

    def test_its_version_is_that_of_tarvek(self):
        def version(name, pattern):
            with open(os.path.join(SOURCE, name), encoding="utf-8") as text:
                return re.search(pattern, text.read()).group(1)
        of_tarvek = version("CMakeLists.txt", r"project\(tarvek VERSION (\S+)")
        self.assertEqual(version("python/pyproject.toml", r'(?m)^version = "(.*)"'), of_tarvek)
        self.assertEqual(tarvek_io.__version__, of_tarvek)


class Types(unittest.TestCase):
    def test_all_that_is_public_is_typed(self):
        checked = 0
        for name in tarvek_io.__all__:
            thing = getattr(tarvek_io, name)
            functions = [thing] if inspect.isfunction(thing) else [
                value.fget if isinstance(value, property) else value for key, value in vars(thing).items()
                if (inspect.isfunction(value) or isinstance(value, property))
                and (key == "__init__" or not key.startswith("__"))]
            for function in functions:
                if function.__name__ == "__init__" and hasattr(thing, "__dataclass_fields__"):
                    continue  # made from the fields; their types are needed anyway
                with self.subTest(name=name, function=function.__name__):
                    wanted = set(inspect.signature(function).parameters) - {"self"} | {"return"}
                    self.assertEqual(set(function.__annotations__), wanted)
                    checked += 1
        self.assertGreater(checked, 15)

    def test_annotations_are_names_that_there_are(self):
        for name in ("read_precursors", "read_mgf", "scan_of_title", "read_record"):
            typing.get_type_hints(getattr(tarvek_io, name))
        for name in ("SurveyScan", "FragmentScan", "PfFile", "PrecursorTable", "MgfSpectrum", "RunRecord"):
            typing.get_type_hints(getattr(tarvek_io, name))


class Columns(Folder):
    def setUp(self):
        super().setUp()
        self.path = self.write("run.csv", TABLE)
        self.table = tarvek_io.read_precursors(self.path)

    def test_there_is_a_row_for_each_precursor(self):
        columns = self.table.to_columns()
        self.assertEqual(columns["scan"].tolist(), [2, 6, 6, 8])
        self.assertEqual(columns["rank"].tolist(), [1, 1, 2, 1])
        self.assertEqual(columns["activation"].tolist(), ["HCD", "HCD", "HCD", "CID"])
        self.assertEqual(columns["mz"].tolist(), [500.0005, 710, 720, 650.25])
        self.assertEqual(columns["charge"].tolist(), [2, 2, -3, 2])
        self.assertEqual(columns["declared_mz"].tolist()[:3], [500, 700, 700])
        self.assertTrue(np.isnan(columns["declared_mz"][3]))
        self.assertEqual(columns["declared_charge"].tolist(), [2, 2, 2, 0])

    def test_they_are_those_of_the_tools(self):
        printed = subprocess.run([TOOLS, "table", self.path], capture_output=True, text=True, check=True).stdout
        rows = list(csv.DictReader(printed.splitlines(), delimiter="\t"))
        columns = self.table.to_columns()
        for name, values in columns.items():
            self.assertIn(name, rows[0])
            for row, value in zip(rows, values.tolist()):
                expected = row[name]
                if expected == "":
                    self.assertTrue(value == 0 or np.isnan(value), name)
                else:
                    self.assertEqual(type(value)(expected), value, name)

    @unittest.skipIf(has("pandas"), "pandas is installed")
    def test_without_pandas_it_is_asked_for(self):
        with self.assertRaises(ImportError) as caught:
            self.table.to_pandas()
        self.assertIn("pandas", str(caught.exception))

    @unittest.skipUnless(has("pandas"), "pandas is not installed")
    def test_pandas_has_the_same(self):
        frame = self.table.to_pandas()
        self.assertEqual(list(frame.columns), list(self.table.to_columns()))
        self.assertEqual(frame["mz"].tolist(), [500.0005, 710, 720, 650.25])
        self.assertEqual(frame["declared_charge"].isna().tolist(), [False, False, False, True])


class NamesOfPyteomics(Folder):
    def test_an_mgf_block_has_them(self):
        path = self.write("a.mgf", "BEGIN IONS\nTITLE=run.7.7.-2.0.dta\nCHARGE=2-\nRTINSECONDS=12.5\n"
                                   "PEPMASS=500.25 1000\n100.5 10\n200.25 5\nEND IONS\n")
        block = next(tarvek_io.read_mgf(path)).to_dict()
        self.assertEqual(block["params"], {"title": "run.7.7.-2.0.dta", "charge": [-2], "rtinseconds": 12.5,
                                           "pepmass": (500.25, 1000.0)})
        self.assertEqual(block["m/z array"].tolist(), [100.5, 200.25])
        self.assertEqual(block["intensity array"].tolist(), [10, 5])

    def test_scans_have_them(self):
        mz, intensity = np.array([100.5]), np.array([10.0])
        survey = tarvek_io.SurveyScan(7, mz, intensity, 90.0).to_dict()
        self.assertEqual((survey["ms level"], survey["id"]), (1, "scan=7"))
        self.assertEqual(survey["scanList"]["scan"][0]["scan start time"], 1.5)
        scan = tarvek_io.FragmentScan(8, mz, intensity, np.array([-500.25, -400.0]),
                                      np.array([-2, -3], np.int32)).to_dict()
        self.assertIs(scan["m/z array"], mz)
        ions = scan["precursorList"]["precursor"][0]["selectedIonList"]["selectedIon"]
        self.assertEqual(ions, [{"selected ion m/z": 500.25, "charge state": -2},
                                {"selected ion m/z": 400.0, "charge state": -3}])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
