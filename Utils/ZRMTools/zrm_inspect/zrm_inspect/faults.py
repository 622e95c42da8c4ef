"""What can be wrong with a file: a code for each kind of fault, and the list in which a reader notes those it meets."""

from __future__ import annotations

from dataclasses import dataclass

ERROR = "error"  # no writer of the format leaves this
WARNING = "warning"  # legal, but of no use to a renderer, or not what its author can have meant

# Each code with its severity and what it says.
CODES: dict[str, tuple[str, str]] = {
    "magic": (ERROR, "the file doesn't begin with ZRM"),
    "version": (ERROR, "a version of the file or of a record that isn't known"),
    "truncated": (ERROR, "the file ends within a field"),
    "trailing": (ERROR, "bytes behind the end"),
    "count": (ERROR, "a count that the bytes left can't hold, or that isn't the one that belongs there"),
    "reserved": (ERROR, "a reserved word that isn't 0"),
    "value": (ERROR, "a number that its field doesn't know"),
    "type": (ERROR, "a type name that doesn't belong there"),
    "order": (ERROR, "strings, materials, tree nodes, texture slots, fields or sections out of their order"),
    "duplicate": (ERROR, "a string that stands twice in the table, or two texture slots that exclude each other"),
    "unused": (ERROR, "a string or a material that nothing uses"),
    "reference": (ERROR, "a number beyond the list that it refers to"),
    "argument": (ERROR, "an animation without an argument"),
    "handles": (ERROR, "a number of handles that isn't one above the largest argument in use"),
    "channels": (ERROR, "an animation node whose name doesn't agree with its channels"),
    "index-width": (ERROR, "indices wider than the largest of them needs"),
    "box": (ERROR, "a skin box whose maximum lies below its minimum"),
    "capitals": (ERROR, "a texture name with capitals"),
    "texture-name": (WARNING, "a texture without a name"),
    "index": (WARNING, "an index beyond the vertices"),
    "part": (WARNING, "a vertex or a light of a control that the record doesn't have"),
    "bone": (WARNING, "a vertex that follows a bone that the record doesn't have"),
    "triangles": (WARNING, "indices that are no whole number of triangles"),
    "primitive": (WARNING, "a primitive type that nothing draws"),
    "uv-channel": (WARNING, "a map that reads texture coordinates which the vertex format doesn't have"),
    "key-order": (WARNING, "key times that don't rise"),
    "range": (WARNING, "a range or a level that ends before it begins"),
    "levels": (WARNING, "more or fewer children than levels of detail"),
    "number": (WARNING, "a vertex of a display whose control is none of its part"),
    "not-finite": (WARNING, "coordinates or matrices that are no finite numbers"),
}


class ZrmError(ValueError):
    """The bytes are no legal ZRM file; `offset` is the position of the field that shows it."""

    def __init__(self, offset: int, message: str, code: str = "") -> None:
        super().__init__(f"offset {offset}: {message}")
        self.offset = offset
        self.message = message
        self.code = code


@dataclass(frozen=True, slots=True)
class Fault:
    """`record` says which one is at fault: "render_nodes[3]", or "" for the file itself."""

    code: str
    offset: int
    record: str
    message: str

    @property
    def severity(self) -> str:
        return CODES[self.code][0]


class FaultList(list[Fault]):
    """Faults in the order in which they were met."""

    def first_error(self) -> ZrmError | None:
        found = next((fault for fault in self if fault.severity == ERROR), None)
        return ZrmError(found.offset, found.message, found.code) if found else None
