"""The paths of tarvek's installed programs."""
import dataclasses
import shutil
from pathlib import Path


@dataclasses.dataclass(frozen=True)
class Programs:
    tarvek: Path
    tools: Path
    table: Path  # isotope patterns
    extractors: Path  # directory
    presets: Path  # directory

    def extractor(self, kind):
        """kind: xml, raw or wiff."""
        return self.extractors / f"morvex_{kind}.exe"


def find_programs(prefix):
    """The programs under an installation prefix, or next to the tarvek of the PATH when it is
    empty. Ends with a message when one is missing."""
    if not prefix:
        found = shutil.which("tarvek")
        if found is None:
            raise SystemExit("tarvek is not on the PATH: install it, or set 'prefix' in the configuration")
        prefix = Path(found).resolve().parent.parent
    prefix = Path(prefix).absolute()
    programs = Programs(prefix / "bin/tarvek", prefix / "bin/tarvek-tools",
                        prefix / "share/tarvek/IPV.txt", prefix / "libexec/tarvek",
                        prefix / "share/tarvek/presets")
    for path in (programs.tarvek, programs.tools, programs.table, programs.extractor("xml")):
        if not path.is_file():
            raise SystemExit(f"{path} is missing: is tarvek installed in {prefix}?")
    return programs
