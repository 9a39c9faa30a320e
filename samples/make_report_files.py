#!/usr/bin/python3
"""Writes the sample report files (*.rpt) beside the reports that name them in reports.json.

A report file is an opaque binary to Tarnwick, which stores and hands it out byte by byte. These
stand in for the files of a report designer: a header and layout records, several kilobytes with
every byte value in them. The same input gives the same files.
"""

import hashlib
import json
import pathlib
import struct

SAMPLES = pathlib.Path(__file__).parent
RECORDS_PER_FILE = 48


def layout_record(report_name, number):
    """A record: its number, the length of its body, then a body that no text tool can mistake."""
    seed = f"{report_name}/{number}".encode()
    body = hashlib.shake_256(seed).digest(64 + seed[0] + 3 * number)
    return struct.pack("<HI", number, len(body)) + body


def report_file(report):
    header = b"DWRL\x00\x01\x1a\n" + report["ReportName"].encode("utf-16-le").ljust(128, b"\x00")
    records = (layout_record(report["ReportName"], n) for n in range(RECORDS_PER_FILE))
    return header + bytes(range(256)) + b"".join(records)


for entry in json.loads((SAMPLES / "reports.json").read_text(encoding="utf-8")):
    if entry["Report_Binary"] is not None:
        (SAMPLES / "reports" / entry["Report_Binary"]).write_bytes(report_file(entry))
