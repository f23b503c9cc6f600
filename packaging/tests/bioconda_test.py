"""The bioconda recipe: rendered, linted, built from the archive of the sources, and its own test commands.

conda-build itself is not in Debian. In its place: jinja2 with the two functions that the recipe calls, line selectors,
PREFIX and CPU_COUNT for build.sh, and Debian's libraries instead of those of conda-forge.
"""
import hashlib
import re
import unittest

import jinja2
import recipes
import yaml

# The packages of conda-forge that hold what CMake looks for; None: the recipe brings it as a source.
CONDA_PACKAGES = {"CLI11": "cli11", "EXPAT": "expat", "LIBDEFLATE": "libdeflate", "MSNUMPRESS": None,
                  "nlohmann_json": "nlohmann_json", "Threads": None, "ZLIB": "zlib"}
# What bioconda's linter refuses among dependencies: compilers come by {{ compiler() }} alone.
BARE_COMPILERS = {"gcc", "gxx", "g++", "llvm", "clang", "libgcc", "libgcc-ng", "libgfortran", "toolchain"}


class UniqueKeys(yaml.SafeLoader):
    """Refuses a key that occurs twice, as conda-build does."""

    def construct_mapping(self, node, deep=False):
        keys = [key.value for key, _ in node.value]
        twice = {key for key in keys if keys.count(key) > 1}
        if twice:
            raise yaml.YAMLError(f"{node.start_mark}: twice: {twice}")
        return super().construct_mapping(node, deep)


def selected(text):
    """The lines that apply on Linux, without their selectors."""
    lines = []
    for line in text.splitlines():
        selector = re.search(r"\s+#\s*\[(.*)\]$", line)
        if not selector or eval(selector[1], {"__builtins__": {}}, {"linux": True, "osx": False, "win": False}):
            lines.append(line[:selector.start()] if selector else line)
    return "\n".join(lines)


def rendered(text):
    functions = {"compiler": lambda language: {"cxx": "gxx_linux-64"}[language],
                 "pin_subpackage": lambda name, max_pin: f"{name} {max_pin}"}
    template = jinja2.Environment(undefined=jinja2.StrictUndefined).from_string(selected(text))
    return yaml.load(template.render(functions), UniqueKeys)


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Bioconda(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = (recipes.bioconda_recipe() / "meta.yaml").read_text()
        cls.recipe = rendered(cls.text)

    def test_its_version_is_that_of_the_project(self):
        self.assertEqual(recipes.version(), self.recipe["package"]["version"])
        # The form that bioconda's own robot finds and raises.
        self.assertIn(f'{{% set version = "{recipes.version()}" %}}', self.text)

    def test_its_checksums_are_those_of_the_archives(self):
        sources = self.recipe["source"]
        self.assertEqual([sha256(recipes.source_archive()), sha256(recipes.numpress_archive())],
                         [source["sha256"] for source in sources])
        self.assertEqual([recipes.source_archive().name, recipes.numpress_archive().name],
                         [source["url"].rsplit("/", 1)[1] for source in sources])

    def test_one_commit_gives_the_same_archive_again(self):
        again = recipes.fresh("archive-again")
        commit = recipes.run(f"git get-tar-commit-id < <(gzip -dc '{recipes.source_archive()}')", recipes.ROOT).strip()
        recipes.run([recipes.PACKAGING / "source-archive", again, commit], recipes.ROOT)
        self.assertEqual(sha256(recipes.source_archive()), sha256(again / recipes.source_archive().name))

    def test_fields_that_the_linter_of_bioconda_wants(self):
        recipe, about = self.recipe, self.recipe["about"]
        self.assertEqual("tarvek", recipe["package"]["name"])  # that of its folder
        self.assertEqual(recipes.bioconda_recipe().name, recipe["package"]["name"])
        self.assertRegex(recipe["package"]["version"], r"^[0-9]+(\.[0-9]+)*$")
        self.assertEqual(0, recipe["build"]["number"])
        self.assertEqual(["tarvek x"], recipe["build"]["run_exports"])
        self.assertNotIn("noarch", recipe["build"])  # it is compiled
        for key in ("home", "license", "license_family", "license_file", "summary", "description"):
            self.assertTrue(about[key], key)
        self.assertLess(len(about["summary"]), 100)
        self.assertTrue(recipe["test"]["commands"])
        self.assertTrue(recipe["extra"]["recipe-maintainers"])
        for source in recipe["source"]:
            self.assertLessEqual({"url", "sha256"}, set(source))
            self.assertFalse({"fn", "git_url", "git_rev"} & set(source))
            self.assertRegex(source["sha256"], "^[0-9a-f]{64}$")
        for place in ("build", "host", "run"):
            for package in recipe["requirements"].get(place, []):
                self.assertNotIn(package.split()[0], BARE_COMPILERS)
                self.assertRegex(package, r"^[a-z0-9_.-]+( [<>=!]+[0-9.]+)?$")  # a blank before a version
        self.assertIn("gxx_linux-64", recipe["requirements"]["build"])
        self.assertFalse((recipes.bioconda_recipe() / "bld.bat").exists())

    def test_host_has_what_cmake_looks_for(self):
        wanted = set()
        for folder in ("src", "extractor", "tools"):
            text = (recipes.ROOT / folder / "CMakeLists.txt").read_text()
            wanted |= set(re.findall(r"find_package\((\w+)", text))
            wanted |= set(re.findall(r"find_library\((\w+)_LIBRARY", text))
        self.assertEqual(sorted(package for package in (CONDA_PACKAGES[name] for name in wanted) if package),
                         sorted(self.recipe["requirements"]["host"]))
        self.assertIn("msnumpress", [source.get("folder") for source in self.recipe["source"]])

    def test_licence_files_are_in_the_sources(self):
        recipes.installed()
        for name in self.recipe["about"]["license_file"]:
            self.assertTrue((recipes.WORK / "sources" / name).is_file(), name)

    def test_programs_link_no_library_but_those_of_host(self):
        prefix = recipes.installed()
        programs = [prefix / "bin/tarvek", prefix / "bin/tarvek-tools", *prefix.glob("libexec/tarvek/*.exe")]
        self.assertEqual(5, len(programs))
        linked = set(re.findall(r"(\S+)\.so", recipes.run(["ldd", *programs], prefix)))
        self.assertEqual(set(), {name.rsplit("/", 1)[-1] for name in linked} -
                         {"libc", "libm", "libgcc_s", "libstdc++", "linux-vdso", "ld-linux-x86-64", "ld-linux-aarch64",
                          "libz", "libdeflate", "libexpat"})

    def test_no_path_of_the_build_is_left_in_the_programs(self):
        prefix = recipes.installed()
        for program in [*prefix.glob("bin/*"), *prefix.glob("libexec/tarvek/*")]:
            self.assertNotIn(str(recipes.WORK / "sources").encode(), program.read_bytes(), program)

    def test_its_own_test_commands_pass(self):
        prefix, folder = recipes.installed(), recipes.fresh("bioconda-test")
        env = recipes.environment(prefix / "bin", PREFIX=str(prefix))
        for command in self.recipe["test"]["commands"]:
            recipes.run(command, folder, env)

    @recipes.needs("conda-build", "the recipe was not rendered and built by conda itself")
    def test_conda_builds_it(self):
        recipes.run(["conda-build", "--output-folder", recipes.fresh("conda"), recipes.bioconda_recipe()], recipes.WORK)
