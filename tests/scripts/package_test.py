"""What ./package and its scripts say and write, without building anything."""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def run(*command, **more):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, **more)


class Copy(unittest.TestCase):
    """A tree with what the scripts need, and nothing to build."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        shutil.copytree(ROOT / "scripts", self.folder / "scripts")
        (self.folder / "debian").mkdir()
        for name in ("package", "CMakeLists.txt", "CHANGELOG.md", "debian/copyright", "debian/changelog"):
            shutil.copy(ROOT / name, self.folder / name)

    def replace(self, name, old, new):
        file = self.folder / name
        self.assertIn(old, file.read_text())
        file.write_text(file.read_text().replace(old, new, 1))

    def program(self, name, text):
        file = self.folder / name
        file.parent.mkdir(exist_ok=True)
        file.write_text(text)
        file.chmod(0o755)


class Version(Copy):
    def test_is_one(self):
        result = run(ROOT / "scripts/check-version")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_that_differs_is_told(self):
        number = re.search(r"project\(.* VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())[1]
        for name in ("debian/changelog", "CHANGELOG.md"):
            with self.subTest(file=name):
                self.replace(name, number, "7.7.7")
                result = run(self.folder / "scripts/check-version")
                self.assertEqual((result.returncode, result.stderr),
                                 (1, f"check-version: {name} begins with version 7.7.7, but "
                                  f"CMakeLists.txt has {number}\n"))
                self.replace(name, "7.7.7", number)


class Package(Copy):
    def package(self, *words, **environment):
        return run(self.folder / "package", *words, cwd=self.folder,
                   env={**os.environ, **environment})

    def test_knows_its_words(self):
        result = self.package("rpm")
        self.assertEqual(result.returncode, 2)
        self.assertIn("package: unknown word 'rpm'", result.stderr)

    def test_says_what_is_needed_on_another_distribution(self):
        # Where there is no dpkg-query.
        (self.folder / "bin").mkdir()
        for name in ("bash", "dirname", "readlink", "sed"):
            (self.folder / "bin" / name).symlink_to(shutil.which(name))
        result = run(shutil.which("bash"), self.folder / "package", env={
            "PATH": str(self.folder / "bin")})
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr,
                         r"package: this is not a Debian system; install what answers to: .*g\+\+")

    def test_puts_checksums_and_a_list_beside_what_was_built(self):
        self.program("scripts/package-debian", '#!/bin/bash\necho packed >"$1/a.deb"\n')
        self.program("scripts/package-windows", '#!/bin/bash\necho "$@" >"$1/b.msi"\n')
        (self.folder / "scripts/packages.txt").write_text("bash  # the shell\n")
        (self.folder / "scripts/packages-release.txt").write_text("")
        result = self.package()
        self.assertEqual(result.returncode, 0, result.stderr)
        dist = self.folder / "dist"
        self.assertEqual((dist / "b.msi").read_text(), f"{dist}\n")
        result = run("sha256sum", "--check", "SHA256SUMS", cwd=dist)
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertRegex(result.stdout, r"(?s)^a\.deb: OK\nb\.msi: OK\ntarnwick-.*\.spdx\.json: OK\n$")

        spdx = json.loads(next(dist.glob("*.spdx.json")).read_text())
        self.assertEqual(spdx["spdxVersion"], "SPDX-2.3")
        self.assertEqual([file["fileName"] for file in spdx["files"]], ["./a.deb", "./b.msi"])
        self.assertIn({"algorithm": "SHA256",
                       "checksumValue": hashlib.sha256(b"packed\n").hexdigest()},
                      spdx["files"][0]["checksums"])
        names = {package["name"]: package for package in spdx["packages"]}
        self.assertIn("bash", names)
        self.assertTrue(names["bash"]["versionInfo"])
        self.assertIn("The Tarnwick authors, all rights reserved", names["tarnwick"]["copyrightText"])
        known = {entry["SPDXID"] for entry in spdx["packages"] + spdx["files"]} | {spdx["SPDXID"]}
        for relation in spdx["relationships"]:
            self.assertLessEqual({relation["spdxElementId"], relation["relatedSpdxElement"]}, known)

    def test_builds_one_kind_alone_and_hands_on_that_it_is_to_be_tried(self):
        self.program("scripts/package-windows", '#!/bin/bash\necho "$2" >"$1/b.msi"\n')
        for name in ("packages.txt", "packages-release.txt"):
            (self.folder / "scripts" / name).write_text("bash\n")
        result = self.package("windows", "--try")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual((self.folder / "dist/b.msi").read_text(), "--try\n")

    def test_says_before_it_builds_that_the_disk_is_full(self):
        result = run("bash", "-c", '. scripts/lib.sh; require_space . 99999999', cwd=self.folder)
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"the disk is full: \. has \d+ MB left, and 99999999 MB")


class Trying(Copy):
    def test_needs_root(self):
        if os.geteuid() != 0:
            result = run(self.folder / "scripts/try-debian", self.folder)
        else:
            self.folder.chmod(0o755)
            result = run("setpriv", "--reuid", "nobody", "--regid", "nogroup", "--clear-groups",
                         self.folder / "scripts/try-debian", self.folder)
        self.assertEqual(result.returncode, 1)
        self.assertIn("root installs packages", result.stderr)


if __name__ == "__main__":
    unittest.main()
