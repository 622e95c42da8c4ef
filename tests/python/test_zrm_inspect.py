"""The reader of ZRM files, against files that are put together byte by byte."""

from __future__ import annotations

import json
import random
import struct
import sys
from collections.abc import Callable
from pathlib import Path
from typing import Any

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

from zrm_inspect import ZrmError, ZrmFile, evaluate, parse, read_file  # noqa: E402
from zrm_inspect import model as m  # noqa: E402
from zrm_inspect.__main__ import main  # noqa: E402
from zrm_inspect.data import as_data  # noqa: E402
from zrm_inspect.summary import summary_lines, tree_lines  # noqa: E402

pytestmark = pytest.mark.filterwarnings("error")

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


def everything(big: bool = True) -> bytes:
    """At least one of every record, optional field and version; the wider indices only when `big`."""
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

    def tail1(o: ZrmBytes) -> None:
        o.u32(1)

    def tail2(o: ZrmBytes) -> None:
        o.u32(0, 2).f32(*range(6))

    def tail3(o: ZrmBytes) -> None:
        o.u32(2, 1).f32(1).u32(NONE).f32(2).u32(3).f32(4).u32(5).f32(6).u32(0)

    def box(o: ZrmBytes) -> None:
        o.f32(-1, -1, -1, 1, 1, 1)

    def box_and_pivot(o: ZrmBytes) -> None:
        o.f32(-1, -1, -1, 1, 1, 1).u32(1).f32(7, 8, 9)

    many = [TRIANGLE[0]] * 65537
    wide = [render(rows=many, triangles=[0, 255, 256]), render(rows=many, triangles=[0, 255, 65536])] if big else []
    out.sections(
        CONNECTORS=[_connector],
        SHELL_NODES=[_shell, _shell_skin(True), _shell_skin(False), _segments],
        LIGHT_NODES=[_light(2, False), _light(3, True)],
        RENDER_NODES=[
            render(),
            render([(1, 5)], version=1, tail=tail1),
            render([(1, NONE), (2, 7)], two, version=2, tail=tail2),
            render([], [], []),
            *wide,
            render([(1, NONE), (2, 7)], tail=tail3, type_name="model::NumberNode"),
            skin([3, 4], bones, material_index=1, argument=8),
            skin([3, 4], bones, material_index=1, argument=8, version=1, extra=box),
            skin([3, 4], bones, material_index=1, argument=8, version=2, extra=box_and_pivot),
            _fake("model::FakeOmniLightsNode", False, 0, False),
            _fake("model::AnimatedFakeOmniLightsNode", False, 0, True),
            _fake("model::FakeSpotLightsNode", True, 1, False),
            _fake("model::AnimatedFakeSpotLightsNode", True, 2, True),
            _spot3,
        ],
    )
    return out.finish()


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
    animated: list[Any] = first.animated_uniforms
    values = [p.value for p in first.uniforms if isinstance(p, m.StaticProperty)]
    assert values == [0.5, 4000000000, (1, 2), (1, 2, 3), (1, 2, 3, 4), "ä"]
    assert [p.argument for p in animated] == [6, 7, 8, 9, NONE]
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


# ---------------------------------------------------------------- what is refused


PATCHES = [  # position in the empty model, bytes put there, offset of the error, part of the text
    (0, b"ZRN", 0, "no ZRM file"),
    (3, b"\x08", 3, "version 8"),
    (5, b"\x45", 77, "NUL"),
    (5, b"\xff\xff\xff\xff", 5, "size of the string table"),
    (67, b"__VERSION__", 67, "twice"),
    (86, b"\x01", 79, "reserved"),
    (87, b"\x01", 87, "used before string 0"),
    (87, b"\x04", 87, "table of 4"),
    (91, b"\xff\xff\xff\xff", 91, "length of the name"),
    (95, b"\x01", 95, "reserved"),
    (99, b"\xff\xff\xff\xff", 99, "number of properties"),
    (99, b"\x00", 103, "version 0"),
    (103, b"\x00", 103, "no type of a property"),
    (111, b"\x02", 103, "version 2"),
    (259, b"\x01", 259, "number of materials"),
    (263, b"\x01", 263, "reserved"),
    (267, b"\x01", 267, "handles"),
    (271, b"\x00", 271, "without nodes"),
    (271, b"\x02", 271, "number of tree nodes"),
    (275, b"\x00", 275, "no type of a tree node"),
    (287, b"\x01", 287, "reserved"),
    (291, b"\x01", 291, "number of properties"),
    (295, b"\x00\x00\x00\x00", 295, "has the parent 0"),
    (299, b"\x05", 299, "5 sections"),
    (299, b"\x01", 303, "file ends"),
    (303, b"\x00", 303, "behind the end"),
]


@pytest.mark.parametrize("position, change, offset, text", PATCHES)
def test_patched_empty_model(position: int, change: bytes, offset: int, text: str) -> None:
    data = EMPTY_MODEL[:position] + change + EMPTY_MODEL[position + len(change) :]
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    assert caught.value.offset == offset and str(caught.value).startswith(f"offset {offset}: ")


def _tree(*nodes: tuple[int, Any], handles: int = 0) -> bytes:
    return simple([(-1, node("root")), *nodes], handles)


def _mat(**changes: Any) -> bytes:
    return ZrmBytes().root([material(**changes)]).tree([(-1, node())]).sections(RENDER_NODES=[render()]).finish()


def _nodes(**members: Any) -> bytes:
    tree = [(-1, node("root")), (0, transform()), (1, node()), (0, bone()), (3, bone())]
    handles = 5 if "Animated" in str(members) else 0
    materials = [material()] * (1 + 2 * ("fakes" in members)) if "RENDER_NODES" in members else []
    members.pop("fakes", None)
    return ZrmBytes().root(materials, handles).tree(tree).sections(**members).finish()


def _edit(data: bytes, old: bytes, new: bytes) -> bytes:
    assert data.count(old) == 1 and len(old) == len(new)
    return data.replace(old, new)


def _raw(form: str, *values: Any) -> Callable[[ZrmBytes], object]:
    return lambda out: out.pack(form, *values)


def _with_string(data: Callable[[ZrmBytes], object]) -> bytes:
    out = ZrmBytes()
    data(out.root().tree([(-1, node())]).u32(0))
    return out.finish()


def _fields(*names: str) -> bytes:
    """A material with these fields behind the ten that are always there."""

    def write(out: ZrmBytes) -> None:
        start = len(out.body)
        material()(out)
        out.body[start] += len(names)
        for name in names:
            out.text(name).u8(*([1, 1] if name == "BILLBOARD" else [1]))

    return ZrmBytes().root([write]).tree([(-1, node())]).sections(RENDER_NODES=[render()]).finish()


def _light_tail(kind: int, count: int, mark: int) -> bytes:
    def write(out: ZrmBytes) -> None:
        out.head("model::LightNode", "", (), 2).u32(0).u8(kind).u32(count)
        for name in _SEVEN:
            prop("model::Property<float>", name, "f", 1)(out)
        out.u8(mark)

    return _nodes(LIGHT_NODES=[write])


def _samples(argument: int, per_light: int, count: int) -> bytes:
    def write(out: ZrmBytes) -> None:
        out.head("model::AnimatedFakeOmniLightsNode").u32(0, 0, 1, 0, 0, 0, argument, per_light, count)

    handles = argument + 1 if argument != NONE else 0
    return ZrmBytes().root([material()], handles).tree([(-1, node())]).sections(RENDER_NODES=[write]).finish()


def _skin_bones(*bones: int) -> bytes:
    return _nodes(RENDER_NODES=[skin(bones, TRIANGLE)])


def _shell_box(*floats: float) -> bytes:
    def write(out: ZrmBytes) -> None:
        out.head("model::ShellSkinNode").u32(0, NONE).f32(*floats).u32(27).u8(*vertex_format(POSITION0=3))
        vertices([])(out)
        indices([])(out)

    return _nodes(SHELL_NODES=[write])


REFUSED: list[tuple[str, bytes, str]] = [
    ("unused string", _with_string(lambda o: o.strings.append(b"more")), "'more', is used nowhere"),
    ("second top", _tree((-1, node())), "second node without a parent"),
    ("own parent", _tree((1, node())), "doesn't stand before"),
    ("later parent", _tree((2, node()), (0, node())), "doesn't stand before"),
    ("no pre-order", _tree((0, node()), (0, node()), (1, node())), "breaks the pre-order"),
    ("shell as node", _tree((0, node("", "model::ShellNode"))), "no type of a tree node"),
    ("wrong animation name", _tree((0, animation("model::ArgAnimationNode"))), "has the channels of"),
    ("no handle", _tree((0, animation("model::ArgPositionNode", [(NONE, [])]))), "has no argument"),
    ("too few handles", _tree((0, visibility((3, []))), handles=3), "3 handles where 4"),
    ("too many handles", _tree((0, visibility((3, []))), handles=5), "5 handles where 4"),
    (
        "key count",
        _edit(_tree((0, visibility((77, [])))), b"M\0\0\0\0\0\0\0", b"M\0\0\0\0\0\0\x10"),
        "number of ranges",
    ),
    ("static uniform", _mat(uniforms=[prop("model::ArgumentProperty", "a", "I", 0)]), "among the static"),
    ("animated uniform", _mat(animated=[prop(UINT, "a", "I", 0)]), "among the animated"),
    ("texture slot", _mat(textures={19: "a"}), "texture slot 19"),
    ("slot order", _mat(textures={3: "a", 1: "b"}), "slot 1 stands after slot 3"),
    ("slots 2 and 13", _mat(textures={2: "a", 13: "b"}), "2 and 13"),
    ("capitals", _mat(textures={2: "Wood.png"}), "capitals"),
    ("shadow bits", _mat(shadows=2), "shadow bits"),
    ("channels", _edit(_mat(), struct.pack("<IiI", 13, 0, NONE), struct.pack("<IiI", 12, 0, NONE)), "channels"),
    ("decal before billboard", _fields("DECAL", "BILLBOARD"), "in a wrong place"),
    ("two billboards", _fields("BILLBOARD", "BILLBOARD"), "in a wrong place"),
    ("field twice", _fields("NAME"), "in a wrong place"),
    ("three more fields", _fields("BILLBOARD", "DECAL", "DECAL"), "a material of 13 fields"),
    ("format and width", _mat(form=vertex_format(POSITION0=4)), "9 floats a vertex where the format has 4"),
    ("unused material", ZrmBytes().root([material()]).tree([(-1, node())]).u32(0).finish(), "used by no render node"),
    ("material range", _nodes(RENDER_NODES=[render(material_index=1)]), "material 1 of 1"),
    (
        "material order",
        _nodes(fakes=1, RENDER_NODES=[render(material_index=k) for k in (0, 2, 1)]),
        "before material 1",
    ),
    ("parent range", _nodes(RENDER_NODES=[render([(5, NONE)])]), "parent 5 of 5"),
    ("parents range", _nodes(RENDER_NODES=[render([(0, NONE), (9, NONE)])]), "parent 9 of 5"),
    ("wide indices", _nodes(RENDER_NODES=[render(code=1)]), "wider than"),
    ("one byte is enough", _nodes(RENDER_NODES=[render(triangles=[0, 1, 255], code=1)]), "wider than"),
    ("two bytes are enough", _nodes(RENDER_NODES=[render(triangles=[0, 1, 65535], code=2)]), "wider than"),
    ("wide empty", _nodes(RENDER_NODES=[render([], [], [], code=2)]), "wider than"),
    ("index format", _edit(_nodes(RENDER_NODES=[render()]), b"\0\3\0\0\0\5", b"\3\3\0\0\0\5"), "index format 3"),
    ("index count", _edit(_nodes(RENDER_NODES=[render()]), b"\0\3\0\0\0\5", b"\0\4\0\0\0\5"), "4 indices"),
    ("purpose", _nodes(RENDER_NODES=[render(version=1, tail=_raw("I", 2))]), "purpose 2"),
    ("pivots", _nodes(RENDER_NODES=[render(version=2, tail=_raw("II84s", 0, 7, b""))]), "7 pivots"),
    ("render version", _nodes(RENDER_NODES=[render(version=3, tail=_raw("II", 0, 0))]), "version 3"),
    ("bone range", _skin_bones(3, 5), "bone 5 of 5"),
    ("no bone", _skin_bones(3, 1), "no bone"),
    ("shell as render node", _nodes(RENDER_NODES=[_shell]), "no type of a record in RENDER_NODES"),
    ("section order", _nodes(LIGHT_NODES=[_light(2, False)], CONNECTORS=[_connector]), "out of order"),
    ("section name", _nodes(OTHER=[_connector]), "no name of a section"),
    ("empty section", _nodes(CONNECTORS=[], SHELL_NODES=[_shell]), "is empty"),
    ("light type", _light_tail(2, 7, 0), "light type 2"),
    ("light properties", _light_tail(0, 8, 0), "is 8, not 7"),
    ("texture mark", _light_tail(0, 7, 2), "texture mark"),
    ("sample argument", _samples(NONE, 128, 0), "has no argument"),
    ("samples per light", _samples(1, 64, 0), "is 64, not 128"),
    ("sample count", _samples(1, 128, 128), "is 128, not 0"),
    ("shell box upside down", _shell_box(0, 0, 0, 1, -1, 1), "isn't valid"),
    ("shell box NaN", _shell_box(0, 0, float("nan"), 1, 1, 1), "isn't valid"),
    ("shell without format", _shell_box(0, 0, 0), "neither"),
]


@pytest.mark.parametrize("data, text", [case[1:] for case in REFUSED], ids=[case[0] for case in REFUSED])
def test_refused(data: bytes, text: str) -> None:
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    assert 87 <= caught.value.offset <= len(data) or text.endswith("nowhere")


def test_prefixes_fail() -> None:
    """Every one of the small file; of the full one every third, which still meets each kind of field."""
    for data, step in ((EMPTY_MODEL, 1), (everything(big=False), 3)):
        parse(data)
        for size in range(0, len(data), step):
            with pytest.raises(ZrmError):
                parse(data[:size])


def test_single_byte_changes_raise_nothing_else() -> None:
    """A changed byte gives another legal file or a ZrmError; what is legal can be told and evaluated."""
    good = everything(big=False)
    choose = random.Random(20)
    legal = 0
    for _ in range(1000):
        data = bytearray(good)
        position = choose.randrange(len(data))
        data[position] = choose.choice((0, 1, 0x7F, 0x80, 0xFF, choose.randrange(256)))
        try:
            file = parse(bytes(data))
        except ZrmError as error:
            assert 0 <= error.offset <= len(data)
            continue
        legal += 1
        as_data(file)
        list(summary_lines(file))
        try:
            evaluate(file, {1: 0.5})
        except ValueError:
            pass
    assert legal > 100  # most bytes are floats, which may hold anything


def test_huge_counts_allocate_nothing() -> None:
    """Each word of a small file set to the largest number: an error at once, not a request for gigabytes."""
    good = everything(big=False)
    for position in range(3, len(good) - 4, 11):
        data = good[:position] + b"\xfe\xff\xff\xff" + good[position + 4 :]
        try:
            parse(data)
        except ZrmError:
            pass


WARNED = [
    ("index beyond the vertices", [render(triangles=[0, 1, 3])], "index 3 of 3 vertices"),
    ("no whole triangles", [render(triangles=[0, 1])], "no whole number"),
    ("parent beyond the list", [render(rows=[[0, 0, 0, 1, 0, 0, 1, 0, 0]] * 3)], "vertex of parent 1 of 1"),
    ("bone beyond the list", [skin([3], [[0, 0, 0, b"\0\0\0\2", 0, 0, 1, 0, 0]] * 3)], "vertex of bone 2 of 1"),
]


@pytest.mark.parametrize("members, text", [case[1:] for case in WARNED], ids=[case[0] for case in WARNED])
def test_warned(members: list[Any], text: str) -> None:
    (warning,) = parse(_nodes(RENDER_NODES=members)).warnings
    assert text in warning[1] and warning[0] > 87


def test_bones_without_weight_are_not_warned_of() -> None:
    for weight, warnings in ((0, 0), (0.5, 1)):
        rows = [[0, 0, 0, bytes([0, 7, 0, 0]), 0, 0, 1, 1, weight, 0, 0]] * 3
        out = ZrmBytes().root([material(SKIN_FORMAT)]).tree([(-1, bone())])
        assert len(parse(out.sections(RENDER_NODES=[skin([0], rows)]).finish()).warnings) == warnings


def test_deep_chain() -> None:
    """No recursion, and near-linear: 50,000 nested nodes."""
    count = 50_000
    out = ZrmBytes().root().u32(count)
    start = len(out.body)
    transform([*IDENTITY[:12], 1, 0, 0, 1], "")(out)
    record = bytes(out.body[start:])
    out.body += record * (count - 1)
    data = out.u32(NONE, *range(count - 1), 0).finish()
    file = parse(data)
    assert file.parents[-1] == count - 2
    assert evaluate(file, {}).world[-1].tolist()[3] == [count, 0, 0, 1]
    assert sum(len(line) < 200 for line in tree_lines(file)) == count
    assert file.path(count - 1) == "/" * (count - 1)


COUNTED = [  # handles, and what names an argument in the root, the tree or a render node
    (0, [], [], ()),
    (0, [prop("model::ArgumentProperty", "a", "I", 9)], [], ()),  # the root's own properties don't count
    (10, [], [prop("model::ArgumentProperty", "a", "I", 9)], ()),
    (0, [], [prop("model::ArgumentProperty", "a", "I", NONE)], ()),
    (8, [], [], [render([(0, 7)])]),
    (8, [], [], [render([(0, 7), (0, 6)])]),
    (6, [], [], [render([(0, 1)], type_name="model::NumberNode", tail=_raw("IIfIf", 1, 5, 1, 4, 1))]),
    (5, [], [], [render([(0, 1)], type_name="model::NumberNode", tail=_raw("IIfIf", 1, NONE, 1, 4, 1))]),
]


@pytest.mark.parametrize("handles, of_root, of_node, renders", COUNTED)
def test_handle_count(handles: int, of_root: Any, of_node: Any, renders: Any) -> None:
    for told in (handles, handles + 1):
        out = ZrmBytes().root([material()] if renders else [], told, props=of_root).tree([(-1, node(props=of_node))])
        data = out.sections(**({"RENDER_NODES": renders} if renders else {})).finish()
        if told == handles:
            assert parse(data).root.handle_count == handles
        else:
            with pytest.raises(ZrmError, match="handles"):
                parse(data)


# ---------------------------------------------------------------- command line


def test_command_line(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    good, bad = tmp_path / "good.zrm", tmp_path / "bad.zrm"
    good.write_bytes(everything(big=False))
    bad.write_bytes(EMPTY_MODEL[:-1])
    assert read_file(good).size == good.stat().st_size
    assert main([str(good), "--tree", "--strings"]) == 0
    told = capsys.readouterr().out
    assert "uniforms: 11;" in told and "(42 handles)" in told
    assert "TmpNumberRoot '\\udcff\\x00x'" in told and "'beam.png'" in told
    assert main([str(good), "--json"]) == 0
    data = json.loads(capsys.readouterr().out)
    assert [entry["class"] for entry in data["connectors"]] == ["Connector"] and len(data["nodes"]) == 13
    assert main([str(bad), str(good)]) == 1
    assert capsys.readouterr().err == f"{bad}: offset 299: the file ends here: 4 bytes needed, 3 left\n"
    assert main([str(tmp_path / "none")]) == 1
