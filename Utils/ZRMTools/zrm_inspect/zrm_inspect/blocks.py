"""Fields whose form follows from others: vertex and index blocks, samples of lights, the box of a shell skin."""

from __future__ import annotations

from typing import Any

import numpy as np

from .cursor import Cursor
from .kinds import Argument, Array, Constant, Counted, Kind, Values
from .model import Bytes, LightSamples, Mesh
from .output import Output

INDEX_TYPES = ("u1", "<u2", "<u4")
VERTEX_FORMAT = Counted("semantics", "u1", 27)
_NO_FORMAT: Bytes = np.zeros(27, np.uint8)
_SAMPLES = 128


def index_code(largest: int) -> int:
    """The narrowest of INDEX_TYPES that holds it."""
    return int(largest > 255) + int(largest > 65535)


class MeshBlock(Kind):
    """The vertex block and the index block, behind the vertex format where the material doesn't give it."""

    least = 8

    def __init__(self, own_format: bool = False, indices: bool = True) -> None:
        self.own_format = own_format
        self.indices = indices

    def _format(self, cursor: Cursor, values: Values) -> Bytes:
        if self.own_format:
            found: Bytes = VERTEX_FORMAT.read(cursor, values)
            return found
        number = values["material"]
        return cursor.materials[number].vertex_format if number < len(cursor.materials) else _NO_FORMAT

    def read(self, cursor: Cursor, values: Values) -> Mesh:
        vertex_format = self._format(cursor, values)
        vertices = self._vertices(cursor, int(vertex_format.sum()))
        if vertices.shape[1] != vertex_format.sum():
            vertex_format = _NO_FORMAT  # the file is at fault, and nothing is known of these floats
        if not self.indices:
            return Mesh(vertices, vertex_format, np.zeros(0, np.uint8), 0)
        code = cursor.u8()
        if code >= len(INDEX_TYPES):
            raise cursor.fault("value", f"index format {code}", cursor.position - 1)
        dtype = np.dtype(INDEX_TYPES[code])
        count = cursor.count(dtype.itemsize, "number of indices", behind=4)
        if code and not count:
            cursor.fault("index-width", f"index format {code} is wider than no index needs", cursor.position - 5)
        primitive_type = cursor.u32()
        return Mesh(vertices, vertex_format, cursor.array(dtype, count), primitive_type)

    def _vertices(self, cursor: Cursor, expected: int) -> Any:
        """(n, floats per vertex). A block without vertices is legal under any format."""
        offset = cursor.position
        count, width = cursor.u32(), cursor.u32()
        if count == 0 or width == 0:
            if count != width:
                cursor.fault("count", f"{count} vertices of {width} floats", offset)
            return cursor.array("<f4", 0, expected)
        if width != expected:
            cursor.fault("count", f"{width} floats a vertex where the format has {expected}", offset + 4)
        left = cursor.size - cursor.position
        if count * width * 4 > left:
            message = f"{count} vertices of {width} floats, but only {left} bytes are left"
            raise cursor.fault("count", message, offset)
        return cursor.array("<f4", count, width)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        if self.own_format:
            VERTEX_FORMAT.write(out, plain["vertex_format"], values)
        rows = plain["vertices"]
        out.pack("II", len(rows), len(rows[0]) if rows else 0)
        if rows:
            out.array(rows, "<f4", len(rows), -1)
        if self.indices:
            indices = plain["indices"]
            code = index_code(max(indices, default=0))
            out.pack("BII", code, len(indices), plain["primitive_type"])
            out.array(indices, INDEX_TYPES[code], -1)


def _light_count(values: Values) -> int:
    """Of lights in their plain form, a dict of columns."""
    return len(next(iter(values["lights"].values())))


class Samples(Kind):
    """The samples of the lights before them."""

    least = 12
    _argument = Argument("an animated fake light node")
    _for_each = Constant("number of samples for a light", "count", lambda _: _SAMPLES)
    _total = Constant("number of samples", "count", lambda values: len(values["lights"]) * _SAMPLES)

    def read(self, cursor: Cursor, values: Values) -> LightSamples:
        argument = self._argument.read(cursor, values)
        self._for_each.read(cursor, values)
        self._total.read(cursor, values)
        return LightSamples(argument, cursor.array("<f4", len(values["lights"]), _SAMPLES))

    def write(self, out: Output, plain: Any, values: Values) -> None:
        lights = _light_count(values)
        self._argument.write(out, plain["argument"], values)
        out.pack("II", _SAMPLES, lights * _SAMPLES)
        out.array(plain["samples"], "<f4", lights, _SAMPLES)


class Directions(Kind):
    """A direction for each of the lights before them."""

    def read(self, cursor: Cursor, values: Values) -> Any:
        return cursor.array("<f4", len(values["lights"]), 3)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.array(plain, "<f4", _light_count(values), 3)


class ForEachParent(Kind):
    """A field for each parent entry."""

    def __init__(self, kind: Kind) -> None:
        self.kind = kind

    def read(self, cursor: Cursor, values: Values) -> list[Any]:
        return [self.kind.read(cursor, values) for _ in range(len(values["parents"]))]

    def write(self, out: Output, plain: Any, values: Values) -> None:
        if len(plain) != len(values["parents"]):
            raise ValueError(f"{len(plain)} lists of controls for {len(values['parents'])} parents")
        for entry in plain:
            self.kind.write(out, entry, values)


class OptionalBox(Kind):
    """The box of a shell skin, which stands in the file only when it is valid.

    Nothing in the file says whether it is there. The vertex format that follows begins with the
    word 27: when it stands here there is no box, when it stands 24 bytes on there is one. A box whose
    minimum x has these bits (3.8e-44, a denormal) would be taken for a format; no real box has that.
    """

    _box = Array("<f4", 2, 3)

    def read(self, cursor: Cursor, values: Values) -> Any:
        start = cursor.position
        has_box = cursor.u32() != 27
        cursor.position = start
        if not has_box:
            return None
        box = self._box.read(cursor, values)
        mark = cursor.u32()
        cursor.position -= 4
        if mark != 27:
            raise cursor.fault("value", "neither a vertex format nor a box with a vertex format behind it", start)
        if not bool(np.all(box[1] >= box[0])):
            cursor.fault("box", "a box that isn't valid", start)
        return box

    def write(self, out: Output, plain: Any, values: Values) -> None:
        if plain is not None:
            self._box.write(out, plain, values)
