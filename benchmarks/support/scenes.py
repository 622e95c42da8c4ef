"""Meshes and scenes of a given size, and the facades of them as a plugin script fills them."""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from zrm_scene import SWITCHES

Floats = npt.NDArray[np.float32]
Offset = tuple[float, float, float]
Filled = tuple[zrm.Model, list[zrm.PBRNode]]


class Mesh(NamedTuple):
    positions: Floats  # (n, 3)
    normals: Floats  # (n, 3)
    uvs: Floats  # (n, 2)
    indices: npt.NDArray[np.uint32]  # flat


class Skin(NamedTuple):
    """Bone b stands at (b, 0, 0); the part's offset has to be 0."""

    joints: npt.NDArray[np.uint8]  # (n, 4)
    weights: Floats  # (n, 4)
    bone_count: int


class Part(NamedTuple):
    name: str
    material: str
    offset: Offset
    mesh: Mesh
    skin: Skin | None = None


def enable_all(enabled: bool) -> None:
    for switch in SWITCHES:
        zrm.enable_model_optimization(switch, enabled)


def sheet(height: Floats, spacing: float = 1.0) -> Mesh:
    """A welded sheet with a vertex for each height of the rows and columns given."""
    rows, columns = height.shape
    numbers = np.arange(rows * columns, dtype=np.uint32).reshape(rows, columns)
    z, x = np.divmod(numbers.reshape(-1), columns)
    positions = np.stack([x * spacing, height.reshape(-1), z * spacing], axis=1).astype(np.float32)
    slopes = np.gradient(height, spacing)
    normals = np.stack([-slopes[1], np.ones_like(height), -slopes[0]], axis=-1).reshape(-1, 3)
    normals /= np.linalg.norm(normals, axis=1, keepdims=True)
    uvs = np.stack([x / (columns - 1), z / (rows - 1)], axis=1).astype(np.float32)
    corners = [numbers[r : rows - 1 + r, c : columns - 1 + c] for r, c in ((0, 0), (1, 0), (0, 1), (0, 1), (1, 0), (1, 1))]
    return Mesh(positions, normals.astype(np.float32), uvs, np.stack(corners, axis=2).reshape(-1))


def grid(vertex_count: int) -> Mesh:
    """A square sheet of vertices in waves."""
    side = round(vertex_count**0.5)
    waves = np.sin(np.linspace(0, 9, side, dtype=np.float32)) * np.float32(0.1)
    return sheet(np.tile(waves, (side, 1)), 50 / side)


def unwelded(mesh: Mesh) -> Mesh:
    """The same triangles, flat, each with vertices of its own."""
    positions = mesh.positions[mesh.indices]
    corners = positions.reshape(-1, 3, 3)
    flat = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    flat /= np.linalg.norm(flat, axis=1, keepdims=True)
    numbers = np.arange(len(positions), dtype=np.uint32)
    return Mesh(positions, np.repeat(flat, 3, axis=0).astype(np.float32), mesh.uvs[mesh.indices], numbers)


def small_meshes(count: int, side: int) -> list[Mesh]:
    """No two alike."""
    rng = np.random.default_rng(5)
    return [sheet(rng.random((side, side), dtype=np.float32)) for _ in range(count)]


def spread(meshes: list[Mesh], material_count: int = 1) -> list[Part]:
    """The meshes side by side: at one place they would be copies to be removed."""
    places = [(index % 100 * 12.0, 0.0, index // 100 * 12.0) for index in range(len(meshes))]
    return [Part(f"part{i}", f"material{i % material_count}", places[i], mesh) for i, mesh in enumerate(meshes)]


def skin_of(mesh: Mesh, bone_count: int) -> Skin:
    """Bones side by side; each vertex follows the two next to it, the nearer one more."""
    place = mesh.uvs[:, 0] * (bone_count - 1)
    first = np.minimum(place.astype(np.int64), bone_count - 2)
    none = np.zeros_like(first)
    second = (place - first).astype(np.float32)
    weights = np.stack([1 - second, second, none, none], axis=1).astype(np.float32)
    return Skin(np.stack([first, first + 1, none, none], axis=1).astype(np.uint8), weights, bone_count)


def translation(x: float, y: float, z: float) -> list[tuple[float, float, float, float]]:
    return [(1, 0, 0, x), (0, 1, 0, y), (0, 0, 1, z), (0, 0, 0, 1)]


def mesh_node(mesh: Mesh, material: str, control: zrm.Node) -> zrm.PBRNode:
    block = zrm.BaseBlock()
    block.setPositions(mesh.positions.reshape(-1))
    block.setNormals(mesh.normals.reshape(-1))
    block.setAlbedoMapUV(mesh.uvs.reshape(-1))
    block.setAlbedoMap(material)
    node = zrm.PBRNode("", material)
    node.addBlock(block)
    node.setIndices(mesh.indices)
    node.setControlNode(control)
    return node


def bone_block(skin: Skin, control: zrm.Node) -> zrm.BoneBlock:
    bones = [
        control.addChild(zrm.Bone(f"bone{b}", translation(b, 0, 0), translation(-b, 0, 0))) for b in range(skin.bone_count)
    ]
    block = zrm.BoneBlock()
    block.setBones(bones)
    block.setBoneIndices((skin.joints.astype(np.uint32) + 1).reshape(-1))
    block.setBoneWeights(skin.weights.reshape(-1))
    return block


def filled(parts: list[Part]) -> Filled:
    """The facades of a scene, before `addRenderNode`."""
    model = zrm.Model()
    nodes = []
    for part in parts:
        matrix = translation(*part.offset)
        control = zrm.Transform(part.name, matrix) if part.skin is None else zrm.Bone(part.name)
        model.getRootTransform().addChild(control)
        node = mesh_node(part.mesh, part.material, control)
        if part.skin is not None:
            node.addBlock(bone_block(part.skin, control))
            model.setBBox((-1e4, -1e4, -1e4, 1e4, 1e4, 1e4))
        nodes.append(node)
    return model, nodes


def add(model: zrm.Model, node: zrm.IRenderNode) -> None:
    if text := model.addRenderNode(node):
        raise RuntimeError(text)


def save(model: zrm.Model, path: str) -> None:
    if text := model.save(path, 10):
        raise RuntimeError(text)


def convert(subject: Filled, path: str) -> None:
    """From filled facades to the closed file."""
    model, nodes = subject
    for node in nodes:
        add(model, node)
    save(model, path)
