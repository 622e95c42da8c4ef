"""Skins as bones and bone blocks.

A bone facade can't move by itself, so each hangs, with the identity as its matrix, under the node that carries
its joint's motion.  Vertices stay in the bind space: the bone's inverted matrix is the inverse bind matrix.
In a vertex, bone 0 is the control node and i + 1 the block's bone i; only the low byte of a number is kept,
so a mesh that needs more than 255 joints is cut in parts.
"""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .accessors import Floats, Integers
from .container import item
from .meshes import Geometry
from .pose import corners
from .problems import GltfError
from .report import Report
from .scene import Scene
from .transforms import script_matrix

MOST_BONES = 255
INFLUENCES = 4


@dataclass
class Skin:
    """A skin of the file: node numbers of its joints and their inverse bind matrices [n, 4, 4]."""

    index: int
    name: str
    joints: list[int]
    inverses: Floats


def read_skin(scene: Scene, index: int) -> Skin:
    """A skin, checked."""
    entry = scene.container.json.skins[index]
    where = f"skin {index}"
    joints = [joint for joint in entry.joints or []]
    for joint in joints:
        item(scene.container.json.nodes, joint, f"{where}: joint")
        if joint not in scene.nodes:
            raise GltfError(f"{where}: joint {joint} lies outside the scene")
    if not joints:
        raise GltfError(f"{where} has no joints")
    if entry.inverseBindMatrices is None:
        inverses = np.repeat(np.eye(4)[None], len(joints), axis=0)
    else:
        flat = scene.reader.floats(entry.inverseBindMatrices, 16, f"{where}: inverseBindMatrices")
        if len(flat) < len(joints):
            raise GltfError(f"{where}: {len(flat)} inverse bind matrices for {len(joints)} joints")
        inverses = flat[: len(joints)].reshape(-1, 4, 4).transpose(0, 2, 1)
        if not np.isfinite(inverses).all():
            raise GltfError(f"{where}: inverse bind matrices are not finite")
    return Skin(index, str(entry.name) if entry.name else f"skin_{index}", joints, inverses)


def strongest(geometry: Geometry, skin: Skin, report: Report) -> Geometry:
    """At most four influences a vertex, their weights adding up to one."""
    count = len(geometry.positions)
    joints, weights = geometry.joints, geometry.weights
    if joints is None or weights is None:
        report.warn(f"{geometry.label}: a skin but no weights; it hangs on the first joint")
        joints, weights = np.zeros((count, INFLUENCES), np.int64), np.zeros((count, INFLUENCES))
    weights = np.where(np.isfinite(weights), np.maximum(weights, 0.0), 0.0)
    joints = np.where(weights > 0.0, joints, 0)
    if count and int(joints.max()) >= len(skin.joints):
        raise GltfError(f"{geometry.label}: joint {int(joints.max())} of the {len(skin.joints)} in skin {skin.index}")
    if joints.shape[1] > INFLUENCES:
        order = np.argsort(-weights, axis=1, kind="stable")[:, :INFLUENCES]
        if (np.count_nonzero(weights, axis=1) > INFLUENCES).any():
            report.warn(f"{geometry.label}: vertices with more than {INFLUENCES} influences keep the strongest")
        joints, weights = np.take_along_axis(joints, order, 1), np.take_along_axis(weights, order, 1)
    total = weights.sum(axis=1, keepdims=True)
    if (total == 0.0).any():
        report.warn(f"{geometry.label}: vertices without weights hang on the first joint")
        weights = np.where(total > 0.0, weights, np.eye(1, INFLUENCES))
        total = np.where(total > 0.0, total, 1.0)
    geometry.joints, geometry.weights = joints, weights / total
    return geometry


def parts(geometry: Geometry) -> list[Geometry]:
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


def joint_corners(geometry: Geometry) -> dict[int, Floats]:
    """For each joint in use, by its place in the skin, the corners [8, 3] of the box around the vertices that
    follow it, in the bind space.  A vertex lies between what its joints make of it, so these hold the mesh."""
    assert geometry.joints is not None and geometry.weights is not None
    rows, slots = np.nonzero(geometry.weights > 0.0)
    joints, points = geometry.joints[rows, slots], geometry.positions[rows]
    low, high = np.full((int(joints.max(initial=0)) + 1, 3), np.inf), np.full((int(joints.max(initial=0)) + 1, 3), -np.inf)
    np.minimum.at(low, joints, points)
    np.maximum.at(high, joints, points)
    return {int(joint): corners(low[joint], high[joint]) for joint in np.unique(joints)}


def joint_radii(skin: Skin, geometry: Geometry) -> dict[int, float]:
    """How far from each joint node the vertices lie that follow it, at most, in the joint's own space."""
    result: dict[int, float] = {}
    for slot, box in joint_corners(geometry).items():
        inside = box @ skin.inverses[slot, :3, :3].T + skin.inverses[slot, :3, 3]
        result[skin.joints[slot]] = float(np.linalg.norm(inside, axis=1).max())
    return result


class Bones:
    """Makes the bone facades of a model, each joint's once for each skin and size of mesh."""

    def __init__(self, facades: dict[int, Any], model: Any) -> None:
        self.facades = facades
        self.model = model
        self.bones: dict[tuple[int, int, float], Any] = {}
        self.controls: dict[int, Any] = {}

    def control(self, skin: Skin) -> Any:
        """What the mesh hangs on.  It stands still at the origin: in glTF only the joints move a skin."""
        if skin.index not in self.controls:
            identity = script_matrix(np.eye(4))
            self.controls[skin.index] = zrm.Bone(skin.name, identity, identity)
            self.model.getRootTransform().addChild(self.controls[skin.index])
        return self.controls[skin.index]

    def bone(self, skin: Skin, slot: int, factor: float) -> Any:
        """The bone of a joint; the inverted matrix undoes the factor by which a small mesh was enlarged."""
        key = (skin.index, slot, factor)
        if key not in self.bones:
            joint = self.facades[skin.joints[slot]]
            inverse = skin.inverses[slot] @ np.diag([1.0 / factor, 1.0 / factor, 1.0 / factor, 1.0])
            bone = zrm.Bone(f"{joint.getName()} bone", script_matrix(np.eye(4)), script_matrix(inverse))
            joint.addChild(bone)
            self.bones[key] = bone
        return self.bones[key]

    def block(self, skin: Skin, geometry: Geometry, factor: float) -> Any:
        """The bone block of one part of a mesh, with only the joints that it uses."""
        assert geometry.joints is not None and geometry.weights is not None
        live = geometry.weights > 0.0
        used = np.unique(geometry.joints[live])
        places: Integers = np.where(live, np.searchsorted(used, np.where(live, geometry.joints, used[0])) + 1, 0)
        block = zrm.BoneBlock()
        block.setBoneIndices(np.ascontiguousarray(places, np.uint32).reshape(-1))
        block.setBoneWeights(np.ascontiguousarray(geometry.weights, np.float32).reshape(-1))
        bones = [self.bone(skin, int(slot), factor) for slot in used]
        block.setBones(bones)
        block.setBoneNames([bone.getName() for bone in bones])
        return block
