"""The sample clients: all three do the same, and say the same."""

import datetime
import os
import pathlib
import subprocess
import unittest

from private_bus import (PASSWORD, ROLE, Bus, BusTest, Client, described_interface, until,
                         variant)

CLIENTS = pathlib.Path(os.environ.get("TARNWICK_SAMPLE_CLIENTS", "."))
SAMPLES = {
    "Python": str(CLIENTS / "record_login.py"),
    "shell": str(CLIENTS / "record_login.sh"),
    "C++": os.environ.get("TARNWICK_SAMPLE_PROGRAM", ""),
}
PC = ("02-5A-00-00-00-02", "VEL-SAL-002", "10", "VELMAR\\\u00e4nne")


class SampleTest(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(10, "Order \u201eAnalysis\u201c"), (20, "Stock")])
        self.db.add_pcs([("02-5A-00-00-00-01", "VEL-SAL-001", 10),
                         ("02-5A-00-00-00-02", "VEL-SAL-002", 10),
                         ("02-5A-00-00-00-02", "VEL-SAL-002", 20)])
        self.password = self.folder / "password"
        self.password.write_text(PASSWORD + "\n")

    def run_sample(self, language, *arguments, role=ROLE):
        return subprocess.run(
            [SAMPLES[language], *arguments], capture_output=True, text=True, timeout=120,
            env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": self.bus.address, "TZ": "UTC-5:30",
                 "LC_ALL": "C.UTF-8", "TARNWICK_CONNECT": self.db.connect_string,
                 "TARNWICK_ROLE": role, "TARNWICK_PASSWORD_FILE": str(self.password)})

    def pcs(self):
        return self.db.run("SELECT ComputerID, CompID, TotalLogins, LastUser FROM DW_SEC_PC"
                           " ORDER BY MACNbr, CompID")


class Sample(SampleTest):
    def test_shows_the_pcs_and_records_a_login(self):
        for language in SAMPLES:
            with self.subTest(language):
                self.db.run("UPDATE DW_SEC_PC SET TotalLogins = 3, LastUser = 'anna',"
                            " LastLogin = NULL")
                result = self.run_sample(language, *PC)
                self.assertEqual(result.stderr, "")
                self.assertEqual(result.stdout,
                                 "Order \u201eAnalysis\u201c is used by:\n"
                                 "  VEL-SAL-001: 3 logins, last anna\n"
                                 "  VEL-SAL-002: 3 logins, last anna\n"
                                 "Now VEL-SAL-002: 4 logins, last VELMAR\\\u00e4nne\n")
                self.assertEqual(result.returncode, 0)
                self.assertEqual(self.pcs(), [("VEL-SAL-001", 10, 3, "anna"),
                                              ("VEL-SAL-002", 10, 4, "VELMAR\\\u00e4nne"),
                                              ("VEL-SAL-002", 20, 3, "anna")])
                (stored,), = self.db.run("SELECT LastLogin FROM DW_SEC_PC WHERE CompID = 10"
                                         " AND ComputerID = 'VEL-SAL-002'")
                local = datetime.timezone(datetime.timedelta(hours=5, minutes=30))
                now = datetime.datetime.now(local).replace(tzinfo=None)
                age = now - (datetime.datetime(1899, 12, 30) + datetime.timedelta(days=stored))
                self.assertLess(abs(age), datetime.timedelta(minutes=10))

    def test_reads_more_rows_than_one_page_has(self):
        self.db.add_pcs([(f"M{number:04}", f"PC{number:04}", 20) for number in range(1500)])
        lines = [f"  PC{number:04}: 3 logins, last anna" for number in range(1500)]
        for language in SAMPLES:
            with self.subTest(language):
                self.db.run("UPDATE DW_SEC_PC SET TotalLogins = 3, LastUser = 'anna'")
                result = self.run_sample(language, "M0007", "PC0007", "20", "bert")
                self.assertEqual(result.stdout.splitlines(),
                                 ["Stock is used by:", "  VEL-SAL-002: 3 logins, last anna",
                                  *lines, "Now PC0007: 4 logins, last bert"])

    def test_says_what_is_not_there(self):
        for language in SAMPLES:
            with self.subTest(language):
                result = self.run_sample(language, "M1", "nobody", "20", "eva")
                self.assertEqual(result.stdout,
                                 "Stock is used by:\n  VEL-SAL-002: 3 logins, last anna\n")
                self.assertEqual(result.stderr, "nobody is not registered for component 20.\n")
                self.assertEqual(result.returncode, 1)
                result = self.run_sample(language, "M1", "nobody", "77", "eva")
                self.assertEqual((result.stdout, result.stderr, result.returncode),
                                 ("", "There is no component 77.\n", 1))

    def test_tells_the_account_of_a_refused_connection(self):
        for language in SAMPLES:
            with self.subTest(language):
                result = self.run_sample(language, *PC, role="nobody")
                self.assertEqual(result.stdout, "")
                self.assertEqual(result.returncode, 1)
                lines = result.stderr.splitlines()
                self.assertEqual(lines[0], "The database cannot be opened.")
                self.assertIn("Error in Component: 'Server', Proceedure: 'SetConnection'.", lines)
                self.assertNotIn(PASSWORD, result.stderr)

    def test_needs_its_arguments(self):
        for language in SAMPLES:
            with self.subTest(language):
                result = self.run_sample(language, "M1")
                self.assertEqual((result.stdout, result.returncode), ("", 1))
                self.assertIn("Usage: record_login", result.stderr)

    def test_leaves_nothing_behind_in_the_service(self):
        client = self.client()
        for language in SAMPLES:
            with self.subTest(language):
                self.run_sample(language, *PC)
                until(lambda: not client.held_classes(), "the end of the objects")


class Guide(SampleTest):
    def test_begins_with_a_program_that_runs(self):
        text = (CLIENTS.parent.parent / "docs" / "dbus.md").read_text()
        program = text.partition("```python\n")[2].partition("```")[0]
        self.assertIn("SetConnection", program)
        for written, meant in (("/srv/dw", str(self.db.folder)), ("role", ROLE),
                               ("secret", PASSWORD)):
            self.assertEqual(program.count(f'"{written}"') + program.count(f"={written}"), 1)
            program = program.replace(written, meant)
        program += """
for name in ("Initialized", "LastErrorMsg"):
    print(server.Get(NAME + ".Server", name, dbus_interface=dbus.PROPERTIES_IFACE))
"""
        result = subprocess.run(
            ["/usr/bin/python3", "-c", program], capture_output=True, text=True, timeout=120,
            env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": self.bus.address})
        self.assertEqual((result.stdout, result.stderr), ("1\n\n", ""))

    def test_names_every_method_of_the_root_object(self):
        text = (CLIENTS.parent.parent / "docs" / "dbus.md").read_text()
        for method in described_interface("Automation").methods:
            self.assertIn(f"`{method.name}(", text)


class LockedRecord(SampleTest):
    def test_is_reported_with_its_account(self):
        folder = self.folder / "other"
        folder.mkdir()
        bus = Bus(folder)
        self.addCleanup(bus.close)
        service = subprocess.Popen([os.environ["TARNWICK_SERVER"], "--address", bus.address],
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(service.wait)
        self.addCleanup(service.terminate)
        holder = Client(bus.address)
        self.addCleanup(holder.close)
        until(lambda: holder.owner() is not None, "the other service")
        server = self.connected_server(holder, self.db)
        pcs = self.collection(server, "RegisteredPCs")
        # While it is held nobody can load the register anew, so the sample is given one that has
        # loaded it before.
        owner = self.client()
        ours = self.connected_server(owner, self.db)
        pc = pcs.at(pcs.call("Item", "v", variant("i", 2)), "RegisteredPC")
        self.assertIs(pc.call("LockRecord"), True)
        owner.automation.call("Share", "b", True)
        result = subprocess.run(
            [SAMPLES["shell"], *PC], capture_output=True, text=True, timeout=120,
            env={**os.environ, "DBUS_SESSION_BUS_ADDRESS": self.bus.address,
                 "LC_ALL": "C.UTF-8", "TARNWICK_SERVER_PATH": ours.path})
        self.assertEqual(result.returncode, 1)
        self.assertEqual(
            result.stderr.splitlines()[:3],
            ["VEL-SAL-002 cannot be locked.", "",
             "Error in Component: 'General', Proceedure: 'RefreshPC'."])
        self.assertEqual(self.pcs()[1], ("VEL-SAL-002", 10, 3, "anna"))


if __name__ == "__main__":
    unittest.main()
