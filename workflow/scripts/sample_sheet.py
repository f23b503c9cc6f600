"""The sample sheet: files to process, with names and settings."""
import csv
import dataclasses
import math
import re
from pathlib import Path

from configuration import text_of

REQUIRED = ("sample", "file")
OPTIONAL = ("isolation_width", "charge_range", "faims", "fasta")

# Names of samples. No - in front, which programs would read as an option.
NAME = "[A-Za-z0-9_][A-Za-z0-9_-]*"

# Ending in lower case -> which extractor reads it.
KINDS = {".mzml": "xml", ".mzxml": "xml", ".mzml.gz": "xml", ".mzxml.gz": "xml",
         ".raw": "raw", ".wiff": "wiff"}

ANALYSER = "(ms[12]=)?(FTMS|ITMS)(,(ms[12]=)?(FTMS|ITMS))*"
ACTIVATIONS = ("HCD", "CID", "ETD", "ETHCD", "ETCID")


@dataclasses.dataclass(frozen=True)
class Sample:
    name: str
    file: str  # absolute path
    ending: str  # as in the file
    kind: str  # xml, raw or wiff
    settings_options: str  # of tarvek-tools settings
    extractor_options: str
    fasta: str  # absolute path; empty: not searched


def ending_of(path):
    """The longest known ending of a path, as written there; None when it has none."""
    matching = [ending for ending in KINDS if path.lower().endswith(ending)]
    return path[-max(map(len, matching)):] if matching else None


def absolute(path, directory):
    return str((directory / path).absolute()) if path else ""


def named(row, where, config, name):
    """(what the sheet says, else the configuration, and which of them); the text is empty when neither does."""
    return (row[name], where) if row[name] else (text_of(config, name), "the configuration")


def number_in(text, where, name):
    try:
        number = float(text)
    except ValueError as error:
        raise SystemExit(f"{where}: {name} is '{text}' and not a number") from error
    if not math.isfinite(number):
        raise SystemExit(f"{where}: {name} is '{text}' and not a number")
    return number


def width_options(text, where):
    if not text:
        return []
    width = number_in(text, where, "isolation_width")
    if width <= 0:
        raise SystemExit(f"{where}: isolation_width is '{text}' and not a width above 0")
    return [f"--width={width:g}"]


def charge_options(text, where):
    if text and not re.fullmatch(r"-?[0-9]+t-?[0-9]+", text):
        raise SystemExit(f"{where}: charge_range is '{text}' and not like 2t6 or -3t-1")
    return [f"--charges={text}"] if text else []


def settings_options(row, where, config):
    """Options of tarvek-tools settings: what sheet or configuration name wins, then the preset, then what auto chooses."""
    options = ["--auto"] if config["auto"] else []
    options += [f"--preset {config['preset']}"] if config["preset"] else []
    options += width_options(*named(row, where, config, "isolation_width"))
    options += charge_options(*named(row, where, config, "charge_range"))
    return " ".join(options)


def extractor_options(row, where):
    return f"--faims {number_in(row['faims'], where, 'faims'):g}" if row["faims"] else ""


def preset_keys(config, folder):
    """The parameters that the preset of the configuration names. folder: where presets are installed."""
    name = text_of(config, "preset")
    if not name:
        return set()
    path = Path(folder) / f"{name}.cfg"
    if not re.fullmatch("[A-Za-z0-9_-]+", name) or not path.is_file():
        known = sorted(preset.stem for preset in Path(folder).glob("*.cfg"))
        raise SystemExit(f"preset is '{name}' and none of {', '.join(known)}")
    return {line.split("=")[0].strip() for line in path.read_text().splitlines()
            if "=" in line and not line.lstrip().startswith("#")}


def extraction_environment(config):
    """What the extractor is told through its environment, as the shell takes it in front of a command."""
    analyser, activation = (text_of(config, name) for name in ("analyser", "activation"))
    if analyser and not re.fullmatch(ANALYSER, analyser):
        raise SystemExit(f"analyser is '{analyser}' and not FTMS, ITMS or like ms1=FTMS,ms2=ITMS")
    if activation and activation not in ACTIVATIONS:
        raise SystemExit(f"activation is '{activation}' and none of {', '.join(ACTIVATIONS)}")
    given = (("TARVEK_ANALYSER", analyser), ("TARVEK_ACTIVATION", activation))
    return " ".join(f"{name}={value}" for name, value in given if value)


def joint_environment(config):
    """TARVEK_JOINT=P in front of a command, where the configuration asks for the joint determination."""
    text = text_of(config, "joint")
    if not text:
        return ""
    try:
        probability = float(text)
    except ValueError:
        probability = math.nan
    if not 0 <= probability <= 1:
        raise SystemExit(f"joint is '{text}' and not a probability from 0 to 1")
    return f"TARVEK_JOINT={probability:g}"


def sample_of(row, where, directory, config):
    """The sample of one row (column -> text). where: place of the row, for messages."""
    if not re.fullmatch(NAME, row["sample"]):
        raise SystemExit(f"{where}: sample '{row['sample']}' may hold letters, digits, _ and - only, and"
                         " not begin with a - (search engines take the scan number from behind a dot)")
    if row["sample"] == "report":  # the folder of the page of all samples
        raise SystemExit(f"{where}: a sample cannot be called report")
    if not row["file"]:
        raise SystemExit(f"{where}: sample {row['sample']} has no file")
    ending = ending_of(row["file"])
    if ending is None:
        raise SystemExit(f"{where}: {row['file']} is none of {', '.join(sorted(KINDS))}")
    fasta = absolute(row["fasta"], directory) or absolute(config["fasta"], Path.cwd())
    return Sample(row["sample"], absolute(row["file"], directory), ending, KINDS[ending.lower()],
                  settings_options(row, where, config), extractor_options(row, where), fasta)


def check_columns(path, columns):
    missing = [column for column in REQUIRED if column not in columns]
    unknown = [column for column in columns if column not in REQUIRED + OPTIONAL]
    doubled = sorted({column for column in columns if columns.count(column) > 1})
    mistakes = ([f"no column {column}" for column in missing] +
                [f"unknown column {column}" for column in unknown] +
                [f"column {column} stands twice" for column in doubled])
    if mistakes:
        raise SystemExit(f"{path}: " + "; ".join(mistakes) + " (columns are separated by tabs)")


def rows_of(path):
    """Yields (line number, column -> text) of each row that is not empty."""
    try:
        with open(path, encoding="utf-8-sig", newline="") as sheet:
            reader = csv.DictReader(sheet, delimiter="\t")
            check_columns(path, list(reader.fieldnames or ()))
            for row in reader:
                if None in row:
                    raise SystemExit(f"{path}:{reader.line_num}: more fields than columns")
                texts = {column: (row.get(column) or "").strip() for column in REQUIRED + OPTIONAL}
                if any(texts.values()):
                    yield reader.line_num, texts
    except OSError as error:
        raise SystemExit(f"Cannot open the sample sheet: {error}") from error
    except UnicodeDecodeError as error:
        raise SystemExit(f"{path}: no UTF-8 text, save it as that: {error}") from error
    except csv.Error as error:
        raise SystemExit(f"{path}: no tab-separated text: {error}") from error


def read_samples(path, config):
    """name -> Sample, in the order of the sheet. Paths of the sheet are relative to it, those of the
    configuration to the current directory. Ends with a message that names the line of a mistake."""
    directory = Path(path).absolute().parent
    samples = {}
    for line, row in rows_of(path):
        sample = sample_of(row, f"{path}:{line}", directory, config)
        if sample.name in samples:
            raise SystemExit(f"{path}:{line}: sample {sample.name} stands twice")
        samples[sample.name] = sample
    if not samples:
        raise SystemExit(f"{path}: no samples")
    return samples
