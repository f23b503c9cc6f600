"""The Galaxy wrapper: its own tests and more sets of parameters, through Cheetah and bash.

Neither Galaxy nor Planemo is in Debian: galaxy_tool.py does what is needed of them.
"""
import re
import unittest

import recipes
import yaml
from galaxy_tool import Dataset, Tool, assert_contents, name_of

WRAPPER = recipes.PACKAGING / "galaxy"
NASTY = "a b'; touch it; $(touch it) \"x\" & `touch it`.mzML"


class Galaxy(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tool = Tool(WRAPPER / "tarvek.xml")

    def installed(self):
        """The environment with Tarvek, after the test data are there."""
        env = recipes.environment(recipes.installed() / "bin")
        recipes.run([WRAPPER / "make-test-data", recipes.fresh("galaxy-data")], recipes.WORK, env)
        return env

    def given(self, **parameters):
        data = Dataset(recipes.WORK / "galaxy-data/simulated.mzML", "mzml")
        return {"input": data, **{name.replace("__", "|"): value for name, value in parameters.items()}}

    def test_its_own_tests(self):
        env = self.installed()
        tests = self.tool.tests()
        self.assertGreaterEqual(len(tests), 3)
        for number, (given, test) in enumerate(tests):
            with self.subTest(test=number):
                outputs = self.tool.run(self.tool.values(given), recipes.fresh("galaxy-work"), env)
                self.assertEqual(int(test.get("expect_num_outputs")), len(outputs))
                self.check_outputs(test, outputs)

    def check_outputs(self, test, outputs):
        for expected in test.findall("output"):
            assert_contents(outputs[expected.get("name")], expected.find("assert_contents"))
        for expected in test.findall("output_collection"):
            for element in expected.findall("element"):
                assert_contents(outputs[expected.get("name")][element.get("name")], element.find("assert_contents"))

    def test_every_output_is_tested(self):
        tested = {output.get("name") for _, test in self.tool.tests() for output in test if output.tag.startswith("output")}
        self.assertEqual({output.get("name") for output in self.tool.root.find("outputs")}, tested)

    def test_every_choice_gives_a_command_that_runs(self):
        env = self.installed()
        chosen = []
        for param in self.tool.root.find("inputs").iter("param"):
            if param.get("type") == "select" and param.get("multiple") != "true":
                chosen += [(param, option.get("value")) for option in param.findall("option")]
        self.assertGreater(len(chosen), 15)
        holders = {"preset": {"settings__how": "preset"}, "model": {}, "engine": {"outputs": "mgf"},
                   "mzml_form": {"outputs": "mzml"}}
        for param, value in chosen:
            name = name_of(param)
            if name == "how":  # of two conditionals: the tests of the wrapper have each of their choices
                continue
            with self.subTest(param=name, value=value):
                key = {"preset": "settings__preset", "model": "determination__model"}.get(name, name)
                values = self.tool.values(self.given(**{"outputs": "csv", **holders[name], key: value}))
                self.assertIn(value, self.tool.command(values))
                self.assertEqual(1, len(self.tool.run(values, recipes.fresh("galaxy-work"), env)))

    def test_names_of_data_sets_do_nothing_in_the_shell(self):
        env, folder = self.installed(), recipes.fresh("galaxy-work")
        for name, run in ((NASTY, "a_b___touch_it____touch_it___x_____touch_it_"), ("...", "___"), ("-D", "D"), ("", "run"),
                          ("x.mzML.gz", "x")):
            given = self.given(outputs="table")
            given["input"].element_identifier = name
            with self.subTest(name=name):
                folder = recipes.fresh("galaxy-work")
                table = self.tool.run(self.tool.values(given), folder, env)["table"]
                self.assertEqual(run, table.read_text().splitlines()[1].split("\t")[0])
                self.assertEqual({"results", "table.tsv", f"{run}.mzML"}, {path.name for path in folder.iterdir()})

    def test_an_mzxml_data_set_is_linked_as_such(self):
        values = self.tool.values({"input": Dataset("/data/dataset_1.dat", "mzxml", "Run 1.mzXML")})
        self.assertTrue(self.tool.command(values).startswith("ln -s '/data/dataset_1.dat' 'Run_1.mzXML' &&"))

    def test_the_form_refuses_what_is_no_range_or_out_of_bounds(self):
        for bad in ("2;touch it", "2", "", "-", "2-6'", "0-3"):
            with self.subTest(charges=bad), self.assertRaises(ValueError):
                self.tool.values(self.given(settings__how="given", settings__charges=bad))
        for bad in ("0", "-1", "51"):
            with self.subTest(width=bad), self.assertRaises(ValueError):
                self.tool.values(self.given(settings__how="given", settings__width=bad))

    def test_a_run_that_fails_fails_the_job(self):
        env = self.installed()
        broken = recipes.fresh("galaxy-broken") / "broken.mzML"
        broken.write_text("<mzML>\n")
        with self.assertRaisesRegex(AssertionError, "status 1 of"):
            self.tool.run(self.tool.values({"input": Dataset(broken, "mzml")}), recipes.fresh("galaxy-work"), env)
        self.assertEqual("exit_code", self.tool.root.find("command").get("detect_errors"))

    def test_the_tool_has_what_its_tool_shed_wants(self):
        root = self.tool.root
        self.assertEqual("tarvek", root.get("id"))
        self.assertRegex(root.get("profile"), r"^2[0-9]\.[0-9]$")
        for name in ("description", "requirements", "version_command", "command", "inputs", "outputs", "tests", "help"):
            self.assertEqual(1, len(root.findall(name)), name)
        for param in root.find("inputs").iter("param"):
            self.assertTrue(param.get("label"), name_of(param))
        shed = yaml.safe_load((WRAPPER / ".shed.yml").read_text())
        for key in ("name", "owner", "description", "long_description", "homepage_url", "remote_repository_url", "categories"):
            self.assertTrue(shed[key], key)
        self.assertEqual((root.get("id"), "unrestricted"), (shed["name"], shed["type"]))
        self.assertRegex(shed["name"], "^[a-z0-9_]+$")

    def test_the_version_is_that_of_the_project(self):
        root = self.tool.root
        self.assertTrue(re.fullmatch(re.escape(recipes.version()) + r"\+galaxy[0-9]+", root.get("version")))
        requirement = root.find("requirements/requirement")
        self.assertEqual(("tarvek", recipes.version()), (requirement.text, requirement.get("version")))
        self.assertEqual("MIT", root.get("license"))

    @recipes.needs("planemo", "neither it nor Galaxy itself saw the wrapper; Cheetah and bash ran its tests")
    def test_planemo_lints_it(self):
        recipes.run(["planemo", "lint", WRAPPER], WRAPPER)
