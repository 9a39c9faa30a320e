"""A bus of the test's own with the service on it, and clients that share no code with the service:
GLib's. Programs come from the environment: TARNWICK_SERVER, TARNWICK_MAKE_DATABASE."""

import os
import pathlib
import signal
import sqlite3
import subprocess
import tempfile
import time
import unittest

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.tarnwick.Security1"
ROOT = "/org/tarnwick/Security1"
CLASSES = ("Server", "Components", "Component", "RegisteredPCs", "RegisteredPC", "Reports",
           "Report")
ROLE = "Maintainer"
PASSWORD = "sesame"
PATIENCE = 60  # seconds, after which a test gives up
# The descriptions that are installed for code generators.
INTERFACES = pathlib.Path(os.environ.get("TARNWICK_INTERFACES", "."))

CONFIG = """<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={socket}</listen>
  <servicedir>{services}</servicedir>
  <policy context="default">{policy}</policy>
  <limit name="max_replies_per_connection">100000</limit>
  <limit name="max_message_size">{most_bytes}</limit>
  {include}
</busconfig>
"""

# As a session bus has it.
EVERYTHING = """
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
"""

SERVICE = """[D-BUS Service]
Name={name}
Exec={command}
"""


def described_interface(name):
    """An interface as its installed file describes it."""
    node = Gio.DBusNodeInfo.new_for_xml((INTERFACES / f"{NAME}.{name}.xml").read_text())
    assert len(node.interfaces) == 1
    return node.interfaces[0]


class Failed(Exception):
    """A call that was answered with an error."""

    def __init__(self, name, text):
        super().__init__(f"{name}: {text}")
        self.name = name
        self.text = text

    @staticmethod
    def of(error):
        name = Gio.DBusError.get_remote_error(error)
        if name is None:
            raise error
        return Failed(name, error.message.removeprefix(f"GDBus.Error:{name}: "))


variant = GLib.Variant


def until(condition, what):
    """Waits for `condition`, which another process will make true."""
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"in vain waited for: {what}")
        time.sleep(0.01)


class Bus:
    """A message bus in a folder of its own. With `activation`, a command, it starts the service; so
    it does with a folder of service files. `policy` are rules for everybody, `include` is a file of
    further ones."""

    def __init__(self, folder, activation=None, services=None, switches=(), environment=None,
                 policy=EVERYTHING, include=None, most_bytes=32 << 20):
        self.folder = pathlib.Path(folder)
        if services is None:
            services = self.folder / "services"
            services.mkdir()
        if activation is not None:
            (services / f"{NAME}.service").write_text(
                SERVICE.format(name=NAME, command=" ".join(activation)))
        socket = self.folder / "bus"
        self.address = f"unix:path={socket}"
        config = self.folder / "bus.conf"
        config.write_text(CONFIG.format(
            socket=socket, services=services, policy=policy, most_bytes=most_bytes,
            include="" if include is None else f"<include>{include}</include>"))
        self.process = subprocess.Popen(
            ["dbus-daemon", f"--config-file={config}", "--print-address", "--nofork",
             *switches],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            env={**os.environ, **(environment or {})})
        if not self.process.stdout.readline():
            raise RuntimeError("dbus-daemon did not start")

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


class Object:
    """One object of the service as one client sees it."""

    # Interface and name of each member that was called, read or ("=" behind the name) written.
    used = set()

    def __init__(self, client, path, interface):
        self.client = client
        self.path = path
        self.interface = f"{NAME}.{interface}"

    def call(self, member, signature="", *arguments, **options):
        self.used.add((self.interface, member))
        return self.client.call(self.path, self.interface, member, signature, *arguments,
                                **options)

    def get(self, name):
        self.used.add((self.interface, name))
        return self.client.call(self.path, "org.freedesktop.DBus.Properties", "Get", "ss",
                                self.interface, name)

    def set(self, name, signature, value):
        self.used.add((self.interface, f"{name}="))
        self.client.call(self.path, "org.freedesktop.DBus.Properties", "Set", "ssv",
                         self.interface, name, GLib.Variant(signature, value))

    def get_all(self):
        return self.client.call(self.path, "org.freedesktop.DBus.Properties", "GetAll", "s",
                                self.interface)

    def at(self, path, interface):
        return Object(self.client, path, interface)


class Client:
    """One connection to the bus."""

    def __init__(self, address):
        self.connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.connection.set_exit_on_close(False)
        self.name = self.connection.get_unique_name()
        self.automation = Object(self, ROOT, "Automation")

    def close(self):
        self.connection.close_sync(None)

    def call(self, path, interface, member, signature="", *arguments, destination=NAME):
        """The result, or None, or the tuple of results."""
        try:
            reply = self.connection.call_sync(
                destination, path, interface, member, GLib.Variant(f"({signature})", arguments),
                None, Gio.DBusCallFlags.NONE, PATIENCE * 1000, None)
        except GLib.Error as error:
            raise Failed.of(error) from None
        results = reply.unpack()
        return results[0] if len(results) == 1 else (results or None)

    def start_call(self, path, interface, member, signature="", *arguments):
        """Sends a call; the function that is returned waits for its result."""
        done = []
        context = GLib.MainContext.ref_thread_default()

        def finish(connection, result):
            try:
                done.append(connection.call_finish(result).unpack())
            except GLib.Error as error:
                done.append(Failed.of(error))

        self.connection.call(NAME, path, interface, member,
                             GLib.Variant(f"({signature})", arguments), None,
                             Gio.DBusCallFlags.NONE, PATIENCE * 1000, None, finish)

        def wait():
            while not done:
                context.iteration(True)
            if isinstance(done[0], Failed):
                raise done[0]
            return done[0][0] if len(done[0]) == 1 else (done[0] or None)

        return wait

    def create(self, class_name):
        return Object(self, self.automation.call("CreateObject", "s", class_name), class_name)

    def release(self, thing):
        self.automation.call("Release", "o", thing.path)

    def introspect(self, path):
        xml = self.call(path, "org.freedesktop.DBus.Introspectable", "Introspect")
        return Gio.DBusNodeInfo.new_for_xml(xml)

    def held_classes(self):
        """Names of the classes of which anybody holds an object."""
        return [node.path for node in self.introspect(ROOT).nodes]

    def owner(self, name=NAME):
        """Unique name of the owner, or None."""
        try:
            return self.call("/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner", "s",
                             name, destination="org.freedesktop.DBus")
        except Failed:
            return None

    def service_pid(self):
        return self.call("/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "GetConnectionUnixProcessID", "s", NAME,
                         destination="org.freedesktop.DBus")


class Database:
    """An embedded database with one role and no rows."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        subprocess.run([os.environ["TARNWICK_MAKE_DATABASE"], str(self.folder), ROLE, PASSWORD],
                       check=True)
        self.file = self.folder / "Velmar_Sec.db"
        self.connect_string = f"Provider=Tarnwick.Embedded;Data Source={self.folder}"

    def run(self, statement, *values):
        connection = sqlite3.connect(self.file, isolation_level=None)
        try:
            return connection.execute(statement, values).fetchall()
        finally:
            connection.close()

    def run_many(self, statement, rows):
        connection = sqlite3.connect(self.file)
        try:
            with connection:
                connection.executemany(statement, rows)
        finally:
            connection.close()

    def add_components(self, rows):
        """Pairs of id and name."""
        self.run_many("INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex,"
                      " ForceDisplay, MaintType) VALUES (?, ?, 0, 1, 2, 1, 3)", rows)

    def add_pcs(self, rows):
        """Triples of MAC number, computer id and component id."""
        self.run_many("INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType,"
                      " ActiveStatus, ImageIndex, LastUser, TotalLogins, ActivateDate)"
                      " VALUES (?, ?, ?, 5, 1, 10, 'anna', 3, 45000.25)", rows)

    def add_reports(self, rows):
        """Pairs of name and title."""
        self.run_many("INSERT INTO DW_Reports (ReportName, Title, Author, Created, Version,"
                      " ImageIndex, ReportType, MaintType, Definition)"
                      " VALUES (?, ?, 'bert', 45000.5, '1.2.3', 11, 'CRY', 4, 'fields')", rows)


def is_sanitized():
    """Whether the service was built with the address sanitizer, whoever's it is."""
    return b"__asan_init" in pathlib.Path(os.environ["TARNWICK_SERVER"]).read_bytes()


class BusTest(unittest.TestCase):
    """A bus and a running service; `switches` are the service's, unless `activation` is set, with
    which the bus starts it on demand."""

    switches = ()
    activation = False
    most_bytes = 32 << 20  # of a message, as a session bus has it

    def need_true_memory(self):
        """Skips the test where the service's memory does not tell what it needs."""
        if is_sanitized():
            self.skipTest("a sanitizer keeps memory that was given back")

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.log = self.folder / "service.log"
        command = [os.environ["TARNWICK_SERVER"], *self.all_switches()]
        self.bus = Bus(folder.name, command if self.activation else None,
                       most_bytes=self.most_bytes)
        self.addCleanup(self.bus.close)
        if not self.activation:
            self.start_service(command)

    def all_switches(self):
        return (*self.switches, "--folder", str(self.folder))

    def start_service(self, command):
        with open(self.log, "a", encoding="utf-8") as log:
            self.service = subprocess.Popen([*command, "--address", self.bus.address], stderr=log)
        self.addCleanup(self.stop_service)
        watcher = Client(self.bus.address)
        until(lambda: watcher.owner() is not None or self.service.poll() is not None,
              "the service")
        watcher.close()

    def stop_service(self):
        """Whatever the test did, the service has to live and to end in order."""
        if self.service.poll() is None:
            self.service.send_signal(signal.SIGTERM)
        self.assertEqual(self.service.wait(PATIENCE), 0, self.log.read_text())

    def client(self):
        client = Client(self.bus.address)
        self.addCleanup(lambda: client.connection.is_closed() or client.close())
        return client

    def database(self):
        return Database(self.folder / "database")

    def connected_server(self, client, database):
        server = client.create("Server")
        self.assertTrue(server.call("SetConnection", "sss", database.connect_string, ROLE,
                                    PASSWORD), server.get("LastErrorMsg"))
        self.assertTrue(server.call("Refresh"))
        self.assertEqual(server.get("LastErrorMsg"), "")
        return server

    def collection(self, server, name):
        return server.at(server.get(name), name)

    def assert_fails(self, name, call, *arguments, **options):
        """The text of the error `name` that the call has to be answered with."""
        with self.assertRaises(Failed) as caught:
            call(*arguments, **options)
        self.assertEqual(caught.exception.name, name, caught.exception.text)
        return caught.exception.text


UNKNOWN_OBJECT = "org.freedesktop.DBus.Error.UnknownObject"
UNKNOWN_METHOD = "org.freedesktop.DBus.Error.UnknownMethod"
INVALID_ARGS = "org.freedesktop.DBus.Error.InvalidArgs"


def own_error(name):
    return f"{NAME}.Error.{name}"
