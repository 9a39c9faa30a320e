"""How the service begins and ends."""

import os
import signal
import subprocess
import threading
import time
import unittest

from private_bus import (NAME, ROOT, UNKNOWN_OBJECT, Bus, BusTest, Client, own_error, until)


# Owned by the one process that may serve the bus.
INSTANCE = f"{NAME}.Instance"


def is_running(pid):
    try:
        with open(f"/proc/{pid}/stat", encoding="utf-8") as stat:
            return stat.read().rpartition(")")[2].split()[0] != "Z"
    except FileNotFoundError:
        return False


class OnDemand(BusTest):
    activation = True
    switches = ("--idle", "0")

    def test_the_service_comes_with_the_first_request_and_goes_with_the_last_object(self):
        client = self.client()
        self.assertIsNone(client.owner())
        report = client.create("Report")
        pid = client.service_pid()
        other = client.create("Report")
        client.release(report)
        self.assertEqual(other.get("Title"), "")
        self.assertEqual(client.service_pid(), pid)
        client.release(other)
        until(lambda: not is_running(pid), "the end of the service")
        self.assertIsNone(client.owner())
        # Begins anew, and what an earlier process handed out is unknown to it.
        again = client.create("Report")
        self.assertNotEqual(client.service_pid(), pid)
        self.assert_fails(UNKNOWN_OBJECT, client.call, other.path, f"{NAME}.Report", "Refresh")
        self.assertNotEqual(again.path, report.path)

    def test_the_service_goes_when_the_last_client_left(self):
        client, other = self.client(), self.client()
        client.create("Report")
        pid = other.service_pid()
        client.close()
        until(lambda: not is_running(pid), "the end of the service")

    def test_the_service_stays_for_a_client_that_answers_questions(self):
        client = self.client()
        client.automation.call("SetLockPrompt", "o", "/prompt")
        pid = client.service_pid()
        client.release(client.create("Report"))
        self.assertEqual(client.service_pid(), pid)
        client.automation.call("SetLockPrompt", "o", "/")
        until(lambda: not is_running(pid), "the end of the service")

    def test_no_request_is_lost_between_one_process_and_the_next(self):
        failures = []
        processes = set()
        # Time and again nobody holds anything, and everybody comes back at once.
        nothing_held = threading.Barrier(3)

        def work():
            try:
                client = Client(self.bus.address)
                for turn in range(150):
                    report = client.create("Report")
                    report.set("Title", "s", "kept")
                    if report.get("Title") != "kept":
                        failures.append("lost a property")
                    processes.add(report.path.rpartition("/")[2].partition("_")[0])
                    client.release(report)
                    nothing_held.wait(60)
                    # To meet the service at every point of its way out.
                    time.sleep(turn % 10 * 0.001)
                client.close()
            except Exception as error:  # noqa: BLE001 - whatever it is, the test has failed
                failures.append(error)
                nothing_held.abort()

        threads = [threading.Thread(target=work) for _ in range(3)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])
        # It did end in between, or nothing was tried.
        self.assertGreater(len(processes), 10)

    def test_generic_tools_start_it_too(self):
        output = subprocess.run(["busctl", f"--address={self.bus.address}", "introspect", NAME,
                                 ROOT], check=True, capture_output=True, text=True).stdout
        self.assertIn("CreateObject", output)


class ByHand(BusTest):
    switches = ("--idle", "0")

    def test_the_service_waits_for_its_first_client_and_ends_after_the_last(self):
        client = self.client()
        self.assertIsNone(self.service.poll())
        client.release(client.create("Report"))
        self.assertEqual(self.service.wait(60), 0)

    def test_a_second_process_leaves_the_bus_to_the_first(self):
        client = self.client()
        report = client.create("Report")
        second = subprocess.run([os.environ["TARNWICK_SERVER"], "--address", self.bus.address],
                                capture_output=True, text=True, timeout=60)
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertIn("Another process serves this bus", second.stderr)
        self.assertEqual(report.get("Title"), "")

    def start_beside_one_that_leaves(self):
        """A process that finds another one that owns the bus, but does not serve it any more."""
        folder = self.folder / "beside"
        folder.mkdir()
        bus = Bus(folder)
        self.addCleanup(bus.close)
        leaving = Client(bus.address)
        self.addCleanup(leaving.close)

        def call(member, signature, *arguments):
            return leaving.call("/org/freedesktop/DBus", "org.freedesktop.DBus", member, signature,
                                *arguments, destination="org.freedesktop.DBus")

        call("RequestName", "su", INSTANCE, 0)
        service = subprocess.Popen([os.environ["TARNWICK_SERVER"], "--address", bus.address],
                                   stderr=subprocess.PIPE, text=True)
        self.addCleanup(service.stderr.close)
        self.addCleanup(service.wait)
        self.addCleanup(service.kill)
        until(lambda: len(call("ListQueuedOwners", "s", INSTANCE)) == 2, "the process that waits")
        # What concerns others does not concern it.
        call("RequestName", "su", "org.example.Other", 0)
        call("ReleaseName", "s", "org.example.Other")
        return leaving, service, call

    def test_a_process_waits_for_one_that_leaves_and_takes_its_place(self):
        leaving, service, call = self.start_beside_one_that_leaves()
        self.assertIsNone(leaving.owner())
        call("ReleaseName", "s", INSTANCE)
        until(lambda: leaving.owner() is not None, "the service")
        self.assertEqual(leaving.create("Report").get("Title"), "")
        service.send_signal(signal.SIGTERM)
        self.assertEqual(service.wait(60), 0)

    def test_a_process_that_waits_goes_where_the_other_one_serves_the_bus_again(self):
        _, service, call = self.start_beside_one_that_leaves()
        call("RequestName", "su", NAME, 0)
        self.assertEqual(service.wait(60), 0)
        self.assertIn("Another process serves this bus", service.stderr.read())

    def test_a_process_ends_in_order_when_told_to(self):
        client = self.client()
        client.create("Server")
        self.service.send_signal(signal.SIGINT)
        self.assertEqual(self.service.wait(60), 0)
        self.assertIsNone(client.owner())


class Switches(unittest.TestCase):
    def run_server(self, *arguments):
        return subprocess.run([os.environ["TARNWICK_SERVER"], *arguments], capture_output=True,
                              text=True, timeout=60)

    def test_that_make_no_sense_are_refused(self):
        for arguments in (("--when-locked", "maybe"), ("--when-locked", "retry:0"),
                          ("--idle", "soon"), ("--question-timeout", "-1"),
                          ("--most-objects", "0"), ("--most-memory", "0"), ("--folder", "/nowhere/at/all"),
                          ("--system", "--address", "unix:path=/x"), ("--unknown",), ("extra",)):
            result = self.run_server(*arguments)
            self.assertNotEqual(result.returncode, 0, arguments)
            self.assertNotEqual(result.stderr, "", arguments)

    def test_help_tells_them_all(self):
        help_text = self.run_server("--help").stdout
        for switch in ("--system", "--address", "--when-locked", "--question-timeout", "--folder",
                       "--trace", "--most-objects", "--most-memory", "--idle"):
            self.assertIn(switch, help_text)

    def test_a_bus_or_a_trace_that_cannot_be_had_is_told(self):
        result = self.run_server("--address", "unix:path=/nowhere/at/all")
        self.assertEqual(result.returncode, 1)
        self.assertIn("opening the bus: No such file or directory", result.stderr)
        result = self.run_server("--trace", "/nowhere/at/all")
        self.assertEqual(result.returncode, 1)
        self.assertIn("/nowhere/at/all", result.stderr)


class Traces(BusTest):
    def all_switches(self):
        return (*super().all_switches(), "--trace", str(self.folder / "trace"))

    def test_and_logs_hold_statements_but_no_password(self):
        server = self.connected_server(self.client(), self.database())
        server.call("SetConnection", "sss", self.folder.name, "Maintainer", "pass'word-2")
        trace = (self.folder / "trace").read_text()
        self.assertIn("Execute EXEC sp_setapprole 'Maintainer','***'", trace)
        self.assertIn("Order By CompID", trace)
        for text in (trace, self.log.read_text(), server.get("LastErrorMsg")):
            self.assertNotIn("sesame", text)
            self.assertNotIn("word-2", text)

    def test_and_accounts_hold_no_password_of_a_connection_string(self):
        server = self.client().create("Server")
        for items in ("Password=word-3", "PWD=word-3", "password = 'word-3'",
                      "Extended Properties=\"PWD=word-3\"", "Password=word-3;Nonsense"):
            for provider in ("Provider=Tarnwick.Embedded;Data Source=/x;",
                             "Provider=MSDASQL;Driver={none};", "Provider=none;", ""):
                self.assertIs(server.call("SetConnection", "sss", provider + items, "role", "x"),
                              False, provider + items)
                self.assertNotIn("word-3", str(server.get_all()), provider + items)
        for text in ((self.folder / "trace").read_text(), self.log.read_text()):
            self.assertNotIn("word-3", text)


if __name__ == "__main__":
    unittest.main()
