"""Primitives as triangle lists with positions, normals, texture coordinates and joints."""

from __future__ import annotations

from dataclasses import dataclass, field, replace
from typing import Any

import numpy as np

from .accessors import Floats, Integers, Reader
from .container import item
from .problems import GltfError
from .report import Report
from .scene import Scene, SceneNode

POINTS, LINES, LINE_LOOP, LINE_STRIP, TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN = range(7)
MOST_SETS = 8


@dataclass
class Geometry:
    """One primitive.  `indices` is [m, 3], or [m, 2] where the primitive is made of lines."""

    label: str
    material: int | None
    positions: Floats
    normals: Floats
    indices: Integers
    uvs: dict[int, Floats] = field(default_factory=dict)
    joints: Integers | None = None  # [n, 4 k]
    weights: Floats | None = None

    def radius(self) -> float:
        """Largest distance from the origin."""
        return float(np.linalg.norm(self.positions, axis=1).max(initial=0.0))

    def picked(self, vertices: Integers, indices: Integers) -> Geometry:
        """The same surface made of other vertices, each a copy of an old one."""
        return replace(
            self,
            positions=self.positions[vertices],
            normals=self.normals[vertices],
            indices=indices,
            uvs={number: uv[vertices] for number, uv in self.uvs.items()},
            joints=None if self.joints is None else self.joints[vertices],
            weights=None if self.weights is None else self.weights[vertices],
        )

    def compact(self, indices: Integers) -> Geometry:
        """Only these triangles and the vertices they use."""
        vertices, places = np.unique(indices, return_inverse=True)
        return self.picked(vertices, places.reshape(indices.shape))


class Meshes:
    """Reads meshes; the primitives of a mesh that several nodes show are read once."""

    def __init__(self, scene: Scene, report: Report) -> None:
        self.scene = scene
        self.report = report
        self.cache: dict[tuple[int, tuple[float, ...]], list[Geometry]] = {}

    def of_node(self, node: SceneNode) -> list[Geometry]:
        """The primitives that a node shows, lines among them."""
        assert node.mesh is not None
        mesh = self.scene.container.json.meshes[node.mesh]
        weights: list[float] = node.weights or mesh.weights or []
        key = (node.mesh, tuple(weights))
        if key not in self.cache:
            name = str(mesh.name) if mesh.name is not None else node.name
            found = []
            for number_, primitive in enumerate(mesh.primitives or []):
                label = f"mesh {node.mesh} ({name}), primitive {number_}"
                if (geometry := self._primitive(primitive, weights, label)) is not None:
                    found.append(geometry)
            self.cache[key] = found
        return self.cache[key]

    def _primitive(self, primitive: Any, weights: list[float], label: str) -> Geometry | None:
        reader = self.scene.reader
        attributes = vars(primitive.attributes) if primitive.attributes else {}  # an empty one stays a dict
        if attributes.get("POSITION") is None:
            self.report.skip(label, "it has no positions")
            return None
        positions = reader.floats(attributes["POSITION"], 3, label)
        indices = self._indices(primitive, len(positions), label)
        if indices is None or not len(indices):
            return None
        normals = self._optional(reader, attributes, "NORMAL", 3, len(positions), label)
        uvs = {}
        for number_ in range(MOST_SETS):
            uv = self._optional(reader, attributes, f"TEXCOORD_{number_}", 2, len(positions), label)
            if uv is not None:
                uvs[number_] = uv
        for name in attributes:
            if name.startswith("COLOR_") and attributes[name] is not None:
                self.report.skip(f"{label}: {name}", "no block carries vertex colours")
        positions, normals = self._morphed(primitive, weights, positions, normals, label)
        if not np.isfinite(positions).all():
            raise GltfError(f"{label}: positions are not finite")
        material = primitive.material
        if material is not None:
            item(self.scene.container.json.materials, material, f"{label}: material")
        shape = Geometry(label, material, positions, np.zeros_like(positions), indices, uvs)
        shape.joints, shape.weights = self._influences(reader, attributes, len(positions), label)
        if normals is None:
            return with_flat_normals(shape)
        shape.normals = normals
        return shape

    def _optional(self, reader: Reader, attributes: dict[str, Any], name: str, width: int, count: int, label: str) -> Floats | None:
        if attributes.get(name) is None:
            return None
        values = reader.floats(attributes[name], width, f"{label}: {name}")
        if len(values) != count:
            raise GltfError(f"{label}: {name} has {len(values)} values for {count} positions")
        return values

    def _indices(self, primitive: Any, count: int, label: str) -> Integers | None:
        mode = TRIANGLES if primitive.mode is None else primitive.mode
        if primitive.indices is None:
            flat = np.arange(count)
        else:
            flat = self.scene.reader.integers(primitive.indices, 1, f"{label}: indices")[:, 0]
        if len(flat) and int(flat.max()) >= count:
            raise GltfError(f"{label}: index {int(flat.max())} of {count} vertices")
        indices = assembled(mode, flat)
        if indices is None:
            self.report.skip(label, f"primitive mode {mode!r} draws points")
        elif mode in (LINES, TRIANGLES) and len(flat) % indices.shape[1]:
            self.report.warn(f"{label}: {len(flat)} indices; the last {len(flat) % indices.shape[1]} are dropped")
        return indices

    def _morphed(
        self, primitive: Any, weights: list[float], positions: Floats, normals: Floats | None, label: str
    ) -> tuple[Floats, Floats | None]:
        targets = primitive.targets or []
        for target, weight in zip(targets, weights):
            if weight == 0.0:
                continue
            entries = target if isinstance(target, dict) else vars(target)
            for name in ("POSITION", "NORMAL"):
                move = self._optional(self.scene.reader, entries, name, 3, len(positions), f"{label}: target")
                if move is not None and name == "POSITION":
                    positions = positions + weight * move
                elif move is not None and normals is not None:
                    normals = normals + weight * move
        if normals is not None and any(weights) and targets:
            length = np.linalg.norm(normals, axis=1, keepdims=True)
            normals = np.divide(normals, length, out=normals.copy(), where=length > 0.0)
        return positions, normals

    def _influences(
        self, reader: Reader, attributes: dict[str, Any], count: int, label: str
    ) -> tuple[Integers | None, Floats | None]:
        joints, weights = [], []
        for number_ in range(MOST_SETS):
            share = self._optional(reader, attributes, f"WEIGHTS_{number_}", 4, count, label)
            if share is None or attributes.get(f"JOINTS_{number_}") is None:
                break
            joints.append(reader.integers(attributes[f"JOINTS_{number_}"], 4, f"{label}: JOINTS_{number_}"))
            weights.append(share)
            if len(joints[-1]) != count:
                raise GltfError(f"{label}: JOINTS_{number_} has {len(joints[-1])} values for {count} positions")
        return (np.hstack(joints), np.hstack(weights)) if joints else (None, None)


def assembled(mode: Any, flat: Integers) -> Integers | None:
    """Triangles [m, 3] or lines [m, 2] of a primitive's indices; None for points and unknown modes."""
    if mode == TRIANGLES:
        return flat[: len(flat) // 3 * 3].reshape(-1, 3)
    if mode == TRIANGLE_STRIP:
        first = np.arange(max(len(flat) - 2, 0))
        odd = first % 2  # every second triangle of a strip runs the other way
        return flat[np.stack([first, first + 1 + odd, first + 2 - odd], axis=1)]
    if mode == TRIANGLE_FAN:
        first = np.arange(max(len(flat) - 2, 0))
        return flat[np.stack([first + 1, first + 2, np.zeros_like(first)], axis=1)]
    if mode == LINES:
        return flat[: len(flat) // 2 * 2].reshape(-1, 2)
    if mode in (LINE_STRIP, LINE_LOOP):
        lines = np.stack([flat[:-1], flat[1:]], axis=1)
        return np.vstack([lines, [[flat[-1], flat[0]]]]) if mode == LINE_LOOP and len(flat) > 2 else lines
    return None


def with_flat_normals(shape: Geometry) -> Geometry:
    """Three vertices of their own for each triangle, as glTF asks for flat shading where normals are missing."""
    if shape.indices.shape[1] != 3:
        return shape
    flat = shape.picked(shape.indices.reshape(-1), np.arange(shape.indices.size).reshape(-1, 3))
    a, b, c = (flat.positions[i::3] for i in range(3))
    normals = np.cross(b - a, c - a)
    length = np.linalg.norm(normals, axis=1, keepdims=True)
    normals = np.where(length > 0.0, normals / np.where(length > 0.0, length, 1.0), np.array([0.0, 1.0, 0.0]))
    flat.normals = np.repeat(normals, 3, axis=0)
    return flat
