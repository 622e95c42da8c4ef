"""A file told in lines of text. Names are escaped, tables are cut, and no line grows with the tree's depth."""

from __future__ import annotations

from collections import Counter
from collections.abc import Iterator, Sequence
from typing import Any

from .data import box_or_none, mesh_of, short, used_arguments
from .model import (
    BaseNode,
    BaseRenderNode,
    FakeOmniLightsNode,
    FakeSpotLightsNode,
    LightNode,
    Material,
    RenderNode,
    SegmentsNode,
    SkinNode,
    ZrmFile,
    layout,
)

_ROWS = 20
_NAME_WIDTH = 32
_INDENT_LIMIT = 16


def printable(text: str, width: int | None = None) -> str:
    """A name on one line of any terminal: control characters and bytes that are no text are escaped."""
    if width is not None and len(text) > width:
        text = text[: width - 3] + "..."
    return "".join(c if c.isprintable() else c.encode("unicode_escape", "surrogatepass").decode() for c in text)


def _cut(lines: Sequence[str] | Iterator[str], total: int) -> Iterator[str]:
    """The first rows of a table, and how many more there are."""
    for row, line in enumerate(lines):
        if row == _ROWS:
            yield f"  ... {total - _ROWS} more"
            return
        yield line


def _box_text(box: Any) -> str:
    rows = box_or_none(box)
    if rows is None:
        return "not set"
    return " to ".join("(" + ", ".join(f"{value:g}" for value in row) + ")" for row in rows)


def _counts(nodes: Sequence[Any]) -> str:
    found = Counter(short(node.type_name) for node in nodes)
    return ", ".join(f"{name} {count}" for name, count in sorted(found.items())) or "none"


def _material_line(index: int, material: Material) -> str:
    form = " ".join(f"{name}:{width}" for name, _, width in layout(material.vertex_format))
    textures = ", ".join(f"{slot} {printable(t.name, 40)}" for slot, t in material.textures.items())
    uniforms = len(material.uniforms) + len(material.animated_uniforms)
    name = printable(material.name, _NAME_WIDTH)
    return (
        f"  {index:4d} '{name}' of type '{printable(material.material_name, _NAME_WIDTH)}', blending {material.blending}, "
        f"textures: {textures or 'none'}; uniforms: {uniforms}; {form or 'no vertices'}"
    )


def _content(node: BaseNode) -> str:
    mesh = mesh_of(node)
    if mesh is not None:
        return f"{mesh.vertex_count:8d} {mesh.triangle_count:9d}"
    if isinstance(node, (FakeOmniLightsNode, FakeSpotLightsNode)):
        return f"{len(node.lights)} lights"
    if isinstance(node, SegmentsNode):
        return f"{len(node.segments)} segments"
    if isinstance(node, LightNode):
        return "spot" if node.light_type else "omni"
    return ""


def _record_line(index: int, node: BaseNode) -> str:
    material = f"{node.material:8d} " if isinstance(node, BaseRenderNode) else ""
    name = printable(node.name, _NAME_WIDTH)
    return f"  {index:6d} {short(node.type_name):27s} {name:{_NAME_WIDTH}s} {material}{_content(node)}".rstrip()


def _table(title: str, nodes: Sequence[BaseNode]) -> Iterator[str]:
    if not nodes:
        return
    yield f"{title}: {len(nodes)} ({_counts(nodes)})"
    columns = "material vertices triangles" if isinstance(nodes[0], BaseRenderNode) else "vertices triangles"
    if any(mesh_of(node) is not None for node in nodes):
        yield f"  {'':6s} {'class':27s} {'name':{_NAME_WIDTH}s} {columns}"
    yield from _cut((_record_line(k, node) for k, node in enumerate(nodes)), len(nodes))


def summary_lines(file: ZrmFile) -> Iterator[str]:
    """What a person wants to know about a file first."""
    meshes = [node.mesh for node in file.render_nodes if isinstance(node, (RenderNode, SkinNode))]
    shells = [mesh for node in file.shell_nodes if (mesh := mesh_of(node)) is not None]
    arguments = used_arguments(file)
    told = ", ".join(map(str, arguments[:_ROWS])) + (", ..." if len(arguments) > _ROWS else "")
    yield f"bytes:        {file.size}, {len(file.strings)} strings"
    yield f"nodes:        {len(file.nodes)} ({_counts(file.nodes)})"
    yield f"materials:    {len(file.materials)}"
    yield (
        f"meshes:       {len(meshes)}, {sum(m.vertex_count for m in meshes)} vertices, "
        f"{sum(m.triangle_count for m in meshes)} triangles"
    )
    yield f"shells:       {len(file.shell_nodes)}, {sum(m.triangle_count for m in shells)} triangles"
    yield f"lights:       {len(file.light_nodes)}"
    yield f"connectors:   {len(file.connectors)}"
    yield f"bounding box: {_box_text(file.root.bounding_box)}"
    yield f"user box:     {_box_text(file.root.user_box)}"
    yield f"light box:    {_box_text(file.root.light_box)}"
    yield f"arguments:    {told or 'none'} ({file.root.handle_count} handles)"
    if file.materials:
        yield "materials:"
        yield from _cut((_material_line(k, m) for k, m in enumerate(file.materials)), len(file.materials))
    yield from _table("render nodes", file.render_nodes)
    yield from _table("shells", file.shell_nodes)
    yield from _table("lights", file.light_nodes)
    yield from _table("connectors", file.connectors)
    if file.warnings:
        yield f"warnings: {len(file.warnings)}"
        lines = (f"  offset {offset}: {printable(text)}" for offset, text in file.warnings)
        yield from _cut(lines, len(file.warnings))


def tree_lines(file: ZrmFile) -> Iterator[str]:
    """Each node on a line, indented by its depth; beyond a limit the depth is told as a number."""
    depths: list[int] = []
    for node in file.nodes:
        depth = depths[node.parent] + 1 if node.parent >= 0 else 0
        depths.append(depth)
        indent = "  " * min(depth, _INDENT_LIMIT) + (f"[depth {depth}] " if depth > _INDENT_LIMIT else "")
        yield f"{node.index:6d} {indent}{short(node.type_name)} '{printable(node.name)}'"


def string_lines(file: ZrmFile) -> Iterator[str]:
    for index, text in enumerate(file.strings):
        yield f"{index:6d} '{printable(text)}'"
