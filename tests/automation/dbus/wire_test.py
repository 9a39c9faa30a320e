"""What is wrong with a call, and what the wire cannot carry."""

import unittest

from private_bus import (INVALID_ARGS, NAME, PASSWORD, ROLE, ROOT, UNKNOWN_METHOD,
                         UNKNOWN_OBJECT, BusTest, Failed, Gio, GLib, own_error, until, variant)


class Calls(BusTest):
    def test_to_unknown_members_are_refused(self):
        client = self.client()
        server = client.create("Server")
        for path, interface, member in ((ROOT, f"{NAME}.Automation", "CreateThing"),
                                        (server.path, f"{NAME}.Server", "refresh"),
                                        (server.path, f"{NAME}.Reports", "Refresh"),
                                        (server.path, f"{NAME}.Rows", "GetRows"),
                                        (server.path, f"{NAME}.Automation", "CreateObject")):
            self.assert_fails(UNKNOWN_METHOD, client.call, path, interface, member)
        self.assert_fails("org.freedesktop.DBus.Error.UnknownProperty", server.get, "Refresh")
        self.assert_fails("org.freedesktop.DBus.Error.UnknownProperty", server.set, "Nothing", "s",
                          "")

    def test_with_arguments_of_other_types_are_refused(self):
        client = self.client()
        server = client.create("Server")
        self.assert_fails(INVALID_ARGS, client.automation.call, "CreateObject")
        self.assert_fails(INVALID_ARGS, client.automation.call, "CreateObject", "i", 1)
        self.assert_fails(INVALID_ARGS, server.call, "SetConnection", "ss", "", "")
        self.assert_fails(INVALID_ARGS, server.call, "Refresh", "s", "")
        self.assert_fails(INVALID_ARGS, client.create("Report").set, "Title", "i", 1)

    def test_to_paths_without_an_object_are_refused(self):
        client = self.client()
        server = client.create("Server")
        run = server.path.rpartition("/")[2].partition("_")[0]
        for path in ("/", "/org", f"{ROOT}/Server", f"{ROOT}/Server/1", f"{ROOT}/Report/{run}_1",
                     f"{ROOT}/Server/{run}_01", f"{ROOT}/Server/{run}_2", f"{server.path}/x",
                     f"{ROOT}/Server/{run}_99999999999999999999999"):
            self.assert_fails(UNKNOWN_OBJECT, client.call, path, f"{NAME}.Server", "Refresh")
            self.assert_fails(UNKNOWN_OBJECT, client.call, path, "org.freedesktop.DBus.Properties",
                              "GetAll", "s", f"{NAME}.Server")

    def test_with_an_object_that_is_not_there_are_refused(self):
        client = self.client()
        server = client.create("Server")
        components = server.at(server.get("Components"), "Components")
        gone = client.create("Component")
        client.release(gone)
        for path in (gone.path, "/nowhere", ROOT):
            text = self.assert_fails(own_error("ObjectRequired"), components.call,
                                     "AddCompObject", "o", path)
            self.assertEqual(text,
                             f"Run-time error 424: Object required (there is none at {path})")

    def test_for_all_properties_may_leave_the_interface_empty_but_name_no_other(self):
        report = self.client().create("Report")
        properties = "org.freedesktop.DBus.Properties"
        self.assertEqual(report.client.call(report.path, properties, "GetAll", "s", ""),
                         report.get_all())
        self.assert_fails("org.freedesktop.DBus.Error.UnknownInterface", report.client.call,
                          report.path, properties, "GetAll", "s", f"{NAME}.Server")

    def test_may_leave_the_interface_out(self):
        client = self.client()

        def call(path, member, signature, *arguments):
            message = Gio.DBusMessage.new_method_call(NAME, path, None, member)
            message.set_body(GLib.Variant(f"({signature})", arguments))
            reply, _ = client.connection.send_message_with_reply_sync(
                message, Gio.DBusSendMessageFlags.NONE, 60000, None)
            if reply.get_message_type() == Gio.DBusMessageType.ERROR:
                raise Failed(reply.get_error_name(), reply.get_body().unpack()[0])
            body = reply.get_body()
            return body.unpack()[0] if body is not None else None

        path = call(ROOT, "CreateObject", "s", "Reports")
        self.assertIs(call(path, "Exists", "s", "Alpha"), False)
        self.assertEqual(call(path, "GetRows", "uu", 1, 10), [])
        self.assert_fails(INVALID_ARGS, call, path, "Exists", "i", 1)
        self.assert_fails(INVALID_ARGS, call, path, "GetRows", "ii", 1, 1)
        self.assert_fails(own_error("CannotCreateObject"), call, ROOT, "CreateObject", "s", "x")
        self.assertEqual(call(ROOT, "GetLastCause", ""), 0)
        report = call(ROOT, "CreateObject", "s", "Report")
        self.assertEqual(call(report, "Insert", "s", ""), 2, "a report without a name")
        self.assert_fails(UNKNOWN_OBJECT, call, path, "Insert", "s", "")
        call(ROOT, "Release", "o", path)
        self.assert_fails(UNKNOWN_OBJECT, call, path, "Exists", "s", "Alpha")


class Texts(BusTest):
    def setUp(self):
        super().setUp()
        self.owner = self.client()
        self.report = self.owner.create("Report")

    def test_of_all_of_unicode_survive(self):
        everything = "".join(chr(c) for c in range(1, 0x110000)
                             if not 0xD800 <= c <= 0xDFFF and not 0xFDD0 <= c <= 0xFDEF
                             and c & 0xFFFE != 0xFFFE)
        self.report.set("Title", "s", everything)
        self.assertEqual(self.report.get("Title"), everything)

    def test_with_a_zero_character_are_refused_and_leave_the_other_properties_readable(self):
        file = self.folder / "zero.ttx"
        file.write_bytes(b"a\0b")
        self.assertIs(self.report.call("ImportTTX", "s", str(file)), True)
        self.assertEqual(self.assert_fails(own_error("NotRepresentable"), self.report.get, "TTX"),
                         "The text holds a character U+0000, which cannot go over the bus")
        values = self.report.get_all()
        self.assertNotIn("TTX", values)
        self.assertEqual(values["Version"], "")

    def test_with_code_points_that_are_no_characters_are_refused(self):
        for code in (0xFDD0, 0xFDEF, 0xFFFE, 0xFFFF, 0x1FFFE, 0x8FFFF, 0x10FFFF):
            text = f"a{chr(code)}"
            refused = ("An argument holds a code point that is no character, which cannot go over "
                       "the bus")
            for call in (lambda: self.report.set("Title", "s", text),
                         lambda: self.report.call("GetReportTypeFromString", "s", text),
                         lambda: self.owner.create(text)):
                self.assertEqual(self.assert_fails(own_error("NotRepresentable"), call), refused)
        self.assertEqual(self.report.get("Title"), "")
        for code in (0xFDCF, 0xFDF0, 0xFFFD, 0x1FFFD, 0x20000, 0x10FFFD):
            self.report.set("Title", "s", f"{chr(code)}z")
            self.assertEqual(self.report.get("Title"), f"{chr(code)}z")

    def test_that_a_table_holds_and_the_bus_cannot_carry_leave_the_others_readable(self):
        database = self.database()
        strange = (b"a\xef\xbf\xbe", b"\xf0\x9f\xbf\xbf", b"a\0b", b"a\xed\xa0\x80b", b"\xff")
        database.add_components([(number, "x") for number in range(len(strange))])
        for number, name in enumerate(strange):
            database.run("UPDATE DW_SEC_COMP SET CompName = CAST(? AS TEXT) WHERE CompID = ?",
                         name, number)
        components = self.collection(self.connected_server(self.owner, database), "Components")
        no_character = ("The text holds a code point that is no character, which cannot go over "
                        "the bus")
        zero = "The text holds a character U+0000, which cannot go over the bus"
        seen = []
        for path in components.call("NewEnum"):
            component = components.at(path, "Component")
            try:
                seen.append(component.get("Name"))
            except Failed as failed:
                self.assertEqual(failed.name, own_error("NotRepresentable"))
                seen.append(failed.text)
            self.assertEqual(component.get("Priority"), 1)
        # What was no UTF-8 in the file was replaced when it was loaded.
        readable = ["a\ufffd\ufffd\ufffdb", "\ufffd"]
        self.assertEqual(seen, [no_character, no_character, zero, *readable])
        rows = components.at(components.path, "Rows").call("GetRows", "uu", 1, 9)
        self.assertEqual([row["CompID"] for row in rows], [0, 1, 2, 3, 4])
        self.assertEqual([row.get("Name") for row in rows], [None, None, None, *readable])

    def test_of_a_name_that_the_bus_cannot_carry_leave_the_other_report_files(self):
        database = self.database()
        database.add_reports([("Sales", "x"), ("a\0b", "x"), ("c\ufffe", "x")])
        database.run("UPDATE DW_Reports SET Report_Binary = x'0102'")
        self.connected_server(self.owner, database)
        self.assertEqual(sorted(self.owner.automation.call("ReportFiles")),
                         [("Sales", 2), ("c\ufffd", 2)])

    def test_of_accounts_can_be_read_whatever_they_quote(self):
        database = self.database()
        database.add_reports([("a\ufffe\0b", "x")])
        database.run("UPDATE DW_Reports SET Created = 'no date'")
        server = self.owner.create("Server")
        self.assertIs(server.call("SetConnection", "sss", database.connect_string, ROLE, PASSWORD),
                      True)
        server.call("Refresh")
        reports = self.collection(server, "Reports")
        report = reports.at(reports.call("NewEnum")[0], "Report")
        self.assert_fails(own_error("NotRepresentable"), report.get, "Name")
        database.run("DELETE FROM DW_Reports")
        self.assertIs(report.call("LockRecord"), False)
        self.assertIn("a\ufffd\ufffdb", server.get("LastErrorMsg"))
        self.assertIn("a\ufffd\ufffdb", server.get_all()["LastErrorMsg"])

    def test_that_are_no_utf_8_end_the_connection_of_their_sender_only(self):
        message = Gio.DBusMessage.new_method_call(NAME, ROOT, f"{NAME}.Automation", "CreateObject")
        message.set_body(GLib.Variant("(s)", ("Sxrver",)))
        blob = message.to_blob(Gio.DBusCapabilityFlags.NONE).replace(b"Sxrver", b"S\xffrver")
        bad = self.client()
        stream = bad.connection.get_stream()
        stream.get_output_stream().write_all(blob, None)
        until(lambda: bad.name not in self.owner.call(
            "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames",
            destination="org.freedesktop.DBus"), "the end of the sender")
        self.assertEqual(self.report.get("Title"), "")

    def test_of_many_megabytes_go_through_and_too_long_ones_are_refused(self):
        long = "x" * (20 << 20)
        self.report.set("SQL", "s", long)
        self.assertEqual(self.report.get("SQL"), long)
        self.report.set("Definition", "s", long)
        self.assertIn("more than one message carries (32505856 bytes). Read them one by one",
                      self.assert_fails(own_error("LimitExceeded"), self.report.get_all))
        self.assertEqual(self.report.get("Definition"), long)
        # Each byte of the file becomes two in UTF-8.
        file = self.folder / "long.ttx"
        file.write_bytes(b"\xe9" * (20 << 20))
        self.assertIs(self.report.call("ImportTTX", "s", str(file)), True)
        self.assertEqual(self.assert_fails(own_error("LimitExceeded"), self.report.get, "TTX"),
                         "The text has 41943040 bytes, more than one message carries (32505856)")


class Rows(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(number, f"Component {number}") for number in range(10)])
        self.server = self.connected_server(self.client(), self.db)
        self.components = self.collection(self.server, "Components")
        self.rows = self.components.at(self.components.path, "Rows")

    def get(self, first, count):
        return self.rows.call("GetRows", "uu", first, count)

    def test_are_the_properties_of_the_records_without_the_shared_error_state(self):
        record = self.components.at(self.components.call("Item", "v", variant("i", 3)),
                                    "Component")
        expected = record.get_all()
        del expected["LastErrorMsg"], expected["LastErrorNumber"]
        self.assertEqual(self.get(3, 1), [expected])

    def test_come_from_a_position_on_as_far_as_there_are_any(self):
        def ids(first, count):
            return [row["CompID"] for row in self.get(first, count)]

        self.assertEqual(ids(1, 10), list(range(10)))
        self.assertEqual(ids(4, 3), [3, 4, 5])
        self.assertEqual(ids(9, 100), [8, 9])
        self.assertEqual(ids(1, 2**32 - 1), list(range(10)))
        self.assertEqual(ids(2**32 - 1, 2**32 - 1), [])
        self.assertEqual(ids(11, 1), [])
        self.assertEqual(ids(1, 0), [])
        self.assertEqual(self.assert_fails(own_error("SubscriptOutOfRange"), self.get, 0, 1),
                         "Run-time error 9: Subscript out of range")

    def test_hand_out_no_objects(self):
        self.assertEqual(len(self.get(1, 10)), 10)
        self.assertEqual(self.components.client.held_classes(), ["Server", "Components"])

    def test_that_do_not_fit_in_a_message_are_refused(self):
        reports = self.collection(self.server, "Reports")
        for number in range(4):
            reports.call("Add", "sssdssnssisnss", f"Report {number}", "", "", 0.0, "", "", 1, "",
                         "", 1, "", 4, "", "x" * (9 << 20))
        rows = reports.at(reports.path, "Rows")
        self.assertEqual(len(rows.call("GetRows", "uu", 1, 3)), 3)
        self.assertIn("The rows from 1 to 4 are more than one message carries",
                      self.assert_fails(own_error("LimitExceeded"), rows.call, "GetRows", "uu", 1,
                                        4))


if __name__ == "__main__":
    unittest.main()
