"""Writes the bytes of a file from its plain form, by the same table that reads one."""

from __future__ import annotations

import struct
from typing import Any

from .cursor import NO_ARGUMENT
from .layouts import ROOT, SECTIONS, TREE_NODE
from .model import ZrmFile
from .output import Output
from .plain import to_plain
from .reader import MAGIC, VERSION


def dump(file: ZrmFile) -> dict[str, Any]:
    """The whole file as dicts and lists, from which `build` makes the same bytes."""
    return {
        "root": to_plain(file.root),
        "nodes": [to_plain(node) for node in file.nodes],
        **{name: [to_plain(record) for record in getattr(file, name)] for _, name, _ in SECTIONS},
    }


def build(plain: dict[str, Any]) -> bytes:
    """The bytes of a file. KeyError, ValueError or TypeError, with what is missing, where the form isn't that of `dump`.

    Whether the result is a legal file is for `examine` to say.
    """
    out = Output()
    ROOT.write(out, plain["root"], {})
    nodes = plain["nodes"]
    out.u32(len(nodes))
    for node in nodes:
        TREE_NODE.write(out, node, {})
    for node in nodes:
        out.u32(node["parent"] if node["parent"] >= 0 else NO_ARGUMENT)
    present = [entry for entry in SECTIONS if plain.get(entry[1])]
    out.u32(len(present))
    for title, name, kind in present:
        out.string(title)
        out.u32(len(plain[name]))
        for record in plain[name]:
            kind.write(out, record, {})
    table = out.string_table()
    return b"".join((MAGIC, struct.pack("<HI", VERSION, len(table)), table, bytes(8), bytes(out.body)))
