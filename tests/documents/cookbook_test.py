#!/usr/bin/env python3
"""The cookbook's commands, of which every program and option must exist, and the script that runs them.

    cookbook_test.py SOURCE_DIRECTORY CMAKE BUILD_DIRECTORY

The build is installed into a folder of its own; nothing but that and the system's programs is on the PATH.
"""
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, CMAKE, BUILD = Path(sys.argv[1]).resolve(), sys.argv[2], sys.argv[3]
sys.path.insert(0, str(SOURCE / "scripts"))
import cookbook  # noqa: E402

# Others of the system, for which an option is not looked up.
SYSTEM = ("awk", "cat", "echo", "export", "rm", "sort", "tail", "uniq")
PAGE = cookbook.PAGE.read_text(encoding="utf-8")


def simple_commands(line):
    """The words of each command of a line; assignments and redirections left out."""
    words = shlex.shlex(line.replace("\\\n", " "), posix=True, punctuation_chars=True)
    words.whitespace_split = True
    command = []
    for word in [*words, ";"]:
        if set(word) <= set("|&;"):
            if command:
                yield command
            command = []
        elif not set(word) <= set("<>&12") and (command or not re.match("[A-Z]+=", word)):
            command.append(word)


def holds(help_text, option):
    return re.search(rf"(?<![\w-]){re.escape(option)}(?![\w-])", help_text) is not None


class InstalledTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = Path(folder.name)
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", cls.prefix], check=True, stdout=subprocess.DEVNULL)
        cls.environment = {"PATH": f"{cls.prefix}/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8", "PYTHONDONTWRITEBYTECODE": "1"}
        cls.helps = {}

    def help_of(self, *command):
        if command not in self.helps:
            done = subprocess.run([*command, "--help"], capture_output=True, text=True, env=self.environment, check=False)
            self.helps[command] = done.stdout if done.returncode == 0 else ""
        return self.helps[command]

    def subcommands(self):
        return re.findall(r"(?m)^  ([a-z]+) ", self.help_of("tarvek-tools").split("Subcommands:")[1])

    def mistakes_of(self, line):
        """What does not exist of a line's commands."""
        line = line.replace("$SHARE", f"{cookbook.INSTALLED}/share/tarvek").replace(cookbook.INSTALLED, str(self.prefix))
        found = []
        for program, *words in simple_commands(line):
            paths = [word for word in words if word.startswith(f"{self.prefix}/") and not Path(word).exists()]
            found += [f"{path} is not installed" for path in paths]
            if program in SYSTEM:
                continue
            if shutil.which(program, path=self.environment["PATH"]) is None:
                if program != "snakemake":  # only the tests of the workflow need it
                    found.append(f"there is no {program}")
                continue
            subcommand = words[:1] if program == "tarvek-tools" else []
            if subcommand and subcommand[0] not in self.subcommands():
                found.append(f"tarvek-tools has no {subcommand[0]}")
                continue
            text = self.help_of(program, *subcommand)
            found += [] if text else [f"{program} has no help"]
            found += [f"{' '.join([program, *subcommand])} has no {word}" for word in words
                      if re.match("--?[a-zA-Z]", word) and not holds(text, word)]
        return found


class Page(InstalledTest):
    def test_every_program_and_option_of_its_commands_exists(self):
        steps = cookbook.steps_of_page(PAGE)
        self.assertGreater(len(steps), 10)
        for step in steps:
            with self.subTest(step.command):
                self.assertEqual(self.mistakes_of(step.command), [])

    def test_and_of_those_in_its_text(self):
        found = re.findall(r"`(tarvek-tools [^`]+)`", cookbook.BLOCK.sub("", PAGE))
        self.assertGreater(len(found), 3)
        for line in found:
            with self.subTest(line):
                self.assertEqual(self.mistakes_of(line), [])

    def test_options_that_the_text_names_alone_belong_to_a_program(self):
        names = self.subcommands()
        self.assertIn("run", names)
        helps = self.help_of("tarvek") + "".join(self.help_of("tarvek-tools", name) for name in names)
        found = re.findall(r"`(--?[a-zA-Z][\w-]*)[^`]*`", PAGE)
        self.assertIn("--auto", found)
        self.assertEqual([option for option in found if not holds(helps, option)], [])

    def test_a_mistake_would_be_found(self):
        for line, mistake in (("tarvek-tools run a --atuo", "tarvek-tools run has no --atuo"),
                              ("tarvek-tools chekc a", "tarvek-tools has no chekc"),
                              ("X=1 tarvek-tols check | cat", "there is no tarvek-tols"),
                              ("cat a && $SHARE/scripts/compare_search.py --top 1",
                               f"{self.prefix}/share/tarvek/scripts/compare_search.py has no --top"),
                              ("snakemake -s $SHARE/Snakefile", f"{self.prefix}/share/tarvek/Snakefile is not installed")):
            with self.subTest(line):
                self.assertIn(mistake, self.mistakes_of(line))

    def test_its_scripts_start_where_they_are_installed(self):
        scripts = sorted((self.prefix / "share/tarvek/scripts").iterdir())
        self.assertEqual([path.name for path in scripts],
                         ["compare_runs.py", "compare_search.py", "protein_xml_to_fasta.py"])
        for script in scripts:
            self.assertIn("usage:", self.help_of(str(script)))


class Script(unittest.TestCase):
    TEXT = "A\n```console\n$ one \\\n  more\nout\n$ two\n```\n    $ not this\n```console\n$ three\na\nb\n```\nB\n"

    def test_commands_and_what_they_print(self):
        steps = [(step.command, step.output) for step in cookbook.steps_of_page(self.TEXT)]
        self.assertEqual(steps, [("one \\\n  more\n", "out\n"), ("two\n", ""), ("three\n", "a\nb\n")])

    def test_the_same_outputs_give_the_same_page_and_others_only_change_outputs(self):
        self.assertEqual(cookbook.with_outputs(self.TEXT, ["out\n", "", "a\nb\n"]), self.TEXT)
        self.assertEqual(cookbook.with_outputs(self.TEXT, ["", "x\n", "c\n"]),
                         "A\n```console\n$ one \\\n  more\n$ two\nx\n```\n    $ not this\n```console\n$ three\nc\n```\nB\n")

    def test_seconds_alone_are_no_difference(self):
        old = ["[1/1] done, 0.2 s: a.mzML\n", "done  321  0.2  a.mzML\n", "all   533  0.3\n", "at 4.5 m/z\n", "120 scans\n"]
        new = ["[1/1] done, 13.0 s: a.mzML\n", "done  321  9.9  a.mzML\n", "all   533  1.0\n", "at 4.6 m/z\n", "121 scans\n"]
        self.assertEqual(cookbook.kept_where_equal(old, new), [*old[:3], *new[3:]])

    def test_commands_share_a_shell_and_paths_are_those_of_the_page(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "bin").mkdir()
            outputs = cookbook.run_commands(["X=/opt/tarvek/bin\n", "echo no >&2; cd bin\n", "echo $X \\\n  more; ls -d $X\n",
                                             "cat; printf end\n"], Path(folder), Path(folder))
        self.assertEqual(outputs, ["", "", "/opt/tarvek/bin more\n/opt/tarvek/bin\n", "end"])

    def test_a_command_that_fails_is_named(self):
        with tempfile.TemporaryDirectory() as folder:
            for command in ("ls nowhere\n", "no_such_program\n", "exit 0\n"):
                with self.assertRaisesRegex(SystemExit, f"'{command.strip()}' failed"):
                    cookbook.run_commands(["true\n", command, "true\n"], Path(folder), Path(folder))

    def test_the_table_between_the_marks_is_replaced(self):
        text = "a\n<!-- gains -->\nold\n<!-- /gains -->\nb\n"
        self.assertEqual(cookbook.with_table(text, "| 1 |\n", "R"), "a\n<!-- gains -->\n| 1 |\n<!-- /gains -->\nb\n")
        for wrong in ("a\n", text + text):
            with self.assertRaisesRegex(SystemExit, "R has not one pair"):
                cookbook.with_table(wrong, "", "R")

    def test_check_writes_nothing(self):
        with tempfile.TemporaryDirectory() as folder, open(os.devnull, "w") as silence:
            path = Path(folder) / "page.md"
            path.write_text("old\n")
            printed, sys.stdout = sys.stdout, silence
            try:
                self.assertFalse(cookbook.update(path, "new\n", check=True))
                self.assertEqual(path.read_text(), "old\n")
                self.assertFalse(cookbook.update(path, "new\n", check=False))
                self.assertTrue(cookbook.update(path, "new\n", check=True))
            finally:
                sys.stdout = printed

    def test_readme_has_the_marks(self):
        self.assertEqual(len(cookbook.GAINS.findall(cookbook.README.read_text(encoding="utf-8"))), 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
