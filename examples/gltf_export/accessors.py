"""Accessors as NumPy arrays: strides, matrix alignment, sparse parts, normalised integers."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .container import Container, item, whole
from .problems import GltfError

Floats = NDArray[np.float64]
Integers = NDArray[np.int64]

COMPONENTS: dict[int, np.dtype[Any]] = {
    5120: np.dtype("<i1"),
    5121: np.dtype("<u1"),
    5122: np.dtype("<i2"),
    5123: np.dtype("<u2"),
    5125: np.dtype("<u4"),
    5126: np.dtype("<f4"),
}
# Rows and columns; a column of a matrix starts at a multiple of four bytes.
SHAPES = {"SCALAR": (1, 1), "VEC2": (2, 1), "VEC3": (3, 1), "VEC4": (4, 1), "MAT2": (2, 2), "MAT3": (3, 3), "MAT4": (4, 4)}
# An accessor without a buffer view is all zeros and costs its file nothing, so its size needs a bound of ours.
MOST_ZEROS = 1 << 26


class Reader:
    """Reads accessors of one file.  Meshes that share an accessor share the array: treat it as read-only."""

    def __init__(self, container: Container) -> None:
        self.container = container
        self.cache: dict[int, NDArray[Any]] = {}

    def floats(self, index: Any, width: int, what: str) -> Floats:
        """Accessor `index` as float64 [count, width], integers normalised where the accessor says so."""
        values = self._read(index, what)
        if values.shape[1] != width:
            raise GltfError(f"{what}: accessor {index} has {values.shape[1]} components, not {width}")
        entry = self.container.json.accessors[index]
        if entry.normalized and values.dtype.kind in "iu":
            top = float(np.iinfo(values.dtype).max)
            return np.asarray(np.maximum(values.astype(np.float64) / top, -1.0))
        return values.astype(np.float64)

    def integers(self, index: Any, width: int, what: str) -> Integers:
        """Accessor `index` as int64 [count, width]; it must hold unsigned integers."""
        values = self._read(index, what)
        if values.shape[1] != width or values.dtype.kind != "u":
            raise GltfError(f"{what}: accessor {index} is no list of {width} unsigned integers each")
        return values.astype(np.int64)

    def count(self, index: Any, what: str) -> int:
        """Number of elements of an accessor."""
        return whole(item(self.container.json.accessors, index, f"{what}: accessor").count, f"{what}: count")

    def _read(self, index: Any, what: str) -> NDArray[Any]:
        entry = item(self.container.json.accessors, index, f"{what}: accessor")
        if index in self.cache:
            return self.cache[index]
        where = f"accessor {index}"
        kind = COMPONENTS.get(entry.componentType)
        shape = SHAPES.get(entry.type)
        if kind is None or shape is None:
            raise GltfError(f"{where}: unknown component type {entry.componentType!r} or type {entry.type!r}")
        count = whole(entry.count, f"{where}: count")
        if entry.bufferView is None:
            if count * shape[0] * shape[1] > MOST_ZEROS:
                raise GltfError(f"{where}: {count} elements without a buffer view")
            values = np.zeros((count, shape[0] * shape[1]), kind)
        else:
            values = self._elements(entry.bufferView, entry.byteOffset or 0, count, kind, shape, where)
        if entry.sparse is not None:
            values = self._overlay(values, entry.sparse, kind, shape, where)
        self.cache[index] = values
        return values

    def _elements(
        self, view: Any, offset: Any, count: int, kind: np.dtype[Any], shape: tuple[int, int], where: str, packed: bool = False
    ) -> NDArray[Any]:
        entry = item(self.container.json.bufferViews, view, f"{where}: buffer view")
        start = whole(entry.byteOffset or 0, f"{where}: byteOffset of its view") + whole(offset, f"{where}: byteOffset")
        end = whole(entry.byteOffset or 0, where) + whole(entry.byteLength, f"{where}: byteLength of its view")
        rows, columns = shape
        column = rows * kind.itemsize
        if columns > 1:
            column = (column + 3) // 4 * 4
        size = column * columns
        stride = size if packed or count <= 1 or entry.byteStride is None else whole(entry.byteStride, f"{where}: byteStride")
        data = self.container.buffer(whole(entry.buffer, f"{where}: buffer"))
        if end > len(data):
            raise GltfError(f"{where}: its view ends at byte {end} of a buffer of {len(data)}")
        if stride < size:
            raise GltfError(f"{where}: stride {stride} for elements of {size} bytes")
        if count and start + stride * (count - 1) + size > end:
            raise GltfError(f"{where}: {count} elements run over the end of their view")
        if count == 0:
            return np.zeros((0, rows * columns), kind)
        # One strided look at the bytes copes with odd offsets, interleaving and padded matrix columns alike.
        array: NDArray[Any] = np.ndarray(
            (count, columns, rows), kind, buffer=data, offset=start, strides=(stride, column, kind.itemsize)
        )
        return array.reshape(count, rows * columns)

    def _overlay(
        self, values: NDArray[Any], sparse: Any, kind: np.dtype[Any], shape: tuple[int, int], where: str
    ) -> NDArray[Any]:
        count = whole(sparse.count, f"{where}: sparse count")
        index_kind = COMPONENTS.get(sparse.indices.componentType)
        if index_kind is None or index_kind.kind != "u":
            raise GltfError(f"{where}: sparse indices are no unsigned integers")
        places = self._elements(sparse.indices.bufferView, sparse.indices.byteOffset or 0, count, index_kind, (1, 1), where, True)
        fresh = self._elements(sparse.values.bufferView, sparse.values.byteOffset or 0, count, kind, shape, where, True)
        if count and int(places.max()) >= len(values):
            raise GltfError(f"{where}: a sparse index lies beyond its {len(values)} elements")
        values = values.copy()
        values[places[:, 0]] = fresh
        return values
