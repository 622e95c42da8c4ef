"""Meshes in units so small that the module's fixed tolerances would eat what can be seen.

The module removes a triangle whose corners agree within 0.0001 on two axes, and merges vertices that agree
within 0.00001 in everything.  A mesh that would lose visible triangles is multiplied by a power of two, which
changes no digit, and hangs under a node that divides by it.  That node must outlive every pass, or the small
size would be baked back into the vertices first; a node with a key does.  The same node is the remedy where
the mesh itself is large enough and only the static transforms above it make it small: nothing is baked
through a node with keys.
"""

from __future__ import annotations

import math

import numpy as np

from .accessors import Floats, Integers
from .scene import Scene

DEGENERATE = 0.0001
WELD = 0.00001
# Relative to the mesh's diagonal: thinner triangles and shorter edges are no loss to the eye.
THIN = 0.00001
SHORT = 0.000001


def flat_axes(a: Floats, b: Floats, c: Floats, tolerance: float) -> Integers:
    """For each triangle, on how many axes its corners agree with the first one."""
    flat = (np.abs(a - b) <= tolerance) & (np.abs(a - c) <= tolerance)
    return np.asarray(flat.sum(axis=1))


def diagonal(positions: Floats) -> float:
    """Of the box around some points."""
    if not len(positions):
        return 0.0
    return float(np.linalg.norm(positions.max(axis=0) - positions.min(axis=0)))


def loses_triangles(positions: Floats, indices: Integers) -> bool:
    """Would the module's tolerances eat a triangle that can be seen in a mesh of this size?"""
    size = diagonal(positions)
    if size == 0.0 or not len(indices):
        return False
    a, b, c = (positions[indices[:, i]] for i in range(3))
    # A little is added, for the rounding of vertices to 32 bits.
    removed = flat_axes(a, b, c, DEGENERATE * 1.01) >= 2
    visible = flat_axes(a, b, c, THIN * size) < 2
    if (removed & visible).any():
        return True
    edges = np.concatenate([np.abs(a - b).max(axis=1), np.abs(b - c).max(axis=1), np.abs(c - a).max(axis=1)])
    return bool(((edges <= WELD * 1.01) & (edges > SHORT * size)).any())


def factor_for(positions: Floats, indices: Integers, frame: Floats) -> float | None:
    """The power of two to multiply a mesh with, or None where it can stay as it is.

    frame: the static transforms that a pass could bake into the mesh.  The factor is at least 1, which still
    asks for the dividing node.
    """
    if indices.shape[1] != 3:
        return None
    baked = positions @ frame[:3, :3].T + frame[:3, 3]
    if not loses_triangles(positions, indices) and not loses_triangles(baked, indices):
        return None
    # With this diagonal the relative limits lie above the module's absolute ones.
    wanted = 2.0 * max(DEGENERATE / THIN, WELD / SHORT) / diagonal(positions)
    return 2.0 ** max(math.ceil(math.log2(wanted)), 0)


def static_frames(scene: Scene, animated: set[int]) -> dict[int, Floats]:
    """For each node the product of the static transforms from it up to the next animated node."""
    frames: dict[int, Floats] = {}
    for index in scene.order:
        node = scene.nodes[index]
        if index in animated:
            frames[index] = np.eye(4)
        else:
            local = node.local()
            frames[index] = local if node.parent is None else frames[node.parent] @ local
    return frames
