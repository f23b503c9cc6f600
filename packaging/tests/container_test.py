"""The container, built by buildah from a base of debootstrap, and the programs at work in it."""
import json
import os
import tarfile
import unittest

import recipes

FOLDER = recipes.WORK / "container"


def json_of(archive, name):
    return json.load(archive.extractfile(name))


@recipes.once
def built():
    """What the script printed."""
    return recipes.run([recipes.PACKAGING / "container/build", FOLDER], recipes.ROOT)


@unittest.skipUnless(os.geteuid() == 0, "debootstrap needs root")
class Container(unittest.TestCase):
    def test_it_is_built_and_the_programs_run_in_it(self):
        printed = built()
        self.assertIn(f"tarvek-tools {recipes.version()}\n", printed)
        self.assertRegex(printed, r"done +300 +300 ")
        self.assertTrue((FOLDER / "data/results/run.report.html").is_file())

    def test_what_it_determines_in_the_container_is_what_the_bioconda_build_does(self):
        built()
        folder = recipes.fresh("container-compared")
        tools = recipes.installed() / "bin/tarvek-tools"
        recipes.run([tools, "run", FOLDER / "data/run.mzML", "-o", folder], folder)
        for name in ("run.csv", "run_HCDFT.mgf", "run_HCDFT.pf2"):
            self.assertEqual((folder / name).read_bytes(), (FOLDER / "data/results" / name).read_bytes(), name)

    def test_the_image_says_what_it_is(self):
        path = FOLDER / f"tarvek-{recipes.version()}-oci.tar"
        built()
        with tarfile.open(path) as archive:
            manifest = json_of(archive, self.blob(json_of(archive, "index.json")["manifests"][0]))
            config = json_of(archive, self.blob(manifest["config"]))["config"]
        labels = {key.removeprefix("org.opencontainers.image."): value for key, value in config["Labels"].items()}
        self.assertEqual((recipes.version(), "MIT"), (labels["version"], labels["licenses"]))
        self.assertEqual("/data", config["WorkingDir"])
        self.assertNotIn("Entrypoint", config)
        self.assertLess(path.stat().st_size, 150e6)

    @staticmethod
    def blob(entry):
        return "blobs/" + entry["digest"].replace(":", "/")
