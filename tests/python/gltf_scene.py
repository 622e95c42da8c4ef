"""glTF scenes evaluated for tests: world-space meshes at rest and at any second of an animation.

Shares no code with the exporter, so that a mistake there shows as a difference here. Reads what the tests' files
hold: buffers beside the file, in a data URI or in a .glb, plain and strided accessors.
"""

from __future__ import annotations

import base64
import json
import struct
from dataclasses import dataclass
from pathlib import Path
from typing import Any
from urllib.parse import unquote

import numpy as np

TYPES = {5120: "<i1", 5121: "<u1", 5122: "<i2", 5123: "<u2", 5125: "<u4", 5126: "<f4"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}
Array = np.ndarray[Any, Any]


@dataclass
class SceneMesh:
    """One primitive of one node: world positions (n, 3), normals or None, UV sets, triangles (m, 3)."""

    node: int
    positions: Array
    normals: Array | None
    uvs: dict[int, Array]
    triangles: Array


class GltfScene:
    def __init__(self, path: Path) -> None:
        data = path.read_bytes()
        self.glb = b""
        if data[:4] == b"glTF":
            size = struct.unpack_from("<I", data, 12)[0]
            self.glb = data[20 + size + 8 :]
            data = data[20 : 20 + size]
        self.json = json.loads(data)
        self.buffers = [self._buffer(entry, path.parent) for entry in self.json.get("buffers", [])]
        self.nodes = self.json.get("nodes", [])

    def _buffer(self, entry: dict[str, Any], folder: Path) -> bytes:
        uri = entry.get("uri")
        if uri is None:
            return self.glb
        return base64.b64decode(uri.split(",", 1)[1]) if uri.startswith("data:") else (folder / unquote(uri)).read_bytes()

    def accessor(self, index: int) -> Array:
        entry = self.json["accessors"][index]
        kind, width = np.dtype(TYPES[entry["componentType"]]), WIDTHS[entry["type"]]
        view = self.json["bufferViews"][entry["bufferView"]]
        start = view.get("byteOffset", 0) + entry.get("byteOffset", 0)
        stride = view.get("byteStride", width * kind.itemsize)
        raw = np.ndarray((entry["count"], width), kind, self.buffers[view["buffer"]], start, (stride, kind.itemsize))
        values = raw.astype(np.float64)
        if entry.get("normalized"):
            values = np.maximum(values / np.iinfo(kind).max, -1.0)
        return values

    def animated(self, animation: int, seconds: float) -> dict[tuple[int, str], Array]:
        """Values of the node channels of an animation."""
        result = {}
        entry = self.json["animations"][animation]
        for channel in entry["channels"]:
            target = channel["target"]
            node, path = target.get("node"), target["path"]
            if path == "pointer":
                parts = target["extensions"]["KHR_animation_pointer"]["pointer"].split("/")
                if parts[1] != "nodes":
                    continue
                node, path = int(parts[2]), parts[3]
            if path in ("translation", "rotation", "scale"):
                result[node, path] = self._sample(entry["samplers"][channel["sampler"]], path, seconds)
        return result

    def _sample(self, sampler: dict[str, Any], path: str, seconds: float) -> Array:
        times, values = self.accessor(sampler["input"])[:, 0], self.accessor(sampler["output"])
        mode = sampler.get("interpolation", "LINEAR")
        cubic = mode == "CUBICSPLINE"
        if cubic:
            values = values.reshape(len(times), 3, -1)
        after = int(np.searchsorted(times, seconds, side="right"))
        if after == 0 or after == len(times):
            edge = values[0 if after == 0 else -1]
            value = edge[1] if cubic else edge
        else:
            before = after - 1
            span = times[after] - times[before]
            t = (seconds - times[before]) / span
            if mode == "STEP":
                value = values[before]
            elif cubic:
                value = (
                    (2 * t**3 - 3 * t**2 + 1) * values[before, 1]
                    + span * (t**3 - 2 * t**2 + t) * values[before, 2]
                    + (3 * t**2 - 2 * t**3) * values[after, 1]
                    + span * (t**3 - t**2) * values[after, 0]
                )
            elif path == "rotation":
                value = slerp(values[before], values[after], t)
            else:
                value = (1 - t) * values[before] + t * values[after]
        return np.asarray(value / np.linalg.norm(value) if path == "rotation" else value)

    def worlds(self, animation: int | None = None, seconds: float = 0.0) -> dict[int, Array]:
        """World matrices, for column vectors, of the nodes of the scene, parents first, in the file's order."""
        moved = {} if animation is None else self.animated(animation, seconds)
        if "scenes" in self.json:
            roots = self.json["scenes"][self.json.get("scene", 0)]["nodes"]
        else:
            below = {child for node in self.nodes for child in node.get("children", [])}
            roots = [index for index in range(len(self.nodes)) if index not in below]
        worlds: dict[int, Array] = {}
        waiting = [(root, np.eye(4)) for root in reversed(roots)]
        while waiting:
            index, above = waiting.pop()
            node = self.nodes[index]
            worlds[index] = above @ local_matrix(node, index, moved)
            waiting += [(child, worlds[index]) for child in reversed(node.get("children", []))]
        return worlds

    def meshes(self, animation: int | None = None, seconds: float = 0.0) -> list[SceneMesh]:
        """Every triangle primitive of every node of the scene."""
        worlds = self.worlds(animation, seconds)
        result = []
        for index, world in worlds.items():
            node = self.nodes[index]
            if "mesh" in node:
                for primitive in self.json["meshes"][node["mesh"]]["primitives"]:
                    result.append(self._mesh(index, node, primitive, world, worlds))
        return result

    def _mesh(self, index: int, node: dict[str, Any], primitive: dict[str, Any], world: Array, worlds: dict[int, Array]) -> SceneMesh:
        attributes = primitive["attributes"]
        positions = self.accessor(attributes["POSITION"])
        weights = node.get("weights", self.json["meshes"][node["mesh"]].get("weights", []))
        for target, weight in zip(primitive.get("targets", []), weights):
            positions = positions + weight * self.accessor(target["POSITION"])
        triangles = np.arange(len(positions)) if "indices" not in primitive else self.accessor(primitive["indices"])[:, 0]
        triangles = triangles.astype(np.int64).reshape(-1, 3)
        uvs = {k: self.accessor(attributes[f"TEXCOORD_{k}"]) for k in range(4) if f"TEXCOORD_{k}" in attributes}
        if "skin" in node:
            matrices = self._skin(node["skin"], attributes, worlds)
            homogeneous = np.hstack([positions, np.ones((len(positions), 1))])
            return SceneMesh(index, np.einsum("nij,nj->ni", matrices, homogeneous)[:, :3], None, uvs, triangles)
        upper = world[:3, :3]
        normals = None
        square = upper.T @ upper
        # Under an uneven scale directions follow a rule of their own, which is none of this file's business.
        if "NORMAL" in attributes and np.allclose(square, np.eye(3) * square[0, 0], atol=1e-4 * square[0, 0]):
            normals = self.accessor(attributes["NORMAL"]) @ upper.T / np.sqrt(square[0, 0])
        return SceneMesh(index, positions @ upper.T + world[:3, 3], normals, uvs, triangles)

    def _skin(self, skin: int, attributes: dict[str, int], worlds: dict[int, Array]) -> Array:
        entry = self.json["skins"][skin]
        matrices = np.stack([worlds[joint] for joint in entry["joints"]])
        if "inverseBindMatrices" in entry:
            matrices = matrices @ self.accessor(entry["inverseBindMatrices"]).reshape(-1, 4, 4).transpose(0, 2, 1)
        joints, weights = self.accessor(attributes["JOINTS_0"]).astype(int), self.accessor(attributes["WEIGHTS_0"])
        weights = weights / weights.sum(axis=1, keepdims=True)
        return np.asarray(np.einsum("nk,nkij->nij", weights, matrices[joints]))


def slerp(a: Array, b: Array, t: float) -> Array:
    dot = float(a @ b)
    b, dot = (-b, -dot) if dot < 0 else (b, dot)
    angle = np.arccos(min(dot, 1.0))
    if angle < 1e-6:
        return (1 - t) * a + t * b
    return np.asarray((np.sin((1 - t) * angle) * a + np.sin(t * angle) * b) / np.sin(angle))


def rotation_matrix(q: Array) -> Array:
    """The formula as usually written, for a unit quaternion x, y, z, w."""
    x, y, z, w = q / np.linalg.norm(q)
    return np.array(
        [
            [1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)],
        ]
    )


def local_matrix(node: dict[str, Any], index: int, moved: dict[tuple[int, str], Array]) -> Array:
    if "matrix" in node:
        return np.array(node["matrix"], np.float64).reshape(4, 4).T
    result = np.eye(4)
    turn = rotation_matrix(np.asarray(moved.get((index, "rotation"), node.get("rotation", [0, 0, 0, 1])), np.float64))
    result[:3, :3] = turn * np.asarray(moved.get((index, "scale"), node.get("scale", [1, 1, 1])))
    result[:3, 3] = moved.get((index, "translation"), node.get("translation", [0, 0, 0]))
    return result
