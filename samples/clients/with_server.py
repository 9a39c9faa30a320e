#!/usr/bin/python3
"""Runs a command with a connected Server: its path is in TARNWICK_SERVER_PATH.

Usage: with_server.py COMMAND [ARGUMENT...]

What a client was handed ends when it leaves the bus, and each busctl is a client of its own that
leaves at once. This one stays until the command ends. It shares: whatever other clients are handed
through its Server stays too. It also keeps the password off command lines, which everybody can read.
"""

import os
import subprocess
import sys

import dbus

NAME = "org.tarnwick.Security1"


def main(command):
    with open(os.environ["TARNWICK_PASSWORD_FILE"], encoding="utf-8") as file:
        password = file.readline().rstrip("\n")
    bus = dbus.SessionBus()
    automation = dbus.Interface(
        bus.get_object(NAME, "/org/tarnwick/Security1", introspect=False), f"{NAME}.Automation")
    path = automation.CreateObject("Server")
    server = bus.get_object(NAME, path, introspect=False)

    def refused(what):
        account = server.Get(f"{NAME}.Server", "LastErrorMsg",
                             dbus_interface=dbus.PROPERTIES_IFACE)
        sys.exit(f"{what}\n{account}")

    members = dbus.Interface(server, f"{NAME}.Server")
    if not members.SetConnection(os.environ["TARNWICK_CONNECT"], os.environ["TARNWICK_ROLE"],
                                 password):
        refused("The database cannot be opened.")
    if not members.Refresh():
        refused("The tables cannot be loaded.")
    automation.Share(True)
    sys.exit(subprocess.run(command, env={**os.environ, "TARNWICK_SERVER_PATH": path}).returncode)


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__.strip())
    main(sys.argv[1:])
