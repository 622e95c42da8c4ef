"""Models of a million parts: depth and number are no limit and cost no more than their share."""

from __future__ import annotations

import gc
from pathlib import Path

import numpy as np
import pytest
import pyzrm_313 as zrm
import zrm_inspect
from module_support import color_node, hang, model_of, plain, run_python, saved_render

CHAIN = """
import gc, pyzrm_313 as z
count, top_down = {count}, {top_down}
model = z.Model()
nodes = [z.Bone(str(i)) for i in range(count)]
place = model.getRootTransform()
if top_down:
    for node in nodes:
        place = place.addChild(node)
else:
    for node in nodes[::-1]:
        if place is not model.getRootTransform():
            node.addChild(place)
        place = node
    model.getRootTransform().addChild(place)
leaf = nodes[-1]
try:
    leaf.addChild(model.getRootTransform())
    raise SystemExit("a cycle")
except ValueError:
    pass
hook = z.Connector("hook")
hook.setControlNode(leaf)
model.addConnector(hook)
assert model.save("deep.zrm", 10) == ""
del nodes, node, place, leaf, hook
if {facades_first}:
    gc.collect()
del model
gc.collect()
print(z.get_num_alived_objects())
"""


@pytest.mark.parametrize("top_down", [True, False])
def test_a_chain_of_a_million_nodes(folder: Path, top_down: bool) -> None:
    count = 1_000_000
    ran = run_python(CHAIN.format(count=count, top_down=top_down, facades_first=top_down), folder)
    assert (ran.returncode, ran.stdout.strip()) == (0, "0"), ran.stderr
    data = (folder / "deep.zrm").read_bytes()
    assert data.count(b"\x06\0\0\x00999999") == 1 and len(data) > 100 * count


def test_a_chain_of_plain_nodes_is_optimised_away(folder: Path) -> None:
    model = zrm.Model()
    place = model.getRootTransform()
    for number in range(200_000):
        place = place.addChild(zrm.Transform(str(number)) if number % 2 else zrm.Node(str(number)))
    connector = zrm.Connector("hook")
    connector.setControlNode(place)
    model.addConnector(connector)
    del place
    assert model.save("model.zrm", 10) == ""
    file = zrm_inspect.read_file("model.zrm")
    assert len(file.nodes) < 200_000 and len(file.connectors) == 1
    before = zrm.get_num_alived_objects()
    del model, connector
    gc.collect()
    assert zrm.get_num_alived_objects() < before


def test_a_big_mesh(folder: Path) -> None:
    count = 300_000
    random = np.random.default_rng(5)
    points = random.uniform(size=(count, 3)).astype(np.float32)
    indices = random.integers(0, count, 3 * count).astype(np.uint32)
    node = zrm.ColorNode("big", "paint")
    node.setPositions(points.reshape(-1))
    node.setNormals(np.tile(np.array([0, 0, 1], np.float32), count))
    node.setIndices(indices)
    mesh = saved_render(node)[0].mesh
    assert np.array_equal(mesh.attribute("POSITION0")[:, :3], points)
    assert np.array_equal(mesh.indices, indices)


def test_many_siblings_move(folder: Path) -> None:
    plain()
    model = zrm.Model()
    root, other = model.getRootTransform(), zrm.Bone("other")
    nodes = [root.addChild(zrm.Bone(str(i))) for i in range(50_000)]
    root.addChild(other)
    for node in nodes[::2]:
        other.addChild(node)
    assert model.addRenderNode(hang(color_node(), model, zrm.Bone("b"))) == ""
    assert model.save("model.zrm", 10) == ""
    file = zrm_inspect.read_file("model.zrm")
    assert len(file.nodes) == 50_003
    assert sum(node.parent == 0 for node in file.nodes) == 25_000 + 2


def test_the_model_of_one_node_still_works() -> None:
    assert model_of(color_node()).getName() == ""
