"""What has no surface, as lines: lights, connectors, collision shells, segments; and which argument values are worth a look."""

from __future__ import annotations

import math
from collections.abc import Iterator
from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from .animation import Arguments
from .look import number_of
from .model import AnimatedProperty, ArgumentProperty, BaseNode, Doubles, LightNode, Mesh, Property, ZrmFile
from .cursor import NO_ARGUMENT

_AXES = ((0.85, 0.2, 0.2), (0.2, 0.65, 0.2), (0.2, 0.35, 0.9))
_SHELL = (0.75, 0.2, 0.6)
_SPRITE = (0.9, 0.6, 0.0)
_FARTHEST = 1e6  # an edge of a range beyond this means "always"
_SPOT = 1
_RAYS = 12


@dataclass(slots=True)
class Lines:
    """`points` is (2 n, 3), in the space of a tree node; a light's lines are drawn in the colour of its property."""

    kind: str
    node: int
    points: Doubles
    colour: tuple[float, float, float] = (0.0, 0.0, 0.0)
    light: Property | None = None


def markers(file: ZrmFile, size: float, arguments: Arguments) -> Iterator[Lines]:
    for light in file.light_nodes:
        yield Lines("lights", light.control, _light(light, size, arguments), light=light.color)
    for record in file.render_nodes:
        if record.lights is not None:
            for place, control in enumerate(record.controls.tolist()):
                places = record.lights["position"][record.lights["controlIndex"] == place]
                yield Lines("lights", control, (places[:, None, :] + _star(size * 0.4)).reshape(-1, 3), _SPRITE)
    for connector in file.connectors:
        for axis, colour in zip(np.eye(3), _AXES):
            yield Lines("connectors", connector.control, np.array([np.zeros(3), axis * size * 2]), colour)
    for shell in file.shell_nodes:
        if len(shell.controls):
            yield Lines("shells", int(shell.controls[0]), _shell(file, shell), _SHELL)


def _star(size: float) -> Doubles:
    """Three crossing lines."""
    return np.stack([-np.eye(3), np.eye(3)], axis=1).reshape(-1, 3) * size


def _light(light: LightNode, size: float, arguments: Arguments) -> Doubles:
    """A star, and for a spot the rays at the edge of its cone, which opens towards -z."""
    if light.light_type != _SPOT:
        return _star(size)
    half = min(max(number_of(light.phi, arguments, 0.0) / 2, 0.01), 1.5)
    around = np.arange(_RAYS) * (2 * math.pi / _RAYS)
    rim = np.stack([np.cos(around) * math.tan(half), np.sin(around) * math.tan(half), -np.ones(_RAYS)], axis=1)
    rim *= 4 * size / np.linalg.norm(rim, axis=1, keepdims=True)
    rays = np.stack([np.zeros_like(rim), rim], axis=1).reshape(-1, 3)
    circle = np.stack([rim, np.roll(rim, 1, axis=0)], axis=1).reshape(-1, 3)
    return np.concatenate([_star(size * 0.5), rays, circle])


def _edges(mesh: Mesh) -> NDArray[np.int64]:
    triangles = mesh.triangles().astype(np.int64)
    pairs = np.concatenate([triangles[:, [0, 1]], triangles[:, [1, 2]], triangles[:, [2, 0]]])
    pairs = pairs[(pairs < mesh.vertex_count).all(axis=1)]
    return np.unique(np.sort(pairs, axis=1), axis=0)


def _shell(file: ZrmFile, shell: BaseNode) -> Doubles:
    if shell.segments is not None:
        return shell.segments.reshape(-1, 3).astype(np.float64)
    mesh = shell.mesh
    if mesh is None or mesh.vertex_format[0] < 3:
        return np.zeros((0, 3))
    points = mesh.attribute("POSITION0")[:, :3].astype(np.float64)
    inverted = file.nodes[int(shell.controls[0])].inverted if shell.bones is not None else None
    if inverted is not None:  # the whole shell with its first bone
        points = points @ inverted[:3, :3] + inverted[3, :3]
    return np.asarray(points[_edges(mesh).ravel()])


# ---------------------------------------------------------------- arguments


def spans(file: ZrmFile) -> dict[int, tuple[float, float]]:
    """Of each argument that moves, shows or colours something, the values between which it does."""
    found: dict[int, list[float]] = {}
    for node in file.nodes:
        for channel in node.channels:
            times = [channel.keys["time"], getattr(channel, "rotation_keys", channel.keys)["time"]]
            found.setdefault(channel.argument, []).extend(np.concatenate(times).tolist())
        for condition in node.conditions:
            found.setdefault(condition.argument, []).extend(condition.ranges.ravel().tolist())
    properties = [entry for material in file.materials for entry in material.animated_uniforms]
    properties += [entry for light in file.light_nodes for entry in light.settings()]
    for entry in properties:
        if isinstance(entry, AnimatedProperty):
            found.setdefault(entry.argument, []).extend(entry.keys["time"].tolist())
        elif isinstance(entry, ArgumentProperty):
            found.setdefault(entry.argument, []).extend((0.0, 1.0))
    told = {number: [v for v in values if abs(v) < _FARTHEST] for number, values in found.items() if number != NO_ARGUMENT}
    return {number: _span(values) for number, values in sorted(told.items()) if values}


def _span(values: list[float]) -> tuple[float, float]:
    low, high = min(values), max(values)
    return (low, high) if high > low else (min(low, 0.0), max(high, low + 1.0))
