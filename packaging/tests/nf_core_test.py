"""The nf-core module: its tests on a simulated run, and whether its files agree.

Nextflow and nf-test are not in Debian: nextflow_process.py fills in and runs the script blocks, and the assertions of
main.nf.test, which Python reads as Groovy does, are evaluated here.
"""
import re
import unittest
from types import SimpleNamespace

import recipes
import yaml
from nextflow_process import Names, Process

MODULE = recipes.PACKAGING / "nf-core/modules/tarvek/run"


class GroovyList(list):
    def size(self):
        return len(self)


class GroovyText(str):
    def contains(self, part):
        return part in self


class GroovyPath:
    def __init__(self, path):
        self.text = GroovyText(path.read_text())

    def readLines(self):
        return GroovyList(self.text.splitlines())


def groovy(value):
    return GroovyList(map(groovy, value)) if isinstance(value, list) else value


def one(pattern, text):
    """The only match."""
    found = re.findall(pattern, text)
    if len(found) != 1:
        raise AssertionError(f"{len(found)} times: {pattern}")
    return found[0]


class NfCore(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.process = Process(MODULE / "main.nf")
        cls.simulate = Process(MODULE / "tests/simulate.nf")
        cls.meta_yml = yaml.safe_load((MODULE / "meta.yml").read_text())
        cls.tests = (MODULE / "tests/main.nf.test").read_text()

    def simulated(self, env):
        """What the setup of the tests makes: meta and the file."""
        name, scans = re.search(r"input\[0\] = \[ \[ id:'(\w+)' \], ([0-9]+) \]", self.tests).groups()
        return self.simulate.run(recipes.fresh("nf-core-simulated"), env, [Names(id=name), scans])["mzml"][0]

    def run_module(self, meta, mzml, env, ext=None, stub=False):
        """As Nextflow does, in a folder of its own with a link to the input."""
        folder = recipes.fresh("nf-core-work")
        (folder / mzml.name).symlink_to(mzml)
        return self.process.run(folder, env, [meta, mzml.name], ext, stub)

    def test_the_tests_of_main_nf_test(self):
        env = recipes.environment(recipes.installed() / "bin")
        meta, mzml = self.simulated(env)
        parts = re.split(r'\n    test\("(.*)"\) \{\n', self.tests)
        cases = list(zip(parts[1::2], parts[2::2]))
        self.assertGreaterEqual(len(cases), 3)
        for name, body in cases:
            with self.subTest(name):
                args = one(r"module_args = '(.*)'", body)
                out = self.run_module(meta, mzml, env, {"args": args}, 'options "-stub"' in body)
                finished = SimpleNamespace(success=True, out=SimpleNamespace(**{key: groovy(value) for key, value in out.items()}))
                assertions = re.findall(r"\{ assert (.*) \},?\n", body)
                self.assertEqual(body.count("assert "), len(assertions))
                for assertion in assertions:
                    self.assertTrue(eval(assertion, {"process": finished, "path": GroovyPath}), assertion)

    def test_versions_yml(self):
        env = recipes.environment(recipes.installed() / "bin")
        meta, mzml = self.simulated(env)
        for stub in (False, True):
            versions = yaml.safe_load(self.run_module(meta, mzml, env, stub=stub)["versions"][0].read_text())
            self.assertEqual({"TARVEK_RUN": {"tarvek": recipes.version()}}, versions)

    def test_the_prefix_names_the_folder_of_the_outputs(self):
        env = recipes.environment(recipes.installed() / "bin")
        meta, mzml = self.simulated(env)
        for prefix, ext in (("test", {}), ("other", {"prefix": "other"})):
            for stub in (False, True):
                mgf = self.run_module(meta, mzml, env, ext, stub)["mgf"][0][1]
                self.assertEqual(prefix, mgf.parent.name)

    def test_an_input_that_fails_fails_the_process(self):
        broken = recipes.fresh("nf-core-broken") / "broken.mzML"
        broken.write_text("<mzML>\n")
        with self.assertRaisesRegex(AssertionError, "status 1 of"):
            self.run_module(Names(id="test"), broken, recipes.environment(recipes.installed() / "bin"))

    def test_meta_yml_has_the_inputs_and_outputs_of_main_nf(self):
        self.assertEqual(self.process.name.lower(), self.meta_yml["name"])
        self.assertEqual(self.process.inputs, [name for entry in self.meta_yml["input"][0] for name in entry])
        self.assertEqual([output.name for output in self.process.outputs], list(self.meta_yml["output"]))
        for output in self.process.outputs:
            channel = self.meta_yml["output"][output.name]
            names = [name for entry in (channel[0] if output.has_meta else channel) for name in entry]
            self.assertEqual((["meta"] if output.has_meta else []) + [output.pattern], names)

    def test_the_version_is_that_of_the_project(self):
        version = re.escape(recipes.version())
        environment = yaml.safe_load((MODULE / "environment.yml").read_text())
        self.assertEqual([f"bioconda::tarvek={recipes.version()}"], environment["dependencies"])
        self.assertEqual(["conda-forge", "bioconda"], environment["channels"])
        for path in MODULE.rglob("*.nf*"):
            for tag in re.findall(r"tarvek:([0-9].*?)'", path.read_text()):
                self.assertRegex(tag, f"^{version}--", path)
            for asserted in re.findall(r'"tarvek: (.*?)"', path.read_text()):
                self.assertEqual(recipes.version(), asserted, path)

    @recipes.needs("nf-test", "Nextflow itself did not run the module; its script blocks were filled in and run without it")
    def test_nextflow_runs_it(self):
        recipes.run(["nf-test", "test", MODULE / "tests/main.nf.test"], MODULE)
