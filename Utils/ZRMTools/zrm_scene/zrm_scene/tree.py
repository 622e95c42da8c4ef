"""The nodes of a scene as arrays, all of them at a time."""

from __future__ import annotations

from collections.abc import Sequence
from functools import cached_property

import numpy as np

from .arrays import IDENTITY, Floats, Integers, Vector
from .errors import ZrmError
from .records import Node
from .transforms import compose, normalised


class Tree:
    """Nodes, parents before children.

    place     the number of each node
    parents   [n], -1 at the top
    locals    [n, 4, 4], at rest
    animated  numbers of the nodes that something moves
    """

    def __init__(self, nodes: Sequence[Node]) -> None:
        self.nodes = nodes
        self.place = {node: number for number, node in enumerate(nodes)}
        if len(self.place) != len(nodes):
            raise ZrmError("scene", "a node stands in it twice", "give each place a node of its own")
        self.parent_list = [-1 if node.parent is None else self._parent(node, number) for number, node in enumerate(nodes)]
        self.parents: Integers = np.array(self.parent_list, np.int64)
        self.animated = [number for number, node in enumerate(nodes) if node.moves]
        self.moving = set(self.animated)
        self.translations = columns([node.translation for node in nodes], 3, "translations")
        self.rotations = normalised(columns([node.rotation for node in nodes], 4, "rotations"))
        self.scales = columns([node.scale for node in nodes], 3, "scales")
        self.locals: Floats = compose(self.translations, self.rotations, self.scales)
        for number, node in enumerate(nodes):
            if node.matrix is not None:
                if node.matrix.shape != (4, 4):
                    raise ZrmError(f"node {node.name!r}", f"a matrix of the shape {node.matrix.shape}", "pass 4 by 4 numbers")
                self.locals[number] = node.matrix
        if not np.isfinite(self.locals).all():
            bad = int(np.flatnonzero(~np.isfinite(self.locals).all(axis=(1, 2)))[0])
            raise ZrmError(f"node {nodes[bad].name!r}", "its place is not finite", "replace NaN and infinities")
        self.plain = (self.locals == IDENTITY).all(axis=(1, 2))

    def _parent(self, node: Node, number: int) -> int:
        assert node.parent is not None
        place = self.place.get(node.parent, -1)
        if not 0 <= place < number:
            where = "stands behind it" if place >= 0 else "is not in the scene"
            raise ZrmError(f"node {node.name!r}", f"its parent {node.parent.name!r} {where}", "list parents before their children")
        return place

    def gathered(self, matrices: Floats, stop: set[int] | None = None) -> Floats:
        """Each node's product with those of all above it, [n, ..., 4, 4]; one in `stop` has the identity and starts anew.

        Level by level, so that the time grows with the nodes and not with the depth times the nodes.
        """
        result = matrices.copy()
        if stop:
            result[sorted(stop)] = IDENTITY
        halted = np.zeros(len(self.nodes), bool)
        halted[sorted(stop or ())] = True
        for rows in self.levels():
            rows = rows[~halted[rows]]
            result[rows] = result[self.parents[rows]] @ result[rows]
        return result

    def levels(self) -> list[Integers]:
        """The numbers of the nodes at each depth from the second on."""
        depth = [0] * len(self.parent_list)
        for number, parent in enumerate(self.parent_list):
            if parent >= 0:
                depth[number] = depth[parent] + 1
        order = np.argsort(np.array(depth, np.int64), kind="stable")
        bounds = np.cumsum(np.bincount(np.array(depth, np.int64))) if depth else np.zeros(0, np.int64)
        return np.split(order, bounds[:-1])[1:] if len(bounds) else []

    @cached_property
    def worlds(self) -> Floats:
        """World matrices [n, 4, 4] at rest."""
        return self.gathered(self.locals)

    @cached_property
    def frames(self) -> Floats:
        """For each node the product of the static transforms from it up to the next animated node, [n, 4, 4]."""
        return self.gathered(self.locals, self.moving)


def columns(rows: list[Vector], width: int, what: str) -> Floats:
    """One part of all places."""
    try:
        return np.array(rows, np.float64).reshape(len(rows), width)
    except ValueError as error:
        raise ZrmError("nodes", f"{what} of unequal lengths", f"give {width} numbers for each node") from error
