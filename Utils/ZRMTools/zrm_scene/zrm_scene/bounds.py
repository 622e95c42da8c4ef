"""The box around everything, at rest and while each clip plays.

A clip is looked at in the values of its argument, rest pose and ramp included, as it is written: at every key of every track
and between them. Pieces are cut so short that no node turns by more than STEP within one; what a path still bulges out of
its chords is bounded by the second differences at the points between keys, where every path is smooth: a parabola leaves a
chord by an eighth of them, and twice that is added. Nothing but what moves is looked at more than once, and a piece of the
argument's values at a time, so that the memory stays bounded.
"""

from __future__ import annotations

from collections.abc import Iterator, Sequence

import numpy as np
from numpy.typing import NDArray

from .arrays import Box, Floats, Integers, Reals
from .clips import Clip, Driven, Moves
from .keys import along
from .transforms import compose, continuous
from .tree import Tree

STEP = 0.1  # radians
MOST_PIECES = 256  # between two keys
ROOM = 1 << 20  # numbers held at a time
FEWEST = 34  # values of the argument looked at together
MOST_BOXES = 32  # that follow one animated node; more become one
# Keys may stray by the budget, and the module rounds to 32 bits.
SLACK = 0.001


class Bounds:
    """Boxes that follow nodes. A box is a matrix that takes the cube from -1 to 1 to its place in the node's space."""

    def __init__(self, tree: Tree) -> None:
        self.tree = tree
        self.nodes: list[int] = []
        self.boxes: list[Floats] = []

    def add(self, node: int, box: Floats) -> None:
        """A box that follows a node."""
        self.nodes.append(node)
        self.boxes.append(box)

    def ends(self, clips: Sequence[Clip]) -> tuple[Floats, Floats]:
        """Lowest and highest points [3] of everything; of nothing, infinities the wrong way round."""
        if not self.nodes:
            return np.full(3, np.inf), np.full(3, -np.inf)
        owners, boxes = np.array(self.nodes), np.stack(self.boxes)
        low, high = hull(*sides(self.tree.worlds[owners] @ boxes))
        if self.tree.animated:
            owners, boxes = self._anchored(owners, boxes)
            for clip in clips:
                motion = Motion(self.tree, clip, owners)
                for below, beyond in motion.hulls(boxes[motion.boxes], owners[motion.boxes]):
                    low, high = np.minimum(low, below), np.maximum(high, beyond)
        slack = (SLACK if self.tree.animated else 0.0) + 1e-6 * float(np.abs([low, high]).max())
        return low - slack, high + slack

    def _anchored(self, owners: Integers, boxes: Floats) -> tuple[Integers, Floats]:
        """The boxes that move at all, in the space of the animated node next above them."""
        anchors = [-1] * len(self.tree.nodes)
        for number, parent in enumerate(self.tree.parent_list):
            anchors[number] = number if number in self.tree.moving else (anchors[parent] if parent >= 0 else -1)
        above = np.array(anchors)[owners]
        moving = np.flatnonzero(above >= 0)
        boxes, above = self.tree.frames[owners[moving]] @ boxes[moving], above[moving]
        order = np.argsort(above, kind="stable")
        kept_owners, kept = [np.zeros(0, np.int64)], [np.zeros((0, 4, 4))]
        for rows in np.split(order, np.flatnonzero(np.diff(above[order])) + 1):
            group = boxes[rows]
            if len(group) > MOST_BOXES:
                group = box_between(*hull(*sides(group)))[None]
            kept.append(group)
            kept_owners.append(np.full(len(group), above[rows[0]] if len(rows) else 0))
        return np.concatenate(kept_owners), np.concatenate(kept)


class Motion:
    """One clip: the nodes that it moves, parents first, and the boxes that follow them."""

    def __init__(self, tree: Tree, clip: Clip, owners: Integers) -> None:
        self.tree = tree
        self.clip = clip
        driven = [number for number in tree.animated if any(entry.clip is clip for entry in moves_of(tree, number).all())]
        starts = set(driven)
        moves = np.zeros(len(tree.nodes), bool)
        needed = np.zeros(len(tree.nodes), bool)
        for number, parent in enumerate(tree.parent_list):
            moves[number] = number in starts or (parent >= 0 and moves[parent])
        self.boxes: Integers = np.flatnonzero(moves[owners])
        needed[owners[self.boxes]] = True
        for number in range(len(tree.nodes) - 1, -1, -1):
            if needed[number] and tree.parent_list[number] >= 0:
                needed[tree.parent_list[number]] = True
        self.order = np.flatnonzero(needed).tolist()
        self.lines = {number: lines_of(tree, number, clip) for number in self.order if number in starts}

    def moments(self) -> tuple[Floats, Floats]:
        """Values of the argument to look at, and which of them lie between keys."""
        times = np.unique(np.concatenate([np.array([0.0]), *(line[0] for lines in self.lines.values() for line in lines.values())]))
        if len(times) < 2:
            return times, np.zeros(len(times))
        turned = self._turns(times)
        pieces = 2 * np.clip(np.ceil(turned / (2.0 * STEP)), 1, MOST_PIECES // 2).astype(np.int64)
        step = np.arange(int(pieces.sum())) - np.repeat(np.cumsum(pieces) - pieces, pieces)
        share = step / np.repeat(pieces, pieces)
        at = np.repeat(times[:-1], pieces) + np.repeat(np.diff(times), pieces) * share
        return np.append(at, times[-1]), np.append(share, 0.0)

    def _turns(self, times: Floats) -> Floats:
        """Angles by which a node turns between two times, with all above it, at most."""
        most = np.zeros(len(times) - 1)
        above: dict[int, Floats] = {}
        for number in self.order:
            angles = above.get(self.tree.parent_list[number], most * 0.0)
            if "rotation" in (lines := self.lines.get(number, {})):
                turns = along(*lines["rotation"], times, True)
                turns = turns / np.linalg.norm(turns, axis=1, keepdims=True)
                dots = np.abs((turns[1:] * turns[:-1]).sum(axis=1))
                angles = angles + 2.0 * np.arccos(np.minimum(dots, 1.0))
                most = np.maximum(most, angles)
            if angles.any():
                above[number] = angles
        return most

    def hulls(self, boxes: Floats, owners: Integers) -> Iterator[tuple[Floats, Floats]]:
        """Lowest and highest points [3] of the boxes, some values of the argument and some boxes at a time."""
        if not len(boxes):
            return
        at, share = self.moments()
        places = {number: row for row, number in enumerate(self.order)}
        rows = np.array([places[owner] for owner in owners.tolist()])
        count = max(FEWEST, ROOM // (16 * len(self.order)))
        width = max(1, ROOM // (64 * min(count, len(at))))
        for start in range(0, max(len(at) - 2, 1), count - 2):  # two in common, for the second differences
            part = slice(start, start + count)
            worlds, between = self._worlds(at[part]), (share[part][1:-1] > 0.0)[:, None, None]
            for first in range(0, len(boxes), width):
                few = slice(first, first + width)
                yield swept(worlds[:, rows[few]] @ boxes[few], between)

    def _worlds(self, at: Floats) -> Floats:
        """World matrices [times, nodes in order, 4, 4]."""
        worlds = np.empty((len(at), len(self.order), 4, 4))
        places: dict[int, int] = {}
        for row, number in enumerate(self.order):
            local = self._local(number, at)
            parent = self.tree.parent_list[number]
            worlds[:, row] = local if parent < 0 else worlds[:, places[parent]] @ local
            places[number] = row
        return worlds

    def _local(self, number: int, at: Floats) -> Floats:
        if number not in self.lines:
            return np.asarray(self.tree.locals[number])
        tree, lines = self.tree, self.lines[number]
        rest = {"translation": tree.translations, "rotation": tree.rotations, "scale": tree.scales}
        parts = [
            along(*lines[path], at, path == "rotation") if path in lines else np.broadcast_to(values[number], (len(at), values.shape[1]))
            for path, values in rest.items()
        ]
        return compose(parts[0], parts[1], parts[2])


def moves_of(tree: Tree, number: int) -> Moves:
    """Those of an animated node."""
    return tree.nodes[number].moves or Moves()


def lines_of(tree: Tree, number: int, clip: Clip) -> dict[str, tuple[Floats, Floats]]:
    """Times and values of what a clip drives of a node, in values of its argument."""
    moves = moves_of(tree, number)
    found: dict[str, tuple[Floats, Floats]] = {}
    paths: list[tuple[str, list[Driven], Floats]] = [
        ("translation", moves.translation, tree.translations),
        ("rotation", moves.rotation, tree.rotations),
        ("scale", moves.scale, tree.scales),
    ]
    for path, driven, rest in paths:
        for entry in driven:
            if entry.clip is clip:
                times, values = entry.keys(rest[number], 0.0005)
                found[path] = times, continuous(values) if path == "rotation" else values
    return found


def as_box(low: Floats, high: Floats) -> Box:
    """Six numbers as the module takes them; a box around nothing is a point at the origin."""
    if not (low <= high).all():
        return (0.0, 0.0, 0.0, 0.0, 0.0, 0.0)
    x0, y0, z0, x1, y1, z1 = np.concatenate([low, high]).tolist()
    return (x0, y0, z0, x1, y1, z1)


def swept(moved: Floats, between: NDArray[np.bool_]) -> tuple[Floats, Floats]:
    """Lowest and highest points of boxes [times, n, 4, 4] on their way; `between` says which times but the first and last
    lie between keys."""
    low, high = sides(moved)
    if len(moved) < 3:
        return hull(low, high)
    bent = moved[:-2] - 2.0 * moved[1:-1] + moved[2:]
    bulge = np.where(between, np.abs(bent[..., :3, :]).sum(axis=-1) * 0.25, 0.0)
    least = np.minimum(np.minimum(low[:-2], low[1:-1]), low[2:]) - bulge
    most = np.maximum(np.maximum(high[:-2], high[1:-1]), high[2:]) + bulge
    return hull(least, most)


def box_between(low: Reals, high: Reals) -> Floats:
    """The box between two corners."""
    box = np.eye(4)
    box[:3, 3] = (low.astype(np.float64) + high) * 0.5
    box[[0, 1, 2], [0, 1, 2]] = (high.astype(np.float64) - low) * 0.5
    return box


def sides(boxes: Floats) -> tuple[Floats, Floats]:
    """Lowest and highest points [..., 3] of boxes [..., 4, 4]."""
    centre, reach = boxes[..., :3, 3], np.abs(boxes[..., :3, :3]).sum(axis=-1)
    return centre - reach, centre + reach


def hull(low: Floats, high: Floats) -> tuple[Floats, Floats]:
    """Lowest and highest of all; axis by axis, which is many times faster than a reduction to three."""
    axes = range(3)
    return np.array([low[..., axis].min() for axis in axes]), np.array([high[..., axis].max() for axis in axes])
