"""Bounds-checked, little-endian access to the bytes of one file.

Every failure is a ZrmError with the offset of the field at fault. A count is tested against the
bytes that are left before anything is built from it, so a damaged file can't ask for memory that
it doesn't have data for.
"""

from __future__ import annotations

import struct
from typing import Any

import numpy as np
from numpy.typing import NDArray

NO_ARGUMENT = 0xFFFFFFFF

_U16 = struct.Struct("<H")
_U32 = struct.Struct("<I")
_U64 = struct.Struct("<Q")
_F32 = struct.Struct("<f")
_TWO_U32 = struct.Struct("<II")
_F64 = np.dtype("<f8")


class ZrmError(ValueError):
    """The bytes are no legal ZRM file; `offset` is the position of the field that shows it."""

    def __init__(self, offset: int, message: str) -> None:
        super().__init__(f"offset {offset}: {message}")
        self.offset = offset
        self.message = message


def decode(raw: bytes) -> str:
    """Text of a name: UTF-8, with other bytes kept as surrogates so that no two names fall together."""
    return raw.decode("utf-8", "surrogateescape")


class Cursor:
    """A position in the bytes, the string table, and what the fields read so far have used of it."""

    __slots__ = ("data", "position", "strings", "strings_used", "highest_argument", "warnings")

    def __init__(self, data: bytes, position: int = 0) -> None:
        self.data = data
        self.position = position
        self.strings: list[str] = []
        self.strings_used = 0
        self.highest_argument = -1
        self.warnings: list[tuple[int, str]] = []

    def error(self, message: str, back: int = 0) -> ZrmError:
        """An error at the field that ended `back` bytes before the position began."""
        return ZrmError(self.position - back, message)

    def warn(self, offset: int, message: str) -> None:
        self.warnings.append((offset, message))

    def _ended(self, size: int) -> ZrmError:
        left = max(len(self.data) - self.position, 0)
        return self.error(f"the file ends here: {size} bytes needed, {left} left")

    def take(self, size: int) -> bytes:
        start = self.position
        end = start + size
        if end > len(self.data):
            raise self._ended(size)
        self.position = end
        return self.data[start:end]

    def u8(self) -> int:
        return self.take(1)[0]

    def u16(self) -> int:
        return int(_U16.unpack(self.take(2))[0])

    def u32(self) -> int:
        # Written out, as this is most of the time spent on a file of many small records.
        try:
            (value,) = _U32.unpack_from(self.data, self.position)
        except struct.error:
            raise self._ended(4) from None
        self.position += 4
        return value  # type: ignore[no-any-return]

    def u64(self) -> int:
        return int(_U64.unpack(self.take(8))[0])

    def f32(self) -> float:
        return float(_F32.unpack(self.take(4))[0])

    def floats(self, count: int) -> tuple[float, ...]:
        return struct.unpack(f"<{count}f", self.take(4 * count))

    def zero(self, what: str) -> None:
        value = self.u32()
        if value != 0:
            raise self.error(f"{what} is {value}, not 0", 4)

    def flag(self, what: str) -> bool:
        value = self.u8()
        if value > 1:
            raise self.error(f"{what} is {value}, neither 0 nor 1", 1)
        return value == 1

    def count(self, item_size: int, what: str) -> int:
        """A count of items that take at least `item_size` bytes each, tested against the bytes left."""
        value = self.u32()
        left = len(self.data) - self.position
        if value * item_size > left:
            raise self.error(f"{what} is {value}, but only {left} bytes are left", 4)
        return value

    def expect(self, value: int, what: str) -> None:
        got = self.u32()
        if got != value:
            raise self.error(f"{what} is {got}, not {value}", 4)

    def array(self, dtype: Any, *shape: int) -> NDArray[Any]:
        """A read-only view of the bytes as an array; nothing is copied."""
        kind = np.dtype(dtype)
        size = kind.itemsize
        items = 1
        for extent in shape:
            items *= extent
        size *= items
        if self.position + size > len(self.data):
            raise self._ended(size)
        # An empty array at the very end of the bytes is more than frombuffer accepts.
        if items == 0:
            return np.zeros(shape, kind)
        view = np.frombuffer(self.data, kind, items, self.position).reshape(shape)
        self.position += size
        return view

    def matrix(self) -> NDArray[np.float64]:
        """4 by 4 f64. Most nodes of a tree have one, so it skips the generality of `array`."""
        start = self.position
        if start + 128 > len(self.data):
            raise self._ended(128)
        self.position = start + 128
        return np.frombuffer(self.data, _F64, 16, start).reshape(4, 4)

    def string(self) -> str:
        """A string of the table. Its numbers are given in the order of first use, which is checked."""
        index = self.u32()
        if index >= self.strings_used:
            if index >= len(self.strings):
                raise self.error(f"string {index} of a table of {len(self.strings)}", 4)
            if index > self.strings_used:
                raise self.error(f"string {index} is used before string {self.strings_used}", 4)
            self.strings_used += 1
        return self.strings[index]

    def raw_name(self) -> str:
        size = self.count(1, "length of the name")
        return decode(self.take(size)) if size else ""

    def name_and_count(self, item_size: int) -> tuple[str, int]:
        """What follows the type in the head of each record: name, reserved word, number of properties."""
        name = self.raw_name()
        try:
            reserved, count = _TWO_U32.unpack_from(self.data, self.position)
        except struct.error:
            raise self._ended(8) from None
        self.position += 8
        if reserved:
            raise self.error(f"reserved word of a record is {reserved}, not 0", 8)
        if count:
            self.position -= 4
            count = self.count(item_size, "number of properties")
        return name, count

    def argument(self) -> int:
        """An argument handle that counts for the file's number of handles."""
        value = self.u32()
        if value != NO_ARGUMENT and value > self.highest_argument:
            self.highest_argument = value
        return value

    def valid_argument(self, what: str) -> int:
        value = self.argument()
        if value == NO_ARGUMENT:
            raise self.error(f"{what} has no argument", 4)
        return value
