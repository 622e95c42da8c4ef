"""Ten times the work against the time of the work: near linear means close to ten."""

from __future__ import annotations

import os
import tempfile
from collections.abc import Callable
from functools import partial

import numpy as np
import pyzrm_313 as zrm
from support.rows import growth_row, heading
from support.scenes import add, enable_all, grid, mesh_node, save
from support.timing import best_by_turns

PATH = "scaling.zrm"


def wide_tree(count: int) -> None:
    model = zrm.Model()
    root = model.getRootTransform()
    for index in range(count):
        root.addChild(zrm.AnimationNode(f"node{index}"))
    save(model, PATH)


def deep_tree(count: int) -> None:
    model = zrm.Model()
    node = model.getRootTransform()
    for index in range(count):
        node = node.addChild(zrm.AnimationNode(f"node{index}"))
    save(model, PATH)


def keys(count: int) -> None:
    rng = np.random.default_rng(7)
    values = rng.random((count, 3)).tolist()
    model = zrm.Model()
    node = zrm.AnimationNode("moving")
    node.setPositionAnimation([(0, [(i / count, tuple(value)) for i, value in enumerate(values)])])
    model.getRootTransform().addChild(node)
    save(model, PATH)


def materials(count: int) -> None:
    mesh = grid(9)
    model = zrm.Model()
    for index in range(count):
        add(model, mesh_node(mesh, f"material{index}", model.getRootTransform()))
    save(model, PATH)


def connector_properties(count: int) -> None:
    model = zrm.Model()
    connector = zrm.Connector("plug")
    connector.setControlNode(model.getRootTransform())
    for index in range(count):
        connector.setPropertyFloat(f"key{index}", index)
    model.addConnector(connector)
    save(model, PATH)


def damage_split(count: int) -> None:
    """As many damage arguments as quads."""
    mesh = grid(4)
    model = zrm.Model()
    block = zrm.BaseBlock()
    block.setPositions(np.tile(mesh.positions.reshape(-1), count))
    block.setNormals(np.tile(mesh.normals.reshape(-1), count))
    block.setAlbedoMapUV(np.tile(mesh.uvs.reshape(-1), count))
    block.setAlbedoMap("wall")
    damage = zrm.DamageBlock()
    damage.setAlbedoMap("holes")
    damage.setAlbedoMapUV(np.tile(mesh.uvs.reshape(-1), count))
    damage.setPerVertexArguments(np.repeat(np.arange(count, dtype=np.float32), 4))
    node = zrm.PBRNode("", "wall")
    node.addBlock(block)
    node.addBlock(damage)
    node.setIndices((mesh.indices[None, :] + 4 * np.arange(count, dtype=np.uint32)[:, None]).reshape(-1))
    node.setControlNode(model.getRootTransform())
    add(model, node)
    save(model, PATH)


def light_animation(count: int) -> None:
    """100 keys for each light; values that no reduction can drop."""
    samples = np.random.default_rng(3).random(100).tolist()
    keys_of_light = [(i / 99, value) for i, value in enumerate(samples)]
    model = zrm.Model()
    lights = zrm.AnimatedFakeOmniLight("strip")
    lights.set([zrm.FakeOmniLight() for _ in range(count)])
    lights.setAnimationArg(1)
    lights.setLightsAnimation([(index, keys_of_light) for index in range(count)])
    lights.setControlNode(model.getRootTransform())
    add(model, lights)
    save(model, PATH)


def shell(count: int) -> None:
    mesh = grid(count // 2)
    model = zrm.Model()
    node = zrm.ShellNode("hull")
    node.setPositions(mesh.positions.reshape(-1).tolist())
    node.setIndices(mesh.indices.tolist())
    node.setControlNode(model.getRootTransform())
    model.addShellNode(node)
    save(model, PATH)


def segments(count: int) -> None:
    model = zrm.Model()
    node = zrm.SegmentsNode("ropes")
    node.set([((i, 0.0, 0.0), (i, 1.0, 0.0)) for i in range(count)])
    node.setControlNode(model.getRootTransform())
    model.addSegmentsNode(node)
    save(model, PATH)


CASES: list[tuple[str, Callable[[int], None], int]] = [
    ("tree nodes side by side, 10,000", wide_tree, 10_000),
    ("tree nodes in a chain, 10,000", deep_tree, 10_000),
    ("keys of one channel, 10,000", keys, 10_000),
    ("materials, 1,000", materials, 1_000),
    ("connector properties, 10,000", connector_properties, 10_000),
    ("damage arguments of one mesh, 1,000", damage_split, 1_000),
    ("lights with 100 keys each, 1,000", light_animation, 1_000),
    ("shell triangles, 100,000", shell, 100_000),
    ("segments, 10,000", segments, 10_000),
]


def main() -> None:
    for enabled in (False, True):
        heading(f"Build and save, ten times the work, all switches {'on' if enabled else 'off'}")
        enable_all(enabled)
        for name, build, count in CASES:
            small, large = best_by_turns([(partial(int, count), build), (partial(int, 10 * count), build)], rounds=5)
            growth_row(name, small, large)


if __name__ == "__main__":
    os.chdir(tempfile.mkdtemp())
    main()
