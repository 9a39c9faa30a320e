"""The development package: what is in it, and that programs outside of the tree can be built on it."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent.parent
ARCHIVES = ("tarnwick", "tarnwick-embedded", "tarnwick-sql-server", "tarnwick-client")
INCLUDE = re.compile(r"(?m)^#include [<\"](.+)[>\"]")


def listed(kind):
    """Target and header of all that the list names so."""
    lines = (TREE / "packaging/library/headers.txt").read_text().splitlines()
    entries = [line.split() for line in lines if line and not line.startswith("#")]
    return [(target, header) for target, what, header in entries if what == kind]


PUBLIC, INNER = listed("public"), listed("inner")
HEADERS = dict((header, target) for target, header in PUBLIC + INNER)


def run(*command, **options):
    result = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if result.returncode:
        raise AssertionError(f"{command}: {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


class Library(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.prefix = pathlib.Path(folder.name).resolve()
        run(os.environ["TARNWICK_CMAKE"], "--install", os.environ["TARNWICK_BUILD"],
            "--component", "development", "--prefix", str(cls.prefix))
        cls.include = cls.prefix / "include"

    def test_brings_its_headers_archives_and_descriptions_and_nothing_else(self):
        files = {str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*")
                 if not path.is_dir()}
        pages = {file for file in files if file.startswith("share/doc/libtarnwick-dev/html/")}
        (libraries,) = {str(path.parent.relative_to(self.prefix))
                        for path in self.prefix.rglob("libtarnwick.a")}
        (targets,) = {path.name for path in self.prefix.rglob("TarnwickTargets-*.cmake")}
        self.assertEqual(files - pages, {
            *(f"include/tarnwick/{header}" for header in HEADERS),
            *(f"{libraries}/lib{archive}.a" for archive in ARCHIVES),
            *(f"{libraries}/cmake/Tarnwick/{file}" for file in (
                "TarnwickConfig.cmake", "TarnwickConfigVersion.cmake", "TarnwickTargets.cmake",
                targets)),
            f"{libraries}/pkgconfig/tarnwick.pc"})

    def test_names_no_folder_of_the_build(self):
        for file in (*self.prefix.rglob("*.cmake"), *self.prefix.rglob("*.pc"),
                     *self.prefix.rglob("*.html"), *self.prefix.rglob("*.h")):
            self.assertNotIn(str(TREE), file.read_text(), file)

    def test_has_headers_that_include_one_another_below_its_folder_alone(self):
        for header, target in HEADERS.items():
            for included in INCLUDE.findall((self.include / "tarnwick" / header).read_text()):
                if "/" not in included:
                    continue  # the standard library's
                folder, _, own = included.partition("/")
                self.assertEqual(folder, "tarnwick", header)
                self.assertIn(own, HEADERS, header)
                self.assertIn(HEADERS[own], (target, "object_model"), header)

    def test_has_no_header_that_nothing_public_needs(self):
        needed = [header for _, header in PUBLIC]
        for header in needed:
            text = (self.include / "tarnwick" / header).read_text()
            needed += {included.removeprefix("tarnwick/") for included in INCLUDE.findall(text)
                       if included.startswith("tarnwick/")} - set(needed)
        self.assertEqual(set(needed), set(HEADERS))

    def test_has_headers_that_give_no_warning(self):
        source = self.prefix / "all.cpp"
        source.write_text("".join(f"#include <tarnwick/{header}>\n" for header in HEADERS))
        self.addCleanup(source.unlink)
        run(os.environ["CXX"], "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic",
            "-Wconversion", "-Wshadow", "-Werror", "-I", str(self.include), str(source))

    def test_documents_every_public_class_and_names_every_public_header(self):
        pages = self.prefix / "share/doc/libtarnwick-dev/html"
        files = (pages / "files.html").read_text()
        for _, header in PUBLIC:
            self.assertIn(f">{pathlib.Path(header).name}</a>", files)
        # What doxygen would complain of if it listed only what is documented.
        settings = pathlib.Path(os.environ["TARNWICK_BUILD"]) / "packaging/library/Doxyfile"
        with tempfile.TemporaryDirectory() as folder:
            result = subprocess.run(
                ["doxygen", "-"], capture_output=True, text=True, check=False, input=(
                    settings.read_text() + f"EXTRACT_ALL = NO\nOUTPUT_DIRECTORY = {folder}\n"
                    "WARN_AS_ERROR = NO\n"))
        self.assertIn("is not documented", result.stderr)  # members may explain themselves
        self.assertEqual([line for line in result.stderr.splitlines() if "Compound" in line], [])

    def test_is_built_on_by_programs_outside_of_the_tree(self):
        run(HERE / "library_test.sh", self.prefix)


if __name__ == "__main__":
    unittest.main()
