"""How far each animated channel may stray, so that no vertex strays by more than a thousandth in the world.

The errors of all channels on a chain of nodes add up, a parent's scale enlarges them, and a turn moves what
is far from its node further.  All three are bounded over the whole motion, which is simple and never too lax.
"""

from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass

import numpy as np

from .arrays import Floats
from .clips import Moves
from .tree import Tree

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


def reaches(tree: Tree) -> tuple[list[float], list[float]]:
    """For each node the largest distance from its parent's origin, and the largest factor of its scale."""
    moved: list[float] = np.linalg.norm(tree.locals[:, :3, 3], axis=1).tolist()
    scaled: list[float] = np.abs(tree.scales).max(axis=1, initial=0.0).tolist()
    for number, node in enumerate(tree.nodes):
        if node.matrix is not None:
            scaled[number] = float(np.linalg.norm(node.matrix[:3, :3], 2))
        elif node.moves:
            lines = {"translation": node.moves.translation, "scale": node.moves.scale}
            rows = {path: [driven.track.polyline(0.001)[1] for driven in drivens] for path, drivens in lines.items()}
            moved[number] = max(moved[number], largest(rows["translation"]))
            scaled[number] = max([scaled[number], *(float(np.abs(values).max(initial=0.0)) for values in rows["scale"])])
    return moved, scaled


def busy(moves: Moves | None) -> int:
    """How many of a node's three parts move."""
    return 0 if moves is None else bool(moves.translation) + bool(moves.rotation) + bool(moves.scale)


def allowances(tree: Tree, radii: dict[int, float]) -> dict[int, Allowance]:
    """Allowances of all animated nodes.  `radii`: how far geometry lies from the origin of the node it hangs on."""
    if not tree.animated:
        return {}
    moved, scaled = reaches(tree)
    count = len(tree.nodes)
    channels = [busy(node.moves) for node in tree.nodes]
    above, over = [1.0] * count, channels.copy()  # scale of all ancestors; channels from the root down to the node
    for number, parent in enumerate(tree.parent_list):
        if parent >= 0:
            above[number] = above[parent] * scaled[parent]
            over[number] += over[parent]
    reach = [radii.get(number, 0.0) for number in range(count)]  # of the geometry on and below the node
    under = [0] * count  # channels below the node on the busiest way
    for number in range(count - 1, -1, -1):
        if (parent := tree.parent_list[number]) >= 0:
            reach[parent] = max(reach[parent], moved[number] + scaled[number] * reach[number])
            under[parent] = max(under[parent], under[number] + channels[number])
    result = {}
    for number in tree.animated:
        share = TOTAL / (over[number] + under[number])
        local = share / max(above[number], 1.0)
        far = max(reach[number], 1.0)
        # A quaternion's error turns things by twice its length.
        turn = local / (2.0 * far * max(scaled[number], 1.0))
        result[number] = Allowance(local, max(turn, FINEST_TURN), local / far)
    return result
