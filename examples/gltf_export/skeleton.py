"""The tree of the model: one facade for each node of the scene, with the motion of its clips.

A module node turns a point by scale, rotation, translation, as glTF does.  Its channels add to the base
position, come before the base rotation, and multiply the base scale.  So with the rest pose as the base, a
clip's channels hold what differs from it: value - rest, rest^-1 x value, value / rest.  At the argument 0 they
do nothing, which leaves every other clip alone: each shows its own pose while the others stand at 0.
"""

from __future__ import annotations

from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .accessors import Floats
from .budget import Allowance
from .clips import Clips, Driven
from .keys import Channel, product_channels, sum_channels, turn_channels
from .report import Report
from .scene import Scene, SceneNode
from .transforms import conjugate, continuous, multiply, script_matrix, script_quaternion, script_vector

# Nothing can be divided by a rest scale of 0.  This stands for it; a kilometre shrinks to a hundredth of a millimetre.
TINY_SCALE = 1e-8

VectorKeys = list[tuple[float, tuple[float, float, float]]]
TurnKeys = list[tuple[float, tuple[float, float, float, float]]]


def build_skeleton(scene: Scene, clips: Clips, allowed: dict[int, Allowance], model: Any, report: Report) -> dict[int, Any]:
    """Hangs a facade for every node under the model's root; gives them by node number."""
    facades: dict[int, Any] = {}
    for done, index in enumerate(scene.order):
        report.progress("nodes", done, len(scene.order))
        node = scene.nodes[index]
        facade = animated_node(node, clips, allowed[index], report) if clips.animated(index) else static_node(node)
        (model.getRootTransform() if node.parent is None else facades[node.parent]).addChild(facade)
        facades[index] = facade
    report.counts["nodes"] = len(facades)
    return facades


def static_node(node: SceneNode) -> Any:
    """A node that never moves."""
    local = node.local()
    if np.array_equal(local, np.eye(4)):
        return zrm.Node(node.name)
    return zrm.Transform(node.name, script_matrix(local))


def animated_node(node: SceneNode, clips: Clips, allowed: Allowance, report: Report) -> Any:
    """A node with channels.  Bases are rounded to 32 bits first, so the channels make up for the rounding."""
    facade = zrm.AnimationNode(node.name)
    position = node.translation.astype(np.float32).astype(np.float64)
    rotation = node.rotation.astype(np.float32).astype(np.float64)
    scale = np.where(node.scale == 0.0, TINY_SCALE, node.scale).astype(np.float32).astype(np.float64)
    facade.setBasePosition(script_vector(position))
    facade.setBaseRotation(script_quaternion(rotation))
    facade.setBaseScale(script_vector(scale))
    unturn = conjugate(rotation) / float(rotation @ rotation)

    positions: list[tuple[int, VectorKeys]] = []
    for driven in clips.of_node(node.index, "translation"):
        times, values = driven.keys(position, allowed.translation * 0.5)
        channels, stray = sum_channels(times, values - position, allowed.translation)
        positions += [(driven.clip.argument, vector_keys(channel)) for channel in channels]
        judge(stray, allowed.translation, node, "translation", driven, report)
    turns: list[tuple[int, TurnKeys]] = []
    for driven in clips.of_node(node.index, "rotation"):
        times, values = driven.keys(rotation, allowed.rotation * 0.5)
        values = continuous(multiply(unturn, values))
        channels, stray = turn_channels(times, values / np.linalg.norm(values, axis=1, keepdims=True), allowed.rotation)
        turns += [(driven.clip.argument, turn_keys(channel)) for channel in channels]
        judge(stray, allowed.rotation, node, "rotation", driven, report)
    scales: list[tuple[int, VectorKeys]] = []
    for driven in clips.of_node(node.index, "scale"):
        ratio = allowed.scale / max(float(np.abs(scale).max()), 1e-30)
        times, values = driven.keys(scale, allowed.scale * 0.5)
        channels, stray = product_channels(times, values / scale, ratio)
        scales += [(driven.clip.argument, vector_keys(channel)) for channel in channels]
        judge(stray, ratio, node, "scale", driven, report)
    facade.setPositionAnimation(positions)
    facade.setRotationAnimation(turns)
    facade.setScaleAnimation(scales)
    return facade


def judge(stray: float, allowed: float, node: SceneNode, path: str, driven: Driven, report: Report) -> None:
    """The budget is less than what is promised; beyond that the user must know."""
    if stray > 1.2 * allowed:
        report.warn(f"node {node.index} ({node.name}): its {path} strays by {stray:.2g} in animation {driven.clip.argument}")


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


def still_node(name: str, factor: float) -> Any:
    """A node that scales by `factor` and that no pass of the module dissolves, as it has a key."""
    facade = zrm.AnimationNode(name)
    facade.setBaseScale((factor, factor, factor))
    facade.setScaleAnimation([(0, [(0.0, (1.0, 1.0, 1.0))])])
    return facade
