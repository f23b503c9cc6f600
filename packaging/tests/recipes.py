"""What the tests of the recipes share: places, the version, and a Tarvek that a recipe installed.

Everything they write is below build/recipes.
"""
import functools
import os
import re
import shutil
import subprocess
import unittest
from pathlib import Path

PACKAGING = Path(__file__).resolve().parent.parent
ROOT = PACKAGING.parent
WORK = ROOT / "build/recipes"


def version():
    """The version of CMakeLists.txt, which every recipe must have."""
    return re.search(r"^project\(tarvek VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]


def fresh(name):
    """An empty folder below build/recipes."""
    folder = WORK / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def environment(*folders, **variables):
    """Nothing of the caller's but the cache of compiled files; the programs of the folders come first."""
    kept = {name: os.environ[name] for name in ("CCACHE_DIR", "CMAKE_CXX_COMPILER_LAUNCHER", "http_proxy", "https_proxy")
            if name in os.environ}
    path = ":".join([*map(str, folders), "/usr/sbin:/usr/bin:/sbin:/bin"])
    return {**kept, "PATH": path, "HOME": "/nonexistent", "LC_ALL": "C.UTF-8", **variables}


def run(command, cwd, env=None):
    """Standard output of a command, or of a text that bash runs with -euo pipefail; other statuses than 0 are failures."""
    words = ["bash", "-euo", "pipefail", "-c", command] if isinstance(command, str) else [str(word) for word in command]
    done = subprocess.run(words, cwd=cwd, env=env or environment(), capture_output=True, text=True)
    if done.returncode:
        text = "\n".join((done.stdout + done.stderr).splitlines()[-40:])
        raise AssertionError(f"status {done.returncode} of: {command}\n{text}")
    return done.stdout


def once(function):
    """Calls the function once; a failure is kept, too, so that a long build does not fail again and again."""
    @functools.cache
    def outcome():
        try:
            return function(), None
        except Exception as error:  # whatever it was, each caller gets it
            return None, error

    def call():
        value, error = outcome()
        if error:
            raise AssertionError(f"{function.__name__}: {error}")
        return value
    return call


@once
def source_archive():
    if run(["git", "status", "--porcelain", "--untracked-files=no"], ROOT):
        print("The archive of the sources has what is committed, and there are changes that are not.", flush=True)
    return Path(run([PACKAGING / "source-archive", WORK / "archive"], ROOT).strip())


@once
def numpress_archive():
    """The other source of the bioconda recipe, as apt-get fetches it: a file of Debian's archive."""
    path = ROOT / "build/sources/libmsnumpress_1.0.0.orig.tar.gz"
    if not path.exists():
        shutil.rmtree(ROOT / "build/static-libraries", ignore_errors=True)
        run([ROOT / "scripts/foreign_libraries", "static"], ROOT)
    return path


@once
def bioconda_recipe():
    """The folder of the recipe with the checksum of the archive."""
    folder = fresh("bioconda")
    run([PACKAGING / "bioconda/recipe", source_archive(), folder], ROOT)
    return folder / "tarvek"


@once
def installed():
    """The prefix into which bioconda's build.sh installed the archive of the sources."""
    sources, prefix = fresh("sources"), fresh("prefix")
    run(["tar", "-xf", source_archive(), "-C", sources, "--strip-components=1"], sources)
    (sources / "msnumpress").mkdir()
    run(["tar", "-xf", numpress_archive(), "-C", "msnumpress", "--strip-components=1"], sources)
    run(["bash", "-e", bioconda_recipe() / "build.sh"], sources,
        environment(PREFIX=str(prefix), CPU_COUNT=str(os.cpu_count())))
    return prefix


def needs(program, what):
    """Skips a test, saying so once, where a program that Debian does not have is missing."""
    return unittest.skipUnless(shutil.which(program), f"{program} is not installed: {what}")
