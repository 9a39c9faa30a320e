#!/usr/bin/python3
"""What the server tells the event log. Wine keeps no such log; it traces what it is told."""

import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

from wine_client import WINE, Database, begin_new_session

CLIENT = sys.argv.pop(1)
ROLE_PASSWORD = "secret of the role"
PATIENCE = 180  # seconds


class EventLog(unittest.TestCase):
    def setUp(self):
        # A server that is there already was started without a trace.
        begin_new_session()

    def events(self, connect):
        """Of a server whose only client connects in vain, from its beginning to its end."""
        with tempfile.TemporaryFile("w+", errors="replace") as traced:
            subprocess.run([WINE / "wine64", CLIENT, connect, Database.ROLE, ROLE_PASSWORD],
                           input="quit\n", text=True, stdout=subprocess.DEVNULL, stderr=traced,
                           timeout=PATIENCE, env={**os.environ, "WINEDEBUG": "-all,+eventlog"})
            deadline = time.monotonic() + PATIENCE
            while True:
                traced.seek(0)
                told = traced.read()
                if '"Ending"' in told or time.monotonic() > deadline:
                    return told
                time.sleep(0.1)

    def test_is_told_the_beginning_what_the_database_refused_and_the_end(self):
        database = Database(self)
        told = self.events(database.connect)
        events = re.findall(r'(trace|warn|err):eventlog:ReportEventW L"(.*)"', told)
        self.assertTrue(events, told)
        self.assertEqual((events[0], events[-1]), (("trace", "Serving"), ("trace", "Ending")))
        refused = [text for kind, text in events if kind == "warn"]
        self.assertTrue(refused)
        self.assertRegex(refused[0], r"^A call of a client failed: -\d+ \(\d+\): ")
        self.assertNotIn(ROLE_PASSWORD, told)


if __name__ == "__main__":
    unittest.main()
