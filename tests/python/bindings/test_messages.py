"""What addRenderNode and save say of what is missing or wrong, in the order in which they look."""

import math
from pathlib import Path

import pytest
import pyzrm_313 as zrm
from conftest import SWITCHES
from support.arguments import INDICES, NORMALS, POSITIONS, UV
from support.quick import BOX, base_block, bone_block, changed, color_node, damage_block, deck_node, hang, model_of
from support.quick import number_block, outcome, pbr, save, shell_node
from support.scripted import plain

CONTROL = zrm.Bone("control")
COLOR, WEIGHTS = zrm.PropertyFloat3(), [1.0, 0.0, 0.0, 0.0]


made = lambda kind, **calls: changed(kind("n", "paint") if issubclass(kind, zrm.IRenderNode) else kind(), **calls)


COLOUR_BASE = made(zrm.ColorBaseBlock, setPositions=POSITIONS, setNormals=NORMALS, setColor=COLOR)
END = ("Control node isn't set.", "setControlNode", CONTROL)
NO_POINTS, NO_NORMALS = ("Vetex attribute POSITION0 isn't set.", "setPositions", POSITIONS), "Vetex attribute NORMAL0 isn't set."
NO_INDICES = ("Indices aren't set.", "setIndices", INDICES)
NO_BASE, UV_MISSING = "Material paint must have the following blocks BT_Base.", "block: Invalid texture coordinates."
BOTH = "You can not use bone(skin) and number at the same time."

# For each block and facade the texts in their order, each with the calls that lead to the next one.
MESSAGES = [
    (zrm.BaseBlock, [
        ("Vetices positions aren't set.", "setPositions", POSITIONS + [5.0, 6.0]), ("Invalid normals.", "setNormals", NORMALS[3:]),
        ("Invalid normals.", "setNormals", NORMALS), ("Invalid albedo texture coordinates.", "setAlbedoMapUV", UV[2:]),
        ("Invalid albedo texture coordinates.", "setAlbedoMapUV", UV), ("Albedo isn't set.", "setAlbedoMap", "x")]),
    (zrm.ColorBaseBlock, [("Vetices positions aren't set.", "setPositions", POSITIONS),
                          ("Invalid normals.", "setNormals", NORMALS), ("Color not set.", "setColor", COLOR)]),
    (zrm.NormalBlock, [(f"Normal {UV_MISSING}", "setNormalMapUV", UV),
                       ("Normal block: normal texture isn't set.", "setNormalMap", "x")]),
    (zrm.FlirBlock, [("Flir map isn't set.", "setFlirMap", "x")]),
    (zrm.AormsBlock, [(f"Aorms {UV_MISSING}", "setAormsMapUV", UV), ("Aorms block: aorms texture isn't set.", "setAormsMap", "x")]),
    (zrm.AoBlock, [(f"AO {UV_MISSING}", "setAoMapUV", UV), ("AO block: AO texture isn't set.", "setAoMap", "x")]),
    (zrm.DecalBlock, [(f"Decal {UV_MISSING}", "setDecalMapUV", UV), ("Decal block: decal texture isn't set.", "setDecalMap", "x")]),
    (zrm.EmissiveBlock, [("Emissive block: Texture coordinates are not set.", "setEmissiveMapUV", UV),
                         ("Emissive block: Emissive texture isn't set.", "setEmissiveMap", "x")]),
    (zrm.EmissiveBlock, [("Emissive block: Texture coordinates are not set.", "setColor", COLOR)]),
    (zrm.EmissiveColorBlock, [("Color not set.", "setColor", COLOR)]),
    (zrm.DamageBlock, [
        ("Damage block: argument is not set.", "setArgument", 1, "setPerVertexArguments", [1.0] * 4),
        ("Damage block: Only one way to set argument is possible.", "setArgument", -1),
        ("Damage block: Invalid albedo texture coordinates.", "setAlbedoMapUV", UV, "setNormalMapUV", UV),
        ("Damage block: Normal map texture coordinates are set but texture isn't.", "setNormalMap", "x", "setNormalMapUV", []),
        ("Damage block: Normal map texture coordinates aren't set.", "setNormalMapUV", UV),
        ("Damage block: Albedo isn't set.", "setAlbedoMap", "x")]),
    (zrm.BoneBlock, [
        ("Bone weights aren't set.", "setBoneWeights", WEIGHTS * 4), ("Bone indices aren't set.", "setBoneIndices", [0] * 15),
        ("Invalid size of bone indices.", "setBoneIndices", [0] * 12),
        ("Invalid size of bone weights.", "setBoneIndices", [0] * 16, "setBoneWeights", [0.5, 0.5, 0.001, 0.0] * 4),
        ("Bone weights are not normalized.", "setBoneWeights", [0.5, math.nan, 0.5, 0.0] * 4),
        ("Bone weights are not normalized.", "setBoneWeights", WEIGHTS * 3 + [0.5, 0.0, 0.0, 0.0]),
        ("Bone weights are not normalized.", "setBoneWeights", [0.5, 0.5, 0.00005, 0.0] * 4)]),
    (zrm.NumberBlock, [("Number block: None of arguments were set.", "setUVParams", (-1, 0.5, -1, 0.5)),
                       ("Number block: None of arguments were set.", "setUVParams", (3, 0.5, -7, 0.0))]),
    (zrm.ColorNode, [NO_POINTS, (NO_NORMALS, "setNormals", NORMALS), NO_INDICES, END]),
    (zrm.MirrorNode, [
        NO_POINTS, (NO_NORMALS, "setNormals", NORMALS), ("Vetex attribute TEXCOORD0 isn't set.", "setTextureCoordinates", UV),
        ("Indices are empty.", "setIndices", INDICES), ("Texture aren't set.", "setTexture", "x"), END]),
    (zrm.DeckNode, [
        NO_POINTS, (NO_NORMALS, "setNormals", NORMALS), ("Vetex attribute TEXCOORD0 isn't set.", "setTiledUV", UV),
        ("Vetex attribute TEXCOORD1 isn't set.", "setRegularUV", UV, "setArgument", 1, "setPerVertexArguments", [1.0] * 4),
        ("Only one way to set damage argument is possible.", "setArgument", -1), NO_INDICES,
        ("baseTiledMap isn't set.", "setBaseTiledMap", "x"), ("normalTiledMap isn't set.", "setNormalTiledMap", "x"),
        ("aormsTiledMap isn't set.", "setAormsTiledMap", "x"), ("baseMap isn't set.", "setBaseMap", "x"),
        ("aormsMap isn't set.", "setAormsMap", "x"), END]),
    (zrm.PBRNode, [(NO_BASE, "addBlock", number_block(), "addBlock", bone_block()), (BOTH, "addBlock", base_block()), (BOTH,)]),
    (zrm.PBRNode, [
        (NO_BASE, "addBlock", zrm.GlassFilterBlock()), (NO_BASE, "addBlock", zrm.BaseBlock()),
        ("Material paint doesn't support block BT_Glass.",)]),
    (zrm.PBRNode, [
        (NO_BASE, "addBlock", zrm.BaseBlock()), NO_INDICES, ("Vetices positions aren't set.", "addBlock", zrm.ColorBaseBlock()),
        ("Vetices positions aren't set.", "addBlock", COLOUR_BASE), END]),
    *[(zrm.GlassNode, [
        (NO_BASE, "addBlock", zrm.BaseBlock(), "addBlock", block),
        (f"Material paint doesn't support block {block.getTypeName()}.",)])
      for block in (zrm.AoBlock(), zrm.DecalBlock(), zrm.EmissiveColorBlock(), zrm.EmissiveBlock(), zrm.NumberBlock())]]  # fmt: skip


@pytest.mark.parametrize(("kind", "steps"), MESSAGES)
def test_texts_in_order(folder, kind, steps):
    """After each text the model is as it was; the last call makes the thing whole, unless it can't be."""
    plain()
    model, thing = zrm.Model(), made(kind)
    model.setBBox(BOX)
    model.getRootTransform().addChild(CONTROL)
    node = thing
    if isinstance(thing, zrm.IBlock):
        node = made(zrm.PBRNode, setIndices=INDICES, addBlock=base_block(), setControlNode=CONTROL)
        node.addBlock(thing)
    for text, *calls in steps:
        assert model.addRenderNode(node) == text
        assert save(model).render_nodes == []
        for name, value in zip(calls[::2], calls[1::2]):
            getattr(thing, name)(*(value if name == "setUVParams" else [value]))
    assert (model.addRenderNode(node) == "") is bool(steps[-1][1:])


# ---------------------------------------------------------------- save


KEYS = [(0.0, 1.0)]
OMNI = zrm.AnimatedFakeOmniLight, zrm.FakeOmniLight
SPOT = zrm.AnimatedFakeSpotLight, zrm.FakeSpotLight
NO_ARGUMENT = "Argument of animated fake omni lights must be valid. Node id: "  # of spot lights too
NO_DATA, NO_SAMPLES = "Vertex data is invalid.", "Invalid data size. Node id: "


def sprites(kind, sprite, argument=None, animation=None):
    lights = kind("sprites")
    lights.set([sprite(), sprite()])
    if argument is not None:
        lights.setAnimationArg(argument)
    if animation is not None:
        lights.setLightsAnimation([(0, KEYS), (1, KEYS)])
        lights.setLightsAnimation(animation)
    return lights


def pivoted():
    node = pbr()
    model = model_of(node)
    for _ in range(7):
        node.addTransparentPivot([0.0, 0.0, 0.0])
    return model


def skinned(count=4, box=BOX):
    model = model_of(pbr(changed(bone_block(), setBoneWeights=WEIGHTS * count, setBoneIndices=[0] * 4 * count)), zrm.Bone("b"))
    model.setBBox(box)
    return model


def loose(thing, add):
    """Of something that hangs on no node."""
    model = zrm.Model()
    assert getattr(model, add)(thing) in (None, "")
    return model


def numbers_beyond():
    """Two number meshes of equal material, of which the first names a vertex that it lacks."""
    model = zrm.Model()
    for indices in ([0, 1, 4], INDICES):
        assert model.addRenderNode(hang(changed(pbr(number_block()), setIndices=indices), model)) == ""
    return model


LOOSE = "Control node isn't set. BaseShellNode: "
# What makes a model, and what save answers with the passes on, and with them off when that differs.
FAILING = [(lambda: skinned(box=(0.0,) * 5 + (-1.0,)), "if the model has bones, then you need to set a bounding box."),
    (lambda: skinned(9), NO_DATA), (pivoted, "Too much transparent pivots."), (numbers_beyond, IndexError, ""),
    (lambda: shell_node([*POSITIONS, 5.0]), NO_DATA), (lambda: shell_node(indices=[0, 1, 4]), IndexError, ""),
    (lambda: changed(color_node(), setNormals=[0.0, 0.0, 1.0]), NO_DATA),
    (lambda: changed(color_node(), setIndices=[0, 1, 4]), IndexError, ""),
    (lambda: pbr(changed(base_block(), setNormals=[*NORMALS, 1.0])), NO_DATA),
    (lambda: pbr(made(zrm.EmissiveBlock, setColor=COLOR, setEmissiveMap="x")), NO_DATA),
    (lambda: pbr(made(zrm.NormalBlock, setNormalMap="n", setNormalMapUV=[0.5] * 6)), NO_DATA),
    (lambda: pbr(made(zrm.AoBlock, setAoMap="a", setAoMapUV=UV + UV)), NO_DATA),
    (lambda: pbr(changed(damage_block(), setAlbedoMapUV=[0.5])), NO_DATA),
    (lambda: pbr(COLOUR_BASE, made(zrm.FlirBlock, setFlirMap="x")), "Empty texture channel", ""),
    *[(lambda kind=kind, argument=argument, animation=animation: sprites(*kind, argument, animation), text)
      for kind in (OMNI, SPOT) for argument, animation, text in (
        (1.0, [(0, KEYS), (1, KEYS)], ""), (None, [(0, KEYS), (1, KEYS)], NO_ARGUMENT), (1.0, None, NO_SAMPLES),
        (-1.0, [(0, KEYS), (1, KEYS)], NO_ARGUMENT), (1.0, [(0, KEYS)], NO_SAMPLES), (1.0, [(1, KEYS), (0, KEYS)], NO_SAMPLES),
        (1.0, [(0, KEYS), (-1, KEYS)], NO_SAMPLES), (1.0, [(0, KEYS), (1, KEYS), (2, KEYS)], NO_SAMPLES))],
    *[(lambda kind=kind, width=width: model_of(shell_node(), changed(zrm.AnimationNode("a"), **{f"set{kind}Animation": [(-1, [(0.0, (1.0,) * width)])]})),
       f"Node 'a' has invalid {kind.lower()} handle.") for kind, width in (("Position", 3), ("Rotation", 4), ("Scale", 3))],
    (lambda: loose(shell_node(), "addShellNode"), LOOSE), (lambda: loose(zrm.SegmentsNode("s"), "addSegmentsNode"), "", LOOSE),
    (lambda: loose(zrm.Connector("c"), "addConnector"), IndexError), (lambda: loose(zrm.OmniLight("l"), "addLight"), IndexError),
    (lambda: loose(sprites(zrm.FakeOmniLights, zrm.FakeOmniLight), "addRenderNode"), IndexError),
    (lambda: loose(sprites(zrm.FakeSpotLights, zrm.FakeSpotLight), "addRenderNode"), IndexError)]  # fmt: skip


@pytest.mark.parametrize("case", FAILING)
def test_saves_that_fail_leave_the_older_file(folder, case):
    make, *answers = case
    for answer, switches in ((answers[0], SWITCHES), (answers[-1], ())):
        plain(switches)
        Path("model.zrm").write_bytes(b"older")
        thing = make()
        found = outcome((thing if isinstance(thing, zrm.Model) else model_of(thing)).save, "model.zrm", 10)
        if isinstance(answer, str):
            assert isinstance(found, str) and found.startswith(answer) and (found == "") is (answer == "")
        else:
            assert found == answer
        assert (Path("model.zrm").read_bytes() == b"older") is (found != "")


@pytest.mark.parametrize("index", [4, 2**32 - 1])
def test_indices_beyond_the_vertices_at_the_build(index):
    split = changed(damage_block(), setArgument=-1, setPerVertexArguments=[1.0] * 4)
    short = changed(bone_block(), setBoneWeights=WEIGHTS * 3, setBoneIndices=[0] * 12)
    for node in (deck_node(indices=[0, 1, index]), changed(pbr(split), setIndices=[0, 1, index]), pbr(short)):
        with pytest.raises(IndexError, match=r"Expected idx < size\(\)"):
            zrm.Model().addRenderNode(hang(node, zrm.Model(), zrm.Bone("b")))


@pytest.mark.parametrize("count", [1, 2, 4, 5])
def test_index_counts_that_are_no_triangles(folder, count):
    for node in (color_node(), deck_node(), pbr(), pbr(bone_block()), shell_node()):
        node.setIndices(INDICES[:count])
        if isinstance(node, zrm.PBRNode):
            node.setTwoSided(True)
        assert model_of(node, zrm.Bone("b")).save("model.zrm", 10) == ""
