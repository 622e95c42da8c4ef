"""The sections behind the tree, with the records of connectors and shells."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np

from .cursor import Cursor
from .drawn import read_number, read_render, read_skin
from .geometry import read_mesh
from .lights import read_fake_omni, read_fake_spot, read_fake_spot3, read_light
from .model import BaseNode, Connector, Floats, SegmentsNode, ShellNode, ShellSkinNode
from .properties import read_vertex_format
from .records import Context


def read_connector(context: Context, offset: int, type_name: str) -> BaseNode:
    head = context.head(offset, type_name)
    control = context.tree_index("control node")
    context.cursor.zero("reserved word of a connector")
    return Connector(*head, control)


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
