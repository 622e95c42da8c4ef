"""Records of lights and of fake lights."""

from __future__ import annotations

from typing import Any

import numpy as np

from .cursor import Cursor
from .geometry import read_vertices
from .model import (
    BaseNode,
    FakeOmniLightsNode,
    FakeSpotLights3Node,
    FakeSpotLightsNode,
    LightNode,
    LightSamples,
    LightVolume,
    Mesh,
    Property,
)
from .properties import FLOAT_PROPERTY, read_property, read_texture
from .records import Context, check_numbers, check_part_numbers

_SAMPLES = 128
_OMNI_LIGHT: list[Any] = [
    ("position", "<f8", (3,)),
    ("uvMin", "<f4", (2,)),
    ("uvMax", "<f4", (2,)),
    ("size", "<f4"),
    ("controlIndex", "<u4"),
]
_SPOT_LIGHT: list[Any] = [
    *_OMNI_LIGHT,
    ("backUvMin", "<f4", (2,)),
    ("backUvMax", "<f4", (2,)),
    ("backSide", "u1"),
]
_OMNI_CONTROL: list[Any] = [("control", "<u4"), ("reserved", "<u4")]
_SPOT_CONTROL: list[Any] = [*_OMNI_CONTROL, ("direction", "<f4", (3,))]


def read_light(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name, (2, 3))
    version = head[-1]
    control = context.tree_index("control node")
    light_type = cursor.u8()
    if light_type > 1:
        raise cursor.error(f"light type {light_type}", 1)
    cursor.expect(10 if version == 3 else 7, "number of light properties")
    color, brightness, phi, theta, distance, specular, softness = [read_property(cursor) for _ in range(7)]
    volume = None
    if version == 3:
        radius, density, near = [_volume_property(cursor) for _ in range(3)]
        volume = LightVolume(radius, density, near, cursor.u8())
    texture = read_texture(cursor) if cursor.flag("texture mark") else None
    settings = (color, brightness, phi, theta, distance, specular, softness)
    return LightNode(*head, control, light_type, *settings, volume, texture)


def _volume_property(cursor: Cursor) -> Property:
    """Only plain floats are ever stored as volume settings."""
    entry = read_property(cursor)
    if entry.type_name != FLOAT_PROPERTY:
        cursor.position = entry.offset
        raise cursor.error(f"'{entry.type_name}' as a volume setting")
    return entry


def _samples(cursor: Cursor, type_name: str, light_count: int) -> LightSamples | None:
    if not type_name.startswith("model::Animated"):
        return None
    argument = cursor.valid_argument("an animated fake light node")
    cursor.expect(_SAMPLES, "number of samples for a light")
    cursor.expect(light_count * _SAMPLES, "number of samples")
    return LightSamples(argument, cursor.array("<f4", light_count, _SAMPLES))


def _lights(context: Context, dtype: list[Any], control_count: int) -> Any:
    cursor = context.cursor
    offset = cursor.position
    lights = cursor.array(dtype, cursor.count(np.dtype(dtype).itemsize, "number of lights"))
    if len(lights):
        check_numbers(cursor, offset, "light on control", int(lights["controlIndex"].max()), control_count)
    return lights


def read_fake_omni(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name)
    material = context.material()
    controls = context.entries(_OMNI_CONTROL, cursor.count(8, "number of controls"), "control")["control"]
    lights = _lights(context, _OMNI_LIGHT, len(controls))
    return FakeOmniLightsNode(*head, material, controls, lights, _samples(cursor, type_name, len(lights)))


def read_fake_spot(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name, (1, 2))
    material = context.material()
    rows = context.entries(_SPOT_CONTROL, cursor.count(20, "number of controls"), "control")
    lights = _lights(context, _SPOT_LIGHT, len(rows))
    bad = np.flatnonzero(lights["backSide"] > 1)
    if len(bad):
        raise cursor.error("back side is neither 0 nor 1", (len(lights) - 1 - int(bad[0])) * lights.itemsize + 1)
    directions = cursor.array("<f4", len(lights), 3) if head[-1] == 2 else None
    samples = _samples(cursor, type_name, len(lights))
    return FakeSpotLightsNode(*head, material, rows["control"], rows["direction"], lights, directions, samples)


def read_fake_spot3(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name)
    material = context.material()
    count = cursor.count(4, "number of controls")
    start = cursor.position
    controls = cursor.array("<u4", count)
    context.check_tree_indices(controls, start, 4, "control")
    vertex_format = context.materials[material].vertex_format
    vertices = read_vertices(cursor, vertex_format)
    mesh = Mesh(vertices, vertex_format, np.zeros(0, np.uint8), 0)
    check_part_numbers(context, offset, mesh, count)
    return FakeSpotLights3Node(*head, material, controls, mesh)
