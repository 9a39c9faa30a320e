"""What a client is told of the cause of its last failure, and how records are inserted."""

import unittest

from locks_test import LockTest
from private_bus import NAME, ROOT, BusTest, own_error, variant

NONE, OTHER, LOCK_TIMEOUT, _, _, _, _, CHANGED, REFUSED = range(9)
OK, ERROR, _, MISSING_FILE, _, RECORD_CHANGED = range(6)
USER_DEFINED = -2147221504
COMMAND_ERROR = -2147217900
UNSPECIFIED = -2147467259


def last_cause(client):
    return client.call(ROOT, f"{NAME}.LastCause", "GetLastCause")


def clear(client):
    client.call(ROOT, f"{NAME}.LastCause", "ClearLastCause")


class TheLastCause(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_reports([("Sales", "Old")])
        self.one = self.client()
        self.server = self.connected_server(self.one, self.db)

    def report(self, client, name="Sales"):
        report = client.create("Report")
        report.set("Name", "s", name)
        return report

    def fail(self, client):
        """A statement that the engine refuses; Refresh of a report always is one."""
        self.assertIs(self.report(client).call("Refresh"), False)

    def test_is_nothing_before_the_first_failure(self):
        self.assertEqual(last_cause(self.one), (NONE, 0, 0, "", False))
        self.assertEqual(last_cause(self.client()), (NONE, 0, 0, "", False))

    def test_is_the_one_of_the_client_that_asks(self):
        other = self.client()
        self.fail(self.one)
        kind, number, native, text, unknown = last_cause(self.one)
        self.assertEqual((kind, number, unknown), (REFUSED, COMMAND_ERROR, False))
        self.assertNotEqual(native, 0)
        self.assertIn("syntax error", text)
        self.assertEqual(last_cause(other), (NONE, 0, 0, "", False))
        self.assertIs(self.report(other).call("ImportTTX", "s", "/none"), False)
        self.assertEqual(last_cause(other),
                         (REFUSED, USER_DEFINED, 0, "The File '/none' doesn't exist!", False))
        self.assertEqual(last_cause(self.one)[1], COMMAND_ERROR)

    def test_is_kept_by_calls_that_go_well_until_it_is_cleared(self):
        self.fail(self.one)
        self.assertEqual(self.server.get("LastErrorNumber"), COMMAND_ERROR)
        self.assertIs(self.server.call("Refresh"), True)
        self.assertEqual(last_cause(self.one)[1], COMMAND_ERROR)
        clear(self.one)
        self.assertEqual(last_cause(self.one), (NONE, 0, 0, "", False))
        clear(self.client())

    def test_goes_with_the_client(self):
        leaving = self.client()
        self.fail(leaving)
        leaving.close()
        self.assertEqual(last_cause(self.client()), (NONE, 0, 0, "", False))

    def test_of_an_engine_is_in_the_log_in_one_line(self):
        # A name that the engine complains of with its line break.
        report = self.report(self.one, "' '\nz''w")
        self.assertIs(report.call("ExtractReport", "s", str(self.folder / "x.rpt")), False)
        self.assertIn("\n", last_cause(self.one)[3])
        log = self.log.read_text()
        self.assertIn(f"[warning] A call of {self.one.name} failed: {COMMAND_ERROR} (1): ", log)
        self.assertIn("syntax error", log)
        self.assertTrue(all(line.startswith("[") for line in log.splitlines()), log)

    def test_of_the_object_model_is_not_in_the_log(self):
        self.assertIs(self.report(self.one).call("ImportTTX", "s", "/none"), False)
        self.assertNotIn("/none", self.log.read_text())

    def test_of_a_refused_role_bears_no_password(self):
        server = self.one.create("Server")
        self.assertIs(server.call("SetConnection", "sss", self.db.connect_string, "Maintainer",
                                  "wrong-secret"), False)
        cause = last_cause(self.one)
        self.assertNotEqual(cause[0], NONE)
        self.assertNotIn("wrong-secret", cause[3])
        self.assertNotIn("wrong-secret", self.log.read_text())


class TheLastCauseOfALockedRow(LockTest):
    switches = ("--when-locked", "cancel")

    def test_is_the_lock(self):
        self.assertIs(self.lock(), False)
        kind, number, native, _, unknown = last_cause(self.asking)
        self.assertEqual((kind, number, native, unknown), (LOCK_TIMEOUT, UNSPECIFIED, 1222, False))


class Insertion(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_reports([("Sales", "Old")])
        self.db.add_components([(1, "One")])
        self.db.add_pcs([("00", "A", 1)])
        self.one = self.client()
        self.server = self.connected_server(self.one, self.db)

    def insert(self, record, file=""):
        return self.one.call(record.path, f"{NAME}.Record", "Insert", "s", file)

    def new(self, class_name, **properties):
        record = self.one.create(class_name)
        for name, (signature, value) in properties.items():
            record.set(name, signature, value)
        return record

    def test_of_a_new_report_stores_its_file_too(self):
        file = self.folder / "new.rpt"
        file.write_bytes(b"content")
        self.assertEqual(self.insert(self.new("Report", Name=("s", "New")), str(file)), OK)
        self.assertEqual(self.db.run("SELECT Report_Binary FROM DW_Reports WHERE ReportName='New'"),
                         [(b"content",)])
        self.assertEqual(self.insert(self.new("Report", Name=("s", "Newer")), "/none"), MISSING_FILE)

    def test_of_a_row_that_is_there_is_refused_and_writes_nothing(self):
        report = self.new("Report", Name=("s", "Sales"), Title=("s", "New"))
        self.assertEqual(self.insert(report), RECORD_CHANGED)
        self.assertEqual(last_cause(self.one)[0], CHANGED)
        self.assertIs(report.get("Locked"), True)
        report.call("ReleaseRecord")
        self.assertEqual(self.db.run("SELECT Title FROM DW_Reports"), [("Old",)])

    def test_that_was_refused_ends_its_lock_with_the_client(self):
        other = self.client()
        report = other.create("Report")
        report.set("Name", "s", "Sales")
        self.assertEqual(other.call(report.path, f"{NAME}.Record", "Insert", "s", ""),
                         RECORD_CHANGED)
        other.close()
        mine = self.new("Report", Name=("s", "Sales"))
        self.assertIs(mine.call("LockRecord"), True)

    def test_is_for_components_and_pcs_too(self):
        components = self.collection(self.server, "Components")
        found = self.server.at(components.call("Item", "v", variant("s", "C1")), "Component")
        self.assertEqual(self.insert(found), RECORD_CHANGED)
        found.call("ReleaseRecord")
        for record in (found, self.one.create("RegisteredPC")):
            text = self.assert_fails(own_error("InvalidProcedureCall"), self.insert, record, "/file")
            self.assertIn("Run-time error 5", text)

    def test_is_no_member_of_collections(self):
        reports = self.collection(self.server, "Reports")
        self.assert_fails("org.freedesktop.DBus.Error.UnknownMethod", self.insert, reports)


if __name__ == "__main__":
    unittest.main()
