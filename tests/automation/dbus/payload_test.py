"""What a large report file costs on its way into the database and back."""

import os
import pathlib
import unittest

from private_bus import BusTest, variant

MEGABYTE = 1 << 20
SIZE = 64 * MEGABYTE
# The file's bytes; the rest is for all else.
MOST = SIZE + 24 * MEGABYTE
OK, RECORD_CHANGED = 0, 5


class LargeReportFiles(BusTest):
    def setUp(self):
        super().setUp()
        self.need_true_memory()
        self.db = self.database()
        self.db.add_reports([("Sales", "Old")])
        self.file = self.folder / "in.rpt"
        self.file.write_bytes(os.urandom(MEGABYTE) * 64)
        self.one = self.client()
        self.server = self.connected_server(self.one, self.db)

    def memory(self, which):
        status = pathlib.Path(f"/proc/{self.service.pid}/status").read_text()
        line = next(line for line in status.splitlines() if line.startswith(f"{which}:"))
        return int(line.split()[1]) * 1024

    def cost_of(self, call):
        """How much memory the service needs more while it carries out `call`."""
        pathlib.Path(f"/proc/{self.service.pid}/clear_refs").write_text("5")  # the peak begins anew
        before = self.memory("VmRSS")
        call()
        return self.memory("VmHWM") - before

    def store(self, name):
        report = self.one.create("Report")
        report.set("Name", "s", name)
        self.assertEqual(report.call("Update", "s", str(self.file)), OK)
        return report

    def stored(self, name):
        return self.db.run("SELECT Report_Binary = ?, RowVersion = (SELECT Version FROM"
                           " DW_ROW_VERSION), Title FROM DW_Reports WHERE ReportName = ?",
                           self.file.read_bytes(), name)[0]

    def test_are_held_once_on_their_way_into_a_row_that_is_there(self):
        self.assertLess(self.cost_of(lambda: self.store("Sales")), MOST)
        self.assertEqual(self.stored("Sales")[:2], (1, 1))

    def test_are_held_once_on_their_way_into_a_new_row(self):
        self.assertLess(self.cost_of(lambda: self.store("New")), MOST)
        self.assertEqual(self.stored("New")[:2], (1, 1))

    def test_are_held_with_the_one_that_they_take_the_place_of(self):
        self.store("Sales")
        self.assertLess(self.cost_of(lambda: self.store("Sales")), MOST + SIZE)
        self.assertEqual(self.stored("Sales")[:2], (1, 1))

    def test_are_held_once_on_their_way_to_a_file(self):
        report = self.store("Sales")
        target = self.folder / "out.rpt"
        self.assertLess(self.cost_of(lambda: report.call("ExtractReport", "s", str(target))), MOST)
        self.assertEqual(target.read_bytes(), self.file.read_bytes())

    def test_give_their_row_another_version(self):
        reports = self.collection(self.server, "Reports")
        loaded = self.server.at(reports.call("Item", "v", variant("s", "Sales")), "Report")
        self.store("Sales")
        loaded.set("Title", "s", "Mine")
        self.assertEqual(loaded.call("Update", "s", ""), RECORD_CHANGED)
        loaded.call("ReleaseRecord")
        self.store("Sales")
        versions = self.db.run("SELECT count(*), count(DISTINCT RowVersion) FROM DW_Reports")
        self.assertEqual(versions, [(1, 1)])


if __name__ == "__main__":
    unittest.main()
