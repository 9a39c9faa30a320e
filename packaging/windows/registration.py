#!/usr/bin/python3
"""The installer's registration: registration.py BEFORE AFTER FOLDER FRAGMENT SQL

BEFORE and AFTER are exports of HKEY_LOCAL_MACHINE\\Software\\Classes, the second one behind `Tarnwick.exe
/RegServer` in FOLDER: what the program writes is what the installer writes. Keys of the registry for
32-bit programs go to a component that the installer takes for 32-bit."""

import pathlib
import sys

from fragment import component, element, identifier, write
from registry import read_export

ROOT = "HKEY_LOCAL_MACHINE\\"
# What 32-bit programs see below Software\Classes, and which keys of it are not those of all others.
VIEW_OF_32_BITS = "Software\\Classes\\Wow6432Node\\"
REDIRECTED = ("clsid", "interface")
# Below Software\Classes: keys that hold those of many programs.
SHARED = ("appid", "clsid", "interface", "typelib")
# The account of what a registration found on its own machine.
ACCOUNT = "MadeKeys"


def name_of(bits32):
    return "registration for 32-bit programs" if bits32 else "registration"


def seen(key):
    """The key as a program sees it, and whether that is one of 32 bits; nothing for a second sight of
    a key that all programs share."""
    path = key.removeprefix(ROOT)
    if not path.lower().startswith(VIEW_OF_32_BITS.lower()):
        return path, False
    rest = path[len(VIEW_OF_32_BITS):]
    return ("Software\\Classes\\" + rest, True) if rest.lower().startswith(REDIRECTED) else None


def own_key(path):
    """The outermost key on the way that is wholly of the registration; nothing above such keys."""
    words = path.split("\\")
    count = 4 if words[2].lower() in SHARED else 3
    return "\\".join(words[:count]) if len(words) >= count else None


def value_rows(path, values, folder):
    for name, (kind, value) in values.items():
        if name.startswith(ACCOUNT):
            continue
        if kind != "string":
            sys.exit(f"{path}: a value of the kind {kind} has no form here")
        # The installer's folders end with a separator.
        value = value.replace(folder + "\\", "[INSTALLFOLDER]")
        if value == folder:
            value = "[INSTALLFOLDER]"
        names = {"Name": name} if name else {}
        yield element("RegistryValue", Root="HKLM", Key=path, Type="string", Value=value, **names)


def key_row(path, bits32, name):
    """The compiler has no form for a row about a key alone."""
    return ("INSERT INTO `Registry` (`Registry`, `Root`, `Key`, `Name`, `Component_`) VALUES "
            f"('{identifier(f'{name} {bits32} {path}')}', 2, '{path}', '{name}', "
            f"'{identifier(name_of(bits32))}')\n")


def main(before, after, folder, fragment, sql):
    known = read_export(before)
    registered = read_export(after)
    rows = {False: [], True: []}
    keys = {}
    parents = {key.rpartition("\\")[0] for key in registered}
    for key, values in registered.items():
        if known.get(key) == values or seen(key) is None:
            continue
        path, bits32 = seen(key)
        rows[bits32] += value_rows(path, {name: value for name, value in values.items()
                                          if known.get(key, {}).get(name) != value}, folder)
        if key in known or own_key(path) is None:
            continue
        # It goes with all that anybody has put into it.
        keys.setdefault(key_row(own_key(path), bits32, "-"))
        if not values and key not in parents:
            keys.setdefault(key_row(path, bits32, "*"))
    if not rows[False]:
        sys.exit("the program has written nothing")
    components = {}
    for bits32, values in rows.items():
        if values:
            # The first one stands for the component.
            values[0] = values[0].replace("<RegistryValue ", '<RegistryValue KeyPath="yes" ')
            components[name_of(bits32)] = component(name_of(bits32), *values, bits64=not bits32)
    write(fragment, "Registration", components, components.values())
    sql.write_text("".join(keys), encoding="utf-8")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3],
         *(pathlib.Path(name) for name in sys.argv[4:6]))
