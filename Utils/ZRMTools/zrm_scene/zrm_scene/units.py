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
from collections.abc import Iterator

import numpy as np

from .arrays import Floats, Indices, Integers, Reals

DEGENERATE = 0.0001
WELD = 0.00001
# Relative to the mesh's diagonal: thinner triangles and shorter edges are no loss to the eye.
THIN = 0.00001
SHORT = 0.000001
# Triangles that are looked at together: what they take stays within a few megabytes.
CHUNK = 1 << 16


def flat_axes(a: Floats, b: Floats, c: Floats, tolerance: float) -> Integers:
    """For each triangle, on how many axes its corners agree with the first one."""
    flat = (np.abs(a - b) <= tolerance) & (np.abs(a - c) <= tolerance)
    return np.asarray(flat.sum(axis=1))


def diagonal(positions: Reals) -> float:
    """Of the box around some points."""
    if not len(positions):
        return 0.0
    return float(np.linalg.norm(positions.max(axis=0).astype(np.float64) - positions.min(axis=0)))


def pieces(positions: Reals, indices: Indices, frame: Floats | None) -> Iterator[tuple[Floats, Floats, Floats]]:
    """The corners of some triangles at a time, moved by the frame."""
    for start in range(0, len(indices), CHUNK):
        corners = positions[indices[start : start + CHUNK].T].astype(np.float64)
        if frame is not None:
            corners = corners @ frame[:3, :3].T + frame[:3, 3]
        yield corners[0], corners[1], corners[2]


def loses_triangles(positions: Reals, indices: Indices, frame: Floats | None = None) -> bool:
    """Would the module's tolerances eat a triangle that can be seen in a mesh of this size?"""
    if frame is None:
        size = diagonal(positions)
    else:
        size = diagonal(positions.astype(np.float64) @ frame[:3, :3].T + frame[:3, 3])
    if size == 0.0 or not len(indices):
        return False
    return any(loses_one(size, *corners) for corners in pieces(positions, indices, frame))


def loses_one(size: float, a: Floats, b: Floats, c: Floats) -> bool:
    """The same for some of its triangles."""
    # A little is added, for the rounding of vertices to 32 bits.
    removed = flat_axes(a, b, c, DEGENERATE * 1.01) >= 2
    if removed.any() and (removed & (flat_axes(a, b, c, THIN * size) < 2)).any():
        return True
    for one, other in ((a, b), (b, c), (c, a)):
        edges = np.abs(one - other).max(axis=1)
        if ((edges <= WELD * 1.01) & (edges > SHORT * size)).any():
            return True
    return False


class Frames:
    """The static transforms that a pass could bake into the mesh of each node, and how they shrink: [n, 4, 4] and [n]."""

    def __init__(self, matrices: Floats) -> None:
        self.matrices = matrices
        self.least: list[float] = np.linalg.svd(matrices[:, :3, :3], compute_uv=False)[:, -1].tolist()
        self.far: list[float] = np.abs(matrices[:, :3, 3]).max(axis=1, initial=0.0).tolist()


class Sizes:
    """Factors of meshes. Each geometry is measured once, and again only for a frame that could make it too small."""

    def __init__(self) -> None:
        self.measured: dict[tuple[int, int], tuple[bool, float, Reals, Indices]] = {}

    def factor(self, positions: Reals, indices: Indices, frames: Frames | None, number: int = 0) -> float | None:
        """The power of two to multiply a mesh with, or None where it can stay as it is.

        The factor is at least 1, which still asks for the dividing node.
        """
        if indices.shape[1] != 3 or not len(indices):
            return None
        key = (id(positions), id(indices))
        if key not in self.measured:
            loses = loses_triangles(positions, indices)
            # The arrays are kept, so that no other one gets their identity.
            self.measured[key] = (loses, 0.0 if loses else thinnest(positions, indices), positions, indices)
        loses, thin, *_ = self.measured[key]
        if not loses:
            if frames is None or keeps(frames.least[number] * thin, frames.far[number]):
                return None
            if not loses_triangles(positions, indices, frames.matrices[number]):
                return None
        # With this diagonal the relative limits lie above the module's absolute ones.
        wanted = 2.0 * max(DEGENERATE / THIN, WELD / SHORT) / diagonal(positions)
        return 2.0 ** max(math.ceil(math.log2(wanted)), 0)


def keeps(thin: float, far: float) -> bool:
    """Is a triangle of this least height certain to stay, so far from the origin? One that the module removes lies in a
    rod of two tolerances' width, so its height is less than three of them; its edges are no shorter than its height."""
    return thin > 4.0 * DEGENERATE + 4e-7 * (far + 1.0)


def thinnest(positions: Reals, indices: Indices) -> float:
    """The least height of any triangle, or, of one without an area, its shortest edge: no transform makes it smaller
    than by its own least factor."""
    least = math.inf
    for a, b, c in pieces(positions, indices, None):
        sides = np.stack([((one - other) ** 2).sum(axis=1) for one, other in ((a, b), (b, c), (c, a))])
        longest = np.maximum(sides.max(axis=0), 1e-300)
        heights = (np.cross(b - a, c - a) ** 2).sum(axis=1) / longest
        edges = np.where(sides > 0.0, sides, math.inf).min(axis=0)
        least = min(least, float(np.where(heights > 1e-12 * longest, heights, edges).min(initial=math.inf)))
    return math.sqrt(least)
