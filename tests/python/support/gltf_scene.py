"""glTF scenes evaluated for tests: what shows at each corner of each triangle, at rest and at any second of an animation.

Shares no code with the exporter, so that a mistake there shows as a difference here. Reads what the tests' files
hold: buffers beside the file, in a data URI or in a .glb, plain, strided, sparse and normalised accessors.
"""

import base64
import json
import struct
from dataclasses import dataclass
from typing import Any
from urllib.parse import unquote

import numpy as np

TYPES = {5120: "<i1", 5121: "<u1", 5122: "<i2", 5123: "<u2", 5125: "<u4", 5126: "<f4"}
WIDTHS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}
# What a map is called in the saved file, and where a glTF material has it.
MAPS = {"albedo": "baseColorTexture", "aorms": "metallicRoughnessTexture", "normal": "normalTexture"}
MAPS |= {"ambient_occlusion": "occlusionTexture", "emissive": "emissiveTexture"}
Array = np.ndarray[Any, Any]


@dataclass
class SceneMesh:
    """One primitive of one node: world positions (t, 3, 3), normals alike or None, UVs (t, 3, 2) by map, the material."""

    node: int
    positions: Array
    normals: Array | None
    uvs: dict[str, Array]
    material: dict[str, Any]


class GltfScene:
    def __init__(self, path):
        data = path.read_bytes()
        self.glb = b""
        if data[:4] == b"glTF":
            size = struct.unpack_from("<I", data, 12)[0]
            self.glb = data[20 + size + 8 :]
            data = data[20 : 20 + size]
        self.json = json.loads(data)
        self.buffers = [self._buffer(entry, path.parent) for entry in self.json.get("buffers", [])]
        self.nodes = self.json.get("nodes", [])
        self.resting = self.worlds()

    def _buffer(self, entry, folder):
        uri = entry.get("uri")
        if uri is None:
            return self.glb
        return base64.b64decode(uri.split(",", 1)[1]) if uri.startswith("data:") else (folder / unquote(uri)).read_bytes()

    def accessor(self, index):
        entry = self.json["accessors"][index]
        values = self._rows(entry, entry["componentType"], WIDTHS[entry["type"]], entry["count"])
        if sparse := entry.get("sparse"):
            places = self._rows(sparse["indices"], sparse["indices"]["componentType"], 1, sparse["count"])
            values[places[:, 0].astype(int)] = self._rows(sparse["values"], entry["componentType"], values.shape[1], sparse["count"])
        return np.maximum(values / np.iinfo(TYPES[entry["componentType"]]).max, -1.0) if entry.get("normalized") else values

    def _rows(self, entry, component, width, count):
        if "bufferView" not in entry:
            return np.zeros((count, width))
        kind, view = np.dtype(TYPES[component]), self.json["bufferViews"][entry["bufferView"]]
        start = view.get("byteOffset", 0) + entry.get("byteOffset", 0)
        stride = view.get("byteStride", width * kind.itemsize)
        return np.ndarray((count, width), kind, self.buffers[view["buffer"]], start, (stride, kind.itemsize)).astype(np.float64)

    def animated(self, animation, seconds):
        """Values of the node channels of an animation."""
        result = {}
        entry = self.json["animations"][animation]
        for channel in entry["channels"]:
            target = channel["target"]
            node, path = target.get("node"), target["path"]
            if path == "pointer":
                parts = target["extensions"]["KHR_animation_pointer"]["pointer"].split("/")
                node, path = (int(parts[2]), parts[3]) if parts[1] == "nodes" else (None, "")
            if path in ("translation", "rotation", "scale"):
                result[node, path] = self._sample(entry["samplers"][channel["sampler"]], path, seconds)
        return result

    def _sample(self, sampler, path, seconds):
        times, values = self.accessor(sampler["input"])[:, 0], self.accessor(sampler["output"])
        mode = sampler.get("interpolation", "LINEAR")
        cubic = mode == "CUBICSPLINE"
        if cubic:
            values = values.reshape(len(times), 3, -1)
        after = int(np.searchsorted(times, seconds, side="right"))
        a, b = values[max(after - 1, 0)], values[min(after, len(times) - 1)]
        if after == 0 or after == len(times) or mode == "STEP":
            value = a[1] if cubic else a
        else:
            span = times[after] - times[after - 1]
            t = (seconds - times[after - 1]) / span
            if cubic:
                tangents = span * ((t**3 - 2 * t**2 + t) * a[2] + (t**3 - t**2) * b[0])
                value = (2 * t**3 - 3 * t**2 + 1) * a[1] + (3 * t**2 - 2 * t**3) * b[1] + tangents
            else:
                value = slerp(a, b, t) if path == "rotation" else (1 - t) * a + t * b
        return np.asarray(value / np.linalg.norm(value) if path == "rotation" else value)

    def worlds(self, animation=None, seconds=0.0):
        """World matrices, for column vectors, of the nodes of the scene, parents first, in the file's order."""
        moved = {} if animation is None else self.animated(animation, seconds)
        worlds = {}
        waiting = [(root, np.eye(4)) for root in reversed(self.json["scenes"][self.json.get("scene", 0)]["nodes"])]
        while waiting:
            index, above = waiting.pop()
            node = self.nodes[index]
            worlds[index] = above @ local_matrix(node, index, moved)
            waiting += [(child, worlds[index]) for child in reversed(node.get("children", []))]
        return worlds

    def lights(self, worlds):
        """World matrices of the point and spot lights."""
        found = [(worlds[index], self.nodes[index].get("extensions", {}).get("KHR_lights_punctual")) for index in worlds]
        kinds = [light["type"] for light in self.json.get("extensions", {}).get("KHR_lights_punctual", {}).get("lights", [])]
        return [world for world, light in found if light is not None and kinds[light["light"]] != "directional"]

    def meshes(self, worlds):
        """Every triangle primitive of every node of the scene."""
        shown = [(index, self.json["meshes"][self.nodes[index]["mesh"]]) for index in worlds if "mesh" in self.nodes[index]]
        primitives = [(index, entry) for index, mesh in shown for entry in mesh["primitives"]]
        return [self._mesh(index, entry, worlds) for index, entry in primitives if entry.get("mode", 4) >= 4]

    def _mesh(self, index, primitive, worlds):
        node, attributes = self.nodes[index], primitive["attributes"]
        corners = self._corners(primitive)
        points = self.accessor(attributes["POSITION"])
        for target, weight in zip(primitive.get("targets", []), node.get("weights", self.json["meshes"][node["mesh"]].get("weights", []))):
            points = points + weight * self.accessor(target["POSITION"])
        points = points[corners]
        if "NORMAL" in attributes:
            normals = self.accessor(attributes["NORMAL"])[corners]
        else:
            normals = np.repeat(np.cross(points[:, 1] - points[:, 0], points[:, 2] - points[:, 0])[:, None], 3, axis=1)
        skin = self.json["skins"][node["skin"]] if "skin" in node else None
        movers = worlds[index][None] if skin is None else self._joints(skin, worlds)
        if skin is None:
            matrices = np.broadcast_to(movers[0], (*corners.shape, 4, 4))
        else:
            weights = self.accessor(attributes["WEIGHTS_0"])
            share = (weights / weights.sum(axis=1, keepdims=True))[corners]
            matrices = np.einsum("tck,tckij->tcij", share, movers[self.accessor(attributes["JOINTS_0"]).astype(int)[corners]])
        points = np.einsum("tcij,tcj->tci", matrices[..., :3, :3], points) + matrices[..., :3, 3]
        normals = np.einsum("tcij,tcj->tci", matrices[..., :3, :3], normals)
        length = np.linalg.norm(normals, axis=-1, keepdims=True)
        shape = SceneMesh(index, points, normals / np.where(length > 0, length, 1) if similar(movers) else None, *self._look(primitive, corners))
        if skin is None and np.linalg.det(self.resting[index][:3, :3]) < 0:  # the front of a mirrored triangle is its other side
            shape.positions, shape.uvs = points[:, [0, 2, 1]], {kind: uv[:, [0, 2, 1]] for kind, uv in shape.uvs.items()}
            shape.normals = None if shape.normals is None else shape.normals[:, [0, 2, 1]]
        return shape

    def _corners(self, primitive):
        count = self.json["accessors"][primitive["attributes"]["POSITION"]]["count"]
        flat = self.accessor(primitive["indices"])[:, 0].astype(int) if "indices" in primitive else np.arange(count)
        if (mode := primitive.get("mode", 4)) == 4:
            return np.asarray(flat.reshape(-1, 3))
        k = range(len(flat) - 2)
        return np.asarray(flat[[(i, i + 1 + i % 2, i + 2 - i % 2) if mode == 5 else (i + 1, i + 2, 0) for i in k]])

    def _joints(self, skin, worlds):
        matrices = np.stack([worlds[joint] for joint in skin["joints"]])
        if "inverseBindMatrices" in skin:
            matrices = matrices @ self.accessor(skin["inverseBindMatrices"]).reshape(-1, 4, 4).transpose(0, 2, 1)
        return np.asarray(matrices)

    def _look(self, primitive, corners):
        """The coordinates of each map, transformed, and the material."""
        material = self.json["materials"][primitive["material"]] if "material" in primitive else {"name": "default"}
        uvs = {}
        for kind, field in MAPS.items():
            info = material.get("pbrMetallicRoughness", {}).get(field) or material.get(field)
            if info is None or (kind == "emissive" and not any(material.get("emissiveFactor", [0]))):
                continue
            change = info.get("extensions", {}).get("KHR_texture_transform", {})
            name = f"TEXCOORD_{change.get('texCoord', info.get('texCoord', 0))}"
            if name in primitive["attributes"]:
                u, v = np.moveaxis(self.accessor(primitive["attributes"][name])[corners] * change.get("scale", [1, 1]), -1, 0)
                c, s = np.cos(change.get("rotation", 0)), np.sin(change.get("rotation", 0))
                uvs[kind] = np.stack([c * u + s * v, c * v - s * u], axis=-1) + change.get("offset", [0, 0])
        return uvs, material


def similar(matrices):
    """Do they all keep angles, and scale alike? Else directions follow a rule of the renderer's own."""
    squares = np.swapaxes(matrices[:, :3, :3], 1, 2) @ matrices[:, :3, :3]
    size = squares[0, 0, 0]
    return size > 0 and np.allclose(squares, np.eye(3) * size, atol=1e-4 * size)


def slerp(a, b, t):
    dot = float(a @ b)
    b, dot = (-b, -dot) if dot < 0 else (b, dot)
    angle = np.arccos(min(dot, 1.0))
    if angle < 1e-6:
        return (1 - t) * a + t * b
    return np.asarray((np.sin((1 - t) * angle) * a + np.sin(t * angle) * b) / np.sin(angle))


def rotation_matrix(q):
    """Columns are where the axes go: v + 2 w (u x v) + 2 u x (u x v) for a unit quaternion (u, w)."""
    u, w = q[:3] / np.linalg.norm(q), q[3] / np.linalg.norm(q)
    axes = np.eye(3)
    return np.asarray((axes + 2 * w * np.cross(u, axes) + 2 * np.cross(u, np.cross(u, axes))).T)


def local_matrix(node, index, moved):
    if "matrix" in node:
        return np.array(node["matrix"], np.float64).reshape(4, 4).T
    rest = {"translation": [0, 0, 0], "rotation": [0, 0, 0, 1], "scale": [1, 1, 1]} | node
    translation, rotation, scale = [np.array(moved.get((index, name), rest[name]), float) for name in ("translation", "rotation", "scale")]
    result = np.eye(4)
    result[:3, :3], result[:3, 3] = rotation_matrix(rotation) * scale, translation
    return result
