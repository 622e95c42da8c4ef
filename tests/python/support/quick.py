"""Short ways to build, save and read single things."""

from __future__ import annotations

from collections.abc import Callable, Iterable
from typing import Any

import numpy as np
import pyzrm_313 as zrm
import zrm_inspect
from zrm_inspect import ZrmFile

from .arguments import INDICES, NORMALS, POSITIONS, UV
from .scripted import plain

BOX = (-1.0, -2.0, -3.0, 1.0, 2.0, 3.0)


def save(model: zrm.Model) -> ZrmFile:
    """Saves into the current folder and reads the file back."""
    assert model.save("model.zrm", 10) == ""
    return zrm_inspect.read_file("model.zrm")


def hang(facade: Any, model: zrm.Model, node: zrm.Node | None = None) -> Any:
    """Gives a facade a control node below the model's root, or the given one put there."""
    node = node or zrm.Node("control")
    model.getRootTransform().addChild(node)
    facade.setControlNode(node)
    return facade


def model_of(facade: Any, node: zrm.Node | None = None) -> zrm.Model:
    """A model of one thing to draw, to light or to touch."""
    model = zrm.Model()
    model.setBBox(BOX)
    hang(facade, model, node)
    if isinstance(facade, zrm.IRenderNode):
        assert model.addRenderNode(facade) == ""
    elif isinstance(facade, zrm.ILight):
        model.addLight(facade)
    elif isinstance(facade, zrm.ShellNode):
        model.addShellNode(facade)
    else:
        model.addConnector(facade) if isinstance(facade, zrm.Connector) else model.addSegmentsNode(facade)
    return model


def saved(facade: Any) -> Any:
    """The record of what a facade adds when no pass runs; of a node, its own."""
    plain()
    if isinstance(facade, zrm.Node):
        model = zrm.Model()
        model.getRootTransform().addChild(facade)
        return save(model).nodes[1]
    file = save(model_of(facade))
    (record,) = (*file.render_nodes, *file.light_nodes, *file.shell_nodes, *file.connectors)
    return record


def base_block() -> zrm.BaseBlock:
    block = zrm.BaseBlock()
    block.setPositions(POSITIONS)
    block.setNormals(NORMALS)
    block.setAlbedoMapUV(UV)
    block.setAlbedoMap("albedo")
    return block


def damage_block() -> zrm.DamageBlock:
    block = zrm.DamageBlock()
    block.setAlbedoMap("damage albedo")
    block.setAlbedoMapUV(UV)
    block.setArgument(7)
    return block


def bone_block(bones: Iterable[zrm.Bone] = ()) -> zrm.BoneBlock:
    block = zrm.BoneBlock()
    block.setBones(list(bones))
    block.setBoneWeights([1.0, 0.0, 0.0, 0.0] * 4)
    block.setBoneIndices([0, 0, 0, 0] * 4)
    return block


def number_block() -> zrm.NumberBlock:
    block = zrm.NumberBlock()
    block.setUVParams(1, 0.5, -1, 0.0)
    return block


def pbr(*blocks: zrm.IBlock, kind: type[zrm.PBRNode] = zrm.PBRNode) -> Any:
    """A mesh of blocks with the quad's indices and no control node; a base block unless one is given."""
    node = kind("mesh", "paint")
    node.setIndices(INDICES)
    for block in blocks if any(block.getTypeName() == "BT_Base" for block in blocks) else (base_block(), *blocks):
        node.addBlock(block)
    return node


def color_node() -> zrm.ColorNode:
    node = zrm.ColorNode("colour", "paint")
    node.setPositions(POSITIONS)
    node.setNormals(NORMALS)
    node.setIndices(INDICES)
    return node


def deck_node(points: Any = POSITIONS, normals: Any = NORMALS, uv: Any = UV, indices: Any = INDICES) -> zrm.DeckNode:
    node = zrm.DeckNode("deck", "paint")
    node.setPositions(points)
    node.setNormals(normals)
    node.setTiledUV(uv)
    node.setRegularUV(uv)
    node.setIndices(indices)
    for setter in ("setBaseTiledMap", "setNormalTiledMap", "setAormsTiledMap", "setBaseMap", "setAormsMap"):
        getattr(node, setter)("map")
    return node


def shell_node(positions: Any = POSITIONS, indices: Any = INDICES) -> zrm.ShellNode:
    shell = zrm.ShellNode("shell")
    shell.setPositions(positions)
    shell.setIndices(indices)
    return shell


def f32(value: float) -> float:
    return float(np.float32(value))


def outcome(call: Callable[..., Any], *arguments: Any) -> Any:
    """What a call gives, or the class of what it raises."""
    try:
        return call(*arguments)
    except Exception as failure:
        return type(failure)
