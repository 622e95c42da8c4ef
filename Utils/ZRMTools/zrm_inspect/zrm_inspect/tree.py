"""Records of the tree's nodes, and the table of their parents."""

from __future__ import annotations

from collections.abc import Callable

import numpy as np
from numpy.typing import NDArray

from .cursor import NO_ARGUMENT, Cursor, ZrmError
from .model import (
    ArgAnimatedBone,
    ArgAnimationNode,
    ArgVisibilityNode,
    BillboardNode,
    BoneNode,
    LodNode,
    Node,
    Property,
    RotationChannel,
    ScaleChannel,
    TransformNode,
    VectorChannel,
    VisibilityArgument,
)
from .properties import read_name_and_properties

_VECTOR_KEY = np.dtype([("time", "<f8"), ("value", "<f8", (3,))])
_ROTATION_KEY = np.dtype([("time", "<f8"), ("value", "<f8", (4,))])

_MIN_NODE = 20  # type, length of the name, reserved word, number of properties, entry of the parent table

_Head = tuple[int, int, str, str, list[Property]]


def _plain(cursor: Cursor, head: _Head) -> Node:
    return Node(*head, parent=-1)


def _transform(cursor: Cursor, head: _Head) -> Node:
    return TransformNode(*head, parent=-1, matrix=cursor.matrix())


def _bone(cursor: Cursor, head: _Head) -> Node:
    matrix = cursor.matrix()
    return BoneNode(*head, parent=-1, matrix=matrix, inverted_base_bone_matrix=cursor.matrix())


def _vector_channel(cursor: Cursor) -> VectorChannel:
    argument = cursor.valid_argument("a position channel")
    count = cursor.count(_VECTOR_KEY.itemsize, "number of keys")
    return VectorChannel(argument, cursor.array(_VECTOR_KEY, count))


def _rotation_channel(cursor: Cursor) -> RotationChannel:
    argument = cursor.valid_argument("a rotation channel")
    count = cursor.count(_ROTATION_KEY.itemsize, "number of keys")
    return RotationChannel(argument, cursor.array(_ROTATION_KEY, count))


def _scale_channel(cursor: Cursor) -> ScaleChannel:
    argument = cursor.valid_argument("a scale channel")
    rotations = cursor.array(_ROTATION_KEY, cursor.count(_ROTATION_KEY.itemsize, "number of keys"))
    count = cursor.count(_VECTOR_KEY.itemsize, "number of keys")
    return ScaleChannel(argument, rotations, cursor.array(_VECTOR_KEY, count))


def _animation_name(node: ArgAnimationNode) -> str:
    """The name of an animation node follows from the kinds of channels that it has."""
    if node.position_channels and not node.rotation_channels and not node.scale_channels:
        return "model::ArgPositionNode"
    if node.position_channels or (node.rotation_channels and node.scale_channels):
        return "model::ArgAnimationNode"
    return "model::ArgRotationNode" if node.rotation_channels else "model::ArgScaleNode"


def _animation(cursor: Cursor, head: _Head) -> Node:
    animated_bone = head[2] == "model::ArgAnimatedBone"
    matrix = cursor.matrix()
    base_position = cursor.array("<f8", 3)
    base_rotation = cursor.array("<f8", 4)
    base_scale_rotation = cursor.array("<f8", 4)
    base_scale = cursor.array("<f8", 3)
    positions = [_vector_channel(cursor) for _ in range(cursor.count(8, "number of position channels"))]
    rotations = [_rotation_channel(cursor) for _ in range(cursor.count(8, "number of rotation channels"))]
    scales = [_scale_channel(cursor) for _ in range(cursor.count(12, "number of scale channels"))]
    base = (base_position, base_rotation, base_scale_rotation, base_scale)
    if animated_bone:
        inverted = cursor.matrix()
        return ArgAnimatedBone(*head, -1, matrix, *base, positions, rotations, scales, inverted)
    node = ArgAnimationNode(*head, -1, matrix, *base, positions, rotations, scales)
    if node.type_name != _animation_name(node):
        cursor.position = node.offset
        raise cursor.error(f"'{node.type_name}' has the channels of '{_animation_name(node)}'")
    return node


def _billboard(cursor: Cursor, head: _Head) -> Node:
    mode = cursor.u8()
    axis_mode = cursor.u8()
    matrix = cursor.matrix()
    return BillboardNode(*head, -1, matrix, mode, axis_mode, cursor.array("<f8", 3))


def _visibility(cursor: Cursor, head: _Head) -> Node:
    arguments = []
    for _ in range(cursor.count(8, "number of visibility arguments")):
        argument = cursor.argument()
        count = cursor.count(16, "number of ranges")
        arguments.append(VisibilityArgument(argument, cursor.array("<f8", count, 2)))
    return ArgVisibilityNode(*head, -1, arguments)


def _lod(cursor: Cursor, head: _Head) -> Node:
    count = cursor.count(16, "number of levels")
    return LodNode(*head, -1, cursor.array("<f8", count, 2))


_READERS: dict[str, Callable[[Cursor, _Head], Node]] = {
    "model::Node": _plain,
    "model::TmpNumberRoot": _plain,
    "model::TransformNode": _transform,
    "model::Bone": _bone,
    "model::ArgAnimationNode": _animation,
    "model::ArgPositionNode": _animation,
    "model::ArgRotationNode": _animation,
    "model::ArgScaleNode": _animation,
    "model::ArgAnimatedBone": _animation,
    "model::BillboardNode": _billboard,
    "model::ArgVisibilityNode": _visibility,
    "model::LodNode": _lod,
}


def read_tree(cursor: Cursor) -> list[Node]:
    count = cursor.count(_MIN_NODE, "number of tree nodes")
    if count == 0:
        raise cursor.error("a tree without nodes", 4)
    nodes: list[Node] = []
    for index in range(count):
        offset = cursor.position
        type_name = cursor.string()
        reader = _READERS.get(type_name)
        if reader is None:
            raise cursor.error(f"'{type_name}' is no type of a tree node", 4)
        nodes.append(reader(cursor, (offset, index, type_name, *read_name_and_properties(cursor))))
    return nodes


def read_parents(cursor: Cursor, nodes: list[Node]) -> NDArray[np.int64]:
    """The parent of each node, -1 for the top, also stored in the nodes.

    Nodes stand in pre-order, so a node's parent is the node before it or one of that node's
    ancestors. The chain of those is kept as a stack: each node is pushed and popped once.
    """
    offset = cursor.position
    table = cursor.array("<u4", len(nodes))
    chain: list[int] = []
    for index, parent in enumerate(table.tolist()):
        if index == 0:
            if parent != NO_ARGUMENT:
                raise _bad_parent(offset, 0, f"the first node has the parent {parent}")
        else:
            if parent == NO_ARGUMENT:
                raise _bad_parent(offset, index, "a second node without a parent")
            if parent >= index:
                raise _bad_parent(offset, index, f"parent {parent} doesn't stand before node {index}")
            while chain and chain[-1] != parent:
                chain.pop()
            if not chain:
                raise _bad_parent(offset, index, f"node {index} under {parent} breaks the pre-order")
            nodes[index].parent = parent
        chain.append(index)
    parents = table.astype(np.int64)
    parents[0] = -1
    return parents


def _bad_parent(offset: int, index: int, message: str) -> ZrmError:
    return ZrmError(offset + 4 * index, message)
