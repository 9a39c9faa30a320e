"""Strangers that do anything to the service, chosen by a seed, while a client wants to be served.

Without anything in the environment it plays one seed. TARNWICK_STRANGERS_SECONDS lets it go on from
seed to seed for that long, from TARNWICK_STRANGERS_SEED; it prints the next one."""

import os
import random
import socket
import time
import unittest

from private_bus import NAME, ROOT, BusTest, Client, Failed, Gio, GLib, is_sanitized, until, variant
from strangers_test import BUS, MEGABYTE, PROPERTIES, Watched, send_call

SECONDS = int(os.environ.get("TARNWICK_STRANGERS_SECONDS", "0"))
SEED = int(os.environ.get("TARNWICK_STRANGERS_SEED", "1"))
ROUNDS = 40  # with one seed
STRANGERS = 4
FLOOD = 300
CLASSES = ("Server", "Component", "Components", "RegisteredPC", "RegisteredPCs", "Report",
           "Reports")
MEMBERS = ("CreateObject", "Release", "SetLockPrompt", "Share", "FindPCs", "ReportFiles", "Item",
           "Add", "Remove", "Update", "Delete", "LockRecord", "ReleaseRecord", "Refresh",
           "GetRows", "GetLastCause", "ClearLastCause", "Look", "Insert", "Get", "GetAll", "Set",
           "Introspect", "Ping", "NoSuchMember")
PROPERTY_NAMES = ("Name", "Title", "SQL", "Count", "LastErrorMsg", "CompID", "NoSuchProperty")


def blob(serial, destination, path, interface, member):
    """The bytes of a call."""
    message = Gio.DBusMessage.new_method_call(destination, path, interface, member)
    message.set_serial(serial)
    return message.to_blob(Gio.DBusCapabilityFlags.NONE)


class Stranger:
    """A client without manners. What it is answered, it mostly does not read."""

    def __init__(self, chance, address):
        self.chance = chance
        self.address = address
        self.client = Client(address)
        self.paths = [ROOT]

    def close(self):
        if not self.client.connection.is_closed():
            self.client.close()

    def value(self, depth=0):
        """A signature and a value of it."""
        pick = self.chance.randrange(11 if depth < 4 else 7)
        if pick == 0:
            return "s", self.chance.choice(("", "x", *CLASSES, "'; DELETE FROM DW_Reports",
                                            "\u00fe" * 9, "x" * self.chance.choice((1000, MEGABYTE))))
        if pick == 1:
            return "i", self.chance.choice((0, 1, -1, 2**31 - 1, -2**31))
        if pick == 2:
            return "b", bool(self.chance.randrange(2))
        if pick == 3:
            return "o", self.chance.choice((*self.paths, "/", "/nobody", f"{ROOT}/Report/0_0"))
        if pick == 4:
            return "d", self.chance.choice((0.0, float("nan"), float("inf"), -1e308, 1.5))
        if pick == 5:
            return "u", self.chance.choice((0, 1, 2**32 - 1))
        if pick == 6:
            return "ay", bytes(self.chance.randrange(64))
        if pick == 7:
            return "as", ["x"] * self.chance.randrange(100)
        if pick in (8, 9):
            return "v", GLib.Variant(*self.value(depth + 1))
        signature, value = self.value(depth + 1)
        return f"({signature})", (value,)

    def body(self):
        values = [self.value() for _ in range(self.chance.choice((0, 0, 1, 1, 1, 2, 3, 8)))]
        return "".join(signature for signature, _ in values), [value for _, value in values]

    def anything(self):
        member = self.chance.choice(MEMBERS)
        interface = self.chance.choice(
            (f"{NAME}.Automation", f"{NAME}.LastCause", f"{NAME}.Rows", f"{NAME}.Record",
             PROPERTIES, "org.freedesktop.DBus.Introspectable", "a.b",
             *(f"{NAME}.{one}" for one in CLASSES)))
        signature, body = self.body()
        if interface == PROPERTIES and self.chance.randrange(2):
            known = f"{NAME}.{self.chance.choice(CLASSES)}"
            signature, body = "ss", [known, self.chance.choice(PROPERTY_NAMES)]
        send_call(self.client, NAME, self.chance.choice(self.paths), interface, member, signature,
                  *body, answered=bool(self.chance.randrange(2)))
        return 1

    def create(self):
        path = self.client.automation.call("CreateObject", "s", self.chance.choice(CLASSES))
        self.paths = [*self.paths[-20:], path]
        return 1

    def create_report(self):
        self.paths.append(self.client.automation.call("CreateObject", "s", "Report"))
        return self.paths[-1]

    def release(self):
        # A path may come twice, and may be a property's.
        send_call(self.client, NAME, ROOT, f"{NAME}.Automation", "Release", "o",
                  self.chance.choice(self.paths))
        return 1

    def fake_answer(self):
        fake = Gio.DBusMessage()
        fake.set_message_type(Gio.DBusMessageType.METHOD_RETURN)
        fake.set_destination(NAME)
        fake.set_reply_serial(self.chance.randrange(1, 1000))
        fake.set_body(GLib.Variant("(b)", (True,)))
        self.client.connection.send_message(fake, Gio.DBusSendMessageFlags.NONE)
        return 1

    def flood(self):
        for _ in range(FLOOD):
            send_call(self.client, NAME, ROOT, f"{NAME}.Automation",
                      self.chance.choice(("CreateObject", "Release", "ReportFiles")), "s", "Report",
                      answered=True)
        return FLOOD

    def large(self):
        send_call(self.client, NAME, self.create_report(), PROPERTIES, "Set", "ssv",
                  f"{NAME}.Report", "SQL", variant("s", "x" * (4 * MEGABYTE)))
        return 1

    def speak_raw(self):
        """Asks for much, reads a part of the first answer, and is gone; the last call is cut off."""
        with socket.socket(socket.AF_UNIX) as raw:
            raw.connect(self.address.partition("=")[2])
            uid = str(os.getuid()).encode().hex()
            raw.sendall(f"\0AUTH EXTERNAL {uid}\r\nBEGIN\r\n".encode())
            raw.sendall(blob(1, BUS, "/org/freedesktop/DBus", BUS, "Hello"))
            calls = b"".join(blob(serial, NAME, ROOT, "org.freedesktop.DBus.Introspectable",
                                  "Introspect") for serial in range(2, 52))
            raw.sendall(calls[:len(calls) - self.chance.randrange(1, 100)])
            raw.recv(self.chance.randrange(1, 5000))
        return 50

    def leave(self):
        if self.chance.randrange(2):
            self.client.connection.flush_sync()  # else what is unsent is lost
        self.close()
        self.client = Client(self.address)
        self.paths = [ROOT]
        return 0

    def act(self):
        deed = self.chance.choices(
            (self.anything, self.create, self.release, self.fake_answer, self.flood, self.large,
             self.leave, self.speak_raw), (40, 8, 8, 4, 1, 1, 2, 2))[0]
        try:
            return deed()
        except Failed:
            return 1


class WhileStrangersDoAnything(Watched, BusTest):
    # A sanitizer keeps what was given back, and needs room for that.
    switches = ("--most-memory", "4096" if is_sanitized() else "256", "--most-objects", "500")

    def serve(self, client, number):
        """One client's work, with exact results."""
        report = client.create("Report")
        report.set("Title", "s", f"Title {number}")
        self.assertEqual(report.get("Title"), f"Title {number}")
        self.assertEqual(report.get("SQL"), "")
        client.release(report)
        # The cause is a client's own; the account of errors is one for all.
        self.assertEqual(client.call(ROOT, f"{NAME}.LastCause", "GetLastCause"),
                         (0, 0, 0, "", False))
        found = client.automation.call("FindPCs", "s", "PC1")
        self.assertEqual(found, [("00-AA", "PC1", 1)])

    def play(self, seed):
        chance = random.Random(seed)
        polite = self.client()
        strangers = [Stranger(chance, self.bus.address) for _ in range(STRANGERS)]
        sent = 0
        for number in range(ROUNDS):
            for _ in range(20):
                sent += chance.choice(strangers).act()
            self.serve(polite, number)
        for stranger in strangers:
            stranger.close()
        polite.close()
        until(lambda: self.watching.held_classes() == ["Server"], "the end of what they made")
        return sent

    def test_a_client_is_served_and_nothing_grows(self):
        self.db = self.database()
        self.db.add_components([(1, "One")])
        self.db.add_pcs([("00-AA", "PC1", 1)])
        self.watching = self.client()
        self.connected_server(self.watching, self.db)
        # So nobody else connects to another database.
        self.assertIs(self.watching.automation.call("Reserve", "s", self.db.connect_string), True)
        end, seed = time.monotonic() + SECONDS, SEED
        sent = self.play(seed)
        descriptors, played = self.descriptors(), 1
        while time.monotonic() < end:
            seed += 1
            with self.subTest(seed=seed):
                sent += self.play(seed)
                self.assertEqual(self.descriptors(), descriptors)
            played += 1
        print(f"seeds: {played}, messages: {sent}, descriptors: {self.descriptors()},"
              f" memory: {self.memory('VmHWM') // MEGABYTE} MiB, next seed: {seed + 1}", flush=True)
        self.need_true_memory()
        self.assertLess(self.memory("VmHWM"), (256 + 64) * MEGABYTE)


if __name__ == "__main__":
    unittest.main()
