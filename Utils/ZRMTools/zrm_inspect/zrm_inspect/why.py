"""Why render nodes stand apart that one might expect to be one: the first reason by which a save keeps two of them."""

from __future__ import annotations

import json
from collections import defaultdict
from collections.abc import Iterator
from typing import Any

import numpy as np

from .model import BaseRenderNode, Material, ZrmFile
from .outline import depths
from .plain import to_plain
from .report import printable

# Classes whose nodes are joined with their like; all others are always written one by one.
_JOINED = ("RenderNode", "NumberNode", "FakeOmniLightsNode", "FakeSpotLightsNode")
_BLENDED = 1
_JOINED_PRIMITIVES = (1, 5)
_SAME_DIRECTION = 1e-5


class Reasons:
    """Answers for pairs of render nodes of one file."""

    def __init__(self, file: ZrmFile) -> None:
        self.file = file
        self.depths = np.array(depths(file))
        self.least = _LeastDepth(self.depths)
        # The nearest node of that kind from each node upwards, itself included, or -1.
        self.billboard = self._nearest("BillboardNode")
        self.visibility = self._nearest("ArgVisibilityNode")

    def _nearest(self, kind: str) -> list[int]:
        found: list[int] = []
        for node in self.file.nodes:
            own = node.index if node.kind == kind else -1
            found.append(own if own >= 0 or node.parent < 0 else found[node.parent])
        return found

    def common(self, a: int, b: int) -> int:
        """The nearest node that both lie under; a node lies under itself."""
        low, high = sorted((a, b))
        if low == high:
            return low
        return self.file.nodes[self.least.place(low + 1, high)].parent if self._below(low, high) is None else low

    def _below(self, low: int, high: int) -> int | None:
        """`low` when `high` lies under it: pre-order has nothing as high as `low` in between."""
        least = self.least.place(low + 1, high)
        return low if self.depths[least] > self.depths[low] else None

    def _told(self, index: int) -> str:
        node = self.file.nodes[index]
        return f"tree node {index} '{printable(node.name)}'"

    def first(self, a: BaseRenderNode, b: BaseRenderNode) -> str:
        """The first reason that keeps two render nodes apart; one of several parts is told by its first."""
        if a.material != b.material:
            return _materials_reason(self.file.materials[a.material], self.file.materials[b.material])
        if a.kind != b.kind:
            return f"classes: {a.kind} and {b.kind} are never joined"
        if a.kind not in _JOINED:
            return f"class: nodes of class {a.kind} are never joined"
        if not len(a.controls) or not len(b.controls):
            return "controls: one of them hangs on nothing"
        return self._content_reason(a, b) or self._place_reason(int(a.controls[0]), int(b.controls[0])) or _NOTHING

    def _content_reason(self, a: BaseRenderNode, b: BaseRenderNode) -> str:
        material = self.file.materials[a.material]
        if a.kind == "RenderNode" and material.blending == _BLENDED:
            return "blending: blended surfaces are drawn in an order of their own"
        if a.kind == "NumberNode" and material.vertex_format[21] != 1:
            return "format: COLOR1 isn't the one-float channel of displays"
        own = [[p for p in map(to_plain, node.properties) if p["name"] != "__VERSION__"] for node in (a, b)]
        if own[0] != own[1]:
            return "properties: the nodes' own properties differ"
        if a.mesh and b.mesh and a.kind == "RenderNode":
            types = (a.mesh.primitive_type, b.mesh.primitive_type)
            if types[0] != types[1] or types[0] not in _JOINED_PRIMITIVES:
                return f"primitives: types {types[0]} and {types[1]}"
        if a.kind == "FakeSpotLightsNode":
            rows = [getattr(node, "control_rows")["direction"] for node in (a, b)]
            if np.abs(rows[0][0] - rows[1][0]).max() > _SAME_DIRECTION:
                return "direction: the lights shine to different sides"
        return ""

    def _place_reason(self, a: int, b: int) -> str:
        for control in (a, b):
            if self.billboard[control] >= 0:
                return f"billboard: under {self._told(self.billboard[control])}"
        common = self.common(a, b)
        for control in (a, b):
            above = self.visibility[control]
            if above >= 0 and self.depths[above] > self.depths[common]:
                return f"visibility: {self._told(above)} shows and hides one of them alone"
        if self.file.nodes[common].levels is not None:
            return f"levels: {self._told(common)} shows one of them at a time"
        return ""


_NOTHING = "nothing in the file: the pass was off, or a third node took one of them first"


class _LeastDepth:
    """Where the least depth of a range of nodes stands: a table of powers of two, built in n log n."""

    def __init__(self, depths: Any) -> None:
        self.depths = depths
        self.rows = [np.arange(len(depths))]
        while (step := 1 << len(self.rows)) <= len(depths):
            before = self.rows[-1]
            first, second = before[: len(depths) - step + 1], before[step // 2 :][: len(depths) - step + 1]
            self.rows.append(np.where(depths[second] < depths[first], second, first))

    def place(self, low: int, high: int) -> int:
        """Of the nodes from `low` to `high`, both included."""
        row = (high - low + 1).bit_length() - 1
        pair = self.rows[row][low], self.rows[row][high - (1 << row) + 1]
        return int(min(pair, key=lambda index: (self.depths[index], index)))


# ---------------------------------------------------------------- materials


def flat(material: Material) -> dict[str, str]:
    """What a material consists of, each as a text that is equal for equal values."""
    plain = to_plain(material)
    parts = {f"texture {slot}": texture for slot, texture in plain.pop("textures").items()}
    for place in ("uniforms", "animated_uniforms"):
        parts.update({f"property {entry['name']}": entry for entry in plain.pop(place)})
    return {name: json.dumps(value, sort_keys=True) for name, value in (plain | parts).items()}


def _materials_reason(a: Material, b: Material) -> str:
    first, second = flat(a), flat(b)
    names = sorted(name for name in first.keys() | second.keys() if first.get(name) != second.get(name))
    if "vertex_format" in names:
        return "format: the materials have other vertex formats"
    if not names:
        return "materials: equal, but two: the pass that makes them one was off"
    return f"materials: they differ in {', '.join(map(printable, names))}"


def almost_equal(materials: list[Material]) -> Iterator[tuple[int, int, str]]:
    """Pairs of materials that differ in one thing alone, and in which. Each with the first that it is so like.

    A material is filed under each of its parts, by all the others: near linear in the number of parts.
    """
    flats = [flat(material) for material in materials]
    total = [sum(hash(item) for item in parts.items()) for parts in flats]
    filed: dict[tuple[str, int], int] = {}
    for number, parts in enumerate(flats):
        for name in (*parts, *_absent(parts, flats)):
            rest = total[number] - (hash((name, parts[name])) if name in parts else 0)
            other = filed.setdefault((name, rest), number)
            if other != number and _differences(flats[other], parts) == [name]:
                yield other, number, name


def _absent(parts: dict[str, str], flats: list[dict[str, str]]) -> list[str]:
    """Names that this material lacks and that may be another one's only surplus."""
    if len(flats) > 256:  # beyond this the search for surplus parts would no longer be near linear
        return []
    return list(dict.fromkeys(name for other in flats for name in other if name not in parts))


def _differences(a: dict[str, str], b: dict[str, str]) -> list[str]:
    return [name for name in dict.fromkeys((*a, *b)) if a.get(name) != b.get(name)]


def apart(file: ZrmFile) -> Iterator[tuple[int, int, str]]:
    """Each render node whose material is called like that of one before it, with the first such, and the reason."""
    groups: dict[str, list[int]] = defaultdict(list)
    for number, record in enumerate(file.render_nodes):
        groups[file.materials[record.material].name].append(number)
    reasons = Reasons(file)
    for members in groups.values():
        for number in members[1:]:
            yield members[0], number, reasons.first(file.render_nodes[members[0]], file.render_nodes[number])
