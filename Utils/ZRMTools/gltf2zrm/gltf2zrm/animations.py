"""Animations as clips: animation i of the file is argument i of the model."""

from __future__ import annotations

import re
from dataclasses import dataclass

import numpy as np
from zrm_scene import Clip, Driven, Mode, Moves, Shown, Track, Value
from zrm_scene.arrays import Floats

from .container import item
from .form import checked
from .problems import GltfError
from .scene import VISIBILITY, Scene
from .schema import AnimationEntry, Channel, Pointer, Visibility
from .source import Source, extension

POINTER = "KHR_animation_pointer"
NODE_PATHS = {"translation": 3, "rotation": 4, "scale": 3}
SHOWN = re.compile(rf"/nodes/(\d+)/extensions/{VISIBILITY}/visible")
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
UNCARRIED = "nothing in the model can carry this motion"


@dataclass(frozen=True)
class Target:
    """What a channel drives: a part of a node, whether it is shown, or a pointer's value."""

    node: int | None
    path: str
    width: int


class Animations:
    """All animations of a file. Those of nodes go into the nodes' records; the rest waits to be asked for by its pointer."""

    def __init__(self, scene: Scene) -> None:
        self.scene = scene
        self.source = scene.source
        self.report = scene.source.report
        self.pointers: dict[str, list[Driven]] = {}
        self.used: set[str] = set()
        self.shown: dict[int, Driven] = {}
        self.clips: list[Clip] = []
        for index, entry in enumerate(self.source.container.entries("animations", AnimationEntry)):
            self._read(index, entry)
        self._gate()
        self.report.clips = self.clips

    def value(self, pointer: str, rest: Floats, component: int = 0, factor: float = 1.0) -> Value:
        """A value and what drives it. A property has a single argument, so the first clip wins."""
        driven = self.pointers.get(pointer, [])
        if driven and pointer not in self.used:
            for other in driven[1:]:
                self.report.lose("motion of one value by several animations", "the first one counts", f"{animation(other.clip)}: {pointer}")
        self.used.add(pointer)
        return Value(rest, driven[0] if driven else None, component, factor)

    def tell_unused(self) -> None:
        """Every pointer that nothing in the model answers to."""
        for pointer, driven in self.pointers.items():
            if pointer not in self.used:
                for entry in driven:
                    self.report.lose("animated value", UNCARRIED, f"{animation(entry.clip)}: {pointer}")

    def _read(self, index: int, entry: AnimationEntry) -> None:
        clip = Clip(index, entry.get("name") or "")
        self.clips.append(clip)
        spans: list[Floats] = []
        for number, channel in enumerate(entry["channels"]):
            where = f"animations[{index}].channels[{number}]"
            sampler = item(entry["samplers"], channel["sampler"], "sampler", f"{where}.sampler")
            place = f"animations[{index}].samplers[{channel['sampler']}]"
            # What is left out still counts for the length of its clip.
            seconds = self.source.reader.floats(sampler["input"], 1, f"{place}.input")[:, 0]
            spans.append(seconds)
            if (target := self._target(channel, where)) is None:
                continue
            values = self.source.reader.floats(sampler["output"], target.width, f"{place}.output")
            mode = sampler.get("interpolation") or "LINEAR"
            self._file(clip, target, self._track(mode, seconds, values, target.path == "rotation", place), where)
        if spans:
            times = np.concatenate(spans)
            if not len(times) or not np.isfinite(times).all():
                raise GltfError(f"animations[{index}]: its times are missing or not finite")
            clip.first, clip.last = float(times.min()), float(times.max())

    def _target(self, channel: Channel, where: str) -> Target | None:
        """What a channel drives, or None, with a loss, when the model has no place for it."""
        target = channel["target"]
        found = (target.get("extensions") or {}).get(POINTER)
        if found is not None:
            pointer = checked(found, Pointer, f"{where}.target.extensions.{POINTER}")["pointer"]
            parts = pointer.split("/")
            if (match := SHOWN.fullmatch(pointer)) is not None:
                return self._node_target(int(match[1]), VISIBILITY, f"{where}: {pointer}")
            if len(parts) == 4 and parts[1] == "nodes" and parts[2].isdecimal():
                return self._node_target(int(parts[2]), parts[3], f"{where}: {pointer}")
            for pattern, width in POINTERS:
                if pattern.fullmatch(pointer):
                    return Target(None, pointer, width)
            self.report.lose("animated value", UNCARRIED, f"{where}: {pointer}")
            return None
        if (node := target.get("node")) is None:
            self.report.lose("animation channel", "it names no node", where)
            return None
        return self._node_target(node, target["path"], where)

    def _node_target(self, node: int, path: str, where: str) -> Target | None:
        """A channel of a node."""
        entry = item(self.scene.entries, node, "node", where)
        if path == "weights":
            self.report.lose("animated morph targets", "they are exported at their default weights", where)
        elif path not in NODE_PATHS and path != VISIBILITY:
            self.report.lose(f"animated {path}", "no such property of a node can be animated", where)
        elif node not in self.scene.nodes:
            self.report.lose("animated node", "it lies outside the scene", where)
        elif entry.get("matrix") is not None and path != VISIBILITY:
            self.report.lose("animated matrix", "a node given by a matrix can't be animated", where)
        else:
            return Target(node, path, NODE_PATHS.get(path, 1))
        return None

    def _track(self, mode: str, seconds: Floats, values: Floats, rotation: bool, where: str) -> Track:
        """Checks a sampler's two lists and takes the tangents of cubic keys apart."""
        count = len(seconds)
        if count == 0:
            raise GltfError(f"{where}: no keys")
        if not np.isfinite(seconds).all() or not np.isfinite(values).all():
            raise GltfError(f"{where}: numbers that are not finite")
        if count > 1 and not (np.diff(seconds) >= 0.0).all():
            raise GltfError(f"{where}: the times do not rise")
        if mode not in (entry.value for entry in Mode):
            raise GltfError(f"{where}.interpolation: {mode!r} is none of LINEAR, STEP, CUBICSPLINE")
        kind = Mode(mode)
        wanted = count * (3 if kind is Mode.CUBIC else 1)
        if len(values) != wanted:
            raise GltfError(f"{where}: {len(values)} values where {wanted} belong to {count} times")
        values = values.reshape(count, wanted // count, -1)
        # Some writers give a time twice; glTF doesn't allow it, and the later key is what a player shows.
        last = np.append(np.diff(seconds) > 0.0, True)
        if not last.all():
            self.report.lose("keys at equal times", "the last of them counts", where)
        seconds, values = seconds[last], values[last]
        if kind is not Mode.CUBIC:
            return Track(kind, seconds, values[:, 0], rotation)
        return Track(kind, seconds, values[:, 1], rotation, values[:, 0], values[:, 2])

    def _file(self, clip: Clip, target: Target, track: Track, where: str) -> None:
        """Puts a track where it belongs; a clip drives each thing once."""
        if target.path == VISIBILITY and target.node is not None:
            self._show(clip, target.node, track, where)
            return
        if target.node is None:
            driven = self.pointers.setdefault(target.path, [])
        else:
            node = self.scene.nodes[target.node]
            node.moves = node.moves or Moves()
            driven = {"translation": node.moves.translation, "rotation": node.moves.rotation, "scale": node.moves.scale}[target.path]
        if any(other.clip is clip for other in driven):
            self.report.lose("channels that drive one thing twice", "the first one counts", where)
        else:
            driven.append(Driven(clip, track))

    def _show(self, clip: Clip, index: int, track: Track, where: str) -> None:
        """Remembers what shows and hides a node: the clip's span isn't known before all its channels are read."""
        if index in self.shown:
            self.report.lose("visibility by several animations", "the first one counts", where)
        else:
            self.shown[index] = Driven(clip, Track(Mode.STEP, track.seconds, track.values, False))

    def _gate(self) -> None:
        """Keys that show and hide nodes: their own state at 0, then the clip's."""
        for index, driven in self.shown.items():
            entry = extension(self.scene.entries[index], VISIBILITY, Visibility, f"nodes[{index}]") or {}
            rest = np.array([float(entry.get("visible", True) is not False)])
            times, states = driven.keys(rest, 0.0)
            if (states >= 0.5).any():
                keys: list[tuple[float, float]] = list(zip(times.tolist(), (states[:, 0] >= 0.5).astype(float).tolist()))
                self.scene.gates[index].shown = [Shown(driven.clip.argument, keys)]
            else:
                self.scene.hide(index)


def animation(clip: Clip) -> str:
    """Its place in the file."""
    return f"animations[{clip.argument}]"


def gated_nodes(source: Source) -> set[int]:
    """The nodes whose visibility an animation drives."""
    found: set[int] = set()
    for entry in source.container.entries("animations", AnimationEntry):
        for channel in entry["channels"]:
            pointer = (channel["target"].get("extensions") or {}).get(POINTER, {}).get("pointer")
            if isinstance(pointer, str) and (match := SHOWN.fullmatch(pointer)) is not None:
                found.add(int(match[1]))
    return found

