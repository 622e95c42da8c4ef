"""Models of a given size, built as a plugin script would build them."""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from zrm_scene import SWITCHES


class Grid(NamedTuple):
    """A square sheet of vertices with its triangles."""

    positions: npt.NDArray[np.float32]  # (n, 3)
    normals: npt.NDArray[np.float32]  # (n, 3)
    uvs: npt.NDArray[np.float32]  # (n, 2)
    indices: npt.NDArray[np.uint32]  # flat


def enable_all(enabled: bool) -> None:
    for switch in SWITCHES:
        zrm.enable_model_optimization(switch, enabled)


def grid(vertex_count: int) -> Grid:
    side = round(vertex_count**0.5)
    rows, columns = np.divmod(np.arange(side * side, dtype=np.uint32), np.uint32(side))
    uvs = np.stack([columns, rows], axis=1).astype(np.float32) / np.float32(side)
    height = np.sin(uvs[:, 0] * 9) * np.float32(0.1)
    positions = np.stack([uvs[:, 0] * 50, height, uvs[:, 1] * 50], axis=1).astype(np.float32)
    normals = np.tile(np.array([0, 1, 0], dtype=np.float32), (side * side, 1))
    corner = (rows * side + columns).reshape(side, side)[:-1, :-1].reshape(-1)
    quads = [corner, corner + side, corner + 1, corner + 1, corner + side, corner + side + 1]
    return Grid(positions, normals, uvs, np.stack(quads, axis=1).astype(np.uint32).reshape(-1))


def add_mesh(model: zrm.Model, control: zrm.Node, mesh: Grid, material: str = "ground") -> None:
    block = zrm.BaseBlock()
    block.setPositions(mesh.positions.reshape(-1))
    block.setNormals(mesh.normals.reshape(-1))
    block.setAlbedoMapUV(mesh.uvs.reshape(-1))
    block.setAlbedoMap(material)
    node = zrm.PBRNode("", material)
    node.addBlock(block)
    node.setIndices(mesh.indices)
    node.setControlNode(control)
    text = model.addRenderNode(node)
    if text:
        raise RuntimeError(text)


def save(model: zrm.Model, path: str) -> None:
    text = model.save(path, 10)
    if text:
        raise RuntimeError(text)
