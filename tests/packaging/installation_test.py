"""What is installed, and that it works from where it was installed."""

import configparser
import grp
import os
import pathlib
import pwd
import re
import shlex
import shutil
import socket
import subprocess
import tempfile
import unittest

from private_bus import (NAME, PASSWORD, ROLE, ROOT, Bus, Client, Database, Failed, Gio, GLib,
                         until)
from shell import TAB, Bash, Fish, Zsh

ACCESS_DENIED = "org.freedesktop.DBus.Error.AccessDenied"
UNIT = "tarnwick-server.service"
SAMPLES = pathlib.Path(os.environ.get("TARNWICK_SAMPLE_CLIENTS", ".")).parent

def help_of(*command):
    return subprocess.run([os.environ["TARNWICK"], *command, "--help"], check=True,
                          capture_output=True, text=True).stdout


def groups_of_commands():
    listed = help_of().partition("\nSubcommands:\n")[2].partition("\n\n")[0]
    commands = re.findall(r"(?m)^  ([a-z-]+)", listed)
    groups = [name for name in commands if "\nSubcommands:\n" in help_of(name)]
    assert "pc" in groups
    return groups


FILES = {
    "bin/tarnwick",
    "bin/tarnwick-server",
    "libexec/tarnwick/tarnwick-desktop",
    f"share/dbus-1/services/{NAME}.service",
    f"share/dbus-1/system-services/{NAME}.service",
    f"share/dbus-1/system.d/{NAME}.conf",
    f"lib/systemd/user/{UNIT}",
    f"lib/systemd/system/{UNIT}",
    "lib/sysusers.d/tarnwick.conf",
    "share/man/man8/tarnwick-server.8",
    "share/bash-completion/completions/tarnwick",
    "share/zsh/vendor-completions/_tarnwick",
    "share/fish/vendor_completions.d/tarnwick.fish",
    "share/man/man1/tarnwick.1",
} | {f"share/man/man1/tarnwick-{group}.1" for group in groups_of_commands()} | {f"share/dbus-1/interfaces/{NAME}.{name}.xml" for name in (
    "Server", "Components", "Component", "RegisteredPCs", "RegisteredPC", "Reports", "Report",
    "Automation", "LastCause", "Record", "Rows", "LockPrompt")} | {
        f"share/tarnwick/samples/{path.relative_to(SAMPLES)}" for pattern in
        ("*.json", "reports/*", "clients/*.*") for path in SAMPLES.glob(pattern)}


def install(prefix, destination=None):
    environment = dict(os.environ)
    if destination is not None:
        environment["DESTDIR"] = str(destination)
    subprocess.run([os.environ["TARNWICK_CMAKE"], "--install", os.environ["TARNWICK_BUILD"],
                    "--prefix", str(prefix)], check=True, env=environment,
                   stdout=subprocess.DEVNULL)


# What programs are built with is told in library_test.py.
DEVELOPMENT = re.compile(r"(usr/)?(include|lib/(.+/)?(libtarnwick[a-z-]*\.a$|cmake/|pkgconfig/)"
                         r"|share/doc/libtarnwick-dev/)")


def files_below(folder):
    files = {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}
    return {file for file in files if not DEVELOPMENT.match(file)}


def settings(file):
    # Some settings of units add up.
    parser = configparser.ConfigParser(interpolation=None, strict=False)
    parser.optionxform = str
    parser.read_string(file.read_text())
    return parser


def report_that_seems_locked(client, folder):
    """A report of a database in `folder`: to lock it makes a statement that cannot be opened, which is
    taken for a lock, and asked about."""
    database = Database(folder)
    database.add_components([(7, "Seven")])
    server = client.create("Server")
    if not server.call("SetConnection", "sss", database.connect_string, ROLE, PASSWORD):
        raise AssertionError("the database cannot be connected")
    report = client.create("Report")
    report.set("Name", "s", "it's")
    return report


class Folders(unittest.TestCase):
    """One installation for all tests of a class."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        # A space, which service files and units want quoted.
        cls.prefix = pathlib.Path(folder.name).resolve() / "in stalled"
        install(cls.prefix)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.runtime = self.folder / "runtime"
        self.runtime.mkdir()

    def client(self, address):
        client = Client(address)
        self.addCleanup(client.close)
        return client

    def assert_installed_service(self, client):
        """The service that `client` talks to is the installed one."""
        self.assertEqual(os.readlink(f"/proc/{client.service_pid()}/exe"),
                         str(self.prefix / "bin/tarnwick-server"))

    def unit_command(self, kind):
        """What systemd would start, with the folders of this test."""
        command = settings(self.prefix / f"lib/systemd/{kind}/{UNIT}")["Service"]["ExecStart"]
        command = command.replace("%t", str(self.runtime)).replace("%S", str(self.runtime))
        (self.runtime / "tarnwick").mkdir(exist_ok=True)
        return shlex.split(command)


class Installation(Folders):
    def test_puts_each_file_in_its_place(self):
        self.assertEqual(files_below(self.prefix), FILES)

    def test_for_a_package_names_the_places_where_files_will_be(self):
        stage = self.folder / "stage"
        install("/usr", stage)
        self.assertEqual(files_below(stage / "usr"), FILES)
        self.assertEqual(files_below(stage), {f"usr/{file}" for file in FILES})
        for file in FILES:
            if not file.startswith(("bin/", "libexec/", "share/tarnwick/")):
                text = (stage / "usr" / file).read_text()
                self.assertNotIn(str(self.folder), text, file)
                self.assertNotRegex(text, "@[A-Z_]+@", file)
        for kind in ("user", "system"):
            unit = settings(stage / f"usr/lib/systemd/{kind}/{UNIT}")
            self.assertTrue(unit["Service"]["ExecStart"].startswith('"/usr/bin/tarnwick-server" '))
            self.assertEqual(unit["Service"]["BusName"], NAME)

    def test_brings_the_sample_data(self):
        samples = self.prefix / "share/tarnwick/samples"
        self.assertTrue(os.access(samples / "clients/record_login.sh", os.X_OK))
        components = samples / "components.json"
        whole = components.read_text()
        self.addCleanup(components.write_text, whole)
        components.write_text("[" + whole.splitlines()[1].rstrip(",") + "]")
        password = self.folder / "password"
        password.write_text(PASSWORD)
        result = subprocess.run(
            [self.prefix / "bin/tarnwick", "init", str(self.folder / "database"), "--role", ROLE,
             "--password-file", str(password), "--sample"], capture_output=True, text=True)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("with 1 components", result.stdout)

    def test_lets_shells_find_how_they_complete_command_lines(self):
        prefix = self.prefix

        class InstalledBash(Bash):
            RC = Bash.RC.replace("source <(tarnwick completion bash)",
                                 "source /usr/share/bash-completion/bash_completion")

        class InstalledZsh(Zsh):
            RC = Zsh.RC.replace("source <(tarnwick completion zsh)", "").replace(
                "autoload", f"fpath=({shlex.quote(str(prefix / 'share/zsh/vendor-completions'))} "
                "$fpath)\nautoload", 1)

        class InstalledFish(Fish):
            RC = Fish.RC.replace("tarnwick completion fish | source", "")

        for kind in (InstalledBash, InstalledZsh, InstalledFish):
            with self.subTest(shell=kind.NAME), tempfile.TemporaryDirectory() as folder:
                shell = kind(folder, {"XDG_DATA_DIRS": str(prefix / "share")})
                self.addCleanup(shell.close)
                self.assertEqual(shell.line_after("tarnwick rep" + TAB + "ren" + TAB),
                                 "tarnwick report rename ")

    def test_lets_man_find_the_pages(self):
        environment = {**os.environ, "MANPATH": str(self.prefix / "share/man"), "LC_ALL": "C.UTF-8"}
        for page in ("tarnwick", "tarnwick-pc", "tarnwick-server"):
            shown = subprocess.run(["man", page], capture_output=True, text=True, env=environment)
            self.assertEqual((shown.returncode, shown.stderr), (0, ""))
            self.assertIn(page, shown.stdout)

    def test_starts_the_units_by_the_bus(self):
        for kind, folder in (("user", "services"), ("system", "system-services")):
            service = settings(self.prefix / f"share/dbus-1/{folder}/{NAME}.service")
            section = service["D-BUS Service"]
            self.assertEqual(section["Name"], NAME)
            self.assertTrue(
                (self.prefix / f"lib/systemd/{kind}" / section["SystemdService"]).is_file())

    def test_has_units_that_systemd_understands(self):
        for kind in ("user", "system"):
            result = subprocess.run(
                ["systemd-analyze", f"--{kind}", "verify",
                 str(self.prefix / f"lib/systemd/{kind}/{UNIT}")],
                capture_output=True, text=True,
                env={**os.environ, "XDG_RUNTIME_DIR": str(self.runtime),
                     "MANPATH": str(self.prefix / "share/man")})
            self.assertEqual(result.returncode, 0, result.stderr)
            complaints = [line for line in result.stderr.splitlines() if "tarnwick" in line]
            self.assertEqual(complaints, [])

    def test_has_a_unit_of_the_system_that_exposes_little(self):
        result = subprocess.run(
            ["systemd-analyze", "security", "--offline=true", "--threshold=20", "--no-pager",
             str(self.prefix / f"lib/systemd/system/{UNIT}")], capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_has_units_that_watch_the_service_and_take_its_limits_from_a_file(self):
        for kind in ("user", "system"):
            service = settings(self.prefix / f"lib/systemd/{kind}/{UNIT}")["Service"]
            self.assertEqual(service["EnvironmentFile"], "-/etc/default/tarnwick")
            self.assertIn("WatchdogSec", service)


class SessionBus(Folders):
    def start_bus(self, *switches):
        bus = Bus(self.folder, services=self.prefix / "share/dbus-1/services", switches=switches,
                  environment={"XDG_RUNTIME_DIR": str(self.runtime)})
        self.addCleanup(bus.close)
        return bus

    def test_starts_the_installed_service_with_the_first_request(self):
        bus = self.start_bus()
        client = self.client(bus.address)
        self.assertIsNone(client.owner())
        server = client.create("Server")
        self.assert_installed_service(client)
        self.assertIs(server.get("Initialized"), False)

    def test_loads_reports_where_the_folder_of_the_program_is_not_the_users(self):
        database = Database(self.folder / "database")
        database.add_reports([("Alpha", "First")])
        database.run("UPDATE DW_Reports SET TTX_Binary = x'6162'")
        client = self.client(self.start_bus().address)
        server = client.create("Server")
        self.assertIs(server.call("SetConnection", "sss", database.connect_string, ROLE, PASSWORD),
                      True)
        self.assertIs(server.call("Refresh"), True)
        self.assertEqual(server.get("LastErrorMsg"), "")
        self.assertEqual(files_below(self.runtime), {"TTX.bin"})

    def test_asks_the_service_manager_where_one_is(self):
        bus = self.start_bus("--systemd-activation")
        manager = Client(bus.address)
        self.addCleanup(manager.close)
        manager.call("/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName", "su",
                     "org.freedesktop.systemd1", 0, destination="org.freedesktop.DBus")
        asked = []

        def on_request(_connection, _sender, _path, _interface, _signal, arguments):
            asked.append(arguments.unpack()[0])
            service = subprocess.Popen(self.unit_command("user"), stderr=subprocess.DEVNULL,
                                       env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address,
                                            "INVOCATION_ID": "1"})
            self.addCleanup(service.wait)
            self.addCleanup(service.terminate)

        manager.connection.signal_subscribe(
            "org.freedesktop.DBus", "org.freedesktop.systemd1.Activator", "ActivationRequest",
            None, None, Gio.DBusSignalFlags.NONE, on_request)
        client = self.client(bus.address)
        wait = client.start_call(ROOT, f"{NAME}.Automation", "CreateObject", "s", "Report")
        # Both clients live in the default context, so waiting for the one serves the other.
        self.assertTrue(wait().startswith(f"{ROOT}/Report/"))
        self.assertEqual(asked, [UNIT])
        self.assert_installed_service(client)


class SystemBus(Folders):
    """The policy, on a bus with the rules of a system bus. Nobody can be the user of the service
    here, so that the one who runs the test takes its place, and groups take the group's."""

    def start_bus(self, group, **environment):
        policy = (self.prefix / f"share/dbus-1/system.d/{NAME}.conf").read_text()
        me = pwd.getpwuid(os.getuid()).pw_name
        self.assertEqual(policy.count('group="tarnwick"'), 1)
        self.assertEqual(policy.count('user="tarnwick"'), 1)
        file = self.folder / "policy.conf"
        file.write_text(policy.replace('user="tarnwick"', f'user="{me}"')
                        .replace('group="tarnwick"', f'group="{group}"'))
        bus = Bus(self.folder, policy="""
            <allow user="*"/>
            <deny own="*"/>
            <deny send_type="method_call"/>
            <allow send_type="signal"/>
            <allow send_requested_reply="true" send_type="method_return"/>
            <allow send_requested_reply="true" send_type="error"/>
            <allow receive_type="method_call"/>
            <allow receive_type="method_return"/>
            <allow receive_type="error"/>
            <allow receive_type="signal"/>
            <allow send_destination="org.freedesktop.DBus"/>""", include=file)
        self.addCleanup(bus.close)
        service = subprocess.Popen(
            self.unit_command("system"), stderr=subprocess.DEVNULL,
            env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": bus.address, **environment})
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)
        client = self.client(bus.address)
        until(lambda: client.owner() is not None, "the service")
        return client

    def test_loads_no_library_that_a_connection_string_names_by_its_file(self):
        library = self.folder / "driver.so"
        shutil.copy(next(pathlib.Path("/usr/lib").glob("*/odbc/libsqlite3odbc.so")), library)
        home = self.folder / "home"
        home.mkdir()
        # Whoever uses the service can have files written there.
        (home / ".odbc.ini").write_text(f"[mine]\nDriver={library}\nDatabase=:memory:\n")
        (home / ".odbcinst.ini").write_text(f"[Mine]\nDriver={library}\n")
        lists = self.folder / "odbc.ini"
        lists.write_text(f"[by file]\nDriver={library}\nDatabase=:memory:\n")
        strings = {
            f"Provider=MSDASQL;Driver={library};Database=:memory:": "Driver",
            f"Provider=MSDASQL;Driver={{{library}}};Database=:memory:": "Driver",
            "Provider=MSDASQL;Driver=Mine;Database=:memory:": "Driver",
            f"Provider=MSDASQL;Extended Properties=\"Driver={library};Database=x\"": "Driver",
            "Provider=MSDASQL;DSN=by file": "DSN",
            "Provider=MSDASQL;DSN=mine": "DSN",
            f"Provider=MSDASQL;DSN={library}": "DSN",
            f"Provider=MSDASQL;FileDSN={home}/.odbc.ini": "FileDSN",
            f"Provider=MSDASQL;Driver=FreeTDS;Database={{a}}}};Driver={library};b}}": "Database",
            f"Provider=MSOLEDBSQL;Data Source=localhost;User ID=u;"
            f"Password=\"a}};Driver={library};b\"": "Password",
        }
        client = self.start_bus(self.own_group(), HOME=str(home), ODBCINI=str(lists))
        server = client.create("Server")
        for string, item in strings.items():
            with self.subTest(string=string):
                self.assertIs(server.call("SetConnection", "sss", string, ROLE, PASSWORD), False)
                self.assertIn(f'The connection string item "{item}" ', server.get("LastErrorMsg"))
                self.assertNotIn(str(library), self.libraries_of(client))

    def test_loads_them_where_each_user_has_a_service_of_his_own(self):
        library = self.folder / "driver.so"
        shutil.copy(next(pathlib.Path("/usr/lib").glob("*/odbc/libsqlite3odbc.so")), library)
        bus = Bus(self.folder, services=self.prefix / "share/dbus-1/services",
                  environment={"XDG_RUNTIME_DIR": str(self.runtime)})
        self.addCleanup(bus.close)
        client = self.client(bus.address)
        server = client.create("Server")
        server.call("SetConnection", "sss",
                    f"Provider=MSDASQL;Driver={library};Database={self.folder}/file.db", ROLE,
                    PASSWORD)
        self.assertNotIn("connection string item", server.get("LastErrorMsg"))

    @staticmethod
    def libraries_of(client):
        return pathlib.Path(f"/proc/{client.service_pid()}/maps").read_text()

    @staticmethod
    def own_group():
        return grp.getgrgid(os.getgid()).gr_name

    @staticmethod
    def foreign_group():
        mine = {os.getgid(), *os.getgroups()}
        return next(group.gr_name for group in grp.getgrall() if group.gr_gid not in mine)

    def test_admits_the_group(self):
        client = self.start_bus(self.own_group())
        report = client.create("Report")
        self.assert_installed_service(client)
        report.set("Title", "s", "written")
        self.assertEqual(report.get("Title"), "written")
        self.assertEqual(client.introspect(report.path).path, None)

    def test_admits_nobody_else_not_even_root(self):
        client = self.start_bus(self.foreign_group())
        peer = client.owner()
        for destination in (NAME, peer, f"{NAME}.Instance"):
            for path, interface, member, signature, arguments in (
                    (ROOT, f"{NAME}.Automation", "CreateObject", "s", ("Report",)),
                    (ROOT, "org.freedesktop.DBus.Introspectable", "Introspect", "", ()),
                    (ROOT, "org.freedesktop.DBus.Peer", "Ping", "", ()),
                    (ROOT, "org.freedesktop.DBus.Properties", "GetAll", "s", ("",))):
                with self.assertRaises(Failed) as caught:
                    client.call(path, interface, member, signature, *arguments,
                                destination=destination)
                self.assertEqual(caught.exception.name, ACCESS_DENIED, (destination, member))

    def test_lets_the_service_ask_its_clients(self):
        client = self.start_bus(self.own_group())
        node = Gio.DBusNodeInfo.new_for_xml(
            (self.prefix / f"share/dbus-1/interfaces/{NAME}.LockPrompt.xml").read_text())
        questions = []

        def on_call(_connection, _sender, _path, _interface, _method, arguments, invocation):
            questions.append(arguments.unpack())
            invocation.return_value(GLib.Variant("(b)", (False,)))

        client.connection.register_object("/prompt", node.interfaces[0], on_call, None, None)
        client.automation.call("SetLockPrompt", "o", "/prompt")
        report = report_that_seems_locked(client, self.folder / "database")
        self.assertIs(client.start_call(report.path, f"{NAME}.Report", "LockRecord")(), False)
        self.assertEqual(len(questions), 1)


class ServiceManager(Folders):
    """A socket where systemd would listen to its services."""

    def test_is_told_before_the_name_is_given_up(self):
        bus = Bus(self.folder)
        self.addCleanup(bus.close)
        listening = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(listening.close)
        address = str(self.folder / "notify")
        listening.bind(address)
        service = subprocess.Popen([*self.unit_command("user"), "--idle", "0"],
                                   stderr=subprocess.DEVNULL,
                                   env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address,
                                        "NOTIFY_SOCKET": address})
        self.addCleanup(service.wait)
        client = self.client(bus.address)
        until(lambda: client.owner() is not None, "the service")
        name = client.owner()
        client.release(client.create("Report"))
        listening.settimeout(60)
        self.assertEqual(listening.recv(1000), b"READY=1\nSTATUS=Serving")
        self.assertEqual(listening.recv(1000), b"STOPPING=1")
        # It waits until the end of this pipe is closed.
        ended = self.receive_barrier(listening)
        self.assertEqual(client.owner(), name)
        # A request that comes now is served, and what it made is kept.
        wait = client.start_call(ROOT, f"{NAME}.Automation", "CreateObject", "s", "Report")
        self.assertEqual(client.owner(), name)  # the bus has passed the request on
        os.close(ended)
        report = wait()
        self.assertEqual(listening.recv(1000), b"EXTEND_TIMEOUT_USEC=31536000000000")
        self.assertEqual(client.call(report, "org.freedesktop.DBus.Properties", "Get", "ss",
                                     f"{NAME}.Report", "Title"), "")
        self.assertEqual(client.owner(), name)
        # In the end it ends.
        client.automation.call("Release", "o", report)
        self.assertEqual(listening.recv(1000), b"STOPPING=1")
        os.close(self.receive_barrier(listening))
        self.assertEqual(service.wait(60), 0)

    def test_hears_that_the_loop_runs_and_how_long_a_question_may_take(self):
        bus = Bus(self.folder)
        self.addCleanup(bus.close)
        listening = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(listening.close)
        listening.bind(str(self.folder / "notify"))
        listening.settimeout(60)
        period = 2_000_000  # microseconds
        service = subprocess.Popen(
            [*self.unit_command("user"), "--question-timeout", "30"], stderr=subprocess.DEVNULL,
            env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address,
                 "NOTIFY_SOCKET": str(self.folder / "notify"), "WATCHDOG_USEC": str(period)})
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)

        def next_but_pings():
            message = listening.recv(1000)
            while message == b"WATCHDOG=1":
                message = listening.recv(1000)
            return message

        self.assertEqual(next_but_pings(), b"READY=1\nSTATUS=Serving")
        self.assertEqual(listening.recv(1000), b"WATCHDOG=1")
        client = self.client(bus.address)
        report = report_that_seems_locked(client, self.folder / "database")
        self.assertIs(report.call("LockRecord"), False)
        self.assertEqual(next_but_pings(), b"STATUS=Waiting for somebody's answer to a question")
        self.assertEqual(next_but_pings(), f"WATCHDOG_USEC={period + 30_000_000}".encode())
        self.assertEqual(next_but_pings(), b"STATUS=Serving")
        self.assertEqual(next_but_pings(), f"WATCHDOG_USEC={period}".encode())

    def test_sets_limits_by_the_environment(self):
        bus = Bus(self.folder)
        self.addCleanup(bus.close)
        service = subprocess.Popen(self.unit_command("user"), stderr=subprocess.DEVNULL,
                                   env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address,
                                        "TARNWICK_SERVER_MOST_OBJECTS": "2"})
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)
        client = self.client(bus.address)
        until(lambda: client.owner() is not None, "the service")
        client.create("Report")
        client.create("Report")
        with self.assertRaises(Failed) as caught:
            client.create("Report")
        self.assertEqual(caught.exception.name, f"{NAME}.Error.LimitExceeded")

    def test_refuses_to_start_with_a_limit_that_is_none(self):
        result = subprocess.run(self.unit_command("user"), capture_output=True, text=True,
                                env={**os.environ, "TARNWICK_SERVER_IDLE": "soon"})
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("--idle", result.stderr + result.stdout)

    def test_gets_the_log_with_its_fields_into_the_journal(self):
        # The journal's socket has a fixed place, which a mount of its own puts into this test.
        if subprocess.run(["unshare", "--mount", "true"], capture_output=True).returncode != 0:
            self.skipTest("nobody here may mount anything")
        bus = Bus(self.folder)
        self.addCleanup(bus.close)
        journal = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(journal.close)
        journal.bind(str(self.folder / "journal"))
        journal.settimeout(60)
        stream, error = os.pipe()
        self.addCleanup(os.close, stream)
        status = os.fstat(error)
        service = subprocess.Popen(
            ["unshare", "--mount", "sh", "-c",
             "mount -t tmpfs none /run/systemd && mkdir /run/systemd/journal && "
             f"ln -s {shlex.quote(str(self.folder / 'journal'))} /run/systemd/journal/socket && "
             'exec "$@"', "sh", *self.unit_command("user")], stderr=error,
            env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": bus.address,
                 "JOURNAL_STREAM": f"{status.st_dev}:{status.st_ino}"})
        os.close(error)
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)

        def entry():
            lines = journal.recv(65536).decode().splitlines()
            return dict(line.split("=", 1) for line in lines)

        self.assertEqual(entry(), {"MESSAGE": "Serving", "PRIORITY": "6", "TARNWICK_EVENT": "start",
                                   "SYSLOG_IDENTIFIER": "tarnwick-server"})
        client = self.client(bus.address)
        until(lambda: client.owner() is not None, "the service")
        server = client.create("Server")
        self.assertIs(server.call("SetConnection", "sss",
                                  f"Provider=Tarnwick.Embedded;Data Source={self.folder}", ROLE,
                                  PASSWORD), False)
        refusal = entry()
        self.assertEqual(refusal["TARNWICK_EVENT"], "refusal")
        self.assertEqual(refusal["TARNWICK_CLIENT"], client.name)
        self.assertEqual(refusal["PRIORITY"], "4")
        kind, number, native, text, _ = client.call(ROOT, f"{NAME}.LastCause", "GetLastCause")
        self.assertEqual((refusal["TARNWICK_KIND"], refusal["TARNWICK_NUMBER"],
                          refusal["TARNWICK_NATIVE"]), (str(kind), str(number), str(native)))
        self.assertIn(text, refusal["MESSAGE"])

    def receive_barrier(self, listening):
        message, descriptors, _, _ = socket.recv_fds(listening, 1000, 1)
        self.assertEqual(message, b"BARRIER=1")
        return descriptors[0]


if __name__ == "__main__":
    unittest.main()
