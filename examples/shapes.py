"""Simple surfaces for the examples: positions, normals, texture coordinates and triangles."""

from __future__ import annotations

import math

import numpy as np
from numpy.typing import ArrayLike, NDArray

Floats = NDArray[np.float32]


class Shape:
    """Gathered surface by surface."""

    def __init__(self) -> None:
        self.positions: Floats = np.zeros((0, 3), np.float32)
        self.normals: Floats = np.zeros((0, 3), np.float32)
        self.uvs: Floats = np.zeros((0, 2), np.float32)
        self.triangles: NDArray[np.uint32] = np.zeros((0, 3), np.uint32)

    def add(self, positions: ArrayLike, normals: ArrayLike, uvs: ArrayLike, triangles: ArrayLike) -> Shape:
        """One more surface."""
        fresh = np.asarray(triangles, np.uint32).reshape(-1, 3) + np.uint32(len(self.positions))
        self.positions = np.vstack([self.positions, np.asarray(positions, np.float32)])
        self.normals = np.vstack([self.normals, np.asarray(normals, np.float32)])
        self.uvs = np.vstack([self.uvs, np.asarray(uvs, np.float32)])
        self.triangles = np.vstack([self.triangles, fresh])
        return self

    def box(self, low: tuple[float, float, float], high: tuple[float, float, float]) -> Shape:
        """Six faces, wound against the clock as seen from outside."""
        for axis in range(3):
            u, v = (axis + 1) % 3, (axis + 2) % 3
            for side in (0, 1):
                corners = np.empty((4, 3))
                corners[:, axis] = (low, high)[side][axis]
                ways = ((0, 0), (1, 0), (1, 1), (0, 1)) if side else ((0, 0), (0, 1), (1, 1), (1, 0))
                for row, (a, b) in enumerate(ways):
                    corners[row, u], corners[row, v] = (low, high)[a][u], (low, high)[b][v]
                normal = np.zeros((4, 3))
                normal[:, axis] = 1.0 if side else -1.0
                self.add(corners, normal, [(0, 1), (1, 1), (1, 0), (0, 0)], [(0, 1, 2), (0, 2, 3)])
        return self

    def sheet(self, width: float, height: float) -> Shape:
        """A rectangle in the x-y plane that looks along z."""
        corners = [(0, 0, 0), (width, 0, 0), (width, height, 0), (0, height, 0)]
        return self.add(corners, [(0, 0, 1)] * 4, [(0, 1), (1, 1), (1, 0), (0, 0)], [(0, 1, 2), (0, 2, 3)])

    def ball(self, radius: float, rings: int) -> Shape:
        """A sphere of so many rings, with twice as many sides."""
        turn, tilt = np.meshgrid(np.linspace(0, 2 * math.pi, 2 * rings + 1), np.linspace(0, math.pi, rings + 1))
        normals = np.stack([np.sin(tilt) * np.cos(turn), np.cos(tilt), -np.sin(tilt) * np.sin(turn)], axis=-1).reshape(-1, 3)
        uvs = np.stack([turn / (2 * math.pi), tilt / math.pi], axis=-1).reshape(-1, 2)
        row, column = np.divmod(np.arange(rings * 2 * rings), 2 * rings)
        a = row * (2 * rings + 1) + column
        b = a + 2 * rings + 1
        return self.add(normals * radius, normals, uvs, np.stack([a, b, a + 1, a + 1, b, b + 1], axis=1))

    def wheel(self, radius: float, width: float, count: int) -> Shape:
        """A cylinder around x with two faces."""
        angles = np.linspace(0.0, 2.0 * math.pi, count + 1)
        ring = np.stack([np.zeros(count + 1), np.cos(angles), np.sin(angles)], axis=1)
        left, right = ring * radius + [-width / 2, 0, 0], ring * radius + [width / 2, 0, 0]
        along = np.stack([angles / (2.0 * math.pi), np.zeros(count + 1)], axis=1)
        i = np.arange(count)
        quads = np.stack([i, i + 1, i + count + 2, i, i + count + 2, i + count + 1], axis=1)
        self.add(np.vstack([left, right]), np.vstack([ring, ring]), np.vstack([along, along + [0, 1]]), quads)
        for rim, sign in ((left, -1.0), (right, 1.0)):
            points = np.vstack([[(sign * width / 2, 0.0, 0.0)], rim])
            fan = np.stack([np.zeros(count, int), i + 1, i + 2] if sign > 0 else [np.zeros(count, int), i + 2, i + 1], axis=1)
            spread = np.vstack([[(0.5, 0.5)], ring[:, 1:] * 0.5 + 0.5])
            self.add(points, np.tile([sign, 0.0, 0.0], (count + 2, 1)), spread, fan)
        return self


def moved(x: float, y: float, z: float) -> NDArray[np.float64]:
    """The matrix of a place."""
    matrix = np.eye(4)
    matrix[:3, 3] = x, y, z
    return matrix
