"""Skins as bones and bone blocks.

A bone facade can't move by itself, so each hangs, with the identity as its matrix, under the node that carries
its joint's motion.  Vertices stay in the bind space: the bone's inverted matrix is the inverse bind matrix.
In a vertex, bone 0 is the control node and i + 1 the block's bone i; only the low byte of a number is kept,
so a mesh that needs more than 255 joints is cut in parts.
"""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import replace

import numpy as np
import pyzrm_313 as zrm

from .arrays import IDENTITY, Floats, Integers
from .bounds import box_between
from .errors import ZrmError
from .records import Mesh, Shape, Skin
from .report import Report
from .tree import Tree

MOST_BONES = 255
# Of the cube from -1 to 1, each with a 1 behind it.
CORNERS = np.array([[x, y, z, 1.0] for x in (-1.0, 1.0) for y in (-1.0, 1.0) for z in (-1.0, 1.0)])
INFLUENCES = 4


def strongest(shape: Shape, skin: Skin, report: Report) -> Mesh:
    """At most four influences a vertex, their weights adding up to one."""
    mesh, label = shape.mesh, shape.label
    count = len(mesh.positions)
    joints, weights = mesh.joints, mesh.weights
    if joints is None or weights is None:
        report.warn(f"{label}: a skin but no weights; it hangs on the first joint")
        joints, weights = np.zeros((count, INFLUENCES), np.int64), np.zeros((count, INFLUENCES))
    weights = np.where(np.isfinite(weights), np.maximum(weights, 0.0), 0.0)
    joints = np.where(weights > 0.0, joints, 0)
    if count and int(joints.max()) >= len(skin.joints):
        raise ZrmError(label, f"joint {int(joints.max())} of the {len(skin.joints)} in the skin {skin.name!r}")
    if joints.shape[1] > INFLUENCES:
        order = np.argsort(-weights, axis=1, kind="stable")[:, :INFLUENCES]
        if (np.count_nonzero(weights, axis=1) > INFLUENCES).any():
            report.lose("vertices with more than four influences", "they keep the strongest", label)
        joints, weights = np.take_along_axis(joints, order, 1), np.take_along_axis(weights, order, 1)
    total = weights.sum(axis=1, keepdims=True)
    if (total == 0.0).any():
        report.warn(f"{label}: vertices without weights hang on the first joint")
        weights = np.where(total > 0.0, weights, np.eye(1, INFLUENCES))
        total = np.where(total > 0.0, total, 1.0)
    return replace(mesh, joints=joints, weights=weights / total)


def parts(geometry: Mesh) -> list[Mesh]:
    """The mesh cut so that no part needs more joints than a byte can number.  Triangles keep their order."""
    assert geometry.joints is not None and geometry.weights is not None
    used = np.unique(geometry.joints[geometry.weights > 0.0])
    if len(used) <= MOST_BONES:
        return [geometry]
    bones = [set(row[share > 0.0].tolist()) for row, share in zip(geometry.joints, geometry.weights)]
    groups: list[list[int]] = [[]]
    have: set[int] = set()
    for number, triangle in enumerate(geometry.indices.tolist()):
        need = bones[triangle[0]] | bones[triangle[1]] | bones[triangle[2]]
        if groups[-1] and len(have | need) > MOST_BONES:
            groups.append([])
            have = set()
        have |= need
        groups[-1].append(number)
    return [geometry.compact(geometry.indices[group]) for group in groups]


def joint_boxes(mesh: Mesh) -> dict[int, Floats]:
    """For each joint in use, by its place in the skin, the box around the vertices that follow it, in the bind space.
    A vertex lies between what its joints make of it, so these hold the mesh."""
    assert mesh.joints is not None and mesh.weights is not None
    rows, slots = np.nonzero(mesh.weights > 0.0)
    joints, points = mesh.joints[rows, slots], mesh.positions[rows].astype(np.float64)
    low, high = np.full((int(joints.max(initial=0)) + 1, 3), np.inf), np.full((int(joints.max(initial=0)) + 1, 3), -np.inf)
    np.minimum.at(low, joints, points)
    np.maximum.at(high, joints, points)
    return {int(joint): box_between(low[joint], high[joint]) for joint in np.unique(joints)}


def joint_radii(tree: Tree, skin: Skin, mesh: Mesh) -> dict[int, float]:
    """How far from each joint node the vertices lie that follow it, at most, in the joint's own space."""
    result: dict[int, float] = {}
    for slot, box in joint_boxes(mesh).items():
        inside = CORNERS @ (skin.inverses[slot] @ box)[:3].T
        result[tree.place[skin.joints[slot]]] = float(np.linalg.norm(inside, axis=1).max())
    return result


class Bones:
    """Makes the bone facades of a model, each joint's once for each skin and size of mesh."""

    def __init__(self, tree: Tree, facades: Sequence[zrm.Node], root: zrm.Node) -> None:
        self.tree = tree
        self.facades = facades
        self.root = root
        self.bones: dict[tuple[Skin, int, float], zrm.Bone] = {}
        self.controls: dict[Skin, zrm.Bone] = {}

    def control(self, skin: Skin) -> zrm.Bone:
        """What the mesh hangs on.  It stands still at the origin: only the joints move a skin."""
        if skin not in self.controls:
            self.controls[skin] = self.root.addChild(zrm.Bone(skin.name, IDENTITY, IDENTITY))
        return self.controls[skin]

    def bone(self, skin: Skin, slot: int, factor: float) -> zrm.Bone:
        """The bone of a joint; the inverted matrix undoes the factor by which a small mesh was enlarged."""
        key = (skin, slot, factor)
        if key not in self.bones:
            joint = self.facades[self.tree.place[skin.joints[slot]]]
            inverse = skin.inverses[slot] @ np.diag([1.0 / factor, 1.0 / factor, 1.0 / factor, 1.0])
            self.bones[key] = joint.addChild(zrm.Bone(f"{joint.getName()} bone", IDENTITY, inverse))
        return self.bones[key]

    def block(self, skin: Skin, mesh: Mesh, factor: float) -> zrm.BoneBlock:
        """The bone block of one part of a mesh, with only the joints that it uses."""
        assert mesh.joints is not None and mesh.weights is not None
        live = mesh.weights > 0.0
        used = np.unique(mesh.joints[live])
        places: Integers = np.where(live, np.searchsorted(used, np.where(live, mesh.joints, used[0])) + 1, 0)
        block = zrm.BoneBlock()
        block.setBoneIndices(np.ascontiguousarray(places, np.uint32).reshape(-1))
        block.setBoneWeights(np.ascontiguousarray(mesh.weights, np.float32).reshape(-1))
        bones = [self.bone(skin, int(slot), factor) for slot in used]
        block.setBones(bones)
        block.setBoneNames([bone.getName() for bone in bones])
        return block
