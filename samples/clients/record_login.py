#!/usr/bin/python3
"""Shows the PCs of a component and records that somebody logged in on one of them.

Usage: record_login.py MAC-NUMBER COMPUTER COMPONENT USER

The database comes from TARNWICK_CONNECT, TARNWICK_ROLE and TARNWICK_PASSWORD_FILE, as with the
command line. Needs Debian's python3-dbus.
"""

import datetime
import os
import sys

import dbus

NAME = "org.tarnwick.Security1"
OK_UE = 0
# A call may have to wait for a row that somebody maintains, or for somebody's answer.
PATIENCE = 120


class Thing:
    """An object of the service: its methods, and its properties by square brackets."""

    def __init__(self, bus, path, interface):
        self._object = bus.get_object(NAME, path, introspect=False)
        self._interface = f"{NAME}.{interface}"
        self._properties = dbus.Interface(self._object, dbus.PROPERTIES_IFACE)

    def __getattr__(self, method):
        def call(*arguments, signature=None):
            return self._object.get_dbus_method(method, self._interface)(
                *arguments, signature=signature, timeout=PATIENCE)

        return call

    def __getitem__(self, name):
        return self._properties.Get(self._interface, name)

    def __setitem__(self, name, value):
        self._properties.Set(self._interface, name, value, signature="ssv")


def fail(what, server):
    sys.exit(f"{what}\n{server['LastErrorMsg']}")


def automation_date(moment):
    return (moment - datetime.datetime(1899, 12, 30)) / datetime.timedelta(days=1)


def main(mac, computer, component_id, user):
    with open(os.environ["TARNWICK_PASSWORD_FILE"], encoding="utf-8") as file:
        password = file.readline().rstrip("\n")

    # Whatever this program is handed is its own until it leaves the bus.
    bus = dbus.SessionBus()
    automation = Thing(bus, "/org/tarnwick/Security1", "Automation")
    server = Thing(bus, automation.CreateObject("Server"), "Server")
    if not server.SetConnection(os.environ["TARNWICK_CONNECT"], os.environ["TARNWICK_ROLE"],
                                password):
        fail("The database cannot be opened.", server)
    if not server.Refresh():
        fail("The tables cannot be loaded.", server)

    components = Thing(bus, server["Components"], "Components")
    path = components.Item(f"C{component_id}", signature="v")
    if path == "/":
        sys.exit(f"There is no component {component_id}.")
    component = Thing(bus, path, "Component")

    # Reading many records: rows, a thousand at a time, instead of one object after the other.
    rows = Thing(bus, server["RegisteredPCs"], "Rows")
    pcs = []
    while page := rows.GetRows(len(pcs) + 1, 1000, signature="uu"):
        pcs += page
    print(f"{component['Name']} is used by:")
    for pc in pcs:
        if pc["CompID"] == component["CompID"]:
            print(f"  {pc['ComputerID']}: {pc['TotalLogins']} logins, last {pc['LastUser']}")

    # Changing one: its object.
    register = Thing(bus, server["RegisteredPCs"], "RegisteredPCs")
    try:
        path = register.Item(f"{mac}\u00fe{computer}\u00fe{component_id}", signature="v")
    except dbus.DBusException as error:
        if error.get_dbus_name() != f"{NAME}.Error.InvalidProcedureCall":
            raise
        sys.exit(f"{computer} is not registered for component {component_id}.")
    pc = Thing(bus, path, "RegisteredPC")
    if not pc.LockRecord():
        fail(f"{computer} cannot be locked.", server)
    pc["LastUser"] = user
    pc["LastLogin"] = automation_date(datetime.datetime.now())
    pc["TotalLogins"] = dbus.Int32(pc["TotalLogins"] + 1)
    if pc.Update() != OK_UE:
        fail(f"{computer} was not written.", server)
    print(f"Now {computer}: {pc['TotalLogins']} logins, last {pc['LastUser']}")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__.strip())
    main(*sys.argv[1:])
