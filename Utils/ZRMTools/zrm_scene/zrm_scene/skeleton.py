"""The tree of the model: one facade for each node of the scene, with the motion of its clips.

A module node turns a point by scale, rotation, translation, as the records do.  Its channels add to the base
position, come before the base rotation, and multiply the base scale.  So with the rest pose as the base, a
clip's channels hold what differs from it: value - rest, rest^-1 x value, value / rest.  At the argument 0 they
do nothing, which leaves every other clip alone: each shows its own pose while the others stand at 0.
"""

from __future__ import annotations

import numpy as np
import pyzrm_313 as zrm

from .arrays import triple
from .budget import Allowance
from .clips import Driven, Moves
from .keys import Channel, product_channels, sum_channels, turn_channels
from .records import Node
from .report import Report
from .transforms import conjugate, continuous, multiply, script_quaternion
from .tree import Tree

# Nothing can be divided by a rest scale of 0.  This stands for it; a kilometre shrinks to a hundredth of a millimetre.
TINY_SCALE = 1e-8

VectorKeys = list[tuple[float, tuple[float, float, float]]]
TurnKeys = list[tuple[float, tuple[float, float, float, float]]]


def build_skeleton(tree: Tree, allowed: dict[int, Allowance], root: zrm.Node, report: Report) -> list[zrm.Node]:
    """Hangs a facade for every node under a root; gives them in the order of the nodes."""
    facades: list[zrm.Node] = []
    plain: list[bool] = tree.plain.tolist()
    for number, node in enumerate(tree.nodes):
        if not number % 1024:
            report.progress("nodes", number, len(tree.nodes))
        facade: zrm.Node
        if node.moves:
            facade = animated_node(tree, number, node.moves, allowed[number], report)
        elif node.levels is not None:
            facade = zrm.Lod(node.name, [float(limit) for limit in node.levels])
        elif node.shown:
            facade = zrm.VisibilityNode(node.name)
            facade.setArguments([(entry.argument, entry.keys) for entry in node.shown])
        elif plain[number]:
            facade = zrm.Node(node.name)
        else:
            facade = zrm.Transform(node.name, tree.locals[number])
        parent = tree.parent_list[number]
        (root if parent < 0 else facades[parent]).addChild(facade)
        facades.append(facade)
    return facades


def animated_node(tree: Tree, number: int, moves: Moves, allowed: Allowance, report: Report) -> zrm.AnimationNode:
    """A node with channels.  Bases are rounded to 32 bits first, so the channels make up for the rounding."""
    node = tree.nodes[number]
    facade = zrm.AnimationNode(node.name)
    position = tree.translations[number].astype(np.float32).astype(np.float64)
    rotation = tree.rotations[number].astype(np.float32).astype(np.float64)
    scale = tree.scales[number]
    scale = np.where(scale == 0.0, TINY_SCALE, scale).astype(np.float32).astype(np.float64)
    facade.setBasePosition(triple(position))
    facade.setBaseRotation(script_quaternion(rotation))
    facade.setBaseScale(triple(scale))
    unturn = conjugate(rotation) / float(rotation @ rotation)

    positions: list[tuple[int, VectorKeys]] = []
    for driven in moves.translation:
        times, values = driven.keys(position, allowed.translation * 0.5)
        channels, stray = sum_channels(times, values - position, allowed.translation)
        positions += [(driven.clip.argument, vector_keys(channel)) for channel in channels]
        judge(stray, allowed.translation, node, "translation", driven, report)
    turns: list[tuple[int, TurnKeys]] = []
    for driven in moves.rotation:
        times, values = driven.keys(rotation, allowed.rotation * 0.5)
        values = continuous(multiply(unturn, values))
        channels, stray = turn_channels(times, values / np.linalg.norm(values, axis=1, keepdims=True), allowed.rotation)
        turns += [(driven.clip.argument, turn_keys(channel)) for channel in channels]
        judge(stray, allowed.rotation, node, "rotation", driven, report)
    scales: list[tuple[int, VectorKeys]] = []
    for driven in moves.scale:
        ratio = allowed.scale / max(float(np.abs(scale).max()), 1e-30)
        times, values = driven.keys(scale, allowed.scale * 0.5)
        channels, stray = product_channels(times, values / scale, ratio)
        scales += [(driven.clip.argument, vector_keys(channel)) for channel in channels]
        judge(stray, ratio, node, "scale", driven, report)
    facade.setPositionAnimation(positions)
    facade.setRotationAnimation(turns)
    facade.setScaleAnimation(scales)
    return facade


def judge(stray: float, allowed: float, node: Node, path: str, driven: Driven, report: Report) -> None:
    """The budget is less than what is promised; beyond that the user must know."""
    if stray > 1.2 * allowed:
        report.warn(f"node {node.name!r}: its {path} strays by {stray:.2g} in argument {driven.clip.argument}")


def vector_keys(channel: Channel) -> VectorKeys:
    """Keys as the module takes them."""
    rows: list[list[float]] = channel.values.tolist()
    times: list[float] = channel.times.tolist()
    return [(time, (row[0], row[1], row[2])) for time, row in zip(times, rows)]


def turn_keys(channel: Channel) -> TurnKeys:
    """The same for rotations: w, x, y, z."""
    rows: list[list[float]] = channel.values.tolist()
    times: list[float] = channel.times.tolist()
    return [(time, (row[3], row[0], row[1], row[2])) for time, row in zip(times, rows)]


def still_node(name: str, factor: float) -> zrm.AnimationNode:
    """A node that scales by `factor` and that no pass of the module dissolves, as it has a key."""
    facade = zrm.AnimationNode(name)
    facade.setBaseScale((factor, factor, factor))
    facade.setScaleAnimation([(0, [(0.0, (1.0, 1.0, 1.0))])])
    return facade


