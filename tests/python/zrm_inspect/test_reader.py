"""What the reader refuses and what it warns of, and that nothing else comes of wrong bytes."""

import copy
import json
import math
import random
import struct

import pytest
from support.every_record import ANIMATED, EMPTY_MODEL, EVERY_RECORD, IDENTITY, STATIC, TEXTURE
from support.record_bytes import NONE, UINT, file_bytes
from support.small_files import (
    MESH_FORMAT, SKIN_FORMAT, TRIANGLE, bone, mesh, node, packed, render, skin, small, transform, vertex_format)  # fmt: skip
from zrm_inspect import ZrmError, build, dump, evaluate, examine, parse
from zrm_inspect.diff import compare
from zrm_inspect.outline import tree_lines
from zrm_inspect.stats import tables
from zrm_inspect.why import apart

pytestmark = pytest.mark.filterwarnings("error")

SMALL = EVERY_RECORD | {"OTHER": [], "CONNECTORS": []}
SMALL["render_nodes"] = [n for n in EVERY_RECORD["render_nodes"] if "words" not in n["name"]]


def edited(path, value):
    """The file of every record with one value changed; `path` is its keys, joined by dots."""
    file = copy.deepcopy(SMALL)
    *way, last = [int(key) if key.isdigit() else key for key in path.split(".")]
    place = file
    for key in way:
        place = place[key]
    place[last] = value
    return file_bytes(file)


PATCHES = [  # position in the empty model, bytes put there, code and offset of the error, part of its text
    (0, b"ZRN", "magic", 0, "no ZRM file"), (3, b"\x08", "version", 3, "version 8"), (5, b"E", "value", 77, "NUL"),
    (5, b"\xff\xff\xff\xff", "count", 5, "size of the string table"), (67, b"__VERSION__", "duplicate", 67, "twice"),
    (86, b"\x01", "reserved", 79, "reserved"), (87, b"\x01", "order", 87, "used before string 0"),
    (87, b"\x04", "reference", 87, "table of 4"), (91, b"\xff\xff\xff\xff", "count", 91, "length of the name"),
    (95, b"\x01", "reserved", 95, "reserved"), (99, b"\xff\xff\xff\xff", "count", 99, "number of properties"),
    (99, b"\x00", "version", 103, "version 0"), (103, b"\x00", "type", 103, "no type of a property"),
    (111, b"\x02", "version", 103, "version 2"), (259, b"\x01", "count", 259, "number of materials"),
    (263, b"\x01", "reserved", 263, "reserved"), (267, b"\x01", "handles", 267, "handles"),
    (271, b"\x00", "count", 271, "without nodes"), (271, b"\x02", "count", 271, "number of tree nodes"),
    (275, b"\x00", "type", 275, "no type of a tree node"), (287, b"\x01", "reserved", 287, "reserved"),
    (291, b"\x01", "count", 291, "number of properties"), (295, b"\x00\x00\x00\x00", "order", 295, "has the parent 0"),
    (299, b"\x05", "count", 299, "5 sections"), (299, b"\x01", "truncated", 303, "file ends"),
    (303, b"\x00", "trailing", 303, "behind the end")]  # fmt: skip


@pytest.mark.parametrize("position, change, code, offset, text", PATCHES)
def test_patched_empty_model(position, change, code, offset, text):
    assert small([(-1, node() | {"name": "root"})]) == EMPTY_MODEL
    data = EMPTY_MODEL[:position] + change + EMPTY_MODEL[position + len(change) :]
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    assert str(caught.value).startswith(f"offset {offset}: ")
    _, faults = examine(data)
    assert (faults[0].code, faults[0].severity, faults[0].offset) == (code, "error", offset)


WOOD = TEXTURE | {"name": "wood"}
REFUSED = [  # path in the file of every record, value put there, code and part of the text
    ("nodes.1.parent", -1, "order", "second node without a parent"), ("nodes.1.parent", 1, "order", "doesn't stand before"),
    ("nodes.1.parent", 5, "order", "doesn't stand before"), ("nodes.9.parent", 2, "order", "breaks the pre-order"),
    ("nodes.11.type_name", "model::ShellNode", "type", "no type of a tree node"),
    ("nodes.4.type_name", "model::ArgScaleNode", "channels", "has the channels of"),
    ("nodes.5.position_channels.0.argument", NONE, "argument", "has no argument"),
    ("nodes.6.rotation_channels.0.argument", NONE, "argument", "has no argument"),
    ("nodes.4.scale_channels.0.argument", NONE, "argument", "has no argument"), ("root.handle_count", 34, "handles", "34 handles where 35"),
    ("root.handle_count", 36, "handles", "36 handles where 35"), ("root.materials.0.uniforms", ANIMATED, "type", "among the static"),
    ("root.materials.0.animated_uniforms", STATIC, "type", "among the animated"),
    ("root.materials.1.textures", {19: WOOD}, "value", "texture slot 19"),
    ("root.materials.1.textures", {3: WOOD, 1: WOOD}, "order", "slot 1 stands after slot 3"),
    ("root.materials.1.textures", {2: WOOD, 13: WOOD}, "duplicate", "2 and 13"),
    ("root.materials.0.textures.0.name", "Wood.png", "capitals", "capitals"), ("root.materials.0.casts_shadow", 2, "value", "shadow bits"),
    ("root.materials.0.depth_bias", 2, "value", "depth bias is 2"),
    ("root.materials.0.vertex_format", vertex_format(POSITION0=4), "count", "6 floats a vertex where the format has 4"),
    ("render_nodes.4.material", 1, "unused", "used by no render node"), ("render_nodes.4.material", 3, "reference", "material 3 of 3"),
    ("render_nodes.0.material", 1, "order", "material 1 is used before material 0"),
    ("render_nodes.0.parents.0.0", 12, "reference", "parent 12 of 12"), ("render_nodes.3.parents.1.0", 12, "reference", "parent 12 of 12"),
    ("render_nodes.0.mesh.width", 1, "index-width", "wider than"),
    ("render_nodes.0.mesh", SMALL["render_nodes"][0]["mesh"] | {"indices": [0, 1, 255], "width": 1}, "index-width", "wider than"),
    ("render_nodes.0.mesh", SMALL["render_nodes"][0]["mesh"] | {"indices": [0, 1, 65535], "width": 2}, "index-width", "wider than"),
    ("render_nodes.4.mesh.width", 2, "index-width", "wider than"), ("render_nodes.1.purpose", 2, "value", "purpose is 2"),
    ("render_nodes.2.pivots", [[0, 0, 0]] * 7, "value", "7 pivots"),
    ("render_nodes.1.properties", [(UINT, "__VERSION__", 3)], "version", "version 3"), ("render_nodes.6.bones.0", 12, "reference", "bone 12 of 12"),
    ("render_nodes.6.bones.1", 1, "reference", "no bone"), ("render_nodes.8.controls.1", 12, "reference", "12 of 12"),
    ("render_nodes.8.animation.argument", NONE, "argument", "has no argument"),
    ("render_nodes.8.animation.samples", [[0.0] * 128], "count", "is 128, not 256"), ("render_nodes.11.controls.1", 12, "reference", "12 of 12"),
    ("render_nodes.0.type_name", "model::ShellNode", "type", "no type of a record in RENDER_NODES"),
    ("connectors.0.control", 12, "reference", "control node 12 of 12"), ("shell_nodes.0.control", 12, "reference", "control node 12 of 12"),
    ("shell_nodes.1.control", 12, "reference", "control node 12 of 12"), ("light_nodes.0.control", 12, "reference", "control node 12 of 12"),
    ("light_nodes.0.light_type", 2, "value", "light type is 2"),
    ("light_nodes.0.volume", SMALL["light_nodes"][1]["volume"], "count", "is 10, not 7"),
    ("light_nodes.1.volume.near_distance", ("model::ArgumentProperty", "near", 3), "type", "no type of a volume setting"),
    ("shell_nodes.3.skin_box", [[0, 0, 0], [1, -1, 1]], "box", "isn't valid"),
    ("shell_nodes.3.skin_box", [[0, 0, float("nan")], [1, 1, 1]], "box", "isn't valid"),
    ("shell_nodes.3.skin_box", [[0, 0, 0]], "value", "neither"), ("sections", ["light_nodes", "connectors"], "order", "out of order"),
    ("sections", ["OTHER"], "type", "no name of a section"), ("sections", ["CONNECTORS"], "count", "is empty")]  # fmt: skip


@pytest.mark.parametrize("path, value, code, text", REFUSED)
def test_refused(path, value, code, text):
    data = edited(path, value)
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    _, faults = examine(data)
    fault = next(fault for fault in faults if fault.severity == "error")
    assert (fault.code, fault.offset) == (code, caught.value.offset) and 9 <= fault.offset <= len(data)
    section, _, rest = path.partition(".")
    expected = {"root": "", "sections": ""}.get(section, f"{section}[{rest.partition('.')[0]}]")
    assert fault.record.startswith(expected) or code in ("unused", "argument", "reference")  # some are shared by records


def test_every_fault_is_found():
    """Faults behind which reading can go on, each where it is."""
    file = copy.deepcopy(SMALL)
    file["root"]["materials"][0] |= {"depth_bias": 7, "channels": [9, *[-1] * 12]}
    file["nodes"][5]["position_channels"][1]["keys"] = [(2.0, [0.0] * 3), (1.0, [0.0] * 3)]
    file["light_nodes"][0]["control"] = 99
    file["render_nodes"][1]["purpose"] = 5
    file["root"]["handle_count"] = 77
    data = file_bytes(file)
    found = [(f.code, f.record, struct.unpack_from("<I", data, f.offset)[0]) for f in examine(data)[1]]
    expected = [("value", "materials[0]", 7), ("reference", "light_nodes[0]", 99), ("value", "render_nodes[1]", 5), ("handles", "", 77)]
    assert found[:4] == expected and found[4] == ("uv-channel", "materials[0]", 9)
    assert [entry for entry in found[5:] if entry[0] == "key-order"] == [("key-order", "nodes[5]", 0)]
    assert {code for code, *_ in found[5:]} == {"key-order", "levels"}


def test_refused_names():
    for old, new in ((b"NAME", b"NAMF"), (b"DECAL", b"DECAM"), (b"BILLBOARD", b"BILLBOARE")):
        with pytest.raises(ZrmError, match=f"material field '{new.decode()}'"):
            parse(file_bytes(SMALL).replace(b"\0" + old + b"\0", b"\0" + new + b"\0"))


def test_prefixes_fail():
    """Every one of the small file; of the full one every seventh, which still meets each kind of field."""
    for data, step in ((EMPTY_MODEL, 1), (file_bytes(SMALL), 7)):
        parse(data)
        for size in range(0, len(data), step):
            with pytest.raises(ZrmError):
                parse(data[:size])


def test_changed_bytes_raise_nothing_else():
    """A changed byte gives another legal file or a ZrmError; what is legal can be told and evaluated."""
    good, choose, legal = file_bytes(SMALL), random.Random(20), 0
    for _ in range(600):
        data, position = bytearray(good), choose.randrange(len(good))
        data[position] = choose.choice((0, 1, 0x7F, 0x80, 0xFF, choose.randrange(256)))
        try:
            file = parse(bytes(data))
        except ZrmError as error:
            assert 0 <= error.offset <= len(data)
            continue
        legal += 1
        assert build(json.loads(json.dumps(dump(file), allow_nan=False))) == bytes(data)
        list(tree_lines(file))
        tables(file, 5)
        list(apart(file))
        list(compare(file, file, 0))
        try:
            evaluate(file, {1: 0.5})
        except ValueError:
            pass
    assert legal > 60  # most bytes are floats, which may hold anything


NUMBER_FORMAT = vertex_format(POSITION0=4, COLOR1=1)
TWO_CONTROLS = [[(NONE, 0.0, NONE, 0.0)] * 2]
display = lambda number: render(rows=[[0, 0, 0, 0, number]] * 3) | {"type_name": "model::NumberNode", "numbers": TWO_CONTROLS}
bent = lambda number, weight: skin([0], [[0, 0, 0, packed(0, number, 0, 0), 0, 0, 1, 1, weight, 0, 0]] * 3)


UNUSABLE = [  # something drawn, its format, the warnings with the bytes at their places, why it can't be evaluated
    (render(triangles=[0, 1, 3]), MESH_FORMAT, [("index", b"\3")], "index 3 of 3"),
    (render(triangles=[0, 1]), MESH_FORMAT, [("triangles", b"\2\0\0\0")], ""),
    (render(mesh=mesh(TRIANGLE, primitive_type=3)), MESH_FORMAT, [("primitive", b"\3\0\0\0")], ""),
    (render(rows=[[math.inf, 0, 0, 0] + [0] * 5] * 3), MESH_FORMAT, [("not-finite", b"\0\0\x80\x7f")], ""),
    (render(rows=[[0, 0, 0, 1] + [0] * 5] * 3), MESH_FORMAT, [("part", b"\0\0\x80\x3f")], "vertex of parent 1 of 1"),
    (render(rows=[[0, 0, 0, math.nan] + [0] * 5] * 3), MESH_FORMAT, [("part", b"\0\0\xc0\x7f")], "vertex of parent -1 of 1"),
    (bent(7, 0.5), SKIN_FORMAT, [("bone", b"\7")], "vertex of bone 7 of 1"), (bent(7, 0), SKIN_FORMAT, [], ""),
    (display(2.0), NUMBER_FORMAT, [("number", b"\0\0\0\x40")], ""), (display(1.0), NUMBER_FORMAT, [], ""),
    (render(rows=[[0, 0]] * 3), vertex_format(POSITION0=2), [], "a position of 2 floats"),
    (render(rows=[[0] * 5] * 3), vertex_format(POSITION0=4, NORMAL0=1), [], "a direction of 1 floats")]  # fmt: skip


@pytest.mark.parametrize("record, form, warnings, text", UNUSABLE)
def test_unusable_meshes(record, form, warnings, text):
    data = small([(-1, bone())], form=form, render_nodes=[record])
    file = parse(data)
    assert [(f.code, f.record) for f in file.faults] == [(code, "render_nodes[0]") for code, _ in warnings]
    for fault, (_, raw) in zip(file.faults, warnings):
        assert data[fault.offset :].startswith(raw) and fault.severity == "warning"
    if text:
        with pytest.raises(ValueError, match=text):
            evaluate(file, {})


def test_deep_chain():
    """No recursion: 20,000 nested nodes."""
    count = 20_000
    one = transform([*IDENTITY[:3], [1, 0, 0, 1]])
    file = parse(small([(k - 1, one) for k in range(count)]))
    assert file.parents[-1] == count - 2
    assert evaluate(file, {}).world[-1].tolist()[3] == [count, 0, 0, 1]
    assert sum(len(line) < 200 for line, _ in tree_lines(file)) == count
    assert file.path(count - 1) == "/".join("t" * count)
