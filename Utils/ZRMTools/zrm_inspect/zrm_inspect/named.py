"""Fields with names of their own in the file, as materials have them, and the table of a material's textures."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

from .cursor import Cursor
from .kinds import Kind, Layout, List, Values
from .model import Texture
from .output import Output

SLOT_COUNT = 19
_EXCLUSIVE = (2, 13)  # slots of which the writer keeps the second one only

Named = tuple[str, str, Kind]


class NamedFields(Kind):
    """A count, then the name and the value of each field: those that are always there, and those that hold something."""

    def __init__(self, record: Callable[..., Any], *always: Named, optional: tuple[Named, ...]) -> None:
        self.record = record
        self.always = always
        self.optional = optional
        self.least = 4 + sum(4 + kind.least for _, _, kind in always)

    def read(self, cursor: Cursor, values: Values) -> Any:
        own: dict[str, Any] = {"offset": cursor.position}
        extra = cursor.u32() - len(self.always)
        if not 0 <= extra <= len(self.optional):
            raise cursor.fault("count", f"a material of {extra + len(self.always)} fields", cursor.position - 4)
        for title, name, kind in self.always:
            found = cursor.string()
            if found != title:
                raise cursor.fault("type", f"material field '{found}' where '{title}' belongs", cursor.position - 4)
            own[name] = kind.read(cursor, own)
        left = list(self.optional)
        for _ in range(extra):
            self._read_optional(cursor, left, own)
        for _, name, _ in self.optional:
            own.setdefault(name, None)
        return self.record(**own)

    def _read_optional(self, cursor: Cursor, left: list[Named], own: dict[str, Any]) -> None:
        found = cursor.string()
        while left and left[0][0] != found:
            left.pop(0)
        if not left:
            raise cursor.fault("order", f"material field '{found}' in a wrong place", cursor.position - 4)
        _, name, kind = left.pop(0)
        own[name] = kind.read(cursor, own)

    def write(self, out: Output, plain: Any, values: Values) -> None:
        present = [entry for entry in self.optional if plain[entry[1]] is not None]
        out.u32(len(self.always) + len(present))
        for title, name, kind in (*self.always, *present):
            out.string(title)
            kind.write(out, plain[name], plain)


class Materials(List):
    """The list of materials: each is a record of its own where faults are told."""

    def __init__(self, material: NamedFields) -> None:
        super().__init__("materials", material)

    def read(self, cursor: Cursor, values: Values) -> list[Any]:
        section = cursor.section
        count = cursor.count(self.kind.least, f"number of {self.what}")
        found = []
        for cursor.index in range(count):
            cursor.section = "materials"
            found.append(self.kind.read(cursor, values))
        cursor.section, cursor.index = section, -1
        return found


class TextureSlots(Kind):
    """The used slots, by number."""

    least = 4

    def __init__(self, texture: Layout) -> None:
        self.texture = texture

    def read(self, cursor: Cursor, values: Values) -> dict[int, Texture]:
        count = cursor.count(4 + self.texture.least, "number of textures")
        if count > SLOT_COUNT:
            cursor.fault("count", f"{count} textures in {SLOT_COUNT} slots", cursor.position - 4)
        textures: dict[int, Texture] = {}
        last = -1
        for _ in range(count):
            slot = cursor.u32()
            offset = cursor.position - 4
            if slot >= SLOT_COUNT:
                cursor.fault("value", f"texture slot {slot} of {SLOT_COUNT}", offset)
            if slot <= last:
                cursor.fault("order", f"texture slot {slot} stands after slot {last}", offset)
            if slot == _EXCLUSIVE[1] and _EXCLUSIVE[0] in textures:
                cursor.fault("duplicate", "texture slots 2 and 13 are both used", offset)
            textures[slot] = self.texture.read(cursor, values)
            last = slot
        return textures

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.u32(len(plain))
        for slot, texture in plain.items():
            out.u32(int(slot))
            self.texture.write(out, texture, values)


class TextureName(Kind):
    """A file name in small letters."""

    least = 4

    def read(self, cursor: Cursor, values: Values) -> str:
        name = cursor.string()
        # Lower-casing beyond ASCII follows tables that change over the years, so only ASCII is checked.
        if any("A" <= c <= "Z" for c in name):
            cursor.fault("capitals", f"texture name '{name}' has capitals", cursor.position - 4)
        if not name:
            cursor.fault("texture-name", "texture without a name", cursor.position - 4)
        return name

    def write(self, out: Output, plain: Any, values: Values) -> None:
        out.string(plain)
