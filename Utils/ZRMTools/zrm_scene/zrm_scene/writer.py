"""Puts records into a model: the tree with its motion, meshes, shells, segments, lights, connectors, the box."""

from __future__ import annotations

from collections.abc import Sequence

import numpy as np
import pyzrm_313 as zrm

from .arrays import Box, Floats, Reals
from .bounds import Bounds, as_box, box_between
from .budget import allowances
from .checks import check_all
from .clips import Clip
from .hung import connector_of, light_of, segments_of, shell_of
from .records import Kind, Mesh, Node, Shape, Surface
from .report import Report
from .skeleton import build_skeleton, still_node
from .skins import Bones, joint_boxes, joint_radii, parts, strongest
from .surfaces import Dresser, add
from .tree import Tree
from .units import Frames, Sizes

Part = tuple[int, Node, Shape]


class Writer:
    """One list of nodes on its way into one model.

    model    takes them, below `root`
    facades  those of the nodes, in their order, once written
    """

    def __init__(self, model: zrm.Model, root: zrm.Node, nodes: Sequence[Node], clips: Sequence[Clip], report: Report) -> None:
        self.model = model
        self.root = root
        self.tree = Tree(nodes)
        check_all(nodes)
        self.clips = clips
        self.report = report
        self.facades: list[zrm.Node] = []
        self.parts: list[Part] = [(number, node, shape) for number, node in enumerate(nodes) for shape in node.shapes]
        self.skinned = {id(shape): strongest(shape, shape.skin, report) for _, _, shape in self.parts if is_skinned(shape) and shape.skin}
        self.radii_of: dict[int, tuple[float, Reals]] = {}
        self.sizes = Sizes()
        self.dresser = Dresser(report)
        self.surfaces: set[int] = set()

    @property
    def needs_box(self) -> bool:
        """Does anything move, so that the module's own box, around what stands still and has no bones, isn't enough?"""
        return bool(self.tree.animated or self.skinned)

    def write(self) -> tuple[Floats, Floats]:
        """Fills the model; gives the lowest and highest points at rest and while each clip plays."""
        ends = self._ends()
        if not self.tree.nodes:
            return ends
        allowed = allowances(self.tree, self._radii()) if self.tree.animated else {}
        self.facades = build_skeleton(self.tree, allowed, self.root, self.report)
        self.report.counts["nodes"] += len(self.facades)
        self._add_shapes(as_box(*ends))
        for number, node in enumerate(self.tree.nodes):
            if node.light is not None:
                self.model.addLight(light_of(node.light, self.facades[number]))
            if node.connector is not None:
                self.model.addConnector(connector_of(node.name, node.connector, self.facades[number]))
        return ends

    def _radii(self) -> dict[int, float]:
        """How far geometry reaches from the nodes that move it."""
        radii: dict[int, float] = {}
        for number, _, shape in self.parts:
            if (mesh := self.skinned.get(id(shape))) is not None and shape.skin is not None:
                found = joint_radii(self.tree, shape.skin, mesh)
            else:
                found = {number: self._radius(shape.mesh.positions)}
            for owner, radius in found.items():
                radii[owner] = max(radii.get(owner, 0.0), radius)
        return radii

    def _radius(self, positions: Reals) -> float:
        """Largest distance from the origin, of each geometry once."""
        if id(positions) not in self.radii_of:
            radius = float(np.linalg.norm(positions.astype(np.float64), axis=1).max(initial=0.0))
            self.radii_of[id(positions)] = radius, positions
        return self.radii_of[id(positions)][0]

    def _ends(self) -> tuple[Floats, Floats]:
        bounds = Bounds(self.tree)
        ends: dict[int, tuple[Floats, Reals]] = {}
        for number, _, shape in self.parts:
            if (mesh := self.skinned.get(id(shape))) is not None and shape.skin is not None:
                for slot, box in joint_boxes(mesh).items():
                    bounds.add(self.tree.place[shape.skin.joints[slot]], shape.skin.inverses[slot] @ box)
                continue
            positions = shape.mesh.positions
            if len(positions) and id(positions) not in ends:
                ends[id(positions)] = box_between(positions.min(axis=0), positions.max(axis=0)), positions
            if len(positions):
                bounds.add(number, ends[id(positions)][0])
        return bounds.ends(self.clips)

    def _add_shapes(self, box: Box) -> None:
        frames = Frames(self.tree.frames)
        mirrored: list[bool] = (np.linalg.det(self.tree.worlds[:, :3, :3]) < 0.0).tolist()
        bones = Bones(self.tree, self.facades, self.root)
        for done, (number, node, shape) in enumerate(self.parts):
            if not done % 256:
                self.report.progress("meshes", done, len(self.parts))
            if shape.kind is Kind.SEGMENTS:
                self.model.addSegmentsNode(segments_of(node.name, shape.mesh, self.facades[number]))
            elif is_skinned(shape):
                self._add_skinned(node, shape, bones, box)
            else:
                self._add_solid(number, node, shape, frames, mirrored[number])

    def _add_solid(self, number: int, node: Node, shape: Shape, frames: Frames, mirrored: bool) -> None:
        control, mesh = self.facades[number], shape.mesh
        factor = self.sizes.factor(mesh.positions, mesh.indices, frames, number)
        if factor is not None:
            control = control.addChild(still_node(f"{node.name} size", 1.0 / factor))
        if mirrored:  # a mirror turns triangles inside out; renderers of the source turn them back, so must we
            mesh = Mesh(mesh.positions, mesh.indices[:, [0, 2, 1]], mesh.normals, mesh.uvs)
        if shape.kind is Kind.SHELL:
            self.model.addShellNode(shell_of(node.name, mesh, factor or 1.0, control))
        else:
            self._add(mesh, node, shape, control, factor or 1.0, None)

    def _add_skinned(self, node: Node, shape: Shape, bones: Bones, box: Box) -> None:
        assert shape.skin is not None
        mesh = self.skinned[id(shape)]
        factor = self.sizes.factor(mesh.positions, mesh.indices, None) or 1.0
        pieces = parts(mesh)
        if len(pieces) > 1:
            self.report.warn(f"{shape.label}: more than 255 joints; it is cut in {len(pieces)} parts")
        for piece in pieces:
            block = bones.block(shape.skin, piece, factor)
            block.setSkinBox(box)
            self._add(piece, node, shape, bones.control(shape.skin), factor, block)

    def _add(self, mesh: Mesh, node: Node, shape: Shape, control: zrm.Node, factor: float, block: zrm.BoneBlock | None) -> None:
        if factor != 1.0:
            mesh = Mesh(mesh.positions * np.float64(factor), mesh.indices, mesh.normals, mesh.uvs)
        surface = shape.surface or Surface("default")
        facade = self.dresser.facade(node.name, mesh, surface, shape.label)
        if block is not None:
            facade.addBlock(block)
        facade.setIndices(np.ascontiguousarray(mesh.indices, np.uint32).reshape(-1))
        facade.setControlNode(control)
        add(self.model, facade, f"{shape.label} of node {node.name!r}")
        counts = self.report.counts
        self.surfaces.add(id(shape.surface))
        counts["materials"] = len(self.surfaces)
        counts["meshes"] += 1
        counts["vertices"] += len(mesh.positions)
        counts["triangles"] += len(mesh.indices)


def is_skinned(shape: Shape) -> bool:
    """Does a skin move it?"""
    return shape.skin is not None and shape.kind is Kind.DRAWN
