"""Evaluation of files by values worked out by hand. That matrices follow the writer's own is seen in test_passes.py."""

import math

import numpy as np
import pytest
from support.every_record import IDENTITY
from support.small_files import animation, lod, node, render, small, transform, visibility
from zrm_inspect import evaluate, parse

S = math.sqrt(0.5)
TURN_X, TURN_Z = (S, 0.0, 0.0, S), (0.0, 0.0, S, S)  # quarter turns: y becomes z, x becomes y
ARC = (round(math.sqrt(3), 6), 1, 0)  # (2, 0, 0), turned by 30 degrees
POSITION, ROTATION, SCALE = (f"Arg{kind}Node" for kind in ("Position", "Rotation", "Scale"))


moved = lambda x=0, y=0, z=0: [*IDENTITY[:3], [x, y, z, 1.0]]


LOCAL = [  # a node, the value of argument 0, a point and where it goes
    # (1, 0, 0) is scaled to (2, 0, 0), turned to (0, 2, 0), moved to (10, 2, 0), and the base matrix adds 5.
    (animation(SCALE, matrix=moved(0, 0, 5), base_position=(10, 0, 0), base_rotation=TURN_Z, base_scale=(2, 1, 1)), 0,
     (1, 0, 0), (10, 2, 5)),
    # The scale's axes are turned by a quarter: the factor of x works on y; channels come before the base.
    (animation(SCALE, base_scale_rotation=TURN_Z, base_scale=(2, 1, 1)), 0, (1, 1, 1), (1, 2, 1)),
    (animation(SCALE, scales=[(0, [(0, *TURN_Z)], [(0, 2, 1, 1)])], base_scale=(3, 1, 1)), 0, (1, 1, 1), (3, 2, 1)),
    (animation(ROTATION, rotations=[(0, [(0, *TURN_X)]), (0, [(0, *TURN_Z)])]), 0, (0, 1, 0), (0, 0, 1)),
    (animation(ROTATION, rotations=[(0, [(0, *TURN_Z)])], base_rotation=TURN_X), 0, (1, 0, 0), (0, 0, 1)),
    (animation(POSITION, [(0, [(1, 5, 6, 7), (2, 0, 0, 0)]), (0, [(0, 1, 1, 1)])], base_position=(1, 0, 0)), 0,
     (0, 0, 0), (7, 7, 8)), (animation(POSITION, [(0, [(1, 0, 0, 0), (3, 8, 4, 0)])]), 1.5, (0, 0, 0), (2, 1, 0)),
    (animation(POSITION, [(0, [(1, 0, 0, 0), (3, 8, 4, 0)])]), 9, (0, 0, 0), (8, 4, 0)),
    # Equal times: the later value holds from there on.
    (animation(POSITION, [(0, [(0, 0, 0, 0), (1, 1, 0, 0), (1, 5, 0, 0), (2, 7, 0, 0)])]), 1.5, (0, 0, 0), (6, 0, 0)),
    # 0.1 in 32 bits lies behind a step that 0.1 itself has before it.
    (animation(POSITION, [(0, [(0.1, 0, 0, 0), (0.100000001, 9, 0, 0), (1, 9, 0, 0)])]), 0.1, (0, 0, 0), (9, 0, 0)),
    # Spherical, the shorter way.
    (animation(ROTATION, rotations=[(0, [(0, 0, 0, 0, 1), (3, *TURN_Z)])]), 1, (2, 0, 0), ARC),
    (animation(ROTATION, rotations=[(0, [(0, 0, 0, 0, 1), (3, 0, 0, -S, -S)])]), 1, (2, 0, 0), ARC),
    # A channel without keys repeats the one before; the first one flattens.
    (animation(POSITION, [(0, []), (0, [(0, 1, 2, 3)]), (0, [])]), 0, (0, 0, 0), (2, 4, 6)),
    (animation(SCALE, scales=[(0, [], [])]), 0, (1, 2, 3), (0, 0, 0)),
    # Quaternions of any length turn alike; one of no length leaves no direction.
    (animation(SCALE, base_rotation=(0, 0, 3, 3)), 0, (1, 0, 0), (0, 1, 0)),
    (animation(SCALE, base_position=(1, 2, 3), base_rotation=(0, 0, 0, 0)), 0, (5, 5, 5), (1, 2, 3))]  # fmt: skip


@pytest.mark.parametrize("record, value, point, expected", LOCAL)
def test_local_matrix(record, value, point, expected):
    handles = int(any(record[kind + "_channels"] for kind in ("position", "rotation", "scale")))
    world = evaluate(parse(small([(-1, record)], handles)), {0: value}).world[0]
    assert np.round([*point, 1.0] @ world, 6)[:3].tolist() == list(expected)


@pytest.mark.parametrize("first, second, shown", [
    (0.0, 0.0, True), (0.5, 0.0, False), (0.8, 0.0, True), (0.0, 1.0, False), (-0.1, 0.0, False)])  # fmt: skip
def test_visibility(first, second, shown):
    """Any of an argument's ranges, each open at its end; all of the arguments."""
    nodes = [(-1, node()), (0, visibility((0, [(0, 0.5), (0.75, 1)]), (1, [(0, 1)]))), (1, transform()), (0, visibility())]
    nodes += [(0, visibility((0, [])))]
    assert evaluate(parse(small(nodes, 2)), {0: first, 1: second}).visible.tolist() == [True, shown, shown, True, False]


def test_lod_ranges():
    nodes = [(-1, node()), (0, lod((0, 100), (100, 400))), (1, node()), (2, node()), (1, node()), (4, lod((1, 2)))]
    scene = evaluate(parse(small([*nodes, (5, node()), (1, node())])), {})
    found = [scene.lod_ranges(k) for k in (0, 3, 6, 7)]  # the last one is a third child of two levels
    assert found == [[], [(1, 0, 100)], [(5, 1, 2), (1, 100, 400)], []]


NORMALS = [  # the upper 3 by 3 rows, a normal, what becomes of it
    ((2, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (0.6, 0.8, 0)),  # scale along the axes is taken out first
    ((-1, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (-0.6, 0.8, 0)),
    ((0, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (0.6, 0.8, 0)),  # flat: directions stay
    # Columns (1, 0, 0) and (1, 1, 0) / sqrt(2): the inverse transpose has the rows (1, 0, 0) and (-1, sqrt(2), 0).
    ((1, 1, 0, 0, 1, 0, 0, 0, 1), (0, 1, 0), (-1 / math.sqrt(3), math.sqrt(2 / 3), 0))]  # fmt: skip


@pytest.mark.parametrize("upper, normal, expected", NORMALS)
def test_normals(upper, normal, expected):
    matrix = [[*upper[k : k + 3], 0] for k in (0, 3, 6)] + [[0, 0, 0, 1]]
    rows = [[0, 0, 0, 0, *normal, 0, 0], [0] * 9]
    (mesh,) = evaluate(parse(small([(-1, transform(matrix))], render_nodes=[render(rows=rows, triangles=[0, 0, 0])])), {}).meshes
    assert mesh.normals is not None and mesh.normals[0] == pytest.approx(expected, abs=1e-6)
    assert mesh.normals[1].tolist() == [0, 0, 0]
