"""Ten times the work against the time of the work: near linear means close to ten.
    bench_scaling.py [WORD...]
for the cases whose name holds a word."""

from __future__ import annotations

import sys
from collections.abc import Callable
from contextlib import chdir
from functools import partial
from tempfile import TemporaryDirectory
from typing import Any

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from support.memory import peak_bytes
from support.rows import growth_row, heading, row
from support.scenes import Mesh, add, enable_all, grid, mesh_node, save, translation, unwelded
from support.timing import best_by_turns, seconds

PATH = "scaling.zrm"
TRIANGLE = Mesh(
    np.eye(3, dtype=np.float32), np.eye(3, dtype=np.float32), np.eye(3, 2, dtype=np.float32), np.arange(3, dtype=np.uint32)
)


def moving(name: str) -> zrm.AnimationNode:
    """A node that no pass takes away while something hangs on it."""
    node = zrm.AnimationNode(name)
    node.setPositionAnimation([(0, [(0.0, (0.0, 0.0, 0.0)), (1.0, (1.0, 0.0, 0.0))])])
    return node


def save_mesh(mesh: Mesh, *blocks: zrm.IBlock) -> None:
    model = zrm.Model()
    node = mesh_node(mesh, "wall", model.getRootTransform())
    for block in blocks:
        node.addBlock(block)
    add(model, node)
    save(model, PATH)


def repeated(mesh: Mesh, count: int) -> Mesh:
    """Copies at one place, each with vertices of its own."""
    positions, normals, uvs = (np.tile(array, (count, 1)) for array in mesh[:3])
    step = np.uint32(len(mesh.positions))
    indices = mesh.indices + step * np.arange(count, dtype=np.uint32)[:, None]
    return Mesh(positions, normals, uvs, indices.reshape(-1))


# ------------------------------------------------------------------------------------------------------ the tree


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


def random_deaths(count: int) -> zrm.Model:
    """Below random parents nodes of all kinds, of which most go, in no order."""
    rng = np.random.default_rng(13)
    model = zrm.Model()
    nodes = [model.getRootTransform()]
    kinds: list[Callable[[str], zrm.Node]] = [
        zrm.Node,
        zrm.Transform,
        zrm.VisibilityNode,
        zrm.AnimationNode,
        lambda name: zrm.Transform(name, translation(1, 0, 0)),
        moving,
    ]
    for index, (parent, kind, used) in enumerate(zip(rng.random(count), rng.integers(len(kinds), size=count), rng.random(count))):
        nodes.append(nodes[int(parent * len(nodes))].addChild(kinds[kind](f"node{index}")))
        if used < 0.1:
            add(model, mesh_node(TRIANGLE, "wall", nodes[-1]))
    return model


def meshes_at_every_level(count: int) -> zrm.Model:
    model = zrm.Model()
    node = model.getRootTransform()
    for index in range(count):
        node = node.addChild(moving(f"node{index}"))
        add(model, mesh_node(TRIANGLE, "wall", node))
    return model


def levels_of_detail(count: int) -> zrm.Model:
    model = zrm.Model()
    for index in range(count):
        lod = model.getRootTransform().addChild(zrm.Lod(f"lod{index}", [10, 100, 1000]))
        for level in range(3):
            node = lod.addChild(zrm.Transform(f"level{level}", translation(index, 0, 0)))
            add(model, mesh_node(TRIANGLE, "wall", node))
    return model


def keys(count: int) -> None:
    rng = np.random.default_rng(7)
    values = rng.random((count, 3)).tolist()
    model = zrm.Model()
    node = zrm.AnimationNode("moving")
    node.setPositionAnimation([(0, [(i / count, tuple(value)) for i, value in enumerate(values)])])
    model.getRootTransform().addChild(node)
    save(model, PATH)


# ---------------------------------------------------------------------------------------------------- one mesh


def copies_at_one_place(triangles: int) -> Mesh:
    return repeated(grid(9), triangles // 8)


def fan(triangles: int) -> Mesh:
    """All triangles around the first vertex."""
    angles = np.linspace(0, 6, triangles + 1, dtype=np.float32)
    rim = np.stack([np.cos(angles), np.zeros_like(angles), np.sin(angles)], axis=1) * np.float32(triangles)
    positions = np.concatenate([np.zeros((1, 3), dtype=np.float32), rim])
    normals = np.tile(np.array([0, 1, 0], dtype=np.float32), (len(positions), 1))
    first = np.arange(1, triangles + 1, dtype=np.uint32)
    indices = np.stack([np.zeros_like(first), first + 1, first], axis=1).reshape(-1)
    return Mesh(positions, normals, positions[:, ::2].copy(), indices)


def unwelded_fan(triangles: int) -> Mesh:
    return unwelded(fan(triangles))


def tower(count: int, kinds: int) -> tuple[Mesh, npt.NDArray[np.float32]]:
    """Quads one above the other, and a damage argument for each vertex."""
    mesh = repeated(grid(4), count)
    mesh.positions[:, 1] = np.repeat(np.arange(count, dtype=np.float32), 4)
    return mesh, np.repeat(np.arange(count, dtype=np.float32) % kinds, 4)


def damage(subject: tuple[Mesh, npt.NDArray[np.float32]]) -> None:
    mesh, arguments = subject
    block = zrm.DamageBlock()
    block.setAlbedoMap("holes")
    block.setAlbedoMapUV(mesh.uvs.reshape(-1))
    block.setPerVertexArguments(arguments)
    save_mesh(mesh, block)


# -------------------------------------------------------------------------------------------------- many meshes


def materials(count: int, copies: int = 1) -> zrm.Model:
    mesh = grid(9)
    model = zrm.Model()
    for index in range(count):
        node = model.getRootTransform().addChild(zrm.Transform("", translation(index * 60, 0, 0)))
        add(model, mesh_node(mesh, f"material{index // copies}", node))
    return model


def equal_materials(count: int) -> zrm.Model:
    return materials(count, 100)


def number_nodes(count: int) -> zrm.Model:
    model = zrm.Model()
    for _ in range(count):
        block = zrm.NumberBlock()
        block.setUVParams(-1, 0.0, 4, 0.1)
        node = mesh_node(TRIANGLE, "drum", model.getRootTransform())
        node.addBlock(block)
        add(model, node)
    return model


# ------------------------------------------------------------------------------------------------ all the rest


def connector_properties(count: int) -> None:
    model = zrm.Model()
    connector = zrm.Connector("plug")
    connector.setControlNode(model.getRootTransform())
    for index in range(count):
        connector.setPropertyFloat(f"key{index}", index)
    model.addConnector(connector)
    save(model, PATH)


def fake_light_nodes(count: int) -> zrm.Model:
    model = zrm.Model()
    for index in range(count):
        lights = zrm.FakeOmniLights(f"strip{index}")
        lights.set([zrm.FakeOmniLight()] * 4)
        lights.setControlNode(model.getRootTransform().addChild(zrm.Transform("", translation(index, 0, 0))))
        add(model, lights)
    return model


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


def hull(triangles: int) -> tuple[list[float], list[int]]:
    mesh = grid(triangles // 2)
    return mesh.positions.reshape(-1).tolist(), mesh.indices.tolist()


def shell(subject: tuple[list[float], list[int]]) -> None:
    model = zrm.Model()
    node = zrm.ShellNode("hull")
    node.setPositions(subject[0])
    node.setIndices(subject[1])
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


def finish(model: zrm.Model) -> None:
    save(model, PATH)


# The name, the smaller number, what is prepared for it, and what is timed.
Case = tuple[str, int, Callable[[int], Any], Callable[[Any], None]]
SCRIPTS: list[Case] = [
    ("tree nodes side by side", 10_000, int, wide_tree),
    ("tree nodes in a chain", 10_000, int, deep_tree),
    ("keys of one channel", 10_000, int, keys),
    ("vertices of one mesh", 60_000, grid, save_mesh),
    ("materials", 1_000, int, lambda count: finish(materials(count))),
    ("connector properties", 10_000, int, connector_properties),
    ("damage arguments of one mesh", 1_000, lambda count: tower(count, count), damage),
    ("lights with 100 keys each", 1_000, int, light_animation),
    ("shell triangles", 100_000, hull, shell),
    ("segments", 10_000, int, segments),
]
PASSES: list[Case] = [
    ("nodes of all kinds that go in random order", 10_000, random_deaths, finish),
    ("meshes at every level of a chain", 1_000, meshes_at_every_level, finish),
    ("levels of detail", 1_000, levels_of_detail, finish),
    ("materials, 100 equal ones of each", 1_000, equal_materials, finish),
    ("triangles of copies at one place", 40_000, copies_at_one_place, save_mesh),
    ("triangles of a fan", 100_000, fan, save_mesh),
    ("triangles of an unwelded fan", 100_000, unwelded_fan, save_mesh),
    ("quads with four damage arguments", 10_000, lambda count: tower(count, 4), damage),
    ("number meshes on one node", 1_000, number_nodes, finish),
    ("nodes of fake lights", 1_000, fake_light_nodes, finish),
]


def report(case: Case, tail: str) -> None:
    name, count, prepare, run = case
    while seconds(partial(prepare, count), run) > 0.5:
        count //= 10  # so that the run ends where the growth is bad
    small, large = best_by_turns([(partial(prepare, n), run) for n in (count, 10 * count)], rounds=3)
    growth_row(f"{10 * count:,} {name}{tail}", small, large)


def report_memory(count: int) -> None:
    small, large = (peak_bytes(partial(meshes_at_every_level, n), finish) for n in (count, 10 * count))
    row(f"peak memory, {10 * count:,} meshes at every level of a chain", large / small, 12.0, f"a tenth's ({small:,} -> {large:,} bytes)")


def main(words: list[str]) -> None:
    def chosen(cases: list[Case]) -> list[Case]:
        return [case for case in cases if not words or any(word in case[0] for word in words)]

    for enabled in (False, True):
        tail = f", switches {'on' if enabled else 'off'}"
        heading(f"Build and save, ten times the work{tail}")
        enable_all(enabled)
        for case in chosen(SCRIPTS):
            report(case, tail)
    heading("What the passes do, ten times the work")
    for case in chosen(PASSES):
        report(case, "")
    if not words:
        report_memory(1_000)


if __name__ == "__main__":
    with TemporaryDirectory() as folder, chdir(folder):
        main(sys.argv[1:])
