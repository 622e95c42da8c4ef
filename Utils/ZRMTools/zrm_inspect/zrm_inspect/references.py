"""Fields that refer to tree nodes, bones and materials by their number, and the version that a record has."""

from __future__ import annotations

from typing import Any

import numpy as np

from .cursor import Cursor
from .kinds import Constant, Kind, Number, Rows, Values
from .output import Output

_VERSION_TYPE = "model::Property<unsigned int>"


class Version(Kind):
    """No field: the version that the list of properties names. The fields that follow depend on it.

    With nothing `allowed` no field does, and a property of that name may be anything.
    """

    def __init__(self, allowed: tuple[int, ...]) -> None:
        self.allowed = allowed

    def read(self, cursor: Cursor, values: Values) -> int:
        version, offset = 0, cursor.position
        found = next((entry for entry in values["properties"] if entry.name == "__VERSION__"), None)
        if found is not None and found.type_name == _VERSION_TYPE:
            version, offset = int(found.value), found.offset
        if self.allowed and version not in self.allowed:
            known = " or ".join(map(str, self.allowed))
            cursor.fault("version", f"a record of version {version}, not {known}", offset)
        return version

    def write(self, out: Output, plain: Any, values: Values) -> None:
        pass


def check_nodes(cursor: Cursor, indices: Any, start: int, stride: int, what: str) -> None:
    """`start` is the offset of the first index, `stride` the distance in bytes to the next."""
    for place in np.flatnonzero(indices >= len(cursor.nodes)).tolist():
        message = f"{what} {int(indices[place])} of {len(cursor.nodes)} tree nodes"
        cursor.fault("reference", message, start + place * stride)


class TreeIndex(Number):
    def __init__(self, what: str) -> None:
        super().__init__(4, what)

    def read(self, cursor: Cursor, values: Values) -> int:
        index = cursor.u32()
        if index >= len(cursor.nodes):
            message = f"{self.what} {index} of {len(cursor.nodes)} tree nodes"
            cursor.fault("reference", message, cursor.position - 4)
        return index


class TreeIndices(Rows):
    def __init__(self, what: str) -> None:
        super().__init__(what, "<u4")

    def read(self, cursor: Cursor, values: Values) -> Any:
        start = cursor.position + 4
        indices = super().read(cursor, values)
        check_nodes(cursor, indices, start, 4, self.what)
        return indices


class Bones(TreeIndices):
    def __init__(self) -> None:
        super().__init__("bone")

    def read(self, cursor: Cursor, values: Values) -> Any:
        start = cursor.position + 4
        bones = super().read(cursor, values)
        for place, index in enumerate(bones.tolist()):
            if index < len(cursor.nodes) and cursor.nodes[index].inverted is None:
                message = f"tree node {index} is a '{cursor.nodes[index].type_name}', no bone"
                cursor.fault("reference", message, start + 4 * place)
        return bones


class ControlRows(Rows):
    """Structures that hold a tree index and a reserved word."""

    def read(self, cursor: Cursor, values: Values) -> Any:
        start = cursor.position + 4
        rows = super().read(cursor, values)
        check_nodes(cursor, rows["control"], start, self.row_size, self.what)
        for place in np.flatnonzero(rows["reserved"]).tolist():
            message = f"reserved word of a {self.what} is {int(rows['reserved'][place])}, not 0"
            cursor.fault("reserved", message, start + place * self.row_size + 4)
        return rows


class Parents(Kind):
    """(n, 2) rows of tree index and argument. One entry alone has no reserved word between them."""

    least = 4
    _one = TreeIndex("parent")
    _more = ControlRows("parent", [("control", "<u4"), ("reserved", "<u4"), ("argument", "<u4")])

    def read(self, cursor: Cursor, values: Values) -> Any:
        count = cursor.count(8, "number of parents")
        if count == 1:
            return np.array([[self._one.read(cursor, values), cursor.argument()]], np.uint32)
        cursor.position -= 4
        rows = self._more.read(cursor, values)
        cursor.note_arguments(rows["argument"])
        return np.stack([rows["control"], rows["argument"]], axis=1).astype(np.uint32)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.u32(len(plain))
        for control, argument in plain:
            out.u32(control)
            if len(plain) != 1:
                out.u32(0)
            out.u32(argument)


class MaterialIndex(Kind):
    """A reserved word and the number of a material: these are given in the order in which render nodes first use them."""

    least = 8
    _reserved = Constant("reserved word of a render node")

    def read(self, cursor: Cursor, values: Values) -> int:
        self._reserved.read(cursor, values)
        index = cursor.u32()
        offset = cursor.position - 4
        if index >= len(cursor.materials):
            cursor.fault("reference", f"material {index} of {len(cursor.materials)}", offset)
            return index
        if index > cursor.materials_used:
            cursor.fault("order", f"material {index} is used before material {cursor.materials_used}", offset)
        cursor.materials_used = max(cursor.materials_used, index + 1)
        return index

    def write(self, out: Output, plain: Any, values: Values) -> None:
        self._reserved.write(out, None, values)
        out.u32(plain)


class NumberRows(Rows):
    """The controls of one part of a number display, whose arguments count like others."""

    def __init__(self) -> None:
        form = [("uArgument", "<u4"), ("uFactor", "<f4"), ("vArgument", "<u4"), ("vFactor", "<f4")]
        super().__init__("controls", form)

    def read(self, cursor: Cursor, values: Values) -> Any:
        rows = super().read(cursor, values)
        cursor.note_arguments(rows["uArgument"])
        cursor.note_arguments(rows["vArgument"])
        return rows
