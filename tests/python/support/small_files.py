"""Short ways to describe small files for the reader."""

from collections.abc import Sequence
from typing import Any

import numpy as np

from .every_record import IDENTITY, MATERIAL, STILL, head, numbered, root, tree_node
from .record_bytes import NONE, Record, file_bytes
from zrm_inspect import SEMANTICS

TRIANGLE = [[0, 0, 0, 0, 0, 0, 1, 0, 0], [1, 0, 0, 0, 0, 0, 1, 1, 0], [0, 1, 0, 0, 0, 0, 1, 0, 1]]
Keys = Sequence[Sequence[float]]


def vertex_format(**widths: int) -> list[int]:
    return [widths.get(name, 0) for name in SEMANTICS]


MESH_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, TEXCOORD0=2)
SKIN_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, COLOR1=4)


def node(**fields: Any) -> Record:
    return tree_node("Node", "n", **fields)


def transform(matrix: Any = IDENTITY) -> Record:
    return tree_node("TransformNode", "t", matrix=matrix)


def bone(matrix: Any = IDENTITY, inverted: Any = IDENTITY) -> Record:
    return tree_node("Bone", "b", matrix=matrix, inverted_base_bone_matrix=inverted)


def visibility(*entries: tuple[int, Any]) -> Record:
    return tree_node("ArgVisibilityNode", "v", arguments=[{"argument": a, "ranges": ranges} for a, ranges in entries])


def lod(*levels: tuple[float, float]) -> Record:
    return tree_node("LodNode", "l", levels=levels)


def _split(keys: Keys) -> list[Any]:
    return [(key[0], list(key[1:])) for key in keys]


def animation(
    kind: str, positions: Sequence[tuple[int, Keys]] = (), rotations: Sequence[tuple[int, Keys]] = (),
    scales: Sequence[tuple[int, Keys, Keys]] = (), **fields: Any) -> Record:  # fmt: skip
    """A key is its time and its components."""
    channels: Record = {
        "position_channels": [{"argument": a, "keys": _split(keys)} for a, keys in positions],
        "rotation_channels": [{"argument": a, "keys": _split(keys)} for a, keys in rotations],
        "scale_channels": [{"argument": a, "rotation_keys": _split(r), "keys": _split(keys)} for a, r, keys in scales]}
    return tree_node(kind, "a", **STILL | channels | fields)


def mesh(rows: Any, triangles: Sequence[int] = (0, 1, 2), **more: Any) -> Record:
    return {"vertices": np.array(rows, np.float32), "indices": list(triangles), "primitive_type": 5} | more


def render(parents: Any = ((0, NONE),), rows: Any = TRIANGLE, triangles: Sequence[int] = (0, 1, 2), **more: Any) -> Record:
    fields = {"material": 0, "parents": parents, "purpose": 0, "pivots": [], "mesh": mesh(rows, triangles)}
    return head("RenderNode", "mesh", **fields | more)


def packed(*four: int) -> float:
    """Four bone numbers as the float that holds them."""
    return float(np.array(four, np.uint8).view(np.float32)[0])


def skin(bones: Sequence[int], rows: Any, triangles: Sequence[int] = (0, 1, 2)) -> Record:
    return head("SkinNode", "skin", material=0, bones=bones, argument=NONE, skin_box=None, pivots=[], mesh=mesh(rows, triangles))


def small(nodes: Sequence[tuple[int, Record]], handles: int = 0, form: Any = MESH_FORMAT, **sections: Any) -> bytes:
    """A file of these nodes, each with the number of its parent; with one material when something is drawn."""
    materials = [MATERIAL | {"vertex_format": form, "channels": [0, *[-1] * 12]}] if "render_nodes" in sections else []
    sections.setdefault("root", root(materials, handles))
    tree = numbered([record | {"parent": parent} for parent, record in nodes])
    return file_bytes({"nodes": tree, **sections})
