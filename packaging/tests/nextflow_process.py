"""As much of Nextflow as the module needs: a process is read, its script block filled in and run by bash.

Nextflow is not in Debian. This knows only the forms that the module has; any other is an error.
"""
import re
import textwrap
from types import SimpleNamespace

import recipes


class Names(SimpleNamespace):
    """task, meta, ...: a name that is not set is null."""

    def __getattr__(self, name):
        return None


def looked_up(dotted, scope):
    """The value of a.b.c; a name that the script never set is an error, as in Nextflow."""
    first, *others = dotted.split(".")
    if first not in scope:
        raise AssertionError(f"no variable {first}")
    value = scope[first]
    for name in others:
        value = getattr(value, name)
    return value


def filled(text, scope):
    """A double-quoted Groovy string with its variables and escapes replaced."""
    escapes = {"\\": "\\", "$": "$", "n": "\n", "t": "\t", '"': '"'}

    def replacement(match):
        if match["escaped"]:
            return escapes[match["escaped"]]
        value = looked_up(match["braced"] or match["plain"], scope)
        if value is None:
            raise AssertionError(f"null: {match[0]}")
        return str(value)
    return re.sub(r"\\(?P<escaped>.)|\$\{(?P<braced>[\w.]+)\}|\$(?P<plain>\w+(?:\.\w+)*)", replacement, text, flags=re.S)


def assign(line, scope):
    """NAME = DOTTED ?: 'LITERAL', with or without def."""
    match = re.fullmatch(r"(?:def )?(\w+) = ([\w.]+) \?: (?:'([^']*)'|\"([^\"]*)\")", line)
    if not match:
        raise AssertionError(f"not understood: {line}")
    name, dotted, single, double = match.groups()
    scope[name] = looked_up(dotted, scope) or (single if double is None else filled(double, scope))


class Process:
    """A process of a file of Nextflow."""

    def __init__(self, path):
        text = path.read_text()
        name = re.search(r"^process (\w+) \{$", text, re.M)
        self.name = name[1]
        labels = re.split(r"^    (input|output|when|script|stub):$", text[name.end():].rstrip().removesuffix("}"), flags=re.M)
        self.sections = dict(zip(labels[1::2], labels[2::2]))
        self.inputs = re.findall(r"(?:val|path)\((\w+)\)", self.sections["input"])
        self.outputs = [self._output(line) for line in self._lines("output")]

    def _lines(self, section):
        return [line.strip() for line in self.sections[section].splitlines() if line.strip()]

    @staticmethod
    def _output(line):
        match = re.fullmatch(r'(tuple val\(meta\), )?path[( ]"([^"]+)"\)?\s*, emit: (\w+)\s*(, optional: true)?', line)
        if not match:
            raise AssertionError(f"not understood: {line}")
        return SimpleNamespace(has_meta=bool(match[1]), pattern=match[2], name=match[3], optional=bool(match[4]))

    def command(self, section, scope):
        """What bash gets of script or stub; the scope then has the variables that were set."""
        statements, text, rest = self.sections[section].split('"""')
        if rest.strip():
            raise AssertionError(f"after the script: {rest}")
        for line in statements.strip().splitlines():
            assign(line.strip(), scope)
        return textwrap.dedent(filled(text, scope)).strip() + "\n"

    def run(self, folder, env, values, ext=None, stub=False):
        """Runs the process in the folder, where its input files already are. Its outputs by name, each a list of what
        was emitted. values: those of its inputs, in their order."""
        scope = {"task": Names(process=self.name, cpus=2, ext=Names(**(ext or {}))), **dict(zip(self.inputs, values))}
        command = self.command("stub" if stub and "stub" in self.sections else "script", scope)
        recipes.run(command, folder, env)
        return {output.name: self._emitted(output, folder, scope) for output in self.outputs}

    @staticmethod
    def _emitted(output, folder, scope):
        files = sorted(folder.glob(filled(output.pattern, scope)))
        if not files:
            if not output.optional:
                raise AssertionError(f"missing output file(s) {output.pattern}")
            return []
        file = files[0] if len(files) == 1 else files
        return [[scope["meta"], file] if output.has_meta else file]
