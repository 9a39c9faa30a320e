"""What the installer registers is what the server wrote into the registry."""

import pathlib
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "packaging/windows"))
import registration  # noqa: E402
import registry  # noqa: E402

WIX = "{http://schemas.microsoft.com/wix/2006/wi}"
CLASSES = "HKEY_LOCAL_MACHINE\\Software\\Classes"
FOLDER = "C:\\Program Files\\Tarnwick"
BEFORE = f"""[{CLASSES}]

[{CLASSES}\\CLSID]

[{CLASSES}\\CLSID\\{{other}}]
@="Somebody else's"

[{CLASSES}\\Wow6432Node]

"""
AFTER = BEFORE + f"""[{CLASSES}\\AppID]

[{CLASSES}\\AppID\\{{app}}]
@="Tarnwick"
"MadeKeys"=hex(7):41,00,00,00,00,00

[{CLASSES}\\CLSID\\{{class}}]
@="A class"
"AppID"="{{app}}"

[{CLASSES}\\CLSID\\{{class}}\\LocalServer32]
@="\\"C:\\\\Program Files\\\\Tarnwick\\\\Tarnwick.exe\\" --when-locked cancel"

[{CLASSES}\\CLSID\\{{class}}\\Programmable]

[{CLASSES}\\Tarnwick.Server]
@="A class"

[{CLASSES}\\Wow6432Node\\AppId]

[{CLASSES}\\Wow6432Node\\AppId\\{{app}}]
@="Tarnwick"

[{CLASSES}\\Wow6432Node\\CLSID]

[{CLASSES}\\Wow6432Node\\CLSID\\{{class}}]
@="A class"

"""


class Registration(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def export(self, name, text):
        file = self.folder / name
        file.write_text("Windows Registry Editor Version 5.00\n\n" + text, encoding="utf-16",
                        newline="\r\n")
        return file

    def make(self, after=AFTER):
        registration.main(self.export("before", BEFORE), self.export("after", after), FOLDER,
                          self.folder / "fragment", self.folder / "sql")
        rows = {}
        for component in xml.parse(self.folder / "fragment").iter(WIX + "Component"):
            view = 64 if component.get("Win64") == "yes" else 32
            for row in component:
                self.assertEqual((row.get("Root"), row.get("Type")), ("HKLM", "string"))
                rows[view, row.get("Key").removeprefix("Software\\Classes\\"),
                     row.get("Name", "")] = row.get("Value")
        return rows

    def test_is_what_was_written_in_both_views_and_nothing_that_was_there(self):
        self.assertEqual(self.make(), {
            (64, "AppID\\{app}", ""): "Tarnwick",
            (64, "CLSID\\{class}", ""): "A class",
            (64, "CLSID\\{class}", "AppID"): "{app}",
            (64, "CLSID\\{class}\\LocalServer32", ""):
                '"[INSTALLFOLDER]Tarnwick.exe" --when-locked cancel',
            (64, "Tarnwick.Server", ""): "A class",
            (32, "CLSID\\{class}", ""): "A class"})

    def keys(self, sign):
        rows = (self.folder / "sql").read_text().splitlines()
        return sorted(row.split("'")[3].removeprefix("Software\\Classes\\") for row in rows
                      if f", '{sign}', " in row)

    def test_removes_its_own_keys_whole_and_none_that_others_use(self):
        self.make()
        self.assertEqual(self.keys("-"), ["AppID\\{app}", "CLSID\\{class}", "CLSID\\{class}",
                                          "Tarnwick.Server"])
        self.assertEqual(self.keys("*"), ["CLSID\\{class}\\Programmable"])

    def test_is_refused_where_nothing_was_written_or_a_value_has_no_form(self):
        with self.assertRaises(SystemExit):
            self.make(BEFORE)
        with self.assertRaises(SystemExit):
            self.make(AFTER + f'[{CLASSES}\\Tarnwick.Server\\New]\n"Flags"=dword:00000001\n')


class Export(unittest.TestCase):
    def test_is_read_with_its_quotes_its_folded_lines_and_its_variables(self):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "export"
            file.write_text('Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n'
                            '"a\\\\b"="one\\\\two \\"three\\""\r\n@=hex(2):25,00,\\\r\n  41,00,00,00\r\n'
                            '"n"=dword:00000007\r\n', encoding="utf-16", newline="")
            self.assertEqual(registry.read_export(file), {
                "HKEY_CURRENT_USER\\A": {"a\\b": ("string", 'one\\two "three"'),
                                         "": ("hex(2)", "%A"), "n": ("dword", "00000007")}})


if __name__ == "__main__":
    unittest.main()
