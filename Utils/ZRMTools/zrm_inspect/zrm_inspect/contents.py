"""Looks at what the fields of a file hold: vertices, indices, keys, ranges, coordinates. Adds to the file's faults."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .blocks import index_code
from .faults import Fault
from .model import AnimatedProperty, BaseNode, Material, Mesh, Node, NumberNode, Property, ZrmFile

_PRIMITIVES = (0, 1, 2, 5, 6, 7)
_INDEX_HEAD = 9  # bytes of an index block before its indices
_CHUNK = 1 << 20  # vertices at a time


def check_contents(file: ZrmFile) -> None:
    check = _Check(file)
    for index, material in enumerate(file.materials):
        check.at("materials", index)
        check.material(material)
    check.levels()
    check.matrices("row of the matrix", {k: m for k, node in enumerate(file.nodes) if (m := node.matrix) is not None})
    check.matrices("row of the bone's matrix", {k: m for k, node in enumerate(file.nodes) if (m := node.inverted) is not None})
    for index, node in enumerate(file.nodes):
        check.at("nodes", index)
        check.node(node)
    for section, records in (
        ("connectors", file.connectors),
        ("shell_nodes", file.shell_nodes),
        ("light_nodes", file.light_nodes),
        ("render_nodes", file.render_nodes),
    ):
        for index, record in enumerate(records):
            check.at(section, index)
            check.record(record)


def animation_name(node: Node) -> str:
    """The name of an animation node follows from the kinds of channels that it has."""
    has = [len(getattr(node, kind + "_channels")) > 0 for kind in ("position", "rotation", "scale")]
    if has == [True, False, False]:
        return "model::ArgPositionNode"
    if has[0] or (has[1] and has[2]):
        return "model::ArgAnimationNode"
    return "model::ArgRotationNode" if has[1] else "model::ArgScaleNode"


class _Check:
    def __init__(self, file: ZrmFile) -> None:
        self.file = file
        self.start: int = np.frombuffer(file.data, np.uint8).__array_interface__["data"][0]
        self.place = ""

    def at(self, section: str, index: int) -> None:
        self.place = f"{section}[{index}]"

    def fault(self, code: str, offset: int, message: str) -> None:
        self.file.faults.append(Fault(code, offset, self.place, message))

    def offset(self, values: NDArray[Any], row: int = 0) -> int:
        """Where a row of a view of the file stands in it."""
        return int(values.__array_interface__["data"][0]) - self.start + row * values.strides[0]

    # ------------------------------------------------------------ keys, ranges, coordinates

    def keys(self, keys: NDArray[Any]) -> None:
        bad = np.flatnonzero(~(keys["time"][1:] >= keys["time"][:-1]))
        if len(bad):
            row = int(bad[0]) + 1
            times = keys["time"][row - 1 : row + 1].tolist()
            self.fault("key-order", self.offset(keys, row), f"key {row} at {times[1]} behind one at {times[0]}")

    def ranges(self, rows: NDArray[np.float64], what: str) -> None:
        for row in np.flatnonzero(~(rows[:, 0] <= rows[:, 1])).tolist():
            low, high = rows[row].tolist()
            self.fault("range", self.offset(rows, row), f"{what} {row} goes from {low} to {high}")

    def finite(self, values: NDArray[Any] | None, what: str) -> None:
        if values is None:
            return
        for start in range(0, len(values), _CHUNK):
            part = values[start : start + _CHUNK]
            bad = np.flatnonzero(~np.isfinite(part).reshape(len(part), -1).all(axis=1))
            if len(bad):
                row = start + int(bad[0])
                self.fault("not-finite", self.offset(values, row), f"{what} {row} is no finite number")
                return

    # ------------------------------------------------------------ materials and the tree

    def material(self, material: Material) -> None:
        self.properties(material.animated_uniforms)
        for number, channel in enumerate(material.channels.tolist()):
            if channel != -1 and not (0 <= channel < 16 and material.vertex_format[4 + channel]):
                message = f"map {number} reads TEXCOORD{channel}, which the vertices don't have"
                self.fault("uv-channel", self.offset(material.channels, number), message)

    def node(self, node: Node) -> None:
        self.properties(node.properties)
        for channel in node.channels:
            self.keys(channel.keys)
            self.keys(getattr(channel, "rotation_keys", channel.keys[:0]))
        for condition in node.conditions:
            self.ranges(condition.ranges, "range")
        if node.levels is not None:
            self.ranges(node.levels, "level")
        if hasattr(node, "base_position") and node.inverted is None and node.type_name != animation_name(node):
            message = f"'{node.type_name}' has the channels of '{animation_name(node)}'"
            self.fault("channels", node.offset, message)

    def matrices(self, what: str, matrices: dict[int, NDArray[Any]]) -> None:
        """All at once: a tree may have a million."""
        finite = np.isfinite(np.array(list(matrices.values())).reshape(-1, 16)).all(axis=1)
        for index in np.array(list(matrices), np.int64)[~finite].tolist():
            self.at("nodes", index)
            self.finite(matrices[index], what)

    def levels(self) -> None:
        children = np.bincount(self.file.parents[1:], minlength=len(self.file.nodes))
        for index, node in enumerate(self.file.nodes):
            if node.levels is not None and len(node.levels) != children[index]:
                self.at("nodes", index)
                self.fault("levels", node.offset, f"{len(node.levels)} levels for {children[index]} children")

    def properties(self, properties: list[Property]) -> None:
        for entry in properties:
            if isinstance(entry, AnimatedProperty):
                self.keys(entry.keys)

    # ------------------------------------------------------------ what hangs on the tree

    def record(self, record: BaseNode) -> None:
        self.properties(record.properties)
        self.properties(record.settings())
        if record.segments is not None:
            self.finite(record.segments, "segment")
        if record.lights is not None:
            self.lights(record)
        if record.mesh is not None and record.mesh.vertex_count:
            self.mesh(record, record.mesh)
        elif record.mesh is not None:
            self.indices(record.mesh)

    def lights(self, record: BaseNode) -> None:
        lights = record.lights
        assert lights is not None
        for row in np.flatnonzero(lights["controlIndex"] >= len(record.controls)).tolist():
            message = f"light on control {lights['controlIndex'][row]} of {len(record.controls)}"
            self.fault("part", self.offset(lights["controlIndex"], row), message)
        if "backSide" in (lights.dtype.names or ()):
            for row in np.flatnonzero(lights["backSide"] > 1).tolist():
                self.fault("value", self.offset(lights["backSide"], row), "back side is neither 0 nor 1")

    def mesh(self, record: BaseNode, mesh: Mesh) -> None:
        if mesh.vertex_format[0]:
            position = mesh.attribute("POSITION0")
            self.finite(position[:, :3], "vertex")
            if record.material is not None and record.bones is None:
                self.parts(record, mesh)
            elif record.bones is not None and mesh.vertex_format[0] == 4:
                self.bones(mesh, len(record.bones))
            if isinstance(record, NumberNode):
                self.numbers(record)
        self.indices(mesh)

    def parts(self, record: BaseNode, mesh: Mesh) -> None:
        """One fault for the first vertex: whoever numbered one wrongly numbered many."""
        count = len(record.controls)
        position = mesh.attribute("POSITION0")
        numbers = mesh.part_numbers()
        bad = np.flatnonzero((numbers < 0) | (numbers >= count))
        if len(bad):
            row = int(bad[0])
            number = int(numbers[row])
            message = f"vertex of parent {number} of {count}" if number >= 0 else "vertex whose parent is no number"
            self.fault("part", self.offset(position, row) + 12, message)

    def bones(self, mesh: Mesh, count: int) -> None:
        """What has no weight may name any bone."""
        numbers = mesh.bone_indices()
        weights = mesh.split().get("COLOR1")
        counts = weights != 0 if weights is not None and weights.shape[1] == 4 else np.ones(numbers.shape, bool)
        bad = np.argwhere((numbers >= count) & counts)
        if len(bad):
            row, place = bad[0].tolist()
            message = f"vertex of bone {int(numbers[row, place])} of {count}"
            self.fault("bone", self.offset(mesh.attribute("POSITION0"), row) + 12 + place, message)

    def indices(self, mesh: Mesh) -> None:
        indices = mesh.indices
        if not len(indices):
            return
        largest = int(indices.max())
        head = self.offset(indices) - _INDEX_HEAD
        if indices.itemsize > (1, 2, 4)[index_code(largest)]:
            code = (1, 2, 4).index(indices.itemsize)
            self.fault("index-width", head, f"index format {code} is wider than the largest index {largest} needs")
        if largest >= mesh.vertex_count:
            row = int(np.argmax(indices >= mesh.vertex_count))
            self.fault("index", self.offset(indices, row), f"index {int(indices[row])} of {mesh.vertex_count} vertices")
        if mesh.primitive_type not in _PRIMITIVES:
            self.fault("primitive", head + 5, f"primitive type {mesh.primitive_type}")
        if mesh.primitive_type == 5 and len(indices) % 3:
            self.fault("triangles", head + 1, f"{len(indices)} indices are no whole number of triangles")

    def numbers(self, record: NumberNode) -> None:
        """The control of a vertex of a display, which COLOR1 has, is one of its part."""
        values = record.mesh.split().get("COLOR1")
        parts = record.mesh.part_numbers()
        if values is None or values.shape[1] != 1 or ((parts < 0) | (parts >= len(record.numbers))).any():
            return
        counts = np.array([len(rows) for rows in record.numbers])[parts]
        bad = np.flatnonzero(~((values[:, 0] > -0.5) & (values[:, 0] < counts - 0.5)))
        if len(bad):
            row = int(bad[0])
            message = f"vertex of control {values[row, 0]:g} of {counts[row]}"
            self.fault("number", self.offset(values, row), message)

