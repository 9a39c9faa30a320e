"""How long objects live, and what clients do to one another."""

import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

from private_bus import (NAME, PASSWORD, ROLE, ROOT, UNKNOWN_OBJECT, Bus, BusTest, Client, Failed,
                         Gio, GLib, Object, own_error, until, variant)

# A client in a process of its own: locks the row of component 7 and says so, then waits.
HOLDER = """
import sys
sys.path.insert(0, {folder!r})
from private_bus import ROLE, PASSWORD, Client, variant
client = Client(sys.argv[1])
server = client.create("Server")
assert server.call("SetConnection", "sss", sys.argv[2], ROLE, PASSWORD)
assert server.call("Refresh")
components = server.at(server.get("Components"), "Components")
component = server.at(components.call("Item", "v", variant("s", "C7")), "Component")
assert component.call("LockRecord"), component.get("LastErrorMsg")
print(component.path, flush=True)
sys.stdin.read()
"""

# A client in a process of its own: locks the row of an object that others hold, then waits.
LOCKER = """
import sys
sys.path.insert(0, {folder!r})
from private_bus import Client, Object, variant
client = Client(sys.argv[1])
assert Object(client, sys.argv[2], "Component").call("LockRecord")
print("locked", flush=True)
sys.stdin.read()
"""


class Objects(BusTest):
    def test_live_while_any_client_holds_them(self):
        first, second = self.client(), self.client()
        self.connected_server(first, self.database_with_rows())
        server_of_second = second.create("Server")
        self.assertTrue(server_of_second.call("Refresh"))
        components = server_of_second.at(server_of_second.get("Components"), "Components")
        path = components.call("Item", "v", variant("s", "C7"))
        theirs = self.collection(server_of_second, "Components")
        ours = first.automation
        self.assertEqual(theirs.path, components.path)
        # The other client may use the object, and holds it once it was handed it itself.
        self.assertEqual(first.call(path, f"{NAME}.Component", "Refresh"), False)
        self.assert_fails(own_error("NotHeld"), ours.call, "Release", "o", path)
        self.assertEqual(first.call(components.path, f"{NAME}.Components", "Item", "v",
                                    variant("i", 2)), path)
        second.automation.call("Release", "o", path)
        self.assertEqual(first.call(path, f"{NAME}.Component", "Refresh"), False)
        first.automation.call("Release", "o", path)
        for client in (first, second):
            text = self.assert_fails(UNKNOWN_OBJECT, client.call, path, f"{NAME}.Component",
                                     "Refresh")
            self.assertEqual(text, f"Unknown object '{path}'.")
            self.assert_fails(UNKNOWN_OBJECT, client.automation.call, "Release", "o", path)

    def database_with_rows(self):
        database = self.database()
        database.add_components([(1, "One"), (7, "Seven")])
        database.add_pcs([("M1", "A", 7)])
        database.add_reports([("Alpha", "First")])
        return database

    def test_have_one_path_for_as_long_as_they_are_held_and_never_again(self):
        client = self.client()
        server = self.connected_server(client, self.database_with_rows())
        components = self.collection(server, "Components")
        paths = {components.call("Item", "v", variant("i", 1)) for _ in range(3)}
        paths |= {components.call("NewEnum")[0]}
        self.assertEqual(len(paths), 1)
        # Handed out four times, given up once.
        client.automation.call("Release", "o", paths.copy().pop())
        again = components.call("Item", "v", variant("i", 1))
        self.assertNotIn(again, paths)

    def test_that_were_fetched_before_a_reload_stay_what_they_were(self):
        client = self.client()
        database = self.database_with_rows()
        server = self.connected_server(client, database)
        components = self.collection(server, "Components")
        old = server.at(components.call("Item", "v", variant("i", 1)), "Component")
        database.run("UPDATE DW_SEC_COMP SET CompName = 'Uno' WHERE CompID = 1")
        self.assertTrue(components.call("Refresh"))
        new = server.at(components.call("Item", "v", variant("i", 1)), "Component")
        self.assertNotEqual(old.path, new.path)
        self.assertEqual(old.get("Name"), "One")
        self.assertEqual(new.get("Name"), "Uno")

    def test_of_a_client_end_when_it_leaves_the_bus(self):
        client, other = self.client(), self.client()
        server = client.create("Server")
        reports = self.collection(server, "Reports")
        self.assertEqual(other.call(reports.path, f"{NAME}.Reports", "NewEnum"), [])
        client.close()
        until(lambda: not other.held_classes(), "the end of the objects")
        self.assert_fails(UNKNOWN_OBJECT, other.call, server.path, f"{NAME}.Server", "Refresh")

    def test_of_a_client_that_was_killed_end_and_their_locks_with_them(self):
        database = self.database_with_rows()
        holder = subprocess.Popen(
            [sys.executable, "-B", "-c",
             HOLDER.format(folder=str(pathlib.Path(__file__).parent)), self.bus.address,
             database.connect_string],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(holder.stdin.close)
        self.addCleanup(holder.stdout.close)
        path = holder.stdout.readline().strip()
        other = self.client()
        self.assertIs(other.call(path, "org.freedesktop.DBus.Properties", "Get", "ss",
                                 f"{NAME}.Component", "Locked"), True)
        locked = [row for row in database.run("SELECT SoftLock FROM DW_SEC_COMP") if row[0]]
        self.assertEqual(locked, [])  # the stamp is not committed
        os.kill(holder.pid, signal.SIGKILL)
        holder.wait()
        until(lambda: not other.held_classes(), "the end of the objects")
        # Another process, to which nothing of this one is known but the file.
        with tempfile.TemporaryDirectory() as folder:
            bus = Bus(folder)
            self.addCleanup(bus.close)
            with open(self.log, "a", encoding="utf-8") as log:
                service = subprocess.Popen([os.environ["TARNWICK_SERVER"], "--address",
                                            bus.address], stderr=log)
            client = Client(bus.address)
            until(lambda: client.owner() is not None, "the second service")
            server = self.connected_server(client, database)
            components = self.collection(server, "Components")
            component = server.at(components.call("Item", "v", variant("s", "C7")), "Component")
            self.assertIs(component.call("LockRecord"), True)
            self.assertIs(component.call("ReleaseRecord"), True)
            service.terminate()
            self.assertEqual(service.wait(), 0)
            client.close()

    def test_of_a_client_that_left_before_its_call_was_read_are_not_kept(self):
        other = self.client()
        for _ in range(50):
            hasty = Client(self.bus.address)
            message = Gio.DBusMessage.new_method_call(NAME, ROOT, f"{NAME}.Automation",
                                                      "CreateObject")
            message.set_body(GLib.Variant("(s)", ("Server",)))
            hasty.connection.send_message(message, Gio.DBusSendMessageFlags.NONE)
            hasty.connection.flush_sync(None)
            hasty.close()
        until(lambda: not other.held_classes(), "the end of the objects")


class Clients(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(1, "One")])
        self.first = self.client()
        self.second = self.client()

    def test_share_the_connection_and_the_lists(self):
        server = self.connected_server(self.first, self.db)
        components = self.collection(server, "Components")
        self.assertEqual(components.get("Count"), 1)
        # A new Server makes new, empty lists, for all.
        other = self.second.create("Server")
        self.assertEqual(components.get("Count"), 0)
        # But the connection is one.
        self.assertIs(other.get("Initialized"), False)
        self.assertTrue(other.call("Refresh"))
        self.assertIs(other.get("Initialized"), True)
        self.assertEqual(components.get("Count"), 1)
        # The end of its collections discards the lists, for all.
        self.second.close()
        until(lambda: components.get("Count") == 0, "the end of the second client's objects")
        self.assertIs(server.get("Initialized"), True)

    def test_lose_the_connection_with_the_last_server(self):
        server = self.connected_server(self.first, self.db)
        other = self.second.create("Server")
        self.assertTrue(other.call("Refresh"))
        record = other.at(self.collection(other, "Components").call("Item", "v", variant("i", 1)),
                          "Component")
        self.first.close()
        until(lambda: len(self.second.introspect(f"{ROOT}/Server").nodes) == 1,
              "the end of the first client's objects")
        self.assertIs(other.get("Initialized"), True)
        self.second.release(other)
        # Held still, but of no use without a connection.
        self.assertIs(record.get("Initialized"), False)
        self.assertEqual(record.get("Name"), "One")

    def test_read_one_account_of_errors(self):
        server = self.first.create("Server")
        self.assertIs(server.call("Refresh"), False)
        report = self.second.create("Report")
        self.assertEqual(report.get("LastErrorNumber"), -2147221504)
        self.assertIn("Connection object has not been set, unable to refresh!",
                      report.get("LastErrorMsg"))

    def test_connect_and_disconnect_one_another(self):
        server = self.connected_server(self.first, self.db)
        other = self.second.create("Server")
        self.assertIs(other.call("SetConnection", "sss", self.db.connect_string, ROLE, "wrong"),
                      False)
        # The new connection replaced the old one before it was refused.
        self.assertIs(server.call("Refresh"), True)
        self.assertNotEqual(server.get("LastErrorMsg"), "")
        self.assertIs(other.call("SetConnection", "sss", self.db.connect_string, ROLE, PASSWORD),
                      True)
        self.assertIs(server.get("Initialized"), True)

    def two_records(self):
        """The records of both clients, who loaded the same two components."""
        self.db.add_components([(2, "Two")])
        server = self.connected_server(self.first, self.db)
        components = self.collection(server, "Components")
        one = server.at(components.call("Item", "v", variant("s", "C1")), "Component")
        other = self.second.call(components.path, f"{NAME}.Components", "Item", "v",
                                 variant("s", "C2"))
        return server, one, Object(self.second, other, "Component")

    def test_cannot_lock_two_records_at_once(self):
        server, one, other = self.two_records()
        self.assertIs(one.call("LockRecord"), True)
        self.assertIs(other.call("LockRecord"), False)
        self.assertIn("Error #:    \t-2147168237", other.get("LastErrorMsg"))
        self.assertEqual(other.call("Update"), 1)
        self.assertIs(one.get("Locked"), True)
        self.assertIs(other.get("Locked"), False)
        # Nor can anybody connect anew meanwhile.
        again = self.second.create("Server")
        self.assertIs(again.call("SetConnection", "sss", self.db.connect_string, ROLE, PASSWORD),
                      False)
        self.assertIs(one.call("ReleaseRecord"), True)
        self.assertIs(other.call("LockRecord"), True)
        self.assertIs(other.call("ReleaseRecord"), True)

    def test_lose_their_locks_when_they_are_killed_though_others_hold_the_record(self):
        _, one, other = self.two_records()
        holder = subprocess.Popen(
            [sys.executable, "-B", "-c", LOCKER.format(folder=str(pathlib.Path(__file__).parent)),
             self.bus.address, one.path],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.addCleanup(holder.stdin.close)
        self.addCleanup(holder.stdout.close)
        self.assertEqual(holder.stdout.readline(), "locked\n")
        self.assertIs(other.call("LockRecord"), False)
        os.kill(holder.pid, signal.SIGKILL)
        holder.wait()
        until(lambda: one.get("Locked") is False, "the end of the lock")
        self.assertIs(other.call("LockRecord"), True)
        self.assertIs(other.call("ReleaseRecord"), True)

    def test_lose_their_locks_with_the_record_that_they_release(self):
        server, one, other = self.two_records()
        path = self.collection(server, "Components").call("Item", "v", variant("s", "C2"))
        self.assertEqual(path, other.path)  # both hold it
        self.assertIs(other.call("LockRecord"), True)
        self.first.automation.call("Release", "o", path)
        self.assertIs(other.get("Locked"), True)
        self.assertEqual(Object(self.first, one.path, "Component").call("LockRecord"), False)
        self.second.release(other)
        self.assertIs(one.call("LockRecord"), True)
        self.assertIs(one.call("ReleaseRecord"), True)

    def test_keep_a_lock_that_another_one_took_since(self):
        _, one, other = self.two_records()
        theirs = Object(self.second, one.path, "Component")
        self.assertIs(theirs.call("LockRecord"), True)
        self.assertIs(one.call("ReleaseRecord"), True)
        self.assertIs(one.call("LockRecord"), True)
        self.second.close()
        until(lambda: other.path not in [f"{ROOT}/Component/{node.path}" for node in
                                         self.first.introspect(f"{ROOT}/Component").nodes],
              "the end of the second client's objects")
        self.assertIs(one.get("Locked"), True)
        self.assertIs(one.call("ReleaseRecord"), True)

    def test_keep_no_lock_after_a_refused_update_when_they_leave(self):
        _, one, other = self.two_records()
        self.db.run("UPDATE DW_SEC_COMP SET CompName = 'Deux' WHERE CompID = 2")
        self.assertEqual(other.call("Update"), 5)
        self.assertIs(other.get("Locked"), True)
        self.assertIs(one.call("LockRecord"), False)
        self.second.close()
        until(lambda: one.call("LockRecord"), "the end of the lock")
        self.assertIs(one.call("ReleaseRecord"), True)

    def test_see_what_the_other_adds_loads_and_deletes(self):
        server, one, other = self.two_records()
        ours = self.collection(server, "Components")
        theirs = Object(self.second, ours.path, "Components")
        path = theirs.call("Add", "nsnnnbnissss", 3, "Three", 0, 0, 1, False, 2, 0, "", "", "", "")
        self.assertEqual(ours.get("Count"), 3)
        self.assertEqual(ours.call("Item", "v", variant("s", "c3")), path)
        self.assertEqual(Object(self.second, path, "Component").call("Update"), 0)
        # A property that one sets, the other reads.
        report = self.first.create("Report")
        Object(self.second, report.path, "Report").set("Title", "s", "theirs")
        self.assertEqual(report.get("Title"), "theirs")
        # A reload makes new records for both; the old ones stay what they were.
        self.assertIs(theirs.call("Refresh"), True)
        self.assertEqual(ours.get("Count"), 3)
        self.assertNotEqual(ours.call("Item", "v", variant("s", "C1")), one.path)
        self.assertEqual(other.get("Name"), "Two")
        # The entry at position 1 is that of component 1.
        self.assertIs(one.call("Delete"), True)
        self.assertEqual(theirs.get("Count"), 2)
        self.assertIs(theirs.call("Exists", "s", "C1"), False)

    def test_overwrite_nothing_that_the_other_wrote(self):
        self.db.add_pcs([("M1", "A", 1)])
        server = self.connected_server(self.first, self.db)
        pcs = self.collection(server, "RegisteredPCs")
        ours = server.at(pcs.call("Item", "v", variant("i", 1)), "RegisteredPC")
        self.assertIs(pcs.call("Refresh"), True)
        theirs = Object(self.second, self.second.call(pcs.path, f"{NAME}.RegisteredPCs", "Item",
                                                      "v", variant("i", 1)), "RegisteredPC")
        self.assertNotEqual(ours.path, theirs.path)
        theirs.set("LastUser", "s", "second")
        self.assertEqual(theirs.call("Update"), 0)
        ours.set("LastUser", "s", "first")
        self.assertEqual(ours.call("Update"), 5)
        self.assertEqual(self.db.run("SELECT LastUser FROM DW_SEC_PC"), [("second",)])
        # The row stays with the refused record until it is released.
        self.assertIs(ours.get("Locked"), True)
        self.assertIs(ours.call("ReleaseRecord"), True)

    def test_cannot_use_what_the_other_released(self):
        self.connected_server(self.first, self.db)
        components = self.second.create("Components")
        gone = self.first.create("Component")
        self.first.release(gone)
        for call in (lambda: self.second.call(gone.path, gone.interface, "Refresh"),
                     lambda: Object(self.second, gone.path, "Component").get("Name"),
                     lambda: Object(self.second, gone.path, "Component").get_all()):
            self.assert_fails(UNKNOWN_OBJECT, call)
        self.assert_fails(own_error("ObjectRequired"), components.call, "AddCompObject", "o",
                          gone.path)

    def test_that_share_hold_what_others_are_handed_through_their_objects(self):
        server = self.connected_server(self.first, self.db)
        self.first.automation.call("Share", "b", True)
        visitor = Client(self.bus.address)
        components = visitor.call(server.path, "org.freedesktop.DBus.Properties", "Get", "ss",
                                  f"{NAME}.Server", "Components")
        path = visitor.call(components, f"{NAME}.Components", "Item", "v", variant("s", "C1"))
        own = visitor.create("Report").path
        visitor.close()
        until(lambda: "Report" not in self.second.held_classes(),
              "the end of the visitor's own object")
        self.assertEqual(self.second.call(path, "org.freedesktop.DBus.Properties", "Get", "ss",
                                          f"{NAME}.Component", "Name"), "One")
        self.assert_fails(UNKNOWN_OBJECT, self.second.call, own, f"{NAME}.Report", "Refresh")
        self.first.automation.call("Release", "o", path)
        self.first.automation.call("Share", "b", False)
        visitor = Client(self.bus.address)
        path = visitor.call(components, f"{NAME}.Components", "Item", "v", variant("s", "C1"))
        visitor.close()
        until(lambda: "Component" not in self.second.held_classes(),
              "the end of the visitor's object")

    def test_that_share_hold_nothing_that_came_through_the_objects_of_others(self):
        server = self.connected_server(self.first, self.db)
        for _ in range(2):  # twice is once
            self.first.automation.call("Share", "b", True)
        self.second.automation.call("Share", "b", True)
        components = server.get("Components")
        path = self.first.call(components, f"{NAME}.Components", "Item", "v", variant("s", "C1"))
        self.assert_fails(own_error("NotHeld"), self.second.automation.call, "Release", "o", path)
        self.first.automation.call("Share", "b", False)
        visitor = self.client()
        again = visitor.call(components, f"{NAME}.Components", "Item", "v", variant("s", "C1"))
        self.assertEqual(again, path)
        self.first.automation.call("Release", "o", path)
        visitor.automation.call("Release", "o", path)
        self.assertNotIn("Component", self.second.held_classes())


class Limits(BusTest):
    switches = ("--most-objects", "10")

    def test_hold_per_client_and_say_so(self):
        client, other = self.client(), self.client()
        reports = [client.create("Report") for _ in range(10)]
        self.assertEqual(
            self.assert_fails(own_error("LimitExceeded"), client.create, "Report"),
            f"A client may hold 10 objects; {client.name} holds that many. Release some")
        other.create("Report")
        client.release(reports.pop())
        client.create("Report")

    def test_are_kept_by_lists_as_a_whole(self):
        database = self.database()
        database.add_components([(number, "x") for number in range(9)])
        client = self.client()
        server = self.connected_server(client, database)
        components = self.collection(server, "Components")
        self.assertEqual(
            self.assert_fails(own_error("LimitExceeded"), components.call, "NewEnum"),
            f"A client may hold 10 objects; {client.name} holds 2 and would be handed 9 more. "
            "Release some, or read rows with GetRows")
        self.assertEqual(client.held_classes(),
                         ["Server", "Components"])
        rows = components.at(components.path, "Rows")
        self.assertEqual(len(rows.call("GetRows", "uu", 1, 9)), 9)
        for position in range(1, 9):
            components.call("Item", "v", variant("i", position))
        # What the client holds already is no more than it holds.
        components.call("Item", "v", variant("i", 1))
        self.assert_fails(own_error("LimitExceeded"), components.call, "Item", "v",
                          variant("i", 9))

    def test_leave_the_shared_lists_alone(self):
        database = self.database()
        database.add_components([(1, "One")])
        owner, greedy = self.client(), self.client()
        components = self.collection(self.connected_server(owner, database), "Components")
        for _ in range(10):
            greedy.create("Report")
        self.assert_fails(own_error("LimitExceeded"), greedy.create, "Components")
        self.assertEqual(components.get("Count"), 1)


class Floods(BusTest):
    def test_do_not_bring_the_service_down_and_others_are_served(self):
        flooding, other = self.client(), self.client()
        report = flooding.create("Report")
        waits = [flooding.start_call(report.path, f"{NAME}.Report", "GetReportTypeFromString",
                                     "s", "CRY") for _ in range(20000)]
        mine = other.create("Report")
        mine.set("Title", "s", "served")
        self.assertEqual(mine.get("Title"), "served")
        self.assertEqual({wait() for wait in waits}, {1})

    def test_of_objects_that_nobody_releases_end_with_their_client(self):
        flooding, other = self.client(), self.client()
        waits = [flooding.start_call(ROOT, f"{NAME}.Automation", "CreateObject", "s", name)
                 for name in ("Server", "Report", "Component", "RegisteredPC") * 2500]
        self.assertEqual(len({wait() for wait in waits}), 10000)
        mine = other.create("Report")
        flooding.close()
        until(lambda: other.held_classes() == ["Report"],
              "the end of the objects")
        self.assertEqual(mine.get("Title"), "")

    def test_of_calls_whose_answers_nobody_reads_do_no_harm(self):
        other = self.client()
        report = other.create("Report")
        report.set("SQL", "s", "x" * (1 << 20))
        deaf = socket.socket(socket.AF_UNIX)
        self.addCleanup(deaf.close)
        deaf.connect(self.bus.address.removeprefix("unix:path="))
        uid = str(os.getuid()).encode().hex()
        deaf.sendall(f"\0AUTH EXTERNAL {uid}\r\nBEGIN\r\n".encode())
        hello = Gio.DBusMessage.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                "org.freedesktop.DBus", "Hello")
        get = Gio.DBusMessage.new_method_call(NAME, report.path, "org.freedesktop.DBus.Properties",
                                              "Get")
        get.set_body(GLib.Variant("(ss)", (report.interface, "SQL")))
        calls = b""
        for serial, message in enumerate([hello, *[get] * 50], 1):
            message.set_serial(serial)
            calls += message.to_blob(Gio.DBusCapabilityFlags.NONE)
        # Less than what makes the bus stop reading from the service, which no service can help.
        deaf.sendall(calls)
        mine = other.create("Report")
        mine.set("Title", "s", "served")
        self.assertEqual(mine.get("Title"), "served")
        self.assertEqual(len(report.get("SQL")), 1 << 20)


if __name__ == "__main__":
    unittest.main()
