"""The bytes of a file as they are put together: fields, and the strings numbered by first use."""

from __future__ import annotations

import struct
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .cursor import encode
from .plain import from_plain


class Output:
    def __init__(self) -> None:
        self.body = bytearray()
        self.strings: dict[bytes, int] = {}

    def pack(self, form: str, *values: Any) -> None:
        self.body += struct.pack("<" + form, *values)

    def u32(self, value: int) -> None:
        self.body += struct.pack("<I", value)

    def string(self, text: str) -> None:
        self.u32(self.strings.setdefault(encode(text), len(self.strings)))

    def array(self, plain: Any, dtype: Any, *shape: int) -> NDArray[Any]:
        """Writes an array from its plain form, and gives it; ValueError when it has another shape."""
        values = from_plain(plain, np.dtype(dtype), shape)
        self.body += values.tobytes()
        return values

    def string_table(self) -> bytes:
        return b"".join(text + b"\0" for text in self.strings)
