"""Command lines that real shells complete: bash, zsh and fish."""

import hashlib
import os
import pathlib
import shutil
import socket
import sqlite3
import subprocess
import tempfile
import unittest

from shell import ALL, TAB

ROLE = "dw_admin"
# What a name may hold that means something to one shell or another, but the single quote, which no
# command takes.
HOSTILE = ('Ärger & "Co" $HOME `id` $(id) \\ (x) [a] {b,c} * ? ! # ; | < > ^ %', "~home = a:b@c",
           "-dash", "Büro Süd", "tab-less  two blanks")


def program(*arguments, environment=None, stdin=subprocess.DEVNULL):
    return subprocess.run([os.environ["TARNWICK"], *arguments], capture_output=True, text=True,
                          stdin=stdin, env={**clean_environment(), **(environment or {})})


def clean_environment():
    return {name: value for name, value in os.environ.items() if not name.startswith("TARNWICK")
            and name not in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "DISPLAY")}


class Shells(unittest.TestCase):
    """Each test goes through all shells, with the sample data in a database of the class's own."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.shared = pathlib.Path(folder.name)
        cls.password_file = cls.shared / "password"
        cls.password_file.write_text("open sesame\n")
        made = program("init", str(cls.shared / "db"), "--role", ROLE, "--password-file",
                       str(cls.password_file), "--sample")
        if made.returncode != 0:
            raise AssertionError(made.stderr)
        with sqlite3.connect(cls.database_file()) as database:
            database.executemany("INSERT INTO DW_Reports (ReportName) VALUES (?)",
                                 [(name,) for name in HOSTILE])
            # One round, since the program waits for names only so long.
            database.execute("UPDATE DW_APP_ROLE SET Salt = ?, Iterations = 1, Hash = ?",
                             (b"salt", hashlib.pbkdf2_hmac("sha512", b"open sesame", b"salt", 1)))
        database.close()

    @classmethod
    def database_file(cls):
        return cls.shared / "db/Velmar_Sec.db"

    @classmethod
    def connection(cls):
        return {"TARNWICK_CONNECT": f"Provider=Tarnwick.Embedded;Data Source={cls.shared / 'db'}",
                "TARNWICK_ROLE": ROLE, "TARNWICK_PASSWORD_FILE": str(cls.password_file)}

    def start(self, kind, environment):
        folder = tempfile.mkdtemp(prefix=f"{kind.NAME}-")
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        shell = kind(folder, environment)
        self.addCleanup(shell.close)
        return shell

    def in_each(self, check, environment=None, kinds=ALL):
        """Runs `check` with a shell of each kind; where nothing else is said, with a connection."""
        for kind in kinds:
            with self.subTest(shell=kind.NAME):
                check(self.start(kind, self.connection() if environment is None else environment))

    def assert_lines(self, expected, environment=None):
        """`expected`: keys, and the line that comes of them."""
        def check(shell):
            for keys, line in expected:
                self.assertEqual(shell.line_after(keys), line, keys)
        self.in_each(check, environment)

    def assert_arguments(self, expected, environment=None):
        """`expected`: keys, and the arguments that the program is given then."""
        def check(shell):
            for keys, arguments in expected:
                self.assertEqual(shell.arguments_after(keys), arguments, keys)
        self.in_each(check, environment)


class CommandLines(Shells):
    def test_complete_commands_and_the_commands_below_them(self):
        self.assert_lines([("tarnwick rep" + TAB, "tarnwick report "),
                           ("tarnwick rep" + TAB + "rena" + TAB, "tarnwick report rename "),
                           ("tarnwick lock ho" + TAB + "re" + TAB, "tarnwick lock hold report "),
                           ("tarnwick --json component tr" + TAB,
                            "tarnwick --json component tree ")], {})

    def test_complete_options_wherever_they_may_stand(self):
        self.assert_lines([("tarnwick --pass" + TAB, "tarnwick --password-file "),
                           ("tarnwick pc list --ina" + TAB, "tarnwick pc list --inactive "),
                           ("tarnwick pc list --js" + TAB, "tarnwick pc list --json "),
                           ("tarnwick report set X --report-v" + TAB,
                            "tarnwick report set X --report-version ")], {})

    def test_complete_the_values_that_an_option_has(self):
        self.assert_lines(
            [("tarnwick completion f" + TAB, "tarnwick completion fish "),
             ("tarnwick --when-locked c" + TAB, "tarnwick --when-locked cancel "),
             ("tarnwick component set 1 --maintenance-type ComponentW" + TAB,
              "tarnwick component set 1 --maintenance-type ComponentWithPCs "),
             ("tarnwick component set 1 --force-display y" + TAB,
              "tarnwick component set 1 --force-display yes "),
             ("tarnwick pc show X --field Software" + TAB,
              "tarnwick pc show X --field SoftwareVersion "),
             ("tarnwick component show 1 --field=Sec" + TAB,
              "tarnwick component show 1 --field=SecurityGroup ")], {})

    def test_show_what_there_is_to_choose_from_and_what_it_is_for(self):
        def check(shell):
            shown = shell.shown_after("tarnwick pc de")
            for text in ("deactivate", "Shuts a PC out", "delete", "Takes a PC out"):
                self.assertIn(text, shown)
            self.assertNotIn("activate  ", shown.replace("deactivate", ""))
        self.in_each(check, {})

    def test_leave_alone_what_is_no_command(self):
        self.assert_lines([("tarnwick nonsense x" + TAB, "tarnwick nonsense x"),
                           ("tarnwick pc nonsense" + TAB, "tarnwick pc nonsense")], {})

    def test_complete_files_and_folders_where_they_are_wanted(self):
        def check(shell):
            (shell.place / "folder one").mkdir()
            (shell.place / "folder.ttx").write_text("")
            (shell.place / "it's.rpt").write_text("")
            init = shell.arguments_after("tarnwick init fo" + TAB)
            self.assertEqual([word.rstrip("/") for word in init], ["init", "folder one"])
            for keys, arguments in (
                    ("tarnwick report import-ttx X folder." + TAB,
                     ["report", "import-ttx", "X", "folder.ttx"]),
                    ("tarnwick report store X it" + TAB, ["report", "store", "X", "it's.rpt"]),
                    ("tarnwick report add X --ttx-file=folder." + TAB,
                     ["report", "add", "X", "--ttx-file=folder.ttx"])):
                self.assertEqual(shell.arguments_after(keys), arguments)
        self.in_each(check, {})

    def test_complete_no_files_where_they_are_not_wanted(self):
        def check(shell):
            (shell.place / "report.txt").write_text("")
            self.assertEqual(shell.line_after("tarnwick report show rep" + TAB),
                             "tarnwick report show rep")
        self.in_each(check)

    def test_complete_file_names_behind_a_redirection(self):
        def check(shell):
            (shell.place / "Open.txt").write_text("")
            self.assertEqual(shell.line_after("tarnwick report list >Op" + TAB).rstrip(),
                             "tarnwick report list >Open.txt")
        self.in_each(check)


class Names(Shells):
    def test_of_reports_are_completed_with_their_blanks(self):
        self.assert_arguments([("tarnwick report show Op" + TAB, ["report", "show", "Open Orders"]),
                               ("tarnwick lock hold report PC" + TAB,
                                ["lock", "hold", "report", "PC Register"]),
                               ("tarnwick report show Sales\\ by" + TAB,
                                ["report", "show", "Sales by Region"])])

    def test_are_completed_inside_quotes(self):
        self.assert_arguments(
            [(f"tarnwick report show {quote}Open O{TAB}", ["report", "show", "Open Orders"])
             for quote in "'\""])

    def test_are_completed_in_any_letter_case(self):
        self.assert_arguments([("tarnwick report show open" + TAB,
                                ["report", "show", "Open Orders"])])

    def test_are_quoted_as_the_shell_wants_it(self):
        self.assert_arguments(
            [("tarnwick report show Är" + TAB, ["report", "show", HOSTILE[0]]),
             ("tarnwick report show 'Är" + TAB, ["report", "show", HOSTILE[0]]),
             ("tarnwick report show Büro" + TAB, ["report", "show", "Büro Süd"]),
             ("tarnwick report show tab" + TAB, ["report", "show", "tab-less  two blanks"])])

    def test_are_quoted_inside_double_quotes(self):
        self.assert_arguments([('tarnwick report show "Är' + TAB, ["report", "show", HOSTILE[0]])])

    def test_that_begin_with_a_tilde_or_hold_breaks_are_completed(self):
        self.assert_arguments(
            [("tarnwick report show \\~h" + TAB, ["report", "show", "~home = a:b@c"]),
             ("tarnwick report show '~home = a:" + TAB, ["report", "show", "~home = a:b@c"])])

    def test_of_components_are_shown_with_their_ids(self):
        def check(shell):
            shown = shell.shown_after("tarnwick component show 1")
            for text in ("10", "Order Analysis", "11", "Customer Profitability"):
                self.assertIn(text, shown)
        self.in_each(check)

    def test_of_pcs_are_completed(self):
        self.assert_arguments(
            [("tarnwick pc show VEL-FIN-005" + TAB, ["pc", "show", "VEL-FIN-005"]),
             ("tarnwick pc show VEL-SAL-012 --mac " + TAB,
              ["pc", "show", "VEL-SAL-012", "--mac", "02-5A-CD-1D-C9-76"])])

    def test_are_those_of_the_component_that_is_named(self):
        def check(shell):
            shown = shell.shown_after("tarnwick pc show --component 10 VEL-SAL-0")
            self.assertIn("VEL-SAL-012", shown)
            self.assertNotIn("VEL-SAL-001", shown)
        self.in_each(check)

    def test_come_from_the_connection_that_the_line_itself_names(self):
        connection = self.connection()
        keys = (f"tarnwick --connect '{connection['TARNWICK_CONNECT']}' --role={ROLE} "
                "--password-file $KEPT/password report show Op" + TAB)
        def check(shell):
            self.assertEqual(shell.arguments_after(keys)[-1], "Open Orders")
        self.in_each(check, {"KEPT": str(self.shared)})

    def test_are_none_where_the_connection_is_wrong(self):
        wrong_password = self.shared / "wrong"
        wrong_password.write_text("shut sesame\n")
        for change in ({"TARNWICK_CONNECT": "Provider=Tarnwick.Embedded;Data Source=/nowhere"},
                       {"TARNWICK_CONNECT": "nonsense"},
                       {"TARNWICK_ROLE": "nobody"},
                       {"TARNWICK_PASSWORD_FILE": str(wrong_password)},
                       {"TARNWICK_PASSWORD_FILE": ""}):
            def check(shell):
                self.assertEqual(shell.line_after("tarnwick report show Op" + TAB),
                                 "tarnwick report show Op")
                self.assertNotIn("\n", shell.screen.rstrip())
            with self.subTest(**change):
                self.in_each(check, {**self.connection(), **change})


class Questions(Shells):
    """What the shells ask the program."""

    def ask(self, *words, environment=None, stdin=subprocess.DEVNULL):
        answer = program("complete", "--", *words, stdin=stdin,
                         environment=self.connection() if environment is None else environment)
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))
        return answer.stdout.splitlines()

    def test_are_put_by_powershell_on_the_standard_input(self):
        for words, expected in (("report\r\nsho\r\n", "show"), ("report\n\n", "list"), ("", "init"),
                                ("report\nshow\nOpen\n", "Open Orders\tOpen Orders per Customer")):
            with self.subTest(words=words), tempfile.TemporaryFile("w+") as typed:
                typed.write(words)
                typed.seek(0)
                answer = program("complete", "powershell", stdin=typed,
                                 environment=self.connection())
                self.assertEqual((answer.returncode, answer.stderr), (0, ""))
                lines = answer.stdout.splitlines()
                self.assertEqual(lines[0], "words")
                self.assertTrue(any(line.startswith(expected) for line in lines[1:]), lines)

    def test_change_nothing(self):
        def content():
            return {path.name: path.read_bytes() for path in (self.shared / "db").iterdir()}
        before = content()
        self.assertIn("Open Orders\tOpen Orders per Customer", self.ask("report", "show", ""))
        self.assertIn("VEL-SAL-012", self.ask("pc", "show", ""))
        self.assertEqual(content(), before)

    def test_are_answered_while_others_hold_the_rows(self):
        holder = subprocess.Popen(
            [os.environ["TARNWICK"], "--in-process", "lock", "hold", "report", "Open Orders"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
            env={**clean_environment(), **self.connection()})
        self.addCleanup(holder.communicate, "\n")
        self.assertIn("locked", holder.stdout.readline())
        self.assertEqual(self.ask("report", "show", "Open"),
                         ["words", "Open Orders\tOpen Orders per Customer"])

    def test_never_take_a_password_from_a_terminal_or_a_pipe(self):
        reading, writing = os.pipe()
        os.write(writing, b"open sesame\n")
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        for file in ("", "/dev/stdin", "/nowhere"):
            self.assertEqual(
                self.ask("report", "show", "", stdin=reading,
                         environment={**self.connection(), "TARNWICK_PASSWORD_FILE": file}),
                ["words"])
        self.assertEqual(os.read(reading, 100), b"open sesame\n")

    def test_are_given_up_where_a_server_does_not_answer(self):
        listener = socket.create_server(("127.0.0.1", 0))
        self.addCleanup(listener.close)
        port = listener.getsockname()[1]
        connect = f"Provider=MSDASQL;Driver=FreeTDS;Server=127.0.0.1;Port={port};UID=a;PWD=b"
        self.assertEqual(
            self.ask("report", "show", "",
                     environment={**self.connection(), "TARNWICK_CONNECT": connect}), [])

    def test_do_not_offer_names_that_no_command_takes(self):
        file = self.shared / "quoted"
        shutil.copytree(self.shared / "db", file)
        with sqlite3.connect(file / "Velmar_Sec.db") as database:
            database.execute("INSERT INTO DW_Reports (ReportName) VALUES ('It''s'), "
                             "('two' || char(10) || 'lines')")
        database.close()
        environment = {**self.connection(),
                       "TARNWICK_CONNECT": f"Provider=Tarnwick.Embedded;Data Source={file}"}
        self.assertEqual(self.ask("report", "show", "It", environment=environment), ["words"])
        self.assertEqual(self.ask("report", "show", "two", environment=environment), ["words"])

    def test_are_no_command_of_the_help(self):
        self.assertNotRegex(program("--help").stdout, "\n  complete ")
        self.assertEqual(program("complete", "nonsense").returncode, 2)


if __name__ == "__main__":
    unittest.main()
