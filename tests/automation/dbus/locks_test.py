"""Who is asked whether to try again when a row is locked, and what happens meanwhile."""

import os
import pathlib
import signal
import subprocess
import sys
import unittest

from private_bus import (NAME, ROOT, Bus, BusTest, Client, Gio, GLib, until, variant)

TITLE = "Record Lock Encountered"
TEXT = "Record is currently being updated by another process!"

PROMPT = Gio.DBusNodeInfo.new_for_xml(f"""
<node><interface name="{NAME}.LockPrompt"><method name="RetryOrCancel">
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="b" direction="out"/>
</method></interface></node>""").interfaces[0]

# A client that says it answers questions, and is killed while one is open.
VANISHING = """
import os, signal, sys
sys.path.insert(0, {folder!r})
from private_bus import Client
from locks_test import answering
client = Client(sys.argv[1])
answering(client, lambda title, text: os.kill(os.getpid(), signal.SIGKILL))
client.start_call(sys.argv[2], "org.tarnwick.Security1.Component", "LockRecord")()
"""


def answering(client, answer):
    """Lets `client` answer questions by `answer(title, text)`; None: never."""

    def on_call(_connection, _sender, _path, _interface, _method, arguments, invocation):
        retry = answer(*arguments.unpack())
        if retry is not None:
            invocation.return_value(GLib.Variant("(b)", (retry,)))

    client.connection.register_object("/prompt", PROMPT, on_call, None, None)
    client.automation.call("SetLockPrompt", "o", "/prompt")


class LockTest(BusTest):
    """Component 7 is locked by another process; the client of the test asks for it."""

    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(1, "One"), (7, "Seven")])
        self.asking = self.client()
        self.record = self.component(self.connected_server(self.asking, self.db))
        self.hold_row()

    def component(self, server):
        components = self.collection(server, "Components")
        return server.at(components.call("Item", "v", variant("s", "C7")), "Component")

    def hold_row(self):
        folder = self.folder / "other"
        folder.mkdir()
        bus = Bus(folder)
        self.addCleanup(bus.close)
        service = subprocess.Popen([os.environ["TARNWICK_SERVER"], "--address", bus.address],
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)
        client = Client(bus.address)
        self.addCleanup(client.close)
        until(lambda: client.owner() is not None, "the other service")
        self.held = self.component(self.connected_server(client, self.db))
        self.assertIs(self.held.call("LockRecord"), True)

    def lock(self):
        """LockRecord by the asking client, which answers questions meanwhile."""
        return self.asking.start_call(self.record.path, self.record.interface, "LockRecord")()


class Questions(LockTest):
    def test_go_to_the_client_whose_call_met_the_lock(self):
        questions = []

        def answer(title, text):
            questions.append((title, text))
            if len(questions) == 2:
                self.held.call("ReleaseRecord")
            return True

        bystander = self.client()
        answering(bystander, lambda title, text: self.fail("asked the wrong client"))
        answering(self.asking, answer)
        self.assertIs(self.lock(), True)
        self.assertEqual(questions, [(TITLE, TEXT), (TITLE, TEXT)])

    def test_answered_by_cancel_end_the_wait(self):
        answering(self.asking, lambda title, text: False)
        self.assertIs(self.lock(), False)
        self.assertIs(self.record.get("Locked"), False)
        self.assertNotIn("Answered", self.log.read_text())

    def test_let_the_calls_of_others_wait_in_order(self):
        other = self.client()
        report = other.create("Report")
        events = []
        waits = []

        def ask_meanwhile(title, text):
            events.append("asked")
            for number in range(3):
                waits.append(other.start_call(report.path, "org.freedesktop.DBus.Properties",
                                              "Set", "ssv", f"{NAME}.Report", "Title",
                                              variant("s", str(number))))
            # The bus has passed them on when it answers this.
            other.owner()
            events.append("answered")
            return False

        answering(self.asking, ask_meanwhile)
        self.assertIs(self.lock(), False)
        for wait in waits:
            wait()
        self.assertEqual(events, ["asked", "answered"])
        self.assertEqual(report.get("Title"), "2")

    def test_are_over_when_the_client_that_was_asked_vanishes(self):
        other = self.client()
        vanishing = subprocess.Popen(
            [sys.executable, "-B", "-c",
             VANISHING.format(folder=str(pathlib.Path(__file__).parent)), self.bus.address,
             self.record.path])
        self.assertEqual(vanishing.wait(), -signal.SIGKILL)
        self.assertEqual(other.create("Report").get("Title"), "")
        self.assertIn("gave no answer", self.log.read_text())
        self.assertIs(self.record.get("Locked"), False)

    def test_to_a_client_that_does_not_understand_them_are_answered_by_cancel(self):
        self.asking.automation.call("SetLockPrompt", "o", "/nothing/there")
        self.assertIs(self.lock(), False)
        self.assertIn("Answered: Cancel.", self.log.read_text())

    def test_refused_without_a_word_are_answered_by_cancel(self):
        def refuse(connection, message, incoming):
            if incoming and message.get_member() == "RetryOrCancel":
                refusal = Gio.DBusMessage.new_method_reply(message)
                refusal.set_message_type(Gio.DBusMessageType.ERROR)
                refusal.set_error_name("org.example.Error.No")
                connection.send_message(refusal, Gio.DBusSendMessageFlags.NONE)
                return None
            return message

        self.asking.connection.add_filter(refuse)
        self.asking.automation.call("SetLockPrompt", "o", "/prompt")
        self.assertIs(self.lock(), False)
        self.assertIn("gave no answer (org.example.Error.No)", self.log.read_text())

    def test_are_not_put_to_a_client_that_the_service_does_not_know(self):
        answering(self.asking, lambda title, text: self.fail("asked"))
        stranger = self.client()
        self.assertIs(stranger.call(self.record.path, self.record.interface, "LockRecord"), False)
        self.assertIn(f"{TITLE}: {TEXT} Answered: Cancel.", self.log.read_text())

    def test_are_not_put_to_a_client_that_took_its_offer_back(self):
        answering(self.asking, lambda title, text: self.fail("asked"))
        self.asking.automation.call("SetLockPrompt", "o", "/")
        self.assertIs(self.lock(), False)
        self.assertIn(f"{TITLE}: {TEXT} Answered: Cancel.", self.log.read_text())


class UnansweredQuestions(LockTest):
    switches = ("--question-timeout", "1")

    def test_are_answered_by_cancel_in_time(self):
        answering(self.asking, lambda title, text: None)
        self.assertIs(self.lock(), False)
        self.assertIn("gave no answer", self.log.read_text())


class Retries(LockTest):
    switches = ("--when-locked", "retry:1")

    def test_are_as_many_as_the_switch_says(self):
        self.assertIs(self.lock(), False)
        lines = [line.partition("Answered: ")[2] for line in self.log.read_text().splitlines()
                 if TITLE in line]
        self.assertEqual(lines, ["Retry (1 of 1).", "Cancel."])


if __name__ == "__main__":
    unittest.main()
