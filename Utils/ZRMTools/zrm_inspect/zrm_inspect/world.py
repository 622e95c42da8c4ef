"""World matrices, visibility and child numbers of the tree's nodes, all nodes at a time."""

from __future__ import annotations

from collections.abc import Iterator

import numpy as np
from numpy.typing import NDArray

from .animation import Arguments, is_visible, local_matrix
from .model import ArgAnimationNode, ArgVisibilityNode, Doubles, TransformNode, ZrmFile

Bools = NDArray[np.bool_]
Ints = NDArray[np.int64]


def local_matrices(file: ZrmFile, arguments: Arguments) -> Doubles:
    """(nodes, 4, 4): identity where a node has no matrix."""
    local = np.zeros((len(file.nodes), 4, 4))
    local[:] = np.eye(4)
    for index, node in enumerate(file.nodes):
        if isinstance(node, ArgAnimationNode):
            local[index] = local_matrix(node, arguments)
        elif isinstance(node, TransformNode):
            local[index] = node.matrix
    return local


def _climb(parents: Ints) -> Iterator[tuple[Ints, Ints]]:
    """Pairs (rows, ancestors) with which a value of each node gathers those of all its ancestors.

    At step k a node holds the product of the 2^k nodes from itself upward and takes in that of the
    ancestor behind them. So a chain of a million nodes takes twenty steps.
    """
    above = parents.copy()
    rows = np.flatnonzero(above >= 0)
    while len(rows):
        yield rows, above[rows]
        above[rows] = above[above[rows]]
        rows = rows[above[rows] >= 0]


def world_matrices(file: ZrmFile, arguments: Arguments) -> Doubles:
    """(nodes, 4, 4): own matrix x the parent's x ... up to the top."""
    world = local_matrices(file, arguments)
    with np.errstate(all="ignore"):
        for rows, ancestors in _climb(file.parents):
            world[rows] = world[rows] @ world[ancestors]
    return world


def visibility(file: ZrmFile, arguments: Arguments) -> Bools:
    """(nodes,): whether a node and all above it are visible."""
    shown = np.array([not isinstance(n, ArgVisibilityNode) or is_visible(n, arguments) for n in file.nodes])
    for rows, ancestors in _climb(file.parents):
        shown[rows] &= shown[ancestors]
    return shown


def child_numbers(parents: Ints) -> Ints:
    """(nodes,): how many children of the same parent stand before each node. Pre-order keeps their order."""
    order = np.argsort(parents, kind="stable")
    grouped = parents[order]
    numbers = np.empty(len(parents), np.int64)
    numbers[order] = np.arange(len(parents)) - np.searchsorted(grouped, grouped)
    return numbers
