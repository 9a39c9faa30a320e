"""The wire of SQL Server, version 7.4 of the protocol (public document [MS-TDS]), the server's side
and only as much as the tests need: packets, requests, and the tokens of an answer.

Values are Python's: int, bool, float, str, bytes, None; Time for dates and times.
"""

import datetime
import decimal
import re
import struct
from dataclasses import dataclass

BATCH, RPC, ATTENTION, TRANSACTION, LOGIN, PRELOGIN = 1, 3, 6, 14, 16, 18
ANSWER = 4
PACKET_SIZE = 4096
COLLATION = bytes([0x09, 0x04, 0xD0, 0x00, 0x34])  # Latin1_General, no regard to letter case
TICKS = 10_000_000  # of a Time, per second
FIRST_DAY = datetime.date(1, 1, 1).toordinal()
DATETIME_DAY = datetime.date(1900, 1, 1).toordinal()


class Closed(Exception):
    """The other side has gone."""


@dataclass(frozen=True, order=True)
class Time:
    """A day by its ordinal and the time of the day in units of 100 ns."""

    day: int
    ticks: int = 0

    @staticmethod
    def parse(text):
        match = re.fullmatch(
            r"(\d{4})-(\d\d)-(\d\d)(?:[T ](\d\d):(\d\d):(\d\d)(?:\.(\d{1,7}))?)?", text)
        if not match:
            raise ValueError(text)
        year, month, day, hour, minute, second = (int(part or 0) for part in match.groups()[:6])
        fraction = int((match.group(7) or "").ljust(7, "0"))
        ticks = ((hour * 60 + minute) * 60 + second) * TICKS + fraction
        return Time(datetime.date(year, month, day).toordinal(), ticks)

    def __str__(self):
        seconds, fraction = divmod(self.ticks, TICKS)
        day = datetime.date.fromordinal(self.day).isoformat()
        return f"{day} {seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}.{fraction:07}"


# --- Packets ---------------------------------------------------------------------------------------


def receive(sock, count):
    data = bytearray()
    while len(data) < count:
        piece = sock.recv(count - len(data))
        if not piece:
            raise Closed
        data += piece
    return bytes(data)


def receive_message(sock):
    """The type of the next request and its content."""
    content = bytearray()
    while True:
        kind, status, length = struct.unpack(">BBH", receive(sock, 8)[:4])
        content += receive(sock, length - 8)
        if status & 1:
            return kind, bytes(content)


def send_message(sock, content):
    room = PACKET_SIZE - 8
    pieces = [content[at:at + room] for at in range(0, len(content), room)] or [b""]
    message = bytearray()
    for number, piece in enumerate(pieces, 1):
        last = number == len(pieces)
        message += struct.pack(">BBHHBB", ANSWER, last, len(piece) + 8, 0, number & 0xFF, 0) + piece
    sock.sendall(message)


# --- Reading requests ------------------------------------------------------------------------------


class Reader:
    def __init__(self, data):
        self.data = data
        self.at = 0

    def take(self, count):
        self.at += count
        return self.data[self.at - count:self.at]

    def number(self, layout):
        return struct.unpack("<" + layout, self.take(struct.calcsize("<" + layout)))[0]

    def text(self, units):
        return self.take(units * 2).decode("utf-16-le", "surrogatepass")

    def at_end(self):
        return self.at >= len(self.data)

    def skip_headers(self):
        self.at += struct.unpack_from("<I", self.data, self.at)[0]


def read_login(data):
    """The login's fields by name."""
    names = ["host", "user", "password", "application", "server", "extension", "library", "language",
             "database"]
    fields = {}
    for index, name in enumerate(names):
        offset, units = struct.unpack_from("<HH", data, 36 + index * 4)
        raw = data[offset:offset + units * 2]
        if name == "password":
            raw = bytes(((b ^ 0xA5) << 4 | (b ^ 0xA5) >> 4) & 0xFF for b in raw)
        fields[name] = "" if name == "extension" else raw.decode("utf-16-le")
    fields["version"], fields["packet_size"] = struct.unpack_from("<II", data, 4)
    fields["process"], = struct.unpack_from("<I", data, 16)
    fields["intent"] = "ReadOnly" if data[26] & 0x20 else "ReadWrite"
    return fields


def read_batch(data):
    reader = Reader(data)
    reader.skip_headers()
    return reader.text((len(data) - reader.at) // 2)


def read_transaction(data):
    """The request's number (5 begin, 7 commit, 8 rollback), and whether the next one begins."""
    reader = Reader(data)
    reader.skip_headers()
    request = reader.number("H")
    if request == 5:
        return request, False
    reader.take(reader.number("B"))
    return request, bool(reader.number("B") & 1)


PROCEDURES = {10: "sp_executesql", 11: "sp_prepare", 12: "sp_execute", 13: "sp_prepexec",
              15: "sp_unprepare", 2: "sp_cursoropen", 1: "sp_cursor", 7: "sp_cursorfetch",
              9: "sp_cursorclose"}


def read_rpc(data):
    """The procedure's name and its arguments as (name, declared type, value)."""
    reader = Reader(data)
    reader.skip_headers()
    units = reader.number("H")
    name = PROCEDURES[reader.number("H")] if units == 0xFFFF else reader.text(units)
    reader.number("H")
    arguments = []
    while not reader.at_end():
        argument = reader.text(reader.number("B"))
        reader.number("B")
        arguments.append((argument, *read_value(reader)))
    return name, arguments


def read_parts(reader):
    """A value in parts; None for a null."""
    if reader.number("Q") == 0xFFFFFFFFFFFFFFFF:
        return None
    value = bytearray()
    while length := reader.number("I"):
        value += reader.take(length)
    return bytes(value)


def read_value(reader):
    """A type and a value of that type."""
    code = reader.number("B")
    if code in (0x26, 0x68, 0x6D, 0x6F):
        reader.number("B")
        raw = reader.take(reader.number("B"))
        names = {0x26: "int", 0x68: "bit", 0x6D: "float", 0x6F: "datetime"}
        return names[code], read_fixed(code, raw) if raw else None
    if code == 0x28:
        raw = reader.take(reader.number("B"))
        return "date", Time(int.from_bytes(raw, "little") + FIRST_DAY) if raw else None
    if code == 0x2A:
        scale = reader.number("B")
        raw = reader.take(reader.number("B"))
        if not raw:
            return f"datetime2({scale})", None
        ticks = int.from_bytes(raw[:-3], "little") * 10 ** (7 - scale)
        return (f"datetime2({scale})",
                Time(int.from_bytes(raw[-3:], "little") + FIRST_DAY, ticks))
    if code in (0xE7, 0xEF, 0xA7, 0xAF, 0xA5, 0xAD):
        size = reader.number("H")
        if code not in (0xA5, 0xAD):
            reader.take(5)
        if size == 0xFFFF:
            raw = read_parts(reader)
        else:
            length = reader.number("H")
            raw = None if length == 0xFFFF else reader.take(length)
        limit = "max" if size == 0xFFFF else size
        if code in (0xE7, 0xEF):
            limit = limit if limit == "max" else limit // 2
            return f"nvarchar({limit})", raw and raw.decode("utf-16-le") if raw else (
                None if raw is None else "")
        if code in (0xA7, 0xAF):
            return f"varchar({limit})", None if raw is None else raw.decode("cp1252")
        return f"varbinary({limit})", raw
    if code in (0x63, 0x23, 0x22):
        reader.number("I")
        if code != 0x22:
            reader.take(5)
        length = reader.number("i")
        raw = None if length < 0 else reader.take(length)
        if code == 0x22:
            return "image", raw
        text = raw if raw is None else raw.decode("utf-16-le" if code == 0x63 else "cp1252")
        return ("ntext" if code == 0x63 else "text"), text
    if code in (0x6A, 0x6C):
        reader.number("B")
        precision, scale = reader.number("B"), reader.number("B")
        raw = reader.take(reader.number("B"))
        sign = 1 if raw and raw[0] else -1
        value = sign * int.from_bytes(raw[1:], "little") / 10 ** scale if raw else None
        return f"decimal({precision},{scale})", value
    raise ValueError(f"no such type of an argument: {code:#x}")


def read_fixed(code, raw):
    if code == 0x68:
        return raw != b"\0"
    if code == 0x26:
        return int.from_bytes(raw, "little", signed=len(raw) > 1)
    if code == 0x6D:
        return struct.unpack("<f" if len(raw) == 4 else "<d", raw)[0]
    if len(raw) == 4:
        day, minutes = struct.unpack("<HH", raw)
        return Time(DATETIME_DAY + day, minutes * 60 * TICKS)
    day, units = struct.unpack("<iI", raw)
    return Time(DATETIME_DAY + day, (units * TICKS + 150) // 300)


# --- Writing answers -------------------------------------------------------------------------------


def short_text(text):
    return bytes([len(text.encode("utf-16-le")) // 2]) + text.encode("utf-16-le")


def long_text(text):
    raw = text.encode("utf-16-le")
    return struct.pack("<H", len(raw) // 2) + raw


def prelogin_answer():
    """Says that this server does not encrypt."""
    options = [(0, bytes([15, 0, 0, 0, 0, 0])), (1, b"\2"), (2, b"\0"), (3, b""), (4, b"\0")]
    offset = len(options) * 5 + 1
    head, body = b"", b""
    for number, value in options:
        head += struct.pack(">BHH", number, offset + len(body), len(value))
        body += value
    return head + b"\xff" + body


def login_answer(database):
    name = "Microsoft SQL Server"
    content = b"\1" + bytes([0x74, 0, 0, 4]) + short_text(name) + bytes([15, 0, 0x07, 0xD0])
    return (environment(1, short_text(database), short_text("master"))
            + environment(7, bytes([5]) + COLLATION, b"\0")
            + b"\xad" + struct.pack("<H", len(content)) + content
            + environment(4, short_text(str(PACKET_SIZE)), short_text(str(PACKET_SIZE))))


def environment(kind, new, old):
    content = bytes([kind]) + new + old
    return b"\xe3" + struct.pack("<H", len(content)) + content


def message(number, text, severity, is_error=True):
    content = (struct.pack("<iBB", number, 1, severity) + long_text(text) + short_text("STANDIN")
               + short_text("") + struct.pack("<I", 1))
    return (b"\xaa" if is_error else b"\xab") + struct.pack("<H", len(content)) + content


def done(rows=None, more=False, failed=False, kind=0xFD):
    status = (1 if more else 0) | (2 if failed else 0) | (0x10 if rows is not None else 0)
    return struct.pack("<BHHQ", kind, status, 0xC1 if rows is not None else 0, rows or 0)


def return_status(value=0):
    return struct.pack("<Bi", 0x79, value)


@dataclass(frozen=True)
class Type:
    """A column type as a script declares it: "nvarchar(100)", "rowversion"."""

    name: str
    size: int = 0  # 0: max, or nothing to say
    scale: int = 0

    @staticmethod
    def parse(declared):
        match = re.fullmatch(r"\s*(\w+)\s*(?:\(\s*(\w+)\s*(?:,\s*(\d+)\s*)?\))?\s*", declared)
        name = match.group(1).lower()
        first = match.group(2)
        if name == "datetime2":
            return Type(name, scale=int(first or 7))
        if name in ("decimal", "numeric"):
            return Type("decimal", size=int(first or 18), scale=int(match.group(3) or 0))
        size = int(first) if first and first.isdigit() else 0
        if name in ("char", "nchar", "binary") and not size:
            size = 1
        return Type({"timestamp": "rowversion"}.get(name, name), size)

    def in_parts(self):
        return self.name in ("varchar", "nvarchar", "varbinary") and not self.size

    def describe(self, table):
        integers = {"tinyint": 1, "smallint": 2, "int": 4, "bigint": 8}
        old_long = {"text": 0x23, "ntext": 0x63, "image": 0x22}
        if self.name in integers:
            return bytes([0x26, integers[self.name]])
        if self.name in old_long:
            code = old_long[self.name]
            collation = b"" if code == 0x22 else COLLATION
            return bytes([code]) + b"\xff\xff\xff\x7f" + collation + b"\1" + long_text(table)
        if self.name == "datetime2":
            return bytes([0x2A, self.scale])
        if self.name == "decimal":
            return bytes([0x6A, 17, self.size, self.scale])
        if self.name == "rowversion":
            return b"\xad\x08\x00"
        fixed = {"bit": b"\x68\1", "float": b"\x6d\x08", "real": b"\x6d\4", "datetime": b"\x6f\x08",
                 "smalldatetime": b"\x6f\4", "date": b"\x28"}
        if self.name in fixed:
            return fixed[self.name]
        code, unit = {"nvarchar": (0xE7, 2), "nchar": (0xEF, 2), "varchar": (0xA7, 1),
                      "char": (0xAF, 1), "varbinary": (0xA5, 1), "binary": (0xAD, 1)}[self.name]
        size = self.size * unit if self.size else 0xFFFF
        return (bytes([code]) + struct.pack("<H", size)
                + (b"" if code in (0xA5, 0xAD) else COLLATION))

    def encode(self, value):
        if value is None:
            return self.encode_null()
        name = self.name
        if name in ("tinyint", "smallint", "int", "bigint"):
            width = {"tinyint": 1, "smallint": 2, "int": 4, "bigint": 8}[name]
            return bytes([width]) + int(value).to_bytes(width, "little", signed=name != "tinyint")
        if name == "bit":
            return bytes([1, 1 if value else 0])
        if name in ("float", "real"):
            return struct.pack("<Bd", 8, value) if name == "float" else struct.pack("<Bf", 4, value)
        if name == "decimal":
            digits = int(decimal.Decimal(str(value)).scaleb(self.scale))
            return bytes([17, digits >= 0]) + abs(digits).to_bytes(16, "little")
        if name in ("datetime", "smalldatetime", "date", "datetime2"):
            return self.encode_time(value if isinstance(value, Time) else Time.parse(value))
        raw = self.to_bytes(value)
        if name in ("text", "ntext", "image"):
            return b"\x10" + b"P" * 16 + b"T" * 8 + struct.pack("<I", len(raw)) + raw
        if self.in_parts():
            parts = b"".join(struct.pack("<I", len(raw[at:at + 60000])) + raw[at:at + 60000]
                             for at in range(0, len(raw), 60000))
            return struct.pack("<Q", len(raw)) + parts + b"\0\0\0\0"
        return struct.pack("<H", len(raw)) + raw

    def encode_null(self):
        if self.name in ("char", "nchar", "binary", "rowversion") or (
                self.name in ("varchar", "nvarchar", "varbinary") and self.size):
            return b"\xff\xff"
        return b"\xff" * 8 if self.in_parts() else b"\0"

    def encode_time(self, time):
        if self.name == "date":
            return b"\3" + (time.day - FIRST_DAY).to_bytes(3, "little")
        if self.name == "datetime":
            units = (time.ticks * 300 + TICKS // 2) // TICKS
            return struct.pack("<BiI", 8, time.day - DATETIME_DAY, units)
        if self.name == "smalldatetime":
            return struct.pack("<BHH", 4, time.day - DATETIME_DAY, time.ticks // (60 * TICKS))
        width = 3 if self.scale < 3 else 4 if self.scale < 5 else 5
        ticks = time.ticks // 10 ** (7 - self.scale)
        return (bytes([width + 3]) + ticks.to_bytes(width, "little")
                + (time.day - FIRST_DAY).to_bytes(3, "little"))

    def to_bytes(self, value):
        if isinstance(value, bytes):
            return value.ljust(self.size, b"\0") if self.name == "binary" else value
        if self.name in ("nvarchar", "nchar", "ntext"):
            text = value.ljust(self.size) if self.name == "nchar" else value
            return text.encode("utf-16-le", "surrogatepass")
        text = value.ljust(self.size) if self.name == "char" else value
        return text.encode("cp1252", "replace")


def columns(described, table=""):
    """The description of a result's columns, given as (name, Type)."""
    token = b"\x81" + struct.pack("<H", len(described))
    for name, kind in described:
        user_type = 80 if kind.name == "rowversion" else 0
        # A bit that the client would otherwise take for a part of a key is left clear.
        token += struct.pack("<IH", user_type, 0x0009) + kind.describe(table) + short_text(name)
    return token


def row(types, values):
    return b"\xd1" + b"".join(kind.encode(value) for kind, value in zip(types, values))
