"""MSFT_lod: distances up to which each level of detail is shown.

A level covers some share of the screen's area at least; with the radius r of the ball around the finest level, and a camera
that sees FIELD radians, it does so up to the distance r / (tan(FIELD / 2) sqrt(share)). The last level without a share of
its own is shown from there on for good; where the file gives no shares, each level has a quarter of the one before it.
"""

from __future__ import annotations

import math

import numpy as np
from zrm_scene import FAR, Node
from zrm_scene.arrays import Floats
from zrm_scene.bounds import box_between, hull, sides
from zrm_scene.tree import Tree

from .scene import Scene, below

FIELD = math.radians(60.0)


def set_distances(scene: Scene, records: list[Node]) -> None:
    """Fills in the limits of each record that chooses among levels."""
    if not scene.details:
        return
    worlds = Tree(records).worlds
    places = {node: place for place, node in enumerate(records)}
    for choice, finest, shares in scene.details:
        assert choice.levels is not None
        count = len(choice.levels)
        if not shares:
            shares = [0.25 ** (level + 1) for level in range(count - 1)]
            scene.source.report.note(f"{choice.name}: the file doesn't tell at which size a level ends; each has a quarter of the one before")
        radius = radius_of(list(below(records, finest)), places, worlds)
        reach = radius / math.tan(FIELD / 2.0)
        limits = [min(reach / math.sqrt(share), FAR) if share > 0.0 else FAR for share in shares[:count]]
        choice.levels = limits + [FAR] * (count - len(limits))


def radius_of(nodes: list[Node], places: dict[Node, int], worlds: Floats) -> float:
    """Of the ball around what hangs on some nodes, at rest."""
    boxes = [
        worlds[places[node]] @ box_between(shape.mesh.positions.min(axis=0), shape.mesh.positions.max(axis=0))
        for node in nodes
        for shape in node.shapes
    ]
    if not boxes:
        return 0.0
    low, high = hull(*sides(np.stack(boxes)))
    return 0.5 * float(np.linalg.norm(high - low))
