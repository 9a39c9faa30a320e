"""Programs under Wine, and a database for them, for tests in Python."""

import hashlib
import os
import pathlib
import shutil
import sqlite3
import subprocess
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[3]
WINE = next(path for path in (pathlib.Path("/usr/lib/wine"), pathlib.Path("/usr/bin"))
            if (path / "wine64").exists())


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def run(*command):
    """Exit code and output of a program; by a file, since servers that it starts keep it open."""
    with tempfile.TemporaryFile("w+", errors="replace") as output:
        code = subprocess.run([WINE / "wine64", *command], stdin=subprocess.DEVNULL, stdout=output,
                              stderr=subprocess.DEVNULL, timeout=120).returncode
        output.seek(0)
        return code, output.read()


def begin_new_session():
    """Ends every process of the prefix at once, as the end of a user's session does, and begins the
    next one."""
    # What stays of the last two would keep the streams of the test open, and the environment.
    for command in (["wineserver", "-k"], ["wineserver", "-w"], ["wineserver", "-p"],
                    ["wine64", "cmd", "/c", "exit"]):
        subprocess.run([WINE / command[0], *command[1:]], check=False, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Database:
    """An embedded database with a role in a folder of its own; closed with the test that is given."""

    ROLE, PASSWORD = "Maintainer", "sesame"

    def __init__(self, test):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="tarnwick-test-"))
        test.addCleanup(shutil.rmtree, self.folder)
        database = sqlite3.connect(self.folder / "Velmar_Sec.db")
        database.executescript((SOURCE / "schema/embedded.sql").read_text(encoding="utf-8"))
        password = hashlib.pbkdf2_hmac("sha512", self.PASSWORD.encode(), b"salt", 1)
        database.execute("INSERT INTO DW_APP_ROLE (RoleName, Salt, Iterations, Hash)"
                         " VALUES (?, ?, 1, ?)", (self.ROLE, b"salt", password))
        database.executemany(
            "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, ForceDisplay, MaintType)"
            " VALUES (?, ?, ?, 1, 2)", [(1, "Sales", 0), (10, "Orders", 1), (11, "Lists", 1)])
        database.commit()
        database.close()
        self.connect = "Provider=Tarnwick.Embedded;Data Source=" + windows_path(self.folder)
