"""What ./test runs and says, on a copy of it with stand-ins for the compiler and the tests."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import textwrap
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

CTEST = r"""
    #!/bin/bash
    # Tests that end as the file ctest.KIND says: tests, failures, disabled, skipped.
    echo "ctest $*" >>"$LOG"
    while (($#)); do
      [[ $1 != --output-junit ]] || report=$2
      shift
    done
    kind=native
    [[ $report != *windows* ]] || kind=windows
    read -r tests failures disabled skipped <"$ENDS/ctest.$kind" || exit 139
    printf '<?xml version="1.0"?>\n<testsuite name="(empty)"\n\ttests="%s"\n\tfailures="%s"\n' \
      "$tests" "$failures" >"$report"
    printf '\tdisabled="%s"\n\tskipped="%s"\n\thostname="">\n\t<testcase name="tests=9"/>\n' \
      "$disabled" "$skipped" >>"$report"
    ((failures == 0)) || exit 8
"""

WINDOWS = r"""
    #!/bin/bash
    set -euo pipefail
    . scripts/lib.sh
    say 'Building for Windows'
    cmake --build build/windows
    report=$PWD/build/windows/report.xml
    mkdir -p build/windows
    run_tests "$report" ctest --output-junit "$report"
    run_tests "$report" ctest --output-junit "$report" --screen
    end_tests Windows
"""


class TestCommand(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copy(ROOT / "test", self.folder)
        (self.folder / "scripts").mkdir()
        for name in ("lib.sh", "test-native"):
            shutil.copy(ROOT / "scripts" / name, self.folder / "scripts")
        (self.folder / "scripts" / "packages.txt").touch()
        self.program("scripts/test-windows", WINDOWS)
        self.program("scripts/tidy", '#!/bin/bash\necho "tidy $*" >>"$LOG"\n')
        self.program("bin/ctest", CTEST)
        self.program("bin/cmake", '#!/bin/bash\necho "cmake $*" >>"$LOG"\n')
        self.program("bin/clang-format", "#!/bin/bash\n")
        (self.folder / "source.cpp").touch()
        (self.folder / "build" / "native").mkdir(parents=True)
        (self.folder / "build" / "sanitize").mkdir(parents=True)
        (self.folder / "build" / "clang").mkdir(parents=True)
        self.ends("native", "10 0 0 0")
        self.ends("windows", "3 0 0 0")

    def program(self, name, text):
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(textwrap.dedent(text).lstrip("\n"))
        path.chmod(0o755)

    def ends(self, kind, counts):
        (self.folder / f"ctest.{kind}").write_text(counts + "\n")

    def run_it(self, *switches):
        result = subprocess.run(
            [self.folder / "test", *switches],
            env={**os.environ, "PATH": f"{self.folder}/bin:{os.environ['PATH']}",
                 "LOG": str(self.folder / "log"), "ENDS": str(self.folder)},
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=120)
        return result.returncode, result.stdout.strip().splitlines()

    def preset(self, name):
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        return next(preset for preset in presets if preset["name"] == name)

    def logged(self):
        return (self.folder / "log").read_text().splitlines()

    def test_ends_with_the_sum_of_both_halves(self):
        self.ends("native", "10 0 1 2")
        code, lines = self.run_it()
        self.assertEqual(lines[-4:], ["Formatting: clean",
                                      "Native: 7 passed, 0 failed, 3 skipped",
                                      "Windows: 6 passed, 0 failed, 0 skipped",
                                      "13 passed, 0 failed"])
        self.assertEqual(code, 0)

    def test_runs_the_native_tests_first(self):
        self.run_it()
        tests = [line for line in self.logged() if line.startswith("ctest")]
        self.assertIn("build/native", tests[0])
        self.assertEqual(len(tests), 3)

    def test_runs_the_windows_half_though_native_tests_fail(self):
        self.ends("native", "10 2 0 0")
        code, lines = self.run_it()
        self.assertEqual(lines[-3:], ["Native: 8 passed, 2 failed, 0 skipped",
                                      "Windows: 6 passed, 0 failed, 0 skipped",
                                      "14 passed, 2 failed"])
        self.assertNotEqual(code, 0)

    def test_runs_the_windows_half_though_the_native_build_fails(self):
        self.program("bin/cmake", "#!/bin/bash\n[[ $* != *build/native* ]]\n")
        code, lines = self.run_it()
        self.assertEqual(lines[-3:], ["Native: ended before all of its tests had been run",
                                      "Windows: 6 passed, 0 failed, 0 skipped",
                                      "6 passed, 0 failed"])
        self.assertNotEqual(code, 0)

    def test_fails_when_a_windows_test_fails(self):
        self.ends("windows", "3 1 0 0")
        code, lines = self.run_it()
        self.assertEqual(lines[-1], "14 passed, 2 failed")
        self.assertNotEqual(code, 0)

    def test_counts_tests_that_leave_no_report_as_one_that_failed(self):
        (self.folder / "ctest.native").unlink()
        code, lines = self.run_it()
        self.assertEqual(lines[-3], "Native: 0 passed, 1 failed, 0 skipped")
        self.assertNotEqual(code, 0)

    def test_runs_the_tests_though_the_formatting_is_wrong(self):
        self.program("bin/clang-format", "#!/bin/bash\nexit 1\n")
        code, lines = self.run_it()
        self.assertEqual(lines[-4], "Formatting: wrong")
        self.assertEqual(lines[-1], "16 passed, 0 failed")
        self.assertNotEqual(code, 0)

    def test_leaves_the_windows_half_out_on_demand(self):
        code, lines = self.run_it("--native", "--sanitize")
        self.assertEqual(lines[-2:], ["Native: 10 passed, 0 failed, 0 skipped",
                                      "10 passed, 0 failed"])
        self.assertEqual(code, 0)
        self.assertFalse([line for line in self.logged() if "windows" in line])
        self.assertTrue([line for line in self.logged() if "--preset sanitize" in line])
        self.assertEqual(self.preset("sanitize")["cacheVariables"]["TARNWICK_SANITIZE"], "ON")

    def test_builds_with_the_other_compiler_on_demand(self):
        code, lines = self.run_it("--clang")
        self.assertEqual(lines[-2:], ["Native: 10 passed, 0 failed, 0 skipped",
                                      "10 passed, 0 failed"])
        self.assertEqual(code, 0)
        self.assertFalse([line for line in self.logged() if "windows" in line])
        self.assertTrue([line for line in self.logged() if "--preset clang" in line])
        self.assertEqual(self.preset("clang")["cacheVariables"]["CMAKE_CXX_COMPILER"], "clang++")

    def test_looks_for_mistakes_in_what_was_changed(self):
        code, lines = self.run_it()
        self.assertIn("tidy changed", self.logged())
        self.assertEqual(lines[-5], "Mistakes: none")
        self.assertEqual(code, 0)
        self.program("scripts/tidy", "#!/bin/bash\nexit 1\n")
        code, lines = self.run_it()
        self.assertEqual(lines[-5], "Mistakes: found")
        self.assertEqual(lines[-1], "16 passed, 0 failed")
        self.assertNotEqual(code, 0)

    def test_looks_for_mistakes_once(self):
        for switch in "--sanitize", "--clang":
            self.run_it("--native", switch)
        self.assertFalse([line for line in self.logged() if line.startswith("tidy")])

    def test_looks_for_mistakes_everywhere_on_demand_and_does_nothing_else(self):
        code, _ = self.run_it("--tidy")
        self.assertEqual(code, 0)
        self.assertEqual([line.split()[:2] for line in self.logged()],
                         [["cmake", "--preset"], ["tidy", "all"]])
        self.program("scripts/tidy", "#!/bin/bash\nexit 1\n")
        self.assertNotEqual(self.run_it("--tidy")[0], 0)


if __name__ == "__main__":
    unittest.main()
