"""What the records of all sections share: their head, references to tree nodes, bones and materials."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

import numpy as np

from .cursor import NO_ARGUMENT, Cursor
from .model import ArgAnimatedBone, BoneNode, Material, Mesh, Node, Property, Words
from .properties import read_name_and_properties, read_version

Head = tuple[int, str, str, list[Property], int]


class Context:
    """What the records refer to. Materials are numbered in the order in which render nodes first use them."""

    def __init__(self, cursor: Cursor, nodes: Sequence[Node], materials: Sequence[Material]) -> None:
        self.cursor = cursor
        self.nodes = nodes
        self.materials = materials
        self.materials_used = 0

    def head(self, offset: int, type_name: str, versions: tuple[int, ...] = ()) -> Head:
        name, properties = read_name_and_properties(self.cursor)
        return offset, type_name, name, properties, read_version(self.cursor, properties, versions)

    def tree_index(self, what: str) -> int:
        index = self.cursor.u32()
        if index >= len(self.nodes):
            raise self.cursor.error(f"{what} {index} of {len(self.nodes)} tree nodes", 4)
        return index

    def material(self) -> int:
        cursor = self.cursor
        cursor.zero("reserved word of a render node")
        index = cursor.u32()
        if index >= len(self.materials):
            raise cursor.error(f"material {index} of {len(self.materials)}", 4)
        if index > self.materials_used:
            raise cursor.error(f"material {index} is used before material {self.materials_used}", 4)
        self.materials_used = max(self.materials_used, index + 1)
        return index

    def check_tree_indices(self, indices: Words, start: int, stride: int, what: str) -> None:
        """`start` is the offset of the first index, `stride` the distance in bytes to the next."""
        bad = np.flatnonzero(indices >= len(self.nodes))
        if len(bad):
            self.cursor.position = start + int(bad[0]) * stride
            raise self.cursor.error(f"{what} {int(indices[bad[0]])} of {len(self.nodes)} tree nodes")

    def bones(self) -> Words:
        cursor = self.cursor
        count = cursor.count(4, "number of bones")
        start = cursor.position
        bones = cursor.array("<u4", count)
        self.check_tree_indices(bones, start, 4, "bone")
        for place, index in enumerate(bones.tolist()):
            if not isinstance(self.nodes[index], (BoneNode, ArgAnimatedBone)):
                cursor.position = start + 4 * place
                raise cursor.error(f"tree node {index} is a '{self.nodes[index].type_name}', no bone")
        return bones

    def entries(self, dtype: list[Any], count: int, what: str) -> Any:
        """`count` structures that hold a tree index, and a reserved word where the type has one."""
        cursor = self.cursor
        start = cursor.position
        kind = np.dtype(dtype)
        rows = cursor.array(kind, count)
        self.check_tree_indices(rows["control"], start, kind.itemsize, what)
        bad = np.flatnonzero(rows["reserved"])
        if len(bad):
            cursor.position = start + int(bad[0]) * kind.itemsize + 4
            raise cursor.error(f"reserved word of a {what} is {int(rows['reserved'][bad[0]])}, not 0")
        return rows


def note_arguments(cursor: Cursor, arguments: Words) -> None:
    real = arguments[arguments != NO_ARGUMENT]
    if len(real):
        cursor.highest_argument = max(cursor.highest_argument, int(real.max()))


def check_part_numbers(context: Context, offset: int, mesh: Mesh, parent_count: int) -> None:
    if mesh.vertex_count and mesh.vertex_format[0]:
        numbers = mesh.part_numbers()
        check_numbers(context.cursor, offset, "vertex of parent", int(numbers.max()), parent_count)
        if numbers.min() < 0:
            context.cursor.warn(offset, "vertex whose parent is no number")


def check_numbers(cursor: Cursor, offset: int, what: str, largest: int, count: int) -> None:
    """Warns when vertices or lights name an entry that their list lacks."""
    if largest >= count:
        cursor.warn(offset, f"{what} {largest} of {count}")
