"""Writes ZRM files field by field, for tests. It shares no code with the reader and checks nothing.

A file is built in the order of its bytes, since the numbers of strings follow their first use:
call `root`, then `tree`, then `sections`, then `finish`.
"""

from __future__ import annotations

import struct
from collections.abc import Callable, Iterable, Sequence
from typing import Any

NONE = 0xFFFFFFFF
IDENTITY = [1.0, 0, 0, 0, 0, 1.0, 0, 0, 0, 0, 1.0, 0, 0, 0, 0, 1.0]
F32_MAX = 3.4028234663852886e38
UNSET_BOX = [F32_MAX] * 3 + [-F32_MAX] * 3
UINT = "model::Property<unsigned int>"

Writer = Callable[["ZrmBytes"], object]
Rows = Sequence[Sequence[Any]]  # a float, or four bytes that stand for one


class ZrmBytes:
    def __init__(self) -> None:
        self.body = bytearray()
        self.strings: list[bytes] = []
        self.numbers: dict[bytes, int] = {}

    def pack(self, form: str, *values: Any) -> ZrmBytes:
        self.body += struct.pack("<" + form, *values)
        return self

    def u8(self, *values: int) -> ZrmBytes:
        return self.pack(f"{len(values)}B", *values)

    def u32(self, *values: int) -> ZrmBytes:
        return self.pack(f"{len(values)}I", *values)

    def f32(self, *values: float) -> ZrmBytes:
        return self.pack(f"{len(values)}f", *values)

    def f64(self, *values: float) -> ZrmBytes:
        return self.pack(f"{len(values)}d", *values)

    def text(self, *texts: str | bytes) -> ZrmBytes:
        for text in texts:
            raw = text.encode() if isinstance(text, str) else text
            if raw not in self.numbers:
                self.numbers[raw] = len(self.strings)
                self.strings.append(raw)
            self.u32(self.numbers[raw])
        return self

    def name(self, name: str | bytes) -> ZrmBytes:
        raw = name.encode() if isinstance(name, str) else name
        self.u32(len(raw))
        self.body += raw
        return self

    def each(self, writers: Sequence[Writer]) -> ZrmBytes:
        self.u32(len(writers))
        for writer in writers:
            writer(self)
        return self

    def head(self, type_name: str, name: str | bytes = "", props: Sequence[Writer] = (), version: int = 0) -> ZrmBytes:
        own = list(props) + ([prop(UINT, "__VERSION__", "I", version)] if version else [])
        return self.text(type_name).name(name).u32(0).each(own)

    def root(
        self,
        materials: Sequence[Writer] = (),
        handles: int = 0,
        boxes: Iterable[float] = UNSET_BOX * 3,
        props: Sequence[Writer] = (),
    ) -> ZrmBytes:
        self.head("model::RootNode", "", props, 3).f64(*boxes).each(materials)
        return self.u32(0, handles)

    def tree(self, nodes: Sequence[tuple[int, Writer]]) -> ZrmBytes:
        """Each node with the number of its parent, -1 for none."""
        self.each([writer for _, writer in nodes])
        return self.u32(*(parent & NONE for parent, _ in nodes))

    def sections(self, **members: Sequence[Writer]) -> ZrmBytes:
        self.u32(len(members))
        for name, writers in members.items():
            self.text(name).each(writers)
        return self

    def finish(self) -> bytes:
        table = b"".join(text + b"\0" for text in self.strings)
        return b"ZRM" + struct.pack("<HI", 10, len(table)) + table + bytes(8) + bytes(self.body)


# ---------------------------------------------------------------- properties and materials


def prop(type_name: str, name: str, form: str, *values: float) -> Writer:
    return lambda out: out.text(type_name, name).pack(form, *values)


def string_prop(name: str, value: str) -> Writer:
    return lambda out: out.text("model::Property<const char*>", name, value)


def animated_prop(kind: str, name: str, argument: int, keys: Sequence[Sequence[float]]) -> Writer:
    def write(out: ZrmBytes) -> None:
        out.text(f"model::AnimatedProperty<{kind}>", name).u32(argument, len(keys))
        for time, *value in keys:
            out.f64(time).f32(*value)

    return write


def vertex_format(**widths: int) -> list[int]:
    order = "POSITION0 NORMAL0 TANGENT0 BINORMAL0".split() + [f"TEXCOORD{k}" for k in range(16)]
    order += "COLOR0 COLOR1 POSITION1 NORMAL1 TANGENT1 BINORMAL1 COLOR2".split()
    return [widths.get(name, 0) for name in order]


MESH_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, TEXCOORD0=2)
SKIN_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, COLOR1=4)


def texture(name: str, index: int = NONE) -> Writer:
    matrix = IDENTITY
    return lambda out: out.u32(index).text(name).u32(2, 2, 10, 6).f32(*matrix)


def material(
    form: Sequence[int] = MESH_FORMAT,
    textures: dict[int, str] | None = None,
    uniforms: Sequence[Writer] = (),
    animated: Sequence[Writer] = (),
    billboard: tuple[int, int] | None = None,
    decal: int = 0,
    name: str = "",
    channels: Sequence[int] = (0,) + (NONE,) * 12,
    shadows: int = 1,
) -> Writer:
    def write(out: ZrmBytes) -> None:
        out.u32(10 + (billboard is not None) + (decal > 0))
        out.text("BLENDING").u8(0).text("DEPTH_BIAS").u32(0)
        out.text("VERTEX_FORMAT").u32(27).u8(*form)
        out.text("TEXTURE_COORDINATES_CHANNELS").u32(13, *channels)
        out.text("MATERIAL_NAME").text("def_material").text("NAME").text(name)
        out.text("SHADOWS").u8(shadows).text("TEXTURES").u32(len(textures or {}))
        for slot, file_name in (textures or {}).items():
            texture(file_name)(out.u32(slot))
        out.text("UNIFORMS").each(uniforms).text("ANIMATED_UNIFORMS").each(animated)
        if billboard is not None:
            out.text("BILLBOARD").u8(*billboard)
        if decal:
            out.text("DECAL").u8(decal)

    return write


# ---------------------------------------------------------------- tree nodes


def node(name: str | bytes = "n", type_name: str = "model::Node", props: Sequence[Writer] = ()) -> Writer:
    return lambda out: out.head(type_name, name, props)


def transform(matrix: Sequence[float] = IDENTITY, name: str = "t") -> Writer:
    return lambda out: out.head("model::TransformNode", name).f64(*matrix)


def bone(matrix: Sequence[float] = IDENTITY, inverted: Sequence[float] = IDENTITY, name: str = "b") -> Writer:
    return lambda out: out.head("model::Bone", name).f64(*matrix).f64(*inverted)


Keys = Sequence[Sequence[float]]


def animation(
    type_name: str,
    positions: Sequence[tuple[int, Keys]] = (),
    rotations: Sequence[tuple[int, Keys]] = (),
    scales: Sequence[tuple[int, Keys, Keys]] = (),
    matrix: Sequence[float] = IDENTITY,
    base: Sequence[float] = (0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1),
    inverted: Sequence[float] | None = None,
) -> Writer:
    """A key is its time and its components; base: position, rotation, rotation of the scale, scale."""

    def write(out: ZrmBytes) -> None:
        out.head(type_name, "a").f64(*matrix).f64(*base)
        for channels in (positions, rotations, scales):
            out.u32(len(channels))
            for argument, *lists in channels:
                out.u32(argument)
                for keys in lists:
                    out.u32(len(keys))
                    for key in keys:
                        out.f64(*key)
        if inverted is not None:
            out.f64(*inverted)

    return write


def visibility(*entries: tuple[int, Sequence[tuple[float, float]]]) -> Writer:
    def write(out: ZrmBytes) -> None:
        out.head("model::ArgVisibilityNode", "v").u32(len(entries))
        for argument, ranges in entries:
            out.u32(argument, len(ranges))
            for pair in ranges:
                out.f64(*pair)

    return write


def lod(*levels: tuple[float, float]) -> Writer:
    return lambda out: out.head("model::LodNode", "l").u32(len(levels)).f64(*sum(levels, ()))


def billboard(matrix: Sequence[float] = IDENTITY) -> Writer:
    version = prop(UINT, "__VERSION__", "I", 1)
    return lambda out: out.head("model::BillboardNode", "bb", [version]).u8(2, 3).f64(*matrix).f64(0, 1, 0)


# ---------------------------------------------------------------- records of the sections


def vertices(rows: Rows) -> Writer:
    """A component given as bytes goes out as its bits."""

    def write(out: ZrmBytes) -> None:
        out.u32(len(rows), len(rows[0]) if rows else 0)
        for row in rows:
            for value in row:
                out.pack("4s", value) if isinstance(value, bytes) else out.f32(value)

    return write


def indices(values: Sequence[int], code: int | None = None, primitive: int = 5) -> Writer:
    largest = max(values, default=0)
    width = code if code is not None else (largest > 255) + (largest > 65535)
    return lambda out: out.u8(width).u32(len(values), primitive).pack(f"{len(values)}{'BHI'[width]}", *values)


TRIANGLE = [[0, 0, 0, 0, 0, 0, 1, 0, 0], [1, 0, 0, 0, 0, 0, 1, 1, 0], [0, 1, 0, 0, 0, 0, 1, 0, 1]]


def render(
    parents: Sequence[tuple[int, int]] = ((0, NONE),),
    rows: Rows = TRIANGLE,
    triangles: Sequence[int] = (0, 1, 2),
    material_index: int = 0,
    version: int = 0,
    tail: Writer = lambda out: None,
    type_name: str = "model::RenderNode",
    code: int | None = None,
) -> Writer:
    """`tail` writes purpose, pivots and numbers."""

    def write(out: ZrmBytes) -> None:
        out.head(type_name, "mesh", (), version).u32(0, material_index, len(parents))
        for parent, argument in parents:
            out.u32(parent, argument) if len(parents) == 1 else out.u32(parent, 0, argument)
        vertices(rows)(out)
        indices(triangles, code)(out)
        tail(out)

    return write


def skin(
    bones: Sequence[int],
    rows: Rows,
    triangles: Sequence[int] = (0, 1, 2),
    version: int = 0,
    extra: Writer = lambda out: None,
    argument: int = NONE,
    material_index: int = 0,
) -> Writer:
    """`extra` writes box and pivots."""

    def write(out: ZrmBytes) -> None:
        out.head("model::SkinNode", "skin", (), version).u32(0, material_index, len(bones), *bones, argument)
        extra(out)
        vertices(rows)(out)
        indices(triangles)(out)

    return write


def simple(nodes: Sequence[tuple[int, Writer]], handles: int = 0, **members: Sequence[Writer]) -> bytes:
    """A file with one material when there are render nodes, else none."""
    materials = [material()] if "RENDER_NODES" in members else []
    return ZrmBytes().root(materials, handles).tree(nodes).sections(**members).finish()
