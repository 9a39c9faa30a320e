"""Every member of every class, called over a bus."""

import unittest

from private_bus import CLASSES, BusTest, Gio, Object, described_interface, own_error, variant

EMPTY = []  # of an empty variant: a variant with an empty array of bytes


def tearDownModule():
    """Fails where a member was left out above."""
    left_out = []
    for name in CLASSES:
        interface = described_interface(name)
        names = [method.name for method in interface.methods]
        for each in interface.properties:
            names.append(each.name)
            if each.flags & Gio.DBusPropertyInfoFlags.WRITABLE:
                names.append(f"{each.name}=")
        left_out += [f"{name}.{member}" for member in names
                     if (interface.name, member) not in Object.used]
    assert not left_out, f"not called: {left_out}"


class ServerMembers(BusTest):
    def test_all_work(self):
        client = self.client()
        server = client.create("Server")
        self.assertIs(server.get("Initialized"), False)
        self.assertEqual(server.get("LastErrorMsg"), "")
        self.assertEqual(server.get("LastErrorNumber"), 0)
        self.assertIs(server.call("SetConnection", "sss", "", "", ""), True)
        self.assertIs(server.call("Refresh"), False)
        self.assertEqual(server.get("LastErrorNumber"), -2147221504)
        self.assertEqual(
            server.get("LastErrorMsg"),
            "\r\nError in Component: 'Server', Proceedure: 'Refresh'.\r\nError #:    \t-2147221504"
            "\r\nDescription:\tConnection object has not been set, unable to refresh!")
        for name in ("Reports", "RegisteredPCs", "Components"):
            self.assertTrue(server.get(name).startswith(f"/org/tarnwick/Security1/{name}/"))
            self.assertEqual(server.get(name), server.get(name))
        self.assertEqual(set(server.get_all()), {
            "Initialized", "LastErrorMsg", "LastErrorNumber", "Reports", "RegisteredPCs",
            "Components"})

    def test_connect_and_load(self):
        database = self.database()
        server = self.connected_server(self.client(), database)
        self.assertIs(server.get("Initialized"), True)

    def test_tell_of_a_refused_password_only_in_the_account(self):
        database = self.database()
        server = self.client().create("Server")
        self.assertIs(server.call("SetConnection", "sss", database.connect_string, "Maintainer",
                                  "wrong-one"), False)
        self.assertIn("Error in Component: 'Server', Proceedure: 'SetConnection'.",
                      server.get("LastErrorMsg"))
        self.assertNotIn("wrong-one", str(server.get_all()))


class ComponentMembers(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(0, "Root"), (7, "Ledger"), (9, "Stock")])
        self.db.run("UPDATE DW_SEC_COMP SET MetaID = 'meta', SecGrpID = 'grp', RptCode = 'PCA',"
                    " Server = 'srv', AuthorizedRole = 'role' WHERE CompID = 7")
        self.db.add_pcs([("M1", "A", 7), ("M2", "B", 9), ("M3", "C", 7)])
        self.owner = self.client()
        self.server = self.connected_server(self.owner, self.db)
        self.components = self.collection(self.server, "Components")

    def item(self, key):
        return self.components.at(self.components.call("Item", "v", key), "Component")

    def test_of_the_collection_all_work(self):
        components = self.components
        self.assertIs(components.call("Refresh"), True)
        self.assertEqual(components.get("Count"), 3)
        self.assertIs(components.get("Initialized"), True)
        self.assertIs(components.call("Exists", "s", "C7"), True)
        self.assertIs(components.call("Exists", "s", "c7"), True)
        self.assertIs(components.call("Exists", "s", "7"), False)
        self.assertEqual(len(components.call("FindMetaID", "s", "META")), 1)
        self.assertEqual(components.call("FindMetaID", "s", ""), [])
        self.assertEqual(components.get("LastErrorMsg"), "")
        self.assertEqual(components.get("LastErrorNumber"), 0)
        # Loading counts as a change.
        self.assertIs(components.get("Changed"), True)

    def test_item_takes_keys_and_positions_of_any_integer_type(self):
        by_key = self.components.call("Item", "v", variant("s", "C7"))
        self.assertEqual(by_key, self.components.call("NewEnum")[1])
        for signature in "ynqiuxt":
            self.assertEqual(self.components.call("Item", "v", variant(signature, 2)), by_key)
        self.assertEqual(self.components.call("Item", "v", variant("s", "C8")), "/")
        self.assertEqual(self.components.call("Item", "v", variant("t", 2**64 - 1)), "/")
        for signature, value in (("b", True), ("d", 2.0), ("o", by_key), ("ay", b"C7")):
            text = self.assert_fails(own_error("TypeMismatch"), self.components.call, "Item", "v",
                                     variant(signature, value))
            self.assertEqual(text, "Run-time error 13: Type mismatch")

    def test_enumeration_is_in_the_order_of_the_list(self):
        paths = self.components.call("NewEnum")
        self.assertEqual([self.components.at(path, "Component").get("Key") for path in paths],
                         ["C0", "C7", "C9"])

    def test_a_component_can_be_added_with_all_its_values(self):
        path = self.components.call("Add", "nsnnnbnissss", 12, "New", 7, 3, 4, True, 2, 3, "srv",
                                    "grp", "MetA", "role")
        component = self.components.at(path, "Component")
        self.assertEqual(component.get_all(), {
            "CompID": 12, "Name": "New", "ParentID": 7, "Priority": 3, "ImageIndex": 4,
            "ForceDisplay": True, "MaintenanceType": 2, "SecurityGroup": "grp", "ReportCode": 3,
            "ServerName": "srv", "MetaID": "META", "AuthorizedRole": "role", "RowVersion": "",
            "SoftLock": "", "Key": "C12", "Changed": True, "Initialized": True, "Reports": EMPTY,
            "LastErrorMsg": "", "LastErrorNumber": 0, "Locked": False})
        self.assertEqual(self.components.call("Add", "nsnnnbnissss", 12, "Again", 0, 0, 0, False,
                                              0, 0, "", "", "", ""), "/")

    def test_an_object_can_be_put_in_the_list(self):
        fresh = self.owner.create("Component")
        self.assertIs(self.components.call("AddCompObject", "o", fresh.path), True)
        self.assertEqual(self.components.get("Count"), 4)
        self.assertIs(self.components.call("AddCompObject", "o", fresh.path), False)
        self.assertIs(self.components.call("AddCompObject", "o", "/"), False)
        self.assertEqual(self.components.get("LastErrorNumber"), 91)
        report = self.owner.create("Report")
        self.assertEqual(self.assert_fails(own_error("TypeMismatch"), self.components.call,
                                           "AddCompObject", "o", report.path),
                         "Run-time error 13: Type mismatch")

    def test_a_record_reads_as_the_row_has_it(self):
        component = self.item(variant("s", "C7"))
        values = component.get_all()
        self.assertRegex(values["RowVersion"], "^[0-9A-F]{16}$")
        self.assertEqual(component.get("RowVersion"), values.pop("RowVersion"))
        self.assertEqual(values, {
            "CompID": 7, "Name": "Ledger", "ParentID": 0, "Priority": 1, "ImageIndex": 2,
            "ForceDisplay": True, "MaintenanceType": 3, "SecurityGroup": "grp", "ReportCode": 2,
            "ServerName": "srv", "MetaID": "META", "AuthorizedRole": "role", "SoftLock": "",
            "Key": "C7", "Changed": True, "Initialized": True, "Reports": EMPTY,
            "LastErrorMsg": "", "LastErrorNumber": 0, "Locked": False})
        for name, value in values.items():
            self.assertEqual(component.get(name), value, name)

    def test_the_pcs_of_a_component_are_those_of_the_register(self):
        pcs = self.item(variant("s", "C7")).call("PCs")
        self.assertEqual([self.components.at(path, "RegisteredPC").get("MACNumber")
                          for path in pcs], ["M1", "M3"])
        register = self.collection(self.server, "RegisteredPCs")
        self.assertEqual(register.call("Item", "v", variant("i", 3)), pcs[1])

    def test_maintenance_goes_from_the_lock_to_the_row(self):
        component = self.item(variant("s", "C7"))
        self.assertIs(component.call("LockRecord"), True)
        self.assertIs(component.get("Locked"), True)
        self.assertIs(component.call("ReleaseRecord"), True)
        self.assertIs(component.get("Locked"), False)
        self.assertEqual(component.call("Update"), 0)
        self.assertIs(component.get("Changed"), False)
        self.assertIs(component.call("Refresh"), False)
        # By position 7, where there is none: the row goes, the list stays, and the answer is False.
        self.assertIs(component.call("Delete"), False)
        self.assertEqual(self.db.run("SELECT CompID FROM DW_SEC_COMP ORDER BY 1"), [(0,), (9,)])

    def test_no_property_can_be_written(self):
        component = self.item(variant("s", "C7"))
        for name, value in component.get_all().items():
            with self.assertRaises(Exception) as caught:
                component.set(name, "s", str(value))
            self.assertEqual(caught.exception.name,
                             "org.freedesktop.DBus.Error.PropertyReadOnly")


class PcMembers(BusTest):
    ADD = "snssdbinsdisdss"

    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_pcs([("M1", "A", 7), ("M2", "B", 9)])
        self.owner = self.client()
        self.server = self.connected_server(self.owner, self.db)
        self.pcs = self.collection(self.server, "RegisteredPCs")

    def item(self, position):
        return self.pcs.at(self.pcs.call("Item", "v", variant("i", position)),
                           "RegisteredPC")

    def test_of_the_collection_all_work(self):
        pcs = self.pcs
        self.assertIs(pcs.call("Refresh"), True)
        self.assertEqual(pcs.get("Count"), 2)
        self.assertIs(pcs.get("Initialized"), True)
        self.assertIs(pcs.get("Changed"), False)
        self.assertIs(pcs.call("Exists", "s", "m1\u00fea\u00fe7"), True)
        self.assertIs(pcs.call("Exists", "s", "M1"), False)
        self.assertEqual(len(pcs.call("NewEnum")), 2)
        self.assertEqual(pcs.call("Item", "v", variant("s", "M2\u00feB\u00fe9")),
                         pcs.call("NewEnum")[1])
        self.assertEqual(pcs.get("LastErrorMsg"), "")
        self.assertEqual(pcs.get("LastErrorNumber"), 0)

    def test_item_lets_its_errors_through(self):
        self.assertEqual(self.assert_fails(own_error("InvalidProcedureCall"), self.pcs.call,
                                           "Item", "v", variant("s", "nobody")),
                         "Run-time error 5: Invalid procedure call or argument")
        for position in (0, 3, -1):
            self.assertEqual(self.assert_fails(own_error("SubscriptOutOfRange"), self.pcs.call,
                                               "Item", "v", variant("i", position)),
                             "Run-time error 9: Subscript out of range")
        self.assertEqual(self.assert_fails(own_error("Overflow"), self.pcs.call, "Item", "v",
                                           variant("x", 2**40)),
                         "Run-time error 6: Overflow")

    def test_a_dropped_register_fails_as_such_and_its_other_properties_read_on(self):
        other = self.owner.create("RegisteredPCs")
        self.owner.release(other)
        for call in (lambda: self.pcs.get("Count"), lambda: self.pcs.call("NewEnum"),
                     lambda: self.pcs.call("Item", "v", variant("i", 1)),
                     lambda: self.pcs.at(self.pcs.path, "Rows").call("GetRows", "uu", 1, 1)):
            self.assertEqual(self.assert_fails(own_error("ObjectNotSet"), call),
                             "Run-time error 91: Object variable or With block variable not set")
        self.assertEqual(self.pcs.get_all(), {"Changed": False, "Initialized": False,
                                              "LastErrorMsg": "", "LastErrorNumber": 0})

    def test_a_pc_can_be_added_with_all_its_values(self):
        path = self.pcs.call("Add", self.ADD, "M9", 3, "Z", "me", 45001.0, False, 1, 12, "eva",
                             45002.25, 77, "you", 45003.5, "lock", "4.5")
        pc = self.pcs.at(path, "RegisteredPC")
        self.assertEqual(pc.get_all(), {
            "MACNumber": "M9", "ComputerID": "Z", "CompID": 3, "MaintenanceType": 1,
            "Active": False, "ImageIndex": 12, "LastUser": "eva", "LastLogin": 45002.25,
            "TotalLogins": 77, "ActivatedBy": "me", "ActivateDate": 45001.0,
            "DeActivatedBy": "you", "DeActivatedDate": 45003.5, "SoftLock": "lock",
            "RowVersion": "", "SoftwareVersion": "4.5", "Key": "M9\u00feZ\u00fe3",
            "Changed": True, "Initialized": True, "Locked": False, "LastErrorMsg": "",
            "LastErrorNumber": 0})
        for name, value in pc.get_all().items():
            self.assertEqual(pc.get(name), value, name)
        self.assertEqual(self.pcs.call("Add", self.ADD, "m9", 3, "z", "", 0.0, True, 5, -1, "",
                                       0.0, 0, "", 0.0, "", ""), "/")

    def test_an_object_can_be_put_in_the_register(self):
        fresh = self.owner.create("RegisteredPC")
        self.assertIs(self.pcs.call("AddPCObject", "o", fresh.path), True)
        self.assertEqual(self.pcs.get("Count"), 3)
        self.assertIs(self.pcs.call("AddPCObject", "o", "/"), False)

    def test_every_property_with_a_setter_can_be_written(self):
        pc = self.owner.create("RegisteredPC")
        written = {"MACNumber": ("s", "M5"), "ComputerID": ("s", "Q"), "CompID": ("n", -32768),
                   "MaintenanceType": ("i", 2), "Active": ("b", True), "ImageIndex": ("n", 32767),
                   "LastUser": ("s", "\u00e4\U0001f600"), "LastLogin": ("d", -1.25),
                   "TotalLogins": ("i", -2147483648), "ActivatedBy": ("s", "x" * 100000),
                   "ActivateDate": ("d", 45000.125), "DeActivatedBy": ("s", ""),
                   "DeActivatedDate": ("d", 0.0), "SoftwareVersion": ("s", "1")}
        self.assertIs(pc.get("Changed"), False)
        for name, (signature, value) in written.items():
            pc.set(name, signature, value)
            self.assertEqual(pc.get(name), value)
        self.assertIs(pc.get("Changed"), True)
        for name in set(pc.get_all()) - set(written):
            text = self.assert_fails("org.freedesktop.DBus.Error.PropertyReadOnly", pc.set, name,
                                     "s", "")
            self.assertIn(name, text)

    def test_a_date_has_to_be_a_number(self):
        pc = self.owner.create("RegisteredPC")
        for value in (float("nan"), float("inf")):
            self.assert_fails(own_error("TypeMismatch"), pc.set, "LastLogin", "d", value)
        self.assertEqual(pc.get("LastLogin"), 0.0)

    def test_maintenance_goes_from_the_lock_to_the_row(self):
        pc = self.item(1)
        self.assertIs(pc.call("LockRecord"), True)
        self.assertIs(pc.get("Locked"), True)
        self.assertIs(pc.call("ReleaseRecord"), True)
        pc.set("LastUser", "s", "carl")
        self.assertEqual(pc.call("Update"), 0)
        self.assertEqual(self.db.run("SELECT LastUser FROM DW_SEC_PC WHERE MACNbr = 'M1'"),
                         [("carl",)])
        # Nothing moved the remembered row version on.
        pc.set("LastUser", "s", "dora")
        self.assertEqual(pc.call("Update"), 5)
        self.assertIn("has changed", pc.get("LastErrorMsg"))
        self.assertIs(pc.call("ReleaseRecord"), True)
        self.assertIs(pc.call("Refresh"), True)
        self.assertIs(pc.call("Delete"), True)
        self.assertEqual(self.db.run("SELECT MACNbr FROM DW_SEC_PC"), [("M2",)])
        self.assertEqual(self.pcs.get("Count"), 1)


class ReportMembers(BusTest):
    ADD = "sssdssnssisnss"

    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_reports([("Alpha", "First"), ("Beta", "Second")])
        self.owner = self.client()
        self.server = self.connected_server(self.owner, self.db)
        self.reports = self.collection(self.server, "Reports")

    def item(self, name):
        return self.reports.at(self.reports.call("Item", "v", variant("s", name)), "Report")

    def test_of_the_collection_all_work(self):
        reports = self.reports
        self.assertIs(reports.call("Refresh"), True)
        self.assertIs(reports.call("Exists", "s", "ALPHA"), True)
        self.assertIs(reports.call("Exists", "s", "Gamma"), False)
        self.assertIs(reports.get("Initialized"), True)
        self.assertIs(reports.get("ValidObject"), True)
        self.assertIs(reports.get("Changed"), False)
        self.assertEqual(reports.get("Count"), 2)
        self.assertEqual(reports.call("Item", "v", variant("i", 2)),
                         reports.call("NewEnum")[1])
        self.assertEqual(reports.call("Item", "v", variant("i", 3)), "/")
        self.assertEqual(reports.get("LastErrorMsg"), "")
        self.assertEqual(reports.get("LastErrorNumber"), 0)
        fresh = self.owner.create("Report")
        fresh.set("Name", "s", "Gamma")
        self.assertIs(reports.call("AddReportObject", "o", fresh.path), True)
        self.assertEqual(reports.get("Count"), 3)

    def test_a_report_can_be_added_with_all_its_values(self):
        path = self.reports.call("Add", self.ADD, "Delta", "Title", "Author", 45000.5, "1.0",
                                 "grp", 12, "Select 1", "ttx", 1, "about", 3, "ABCD", "defs")
        report = self.reports.at(path, "Report")
        self.assertEqual(report.get_all(), {
            "LastErrorMsg": "", "LastErrorNumber": 0, "Locked": False, "Initialized": True,
            "Key": "Delta", "Changed": True, "SoftLock": "", "MaintenanceType": 3,
            "Description": "about", "ReportType": 1, "ReportTypeAsString": "CRY",
            "Definition": "defs", "TTX": "ttx", "SQL": "Select 1", "ImageIndex": 12,
            "ReportGroupID": "grp", "Version": "1.0", "Created": 45000.5, "Author": "Author",
            "Title": "Title", "Name": "Delta", "RowVersion": ""})
        for name, value in report.get_all().items():
            self.assertEqual(report.get(name), value, name)

    def test_every_property_with_a_setter_can_be_written(self):
        report = self.owner.create("Report")
        written = {"MaintenanceType": ("i", 1), "Description": ("s", "d"), "ReportType": ("i", 0),
                   "Definition": ("s", "e"), "TTX": ("s", "f"), "SQL": ("s", "g"),
                   "ImageIndex": ("n", 9), "ReportGroupID": ("s", "h"), "Version": ("s", "2"),
                   "Created": ("d", 1.5), "Author": ("s", "i"), "Title": ("s", "j"),
                   "Name": ("s", "k")}
        for name, (signature, value) in written.items():
            report.set(name, signature, value)
            self.assertEqual(report.get(name), value)
        self.assertEqual(report.get("ReportTypeAsString"), "")
        for name in set(report.get_all()) - set(written):
            self.assert_fails("org.freedesktop.DBus.Error.PropertyReadOnly", report.set, name, "s",
                              "")

    def test_type_codes_become_types(self):
        report = self.item("Alpha")
        self.assertEqual(report.call("GetReportTypeFromString", "s", "cry"), 1)
        self.assertEqual(report.call("GetReportTypeFromString", "s", "x"), 0)

    def test_payloads_go_to_files_and_back(self):
        report = self.item("Alpha")
        source = self.folder / "fields.ttx"
        source.write_bytes(b"Name\tString\t10\tJos\xe9\r\n")
        self.assertIs(report.call("ImportTTX", "s", str(source)), True)
        self.assertEqual(report.get("TTX"), "Name\tString\t10\tJos\u00e9\r\n")
        self.assertIs(report.call("ExtractTTX", "s", str(self.folder / "out.any")), True)
        self.assertEqual((self.folder / "out.ttx").read_bytes(), source.read_bytes())
        file = self.folder / "Alpha.rpt"
        file.write_bytes(bytes(range(256)))
        self.assertEqual(report.call("Update", "s", str(file)), 0)
        self.assertIs(report.call("ExtractReport", "s", str(self.folder / "back.rpt")), True)
        self.assertEqual((self.folder / "back.rpt").read_bytes(), file.read_bytes())

    def test_maintenance_goes_from_the_lock_to_the_row(self):
        report = self.item("Beta")
        self.assertIs(report.call("LockRecord"), True)
        self.assertIs(report.get("Locked"), True)
        self.assertIs(report.call("ReleaseRecord"), True)
        self.assertIs(report.call("ReleaseRecord"), False)
        report.set("Title", "s", "Changed")
        self.assertEqual(report.call("Update", "s", ""), 0)
        self.assertEqual(self.db.run("SELECT Title FROM DW_Reports WHERE ReportName = 'Beta'"),
                         [("Changed",)])
        self.assertIs(report.call("Refresh"), False)
        self.assertIs(report.call("Delete"), True)
        self.assertEqual(self.reports.get("Count"), 1)


class Classes(BusTest):
    def test_can_all_be_created_by_name_and_by_prog_id(self):
        client = self.client()
        for name in CLASSES:
            for spelling in (name, f"Tarnwick.{name}", name.upper(), f"tarnwick.{name.lower()}"):
                path = client.automation.call("CreateObject", "s", spelling)
                self.assertTrue(path.startswith(f"/org/tarnwick/Security1/{name}/"), path)

    def test_others_cannot_be_created(self):
        client = self.client()
        for name in ("", "Tarnwick.", "Servers", "Tarnwick.Server.1.1", "Tarnwick.Tarnwick.Server"):
            self.assertEqual(self.assert_fails(own_error("CannotCreateObject"),
                                               client.automation.call, "CreateObject", "s", name),
                             "Run-time error 429: ActiveX component can't create object")


if __name__ == "__main__":
    unittest.main()
