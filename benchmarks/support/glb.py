"""The same scenes for a peer that reads glTF."""

from __future__ import annotations

import json
import struct
from typing import Any

import numpy as np
import numpy.typing as npt

from .scenes import Part, Skin

COMPONENTS = {"float32": 5126, "uint32": 5125, "uint8": 5121}
Json = dict[str, Any]


class Document:
    """What a file holds, filled part by part; parts with one mesh and one material are instances of it."""

    def __init__(self, parts: list[Part]) -> None:
        self.arrays: list[npt.NDArray[Any]] = []
        self.accessors: list[Json] = []
        self.nodes: list[Json] = []
        self.meshes: list[Json] = []
        self.skins: list[Json] = []
        self.materials = list(dict.fromkeys(part.material for part in parts))
        numbers = {name: number for number, name in enumerate(self.materials)}
        known: dict[tuple[int, str], int] = {}
        for part in parts:
            key = (id(part.mesh), part.material)
            if key not in known:
                known[key] = len(self.meshes)
                self.meshes.append({"primitives": [self.primitive(part, numbers[part.material])]})
            node: Json = {"name": part.name, "mesh": known[key], "translation": list(part.offset)}
            if part.skin is not None:
                self.skins.append(self.skin(part.skin))
                node["skin"] = len(self.skins) - 1
            self.nodes.append(node)

    def accessor(self, array: npt.NDArray[Any], kind: str, **extra: list[float]) -> int:
        entry = {"bufferView": len(self.arrays), "componentType": COMPONENTS[array.dtype.name], "count": len(array), "type": kind}
        self.arrays.append(array)
        self.accessors.append(entry | extra)
        return len(self.accessors) - 1

    def primitive(self, part: Part, material: int) -> Json:
        mesh = part.mesh
        low, high = mesh.positions.min(axis=0).tolist(), mesh.positions.max(axis=0).tolist()
        attributes = {
            "POSITION": self.accessor(mesh.positions, "VEC3", min=low, max=high),
            "NORMAL": self.accessor(mesh.normals, "VEC3"),
            "TEXCOORD_0": self.accessor(mesh.uvs, "VEC2"),
        }
        if part.skin is not None:
            attributes["JOINTS_0"] = self.accessor(part.skin.joints, "VEC4")
            attributes["WEIGHTS_0"] = self.accessor(part.skin.weights, "VEC4")
        return {"attributes": attributes, "indices": self.accessor(mesh.indices, "SCALAR"), "material": material}

    def skin(self, skin: Skin) -> Json:
        inverses = np.tile(np.eye(4, dtype=np.float32), (skin.bone_count, 1, 1))
        inverses[:, 3, 0] = -np.arange(skin.bone_count)  # column by column
        first = len(self.nodes)
        self.nodes += [{"name": f"bone{b}", "translation": [float(b), 0.0, 0.0]} for b in range(skin.bone_count)]
        inverse = self.accessor(inverses.reshape(-1, 16), "MAT4")
        return {"joints": list(range(first, len(self.nodes))), "inverseBindMatrices": inverse}

    def json(self) -> bytes:
        offsets = np.cumsum([0] + [array.nbytes for array in self.arrays]).tolist()
        views = [{"buffer": 0, "byteOffset": o, "byteLength": a.nbytes} for o, a in zip(offsets, self.arrays)]
        textured = [{"pbrMetallicRoughness": {"baseColorTexture": {"index": i}}} for i in range(len(self.materials))]
        document = {
            "asset": {"version": "2.0"},
            "scene": 0,
            "scenes": [{"nodes": list(range(len(self.nodes)))}],
            "nodes": self.nodes,
            "meshes": self.meshes,
            "images": [{"uri": f"{name}.png"} for name in self.materials],
            "textures": [{"source": i} for i in range(len(self.materials))],
            "materials": [{"name": name} | surface for name, surface in zip(self.materials, textured)],
            "accessors": self.accessors,
            "bufferViews": views,
            "buffers": [{"byteLength": offsets[-1]}],
        } | ({"skins": self.skins} if self.skins else {})
        text = json.dumps(document, separators=(",", ":")).encode()
        return text + b" " * (-len(text) % 4)


def write_glb(parts: list[Part], path: str) -> None:
    document = Document(parts)
    text = document.json()
    size = sum(array.nbytes for array in document.arrays)
    with open(path, "wb") as file:
        file.write(struct.pack("<4sII", b"glTF", 2, 12 + 8 + len(text) + 8 + size))
        file.write(struct.pack("<I4s", len(text), b"JSON") + text)
        file.write(struct.pack("<I4s", size, b"BIN\0"))
        for array in document.arrays:
            file.write(array.tobytes())
