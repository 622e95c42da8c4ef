"""Records of properties, textures and materials."""

from __future__ import annotations

import numpy as np

from .cursor import Cursor, ZrmError
from .model import AnimatedProperty, ArgumentProperty, Bytes, Material, Property, StaticProperty, Texture

UINT_PROPERTY = "model::Property<unsigned int>"
FLOAT_PROPERTY = "model::Property<float>"

_STATIC_WIDTHS = {
    "model::Property<osg::Vec2f>": 2,
    "model::Property<osg::Vec3f>": 3,
    "model::Property<osg::Vec4f>": 4,
}
_STATIC = {UINT_PROPERTY, FLOAT_PROPERTY, "model::Property<const char*>", *_STATIC_WIDTHS}

_KEYS = {
    name: np.dtype([("time", "<f8"), ("value", "<f4", (width,))])
    for name, width in (
        ("model::AnimatedProperty<float>", 1),
        ("model::AnimatedProperty<osg::Vec2f>", 2),
        ("model::AnimatedProperty<osg::Vec3f>", 3),
        ("model::AnimatedProperty<osg::Vec4f>", 4),
    )
}

SLOT_COUNT = 19
_FIELDS = (
    "BLENDING",
    "DEPTH_BIAS",
    "VERTEX_FORMAT",
    "TEXTURE_COORDINATES_CHANNELS",
    "MATERIAL_NAME",
    "NAME",
    "SHADOWS",
    "TEXTURES",
    "UNIFORMS",
    "ANIMATED_UNIFORMS",
)
_MIN_PROPERTY = 12  # type, name, and a value of four bytes
_MIN_TEXTURE = 4 + 4 + 4 + 16 + 64


def read_property(cursor: Cursor) -> Property:
    offset = cursor.position
    type_name = cursor.string()
    keys = _KEYS.get(type_name)
    if keys is not None:
        name = cursor.string()
        argument = cursor.argument()
        count = cursor.count(keys.itemsize, "number of keys")
        return AnimatedProperty(offset, type_name, name, argument, cursor.array(keys, count))
    if type_name == "model::ArgumentProperty":
        return ArgumentProperty(offset, type_name, cursor.string(), cursor.argument())
    if type_name not in _STATIC:
        raise cursor.error(f"'{type_name}' is no type of a property", 4)
    name = cursor.string()
    value: float | int | str | tuple[float, ...]
    if type_name == FLOAT_PROPERTY:
        value = cursor.f32()
    elif type_name == UINT_PROPERTY:
        value = cursor.u32()
    elif type_name in _STATIC_WIDTHS:
        value = cursor.floats(_STATIC_WIDTHS[type_name])
    else:
        value = cursor.string()
    return StaticProperty(offset, type_name, name, value)


def read_name_and_properties(cursor: Cursor) -> tuple[str, list[Property]]:
    """The name, the reserved word and the property list with which each record begins behind its type."""
    name, count = cursor.name_and_count(_MIN_PROPERTY)
    return name, [read_property(cursor) for _ in range(count)] if count else []


def read_properties(cursor: Cursor) -> list[Property]:
    count = cursor.count(_MIN_PROPERTY, "number of properties")
    return [read_property(cursor) for _ in range(count)]


def _read_uniforms(cursor: Cursor, animated: bool) -> list[Property]:
    found = read_properties(cursor)
    for entry in found:
        if isinstance(entry, StaticProperty) == animated:
            cursor.position = entry.offset
            place = "animated" if animated else "static"
            raise cursor.error(f"'{entry.type_name}' among the {place} uniforms")
    return found


def read_vertex_format(cursor: Cursor) -> Bytes:
    cursor.expect(27, "number of semantics")
    return cursor.array("u1", 27)


def read_texture(cursor: Cursor) -> Texture:
    index = cursor.u32()
    name = cursor.string()
    # Lower-casing beyond ASCII follows tables that change over the years, so only ASCII is checked.
    if any("A" <= c <= "Z" for c in name):
        raise cursor.error(f"texture name '{name}' has capitals", 4)
    if not name:
        cursor.warn(cursor.position - 4, "texture without a name")
    sampler = tuple(cursor.array("<u4", 4).tolist())
    return Texture(index, name, sampler, cursor.array("<f4", 4, 4))


def _read_textures(cursor: Cursor) -> dict[int, Texture]:
    count = cursor.count(_MIN_TEXTURE, "number of textures")
    if count > SLOT_COUNT:
        raise cursor.error(f"{count} textures in {SLOT_COUNT} slots", 4)
    textures: dict[int, Texture] = {}
    last = -1
    for _ in range(count):
        slot = cursor.u32()
        if slot >= SLOT_COUNT:
            raise cursor.error(f"texture slot {slot} of {SLOT_COUNT}", 4)
        if slot <= last:
            raise cursor.error(f"texture slot {slot} stands after slot {last}", 4)
        if slot == 13 and 2 in textures:
            raise cursor.error("texture slots 2 and 13 are both used", 4)
        textures[slot] = read_texture(cursor)
        last = slot
    return textures


def _field(cursor: Cursor, name: str) -> None:
    got = cursor.string()
    if got != name:
        raise cursor.error(f"material field '{got}' where '{name}' belongs", 4)


def read_material(cursor: Cursor) -> Material:
    offset = cursor.position
    count = cursor.u32()
    if not len(_FIELDS) <= count <= len(_FIELDS) + 2:
        raise cursor.error(f"a material of {count} fields", 4)
    fields = iter(_FIELDS)

    _field(cursor, next(fields))
    blending = cursor.u8()
    _field(cursor, next(fields))
    depth_bias = cursor.u32()
    if depth_bias > 1:
        raise cursor.error(f"depth bias is {depth_bias}, neither 0 nor 1", 4)
    _field(cursor, next(fields))
    vertex_format = read_vertex_format(cursor)
    _field(cursor, next(fields))
    cursor.expect(13, "number of channels")
    channels = cursor.array("<i4", 13)
    _field(cursor, next(fields))
    material_name = cursor.string()
    _field(cursor, next(fields))
    name = cursor.string()
    _field(cursor, next(fields))
    shadows = cursor.u8()
    if shadows & ~5:
        raise cursor.error(f"shadow bits are {shadows}", 1)
    _field(cursor, next(fields))
    textures = _read_textures(cursor)
    _field(cursor, next(fields))
    uniforms = _read_uniforms(cursor, animated=False)
    _field(cursor, next(fields))
    animated_uniforms = _read_uniforms(cursor, animated=True)
    billboard, decal_id = _read_optional_fields(cursor, count - len(_FIELDS))

    return Material(
        offset,
        blending,
        depth_bias,
        vertex_format,
        channels,
        material_name,
        name,
        bool(shadows & 1),
        bool(shadows & 4),
        textures,
        uniforms,
        animated_uniforms,
        billboard,
        decal_id,
    )


def _read_optional_fields(cursor: Cursor, count: int) -> tuple[tuple[int, int] | None, int]:
    """The billboard modes and the decal id, of which `count` are there."""
    billboard: tuple[int, int] | None = None
    decal_id = 0
    for left in range(count, 0, -1):
        name = cursor.string()
        if name == "BILLBOARD" and billboard is None:
            billboard = (cursor.u8(), cursor.u8())
        elif name == "DECAL" and left == 1:
            decal_id = cursor.u8()
            if decal_id == 0:
                raise cursor.error("decal id is 0", 1)
        else:
            raise cursor.error(f"material field '{name}' in a wrong place", 4)
    return billboard, decal_id


def read_version(cursor: Cursor, properties: list[Property], allowed: tuple[int, ...]) -> int:
    """The version that the list names; the fields that follow depend on it.

    With nothing in `allowed` no field does, and a property of that name may be anything.
    """
    version = 0
    offset = cursor.position
    found = next((entry for entry in properties if entry.name == "__VERSION__"), None)
    if isinstance(found, StaticProperty) and found.type_name == UINT_PROPERTY and isinstance(found.value, int):
        version = found.value
        offset = found.offset
    if allowed and version not in allowed:
        known = " or ".join(map(str, allowed))
        raise ZrmError(offset, f"a record of version {version}, not {known}")
    return version
