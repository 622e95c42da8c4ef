"""The reader of ZRM files, against files that are put together byte by byte."""

from __future__ import annotations

import random
import struct
import sys
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "Utils/ZRMTools/zrm_inspect"))

from zrm_bytes import (  # noqa: E402
    IDENTITY,
    MESH_FORMAT,
    NONE,
    SKIN_FORMAT,
    TRIANGLE,
    UINT,
    UNSET_BOX,
    ZrmBytes,
    animated_prop,
    animation,
    billboard,
    bone,
    indices,
    lod,
    material,
    node,
    prop,
    render,
    simple,
    skin,
    string_prop,
    texture,
    transform,
    vertex_format,
    vertices,
    visibility,
)

from zrm_inspect import ZrmError, ZrmFile, parse, read_file  # noqa: E402
from zrm_inspect import model as m  # noqa: E402

EMPTY_MODEL = bytes.fromhex(
    "5a524d 0a00 46000000"
    + (b"model::RootNode\0model::Property<unsigned int>\0__VERSION__\0model::Node\0").hex()
    + "0000000000000000"  # reserved
    + "00000000 00000000 00000000"  # the root's type, no name, reserved
    + "01000000 01000000 02000000 03000000"  # one property: "__VERSION__" = 3
    + ("000000e0ffffef47" * 3 + "000000e0ffffefc7" * 3) * 3  # three boxes that aren't set
    + "00000000 00000000 00000000"  # no materials, reserved, no handles
    + "01000000 03000000 04000000 726f6f74 00000000 00000000"  # one node, "root", without properties
    + "ffffffff 00000000"  # it has no parent; no sections
)


def test_empty_model() -> None:
    assert len(EMPTY_MODEL) == 303
    assert simple([(-1, node("root"))]) == EMPTY_MODEL
    file = parse(EMPTY_MODEL)
    assert file.strings == ["model::RootNode", UINT, "__VERSION__", "model::Node"]
    assert [(n.name, n.parent, n.offset) for n in file.nodes] == [("root", -1, 275)]
    assert file.root.version == 3 and file.root.handle_count == 0
    assert file.root.bounding_box.tolist() == [UNSET_BOX[:3], UNSET_BOX[3:]]
    assert not (file.connectors or file.shell_nodes or file.light_nodes or file.render_nodes or file.materials)


# ---------------------------------------------------------------- one file with everything

_SEVEN = ("color", "brightness", "phi", "theta", "distance", "specularAmount", "softness")


def _light(version: int, with_texture: bool) -> Callable[[ZrmBytes], None]:
    def write(out: ZrmBytes) -> None:
        out.head("model::LightNode", "lamp", (), version).u32(1).u8(1).u32(7 if version == 2 else 10)
        prop("model::Property<osg::Vec3f>", _SEVEN[0], "3f", 1, 0.5, 0.25)(out)
        animated_prop("float", _SEVEN[1], 3, [(0, 1), (1, 2)])(out)
        for name in _SEVEN[2:]:
            prop("model::Property<float>", name, "f", 4)(out)
        if version == 3:
            for name in ("radiusFactor", "densityFactor", "nearDistance"):
                prop("model::Property<float>", name, "f", 0.5)(out)
            out.u8(4)
        out.u8(with_texture)
        if with_texture:
            texture("beam.png")(out)

    return write


def _fake(type_name: str, spot: bool, version: int, animated: bool) -> Callable[[ZrmBytes], None]:
    def write(out: ZrmBytes) -> None:
        out.head(type_name, "fake", (), version).u32(0, 2, 2)
        for control in (1, 2):
            out.u32(control, 0)
            if spot:
                out.f32(0, 0, 1)
        out.u32(2)
        for k in range(2):
            out.f64(k, 2, 3).f32(0, 0.25, 0.5, 1, 9).u32(k)
            if spot:
                out.f32(0.1, 0.2, 0.3, 0.4).u8(k)
        if version == 2:
            out.f32(1, 0, 0, 0, 1, 0)
        if animated:
            out.u32(4, 128, 256).f32(*range(256))

    return write


def _shell_skin(box: bool) -> Callable[[ZrmBytes], None]:
    def write(out: ZrmBytes) -> None:
        out.head("model::ShellSkinNode", "ss").u32(2, 3, 4, 90)  # the argument isn't counted as a handle
        if box:
            out.f32(-1, -2, -3, 1, 2, 3)
        out.u32(27).u8(*vertex_format(POSITION0=3))
        vertices([[1, 2, 3], [4, 5, 6]])(out)
        indices([0, 1, 1])(out)

    return write


def _shell(out: ZrmBytes) -> None:
    out.head("model::ShellNode", "shell").u32(1, 27).u8(*vertex_format(POSITION0=3))
    vertices([[1, 2, 3]])(out)
    indices([0, 0, 0])(out)


def _segments(out: ZrmBytes) -> None:
    out.head("model::SegmentsNode", "seg").u32(0, 2).f32(*range(12))


def _spot3(out: ZrmBytes) -> None:
    out.head("model::FakeSpotLights3Node", "three").u32(0, 2, 2, 0, 1)
    vertices([[0] * 9, [1] * 9])(out)


def _connector(out: ZrmBytes) -> None:
    # A property that a script named "__VERSION__" has no say in a connector's record.
    props = [prop("model::Property<float>", "__VERSION__", "f", 7), string_prop("kind", "hook"), string_prop("e", "")]
    out.head("model::Connector", "hook", props).u32(2, 0)


_K1, _K4 = [(0, 1, 2, 3), (1, 4, 5, 6)], [(0, 0, 0, 0, 1)]


def everything() -> bytes:
    """At least one of every record, optional field and version."""
    out = ZrmBytes()
    all_uniforms = [
        prop("model::Property<float>", "f", "f", 0.5),
        prop(UINT, "u", "I", 4000000000),
        prop("model::Property<osg::Vec2f>", "v2", "2f", 1, 2),
        prop("model::Property<osg::Vec3f>", "v3", "3f", 1, 2, 3),
        prop("model::Property<osg::Vec4f>", "v4", "4f", 1, 2, 3, 4),
        string_prop("s", "ä"),
    ]
    animated = [
        prop("model::ArgumentProperty", "aa", "I", 6),
        animated_prop("float", "a1", 7, [(0, 1), (0.5, 2)]),
        animated_prop("osg::Vec2f", "a2", 8, [(0, 1, 2)]),
        animated_prop("osg::Vec3f", "a3", 9, []),
        animated_prop("osg::Vec4f", "a4", NONE, [(0, 1, 2, 3, 4)]),
    ]
    materials = [
        material(MESH_FORMAT, {0: "a.png", 13: "b.png"}, all_uniforms, animated, (1, 6), 5, "full"),
        material(SKIN_FORMAT, shadows=5, decal=1),
        material(MESH_FORMAT, billboard=(0, 6), name="fakes", shadows=0),
    ]
    out.root(materials, 42, boxes=range(18))
    out.tree(
        [
            (-1, node("root", props=[prop(UINT, "p", "I", 1)])),
            (0, transform([*range(16)])),
            (1, node(b"\xff\0x", "model::TmpNumberRoot")),
            (0, bone()),
            (3, animation("model::ArgAnimatedBone", [(1, _K1)], inverted=[*range(16)])),
            (0, animation("model::ArgPositionNode", [(41, _K1), (1, [])])),
            (5, animation("model::ArgRotationNode", rotations=[(1, _K4)])),
            (5, animation("model::ArgScaleNode", scales=[(1, _K4, _K1)])),
            (0, animation("model::ArgScaleNode")),
            (8, animation("model::ArgAnimationNode", [(1, _K1)], [(2, _K4)])),
            (0, visibility((NONE, [(0, 1)]), (2, [(0, 0.5), (0.5, 1.0001)]))),
            (0, lod((0, 100), (100, 400))),
            (11, billboard()),
        ]
    )
    two = [[*row[:3], k, *row[4:]] for k, row in zip((0, 1, 1), TRIANGLE)]
    bones = [[x, 0, 0, bytes([0, 1, 1, 0]), 0, 0, 1, 0.5, 0.5, 0, 0] for x in range(3)]
    tail1 = lambda o: o.u32(1)  # noqa: E731
    tail2 = lambda o: o.u32(0, 2).f32(*range(6))  # noqa: E731
    tail3 = lambda o: o.u32(2, 1).f32(1).u32(NONE).f32(2).u32(3).f32(4).u32(5).f32(6).u32(0)  # noqa: E731
    big = [[*TRIANGLE[0]]] * 65537
    out.sections(
        CONNECTORS=[_connector],
        SHELL_NODES=[_shell, _shell_skin(True), _shell_skin(False), _segments],
        LIGHT_NODES=[_light(2, False), _light(3, True)],
        RENDER_NODES=[
            render(),
            render([(1, 5)], version=1, tail=tail1),
            render([(1, NONE), (2, 7)], two, version=2, tail=tail2),
            render([], [], []),
            render(rows=big, triangles=[0, 255, 256], code=1),
            render(rows=big, triangles=[0, 255, 65536], code=2),
            render([(1, NONE), (2, 7)], tail=tail3, type_name="model::NumberNode"),
            lambda o: skin_with(o, 1, bones, 0),
            lambda o: skin_with(o, 1, bones, 1),
            lambda o: skin_with(o, 1, bones, 2),
            _fake("model::FakeOmniLightsNode", False, 0, False),
            _fake("model::AnimatedFakeOmniLightsNode", False, 0, True),
            _fake("model::FakeSpotLightsNode", True, 1, False),
            _fake("model::AnimatedFakeSpotLightsNode", True, 2, True),
            _spot3,
        ],
    )
    return out.finish()


def skin_with(out: ZrmBytes, material_index: int, rows: Any, version: int) -> None:
    out.head("model::SkinNode", "skin", (), version).u32(0, material_index, 2, 3, 4, 8)
    if version >= 1:
        out.f32(-1, -1, -1, 1, 1, 1)
    if version >= 2:
        out.u32(1).f32(7, 8, 9)
    vertices(rows)(out)
    indices([0, 1, 2])(out)


@pytest.fixture(scope="module")
def full() -> ZrmFile:
    return parse(everything())


def test_tree_of_everything(full: ZrmFile) -> None:
    nodes: list[Any] = full.nodes
    assert full.parents.tolist() == [-1, 0, 1, 0, 3, 0, 5, 5, 0, 8, 0, 0, 11]
    assert [n.parent for n in nodes] == full.parents.tolist()
    assert nodes[1].matrix[3].tolist() == [12, 13, 14, 15]
    assert nodes[2].name == "\udcff\0x" and type(nodes[2]) is m.Node
    assert full.path(2) == "root/t/\udcff\0x"
    assert nodes[4].inverted_base_bone_matrix[0].tolist() == [0, 1, 2, 3]
    assert [len(c.keys) for c in nodes[5].position_channels] == [2, 0]
    assert nodes[5].position_channels[0].keys["value"].tolist() == [[1, 2, 3], [4, 5, 6]]
    assert nodes[7].scale_channels[0].rotation_keys["value"].tolist() == [[0, 0, 0, 1]]
    assert nodes[7].scale_channels[0].keys["time"].tolist() == [0, 1]
    assert nodes[8].base_rotation.tolist() == [0, 0, 0, 1] and nodes[8].base_scale.tolist() == [1, 1, 1]
    assert [(a.argument, a.ranges.tolist()) for a in nodes[10].arguments] == [
        (NONE, [[0, 1]]),
        (2, [[0, 0.5], [0.5, 1.0001]]),
    ]
    assert nodes[11].levels.tolist() == [[0, 100], [100, 400]]
    assert (nodes[12].mode, nodes[12].axis_mode, nodes[12].axis.tolist()) == (2, 3, [0, 1, 0])
    assert full.root.handle_count == 42
    assert full.root.light_box.tolist() == [[12, 13, 14], [15, 16, 17]]


def test_materials_of_everything(full: ZrmFile) -> None:
    first, second, third = full.materials
    values = [p.value for p in first.uniforms if isinstance(p, m.StaticProperty)]
    assert values == [0.5, 4000000000, (1, 2), (1, 2, 3), (1, 2, 3, 4), "ä"]
    assert [getattr(p, "argument") for p in first.animated_uniforms] == [6, 7, 8, 9, NONE]
    a1 = first.uniform("a1")
    assert isinstance(a1, m.AnimatedProperty) and a1.keys["value"].tolist() == [[1], [2]]
    assert {slot: t.name for slot, t in first.textures.items()} == {0: "a.png", 13: "b.png"}
    assert first.textures[0].sampler == (2, 2, 10, 6) and first.textures[0].transform.tolist()[3] == [0, 0, 0, 1]
    assert (first.billboard, first.decal_id, first.name) == ((1, 6), 5, "full")
    assert (second.billboard, second.decal_id, second.casts_shadow, second.shadow_flag2) == (None, 1, True, True)
    assert (third.billboard, third.decal_id, third.casts_shadow) == ((0, 6), 0, False)
    assert first.channel("albedo") == 0 and first.channel(12) is None
    assert second.vertex_format.tolist() == SKIN_FORMAT


def test_sections_of_everything(full: ZrmFile) -> None:
    (hook,) = full.connectors
    assert (hook.control, hook.version, [p.name for p in hook.properties]) == (2, 0, ["__VERSION__", "kind", "e"])
    shell, boxed, bare, segments = full.shell_nodes
    assert isinstance(shell, m.ShellNode) and shell.mesh.attribute("POSITION0").tolist() == [[1, 2, 3]]
    assert isinstance(boxed, m.ShellSkinNode) and isinstance(bare, m.ShellSkinNode)
    assert boxed.skin_box is not None and boxed.skin_box.tolist() == [[-1, -2, -3], [1, 2, 3]]
    assert bare.skin_box is None and bare.bones.tolist() == [3, 4] and bare.mesh.indices.tolist() == [0, 1, 1]
    assert isinstance(segments, m.SegmentsNode) and segments.segments[1].tolist() == [[6, 7, 8], [9, 10, 11]]
    old, new = full.light_nodes
    assert old.volume is None and old.texture is None and old.color.name == "color"
    assert new.volume is not None and new.volume.volume_type == 4 and new.volume.near_distance.name == "nearDistance"
    assert new.texture is not None and new.texture.name == "beam.png" and new.light_type == 1


def test_render_nodes_of_everything(full: ZrmFile) -> None:
    nodes: list[Any] = full.render_nodes
    assert [n.version for n in nodes[:3]] == [0, 1, 2]
    assert [n.purpose for n in nodes[:3]] == [0, 1, 0]
    assert nodes[2].pivots.tolist() == [[0, 1, 2], [3, 4, 5]]
    assert nodes[2].parents.tolist() == [[1, NONE], [2, 7]] and nodes[2].mesh.part_numbers().tolist() == [0, 1, 1]
    assert nodes[3].parents.shape == (0, 2) and nodes[3].mesh.vertices.shape == (0, 9)
    assert [n.mesh.indices.dtype.itemsize for n in nodes[3:6]] == [1, 2, 4]
    assert nodes[0].mesh.attribute("TEXCOORD0").tolist() == [[0, 0], [1, 0], [0, 1]]
    assert nodes[0].mesh.triangles().tolist() == [[0, 1, 2]]
    assert [rows["vFactor"].tolist() for rows in nodes[6].numbers] == [[2, 6], []]
    skins = nodes[7:10]
    assert [s.skin_box is not None for s in skins] == [False, True, True]
    assert skins[2].pivots.tolist() == [[7, 8, 9]] and skins[0].mesh.bone_indices().tolist() == [[0, 1, 1, 0]] * 3
    omni, animated_omni, spot, animated_spot, three = nodes[10:]
    assert omni.lights["size"].tolist() == [9, 9] and omni.lights["controlIndex"].tolist() == [0, 1]
    assert omni.controls.tolist() == [1, 2] and omni.animation is None
    assert animated_omni.animation.samples[1].tolist() == list(range(128, 256))
    assert spot.directions is None and spot.control_directions.tolist() == [[0, 0, 1]] * 2
    assert spot.lights["backSide"].tolist() == [0, 1] and spot.lights["position"].tolist()[1] == [1, 2, 3]
    assert animated_spot.directions.tolist() == [[1, 0, 0], [0, 1, 0]] and animated_spot.animation.argument == 4
    assert three.controls.tolist() == [0, 1] and three.mesh.vertices.shape == (2, 9)
