"""The vertex block and the index block."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .cursor import Cursor
from .model import Bytes, Floats, Mesh

_INDEX_TYPES = ("u1", "<u2", "<u4")
_NARROWER_LIMITS = (-1, 255, 65535)  # a largest index up to this would have fitted the width before


def read_vertices(cursor: Cursor, vertex_format: Bytes) -> Floats:
    """(n, floats per vertex). A block without vertices is legal under any format."""
    offset = cursor.position
    count = cursor.u32()
    width = cursor.u32()
    if count == 0 or width == 0:
        if count != width:
            raise cursor.error(f"{count} vertices of {width} floats", 8)
        return cursor.array("<f4", 0, int(vertex_format.sum()))
    expected = int(vertex_format.sum())
    if width != expected:
        raise cursor.error(f"{width} floats a vertex where the format has {expected}", 4)
    left = len(cursor.data) - cursor.position
    if count * width * 4 > left:
        cursor.position = offset
        raise cursor.error(f"{count} vertices of {width} floats, but only {left} bytes are left")
    return cursor.array("<f4", count, width)


def read_indices(cursor: Cursor, vertex_count: int) -> tuple[NDArray[Any], int]:
    """The indices in the file's width, and the primitive type."""
    offset = cursor.position
    code = cursor.u8()
    if code >= len(_INDEX_TYPES):
        raise cursor.error(f"index format {code}", 1)
    dtype = np.dtype(_INDEX_TYPES[code])
    count = cursor.u32()
    primitive_type = cursor.u32()
    left = len(cursor.data) - cursor.position
    if count * dtype.itemsize > left:
        raise cursor.error(f"{count} indices, but only {left} bytes are left", 8)
    indices = cursor.array(dtype, count)
    largest = int(indices.max()) if count else -1
    if code and largest <= _NARROWER_LIMITS[code]:
        cursor.position = offset
        raise cursor.error(f"index format {code} is wider than the largest index {largest} needs")
    if largest >= vertex_count:
        cursor.warn(offset, f"index {largest} of {vertex_count} vertices")
    if primitive_type == 5 and count % 3:
        cursor.warn(offset, f"{count} indices are no whole number of triangles")
    return indices, primitive_type


def read_mesh(cursor: Cursor, vertex_format: Bytes) -> Mesh:
    vertices = read_vertices(cursor, vertex_format)
    indices, primitive_type = read_indices(cursor, len(vertices))
    return Mesh(vertices, vertex_format, indices, primitive_type)
