"""Reads a whole ZRM file of version 10 by the table of layouts, and says what its writer could not have written.

Every field is read, and only once: the cost is linear in the number of records, whatever the depth of the tree. Vertices and
indices stay views of the bytes: those of a mapped file aren't touched before somebody uses them.
"""

from __future__ import annotations

import os
from collections.abc import Iterator
from contextlib import contextmanager
from mmap import ACCESS_READ, mmap
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .contents import check_contents
from .cursor import NO_ARGUMENT, Cursor, Data, decode, encode
from .faults import FaultList, ZrmError
from .layouts import ROOT, SECTIONS, TREE_NODE
from .model import Root, ZrmFile, arguments_of

MAGIC = b"ZRM"
VERSION = 10
_MAPPED_FROM = 1 << 26  # smaller ones are read: a mapped file that another process cuts short takes its reader down


def read_file(path: str | os.PathLike[str]) -> ZrmFile:
    """Reads the file at `path`; ZrmError for illegal bytes, OSError when it can't be read."""
    return parse(load(path))


def parse(data: Data) -> ZrmFile:
    """Reads the bytes of a file and all their contents; its faults are warnings only. The result's arrays are views of `data`."""
    file, faults = examine(data)
    if error := faults.first_error():
        raise error
    assert file is not None
    return file


def open_file(path: str | os.PathLike[str]) -> ZrmFile:
    """As read_file, but a large file is mapped, and vertices and indices aren't looked at: it is open in no time."""
    cursor = Cursor(load(path))
    with _stopping():
        file = _read(cursor)
    if error := cursor.faults.first_error():
        raise error
    return file


def load(path: str | os.PathLike[str]) -> Data:
    """The bytes of a file; those of a large one are mapped."""
    with Path(path).open("rb") as stream:
        size = os.fstat(stream.fileno()).st_size
        return mmap(stream.fileno(), 0, access=ACCESS_READ) if size >= _MAPPED_FROM else stream.read()


def examine(data: Data) -> tuple[ZrmFile | None, FaultList]:
    """Everything that is wrong with the bytes of a file, and the file itself as far as it could be read to its end."""
    cursor = Cursor(data)
    file = None
    with _stopping():
        file = _read(cursor)
        cursor.section = ""
        check_contents(file)
    return file, cursor.faults


@contextmanager
def _stopping() -> Iterator[None]:
    """Ends where reading can't go on; the reason is among the faults."""
    try:
        yield
    except ZrmError:
        pass


def _read(cursor: Cursor) -> ZrmFile:
    strings_start = _read_header(cursor)
    ends = {"header and strings": cursor.position}
    cursor.section = "root"
    root: Root = ROOT.read(cursor, {})
    handles_at = cursor.position - 4
    ends["root and materials"] = cursor.position
    # The root's own properties don't take part in the count of handles, those of its materials do.
    cursor.highest_argument = max((n for m in root.materials for n in arguments_of(m.animated_uniforms)), default=-1)
    cursor.materials = root.materials
    nodes = cursor.nodes = _read_tree(cursor)
    parents = _read_parents(cursor)
    ends["tree"] = cursor.position
    sections = _read_sections(cursor, ends)
    cursor.section, cursor.index = "", -1
    _check_ends(cursor, strings_start)
    if root.handle_count != cursor.highest_argument + 1:
        used = cursor.highest_argument + 1
        cursor.fault("handles", f"{root.handle_count} handles where {used} are in use", handles_at)
    parts: dict[str, Any] = {"root": root, "nodes": nodes, "parents": parents, **sections}
    return ZrmFile(data=cursor.data, strings=cursor.strings, **parts, faults=cursor.faults, ends=ends)


def _read_header(cursor: Cursor) -> int:
    """The magic, the version, the strings and a reserved word; the result is where the strings begin."""
    if cursor.take(3) != MAGIC:
        raise cursor.fault("magic", "no ZRM file", 0)
    version = cursor.u16()
    if version != VERSION:
        raise cursor.fault("version", f"version {version}, not {VERSION}", 3)
    size = cursor.count(1, "size of the string table")
    start = cursor.position
    table = cursor.take(size)
    if table:
        if table[-1] != 0:
            cursor.fault("value", "the string table doesn't end in NUL", cursor.position - 1)
        raw = (table[:-1] if table[-1] == 0 else table).split(b"\0")
        cursor.strings = [decode(text) for text in raw]
        if len(set(raw)) != len(raw):
            _note_duplicates(cursor, raw, start)
    reserved = cursor.u64()
    if reserved:
        cursor.fault("reserved", f"reserved word of the file is {reserved}, not 0", cursor.position - 8)
    return start


def _note_duplicates(cursor: Cursor, raw: list[bytes], start: int) -> None:
    seen: set[bytes] = set()
    for text in raw:
        if text in seen:
            cursor.fault("duplicate", f"string '{decode(text)}' stands twice in the table", start)
        seen.add(text)
        start += len(text) + 1


def _read_tree(cursor: Cursor) -> list[Any]:
    cursor.section = "nodes"
    count = cursor.count(TREE_NODE.least + 4, "number of tree nodes")  # 4: the entry of the parent table
    if count == 0:
        raise cursor.fault("count", "a tree without nodes", cursor.position - 4)
    nodes = []
    for index in range(count):
        cursor.index = index
        nodes.append(TREE_NODE.read_with(cursor, {"index": index, "parent": -1}))
    cursor.index = -1
    return nodes


def _read_parents(cursor: Cursor) -> NDArray[np.int64]:
    """The parent of each node, -1 for the top, also stored in the nodes.

    Nodes stand in pre-order, so a node's parent is the node before it or one of that node's
    ancestors. The chain of those is kept as a stack: each node is pushed and popped once.
    """
    nodes = cursor.nodes
    offset = cursor.position
    table = cursor.array("<u4", len(nodes))
    if table[0] != NO_ARGUMENT:
        cursor.fault("order", f"the first node has the parent {table[0]}", offset)
    chain = [0]
    for index, parent in enumerate(table[1:].tolist(), 1):
        message = ""
        if parent == NO_ARGUMENT:
            message = "a second node without a parent"
        elif parent >= index:
            message = f"parent {parent} doesn't stand before node {index}"
        else:
            while len(chain) > 1 and chain[-1] != parent:
                chain.pop()
            if chain[-1] != parent:
                message = f"node {index} under {parent} breaks the pre-order"
        if message:
            cursor.index = index
            cursor.fault("order", message, offset + 4 * index)
        nodes[index].parent = 0 if message else parent
        chain.append(index)
    cursor.index = -1
    return np.array([node.parent for node in nodes], np.int64)


def _read_sections(cursor: Cursor, ends: dict[str, int]) -> dict[str, list[Any]]:
    """The four lists by name; a section that the file leaves out is an empty list."""
    found: dict[str, list[Any]] = {name: [] for _, name, _ in SECTIONS}
    titles = [title for title, _, _ in SECTIONS]
    cursor.section = "sections"
    count = cursor.u32()
    if count > len(SECTIONS):
        raise cursor.fault("count", f"{count} sections", cursor.position - 4)
    following = 0
    for _ in range(count):
        cursor.section, cursor.index = "sections", -1
        title = cursor.string()
        if title not in titles:
            raise cursor.fault("type", f"'{title}' is no name of a section", cursor.position - 4)
        number = titles.index(title)
        if number < following:
            cursor.fault("order", f"section '{title}' is out of order", cursor.position - 4)
        following = number + 1
        cursor.section = SECTIONS[number][1]
        kind = SECTIONS[number][2]
        members = cursor.count(kind.least, "number of records")
        if members == 0:
            cursor.fault("count", f"section '{title}' is empty", cursor.position - 4)
        for index in range(members):
            cursor.index = index
            found[cursor.section].append(kind.read(cursor, {}))
        ends[title] = cursor.position
    return found


def _check_ends(cursor: Cursor, strings_start: int) -> None:
    """What is left of the bytes, the strings and the materials."""
    if cursor.position != cursor.size:
        cursor.fault("trailing", f"{cursor.size - cursor.position} bytes behind the end")
    place = strings_start + sum(len(encode(text)) + 1 for text in cursor.strings[: cursor.strings_used])
    for index, text in enumerate(cursor.strings[cursor.strings_used :], cursor.strings_used):
        cursor.fault("unused", f"string {index}, '{text}', is used nowhere", place)
        place += len(encode(text)) + 1
    for index, material in enumerate(cursor.materials[cursor.materials_used :], cursor.materials_used):
        cursor.fault("unused", f"material {index} is used by no render node", material.offset)
