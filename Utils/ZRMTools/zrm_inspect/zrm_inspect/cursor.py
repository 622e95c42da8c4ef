"""Bounds-checked, little-endian access to the bytes of one file, and what its fields have used so far.

A fault that leaves the place of the next field known is noted, and reading goes on; one that doesn't is noted and raised as
ZrmError. A count is tested against the bytes that are left before anything is built from it, so a damaged file can't ask
for memory that it doesn't have data for.
"""

from __future__ import annotations

import struct
from collections.abc import Sequence
from mmap import mmap
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .faults import Fault, FaultList, ZrmError

NO_ARGUMENT = 0xFFFFFFFF

_U16 = struct.Struct("<H")
_U32 = struct.Struct("<I")
_U64 = struct.Struct("<Q")

Data = bytes | mmap


def decode(raw: bytes) -> str:
    """Text of a name: UTF-8, with other bytes kept as surrogates so that no two names fall together."""
    return raw.decode("utf-8", "surrogateescape")


def encode(text: str) -> bytes:
    """The bytes that `decode` made a text of."""
    return text.encode("utf-8", "surrogateescape")


class Cursor:
    """A position in the bytes, the lists that fields refer to, and which of their entries were used so far."""

    def __init__(self, data: Data) -> None:
        self.data = data
        self.size = len(data)
        self.position = 0
        self.faults = FaultList()
        self.section = ""
        self.index = -1
        self.strings: list[str] = []
        self.strings_used = 0
        self.highest_argument = -1
        self.nodes: Sequence[Any] = ()
        self.materials: Sequence[Any] = ()
        self.materials_used = 0

    def fault(self, code: str, message: str, offset: int | None = None) -> ZrmError:
        """Notes a fault; raise the result where reading can't go on."""
        where = self.position if offset is None else offset
        record = f"{self.section}[{self.index}]" if self.index >= 0 else self.section
        self.faults.append(Fault(code, where, record, message))
        return ZrmError(where, message, code)

    def _ended(self, size: int) -> ZrmError:
        left = max(self.size - self.position, 0)
        return self.fault("truncated", f"the file ends here: {size} bytes needed, {left} left")

    def skip(self, size: int) -> int:
        """Goes past a field; the result is where it begins."""
        start = self.position
        if start + size > self.size:
            raise self._ended(size)
        self.position = start + size
        return start

    def take(self, size: int) -> bytes:
        start = self.skip(size)
        return self.data[start : start + size]

    def u8(self) -> int:
        return self.data[self.skip(1)]

    def u16(self) -> int:
        return int(_U16.unpack_from(self.data, self.skip(2))[0])

    def u32(self) -> int:
        # Written out, as this is most of the time spent on a file of many small records.
        try:
            (value,) = _U32.unpack_from(self.data, self.position)
        except struct.error:
            raise self._ended(4) from None
        self.position += 4
        return value  # type: ignore[no-any-return]

    def u64(self) -> int:
        return int(_U64.unpack_from(self.data, self.skip(8))[0])

    def count(self, item_size: int, what: str, behind: int = 0) -> int:
        """A count of items that take at least `item_size` bytes each, tested against the bytes left, `behind` of them aside."""
        value = self.u32()
        left = self.size - self.position - (behind if value else 0)
        if value * item_size > left:
            raise self.fault("count", f"{what} is {value}, but only {left} bytes are left", self.position - 4)
        return value

    def array(self, dtype: Any, *shape: int) -> NDArray[Any]:
        """A read-only view of the bytes as an array; nothing is copied, and nothing is read before it is used."""
        kind = np.dtype(dtype)
        items = 1
        for extent in shape:
            items *= extent
        # An empty array at the very end of the bytes is more than frombuffer accepts.
        if items == 0:
            return np.zeros(shape, kind)
        return np.frombuffer(self.data, kind, items, self.skip(items * kind.itemsize)).reshape(shape)

    def string(self) -> str:
        """A string of the table. Its numbers are given in the order of first use, which is checked."""
        index = self.u32()
        if index >= self.strings_used:
            offset = self.position - 4
            if index >= len(self.strings):
                raise self.fault("reference", f"string {index} of a table of {len(self.strings)}", offset)
            if index > self.strings_used:
                self.fault("order", f"string {index} is used before string {self.strings_used}", offset)
            self.strings_used = index + 1
        return self.strings[index]

    def raw_name(self) -> str:
        size = self.count(1, "length of the name")
        return decode(self.take(size)) if size else ""

    def argument(self) -> int:
        """An argument handle that counts for the file's number of handles."""
        value = self.u32()
        if value != NO_ARGUMENT and value > self.highest_argument:
            self.highest_argument = value
        return value

    def note_arguments(self, arguments: NDArray[np.uint32]) -> None:
        real = arguments[arguments != NO_ARGUMENT]
        if len(real):
            self.highest_argument = max(self.highest_argument, int(real.max()))
