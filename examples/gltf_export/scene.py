"""The node graph as typed records: checked once, so that nothing behind it meets a cycle or a bad number."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import numpy as np

from .accessors import Floats, Reader
from .container import Container, item, whole
from .form import is_number
from .problems import GltfError
from .report import Report
from .transforms import compose, normalised

LIGHTS = "KHR_lights_punctual"


@dataclass
class SceneNode:
    """One node of the scene.  `matrix` is set instead of the three parts where the file gives a matrix."""

    index: int
    name: str
    translation: Floats
    rotation: Floats
    scale: Floats
    matrix: Floats | None = None
    parent: int | None = None
    children: list[int] = field(default_factory=list)
    mesh: int | None = None
    skin: int | None = None
    camera: int | None = None
    light: int | None = None
    extras: dict[str, Any] = field(default_factory=dict)
    weights: list[float] = field(default_factory=list)

    def local(self) -> Floats:
        """Rest matrix relative to the parent."""
        if self.matrix is not None:
            return self.matrix
        return compose(self.translation, self.rotation, self.scale)


@dataclass
class Scene:
    """The nodes that the exported scene shows, parents before children."""

    container: Container
    reader: Reader
    nodes: dict[int, SceneNode]
    order: list[int]

    def rest_worlds(self) -> dict[int, Floats]:
        """World matrix of every node at rest."""
        worlds: dict[int, Floats] = {}
        for index in self.order:
            node = self.nodes[index]
            local = node.local()
            worlds[index] = local if node.parent is None else worlds[node.parent] @ local
        return worlds


def numbers(value: Any, count: int, default: list[float], what: str) -> Floats:
    """`count` finite numbers, or the default where the file has none."""
    if value is None:
        return np.array(default)
    good = isinstance(value, list) and len(value) == count
    if not good or not all(is_number(entry) for entry in value):
        raise GltfError(f"{what} is not a list of {count} finite numbers")
    return np.array(value, np.float64)


def number(value: Any, default: float, what: str) -> float:
    """One finite number, or the default."""
    if value is None:
        return default
    if not is_number(value):
        raise GltfError(f"{what} is {value!r}, not a finite number")
    return float(value)


def extension(entry: Any, name: str) -> dict[str, Any] | None:
    """An extension's object, or None."""
    extensions = entry.get("extensions") if isinstance(entry, dict) else getattr(entry, "extensions", None)
    value = extensions.get(name) if isinstance(extensions, dict) else None
    return value if isinstance(value, dict) else None


def lights_of(container: Container) -> list[Any]:
    """The file's list of lights."""
    lights = (extension(container.json, LIGHTS) or {}).get("lights", [])
    return lights if isinstance(lights, list) else []


def read_scene(container: Container, report: Report) -> Scene:
    """The default scene, or the first one, or every root node of a file without scenes."""
    document = container.json
    every = [read_node(container, index) for index in range(len(document.nodes or []))]
    for node in every:
        for child in node.children:
            if every[child].parent is not None:
                raise GltfError(f"node {child} has two parents, {every[child].parent} and {node.index}")
            every[child].parent = node.index
    scenes = document.scenes or []
    if scenes:
        shown = item(scenes, document.scene if document.scene is not None else 0, "scene")
        roots = [whole(root, "a scene's node") for root in shown.nodes or []]
        if len(scenes) > 1:
            report.skip("scenes", f"only one of {len(scenes)} is exported")
    else:
        roots = [node.index for node in every if node.parent is None]
    for root in roots:
        if item(every, root, "node").parent is not None:
            raise GltfError(f"node {root} is a root of the scene and a child of node {every[root].parent}")
    if len(set(roots)) != len(roots):
        raise GltfError("the scene names a root node twice")
    # A cycle has no root, so a walk from the roots never enters one; with one parent each it ends.
    order: list[int] = []
    waiting = roots[::-1]
    while waiting:
        index = waiting.pop()
        order.append(index)
        waiting.extend(reversed(every[index].children))
    if len(order) < len(every):
        shown_set = set(order)
        left = [node.index for node in every if node.index not in shown_set]
        report.skip("nodes", f"{len(left)} lie outside the scene: {', '.join(map(str, left[:8]))}")
    return Scene(container, Reader(container), {index: every[index] for index in order}, order)


def read_node(container: Container, index: int) -> SceneNode:
    """One node, every reference in it checked."""
    document = container.json
    entry = document.nodes[index]
    where = f"node {index}"
    node = SceneNode(
        index,
        str(entry.name) if entry.name is not None else f"node_{index}",
        numbers(entry.translation, 3, [0.0, 0.0, 0.0], f"{where}: translation"),
        numbers(entry.rotation, 4, [0.0, 0.0, 0.0, 1.0], f"{where}: rotation"),
        numbers(entry.scale, 3, [1.0, 1.0, 1.0], f"{where}: scale"),
    )
    node.rotation = normalised(node.rotation)
    if entry.matrix is not None:
        node.matrix = numbers(entry.matrix, 16, [], f"{where}: matrix").reshape(4, 4).T
    seen = set()
    for child in entry.children or []:
        item(document.nodes, child, f"{where}: child")
        if child in seen or child == index:
            raise GltfError(f"{where} names the child {child} wrongly")
        seen.add(child)
        node.children.append(child)
    for field_name, entries in (("mesh", document.meshes), ("skin", document.skins), ("camera", document.cameras)):
        if (value := getattr(entry, field_name)) is not None:
            item(entries, value, f"{where}: {field_name}")
            setattr(node, field_name, value)
    if (light := extension(entry, LIGHTS)) is not None:
        item(lights_of(container), light.get("light"), f"{where}: light")
        node.light = light["light"]
    extras = container.raw["nodes"][index].get("extras")
    node.extras = extras if isinstance(extras, dict) else {}
    # pygltflib has no field for a node's own morph weights.
    node.weights = container.raw["nodes"][index].get("weights") or []
    return node
