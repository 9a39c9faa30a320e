#!/usr/bin/python3
"""Tries the installer under Wine: try_installer.py INSTALLER OLDER STAGE

OLDER is an installer of an older version, with the file samples/given-up.txt beyond those of STAGE, which
is the folder that INSTALLER was made of. Works in $WINEPREFIX, which has to be a new one."""

import hashlib
import os
import pathlib
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

from registration import ACCOUNT
from registry import read_export

SOURCE = pathlib.Path(__file__).resolve().parents[2]
PREFIX = pathlib.Path(os.environ["WINEPREFIX"])
DRIVE = PREFIX / "drive_c"
WINE = next(path for path in (pathlib.Path("/usr/lib/wine"), pathlib.Path("/usr/bin"))
            if (path / "wine64").exists())
PLACE = "C:\\Program Files\\Tarnwick"
SCRIPT = f"{PLACE}\\samples\\windows\\components.vbs"
FOLDER = DRIVE / "Program Files/Tarnwick"
KEYS = ("HKLM\\Software", "HKLM\\System\\CurrentControlSet\\Services\\EventLog",
        "HKLM\\System\\CurrentControlSet\\Control\\Session Manager\\Environment", "HKCU")
ENVIRONMENT = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Session Manager\\Environment"
REFUSED = 1603 & 0xFF  # what is left of ERROR_INSTALL_FAILURE on Linux
PATIENCE = 120  # seconds
# What the system makes for its account of installations, what Wine takes away as empty, which are no empty
# keys on Windows (classes of 32 bits are there where a Wine of 32 bits is), and what it notes of its own
# screen.
OF_THE_SYSTEM = (r"\\Installer\b.*: None -> \{\}$|\\EventLog\\Application: \{\} -> None$"
                 r"|\\Wow6432Node(?:\\Classes)?\\CLSID: \{\} -> None$"
                 r"|\\Wine\\Temporary System Parameters\b")
# Menus of Wine's programs on the desktop of whoever runs this.
NO_MENUS = "winemenubuilder.exe=d"
TITLE = "Order Analysis"


def expect(condition, text):
    if not condition:
        sys.exit(f"try_installer: {text}")
    print(f"  {text}: yes", flush=True)


def wine(*command, debug="-all"):
    # By files: what a program starts, and Wine itself, keep its streams open after its end.
    with tempfile.TemporaryFile("w+", errors="replace") as out, \
            tempfile.TemporaryFile("w+", errors="replace") as complaints:
        code = subprocess.run([WINE / "wine64", *command], stdin=subprocess.DEVNULL, stdout=out, cwd=DRIVE,
                              stderr=complaints, timeout=PATIENCE,
                              env={**os.environ, "WINEDEBUG": debug,
                                   "WINEDLLOVERRIDES": NO_MENUS}).returncode
        out.seek(0)
        complaints.seek(0)
        return subprocess.CompletedProcess(command, code, out.read(), complaints.read())


def msiexec(*arguments):
    return wine("msiexec", *arguments, "/qn").returncode


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def end_session():
    """Ends every process, as the end of a user's session does: under Wine a server outlives scripts."""
    for switch in ("-k", "-w", "-p"):
        # The one that stays would keep the streams of this program open.
        subprocess.run([WINE / "wineserver", switch], check=False, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def registry():
    keys = {}
    for number, key in enumerate(KEYS):
        file = PREFIX / f"export-{number}.reg"
        exported = wine("reg", "export", key, windows_path(file), "/y")
        if exported.returncode != 0:
            sys.exit(f"try_installer: {key} cannot be exported: {exported.stdout}{exported.stderr}")
        keys |= read_export(file)
        file.unlink()
    kind, path = keys[ENVIRONMENT]["PATH"]
    # Wine leaves the separators of what it takes out.
    keys[ENVIRONMENT]["PATH"] = (kind, ";".join(word for word in path.split(";") if word))
    return keys


def files():
    return {str(path.relative_to(DRIVE)): hashlib.sha256(path.read_bytes()).hexdigest()
            if path.is_file() else "folder"
            for path in DRIVE.rglob("*") if not path.is_symlink()}


def differences(before, after):
    return [f"{'changed' if name in before and name in after else 'new' if name in after else 'gone'}: "
            f"{name}: {before.get(name)} -> {after.get(name)}"
            for name in sorted({*before, *after}) if before.get(name) != after.get(name)]


def same(before, after, text, apart_from=r"(?!)"):
    found = [line for line in differences(before, after)
             if not re.search(apart_from, line, re.IGNORECASE)]
    for line in found:
        print("   ", line[:1000])
    expect(not found, text)


def classes(keys):
    """The registration of COM in `keys`; a folder may end with a separator or not."""
    return {key: {name: value if name != "" or not key.endswith("HELPDIR")
                  else (value[0], value[1].rstrip("\\"))
                  for name, value in values.items() if not name.startswith(ACCOUNT)}
            for key, values in keys.items()
            # The installer's own account stands among the classes, too.
            if re.match(r"HKEY_LOCAL_MACHINE\\Software\\Classes\\(?!Installer\\)", key)}


def versions(keys):
    """Of what the control panel lists."""
    return [values["DisplayVersion"][1] for key, values in keys.items()
            if "\\Uninstall\\" in key and values.get("DisplayName") == ("string", "Tarnwick")]


def make_database(folder):
    database = sqlite3.connect(folder / "Velmar_Sec.db")
    database.executescript((SOURCE / "schema/embedded.sql").read_text(encoding="utf-8"))
    password = hashlib.pbkdf2_hmac("sha512", b"sesame", b"salt", 1)
    database.execute("INSERT INTO DW_APP_ROLE (RoleName, Salt, Iterations, Hash)"
                     " VALUES ('Maintainer', ?, 1, ?)", (b"salt", password))
    database.execute("INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType)"
                     " VALUES (7, ?, 1, 2)", (TITLE,))
    database.execute("INSERT INTO DW_Reports (ReportName, Title, TTX_Binary)"
                     " VALUES ('Alpha', 'First', x'6162')")
    database.commit()
    database.close()


def use(folder):
    """Clients of what is installed: scripts by COM, and the command line by its name alone."""
    connect = f"Provider=Tarnwick.Embedded;Data Source={windows_path(folder)}"
    listed = wine("cscript", "//nologo", SCRIPT, connect, "Maintainer", "sesame",
                  debug="-all,+eventlog")
    expect(f"C7 {TITLE}" in listed.stdout, "the VBScript sample lists a component")
    expect("Serving" in listed.stderr, "its server tells the event log that it serves")
    refused = wine("cscript", "//nologo", SCRIPT, connect, "Maintainer", "wrong",
                   debug="-all,+eventlog")
    expect("sesame" not in refused.stderr and "wrong" not in refused.stderr,
           "the events hold no password")
    retitled = wine("cscript", "//nologo", f"{PLACE}\\samples\\windows\\retitle.js", connect,
                    "Maintainer", "sesame", "Alpha", "Second")
    expect("Alpha: Second" in retitled.stdout, "the JScript sample retitles a report")
    expect(not (FOLDER / "TTX.bin").exists(), "the programs' folder takes no intermediate file")
    (folder / "password").write_text("sesame\n")
    # Found by PATH; a prompt would do with "tarnwick", but Wine's starts no program of this kind.
    for switches in ([], ["--in-process"]):
        listed = wine("tarnwick.com", "component", "list", "--connect", connect, "--role", "Maintainer",
                      "--password-file", windows_path(folder / "password"), *switches)
        expect(TITLE in listed.stdout, f"the command line lists a component {switches}")
    # Others than those of the tree that the program was built in, which it would take as well.
    components = FOLDER / "samples/components.json"
    whole = components.read_bytes()
    components.write_text("[" + whole.decode().splitlines()[1].rstrip(",") + "]")
    made = wine("tarnwick.com", "init", windows_path(folder / "made"), "--role", "Maintainer",
                "--password-file", windows_path(folder / "password"), "--sample")
    components.write_bytes(whole)
    expect("with 1 components" in made.stdout, "it makes a database of the installed samples")
    (folder / "password").unlink()
    shutil.rmtree(folder / "made")


def main(installer, older, stage):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="tarnwick-try-"))
    make_database(folder)
    # The script host registers itself when it is used for the first time.
    wine("cscript", "//nologo", windows_path(SOURCE / "samples/windows/components.vbs"))
    end_session()
    files_before, before = files(), registry()

    expect(msiexec("/i", windows_path(older)) == 0, "an older version installs")
    expect((FOLDER / "samples/given-up.txt").exists(), "and brings a file that was given up since")
    expect(msiexec("/i", windows_path(installer)) == 0, "the new version installs over it")
    expect(not (FOLDER / "samples/given-up.txt").exists(), "and takes that file away")
    installed = registry()
    expect(versions(installed) == [installer.name.split("-")[1]], "one version is listed, the new one")
    expected = {str(path.relative_to(stage)) for path in stage.rglob("*") if path.is_file()}
    expect({str(path.relative_to(FOLDER)) for path in FOLDER.rglob("*") if path.is_file()} == expected,
           "all files are there, and no others")
    expect(msiexec("/i", windows_path(older)) == REFUSED, "the older version does not install over it")
    same(installed, registry(), "and changes nothing")

    expect(PLACE + "\\" in installed[ENVIRONMENT]["PATH"][1].split(";"), "the folder is in PATH")
    expect(any(path.name == "Tarnwick for administrators.lnk" for path in DRIVE.rglob("*.lnk")),
           "the start menu has the administrators' page")
    expect(wine(f"{PLACE}\\Tarnwick.exe", "/RegServer").returncode == 0, "the server registers itself")
    same(classes(installed), classes(registry()), "and writes what the installer had written")
    end_session()

    use(folder)
    end_session()

    shutil.rmtree(FOLDER / "documents")
    (FOLDER / "Tarnwick.exe").unlink()
    wine("reg", "delete", "HKLM\\Software\\Classes\\Tarnwick.Server\\CLSID", "/f")
    # What /f stands for, which Wine's msiexec does not know.
    expect(msiexec("/i", windows_path(installer), "REINSTALL=ALL", "REINSTALLMODE=omus") == 0,
           "what was deleted is repaired")
    expect({str(path.relative_to(FOLDER)) for path in FOLDER.rglob("*") if path.is_file()} == expected,
           "all files are back")
    same(classes(installed), classes(registry()), "and so is the registration")
    use(folder)
    end_session()
    # Those that were killed have left it there; one that ends takes it away.
    connect = f"Provider=Tarnwick.Embedded;Data Source={windows_path(folder)}"
    wine("cscript", "//nologo", SCRIPT, connect, "Maintainer", "sesame")
    users_folder = next(DRIVE.glob("users/*/AppData/Local")) / "Tarnwick"
    deadline = time.monotonic() + PATIENCE
    while users_folder.exists() and time.monotonic() < deadline:
        time.sleep(0.2)
    expect(not users_folder.exists(), "the last server takes the user's folder away")

    expect(msiexec("/x", windows_path(installer)) == 0, "the program can be removed")
    expect(not FOLDER.exists(), "its folder is gone")
    same(before, registry(), "the registry is what it was", OF_THE_SYSTEM)
    same(files_before, files(), "so are all files", r"^new: windows/Installer: None -> folder$")
    database = sqlite3.connect(folder / "Velmar_Sec.db")
    expect(database.execute("SELECT Title FROM DW_Reports").fetchall() == [("Second",)],
           "the database is there, with what was written")
    database.close()
    shutil.rmtree(folder)


if __name__ == "__main__":
    main(*(pathlib.Path(name).resolve() for name in sys.argv[1:4]))
