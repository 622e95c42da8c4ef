"""Short ways to describe small files for the reader."""

from collections.abc import Sequence

import numpy as np

from .every_record import IDENTITY, MATERIAL, STILL, head, numbered, root, tree_node
from .record_bytes import NONE, file_bytes
from zrm_inspect import SEMANTICS

TRIANGLE = [[0, 0, 0, 0, 0, 0, 1, 0, 0], [1, 0, 0, 0, 0, 0, 1, 1, 0], [0, 1, 0, 0, 0, 0, 1, 0, 1]]
Keys = Sequence[Sequence[float]]


vertex_format = lambda **widths: [widths.get(name, 0) for name in SEMANTICS]


MESH_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, TEXCOORD0=2)
SKIN_FORMAT = vertex_format(POSITION0=4, NORMAL0=3, COLOR1=4)


node = lambda **fields: tree_node("Node", "n", **fields)
transform = lambda matrix=IDENTITY: tree_node("TransformNode", "t", matrix=matrix)
bone = lambda matrix=IDENTITY, inverted=IDENTITY: tree_node("Bone", "b", matrix=matrix, inverted_base_bone_matrix=inverted)


def visibility(*entries):
    return tree_node("ArgVisibilityNode", "v", conditions=[{"argument": a, "ranges": ranges} for a, ranges in entries])


lod = lambda *levels: tree_node("LodNode", "l", levels=levels)
_split = lambda keys: [(key[0], list(key[1:])) for key in keys]


def animation(kind, positions=(), rotations=(), scales=(), **fields):
    """A key is its time and its components."""
    channels = {"position_channels": [{"argument": a, "keys": _split(keys)} for a, keys in positions],
        "rotation_channels": [{"argument": a, "keys": _split(keys)} for a, keys in rotations],
        "scale_channels": [{"argument": a, "rotation_keys": _split(r), "keys": _split(keys)} for a, r, keys in scales]}
    return tree_node(kind, "a", **STILL | channels | fields)


def mesh(rows, triangles=(0, 1, 2), **more):
    return {"vertices": np.array(rows, np.float32), "indices": list(triangles), "primitive_type": 5} | more


def render(parents=((0, NONE),), rows=TRIANGLE, triangles=(0, 1, 2), **more):
    fields = {"material": 0, "parents": parents, "purpose": 0, "pivots": [], "mesh": mesh(rows, triangles)}
    return head("RenderNode", "mesh", **fields | more)


def packed(*four):
    """Four bone numbers as the float that holds them."""
    return float(np.array(four, np.uint8).view(np.float32)[0])


def skin(bones, rows, triangles=(0, 1, 2)):
    return head("SkinNode", "skin", material=0, bones=bones, argument=NONE, skin_box=None, pivots=[], mesh=mesh(rows, triangles))


def small(nodes, handles=0, form=MESH_FORMAT, **sections):
    """A file of these nodes, each with the number of its parent; with one material when something is drawn."""
    materials = [MATERIAL | {"vertex_format": form, "channels": [0 if form[4] else -1, *[-1] * 12]}] if "render_nodes" in sections else []
    sections.setdefault("root", root(materials, handles))
    tree = numbered([record | {"parent": parent} for parent, record in nodes])
    return file_bytes({"nodes": tree, **sections})
