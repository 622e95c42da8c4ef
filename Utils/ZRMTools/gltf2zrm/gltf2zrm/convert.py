"""A whole file, from glTF to ZRM."""

from __future__ import annotations

import os
from pathlib import Path

import numpy as np
import zrm_scene
from zrm_scene import Kind, Node, Report, Shape

from .animations import Animations, gated_nodes
from .attachments import CONNECTOR, Purposes, has_more, properties_of
from .cameras import camera_of
from .container import open_container
from .instances import instances_of
from .levels import set_distances
from .lights import LightReader
from .losses import check_extensions
from .materials import Materials
from .meshes import Meshes
from .problems import GltfError
from .scene import Scene
from .skins import Skins
from .source import Options, Source
from .textures import Textures

Files = list[tuple[Path, bytes]]


def convert(path: Path, output: Path, options: Options, report: Report) -> None:
    """Reads `path`, writes `output`.  GltfError says what is wrong with the file, ZrmError what the module refused."""
    with np.errstate(all="ignore"):  # numbers that aren't finite are looked for where they matter
        scene, files = build(path, output, options, report)
    report.tell_losses()
    if options.strict and report.losses:
        raise GltfError(f"--strict: {sum(loss.count for loss in report.losses.values())} losses of {len(report.losses)} kinds")
    report.counts["bytes"] = scene.save(output)
    for target, data in files:
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(data)


def build(path: Path, output: Path, options: Options, report: Report) -> tuple[zrm_scene.Scene, Files]:
    """The model, and the images that go along. What was read of the file is gone when this returns."""
    outputs = [output] if report.path is None else [output, report.path]
    spare([path], outputs, report)
    source = Source(open_container(path), options, report)
    inputs = [path, *source.container.files()]
    spare(inputs, outputs, report)
    check_extensions(source)
    reading = Reading(source)
    files = [(target, data) for target, data in reading.textures.files() if not is_there(target, data, inputs)]
    spare(inputs, [*outputs, *(target for target, _ in files)], report)
    front = zrm_scene.Scene(report)
    front.write(reading.records, reading.animations.clips)
    return front, files


class Reading:
    """The records of one scene."""

    def __init__(self, source: Source) -> None:
        self.source = source
        self.scene = Scene(source, gated_nodes(source))
        self.animations = Animations(self.scene)
        self.skins = Skins(self.scene)
        self.meshes = Meshes(source)
        self.textures = Textures(source)
        self.materials = Materials(source, self.animations, self.textures)
        self.lights = LightReader(source, self.animations)
        self.purposes = Purposes(self.scene, self.skins.joints)
        instances: dict[Node, list[Node]] = {}
        for done, index in enumerate(self.scene.order):
            if not done % 1024:
                source.report.progress("nodes read", done, len(self.scene.order))
            self._hang(index, instances)
        self.records = [entry for node in self.scene.records for entry in (node, *instances.get(node, ()))]
        set_distances(self.scene, self.records)
        self.animations.tell_unused()

    def _hang(self, index: int, instances: dict[Node, list[Node]]) -> None:
        """Everything that hangs on one node."""
        entry, node, where = self.scene.entries[index], self.scene.nodes[index], f"nodes[{index}]"
        purpose = self.purposes.of(index, entry)
        if purpose == CONNECTOR:
            node.connector = properties_of(entry)
        elif entry.get("extras") and has_more(entry["extras"]):
            self.source.report.lose("extras of nodes", "only connectors carry them", where)
        if entry.get("extensions"):
            light = self.lights.of_node(entry, where, node.name)
            node.light = None if index in self.scene.hidden else light
        if (camera := camera_of(self.source, entry, where)) is not None:
            node.connector = {**(node.connector or {}), **camera}
        if (mesh := entry.get("mesh")) is None or index in self.scene.hidden:
            return
        shapes = self._shapes(index, mesh, purpose if isinstance(purpose, Kind) else Kind.DRAWN)
        made = instances_of(self.source, entry, where, node) if entry.get("extensions") else None
        if made is None:
            node.shapes = shapes
            return
        if any(shape.skin is not None for shape in shapes):
            self.source.report.lose("instances of a skin", "it is shown once", where)
            node.shapes = shapes
            return
        instances[node] = made
        for instance in made:
            instance.shapes = shapes

    def _shapes(self, index: int, mesh: int, kind: Kind) -> list[Shape]:
        entry, where, report = self.scene.entries[index], f"nodes[{index}]", self.source.report
        skin = None if (number := entry.get("skin")) is None else self.skins.of_node(number, where)
        found = []
        for piece in self.meshes.of_node(mesh, entry, where, self.scene.nodes[index].name):
            lines = piece.mesh.indices.shape[1] != 3
            if lines and kind is Kind.SHELL:
                report.lose("lines of a shell", "a collision shell is made of triangles", f"{where}: {piece.label}")
            elif lines and kind is Kind.DRAWN:
                report.lose("lines", "they are not drawn; see segments in --help", f"{where}: {piece.label}")
            else:
                surface = self.materials.surface(piece.material, f"{piece.label}.material") if kind is Kind.DRAWN else None
                found.append(Shape(piece.mesh, surface, kind, skin if kind is Kind.DRAWN else None, piece.label))
        return found


def spare(inputs: list[Path], outputs: list[Path], report: Report) -> None:
    """Refuses outputs that would destroy an input, or one another; there is no report then."""
    for place, output in enumerate(outputs):
        for other in [*inputs, *outputs[:place]]:
            if same_file(output, other):
                report.path = None
                raise GltfError(f"{str(output)!r} would overwrite {str(other)!r}; give another name")


def same_file(one: Path, other: Path) -> bool:
    """Do both paths lead to one file, by whatever spelling or link?  It needn't be there yet."""
    try:
        return os.path.realpath(one) == os.path.realpath(other) or os.path.samefile(one, other)
    except (OSError, ValueError):
        return False


def is_there(target: Path, data: bytes, inputs: list[Path]) -> bool:
    """Is the file to be written the very input that it is a copy of?"""
    return any(same_file(target, other) for other in inputs) and target.read_bytes() == data
