"""Short ways to build, save and read models, for the tests of the module."""

from __future__ import annotations

import os
import subprocess
import sys
from collections.abc import Callable, Iterable
from pathlib import Path
from typing import Any

import numpy as np
import pyzrm_313 as zrm
import zrm_inspect
from zrm_inspect import ZrmFile

SWITCHES = (
    "optimizeTransformations",
    "mergePopertiesSets",
    "optimizeTextureChannels",
    "mergeNodes",
    "extremlyOptimizeMeshes",
    "optimizeVertexCache",
)
IDENTITY = [(1.0, 0.0, 0.0, 0.0), (0.0, 1.0, 0.0, 0.0), (0.0, 0.0, 1.0, 0.0), (0.0, 0.0, 0.0, 1.0)]
BOX = (-1.0, -2.0, -3.0, 1.0, 2.0, 3.0)
NONE = 0xFFFFFFFF

# A quad in the plane z = 0.
POSITIONS = [0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0, 1.0, 0.0]
NORMALS = [0.0, 0.0, 1.0] * 4
UV = [0.0, 0.0, 1.0, 0.0, 1.0, 1.0, 0.0, 1.0]
INDICES = [0, 1, 2, 0, 2, 3]


def plain() -> None:
    """Switches all optimizers off, so that the file shows what the facades stored."""
    for name in SWITCHES:
        zrm.enable_model_optimization(name, False)


def save(model: zrm.Model) -> ZrmFile:
    """Saves into the current folder and reads the file back."""
    assert model.save("model.zrm", 10) == ""
    return zrm_inspect.read_file("model.zrm")


def saved_bytes(model: zrm.Model) -> bytes:
    assert model.save("model.zrm", 10) == ""
    return Path("model.zrm").read_bytes()


def saved_node(node: zrm.Node) -> Any:
    """The record of a tree node, saved under a model's root."""
    plain()
    model = zrm.Model()
    model.getRootTransform().addChild(node)
    return save(model).nodes[1]


def saved_render(facade: zrm.IRenderNode) -> tuple[Any, Any]:
    """The record of the one node that a render facade adds, and its material."""
    plain()
    file = save(model_of(facade))
    (node,) = file.render_nodes
    return node, file.materials[node.material]


def model_of(facade: zrm.IRenderNode) -> zrm.Model:
    model = zrm.Model()
    model.setBBox(BOX)
    assert model.addRenderNode(hang(facade, model)) == ""
    return model


def hang(facade: Any, model: zrm.Model, node: zrm.Node | None = None) -> Any:
    """Gives a facade a control node below the model's root, or the given one put there."""
    node = node or zrm.Node("control")
    model.getRootTransform().addChild(node)
    facade.setControlNode(node)
    return facade


def base_block() -> zrm.BaseBlock:
    block = zrm.BaseBlock()
    block.setPositions(POSITIONS)
    block.setNormals(NORMALS)
    block.setAlbedoMapUV(UV)
    block.setAlbedoMap("albedo")
    return block


def color_base_block() -> zrm.ColorBaseBlock:
    block = zrm.ColorBaseBlock()
    block.setPositions(POSITIONS)
    block.setNormals(NORMALS)
    block.setColor(zrm.PropertyFloat3((0.25, 0.5, 0.75)))
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
    if not any(block.getTypeName() == "BT_Base" for block in blocks):
        node.addBlock(base_block())
    for block in blocks:
        node.addBlock(block)
    return node


def color_node() -> zrm.ColorNode:
    node = zrm.ColorNode("colour", "paint")
    node.setPositions(POSITIONS)
    node.setNormals(NORMALS)
    node.setIndices(INDICES)
    return node


def mirror_node() -> zrm.MirrorNode:
    node = zrm.MirrorNode("mirror", "paint")
    node.setPositions(POSITIONS)
    node.setNormals(NORMALS)
    node.setTextureCoordinates(UV)
    node.setIndices(INDICES)
    node.setTexture("reflection")
    return node


DECK_MAPS: dict[str, int] = {
    "setBaseTiledMap": 0,
    "setNormalTiledMap": 1,
    "setAormsTiledMap": 2,
    "setBaseMap": 3,
    "setAormsMap": 4,
    "setRainMask": 5,
    "setDamageMask": 6,
    "setDamageMap": 7,
    "setDamageMaskRGBA": 9,
}


def deck_node() -> zrm.DeckNode:
    node = zrm.DeckNode("deck", "paint")
    node.setPositions(POSITIONS)
    node.setNormals(NORMALS)
    node.setTiledUV(UV)
    node.setRegularUV(UV)
    node.setIndices(INDICES)
    for setter in DECK_MAPS:
        getattr(node, setter)(setter)
    return node


def shell_node() -> zrm.ShellNode:
    shell = zrm.ShellNode("shell")
    shell.setPositions(POSITIONS)
    shell.setIndices(INDICES)
    return shell


def f32(*values: float) -> tuple[float, ...]:
    """What is left of numbers that went through 32 bits."""
    return tuple(float(np.float32(value)) for value in values)


def run_python(code: str, folder: Path, **environment: str) -> subprocess.CompletedProcess[str]:
    """Runs a script in a process of its own, with the module and these tests on its path."""
    path = os.pathsep.join([str(Path(zrm.__file__).parent), str(Path(__file__).parent), *sys.path])
    return subprocess.run(
        [sys.executable, "-X", "faulthandler", "-c", code],
        cwd=folder,
        env={**os.environ, "PYTHONPATH": path, **environment},
        capture_output=True,
        text=True,
        timeout=600,
    )


def failure_of(call: Callable[..., Any], *arguments: Any) -> type[BaseException] | None:
    """The class of what a call raised, None when it went through."""
    try:
        call(*arguments)
    except Exception as failure:
        return type(failure)
    return None
