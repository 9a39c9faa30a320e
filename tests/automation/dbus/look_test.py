"""How a client sees a record without locking it, and how large the report files are."""

import unittest

from private_bus import NAME, BusTest, own_error

MISSING, LOADED, FAILED = 0, 1, 3


class Look(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_reports([("Sales", "Old"), ("Stock", "Old")])

    def report(self, client, name):
        report = client.create("Report")
        report.set("Name", "s", name)
        return report

    def look(self, report):
        return report.client.call(report.path, f"{NAME}.Record", "Look")

    def test_loads_the_record_and_locks_nothing(self):
        client = self.client()
        self.connected_server(client, self.db)
        report = self.report(client, "sales")
        self.assertEqual(self.look(report), (LOADED, False, "", 0))
        self.assertEqual((report.get("Name"), report.get("Title")), ("Sales", "Old"))
        self.assertIs(report.get("Locked"), False)
        self.assertEqual(self.look(self.report(client, "None"))[0], MISSING)

    def test_tells_who_maintains_the_row(self):
        client = self.client()
        self.connected_server(client, self.db)
        holder = self.report(client, "Sales")
        self.assertIs(holder.call("LockRecord"), True)
        outcome, held, stamp, process = self.look(self.report(self.client(), "Sales"))
        self.assertEqual((outcome, held, process), (LOADED, True, self.service.pid))
        self.assertRegex(stamp, "^.+ - [0-9/]+ ")

    def test_leaves_an_account_where_it_fails(self):
        report = self.report(self.client(), "Sales")
        self.assertEqual(self.look(report), (FAILED, False, "", 0))
        self.assertIn("Look", report.get("LastErrorMsg"))


class ReportFiles(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_reports([("Sales", "Old"), ("Stock", "Old")])

    def test_are_told_with_their_lengths(self):
        client = self.client()
        self.connected_server(client, self.db)
        self.assertEqual(client.automation.call("ReportFiles"), [])
        self.db.run("UPDATE DW_Reports SET Report_Binary = zeroblob(70000) "
                    "WHERE ReportName = 'Stock'")
        self.assertEqual(client.automation.call("ReportFiles"), [("Stock", 70000)])

    def test_are_not_told_without_a_connection(self):
        self.assert_fails(own_error("ObjectNotSet"), self.client().automation.call, "ReportFiles")


if __name__ == "__main__":
    unittest.main()
