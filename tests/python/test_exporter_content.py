"""What becomes of the parts of a scene: sizes, skins, materials, names with a meaning."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import pytest
from exporter_support import SWITCHES, compare, export
from gltf_build import Gltf
from zrm_inspect.model import RenderNode, SegmentsNode, ShellNode, SkinNode

ALL_ON: tuple[str, ...] = ()


def grid(count: int, size: float) -> tuple[Any, Any]:
    """A bent square of count x count cells, wide as `size`, and a detail of a ten-thousandth of that."""
    u, v = np.meshgrid(np.linspace(0, 1, count + 1), np.linspace(0, 1, count + 1), indexing="ij")
    positions = np.stack([u, v, 0.2 * np.sin(5 * u + v)], axis=-1).reshape(-1, 3) * size
    corner = (np.arange(count)[:, None] * (count + 1) + np.arange(count)).reshape(-1)
    quads = np.stack([corner, corner + count + 1, corner + count + 2, corner, corner + count + 2, corner + 1], axis=1)
    detail = (np.array([[0, 0, 0], [1, 0, 0], [0, 1, 1]]) * 1e-4 + 0.1) * size
    indices = np.concatenate([quads.reshape(-1), np.arange(3) + len(positions)])
    return np.vstack([positions, detail]), indices


@pytest.mark.parametrize("off", [ALL_ON, SWITCHES], ids=["all on", "all off"])
@pytest.mark.parametrize(
    ("size", "scales"),
    [(0.001, [1.0]), (1000.0, [0.001, 0.001]), (1e-6, [1e6]), (1e-4, [10.0, 100.0]), (1e-9, [1.0]), (0.05, [1.0])],
)
def test_no_triangle_of_a_small_mesh_is_lost(size: float, scales: list[float], off: tuple[str, ...], tmp_path: Path) -> None:
    gltf = Gltf()
    positions, indices = grid(12, size)
    node = gltf.node(root=False, mesh=gltf.mesh(positions, indices))
    for level, scale in enumerate(scales, 1):
        node = gltf.node(root=level == len(scales), scale=[scale] * 3, children=[node])
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path, off)
    world = size * float(np.prod(scales))
    meshes = exported.saved().meshes
    assert sum(len(mesh.triangles) for mesh in meshes) == len(indices) // 3
    points = np.vstack([mesh.positions for mesh in meshes])
    assert points.max() == pytest.approx(world, rel=1e-4)
    assert points.min() == pytest.approx(-0.2 * world, rel=0.1)


def test_what_is_no_loss_is_not_scaled(tmp_path: Path) -> None:
    gltf = Gltf()
    positions, indices = grid(12, 5.0)
    gltf.node(mesh=gltf.mesh(positions, indices), scale=[2.0] * 3)
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path, ALL_ON)
    assert exported.file.root.handle_count == 0 and len(exported.file.nodes) == 1


def skinned(joint_count: int, sets: int, seed: int = 3) -> tuple[Gltf, Any]:
    """A cloud of triangles whose vertices follow random joints; each vertex has 4 x sets influences."""
    rng = np.random.default_rng(seed)
    gltf = Gltf()
    count = 900
    joints = [gltf.node(translation=rng.normal(size=3).tolist(), rotation=unit(rng)) for _ in range(joint_count)]
    inverses = np.tile(np.eye(4), (joint_count, 1, 1))
    inverses[:, :3, 3] = rng.normal(size=(joint_count, 3))
    matrices = gltf.array(inverses.transpose(0, 2, 1).reshape(-1, 16))
    gltf.add("skins", {"joints": joints, "inverseBindMatrices": matrices})
    weights = rng.uniform(0, 1, (count, 4 * sets))
    weights[:, 4:] *= 1e-5
    more = {}
    # A triangle's own three vertices stay near each other in joint numbers, as on a real body.
    base = np.sort(rng.integers(0, joint_count, (count // 3, 1)), axis=0).repeat(3, axis=0)
    numbers = (base + rng.integers(0, 9, (count, 4 * sets))) % joint_count
    for k in range(sets):
        more[f"JOINTS_{k}"] = gltf.array(numbers[:, 4 * k : 4 * k + 4], "u2")
        more[f"WEIGHTS_{k}"] = gltf.array(weights[:, 4 * k : 4 * k + 4])
    gltf.node(mesh=gltf.mesh(rng.normal(size=(count, 3)), np.arange(count), **more), skin=0, translation=[5, 5, 5])
    gltf.animation(*[(joint, "rotation", [0, 1], [unit(rng), unit(rng)], "LINEAR") for joint in joints[:5]])
    return gltf, numbers


def unit(rng: np.random.Generator) -> list[float]:
    value = rng.normal(size=4)
    return (value / np.linalg.norm(value)).tolist()  # type: ignore[no-any-return]


@pytest.mark.parametrize(("joint_count", "sets"), [(3, 1), (200, 1), (255, 1), (256, 1), (600, 1), (40, 2)])
def test_skins_follow_their_joints(joint_count: int, sets: int, tmp_path: Path) -> None:
    gltf, _ = skinned(joint_count, sets)
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    parts = [node for node in exported.file.render_nodes if isinstance(node, SkinNode)]
    assert len(parts) == (1 if joint_count <= 255 else len(parts)) and all(len(part.bones) <= 256 for part in parts)
    box = exported.file.root.bounding_box
    low, high = np.reshape(box, (2, 3))
    for animation, seconds in ((None, 0.0), (0, 0.0), (0, 0.4), (0, 1.0)):
        source, saved = exported.at(animation, seconds)
        want = source[0].positions[source[0].triangles]
        have = np.vstack([mesh.positions[mesh.triangles] for mesh in saved.meshes])
        assert np.abs(want - have).max() <= 0.001
        assert (have >= low).all() and (have <= high).all()


def test_a_small_skin_keeps_its_triangles(tmp_path: Path) -> None:
    gltf = Gltf()
    positions, indices = grid(8, 1e-4)
    joint = gltf.node(scale=[1000.0] * 3, translation=[1, 2, 3])
    gltf.add("skins", {"joints": [joint]})
    count = len(positions)
    influences = {"JOINTS_0": gltf.array(np.zeros((count, 4)), "u1"), "WEIGHTS_0": gltf.array(np.tile([1.0, 0, 0, 0], (count, 1)))}
    gltf.node(mesh=gltf.mesh(positions, indices, **influences), skin=0)
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path, ALL_ON)
    (mesh,) = exported.saved().meshes
    assert len(mesh.triangles) == len(indices) // 3
    assert mesh.positions.max(axis=0) == pytest.approx([1.1, 2.1, 3.02], abs=1e-3)


def test_bone_numbers_count_from_the_control_node(tmp_path: Path) -> None:
    gltf, _ = skinned(3, 1)
    (part,) = export(gltf.save(tmp_path / "in.gltf"), tmp_path).file.render_nodes
    assert isinstance(part, SkinNode)
    assert part.mesh.bone_indices().min() >= 1 and part.mesh.bone_indices().max() == len(part.bones) - 1 == 3


def test_names_and_extras_say_what_a_node_is_for(tmp_path: Path) -> None:
    gltf = Gltf()
    lines = gltf.mesh([[0, 0, 0], [1, 0, 0], [1, 1, 0]], [0, 1, 1, 2], mode=1)
    names = {"Collision hull": gltf.triangle(), "roof_col": gltf.triangle(), "Segments": lines, "plain": gltf.triangle(), "drawn_col": gltf.triangle()}
    for name, mesh in names.items():
        gltf.node(name=name, mesh=mesh, translation=[1, 2, 3], **({"extras": {"zrm": "mesh"}} if name == "drawn_col" else {}))
    gltf.node(name="Socket 1")
    gltf.node(name="hook", extras={"load": 2.5, "kind": "tow", "on": True, "list": [1, 2]})
    gltf.node(name="nothing")
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    file = exported.file
    assert sum(isinstance(node, RenderNode) for node in file.render_nodes) == 2
    assert [node.name for node in file.shell_nodes if isinstance(node, ShellNode)] == ["Collision hull", "roof_col"]
    (segments,) = (node for node in file.shell_nodes if isinstance(node, SegmentsNode))
    assert np.reshape(segments.segments, (-1, 6)).tolist() == [[0, 0, 0, 1, 0, 0], [1, 0, 0, 1, 1, 0]]
    connectors = {node.name: {entry.name: entry.value for entry in node.properties} for node in file.connectors}  # type: ignore[attr-defined]
    assert connectors == {"Socket 1": {}, "hook": {"load": 2.5, "kind": "tow", "on": 1.0, "list": "[1, 2]"}}


def test_materials_keep_names_modes_and_coordinates(tmp_path: Path) -> None:
    gltf = Gltf()
    for entry in ({"uri": "maps/base%20one.png"}, {"name": "rough", "bufferView": 0}, {"bufferView": 0}, {"uri": "glow.jpg"}):
        gltf.add("textures", {"source": gltf.add("images", entry)})
    transform = {"KHR_texture_transform": {"offset": [0.5, 0.25], "scale": [2, 3], "rotation": np.pi / 2, "texCoord": 1}}
    gltf.add(
        "materials",
        {
            "name": "all of it",
            "doubleSided": True,
            "alphaMode": "MASK",
            "pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "extensions": transform}, "metallicRoughnessTexture": {"index": 1}},
            "normalTexture": {"index": 2},
            "occlusionTexture": {"index": 3, "texCoord": 1},
            "emissiveTexture": {"index": 3},
            "emissiveFactor": [1, 0.5, 0],
        },
    )
    uvs = [gltf.array([[0, 0], [1, 0], [0, 1]]), gltf.array([[0, 0], [1, 0], [0, 1]])]
    gltf.node(mesh=gltf.mesh([[1, 0, 0], [0, 1, 0], [0, 0, 1]], [0, 1, 2], material=0, TEXCOORD_0=uvs[0], TEXCOORD_1=uvs[1]))
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    (material,) = exported.file.materials
    assert (material.name, material.blending) == ("all of it", 2)
    assert {slot: texture.name for slot, texture in material.textures.items()} == {0: "base one", 1: "image_2", 8: "glow", 9: "glow", 13: "rough"}
    (mesh,) = exported.saved().meshes
    assert len(mesh.triangles) == 2, "two-sided"
    uv = mesh.uv_of(0)
    assert uv is not None
    # Scaled, then turned a quarter against the clock with v downward, then moved.
    np.testing.assert_allclose(uv[mesh.triangles[0]], [[0.5, 0.25], [0.5, -1.75], [3.5, 0.25]], atol=1e-6)


def test_a_mirror_keeps_its_outside_outside(tmp_path: Path) -> None:
    gltf = Gltf()
    gltf.node(mesh=gltf.triangle(), scale=[-1, 1, 1])
    for off in (SWITCHES, ALL_ON):
        (mesh,) = export(gltf.save(tmp_path / "in.gltf"), tmp_path, off).saved().meshes
        a, b, c = mesh.positions[mesh.triangles[0]]
        assert mesh.normals is not None
        assert np.cross(b - a, c - a) @ mesh.normals[0] > 0


def test_default_weights_of_morph_targets(tmp_path: Path) -> None:
    gltf = Gltf()
    mesh = gltf.mesh([[1, 0, 0], [0, 1, 0], [0, 0, 1]], [0, 1, 2], targets=[{"POSITION": gltf.array(np.ones((3, 3)))}])
    gltf.json["meshes"][mesh]["weights"] = [0.25]
    gltf.node(mesh=mesh)
    gltf.node(mesh=mesh, weights=[0.75])
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    compare(*exported.at())
