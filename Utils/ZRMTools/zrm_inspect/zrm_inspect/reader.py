"""Reads a whole ZRM file of version 10 and refuses whatever the writer of that format could not have written.

    magic "ZRM", version, string table, reserved u64, root record, tree records, parent table, sections

Every byte is read, and only once: the cost is linear in the size, whatever the depth of the tree.
"""

from __future__ import annotations

import os
from pathlib import Path

from .cursor import Cursor, ZrmError, decode
from .model import Root, ZrmFile
from .properties import read_material, read_name_and_properties, read_version
from .records import Context
from .sections import check_materials, read_sections
from .tree import read_parents, read_tree

VERSION = 10
_ROOT_VERSION = 3
_MIN_MATERIAL = 4 + 10 * 4  # the number of fields, and their names


def read_file(path: str | os.PathLike[str]) -> ZrmFile:
    """Reads the file at `path`; ZrmError for illegal bytes, OSError when it can't be read."""
    return parse(Path(path).read_bytes())


def parse(data: bytes) -> ZrmFile:
    """Reads the bytes of a file. The result's arrays are views of `data`."""
    cursor = Cursor(data)
    if cursor.take(3) != b"ZRM":
        raise ZrmError(0, "no ZRM file")
    version = cursor.u16()
    if version != VERSION:
        raise cursor.error(f"version {version}, not {VERSION}", 2)
    table_start = cursor.position + 4
    _read_strings(cursor)
    reserved = cursor.u64()
    if reserved:
        raise cursor.error(f"reserved word of the file is {reserved}, not 0", 8)

    root, handle_offset = _read_root(cursor)
    nodes = read_tree(cursor)
    parents = read_parents(cursor, nodes)
    context = Context(cursor, nodes, root.materials)
    connectors, shells, lights, renders = read_sections(context)

    if cursor.position != len(data):
        raise cursor.error(f"{len(data) - cursor.position} bytes behind the end")
    if cursor.strings_used != len(cursor.strings):
        unused = cursor.strings[cursor.strings_used]
        before = cursor.strings[: cursor.strings_used]
        offset = table_start + sum(len(text.encode("utf-8", "surrogateescape")) + 1 for text in before)
        raise ZrmError(offset, f"string {cursor.strings_used}, '{unused}', is used nowhere")
    check_materials(context)
    if root.handle_count != cursor.highest_argument + 1:
        raise ZrmError(handle_offset, f"{root.handle_count} handles where {cursor.highest_argument + 1} are in use")
    return ZrmFile(
        len(data), cursor.strings, root, nodes, parents, connectors, shells, lights, renders, cursor.warnings
    )


def _read_strings(cursor: Cursor) -> None:
    size = cursor.count(1, "size of the string table")
    start = cursor.position
    table = cursor.take(size)
    if not table:
        return
    if table[-1] != 0:
        raise cursor.error("the string table doesn't end in NUL", 1)
    raw = table[:-1].split(b"\0")
    if len(set(raw)) != len(raw):
        _refuse_duplicate(raw, start)
    cursor.strings = [decode(text) for text in raw]


def _refuse_duplicate(raw: list[bytes], start: int) -> None:
    seen: set[bytes] = set()
    for text in raw:
        if text in seen:
            raise ZrmError(start, f"string '{decode(text)}' stands twice in the table")
        seen.add(text)
        start += len(text) + 1


def _read_root(cursor: Cursor) -> tuple[Root, int]:
    """The root record, and the offset of its number of handles."""
    offset = cursor.position
    type_name = cursor.string()
    if type_name != "model::RootNode":
        raise cursor.error(f"'{type_name}' where the root belongs", 4)
    name, properties = read_name_and_properties(cursor)
    cursor.highest_argument = -1  # the root's own properties don't take part in the count of handles
    version = read_version(cursor, properties, (_ROOT_VERSION,))
    bounding_box, user_box, light_box = [cursor.array("<f8", 2, 3) for _ in range(3)]
    count = cursor.count(_MIN_MATERIAL, "number of materials")
    materials = [read_material(cursor) for _ in range(count)]
    cursor.zero("second reserved word of the root")
    handle_count = cursor.u32()
    head = (offset, type_name, name, properties, version)
    root = Root(*head, bounding_box, user_box, light_box, materials, handle_count)
    return root, cursor.position - 4
