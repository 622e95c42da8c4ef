"""One model with at least one of every class, and every field that a script can reach set."""

from __future__ import annotations

from collections import Counter
from pathlib import Path
from typing import Any

import numpy as np
import pyzrm_313 as zrm
from module_support import (
    BOX,
    INDICES,
    NORMALS,
    POSITIONS,
    UV,
    base_block,
    bone_block,
    color_base_block,
    color_node,
    damage_block,
    deck_node,
    mirror_node,
    number_block,
    pbr,
    plain,
    save,
    shell_node,
)
from test_blocks import all_maps

MOVE = [(1.0, 0.0, 0.0, 5.0), (0.0, 1.0, 0.0, 6.0), (0.0, 0.0, 1.0, 7.0), (0.0, 0.0, 0.0, 1.0)]


def build_tree(root: zrm.Node) -> dict[str, Any]:
    """A node of each class, one below the other but for the bones."""
    nodes: dict[str, Any] = {
        "node": zrm.Node("node"),
        "transform": zrm.Transform("transform", MOVE),
        "lod": zrm.Lod("lod", [10.0, 20.0]),
        "number root": zrm.NumberRoot("number root"),
        "visibility": zrm.VisibilityNode("visibility"),
        "animation": zrm.AnimationNode("animation"),
        "bone": zrm.Bone("bone", MOVE, MOVE),
        "tip": zrm.Bone("tip"),
    }
    place = root
    for node in nodes.values():
        place = place.addChild(node)
    nodes["number root"].setControls([(1.0, 2.0, 3.0, 4.0)])
    nodes["visibility"].setArguments([(11, [(0.0, 0.0), (0.5, 1.0)]), (12, [(0.0, 1.0)])])
    animation = nodes["animation"]
    animation.setBaseMatrix(MOVE)
    animation.setBasePosition((1.0, 2.0, 3.0))
    animation.setBaseRotation((0.0, 1.0, 0.0, 0.0))
    animation.setBaseScale((1.0, 2.0, 1.0))
    animation.setPositionAnimation([(13, [(0.0, (0.0, 0.0, 0.0)), (1.0, (1.0, 2.0, 3.0))])])
    animation.setRotationAnimation([(14, [(0.0, (1.0, 0.0, 0.0, 0.0)), (1.0, (0.0, 1.0, 0.0, 0.0))])])
    animation.setScaleAnimation([(15, [(0.0, (1.0, 1.0, 1.0)), (1.0, (2.0, 2.0, 2.0))])])
    return nodes


def build_meshes() -> list[tuple[Any, str]]:
    """Each render facade with the node that it hangs on."""
    full = pbr(*all_maps())
    full.setTwoSided(True)
    full.setPurposeWaterMask()
    full.setShadowCaster(1)
    full.setShadowCaster(2)
    full.setTransparentMode(2)
    full.setDecalId(77)
    full.setOpacityValue(zrm.PropertyFloat(16, [(0.0, 0.0), (1.0, 1.0)]))
    full.setOpacityFresnelPower(zrm.PropertyFloat(2.0))
    full.setOpacityFresnelFactor(zrm.PropertyFloat(3.0))

    glass_filter = zrm.GlassFilterBlock()
    glass_filter.setInstrumental(True)
    glass_filter.setColorMap("filter")
    glass_filter.setColor(zrm.PropertyFloat3((0.1, 0.2, 0.3)))
    glass = pbr(glass_filter, kind=zrm.GlassNode)

    glow = zrm.EmissiveColorBlock()
    glow.setColor(zrm.PropertyFloat3(17, [(0.0, (0.0, 0.0, 0.0)), (1.0, (1.0, 1.0, 1.0))]))
    glow.setAmount(zrm.PropertyFloat(2.0))

    skin_block = bone_block()
    skin_block.setSkinBox(BOX)
    split = damage_block()
    split.setArgument(-1)
    split.setPerVertexArguments([18.0] * 4)

    deck = deck_node()
    deck.setArgument(19)
    deck.setTransparentMode(3)
    deck.setDecalId(5)
    return [
        (full, "transform"),
        (glass, "lod"),
        (pbr(color_base_block(), glow), "animation"),
        (pbr(skin_block, damage_block()), "bone"),
        (pbr(number_block()), "number root"),
        (pbr(split), "visibility"),
        (mirror_node(), "node"),
        (color_node(), "tip"),
        (deck, "node"),
    ]


def build_fake_lights() -> list[tuple[Any, str]]:
    omni, spot = zrm.FakeOmniLight(), zrm.FakeSpotLight()
    for light in (omni, spot):
        light.setPos((1.0, 2.0, 3.0))
        light.setSize(0.5)
        light.setUV((0.0, 0.0), (1.0, 1.0))
    spot.setBackUV((0.0, 0.0), (0.5, 0.5))
    spot.setBackSide(True)
    spot.setDirection((1.0, 0.0, 0.0))
    facades: list[Any] = [
        zrm.FakeOmniLights("omni"), zrm.FakeSpotLights("spot"),
        zrm.AnimatedFakeOmniLight("animated omni"), zrm.AnimatedFakeSpotLight("animated spot"),
    ]  # fmt: skip
    for number, facade in enumerate(facades):
        facade.set([omni if "omni" in repr(facade) else spot] * 2)
        facade.setTexture("sprites")
        facade.setMinSizeInPixels(2.0 + number)
        facade.setMaxDistance(100.0)
        facade.setLuminance(zrm.PropertyFloat(20, [(0.0, 0.0), (1.0, 1.0)]))
        facade.setShiftToCamera(0.5)
    facades[1].setConeSetup((0.5, 0.25, 0.125))
    for facade in facades[2:]:
        facade.setAnimationArg(21.0)
        facade.setLightsAnimation([(0, [(0.0, 0.0), (1.0, 1.0)]), (1, [(0.5, 1.0)])])
    return [(facade, "transform") for facade in facades]


def build_lights() -> list[tuple[Any, str]]:
    omni, spot = zrm.OmniLight("omni light"), zrm.SpotLight("spot light")
    for light in (omni, spot):
        light.setColor(zrm.PropertyFloat3(22, [(0.0, (1.0, 1.0, 1.0)), (1.0, (0.0, 0.0, 0.0))]))
        light.setBrightness(zrm.PropertyFloat(23, [(0.0, 0.0), (1.0, 1.0)]))
        light.setDistance(zrm.PropertyFloat(30.0))
        light.setSpecularAmount(zrm.PropertyFloat(0.5))
        light.setSoftness(zrm.PropertyFloat(0.25))
        light.setVolumeRadiusFactor(zrm.PropertyFloat(0.5))
        light.setVolumeDensityFactor(zrm.PropertyFloat(0.25))
        light.setVolumeNearDistance(zrm.PropertyFloat(0.125))
        light.setVolumeType(2)
    spot.setPhi(zrm.PropertyFloat(1.0))
    spot.setTheta(zrm.PropertyFloat(0.5))
    spot.setAngles(zrm.PropertyFloat(24, [(0.0, 0.5), (1.0, 1.0)]), zrm.PropertyFloat(0.25))
    return [(omni, "lod"), (spot, "animation")]


def build_everything(facades: list[Any] | None = None) -> zrm.Model:
    """The model; what it was made of goes to the end of `facades`."""
    model = zrm.Model()
    for setter in (model.setBBox, model.setUserBox, model.setLightBox):
        setter(BOX)
    nodes = build_tree(model.getRootTransform())
    segments, connector = zrm.SegmentsNode("segments"), zrm.Connector("connector")
    segments.set([((0.0, 0.0, 0.0), (1.0, 2.0, 3.0))])
    connector.setPropertyFloat("mass", 2.0)
    connector.setPropertyString("kind", "hook")
    meshes, lights = [*build_meshes(), *build_fake_lights()], build_lights()
    others: list[tuple[Any, str]] = [(segments, "tip"), (shell_node(), "animation"), (connector, "bone")]
    for facade, place in (*meshes, *lights, *others):
        facade.setControlNode(nodes[place])
    for mesh, _ in meshes:
        assert model.addRenderNode(mesh) == ""
    meshes[0][0].addTransparentPivot([1.0, 2.0, 3.0])
    meshes[3][0].addTransparentPivot([4.0, 5.0, 6.0])
    for light, _ in lights:
        model.addLight(light)
    model.addSegmentsNode(segments)
    model.addShellNode(others[1][0])
    model.addConnector(connector)
    if facades is not None:
        facades += [*nodes.values(), *(facade for facade, _ in (*meshes, *lights, *others))]
    return model


RENDER_CLASSES = Counter(
    {
        "model::RenderNode": 7, "model::SkinNode": 1, "model::NumberNode": 1, "model::FakeOmniLightsNode": 1,
        "model::FakeSpotLightsNode": 1, "model::AnimatedFakeOmniLightsNode": 1, "model::AnimatedFakeSpotLightsNode": 1,
    }
)  # fmt: skip


def test_every_class_reaches_the_file(folder: Path) -> None:
    plain()
    file = save(build_everything())
    assert [(node.type_name, node.name) for node in file.nodes] == [
        ("model::Node", "root"), ("model::Node", "node"), ("model::TransformNode", "transform"),
        ("model::LodNode", "lod"), ("model::TmpNumberRoot", "number root"),
        ("model::ArgVisibilityNode", "visibility"), ("model::ArgAnimationNode", "animation"), ("model::Bone", "bone"),
        ("model::Bone", "tip"),
    ]  # fmt: skip
    assert Counter(node.type_name for node in file.render_nodes) == RENDER_CLASSES
    assert [node.type_name for node in file.shell_nodes] == ["model::SegmentsNode", "model::ShellNode"]
    assert [node.version for node in file.light_nodes] == [3, 3] and len(file.connectors) == 1
    assert file.root.handle_count == 25  # the highest argument in use is 24
    assert file.root.light_box.reshape(-1).tolist() == list(BOX)


def test_fields_of_the_fullest_mesh(folder: Path) -> None:
    plain()
    file = save(build_everything())
    node = file.render_nodes[0]
    material = file.materials[node.material]
    assert (node.purpose, node.version, node.pivots.tolist()) == (1, 2, [[1.0, 2.0, 3.0]])
    assert file.nodes[int(node.parents[0, 0])].name == "transform" and int(node.parents[0, 1]) == 7
    assert (node.mesh.vertex_count, node.mesh.triangle_count) == (8, 4)
    parts = node.mesh.split()
    assert np.array_equal(parts["POSITION0"][:4, :3].reshape(-1), POSITIONS)
    assert np.array_equal(parts["NORMAL0"][:4].reshape(-1), NORMALS)
    assert np.array_equal(parts["NORMAL0"][4:].reshape(-1), [-value for value in NORMALS])
    assert np.array_equal(parts["TEXCOORD0"][:4].reshape(-1), UV)
    assert node.mesh.indices[:6].tolist() == INDICES and node.mesh.indices[6:9].tolist() == [4, 6, 5]
    assert (material.casts_shadow, material.shadow_flag2, material.blending, material.decal_id) == (False, True, 2, 77)
    assert len(material.textures) == 11 and material.billboard is None and material.depth_bias == 0
    assert {"opacityValue", "emissiveShift", "ambientOcclusionAnim"} == {u.name for u in material.animated_uniforms}


def test_everything_is_optimised(folder: Path) -> None:
    """All passes together, and again on what they left: still a whole model of the same things."""
    model = build_everything()
    first = save(model)
    for file in (first, save(model)):
        assert sum(node.type_name == "model::SkinNode" for node in file.render_nodes) == 1
        assert {node.type_name for node in file.render_nodes} == set(RENDER_CLASSES)
        assert len(file.light_nodes) == 2 and len(file.connectors) == 1 and len(file.shell_nodes) == 2
        assert file.root.handle_count == first.root.handle_count


def test_base_block_alone_matches(folder: Path) -> None:
    plain()
    model = zrm.Model()
    node = pbr(base_block())
    node.setControlNode(model.getRootTransform())
    assert model.addRenderNode(node) == ""
    (record,) = save(model).render_nodes
    assert int(record.parents[0, 0]) == 0
