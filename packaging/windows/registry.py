"""Exports of the registry, as `reg export` writes them."""

import re

_VALUE = re.compile(r'(@|"(?:[^"\\]|\\.)*")=(.*)', re.DOTALL)


def _unquoted(text):
    return re.sub(r"\\(.)", r"\1", text[1:-1], flags=re.DOTALL)


def _read_value(text):
    if text.startswith('"'):
        return "string", _unquoted(text)
    kind, _, data = text.partition(":")
    if kind == "hex(2)":  # texts in which variables are replaced
        data = bytes.fromhex(data.replace(",", "")).decode("utf-16-le").rstrip("\0")
    return kind, data


def read_export(file):
    """Values by the names of their keys: a kind and a text each; the default value's name is empty."""
    text = file.read_text(encoding="utf-16").replace("\r\n", "\n").replace("\\\n  ", "")
    keys = {}
    for block in re.split(r"\n(?=\[HKEY_)", text)[1:]:
        name, _, rest = block.partition("]\n")
        values = keys.setdefault(name[1:], {})
        for entry in re.split(r'\n(?=@=|")', "\n" + rest):
            found = _VALUE.fullmatch(entry.strip("\n"))
            if found is None:
                continue
            quoted, value = found.groups()
            values["" if quoted == "@" else _unquoted(quoted)] = _read_value(value)
    return keys
