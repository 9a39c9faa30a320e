"""What a program for Windows is when it is released."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[3] / "scripts"
VERSION = sys.argv.pop()
PROGRAM = pathlib.Path(sys.argv.pop())


def complaint(program, version=VERSION):
    return subprocess.run([SCRIPTS / "check-program", program, version], capture_output=True,
                          text=True).stderr


class ReleasedProgram(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        (cls.folder / "symbols").mkdir()
        subprocess.run([SCRIPTS / "strip-program", PROGRAM, cls.folder, cls.folder / "symbols"],
                       check=True)
        cls.program = cls.folder / PROGRAM.name

    def test_is_protected_stripped_and_bears_the_version(self):
        self.assertEqual(complaint(self.program), "")
        self.assertLess(self.program.stat().st_size * 4, PROGRAM.stat().st_size)

    def test_has_its_symbols_beside_it(self):
        symbols = self.folder / f"symbols/{PROGRAM.name}.debug"
        found = subprocess.run(["x86_64-w64-mingw32-nm", symbols], capture_output=True,
                               text=True).stdout
        self.assertIn("8tarnwick", found)  # of the names of C++
        self.assertIn(symbols.name.encode() + b"\0", self.program.read_bytes())

    def test_is_refused_otherwise(self):
        self.assertIn("is not of the version 99.0.0", complaint(self.program, "99.0.0"))
        self.assertIn("is not stripped", complaint(PROGRAM))
        for bit, name in ((0x20, "HIGH_ENTROPY_VA"), (0x40, "DYNAMIC_BASE"), (0x100, "NX_COMPAT")):
            image = bytearray(self.program.read_bytes())
            # The characteristics in the optional header, which stands behind the signature.
            place = int.from_bytes(image[0x3C:0x40], "little") + 24 + 70
            image[place:place + 2] = (int.from_bytes(image[place:place + 2], "little")
                                      & ~bit).to_bytes(2, "little")
            (self.folder / "changed.exe").write_bytes(image)
            self.assertIn(f"is linked without {name}", complaint(self.folder / "changed.exe"))


if __name__ == "__main__":
    unittest.main()
