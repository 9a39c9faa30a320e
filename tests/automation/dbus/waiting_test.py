"""What becomes of calls that wait while another one is carried out."""

import os
import pathlib
import threading
import unittest

from locks_test import LockTest, answering
from private_bus import NAME, ROOT, BusTest, Client, Failed, Gio, GLib, until

PROPERTIES = "org.freedesktop.DBus.Properties"
MEGABYTE = 1 << 20


class WhileAQuestionIsOpen(LockTest):
    """The question stays open until the test has done what it wants to do meanwhile."""

    def setUp(self):
        super().setUp()
        self.report = self.asking.create("Report")

    def lock_and_meanwhile(self, meanwhile):
        asked, done = threading.Event(), threading.Event()

        def answer(_title, _text):
            asked.set()
            done.wait()
            return False

        failures = []

        def run():
            try:
                asked.wait()
                meanwhile()
            except BaseException as failure:
                failures.append(failure)
            finally:
                done.set()

        answering(self.asking, answer)
        other = threading.Thread(target=run)
        other.start()
        self.assertIs(self.lock(), False)
        other.join()
        for failure in failures:
            raise failure

    def set_title(self, client, title):
        """Sends a call without waiting for its answer."""
        message = Gio.DBusMessage.new_method_call(NAME, self.report.path, PROPERTIES, "Set")
        message.set_body(GLib.Variant("(ssv)", (f"{NAME}.Report", "Title",
                                                GLib.Variant("s", title))))
        client.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)

    def test_calls_of_a_client_that_leaves_are_not_carried_out(self):
        self.report.set("Title", "s", "as it was")
        watching = self.client()

        def leave_behind():
            leaving = Client(self.bus.address)
            for number in range(100):
                self.set_title(leaving, f"title {number}")
            leaving.connection.flush_sync()
            leaving.close()
            until(lambda: watching.owner(leaving.name) is None, "the client to leave")

        self.lock_and_meanwhile(leave_behind)
        self.assertEqual(self.report.get("Title"), "as it was")

    def test_calls_of_a_client_that_stays_are_carried_out_in_order(self):
        other = self.client()

        def call():
            for number in range(100):
                self.set_title(other, f"title {number}")
            other.connection.flush_sync()

        self.lock_and_meanwhile(call)
        until(lambda: self.report.get("Title") == "title 99", "the last call")

    def test_the_service_does_not_take_what_waits(self):
        self.need_true_memory()
        other = self.client()
        before = self.memory("VmRSS")

        def pile_up():
            for _ in range(100):
                self.set_title(other, "x" * MEGABYTE)
            self.set_title(other, "last")
            # The bus has it all, before it has the answer to the question.
            self.assertIsNotNone(other.owner())

        self.lock_and_meanwhile(pile_up)
        until(lambda: self.report.get("Title") == "last", "the last call")
        self.assertLess(self.memory("VmHWM") - before, 50 * MEGABYTE)

    def memory(self, which):
        status = pathlib.Path(f"/proc/{self.service.pid}/status").read_text()
        line = next(line for line in status.splitlines() if line.startswith(f"{which}:"))
        return int(line.split()[1]) * 1024


class Files(BusTest):
    def test_are_not_passed(self):
        client = self.client()
        open_before = len(os.listdir(f"/proc/{self.service.pid}/fd"))
        files = Gio.UnixFDList.new()
        files.append(0)
        message = Gio.DBusMessage.new_method_call(NAME, ROOT, f"{NAME}.Automation", "CreateObject")
        message.set_body(GLib.Variant("(h)", (0,)))
        message.set_unix_fd_list(files)
        reply, _ = client.connection.send_message_with_reply_sync(
            message, Gio.DBusSendMessageFlags.NONE, 60000, None)
        self.assertEqual(reply.get_error_name(), "org.freedesktop.DBus.Error.NotSupported")
        self.assertEqual(len(os.listdir(f"/proc/{self.service.pid}/fd")), open_before)


if __name__ == "__main__":
    unittest.main()
