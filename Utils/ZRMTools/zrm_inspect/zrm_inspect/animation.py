"""Keys, quaternions and the local matrices of tree nodes at given argument values.

Matrices are in row-vector convention (a point is v x M), quaternions are x, y, z, w. In a product of
rotations the left one applies first.
"""

from __future__ import annotations

import math
from collections.abc import Mapping

import numpy as np

from .model import (
    AnimatedProperty,
    ArgAnimationNode,
    ArgumentProperty,
    ArgVisibilityNode,
    Doubles,
    Property,
    Records,
    StaticProperty,
)

Arguments = Mapping[int, float]

_SMALLEST_NORMAL = 2.2250738585072014e-308
_NO_ROTATION = np.array([0.0, 0.0, 0.0, 1.0])


def argument_value(arguments: Arguments, number: int) -> float:
    """The value as a renderer holds it: 32 bits, and 0 for what isn't given."""
    with np.errstate(over="ignore"):
        return float(np.float32(arguments.get(number, 0.0)))


def _neighbours(keys: Records, time: float) -> tuple[int, int, float]:
    """The keys around a time and the share of the second one; both are the same at and beyond the ends."""
    times = keys["time"]
    last = len(times) - 1
    if time <= times[0]:
        return 0, 0, 0.0
    if time >= times[last]:
        return last, last, 0.0
    after = min(max(int(np.searchsorted(times, time, side="right")), 1), last)
    before = after - 1
    with np.errstate(all="ignore"):
        return before, after, float((time - times[before]) / (times[after] - times[before]))


def vector_at(keys: Records, time: float) -> Doubles:
    """Linear between neighbours; the end keys hold beyond the ends. `keys` isn't empty."""
    before, after, share = _neighbours(keys, time)
    a = keys["value"][before].astype(np.float64)
    if before == after:
        return np.asarray(a)
    b = keys["value"][after].astype(np.float64)
    return np.asarray(share * b + (1.0 - share) * a)


def rotation_at(keys: Records, time: float) -> Doubles:
    """Spherical between neighbours, by the shorter way; the result isn't normalised."""
    before, after, share = _neighbours(keys, time)
    a: Doubles = keys["value"][before]
    if before == after:
        return a
    b: Doubles = keys["value"][after]
    dot = float(a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3])
    if dot < 0.0:
        b, dot = -b, -dot
    if 1.0 - dot > 1e-5:
        angle = math.acos(dot)
        weight_a = math.sin((1.0 - share) * angle) / math.sin(angle)
        weight_b = math.sin(share * angle) / math.sin(angle)
    else:
        weight_a, weight_b = 1.0 - share, share
    return np.asarray(weight_a * a + weight_b * b)


def property_at(entry: Property, arguments: Arguments) -> object:
    """The value of a property: what a static one holds, an argument's value, or its keys in between."""
    if isinstance(entry, StaticProperty):
        return entry.value
    if isinstance(entry, ArgumentProperty):
        return argument_value(arguments, entry.argument)
    if isinstance(entry, AnimatedProperty) and len(entry.keys):
        value = vector_at(entry.keys, argument_value(arguments, entry.argument))
        return float(value[0]) if len(value) == 1 else tuple(value.tolist())
    return None


def then(first: Doubles, second: Doubles) -> Doubles:
    """The rotation `first` followed by `second`."""
    x, y, z, w = first
    a, b, c, d = second
    return np.array(
        [
            x * d + w * a + z * b - y * c,
            y * d - z * a + w * b + x * c,
            z * d + y * a - x * b + w * c,
            w * d - x * a - y * b - z * c,
        ]
    )


def inverse(q: Doubles) -> Doubles:
    n = np.float64(q @ q)
    return np.asarray(np.array([-q[0], -q[1], -q[2], q[3]]) / n)


def rotation_matrix(q: Doubles) -> Doubles:
    """The 4 by 4 matrix of a quaternion of any length; that of a zero one has no directions left."""
    m = np.eye(4)
    x, y, z, w = q
    n = x * x + y * y + z * z + w * w
    if abs(n) <= _SMALLEST_NORMAL:
        m[:3, :3] = 0.0
        return m
    s = 2.0 if n == 1.0 else 2.0 / n
    m[0, :3] = 1.0 - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y)
    m[1, :3] = s * (x * y - w * z), 1.0 - s * (x * x + z * z), s * (y * z + w * x)
    m[2, :3] = s * (x * z + w * y), s * (y * z - w * x), 1.0 - s * (x * x + y * y)
    return m


def _scaled(matrix: Doubles, axes: Doubles, scale: Doubles) -> Doubles:
    """`matrix`, then a scale along turned axes."""
    return np.asarray(matrix @ rotation_matrix(axes) @ np.diag([*scale, 1.0]) @ rotation_matrix(inverse(axes)))


def pose(node: ArgAnimationNode, arguments: Arguments) -> tuple[Doubles, Doubles, Doubles]:
    """The scale as a matrix, the rotation and the position, which apply in this order and before the base matrix.

    A channel without keys repeats the value of the channel before it: for the first one that is no
    shift, no rotation, and a scale of zero.
    """
    with np.errstate(all="ignore"):
        position = node.base_position.copy()
        shift = np.zeros(3)
        for channel in node.position_channels:
            if len(channel.keys):
                shift = vector_at(channel.keys, argument_value(arguments, channel.argument))
            position += shift

        rotation = turn = _NO_ROTATION
        for turning in node.rotation_channels:
            if len(turning.keys):
                turn = rotation_at(turning.keys, argument_value(arguments, turning.argument))
            rotation = then(rotation, turn)
        rotation = then(rotation, node.base_rotation)

        result = np.eye(4)
        scale = np.zeros(3)
        for scaling in node.scale_channels:
            value = argument_value(arguments, scaling.argument)
            axes = rotation_at(scaling.rotation_keys, value) if len(scaling.rotation_keys) else _NO_ROTATION
            if len(scaling.keys):
                scale = vector_at(scaling.keys, value)
            result = _scaled(result, axes, scale)
        return _scaled(result, node.base_scale_rotation, node.base_scale), rotation, position


def local_matrix(node: ArgAnimationNode, arguments: Arguments) -> Doubles:
    """Scale, rotation, translation, then the base matrix."""
    with np.errstate(all="ignore"):
        scale, rotation, position = pose(node, arguments)
        translation = np.eye(4)
        translation[3, :3] = position
        return np.asarray(scale @ rotation_matrix(rotation) @ translation @ node.matrix)


def is_visible(node: ArgVisibilityNode, arguments: Arguments) -> bool:
    """Each argument must lie in one of its ranges, which are open at the end."""
    for entry in node.conditions:
        value = argument_value(arguments, entry.argument)
        if not np.any((value >= entry.ranges[:, 0]) & (value < entry.ranges[:, 1])):
            return False
    return True
