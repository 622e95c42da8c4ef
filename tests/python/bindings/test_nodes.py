"""The tree's nodes where a call does more than store: ranges, keys, places, names."""

from __future__ import annotations

import math
from pathlib import Path
from typing import Any

import pytest
import pyzrm_313 as zrm
from support.arguments import IDENTITY
from support.quick import f32, save, saved
from support.record_bytes import NONE
from support.scripted import plain

MATRIX = [(1.5, 2.0, 3.0, 5.0), (4.0, 5.5, 6.0, 6.0), (7.0, 8.0, 9.5, 7.0), (0.25, 0.5, 0.75, 1.0)]
INVERTED = [tuple(-value for value in column) for column in MATRIX]


def keys_of(channel: Any) -> list[tuple[float, tuple[float, ...]]]:
    return [(float(key["time"]), tuple(key["value"].tolist())) for key in channel.keys]


def test_matrices_of_constructors(folder: Path) -> None:
    for node, *expected in (
        (zrm.Transform("t", MATRIX), MATRIX),
        (zrm.Bone("b", MATRIX), MATRIX, IDENTITY),
        (zrm.Bone("b", MATRIX, INVERTED), MATRIX, INVERTED),
    ):
        record = saved(node)
        found = [record.matrix] + ([record.inverted_base_bone_matrix] if len(expected) > 1 else [])
        assert [[tuple(column) for column in matrix.T.tolist()] for matrix in found] == expected
    wide = saved(zrm.Transform("t", [(0.1, 1e300, -1e300, math.nan)] * 4)).matrix[:, 0].tolist()
    assert wide[:3] == [f32(0.1), math.inf, -math.inf] and math.isnan(wide[3])


@pytest.mark.parametrize("count", range(4))
def test_short_matrices_are_refused(folder: Path, count: int) -> None:
    node = zrm.Bone("b", MATRIX, INVERTED)
    for call in (
        lambda short: zrm.Transform("t", short),
        lambda short: zrm.Bone("b", short),
        lambda short: zrm.Bone("b", MATRIX, short),
        zrm.AnimationNode("a").setBaseMatrix,
        node.setMatrix,
        node.setInvertedBaseBoneMatrix,
    ):
        with pytest.raises(ValueError, match="four tuples"):
            call(MATRIX[:count])
    assert [tuple(column) for column in saved(node).matrix.T.tolist()] == MATRIX


RANGES: list[tuple[list[tuple[float, float]], list[list[float]]]] = [
    ([], []),
    ([(0.25, 1.0)], [[-1.0, 1.0]]),
    ([(0.25, 0.5)], [[-1.0, 1.0]]),
    ([(0.25, 0.0)], []),
    ([(0.25, math.nan)], []),
    ([(0.0, 0.0), (0.25, 1.0), (0.5, 0.0), (0.75, 1.0)], [[0.25, 0.5], [0.75, 1.0001]]),
    ([(0.0, 1.0), (2.0, 1.0)], [[0.0, 1.0001]]),
    ([(0.0, 0.0), (1.0, 1.0)], [[1.0, 1.0001]]),
    ([(0.0, 0.0), (1.5, 1.0)], []),
    ([(0.0, 0.49), (0.5, 0.51), (0.75, 0.5), (1.0, 0.4999)], [[0.5, 1.0]]),
    ([(0.0, 1.0), (0.5, 0.0), (0.25, 1.0), (0.75, 0.0)], [[0.0, 0.75]]),  # overlapping ranges merge
    ([(0.0, 1.0), (0.5, 0.0), (0.5, 1.0), (0.75, 0.0)], [[0.0, 0.5], [0.5, 0.75]]),  # touching ones do not
]


@pytest.mark.parametrize(("keys", "ranges"), RANGES)
def test_visibility_ranges(folder: Path, keys: list[tuple[float, float]], ranges: list[list[float]]) -> None:
    node = zrm.VisibilityNode("v")
    node.setArguments([(9, [(0.0, 1.0)])])
    node.setArguments([(3, keys), (-1, [(0.0, 1.0)]), (2, [])])
    found = [(entry.argument, entry.ranges.tolist()) for entry in saved(node).arguments]
    assert found == ([(3, ranges)] if ranges else []) + [(NONE, [[-1.0, 1.0]])]


# Keys (time, x) of a channel and what is left of them.
SIMPLIFIED: list[tuple[list[tuple[float, float]], list[tuple[float, float]]]] = [
    ([], []),
    ([(5.0, 1.0)], [(5.0, 1.0)]),
    ([(0.0, 1.0), (1.0, 1.0)], [(0.0, 1.0)]),
    ([(0.0, 0.0), (0.5, 0.5), (1.0, 1.0)], [(0.0, 0.0), (1.0, 1.0)]),
    ([(1.0, 1.0), (0.0, 0.0), (0.5, 0.75)], [(0.0, 0.0), (0.5, 0.75), (1.0, 1.0)]),
    ([(0.0, 0.0), (1.0, 5.0), (2.0, 2.0), (10.0, 10.0)], [(0.0, 0.0), (1.0, 5.0), (10.0, 10.0)]),
    ([(0.0, 0.0), (1.0, 0.00009), (2.0, 0.0)], [(0.0, 0.0)]),
    ([(0.0, 0.0), (1.0, 0.00011), (2.0, 0.0)], [(0.0, 0.0), (1.0, f32(0.00011)), (2.0, 0.0)]),
]


@pytest.mark.parametrize(("keys", "left"), SIMPLIFIED)
def test_channels_are_sorted_and_simplified(folder: Path, keys: Any, left: Any) -> None:
    given = [(time, (value, 2.0, -value)) for time, value in keys]
    expected = [(time, (value, 2.0, -value)) for time, value in left]
    node = zrm.AnimationNode("a")
    node.setPositionAnimation([(9, given), (8, given)])
    node.setPositionAnimation([(3, given)])
    node.setScaleAnimation([(4, given)])
    record = saved(node)
    assert [(c.argument, keys_of(c)) for c in record.position_channels] == [(3, expected)]
    assert [(c.argument, keys_of(c), len(c.rotation_keys)) for c in record.scale_channels] == [(4, expected, 0)]


def test_rotation_channels(folder: Path) -> None:
    node = zrm.AnimationNode("a")
    half, middle = math.sqrt(0.5), (math.cos(math.pi / 8), math.sin(math.pi / 8), 0.0, 0.0)
    node.setRotationAnimation([
        (1, [(1.0, (-1.0, 0.0, 0.0, 0.0)), (0.0, (1.0, 0.0, 0.0, 0.0))]),
        (2, [(0.0, (1.0, 0.0, 0.0, 0.0)), (0.5, middle), (1.0, (half, half, 0.0, 0.0))]),
    ])  # fmt: skip
    turned, arc = saved(node).rotation_channels
    # q and -q are different keys; the middle of the other one follows from its ends along the arc
    assert keys_of(turned) == [(0.0, (0.0, 0.0, 0.0, 1.0)), (1.0, (0.0, 0.0, 0.0, -1.0))]
    assert [time for time, _ in keys_of(arc)] == [0.0, 1.0]


def test_keys_that_are_no_numbers(folder: Path) -> None:
    """Any order will do; every key is one that was given, first and last perhaps twice, and nothing runs wild."""
    times = [math.nan, 1.0, -math.inf, 0.0, math.nan, math.inf, 1.0, 0.0]
    keys = [(time, (float(i), math.nan, math.inf)) for i, time in enumerate(times)]
    node = zrm.AnimationNode("a")
    node.setPositionAnimation([(0, keys)])
    node.setRotationAnimation([(0, [(time, (math.nan, math.inf, 0.0, 1e30)) for time in times])])
    record = saved(node)
    assert 0 < len(record.position_channels[0].keys) <= len(keys) + 2
    assert {key["value"][0] for key in record.position_channels[0].keys} <= set(range(len(keys)))


def test_children_move(folder: Path) -> None:
    plain()
    model = zrm.Model()
    root = model.getRootTransform()
    a, b, c = zrm.Transform("a"), zrm.Bone("b"), zrm.Lod("c", [1.0])
    for parent, child in ((root, a), (root, b), (a, c), (root, zrm.Node("d"))):
        assert parent.addChild(child) is child
    b.addChild(a)  # moves with its subtree
    root.addChild(b)  # and within one parent to the end
    for above, below in ((a, a), (a, b), (c, b), (c, root)):
        with pytest.raises(ValueError, match="under itself"):
            above.addChild(below)
    found = [(node.name, node.parent) for node in save(model).nodes]
    assert found == [("root", -1), ("d", 0), ("b", 0), ("a", 2), ("c", 3)]


@pytest.mark.parametrize("name", ["", "ä✓𝄞", "a\nb", "x" * 100_000])
def test_names(folder: Path, name: str) -> None:
    node = zrm.Node(name)
    assert node.getName() == name and saved(node).name == name


def test_names_of_any_bytes(folder: Path) -> None:
    assert zrm.Node("a\0b").getName() == "a"
    odd = zrm.Node(b"\xff\xfe")
    for call in (odd.getName, lambda: repr(odd)):
        with pytest.raises(UnicodeDecodeError):
            call()
    assert saved(odd).name == "\udcff\udcfe"


def test_handles(folder: Path) -> None:
    for given, stored in ((0, 0), (2**32 - 1, NONE), (-1, NONE), (-(2**31), 2**31), (True, 1)):
        light = zrm.OmniLight("l")
        light.setBrightness(zrm.PropertyFloat(given, []))
        assert saved(light).brightness.argument == stored
