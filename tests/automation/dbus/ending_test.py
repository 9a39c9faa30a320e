"""How the service ends when it is told to, whatever it is doing."""

import os
import signal
import subprocess
import unittest

from private_bus import PATIENCE, BusTest, until, variant

# A condition that stands in a statement as it is, and that no engine ever decides.
ENDLESS = ("x' Or 1 = (With Recursive n(i) As (Select 1 Union All Select i + 1 From n)"
           " Select Count(*) From n Where i < 0) Or 'a'='b")


class Ending(BusTest):
    """A service that is busy with the call of one client."""

    def all_switches(self):
        return (*super().all_switches(), "--trace", str(self.folder / "trace"))

    def keep_busy(self):
        db = self.database()
        db.add_reports([("Sales", "Old")])
        client = self.client()
        server = self.connected_server(client, db)
        reports = self.collection(server, "Reports")
        record = server.at(reports.call("Item", "v", variant("s", "Sales")), "Report")
        self.assertIs(record.call("LockRecord"), True)
        endless = client.create("Report")
        endless.set("Name", "s", ENDLESS)
        client.start_call(endless.path, endless.interface, "ExtractReport", "s",
                          str(self.folder / "out.rpt"))
        until(lambda: "Union All" in (self.folder / "trace").read_text(), "the endless statement")
        return db

    def stop_service(self):
        self.service.kill()
        self.service.wait()

    def expect_clean(self, db):
        """Nothing is left that keeps another process from the row that was locked."""
        self.service.wait(PATIENCE)
        self.start_service([self.service.args[0], *self.all_switches()])
        server = self.connected_server(self.client(), db)
        reports = self.collection(server, "Reports")
        record = server.at(reports.call("Item", "v", variant("s", "Sales")), "Report")
        self.assertEqual(record.get("SoftLock"), "")
        self.assertIs(record.call("LockRecord"), True)

    def test_comes_soon_though_a_statement_never_ends(self):
        db = self.keep_busy()
        self.service.send_signal(signal.SIGTERM)
        self.assertEqual(self.service.wait(PATIENCE), -signal.SIGTERM)
        self.assertIn("which took too long", self.log.read_text())
        self.expect_clean(db)

    def test_comes_at_once_when_it_is_told_a_second_time(self):
        db = self.keep_busy()
        self.service.send_signal(signal.SIGTERM)
        # A signal that is pending still is one with the next: another one tells it apart.
        self.service.send_signal(signal.SIGINT)
        self.assertIn(self.service.wait(PATIENCE), (-signal.SIGINT, -signal.SIGTERM))
        self.assertIn("since a second signal came", self.log.read_text())
        self.expect_clean(db)


class EndingOfAServiceWhoseLogNobodyReads(BusTest):
    def start_service(self, command):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        os.set_blocking(writing, False)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(writing, bytes(4096))
        os.set_blocking(writing, True)
        self.service = subprocess.Popen([*command, "--address", self.bus.address], stderr=writing)
        os.close(writing)
        self.addCleanup(self.stop_service)

    def stop_service(self):
        self.service.kill()
        self.service.wait()

    def test_comes_soon(self):
        client = self.client()
        until(lambda: client.owner() is not None, "the service")
        self.service.send_signal(signal.SIGTERM)
        self.assertEqual(self.service.wait(PATIENCE), -signal.SIGTERM)


class EndingWithoutABus(BusTest):
    def stop_service(self):
        self.service.wait(PATIENCE)

    def test_says_why(self):
        self.client().create("Report")
        self.bus.process.kill()
        self.assertEqual(self.service.wait(PATIENCE), 1)
        self.assertIn("Ending, since the connection to the bus failed", self.log.read_text())


class EndingWithoutWork(BusTest):
    def test_is_in_order(self):
        self.database()
        self.service.send_signal(signal.SIGTERM)
        self.assertEqual(self.service.wait(PATIENCE), 0)
        self.assertRegex(self.log.read_text(), "Ending\n$")


if __name__ == "__main__":
    unittest.main()
