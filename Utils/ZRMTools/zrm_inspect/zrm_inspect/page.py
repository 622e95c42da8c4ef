"""One page that holds a whole file and draws it: turns, zooms, and has a slider for each argument.

Why the drawing is our own: what PyPI and Debian have for embedding either keeps its script on other people's servers, is a
release of years ago, or draws plots and knows no tree of transforms; 250 lines of WebGL do what this format asks for.
"""

from __future__ import annotations

import base64
import html
import json
import re
from importlib.resources import files
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .animation import Arguments
from .evaluate import evaluate
from .look import TRANSPARENT, pale
from .markers import Lines, markers, spans
from .model import AnimatedProperty, ArgAnimationNode, ArgumentProperty, Material, Node, Property, RenderNode, SkinNode, ZrmFile
from .report import printable
from .world import child_numbers

_ACROSS = 0.03  # size of a marker as a share of the model's radius


class _Blob:
    """All vertices and indices, one behind the other."""

    def __init__(self) -> None:
        self.bytes = bytearray()

    def add(self, values: NDArray[Any], dtype: str) -> list[int]:
        """Offset and size."""
        raw = np.ascontiguousarray(values, dtype).tobytes()
        self.bytes += raw
        return [len(self.bytes) - len(raw), len(raw)]


def _numbers(values: NDArray[Any]) -> list[Any]:
    """JSON has no infinities and no NaN."""
    return np.nan_to_num(np.asarray(values, np.float64), nan=0.0, posinf=0.0, neginf=0.0).tolist()  # type: ignore[no-any-return]


def _keys(keys: NDArray[Any]) -> dict[str, Any]:
    return {"time": _numbers(keys["time"]), "value": _numbers(keys["value"])}


def _node(node: Node, child: int, children: int) -> dict[str, Any]:
    told: dict[str, Any] = {"name": node.name, "parent": node.parent, "child": child}
    if node.matrix is not None:
        told["matrix"] = _numbers(node.matrix.ravel())
    if isinstance(node, ArgAnimationNode):
        told["motion"] = {
            "position": _numbers(node.base_position),
            "rotation": _numbers(node.base_rotation),
            "axes": _numbers(node.base_scale_rotation),
            "scale": _numbers(node.base_scale),
            "positions": [{"argument": c.argument, "keys": _keys(c.keys)} for c in node.position_channels],
            "rotations": [{"argument": c.argument, "keys": _keys(c.keys)} for c in node.rotation_channels],
            "scales": [
                {"argument": c.argument, "axes": _keys(c.rotation_keys), "keys": _keys(c.keys)} for c in node.scale_channels
            ],
        }
    if node.conditions:
        told["conditions"] = [
            {"argument": c.argument, "ranges": np.nan_to_num(c.ranges, nan=0.0).tolist()} for c in node.conditions
        ]
    if node.levels is not None:
        told["levels"] = children
    return told


def _property(entry: Property) -> dict[str, Any]:
    if isinstance(entry, AnimatedProperty):
        if len(entry.keys):
            return {"argument": entry.argument, "keys": _keys(entry.keys)}
    elif isinstance(entry, ArgumentProperty):
        return {"argument": entry.argument}
    return {"value": _numbers(np.atleast_1d(getattr(entry, "value", 0.0)))}


def _material(material: Material) -> dict[str, Any]:
    textured = material.textures.get(0)
    told: dict[str, Any] = {"blended": material.blending == TRANSPARENT}
    names = {"colour": "color", "opacity": "opacityValue", "amount": "selfIlluminationValue", "glow": "selfIlluminationColor"}
    for short, name in names.items():
        entry = material.uniform(name)
        if entry is not None and isinstance(getattr(entry, "value", 0.0), (float, tuple)):
            told[short] = _property(entry)
    if "colour" not in told or textured:
        told["colour"] = {"value": pale(textured.name if textured else material.name)}
    return told


def _mesh(file: ZrmFile, node: RenderNode | SkinNode, blob: _Blob) -> dict[str, Any] | None:
    mesh = node.mesh
    triangles = mesh.triangles()
    if not len(triangles) or not 3 <= mesh.vertex_format[0] <= 4:
        return None
    split = mesh.split()
    told: dict[str, Any] = {"material": node.material, "count": triangles.size, "palette": node.controls.tolist()}
    told["position"] = blob.add(split["POSITION0"][:, :3], "<f4")
    if "NORMAL0" in split and mesh.vertex_format[1] >= 3:
        told["normal"] = blob.add(split["NORMAL0"][:, :3], "<f4")
    told["index"] = blob.add(triangles, "<u4")
    if isinstance(node, SkinNode):
        weights = split.get("COLOR1")
        told |= {"skin": True, "joints": 4, "joint": blob.add(mesh.bone_indices(), "<u4")}
        matrices = (file.nodes[bone].inverted for bone in node.bones.tolist())
        told["inverted"] = [_numbers(matrix.ravel()) for matrix in matrices if matrix is not None]
        if weights is not None and weights.shape[1] == 4:
            told["weight"] = blob.add(np.nan_to_num(weights), "<f4")
    elif len(node.parents) > 1:
        told |= {"joints": 1, "joint": blob.add(mesh.part_numbers(), "<u4")}
    return told


def _line(line: Lines, blob: _Blob) -> dict[str, Any]:
    told: dict[str, Any] = {"kind": line.kind, "node": line.node, "count": len(line.points), "colour": line.colour}
    if line.light is not None:
        told["light"] = _property(line.light)
    return told | {"position": blob.add(line.points, "<f4")}


def bounds(file: ZrmFile, arguments: Arguments) -> tuple[NDArray[np.float64], float]:
    """Middle and radius of what is seen."""
    boxes = []
    for mesh in evaluate(file, arguments).meshes:
        used = np.unique(mesh.triangles[mesh.triangle_visible])
        points = mesh.positions[used]
        points = points[np.isfinite(points).all(axis=1)]
        if len(points):
            boxes += [points.min(axis=0), points.max(axis=0)]
    if not boxes:
        return np.zeros(3), 1.0
    low, high = np.min(boxes, axis=0), np.max(boxes, axis=0)
    return (low + high) / 2, max(float(np.linalg.norm(high - low)) / 2, 1e-6)


def to_page(file: ZrmFile, arguments: Arguments, title: str) -> str:
    """The text of a page that needs nothing else. ValueError when a mesh can't be followed, as `evaluate` says."""
    blob = _Blob()
    middle, radius = bounds(file, arguments)
    children = np.bincount(file.parents[1:], minlength=len(file.nodes)).tolist()
    numbers = child_numbers(file.parents).tolist()
    meshes = [_mesh(file, node, blob) for node in file.render_nodes if isinstance(node, (RenderNode, SkinNode))]
    lines = [_line(line, blob) for line in markers(file, _ACROSS * radius, arguments) if len(line.points)]
    triangles = sum(node.mesh.triangle_count for node in file.render_nodes if node.mesh)
    data = {
        "nodes": [_node(node, numbers[node.index], children[node.index]) for node in file.nodes],
        "materials": [_material(material) for material in file.materials],
        "meshes": [mesh for mesh in meshes if mesh],
        "lines": lines,
        "values": list(arguments.items()),
        "sliders": [
            {"number": number, "low": low, "high": high, "value": arguments.get(number, 0.0)}
            for number, (low, high) in spans(file).items()
        ],
        "middle": _numbers(middle),
        "radius": radius,
        "told": f"{len(file.render_nodes)} render nodes, {triangles} triangles",
        "blob": base64.b64encode(blob.bytes).decode("ascii"),
    }
    assets = files(__package__) / "assets"
    parts = {
        "TITLE": html.escape(printable(title)),
        "SCRIPT": (assets / "page.js").read_text(encoding="utf-8"),
        "DATA": json.dumps(data, allow_nan=False).replace("<", "\\u003c"),  # no name ends or begins a script
    }
    page = (assets / "page.html").read_text(encoding="utf-8")
    return re.sub("@([A-Z]+)@", lambda match: parts[match[1]], page)
