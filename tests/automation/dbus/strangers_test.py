"""What a client gets by doing what is forbidden, oversized, malformed, too often or at the wrong time,
and what that costs the service and the others."""

import os
import pathlib
import unittest

from locks_test import PROMPT, LockTest, answering
from private_bus import (INVALID_ARGS, NAME, ROOT, UNKNOWN_OBJECT, BusTest, Client, Failed, Gio,
                         GLib, own_error, until, variant)

BUS = "org.freedesktop.DBus"
PROPERTIES = "org.freedesktop.DBus.Properties"
MEGABYTE = 1 << 20


class Watched:
    """What the service takes up, as the system counts it."""

    def memory(self, which="VmRSS"):
        status = pathlib.Path(f"/proc/{self.service.pid}/status").read_text()
        line = next(line for line in status.splitlines() if line.startswith(f"{which}:"))
        return int(line.split()[1]) * 1024

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.service.pid}/fd"))

    def side_name(self, client):
        """The connection of the service that takes no calls."""

        def ask(member, signature="", *arguments):
            return client.call("/org/freedesktop/DBus", BUS, member, signature, *arguments,
                               destination=BUS)

        def is_it(name):
            if not name.startswith(":") or name == client.owner():
                return False
            try:
                return ask("GetConnectionUnixProcessID", "s", name) == self.service.pid
            except Failed:
                return False

        return next(name for name in ask("ListNames") if is_it(name))


def send_call(client, destination, path, interface, member, signature="", *arguments,
              answered=False):
    """Sends a call whose answer nobody waits for."""
    message = Gio.DBusMessage.new_method_call(destination, path, interface, member)
    message.set_body(GLib.Variant(f"({signature})", arguments))
    if not answered:
        message.set_flags(Gio.DBusMessageFlags.NO_REPLY_EXPECTED)
    client.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)


class WhileAQuestionIsOpen(Watched, LockTest):
    """A stranger sends to the connection over which the service asks; then the client answers."""

    def setUp(self):
        super().setUp()
        self.stranger = self.client()
        self.side = self.side_name(self.stranger)

    def lock_while(self, meanwhile):
        """The lock is granted by the client's answer, and by no other."""
        asked = []

        def answer(_title, _text):
            if not asked:
                meanwhile()
            asked.append(1)
            self.held.call("ReleaseRecord")
            return True

        answering(self.asking, answer)
        self.assertIs(self.lock(), True, self.log.read_text())
        self.assertNotIn("gave no answer", self.log.read_text())
        self.assertIs(self.record.call("ReleaseRecord"), True)

    def settle(self):
        """The bus has passed on what the stranger sent."""
        self.stranger.connection.flush_sync()
        self.assertIsNotNone(self.stranger.owner())

    def test_a_stranger_neither_answers_it_nor_has_anything_kept(self):
        before = self.memory()

        def send():
            for serial in range(1, 200):
                fake = Gio.DBusMessage()
                fake.set_message_type(Gio.DBusMessageType.METHOD_RETURN)
                fake.set_destination(self.side)
                fake.set_reply_serial(serial)
                fake.set_body(GLib.Variant("(b)", (False,)))
                self.stranger.connection.send_message(fake, Gio.DBusSendMessageFlags.NONE)
            # More than a connection of sd-bus keeps.
            for _ in range(70000):
                send_call(self.stranger, self.side, "/", "a.b", "C")
            for _ in range(100):
                send_call(self.stranger, self.side, "/", "a.b", "C", "s", "x" * MEGABYTE)
            self.settle()

        self.lock_while(send)
        self.need_true_memory()
        self.assertLess(self.memory("VmHWM") - before, 50 * MEGABYTE)

    def test_calls_for_the_same_record_wait_and_find_it_as_it_was_left(self):
        waits = []

        def call():
            for member in ("ReleaseRecord",) * 3:
                waits.append(self.asking.start_call(self.record.path, self.record.interface,
                                                    member))
            waits.append(self.asking.start_call(ROOT, f"{NAME}.Automation", "Release", "o",
                                                self.record.path))
            self.assertIsNotNone(self.stranger.owner())
            return False

        answering(self.asking, lambda title, text: call() if not waits else False)
        self.assertIs(self.lock(), False)
        self.assertEqual([wait() for wait in waits][-1], None)
        self.assert_fails(UNKNOWN_OBJECT, self.record.call, "Refresh")


class AnswersToQuestions(LockTest):
    def answer_by(self, *bodies):
        """Answers the question with each of the bodies in turn."""

        def on_call(connection, _sender, _path, _interface, _method, _arguments, invocation):
            for body in bodies:
                reply = Gio.DBusMessage.new_method_reply(invocation.get_message())
                reply.set_body(body)
                connection.send_message(reply, Gio.DBusSendMessageFlags.NONE)

        self.asking.connection.register_object("/prompt", PROMPT, on_call, None, None)
        self.asking.automation.call("SetLockPrompt", "o", "/prompt")

    def test_that_are_no_boolean_are_cancel_and_others_count_once(self):
        self.answer_by(GLib.Variant("(s)", ("true",)), *[GLib.Variant("(b)", (True,))] * 50)
        self.assertIs(self.lock(), False)
        self.assertEqual(self.log.read_text().count("gave no answer"), 1)
        self.record.client = self.asking = self.client()
        self.answer_by(*[GLib.Variant("(b)", (False,))] * 50)
        self.assertIs(self.lock(), False)
        self.assertEqual(self.log.read_text().count("gave no answer"), 1)
        self.assertIs(self.record.get("Locked"), False)


class Members(Watched, BusTest):
    """Whatever is wrong with a call: it is refused, and leaves nothing."""

    # One of each type, to be sent where another one is wanted.
    WRONG = (("h", 0), ("ay", b"x"), ("v", variant("v", variant("v", variant("s", "x")))),
             ("a{sv}", {"x": variant("s", "y")}), ("(ssss)", ("a", "b", "c", "d")),
             ("as", ["x"] * 1000), ("t", 2**64 - 1))

    def things(self, client):
        database = self.database()
        database.add_components([(1, "One")])
        database.add_pcs([("M1", "A", 1)])
        database.add_reports([("Alpha", "First")])
        server = self.connected_server(client, database)
        things = [server]
        for collection, record in (("Components", "Component"), ("RegisteredPCs", "RegisteredPC"),
                                   ("Reports", "Report")):
            things.append(self.collection(server, collection))
            things.append(server.at(things[-1].call("Item", "v", variant("i", 1)), record))
        return things

    def test_refuse_arguments_of_every_wrong_type(self):
        client = self.client()
        things = self.things(client)
        things.append(client.automation)
        open_before, tried = self.descriptors(), 0
        for thing in things:
            for interface in client.introspect(thing.path).interfaces:
                if not interface.name.startswith(NAME):
                    continue
                for method in interface.methods:
                    wanted = "".join(argument.signature for argument in method.in_args)
                    for signature, value in self.WRONG:
                        if signature == wanted:
                            continue
                        self.assert_fails(INVALID_ARGS, client.call, thing.path, interface.name,
                                          method.name, signature, value)
                        tried += 1
        self.assertGreater(tried, 400)
        self.assertEqual(self.descriptors(), open_before)

    def test_refuse_properties_of_every_wrong_type_and_what_is_only_read(self):
        client = self.client()
        tried = 0
        for thing in self.things(client):
            before = thing.get_all()
            for interface in client.introspect(thing.path).interfaces:
                for known in interface.properties if interface.name.startswith(NAME) else ():
                    writable = known.flags & Gio.DBusPropertyInfoFlags.WRITABLE
                    error = INVALID_ARGS if writable else f"{BUS}.Error.PropertyReadOnly"
                    for signature, value in self.WRONG[1:]:
                        self.assert_fails(error, thing.set, known.name, signature, value)
                        tried += 1
            self.assertEqual(thing.get_all(), before)
        self.assertGreater(tried, 300)

    def test_refuse_paths_that_are_too_long_for_any_object(self):
        client = self.client()
        components = self.things(client)[1]
        for call, member in ((client.automation.call, "SetLockPrompt"),
                             (client.automation.call, "Release"),
                             (components.call, "AddCompObject")):
            self.assertEqual(self.assert_fails(INVALID_ARGS, call, member, "o", "/x" * MEGABYTE),
                             "An object path is too long")

    def test_refuse_keys_that_are_neither_text_nor_integer(self):
        client = self.client()
        deep = variant("s", "C1")
        for _ in range(50):
            deep = variant("v", deep)
        for thing in self.things(client)[1::2]:
            for key in (deep, variant("d", 1.0), variant("b", True), variant("as", ["C1"]),
                        variant("o", thing.path), variant("(i)", (1,)), variant("ay", b"")):
                self.assert_fails(own_error("TypeMismatch"), thing.call, "Item", "v", key)
            for key in (variant("t", 2**64 - 1), variant("x", -2**63), variant("i", 0),
                        variant("s", "x" * MEGABYTE), variant("s", "'; DROP TABLE DW_Reports")):
                try:
                    self.assertEqual(thing.call("Item", "v", key), "/")
                except Failed as failed:
                    self.assertIn(failed.name, (own_error("SubscriptOutOfRange"),
                                                own_error("Overflow"),
                                                own_error("InvalidProcedureCall")))
            self.assertEqual(thing.get("Count"), 1)


class Comings(Watched, BusTest):
    def test_and_goings_leave_nothing(self):
        watching = self.client()

        def come_and_go(times):
            for number in range(times):
                client = Client(self.bus.address)
                for _ in range(3):
                    send_call(client, NAME, ROOT, f"{NAME}.Automation", "CreateObject", "s",
                              "Report", answered=True)
                send_call(client, NAME, ROOT, f"{NAME}.Automation", "SetLockPrompt", "o", "/a",
                          answered=True)
                send_call(client, NAME, ROOT, f"{NAME}.Automation", "Share", "b", True)
                if number % 2:
                    client.create("Component")  # has been served when it goes
                else:
                    client.connection.flush_sync()  # goes in the midst of it
                client.close()
            until(lambda: not watching.held_classes(), "the end of the objects")

        come_and_go(100)
        memory, descriptors = self.memory(), self.descriptors()
        come_and_go(900)
        self.assertEqual(self.descriptors(), descriptors)
        self.need_true_memory()
        self.assertLess(self.memory() - memory, 8 * MEGABYTE)


class Memory(Watched, BusTest):
    switches = ("--most-memory", "128")
    # Beside the limit: a message, and what is made of it, before it is known to be too much.
    MOST = (128 + 64) * MEGABYTE

    def setUp(self):
        super().setUp()
        self.need_true_memory()
        self.hostile, self.other = self.client(), self.client()
        self.report = self.other.create("Report")
        self.report.set("Title", "s", "mine")

    def goes_over(self, call, *arguments):
        """Whether the call was refused for the limit."""
        try:
            call(*arguments)
            return False
        except Failed as failed:
            self.assertEqual(failed.name, own_error("LimitExceeded"))
            self.assertRegex(failed.text,
                             "^The service uses [0-9]+ MiB of memory, and may use 128. Release ")
            return True

    def fill(self):
        """Lets the hostile client put 320 MB wherever it can; how often it was refused."""
        refused = 0
        for _ in range(80):
            try:
                report = self.hostile.create("Report")
            except Failed as failed:
                self.assertEqual(failed.name, own_error("LimitExceeded"))
                refused += 1
                continue
            refused += sum(self.goes_over(report.set, name, "s", "x" * MEGABYTE)
                           for name in ("Title", "SQL", "Definition", "Author"))
        return refused

    def test_has_a_limit_for_all_texts_together_and_others_can_still_read_and_release(self):
        self.assertGreater(self.fill(), 100)
        self.assertLess(self.memory("VmHWM"), self.MOST)
        self.assertEqual(self.report.get("Title"), "mine")
        self.other.release(self.report)
        # The end of the hostile client is the end of its texts.
        self.hostile.close()
        until(lambda: not self.other.held_classes(), "the end of the objects")
        self.other.create("Report").set("SQL", "s", "x" * MEGABYTE)

    def test_is_refused_to_lists_that_outlive_the_client(self):
        reports = self.collection(self.hostile.create("Server"), "Reports")
        with self.assertRaises(Failed) as caught:
            for number in range(1000):
                path = reports.call("Add", "sssdssnssisnss", f"Report {number}", "", "", 0.0, "",
                                    "", 1, "", "", 1, "", 4, "", "x" * MEGABYTE)
                self.hostile.automation.call("Release", "o", path)
        self.assertEqual(caught.exception.name, own_error("LimitExceeded"))
        self.assertLess(self.memory("VmHWM"), self.MOST)
        self.assertEqual(self.report.get("Title"), "mine")


class LargestMessages(Watched, BusTest):
    """On a bus that lets through whatever the protocol does."""

    most_bytes = 128 * MEGABYTE
    switches = ("--most-memory", "1024")

    def test_are_served_or_refused_and_given_back(self):
        self.need_true_memory()
        hostile, other = self.client(), self.client()
        report = hostile.create("Report")
        before = self.memory()
        for size in (30, 127):
            text = "x" * (size * MEGABYTE)
            report.set("SQL", "s", text)
            # What no message of a usual bus carries cannot be read over this one either.
            if size == 30:
                self.assertEqual(report.get("SQL"), text)
            else:
                self.assert_fails(own_error("LimitExceeded"), report.get, "SQL")
            self.assert_fails(INVALID_ARGS, hostile.call, ROOT, f"{NAME}.Automation", "Share", "s",
                              text)
            self.assert_fails(UNKNOWN_OBJECT, hostile.call, f"{ROOT}/Report/0_0",
                              f"{NAME}.Report", "Update", "s", text)
            self.assertEqual(other.held_classes(), ["Report"])
        del text
        report.set("SQL", "s", "")
        hostile.release(report)
        until(lambda: not other.held_classes(), "the end of the objects")
        self.assertLess(self.memory() - before, 160 * MEGABYTE)

    def test_end_the_sender_beyond_that_limit_and_nobody_else(self):
        hostile, other = self.client(), self.client()
        report = other.create("Report")
        hostile.create("Report")
        with self.assertRaises(GLib.Error):
            hostile.call(ROOT, f"{NAME}.Automation", "Share", "s", "x" * (128 * MEGABYTE))
        until(lambda: len(other.introspect(f"{ROOT}/Report").nodes) == 1, "the end of its object")
        report.set("Title", "s", "mine")
        self.assertEqual(report.get("Title"), "mine")


class Order(Watched, BusTest):
    """Nobody's calls wait for calls that were sent after them, however many those are."""

    FLOOD = 2000

    def settled(self, client):
        """The bus has passed on what the client sent: it answers in order."""
        client.connection.flush_sync()
        self.assertIsNotNone(client.owner())

    def number_of(self, path):
        return int(path.rpartition("_")[2])

    def test_is_that_of_the_bus_also_under_a_flood(self):
        flooder, polite = self.client(), self.client()
        first = self.number_of(polite.create("Report").path)

        def flood():
            for _ in range(self.FLOOD):
                send_call(flooder, NAME, ROOT, f"{NAME}.Automation", "CreateObject", "s", "Report")
            self.settled(flooder)

        for turn in range(1, 4):
            flood()
            wait = polite.start_call(ROOT, f"{NAME}.Automation", "CreateObject", "s", "Report")
            self.settled(polite)
            flood()
            # Each object has the next number: as many were made before this one as had been asked for.
            self.assertEqual(self.number_of(wait()) - first, turn * (self.FLOOD + 1)
                             + (turn - 1) * self.FLOOD)


class Objects(Watched, BusTest):
    switches = ("--most-objects", "1000")

    def test_that_are_made_and_never_released_are_so_many(self):
        client, other = self.client(), self.client()
        for _ in range(3000):
            send_call(client, NAME, ROOT, f"{NAME}.Automation", "CreateObject", "s", "Report")
        self.assert_fails(own_error("LimitExceeded"), client.create, "Report")
        other.create("Component")
        self.assertEqual(len(other.introspect(f"{ROOT}/Report").nodes), 1000)
        client.close()
        until(lambda: other.held_classes() == ["Component"], "the end of the objects")

    def test_are_released_once_and_by_whom_they_belong_to(self):
        client, stranger = self.client(), self.client()
        for _ in range(200):
            report = client.create("Report")
            self.assert_fails(own_error("NotHeld"), stranger.automation.call, "Release", "o",
                              report.path)
            client.release(report)
            self.assert_fails(UNKNOWN_OBJECT, client.release, report)
        self.assertEqual(client.held_classes(), [])


if __name__ == "__main__":
    unittest.main()
