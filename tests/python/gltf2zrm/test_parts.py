"""Large skins, and nodes whose names or extras have a meaning."""

import numpy as np
import pytest
from support.exporter_support import SWITCHES, export, near
from support.gltf_build import Gltf
from support.gltf_random import unit
from zrm_inspect.model import SegmentsNode, SkinNode


@pytest.mark.parametrize(("joint_count", "sets"), [(3, 1), (255, 1), (256, 1), (600, 1), (40, 2)])
def test_skins_follow_their_joints(joint_count, sets, folder):
    """Each vertex has 4 x sets influences, of which the strongest four count."""
    rng, gltf, count = np.random.default_rng(3), Gltf(), 900
    joints = [gltf.node(translation=rng.normal(size=3).tolist(), rotation=unit(rng, 4).tolist()) for _ in range(joint_count)]
    inverses = np.tile(np.eye(4), (joint_count, 1, 1))
    inverses[:, 3, :3] = rng.normal(size=(joint_count, 3))
    gltf.add("skins", {"joints": joints, "inverseBindMatrices": gltf.array(inverses.reshape(-1, 16))})
    weights = rng.uniform(0, 1, (count, 4 * sets)) * np.where(np.arange(4 * sets) < 4, 1, 1e-5)
    # A triangle's own three vertices stay near each other in joint numbers, as on a real body.
    numbers = (np.sort(rng.integers(0, joint_count, count // 3)).repeat(3)[:, None] + rng.integers(0, 9, (count, 4 * sets))) % joint_count
    influences = {f"JOINTS_{k}": gltf.array(numbers[:, 4 * k : 4 * k + 4], "u2") for k in range(sets)}
    influences |= {f"WEIGHTS_{k}": gltf.array(weights[:, 4 * k : 4 * k + 4]) for k in range(sets)}
    gltf.node(mesh=gltf.mesh(rng.normal(size=(count, 3)), np.arange(count), **influences), skin=0, translation=[5, 5, 5])
    gltf.animation(*[(joint, "rotation", [0, 1], unit(rng, 2, 4), "LINEAR") for joint in joints[:5]])
    exported = export(gltf.save(folder / "in.gltf"))
    parts = [node for node in exported.file.render_nodes if isinstance(node, SkinNode)]
    assert (len(parts) == 1) == (joint_count <= 255)
    for part in parts:  # bone 0 is the control node, which nothing follows
        assert 1 <= part.mesh.bone_indices()[part.mesh.attribute("COLOR1") > 0].min() and len(part.bones) <= 256
    low, high = np.reshape(exported.file.root.bounding_box, (2, 3))
    for moment in exported.moments(3):
        have = np.vstack([mesh.positions[mesh.triangles] for mesh in exported.saved(*moment).meshes])
        near(have, exported.source.meshes(exported.source.worlds(*moment))[0].positions, 0.001, "skin")
        assert (have >= low).all() and (have <= high).all()


def test_names_and_extras_say_what_a_node_is_for(folder):
    gltf = Gltf()
    lines, triangle = gltf.mesh([[0, 0, 0], [1, 0, 0], [1, 1, 0]], [0, 1, 1, 2], mode=1), gltf.triangle()
    shells = ["Collision_hull", "roof_col", "SHELL", "shell.001", "collider2", "told"]
    drawn = ["Shell Oil sign", "shellfish", "Collisions", "segmented", "protocol", "drawn_col", "listed", "text"]
    extras = {"told": {"zrm": {"kind": "shell"}}, "drawn_col": {"zrm": "mesh"}, "listed": [1, {}], "text": "shell"}
    for name in [*shells, *drawn]:
        gltf.node(name=name, mesh=triangle, translation=[1, 2, 3], **({"extras": extras[name]} if name in extras else {}))
    gltf.node(name="Segments", mesh=lines)
    hook = {"load": 2.5, "kind": "tow", "on": True, "list": [1, 2]}
    for name, extra in {"socket_1": None, "hook": hook, "nothing": None, "Socketed": None, "mounting": "text"}.items():
        gltf.node(name=name, extras=extra)
    exported = export(gltf.save(folder / "in.gltf"))
    assert len(exported.file.render_nodes) == len(drawn)
    segments = exported.file.shell_nodes[-1]
    assert [node.name for node in exported.file.shell_nodes] == [*shells, "Segments"] and isinstance(segments, SegmentsNode)
    assert np.reshape(segments.segments, (-1, 6)).tolist() == [[0, 0, 0, 1, 0, 0], [1, 0, 0, 1, 1, 0]]
    connectors = {node.name: {entry.name: entry.value for entry in node.properties} for node in exported.file.connectors}
    assert connectors == {"socket_1": {}, "hook": {"load": 2.5, "kind": "tow", "on": 1.0, "list": "[1, 2]"}}
    told = [note.split(" (")[1].split(")")[0] for note in exported.report["notes"]]
    assert told == [*shells, "drawn_col", "Segments", "socket_1", "hook"]
    plain = export(folder / "in.gltf", SWITCHES, "--no-name-rules")
    assert [node.name for node in plain.file.shell_nodes] == ["told"] and plain.file.connectors == []


def test_collections_say_what_everything_below_them_is(folder):
    gltf = Gltf()
    triangle = gltf.triangle()
    deep = gltf.node(root=False, name="deep", mesh=triangle)
    kept = gltf.node(root=False, name="kept", mesh=triangle, extras={"zrm": "mesh"})
    gltf.node(name="ZRM_Shells.001", children=[gltf.node(root=False, name="group", children=[deep]), kept])
    gltf.node(name="zrm_connectors", children=[gltf.node(root=False, name="place", extras={"load": 2})])
    exported = export(gltf.save(folder / "in.gltf"), SWITCHES, "--no-name-rules")
    assert [node.name for node in exported.file.shell_nodes] == ["deep"] and len(exported.file.render_nodes) == 1
    assert [(node.name, node.properties[0].value) for node in exported.file.connectors] == [("place", 2.0)]
