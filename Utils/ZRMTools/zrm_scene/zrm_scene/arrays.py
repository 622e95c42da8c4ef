"""The kinds of arrays, and the checks in front of the module: shape, range of integers, finite numbers.

An array of the module's own type, float32 or uint32, that lies in one piece passes as a view: nothing is copied here.
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .errors import ZrmError

Floats = NDArray[np.float64]
Floats32 = NDArray[np.float32]
Reals = NDArray[np.floating[Any]]  # float32 or float64
Integers = NDArray[np.int64]
Indices = NDArray[np.integer[Any]]
Words = NDArray[np.uint32]
Vector = Sequence[float] | Floats
Box = tuple[float, float, float, float, float, float]

LARGEST = float(np.finfo(np.float32).max)
IDENTITY = np.eye(4)


def extent(values: NDArray[Any]) -> tuple[float, float]:
    """Least and largest value, without a copy; NaN when one is among them."""
    return (float(values.min()), float(values.max())) if values.size else (0.0, 0.0)


def is_finite(values: NDArray[Any]) -> bool:
    """Are all numbers finite, in 32 bits too?"""
    low, high = extent(values)
    return low >= -LARGEST and high <= LARGEST


def rows(values: ArrayLike, width: int, count: int | None, subject: str, what: str) -> Floats32:
    """(n, width) numbers as the module takes them, flat."""
    array = np.asarray(values)
    if array.ndim != 2 or array.shape[1] != width or array.dtype.kind not in "fiu":
        raise ZrmError(subject, f"{what}: an array of the shape {array.shape} and the kind {array.dtype}", f"pass numbers of the shape (n, {width})")
    if count is not None and len(array) != count:
        raise ZrmError(subject, f"{what}: {len(array)} rows for {count} positions", "give one row for each vertex")
    if not is_finite(array):
        raise ZrmError(subject, f"{what}: a number is not finite in 32 bits", "replace NaN, infinities and values beyond 3.4e38")
    return np.ascontiguousarray(array, np.float32).reshape(-1)


def corners(values: ArrayLike, width: int, count: int, subject: str) -> Words:
    """(m, width) or flat numbers of vertices, flat, each below the number of vertices."""
    array = np.asarray(values)
    if array.dtype.kind not in "iu" or not (array.ndim == 1 and len(array) % width == 0 or array.ndim == 2 and array.shape[1] == width):
        raise ZrmError(subject, f"indices: an array of the shape {array.shape} and the kind {array.dtype}", f"pass integers of the shape (m, {width})")
    low, high = extent(array)
    if low < 0 or (array.size and high >= count):
        raise ZrmError(subject, f"indices: {int(low if low < 0 else high)} of {count} vertices", "number the vertices from 0")
    return np.ascontiguousarray(array, np.uint32).reshape(-1)


def matrix(values: ArrayLike, subject: str) -> Floats:
    """A 4 by 4 matrix for column vectors, which is the form that the module takes."""
    array = np.asarray(values, np.float64)
    if array.shape != (4, 4) or not np.isfinite(array).all():
        raise ZrmError(subject, f"a matrix of the shape {array.shape}, or with numbers that are not finite", "pass 4 by 4 finite numbers")
    if not np.array_equal(array[3], IDENTITY[3]):
        raise ZrmError(subject, f"the last row of a matrix is {array[3].tolist()}", "pass it for column vectors: the translation is the last column")
    return array


def triple(values: Vector) -> tuple[float, float, float]:
    """Three plain floats, as the module takes them."""
    return (float(values[0]), float(values[1]), float(values[2]))
