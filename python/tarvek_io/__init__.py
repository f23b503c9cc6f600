"""Reads what tarvek writes: PF1/PF2 with their indexes, the precursor table, MGF and the record of a run.

A package on numpy: pip install it, or put its parent directory on PYTHONPATH. Formats:
docs/formats/pf.md, docs/formats/precursor-csv.md, docs/formats/mgf.md and
docs/formats/run-record.md of tarvek.

    import tarvek_io

    with tarvek_io.PfFile("run_HCDFT.pf2") as scans:
        scan = scans.scan(2345)                    # random access by scan number
        print(scan.mz, scan.intensity, scan.precursor_mz, scan.precursor_charge)

    table = tarvek_io.read_precursors("run.csv")
    best = table.first[:-1]                        # the first precursor of a scan has the best score
    shift_ppm = 1e6 * (abs(table.mz[best]) / table.declared_mz - 1)

    for spectrum in tarvek_io.read_mgf("run_HCDFT.mgf"):
        print(spectrum.scan_no, spectrum.pepmass, spectrum.charge, spectrum.mz.size)

    frame = table.to_pandas()                      # where pandas is installed
    spectrum.to_dict()["m/z array"]                # keys as those of pyteomics

    record = tarvek_io.read_record("run.tarvek")
    print(record.settings["isolation_width"], record.counts["ms2_exported"], record.left_out)

Units: m/z in Th, retention times in seconds (tarvek passes on the times of its input, which are
seconds in the formats that it reads), intensities in the arbitrary units of the instrument. The
charge of a determined negative ion has a minus, and in PF2 and in the table its m/z too; declared
values have none (declared_mz, declared_charge, and the precursors of scans where nothing was
determined), so compare absolute values.

Errors: OSError when a file cannot be opened; FormatError, which names the file, when it is damaged.
"""

from __future__ import annotations

import gzip
import os
import re
import zlib
from dataclasses import dataclass, field
from types import TracebackType
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    import pandas

__all__ = ["FormatError", "SurveyScan", "FragmentScan", "PfFile", "PrecursorTable",
           "read_precursors", "MgfSpectrum", "read_mgf", "scan_of_title", "RunRecord", "read_record"]

__version__ = "2.2.1"

Path = Union[str, "os.PathLike[str]"]
Reals = npt.NDArray[np.float64]
Int32s = npt.NDArray[np.int32]
Int64s = npt.NDArray[np.int64]
Texts = npt.NDArray[np.str_]
Spectrum = Dict[str, Any]

_INT32 = np.dtype("<i4")
_REAL = np.dtype("<f8")
_PEAK = np.dtype([("mz", _REAL), ("intensity", _REAL)])
_PRECURSOR = np.dtype([("mz", _REAL), ("charge", _INT32)])
_INDEX_ENTRY = np.dtype([("scan_no", _INT32), ("offset", "<u4")])


class FormatError(ValueError):
    """A file that does not follow its format; the message begins with its path."""

    def __init__(self, path: Path, detail: str) -> None:
        super().__init__(f"{path}: {detail}")


@dataclass(frozen=True)
class SurveyScan:
    """One scan of a .pf1 file with N peaks.

    mz, intensity: float64 of shape (N,), ascending in m/z. rt_seconds: retention time.
    """
    scan_no: int
    mz: Reals
    intensity: Reals
    rt_seconds: float

    def to_dict(self) -> Spectrum:
        """The scan with the keys that pyteomics has for mzML; its time in minutes, as there."""
        return {"id": f"scan={self.scan_no}", "ms level": 1,
                "scanList": {"count": 1, "scan": [{"scan start time": self.rt_seconds / 60}]},
                "m/z array": self.mz, "intensity array": self.intensity}


@dataclass(frozen=True)
class FragmentScan:
    """One scan of a .pf2 file with N peaks and P precursors.

    mz, intensity: float64 of shape (N,), ascending in m/z. precursor_mz: float64 of shape (P,), the
    best-scored precursor first; precursor_charge: int32 of shape (P,).
    """
    scan_no: int
    mz: Reals
    intensity: Reals
    precursor_mz: Reals
    precursor_charge: Int32s

    def to_dict(self) -> Spectrum:
        """The scan with the keys that pyteomics has for mzML: a selected ion for each precursor,
        m/z without sign."""
        ions = [{"selected ion m/z": abs(float(mz)), "charge state": int(charge)}
                for mz, charge in zip(self.precursor_mz, self.precursor_charge)]
        precursor = {"selectedIonList": {"count": len(ions), "selectedIon": ions}}
        return {"id": f"scan={self.scan_no}", "ms level": 2,
                "precursorList": {"count": 1, "precursor": [precursor]},
                "m/z array": self.mz, "intensity array": self.intensity}


def _unwrapped(low_bits: npt.NDArray[Any]) -> Int64s:
    """Offsets in full from their low 32 bits, int64 of the same shape.

    The index stores 32 bits, so that offsets from 2 GiB on look negative and start again at 4 GiB.
    Records follow each other and are smaller than 4 GiB: each begins after the one before by the
    difference of the low bits, modulo 2**32.
    """
    offsets = low_bits.astype(np.int64)
    if offsets.size:
        steps = np.diff(offsets) % (1 << 32)
        offsets[1:] = offsets[0] + np.cumsum(steps)
    return offsets


class PfFile:
    """A .pf1 or .pf2 file, opened for random access by its index (format: docs/formats/pf.md).

    The ending of path says whether it holds survey or fragment scans. The index is the file of the
    same name with "idx" added. Only the index (24 bytes a scan) is held in memory; each scan is
    read on request. Files beyond 2 GiB and 4 GiB are read like any other.

    title: the run name. scan_numbers: int32 of shape (S,) in file order. offsets: int64 of shape
    (S,), byte offset of each record, unwrapped. len() gives S.

    Raises OSError, or FormatError when header, index and file do not match: the file of a run that
    did not finish has a count of 0.
    """

    path: str
    holds_surveys: bool
    title: str
    scan_numbers: Int32s
    offsets: Int64s

    def __init__(self, path: Path) -> None:
        self.path = os.fspath(path)
        ending = os.path.splitext(self.path)[1].lower()
        if ending not in (".pf1", ".pf2"):
            raise FormatError(self.path, "the name ends neither in .pf1 nor in .pf2")
        self.holds_surveys = ending == ".pf1"
        self._file = open(self.path, "rb")
        try:
            self._read_header()
            self._read_index()
        except BaseException:
            self._file.close()
            raise

    def __enter__(self) -> PfFile:
        return self

    def __exit__(self, kind: Optional[type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> None:
        self._file.close()

    def __len__(self) -> int:
        return int(self.scan_numbers.size)

    def __iter__(self) -> Iterator[Union[SurveyScan, FragmentScan]]:
        """All scans in file order."""
        return (self.scan_at(place) for place in range(len(self)))

    def __contains__(self, scan_no: object) -> bool:
        return self._place_of(scan_no) is not None

    def scan(self, scan_no: int) -> Union[SurveyScan, FragmentScan]:
        """The SurveyScan or FragmentScan of a scan number. KeyError when the file has none."""
        place = self._place_of(scan_no)
        if place is None:
            raise KeyError(f"{self.path} has no scan {scan_no}")
        return self.scan_at(place)

    def _place_of(self, scan_no: Any) -> Optional[int]:
        """Place in file order of a scan number, the last one of equal numbers; None without."""
        rank = int(np.searchsorted(self._ascending, scan_no, side="right")) - 1
        return int(self._order[rank]) if rank >= 0 and self._ascending[rank] == scan_no else None

    def scan_at(self, place: int) -> Union[SurveyScan, FragmentScan]:
        """The scan at a place in file order, from 0. IndexError outside; FormatError when the
        record is cut off or is not that of the index."""
        if not 0 <= place < len(self):
            raise IndexError(f"{self.path} has {len(self)} scans and none at place {place}")
        offset = int(self.offsets[place])
        self._file.seek(offset)
        scan_no, peak_count = (int(value) for value in self._take(_INT32, 2))
        if scan_no != self.scan_numbers[place]:
            raise FormatError(self.path, f"at byte {offset} the index has scan "
                                         f"{self.scan_numbers[place]} and the file scan {scan_no}")
        peaks = self._take(_PEAK, peak_count)
        precursors = self._take(_PRECURSOR, int(self._take(_INT32, 1)[0]))
        mz, intensity = peaks["mz"].copy(), peaks["intensity"].copy()
        if not self.holds_surveys:
            return FragmentScan(scan_no, mz, intensity, precursors["mz"].copy(),
                                precursors["charge"].copy())
        if precursors.size != 1:
            raise FormatError(self.path, f"scan {scan_no} has no retention time")
        return SurveyScan(scan_no, mz, intensity, float(precursors["mz"][0]))

    def _take(self, dtype: np.dtype[Any], count: int) -> npt.NDArray[Any]:
        """count numbers or records from the current place of the file."""
        place = self._file.tell()
        if count < 0:
            raise FormatError(self.path, f"a count of {count} before byte {place}")
        if count * dtype.itemsize > self._size_bytes - place:
            raise FormatError(self.path, f"ends inside the record at byte {place}")
        return np.frombuffer(self._file.read(count * dtype.itemsize), dtype)

    def _read_header(self) -> None:
        self._size_bytes = os.fstat(self._file.fileno()).st_size
        self._count, title_length = (int(value) for value in self._take(_INT32, 2))
        self.title = self._take(np.dtype("u1"), title_length).tobytes().decode("utf-8", "replace")

    def _read_index(self) -> None:
        index_path = self.path + "idx"
        with open(index_path, "rb") as index:
            content = index.read()
        if len(content) % _INDEX_ENTRY.itemsize:
            raise FormatError(index_path, f"{len(content)} bytes are no whole entries of 8 bytes")
        entries = np.frombuffer(content, _INDEX_ENTRY)
        if entries.size != self._count:
            raise FormatError(self.path, f"the header counts {self._count} scans and the index "
                                         f"{entries.size}; a run that did not finish leaves 0")
        self.scan_numbers = entries["scan_no"].copy()
        self.offsets = _unwrapped(entries["offset"])
        if entries.size and self.offsets[0] != self._file.tell():
            raise FormatError(index_path, f"the first record is at byte {self._file.tell()}, "
                                          f"not at {self.offsets[0]}")
        if entries.size and (np.any(np.diff(self.offsets) <= 0)
                             or self.offsets[-1] >= self._size_bytes):
            raise FormatError(index_path, f"leads outside {self.path}")
        self._order = np.argsort(self.scan_numbers, kind="stable")
        self._ascending = self.scan_numbers[self._order]


@dataclass(frozen=True)
class PrecursorTable:
    """The table of one run: S exported fragment scans with P precursors in all.

    One entry for each scan, in the order of the table: scan_no int32 (S,), activation and
    instrument text (S,), declared_mz float64 (S,) and declared_charge int32 (S,), both -1 where the
    input declared nothing and else positive, for negative ions too.

    One entry for each precursor: mz float64 (P,), charge int32 (P,), both negative for a determined
    negative ion. Those of scan i are mz[first[i]:first[i + 1]], the best-scored one first; first is
    int64 of shape (S + 1,).
    """
    scan_no: Int32s
    activation: Texts
    instrument: Texts
    declared_mz: Reals
    declared_charge: Int32s
    mz: Reals
    charge: Int32s
    first: Int64s

    def __len__(self) -> int:
        return int(self.scan_no.size)

    @property
    def counts(self) -> Int64s:
        """Number of precursors of each scan, int64 (S,)."""
        return np.diff(self.first)

    def of_row(self, row: int) -> Tuple[Reals, Int32s]:
        """m/z (n,) and charges (n,) of the precursors of a row, counted from 0."""
        stretch = slice(self.first[row], self.first[row + 1])
        return self.mz[stretch], self.charge[stretch]

    def to_columns(self) -> Dict[str, npt.NDArray[Any]]:
        """A row for each precursor: columns of shape (P,) by the names of `tarvek-tools table`
        (docs/formats/table.md). m/z are without sign; rank counts from 1. Where nothing was declared,
        declared_mz is NaN and declared_charge 0."""
        row = np.repeat(np.arange(len(self)), self.counts)
        declared_mz, declared_charge = self.declared_mz[row], self.declared_charge[row]
        is_declared = declared_mz > 0
        return {"scan": self.scan_no[row], "activation": self.activation[row],
                "analyser": self.instrument[row],
                "declared_mz": np.where(is_declared, declared_mz, np.nan),
                "declared_charge": np.where(is_declared, declared_charge, 0).astype(np.int32),
                "rank": (np.arange(self.mz.size) - self.first[row] + 1).astype(np.int32),
                "mz": np.abs(self.mz), "charge": self.charge}

    def to_pandas(self) -> pandas.DataFrame:
        """to_columns() as a DataFrame; an unknown declared charge is NA. ImportError without pandas."""
        import pandas
        columns: Dict[str, Any] = self.to_columns()
        charge = pandas.array(columns["declared_charge"], dtype="Int32")
        charge[columns["declared_charge"] == 0] = pandas.NA
        return pandas.DataFrame({**columns, "declared_charge": charge})


_TABLE_FIELDS = 6  # before the precursors
_PRECURSOR_FIELDS = 3
_TABLE_START = "ActivationType, InstrumentType, MS2Scan, OrigMZ, OrigCharge, "


def _table_row(line: str) -> List[str]:
    """The fields of one row; ValueError for any other line."""
    if not line.endswith(", \n"):
        raise ValueError("the row is cut off")
    fields = line[:-len(", \n")].split(", ")
    if len(fields) < _TABLE_FIELDS:
        raise ValueError(f"{len(fields)} fields are too few")
    count = int(fields[5])
    if len(fields) != _TABLE_FIELDS + _PRECURSOR_FIELDS * count:
        raise ValueError(f"{len(fields)} fields do not hold {count} precursors")
    return fields


def _int32(text: str) -> int:
    value = int(text)
    if not -2**31 <= value < 2**31:
        raise ValueError(f"{text} is outside the range of 32 bits")
    return value


def read_precursors(path: Path) -> PrecursorTable:
    """Reads BASE.csv as a PrecursorTable (format: docs/formats/precursor-csv.md).

    BASE.csv_unfinished of a stopped run is read too when it is named, unless its last row is cut.
    Raises OSError, or FormatError naming file and line.
    """
    path = os.fspath(path)
    activation: List[str] = []
    instrument: List[str] = []
    scans: List[int] = []
    declared_charge: List[int] = []
    charge: List[int] = []
    first: List[int] = [0]
    declared_mz: List[float] = []
    mz: List[float] = []
    with open(path, encoding="utf-8", errors="replace", newline="\n") as lines:
        if not lines.readline().startswith(_TABLE_START):
            raise FormatError(path, "the first line is not the header of a precursor table")
        for number, line in enumerate(lines, start=2):
            try:
                fields = _table_row(line)
                scans.append(_int32(fields[2]))
                activation.append(fields[0])
                instrument.append(fields[1])
                declared_mz.append(float(fields[3]))
                declared_charge.append(_int32(fields[4]))
                mz.extend(map(float, fields[_TABLE_FIELDS + 1::_PRECURSOR_FIELDS]))
                charge.extend(map(_int32, fields[_TABLE_FIELDS + 2::_PRECURSOR_FIELDS]))
                first.append(len(mz))
            except ValueError as error:
                raise FormatError(path, f"line {number}: {error}") from None
    return PrecursorTable(np.array(scans, np.int32), np.array(activation, str),
                          np.array(instrument, str), np.array(declared_mz, float),
                          np.array(declared_charge, np.int32), np.array(mz, float),
                          np.array(charge, np.int32), np.array(first, np.int64))


@dataclass(frozen=True)
class MgfSpectrum:
    """One block of an MGF file with N peaks.

    title: as written. scan_no: from the title (scan_of_title) or from SCANS=, else None. pepmass:
    m/z, None without. charge: signed, None without. rt_seconds: None without. mz, intensity:
    float64 of shape (N,), in file order. parameters: all lines KEY=value of the block, keys in
    upper case.
    """
    title: str
    scan_no: Optional[int]
    pepmass: Optional[float]
    charge: Optional[int]
    rt_seconds: Optional[float]
    mz: Reals
    intensity: Reals
    parameters: Dict[str, str] = field(repr=False, default_factory=dict)

    def to_dict(self) -> Spectrum:
        """The block in the form of pyteomics: "params" with keys in lower case, pepmass a pair of
        m/z and intensity (or None), charge a list; "m/z array" and "intensity array"."""
        params: Dict[str, Any] = {key.lower(): text for key, text in self.parameters.items()}
        if self.pepmass is not None:
            fields = self.parameters["PEPMASS"].split()
            params["pepmass"] = (self.pepmass, float(fields[1]) if len(fields) > 1 else None)
        if self.charge is not None:
            params["charge"] = [self.charge]
        if self.rt_seconds is not None:
            params["rtinseconds"] = self.rt_seconds
        return {"params": params, "m/z array": self.mz, "intensity array": self.intensity}


_TITLE = re.compile(r"\.(\d+)\.\1\.-?\d+(?:\.\d+)?(?:\.dta)?$")
_CHARGE = re.compile(r"(\d+)([+-]?)")
_COMMENTS = ("#", ";", "!", "/")


def scan_of_title(title: str) -> Optional[int]:
    """The scan number in a title run.scan.scan.charge.index.dta, the last two parts of which may be
    missing; dots and blanks in the run name do not matter. If the whole title is not one, the part
    before the first blank may be, since converters write more after it. None without one."""
    match = _TITLE.search(title) or _TITLE.search(title.split(" ")[0])
    return int(match.group(1)) if match else None


def _scan_number(parameters: Dict[str, str]) -> Optional[int]:
    scan_no = scan_of_title(parameters.get("TITLE", ""))
    scans = parameters.get("SCANS", "")
    if scan_no is None and scans.isdecimal():
        return int(scans)
    return scan_no


def _signed_charge(text: str) -> int:
    match = _CHARGE.match(text)
    if not match:
        raise ValueError(f"CHARGE={text} is no charge")
    return -int(match.group(1)) if match.group(2) == "-" else int(match.group(1))


def _pepmass(text: str) -> float:
    """The m/z; an intensity may follow it."""
    return float(text.split()[0])


_VALUE_OF = {"PEPMASS": _pepmass, "CHARGE": _signed_charge, "RTINSECONDS": float}


def _spectrum(parameters: Dict[str, str], values: Dict[str, Any],
              peaks: List[Tuple[float, float]]) -> MgfSpectrum:
    numbers = np.array(peaks, float).reshape(-1, 2)
    return MgfSpectrum(parameters.get("TITLE", ""), _scan_number(parameters), values.get("PEPMASS"),
                       values.get("CHARGE"), values.get("RTINSECONDS"),
                       numbers[:, 0].copy(), numbers[:, 1].copy(), parameters)


def _peak(line: str) -> Tuple[float, float]:
    fields = line.split()
    if len(fields) < 2:
        raise ValueError("a peak without intensity")
    return float(fields[0]), float(fields[1])


def _read_key(line: str, parameters: Dict[str, str], values: Dict[str, Any]) -> None:
    """Puts a line KEY=value into parameters, and numbers also into values."""
    key, equals, text = line.partition("=")
    if not equals:
        raise ValueError(f"'{line}' is neither a key nor a peak")
    key = key.upper()
    parameters[key] = text
    if key in _VALUE_OF and text.strip():
        values[key] = _VALUE_OF[key](text)


def _blocks(lines: Iterator[str]) -> Iterator[MgfSpectrum]:
    """MgfSpectrum of each block; ValueError for a line that does not fit."""
    parameters: Optional[Dict[str, str]] = None
    values: Dict[str, Any] = {}
    peaks: List[Tuple[float, float]] = []
    for line in lines:
        line = line.strip()
        if line == "BEGIN IONS":
            if parameters is not None:
                raise ValueError("BEGIN IONS inside a block, whose END IONS is missing")
            parameters, values, peaks = {}, {}, []
        elif parameters is None:
            if line == "END IONS":
                raise ValueError("END IONS without BEGIN IONS")
        elif line == "END IONS":
            yield _spectrum(parameters, values, peaks)
            parameters = None
        elif line[:1].isdigit():
            peaks.append(_peak(line))
        elif line and not line.startswith(_COMMENTS):
            _read_key(line, parameters, values)
    if parameters is not None:
        raise ValueError("the file ends inside a block")


def read_mgf(path: Path) -> Iterator[MgfSpectrum]:
    """Iterates over the blocks of an MGF file, plain or .gz (format: docs/formats/mgf.md).

    tarvek writes one block for each precursor, so that consecutive spectra may be those of one scan
    with the same peaks. Yields MgfSpectrum. Raises OSError, or FormatError naming file and line.
    """
    path = os.fspath(path)
    opener: Any = gzip.open if path.lower().endswith(".gz") else open
    number = 0

    def counted(lines: Iterator[str]) -> Iterator[str]:
        nonlocal number
        for line in lines:
            number += 1
            yield line

    with opener(path, "rt", encoding="utf-8", errors="replace") as lines:
        try:
            yield from _blocks(counted(lines))
        except ValueError as error:
            raise FormatError(path, f"line {number}: {error}") from None
        except (EOFError, zlib.error, gzip.BadGzipFile) as error:
            raise FormatError(path, f"damaged behind line {number}: {error}") from None


@dataclass(frozen=True)
class RunRecord:
    """The record of a run.

    settings: {key: text}, the keys those of a parameter file. counts: {name: int} of surveys, ms2_read,
    ms2_exported and precursors. left_out: {reason: int}, MS2 scans. Each may be empty; a key that is not
    there was not recorded, so use counts.get("ms2_read").
    """
    settings: Dict[str, str]
    counts: Dict[str, int]
    left_out: Dict[str, int]


_COUNT = re.compile(r"[0-9]{1,19}\Z")


def read_record(path: Path) -> RunRecord:
    """The record of a run, BASE.tarvek or the marker BASE.morvex of an extraction, as a RunRecord.

    Skips lines without two tabs and entries of other kinds; the last of repeated keys counts; an
    empty file gives three empty dicts. OSError without a file, as for runs of an older tarvek;
    FormatError, with the line, for a count that is not a number of at most 63 bits."""
    record = RunRecord({}, {}, {})
    kinds: Dict[str, Dict[str, Any]] = {"setting": record.settings, "count": record.counts, "left_out": record.left_out}
    with open(path, encoding="utf-8", errors="surrogateescape", newline="\n") as lines:
        for number, line in enumerate(lines, 1):
            kind, _, entry = line.rstrip("\r\n").partition("\t")
            key, tab, text = entry.partition("\t")
            if not tab or kind not in kinds:
                continue
            if kind != "setting" and (not _COUNT.match(text) or int(text) >= 1 << 63):
                raise FormatError(path, f"line {number}: '{text}' is no count")
            kinds[kind][key] = text if kind == "setting" else int(text)
    return record
