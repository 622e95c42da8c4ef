"""A whole file, from glTF to ZRM."""

from __future__ import annotations

import os
from pathlib import Path
from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .attachments import add_connector, add_segments, add_shell, purpose
from .budget import allowances
from .clips import Clips, read_clips
from .container import open_container
from .extensions import check_extensions
from .lights import add_light
from .materials import Materials, Properties
from .meshes import Geometry, Meshes
from .pose import Box, corners, with_ancestors, worlds_during
from .problems import GltfError
from .report import Report
from .scene import Scene, SceneNode, read_scene
from .skeleton import build_skeleton, still_node
from .skins import Bones, Skin, joint_corners, joint_radii, parts, read_skin, strongest
from .units import factor_for, static_frames

FORMAT_VERSION = 10


def convert(source: Path, output: Path, report: Report) -> None:
    """Reads `source`, writes `output`.  GltfError says what is wrong with the file or what the module refused."""
    container = open_container(source)
    spare([source, *container.files()], [output] if report.path is None else [output, report.path])
    check_extensions(container, report)
    scene = read_scene(container, report)
    clips = read_clips(scene, report)
    export = Export(scene, clips, report)
    export.build()
    save(export.model, output, report)


def spare(inputs: list[Path], outputs: list[Path]) -> None:
    """Refuses outputs that would destroy an input, or one another."""
    for place, output in enumerate(outputs):
        for other in [*inputs, *outputs[:place]]:
            if same_file(output, other):
                raise GltfError(f"{str(output)!r} would overwrite {str(other)!r}; give another name")


def same_file(one: Path, other: Path) -> bool:
    """Do both paths lead to one file, by whatever spelling or link?  It needn't be there yet."""
    try:
        return os.path.realpath(one) == os.path.realpath(other) or os.path.samefile(one, other)
    except (OSError, ValueError):
        return False


def save(model: Any, output: Path, report: Report) -> None:
    """Writes the file.  A path that begins with "/" would name something in the module's own file tree."""
    text = model.save(os.path.relpath(output), FORMAT_VERSION)
    if text:
        raise GltfError(f"save: {text}")
    report.counts["bytes"] = output.stat().st_size


def add_render_node(model: Any, facade: Any, label: str) -> None:
    """Hands a facade to the model; its refusal names the mesh."""
    text = model.addRenderNode(facade)
    if text:
        raise GltfError(f"{label}: {text}")


class Export:
    """One scene on its way into one model."""

    def __init__(self, scene: Scene, clips: Clips, report: Report) -> None:
        self.scene = scene
        self.clips = clips
        self.report = report
        self.model: Any = zrm.Model()
        self.joints = {joint for entry in scene.container.json.skins or [] for joint in entry.joints or []}
        self.purposes = {index: purpose(scene.nodes[index], self.joints, report) for index in scene.order}
        self.meshes = Meshes(scene, report)
        self.skins: dict[int, Skin] = {}
        self.shapes: dict[int, list[Geometry]] = {}  # by node
        self.facades: dict[int, Any] = {}

    def build(self) -> None:
        """Fills the model."""
        radii = self._read_shapes()
        allowed = allowances(self.scene, self.clips, radii)
        self.facades = build_skeleton(self.scene, self.clips, allowed, self.model, self.report)
        properties = Properties(self.clips, self.report)
        self._add_meshes(Materials(self.scene.container, properties, self.report))
        for index in self.scene.order:
            node = self.scene.nodes[index]
            if node.light is not None:
                add_light(self.scene, node, self.facades[index], properties, self.model, self.report)
            if node.camera is not None:
                self.report.skip(f"camera of node {index} ({node.name})", "a model holds no cameras")
            if self.purposes[index] == "connector":
                add_connector(node, self.facades[index], self.model)
        self.clips.report_unused(self.report)
        if any(self._skinned(index) for index in self.shapes):
            self.model.setBBox(self.box.tuple())

    def _skinned(self, index: int) -> bool:
        return self.scene.nodes[index].skin is not None and self.purposes[index] == "mesh"

    def _read_shapes(self) -> dict[int, float]:
        """Reads all meshes; gives how far geometry reaches from the nodes that move it."""
        radii: dict[int, float] = {}
        nodes = [index for index in self.scene.order if self.scene.nodes[index].mesh is not None]
        for done, index in enumerate(nodes):
            self.report.progress("meshes read", done, len(nodes))
            node = self.scene.nodes[index]
            self.shapes[index] = self.meshes.of_node(node)
            for geometry in self.shapes[index]:
                if self._skinned(index) and geometry.indices.shape[1] == 3:
                    skin = self._skin(node)
                    found = joint_radii(skin, strongest(geometry, skin, self.report))
                else:
                    found = {index: geometry.radius()}
                for joint, radius in found.items():
                    radii[joint] = max(radii.get(joint, 0.0), radius)
        return radii

    def _skin(self, node: SceneNode) -> Skin:
        assert node.skin is not None
        if node.skin not in self.skins:
            self.skins[node.skin] = read_skin(self.scene, node.skin)
        return self.skins[node.skin]

    def _add_meshes(self, materials: Materials) -> None:
        worlds = self.scene.rest_worlds()
        frames = static_frames(self.scene, {index for index in self.scene.order if self.clips.animated(index)})
        bones = Bones(self.facades, self.model)
        self.box = Box()
        if any(self._skinned(index) for index in self.shapes):
            self._measure()
        for done, (index, shapes) in enumerate(self.shapes.items()):
            self.report.progress("meshes", done, len(self.shapes))
            node = self.scene.nodes[index]
            for geometry in shapes:
                if self.purposes[index] == "segments":
                    add_segments(node, geometry, self.facades[index], self.model)
                elif self.purposes[index] == "mesh" and geometry.indices.shape[1] != 3:
                    self.report.skip(f"{geometry.label} of node {index}", "lines are not drawn (see segments in --help)")
                elif self._skinned(index):
                    self._add_skinned(node, geometry, materials, bones)
                else:
                    self._add_solid(node, geometry, materials, frames, mirrored=np.linalg.det(worlds[index][:3, :3]) < 0.0)

    def _add_solid(self, node: SceneNode, geometry: Geometry, materials: Materials, frames: Any, mirrored: bool) -> None:
        facade = self.facades[node.index]
        factor = factor_for(geometry.positions, geometry.indices, frames[node.index])
        if factor is not None:
            still = still_node(f"{node.name} size", 1.0 / factor)
            facade.addChild(still)
            facade = still
        if mirrored:  # a mirror turns triangles inside out; glTF's renderers turn them back, so must we
            geometry = geometry.picked(np.arange(len(geometry.positions)), geometry.indices[:, [0, 2, 1]])
        if self.purposes[node.index] == "shell":
            add_shell(node, geometry, facade, factor or 1.0, self.model, self.report)
            return
        self._add(geometry, node, facade, materials, factor or 1.0, None)

    def _add_skinned(self, node: SceneNode, geometry: Geometry, materials: Materials, bones: Bones) -> None:
        skin = self._skin(node)
        factor = factor_for(geometry.positions, geometry.indices, np.eye(4)) or 1.0
        pieces = parts(strongest(geometry, skin, self.report))
        if len(pieces) > 1:
            self.report.warn(f"{geometry.label}: more than 255 joints; it is cut in {len(pieces)} parts")
        for piece in pieces:
            block = bones.block(skin, piece, factor)
            block.setSkinBox(self.box.tuple())
            self._add(piece, node, bones.control(skin), materials, factor, block)

    def _add(
        self, geometry: Geometry, node: SceneNode, control: Any, materials: Materials, factor: float, bone_block: Any
    ) -> None:
        if factor != 1.0:
            geometry = geometry.picked(np.arange(len(geometry.positions)), geometry.indices)
            geometry.positions = geometry.positions * factor
        facade = materials.facade(geometry.material, node.name, geometry)
        if bone_block is not None:
            facade.addBlock(bone_block)
        facade.setIndices(np.ascontiguousarray(geometry.indices, np.uint32).reshape(-1))
        facade.setControlNode(control)
        add_render_node(self.model, facade, f"{geometry.label} of node {node.index} ({node.name})")
        self.report.counts["meshes"] += 1
        self.report.counts["vertices"] += len(geometry.positions)
        self.report.counts["triangles"] += len(geometry.indices)

    def _measure(self) -> None:
        """The box around everything, at rest and while each clip plays: with bones the module can't find it."""
        moving = {joint for index in self.shapes if self._skinned(index) for joint in self._skin(self.scene.nodes[index]).joints}
        nodes = with_ancestors(self.scene, moving | set(self.shapes))
        for clip in [None, *self.clips.clips]:
            worlds = worlds_during(self.scene, self.clips, clip, nodes)
            for index, shapes in self.shapes.items():
                for geometry in shapes:
                    self._measure_one(index, geometry, worlds)

    def _measure_one(self, index: int, geometry: Geometry, worlds: dict[int, Any]) -> None:
        if self._skinned(index):
            skin = self._skin(self.scene.nodes[index])
            boxes = [(worlds[skin.joints[slot]] @ skin.inverses[slot], box) for slot, box in joint_corners(geometry).items()]
        else:
            boxes = [(worlds[index], corners(geometry.positions.min(axis=0), geometry.positions.max(axis=0)))]
        for matrix, box in boxes:
            self.box.add(box @ matrix[:, :3, :3].swapaxes(-1, -2) + matrix[:, None, :3, 3])
