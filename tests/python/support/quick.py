"""Short ways to build, save and read single things."""

import numpy as np
import pyzrm_313 as zrm
import zrm_inspect

from .arguments import INDICES, NORMALS, POSITIONS, UV
from .scripted import plain

BOX = (-1.0, -2.0, -3.0, 1.0, 2.0, 3.0)


def save(model):
    """Saves into the current folder and reads the file back."""
    assert model.save("model.zrm", 10) == ""
    return zrm_inspect.read_file("model.zrm")


def hang(facade, model, node=None):
    """Gives a facade a control node below the model's root, or the given one put there."""
    node = node or zrm.Node("control")
    model.getRootTransform().addChild(node)
    facade.setControlNode(node)
    return facade


def model_of(facade, node=None):
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


def saved(facade):
    """The record of what a facade adds when no pass runs; of a node, its own."""
    plain()
    if isinstance(facade, zrm.Node):
        model = zrm.Model()
        model.getRootTransform().addChild(facade)
        return save(model).nodes[1]
    file = save(model_of(facade))
    (record,) = (*file.render_nodes, *file.light_nodes, *file.shell_nodes, *file.connectors)
    return record


def changed(thing, **calls):
    """With the given setters called, in their order."""
    for name, value in calls.items():
        getattr(thing, name)(value)
    return thing


def base_block():
    return changed(zrm.BaseBlock(), setPositions=POSITIONS, setNormals=NORMALS, setAlbedoMapUV=UV, setAlbedoMap="albedo")


damage_block = lambda: changed(zrm.DamageBlock(), setAlbedoMap="damage albedo", setAlbedoMapUV=UV, setArgument=7)


def bone_block(bones=()):
    return changed(zrm.BoneBlock(), setBones=list(bones), setBoneWeights=[1.0, 0.0, 0.0, 0.0] * 4, setBoneIndices=[0] * 16)


def number_block():
    block = zrm.NumberBlock()
    block.setUVParams(1, 0.5, -1, 0.0)
    return block


def pbr(*blocks, kind=zrm.PBRNode):
    """A mesh of blocks with the quad's indices and no control node; a base block unless one is given."""
    node = changed(kind("mesh", "paint"), setIndices=INDICES, addBlock=base_block())
    for block in blocks:
        node.addBlock(block)
    return node


color_node = lambda: changed(zrm.ColorNode("colour", "paint"), setPositions=POSITIONS, setNormals=NORMALS, setIndices=INDICES)


def deck_node(points=POSITIONS, normals=NORMALS, uv=UV, indices=INDICES):
    maps = ("setBaseTiledMap", "setNormalTiledMap", "setAormsTiledMap", "setBaseMap", "setAormsMap")
    node = changed(zrm.DeckNode("deck", "paint"), setPositions=points, setNormals=normals, setTiledUV=uv, setRegularUV=uv)
    return changed(node, setIndices=indices, **dict.fromkeys(maps, "map"))


def shell_node(positions=POSITIONS, indices=INDICES):
    return changed(zrm.ShellNode("shell"), setPositions=positions, setIndices=indices)


f32 = lambda value: float(np.float32(value))


def outcome(call, *arguments):
    """What a call gives, or the class of what it raises."""
    try:
        return call(*arguments)
    except Exception as failure:
        return type(failure)
