"""A picture of a file at given argument values, drawn without a screen: triangles into a buffer of depths."""

from __future__ import annotations

import math

import numpy as np
from numpy.typing import NDArray
from PIL import Image

from .animation import Arguments
from .evaluate import SceneMesh, evaluate
from .look import Look, look_of
from .model import Doubles, ZrmFile
from .page import bounds

_BACKGROUND = (0.914, 0.929, 0.945)
_OVER = 2  # samples in each direction of a pixel
_AT_ONCE = 1 << 22  # samples
_LIGHT = np.array([0.5, 0.7, 0.6]) / math.sqrt(0.25 + 0.49 + 0.36)


def to_picture(file: ZrmFile, arguments: Arguments, size: tuple[int, int], angles: tuple[float, float]) -> Image.Image:
    """`angles` are those of the eye around the model and above it, in degrees."""
    canvas = _Canvas(size[0] * _OVER, size[1] * _OVER)
    middle, radius = bounds(file, arguments)
    axes = _axes(*angles)
    scale = 0.95 * min(canvas.width, canvas.height) / (2 * radius)
    meshes = evaluate(file, arguments).meshes
    looks = [look_of(mesh.material, arguments) for mesh in meshes]
    for blended in (False, True):  # what lets through is drawn over what doesn't
        for mesh, look in zip(meshes, looks):
            if (look.opacity < 1) == blended:
                points = (mesh.positions - middle) @ axes.T * [scale, -scale, scale]
                points += [canvas.width / 2, canvas.height / 2, 0]
                canvas.draw(points[mesh.triangles[mesh.triangle_visible]], _shades(mesh), look)
    return canvas.image(size)


def _axes(around: float, above: float) -> Doubles:
    """Rows: to the right, up, towards the eye."""
    a, e = math.radians(around), math.radians(above)
    eye = np.array([math.sin(a) * math.cos(e), math.sin(e), math.cos(a) * math.cos(e)])
    right = np.array([math.cos(a), 0.0, -math.sin(a)])
    return np.array([right, np.cross(eye, right), eye])


def _shades(mesh: SceneMesh) -> Doubles:
    """(triangles, 3): how bright the corners of each visible triangle are."""
    triangles = mesh.triangles[mesh.triangle_visible]
    if mesh.normals is not None:
        normals = mesh.normals[triangles]
    else:
        corners = mesh.positions[triangles]
        flat = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        length = np.linalg.norm(flat, axis=1, keepdims=True)
        normals = np.repeat((flat / np.where(length > 0, length, 1))[:, None], 3, axis=1)
    return np.asarray(0.45 + 0.2 * normals[..., 1] + 0.35 * np.maximum(normals @ _LIGHT, 0))


class _Canvas:
    def __init__(self, width: int, height: int) -> None:
        self.width, self.height = width, height
        self.colours = np.tile(np.array(_BACKGROUND), (width * height, 1))
        self.depths = np.full(width * height, -np.inf)

    def draw(self, corners: Doubles, shades: Doubles, look: Look) -> None:
        """Triangles in pixels, with the depth as third coordinate: the larger, the nearer."""
        usable = np.isfinite(corners).all(axis=(1, 2)) & np.isfinite(shades).all(axis=1)
        corners, shades = corners[usable], shades[usable]
        low = np.clip(np.floor(corners[..., :2].min(axis=1)), 0, [self.width, self.height]).astype(np.int64)
        high = np.clip(np.ceil(corners[..., :2].max(axis=1)) + 1, 0, [self.width, self.height]).astype(np.int64)
        extent = np.maximum(high - low, 0)
        counts = extent.prod(axis=1)
        start = 0
        while start < len(corners):
            end = start + max(int(np.searchsorted(np.cumsum(counts[start:]), _AT_ONCE, side="right")), 1)
            part = slice(start, end)
            self._fill(corners[part], shades[part], look, low[part], extent[part])
            start = end

    def _fill(
        self, corners: Doubles, shades: Doubles, look: Look, low: NDArray[np.int64], extent: NDArray[np.int64]
    ) -> None:
        """Every sample of each triangle's rectangle, of which those inside stay; then the nearest at each place."""
        counts = extent.prod(axis=1)
        owner = np.repeat(np.arange(len(corners)), counts)
        step = np.arange(len(owner)) - np.repeat(np.cumsum(counts) - counts, counts)
        x = low[owner, 0] + step % extent[owner, 0]
        y = low[owner, 1] + step // extent[owner, 0]
        a, b, c = corners[:, 0], corners[:, 1], corners[:, 2]
        area = (b[:, 0] - a[:, 0]) * (c[:, 1] - a[:, 1]) - (b[:, 1] - a[:, 1]) * (c[:, 0] - a[:, 0])
        with np.errstate(all="ignore"):
            dx, dy = x + 0.5 - a[owner, 0], y + 0.5 - a[owner, 1]
            u = (dx * (c - a)[owner, 1] - dy * (c - a)[owner, 0]) / area[owner]
            v = (dy * (b - a)[owner, 0] - dx * (b - a)[owner, 1]) / area[owner]
            inside = (u >= 0) & (v >= 0) & (u + v <= 1)
            depth = a[owner, 2] + u * (b - a)[owner, 2] + v * (c - a)[owner, 2]
        place = y * self.width + x
        inside &= depth > self.depths[place]
        owner, place, depth, u, v = owner[inside], place[inside], depth[inside], u[inside], v[inside]
        order = np.lexsort((depth, place))
        last = np.flatnonzero(np.append(place[order][1:] != place[order][:-1], True)) if len(order) else order
        chosen = order[last]
        owner, place, u, v = owner[chosen], place[chosen], u[chosen], v[chosen]
        first, second, third = shades[owner].T
        bright = (1 - u - v) * first + u * second + v * third
        colour = bright[:, None] * look.colour + look.glow
        self.colours[place] = look.opacity * colour + (1 - look.opacity) * self.colours[place]
        if look.opacity == 1:
            self.depths[place] = depth[chosen]

    def image(self, size: tuple[int, int]) -> Image.Image:
        pixels = np.clip(self.colours, 0, 1).reshape(size[1], _OVER, size[0], _OVER, 3).mean(axis=(1, 3))
        return Image.fromarray(np.round(pixels * 255).astype(np.uint8))
