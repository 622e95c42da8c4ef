"""Blocks: their messages in order, and what each leaves in the material and the vertices."""

from __future__ import annotations

import math
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import (
    BOX,
    INDICES,
    NONE,
    NORMALS,
    POSITIONS,
    UV,
    base_block,
    bone_block,
    color_base_block,
    damage_block,
    hang,
    model_of,
    number_block,
    pbr,
    plain,
    save,
    saved_render,
)

Step = tuple[str, Callable[[Any], object]]

# For each block the messages in their order, each with the call that leads to the next one; "" stands for sound.
CHECKS: dict[str, tuple[Callable[[], Any], list[Step]]] = {
    "base": (zrm.BaseBlock, [
        ("Vetices positions aren't set.", lambda b: b.setPositions(POSITIONS + [5.0, 6.0])),
        ("Invalid normals.", lambda b: b.setNormals(NORMALS[3:])),
        ("Invalid normals.", lambda b: b.setNormals(NORMALS)),
        ("Invalid albedo texture coordinates.", lambda b: b.setAlbedoMapUV(UV[2:])),
        ("Invalid albedo texture coordinates.", lambda b: b.setAlbedoMapUV(UV)),
        ("Albedo isn't set.", lambda b: b.setAlbedoMap("x")),
    ]),
    "colour base": (zrm.ColorBaseBlock, [
        ("Vetices positions aren't set.", lambda b: b.setPositions(POSITIONS)),
        ("Invalid normals.", lambda b: b.setNormals(NORMALS)),
        ("Color not set.", lambda b: b.setColor(zrm.PropertyFloat3())),
    ]),
    "normal": (zrm.NormalBlock, [
        ("Normal block: Invalid texture coordinates.", lambda b: b.setNormalMapUV(UV)),
        ("Normal block: normal texture isn't set.", lambda b: b.setNormalMap("x")),
    ]),
    "flir": (zrm.FlirBlock, [("Flir map isn't set.", lambda b: b.setFlirMap("x"))]),
    "aorms": (zrm.AormsBlock, [
        ("Aorms block: Invalid texture coordinates.", lambda b: b.setAormsMapUV(UV)),
        ("Aorms block: aorms texture isn't set.", lambda b: b.setAormsMap("x")),
    ]),
    "ao": (zrm.AoBlock, [
        ("AO block: Invalid texture coordinates.", lambda b: b.setAoMapUV(UV)),
        ("AO block: AO texture isn't set.", lambda b: b.setAoMap("x")),
    ]),
    "decal": (zrm.DecalBlock, [
        ("Decal block: Invalid texture coordinates.", lambda b: b.setDecalMapUV(UV)),
        ("Decal block: decal texture isn't set.", lambda b: b.setDecalMap("x")),
    ]),
    "emissive": (zrm.EmissiveBlock, [
        ("Emissive block: Texture coordinates are not set.", lambda b: b.setEmissiveMapUV(UV)),
        ("Emissive block: Emissive texture isn't set.", lambda b: b.setEmissiveMap("x")),
    ]),
    "emissive by colour": (zrm.EmissiveBlock, [
        ("Emissive block: Texture coordinates are not set.", lambda b: b.setColor(zrm.PropertyFloat3())),
    ]),
    "emissive colour": (zrm.EmissiveColorBlock, [("Color not set.", lambda b: b.setColor(zrm.PropertyFloat3()))]),
    "damage": (zrm.DamageBlock, [
        ("Damage block: argument is not set.", lambda b: (b.setArgument(1), b.setPerVertexArguments([1.0] * 4))),
        ("Damage block: Only one way to set argument is possible.", lambda b: b.setArgument(-1)),
        ("Damage block: Invalid albedo texture coordinates.", lambda b: (b.setAlbedoMapUV(UV), b.setNormalMapUV(UV))),
        ("Damage block: Normal map texture coordinates are set but texture isn't.",
         lambda b: (b.setNormalMap("x"), b.setNormalMapUV([]))),
        ("Damage block: Normal map texture coordinates aren't set.", lambda b: b.setNormalMapUV(UV)),
        ("Damage block: Albedo isn't set.", lambda b: b.setAlbedoMap("x")),
    ]),
    "bone": (zrm.BoneBlock, [
        ("Bone weights aren't set.", lambda b: b.setBoneWeights([1.0, 0.0, 0.0, 0.0] * 4)),
        ("Bone indices aren't set.", lambda b: b.setBoneIndices([0] * 15)),
        ("Invalid size of bone indices.", lambda b: b.setBoneIndices([0] * 12)),
        ("Invalid size of bone weights.", lambda b: b.setBoneIndices([0] * 16)),
        ("", lambda b: b.setBoneWeights([0.5, 0.5, 0.001, 0.0] * 4)),
        ("Bone weights are not normalized.", lambda b: b.setBoneWeights([0.5, math.nan, 0.5, 0.0] * 4)),
        ("Bone weights are not normalized.", lambda b: b.setBoneWeights([0.5, 0.5, 0.00005, 0.0] * 4)),
    ]),
    "number": (zrm.NumberBlock, [
        ("Number block: None of arguments were set.", lambda b: b.setUVParams(-1, 0.5, -1, 0.5)),
        ("Number block: None of arguments were set.", lambda b: b.setUVParams(3, 0.5, -7, 0.0)),
    ]),
}  # fmt: skip


@pytest.mark.parametrize("name", CHECKS)
def test_messages_in_order(folder: Path, name: str) -> None:
    make, steps = CHECKS[name]
    block = make()
    node = pbr(*([block] if block.getTypeName() != "BT_Base" else []))
    if block.getTypeName() == "BT_Base":
        node.addBlock(block)
    model = zrm.Model()
    hang(node, model, zrm.Bone("b"))
    for text, repair in steps:
        assert model.addRenderNode(node) == text
        repair(block)
    assert model.addRenderNode(node) == ""


def test_block_types() -> None:
    expected = {
        "BT_Base": [zrm.BaseBlock, zrm.ColorBaseBlock], "BT_Normal": [zrm.NormalBlock], "BT_Flir": [zrm.FlirBlock],
        "BT_Damage": [zrm.DamageBlock], "BT_Aorms": [zrm.AormsBlock], "BT_Bone": [zrm.BoneBlock],
        "BT_Emissive": [zrm.EmissiveBlock, zrm.EmissiveColorBlock], "BT_Ao": [zrm.AoBlock],
        "BT_Decal": [zrm.DecalBlock], "BT_Glass": [zrm.GlassFilterBlock], "BT_Number": [zrm.NumberBlock],
    }  # fmt: skip
    for name, classes in expected.items():
        assert {kind().getTypeName() for kind in classes} == {name}
    with pytest.raises(RuntimeError, match=r"^Calling pure virtual function\.$"):
        zrm.IBlock().getTypeName()


def textures(material: Any) -> dict[int, str]:
    return {slot: texture.name for slot, texture in material.textures.items()}


def channels(material: Any) -> dict[int, int]:
    return {map_kind: value for map_kind, value in enumerate(material.channels.tolist()) if value != -1}


def test_base_block(folder: Path) -> None:
    block = base_block()
    block.setAlbedoMapUVShift(zrm.PropertyFloat2((0.5, 0.25)))
    node, material = saved_render(pbr(block))
    assert material.material_name == "def_material" and material.name == "paint" and material.blending == 0
    assert textures(material) == {0: "albedo"} and channels(material) == {0: 0}
    (shift,) = material.uniforms
    assert (shift.name, shift.value) == ("diffuseShift", (0.5, 0.25))
    parts = node.mesh.split()
    assert list(parts) == ["POSITION0", "NORMAL0", "TEXCOORD0"]
    assert parts["POSITION0"].tolist() == [[*POSITIONS[i : i + 3], 0.0] for i in range(0, 12, 3)]
    assert parts["NORMAL0"].reshape(-1).tolist() == NORMALS and parts["TEXCOORD0"].reshape(-1).tolist() == UV
    assert node.mesh.indices.tolist() == INDICES and node.mesh.primitive_type == 5


def test_leftover_positions_do_not_count(folder: Path) -> None:
    block = base_block()
    block.setPositions([*POSITIONS, 9.0, 9.0])
    node, _ = saved_render(pbr(block))
    assert node.mesh.vertex_count == 4


def test_color_base_block(folder: Path) -> None:
    node, material = saved_render(pbr(color_base_block()))
    assert material.material_name == "color_material" and textures(material) == {} and channels(material) == {}
    assert (material.uniforms[0].name, material.uniforms[0].value) == ("color", (0.25, 0.5, 0.75))
    assert list(node.mesh.split()) == ["POSITION0", "NORMAL0"]


def all_maps() -> list[zrm.IBlock]:
    """One block of each map, with texture coordinates that tell them apart, in an order of no use."""
    normal, aorms, emissive = zrm.NormalBlock(), zrm.AormsBlock(), zrm.EmissiveBlock()
    ao, decal, flir, damage = zrm.AoBlock(), zrm.DecalBlock(), zrm.FlirBlock(), damage_block()
    normal.setNormalMap("normal"), normal.setNormalMapUV([1.0] * 8)
    damage.setAlbedoMapUV([2.0] * 8), damage.setNormalMapUV([3.0] * 8), damage.setNormalMap("damage normal")
    damage.setMask("mask"), damage.setMaskRGBA("rgba")
    aorms.setAormsMap("aorms"), aorms.setAormsMapUV([4.0] * 8)
    emissive.setEmissiveMap("emissive"), emissive.setEmissiveMapUV([5.0] * 8)
    emissive.setAmount(zrm.PropertyFloat(0.5)), emissive.setColor(zrm.PropertyFloat3((1.0, 2.0, 3.0)))
    emissive.setUVShift(zrm.PropertyFloat2(4, [(0.0, (0.0, 0.0)), (1.0, (1.0, 1.0))]))
    ao.setAoMap("ao"), ao.setAoMapUV([6.0] * 8)
    ao.setAoShift(zrm.PropertyFloat2((0.5, 0.5))), ao.setAoAnimationArgument(0)
    decal.setDecalMap("decal"), decal.setDecalMapUV([7.0] * 8), decal.setDecalShift(zrm.PropertyFloat2((0.1, 0.2)))
    flir.setFlirMap("flir")
    return [decal, ao, emissive, flir, aorms, damage, normal]


def test_all_maps(folder: Path) -> None:
    node, material = saved_render(pbr(*all_maps()))
    assert textures(material) == {
        0: "albedo", 1: "normal", 3: "decal", 5: "damage albedo", 8: "emissive", 9: "ao", 10: "damage normal",
        13: "aorms", 15: "mask", 16: "flir", 18: "rgba",
    }  # fmt: skip
    assert channels(material) == {0: 0, 1: 1, 5: 2, 10: 3, 12: 4, 8: 5, 9: 6, 3: 7}
    parts = node.mesh.split()
    widths = {name: part.shape[1] for name, part in parts.items()}
    assert widths == {
        "POSITION0": 4, "NORMAL0": 3, "TANGENT0": 3, "BINORMAL0": 3, **{f"TEXCOORD{k}": 2 for k in range(8)},
        "TANGENT1": 3, "BINORMAL1": 3,
    }  # fmt: skip
    for k in range(1, 8):
        assert set(parts[f"TEXCOORD{k}"].reshape(-1).tolist()) == {float(k)}
    for zero in ("TANGENT0", "BINORMAL0", "TANGENT1", "BINORMAL1"):
        assert not parts[zero].any()
    uniforms = {uniform.name: getattr(uniform, "value", None) for uniform in material.uniforms}
    assert uniforms == {
        "selfIlluminationValue": 0.5, "selfIlluminationColor": (1.0, 2.0, 3.0), "ambientOcclusionShift": (0.5, 0.5),
        "decalShift": (float(np.float32(0.1)), float(np.float32(0.2))),
    }  # fmt: skip
    assert [(u.name, u.argument) for u in material.animated_uniforms] == [
        ("emissiveShift", 4),
        ("ambientOcclusionAnim", 0),
    ]
    assert node.parents[0, 1] == 7  # the damage argument
    assert material.material_name == "def_material"


@pytest.mark.parametrize(("argument", "stored"), [(0, [0]), (41, [41]), (-1, []), (-5, []), (2**31 - 1, [2**31 - 1]), (NONE, [])])  # fmt: skip
def test_ao_animation(folder: Path, argument: int, stored: list[int]) -> None:
    ao = zrm.AoBlock()
    ao.setAoMap("ao")
    ao.setAoMapUV(UV)
    ao.setAoAnimationArgument(argument)
    _, material = saved_render(pbr(ao))
    assert [uniform.argument for uniform in material.animated_uniforms] == stored


@pytest.mark.parametrize(
    ("type_number", "name"),
    [
        (0, "def_material"),
        (1, "def_material"),
        (2, "self_illum_material"),
        (3, "transparent_self_illum_material"),
        (4, "additive_self_illum_material"),
        (5, "additive_self_illum_color_material"),
        (6, "additive_self_illum_tex_material"),
        (7, "def_material"),
        (-1, "def_material"),
    ],
)
def test_emissive_types(folder: Path, type_number: int, name: str) -> None:
    block = zrm.EmissiveBlock()
    block.setColor(zrm.PropertyFloat3())
    block.setEmissiveType(type_number)
    node, material = saved_render(pbr(block))
    assert material.material_name == name
    assert list(node.mesh.split()) == ["POSITION0", "NORMAL0", "TEXCOORD0"] and 8 not in material.textures


def test_emissive_color_block(folder: Path) -> None:
    block = zrm.EmissiveColorBlock()
    block.setColor(zrm.PropertyFloat3((1.0, 0.0, 0.0)))
    block.setAmount(zrm.PropertyFloat(2.0))
    _, material = saved_render(pbr(color_base_block(), block))
    assert material.material_name == "self_illum_material"  # later than the base block's own name
    assert [u.name for u in material.uniforms] == ["color", "selfIlluminationValue", "selfIlluminationColor"]


@pytest.mark.parametrize(("instrumental", "name"), [(True, "glass_instrumental_material"), (False, "glass_material")])
def test_glass_filter(folder: Path, instrumental: bool, name: str) -> None:
    block = zrm.GlassFilterBlock()
    block.setInstrumental(instrumental)
    node = pbr(block, kind=zrm.GlassNode)
    node.setTransparentMode(6)
    node.setGlassType(int(instrumental))
    _, material = saved_render(node)
    assert (material.material_name, material.blending, textures(material)) == (name, 1, {0: "albedo"})
    block.setColorMap("colours")
    block.setColor(zrm.PropertyFloat3((1.0, 2.0, 3.0)))
    _, material = saved_render(node)
    assert textures(material) == {0: "albedo", 14: "colours"}
    assert material.uniform("color").value == (1.0, 2.0, 3.0)


def test_an_empty_damage_mask_leaves_its_slot(folder: Path) -> None:
    _, material = saved_render(pbr(damage_block()))
    assert textures(material) == {0: "albedo", 5: "damage albedo"}


def test_skin(folder: Path) -> None:
    plain()
    model = zrm.Model()
    model.setBBox(BOX)
    top, first, second = zrm.Bone("top"), zrm.Bone("first"), zrm.Bone("second")
    top.addChild(first).addChild(second)
    block = bone_block([second, first])
    block.setBoneIndices(np.array([0, 1, 2, 258] * 4, np.uint32))
    block.setBoneWeights(np.array([0.25, 0.25, 0.5, 0.0] * 4, np.float32))
    block.setBoneNames(["a", "b"])
    assert block.getBoneNames() == ["a", "b"]
    assert model.addRenderNode(hang(pbr(block), model, top)) == ""
    file = save(model)
    (skin,) = file.render_nodes
    assert [file.nodes[i].name for i in skin.bones] == ["top", "second", "first"]
    assert skin.mesh.bone_indices().tolist() == [[0, 1, 2, 2]] * 4  # 258 loses its high bits
    assert skin.mesh.attribute("COLOR1").tolist() == [[0.25, 0.25, 0.5, 0.0]] * 4
    assert skin.skin_box is None and skin.version == 0 and skin.argument == NONE

    block.setSkinBox(BOX)
    assert model.addRenderNode(hang(pbr(block, damage_block()), model, top)) == ""
    skin = save(model).render_nodes[1]
    assert skin.skin_box.reshape(-1).tolist() == list(BOX) and skin.version == 1 and skin.argument == 7


def test_packed_bones_that_look_like_no_number(folder: Path) -> None:
    """Indices whose bytes form a signalling NaN reach the file bit for bit."""
    bones = [zrm.Bone(str(i)) for i in range(256)]
    block = bone_block(bones)
    block.setBoneIndices([1, 0, 0xA0, 0x7F] * 4)
    plain()
    model = zrm.Model()
    model.setBBox(BOX)
    top = zrm.Bone("top")
    for bone in bones:
        top.addChild(bone)
    assert model.addRenderNode(hang(pbr(block), model, top)) == ""
    assert save(model).render_nodes[0].mesh.bone_indices().tolist() == [[1, 0, 0xA0, 0x7F]] * 4


def test_bone_groups_and_vertices(folder: Path) -> None:
    block, model = bone_block(), zrm.Model()
    block.setBoneWeights([1.0, 0.0, 0.0, 0.0] * 3)
    block.setBoneIndices([0] * 12)
    with pytest.raises(IndexError, match=r"Expected idx < size\(\)"):
        model.addRenderNode(hang(pbr(block), model, zrm.Bone("b")))
    block.setBoneWeights([1.0, 0.0, 0.0, 0.0] * 9)
    block.setBoneIndices([0] * 36)
    assert model.addRenderNode(hang(pbr(block), model, zrm.Bone("b"))) == ""  # what is left over is ignored ...
    model.setBBox(BOX)
    assert model.save("model.zrm", 10) == "Vertex data is invalid."  # ... but not by the weights


def test_skin_on_no_bone() -> None:
    model = zrm.Model()
    assert model.addRenderNode(hang(pbr(bone_block()), model)) == "Control node of a skin must be a bone."


def test_number(folder: Path) -> None:
    block = number_block()
    block.setUVParams(3, 0.5, -7, 0.25)
    node, _ = saved_render(pbr(block))
    assert node.type_name == "model::NumberNode"
    (controls,) = node.numbers
    assert [tuple(row) for row in controls.tolist()] == [(3, 0.5, NONE, 0.25)]
    assert node.mesh.attribute("COLOR1").tolist() == [[0.0]] * 4


def test_per_vertex_damage_is_split(folder: Path) -> None:
    block = zrm.DamageBlock()
    block.setAlbedoMap("damage")
    block.setAlbedoMapUV(UV + UV)
    block.setPerVertexArguments([3.0] * 4 + [5.9] * 4)
    base = base_block()
    base.setPositions(POSITIONS * 2), base.setNormals(NORMALS * 2), base.setAlbedoMapUV(UV * 2)
    node = pbr(base, block)
    node.setIndices([*INDICES, *(i + 4 for i in INDICES), 0, 1, 7])  # the last one has mixed corners
    plain()
    model = zrm.Model()
    assert model.addRenderNode(hang(node, model)) == ""
    node.addTransparentPivot([1.0, 2.0, 3.0])
    file = save(model)
    assert [int(part.parents[0, 1]) for part in file.render_nodes] == [3, 5]
    for part in file.render_nodes:
        assert "COLOR2" not in part.mesh.split() and part.mesh.indices.tolist() == INDICES
        assert part.pivots.tolist() == [[1.0, 2.0, 3.0]] and part.name == ""
    assert repr(node) == "pyzrm::PBRNode()"


def test_per_vertex_damage_on_a_skin_stays(folder: Path) -> None:
    block = damage_block()
    block.setArgument(-1)
    block.setPerVertexArguments([3.0, 3.0, 4.0, 4.0])
    plain()
    model = zrm.Model()
    model.setBBox(BOX)
    assert model.addRenderNode(hang(pbr(block, bone_block()), model, zrm.Bone("b"))) == ""
    (skin,) = save(model).render_nodes
    assert skin.type_name == "model::SkinNode"
    assert skin.mesh.attribute("COLOR2").reshape(-1).tolist() == [3.0, 3.0, 4.0, 4.0]


def test_a_shared_property_carries_the_last_name(folder: Path) -> None:
    plain()
    model = zrm.Model()
    shift = zrm.PropertyFloat2((1.0, 2.0))
    base, decal = base_block(), zrm.DecalBlock()
    base.setAlbedoMapUVShift(shift)
    decal.setDecalMap("decal"), decal.setDecalMapUV(UV), decal.setDecalShift(shift)
    assert model.addRenderNode(hang(pbr(base), model)) == ""
    assert model.addRenderNode(hang(pbr(decal), model)) == ""
    assert [uniform.name for material in save(model).materials for uniform in material.uniforms] == ["decalShift"] * 2


BAD_UV = [0.5] * 6


@pytest.mark.parametrize("switches_on", [True, False])
def test_unequal_vertex_counts_are_refused_at_save(folder: Path, switches_on: bool) -> None:
    if not switches_on:
        plain()
    emissive = zrm.EmissiveBlock()
    emissive.setColor(zrm.PropertyFloat3())
    emissive.setEmissiveMap("a map without coordinates")
    normal, ao, damage = zrm.NormalBlock(), zrm.AoBlock(), damage_block()
    normal.setNormalMap("n"), normal.setNormalMapUV(BAD_UV)
    ao.setAoMap("a"), ao.setAoMapUV(UV + UV)
    damage.setAlbedoMapUV([0.5])
    for block in (emissive, normal, ao, damage):
        assert model_of(pbr(block)).save("model.zrm", 10) == "Vertex data is invalid."
    base = base_block()
    base.setNormals([*NORMALS, 1.0])
    assert model_of(pbr(base)).save("model.zrm", 10) == "Vertex data is invalid."
    assert list(folder.iterdir()) == []
