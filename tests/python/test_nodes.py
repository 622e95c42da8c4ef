"""The nodes of the tree, each setter by what it leaves in the file."""

from __future__ import annotations

import math
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import IDENTITY, NONE, f32, plain, save, saved_node

MATRIX = [(1.5, 2.0, 3.0, 5.0), (4.0, 5.5, 6.0, 6.0), (7.0, 8.0, 9.5, 7.0), (0.25, 0.5, 0.75, 1.0)]
INVERTED = [tuple(-value for value in column) for column in MATRIX]
INFINITY = math.inf


def columns(matrix: Any) -> list[tuple[float, ...]]:
    return [tuple(column) for column in np.asarray(matrix).T.tolist()]


def keys_of(channel: Any) -> list[tuple[float, tuple[float, ...]]]:
    return [(float(key["time"]), tuple(key["value"].tolist())) for key in channel.keys]


def test_matrices(folder: Path) -> None:
    assert columns(saved_node(zrm.Transform("t")).matrix) == IDENTITY
    translation = [(1, 0, 0, 5), (0, 1, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)]
    assert saved_node(zrm.Transform("t", translation)).matrix[3].tolist() == [5.0, 6.0, 7.0, 1.0]
    assert columns(saved_node(zrm.Transform("t", MATRIX)).matrix) == MATRIX

    node = zrm.Transform("t", MATRIX)
    node.setMatrix([*INVERTED, (9.0, 9.0, 9.0, 9.0)])  # a fifth tuple is ignored
    assert columns(saved_node(node).matrix) == INVERTED

    node = zrm.AnimationNode("a")
    node.setBaseMatrix(MATRIX)
    assert columns(saved_node(node).matrix) == MATRIX

    for bone, matrix, inverted in (
        (zrm.Bone("b"), IDENTITY, IDENTITY),
        (zrm.Bone("b", MATRIX), MATRIX, IDENTITY),
        (zrm.Bone("b", MATRIX, INVERTED), MATRIX, INVERTED),
    ):
        record = saved_node(bone)
        assert columns(record.matrix) == matrix and columns(record.inverted_base_bone_matrix) == inverted
    bone = zrm.Bone("b")
    bone.setInvertedBaseBoneMatrix(INVERTED)
    bone.setMatrix(MATRIX)
    record = saved_node(bone)
    assert columns(record.matrix) == MATRIX and columns(record.inverted_base_bone_matrix) == INVERTED


def test_floats_go_through_32_bits(folder: Path) -> None:
    node = zrm.Transform("t", [(0.1, 1e300, -1e300, math.nan)] * 4)
    assert saved_node(node).matrix[:3, 0].tolist() == [*f32(0.1), INFINITY, -INFINITY]
    assert math.isnan(saved_node(node).matrix[3, 0])


@pytest.mark.parametrize("count", range(4))
def test_short_matrices_are_refused(folder: Path, count: int) -> None:
    short = MATRIX[:count]
    for call in (
        lambda: zrm.Transform("t", short),
        lambda: zrm.Bone("b", short),
        lambda: zrm.Bone("b", MATRIX, short),
        lambda: zrm.AnimationNode("a").setBaseMatrix(short),
    ):
        with pytest.raises(ValueError, match="four tuples"):
            call()
    node = zrm.Bone("b", MATRIX, INVERTED)
    for setter in (node.setMatrix, node.setInvertedBaseBoneMatrix):
        with pytest.raises(ValueError):
            setter(short)
    assert columns(saved_node(node).matrix) == MATRIX


def test_lod(folder: Path) -> None:
    assert saved_node(zrm.Lod("l", [100.0, 400.0])).levels.tolist() == [[0.0, 10000.0], [10000.0, 160000.0]]
    assert saved_node(zrm.Lod("l", [])).levels.tolist() == []
    unordered = saved_node(zrm.Lod("l", [3.0, 2.0, 0.1])).levels
    narrow = f32(0.1)[0]
    assert unordered.tolist() == [[0.0, 9.0], [9.0, 4.0], [4.0, narrow * narrow]]
    assert saved_node(zrm.Lod("l", [1e30])).levels[0, 1] == float(np.float32(1e30)) ** 2  # squared in 64 bits


def test_number_root(folder: Path) -> None:
    node = zrm.NumberRoot("n")
    for value in (-1.0, 2.9, math.nan, math.inf, -math.inf, 1e30):
        node.setControls([(value, 0.5, value, 1.0)])
    record = saved_node(node)
    assert record.type_name == "model::TmpNumberRoot" and not hasattr(record, "controls")


RANGES: list[tuple[list[tuple[float, float]], list[list[float]]]] = [
    ([], []),
    ([(0.25, 1.0)], [[-1.0, 1.0]]),
    ([(0.25, 0.5)], [[-1.0, 1.0]]),
    ([(0.25, 0.0)], []),
    ([(0.25, math.nan)], []),
    ([(0.0, 0.0), (0.25, 1.0), (0.5, 0.0), (0.75, 1.0)], [[0.25, 0.5], [0.75, 1.0001]]),
    ([(0.0, 1.0), (2.0, 1.0)], [[0.0, 1.0001]]),
    ([(0.0, 0.0), (1.5, 1.0)], []),
    ([(0.0, 0.49), (0.5, 0.51), (0.75, 0.5), (1.0, 0.4999)], [[0.5, 1.0]]),
    ([(0.0, 1.0), (0.5, 0.0), (0.25, 1.0), (0.75, 0.0)], [[0.0, 0.75]]),  # overlapping ranges merge
    ([(0.0, 1.0), (0.5, 0.0), (0.5, 1.0), (0.75, 0.0)], [[0.0, 0.5], [0.5, 0.75]]),  # touching ones do not
]


@pytest.mark.parametrize(("keys", "ranges"), RANGES)
def test_visibility_ranges(folder: Path, keys: list[tuple[float, float]], ranges: list[list[float]]) -> None:
    node = zrm.VisibilityNode("v")
    node.setArguments([(3, keys)])
    arguments = saved_node(node).arguments
    assert [(entry.argument, entry.ranges.tolist()) for entry in arguments] == ([(3, ranges)] if ranges else [])


def test_visibility_arguments_are_sorted_and_replaced(folder: Path) -> None:
    shown = [(0.0, 1.0)]
    node = zrm.VisibilityNode("v")
    node.setArguments([(9, shown)])
    node.setArguments([(7, shown), (-1, shown), (3, shown), (5, []), (2**32 - 2, shown)])
    assert [entry.argument for entry in saved_node(node).arguments] == [3, 7, NONE - 1, NONE]
    node.setArguments([])
    assert saved_node(node).arguments == []


def test_animation_base(folder: Path) -> None:
    node = zrm.AnimationNode("a")
    fresh = saved_node(node)
    assert fresh.base_rotation.tolist() == [0.0, 0.0, 0.0, 1.0] and fresh.base_scale.tolist() == [1.0, 1.0, 1.0]
    node = zrm.AnimationNode("a")
    node.setBasePosition((1.0, 0.1, 3.0))
    node.setBaseRotation((4.0, 1.0, 2.0, 3.0))  # w first
    node.setBaseScale((7.0, 8.0, 9.0))
    record = saved_node(node)
    assert record.base_position.tolist() == [1.0, *f32(0.1), 3.0]
    assert record.base_rotation.tolist() == [1.0, 2.0, 3.0, 4.0]
    assert record.base_scale.tolist() == [7.0, 8.0, 9.0]
    assert record.base_scale_rotation.tolist() == [0.0, 0.0, 0.0, 1.0]


# Keys (time, x) of a position channel and what is left of them.
SIMPLIFIED: list[tuple[list[tuple[float, float]], list[tuple[float, float]]]] = [
    ([], []),
    ([(5.0, 1.0)], [(5.0, 1.0)]),
    ([(0.0, 1.0), (1.0, 1.0)], [(0.0, 1.0)]),
    ([(0.0, 0.0), (0.5, 0.5), (1.0, 1.0)], [(0.0, 0.0), (1.0, 1.0)]),
    ([(1.0, 1.0), (0.0, 0.0), (0.5, 0.75)], [(0.0, 0.0), (0.5, 0.75), (1.0, 1.0)]),
    ([(0.0, 0.0), (1.0, 5.0), (2.0, 2.0), (10.0, 10.0)], [(0.0, 0.0), (1.0, 5.0), (10.0, 10.0)]),
    ([(0.0, 0.0), (1.0, 0.0001), (2.0, 0.0)], [(0.0, 0.0)]),
    ([(0.0, 0.0), (1.0, 0.00011), (2.0, 0.0)], [(0.0, 0.0), (1.0, f32(0.00011)[0]), (2.0, 0.0)]),
]


@pytest.mark.parametrize(("keys", "left"), SIMPLIFIED)
def test_channels_are_sorted_and_simplified(
    folder: Path, keys: list[tuple[float, float]], left: list[tuple[float, float]]
) -> None:
    given = [(time, (value, 2.0, -value)) for time, value in keys]
    expected = [(time, (value, 2.0, -value)) for time, value in left]
    node = zrm.AnimationNode("a")
    node.setPositionAnimation([(3, given)])
    node.setScaleAnimation([(4, given)])
    record = saved_node(node)
    assert [(c.argument, keys_of(c)) for c in record.position_channels] == [(3, expected)]
    assert [(c.argument, keys_of(c), len(c.rotation_keys)) for c in record.scale_channels] == [(4, expected, 0)]


def test_rotation_channels(folder: Path) -> None:
    node = zrm.AnimationNode("a")
    node.setRotationAnimation([(1, [(1.0, (-1.0, 0.0, 0.0, 0.0)), (0.0, (1.0, 0.0, 0.0, 0.0))]), (1, [])])
    first, second = saved_node(node).rotation_channels
    # q and -q are different keys; x, y, z, w in the file
    assert keys_of(first) == [(0.0, (0.0, 0.0, 0.0, 1.0)), (1.0, (0.0, 0.0, 0.0, -1.0))]
    assert (second.argument, keys_of(second)) == (1, [])

    half = math.sqrt(0.5)
    middle = (math.cos(math.pi / 8), math.sin(math.pi / 8), 0.0, 0.0)
    node.setRotationAnimation([(2, [(0.0, (1.0, 0.0, 0.0, 0.0)), (0.5, middle), (1.0, (half, half, 0.0, 0.0))])])
    (channel,) = saved_node(node).rotation_channels
    assert [time for time, _ in keys_of(channel)] == [0.0, 1.0]  # the middle follows from the ends along the arc


def test_animation_kinds_and_replacement(folder: Path) -> None:
    keys, turns = [(0.0, (1.0, 2.0, 3.0))], [(0.0, (1.0, 0.0, 0.0, 0.0))]

    def kind(position: bool, rotation: bool, scale: bool) -> str:
        node = zrm.AnimationNode("a")
        node.setPositionAnimation([(9, keys), (8, keys)])
        node.setRotationAnimation([(9, turns)])
        node.setScaleAnimation([(9, keys)])
        node.setPositionAnimation([(1, keys)] if position else [])
        node.setRotationAnimation([(2, turns)] if rotation else [])
        node.setScaleAnimation([(3, keys)] if scale else [])
        return str(saved_node(node).type_name)

    assert kind(True, False, False) == "model::ArgPositionNode"
    assert kind(False, True, False) == "model::ArgRotationNode"
    assert kind(False, False, True) == kind(False, False, False) == "model::ArgScaleNode"
    for mixed in ((True, True, False), (True, False, True), (False, True, True), (True, True, True)):
        assert kind(*mixed) == "model::ArgAnimationNode"


def test_keys_that_are_no_numbers(folder: Path) -> None:
    """Any order will do; every key is one that was given, first and last perhaps twice, and nothing runs wild."""
    times = [math.nan, 1.0, -math.inf, 0.0, math.nan, math.inf, 1.0, 0.0]
    keys = [(time, (float(i), math.nan, math.inf)) for i, time in enumerate(times)]
    node = zrm.AnimationNode("a")
    node.setPositionAnimation([(0, keys)])
    node.setRotationAnimation([(0, [(time, (math.nan, math.inf, 0.0, 1e30)) for time in times])])
    record = saved_node(node)
    assert 0 < len(record.position_channels[0].keys) <= len(keys) + 2
    assert {key["value"][0] for key in record.position_channels[0].keys} <= set(range(len(keys)))


def test_children(folder: Path) -> None:
    plain()
    model = zrm.Model()
    root = model.getRootTransform()
    a, b, c = zrm.Transform("a"), zrm.Bone("b"), zrm.Lod("c", [1.0])
    assert root.addChild(a) is a and root.addChild(b) is b
    assert a.addChild(c) is c  # a chain of calls goes down
    d = root.addChild(zrm.Node("d"))
    assert [n.name for n in save(model).nodes] == ["root", "a", "c", "b", "d"]
    b.addChild(a)  # moves with its subtree
    root.addChild(b)  # and within one parent to the end
    file = save(model)
    assert [(n.name, n.parent) for n in file.nodes] == [("root", -1), ("d", 0), ("b", 0), ("a", 2), ("c", 3)]
    assert d.getName() == "d"


def test_no_node_is_its_own_ancestor(folder: Path) -> None:
    a, b, c = zrm.Node("a"), zrm.Node("b"), zrm.Node("c")
    a.addChild(b).addChild(c)
    for above, below in ((a, a), (b, a), (c, a), (c, b)):
        with pytest.raises(ValueError, match="under itself"):
            above.addChild(below)
    plain()
    model = zrm.Model()
    model.getRootTransform().addChild(a)
    with pytest.raises(ValueError):
        c.addChild(model.getRootTransform())
    assert [n.name for n in save(model).nodes] == ["root", "a", "b", "c"]


@pytest.mark.parametrize("name", ["", "ä✓𝄞", "a\nb", "x" * 100_000, " "])
def test_names(folder: Path, name: str) -> None:
    node = zrm.Node(name)
    assert node.getName() == name and saved_node(node).name == name


def test_names_of_any_bytes(folder: Path) -> None:
    assert zrm.Node("a\0b").getName() == "a"
    odd = zrm.Node(b"\xff\xfe")
    with pytest.raises(UnicodeDecodeError):
        odd.getName()
    with pytest.raises(UnicodeDecodeError):
        repr(odd)
    plain()
    model = zrm.Model()
    model.getRootTransform().addChild(odd)
    assert model.save("model.zrm", 10) == ""
    assert b"\x02\0\0\0\xff\xfe" in Path("model.zrm").read_bytes()
    with pytest.raises(TypeError):
        zrm.Node("\ud800")
