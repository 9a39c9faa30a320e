"""Every call that the service makes of sd-bus fails once, while it starts and while a client works."""

import errno
import os
import pathlib
import random
import signal
import tempfile
import unittest

from private_bus import NAME, PASSWORD, PATIENCE, ROLE, ROOT, BusTest, Failed, variant

STEP = 41  # between the calls that are tried in one go
ERRORS = [errno.ENOMEM, errno.ENOBUFS, errno.ECONNRESET]
GOES = [(ERRORS[0], 1)]  # the error and the first call
if "TARNWICK_PROVE" in os.environ:  # in another order each time, since the time may not do for all
    GOES = [(error, first) for error in ERRORS for first in range(1, STEP + 1)]
    random.shuffle(GOES)
# A report of a sanitizer ends the service with this.
SANITIZER = 99


class Refused(Exception):
    """A call that was answered, and went wrong."""


class EveryCallOfTheBusFailsOnce(BusTest):
    REASON = r"\[critical\] .|since the connection to the bus failed"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.note = pathlib.Path(folder.name) / "struck"
        os.environ["TARNWICK_SERVER"] = os.environ["TARNWICK_FAULTY_SERVER"]
        options = os.environ.get("ASAN_OPTIONS", "")
        os.environ["ASAN_OPTIONS"] = f"{options}:exitcode={SANITIZER}"
        super().setUp()
        self.db = self.database()
        self.ended_by = set()  # the functions whose failure it did not outlive

    def fill(self):
        for table in ("DW_SEC_COMP", "DW_SEC_PC", "DW_Reports"):
            self.db.run(f"DELETE FROM {table}")
        self.db.add_components([(1, "Front office")])
        self.db.add_pcs([("00-AA", "PC1", 1), ("00-BB", "PC2", 1)])
        self.db.add_reports([("Sales", "Old"), ("Stock", "Old")])

    def stored(self):
        return (self.db.run("SELECT CompID, CompName FROM DW_SEC_COMP")
                + self.db.run("SELECT MACNbr, ComputerID, LastUser FROM DW_SEC_PC ORDER BY 1")
                + self.db.run("SELECT ReportName, Title, Author, Version FROM DW_Reports"
                              " ORDER BY 1"))

    def maintain(self, client):
        """What a client does in a day: all of it can be done once more."""
        def well(result, expected=True):
            if result != expected:
                raise Refused(server.get("LastErrorMsg"))

        server = client.create("Server")
        well(server.call("SetConnection", "sss", self.db.connect_string, ROLE, PASSWORD))
        well(server.call("Refresh"))
        reports = self.collection(server, "Reports")
        reports.at(reports.path, "Rows").call("GetRows", "uu", 1, 10)
        report = client.create("Report")
        report.set("Name", "s", "Sales")
        well(report.call("LockRecord"))
        report.get_all()
        report.set("Title", "s", "New")
        well(report.call("Update", "s", ""), 0)
        pcs = self.collection(server, "RegisteredPCs")
        pc = pcs.at(pcs.call("Item", "v", variant("s", "00-AA\u00fePC1\u00fe1")), "RegisteredPC")
        well(pc.call("LockRecord"))
        well(pc.call("ReleaseRecord"))
        client.automation.call("FindPCs", "s", "PC1")
        client.automation.call("ReportFiles")
        client.introspect(ROOT)
        client.call(ROOT, f"{NAME}.LastCause", "GetLastCause")
        client.release(report)

    def end(self):
        """Ends the service, if it runs; it has never to be ended by a crash."""
        if self.service.poll() is None:
            self.service.send_signal(signal.SIGTERM)
        code = self.service.wait(PATIENCE)
        self.assertIn(code, (0, 1), self.log.read_text())
        return code

    def stop_service(self):
        self.end()

    def start(self, nth=0, error=0):
        self.note.unlink(missing_ok=True)
        os.environ.update(TARNWICK_FAILING_CALL=str(nth), TARNWICK_FAILING_ERROR=str(error),
                          TARNWICK_FAILING_NOTE=str(self.note))
        self.start_service([os.environ["TARNWICK_SERVER"], *self.all_switches()])

    def work(self):
        client = self.client()
        try:
            self.maintain(client)
            return True
        except (Failed, Refused):
            return False
        finally:
            client.close()

    def attempt(self, nth, error, before, after):
        """The name of the function that failed, or None."""
        self.fill()
        self.start(nth, error)
        went_well = self.service.poll() is None and self.work()
        now = self.stored()
        self.assertIn(now, (before, after))
        if went_well:
            self.assertEqual(now, after)
        if not self.note.exists():
            self.end()
            return None
        struck = self.note.read_text()
        # One that has answered may be about to end.
        if not self.work():
            self.assertEqual(self.service.wait(PATIENCE), 1, f"{struck}: {self.log.read_text()}")
            self.assertRegex(self.log.read_text().splitlines()[-1], self.REASON)
            self.ended_by.add(struck)
            self.start()
            self.assertTrue(self.work(), struck)
        self.assertEqual(self.stored(), after)
        self.end()
        return struck

    def test_and_the_service_answers_or_ends_in_order(self):
        self.end()
        self.fill()
        before = self.stored()
        self.start()
        self.assertTrue(self.work())
        after = self.stored()
        self.assertNotEqual(before, after)
        self.end()
        everything, functions = 0, set()
        for error, nth in GOES:
            tried = 0
            while True:
                with self.subTest(call=nth, error=errno.errorcode[error]):
                    struck = None
                    struck = self.attempt(nth, error, before, after)
                if struck is None:
                    break
                tried += 1
                functions.add(struck)
                nth += STEP
            everything += tried
            print(f"tried {tried}", flush=True)  # counts, even where the time is up before the end
        self.assertGreater(everything, 5)
        print(f"failed: {len(functions)} functions; the service ended at {sorted(self.ended_by)}",
              flush=True)


if __name__ == "__main__":
    unittest.main()
