"""A file at given argument values: world matrices, visibility, and meshes in world space.

    scene = evaluate(parse(data), {3: 0.5})
    for mesh in scene.meshes:
        mesh.positions[mesh.triangles]      # (triangles, 3 corners, 3)

World space is that of the tree's top. Everything is computed in f64.

A vertex of a render node moves with the parent entry whose number its POSITION0 carries.

The vertices of a skin stand in the space in which the bones had their rest pose, the one from which
`invertedBaseBoneMatrix` leads into a bone. So a bone takes a vertex straight to world space, by
v x invertedBaseBoneMatrix x world(bone), and the control node, entry 0 of the list, is a bone like the
others and no transform on top. A vertex is the sum of that over its four bones, by the weights in COLOR1;
without COLOR1 it follows its first bone.
"""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass
from functools import cached_property
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .animation import Arguments
from .model import (
    Doubles,
    Floats,
    Material,
    RenderNode,
    SkinNode,
    ZrmFile,
)
from .world import Bools, Ints, child_numbers, visibility, world_matrices

_CHUNK = 1 << 16  # vertices at a time, so that a matrix for each vertex stays within a few megabytes
_DIRECTIONS = ("NORMAL0", "TANGENT0", "BINORMAL0")


class SceneMesh:
    """A render node's mesh in world space; each array is made when it is first asked for.

    positions        (n, 3)
    normals          (n, 3) unit vectors, None when the mesh has none; tangents and binormals alike
    uvs              texture coordinates by set: uvs[k] is TEXCOORDk, (n, 2) or as wide as the format says
    triangles        (t, 3) vertex numbers, of the file's width; empty for other primitives
    parts            (n,) each vertex's parent entry; zeros for a skin
    controls         tree index of each parent entry; of a skin, its control node alone
    arguments        damage argument of each of these
    visible          of each of these, by the visibility nodes above it
    triangle_visible (t,) whether all three corners are of visible parts
    """

    def __init__(self, file: ZrmFile, node: RenderNode | SkinNode, placed: _Placed, visible: Bools) -> None:
        self.node = node
        self.material: Material = file.materials[node.material]
        self.parts = placed.parts
        self.controls: Ints = placed.entries[:, 0]
        self.arguments: Ints = placed.entries[:, 1]
        self.visible: Bools = visible[self.controls]
        self.triangles = node.mesh.triangles()
        self._mover = placed.mover
        self._attributes = node.mesh.split()

    @cached_property
    def positions(self) -> Doubles:
        with np.errstate(all="ignore"):
            return self._mover.points(self._attributes["POSITION0"])

    def _directions(self, name: str) -> Doubles | None:
        values = self._attributes.get(name)
        with np.errstate(all="ignore"):
            return None if values is None else self._mover.directions(values)

    @cached_property
    def normals(self) -> Doubles | None:
        return self._directions("NORMAL0")

    @cached_property
    def tangents(self) -> Doubles | None:
        return self._directions("TANGENT0")

    @cached_property
    def binormals(self) -> Doubles | None:
        return self._directions("BINORMAL0")

    @cached_property
    def uvs(self) -> dict[int, Floats]:
        return {k: self._attributes[name] for k in range(16) if (name := f"TEXCOORD{k}") in self._attributes}

    @cached_property
    def triangle_visible(self) -> Bools:
        return np.asarray(self.visible[self.parts][self.triangles].all(axis=1))

    def uv_of(self, map_kind: int | str) -> Floats | None:
        """The coordinates that a map of the material uses, by number or name of CHANNELS."""
        channel = self.material.channel(map_kind)
        return None if channel is None else self.uvs[channel]


@dataclass(slots=True)
class Scene:
    """The whole file at the given arguments.

    world         (nodes, 4, 4)
    visible       (nodes,): that of a node and all above it
    child_numbers (nodes,): the place of each node among its parent's children
    """

    file: ZrmFile
    world: Doubles
    visible: Bools
    child_numbers: Ints
    meshes: list[SceneMesh]

    def lod_ranges(self, node: int) -> list[tuple[int, float, float]]:
        """(LOD node, near, far) for each level that a node lies in, inmost first, as squared distances.

        Child i of a LOD node is used at level i; a child behind the last level has no range and isn't listed.
        """
        found: list[tuple[int, float, float]] = []
        nodes = self.file.nodes
        while (parent := nodes[node].parent) >= 0:
            above = nodes[parent]
            if above.levels is not None:
                level = int(self.child_numbers[node])
                if level < len(above.levels):
                    near, far = above.levels[level].tolist()
                    found.append((parent, near, far))
            node = parent
        return found


def evaluate(file: ZrmFile, arguments: Arguments) -> Scene:
    """The scene at these argument values; an argument that isn't given is 0.

    ValueError when a mesh can't be followed: a vertex of an entry that isn't there, an index beyond the vertices.
    """
    world = world_matrices(file, arguments)
    visible = visibility(file, arguments)
    with np.errstate(all="ignore"):
        meshes = list(_meshes(file, world, visible))
    return Scene(file, world, visible, child_numbers(file.parents), meshes)


# ---------------------------------------------------------------- vertices


def normal_matrices(matrices: Doubles) -> Doubles:
    """(k, 3, 3) for directions under (k, 4, 4) matrices.

    The columns of the upper left 3 by 3 are brought to unit length (one of almost no length stays), and
    the result is inverted and transposed. A flattening matrix leaves directions as they are.
    """
    upper = matrices[:, :3, :3].copy()
    lengths = np.sqrt((upper**2).sum(axis=1))
    upper /= np.where(np.abs(lengths) <= 1e-6, 1.0, lengths)[:, None, :]
    determinants = np.linalg.det(upper)
    result = np.tile(np.eye(3), (len(upper), 1, 1))
    usable = np.isfinite(upper).all(axis=(1, 2)) & (np.abs(determinants) >= 1e-5)
    result[usable] = np.linalg.inv(upper[usable]).transpose(0, 2, 1)
    return result


def _apply(rows: Doubles, matrices: Doubles, numbers: NDArray[Any]) -> Doubles:
    """Row i times matrix numbers[i]; rows and matrices of 3 or 4 columns."""
    if len(matrices) == 1:
        return np.asarray(rows @ matrices[0])
    out = np.empty_like(rows)
    for start in range(0, len(rows), _CHUNK):
        part = slice(start, start + _CHUNK)
        out[part] = np.matmul(rows[part, None, :], matrices[numbers[part]])[:, 0]
    return out


def _points(values: NDArray[Any]) -> Doubles:
    rows = np.ones((len(values), 4))
    rows[:, :3] = values[:, :3]
    return rows


def _unit(rows: Doubles) -> Doubles:
    lengths = np.sqrt((rows**2).sum(axis=1, keepdims=True))
    return np.asarray(np.where(lengths > 0, rows / lengths, rows))


class _Mover:
    """Takes points and directions of a mesh to world space: each by one or more weighted matrices."""

    def __init__(self, matrices: Doubles, numbers: NDArray[Any], weights: Floats | None = None) -> None:
        """numbers is (n, influences), weights alike; without weights the one influence counts in full."""
        self.matrices = matrices
        self.numbers = numbers
        self.weights = weights

    def _sum(self, rows: Doubles, matrices: Doubles) -> Doubles:
        if self.weights is None:
            return _apply(rows, matrices, self.numbers[:, 0])
        total = np.zeros_like(rows)
        for k in range(self.numbers.shape[1]):
            moved = _apply(rows, matrices, self.numbers[:, k])
            weight = self.weights[:, k : k + 1]
            total += np.where(weight != 0, weight * moved, 0.0)
        return total

    def points(self, values: NDArray[Any]) -> Doubles:
        return self._sum(_points(values), self.matrices)[:, :3]

    def directions(self, values: NDArray[Any]) -> Doubles:
        return _unit(self._sum(values[:, :3].astype(np.float64), normal_matrices(self.matrices)))


def _refuse(node: RenderNode | SkinNode, message: str) -> ValueError:
    return ValueError(f"{node.type_name} '{node.name}': {message}")


def _check(node: RenderNode | SkinNode, numbers: NDArray[Any], count: int, what: str) -> None:
    if numbers.size and (numbers.min() < 0 or numbers.max() >= count):
        bad = int(numbers.max()) if numbers.max() >= count else int(numbers.min())
        raise _refuse(node, f"{what} {bad} of {count}")


def _render_mover(node: RenderNode, parts: NDArray[np.int32], world: Doubles) -> _Mover:
    _check(node, parts, len(node.parents), "vertex of parent")
    return _Mover(world[node.parents[:, 0]], parts[:, None])


def _skin_mover(file: ZrmFile, node: SkinNode, world: Doubles) -> _Mover:
    mesh = node.mesh
    if mesh.vertex_format[0] != 4:
        raise _refuse(node, "POSITION0 has no bone numbers")
    if not len(node.bones):
        raise _refuse(node, "no control node")
    inverted = np.zeros((len(node.bones), 4, 4))
    for place, index in enumerate(node.bones.tolist()):
        inverted[place] = file.nodes[index].inverted
    matrices = inverted @ world[node.bones]
    numbers = mesh.bone_indices()
    attributes = mesh.split()
    if "COLOR1" not in attributes:
        _check(node, numbers[:, 0], len(node.bones), "vertex of bone")
        return _Mover(matrices, numbers[:, :1])
    weights = attributes["COLOR1"]
    if weights.shape[1] != 4:
        raise _refuse(node, "COLOR1 has not four weights")
    # What has no weight may name any bone.
    numbers = np.where(weights != 0, numbers, 0).astype(np.uint8)
    _check(node, numbers.ravel(), len(node.bones), "vertex of bone")
    return _Mover(matrices, numbers, weights)


@dataclass(slots=True)
class _Placed:
    """How a mesh gets to world space: its mover, its vertices' parts, and (tree index, argument) of each part."""

    mover: _Mover
    parts: NDArray[np.int32]
    entries: Ints


def _placed(file: ZrmFile, node: RenderNode | SkinNode, world: Doubles) -> _Placed:
    if isinstance(node, RenderNode):
        parts = node.mesh.part_numbers()
        return _Placed(_render_mover(node, parts, world), parts, node.parents.astype(np.int64))
    parts = np.zeros(node.mesh.vertex_count, np.int32)
    mover = _skin_mover(file, node, world)
    return _Placed(mover, parts, np.array([[node.bones[0], node.argument]], np.int64))


def _meshes(file: ZrmFile, world: Doubles, visible: Bools) -> Iterator[SceneMesh]:
    for node in file.render_nodes:
        if not isinstance(node, (RenderNode, SkinNode)) or not node.mesh.vertex_count:
            continue
        width = int(node.mesh.vertex_format[0])
        if width == 0:
            continue
        if width not in (3, 4):
            raise _refuse(node, f"a position of {width} floats")
        _check(node, node.mesh.triangles(), node.mesh.vertex_count, "index")
        placed = _placed(file, node, world)
        for name, values in node.mesh.split().items():
            if name in _DIRECTIONS and values.shape[1] < 3:
                raise _refuse(node, f"a direction of {values.shape[1]} floats")
        yield SceneMesh(file, node, placed, visible)
