"""A generated city: many small parts, few real materials, vertices that nobody has welded."""

from __future__ import annotations

import json
import struct
from typing import Any, NamedTuple

import numpy as np
import numpy.typing as npt

PART_COUNT = 2_000
MATERIAL_COUNT = 40
DISTINCT_MATERIALS = 8
VERTICES_PER_PART = 750


class Part(NamedTuple):
    name: str
    material: int
    offset: tuple[float, float, float]
    positions: npt.NDArray[np.float32]  # (n, 3)
    normals: npt.NDArray[np.float32]  # (n, 3)
    uvs: npt.NDArray[np.float32]  # (n, 2)
    indices: npt.NDArray[np.uint32]  # flat


def material_name(material: int) -> str:
    """Forty materials, most of them copies of another."""
    return f"facade{material % DISTINCT_MATERIALS}"


def facade(rng: np.random.Generator) -> tuple[npt.NDArray[np.float32], ...]:
    """A folded wall of 5 by 25 quads, six vertices of its own for each quad."""
    columns, rows = np.meshgrid(np.arange(6, dtype=np.float32), np.arange(26, dtype=np.float32))
    depth = np.repeat(rng.random((26, 1)), 6, axis=1).astype(np.float32)
    points = np.stack([columns, rows, depth], axis=-1)
    uvs = np.stack([columns / 5, rows / 25], axis=-1).astype(np.float32)
    corners = [(0, 0), (0, 1), (1, 0), (1, 0), (0, 1), (1, 1)]

    def soup(grid: npt.NDArray[np.float32]) -> npt.NDArray[np.float32]:
        quads = [grid[r : r + 25, c : c + 5] for r, c in corners]
        return np.stack(quads, axis=2).reshape(-1, grid.shape[-1]).astype(np.float32)

    positions, texture = soup(points), soup(uvs)
    triangles = positions.reshape(-1, 3, 3)
    flat = np.cross(triangles[:, 1] - triangles[:, 0], triangles[:, 2] - triangles[:, 0])
    flat /= np.linalg.norm(flat, axis=1, keepdims=True)
    return positions, np.repeat(flat, 3, axis=0).astype(np.float32), texture


def city(part_count: int = PART_COUNT) -> list[Part]:
    rng = np.random.default_rng(11)
    parts = []
    for index in range(part_count):
        positions, normals, uvs = facade(rng)
        offset = (float(index % 50 * 8), 0.0, float(index // 50 * 8))
        indices = np.arange(len(positions), dtype=np.uint32)
        parts.append(Part(f"part{index}", index % MATERIAL_COUNT, offset, positions, normals, uvs, indices))
    return parts


def write_glb(parts: list[Part], path: str) -> None:
    """The same scene for the peer: one mesh and one node a part."""
    views: list[dict[str, Any]] = []
    accessors: list[dict[str, Any]] = []
    chunks: list[bytes] = []
    position = 0

    def accessor(array: npt.NDArray[Any], kind: str, component: int, extra: dict[str, Any]) -> int:
        nonlocal position
        data = array.tobytes()
        views.append({"buffer": 0, "byteOffset": position, "byteLength": len(data)})
        chunks.append(data)
        position += len(data)
        entry = {"bufferView": len(views) - 1, "componentType": component, "count": len(array), "type": kind}
        accessors.append({**entry, **extra})
        return len(accessors) - 1

    meshes, nodes = [], []
    for index, part in enumerate(parts):
        bounds = {"min": part.positions.min(axis=0).tolist(), "max": part.positions.max(axis=0).tolist()}
        attributes = {
            "POSITION": accessor(part.positions, "VEC3", 5126, bounds),
            "NORMAL": accessor(part.normals, "VEC3", 5126, {}),
            "TEXCOORD_0": accessor(part.uvs, "VEC2", 5126, {}),
        }
        indices = accessor(part.indices, "SCALAR", 5125, {})
        meshes.append({"primitives": [{"attributes": attributes, "indices": indices, "material": part.material}]})
        nodes.append({"name": part.name, "mesh": index, "translation": list(part.offset)})
    document = {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"nodes": list(range(len(nodes)))}],
        "nodes": nodes,
        "meshes": meshes,
        "images": [{"uri": f"facade{i}.png"} for i in range(DISTINCT_MATERIALS)],
        "textures": [{"source": i} for i in range(DISTINCT_MATERIALS)],
        "materials": [
            {
                "name": material_name(i),
                "pbrMetallicRoughness": {"baseColorTexture": {"index": i % DISTINCT_MATERIALS}},
            }
            for i in range(MATERIAL_COUNT)
        ],
        "accessors": accessors,
        "bufferViews": views,
        "buffers": [{"byteLength": position}],
    }
    text = json.dumps(document, separators=(",", ":")).encode()
    text += b" " * (-len(text) % 4)
    binary = b"".join(chunks)
    with open(path, "wb") as file:
        file.write(struct.pack("<4sII", b"glTF", 2, 12 + 8 + len(text) + 8 + len(binary)))
        file.write(struct.pack("<I4s", len(text), b"JSON") + text)
        file.write(struct.pack("<I4s", len(binary), b"BIN\0") + binary)
