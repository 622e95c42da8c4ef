"""How far each animated channel may stray, so that no vertex strays by more than a thousandth in the world.

The errors of all channels on a chain of nodes add up, a parent's scale enlarges them, and a turn moves what
is far from its node further.  All three are bounded over the whole motion, which is simple and never too lax.
"""

from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass

import numpy as np

from .accessors import Floats
from .clips import NODE_PATHS, Clips
from .scene import Scene

TOTAL = 0.0008
# A quaternion of 32-bit floats can't be told more exactly than to 6e-8 in each component.
FINEST_TURN = 4e-7


@dataclass
class Allowance:
    """Largest errors of one node's channels: of the translation, of a unit quaternion, of the scale's factors."""

    translation: float
    rotation: float
    scale: float


def largest(values: Iterable[Floats]) -> float:
    """Largest length of any row."""
    return max((float(np.linalg.norm(rows, axis=1).max(initial=0.0)) for rows in values), default=0.0)


def allowances(scene: Scene, clips: Clips, radii: dict[int, float]) -> dict[int, Allowance]:
    """Allowances of all animated nodes.  `radii`: how far geometry lies from the origin of the node it hangs on."""
    moved: dict[int, float] = {}  # largest distance from the parent's origin
    scaled: dict[int, float] = {}  # largest factor
    channels: dict[int, int] = {}
    for index in scene.order:
        node = scene.nodes[index]
        if node.matrix is not None:
            moved[index] = float(np.linalg.norm(node.matrix[:3, 3]))
            scaled[index] = float(np.linalg.norm(node.matrix[:3, :3], 2))
        else:
            tracks = {path: [driven.track.polyline(0.001)[1] for driven in clips.of_node(index, path)] for path in NODE_PATHS}
            moved[index] = largest([node.translation[None], *tracks["translation"]])
            scaled[index] = max(float(np.abs(rows).max(initial=0.0)) for rows in [node.scale[None], *tracks["scale"]])
        channels[index] = sum(1 for path in NODE_PATHS if clips.of_node(index, path))
    above = dict.fromkeys(scene.order, 1.0)  # scale of all ancestors
    over = dict.fromkeys(scene.order, 0)  # channels from the root down to the node
    for index in scene.order:
        parent = scene.nodes[index].parent
        above[index] = 1.0 if parent is None else above[parent] * scaled[parent]
        over[index] = channels[index] + (0 if parent is None else over[parent])
    reach = {index: radii.get(index, 0.0) for index in scene.order}  # of the geometry on and below the node
    under = dict.fromkeys(scene.order, 0)  # channels below the node on the busiest way
    for index in reversed(scene.order):
        parent = scene.nodes[index].parent
        if parent is not None:
            reach[parent] = max(reach[parent], moved[index] + scaled[index] * reach[index])
            under[parent] = max(under[parent], under[index] + channels[index])
    result = {}
    for index in scene.order:
        if channels[index]:
            share = TOTAL / (over[index] + under[index])
            local = share / max(above[index], 1.0)
            far = max(reach[index], 1.0)
            # A quaternion's error turns things by twice its length.
            turn = local / (2.0 * far * max(scaled[index], 1.0))
            result[index] = Allowance(local, max(turn, FINEST_TURN), local / far)
    return result
