"""Records of what hangs on the tree: connectors, shells, lights and render nodes."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import Any

import numpy as np

from .cursor import Cursor
from .geometry import check_numbers, read_mesh, read_vertices
from .model import (
    ArgAnimatedBone,
    BaseNode,
    BoneNode,
    Connector,
    FakeOmniLightsNode,
    FakeSpotLights3Node,
    FakeSpotLightsNode,
    Floats,
    LightNode,
    LightSamples,
    LightVolume,
    Material,
    Mesh,
    Node,
    NumberNode,
    Property,
    RenderNode,
    SegmentsNode,
    ShellNode,
    ShellSkinNode,
    SkinNode,
    Words,
)
from .properties import (
    FLOAT_PROPERTY,
    read_name_and_properties,
    read_property,
    read_texture,
    read_version,
    read_vertex_format,
)

_MAX_PIVOTS = 6
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
_PARENT: list[Any] = [("control", "<u4"), ("reserved", "<u4"), ("argument", "<u4")]
_NUMBER: list[Any] = [("uArgument", "<u4"), ("uFactor", "<f4"), ("vArgument", "<u4"), ("vFactor", "<f4")]

_Head = tuple[int, str, str, list[Property], int]


class Context:
    """What the records refer to. Materials are numbered in the order in which render nodes first use them."""

    def __init__(self, cursor: Cursor, nodes: Sequence[Node], materials: Sequence[Material]) -> None:
        self.cursor = cursor
        self.nodes = nodes
        self.materials = materials
        self.materials_used = 0

    def head(self, offset: int, type_name: str, versions: tuple[int, ...] = ()) -> _Head:
        name, properties = read_name_and_properties(self.cursor)
        return offset, type_name, name, properties, read_version(self.cursor, properties, versions)

    def tree_index(self, what: str) -> int:
        index = self.cursor.u32()
        if index >= len(self.nodes):
            raise self.cursor.error(f"{what} {index} of {len(self.nodes)} tree nodes", 4)
        return index

    def material(self) -> int:
        cursor = self.cursor
        cursor.zero("reserved word of a render node")
        index = cursor.u32()
        if index >= len(self.materials):
            raise cursor.error(f"material {index} of {len(self.materials)}", 4)
        if index > self.materials_used:
            raise cursor.error(f"material {index} is used before material {self.materials_used}", 4)
        self.materials_used = max(self.materials_used, index + 1)
        return index

    def check_tree_indices(self, indices: Words, start: int, stride: int, what: str) -> None:
        """`start` is the offset of the first index, `stride` the distance in bytes to the next."""
        bad = np.flatnonzero(indices >= len(self.nodes))
        if len(bad):
            self.cursor.position = start + int(bad[0]) * stride
            raise self.cursor.error(f"{what} {int(indices[bad[0]])} of {len(self.nodes)} tree nodes")

    def bones(self) -> Words:
        cursor = self.cursor
        count = cursor.count(4, "number of bones")
        start = cursor.position
        bones = cursor.array("<u4", count)
        self.check_tree_indices(bones, start, 4, "bone")
        for place, index in enumerate(bones.tolist()):
            if not isinstance(self.nodes[index], (BoneNode, ArgAnimatedBone)):
                cursor.position = start + 4 * place
                raise cursor.error(f"tree node {index} is a '{self.nodes[index].type_name}', no bone")
        return bones

    def entries(self, dtype: list[Any], count: int, what: str) -> Any:
        """`count` structures that hold a tree index, and a reserved word where the type has one."""
        cursor = self.cursor
        start = cursor.position
        kind = np.dtype(dtype)
        rows = cursor.array(kind, count)
        self.check_tree_indices(rows["control"], start, kind.itemsize, what)
        bad = np.flatnonzero(rows["reserved"])
        if len(bad):
            cursor.position = start + int(bad[0]) * kind.itemsize + 4
            raise cursor.error(f"reserved word of a {what} is {int(rows['reserved'][bad[0]])}, not 0")
        return rows


# ---------------------------------------------------------------- connectors, lights, shells


def read_connector(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name)
    control = context.tree_index("control node")
    context.cursor.zero("reserved word of a connector")
    return Connector(*head, control)


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


def read_shell(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name)
    control = context.tree_index("control node")
    return ShellNode(*head, control, read_mesh(context.cursor, read_vertex_format(context.cursor)))


def read_shell_skin(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name)
    cursor = context.cursor
    bones = context.bones()
    argument = cursor.u32()  # shells don't take part in the count of handles
    box = _optional_box(cursor)
    mesh = read_mesh(cursor, read_vertex_format(cursor))
    return ShellSkinNode(*head, bones, argument, box, mesh)


def _optional_box(cursor: Cursor) -> Floats | None:
    """The box of a shell skin, which stands in the file only when it is valid.

    Nothing in the file says whether it is there. The vertex format that follows begins with the
    word 27: when it stands here there is no box, when it stands 24 bytes on there is one. A box whose
    minimum x has these bits (3.8e-44, a denormal) would be taken for a format; no real box has that.
    """
    start = cursor.position
    if cursor.u32() == 27:
        cursor.position = start
        return None
    cursor.position = start
    box: Floats = cursor.array("<f4", 2, 3)
    mark = cursor.u32()
    cursor.position = start
    if mark != 27:
        raise cursor.error("neither a vertex format nor a box with a vertex format behind it")
    if not bool(np.all(box[1] >= box[0])):
        raise cursor.error("a box that isn't valid")
    cursor.position = start + 24
    return box


def read_segments(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name)
    control = context.tree_index("control node")
    count = context.cursor.count(24, "number of segments")
    return SegmentsNode(*head, control, context.cursor.array("<f4", count, 2, 3))


# ---------------------------------------------------------------- meshes that are drawn


def _pivots(cursor: Cursor, version: int) -> Floats:
    if version < 2:
        return np.zeros((0, 3), np.float32)
    count = cursor.u32()
    if count > _MAX_PIVOTS:
        raise cursor.error(f"{count} pivots", 4)
    return cursor.array("<f4", count, 3)


def _parents(context: Context) -> Words:
    """(n, 2) rows of tree index and argument. One entry alone has no reserved word."""
    cursor = context.cursor
    count = cursor.count(8, "number of parents")
    if count == 1:
        return np.array([[context.tree_index("parent"), cursor.argument()]], np.uint32)
    rows = context.entries(_PARENT, count, "parent")
    _note_arguments(cursor, rows["argument"])
    return np.stack([rows["control"], rows["argument"]], axis=1).astype(np.uint32)


def _note_arguments(cursor: Cursor, arguments: Words) -> None:
    real = arguments[arguments != 0xFFFFFFFF]
    if len(real):
        cursor.highest_argument = max(cursor.highest_argument, int(real.max()))


def _check_part_numbers(context: Context, offset: int, mesh: Mesh, parent_count: int) -> None:
    if mesh.vertex_count and mesh.vertex_format[0]:
        numbers = mesh.part_numbers()
        check_numbers(context.cursor, offset, "vertex of parent", int(numbers.max()), parent_count)
        if numbers.min() < 0:
            context.cursor.warn(offset, "vertex whose parent is no number")


_RenderFields = tuple[int, Words, Mesh, int, Floats]


def _render_fields(context: Context, head: _Head) -> _RenderFields:
    cursor = context.cursor
    material = context.material()
    parents = _parents(context)
    mesh = read_mesh(cursor, context.materials[material].vertex_format)
    _check_part_numbers(context, head[0], mesh, len(parents))
    purpose = cursor.u32() if head[-1] >= 1 else 0
    if purpose > 1:
        raise cursor.error(f"purpose {purpose}", 4)
    return material, parents, mesh, purpose, _pivots(cursor, head[-1])


def read_render(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name, (0, 1, 2))
    return RenderNode(*head, *_render_fields(context, head))


def read_number(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name, (0, 1, 2))
    fields = _render_fields(context, head)
    cursor = context.cursor
    numbers = []
    for _ in range(len(fields[1])):
        rows = cursor.array(_NUMBER, cursor.count(16, "number of controls"))
        _note_arguments(cursor, rows["uArgument"])
        _note_arguments(cursor, rows["vArgument"])
        numbers.append(rows)
    return NumberNode(*head, *fields, numbers)


def read_skin(context: Context, offset: int, type_name: str) -> BaseNode:
    cursor = context.cursor
    head = context.head(offset, type_name, (0, 1, 2))
    version = head[-1]
    material = context.material()
    bones = context.bones()
    argument = cursor.argument()
    box = cursor.array("<f4", 2, 3) if version >= 1 else None
    pivots = _pivots(cursor, version)
    mesh = read_mesh(cursor, context.materials[material].vertex_format)
    if mesh.vertex_count and mesh.vertex_format[0] == 4:
        check_numbers(cursor, offset, "vertex of bone", int(mesh.bone_indices().max()), len(bones))
    return SkinNode(*head, material, bones, argument, box, pivots, mesh)


# ---------------------------------------------------------------- fake lights


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
    _check_part_numbers(context, offset, mesh, count)
    return FakeSpotLights3Node(*head, material, controls, mesh)


# ---------------------------------------------------------------- sections

_Reader = Callable[[Context, int, str], BaseNode]

# Name and readers by type name, in the order of the file.
SECTIONS: tuple[tuple[str, dict[str, _Reader]], ...] = (
    ("CONNECTORS", {"model::Connector": read_connector}),
    (
        "SHELL_NODES",
        {
            "model::ShellNode": read_shell,
            "model::ShellSkinNode": read_shell_skin,
            "model::SegmentsNode": read_segments,
        },
    ),
    ("LIGHT_NODES", {"model::LightNode": read_light}),
    (
        "RENDER_NODES",
        {
            "model::RenderNode": read_render,
            "model::NumberNode": read_number,
            "model::SkinNode": read_skin,
            "model::FakeOmniLightsNode": read_fake_omni,
            "model::AnimatedFakeOmniLightsNode": read_fake_omni,
            "model::FakeSpotLightsNode": read_fake_spot,
            "model::AnimatedFakeSpotLightsNode": read_fake_spot,
            "model::FakeSpotLights3Node": read_fake_spot3,
        },
    ),
)
_MIN_RECORD = 24  # type, length of the name, reserved word, number of properties, a reference and a word


def read_sections(context: Context) -> list[list[Any]]:
    """The four lists in the order of SECTIONS; a section that the file leaves out is an empty list."""
    cursor = context.cursor
    found: list[list[Any]] = [[] for _ in SECTIONS]
    count = cursor.u32()
    if count > len(SECTIONS):
        raise cursor.error(f"{count} sections", 4)
    names = [name for name, _ in SECTIONS]
    following = 0
    for _ in range(count):
        name = cursor.string()
        if name not in names:
            raise cursor.error(f"'{name}' is no name of a section", 4)
        number = names.index(name)
        if number < following:
            raise cursor.error(f"section '{name}' is out of order", 4)
        following = number + 1
        members = cursor.count(_MIN_RECORD, "number of records")
        if members == 0:
            raise cursor.error(f"section '{name}' is empty", 4)
        readers = SECTIONS[number][1]
        for _ in range(members):
            found[number].append(_read_record(context, name, readers))
    return found


def _read_record(context: Context, section: str, readers: dict[str, _Reader]) -> BaseNode:
    offset = context.cursor.position
    type_name = context.cursor.string()
    reader = readers.get(type_name)
    if reader is None:
        raise context.cursor.error(f"'{type_name}' is no type of a record in {section}", 4)
    return reader(context, offset, type_name)


def check_materials(context: Context) -> None:
    if context.materials_used != len(context.materials):
        context.cursor.position = context.materials[context.materials_used].offset
        raise context.cursor.error(f"material {context.materials_used} is used by no render node")
