"""Where things stand while the clips play: boxes around everything that moves."""

from __future__ import annotations

from collections.abc import Iterable

import numpy as np

from .accessors import Floats
from .clips import Clip, Clips
from .scene import Scene
from .transforms import compose

# Moments of each clip that are looked at; the box grows by a margin for what lies between them.
MOMENTS = 17
MARGIN = 0.05


class Box:
    """A box that grows with the points it is shown."""

    def __init__(self) -> None:
        self.low = np.full(3, np.inf)
        self.high = np.full(3, -np.inf)

    def add(self, points: Floats) -> None:
        """Points [..., 3]; those that are not finite don't count."""
        points = points.reshape(-1, 3)
        points = points[np.isfinite(points).all(axis=1)]
        if len(points):
            self.low, self.high = np.minimum(self.low, points.min(axis=0)), np.maximum(self.high, points.max(axis=0))

    def tuple(self) -> tuple[float, float, float, float, float, float]:
        """Six numbers as the module takes them; a box around nothing is a point at the origin."""
        if not (self.high >= self.low).all():
            return (0.0, 0.0, 0.0, 0.0, 0.0, 0.0)
        margin = MARGIN * float(np.linalg.norm(self.high - self.low))
        low, high = self.low - margin, self.high + margin
        return (float(low[0]), float(low[1]), float(low[2]), float(high[0]), float(high[1]), float(high[2]))


def corners(low: Floats, high: Floats) -> Floats:
    """The eight corners of a box."""
    return np.array([[x, y, z] for x in (low[0], high[0]) for y in (low[1], high[1]) for z in (low[2], high[2])])


def with_ancestors(scene: Scene, nodes: Iterable[int]) -> set[int]:
    """Some nodes and everything above them."""
    result: set[int] = set()
    for index in nodes:
        walk: int | None = index
        while walk is not None and walk not in result:
            result.add(walk)
            walk = scene.nodes[walk].parent
    return result


def worlds_during(scene: Scene, clips: Clips, clip: Clip | None, nodes: set[int]) -> dict[int, Floats]:
    """World matrices [times, 4, 4] of some nodes, ancestors included, at rest or over one clip."""
    seconds = np.zeros(1) if clip is None else np.linspace(clip.first, clip.last, MOMENTS)
    worlds: dict[int, Floats] = {}
    for index in scene.order:
        if index not in nodes:
            continue
        node = scene.nodes[index]
        if node.matrix is not None:
            local = node.matrix[None]
        else:
            parts = {"translation": node.translation[None], "rotation": node.rotation[None], "scale": node.scale[None]}
            for path in parts:
                for driven in clips.of_node(index, path):
                    if driven.clip is clip:
                        parts[path] = driven.track.sample(seconds)
            count = max(len(part) for part in parts.values())
            local = compose(*(np.broadcast_to(part, (count, part.shape[1])) for part in parts.values()))
        worlds[index] = local if node.parent is None else worlds[node.parent] @ local
    return worlds
