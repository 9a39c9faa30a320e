"""A stand-in for SQL Server: speaks its protocol on a port of this machine and understands the
statements that the tests send. It shows what a real ODBC driver makes of them; it is no proof of
what a real server would say.

  server.py --log FILE             prints "port N" and serves until its input ends
  server.py --serve COMMAND ...    runs COMMAND with TARNWICK_TEST_SQLSERVER naming this server

The administrator is "sa" with the password "Stand-in-1". Beside SQL there are orders for faults,
each for the next request whose line in the log holds TEXT:

  STAND_IN FAIL 'TEXT' NUMBER 'MESSAGE'       the error, and nothing is done
  STAND_IN ROLL_BACK 'TEXT' NUMBER 'MESSAGE'  the same, and the transaction is gone
  STAND_IN LATE 'TEXT' NUMBER 'MESSAGE'       the error behind the rows
  STAND_IN DROP 'TEXT'                        the connection is cut before anything is done
  STAND_IN CUT 'TEXT'                         the connection is cut in the middle of the answer,
                                              among the rows if there are any
  STAND_IN DONE 'TEXT'                        the connection is cut after all was done
  STAND_IN RESET 'TEXT'                       the connection is reset before anything is done
  STAND_IN HALF 'TEXT'                        nothing is done, the server's half is closed and
                                              what comes over the other one is read and passed over
  STAND_IN SLOW 'TEXT'                        nothing is done; answered only once it is cancelled
  STAND_IN SILENT 'TEXT'                      nothing is done or answered on this connection any more
  STAND_IN STALL 'TEXT'                       silent in the middle of the answer, where CUT cuts

STAND_IN CLIENT answers with what the client said of itself at the login.
"""

import argparse
import os
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading

import tds_wire as wire
from tables import Database, Locking, SqlError
from tds_wire import Type

ADMINISTRATOR, PASSWORD = "sa", "Stand-in-1"


class Fault:
    def __init__(self, kind, text, number=None, message=None):
        self.kind, self.text = kind, text.replace("''", "'")
        self.error = SqlError(int(number), message) if number else None


class Server:
    def __init__(self, log):
        self.changed = threading.Condition()
        self.databases = {"master": Database(self.changed)}
        self.logins = {ADMINISTRATOR: PASSWORD}
        self.roles = {}  # (database, role) -> password
        self.viewers = {ADMINISTRATOR}  # logins that may view the server's state
        self.sessions = {}
        self.faults = []
        self.log = log
        self.last_number = 50
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]

    def serve(self):
        while True:
            sock, _ = self.listener.accept()
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self.last_number += 1
            session = Session(self, sock, self.last_number)
            self.sessions[session.number] = session
            threading.Thread(target=session.serve, daemon=True).start()

    def write_log(self, session, line):
        if self.log:
            line = re.sub(r"\s*\n\s*", " ", line)
            self.log.write(f"{session.number} {line}\n")
            self.log.flush()

    def take_fault(self, line):
        if line.startswith("batch STAND_IN"):
            return None
        for fault in self.faults:
            if fault.text in line:
                self.faults.remove(fault)
                return fault
        return None


class Session(Locking):
    def __init__(self, server, sock, number):
        super().__init__(number, server.changed)
        self.server, self.sock = server, sock
        self.user = ""
        self.role = None
        self.database_name = "master"
        self.descriptor = 0
        self.is_silent = False
        self.notices = b""  # tokens that stand before the next answer

    # --- Requests ----------------------------------------------------------------------------------

    def serve(self):
        try:
            while True:
                kind, content = wire.receive_message(self.sock)
                with self.changed:
                    answer = self.answer(kind, content)
                if answer is not None:
                    wire.send_message(self.sock, answer)
        except (wire.Closed, OSError):
            pass
        finally:
            with self.changed:
                self.end_transaction(commit=False)
                self.server.sessions.pop(self.number, None)
            self.sock.close()

    def answer(self, kind, content):
        if self.is_silent:
            return None
        if kind == wire.PRELOGIN:
            return wire.prelogin_answer()
        if kind == wire.LOGIN:
            return self.log_in(wire.read_login(content))
        if kind == wire.ATTENTION:
            return struct.pack("<BHHQ", 0xFD, 0x20, 0, 0)
        if kind == wire.TRANSACTION:
            return self.answer_transaction(*wire.read_transaction(content))
        if kind == wire.RPC:
            return self.answer_procedure(*wire.read_rpc(content))
        statement = wire.read_batch(content)
        return self.answer_statement("batch " + statement, statement, None)

    def suffer(self, fault):
        """What a fault does to the connection before anything is done: true where the request stays
        without an answer."""
        if fault is None:
            return False
        if fault.kind == "RESET":
            self.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        if fault.kind in ("DROP", "RESET"):
            raise wire.Closed
        if fault.kind == "HALF":
            self.end_transaction(commit=False)
            self.sock.shutdown(socket.SHUT_WR)
        self.is_silent = fault.kind in ("HALF", "SILENT")
        return self.is_silent or fault.kind == "SLOW"

    def log_in(self, login):
        line = f"login user={login['user']} application={login['application']} " \
               f"database={login['database']}"
        self.server.write_log(self, line)
        if self.suffer(self.server.take_fault(line)):
            return None
        if self.server.logins.get(login["user"]) != login["password"]:
            return wire.message(18456, f"Login failed for user '{login['user']}'.", 14) + wire.done(
                failed=True)
        self.user = login["user"]
        self.login = login
        self.set_database(login["database"] or "master")
        return wire.login_answer(self.database_name) + wire.done()

    def set_database(self, name):
        known = {own.lower(): own for own in self.server.databases}
        if name.lower() not in known:
            raise SqlError(911, f"Database '{name}' does not exist. Make sure that the name is "
                                "entered correctly.")
        self.database_name = known[name.lower()]
        self.database = self.server.databases[self.database_name]

    def answer_procedure(self, name, arguments):
        values = [value for _, _, value in arguments]
        if name in ("sp_pkeys", "sp_special_columns"):
            named = {argument.lower(): value for argument, _, value in arguments}
            statement = f"EXEC {name} @table_name = '{named['@table_name']}'"
            return self.answer_statement("rpc " + statement, statement, None, in_procedure=True)
        if name != "sp_executesql":
            raise ValueError(f"The stand-in does not know the procedure {name}.")
        types = [declared for _, declared, _ in arguments[2:]]
        declared = re.findall(r"(@\w+)", values[1]) if len(values) > 1 else []
        bound = {mark[1:]: value for mark, value in zip(declared, values[2:])}
        shown = " | ".join(f"{kind} {self.show(v)}" for kind, v in zip(types, bound.values()))
        line = f"rpc {values[0]} | {values[1] if len(values) > 1 else ''} | {shown}"
        return self.answer_statement(line, values[0], bound, in_procedure=True)

    @staticmethod
    def show(value):
        if isinstance(value, bytes):
            return f"0x{value.hex()}" if len(value) <= 16 else f"{len(value)} bytes"
        if isinstance(value, str):
            return f"'{value}'" if len(value) <= 200 else f"{len(value)} characters"
        return "NULL" if value is None else str(value)

    def answer_statement(self, line, statement, bound, in_procedure=False):
        self.server.write_log(self, line)
        fault = self.server.take_fault(line)
        if self.suffer(fault):
            return None
        answer, kept = b"", 0
        last = 0xFE if in_procedure else 0xFD
        mark = len(self.undo)
        was_in_transaction = self.in_transaction
        try:
            if fault and fault.kind == "ROLL_BACK":
                self.end_transaction(commit=False)
            if fault and fault.kind in ("FAIL", "ROLL_BACK"):
                raise fault.error
            results = self.results(statement, bound, in_procedure)
            for number, (described, rows) in enumerate(results, 1):
                if described is not None:
                    answer += wire.columns(described, "T")
                    kept = len(answer) + 1
                    kinds = [kind for _, kind in described]
                    answer += b"".join(wire.row(kinds, values) for values in rows)
                    rows = len(rows)
                if fault and fault.kind == "LATE":
                    raise fault.error
                answer += wire.done(rows, more=in_procedure or number < len(results),
                                    kind=0xFF if in_procedure else 0xFD)
            if not answer or in_procedure:
                answer += self.end_of_answer(last, in_procedure)
            answer, self.notices = self.notices + answer, b""
            self.end_statement()
        except SqlError as error:
            if error.number not in (1205,) and not (fault and fault.kind == "ROLL_BACK"):
                self.undo_to(mark)
            if was_in_transaction and not self.in_transaction:
                answer += wire.environment(10, b"\0", b"\x08" + struct.pack("<Q", self.descriptor))
            self.end_statement()
            answer += wire.message(error.number, error.text, error.severity)
            answer += wire.done(failed=True, kind=last)
        if fault and fault.kind == "DONE":
            raise wire.Closed
        if fault and fault.kind in ("CUT", "STALL"):
            # Behind the columns: FreeTDS ends the whole program where their description breaks off.
            part = answer[:max(kept, len(answer) // 2)][:wire.PACKET_SIZE - 8]
            self.sock.sendall(struct.pack(">BBHHBB", wire.ANSWER, 0, len(part) + 8, 0, 1, 0) + part)
            if fault.kind == "CUT":
                raise wire.Closed
            self.is_silent = True
            return None
        return answer

    @staticmethod
    def end_of_answer(kind, in_procedure):
        return (wire.return_status() if in_procedure else b"") + wire.done(kind=kind)

    def answer_transaction(self, request, begins):
        line = {5: "begin", 7: "commit", 8: "rollback"}[request]
        self.server.write_log(self, "transaction " + line + (" begin" if begins else ""))
        fault = self.server.take_fault("transaction " + line)
        if self.suffer(fault):
            return None
        try:
            if fault and fault.error:
                raise fault.error
            if request != 5 and not self.in_transaction:
                raise SqlError(3902 if request == 7 else 3903,
                               f"The {line.upper()} TRANSACTION request has no corresponding BEGIN "
                               "TRANSACTION.")
        except SqlError as error:
            return wire.message(error.number, error.text, error.severity) + wire.done(failed=True)
        answer = b""
        old = b"\x08" + struct.pack("<Q", self.descriptor)
        if request == 5:
            answer += self.begin()
        else:
            self.end_transaction(commit=request == 7)
            answer += wire.environment(9 if request == 7 else 10, b"\0", old)
            if begins:
                answer += self.begin()
        if fault and fault.kind in ("CUT", "DONE"):
            raise wire.Closed
        return answer + wire.done()

    def begin(self):
        self.in_transaction = True
        self.descriptor += 1
        return wire.environment(8, b"\x08" + struct.pack("<Q", self.descriptor), b"\0")

    # --- Statements --------------------------------------------------------------------------------

    def results(self, statement, bound, in_procedure):
        """The results of a batch: (columns, rows), or (None, the count of changed rows or None)."""
        statement = re.sub(r"^\s*--.*$", "", statement, flags=re.M).strip()
        for pattern, handler in ORDERS:
            if match := re.match(pattern, statement, re.I | re.S):
                result = handler(self, match)
                return [result] if result else []
        if re.match(r"EXEC(UTE)?\s+sp_setapprole\b", statement, re.I):
            self.enter_role(statement, in_procedure)
            return []
        if not re.match(r"(SELECT|INSERT|UPDATE|DELETE)\b", statement, re.I):
            raise SqlError(102, f"Incorrect syntax near '{statement.split()[0]}'.", 15)
        if re.search(r"\b(FROM|INTO|UPDATE)\s+[\w\[]", statement, re.I):
            self.require(self.may_write(), 229, "The SELECT permission was denied on the object.")
        return [self.database.run(self, single, bound) for single in inserts_in(statement)]

    def may_write(self):
        return self.role is not None or self.user == ADMINISTRATOR

    def is_administrator(self):
        return self.role is None and self.user == ADMINISTRATOR

    @staticmethod
    def require(condition, number, text):
        if not condition:
            raise SqlError(number, text, 14)

    def enter_role(self, statement, in_procedure):
        match = re.match(r"EXEC\s+sp_setapprole\s+'((?:[^']|'')*)'\s*,\s*'((?:[^']|'')*)'\s*$",
                         statement, re.I)
        if not match:
            raise SqlError(102, f"Incorrect syntax near '{statement[-6:]}'.", 15)
        self.require(not in_procedure and self.role is None, 15422,
                     "Application roles can only be activated at the ad hoc level.")
        self.require(not self.in_transaction, 15002,
                     "The procedure 'sys.sp_setapprole' cannot be executed within a transaction.")
        role, password = match.groups()
        if self.server.roles.get((self.database_name, role)) != password:
            raise SqlError(15161, f"Cannot set application role '{role}' because it does not exist "
                                  "or the password is incorrect.")
        self.role = role

    def set_options(self, match):
        timeout = re.search(r"LOCK_TIMEOUT\s+(-?\d+)", match.group(0), re.I)
        if timeout:
            self.lock_timeout = int(timeout.group(1))

    def use(self, match):
        old = self.database_name
        self.set_database(match.group(1))
        self.server.write_log(self, f"database {old} -> {self.database_name}")

    def make_role(self, match):
        password = re.search(r"PASSWORD = N''(.*?)''", match.group(0)).group(1)
        role = re.search(r"APPLICATION ROLE (\w+)", match.group(0)).group(1)
        self.server.roles[self.database_name, role] = password

    def make_database(self, match):
        self.server.databases[match.group(1)] = Database(self.changed)

    def drop_database(self, match):
        self.server.databases.pop(match.group(1), None)

    def make_login(self, match):
        self.server.logins[match.group(1)] = match.group(2)

    def make_table(self, match):
        self.require(self.is_administrator(), 262, "CREATE TABLE permission denied in database.")
        if match.group(1) and match.group(1).lower() in self.database.tables:
            return
        self.database.create_table(match.group(0))

    def refuse(self, match):
        self.require(self.is_administrator(), 1088, "Cannot find the object.")

    def kill(self, match):
        victim = self.server.sessions[int(match.group(1))]
        victim.gone.set()
        victim.end_transaction(commit=False)
        victim.sock.shutdown(socket.SHUT_RDWR)

    def begin_if_none(self, _):
        if not self.in_transaction:
            self.notices += self.begin()

    def keys(self, match):
        name = re.search(r"@table_name\s*=\s*N?'([^']*)'", match.group(0), re.I).group(1)
        kinds = [Type("nvarchar", 128)] * 4 + [Type("smallint"), Type("nvarchar", 128)]
        names = ["TABLE_QUALIFIER", "TABLE_OWNER", "TABLE_NAME", "COLUMN_NAME", "KEY_SEQ", "PK_NAME"]
        table = self.database.tables.get(name.lower())
        rows = [[self.database_name, "dbo", name, column, number, f"PK_{name}"]
                for number, column in enumerate(table.key if table else [], 1)]
        return list(zip(names, kinds)), rows

    def row_id(self, match):
        names = ["SCOPE", "COLUMN_NAME", "DATA_TYPE", "TYPE_NAME", "PRECISION", "LENGTH", "SCALE",
                 "PSEUDO_COLUMN"]
        kinds = [Type("smallint"), Type("nvarchar", 128), Type("smallint"), Type("nvarchar", 128),
                 Type("int"), Type("int"), Type("smallint"), Type("smallint")]
        return list(zip(names, kinds)), []

    def let_view(self, match):
        self.require(self.is_administrator(), 15151, "Cannot find the login.")
        self.server.viewers.add(match.group(1))

    def lock_names(self, match):
        """The server's names for the locks on the rows that bear a stamp."""
        self.require(self.may_write(), 229, "The SELECT permission was denied on the object.")
        table = self.database.table(match.group(2))
        columns = [table.column(name) for name in match.group(1).split(", ")]
        rows = self.database.query(f"SELECT rowid, {', '.join(columns)} FROM [{table.name}] "
                                   "WHERE SoftLock <> ''", {})
        described = [("LockName", Type("nvarchar", 32))]
        described += [(column, table.types[column]) for column in columns]
        return described, [[lock_name(rowid), *values] for rowid, *values in rows]

    def lock_owners(self, match):
        self.require(self.role is None and self.user in self.server.viewers, 300,
                     "VIEW SERVER STATE permission was denied on object 'server', database "
                     "'master'.")
        described = [("Session", Type("int")), ("LockName", Type("nvarchar", 256)),
                     ("Process", Type("int")), ("Program", Type("nvarchar", 128)),
                     ("Login", Type("nvarchar", 128))]
        return described, [[holder.number, lock_name(rowid), holder.login["process"],
                            holder.login["application"], holder.user]
                           for (_, rowid), holders in self.database.locks.items()
                           for holder in holders]

    def client(self, match):
        names = ["host", "language", "packet_size", "intent"]
        return ([(name, Type("nvarchar", 128)) for name in names],
                [[str(self.login[name]) for name in names]])

    def order_fault(self, match):
        self.server.faults.append(Fault(*match.groups()))


def inserts_in(statement):
    """The statements of a batch of inserts, in which FreeTDS sends arrays of parameters."""
    parts = re.split(r"('(?:[^']|'')*')", statement)
    parts[::2] = [re.sub(r"\)\s+(?=INSERT\s+INTO\b)", ")\0", part, flags=re.I) for part in parts[::2]]
    return "".join(parts).split("\0")


def lock_name(rowid):
    return f"({rowid:012x})"


ORDERS = [
    (r"STAND_IN CLIENT$", Session.client),
    (r"STAND_IN (\w+) '((?:[^']|'')*)'(?: (\d+) '(.*)')?$", Session.order_fault),
    (r"SET TRANSACTION ISOLATION LEVEL SNAPSHOT$",
     lambda session, match: setattr(session, "in_snapshot", True)),
    (r"SET TRANSACTION ISOLATION", lambda session, match: setattr(session, "in_snapshot", False)),
    (r"SET [A-Z_, ]+ [-\w]+(\s*;\s*SET [A-Z_, ]+ [-\w]+)*\s*;?$", Session.set_options),
    (r"USE \[?(\w+)\]?$", Session.use),
    (r"IF EXISTS \(SELECT 1 FROM sys\.databases",
     lambda session, match: setattr(session, "in_snapshot", False)),
    (r"IF DB_NAME\(\)|IF EXISTS \(SELECT 1 WHERE", lambda session, match: None),
    (r"IF @@TRANCOUNT = 0 BEGIN TRANSACTION$", Session.begin_if_none),
    (r"SELECT XACT_STATE\(\)$", lambda session, match:
        ([("", Type("smallint"))], [[1 if session.in_transaction else 0]])),
    (r"SELECT CAST\(@@SPID AS int\) As (\w+)$", lambda session, match:
        ([(match.group(1), Type("int"))], [[session.number]])),
    (r"SELECT name FROM sys\.databases WHERE name = N'(\w+)'$", lambda session, match:
        ([("name", Type("nvarchar", 128))],
         [[match.group(1)]] if match.group(1) in session.server.databases else [])),
    (r"SELECT CAST\(session_id AS int\) As Id FROM sys\.dm_exec_sessions WHERE "
     r"original_login_name = N'(\w+)'$", lambda session, match:
        ([("Id", Type("int"))], [[other.number] for other in session.server.sessions.values()
                                 if other.user == match.group(1)])),
    (r"EXEC\w*\s+sp_pkeys\b.*", Session.keys),
    (r"EXEC\w*\s+sp_special_columns\b.*", Session.row_id),
    (r"CREATE DATABASE (\w+)", Session.make_database),
    (r"ALTER DATABASE", lambda session, match: None),
    (r"IF DB_ID\(.*DROP DATABASE (\w+)", Session.drop_database),
    (r"CREATE LOGIN (\w+) WITH PASSWORD = N'(.*?)'", Session.make_login),
    (r"IF SUSER_ID|CREATE USER", lambda session, match: None),
    (r"DECLARE @statement.*APPLICATION ROLE.*", Session.make_role),
    (r"(?:IF OBJECT_ID\(N'dbo\.(\w+)'\) IS NULL\s+)?CREATE TABLE .*", Session.make_table),
    (r"IF INDEXPROPERTY\(.*CREATE INDEX", lambda session, match: None),
    (r"IF OBJECT_ID\(N'dbo\.DW_Report'\) IS NULL\s+CREATE SYNONYM", lambda session, match: None),
    (r"Select %%lockres%% As LockName, (.+) From (\w+) With \(NoLock\) Where SoftLock <> ''$",
     Session.lock_names),
    (r"Select .* From sys\.dm_tran_locks .*", Session.lock_owners),
    (r"GRANT VIEW SERVER STATE TO (\w+)$", Session.let_view),
    (r"GRANT|DROP TABLE|TRUNCATE TABLE", Session.refuse),
    (r"KILL (\d+)$", Session.kill),
]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--log", type=lambda path: open(path, "a", encoding="utf-8"))
    parser.add_argument("--serve", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    server = Server(options.log)
    threading.Thread(target=server.serve, daemon=True).start()
    if options.serve:
        name = (f"Provider=MSOLEDBSQL;Data Source=127.0.0.1,{server.port};"
                f"User ID={ADMINISTRATOR};Password={PASSWORD}")
        with tempfile.TemporaryDirectory() as lists:
            with open(f"{lists}/odbcinst.ini", "w", encoding="utf-8") as drivers:
                drivers.write("[FreeTDS]\nDriver=libtdsodbc.so\n")
            environment = {**os.environ, "TARNWICK_TEST_SQLSERVER": name, "ODBCSYSINI": lists}
            return subprocess.run(options.serve, env=environment, check=False).returncode
    print(f"port {server.port}", flush=True)
    sys.stdin.read()
    return 0


if __name__ == "__main__":
    sys.exit(main())
