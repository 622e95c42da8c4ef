"""The box around everything: nothing leaves it at any moment of any clip, and it is not much larger than it must be."""

import numpy as np
import pytest
import zrm_inspect
import zrm_scene
from zrm_inspect.evaluate import evaluate
from zrm_scene import Clip, Driven, Mesh, Mode, Moves, Node, Shape, Skin, Surface, Track

MOMENTS = np.unique(np.concatenate([np.linspace(0, 0.125, 60), np.linspace(0.125, 1, 700)]))


def quaternions(axis, angles):
    axis = np.array(axis, float) / np.linalg.norm(axis)
    half = np.array(angles, float)[:, None] / 2
    return np.hstack([np.sin(half) * axis, np.cos(half)])


def wide_turns(rng):
    """Three arms in a chain, each turning by nearly half a turn from key to key, under a scale that grows."""
    clips, nodes = [Clip(0, "a", 0.0, 4.0), Clip(1, "b", 1.0, 3.0)], []
    for k in range(3):
        node = Node(f"arm {k}", nodes[-1] if nodes else None, translation=(3.0, 0.5 * k, 0.0))
        turns = quaternions(rng.normal(size=3), np.cumsum(rng.uniform(-3.0, 3.0, 5)))
        node.moves = Moves(rotation=[Driven(clips[0], Track(Mode.LINEAR, np.arange(5.0), turns, True))])
        nodes.append(node)
    sizes = np.array([[1, 1, 1], [2, 0.5, 3], [1, 1, 1.0]])
    assert nodes[0].moves is not None
    nodes[0].moves.scale = [Driven(clips[1], Track(Mode.LINEAR, np.array([1.0, 2.0, 3.0]), sizes, False))]
    return nodes, clips


def curves(rng):
    """A cubic path that swings far out between its keys, beside jumps."""
    clip = Clip(0, "", 0.0, 3.0)
    one, two = Node("curve"), Node("jumps")
    values, tangents = rng.normal(size=(4, 3)), rng.normal(size=(4, 3)) * 20
    one.moves = Moves(translation=[Driven(clip, Track(Mode.CUBIC, np.arange(4.0), values, False, tangents, tangents))])
    two.moves = Moves(translation=[Driven(clip, Track(Mode.STEP, np.arange(4.0), rng.normal(size=(4, 3)) * 9, False))])
    return [one, two], [clip]


@pytest.mark.parametrize("seed", range(4))
@pytest.mark.parametrize("skinned", [False, True], ids=["rigid", "skinned"])
@pytest.mark.parametrize("build", [wide_turns, curves])
def test_nothing_leaves_the_box(build, skinned, seed, folder):
    rng = np.random.default_rng(seed)
    nodes, clips = build(rng)
    points = rng.normal(size=(8, 3)).astype(np.float32)
    mesh = Mesh(points, np.array([[0, 1, 2], [3, 4, 5], [5, 6, 7]], np.uint32), np.ones_like(points))
    if skinned:
        skin = Skin("skin", nodes, np.tile(np.eye(4), (len(nodes), 1, 1)))
        mesh.joints, mesh.weights = rng.integers(0, len(nodes), (8, 4)), rng.dirichlet(np.ones(4), 8)
        nodes[0].shapes.append(Shape(mesh, Surface("skin"), skin=skin))
    else:
        for node in nodes:
            node.shapes.append(Shape(mesh, Surface("arm")))
    with zrm_scene.optimizations(False), zrm_scene.save("out.zrm") as scene:
        scene.write(nodes, clips)
    box_low, box_high, low, high = box_and_reach(clips)
    assert (box_low <= low).all() and (high <= box_high).all()
    if not skinned:  # the corners of the mesh's own box reach further than its vertices
        corner = float(np.linalg.norm(np.abs(points).max(axis=0)))
        assert (box_high - box_low <= (high - low) * 1.1 + 6 * corner).all(), "it is not much larger than it must be"


def box_and_reach(clips):
    """The box of the saved file, and how far what it shows gets while each clip plays."""
    file = zrm_inspect.read_file("out.zrm")
    low, high = np.full(3, np.inf), np.full(3, -np.inf)
    for clip in clips:
        for moment in MOMENTS:
            for found in evaluate(file, {clip.argument: float(moment)}).meshes:
                low, high = np.minimum(low, found.positions.min(axis=0)), np.maximum(high, found.positions.max(axis=0))
    return *file.root.bounding_box, low, high


def test_the_box_holds_what_several_calls_put_into_a_scene(folder):
    """Records in motion below a node in its place, others that stand still, and a mesh by hand."""
    nodes, clips = wide_turns(np.random.default_rng(1))
    points, triangles = np.eye(3, dtype=np.float32), np.array([[0, 1, 2]], np.uint32)
    still = Node("still", translation=(0, 90, 0))
    for node in (nodes[-1], still):
        node.shapes.append(Shape(Mesh(points, triangles, points), Surface("part")))
    place = np.array([[0, -2, 0, 50], [2, 0, 0, 0], [0, 0, 2, 0], [0, 0, 0, 1.0]])
    with zrm_scene.save("out.zrm") as scene:
        stand = scene.node("stand", place)
        scene.write(nodes, clips, stand)
        scene.write([still])
        scene.mesh(scene.node("inner", place, stand), Surface("hand"), points, triangles, points)
    box_low, box_high, low, high = box_and_reach(clips)
    assert (box_low <= low).all() and (high <= box_high).all() and (box_high - box_low <= (high - low) + 20).all()
