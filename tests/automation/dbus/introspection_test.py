"""What generic tools and code generators are told."""

import subprocess
import unittest

from private_bus import CLASSES, NAME, ROOT, BusTest, Gio, described_interface

CHANGES = "org.freedesktop.DBus.Property.EmitsChangedSignal"


def described(interface):
    """All that an introspected interface says, comparable."""
    return (
        interface.name,
        [(method.name, [(arg.name, arg.signature) for arg in method.in_args],
          [(arg.name, arg.signature) for arg in method.out_args]) for method in interface.methods],
        [(each.name, each.signature, bool(each.flags & Gio.DBusPropertyInfoFlags.WRITABLE),
          [(note.key, note.value) for note in each.annotations])
         for each in interface.properties])


class Introspection(BusTest):
    def test_says_what_the_installed_files_say(self):
        client = self.client()
        seen = {each.name: each for each in client.introspect(ROOT).interfaces}
        for name in ("Automation", "LastCause"):
            self.assertEqual(described(seen[f"{NAME}.{name}"]), described(described_interface(name)))
        for name in CLASSES:
            thing = client.create(name)
            seen = {each.name: each for each in client.introspect(thing.path).interfaces}
            own = {each for each in seen if each.startswith(NAME)}
            collection = name in ("Components", "RegisteredPCs", "Reports")
            record = name in ("Component", "RegisteredPC", "Report")
            more = {f"{NAME}.Rows"} if collection else {f"{NAME}.Record"} if record else set()
            self.assertEqual(own, {f"{NAME}.{name}"} | more)
            for each in more:
                self.assertEqual(described(seen[each]),
                                 described(described_interface(each.removeprefix(f"{NAME}."))))
            self.assertEqual(described(seen[f"{NAME}.{name}"]), described(described_interface(name)))

    def test_names_every_argument(self):
        for name in (*CLASSES, "Automation", "LastCause", "Record", "Rows", "LockPrompt"):
            for method in described_interface(name).methods:
                for argument in (*method.in_args, *method.out_args):
                    self.assertTrue(argument.name, method.name)

    def test_has_the_types_of_the_members(self):
        methods = {method.name: method for method in described_interface("RegisteredPCs").methods}
        self.assertEqual([(arg.name, arg.signature) for arg in methods["Add"].in_args], [
            ("sMACNumber", "s"), ("iCompID", "n"), ("sComputerID", "s"), ("sActivatedBy", "s"),
            ("datActivateDate", "d"), ("bActive", "b"), ("eMaintenanceType", "i"),
            ("iImageIndex", "n"), ("sLastUser", "s"), ("datLastLogin", "d"),
            ("lTotalLogins", "i"), ("sDeActivatedBy", "s"), ("datDeActivatedDate", "d"),
            ("sSoftLock", "s"), ("sSoftwareVersion", "s")])
        self.assertEqual([(arg.name, arg.signature) for arg in methods["Add"].out_args],
                         [("result", "o")])
        self.assertEqual(methods["NewEnum"].out_args[0].signature, "ao")
        methods = {method.name: method for method in described_interface("Component").methods}
        self.assertEqual(set(methods), {"PCs", "Refresh", "LockRecord", "ReleaseRecord", "Update",
                                        "Delete"})
        self.assertEqual(methods["PCs"].out_args[0].signature, "ao")
        properties = {each.name: each for each in described_interface("Component").properties}
        self.assertEqual(properties["Reports"].signature, "v")
        self.assertEqual([(note.key, note.value) for note in properties["Name"].annotations],
                         [(CHANGES, "false")])

    def test_lists_what_clients_hold_by_class(self):
        client = self.client()
        self.assertEqual(client.held_classes(), [])
        first = client.create("Report")
        second = client.create("Report")
        self.assertEqual(client.held_classes(), ["Report"])
        listed = {f"{ROOT}/Report/{node.path}"
                  for node in client.introspect(f"{ROOT}/Report").nodes}
        self.assertEqual(listed, {first.path, second.path})
        self.assertEqual(client.introspect(first.path).nodes, [])

    def test_of_a_large_register_is_quick_and_short(self):
        database = self.database()
        database.add_pcs((f"{number:012X}", "A", 1) for number in range(100000))
        client = self.client()
        server = self.connected_server(client, database)
        pcs = self.collection(server, "RegisteredPCs")
        self.assertEqual(pcs.get("Count"), 100000)

        def busctl(*arguments):
            return subprocess.run(["busctl", f"--address={self.bus.address}", *arguments],
                                  check=True, capture_output=True, text=True).stdout

        # Nothing was handed out but the server and one collection.
        tree = busctl("--list", "tree", NAME).split()
        self.assertEqual(set(tree), {"/", "/org", "/org/tarnwick", ROOT, f"{ROOT}/Server",
                                     server.path, f"{ROOT}/RegisteredPCs", pcs.path})
        self.assertIn(f"{NAME}.RegisteredPCs", busctl("introspect", NAME, pcs.path))

        # Even if one client holds them all, a tree comes to an end.
        self.assertEqual(len(set(pcs.call("NewEnum"))), 100000)
        nodes = client.introspect(f"{ROOT}/RegisteredPC").nodes
        self.assertEqual(len(nodes), 1000)
        self.assertEqual(len(busctl("--list", "tree", NAME).split()), 9 + 1000)


if __name__ == "__main__":
    unittest.main()
