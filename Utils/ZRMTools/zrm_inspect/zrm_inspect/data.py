"""A file as plain dicts and lists, for JSON and for the summary."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .cursor import NO_ARGUMENT
from .model import (
    AnimatedProperty,
    ArgAnimationNode,
    ArgumentProperty,
    ArgVisibilityNode,
    BaseNode,
    BaseRenderNode,
    FakeOmniLightsNode,
    FakeSpotLights3Node,
    FakeSpotLightsNode,
    LightNode,
    Material,
    Mesh,
    Node,
    Property,
    RenderNode,
    SegmentsNode,
    ShellNode,
    ShellSkinNode,
    SkinNode,
    StaticProperty,
    ZrmFile,
    layout,
)


def short(type_name: str) -> str:
    return type_name.removeprefix("model::")


def _argument(number: int) -> int | None:
    return None if number == NO_ARGUMENT else number


def box_or_none(box: NDArray[Any] | None) -> list[list[float]] | None:
    """None for a box that isn't set."""
    if box is None or not bool(np.all(box[1] >= box[0])):
        return None
    rows: list[list[float]] = box.tolist()
    return rows


def _property(entry: Property) -> dict[str, Any]:
    told: dict[str, Any] = {"name": entry.name, "type": entry.type_name}
    if isinstance(entry, StaticProperty):
        told["value"] = entry.value
    elif isinstance(entry, ArgumentProperty):
        told["argument"] = _argument(entry.argument)
    elif isinstance(entry, AnimatedProperty):
        told["argument"] = _argument(entry.argument)
        told["keys"] = [
            [time, *value] for time, value in zip(entry.keys["time"].tolist(), entry.keys["value"].tolist())
        ]
    return told


def _material(material: Material) -> dict[str, Any]:
    return {
        "name": material.name,
        "type": material.material_name,
        "blending": material.blending,
        "depth_bias": material.depth_bias,
        "shadows": [material.casts_shadow, material.shadow_flag2],
        "vertex_format": {name: width for name, _, width in layout(material.vertex_format)},
        "channels": {str(k): int(v) for k, v in enumerate(material.channels) if v != -1},
        "textures": {str(slot): texture.name for slot, texture in material.textures.items()},
        "uniforms": [_property(p) for p in (*material.uniforms, *material.animated_uniforms)],
        "billboard": material.billboard,
        "decal": material.decal_id,
    }


def mesh_of(node: BaseNode) -> Mesh | None:
    if isinstance(node, (RenderNode, SkinNode, ShellNode, ShellSkinNode, FakeSpotLights3Node)):
        return node.mesh
    return None


def _controls(node: Any) -> list[int]:
    if isinstance(node, RenderNode):
        return [int(index) for index in node.parents[:, 0]]
    if isinstance(node, (SkinNode, ShellSkinNode)):
        return [int(index) for index in node.bones]
    if isinstance(node, (FakeOmniLightsNode, FakeSpotLightsNode, FakeSpotLights3Node)):
        return [int(index) for index in node.controls]
    return [int(node.control)]


def _arguments(node: BaseNode) -> list[int]:
    """Arguments beside those of properties."""
    found: list[int] = []
    if isinstance(node, RenderNode):
        found = [int(number) for number in node.parents[:, 1]]
    elif isinstance(node, (SkinNode, ShellSkinNode)):
        found = [node.argument]
    elif isinstance(node, (FakeOmniLightsNode, FakeSpotLightsNode)) and node.animation is not None:
        found = [node.animation.argument]
    return [number for number in found if number != NO_ARGUMENT]


def _record(node: BaseNode) -> dict[str, Any]:
    told: dict[str, Any] = {
        "offset": node.offset,
        "class": short(node.type_name),
        "name": node.name,
        "version": node.version,
        "controls": _controls(node),
        "arguments": _arguments(node),
        "properties": [_property(p) for p in node.properties],
    }
    if isinstance(node, BaseRenderNode):
        told["material"] = node.material
    mesh = mesh_of(node)
    if mesh is not None:
        told["vertices"] = mesh.vertex_count
        told["triangles"] = mesh.triangle_count
        told["primitive_type"] = mesh.primitive_type
    if isinstance(node, (SkinNode, ShellSkinNode)):
        told["skin_box"] = box_or_none(node.skin_box)
    if isinstance(node, (RenderNode, SkinNode)):
        told["pivots"] = node.pivots.tolist()
    if isinstance(node, RenderNode):
        told["purpose"] = node.purpose
    if isinstance(node, SegmentsNode):
        told["segments"] = len(node.segments)
    if isinstance(node, (FakeOmniLightsNode, FakeSpotLightsNode)):
        told["lights"] = len(node.lights)
    if isinstance(node, LightNode):
        told["kind"] = "spot" if node.light_type else "omni"
        told["settings"] = [_property(p) for p in node.settings()]
        told["texture"] = node.texture.name if node.texture else None
    return told


def tree_arguments(node: Node) -> list[int]:
    found: list[int] = []
    if isinstance(node, ArgAnimationNode):
        for channels in (node.position_channels, node.rotation_channels, node.scale_channels):
            found += [channel.argument for channel in channels]
    elif isinstance(node, ArgVisibilityNode):
        found += [entry.argument for entry in node.arguments]
    return [number for number in found if number != NO_ARGUMENT]


def used_arguments(file: ZrmFile) -> list[int]:
    """The arguments that anything in the file follows, in ascending order."""
    records: list[BaseNode] = [*file.connectors, *file.shell_nodes, *file.light_nodes, *file.render_nodes]
    properties: list[Property] = []
    found: set[int] = set()
    for node in file.nodes:
        found.update(tree_arguments(node))
        properties += node.properties
    for record in records:
        found.update(_arguments(record))
        properties += record.properties
        if isinstance(record, LightNode):
            properties += record.settings()
    for material in file.materials:
        properties += material.animated_uniforms
    for entry in properties:
        if isinstance(entry, (ArgumentProperty, AnimatedProperty)) and entry.argument != NO_ARGUMENT:
            found.add(entry.argument)
    return sorted(found)


def as_data(file: ZrmFile) -> dict[str, Any]:
    """The file as dicts and lists. Geometry, matrices and keys of the tree are told by their counts alone."""
    root = file.root
    return {
        "bytes": file.size,
        "strings": file.strings,
        "boxes": {
            "bounding": box_or_none(root.bounding_box),
            "user": box_or_none(root.user_box),
            "light": box_or_none(root.light_box),
        },
        "handle_count": root.handle_count,
        "arguments": used_arguments(file),
        "nodes": [
            {
                "class": short(n.type_name),
                "name": n.name,
                "parent": n.parent,
                "arguments": tree_arguments(n),
                "properties": [_property(p) for p in n.properties],
            }
            for n in file.nodes
        ],
        "materials": [_material(material) for material in file.materials],
        "connectors": [_record(node) for node in file.connectors],
        "shell_nodes": [_record(node) for node in file.shell_nodes],
        "light_nodes": [_record(node) for node in file.light_nodes],
        "render_nodes": [_record(node) for node in file.render_nodes],
        "warnings": [{"offset": offset, "text": text} for offset, text in file.warnings],
    }
