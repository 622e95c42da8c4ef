"""KHR_lights_punctual: point and spot lights; a directional light has no place in a model.

colour -> colour; intensity (candela) -> brightness, as it is; range -> distance, and without a range the
distance at which the light falls below DIM candela per square metre; the cone angles, which glTF measures from
the axis, doubled, in radians.  A light hangs on its node and shines, as in glTF, along the node's -Z.
"""

from __future__ import annotations

import math

import numpy as np
from zrm_scene import Light, Value

from .animations import Animations
from .container import item
from .schema import LightEntry, Lights, LightUse, NodeEntry, Spot
from .source import Source, extension, floats

NAME = "KHR_lights_punctual"
DIM = 0.01


class LightReader:
    """Makes the lights of nodes."""

    def __init__(self, source: Source, animations: Animations) -> None:
        self.report = source.report
        self.animations = animations
        lights = extension(source.container.root, NAME, Lights, "")
        self.entries: list[LightEntry] = [] if lights is None else lights["lights"]

    def of_node(self, node: NodeEntry, where: str, name: str) -> Light | None:
        """The light of a node, if it has one that the model can hold."""
        if (use := extension(node, NAME, LightUse, where)) is None:
            return None
        number = use["light"]
        entry = item(self.entries, number, "light", f"{where}.extensions.{NAME}.light")
        place, root = f"extensions.{NAME}.lights[{number}]", f"/extensions/{NAME}/lights/{number}"
        if entry["type"] not in ("point", "spot"):
            self.report.lose(f"{entry['type']} light", "the module has no such light", f"{where} ({name})")
            return None

        def value(path: str, rest: float | None, default: float, factor: float = 1.0) -> Value:
            return self.animations.value(f"{root}/{path}", np.array([default if rest is None else rest]), factor=factor)

        intensity = value("intensity", entry.get("intensity"), 1.0)
        reach = math.sqrt(max(float(intensity.rest[0]), 0.0) / DIM)
        colour = floats(entry.get("color"), (1.0, 1.0, 1.0), f"{place}.color")
        light = Light(name, intensity, value("range", entry.get("range"), reach), self.animations.value(f"{root}/color", colour))
        if entry["type"] == "spot":
            cone: Spot = entry.get("spot") or {}
            light.outer = value("spot/outerConeAngle", cone.get("outerConeAngle"), math.pi / 4.0, 2.0)
            light.inner = value("spot/innerConeAngle", cone.get("innerConeAngle"), 0.0, 2.0)
        return light
