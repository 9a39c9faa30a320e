"""What code generators make of the descriptions: the programs in docs/dbus.md, as they stand there."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from private_bus import INTERFACES, NAME, PASSWORD, ROLE, BusTest

GUIDE = pathlib.Path(os.environ.get("TARNWICK_SAMPLE_CLIENTS", ".")).parent.parent / "docs/dbus.md"
INSTALLED = "/usr/share/dbus-1/interfaces"
SECTION = GUIDE.read_text(encoding="utf-8").partition("\n## Code generators\n")[2].partition("\n## ")[0]
DESCRIPTIONS = sorted(INTERFACES.glob(f"{NAME}.*.xml"))


def run(command, folder, **options):
    result = subprocess.run(command, cwd=folder, capture_output=True, text=True, timeout=300,
                            check=False, **options)
    if result.returncode:
        raise AssertionError(f"{command}: {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def blocks_of(generator):
    """The files that the guide shows for a generator, by name, and what is to be typed then."""
    text = SECTION.partition(f"\n### {generator}\n")[2].partition("\n### ")[0]
    files = dict(re.findall(r"`([a-z.]+)`:\n\n```(?:c|cpp)\n(.*?)```", text, re.DOTALL))
    (commands,) = re.findall(r"```sh\n(.*?)```", text, re.DOTALL)
    return files, commands


class Guide(BusTest):
    def build(self, generator):
        """The folder in which the guide was followed."""
        files, commands = blocks_of(generator)
        self.assertTrue(files)
        self.db = self.database()
        self.db.add_reports([("Open Orders", "Before")])
        self.db.add_pcs([("02-5A-00-00-00-02", "VEL-SAL-012", 10),
                         ("02-5A-00-00-00-02", "VEL-SAL-012", 20)])
        folder = self.folder / "program"
        folder.mkdir()
        for name, text in files.items():
            for written, meant in (("=/srv/dw", f"={self.db.folder}"), ('"role"', f'"{ROLE}"'),
                                   ('"secret"', f'"{PASSWORD}"')):
                text = text.replace(written, meant)
            (folder / name).write_text(text, encoding="utf-8")
        self.assertIn(INSTALLED, commands)
        run(["bash", "-euc", commands.replace(INSTALLED, str(INTERFACES))], folder)
        return folder

    def retitle(self, generator):
        """What the program of the guide prints; the title is another one then."""
        folder = self.build(generator)
        printed = run(["./retitle"], folder,
                      env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": self.bus.address})
        self.assertEqual(self.db.run("SELECT Title FROM DW_Reports"), [(f"Orders, {generator}",)])
        return printed

    def test_follows_glibs_generator(self):
        self.assertEqual(self.retitle("GLib"), "Before\n")

    def test_follows_qts_generator(self):
        self.assertEqual(self.retitle("Qt"), "Before\n2 registrations\n")

    def test_follows_the_generator_of_sdbus(self):
        self.assertEqual(self.retitle("sdbus-c++"), "Before\n")


class EveryDescription(unittest.TestCase):
    """The programs above need few of them."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.assertEqual(len(DESCRIPTIONS), 12)

    def compile(self, command, package, text, suffix="cpp"):
        """That `text` is understood, without a warning."""
        (self.folder / f"all.{suffix}").write_text(text)
        flags = run(["pkg-config", "--cflags", package], self.folder).split()
        run([*command, "-fsyntax-only", "-Wall", "-Wextra", "-Werror", *flags, f"all.{suffix}"],
            self.folder)

    def test_is_understood_by_glibs_generator(self):
        run(["gdbus-codegen", "--interface-prefix", f"{NAME}.", "--c-namespace", "Tarnwick",
             "--generate-c-code", "all", *map(str, DESCRIPTIONS)], self.folder)
        self.compile(["cc"], "gio-unix-2.0", (self.folder / "all.c").read_text(), "c")

    def test_is_understood_by_qts_generator(self):
        (self.folder / "types.h").write_text(blocks_of("Qt")[0]["types.h"])
        text = ""
        for file in DESCRIPTIONS:
            name = file.name.split(".")[-2]
            for switch, side in (("-p", "proxy"), ("-a", "adaptor")):
                run(["qdbusxml2cpp", "-i", "types.h", switch, f"{name}_{side}:", file],
                    self.folder)
                text += f'#include "{name}_{side}.h"\n'
        self.compile(["c++", "-fPIC"], "Qt5DBus", text)

    def test_is_understood_by_the_generator_of_sdbus(self):
        text = ""
        for file in DESCRIPTIONS:
            name = file.name.split(".")[-2]
            for side in ("proxy", "adaptor"):
                run(["sdbus-c++-xml2cpp", f"--{side}={name}_{side}.h", file], self.folder)
                text += f'#include "{name}_{side}.h"\n'
        self.compile(["c++", "-std=c++17"], "sdbus-c++", text)


if __name__ == "__main__":
    unittest.main()
