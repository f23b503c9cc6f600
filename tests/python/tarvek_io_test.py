"""Compares python/tarvek_io with what the programs write and with bytes made by hand.

    tarvek_io_test.py TARVEK TARVEK_TOOLS SOURCE_DIRECTORY [arguments of unittest]
"""
import gzip
import os
import struct
import subprocess
import sys
import tempfile
import unittest

TARVEK, TOOLS, SOURCE = (os.path.abspath(path) for path in sys.argv[1:4])
sys.path.insert(0, os.path.join(SOURCE, "python"))

import numpy as np  # noqa: E402
import tarvek_io  # noqa: E402

GOLDEN = os.path.join(SOURCE, "tests", "golden", "input")


def run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{command} failed:\n{done.stdout.decode()}")


def text_scans(path):
    """{scan number: (attributes, [(m/z, intensity)])} of an .ms1 or .ms2 file, read the slow way.

    The first block of a repeated scan counts, peaks without intensity do not, and peaks ascend in
    m/z."""
    scans = {}
    with open(path, encoding="ascii") as lines:
        for line in lines:
            fields = line.rstrip("\n").split("\t")
            if fields[0] == "S":
                attributes, peaks = {}, []
                scans.setdefault(int(fields[1]), (attributes, peaks))
            elif fields[0] == "I":
                attributes[fields[1]] = fields[2]
            elif line[0].isdigit():
                mz, intensity = map(float, line.split(" ")[:2])
                if intensity > 1e-6:
                    peaks.append((mz, intensity))
    for _, peaks in scans.values():
        peaks.sort()
    return scans


def table_rows(path):
    """The rows of a precursor table, split; the header is left out."""
    with open(path, encoding="ascii") as lines:
        return [line.split(", ")[:-1] for line in list(lines)[1:]]


class Directory(unittest.TestCase):
    """A test with its own directory."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as out:
            out.write(content)
        return self.path(name)

    def assert_format_error(self, action, *texts):
        with self.assertRaises(tarvek_io.FormatError) as caught:
            action()
        for text in texts:
            self.assertIn(text, str(caught.exception))


class ProgramOutputs:
    """The outputs for one pair, read by tarvek_io and in a slow, simple way."""

    pairs = ()  # endings of the MGF and PF2 files

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    @classmethod
    def process(cls, table, *options):
        run(TARVEK, "-D", cls.base + ".ms1", "-O", cls.out, "-L", cls.out, "-I", table, *options)

    def out_path(self, ending):
        return os.path.join(self.out, "run" + ending)

    def test_surveys_have_the_peaks_and_times_of_the_text(self):
        expected = text_scans(self.base + ".ms1")
        with tarvek_io.PfFile(self.out_path(".pf1")) as surveys:
            self.assertEqual(surveys.title, "run")
            self.assertEqual(list(surveys.scan_numbers), list(expected))
            for scan in surveys:
                attributes, peaks = expected[scan.scan_no]
                self.assertEqual(list(zip(scan.mz, scan.intensity)), peaks)
                self.assertEqual(scan.rt_seconds, float(attributes["RetTime"]))

    def test_fragment_scans_have_the_peaks_of_the_text_and_the_precursors_of_the_table(self):
        expected = text_scans(self.base + ".ms2")
        rows = table_rows(self.out_path(".csv"))
        seen = 0
        for pair in self.pairs:
            with tarvek_io.PfFile(self.out_path(f"_{pair}.pf2")) as scans:
                for row in (row for row in rows if row[0] + row[1] == pair):
                    scan = scans.scan(int(row[2]))
                    self.assertEqual(list(zip(scan.mz, scan.intensity)), expected[scan.scan_no][1])
                    self.assertEqual([f"{mz:.6f}" for mz in scan.precursor_mz], row[7::3])
                    self.assertEqual([str(charge) for charge in scan.precursor_charge], row[8::3])
                    seen += 1
        self.assertEqual(seen, len(rows))
        self.assertGreater(seen, 0)

    def test_the_table_has_what_its_text_has(self):
        rows = table_rows(self.out_path(".csv"))
        table = tarvek_io.read_precursors(self.out_path(".csv"))
        self.assertEqual(len(table), len(rows))
        self.assertEqual(table.first.shape, (len(rows) + 1,))
        self.assertEqual(table.scan_no.dtype, np.int32)
        for place, row in enumerate(rows):
            mz, charge = table.of_row(place)
            self.assertEqual([table.activation[place], table.instrument[place]], row[:2])
            self.assertEqual(table.scan_no[place], int(row[2]))
            self.assertEqual(table.declared_mz[place], float(row[3]))
            self.assertEqual(table.declared_charge[place], int(row[4]))
            self.assertEqual(table.counts[place], int(row[5]))
            self.assertEqual(list(mz), [float(text) for text in row[7::3]])
            self.assertEqual(list(charge), [int(text) for text in row[8::3]])

    def test_blocks_have_the_peaks_and_precursors_of_the_pf2_file(self):
        for pair in self.pairs:
            blocks = list(tarvek_io.read_mgf(self.out_path(f"_{pair}.mgf")))
            with tarvek_io.PfFile(self.out_path(f"_{pair}.pf2")) as scans:
                self.assertEqual(len(blocks), sum(scan.precursor_mz.size for scan in scans))
                place = 0
                for scan in scans:
                    for mz, charge in zip(scan.precursor_mz, scan.precursor_charge):
                        block = blocks[place]
                        place += 1
                        self.assertEqual(block.scan_no, scan.scan_no)
                        self.assertEqual(block.charge, charge)
                        self.assertEqual(block.pepmass, float(f"{abs(mz):.6f}"))
                        self.assertEqual(list(block.mz), [float(f"{x:.5f}") for x in scan.mz])
                        self.assertEqual(list(block.intensity),
                                         [float(f"{x:.1f}") for x in scan.intensity])


class SimulatedRun(ProgramOutputs, unittest.TestCase):
    pairs = ("HCDFT", "CIDIT")

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.base = os.path.join(cls.directory.name, "run")
        cls.out = os.path.join(cls.directory.name, "out")
        os.mkdir(cls.out)
        run(TOOLS, "simulate", "--seed", "5", "--ms2", "120", "--activation", "HCD,CID",
            "--analyser", "FTMS,ITMS", cls.base)
        cls.process(os.path.join(SOURCE, "data", "IPV.txt"))


class GoldenRunOfNegativeIons(ProgramOutputs, unittest.TestCase):
    pairs = ("HCDFT", "CIDIT", "ETHCDFT")

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.base = os.path.join(GOLDEN, "run")
        cls.out = cls.directory.name
        cls.process(os.path.join(GOLDEN, "IPV.txt"), "-c", "-3t-1")

    def test_some_charges_are_negative(self):
        self.assertTrue(np.any(tarvek_io.read_precursors(self.out_path(".csv")).charge < 0))


def survey_bytes(scan_no, peaks, rt):
    content = struct.pack("<ii", scan_no, len(peaks))
    content += b"".join(struct.pack("<dd", *peak) for peak in peaks)
    return content + struct.pack("<idi", 1, rt, 1)


class PfBytes(Directory):
    def write_survey_file(self, count=1, scan_no=258, offset=12, cut=0):
        content = struct.pack("<ii", count, 4) + b"run1" + survey_bytes(258, [(100.25, 2.0)], 0.5)
        self.write("run1.pf1", content[:len(content) - cut])
        self.write("run1.pf1idx", struct.pack("<ii", scan_no, offset))
        return self.path("run1.pf1")

    def test_the_example_of_the_format(self):
        with tarvek_io.PfFile(self.write_survey_file()) as surveys:
            self.assertEqual((surveys.title, len(surveys), 258 in surveys, 259 in surveys),
                             ("run1", 1, True, False))
            scan = surveys.scan(258)
            self.assertEqual((scan.scan_no, list(scan.mz), list(scan.intensity), scan.rt_seconds),
                             (258, [100.25], [2.0], 0.5))
            with self.assertRaisesRegex(KeyError, "run1.pf1 has no scan 7"):
                surveys.scan(7)

    def test_a_fragment_scan_without_peaks_and_precursors(self):
        path = self.write("a.pf2", struct.pack("<iiiii", 1, 0, 9, 0, 0))
        self.write("a.pf2idx", struct.pack("<ii", 9, 8))
        with tarvek_io.PfFile(path) as scans:
            scan = scans.scan(9)
        self.assertEqual((scan.mz.shape, scan.precursor_mz.shape), ((0,), (0,)))

    def test_a_file_without_scans(self):
        path = self.write("a.pf2", struct.pack("<ii", 0, 0))
        self.write("a.pf2idx", b"")
        with tarvek_io.PfFile(path) as scans:
            self.assertEqual(list(scans), [])

    def test_offsets_that_wrapped_at_2_and_at_4_gib(self):
        # Records of 140,000,000 peaks are holes in a sparse file: 2.24 GB each.
        peaks = 140_000_000
        path, offset, index = self.path("big.pf2"), 8, b""
        with open(path, "wb") as out:
            out.write(struct.pack("<ii", 5, 0))
            for scan_no, count in ((1, peaks), (2, 1), (3, peaks), (4, 0), (5, 1)):
                low = offset & 0xFFFFFFFF
                index += struct.pack("<iI", scan_no, low)
                out.write(struct.pack("<ii", scan_no, count))
                if count == 1:
                    out.write(struct.pack("<dd", 100.0 + scan_no, 7.0))
                else:
                    out.seek(16 * count, os.SEEK_CUR)
                out.write(struct.pack("<idi", 1, 500.0 + scan_no, 2))
                offset = out.tell()
        self.write("big.pf2idx", index)
        with tarvek_io.PfFile(path) as scans:
            stored = np.frombuffer(index, "<i4")[1::2]
            self.assertLess(stored[1], 0)            # beyond 2 GiB it looks negative
            self.assertGreater(scans.offsets[4], 1 << 32)
            for scan_no in (2, 5):
                scan = scans.scan(scan_no)
                self.assertEqual((scan.mz[0], scan.precursor_mz[0]), (100.0 + scan_no, 500.0 + scan_no))
            self.assertEqual(scans.scan(4).precursor_charge[0], 2)

    @staticmethod
    def read_all(path):
        with tarvek_io.PfFile(path) as scans:
            return list(scans)

    def test_a_file_cut_anywhere_is_named(self):
        whole = self.write_survey_file()
        self.assertEqual(len(self.read_all(whole)), 1)
        fragments = struct.pack("<ii", 2, 1) + b"r"
        for scan_no in (7, 8):
            fragments += struct.pack("<iiddidi", scan_no, 1, 100.25, 2.0, 1, 500.5, 2)
        with open(whole, "rb") as file:
            surveys = file.read()
        for name, content, offsets in (
                ("cut.pf1", surveys, ((258, 12),)),
                ("cut.pf2", fragments, ((7, 9), (8, 9 + 40)))):
            self.write(name + "idx", b"".join(struct.pack("<ii", *entry) for entry in offsets))
            self.read_all(self.write(name, content))
            for size in range(len(content)):
                with self.subTest(name=name, size=size):
                    path = self.write(name, content[:size])
                    self.assert_format_error(lambda: self.read_all(path), path)

    def test_an_index_cut_anywhere_is_named(self):
        path = self.write_survey_file()
        for size in range(8):
            with self.subTest(size=size):
                self.write("run1.pf1idx", struct.pack("<ii", 258, 12)[:size])
                self.assert_format_error(lambda: self.read_all(path), path)

    def test_scans_are_found_in_any_order_of_their_numbers(self):
        content, index = struct.pack("<ii", 3, 0), b""
        for scan_no in (9, 2, 5):
            index += struct.pack("<ii", scan_no, len(content))
            content += struct.pack("<iii", scan_no, 0, 0)
        path = self.write("a.pf2", content)
        self.write("a.pf2idx", index)
        with tarvek_io.PfFile(path) as scans:
            self.assertEqual([scans.scan(scan_no).scan_no for scan_no in (2, 5, 9)], [2, 5, 9])
            self.assertEqual([scan_no in scans for scan_no in (1, 2, 3, 9, 10, 99999999999)],
                             [False, True, False, True, False, False])

    def test_a_count_that_differs_from_the_index_is_named(self):
        path = self.write_survey_file(count=0)
        self.assert_format_error(lambda: tarvek_io.PfFile(path), path, "counts 0 scans", "index 1")

    def test_an_index_that_does_not_fit_is_named(self):
        self.assert_format_error(lambda: tarvek_io.PfFile(self.write_survey_file(offset=13)),
                                 "run1.pf1idx", "byte 12")
        with tarvek_io.PfFile(self.write_survey_file(scan_no=7)) as surveys:
            self.assert_format_error(lambda: surveys.scan(7), "index has scan 7", "file scan 258")
        self.write("run1.pf1idx", b"\0" * 7)
        self.assert_format_error(lambda: tarvek_io.PfFile(self.path("run1.pf1")), "run1.pf1idx")

    def test_a_missing_file_is_an_os_error(self):
        with self.assertRaisesRegex(OSError, "none.pf1"):
            tarvek_io.PfFile(self.path("none.pf1"))
        with self.assertRaises(tarvek_io.FormatError):
            tarvek_io.PfFile(self.path("none.mgf"))


class TableText(Directory):
    HEADER = b"ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, TotleNumOfPrecursor, P\n"

    def read(self, rows):
        return tarvek_io.read_precursors(self.write("run.csv", self.HEADER + rows))

    def test_the_example_of_the_format(self):
        table = self.read(b"HCD, FTMS, 1500, 650.320000, 2, 2, 1, 650.321234, 2, 2, 433.880000, 3, \n"
                          b"CID, ITMS, 7, -1.000000, -1, 0, \n")
        self.assertEqual(list(table.scan_no), [1500, 7])
        self.assertEqual(list(table.activation), ["HCD", "CID"])
        self.assertEqual(list(table.declared_mz), [650.32, -1.0])
        self.assertEqual(list(table.mz), [650.321234, 433.88])
        self.assertEqual(list(table.charge), [2, 3])
        self.assertEqual(list(table.first), [0, 2, 2])

    def test_only_determined_precursors_of_negative_ions_have_a_sign(self):
        table = self.read(b"HCD, FTMS, 7, 650.320000, 2, 1, 1, -650.320650, -2, \n")
        # 0.00065 / 650.32 is 1 ppm to three digits.
        shift_ppm = 1e6 * (abs(table.mz[table.first[:-1]]) / table.declared_mz - 1)
        self.assertAlmostEqual(shift_ppm[0], 1.0, places=3)
        self.assertEqual((table.declared_charge[0], table.charge[0]), (2, -2))

    def test_a_table_without_rows(self):
        table = self.read(b"")
        self.assertEqual((len(table), table.mz.shape, list(table.first)), (0, (0,), [0]))

    def test_file_and_line_of_a_bad_row_are_named(self):
        good = b"CID, ITMS, 7, -1.000000, -1, 0, \n"
        for bad in (b"CID, ITMS, 8, -1.000000, -1, 1, \n", b"CID, ITMS, 8, -1.0", b"\n",
                    b"CID, ITMS, x, -1.000000, -1, 0, \n", b"CID, ITMS, 99999999999, -1.000000, -1, 0, \n",
                    b"CID, ITMS, 8, -1.000000, 2147483648, 0, \n",
                    b"CID, ITMS, 8, -1.000000, -1, 1, 1, 500.0, -2147483649, \n"):
            self.assert_format_error(lambda: self.read(good + bad), "run.csv", "line 3")

    def test_another_table_is_refused(self):
        path = self.write("other.csv", b"a,b\n1,2\n")
        self.assert_format_error(lambda: tarvek_io.read_precursors(path), path, "header")


class MgfText(Directory):
    def read(self, text):
        return list(tarvek_io.read_mgf(self.write("run.mgf", text)))

    BLOCK = (b"BEGIN IONS\nTITLE=run1.2345.2345.2.0.dta\nCHARGE=2+\nRTINSECONDS=1234.5000000\n"
             b"PEPMASS=650.300000\n100.50000 10.0\n200.25000 5.8\nEND IONS\n")

    def test_the_example_of_the_format(self):
        (spectrum,) = self.read(self.BLOCK)
        self.assertEqual((spectrum.title, spectrum.scan_no, spectrum.charge, spectrum.rt_seconds,
                          spectrum.pepmass), ("run1.2345.2345.2.0.dta", 2345, 2, 1234.5, 650.3))
        self.assertEqual(list(spectrum.mz), [100.5, 200.25])
        self.assertEqual(list(spectrum.intensity), [10.0, 5.8])

    def test_a_negative_charge_and_a_run_name_with_dots(self):
        (spectrum,) = self.read(b"BEGIN IONS\r\nTITLE=a.1.b.7.7.-2.0.dta\r\nCHARGE=2-\r\nEND IONS\r\n")
        self.assertEqual((spectrum.scan_no, spectrum.charge, spectrum.pepmass), (7, -2, None))
        self.assertEqual(spectrum.mz.shape, (0,))

    def test_scan_numbers_of_titles(self):
        for title, scan_no in (("my run.2345.2345.2.0.dta", 2345), ("a.1.7.7.2.dta", 7),
                               ("a.1.7.7.-2.0.dta", 7), ("a.7.7.2", 7), ("a.7.7.2.dta", 7),
                               ('run.7.7.2 File:"my run.raw", NativeID:"scan=7"', 7),
                               ("a.7.8.2.0.dta", None), ("some words", None), ("", None)):
            self.assertEqual(tarvek_io.scan_of_title(title), scan_no, title)

    def test_a_scan_number_from_its_own_line(self):
        (spectrum,) = self.read(b"BEGIN IONS\nTITLE=some words\nSCANS=81\nPEPMASS=5.5 1000\nEND IONS\n")
        self.assertEqual((spectrum.scan_no, spectrum.pepmass), (81, 5.5))

    def test_a_gzip_file(self):
        path = self.write("run.mgf.gz", gzip.compress(self.BLOCK + self.BLOCK))
        self.assertEqual([spectrum.scan_no for spectrum in tarvek_io.read_mgf(path)], [2345, 2345])

    def test_file_and_line_of_a_damaged_block_are_named(self):
        for text, line in ((b"BEGIN IONS\nPEPMASS=1\n", "line 2"),
                           (b"BEGIN IONS\nBEGIN IONS\n", "line 2"), (b"END IONS\n", "line 1"),
                           (b"BEGIN IONS\n100.5\nEND IONS\n", "line 2"),
                           (b"BEGIN IONS\nPEPMASS=x\nEND IONS\n", "line 2"),
                           (b"BEGIN IONS\nRTINSECONDS=x\nCHARGE=2+\nEND IONS\n", "line 2"),
                           (b"BEGIN IONS\nCHARGE=x\nPEPMASS=5\nEND IONS\n", "line 2"),
                           (b"BEGIN IONS\nTITLE=a\n-5 10\nEND IONS\n", "line 3")):
            self.assert_format_error(lambda: self.read(text), "run.mgf", line)

    def test_empty_lines_and_comments_are_passed_over(self):
        (spectrum,) = self.read(b"# made by x=y\n\nBEGIN IONS\n\n# a=b\n;c\nCHARGE=\n100.5 10\nEND IONS\n")
        self.assertEqual((spectrum.charge, list(spectrum.mz), spectrum.parameters), (None, [100.5], {"CHARGE": ""}))

    def test_a_gzip_file_cut_anywhere_or_damaged_is_named(self):
        content = gzip.compress(self.BLOCK)
        for size in range(1, len(content)):
            with self.subTest(size=size):
                path = self.write("run.mgf.gz", content[:size])
                self.assert_format_error(lambda: list(tarvek_io.read_mgf(path)), path)
        # A block type that does not exist, another checksum, no gzip file at all.
        for damaged in (content[:10] + b"\x07" + content[11:], content[:-8] + b"abcd" + content[-4:], self.BLOCK):
            path = self.write("run.mgf.gz", damaged)
            self.assert_format_error(lambda: list(tarvek_io.read_mgf(path)), path)


class Record(Directory):
    TEXT = (b"All spectra of run.raw were extracted.\n"
            b"setting\tcharge_range\t2t6\nsetting\tisolation_width\t2.000000\nsetting\tlogfilepath\t\n"
            b"count\tms2_read\t321\ncount\tms2_exported\t9\ncount\tms2_exported\t318\n"
            b"left_out\tno usable precursor\t3\r\nremark\ta\tb\none\ttab\n")

    def read(self, content):
        return tarvek_io.read_record(self.write("run.tarvek", content))

    def test_the_entries_of_each_kind(self):
        record = self.read(self.TEXT)
        self.assertEqual(record.settings,
                         {"charge_range": "2t6", "isolation_width": "2.000000", "logfilepath": ""})
        self.assertEqual(record.counts, {"ms2_read": 321, "ms2_exported": 318})
        self.assertEqual(record.left_out, {"no usable precursor": 3})

    def test_an_empty_file_has_none(self):
        record = self.read(b"")
        self.assertEqual((record.settings, record.counts, record.left_out), ({}, {}, {}))

    def test_bytes_that_are_no_utf8_are_kept(self):
        self.assertEqual(self.read(b"setting\tipv_file\t\xff.txt\n").settings, {"ipv_file": "\udcff.txt"})

    def test_file_and_line_of_a_bad_count_are_named(self):
        for count in (b"", b"many", b"-1", b"1.5", b"9223372036854775808", b"1 "):
            with self.subTest(count=count):
                self.assert_format_error(lambda text=count: self.read(b"\ncount\tms2_read\t" + text + b"\n"),
                                         "run.tarvek", "line 2")

    def test_a_missing_file_is_an_os_error(self):
        with self.assertRaises(OSError):
            tarvek_io.read_record(os.path.join(self.folder, "none.tarvek"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
