"""Records of meshes that are drawn: render nodes, number nodes, skins."""

from __future__ import annotations

from typing import Any

import numpy as np

from .cursor import Cursor
from .geometry import read_mesh
from .model import BaseNode, Floats, Mesh, NumberNode, RenderNode, SkinNode, Words
from .records import Context, Head, check_numbers, check_part_numbers, note_arguments

_MAX_PIVOTS = 6
_PARENT: list[Any] = [("control", "<u4"), ("reserved", "<u4"), ("argument", "<u4")]
_NUMBER: list[Any] = [("uArgument", "<u4"), ("uFactor", "<f4"), ("vArgument", "<u4"), ("vFactor", "<f4")]


def _pivots(cursor: Cursor, version: int) -> Floats:
    if version < 2:
        return np.zeros((0, 3), np.float32)
    count = cursor.u32()
    if count > _MAX_PIVOTS:
        raise cursor.error(f"{count} pivots", 4)
    return cursor.array("<f4", count, 3)


def _parents(context: Context) -> Words:
    """(n, 2) rows of tree index and argument. One entry alone has no reserved word."""
    cursor = context.cursor
    count = cursor.count(8, "number of parents")
    if count == 1:
        return np.array([[context.tree_index("parent"), cursor.argument()]], np.uint32)
    rows = context.entries(_PARENT, count, "parent")
    note_arguments(cursor, rows["argument"])
    return np.stack([rows["control"], rows["argument"]], axis=1).astype(np.uint32)


_RenderFields = tuple[int, Words, Mesh, int, Floats]


def _render_fields(context: Context, head: Head) -> _RenderFields:
    cursor = context.cursor
    material = context.material()
    parents = _parents(context)
    mesh = read_mesh(cursor, context.materials[material].vertex_format)
    check_part_numbers(context, head[0], mesh, len(parents))
    purpose = cursor.u32() if head[-1] >= 1 else 0
    if purpose > 1:
        raise cursor.error(f"purpose {purpose}", 4)
    return material, parents, mesh, purpose, _pivots(cursor, head[-1])


def read_render(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name, (0, 1, 2))
    return RenderNode(*head, *_render_fields(context, head))


def read_number(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name, (0, 1, 2))
    fields = _render_fields(context, head)
    cursor = context.cursor
    numbers = []
    for _ in range(len(fields[1])):
        rows = cursor.array(_NUMBER, cursor.count(16, "number of controls"))
        note_arguments(cursor, rows["uArgument"])
        note_arguments(cursor, rows["vArgument"])
        numbers.append(rows)
    return NumberNode(*head, *fields, numbers)


def _check_bone_numbers(cursor: Cursor, offset: int, mesh: Mesh, bone_count: int) -> None:
    """What has no weight may name any bone."""
    if not mesh.vertex_count or mesh.vertex_format[0] != 4:
        return
    numbers = mesh.bone_indices()
    weights = mesh.split().get("COLOR1")
    if weights is not None and weights.shape[1] == 4:
        numbers = numbers[weights != 0]
    check_numbers(cursor, offset, "vertex of bone", int(numbers.max(initial=0)), bone_count)


def read_skin(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name, (0, 1, 2))
    version = head[-1]
    material = context.material()
    bones = context.bones()
    argument = cursor.argument()
    box = cursor.array("<f4", 2, 3) if version >= 1 else None
    pivots = _pivots(cursor, version)
    mesh = read_mesh(cursor, context.materials[material].vertex_format)
    _check_bone_numbers(cursor, offset, mesh, len(bones))
    return SkinNode(*head, material, bones, argument, box, pivots, mesh)
