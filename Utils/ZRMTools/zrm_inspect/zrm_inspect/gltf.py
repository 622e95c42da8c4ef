"""A file as binary glTF: its tree, meshes, skins, lights and connectors at rest, and an animation for each argument.

An argument's value becomes seconds, from the least of its keys. glTF has nothing for a node that is shown and hidden: it is
scaled to nothing. Of the levels of detail one is written. Textures are named only: the file has none.
"""

from __future__ import annotations

import json
import math
from collections import defaultdict
from typing import Any

import numpy as np
import pygltflib
from numpy.typing import NDArray

from .animation import Arguments, is_visible, pose
from .look import colour_of, look_of, number_of
from .model import ArgAnimationNode, ArgVisibilityNode, Doubles, LightNode, Material, Mesh, Node, RenderNode, SkinNode, ZrmFile
from .report import printable
from .world import child_numbers, world_matrices

_TYPES = {(): "SCALAR", (2,): "VEC2", (3,): "VEC3", (4,): "VEC4", (4, 4): "MAT4"}
_COMPONENTS = {"f4": 5126, "u1": 5121, "u2": 5123, "u4": 5125}
_STEPS = 8  # between two keys, where the turns of several channels are multiplied
_SPOT = 1


class _Buffer:
    """The binary part, and the accessors into it."""

    def __init__(self) -> None:
        self.bytes = bytearray()
        self.views: list[dict[str, Any]] = []
        self.accessors: list[dict[str, Any]] = []

    def add(self, values: NDArray[Any], bounds: bool = False) -> int:
        values = np.ascontiguousarray(values)
        self.bytes += bytes(-len(self.bytes) % 4)
        self.views.append({"buffer": 0, "byteOffset": len(self.bytes), "byteLength": values.nbytes})
        self.bytes += values.tobytes()
        accessor: dict[str, Any] = {
            "bufferView": len(self.views) - 1,
            "componentType": _COMPONENTS[values.dtype.str[1:]],
            "count": len(values),
            "type": _TYPES[values.shape[1:]],
        }
        if bounds:
            low, high = values.min(axis=0), values.max(axis=0)
            accessor |= {"min": np.atleast_1d(low).tolist(), "max": np.atleast_1d(high).tolist()}
        self.accessors.append(accessor)
        return len(self.accessors) - 1


def to_glb(file: ZrmFile, arguments: Arguments, level: int = 0) -> bytes:
    """The bytes of a .glb; `level` is the one that LOD nodes show, or their last."""
    return _Export(file, arguments, level).finish()


class _Export:
    def __init__(self, file: ZrmFile, arguments: Arguments, level: int) -> None:
        self.file = file
        self.arguments = arguments
        self.buffer = _Buffer()
        self.nodes: list[dict[str, Any]] = []
        self.meshes: list[dict[str, Any]] = []
        self.skins: list[dict[str, Any]] = []
        self.lights: list[dict[str, Any]] = []
        self.tracks: dict[int, list[tuple[int, str, str, Doubles, Doubles]]] = defaultdict(list)
        self.inner: list[int] = []  # of each tree node the glTF node that has its space
        self.shown = _shown_levels(file, level)
        self.world = world_matrices(file, arguments)
        for node in file.nodes:
            self._tree_node(node)
        for record in file.render_nodes:
            if isinstance(record, RenderNode):
                self._render_node(record)
            elif isinstance(record, SkinNode):
                self._skin(record)
        for light in file.light_nodes:
            self._light(light)
        for connector in file.connectors:
            extras = {entry.name: getattr(entry, "value", None) for entry in connector.properties}
            self._add(connector.control, {"name": connector.name, "extras": extras})

    # ------------------------------------------------------------ the tree

    def _append(self, node: dict[str, Any], above: int) -> int:
        self.nodes.append({key: printable(value) if key == "name" else value for key, value in node.items()})
        if above >= 0:
            self.nodes[above].setdefault("children", []).append(len(self.nodes) - 1)
        return len(self.nodes) - 1

    def _add(self, control: int, node: dict[str, Any]) -> int:
        return self._append(node, self.inner[control])

    def _tree_node(self, node: Node) -> None:
        above = self.inner[node.parent] if node.parent >= 0 else -1
        own: dict[str, Any] = {"name": node.name}
        if node.matrix is not None and np.isfinite(node.matrix).all() and (node.matrix != np.eye(4)).any():
            own["matrix"] = node.matrix.ravel().tolist()
        place = self._append(own, above)
        if isinstance(node, ArgAnimationNode):
            place = self._moving(node, place)
        elif isinstance(node, ArgVisibilityNode):
            place = self._switched(node, place)
        self.inner.append(place)

    def _moving(self, node: ArgAnimationNode, above: int) -> int:
        shift, turn, size = self._values(node, self.arguments)
        place = self._append(
            {"name": f"{node.name} motion", "translation": shift, "rotation": turn, "scale": size}, above
        )
        for argument in dict.fromkeys(channel.argument for channel in node.channels):
            times = _times(node, argument)
            if len(times):
                rows = [self._values(node, {**self.arguments, argument: float(time)}) for time in times]
                for path, column in (("translation", 0), ("rotation", 1), ("scale", 2)):
                    values = np.array([row[column] for row in rows])
                    if (values != values[0]).any():
                        self.tracks[argument].append((place, path, "LINEAR", times, values))
        return place

    def _values(self, node: ArgAnimationNode, arguments: Arguments) -> tuple[list[float], list[float], list[float]]:
        """Translation, rotation and scale; a scale along turned axes is told by the length of its rows."""
        matrix, rotation, position = pose(node, arguments)
        upper = matrix[:3, :3]
        size = np.sqrt((upper**2).sum(axis=1)) * np.where(np.diag(upper) < 0, -1.0, 1.0)
        length = float(np.sqrt(rotation @ rotation))
        turn = rotation / length if length > 0 else np.array([0.0, 0.0, 0.0, 1.0])
        return position.tolist(), turn.tolist(), size.tolist()

    def _switched(self, node: ArgVisibilityNode, above: int) -> int:
        place = self._append({"name": f"{node.name} shown", "scale": _size(is_visible(node, self.arguments))}, above)
        for argument in dict.fromkeys(condition.argument for condition in node.conditions):
            edges = [c.ranges.ravel() for c in node.conditions if c.argument == argument]
            times = np.unique(np.concatenate(edges).astype(np.float32)).astype(np.float64)
            times = times[np.abs(times) < 1e6]
            if len(times):
                times = np.concatenate([[times[0] - 1.0], times])
                shown = [is_visible(node, {**self.arguments, argument: float(time)}) for time in times]
                values = np.array([_size(value) for value in shown])
                self.tracks[argument].append((place, "scale", "STEP", times, values))
        return place

    # ------------------------------------------------------------ what hangs on it

    def _attributes(self, mesh: Mesh, used: NDArray[Any]) -> dict[str, int]:
        """Those that glTF knows, of some of the vertices."""
        found: dict[str, int] = {}
        split = mesh.split()
        for name, values in split.items():
            if name == "POSITION0":
                found["POSITION"] = self.buffer.add(values[used, :3], bounds=True)
            elif name == "NORMAL0" and values.shape[1] == 3:
                found["NORMAL"] = self.buffer.add(values[used])
            elif name.startswith("TEXCOORD") and values.shape[1] >= 2:
                found[f"TEXCOORD_{sum(key.startswith('TEX') for key in found)}"] = self.buffer.add(values[used, :2])
        return found

    def _mesh(self, name: str, material: int, mesh: Mesh, used: NDArray[Any], triangles: NDArray[Any], **more: int) -> int:
        """A mesh of these triangles, whose corners are numbers in `used`."""
        primitive = {
            "attributes": self._attributes(mesh, used) | more,
            "indices": self.buffer.add(triangles.astype("<u4").ravel()),
            "material": material,
        }
        self.meshes.append({"name": printable(name), "primitives": [primitive]})
        return len(self.meshes) - 1

    def _render_node(self, record: RenderNode) -> None:
        """A mesh for each part, so that each hangs on its own node."""
        mesh = record.mesh
        triangles = mesh.triangles()
        if not len(triangles) or mesh.vertex_format[0] < 3:
            return
        parts = mesh.part_numbers()[triangles[:, 0]]
        mirrored = np.linalg.det(self.world[record.controls][:, :3, :3]) < 0
        for part, (control, argument) in enumerate(record.parents.tolist()):
            own = triangles[parts == part][:, [0, 2, 1] if mirrored[part] else [0, 1, 2]]  # glTF turns these over
            if len(own) and self.shown[control]:
                used, numbers = np.unique(own, return_inverse=True)
                number = self._mesh(record.name, record.material, mesh, used, numbers)
                self._add(control, {"name": record.name, "mesh": number, "extras": {"damageArgument": argument}})

    def _skin(self, record: SkinNode) -> None:
        mesh = record.mesh
        triangles = mesh.triangles()
        if not len(triangles) or mesh.vertex_format[0] != 4 or not self.shown[record.controls[0]]:
            return
        weights = mesh.split().get("COLOR1")
        joints = mesh.bone_indices()
        if weights is None or weights.shape[1] != 4:
            weights = np.tile(np.array([1, 0, 0, 0], np.float32), (len(joints), 1))
        joints = np.where(weights != 0, joints, 0).astype("u1")
        own = {"JOINTS_0": self.buffer.add(joints), "WEIGHTS_0": self.buffer.add(weights)}
        every = np.arange(mesh.vertex_count)
        number = self._mesh(record.name, record.material, mesh, every, triangles, **own)
        inverted = np.array([self.file.nodes[bone].inverted for bone in record.bones.tolist()], "<f4")
        joint_nodes = [self.inner[bone] for bone in record.bones.tolist()]
        self.skins.append({"joints": joint_nodes, "inverseBindMatrices": self.buffer.add(inverted)})
        self._append({"name": record.name, "mesh": number, "skin": len(self.skins) - 1}, -1)

    def _light(self, light: LightNode) -> None:
        colour = colour_of(light.color, self.arguments) or (1.0, 1.0, 1.0)
        strength = number_of(light.brightness, self.arguments, 0.0)
        entry: dict[str, Any] = {"type": "point", "color": list(colour), "intensity": strength}
        reach = number_of(light.distance, self.arguments, 0.0)
        if reach > 0:
            entry["range"] = reach
        if light.light_type == _SPOT:
            outer = min(max(number_of(light.phi, self.arguments, 0.0) / 2, 1e-3), math.pi / 2)
            inner = min(max(number_of(light.theta, self.arguments, 0.0) / 2, 0.0), outer - 1e-4)
            entry |= {"type": "spot", "spot": {"innerConeAngle": inner, "outerConeAngle": outer}}
        self.lights.append(entry)
        number = {"KHR_lights_punctual": {"light": len(self.lights) - 1}}
        self._add(light.control, {"name": light.name, "extensions": number})

    # ------------------------------------------------------------ the whole

    def _animations(self) -> list[dict[str, Any]]:
        found = []
        for argument, tracks in sorted(self.tracks.items()):
            start = min(float(times[0]) for _, _, _, times, _ in tracks)
            samplers, channels = [], []
            for node, path, kind, times, values in tracks:
                samplers.append({
                    "input": self.buffer.add((times - start).astype("<f4"), bounds=True),
                    "output": self.buffer.add(values.astype("<f4")), "interpolation": kind})  # fmt: skip
                channels.append({"sampler": len(samplers) - 1, "target": {"node": node, "path": path}})
            extras = {"argument": argument, "start": start}
            found.append({"name": f"argument {argument}", "samplers": samplers, "channels": channels, "extras": extras})
        return found

    def finish(self) -> bytes:
        roots = set(range(len(self.nodes))) - {child for node in self.nodes for child in node.get("children", ())}
        whole = {
            "asset": {"version": "2.0", "generator": "zrm-inspect"},
            "scene": 0,
            "scenes": [{"nodes": sorted(roots)}],
            "nodes": self.nodes,
            "meshes": self.meshes,
            "skins": self.skins,
            "materials": [_material(material, self.arguments) for material in self.file.materials],
            "animations": self._animations(),
            "accessors": self.buffer.accessors,
            "bufferViews": self.buffer.views,
            "buffers": [{"byteLength": len(self.buffer.bytes)}] if self.buffer.bytes else [],
        }
        if self.lights:
            whole |= {"extensionsUsed": ["KHR_lights_punctual"], "extensions": {"KHR_lights_punctual": {"lights": self.lights}}}
        gltf = pygltflib.GLTF2.from_json(json.dumps({key: value for key, value in whole.items() if value != []}))
        gltf.set_binary_blob(bytes(self.buffer.bytes))
        return b"".join(gltf.save_to_bytes())


def _size(shown: bool) -> list[float]:
    return [1.0 if shown else 0.0] * 3


def _shown_levels(file: ZrmFile, level: int) -> list[bool]:
    """Of each node whether it and all above it are of the level that is written."""
    shown: list[bool] = []
    numbers = child_numbers(file.parents).tolist()
    children = np.bincount(file.parents[1:], minlength=len(file.nodes)).tolist()
    for node, number in zip(file.nodes, numbers):
        above = file.nodes[node.parent] if node.parent >= 0 else None
        own = above is None or above.levels is None or number == min(level, children[above.index] - 1)
        shown.append(own and (above is None or shown[above.index]))
    return shown


def _times(node: ArgAnimationNode, argument: int) -> Doubles:
    """Where to take the node's pose: at its keys, just before those at which it jumps, between those that it turns at."""
    lists = [channel.keys["time"] for channel in node.channels if channel.argument == argument]
    lists += [scaling.rotation_keys["time"] for scaling in node.scale_channels if scaling.argument == argument]
    every = np.sort(np.concatenate(lists).astype(np.float32))
    every = every[np.isfinite(every)]
    jumps = every[1:][every[1:] == every[:-1]]
    times = np.unique(np.concatenate([every, np.nextafter(jumps, np.float32(-np.inf))]))
    if sum(turning.argument == argument for turning in node.rotation_channels) > 1:
        places = np.arange(len(times) * _STEPS - _STEPS + 1) / _STEPS
        times = np.unique(np.interp(places, np.arange(len(times)), times).astype(np.float32))
    return times.astype(np.float64)


def _material(material: Material, arguments: Arguments) -> dict[str, Any]:
    look = look_of(material, arguments)
    told: dict[str, Any] = {
        "name": printable(material.name),
        "pbrMetallicRoughness": {"baseColorFactor": [*look.colour, look.opacity], "metallicFactor": 0.0},
        "emissiveFactor": list(look.glow),
        "extras": {"textures": {str(slot): printable(texture.name) for slot, texture in material.textures.items()}},
    }
    return told | ({"alphaMode": "BLEND"} if look.opacity < 1 else {})
