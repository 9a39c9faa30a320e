"""Which sources scripts/tidy looks at, in a repository of its own with a stand-in for clang-tidy."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

TIDY = """#!/bin/bash
echo "${@: -1}" >>"$LOG"
echo '12 warnings generated.' >&2
! grep -qs mistake "${@: -1}" || { echo "a mistake in ${@: -1}"; exit 1; }
"""


class Tidy(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp()).resolve()
        self.addCleanup(shutil.rmtree, self.folder)
        for name in "lib.sh", "tidy":
            self.write(f"scripts/{name}", (ROOT / "scripts" / name).read_text(), mode=0o755)
        self.write("bin/clang-tidy", TIDY, mode=0o755)
        self.write(".gitignore", "/build/\n/bin/\n/log\n")
        self.sources = ["pcs/pc.cpp", "pcs/other.cpp", "tests/pcs/pc_test.cpp", "pcs/windows.cpp"]
        for name in self.sources:
            self.write(name, "")
        self.write("pcs/pc.h", "")
        self.compile([name for name in self.sources if name != "pcs/windows.cpp"])
        self.git("init", "-q", "-b", "main")
        self.commit()

    def write(self, name, text, mode=0o644):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(mode)

    def compile(self, names):
        files = [str(self.folder / name) for name in names] + [f"{self.folder}/build/native/made.cpp"]
        self.write("build/native/compile_commands.json",
                   json.dumps([{"file": file} for file in files]))

    def git(self, *words):
        subprocess.run(["git", "-c", "user.name=Tester", "-c", "user.email=tester@localhost", *words],
                       cwd=self.folder, check=True, stdout=subprocess.DEVNULL)

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-q", "-m", "A step")

    def looked_at(self, what="changed", fails=False):
        log = self.folder / "log"
        log.unlink(missing_ok=True)
        result = subprocess.run(
            [self.folder / "scripts" / "tidy", what],
            env={**os.environ, "PATH": f"{self.folder}/bin:{os.environ['PATH']}", "LOG": str(log)},
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=60)
        self.said = result.stdout
        self.assertEqual(result.returncode != 0, fails, self.said)
        return sorted(log.read_text().split()) if log.exists() else []

    def test_looks_at_all_sources_that_are_compiled_here(self):
        self.assertEqual(self.looked_at("all"),
                         ["pcs/other.cpp", "pcs/pc.cpp", "tests/pcs/pc_test.cpp"])

    def test_looks_at_what_a_branch_and_the_working_tree_changed(self):
        self.git("switch", "-q", "-c", "branch")
        self.write("pcs/pc.cpp", "changed")
        self.commit()
        self.write("tests/pcs/pc_test.cpp", "changed")
        self.write("pcs/windows.cpp", "changed")
        self.write("pcs/new.cpp", "")
        self.compile([*self.sources, "pcs/new.cpp"][:3] + ["pcs/new.cpp"])
        self.assertEqual(self.looked_at(), ["pcs/new.cpp", "pcs/pc.cpp", "tests/pcs/pc_test.cpp"])

    def test_compares_with_the_branch_that_was_cloned_where_there_is_one(self):
        self.git("update-ref", "refs/remotes/origin/main", "HEAD")
        for name in "pcs/pc.cpp", "pcs/other.cpp":
            self.write(name, "changed")
            self.commit()
        self.assertEqual(self.looked_at(), ["pcs/other.cpp", "pcs/pc.cpp"])

    def test_looks_at_the_last_commit_where_nothing_has_come_since(self):
        for name in "pcs/pc.cpp", "pcs/other.cpp":
            self.write(name, "changed")
            self.commit()
        self.assertEqual(self.looked_at(), ["pcs/other.cpp"])

    def test_has_nothing_to_compare_the_first_commit_with(self):
        self.assertEqual(self.looked_at(), [])
        self.assertIn("There is no state to compare with.", self.said)

    def test_looks_at_the_source_of_a_header_or_else_at_its_test(self):
        self.write("pcs/pc.h", "changed")
        self.commit()
        self.assertEqual(self.looked_at(), ["pcs/pc.cpp"])
        self.git("rm", "-q", "pcs/pc.cpp")
        self.write("pcs/pc.h", "changed again")
        self.commit()
        self.assertEqual(self.looked_at(), ["tests/pcs/pc_test.cpp"])

    def test_looks_at_no_more_than_can_be_waited_for_and_at_tests_last(self):
        names = [f"pcs/{number}.cpp" for number in range(39)]
        tests = [f"ado/{number}_test.cpp" for number in range(5)]
        for name in names + [f"tests/{test}" for test in tests]:
            self.write(name, "")
        self.compile(names + [f"tests/{test}" for test in tests])
        self.commit()
        self.assertEqual(self.looked_at(), sorted([*names, "tests/ado/0_test.cpp"]))
        self.assertIn("44 differ from", self.said)
        self.assertIn("Too many: the first 40 are checked", self.said)

    def test_tells_mistakes_and_fails(self):
        self.write("pcs/pc.cpp", "mistake")
        self.commit()
        self.looked_at(fails=True)
        self.assertIn("a mistake in pcs/pc.cpp", self.said)
        self.assertNotIn("warnings generated", self.said)


if __name__ == "__main__":
    unittest.main()
