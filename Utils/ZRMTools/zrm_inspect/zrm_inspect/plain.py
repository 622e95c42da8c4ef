"""Records as JSON holds them, without loss, and back: dicts, lists, numbers and texts.

A float of 32 bits is told by few digits where these lead back to it; one that is no number, or infinite, by its bits, as
"0x7fc00001". An array of structures becomes a dict of its columns. The place of a record in the file isn't told.
"""

from __future__ import annotations

import struct
from dataclasses import fields, is_dataclass
from typing import Any

import numpy as np
from numpy.typing import NDArray

_HIDDEN = {"offset", "index"}  # they follow from the place of a record


def _bits(values: NDArray[Any]) -> list[str]:
    word, digits = ("<u4", 8) if values.dtype.itemsize == 4 else ("<u8", 16)
    return [f"0x{bits:0{digits}x}" for bits in np.ascontiguousarray(values).view(word).ravel().tolist()]


def _floats(values: NDArray[Any]) -> Any:
    odd = ~np.isfinite(values)
    with np.errstate(invalid="ignore"):
        told = values.astype(np.float64)
        if values.dtype.itemsize == 4:
            short = np.round(told, 6)
            told = np.where(short.astype(np.float32) == values, short, told)
    if not odd.any():
        return told.tolist()
    mixed = told.astype(object)
    mixed[odd] = _bits(values[odd])
    return mixed.tolist()


def array_to_plain(values: NDArray[Any]) -> Any:
    if values.dtype.names:
        return {name: array_to_plain(values[name]) for name in values.dtype.names}
    return _floats(values) if values.dtype.kind == "f" else values.tolist()


def to_plain(value: Any) -> Any:
    """A record, or a part of one. Records are a few levels deep, whatever the depth of the tree."""
    if isinstance(value, np.ndarray):
        return array_to_plain(value)
    if is_dataclass(value) and not isinstance(value, type):
        return {f.name: to_plain(getattr(value, f.name)) for f in fields(value) if f.name not in _HIDDEN}
    if isinstance(value, dict):
        return {str(key): to_plain(entry) for key, entry in value.items()}
    if isinstance(value, (list, tuple)):
        return [to_plain(entry) for entry in value]
    if isinstance(value, (float, np.float32)):  # single ones have 32 bits; one that is no number is an np.float32
        return _floats(np.array([value], "<f4"))[0]
    return value


def _unpacked(value: Any, form: str) -> Any:
    """Numbers in nested lists, some of which are told by their bits."""
    if isinstance(value, list):
        return [_unpacked(entry, form) for entry in value]
    if isinstance(value, str):
        return np.frombuffer(struct.pack("<I" if form == "<f4" else "<Q", int(value, 16)), form)[0]
    return value


def from_plain(plain: Any, dtype: np.dtype[Any], shape: tuple[int, ...]) -> NDArray[Any]:
    """An array of that type; -1 in `shape` stands for any number. ValueError or KeyError for another form."""
    if dtype.names:
        columns = {name: from_plain(plain[name], dtype[name].base, (-1, *dtype[name].shape)) for name in dtype.names}
        values = np.zeros(len(next(iter(columns.values()))), dtype)
        for name, column in columns.items():
            values[name] = column
        return values
    if dtype.kind != "f":
        return np.array(plain, dtype).reshape(shape)
    try:
        values = np.array(plain, "<f8").astype(dtype)
    except ValueError:
        values = np.array(_unpacked(plain, dtype.str), dtype)
    return values.reshape(shape if values.size else tuple(max(extent, 0) for extent in shape))
