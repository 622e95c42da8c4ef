"""A small truck: turning wheels, a lamp that is switched on, a cab that takes damage. On zrm_scene, mixed with the module.

    python vehicle.py [OUT.zrm]
"""

from __future__ import annotations

import math
import sys

import numpy as np
import pyzrm_313 as zrm
import zrm_scene
from shapes import Shape, moved
from zrm_scene import Arguments, Map, Surface, Value

ARGUMENTS = Arguments("wheels", "lamp", "damage")
WHEEL_RADIUS, WHEEL_WIDTH = 0.45, 0.3
# Four quarter turns: between two keys a rotation takes the shorter way, so a half turn would not know where to go.
QUARTERS = 4


def build(scene: zrm_scene.Scene) -> None:
    """The whole model."""
    body = scene.node("body", moved(0, WHEEL_RADIUS, 0))
    add_body(scene, body)
    for name, x, z in (("front left", -0.9, 1.4), ("front right", 0.9, 1.4), ("rear left", -0.9, -1.3), ("rear right", 0.9, -1.3)):
        add_wheel(scene, body, name, (x, 0.0, z))
    add_lamp(scene, body)
    hook = zrm.Connector("tow hook")
    hook.setPropertyFloat("maxLoad", 3500.0)
    scene.add(hook, body)


def add(scene: zrm_scene.Scene, node: zrm.Node, name: str, shape: Shape, surface: Surface, *blocks: zrm.IBlock) -> None:
    """A shape on a node."""
    scene.mesh(node, surface, shape.positions, shape.triangles, shape.normals, shape.uvs, blocks, name)


def steel(name: str) -> Surface:
    """Painted, with bumps."""
    return Surface(name, albedo=Map("truck_body"), normal=Map("truck_body_normal"))


def add_body(scene: zrm_scene.Scene, body: zrm.Node) -> None:
    """A bed with a normal map, and a cab with that and damage."""
    add(scene, body, "bed", Shape().box((-0.8, 0.0, -2.0), (0.8, 0.5, 0.6)), steel("bed"))
    cab = Shape().box((-0.8, 0.0, 0.7), (0.8, 1.2, 2.0))
    damage = zrm.DamageBlock()
    damage.setAlbedoMap("truck_damage")
    damage.setAlbedoMapUV(cab.uvs.reshape(-1))
    damage.setMask("truck_damage_mask")
    damage.setArgument(ARGUMENTS.damage)
    add(scene, body, "cab", cab, steel("cab"), damage)


def add_wheel(scene: zrm_scene.Scene, body: zrm.Node, name: str, place: tuple[float, float, float]) -> None:
    """A wheel under a node of its own that turns it around x."""
    node = scene.attach(zrm.AnimationNode(f"wheel {name}"), body)
    node.setBasePosition(place)
    halves = [math.pi * quarter / QUARTERS for quarter in range(QUARTERS + 1)]
    turn = [(quarter / QUARTERS, (math.cos(h), math.sin(h), 0.0, 0.0)) for quarter, h in enumerate(halves)]
    node.setRotationAnimation([(ARGUMENTS.wheels, turn)])
    add(scene, node, "wheel", Shape().wheel(WHEEL_RADIUS, WHEEL_WIDTH, 24), Surface("wheel", albedo=Map("truck_wheel")))


def add_lamp(scene: zrm_scene.Scene, body: zrm.Node) -> None:
    """A glowing box on the cab with a spot light that the same argument switches on."""
    forwards = np.diag([-1.0, 1.0, -1.0, 1.0])  # a half turn about y, as a spot light shines along -z
    node = scene.node("lamp", moved(0, 1.3, 1.9) @ forwards, body)
    glow = zrm.EmissiveBlock()
    glow.setColor(zrm.PropertyFloat3((1.0, 0.95, 0.8)))
    glow.setAmount(zrm.PropertyFloat(ARGUMENTS.lamp, [(0.0, 0.0), (1.0, 5.0)]))
    shape = Shape().box((-0.15, -0.1, -0.1), (0.15, 0.1, 0.1))
    add(scene, node, "lamp", shape, Surface("lamp", colour=Value.of(0.9, 0.9, 0.8)), glow)
    light = zrm.SpotLight("lamp")
    light.setColor(zrm.PropertyFloat3((1.0, 0.95, 0.8)))
    light.setBrightness(zrm.PropertyFloat(ARGUMENTS.lamp, [(0.0, 0.0), (1.0, 40.0)]))
    light.setDistance(zrm.PropertyFloat(60.0))
    light.setAngles(zrm.PropertyFloat(math.radians(50.0)), zrm.PropertyFloat(0.4))
    scene.add(light, node)


if __name__ == "__main__":
    with zrm_scene.save(sys.argv[1] if len(sys.argv) > 1 else "vehicle.zrm") as scene:
        build(scene)
