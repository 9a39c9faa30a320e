"""The command line on a bus that it shares with other clients. TARNWICK names the program."""

import json
import os
import pathlib
import pty
import signal
import subprocess
import tempfile
import unittest

from private_bus import (NAME, PASSWORD, PATIENCE, ROLE, ROOT, Bus, BusTest, Client, Database, GLib,
                         until, variant)

QUESTION = "Record Lock Encountered: Record is currently being updated by another process!"
PROMPT = "Retry or cancel? [r/c] "
GIVEN_UP = "tarnwick: Component 7 is being maintained by another process.\n"


def heed_signals():
    """Whoever runs the tests may have chosen to ignore them."""
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(number, signal.SIG_DFL)


class Typed:
    """`tarnwick` on a terminal of its own."""

    def __init__(self, arguments, environment):
        self.said = ""
        self.terminal, inner = pty.openpty()
        self.process = subprocess.Popen([os.environ["TARNWICK"], *arguments], stdin=inner,
                                        stdout=inner, stderr=inner, env=environment,
                                        start_new_session=True, preexec_fn=heed_signals)
        os.close(inner)

    def read_more(self):
        try:
            some = os.read(self.terminal, 65536)
        except OSError:
            return False
        self.said += some.decode().replace("\r\n", "\n")
        return bool(some)

    def wait_for(self, text):
        while text not in self.said:
            if not self.read_more():
                raise AssertionError(f"it ended without '{text}': {self.said}")

    def type(self, line):
        os.write(self.terminal, f"{line}\n".encode())

    def end(self):
        """Exit code."""
        while self.read_more():
            pass
        return self.process.wait()

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        os.close(self.terminal)


class CommandLine:
    """For tests with a bus and a database; both belong to the test."""

    def environment(self, **others):
        """The bus is that of the session."""
        variables = {name: value for name, value in os.environ.items()
                     if name not in ("XDG_RUNTIME_DIR", "DISPLAY", "TARNWICK_IN_PROCESS")}
        password = self.folder / "password"
        password.write_text(PASSWORD + "\n")
        variables.update({"DBUS_SESSION_BUS_ADDRESS": self.bus.address,
                          "TARNWICK_CONNECT": self.db.connect_string, "TARNWICK_ROLE": ROLE,
                          "TARNWICK_PASSWORD_FILE": str(password), "LC_ALL": "C.UTF-8"})
        for name, value in others.items():
            if value is None:
                del variables[name]
            else:
                variables[name] = value
        return variables

    def run_it(self, *arguments, **environment):
        return subprocess.run([os.environ["TARNWICK"], *arguments], capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, env=self.environment(**environment),
                              check=False)

    def say(self, *arguments, **environment):
        """The output of a command that has to go through without a complaint."""
        done = self.run_it(*arguments, **environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def type_it(self, *arguments, **environment):
        typed = Typed(arguments, self.environment(**environment))
        self.addCleanup(typed.close)
        return typed

    def hold(self, **environment):
        """Component 7, by a process of its own that works on the database directly."""
        holder = self.type_it("--in-process", "lock", "hold", "component", "7", **environment)
        holder.wait_for("Component 7 locked.")
        return holder

    def name_of_7(self):
        return self.db.run("SELECT CompName FROM DW_SEC_COMP WHERE CompID = 7")[0][0]


class OwnersOfTheName:
    """Which connections came to own the service's name."""

    def __init__(self, address):
        self.client = Client(address)
        self.owners = []
        self.client.connection.signal_subscribe(
            "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
            "/org/freedesktop/DBus", NAME, 0, self.on_changed)

    def on_changed(self, _connection, _sender, _path, _interface, _signal, arguments):
        self.owners.append(arguments.unpack()[2])

    def seen(self):
        """So far."""
        self.client.owner()
        while GLib.MainContext.default().iteration(False):
            pass
        return self.owners


class SharedService(CommandLine, BusTest):
    """The service runs already, on the bus of the session."""

    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(1, "One"), (7, "Seven")])

    def connected(self, database):
        return self.connected_server(self.client(), database)

    def locked(self, server):
        """Component 1, maintained by the server's client."""
        components = self.collection(server, "Components")
        record = server.at(components.call("Item", "v", variant("s", "C1")), "Component")
        self.assertIs(record.call("LockRecord"), True)
        return record

    def names_of_components(self, server):
        rows = server.client.call(server.get("Components"), f"{NAME}.Rows", "GetRows", "uu", 1, 100)
        return [row["Name"] for row in rows]


class Sharing(SharedService):
    def test_is_what_the_command_line_does_on_the_bus_of_the_session(self):
        server = self.connected(self.db)
        self.assertEqual(self.names_of_components(server), ["One", "Seven"])
        self.db.add_components([(8, "Eight")])
        self.assertEqual(self.say("component", "show", "8", "--field", "Name"), "Eight\n")
        # All clients share the lists, and they go with any client's collections.
        self.assertEqual(self.names_of_components(server), [])
        self.assertIs(server.call("Refresh"), True)
        self.assertEqual(self.names_of_components(server), ["One", "Seven", "Eight"])

    def test_is_done_with_the_bus_that_is_named(self):
        server = self.connected(self.db)
        self.assertEqual(self.names_of_components(server), ["One", "Seven"])
        self.say("--address", self.bus.address, "component", "list",
                 DBUS_SESSION_BUS_ADDRESS="unix:path=/nowhere")
        self.assertEqual(self.names_of_components(server), [])

    def test_leaves_a_record_alone_that_another_client_maintains(self):
        server = self.connected(self.db)
        record = self.locked(server)
        self.assertEqual(
            self.say("component", "set", "7", "--name", "Mine"),
            "Component 7 written.\n  Name: 'Seven' -> 'Mine'\n")
        self.assertIs(record.get("Locked"), True)
        self.assertIs(record.call("ReleaseRecord"), True)
        self.assertEqual(server.get("LastErrorMsg"), "")

    def test_leaves_a_connection_alone_that_others_have_to_another_database(self):
        other = Database(self.folder / "other")
        other.add_components([(1, "Another")])
        server = self.connected(other)
        self.assertIn("Seven", self.say("component", "list"))
        self.assertIs(server.call("Refresh"), True)
        self.assertEqual(self.names_of_components(server), ["Another"])

    def test_of_a_named_bus_has_to_wait_for_such_clients(self):
        server = self.connected(self.db)
        record = self.locked(server)
        done = self.run_it("--address", self.bus.address, "component", "list")
        self.assertEqual(done.returncode, 4)
        self.assertEqual(
            done.stderr,
            "Service In Use: The service is being used by another client! Answered: Cancel.\n"
            "tarnwick: Another client of the service maintains a record or uses another database. "
            "With --in-process the service is not needed.\n")
        self.assertIs(record.call("ReleaseRecord"), True)
        self.assertEqual(server.get("LastErrorMsg"), "")
        self.say("--address", self.bus.address, "component", "list")

    def test_ends_where_another_command_line_is_at_work(self):
        holder = self.type_it("lock", "hold", "component", "1")
        holder.wait_for("Component 1 locked.")
        self.assertEqual(
            self.say("component", "set", "7", "--name", "Mine"),
            "Component 7 written.\n  Name: 'Seven' -> 'Mine'\n")
        done = self.run_it("component", "set", "1", "--name", "Mine")
        self.assertEqual(done.returncode, 4)
        self.assertEqual(done.stderr, f"{QUESTION} Answered: Cancel.\n"
                         + GIVEN_UP.replace("Component 7", "Component 1"))
        holder.type("")
        holder.wait_for("Component 1 released.")
        self.assertEqual(holder.end(), 0)

    def test_shows_no_password_in_the_service_s_log(self):
        (self.folder / "wrong").write_text("open sesam\n")
        done = self.run_it("check", TARNWICK_PASSWORD_FILE=str(self.folder / "wrong"))
        self.assertEqual(done.returncode, 1)
        self.say("check")
        self.assertNotIn("sesam", done.stderr)
        self.assertNotIn("sesam", self.log.read_text())


class TextsThatTheBusCannotCarry(SharedService):
    ODD = "a\ufffeb"

    def setUp(self):
        super().setUp()
        self.db.add_reports([("Good", "fine"), ("Odd", self.ODD)])

    def rows(self):
        return self.db.run("SELECT ReportName, Title, Author FROM DW_Reports ORDER BY ReportName")

    def test_are_left_out_of_lists_with_a_warning(self):
        done = self.run_it("report", "list", "--json")
        self.assertEqual(done.returncode, 0)
        self.assertEqual([row["Title"] for row in json.loads(done.stdout)], ["fine", ""])
        self.assertEqual(done.stderr, "Report 'Odd' has a text that the bus cannot carry; it is "
                         "shown as empty. With --in-process the service is not needed.\n")

    def test_are_never_lost_by_a_change_of_their_record(self):
        before = self.rows()
        done = self.run_it("report", "set", "Odd", "--author", "clara")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "tarnwick: Report 'Odd' has a text that the bus cannot carry. "
                         "With --in-process the service is not needed.\n")
        self.assertEqual(self.rows(), before)
        self.say("--in-process", "report", "set", "Odd", "--author", "clara")
        self.assertEqual(self.rows(), [before[0], ("Odd", self.ODD, "clara")])

    def test_are_refused_as_arguments(self):
        before = self.rows()
        done = self.run_it("report", "set", "Good", "--title", self.ODD)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "tarnwick: A text holds a character that the bus cannot carry. "
                         "With --in-process the service is not needed.\n")
        self.assertEqual(self.rows(), before)


class Questions(SharedService):
    """A process that has nothing to do with the bus holds component 7."""

    def setUp(self):
        super().setUp()
        self.holder = self.hold()
        self.asked = self.type_it("--question-timeout", "600", "component", "set", "7", "--name",
                                  "Mine")
        self.asked.wait_for(f"{QUESTION}\n{PROMPT}")

    def test_let_the_calls_of_others_wait(self):
        other = self.client()
        answers = []
        other.connection.call(
            NAME, ROOT, f"{NAME}.Automation", "CreateObject", GLib.Variant("(s)", ("Report",)),
            None, 0, PATIENCE * 1000, None,
            lambda connection, result: answers.append(connection.call_finish(result).unpack()))
        context = GLib.MainContext.default()
        # The bus has passed the call on when it answers this.
        other.owner()
        while context.iteration(False):
            pass
        self.assertEqual(answers, [])
        self.holder.type("")
        self.holder.wait_for("Component 7 released.")
        self.asked.type("retry")
        self.assertEqual(self.asked.end(), 0)
        self.assertEqual(self.name_of_7(), "Mine")
        while not answers:
            context.iteration(True)
        self.assertRegex(answers[0][0], f"^{ROOT}/Report/")

    def test_are_moot_when_the_service_is_gone(self):
        self.service.kill()
        self.service.wait()
        self.assertEqual(self.asked.end(), 1)
        self.assertIn("Nobody answered. Answered: Cancel.\n", self.asked.said)
        self.assertIn("tarnwick: The service refused a call: ", self.asked.said)
        self.service.returncode = 0

    def test_are_over_with_the_command_line_that_was_asked(self):
        self.asked.process.kill()
        other = self.client()
        self.assertEqual(other.create("Report").get("Title"), "")
        self.assertIn("gave no answer", self.log.read_text())


class QuestionsOfAServiceWithLittlePatience(SharedService):
    switches = ("--question-timeout", "1")

    def test_are_moot_when_it_has_waited_long_enough(self):
        self.hold()
        asked = self.type_it("--question-timeout", "600", "component", "set", "7", "--name", "Mine")
        asked.wait_for(f"{PROMPT}\nNobody answered. Answered: Cancel.\n")
        self.assertEqual(asked.end(), 4)
        self.assertIn(GIVEN_UP, asked.said)
        self.assertEqual(self.name_of_7(), "Seven")


class Starting(CommandLine, BusTest):
    """Nothing runs on the bus yet, and the bus knows no service."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.bus = Bus(folder.name, self.service_of_bus())
        self.addCleanup(self.bus.close)
        self.db = self.database()
        self.db.add_components([(7, "Seven")])
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()

    def service_of_bus(self):
        return None

    def processes(self):
        """Those that were told of the folder for scratch files."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if str(self.scratch).encode() in (process / "cmdline").read_bytes():
                    found.append(process.name)
            except OSError:
                pass
        return found

    def without_bus(self):
        return {"DBUS_SESSION_BUS_ADDRESS": None, "TMPDIR": str(self.scratch)}


class StartingTheService(Starting):
    def test_on_the_bus_of_the_session_leaves_it_there_for_a_while(self):
        names = OwnersOfTheName(self.bus.address)
        self.addCleanup(names.client.close)
        self.assertEqual(self.say("component", "show", "7", "--field", "Name"), "Seven\n")
        until(lambda: len(names.seen()) == 2, "the end of the service")
        self.assertRegex(names.owners[0], "^:")
        self.assertEqual(names.owners[1], "")

    def test_on_a_named_bus(self):
        names = OwnersOfTheName(self.bus.address)
        self.addCleanup(names.client.close)
        self.say("--address", self.bus.address, "component", "list", **self.without_bus())
        self.assertRegex(names.seen()[0], "^:")
        self.assertEqual(list(self.scratch.iterdir()), [])

    def test_on_a_bus_of_its_own_leaves_nothing_behind(self):
        self.assertEqual(
            self.say("component", "show", "7", "--field", "Name", **self.without_bus()), "Seven\n")
        self.assertEqual(list(self.scratch.iterdir()), [])
        self.assertEqual(self.processes(), [])

    def test_on_a_bus_of_its_own_ends_it_with_a_command_line_that_is_killed(self):
        holder = self.type_it("lock", "hold", "component", "7", **self.without_bus())
        holder.wait_for("Component 7 locked.")
        self.assertEqual(len(self.processes()), 2)
        holder.process.kill()
        until(lambda: not self.processes(), "the end of the bus and the service")
        self.say("component", "set", "7", "--name", "Mine", **self.without_bus())

    def test_on_a_bus_of_its_own_leaves_nothing_behind_when_a_signal_ends_it(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            holder = self.type_it("lock", "hold", "component", "7", **self.without_bus())
            holder.wait_for("Component 7 locked.")
            holder.process.send_signal(number)
            self.assertEqual(holder.process.wait(), -number)
            until(lambda: not self.processes(), "the end of the bus and the service")
            self.assertEqual(list(self.scratch.iterdir()), [])

    def test_is_not_needed_to_leave_nothing_behind(self):
        holder = self.type_it("--in-process", "lock", "hold", "component", "7",
                              **self.without_bus())
        holder.wait_for("Component 7 locked.")
        self.assertEqual(len(list(self.scratch.iterdir())), 1)
        holder.process.send_signal(signal.SIGINT)
        self.assertEqual(holder.process.wait(), -signal.SIGINT)
        self.assertEqual(list(self.scratch.iterdir()), [])

    def test_on_a_bus_of_its_own_needs_a_folder_with_a_short_name(self):
        scratch = self.scratch / ("long" * 25)
        scratch.mkdir()
        done = self.run_it("component", "list", DBUS_SESSION_BUS_ADDRESS=None, TMPDIR=str(scratch))
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr,
                         "tarnwick: The service cannot be reached: the name of the folder for "
                         "temporary files (TMPDIR) is too long for a socket. With --in-process it "
                         "is not needed.\n")
        self.assertEqual(list(scratch.iterdir()), [])

    def test_on_a_bus_of_its_own_where_that_of_the_session_is_gone(self):
        self.bus.close()
        self.say("component", "list")

    def test_on_a_bus_of_its_own_for_a_trace(self):
        names = OwnersOfTheName(self.bus.address)
        self.addCleanup(names.client.close)
        trace = self.folder / "trace"
        self.say("--trace", str(trace), "component", "list")
        self.assertIn("Execute EXEC sp_setapprole 'Maintainer','***'\n", trace.read_text())
        self.assertNotIn(PASSWORD, trace.read_text())
        self.assertEqual(names.seen(), [])

    def test_is_not_tried_where_the_named_bus_is_not_there(self):
        done = self.run_it("--address", "unix:path=/nowhere", "component", "list")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr,
                         "tarnwick: The service cannot be reached: there is no bus at "
                         "unix:path=/nowhere. With --in-process it is not needed.\n")

    def test_is_left_to_the_administrator_on_the_bus_of_the_system(self):
        done = self.run_it("--system", "component", "list",
                           DBUS_SYSTEM_BUS_ADDRESS=self.bus.address)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr,
                         "tarnwick: The service cannot be reached: The name "
                         "org.tarnwick.Security1 was not provided by any .service files. With "
                         "--in-process it is not needed.\n")


class ServiceOfTheBus(Starting):
    def service_of_bus(self):
        script = self.folder / "start"
        script.write_text(f"#!/bin/sh\necho started >> '{self.folder}/starts'\n"
                          f"exec '{os.environ['TARNWICK_SERVER']}' --folder '{self.folder}'\n")
        script.chmod(0o700)
        return [str(script)]

    def test_is_started_by_the_bus(self):
        self.say("component", "list")
        self.assertEqual((self.folder / "starts").read_text(), "started\n")

    def test_is_started_by_the_bus_of_the_system(self):
        self.say("--system", "component", "list", DBUS_SYSTEM_BUS_ADDRESS=self.bus.address,
                 **self.without_bus())
        self.assertEqual((self.folder / "starts").read_text(), "started\n")


if __name__ == "__main__":
    unittest.main()
