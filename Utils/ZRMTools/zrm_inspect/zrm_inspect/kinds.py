"""The kinds of fields that records are made of: how each is read from a file, and written from its plain form.

`values` are the fields of the same record that stand before this one: what was read of them, or their plain forms. `least` is
the smallest number of bytes of a field, against which counts are tested.
"""

from __future__ import annotations

from collections.abc import Callable, Mapping
from typing import Any

import numpy as np

from .cursor import NO_ARGUMENT, Cursor
from .output import Output

Values = Mapping[str, Any]


class Kind:
    least = 0

    def read(self, cursor: Cursor, values: Values) -> Any:
        raise NotImplementedError

    def write(self, out: Output, plain: Any, values: Values) -> None:
        raise NotImplementedError


class Number(Kind):
    """An unsigned integer; with a limit or a list of what it may be."""

    def __init__(self, size: int, what: str = "", allowed: tuple[int, ...] = ()) -> None:
        self.least = size
        self.what = what
        self.allowed = allowed

    def read(self, cursor: Cursor, values: Values) -> int:
        value = cursor.u32() if self.least == 4 else cursor.u8()
        if self.allowed and value not in self.allowed:
            known = " or ".join(map(str, self.allowed))
            cursor.fault("value", f"{self.what} is {value}, not {known}", cursor.position - self.least)
        return value

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.pack("I" if self.least == 4 else "B", plain)


class Constant(Kind):
    """A word that is always the same, or follows from other fields; the record doesn't keep it."""

    least = 4

    def __init__(self, what: str, code: str = "reserved", value: Callable[[Values], int] = lambda _: 0) -> None:
        self.what = what
        self.code = code
        self.value = value

    def read(self, cursor: Cursor, values: Values) -> None:
        found = cursor.u32()
        expected = self.value(values)
        if found != expected:
            cursor.fault(self.code, f"{self.what} is {found}, not {expected}", cursor.position - 4)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.u32(self.value(values))


class String(Kind):
    least = 4

    def read(self, cursor: Cursor, values: Values) -> str:
        return cursor.string()

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.string(plain)


class RawName(Kind):
    least = 4

    def read(self, cursor: Cursor, values: Values) -> str:
        return cursor.raw_name()

    def write(self, out: Output, plain: Any, values: Values) -> None:
        raw = plain.encode("utf-8", "surrogateescape")
        out.u32(len(raw))
        out.body += raw


class Argument(Kind):
    """An argument handle; one that is `needed` has to be there."""

    least = 4

    def __init__(self, needed: str = "") -> None:
        self.needed = needed

    def read(self, cursor: Cursor, values: Values) -> int:
        value = cursor.argument()
        if self.needed and value == NO_ARGUMENT:
            cursor.fault("argument", f"{self.needed} has no argument", cursor.position - 4)
        return value

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.u32(plain)


class Array(Kind):
    """An array of fixed shape."""

    def __init__(self, dtype: Any, *shape: int) -> None:
        self.dtype = np.dtype(dtype)
        self.shape = shape
        self.least = self.dtype.itemsize * int(np.prod(shape))

    def read(self, cursor: Cursor, values: Values) -> Any:
        return cursor.array(self.dtype, *self.shape)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.array(plain, self.dtype, *self.shape)


class Counted(Array):
    """An array of fixed shape with its length, always the same, in front."""

    def __init__(self, what: str, dtype: Any, length: int) -> None:
        super().__init__(dtype, length)
        self.length = Constant(f"number of {what}", "count", lambda _: length)
        self.least += 4

    def read(self, cursor: Cursor, values: Values) -> Any:
        self.length.read(cursor, values)
        return super().read(cursor, values)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        self.length.write(out, None, values)
        super().write(out, plain, values)


class Floats(Array):
    """One float, or a tuple of some, of 32 bits; one that is no number stays an np.float32, which keeps its bits."""

    def __init__(self, count: int) -> None:
        super().__init__("<f4", count)

    def read(self, cursor: Cursor, values: Values) -> Any:
        found = tuple(value if value != value else float(value) for value in super().read(cursor, values))
        return found[0] if len(found) == 1 else found


class Rows(Kind):
    """A count, and as many rows of an array; with a `limit` there are no more."""

    least = 4

    def __init__(self, what: str, dtype: Any, *tail: int, limit: int | None = None) -> None:
        self.what = what
        self.dtype = np.dtype(dtype)
        self.tail = tail
        self.row_size = self.dtype.itemsize * int(np.prod(tail))
        self.limit = limit

    def read(self, cursor: Cursor, values: Values) -> Any:
        count = cursor.count(self.row_size, f"number of {self.what}")
        if self.limit is not None and count > self.limit:
            cursor.fault("value", f"{count} {self.what}", cursor.position - 4)
        return cursor.array(self.dtype, count, *self.tail)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        start = len(out.body)
        rows = out.array(plain, self.dtype, -1, *self.tail)
        out.body[start:start] = len(rows).to_bytes(4, "little")


class List(Kind):
    """A count, and as many fields of another kind."""

    least = 4

    def __init__(self, what: str, kind: Kind) -> None:
        self.what = what
        self.kind = kind

    def read(self, cursor: Cursor, values: Values) -> list[Any]:
        count = cursor.count(self.kind.least, f"number of {self.what}")
        read = self.kind.read
        return [read(cursor, values) for _ in range(count)] if count else []

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.u32(len(plain))
        for entry in plain:
            self.kind.write(out, entry, values)


class When(Kind):
    """A field that is there only when those before it say so."""

    def __init__(self, condition: Callable[[Values], bool], kind: Kind, absent: Any = None) -> None:
        self.condition = condition
        self.kind = kind
        self.absent = absent

    def read(self, cursor: Cursor, values: Values) -> Any:
        return self.kind.read(cursor, values) if self.condition(values) else self.absent

    def write(self, out: Output, plain: Any, values: Values) -> None:
        if self.condition(values):
            self.kind.write(out, plain, values)


class Flagged(Kind):
    """A byte that says whether a field follows."""

    least = 1

    def __init__(self, what: str, kind: Kind) -> None:
        self.flag = Number(1, what, (0, 1))
        self.kind = kind

    def read(self, cursor: Cursor, values: Values) -> Any:
        return self.kind.read(cursor, values) if self.flag.read(cursor, values) else None

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.pack("B", plain is not None)
        if plain is not None:
            self.kind.write(out, plain, values)


class Layout(Kind):
    """The fields of a record in their order, by the names of its class. Names with a line in front aren't kept."""

    def __init__(self, record: Callable[..., Any], **fields: Kind) -> None:
        self.record = record
        self.fields = [(name, kind) for name, kind in fields.items()]
        self.least = sum(kind.least for kind in fields.values())

    def read(self, cursor: Cursor, values: Values) -> Any:
        return self.read_into(cursor, {})

    def read_into(self, cursor: Cursor, own: dict[str, Any]) -> Any:
        """`own` are the fields of the record that are known already."""
        for name, kind in self.fields:
            value = kind.read(cursor, own)
            if name[0] != "_":
                own[name] = value
        return self.record(**own)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        for name, kind in self.fields:
            if name[0] == "_":
                kind.write(out, None, plain)
            elif name in plain:
                kind.write(out, plain[name], plain)
            else:
                raise ValueError(f"a record of type {plain.get('type_name', '?')} lacks '{name}'")


class Tagged(Kind):
    """A record that begins with its type; the type chooses the layout."""

    def __init__(self, what: str, layouts: Mapping[str, Layout]) -> None:
        self.what = what
        self.layouts = layouts
        self.least = 4 + min(layout.least for layout in layouts.values())

    def read(self, cursor: Cursor, values: Values) -> Any:
        return self.read_with(cursor, {})

    def read_with(self, cursor: Cursor, own: dict[str, Any]) -> Any:
        own["offset"] = offset = cursor.position
        own["type_name"] = type_name = cursor.string()
        layout = self.layouts.get(type_name)
        if layout is None:
            raise cursor.fault("type", f"'{type_name}' is no type of {self.what}", offset)
        return layout.read_into(cursor, own)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        layout = self.layouts.get(plain.get("type_name"))
        if layout is None:
            raise ValueError(f"'{plain.get('type_name')}' is no type of {self.what}")
        out.string(plain["type_name"])
        layout.write(out, plain, values)
