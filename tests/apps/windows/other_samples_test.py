#!/usr/bin/python3
"""The samples whose languages nothing here can run as they are."""

import pathlib
import re
import subprocess
import tempfile
import unittest

from wine_client import SOURCE, Database, run, windows_path

SAMPLES = SOURCE / "samples/windows"


def as_script(module):
    """A module of VBA as VBScript, which is VBA without types, with a line for a cell."""
    module = re.sub(r"^Attribute .*\n", "", module)
    module = re.sub(r" As [A-Z]\w*", "", module)
    module, replaced = re.subn(r"ActiveSheet\.Cells\(row, depth \+ 1\)\.Value = text",
                               'WScript.Echo row & ":" & String(depth, ">") & text', module)
    assert replaced == 1
    return module


class OtherSamples(unittest.TestCase):
    def test_in_vba_writes_the_tree_of_components(self):
        database = Database(self)
        script = database.folder / "tree.vbs"
        script.write_text(as_script((SAMPLES / "ComponentTree.bas").read_text()) +
                          f'\nWriteComponentTree "{database.connect}", "Maintainer", "sesame"\n')
        self.assertEqual(run("cscript", "//nologo", windows_path(script)),
                         (0, "1:Sales\n2:>Orders\n3:>Lists\n"))

    def test_in_csharp_compiles_without_a_warning(self):
        with tempfile.TemporaryDirectory() as folder:
            made = pathlib.Path(folder) / "LockedBy.exe"
            compiled = subprocess.run(["mcs", "-warnaserror", "-r:Microsoft.CSharp", f"-out:{made}",
                                       SAMPLES / "LockedBy.cs"], capture_output=True, text=True)
            self.assertEqual((compiled.returncode, compiled.stdout, compiled.stderr), (0, "", ""))
            self.assertTrue(made.exists())


if __name__ == "__main__":
    unittest.main()
