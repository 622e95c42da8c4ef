"""Evaluation of ZRM files, against values worked out by hand and against plain loops."""

from __future__ import annotations

import math
import random
from typing import Any

import numpy as np
import pytest
from support.every_record import IDENTITY, MATERIAL, root
from support.record_bytes import NONE, UINT, Record
from support.small_files import (
    SKIN_FORMAT,
    animation,
    bone,
    lod,
    node,
    packed,
    render,
    skin,
    small,
    transform,
    vertex_format,
    visibility,
)
from zrm_inspect import Scene, evaluate, parse
from zrm_inspect.animation import property_at

S = math.sqrt(0.5)
TURN_X = (S, 0.0, 0.0, S)  # a quarter turn: y becomes z
TURN_Z = (0.0, 0.0, S, S)  # a quarter turn: x becomes y
Point = tuple[float, float, float]


def moved(x: float = 0, y: float = 0, z: float = 0) -> list[list[float]]:
    return [*IDENTITY[:3], [x, y, z, 1.0]]


def upper(*rows: float) -> list[list[float]]:
    return [[*rows[0:3], 0], [*rows[3:6], 0], [*rows[6:9], 0], [0, 0, 0, 1]]


def points(world: Any, *given: Point) -> list[list[float]]:
    return [np.round(np.array([*p, 1.0]) @ world, 6)[:3].tolist() for p in given]


def world_of(writer: Record, arguments: dict[int, float] | None = None, handles: int = 0) -> Any:
    return evaluate(parse(small([(-1, writer)], handles)), arguments or {}).world[0]


# ---------------------------------------------------------------- animation nodes

ANIMATION, POSITION, ROTATION, SCALE = (
    f"Arg{kind}Node" for kind in ("Animation", "Position", "Rotation", "Scale")
)

LOCAL: list[tuple[str, Record, int, dict[int, float], Point, Point]] = [
    ("nothing", animation(SCALE), 0, {}, (1, 2, 3), (1, 2, 3)),
    (
        # (1, 0, 0) is scaled to (2, 0, 0), turned to (0, 2, 0), moved to (10, 2, 0), and the base matrix adds 5.
        "scale, rotation, position, matrix",
        animation(SCALE, matrix=moved(0, 0, 5), base_position=(10, 0, 0), base_rotation=TURN_Z, base_scale=(2, 1, 1)),
        0,
        {},
        (1, 0, 0),
        (10, 2, 5),
    ),
    (
        # The scale's axes are turned by a quarter: the factor of x works on y.
        "axes of the scale",
        animation(SCALE, base_scale_rotation=TURN_Z, base_scale=(2, 1, 1)),
        0,
        {},
        (1, 1, 1),
        (1, 2, 1),
    ),
    (
        "scale channel with axes, before the base scale",
        animation(SCALE, scales=[(0, [(0, *TURN_Z)], [(0, 2, 1, 1)])], base_scale=(3, 1, 1)),
        1,
        {},
        (1, 1, 1),
        (3, 2, 1),
    ),
    (
        "first channel first: y to z, which the second one leaves",
        animation(ROTATION, rotations=[(0, [(0, *TURN_X)]), (0, [(0, *TURN_Z)])]),
        1,
        {},
        (0, 1, 0),
        (0, 0, 1),
    ),
    (
        "the base rotation comes behind the channels",
        animation(ROTATION, rotations=[(0, [(0, *TURN_Z)])], base_rotation=TURN_X),
        1,
        {},
        (1, 0, 0),
        (0, 0, 1),
    ),
    (
        "positions add up, also on one argument",
        animation(POSITION, [(0, [(1, 5, 6, 7), (2, 0, 0, 0)]), (0, [(0, 1, 1, 1)])], base_position=(1, 0, 0)),
        1,
        {},
        (0, 0, 0),
        (7, 7, 8),
    ),
    ("between keys", animation(POSITION, [(4, [(1, 0, 0, 0), (3, 8, 4, 0)])]), 5, {4: 1.5}, (0, 0, 0), (2, 1, 0)),
    ("behind the last", animation(POSITION, [(4, [(1, 0, 0, 0), (3, 8, 4, 0)])]), 5, {4: 9}, (0, 0, 0), (8, 4, 0)),
    (
        "equal times: the later value holds from there on",
        animation(POSITION, [(0, [(0, 0, 0, 0), (1, 1, 0, 0), (1, 5, 0, 0), (2, 7, 0, 0)])]),
        1,
        {0: 1.5},
        (0, 0, 0),
        (6, 0, 0),
    ),
    (
        # A third of a quarter turn is 30 degrees.
        "spherical",
        animation(ROTATION, rotations=[(0, [(0, 0, 0, 0, 1), (3, *TURN_Z)])]),
        1,
        {0: 1},
        (2, 0, 0),
        (round(math.sqrt(3), 6), 1, 0),
    ),
    (
        "the shorter way: the second key is the negated quarter turn",
        animation(ROTATION, rotations=[(0, [(0, 0, 0, 0, 1), (3, 0, 0, -S, -S)])]),
        1,
        {0: 1},
        (2, 0, 0),
        (round(math.sqrt(3), 6), 1, 0),
    ),
    (
        "an empty channel repeats the one before",
        animation(POSITION, [(0, []), (0, [(0, 1, 2, 3)]), (0, [])]),
        1,
        {},
        (0, 0, 0),
        (2, 4, 6),
    ),
    ("an empty scale channel in front flattens", animation(SCALE, scales=[(0, [], [])]), 1, {}, (1, 2, 3), (0, 0, 0)),
    (
        "quaternions of any length turn alike",
        animation(SCALE, base_rotation=(0, 0, 3, 3)),
        0,
        {},
        (1, 0, 0),
        (0, 1, 0),
    ),
    (
        "a quaternion of no length leaves no direction",
        animation(SCALE, base_position=(1, 2, 3), base_rotation=(0, 0, 0, 0)),
        0,
        {},
        (5, 5, 5),
        (1, 2, 3),
    ),
]


@pytest.mark.parametrize("case", LOCAL, ids=[case[0] for case in LOCAL])
def test_local_matrix(case: tuple[str, Record, int, dict[int, float], Point, Point]) -> None:
    _, writer, handles, arguments, given, expected = case
    assert points(world_of(writer, arguments, handles), given) == [list(expected)]


def test_arguments_are_32_bit() -> None:
    """0.1 as f32 is 0.1000000015, which lies behind a step that 0.1 itself has before it."""
    steps = [(0, 0, 0, 0), (0.1, 0, 0, 0), (0.100000001, 9, 0, 0), (1, 9, 0, 0)]
    assert points(world_of(animation(POSITION, [(0, steps)]), {0: 0.1}, 1), (0, 0, 0)) == [[9, 0, 0]]


def test_properties() -> None:
    """Static, argument and animated values of a material."""
    def animated(form: str, name: str, *keys: Any) -> Any:
        return (f"model::AnimatedProperty<{form}>", name, 1, keys)

    driven = [
        ("model::ArgumentProperty", "argument", 1),
        animated("float", "one", (0, [1]), (1, [3])),
        animated("osg::Vec2f", "two", (0, [1, 2]), (1, [3, 6])),
        animated("float", "empty"),
    ]
    uniforms = [(UINT, "u", 7), ("model::Property<const char*>", "s", "text")]
    form = vertex_format(POSITION0=4, NORMAL0=3, TEXCOORD0=2)
    top = root([MATERIAL | {"vertex_format": form, "uniforms": uniforms, "animated_uniforms": driven}], 2)
    (made,) = parse(small([(-1, node())], root=top, render_nodes=[render()])).materials
    got = [property_at(p, {1: 0.5}) for p in (*made.uniforms, *made.animated_uniforms)]
    assert got == [7, "text", 0.5, 2.0, (2.0, 4.0), None]


# ---------------------------------------------------------------- the tree


def test_child_before_parent() -> None:
    """A point goes through the child's matrix first: out along x, then around z."""
    file = parse(small([(-1, transform(upper(0, 1, 0, -1, 0, 0, 0, 0, 1))), (0, node()), (1, transform(moved(1)))]))
    assert points(evaluate(file, {}).world[2], (0, 0, 0), (1, 0, 0)) == [[0, 1, 0], [0, 2, 0]]


def test_random_trees_against_a_plain_loop() -> None:
    choose = random.Random(5)
    for count in (1, 2, 7, 64, 300):
        chain: list[int] = []
        nodes: list[tuple[int, Record]] = []
        for index in range(count):
            # A pre-order tree: climb some steps from the last node, then hang the new one there.
            for _ in range(choose.choice((0, 0, 0, 1, 2, 5))):
                if len(chain) > 1:
                    chain.pop()
            hidden = choose.random() < 0.05
            matrix = [[choose.uniform(-1, 1) for _ in range(4)] for _ in range(4)]
            nodes.append((chain[-1] if chain else -1, visibility((0, [(1, 2)])) if hidden else transform(matrix)))
            chain.append(index)
        file = parse(small(nodes, handles=int(any("arguments" in record for _, record in nodes))))
        scene = evaluate(file, {})
        for index, entry in enumerate(file.nodes):
            own: Any = getattr(entry, "matrix", np.eye(4))
            shown = not hasattr(entry, "arguments")
            if entry.parent >= 0:
                own = own @ scene.world[entry.parent]
                shown = shown and bool(scene.visible[entry.parent])
            assert np.allclose(scene.world[index], own, rtol=1e-9, atol=1e-12)
            assert scene.visible[index] == shown


SHOWN = [  # value of argument 0, of argument 1, whether the node is visible
    (0.0, 0.0, True),
    (0.5, 0.0, False),  # the end of a range is open
    (0.8, 0.0, True),  # ranges of one argument: any
    (0.0, 1.0, False),  # arguments: all
    (-0.1, 0.0, False),
]


@pytest.mark.parametrize("first, second, shown", SHOWN)
def test_visibility(first: float, second: float, shown: bool) -> None:
    nodes = [(-1, node()), (0, visibility((0, [(0, 0.5), (0.75, 1)]), (1, [(0, 1)]))), (1, transform()), (0, node())]
    scene = evaluate(parse(small(nodes, 2)), {0: first, 1: second})
    assert scene.visible.tolist() == [True, shown, shown, True]


def test_visibility_without_ranges() -> None:
    assert evaluate(parse(small([(-1, visibility())])), {}).visible.tolist() == [True]
    assert evaluate(parse(small([(-1, visibility((0, [])))], 1)), {}).visible.tolist() == [False]


def test_lod_ranges() -> None:
    nodes = [(-1, node()), (0, lod((0, 100), (100, 400))), (1, node()), (2, node()), (1, node()), (4, lod((1, 2)))]
    nodes += [(5, node()), (1, node())]
    scene = evaluate(parse(small(nodes)), {})
    assert scene.lod_ranges(0) == [] and scene.lod_ranges(3) == [(1, 0, 100)]
    assert scene.lod_ranges(6) == [(5, 1, 2), (1, 100, 400)]
    assert scene.lod_ranges(7) == []  # a third child of two levels


# ---------------------------------------------------------------- meshes


def mesh_scene(
    nodes: list[tuple[int, Record]],
    member: Record,
    form: list[int] | None = None,
    arguments: dict[int, float] | None = None,
    handles: int = 0,
) -> Scene:
    more = {"form": form} if form is not None else {}
    return evaluate(parse(small(nodes, handles, render_nodes=[member], **more)), arguments or {})


def test_parents_by_vertex() -> None:
    """The fourth float is rounded half up to the number of the parent entry; each part has its own visibility."""
    rows = [[1, 0, 0, w, 0, 0, 1, u, 0] for u, w in enumerate((0, 0.4, -0.3, 0.5, 1, 1.4))]
    nodes = [(-1, node()), (0, transform(moved(10))), (0, visibility((3, [(0, 1)]))), (2, transform(moved(0, 20)))]
    scene = mesh_scene(nodes, render([(1, NONE), (3, 2)], rows, range(6)), None, {3: 1}, 4)
    (mesh,) = scene.meshes
    assert mesh.parts.tolist() == [0, 0, 0, 1, 1, 1]
    assert mesh.positions.tolist() == [[11, 0, 0]] * 3 + [[1, 20, 0]] * 3
    assert mesh.controls.tolist() == [1, 3] and mesh.arguments.tolist() == [NONE, 2]
    assert mesh.visible.tolist() == [True, False] and mesh.triangle_visible.tolist() == [True, False]
    assert mesh.triangles.tolist() == [[0, 1, 2], [3, 4, 5]]
    assert mesh.uvs[0][:, 0].tolist() == [0, 1, 2, 3, 4, 5]
    channel = mesh.uv_of("albedo")
    assert channel is mesh.uvs[0] and mesh.uv_of("normal") is None


def test_many_parents_in_chunks() -> None:
    """More vertices than are moved at a time, each of another parent than its neighbour."""
    count, parts = 70_000, 7
    nodes = [(-1, node())] + [(0, transform(moved(100 * k))) for k in range(parts)]
    rows = [[k // parts, 1, 2, k % parts] for k in range(count)]
    form = vertex_format(POSITION0=4)
    (mesh,) = mesh_scene(nodes, render([(k + 1, NONE) for k in range(parts)], rows, [0, 1, 2]), form).meshes
    numbers = np.arange(count)
    assert np.array_equal(mesh.positions[:, 0], numbers // parts + 100.0 * (numbers % parts))
    assert mesh.normals is None


NORMALS = [  # the upper 3 by 3 rows, a normal, what becomes of it
    ((2, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (0.6, 0.8, 0)),  # scale along the axes is taken out first
    ((0, 5, 0, -5, 0, 0, 0, 0, 5), (1, 0, 0), (0, 1, 0)),
    ((-1, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (-0.6, 0.8, 0)),
    ((0, 0, 0, 0, 1, 0, 0, 0, 1), (0.6, 0.8, 0), (0.6, 0.8, 0)),  # flat: directions stay
    # Columns (1, 0, 0) and (1, 1, 0) / sqrt(2): the inverse transpose has the rows (1, 0, 0) and (-1, sqrt(2), 0).
    ((1, 1, 0, 0, 1, 0, 0, 0, 1), (0, 1, 0), (-1 / math.sqrt(3), math.sqrt(2 / 3), 0)),
]


@pytest.mark.parametrize("rows, normal, expected", NORMALS)
def test_normals(rows: tuple[float, ...], normal: Point, expected: Point) -> None:
    mesh_rows: list[list[float]] = [[0, 0, 0, 0, *normal, 0, 0], [0, 0, 0, 0, 0, 0, 0, 0, 0]]
    (mesh,) = mesh_scene([(-1, transform(upper(*rows)))], render(rows=mesh_rows, triangles=[0, 0, 0])).meshes
    assert mesh.normals is not None and mesh.normals[0] == pytest.approx(expected, abs=1e-6)
    assert mesh.normals[1].tolist() == [0, 0, 0]


def test_skin() -> None:
    """Bones take rest space to world space; what has no weight may name any bone; entry 0 is a bone like the others."""
    rows = [
        [1, 0, 0, packed(0, 1, 9, 9), 0, 0, 1, 0.25, 0.75, 0, 0],
        [1, 0, 0, packed(2, 0, 0, 0), 0, 0, 1, 1, 0, 0, 0],
        [1, 0, 0, packed(0, 0, 0, 1), 1, 0, 0, 0, 0, 0, 1],
    ]
    nodes = [
        (-1, transform(moved(0, 0, 100))),
        (0, bone(moved(0, 0, 0), moved(0, 0, -100))),  # at its rest pose: leaves points where they are
        (0, bone(moved(8, 0, 0), moved(0, 0, -100))),  # 8 along x from its rest pose
        (0, bone(upper(0, 1, 0, -1, 0, 0, 0, 0, 1), moved(1, 0, -100))),  # a quarter turn, 1 off its rest pose
    ]
    scene = mesh_scene(nodes, skin([1, 2, 3], rows), SKIN_FORMAT)
    (mesh,) = scene.meshes
    assert mesh.positions.tolist() == [[7, 0, 0], [0, 2, 0], [9, 0, 0]]
    assert mesh.normals is not None and mesh.normals.tolist() == [[0, 0, 1], [0, 0, 1], [1, 0, 0]]
    assert mesh.controls.tolist() == [1] and mesh.triangles.tolist() == [[0, 1, 2]]


def test_skin_on_animated_bones() -> None:
    keys = [(0, 0, 0, 0), (1, 4, 0, 0)]
    nodes = [(-1, bone()), (0, animation("ArgAnimatedBone", [(2, keys)], matrix=moved(1), inverted_base_bone_matrix=moved(-1)))]
    rows = [[x, 0, 0, packed(1, 0, 0, 0), 0, 0, 1, 1, 0, 0, 0] for x in range(3)]
    (mesh,) = mesh_scene(nodes, skin([0, 1], rows), SKIN_FORMAT, {2: 0.5}, 3).meshes
    assert mesh.positions[:, 0].tolist() == [2, 3, 4]


def test_skin_without_weights() -> None:
    form = vertex_format(POSITION0=4)
    nodes = [(-1, bone()), (0, bone(moved(5)))]
    (mesh,) = mesh_scene(nodes, skin([0, 1], [[0, 0, 0, packed(1, 0, 0, 0)]], [0, 0, 0]), form).meshes
    assert mesh.positions.tolist() == [[5, 0, 0]]


UNUSABLE = [
    ("index", render(triangles=[0, 1, 3]), None, "index 3 of 3"),
    ("parent", render(rows=[[0, 0, 0, 1] + [0] * 5] * 3), None, "vertex of parent 1 of 1"),
    ("parent that is no number", render(rows=[[0, 0, 0, math.nan] + [0] * 5] * 3), None, "vertex of parent -1 of 1"),
    ("bone", skin([0], [[0, 0, 0, packed(1, 0, 0, 0), 0, 0, 1, 1, 0, 0, 0]] * 3), SKIN_FORMAT, "vertex of bone 1 of 1"),
    ("position", render(rows=[[0, 0]] * 3), vertex_format(POSITION0=2), "a position of 2 floats"),
    ("normal", render(rows=[[0] * 5] * 3), vertex_format(POSITION0=4, NORMAL0=1), "a direction of 1 floats"),
]


@pytest.mark.parametrize("member, form, text", [case[1:] for case in UNUSABLE], ids=[case[0] for case in UNUSABLE])
def test_unusable_meshes(member: Record, form: list[int] | None, text: str) -> None:
    with pytest.raises(ValueError, match=text):
        mesh_scene([(-1, bone())], member, form)


def test_mesh_without_vertices() -> None:
    empty = parse(small([(-1, node())], render_nodes=[render([], [], [])]))
    assert evaluate(empty, {}).meshes == []
