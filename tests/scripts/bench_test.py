"""What ./bench says and runs, on a copy of it with a stand-in for what measures."""

import pathlib
import shutil
import subprocess
import tempfile
import textwrap
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

MEASURING = """
    #!/bin/bash
    printf '%s\\n' "$*" >>arguments
    exit "$(cat end)"
"""

COM = """
    #!/bin/bash
    printf 'com %s\\n' "$1" >>arguments
    exit "$(cat com_end)"
"""

LIBRARY = """
    say() { :; }
    configure() { :; }
    build() { :; }
    install_packages() { :; }
    fail() { echo "bench: $1" >&2; exit "${2:-1}"; }
"""


class Bench(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copy(ROOT / "bench", self.folder)
        self.program("build/bench/benchmarks/tarnwick_benchmarks", MEASURING)
        self.program("scripts/bench-windows", COM)
        self.program("scripts/lib.sh", LIBRARY)
        self.ends(0)

    def program(self, name, text):
        file = self.folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(textwrap.dedent(text).lstrip())
        file.chmod(0o755)

    def ends(self, code, com=0):
        (self.folder / "end").write_text(str(code))
        (self.folder / "com_end").write_text(str(com))

    def keep(self, name):
        (self.folder / "var/bench").mkdir(parents=True, exist_ok=True)
        (self.folder / "var/bench" / name).write_text("{}")

    def bench(self, *arguments):
        return subprocess.run([self.folder / "bench", *arguments], cwd="/", capture_output=True, text=True)

    def measured(self):
        file = self.folder / "arguments"
        return file.read_text().splitlines() if file.exists() else []

    def test_measures_all_jobs_and_the_calls_over_com(self):
        self.assertEqual(self.bench().returncode, 0)
        self.assertEqual(self.measured(), ["com build/bench-com.json",
                                           "--also build/bench-com.json --source unknown build/bench"])

    def test_measures_single_jobs_without_com(self):
        self.assertEqual(self.bench("odbc", "update").returncode, 0)
        self.assertEqual(self.measured(), ["--source unknown build/bench odbc update"])

    def test_keeps_results_and_compares_with_them(self):
        self.keep("before.json")
        self.assertEqual(self.bench("--native", "--save", "after-1.2", "--against", "before").returncode, 0)
        self.assertEqual(self.measured(), ["--save var/bench/after-1.2.json --against var/bench/before.json "
                                           "--source unknown build/bench"])

    def test_exit_code_is_that_of_the_measurement(self):
        for code in (0, 1, 2, 3):
            with self.subTest(code=code):
                self.ends(code)
                self.assertEqual(self.bench("--native").returncode, code)

    def test_calls_over_com_that_cannot_be_measured_are_a_failure_beside_the_rest(self):
        for code in (0, 3):
            with self.subTest(code=code):
                self.ends(code, com=1)
                self.assertEqual(self.bench().returncode, 1)
                self.assertEqual(self.measured()[-1], "--source unknown build/bench")

    def test_says_what_is_wrong_before_anything_is_measured(self):
        self.keep("before.json")
        for arguments, words in ((("--save", "before"), "there are results of that name"),
                                 (("--against", "never"), "there are no results of that name"),
                                 (("--save", "../up"), "is no name"),
                                 (("--save", "-x"), "is no name"),
                                 (("--against",), "takes a name"),
                                 (("--fast",), "unknown switch '--fast'")):
            with self.subTest(arguments=arguments):
                result = self.bench(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertIn(words, result.stderr)
        self.assertEqual(self.measured(), [])


if __name__ == "__main__":
    unittest.main()
