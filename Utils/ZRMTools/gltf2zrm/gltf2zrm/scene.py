"""The node graph as records: checked once, so that nothing behind it meets a cycle or a bad number."""

from __future__ import annotations

from collections.abc import Iterator

import numpy as np
from zrm_scene import FAR, Node
from zrm_scene.records import FULL_SIZE, NO_TURN, ORIGIN

from .container import item
from .form import checked
from .problems import GltfError
from .schema import Entry, Levels, NodeEntry, SceneEntry, Visibility
from .source import Source, extension, vector

LOD = "MSFT_lod"
VISIBILITY = "KHR_node_visibility"
COVERAGE = "MSFT_screencoverage"


class Scene:
    """The nodes that the exported scene shows.

    entries  of the file, all of them
    order    numbers of the shown ones, parents first
    nodes    the record of each shown one
    gates    records above the nodes that an animation shows and hides
    details  (record that chooses among levels, the finest level's, coverage of the screen at which each level ends)
    hidden   numbers of those that the file hides for good
    records  all of them, parents first
    """

    def __init__(self, source: Source, gated: set[int]) -> None:
        self.source = source
        self.gated = gated
        self.entries = source.container.entries("nodes", NodeEntry)
        self.parents = parents_of(self.entries)
        self.order: list[int] = []
        self.nodes: dict[int, Node] = {}
        self.gates: dict[int, Node] = {}
        self.details: list[tuple[Node, Node, list[float]]] = []
        self.hidden: set[int] = set()
        self.records: list[Node] = []
        self._walk(self._roots())
        if left := len(self.entries) - len(self.order):
            shown = set(self.order)
            places = [f"nodes[{index}]" for index in range(len(self.entries)) if index not in shown]
            source.report.lose("nodes outside the scene", f"only the scene is exported; {left} lie outside", places[0])

    def _roots(self) -> list[int]:
        """Of the scene that is asked for, the default one, the first one, or of the whole file."""
        container, wanted = self.source.container, self.source.options.scene
        scenes = container.entries("scenes", SceneEntry)
        if not scenes and wanted is None:
            return [index for index, parent in enumerate(self.parents) if parent < 0]
        chosen = container.root.get("scene") or 0
        if wanted is not None:
            names = [scene.get("name") for scene in scenes]
            chosen = names.index(wanted) if wanted in names else int(wanted) if wanted.isdecimal() else len(scenes)
        if not 0 <= chosen < len(scenes):
            raise GltfError(f"scene: no scene {wanted or chosen!r} (there are {len(scenes)})")
        if len(scenes) > 1:
            self.source.report.lose("scenes", f"one of {len(scenes)} is exported; see --scene")
        roots = scenes[chosen].get("nodes") or []
        where = f"scenes[{chosen}].nodes"
        for place, root in enumerate(roots):
            item(self.entries, root, "node", f"{where}[{place}]")
            if self.parents[root] >= 0:
                raise GltfError(f"{where}[{place}]: node {root} is a child of node {self.parents[root]}")
        if len(set(roots)) != len(roots):
            raise GltfError(f"{where}: a root node stands there twice")
        return roots

    def _walk(self, roots: list[int]) -> None:
        """A cycle has no root, so a walk from the roots never enters one; with one parent each it ends."""
        taken = set(roots)
        waiting: list[tuple[int, Node | None, bool]] = [(root, None, False) for root in reversed(roots)]
        while waiting:
            index, above, hidden = waiting.pop()
            entry = self.entries[index]
            self.order.append(index)
            if index in self.gated:
                above = self.gates[index] = self._record(Node(f"{name_of(entry, index)} shown", above))
            levels = self._levels(index, entry, taken) if entry.get("extensions") else []
            if levels:
                above = self._record(Node(f"{name_of(entry, index)} levels", above, levels=[FAR] * (len(levels) + 1)))
            node = self.nodes[index] = self._record(read_node(entry, index, above))
            if levels and above is not None:
                self.details.append((above, node, coverage_of(entry, index)))
            if entry.get("extensions"):
                hidden |= self._is_hidden(index, entry)
            waiting += [(level, above, hidden) for level in reversed(levels)]
            if hidden:
                self.hidden.add(index)
            waiting += [(child, node, hidden) for child in reversed(entry.get("children") or [])]

    def _record(self, node: Node) -> Node:
        self.records.append(node)
        return node

    def _is_hidden(self, index: int, entry: NodeEntry) -> bool:
        """For good: what an animation shows is not."""
        visibility = extension(entry, VISIBILITY, Visibility, f"nodes[{index}]") or {}
        if visibility.get("visible", True) is not False or index in self.gated:
            return False
        self.source.report.note(f"nodes[{index}] ({name_of(entry, index)}): left out with all below it, as it is not visible")
        return True

    def _levels(self, index: int, entry: NodeEntry, taken: set[int]) -> list[int]:
        """The coarser levels of a node, which stand nowhere else in the scene."""
        levels = extension(entry, LOD, Levels, f"nodes[{index}]")
        found: list[int] = []
        for place, level in enumerate(levels["ids"] if levels else []):
            where = f"nodes[{index}].extensions.{LOD}.ids[{place}]"
            item(self.entries, level, "node", where)
            if self.parents[level] >= 0 or level in taken:
                self.source.report.lose("levels of detail", "the node is shown elsewhere in the scene as well", where)
            else:
                taken.add(level)
                found.append(level)
        return found

    def hide(self, top: int) -> None:
        """Leaves out what hangs on a node and on all below it."""
        inside = set(below(self.records, self.nodes[top]))
        self.hidden |= {index for index, node in self.nodes.items() if node in inside}


def parents_of(entries: list[NodeEntry]) -> list[int]:
    """The parent of each node, -1 at the top."""
    parents = [-1] * len(entries)
    for index, entry in enumerate(entries):
        for place, child in enumerate(entry.get("children") or ()):
            if not 0 <= child < len(parents):
                raise GltfError(f"nodes[{index}].children[{place}]: no node {child} (there are {len(parents)})")
            if parents[child] >= 0 or child == index:
                other = f"already a child of node {parents[child]}" if child != index else "the node itself"
                raise GltfError(f"nodes[{index}].children[{place}]: node {child} is {other}")
            parents[child] = index
    return parents


def name_of(entry: Entry, index: int) -> str:
    """A node's name, or its number."""
    name = entry.get("name")
    return f"node_{index}" if name is None else name


def coverage_of(entry: NodeEntry, index: int) -> list[float]:
    """How much of the screen each level covers at least."""
    extras = entry.get("extras")
    coverage = extras.get(COVERAGE) if isinstance(extras, dict) else None
    return [] if coverage is None else checked(coverage, list[float], f"nodes[{index}].extras.{COVERAGE}")


def read_node(entry: NodeEntry, index: int, above: Node | None) -> Node:
    """The place of one node."""
    node = Node(name_of(entry, index), above)
    if (matrix := entry.get("matrix")) is not None:
        if len(matrix) != 16:
            raise GltfError(f"nodes[{index}].matrix: {len(matrix)} numbers where 16 belong")
        node.matrix = np.array(matrix, np.float64).reshape(4, 4).T
        return node
    if (translation := entry.get("translation")) is not None:
        node.translation = vector(translation, ORIGIN, f"nodes[{index}].translation")
    if (rotation := entry.get("rotation")) is not None:
        node.rotation = vector(rotation, NO_TURN, f"nodes[{index}].rotation")
    if (scale := entry.get("scale")) is not None:
        node.scale = vector(scale, FULL_SIZE, f"nodes[{index}].scale")
    return node


def below(records: list[Node], top: Node) -> Iterator[Node]:
    """A record and all below it; parents stand first in the list."""
    inside = {top}
    yield top
    for node in records:
        if node.parent in inside and node not in inside:
            inside.add(node)
            yield node
