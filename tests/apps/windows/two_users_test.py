#!/usr/bin/python3
"""Servers of two users over one database: two prefixes of Wine that know nothing of each other.

The first is that of the tests ($WINEPREFIX), the second one is made here, and ended with every test."""

import hashlib
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[3]
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
FIRST = os.environ["WINEPREFIX"]
SECOND = str(BUILD / "second-prefix")
WINE = next(path for path in (pathlib.Path("/usr/lib/wine"), pathlib.Path("/usr/bin"))
            if (path / "wine64").exists())


def in_prefix(prefix, *command):
    environment = {**os.environ, "WINEPREFIX": prefix, "WINEDEBUG": "-all"}
    environment.pop("DISPLAY", None)
    subprocess.run([str(word) for word in command], env=environment, check=True,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def end_session(prefix):
    """Ends every process of a prefix at once, as the end of a user's session does."""
    in_prefix(prefix, WINE / "wineserver", "-k")
    in_prefix(prefix, WINE / "wineserver", "-w")


class Client:
    """A client of the server of a prefix."""

    def __init__(self, prefix, folder):
        environment = {**os.environ, "WINEPREFIX": prefix, "WINEDEBUG": "-all"}
        environment.pop("DISPLAY", None)
        connect = "Provider=Tarnwick.Embedded;Data Source=Z:" + str(folder).replace("/", "\\")
        self.process = subprocess.Popen(
            [WINE / "wine64", BUILD / "tests/apps/windows/record_client.exe", connect,
             "Maintainer", "sesame"],
            env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, text=True)
        self.greeting = self.answer()

    def answer(self):
        return self.process.stdout.readline().strip()

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.answer()

    def quit(self):
        if self.process.poll() is None:
            self.process.stdin.write("quit\n")
            self.process.stdin.flush()
            self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


class TwoUsers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        make = 'cd "$0"; . scripts/lib.sh; . scripts/wine.sh; use_prefix "$1"'
        subprocess.run(["bash", "-euc", make, str(SOURCE), SECOND], check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        # Nobody sits in front of either: there is no screen to ask on, and this one is told not to.
        in_prefix(SECOND, WINE / "wine64", BUILD / "apps/windows/Tarnwick.exe", "/RegServer",
                  "--when-locked", "cancel")

    @classmethod
    def tearDownClass(cls):
        end_session(SECOND)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tarnwick-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        database = sqlite3.connect(self.folder / "Velmar_Sec.db")
        database.executescript((SOURCE / "schema/embedded.sql").read_text(encoding="utf-8"))
        password = hashlib.pbkdf2_hmac("sha512", b"sesame", b"salt", 1)
        database.execute("INSERT INTO DW_APP_ROLE (RoleName, Salt, Iterations, Hash)"
                         " VALUES ('Maintainer', ?, 1, ?)", (b"salt", password))
        for number in (1, 2):
            database.execute("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType)"
                             " VALUES (?, 1, 2)", (number,))
        database.commit()
        database.close()

    def client(self, prefix):
        client = Client(prefix, self.folder)
        self.addCleanup(client.quit)
        self.assertEqual(client.greeting, "connected True loaded True")
        return client

    def test_meet_at_a_locked_row_and_nowhere_else(self):
        one = self.client(FIRST)
        other = self.client(SECOND)
        self.assertEqual(one.ask("lock 1"), "True")
        self.assertEqual(other.ask("lock 1"), "False")
        self.assertEqual(other.ask("lock 2"), "True")
        self.assertEqual(one.ask("release 1"), "True")
        self.assertEqual(other.ask("release 2"), "True")
        self.assertEqual(other.ask("lock 1"), "True")
        self.assertEqual(one.ask("lock 1"), "False")
        self.assertEqual(other.ask("release 1"), "True")

    def test_a_killed_client_does_no_harm_to_the_others_of_its_server(self):
        killed = self.client(SECOND)
        stays = self.client(SECOND)
        killed.process.kill()
        killed.process.wait()
        self.assertEqual(stays.ask("lock 1"), "True")
        self.assertEqual(stays.ask("release 1"), "True")

    def test_a_session_that_ends_frees_the_rows_that_its_clients_held(self):
        one = self.client(FIRST)
        held = self.client(SECOND)
        self.assertEqual(held.ask("lock 1"), "True")
        self.assertEqual(one.ask("lock 1"), "False")
        end_session(SECOND)
        held.process.wait()
        self.assertEqual(one.ask("lock 1"), "True")
        self.assertEqual(one.ask("release 1"), "True")
        # Nothing of the old session stands in the way of a new one.
        self.assertEqual(self.client(SECOND).ask("lock 1"), "True")


if __name__ == "__main__":
    unittest.main(verbosity=2)
