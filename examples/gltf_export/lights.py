"""KHR_lights_punctual: point lights as OmniLight, spot lights as SpotLight; a directional light has no facade.

colour -> colour; intensity (candela) -> brightness, as it is; range -> distance, and without a range the
distance at which the light falls below DIM candela per square metre; the cone angles, which glTF measures from
the axis, doubled, in radians: outer -> phi, inner -> theta.  A light hangs on its node and shines, as in glTF,
along the node's -Z.
"""

from __future__ import annotations

import math
from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .accessors import Floats
from .materials import Properties
from .report import Report
from .scene import LIGHTS, Scene, SceneNode, lights_of, number, numbers

DIM = 0.01


def add_light(scene: Scene, node: SceneNode, facade: Any, properties: Properties, model: Any, report: Report) -> None:
    """Adds the light of a node."""
    entry = lights_of(scene.container)[node.light or 0]
    where = f"light {node.light}"
    root = f"/extensions/{LIGHTS}/lights/{node.light}"
    kind = entry.get("type") if isinstance(entry, dict) else None
    if kind not in ("point", "spot"):
        report.skip(f"{where} of node {node.index} ({node.name})", f"no light of the module is {kind}")
        return

    def value(name: str, default: float, source: Any = entry) -> Floats:
        return np.array([number(source.get(name), default, f"{where}: {name}")])

    intensity = value("intensity", 1.0)
    distance = value("range", math.sqrt(max(float(intensity[0]), 0.0) / DIM))
    light: Any
    if kind == "spot":
        light = zrm.SpotLight(node.name)
        cone = entry.get("spot")
        cone = cone if isinstance(cone, dict) else {}
        outer, inner = value("outerConeAngle", math.pi / 4.0, cone), value("innerConeAngle", 0.0, cone)
        light.setPhi(properties.single(f"{root}/spot/outerConeAngle", outer, factor=2.0))
        light.setTheta(properties.single(f"{root}/spot/innerConeAngle", inner, factor=2.0))
    else:
        light = zrm.OmniLight(node.name)
    colour = numbers(entry.get("color"), 3, [1.0, 1.0, 1.0], f"{where}: color")
    light.setColor(properties.colour(f"{root}/color", colour))
    light.setBrightness(properties.single(f"{root}/intensity", intensity))
    light.setDistance(properties.single(f"{root}/range", distance))
    light.setControlNode(facade)
    model.addLight(light)
