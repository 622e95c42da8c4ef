"""The front for scripts: what it refuses, with what words, and that it writes what it was given."""

import re
from pathlib import Path

import numpy as np
import pytest
import pyzrm_313 as zrm
import zrm_inspect
import zrm_scene
from zrm_inspect.evaluate import evaluate
from zrm_scene import Arguments, Blending, Map, Node, Shape, Surface, Value, ZrmError
from zrm_scene.arrays import corners, rows
from zrm_scene.errors import refused
from zrm_scene.switches import SWITCHES

POINTS = np.eye(3, dtype=np.float32)
TRIANGLE = np.array([[0, 1, 2]], np.uint32)
PAINT = Surface("paint")
ROOT = Path(__file__).resolve().parents[3]


def mesh(scene, control=None, points=POINTS, triangles=TRIANGLE, normals=POINTS, uvs=None, surface=PAINT, **more):
    return scene.mesh(control or scene.node("body"), surface, points, triangles, normals, uvs, **more)


def loose(scene):
    """Something on a node that nobody attached, beside something on one that somebody did."""
    mesh(scene)
    node = zrm.Node("wheel")
    node.addChild(zrm.Node("hub"))
    mesh(scene, node, name="tyre")


def unplaced(scene):
    """A record that moves, and a mesh on a node of the module's own."""
    track = zrm_scene.Track(zrm_scene.Mode.LINEAR, np.zeros(1), np.ones((1, 3)), False)
    scene.write([Node("moves", moves=zrm_scene.Moves([zrm_scene.Driven(zrm_scene.Clip(0), track)]))])
    mesh(scene, scene.attach(zrm.AnimationNode("wheel")), name="tyre")


def skin(scene):
    block = zrm.BoneBlock()
    block.setBoneWeights([1.0, 0, 0, 0] * 3)
    block.setBoneIndices([0] * 12)
    mesh(scene, scene.attach(zrm.Bone("bone")), blocks=[block])


def record(mesh):
    node = Node("record")
    node.shapes.append(Shape(mesh, PAINT))
    return [node]


DRIVEN = zrm_scene.Driven(zrm_scene.Clip(-1), zrm_scene.Track(zrm_scene.Mode.LINEAR, np.zeros(1), np.zeros((1, 1)), False))
WRONG = {
    "flat positions": (lambda s: mesh(s, points=POINTS.ravel()), "mesh 'mesh' of node 'body'", "shape (9,)", "(n, 3)"),
    "words for numbers": (lambda s: mesh(s, points=np.full((3, 3), "1")), "mesh 'mesh'", "kind <U1", "(n, 3)"),
    "too few normals": (lambda s: mesh(s, normals=POINTS[:2]), "mesh 'mesh'", "normals: 2 rows for 3 positions", "each vertex"),
    "not a number": (lambda s: mesh(s, uvs=np.full((3, 2), np.nan)), "mesh 'mesh'", "uvs: a number is not finite", "NaN"),
    "too large for 32 bits": (lambda s: mesh(s, points=np.eye(3) * 1e39), "mesh 'mesh'", "positions: a number is not finite in 32 bits", "3.4e38"),
    "an index beyond": (lambda s: mesh(s, triangles=[[0, 1, 3]]), "mesh 'mesh'", "indices: 3 of 3 vertices", "from 0"),
    "an index beyond 32 bits": (lambda s: mesh(s, triangles=[[0, 1, 2**32]]), "mesh 'mesh'", "indices: 4294967296 of 3", "from 0"),
    "an index below": (lambda s: mesh(s, triangles=[[0, 1, -1]]), "mesh 'mesh'", "indices: -1 of 3", "from 0"),
    "fractions as indices": (lambda s: mesh(s, triangles=[[0, 1, 2.0]]), "mesh 'mesh'", "kind float64", "integers"),
    "a matrix of rows": (lambda s: s.node("odd", np.eye(4)[[0, 1, 2, 0]]), "node 'odd'", "last row", "last column"),
    "a small matrix": (lambda s: s.node("odd", np.eye(3)), "node 'odd'", "shape (3, 3)", "4 by 4"),
    "a node below itself": (lambda s: s.attach(s.root, s.node("child")), "node 'root'", "", "below itself"),
    "the module's own text": (lambda s: s.add(zrm.PBRNode("", "paint"), s.node("body")), "PBRNode of node 'body'", "must have the following blocks", "add a BaseBlock"),
    "a map without coordinates": (lambda s: mesh(s, surface=Surface("paint", albedo=Map(""))), "mesh 'mesh'", "Albedo isn't set", "map"),
    "no box for a skin": (skin, "'out.zrm'", "bounding box", "setBBox"),
    "a box inside out": (lambda s: s.box((1, 0, 0, 0, 1, 1)), "box", "no inside", "minimum"),
    "a node that nobody attached": (loose, "mesh 'tyre' of node 'wheel'", "nobody attached the nodes 'wheel'", "attach"),
    "a parent that comes later": (lambda s: s.write([Node("child", p := Node("parent")), p]), "node 'child'", "'parent' stands behind it", "parents before"),
    "a parent that isn't there": (lambda s: s.write([Node("child", Node("parent"))]), "node 'child'", "is not in the scene", "parents"),
    "a record with too few normals": (lambda s: s.write(record(zrm_scene.Mesh(POINTS, TRIANGLE, POINTS[:2]))), "mesh of node 'record'", "normals of the shape (2, 3)", "3 numbers"),
    "a record's index beyond": (lambda s: s.write(record(zrm_scene.Mesh(POINTS, TRIANGLE + 1, POINTS))), "mesh of node 'record'", "from 1 to 3 for 3", "from 0"),
    "a record of lines": (lambda s: s.write(record(zrm_scene.Mesh(POINTS, TRIANGLE[:, :2], POINTS))), "mesh of node 'record'", "not made of triangles", "segments"),
    "a colour of two": (lambda s: mesh(s, surface=Surface("odd", colour=Value.of(1, 1))), "surface 'odd'", "the colour is [1, 1]", "3 finite"),
    "an argument below": (lambda s: mesh(s, surface=Surface("odd", opacity=Value(np.ones(1), DRIVEN))), "surface 'odd'", "the argument -1", "from 0"),
    "motion beside what has no known place": (unplaced, "mesh 'tyre' of node 'wheel'", "something moves", "Scene.box"),
    "a place that is none": (lambda s: s.write([Node("far", translation=(0, 0, np.inf))]), "node 'far'", "not finite", "NaN"),
}  # fmt: skip


@pytest.mark.parametrize("what", WRONG)
def test_what_is_wrong_raises_with_subject_text_and_cure(what, folder):
    call, subject, text, cure = WRONG[what]
    with pytest.raises(ZrmError) as caught, zrm_scene.save("out.zrm") as scene:
        call(scene)
    error = caught.value
    assert error.subject.startswith(subject) and text in error.text and cure in error.cure and error.text in str(error)
    assert not Path("out.zrm").exists()


def test_every_text_of_the_module_has_a_cure():
    table = (ROOT / "docs" / "messages.md").read_text(encoding="utf-8")
    texts = re.findall(r'"([^"]+)"', "".join(line.split("|")[1] for line in table.splitlines() if line.startswith(('| "', "| `IndexError`"))))
    assert len(texts) > 30
    hopeless = {"Unsupported version {}", "embedded null character", "{} block: ..."}
    assert [text for text in texts if not refused("", text).cure and text not in hopeless] == []


def test_a_scene_by_hand_is_what_the_module_makes(folder):
    """Any path, a matrix in the usual form, records and the module's own nodes side by side."""
    names = Arguments("gear", "flaps")
    place = np.array([[0, -1, 0, 1], [1, 0, 0, 2], [0, 0, 1, 3], [0, 0, 0, 1.0]])
    target = folder / "deep" / "box.zrm"
    target.parent.mkdir()
    with zrm_scene.save(target) as scene:
        body = scene.node("body", place)
        mesh(scene, body, surface=Surface("glass", colour=Value.of(0.1, 0.2, 0.3), blending=Blending.BLEND, opacity=Value.of(0.5)))
        spin = scene.attach(zrm.AnimationNode("spin"), body)
        spin.setPositionAnimation([(names.flaps, [(0.0, (0, 0, 0)), (1.0, (0, 0, 9))])])
        record = Node("record", translation=(0, 0, 1))
        record.shapes.append(Shape(zrm_scene.Mesh(POINTS, TRIANGLE, POINTS), PAINT))
        made = scene.write([record], parent=spin)
        scene.add(zrm.Connector("hook"), made[record])
    file = zrm_inspect.read_file(target)
    first, second = evaluate(file, {names["flaps"]: 1.0}).meshes
    assert np.allclose(first.positions, POINTS @ place[:3, :3].T + place[:3, 3])
    assert np.allclose(second.positions, (POINTS + [0, 0, 10]) @ place[:3, :3].T + place[:3, 3])
    assert first.material.blending == Blending.BLEND and [node.name for node in file.connectors] == ["hook"]
    assert list(names) == ["gear", "flaps"] and len(names) == 2
    with pytest.raises(AttributeError, match="'slats'"):
        names.slats
    with pytest.raises(ValueError, match="twice"):
        Arguments("gear", "gear")


def test_arrays_of_the_module_s_own_kind_are_not_copied():
    points, triangles = np.zeros((1000, 3), np.float32), np.zeros((500, 3), np.uint32)
    assert np.shares_memory(rows(points, 3, 1000, "", ""), points) and np.shares_memory(corners(triangles, 3, 1000, ""), triangles)


def test_switches_are_put_back(folder):
    """Read from what they do: nodes that are merged or not."""

    def nodes():
        with zrm_scene.save("out.zrm") as scene:
            for x in range(3):
                mesh(scene, scene.node(f"part {x}", np.eye(4)))
        return len(zrm_inspect.read_file("out.zrm").render_nodes)

    with zrm_scene.optimizations(mergeNodes=False):
        assert nodes() == 3
        with zrm_scene.optimizations(True):
            assert nodes() == 1
        with pytest.raises(RuntimeError), zrm_scene.optimizations(**dict.fromkeys(SWITCHES, True)):
            raise RuntimeError
        assert nodes() == 3
    assert nodes() == 1
    with pytest.raises(ValueError, match="no pass is called merge"), zrm_scene.optimizations(merge=False):
        pass
