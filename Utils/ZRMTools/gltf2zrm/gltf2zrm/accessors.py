"""Accessors as NumPy arrays: strides, matrix alignment, sparse parts, normalised integers.

Plain 32-bit floats and unsigned integers are views of the file's bytes.
"""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray
from zrm_scene.arrays import Floats, Indices, Reals

from .compressed import unpacked
from .container import Container, whole
from .problems import GltfError
from .schema import AccessorEntry, Sparse, ViewEntry

Numbers = NDArray[Any]  # of any kind that accessors have
Kind = np.dtype[Any]

COMPONENTS: dict[int, Kind] = {5120: np.dtype("<i1"), 5121: np.dtype("<u1"), 5122: np.dtype("<i2"), 5123: np.dtype("<u2"), 5125: np.dtype("<u4"), 5126: np.dtype("<f4")}
# Rows and columns; a column of a matrix starts at a multiple of four bytes.
SHAPES = {"SCALAR": (1, 1), "VEC2": (2, 1), "VEC3": (3, 1), "VEC4": (4, 1), "MAT2": (2, 2), "MAT3": (3, 3), "MAT4": (4, 4)}
# An accessor without a buffer view is all zeros and costs its file nothing, so its size needs a bound of ours.
MOST_ZEROS = 1 << 26


class Reader:
    """Reads accessors of one file.  Meshes that share an accessor share the array: treat it as read-only."""

    def __init__(self, container: Container) -> None:
        self.container = container
        self.cache: dict[int, Numbers] = {}
        self.views: dict[int, memoryview] = {}

    def entry(self, index: int, where: str) -> AccessorEntry:
        """An accessor's own fields."""
        return self.container.entry("accessors", AccessorEntry, index, where)

    def count(self, index: int, where: str) -> int:
        """Number of elements of an accessor."""
        return whole(self.entry(index, where)["count"], f"accessors[{index}].count")

    def reals(self, index: int, width: int, where: str) -> Reals:
        """Accessor `index` as float32 or float64 [count, width], integers normalised where the accessor says so."""
        return self.real(self.read(index, where), self.entry(index, where), width, f"{where}: accessor {index}")

    def real(self, values: Numbers, entry: AccessorEntry, width: int, where: str) -> Reals:
        """The same for values that are already there."""
        if values.shape[1] != width:
            raise GltfError(f"{where} has {values.shape[1]} components, not {width}")
        if values.dtype == np.float32:
            return values.astype(np.float32, copy=False)
        if entry.get("normalized") and values.dtype.kind in "iu":
            top = float(np.iinfo(values.dtype).max)
            return np.maximum(values.astype(np.float64) / top, -1.0)
        return values.astype(np.float64)

    def floats(self, index: int, width: int, where: str) -> Floats:
        """The same in 64 bits."""
        return self.reals(index, width, where).astype(np.float64)

    def integers(self, index: int, width: int, where: str) -> Indices:
        """Accessor `index` as [count, width] of its own kind; it must hold unsigned integers."""
        return unsigned(self.read(index, where), width, f"{where}: accessor {index}")

    def read(self, index: int, where: str) -> Numbers:
        """The elements as they stand in the file, [count, components]."""
        if index in self.cache:
            return self.cache[index]
        entry = self.entry(index, where)
        place = f"accessors[{index}]"
        kind, shape = COMPONENTS.get(entry["componentType"]), SHAPES.get(entry["type"])
        if kind is None or shape is None:
            raise GltfError(f"{place}: unknown component type {entry['componentType']!r} or type {entry['type']!r}")
        count = whole(entry["count"], f"{place}.count")
        view = entry.get("bufferView")
        if view is None:
            if count * shape[0] * shape[1] > MOST_ZEROS:
                raise GltfError(f"{place}: {count} elements without a buffer view")
            values: Numbers = np.zeros((count, shape[0] * shape[1]), kind)
        else:
            values = self._elements(view, entry.get("byteOffset") or 0, count, kind, shape, place)
        if (sparse := entry.get("sparse")) is not None:
            values = self._overlay(values, sparse, kind, shape, f"{place}.sparse")
        self.cache[index] = values
        return values

    def bytes_of(self, view: int, where: str) -> memoryview:
        """The bytes of a buffer view, unpacked where an extension has packed them."""
        if view not in self.views:
            entry = self.container.entry("bufferViews", ViewEntry, view, where)
            place = f"bufferViews[{view}]"
            if (data := unpacked(self.container, entry, place)) is None:
                data = self._plain(entry, place)
            self.views[view] = data
        return self.views[view]

    def _plain(self, entry: ViewEntry, place: str) -> memoryview:
        start, length = whole(entry.get("byteOffset") or 0, f"{place}.byteOffset"), whole(entry["byteLength"], f"{place}.byteLength")
        data = self.container.buffer(entry["buffer"], f"{place}.buffer")
        if start + length > len(data):
            raise GltfError(f"{place}: it ends at byte {start + length} of a buffer of {len(data)}")
        return data[start : start + length]

    def _elements(
        self, view: int, offset: int, count: int, kind: Kind, shape: tuple[int, int], place: str, packed: bool = False
    ) -> Numbers:
        data = self.bytes_of(view, f"{place}.bufferView")
        stride_bytes = self.container.entry("bufferViews", ViewEntry, view, place).get("byteStride")
        start = whole(offset, f"{place}.byteOffset")
        rows, columns = shape
        column = rows * kind.itemsize
        if columns > 1:
            column = (column + 3) // 4 * 4
        size = column * columns
        stride = size if packed or count <= 1 or stride_bytes is None else whole(stride_bytes, f"bufferViews[{view}].byteStride")
        if stride < size:
            raise GltfError(f"{place}: stride {stride} for elements of {size} bytes")
        if count and start + stride * (count - 1) + size > len(data):
            raise GltfError(f"{place}: {count} elements run over the end of their view")
        if count == 0:
            return np.zeros((0, rows * columns), kind)
        # One strided look at the bytes copes with odd offsets, interleaving and padded matrix columns alike.
        array: Numbers = np.ndarray((count, columns, rows), kind, buffer=data, offset=start, strides=(stride, column, kind.itemsize))
        return array.reshape(count, rows * columns)

    def _overlay(self, values: Numbers, sparse: Sparse, kind: Kind, shape: tuple[int, int], place: str) -> Numbers:
        count = whole(sparse["count"], f"{place}.count")
        indices, fresh = sparse["indices"], sparse["values"]
        index_kind = COMPONENTS.get(indices["componentType"])
        if index_kind is None or index_kind.kind != "u":
            raise GltfError(f"{place}.indices: no unsigned integers")
        spots = self._elements(indices["bufferView"], indices.get("byteOffset") or 0, count, index_kind, (1, 1), f"{place}.indices", True)
        places = unsigned(spots, 1, place)[:, 0]
        rows = self._elements(fresh["bufferView"], fresh.get("byteOffset") or 0, count, kind, shape, f"{place}.values", True)
        if count and int(places.max()) >= len(values):
            raise GltfError(f"{place}: an index lies beyond its {len(values)} elements")
        values = values.copy()
        values[places] = rows
        return values


def unsigned(values: Numbers, width: int, where: str) -> Indices:
    """Unsigned integers of some width each."""
    if values.shape[1] != width or values.dtype.kind != "u":
        raise GltfError(f"{where} is no list of {width} unsigned integers each")
    return values
