"""Render facades: messages, materials, geometry, tangents."""

from __future__ import annotations

import math
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import (
    DECK_MAPS,
    INDICES,
    NONE,
    NORMALS,
    POSITIONS,
    UV,
    base_block,
    bone_block,
    color_base_block,
    color_node,
    damage_block,
    deck_node,
    hang,
    mirror_node,
    model_of,
    number_block,
    pbr,
    plain,
    save,
    saved_render,
)

Step = tuple[str, Callable[[Any], object]]
CONTROL = zrm.Node("control")


def hang_on_control(node: Any) -> None:
    node.setControlNode(CONTROL)


def flat_setters(**values: Any) -> list[Callable[[Any], object]]:
    return [lambda node, name=name, value=value: getattr(node, name)(value) for name, value in values.items()]


# For each facade the messages in their order, each with the call that leads to the next one.
BUILDS: dict[str, tuple[Callable[[], Any], list[Step]]] = {
    "colour": (lambda: zrm.ColorNode("n", "m"), [
        ("Vetex attribute POSITION0 isn't set.", lambda n: n.setPositions(POSITIONS)),
        ("Vetex attribute NORMAL0 isn't set.", lambda n: n.setNormals(NORMALS)),
        ("Indices aren't set.", lambda n: n.setIndices(INDICES)),
        ("Control node isn't set.", hang_on_control),
    ]),
    "mirror": (lambda: zrm.MirrorNode("n", "m"), [
        ("Vetex attribute POSITION0 isn't set.", lambda n: n.setPositions(POSITIONS)),
        ("Vetex attribute NORMAL0 isn't set.", lambda n: n.setNormals(NORMALS)),
        ("Vetex attribute TEXCOORD0 isn't set.", lambda n: n.setTextureCoordinates(UV)),
        ("Indices are empty.", lambda n: n.setIndices(INDICES)),
        ("Texture aren't set.", lambda n: n.setTexture("x")),
        ("Control node isn't set.", hang_on_control),
    ]),
    "deck": (lambda: zrm.DeckNode("n", "m"), [
        ("Vetex attribute POSITION0 isn't set.", lambda n: n.setPositions(POSITIONS)),
        ("Vetex attribute NORMAL0 isn't set.", lambda n: n.setNormals(NORMALS)),
        ("Vetex attribute TEXCOORD0 isn't set.", lambda n: n.setTiledUV(UV)),
        ("Vetex attribute TEXCOORD1 isn't set.",
         lambda n: (n.setRegularUV(UV), n.setArgument(1), n.setPerVertexArguments([1.0] * 4))),
        ("Only one way to set damage argument is possible.", lambda n: n.setArgument(-1)),
        ("Indices aren't set.", lambda n: n.setIndices(INDICES)),
        ("baseTiledMap isn't set.", lambda n: n.setBaseTiledMap("x")),
        ("normalTiledMap isn't set.", lambda n: n.setNormalTiledMap("x")),
        ("aormsTiledMap isn't set.", lambda n: n.setAormsTiledMap("x")),
        ("baseMap isn't set.", lambda n: n.setBaseMap("x")),
        ("aormsMap isn't set.", lambda n: n.setAormsMap("x")),
        ("Control node isn't set.", hang_on_control),
    ]),
    "blocks": (lambda: zrm.PBRNode("n", "paint"), [
        ("Material paint must have the following blocks BT_Base.",
         lambda n: (n.addBlock(number_block()), n.addBlock(bone_block()))),
        ("You can not use bone(skin) and number at the same time.", lambda n: n.addBlock(base_block())),
        ("You can not use bone(skin) and number at the same time.", lambda n: None),
    ]),
    "unsupported": (lambda: zrm.PBRNode("n", "{}"), [
        ("Material {} must have the following blocks BT_Base.", lambda n: n.addBlock(zrm.GlassFilterBlock())),
        ("Material {} must have the following blocks BT_Base.", lambda n: n.addBlock(zrm.BaseBlock())),
        ("Material {} doesn't support block BT_Glass.", lambda n: None),
    ]),
    "blocks to the end": (lambda: zrm.PBRNode("n", "paint"), [
        ("Material paint must have the following blocks BT_Base.", lambda n: n.addBlock(zrm.BaseBlock())),
        ("Indices aren't set.", lambda n: n.setIndices(INDICES)),
        ("Vetices positions aren't set.", lambda n: n.addBlock(zrm.ColorBaseBlock())),
        ("Vetices positions aren't set.", lambda n: n.addBlock(color_base_block())),
        ("Control node isn't set.", hang_on_control),
    ]),
    "glass": (lambda: zrm.GlassNode("n", "pane"), [
        ("Material pane must have the following blocks BT_Base.",
         lambda n: (n.addBlock(zrm.DecalBlock()), n.addBlock(zrm.AoBlock()), n.addBlock(zrm.EmissiveBlock()),
                    n.addBlock(base_block()))),
        ("Material pane doesn't support block BT_Emissive.", lambda n: None),
    ]),
}  # fmt: skip


@pytest.mark.parametrize("name", BUILDS)
def test_messages_in_order(folder: Path, name: str) -> None:
    make, steps = BUILDS[name]
    node, model = make(), zrm.Model()
    for text, repair in steps:
        assert model.addRenderNode(node) == text
        repair(node)
        assert model.save("model.zrm", 10) == ""  # nothing was added that could fail
    if steps[-1][1] is hang_on_control:
        assert model.addRenderNode(node) == ""


@pytest.mark.parametrize("block", [zrm.AoBlock, zrm.DecalBlock, zrm.EmissiveColorBlock, zrm.NumberBlock])
def test_blocks_that_glass_refuses(block: type[zrm.IBlock]) -> None:
    node = pbr(block(), kind=zrm.GlassNode)
    name = block().getTypeName()
    assert zrm.Model().addRenderNode(node) == f"Material paint doesn't support block {name}."


def test_block_list() -> None:
    node = zrm.PBRNode("n", "m")
    node.addBlock(None)
    assert node.getBlock("BT_Base") is None and not node.hasBlock("BT_Base")
    first, second, normal = zrm.BaseBlock(), zrm.ColorBaseBlock(), zrm.NormalBlock()
    node.addBlock(first)
    node.addBlock(normal)
    assert node.getBlock("BT_Base") is first and node.hasBlock("BT_Normal")
    node.addBlock(second)
    assert node.getBlock("BT_Base") is second and node.getBlock("BT_Normal") is normal
    assert not node.hasBlock("BT_base") and not node.hasBlock("UNKNOWN") and node.getBlock("") is None
    assert not zrm.IRenderNode().hasBlock("BT_Base")
    with pytest.raises(RuntimeError):
        node.addBlock(zrm.IBlock())
    assert node.getBlock("BT_Base") is second

    class Painted(zrm.BaseBlock):
        pass

    mine = Painted()
    node.addBlock(mine)
    assert node.getBlock("BT_Base") is mine
    del mine  # the native block lives on without its Python half
    assert isinstance(node.getBlock("BT_Base"), zrm.BaseBlock)


def test_water_mask_and_two_sides(folder: Path) -> None:
    node = pbr()
    node.setPurposeWaterMask()
    record, _ = saved_render(node)
    assert record.purpose == 1 and record.version == 1
    node = pbr()
    node.setTwoSided(True)
    record, _ = saved_render(node)
    assert record.mesh.vertex_count == 8 and record.mesh.triangle_count == 4
    node.setTwoSided(False)  # a build does not take back what the first one set
    record, _ = saved_render(node)
    assert record.mesh.triangle_count == 4


@pytest.mark.parametrize(
    ("modes", "casts", "second"),
    [((), True, False), ((0,), True, False), ((1,), False, False), ((2,), True, True), ((1, 2), False, True),
     ((1, 0), True, False), ((2, 3, -1), True, True)],
)  # fmt: skip
def test_shadow_caster(folder: Path, modes: tuple[int, ...], casts: bool, second: bool) -> None:
    node = pbr()
    for mode in modes:
        node.setShadowCaster(mode)
    _, material = saved_render(node)
    assert (material.casts_shadow, material.shadow_flag2) == (casts, second)


@pytest.mark.parametrize(("kind", "start", "accepted"), [(zrm.PBRNode, 0, {0, 1, 2, 3}), (zrm.GlassNode, 1, {1, 3, 6})])
def test_transparent_modes(folder: Path, kind: type[zrm.PBRNode], start: int, accepted: set[int]) -> None:
    for mode in (*range(8), -1, 2**32 - 1):
        node = pbr(kind=kind)
        node.setTransparentMode(mode)
        _, material = saved_render(node)
        assert material.blending == (mode if mode in accepted else start)


def test_glass_types(folder: Path) -> None:
    names = {0: "glass_instrumental_material", 1: "glass_material", 2: "glass_instrumental_material"}
    for number, name in names.items():
        node = pbr(kind=zrm.GlassNode)
        node.setGlassType(number)
        assert saved_render(node)[1].material_name == name


@pytest.mark.parametrize(("value", "stored"), [(0, 0), (7, 7), (255, 255), (256, 0), (-1, 255), (2**32 - 1, 255)])
def test_decal_ids(folder: Path, value: int, stored: int) -> None:
    for node in (pbr(), deck_node()):
        node.setDecalId(value)
        assert saved_render(node)[1].decal_id == stored


def test_opacity(folder: Path) -> None:
    node = zrm.PBRNode("n", "m")
    node.setOpacityValue(zrm.PropertyFloat(0.25))
    node.setOpacityFresnelPower(zrm.PropertyFloat(2.0))
    node.setOpacityFresnelFactor(zrm.PropertyFloat(5, [(0.0, 1.0)]))
    node.setOpacityValue(zrm.PropertyFloat(0.5))  # replaces the first
    node.addBlock(base_block())
    node.setIndices(INDICES)
    _, material = saved_render(node)
    assert [(u.name, u.value) for u in material.uniforms] == [("opacityValue", 0.5), ("opacityFresnelPower", 2.0)]
    assert [(u.name, u.argument) for u in material.animated_uniforms] == [("opacityFresnelFactor", 5)]


def test_pivots(folder: Path) -> None:
    node = pbr()
    node.addTransparentPivot([9.0, 9.0, 9.0])  # before the build it does nothing
    model = model_of(node)
    node.addTransparentPivot((1, 2, 3))
    for wrong in ([1.0, 2.0], [1.0] * 4, 1.0, None):
        with pytest.raises(TypeError):
            node.addTransparentPivot(wrong)
    plain()
    (record,) = save(model).render_nodes
    assert record.pivots.tolist() == [[1.0, 2.0, 3.0]] and record.version == 2
    number = pbr(number_block())
    model_of(number)
    number.addTransparentPivot([1.0, 2.0, 3.0])


def test_color_node(folder: Path) -> None:
    record, material = saved_render(color_node())
    assert (record.type_name, record.name) == ("model::RenderNode", "colour")
    assert (material.material_name, material.name) == ("color_material", "paint")
    assert [(u.name, u.value) for u in material.uniforms] == [("color", (1.0, 0.0, 0.0))]
    assert material.vertex_format.tolist()[:4] == [4, 3, 0, 0]
    node = color_node()
    node.setColor(0.25, 0.5, 0.75)
    node.setPositions(POSITIONS[:3])  # appended
    node.setNormals(NORMALS + [0.0, 1.0, 0.0])
    node.setIndices(np.array([0, 1, 4], np.uint32))
    record, material = saved_render(node)
    assert material.uniforms[0].value == (0.25, 0.5, 0.75)
    points = record.mesh.attribute("POSITION0")
    assert points[:, :3].reshape(-1).tolist() == POSITIONS + POSITIONS[:3] and not points[:, 3].any()
    assert record.mesh.indices.tolist() == [0, 1, 4]
    assert record.mesh.attribute("NORMAL0")[4].tolist() == [0.0, 1.0, 0.0]


def test_mirror_node(folder: Path) -> None:
    record, material = saved_render(mirror_node())
    assert material.material_name == "mirror_material" and material.channel("albedo") == 0
    assert {slot: texture.name for slot, texture in material.textures.items()} == {0: "reflection"}
    assert material.uniform("color").value == (1.0, 0.0, 0.0)
    assert record.mesh.attribute("TEXCOORD0").reshape(-1).tolist() == UV


def test_deck_node(folder: Path) -> None:
    node = deck_node()
    node.setRegularUV([value / 2 for value in UV])
    node.setTransparentMode(2)
    node.setArgument(9)
    record, material = saved_render(node)
    assert (record.name, material.name, material.material_name) == ("deck", "paint", "deck_material")
    assert {slot: t.name for slot, t in material.textures.items()} == {
        slot: setter.lower() for setter, slot in DECK_MAPS.items()
    }
    assert material.channels.tolist() == [0, 0, 0, 1, 1, -1, -1, 1, -1, -1, -1, -1, -1]
    assert material.blending == 2 and int(record.parents[0, 1]) == 9
    parts = record.mesh.split()
    assert list(parts) == ["POSITION0", "NORMAL0", "TANGENT0", "BINORMAL0", "TEXCOORD0", "TEXCOORD1"]
    assert parts["TEXCOORD0"].reshape(-1).tolist() == UV
    assert parts["TEXCOORD1"].reshape(-1).tolist() == [value / 2 for value in UV]
    assert parts["TANGENT0"].tolist() == [[1.0, 0.0, 0.0]] * 4
    assert parts["BINORMAL0"].tolist() == [[0.0, 1.0, 0.0]] * 4
    node.setTransparentMode(4)
    assert saved_render(node)[1].blending == 2


def test_deck_without_optional_maps(folder: Path) -> None:
    node = deck_node()
    for setter in ("setDamageMap", "setDamageMask", "setDamageMaskRGBA", "setRainMask"):
        getattr(node, setter)("")
    record, material = saved_render(node)
    assert sorted(material.textures) == [0, 1, 2, 3, 4] and int(record.parents[0, 1]) == NONE


def test_deck_is_split_by_arguments(folder: Path) -> None:
    node = deck_node()
    node.setPositions(POSITIONS)
    node.setNormals(NORMALS * 2)
    node.setTiledUV(UV * 2)
    node.setRegularUV(UV * 2)
    node.setIndices([*INDICES, *(i + 4 for i in INDICES)])
    node.setPerVertexArguments([1.0] * 4 + [-1.0] * 4)
    plain()
    model = model_of(node)
    parts = save(model).render_nodes
    assert [int(part.parents[0, 1]) for part in parts] == [1, NONE]
    assert all("COLOR2" not in part.mesh.split() for part in parts)
    assert repr(node) == "pyzrm::DeckNode(,,)"


def reference_tangents(mesh: dict[str, np.ndarray[Any, Any]], triangles: Any) -> tuple[Any, Any]:
    """The tangent space of a mesh, by whole-array arithmetic in 64 bits."""
    point, normal, uv = (mesh[name].astype(float) for name in ("POSITION0", "NORMAL0", "TEXCOORD0"))
    a, b, c = triangles.T
    e1, e2, d1, d2 = point[b] - point[a], point[c] - point[a], uv[b] - uv[a], uv[c] - uv[a]
    area = d1[:, 0] * d2[:, 1] - d1[:, 1] * d2[:, 0]
    use = np.abs(area) >= 1e-5
    along = np.zeros((2, *point[:, :3].shape))
    for axis, direction in (
        (0, d2[:, 1:] * e1[:, :3] - d1[:, 1:] * e2[:, :3]),
        (1, d1[:, :1] * e2[:, :3] - d2[:, :1] * e1[:, :3]),
    ):
        for corner in (a, b, c):
            np.add.at(along[axis], corner[use], direction[use] / area[use, None])
    tangent = along[0] - normal * np.sum(normal * along[0], 1, keepdims=True)
    flat = np.linalg.norm(tangent, axis=1) < 0.01
    x, y, z = normal.T
    zero = np.zeros_like(x)
    first, second = np.stack([y, -x, zero], 1), np.stack([-z, zero, x], 1)
    longer = np.sum(first**2, 1) > np.sum(second**2, 1)
    tangent[flat] = np.where(longer[:, None], first, second)[flat]
    tangent /= np.linalg.norm(tangent, axis=1, keepdims=True)
    binormal = np.cross(normal, tangent)
    binormal[np.sum(binormal * along[1], 1) < 0] *= -1
    return tangent, binormal


def test_tangents_of_a_random_deck(folder: Path) -> None:
    random = np.random.default_rng(20240229)
    count = 200
    normals = random.normal(size=(count, 3))
    normals /= np.linalg.norm(normals, axis=1, keepdims=True)
    uv = random.uniform(size=(count, 2))
    uv[:40] = uv[0]  # triangles without area in u, v
    triangles = np.concatenate([random.integers(0, 40, (50, 3)), random.integers(0, count, (300, 3))])
    node = zrm.DeckNode("deck", "paint")
    node.setPositions(random.normal(size=3 * count).tolist())
    node.setNormals(normals.reshape(-1).tolist())
    node.setTiledUV(uv.reshape(-1).tolist())
    node.setRegularUV(uv.reshape(-1).tolist())
    node.setIndices(triangles.reshape(-1).tolist())
    for setter in DECK_MAPS:
        getattr(node, setter)("x")
    mesh = saved_render(node)[0].mesh
    parts = mesh.split()
    tangent, binormal = reference_tangents(parts, triangles)
    # Sums of steep triangles lose bits; nothing here is near enough to a branch to go the other way.
    assert np.allclose(parts["TANGENT0"], tangent, atol=2e-3)
    assert np.allclose(parts["BINORMAL0"], binormal, atol=2e-3)


def test_tangents_without_area(folder: Path) -> None:
    node = deck_node()
    node.setTiledUV([0.5] * 8)
    node.setNormals([0.0, 0.0, 1.0, 0.0, 1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, -1.0])
    parts = saved_render(node)[0].mesh.split()
    assert parts["TANGENT0"].tolist() == [[-1.0, 0.0, 0.0], [1.0, 0.0, 0.0], [0.0, 0.0, 1.0], [1.0, 0.0, 0.0]]
    assert parts["BINORMAL0"].tolist() == [[0.0, -1.0, 0.0], [0.0, 0.0, -1.0], [0.0, -1.0, 0.0], [0.0, -1.0, 0.0]]


def test_indices_beyond_the_vertices() -> None:
    for index in (4, 2**32 - 1):
        deck = deck_node()
        deck.setIndices([0, 1, index])
        split = damage_block()
        split.setArgument(-1)
        split.setPerVertexArguments([1.0] * 4)
        mesh = pbr(split)
        mesh.setIndices([0, 1, index])
        for node in (deck, mesh):
            model = zrm.Model()
            with pytest.raises(IndexError, match=r"Expected idx < size\(\)"):
                model.addRenderNode(hang(node, model))


def test_indices_beyond_the_vertices_at_save(folder: Path) -> None:
    def build() -> zrm.Model:
        node = color_node()
        node.setIndices([0, 1, 4])
        return model_of(node)

    with pytest.raises(IndexError):
        build().save("model.zrm", 10)
    assert list(folder.iterdir()) == []
    plain()  # nothing follows them now
    assert save(build()).render_nodes[0].mesh.indices.tolist() == [0, 1, 4]


@pytest.mark.parametrize("count", [1, 2, 4, 5])
def test_index_counts_that_are_no_triangles(folder: Path, count: int) -> None:
    for node in (color_node(), mirror_node(), deck_node(), pbr(), pbr(bone_block())):
        node.setIndices(INDICES[:count])
        node.setTwoSided(True) if isinstance(node, zrm.PBRNode) else None
        model = zrm.Model()
        model.setBBox((0.0, 0.0, 0.0, 1.0, 1.0, 1.0))
        assert model.addRenderNode(hang(node, model, zrm.Bone("b"))) == ""
        assert model.save("model.zrm", 10) == ""


@pytest.mark.parametrize("value", [math.nan, math.inf, -math.inf, 1e30])
def test_geometry_that_is_no_number(folder: Path, value: float) -> None:
    for switches_on in (True, False):
        if not switches_on:
            plain()
        deck = deck_node()
        deck.setTiledUV([value, *UV[1:]])
        deck.setNormals([value, *NORMALS[1:]])
        base = base_block()
        base.setPositions([value, *POSITIONS[1:]])
        base.setAlbedoMapUV([value, *UV[1:]])
        damage = damage_block()
        damage.setArgument(-1)
        damage.setPerVertexArguments([value] * 4)
        for node in (deck, pbr(base), pbr(base, damage)):
            assert model_of(node).save("model.zrm", 10) == ""


VALUES = [float(value) for value in range(1, 13)]
ARRAYS: dict[str, Any] = {
    "list": VALUES,
    "tuple": tuple(VALUES),
    "f32": np.array(VALUES, np.float32),
    "f64": np.array(VALUES, np.float64),
    "ints": np.array(VALUES, np.int8),
    "column": np.array(VALUES, np.float32).reshape(-1, 1),
    "strided": np.repeat(np.array(VALUES, np.float32), 2)[::2],
    "reversed": np.array(VALUES[::-1], np.float32)[::-1],
    "strided column": np.repeat(np.array(VALUES, np.float32), 3).reshape(-1, 3)[:, :1],
    "unaligned": np.frombuffer(b"x" + np.array(VALUES, np.float32).tobytes(), np.float32, offset=1),
    "big endian": np.array(VALUES, ">f4"),
    "read only": np.broadcast_to(np.array(VALUES, np.float32), 12),
}


@pytest.mark.parametrize("name", ARRAYS)
def test_arrays(folder: Path, name: str) -> None:
    node = color_node()
    node.setNormals(ARRAYS[name])
    assert saved_render(node)[0].mesh.attribute("NORMAL0").reshape(-1).tolist() == VALUES


def test_index_arrays(folder: Path) -> None:
    for indices in (tuple(INDICES), np.array(INDICES), np.array(INDICES, np.uint8), np.array([INDICES]).T,
                    np.array(INDICES, float), np.repeat(np.array(INDICES, np.uint32), 2)[::2]):  # fmt: skip
        node = pbr()
        node.setIndices(indices)
        assert saved_render(node)[0].mesh.indices.tolist() == INDICES


def test_wrong_arrays_store_nothing(folder: Path) -> None:
    node = color_node()
    for wrong, failure, text in (
        (np.zeros((4, 3), np.float32), IndexError, "index 4 is out of bounds for axis 0 with size 4"),
        (np.zeros((1, 12), np.float32), IndexError, "index 1 is out of bounds for axis 0 with size 1"),
        (np.float32(1.0), IndexError, "too many indices for an array"),
        (1.0, IndexError, "too many indices"),
        (None, IndexError, "too many indices"),  # NumPy makes a number of it
        ("abc", TypeError, "incompatible"),
        ([object()], TypeError, "incompatible"),
        ([[1.0], [1.0, 2.0]], TypeError, "incompatible"),
    ):
        for setter in (node.setNormals, node.setPositions):
            with pytest.raises(failure, match=text):
                setter(wrong)
    assert saved_render(node)[0].mesh.attribute("NORMAL0").reshape(-1).tolist() == NORMALS
    node.setNormals(np.zeros((0, 3), np.float32))
    assert zrm.Model().addRenderNode(node) == "Vetex attribute NORMAL0 isn't set."
