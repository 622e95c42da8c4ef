"""A model without an input file: a small truck, written directly against the module.

Arguments: 0 turns the wheels once for 0 to 1; 1 switches the lamp on; 2 shows the damage of the cab.
"""

from __future__ import annotations

import math
from typing import Any

import numpy as np
import pyzrm_313 as zrm
from numpy.typing import NDArray

from .problems import GltfError
from .report import Report

WHEELS, LAMP, DAMAGE = 0, 1, 2
WHEEL_RADIUS, WHEEL_WIDTH = 0.45, 0.3
# Four quarter turns: between two keys a rotation takes the shorter way, so a half turn would not know where to go.
QUARTERS = 4

Floats = NDArray[np.float32]


class Shape:
    """Positions, normals, texture coordinates and triangles, gathered surface by surface."""

    def __init__(self) -> None:
        self.positions: list[Floats] = []
        self.normals: list[Floats] = []
        self.uvs: list[Floats] = []
        self.triangles: list[NDArray[np.uint32]] = []
        self.count = 0

    def add(self, positions: Any, normals: Any, uvs: Any, triangles: Any) -> None:
        """One more surface."""
        self.positions.append(np.asarray(positions, np.float32).reshape(-1))
        self.normals.append(np.asarray(normals, np.float32).reshape(-1))
        self.uvs.append(np.asarray(uvs, np.float32).reshape(-1))
        self.triangles.append(np.asarray(triangles, np.uint32).reshape(-1) + np.uint32(self.count))
        self.count += len(positions)

    def box(self, low: tuple[float, float, float], high: tuple[float, float, float]) -> None:
        """Six faces, wound against the clock as seen from outside."""
        for axis in range(3):
            u, v = (axis + 1) % 3, (axis + 2) % 3
            for side in (0, 1):
                corners = np.empty((4, 3))
                corners[:, axis] = (low, high)[side][axis]
                ways = ((0, 0), (1, 0), (1, 1), (0, 1)) if side else ((0, 0), (0, 1), (1, 1), (1, 0))
                for row, (a, b) in enumerate(ways):
                    corners[row, u], corners[row, v] = (low, high)[a][u], (low, high)[b][v]
                normal = np.zeros((4, 3))
                normal[:, axis] = 1.0 if side else -1.0
                self.add(corners, normal, [(0, 1), (1, 1), (1, 0), (0, 0)], [(0, 1, 2), (0, 2, 3)])

    def wheel(self, radius: float, width: float, count: int) -> None:
        """A cylinder around x with two faces."""
        angles = np.linspace(0.0, 2.0 * math.pi, count + 1)
        ring = np.stack([np.zeros(count + 1), np.cos(angles), np.sin(angles)], axis=1)
        left, right = ring * radius + [-width / 2, 0, 0], ring * radius + [width / 2, 0, 0]
        along = np.stack([angles / (2.0 * math.pi), np.zeros(count + 1)], axis=1)
        i = np.arange(count)
        quads = np.stack([i, i + 1, i + count + 2, i, i + count + 2, i + count + 1], axis=1)
        self.add(np.vstack([left, right]), np.vstack([ring, ring]), np.vstack([along, along + [0, 1]]), quads)
        for rim, sign in ((left, -1.0), (right, 1.0)):
            points = np.vstack([[(sign * width / 2, 0.0, 0.0)], rim])
            fan = np.stack([np.zeros(count, int), i + 1, i + 2] if sign > 0 else [np.zeros(count, int), i + 2, i + 1], axis=1)
            spread = np.vstack([[(0.5, 0.5)], ring[:, 1:] * 0.5 + 0.5])
            self.add(points, np.tile([sign, 0.0, 0.0], (count + 2, 1)), spread, fan)


def build_vehicle(report: Report) -> Any:
    """The whole model."""
    model = zrm.Model()
    body = zrm.Transform("body", [(1, 0, 0, 0), (0, 1, 0, WHEEL_RADIUS), (0, 0, 1, 0), (0, 0, 0, 1)])
    model.getRootTransform().addChild(body)
    add_body(model, body, report)
    for name, x, z in (("front left", -0.9, 1.4), ("front right", 0.9, 1.4), ("rear left", -0.9, -1.3), ("rear right", 0.9, -1.3)):
        add_wheel(model, body, name, (x, 0.0, z), report)
    add_lamp(model, body, report)
    connector = zrm.Connector("tow hook")
    connector.setControlNode(body)
    connector.setPropertyFloat("maxLoad", 3500.0)
    model.addConnector(connector)
    return model


def finish(model: Any, facade: Any, name: str, control: Any, shape: Shape, report: Report) -> None:
    """Indices, control node, and the check of what the module says to it."""
    triangles = np.concatenate(shape.triangles)
    facade.setIndices(triangles)
    facade.setControlNode(control)
    if text := model.addRenderNode(facade):
        raise GltfError(f"{name}: {text}")
    for key, amount in (("materials", 1), ("meshes", 1), ("vertices", shape.count), ("triangles", len(triangles) // 3)):
        report.counts[key] += amount
    report.counts["nodes"] += 1


def textured(name: str, albedo: str, shape: Shape) -> Any:
    """A facade with the base block."""
    facade = zrm.PBRNode(name, name)
    base = zrm.BaseBlock()
    base.setPositions(np.concatenate(shape.positions))
    base.setNormals(np.concatenate(shape.normals))
    base.setAlbedoMapUV(np.concatenate(shape.uvs))
    base.setAlbedoMap(albedo)
    facade.addBlock(base)
    return facade


def add_body(model: Any, body: Any, report: Report) -> None:
    """A bed with a normal map, and a cab with that and damage."""
    for name, low, high in (("bed", (-0.8, 0.0, -2.0), (0.8, 0.5, 0.6)), ("cab", (-0.8, 0.0, 0.7), (0.8, 1.2, 2.0))):
        shape = Shape()
        shape.box(low, high)
        uvs = np.concatenate(shape.uvs)
        facade = textured(name, "truck_body", shape)
        normal = zrm.NormalBlock()
        normal.setNormalMap("truck_body_normal")
        normal.setNormalMapUV(uvs)
        facade.addBlock(normal)
        if name == "cab":
            damage = zrm.DamageBlock()
            damage.setAlbedoMap("truck_damage")
            damage.setAlbedoMapUV(uvs)
            damage.setMask("truck_damage_mask")
            damage.setArgument(DAMAGE)
            facade.addBlock(damage)
        finish(model, facade, name, body, shape, report)


def add_wheel(model: Any, body: Any, name: str, place: tuple[float, float, float], report: Report) -> None:
    """A wheel under a node of its own that turns it around x."""
    node = zrm.AnimationNode(f"wheel {name}")
    node.setBasePosition(place)
    halves = [math.pi * quarter / QUARTERS for quarter in range(QUARTERS + 1)]
    turn = [(quarter / QUARTERS, (math.cos(h), math.sin(h), 0.0, 0.0)) for quarter, h in enumerate(halves)]
    node.setRotationAnimation([(WHEELS, turn)])
    body.addChild(node)
    shape = Shape()
    shape.wheel(WHEEL_RADIUS, WHEEL_WIDTH, 24)
    finish(model, textured("wheel", "truck_wheel", shape), f"wheel {name}", node, shape, report)


def add_lamp(model: Any, body: Any, report: Report) -> None:
    """A glowing box on the cab with a spot light that the same argument switches on."""
    node = zrm.Transform("lamp", [(1, 0, 0, 0), (0, 1, 0, 1.3), (0, 0, 1, 1.9), (0, 0, 0, 1)])
    body.addChild(node)
    shape = Shape()
    shape.box((-0.15, -0.1, -0.1), (0.15, 0.1, 0.1))
    facade = zrm.PBRNode("lamp", "lamp")
    base = zrm.ColorBaseBlock()
    base.setPositions(np.concatenate(shape.positions))
    base.setNormals(np.concatenate(shape.normals))
    base.setColor(zrm.PropertyFloat3((0.9, 0.9, 0.8)))
    facade.addBlock(base)
    glow = zrm.EmissiveBlock()
    glow.setColor(zrm.PropertyFloat3((1.0, 0.95, 0.8)))
    glow.setAmount(zrm.PropertyFloat(LAMP, [(0.0, 0.0), (1.0, 5.0)]))
    facade.addBlock(glow)
    finish(model, facade, "lamp", node, shape, report)
    light = zrm.SpotLight("lamp")
    light.setColor(zrm.PropertyFloat3((1.0, 0.95, 0.8)))
    light.setBrightness(zrm.PropertyFloat(LAMP, [(0.0, 0.0), (1.0, 40.0)]))
    light.setDistance(zrm.PropertyFloat(60.0))
    light.setAngles(zrm.PropertyFloat(math.radians(50.0)), zrm.PropertyFloat(0.4))
    light.setControlNode(node)
    model.addLight(light)
