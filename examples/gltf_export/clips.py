"""Animations as arguments: which argument value shows which second, and which track drives what.

Animation i of the file is argument i.  At 0 everything stands in the rest pose; the clip runs from START to
END, linear in seconds; between 0 and START the model goes from the rest pose to the clip's first frame.
START and END are the same for every clip and exact in 32 bits.  An argument has 32 bits, so a clip of T seconds
is told in steps of T x 7e-8 seconds.
"""

from __future__ import annotations

import re
from dataclasses import dataclass, field
from typing import Any

import numpy as np

from .accessors import Floats
from .container import item
from .problems import GltfError
from .report import Report
from .scene import Scene
from .tracks import Track, make_track

START = 0.125
END = 1.0
POINTER = "KHR_animation_pointer"
NODE_PATHS = {"translation": 3, "rotation": 4, "scale": 3}
# The pointers that something in the model can answer to, and how many components their values have.
TEXTURES = "(?:pbrMetallicRoughness/)?[A-Za-z]+Texture"
POINTERS = [
    (re.compile(pattern), width)
    for pattern, width in (
        (r"/materials/\d+/pbrMetallicRoughness/baseColorFactor", 4),
        (r"/materials/\d+/emissiveFactor", 3),
        (r"/materials/\d+/extensions/KHR_materials_emissive_strength/emissiveStrength", 1),
        (rf"/materials/\d+/{TEXTURES}/extensions/KHR_texture_transform/offset", 2),
        (r"/extensions/KHR_lights_punctual/lights/\d+/color", 3),
        (r"/extensions/KHR_lights_punctual/lights/\d+/(?:intensity|range|spot/(?:inner|outer)ConeAngle)", 1),
    )
]


@dataclass
class Clip:
    """One animation and its place on its argument."""

    argument: int
    name: str
    first: float = 0.0
    last: float = 0.0

    def to_argument(self, seconds: Floats) -> Floats:
        """Argument values, exact in 32 bits, of times within the clip."""
        if self.last <= self.first:
            return np.full(len(seconds), START)
        share = (seconds - self.first) / (self.last - self.first)
        return (START + share * (END - START)).astype(np.float32).astype(np.float64)


@dataclass
class Driven:
    """A track and the clip it belongs to."""

    clip: Clip
    track: Track

    def keys(self, rest: Floats, tolerance: float) -> tuple[Floats, Floats]:
        """Key times and values of a channel: the rest value at 0, then the clip from START on."""
        seconds, values = self.track.polyline(tolerance)
        times = self.clip.to_argument(seconds)
        if self.track.mode == "STEP":
            times, values = stairs(times, values)
        if times[0] > START:  # a track that begins late holds its first value from the clip's start
            times, values = np.concatenate([[START], times]), np.concatenate([values[:1], values])
        times, values = rising(times, values)
        return np.concatenate([[0.0], times]), np.concatenate([rest.reshape(1, -1), values])


def stairs(times: Floats, values: Floats) -> tuple[Floats, Floats]:
    """A jump is two keys: the old value one 32-bit step before the time of the new one."""
    before = np.nextafter(times[1:].astype(np.float32), np.float32(0.0)).astype(np.float64)
    out_times, out_values = np.empty(2 * len(times) - 1), np.empty((2 * len(times) - 1, values.shape[1]))
    out_times[0::2], out_times[1::2] = times, before
    out_values[0::2], out_values[1::2] = values, values[:-1]
    return out_times, out_values


def rising(times: Floats, values: Floats) -> tuple[Floats, Floats]:
    """Keys closer than 32 bits can tell apart become one, the last of them."""
    last = np.append(np.diff(times) > 0.0, True)
    return times[last], values[last]


@dataclass
class Clips:
    """All animations of a file.  `nodes` and `pointers` say which tracks drive what, in order of argument."""

    clips: list[Clip]
    nodes: dict[tuple[int, str], list[Driven]] = field(default_factory=dict)
    pointers: dict[str, list[Driven]] = field(default_factory=dict)
    used: set[str] = field(default_factory=set)

    def of_node(self, node: int, path: str) -> list[Driven]:
        """Tracks of a node's translation, rotation or scale."""
        return self.nodes.get((node, path), [])

    def animated(self, node: int) -> bool:
        """Does any clip move this node?"""
        return any((node, path) in self.nodes for path in NODE_PATHS)

    def of_pointer(self, pointer: str, report: Report) -> Driven | None:
        """The one track that drives a property.  A property has a single argument, so the first clip wins."""
        driven = self.pointers.get(pointer, [])
        self.used.add(pointer)
        for other in driven[1:]:
            report.skip(f"animation {other.clip.argument}: {pointer}", "another animation drives this property already")
        return driven[0] if driven else None

    def report_unused(self, report: Report) -> None:
        """Every pointer that nothing in the model answers to."""
        for pointer, driven in self.pointers.items():
            if pointer not in self.used:
                report.skip(f"animation {driven[0].clip.argument}: {pointer}", "nothing in the model can carry this motion")


def read_clips(scene: Scene, report: Report) -> Clips:
    """Reads every sampler that drives something which is exported."""
    entries = scene.container.json.animations or []
    result = Clips([Clip(i, str(entry.name) if entry.name is not None else "") for i, entry in enumerate(entries)])
    for clip, entry in zip(result.clips, entries):
        spans: list[Floats] = []
        for number, channel in enumerate(entry.channels or []):
            where = f"animation {clip.argument}, channel {number}"
            sampler = item(entry.samplers, channel.sampler, f"{where}: sampler")
            # What is left out still counts for the length of its clip.
            seconds = scene.reader.floats(sampler.input, 1, f"{where}: input")[:, 0]
            spans.append(seconds)
            if (target := target_of(channel, scene, where, report)) is None:
                continue
            values = scene.reader.floats(sampler.output, target[2], f"{where}: output")
            mode = str(sampler.interpolation or "LINEAR")
            track = make_track(mode, seconds, values, target[1] == "rotation", where)
            add(result, clip, target, track, where, report)
        if spans:
            times = np.concatenate(spans)
            if not len(times) or not np.isfinite(times).all():
                raise GltfError(f"animation {clip.argument}: its times are missing or not finite")
            clip.first, clip.last = float(times.min()), float(times.max())
        report.arguments.append(
            {
                "argument": clip.argument,
                "animation": clip.argument,
                "name": clip.name,
                "start": START,
                "end": END,
                "seconds_start": clip.first,
                "seconds_end": clip.last,
            }
        )
    return result


Target = tuple[int | str, str, int]  # a node's number, or a whole pointer; the property's name; its width


def target_of(channel: Any, scene: Scene, where: str, report: Report) -> Target | None:
    """What a channel drives, or None, with a note, when the model has no place for it."""
    target = channel.target
    pointer = ((target.extensions or {}).get(POINTER) or {}).get("pointer") if target is not None else None
    if isinstance(pointer, str):
        parts = pointer.split("/")
        if len(parts) == 4 and parts[1] == "nodes" and parts[2].isdecimal():
            return node_target(int(parts[2]), parts[3], scene, f"{where}: {pointer}", report)
        for pattern, width in POINTERS:
            if pattern.fullmatch(pointer):
                return pointer, "", width
        report.skip(f"{where}: {pointer}", "nothing in the model can carry this motion")
        return None
    if target is None or target.node is None:
        report.skip(where, "it names no node")
        return None
    return node_target(target.node, str(target.path), scene, where, report)


def node_target(node: int, path: str, scene: Scene, where: str, report: Report) -> Target | None:
    """A channel of a node."""
    item(scene.container.json.nodes, node, f"{where}: node")
    if path == "weights":
        report.skip(f"{where}: weights of node {node}", "morph targets are exported at their default weights")
    elif path not in NODE_PATHS:
        report.skip(f"{where}: {path} of node {node}", "no such property can be animated")
    elif node not in scene.nodes:
        report.skip(f"{where}: {path} of node {node}", "the node lies outside the scene")
    elif scene.nodes[node].matrix is not None:
        report.skip(f"{where}: {path} of node {node}", "a node given by a matrix can't be animated")
    else:
        return node, path, NODE_PATHS[path]
    return None


def add(clips: Clips, clip: Clip, target: Target, track: Track, where: str, report: Report) -> None:
    """Files a track under what it drives; a clip drives each thing once."""
    owner, name, _ = target
    driven = clips.pointers.setdefault(owner, []) if isinstance(owner, str) else clips.nodes.setdefault((owner, name), [])
    if any(other.clip is clip for other in driven):
        report.warn(f"{where}: its animation drives the same thing twice; the first channel counts")
    else:
        driven.append(Driven(clip, track))
