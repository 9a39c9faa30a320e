"""Tables, row locks and transactions of the stand-in: SQLite evaluates the statements, and what it
does otherwise than SQL Server (row locks with a time-out, row versions, error numbers) is here.

A change is made at once and hidden behind its row's lock until the transaction ends; a rollback
puts back what was there.
"""

import re
import sqlite3
import threading
import time

from tds_wire import Time, Type

READ, HOLD, WRITE = "read", "hold", "write"


class SqlError(Exception):
    def __init__(self, number, text, severity=16):
        super().__init__(text)
        self.number, self.text, self.severity = number, text, severity


LOCK_TIMEOUT = "Lock request time out period exceeded."
DEADLOCK = ("Transaction (Process ID {}) was deadlocked on lock resources with another process and "
            "has been chosen as the deadlock victim. Rerun the transaction.")


class Table:
    def __init__(self, name, described, key):
        self.name = name
        self.types = dict(described)  # by column name, in order
        self.key = key
        self.has_version = any(kind.name == "rowversion" for kind in self.types.values())

    def column(self, name):
        for own in self.types:
            if own.lower() == name.lower():
                return own
        return None


def split_list(text):
    """Splits at commas that stand in no parentheses and no literal."""
    parts, depth, literal, begin = [], 0, False, 0
    for at, c in enumerate(text):
        if c == "'":
            literal = not literal
        elif not literal:
            depth += (c == "(") - (c == ")")
            if c == "," and depth == 0:
                parts.append(text[begin:at])
                begin = at + 1
    return [part.strip() for part in [*parts, text[begin:]]]


def to_sqlite(statement):
    """A statement in SQLite's dialect; hints, owners and national literals have no meaning there."""
    parts = re.split(r"('(?:[^']|'')*')", statement)
    for at in range(0, len(parts), 2):
        part = parts[at]
        if at + 1 < len(parts):
            part = re.sub(r"\bN$", "", part)
        part = re.sub(r"\bWITH\s*\([A-Z, ]+\)", "", part, flags=re.I)
        part = re.sub(r"\bdbo\.", "", part, flags=re.I)
        part = re.sub(r"\bDW_Report\b", "DW_Reports", part, flags=re.I)
        part = re.sub(r"\b0x([0-9a-f]*)\b", r"X'\1'", part, flags=re.I)
        parts[at] = part
    return "".join(parts)


def to_stored(value):
    return str(value) if isinstance(value, Time) else value


def compare_in_any_case(one, other):
    one, other = one.lower(), other.lower()
    return (one > other) - (one < other)


class Database:
    """One database; its sessions share it under the server's one lock."""

    def __init__(self, changed):
        self.sqlite = sqlite3.connect(":memory:", isolation_level=None, check_same_thread=False)
        # SQLite's own knows the letters of ASCII alone.
        self.sqlite.create_collation("NOCASE", compare_in_any_case)
        self.sqlite.create_function("DATALENGTH", 1,
                                    lambda value: None if value is None else len(value))
        self.tables = {}
        self.locks = {}  # (table, rowid) -> {session: mode}
        self.version = 2000
        self.changed = changed  # the condition that guards everything

    def create_table(self, statement):
        match = re.search(r"CREATE TABLE\s+(?:dbo\.)?(\w+)\s*\((.*)\)\s*;?\s*$", statement,
                          re.I | re.S)
        name, body = match.groups()
        described, key, nullable = [], [], {}
        for item in split_list(body):
            constraint = re.match(r"(?:CONSTRAINT\s+\w+\s+)?PRIMARY KEY(?:\s+\w+)?\s*\((.*)\)$", item,
                                  re.I)
            if constraint:
                key = split_list(constraint.group(1))
                continue
            column, declared, rest = re.match(r"\[?(\w+)\]?\s+(\w+(?:\s*\([^)]*\))?)(.*)$", item,
                                              re.S).groups()
            described.append((column, Type.parse(declared)))
            nullable[column] = "NOT NULL" not in rest.upper()
            if "PRIMARY KEY" in rest.upper():
                key = [column]
        table = Table(name, described, key)
        lines = []
        for column, kind in described:
            text = kind.name in ("char", "varchar", "nchar", "nvarchar", "text", "ntext")
            collation = " COLLATE NOCASE" if text else ""
            refuses = "" if nullable[column] or kind.name == "rowversion" else " NOT NULL"
            # A literal in marks is compared with a number as the number that it means.
            number = " INTEGER" if kind.name in ("bit", "tinyint", "smallint", "int", "bigint") else ""
            lines.append(f"[{column}]{number}{collation}{refuses}")
        if key:
            lines.append("UNIQUE (" + ", ".join(f"[{column}]" for column in key) + ")")
        self.sqlite.execute(f"CREATE TABLE [{name}] ({', '.join(lines)})")
        self.tables[name.lower()] = table

    def table(self, name):
        name = name.strip("[]").lower()
        table = self.tables.get("dw_reports" if name == "dw_report" else name)
        if table is None:
            raise SqlError(208, f"Invalid object name '{name}'.")
        return table

    # --- Statements --------------------------------------------------------------------------------

    def run(self, session, statement, arguments=None):
        """Columns and rows of a select, or None and the count of a change."""
        text = to_sqlite(statement)
        verb = text.split(None, 1)[0].upper()
        bound = {name: to_stored(value) for name, value in (arguments or {}).items()}
        if verb == "SELECT":
            return self.select(session, statement, text, bound)
        if verb == "INSERT":
            return None, self.insert(session, text, bound)
        table = self.table(re.match(r"(?:UPDATE|DELETE\s+FROM|DELETE)\s+([\w\[\]]+)", text,
                                    re.I).group(1))
        where = re.search(r"\bWHERE\b.*$", text, re.I | re.S)
        found = self.query(f"SELECT rowid FROM [{table.name}] {where.group(0) if where else ''}",
                           bound)
        rows = [rowid for rowid, in found]
        for rowid in rows:
            session.lock(table, rowid, WRITE)
        for rowid in rows:
            self.keep_for_undo(session, table, rowid)
        changed = self.change(text, bound)
        if verb == "UPDATE":
            for rowid in rows:
                self.bump_version(table, rowid)
        return None, changed

    def select(self, session, statement, text, bound):
        match = re.match(r"SELECT\s+(.*?)\s+FROM\s+([\w\[\]]+)(.*)$", text, re.I | re.S)
        if not match:
            return self.select_values(text)
        listed, name, rest = match.groups()
        table = self.table(name)
        described, is_count = [], False
        for item in split_list(listed):
            plain, alias = re.match(r"(.*?)(?:\s+AS\s+\[?(\w+)\]?)?$", item, re.I | re.S).groups()
            column = table.column(plain.strip("[] "))
            if plain == "*":
                described += table.types.items()
            elif column:
                described.append((alias or column, table.types[column]))
            elif re.match(r"DATALENGTH\s*\(", plain, re.I):
                described.append((alias or "", Type("bigint")))
            elif re.match(r"COUNT\s*\(", plain, re.I):
                is_count = True
                described.append((alias or "", Type("int")))
            else:
                raise SqlError(207, f"Invalid column name '{plain}'.")
        # A scan waits for the rows that it comes by; with a condition, for those that meet it.
        mode = HOLD if re.search(r"WITH\s*\([^)]*UPDLOCK", statement, re.I) else READ
        if session.in_snapshot:
            raise SqlError(3952, "Snapshot isolation transaction failed: snapshot isolation is not "
                           "allowed in this database.")
        if not re.search(r"WITH\s*\([^)]*NOLOCK", statement, re.I):
            patience = session.lock_timeout
            if re.search(r"WITH\s*\([^)]*NOWAIT", statement, re.I):
                session.lock_timeout = 0
            try:
                for rowid, in self.query(f"SELECT rowid FROM [{table.name}]{rest}", bound):
                    session.lock(table, rowid, mode)
            finally:
                session.lock_timeout = patience
        rows = self.query(f"SELECT {listed} FROM [{table.name}]{rest}", bound)
        return described, rows if is_count else [
            [bool(v) if kind.name == "bit" and v is not None else v
             for (_, kind), v in zip(described, values)] for values in rows]

    def select_values(self, text):
        """A select without a table: casts of literals, and simple arithmetic."""
        described, values = [], []
        for item in split_list(re.sub(r"^\s*SELECT\s+", "", text, flags=re.I)):
            plain, alias = re.match(r"(.*?)(?:\s+AS\s+(\w+))?$", item, re.I | re.S).groups()
            cast = re.match(r"CAST\s*\((.*)\s+AS\s+([\w ]+(?:\([^)]*\))?)\s*\)(.*)$", plain,
                            re.I | re.S)
            kind = Type.parse(cast.group(2)) if cast else Type("int")
            if cast and not cast.group(3):
                plain = cast.group(1)
            (value,), = self.query(f"SELECT {plain}", {})
            if isinstance(value, str) and kind.name in ("datetime", "datetime2", "smalldatetime",
                                                        "date"):
                value = Time.parse(value)
            described.append((alias or "", kind))
            values.append(value)
        return described, [values]

    def insert(self, session, text, bound):
        table = self.table(re.match(r"INSERT\s+INTO\s+([\w\[\]]+)", text, re.I).group(1))
        last, = self.query(f"SELECT COALESCE(MAX(rowid), 0) FROM [{table.name}]", {})
        while True:
            try:
                changed = self.change(text, bound)
                break
            except SqlError as error:
                # The same key may belong to a row that is not yet committed.
                others = [key for key, holders in self.locks.items() if key[0] == table.name
                          and any(mode == WRITE and holder is not session
                                  for holder, mode in holders.items())]
                if error.number != 2627 or not others:
                    raise
                session.wait_for(others[0], WRITE)
        for rowid, in self.query(f"SELECT rowid FROM [{table.name}] WHERE rowid > {last[0]}", {}):
            session.lock(table, rowid, WRITE)
            session.undo.append((f"DELETE FROM [{table.name}] WHERE rowid = {rowid}", []))
            self.bump_version(table, rowid)
        return changed

    def keep_for_undo(self, session, table, rowid):
        values, = self.query(f"SELECT * FROM [{table.name}] WHERE rowid = {rowid}", {})
        names = ", ".join(f"[{column}]" for column in table.types)
        marks = ", ".join("?" * (len(values) + 1))
        session.undo.append(
            (f"INSERT OR REPLACE INTO [{table.name}] (rowid, {names}) VALUES ({marks})",
             [rowid, *values]))

    def bump_version(self, table, rowid):
        if table.has_version:
            self.version += 1
            self.sqlite.execute(f"UPDATE [{table.name}] SET RowVersion = ? WHERE rowid = ?",
                                (self.version.to_bytes(8, "big"), rowid))

    def query(self, text, bound):
        return self.change(text, bound, rows=True)

    def change(self, text, bound, rows=False):
        try:
            cursor = self.sqlite.execute(text, bound)
            return cursor.fetchall() if rows else cursor.rowcount
        except sqlite3.IntegrityError as error:
            if "NOT NULL" in str(error):
                raise SqlError(515, "Cannot insert the value NULL into column.") from None
            raise SqlError(2627, "Violation of PRIMARY KEY constraint.", 14) from None
        except sqlite3.OperationalError as error:
            number = 102
            if "no such table" in str(error):
                number = 208
            elif "no such column" in str(error):
                number = 207
            raise SqlError(number, f"Incorrect syntax: {error}.", 15) from None
        except sqlite3.Warning:
            raise SqlError(102, "Incorrect syntax.", 15) from None


class Locking:
    """What a session holds and waits for."""

    def __init__(self, number, changed):
        self.number = number
        self.changed = changed
        self.database = None
        self.lock_timeout = -1  # milliseconds
        self.in_transaction = False
        self.in_snapshot = False  # its isolation, which no database here allows
        self.touched_data = False
        self.undo = []
        self.waits_for = ()
        self.gone = threading.Event()

    def lock(self, table, rowid, mode):
        key = (table.name, rowid)
        self.wait_for(key, mode)
        if mode != READ:
            held = self.database.locks.setdefault(key, {})
            held[self] = WRITE if WRITE in (mode, held.get(self)) else mode

    def blockers(self, key, mode):
        holders = self.database.locks.get(key, {})
        return [holder for holder, held in holders.items()
                if holder is not self and (held == WRITE or (mode != READ and held == HOLD))]

    def wait_for(self, key, mode):
        deadline = time.monotonic() + self.lock_timeout / 1000
        while blockers := self.blockers(key, mode):
            self.waits_for = blockers
            try:
                if self.is_deadlocked():
                    self.end_transaction(commit=False)
                    raise SqlError(1205, DEADLOCK.format(self.number), 13)
                left = None if self.lock_timeout < 0 else deadline - time.monotonic()
                if left is not None and left <= 0:
                    raise SqlError(1222, LOCK_TIMEOUT)
                self.changed.wait(left)
                if self.gone.is_set():
                    raise ConnectionAbortedError
            finally:
                self.waits_for = ()

    def is_deadlocked(self):
        seen, ahead = set(), list(self.waits_for)
        while ahead:
            session = ahead.pop()
            if session is self:
                return True
            if session not in seen:
                seen.add(session)
                ahead += session.waits_for
        return False

    def end_statement(self):
        if not self.in_transaction:
            self.end_transaction(commit=True)

    def undo_to(self, mark):
        while len(self.undo) > mark:
            statement, values = self.undo.pop()
            self.database.sqlite.execute(statement, values)

    def end_transaction(self, commit):
        if commit:
            self.undo.clear()
        self.undo_to(0)
        self.in_transaction = False
        for database in [self.database] if self.database else []:
            for key in list(database.locks):
                database.locks[key].pop(self, None)
                if not database.locks[key]:
                    del database.locks[key]
        self.changed.notify_all()
