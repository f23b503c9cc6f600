"""As much of Galaxy as the wrapper needs: its parameters, its command by Cheetah, its outputs and their assertions.

Planemo and Galaxy are not in Debian. This knows only the elements that the wrapper has;
any other is an error.
"""
import copy
import re
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import recipes
from Cheetah.Template import Template


def tree(path):
    """The tool with its inline macros and tokens in their places."""
    root = ElementTree.parse(path).getroot()
    macros = root.find("macros")
    root.remove(macros)
    pieces = {piece.get("name"): list(piece) for piece in macros.findall("xml")}
    for parent in list(root.iter()):
        for place, child in reversed(list(enumerate(parent))):
            if child.tag == "expand":
                parent[place:place + 1] = copy.deepcopy(pieces[child.get("macro")])
    text = ElementTree.tostring(root, encoding="unicode")
    for token in macros.findall("token"):
        text = text.replace(token.get("name"), token.text)
    left = re.findall(r"@[A-Z_]+@", text)
    if left:
        raise AssertionError(f"tokens without a value: {left}")
    return ElementTree.fromstring(text)


def name_of(param):
    return param.get("name") or param.get("argument").lstrip("-").replace("-", "_")


class Dataset:
    """An input file, as the command sees it."""

    def __init__(self, path, extension, element_identifier=None):
        self.path, self.ext = Path(path), extension
        self.element_identifier = element_identifier or self.path.name

    def __str__(self):
        return str(self.path)

    def is_of_type(self, *extensions):
        return self.ext in extensions


class Boolean:
    def __init__(self, param, value):
        self.value = value in ("true", True)
        self.text = param.get("truevalue" if self.value else "falsevalue")

    def __str__(self):
        return self.text

    def __bool__(self):
        return self.value


class Group(dict):
    """A conditional: $group.name"""
    __getattr__ = dict.__getitem__


def select(param, given):
    options = [option.get("value") for option in param.findall("option")]
    chosen = [option.get("value") for option in param.findall("option") if option.get("selected") == "true"]
    several = param.get("multiple") == "true"
    if given is not None:
        chosen = given.split(",") if several else [given]
    elif not chosen and not several:
        chosen = options[:1]
    unknown = set(chosen) - set(options)
    if unknown:
        raise ValueError(f"{name_of(param)}: not an option: {unknown}")
    return ",".join(chosen)


def value_of(param, given):
    """What Galaxy hands to the command for a parameter; ValueError for what the form would refuse."""
    kind, name = param.get("type"), name_of(param)
    if kind == "data":
        if given.ext not in param.get("format").split(","):
            raise ValueError(f"{name}: {given.ext}")
        return given
    if kind == "boolean":
        return Boolean(param, param.get("checked") if given is None else given)
    if kind == "select":
        return select(param, given)
    value = param.get("value") if given is None else given
    if kind == "float":
        low, high = float(param.get("min", "-inf")), float(param.get("max", "inf"))
        if not low <= float(value) <= high:
            raise ValueError(f"{name}: {value} is not in {low} to {high}")
    elif kind == "text":
        for validator in param.findall("validator"):
            if validator.get("type") != "regex" or not re.match(validator.text, value):
                raise ValueError(f"{name}: {value}: {validator.get('message')}")
    else:
        raise AssertionError(f"not understood: {kind}")
    return value


class Tool:
    def __init__(self, path):
        self.root = tree(path)

    def values(self, given):
        """All parameters: those given, by name and of a conditional as NAME|NAME, and the defaults of the others."""
        left = dict(given)
        result = self._values(self.root.find("inputs"), left, "")
        if left:
            raise ValueError(f"no such parameters: {sorted(left)}")
        return result

    def _values(self, parent, left, prefix):
        result = Group()
        for element in parent:
            name = name_of(element)
            if element.tag == "param":
                result[name] = value_of(element, left.pop(prefix + name, None))
            elif element.tag == "conditional":
                result[name] = self._conditional(element, left, f"{prefix}{name}|")
            else:
                raise AssertionError(f"not understood: {element.tag}")
        return result

    def _conditional(self, element, left, prefix):
        chooser = element.find("param")
        chosen = value_of(chooser, left.pop(prefix + name_of(chooser), None))
        cases = {case.get("value"): case for case in element.findall("when")}
        if set(cases) != {option.get("value") for option in chooser.findall("option")}:
            raise AssertionError(f"{prefix} whens and options differ")
        return Group(self._values(cases[chosen], left, prefix), **{name_of(chooser): chosen})

    def command(self, values):
        """One line for the shell, as Galaxy makes it."""
        filled = str(Template(self.root.find("command").text, searchList=[values]))
        return filled.replace("\n", " ").strip()

    def run(self, values, folder, env):
        """The outputs that the filters let pass: by name a path, or a dict of paths for a collection."""
        recipes.run(self.command(values), folder, env)
        outputs = {}
        for output in self.root.find("outputs"):
            names = {**values, "outputs": values["outputs"].split(",")}
            if all(eval(rule.text, {}, names) for rule in output.findall("filter")):
                outputs[output.get("name")] = self._found(output, folder)
        return outputs

    @staticmethod
    def _found(output, folder):
        if output.tag == "data":
            path = folder / output.get("from_work_dir")
            if not path.is_file():
                raise AssertionError(f"no {path.name}")
            return path
        rule = output.find("discover_datasets")
        matches = [(re.match(rule.get("pattern"), path.name), path) for path in sorted((folder / rule.get("directory")).iterdir())]
        return {match["designation"]: path for match, path in matches if match}

    def tests(self):
        """Of each test what is given to values(), and its element."""
        return [(dict(self._given(test, "")), test) for test in self.root.find("tests")]

    def _given(self, parent, prefix):
        for element in parent:
            if element.tag == "conditional":
                yield from self._given(element, f"{prefix}{element.get('name')}|")
            elif element.tag == "param":
                value = element.get("value")
                if element.get("ftype"):
                    value = Dataset(recipes.WORK / "galaxy-data" / value, element.get("ftype"))
                yield prefix + element.get("name"), value


def assert_contents(path, assertions):
    """The assertions of a test about a file."""
    text = path.read_text()
    for assertion in assertions:
        holds = {
            "has_text": lambda: assertion.get("text") in text,
            "not_has_text": lambda: assertion.get("text") not in text,
            "has_n_lines": lambda: len(text.splitlines()) == int(assertion.get("n")),
            "has_n_columns": lambda: len(text.split("\n", 1)[0].split("\t")) == int(assertion.get("n")),
        }[assertion.tag]()
        if not holds:
            raise AssertionError(f"{path.name}: {ElementTree.tostring(assertion, encoding='unicode').strip()}")
