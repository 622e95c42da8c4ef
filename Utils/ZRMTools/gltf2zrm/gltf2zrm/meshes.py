"""Primitives as triangle lists with positions, normals, texture coordinates and joints."""

from __future__ import annotations

from dataclasses import dataclass, replace

import numpy as np
from numpy.typing import NDArray
from zrm_scene import Mesh
from zrm_scene.arrays import Floats, Indices, Integers, Reals, is_finite

from .compressed import DRACO, DracoShape, has
from .container import item
from .form import checked
from .problems import GltfError
from .schema import Draco, MaterialEntry, MeshEntry, NodeEntry, Primitive, Variants
from .source import Source

POINTS, LINES, LINE_LOOP, LINE_STRIP, TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN = range(7)
MOST_SETS = 8
READ = {"POSITION", "NORMAL", *(f"{kind}_{number}" for kind in ("TEXCOORD", "JOINTS", "WEIGHTS") for number in range(MOST_SETS))}
VARIANTS = "KHR_materials_variants"


@dataclass(slots=True)
class Piece:
    """One primitive."""

    mesh: Mesh
    material: int | None
    label: str


class Meshes:
    """Reads meshes; the primitives of a mesh that several nodes show are read once."""

    def __init__(self, source: Source) -> None:
        self.source = source
        self.reader = source.reader
        self.report = source.report
        self.entries = source.container.entries("meshes", MeshEntry)
        self.cache: dict[tuple[int, tuple[float, ...]], list[Piece]] = {}

    def of_node(self, index: int, node: NodeEntry, where: str, name: str) -> list[Piece]:
        """The primitives of a mesh that a node shows, lines among them."""
        entry = item(self.entries, index, "mesh", f"{where}.mesh")
        weights = node.get("weights") or entry.get("weights") or []
        key = (index, tuple(weights))
        if key not in self.cache:
            called, pieces = entry.get("name") or name, []
            for number, primitive in enumerate(entry["primitives"]):
                if (piece := self._piece(primitive, weights, f"meshes[{index}].primitives[{number}]", called)) is not None:
                    pieces.append(piece)
            self.cache[key] = pieces
        return self.cache[key]

    def _piece(self, primitive: Primitive, weights: list[float], where: str, name: str) -> Piece | None:
        attributes = primitive["attributes"]
        if attributes.get("POSITION") is None:
            self.report.lose("primitives", "they have no positions", where)
            return None
        draco = self._draco(primitive, where)
        positions = self._attribute(attributes, draco, "POSITION", 3, None, where)
        assert positions is not None
        indices = self._indices(primitive, draco, len(positions), where)
        if indices is None or not len(indices):
            return None
        self._tell(primitive, where)
        normals = self._attribute(attributes, draco, "NORMAL", 3, len(positions), where)
        uvs = {}
        for number in range(MOST_SETS):
            if (uv := self._attribute(attributes, draco, f"TEXCOORD_{number}", 2, len(positions), where)) is not None:
                uvs[number] = self._finite(uv, "texture coordinates", where)
        positions, normals = self._morphed(primitive, weights, positions, normals, where)
        if not is_finite(positions):
            raise GltfError(f"{where}.attributes.POSITION: positions are not finite")
        if (material := primitive.get("material")) is not None:
            self.source.container.entry("materials", MaterialEntry, material, f"{where}.material")
        joints, shares = self._influences(attributes, draco, len(positions), where)
        blank = positions if normals is None else self._finite(normals, "normals", where)
        mesh = Mesh(positions, indices, blank, uvs, joints, shares)
        return Piece(with_flat_normals(mesh) if normals is None else mesh, material, f"{where} ({name})")

    def _draco(self, primitive: Primitive, where: str) -> DracoShape | None:
        """What the primitive holds compressed, unless it has plain data beside it and there is no decoder."""
        found = (primitive.get("extensions") or {}).get(DRACO)
        if found is None:
            return None
        required = DRACO in (self.source.container.root.get("extensionsRequired") or [])
        position = self.reader.entry(primitive["attributes"]["POSITION"], f"{where}.attributes.POSITION")
        if not required and not has("DracoPy") and position.get("bufferView") is not None:
            return None
        place = f"{where}.extensions.{DRACO}"
        entry = checked(found, Draco, place)
        return DracoShape(self.reader.bytes_of(entry["bufferView"], f"{place}.bufferView"), entry, place)

    def _attribute(self, attributes: dict[str, int], draco: DracoShape | None, name: str, width: int, count: int | None, where: str) -> Reals | None:
        if (index := attributes.get(name)) is None:
            return None
        place = f"{where}.attributes.{name}"
        packed = None if draco is None else draco.values(name)
        if packed is None:
            values = self.reader.reals(index, width, place)
        else:
            values = self.reader.real(packed, self.reader.entry(index, place), width, place)
        if count is not None and len(values) != count:
            raise GltfError(f"{place}: {len(values)} values for {count} positions")
        return values

    def _finite(self, values: Reals, what: str, where: str) -> Reals:
        """NaN and infinities as zeros; the module mends a normal without a length."""
        if is_finite(values):
            return values
        self.report.lose(f"{what} that are not finite", "zeros stand for them", where)
        return np.where(np.isfinite(values.astype(np.float32)), values, 0.0)

    def _indices(self, primitive: Primitive, draco: DracoShape | None, count: int, where: str) -> Indices | None:
        mode = primitive.get("mode", TRIANGLES)
        mode = TRIANGLES if mode is None else mode
        flat: Indices
        if draco is not None and len(draco.faces):
            flat, mode = draco.faces.astype(np.uint32, copy=False), TRIANGLES
        elif (index := primitive.get("indices")) is not None:
            flat = self.reader.integers(index, 1, f"{where}.indices")[:, 0]
        else:
            flat = np.arange(count, dtype=np.uint32)
        if len(flat) and int(flat.max()) >= count:
            raise GltfError(f"{where}.indices: index {int(flat.max())} of {count} vertices")
        indices = assembled(mode, flat)
        if indices is None:
            self.report.lose("points", "nothing in the model can show them" if mode == POINTS else f"unknown primitive mode {mode}", where)
        elif mode in (LINES, TRIANGLES) and len(flat) % indices.shape[1]:
            self.report.lose("incomplete triangles or lines", "the last indices are left out", where)
        return indices

    def _tell(self, primitive: Primitive, where: str) -> None:
        """What the primitive has and a mesh of the module doesn't."""
        for name in primitive["attributes"]:
            if name.startswith("COLOR_"):
                self.report.lose("vertex colours", "no block carries them", f"{where}.attributes.{name}")
            elif name == "TANGENT":
                self.report.lose("tangents", "the module makes its own", f"{where}.attributes.{name}")
            elif name not in READ:
                self.report.lose(f"attribute {name}", "nothing in the model carries it", where)
        if primitive.get("targets"):
            self.report.lose("morph targets", "they are exported at their default weights", where)
        if (found := (primitive.get("extensions") or {}).get(VARIANTS)) is not None:
            others = (self.source.container.root.get("extensions") or {}).get(VARIANTS, {})
            names = [entry.get("name") or "" for entry in checked(others, Variants, f"extensions.{VARIANTS}").get("variants") or []]
            if found:
                self.report.lose("material variants", f"the default is exported, not {', '.join(names)}", where)

    def _morphed(self, primitive: Primitive, weights: list[float], positions: Reals, normals: Reals | None, where: str) -> tuple[Reals, Reals | None]:
        targets = primitive.get("targets") or []
        if not any(weights[: len(targets)]):
            return positions, normals
        for number, (target, weight) in enumerate(zip(targets, weights)):
            if weight == 0.0:
                continue
            place = f"{where}.targets[{number}]"
            move = self._attribute(target, None, "POSITION", 3, len(positions), place)
            if move is not None:
                positions = positions.astype(np.float64) + weight * move.astype(np.float64)
            bend = self._attribute(target, None, "NORMAL", 3, len(positions), place)
            if bend is not None and normals is not None:
                normals = normals.astype(np.float64) + weight * bend.astype(np.float64)
        if normals is not None:
            normals = normals.astype(np.float64)
            length = np.linalg.norm(normals, axis=1, keepdims=True)
            normals = np.divide(normals, length, out=normals.copy(), where=length > 0.0)
        return positions, normals

    def _influences(self, attributes: dict[str, int], draco: DracoShape | None, count: int, where: str) -> tuple[Integers | None, Floats | None]:
        joints: list[NDArray[np.int64]] = []
        weights: list[Floats] = []
        for number in range(MOST_SETS):
            share = self._attribute(attributes, draco, f"WEIGHTS_{number}", 4, count, where)
            if share is None or (index := attributes.get(f"JOINTS_{number}")) is None:
                break
            place = f"{where}.attributes.JOINTS_{number}"
            packed = None if draco is None else draco.values(f"JOINTS_{number}")
            numbers = self.reader.integers(index, 4, place) if packed is None else packed.astype(np.uint32)
            if numbers.shape != (count, 4):
                raise GltfError(f"{place}: {len(numbers)} values for {count} positions")
            joints.append(numbers.astype(np.int64))
            weights.append(share.astype(np.float64))
        return (np.hstack(joints), np.hstack(weights)) if joints else (None, None)


def assembled(mode: int, flat: Indices) -> Indices | None:
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


def with_flat_normals(mesh: Mesh) -> Mesh:
    """Three vertices of their own for each triangle, as glTF asks for flat shading where normals are missing."""
    if mesh.indices.shape[1] != 3:
        return replace(mesh, normals=np.zeros_like(mesh.positions))
    flat = mesh.picked(mesh.indices.reshape(-1), np.arange(mesh.indices.size).reshape(-1, 3))
    a, b, c = (flat.positions[i::3].astype(np.float64) for i in range(3))
    normals = np.cross(b - a, c - a)
    length = np.linalg.norm(normals, axis=1, keepdims=True)
    normals = np.where(length > 0.0, normals / np.where(length > 0.0, length, 1.0), np.array([0.0, 1.0, 0.0]))
    return replace(flat, normals=np.repeat(normals, 3, axis=0))
