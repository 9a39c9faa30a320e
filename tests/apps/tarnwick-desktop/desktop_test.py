"""The windows, on a screen of the test's own. TARNWICK_DESKTOP names the program; with
TARNWICK_PICTURES, pictures of the windows are left in that folder."""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "automation" / "dbus"))

from locks_test import TEXT, TITLE, LockTest  # noqa: E402
from private_bus import PASSWORD, ROLE, until  # noqa: E402


# The message WM_DELETE_WINDOW by the X library itself.
CLOSE_BOX = """
import ctypes, sys
x = ctypes.CDLL("libX11.so.6")
x.XOpenDisplay.restype = ctypes.c_void_p
x.XInternAtom.restype = ctypes.c_ulong
display = ctypes.c_void_p(x.XOpenDisplay(None))

class ClientMessage(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong),
                ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5), ("padding", ctypes.c_long * 16)]

event = ClientMessage()
event.type = 33
event.window = int(sys.argv[1])
event.message_type = x.XInternAtom(display, b"WM_PROTOCOLS", 0)
event.format = 32
event.data[0] = x.XInternAtom(display, b"WM_DELETE_WINDOW", 0)
x.XSendEvent(display, ctypes.c_ulong(event.window), 0, ctypes.c_long(0), ctypes.byref(event))
x.XCloseDisplay(display)
"""


class Screen:
    """An X server without a monitor."""

    def __init__(self):
        reading, writing = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", "900x500x24", "-nolisten", "tcp",
             "-noreset"],
            pass_fds=[writing], stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as numbers:
            self.name = f":{numbers.readline().strip()}"
        self.environment = {**os.environ, "DISPLAY": self.name}

    def close(self):
        self.process.terminate()
        self.process.wait()

    def xdotool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, capture_output=True,
                              text=True).stdout.strip()

    def window(self, title):
        """Number of the visible window, which will come."""
        pattern = f"^{re.sub('[^A-Za-z ]', '.', title)}$"
        until(lambda: self.xdotool("search", "--onlyvisible", "--name", pattern), "the window")
        return self.xdotool("search", "--onlyvisible", "--name", pattern)

    def size(self, window):
        geometry = self.xdotool("getwindowgeometry", "--shell", window)
        values = dict(line.split("=") for line in geometry.splitlines())
        return int(values["WIDTH"]), int(values["HEIGHT"])

    def press(self, window, keys):
        self.xdotool("windowfocus", "--sync", window, "key", keys)

    def click(self, window, x, y):
        self.xdotool("mousemove", "--window", window, str(x), str(y), "click", "1")

    def click_close_box(self, window):
        """Sends what a window manager sends then."""
        subprocess.run([sys.executable, "-B", "-c", CLOSE_BOX, window], env=self.environment,
                       check=True)

    def picture(self, name):
        folder = os.environ.get("TARNWICK_PICTURES")
        if folder:
            with open(pathlib.Path(folder) / f"{name}.xwd", "wb") as file:
                subprocess.run(["xwd", "-root", "-silent"], env=self.environment, stdout=file,
                               check=True)


class OnScreen(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.screen = Screen()
        cls.addClassCleanup(cls.screen.close)

    def start(self, *arguments):
        process = subprocess.Popen([os.environ["TARNWICK_DESKTOP"], *arguments],
                                   env=self.screen.environment, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(process.stdin.close)
        return process

    def printed(self, process):
        text = process.stdout.read()
        self.assertEqual(process.wait(), 0)
        return text


class Question(OnScreen):
    def ask(self):
        process = self.start("retry-or-cancel", TITLE, TEXT)
        return process, self.screen.window(TITLE)

    def test_is_answered_by_mnemonics_and_by_enter_and_escape(self):
        for keys, answer in (("alt+r", "retry\n"), ("alt+c", "cancel\n"), ("Return", "retry\n"),
                             ("Escape", "cancel\n")):
            process, window = self.ask()
            self.screen.press(window, keys)
            self.assertEqual(self.printed(process), answer, keys)

    def test_is_answered_by_its_buttons(self):
        for from_right, answer in ((64, "cancel\n"), (64 + 112, "retry\n")):
            process, window = self.ask()
            width, height = self.screen.size(window)
            self.screen.picture(f"question-{answer.strip()}")
            self.screen.click(window, width - from_right, height - 30)
            self.assertEqual(self.printed(process), answer)

    def test_is_answered_by_cancel_when_the_window_is_closed_or_nobody_waits_any_more(self):
        process, window = self.ask()
        self.screen.click_close_box(window)
        self.assertEqual(self.printed(process), "cancel\n")
        process, window = self.ask()
        process.stdin.close()
        self.assertEqual(self.printed(process), "cancel\n")

    def test_shows_any_text(self):
        title = "@title & more"
        process = self.start("inform", title, "line one, \u00fcn\u00efcode @ &\nline two")
        window = self.screen.window(title)
        self.screen.picture("inform")
        self.screen.press(window, "alt+o")
        self.assertEqual(self.printed(process), "")


class WaitDialog(OnScreen):
    # 1665 and 1215 twips at 96 pixels to the inch.
    WITH_BUTTON = 111
    WITHOUT_BUTTON = 81

    def setUp(self):
        self.process = self.start("wait")
        self.window = self.screen.window("Locked!")

    def tell(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def show_cancel(self, on):
        self.tell(f"show-cancel {'on' if on else 'off'}")
        height = self.WITH_BUTTON if on else self.WITHOUT_BUTTON
        until(lambda: self.screen.size(self.window)[1] == height, "the other height")

    def test_is_lower_without_its_button(self):
        self.assertEqual(self.screen.size(self.window)[1], self.WITHOUT_BUTTON)
        self.screen.picture("wait-without-button")
        self.show_cancel(True)
        self.screen.picture("wait-with-button")
        self.show_cancel(False)
        self.tell("unload")
        self.assertEqual(self.printed(self.process), "unloaded\n")

    def test_is_cancelled_by_its_button(self):
        self.show_cancel(True)
        width, height = self.screen.size(self.window)
        self.screen.click(self.window, width // 2, height - 25)
        self.assertEqual(self.printed(self.process), "cancelled\n")

    def test_is_cancelled_by_the_mnemonic_of_its_button(self):
        self.show_cancel(True)
        self.screen.press(self.window, "alt+c")
        self.assertEqual(self.printed(self.process), "cancelled\n")

    def test_is_not_cancelled_by_a_button_that_is_not_there_nor_by_escape(self):
        self.show_cancel(True)
        self.show_cancel(False)
        self.screen.press(self.window, "alt+c")
        self.screen.press(self.window, "Escape")
        self.process.stdin.close()
        self.assertEqual(self.printed(self.process), "unloaded\n")

    def test_is_cancelled_by_its_close_box(self):
        self.screen.click_close_box(self.window)
        self.assertEqual(self.printed(self.process), "cancelled\n")


class WithoutAScreen(unittest.TestCase):
    def test_the_program_says_so(self):
        environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
        for arguments in (("retry-or-cancel", "a", "b"), ("wait",)):
            result = subprocess.run([os.environ["TARNWICK_DESKTOP"], *arguments], text=True,
                                    env=environment, capture_output=True)
            self.assertEqual(result.returncode, 1)
            self.assertIn("display", result.stderr)
            self.assertEqual(result.stdout, "")


class LockOnScreen(LockTest):
    def setUp(self):
        self.screen = Screen()
        self.addCleanup(self.screen.close)
        os.environ["DISPLAY"] = self.screen.name
        self.addCleanup(os.environ.pop, "DISPLAY")
        super().setUp()


class CommandLine(LockOnScreen):
    """A lock that a command met which was typed on no terminal."""

    def start(self, *arguments):
        password = self.folder / "password"
        password.write_text(PASSWORD)
        process = subprocess.Popen(
            [os.environ["TARNWICK"], "--connect", self.db.connect_string, "--role", ROLE,
             "--password-file", password, *arguments], text=True, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def set_name(self, *switches):
        return self.start(*switches, "component", "set", "7", "--name", "Mine")

    def test_asks_on_the_desktop(self):
        for way in (("--in-process",), ("--address", self.bus.address)):
            process = self.set_name(*way)
            self.screen.press(self.screen.window(TITLE), "Escape")
            self.assertEqual(process.communicate(), (
                "", "tarnwick: Component 7 is being maintained by another process.\n"))
            self.assertEqual(process.returncode, 4)

    def test_gives_up_where_nobody_answers_there(self):
        process = self.set_name("--in-process", "--question-timeout", "1")
        self.assertIn("Nobody answered on the desktop. Answered: Cancel.\n",
                      process.communicate()[1])
        self.assertEqual(process.returncode, 4)


class Service(LockOnScreen):
    """A lock that a client met who answers no questions."""

    switches = ("--question-timeout", "30")

    def test_asks_on_the_desktop(self):
        wait = self.asking.start_call(self.record.path, self.record.interface, "LockRecord")
        self.screen.press(self.screen.window(TITLE), "alt+r")
        # The row is free before the second question is answered.
        window = self.screen.window(TITLE)
        self.held.call("ReleaseRecord")
        self.screen.press(window, "Return")
        self.assertIs(wait(), True)
        self.assertNotIn("Answered", self.log.read_text())


if __name__ == "__main__":
    for needed in ("Xvfb", "xdotool"):
        if not any((pathlib.Path(folder) / needed).exists()
                   for folder in os.environ["PATH"].split(os.pathsep)):
            sys.exit(f"{needed} is not installed")
    unittest.main()
