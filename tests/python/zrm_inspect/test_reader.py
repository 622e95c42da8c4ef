"""What the reader refuses and what it warns of, and that nothing else comes of wrong bytes."""

import copy
import json
import math
import random

import pytest
from support.every_record import ANIMATED, EMPTY_MODEL, EVERY_RECORD, IDENTITY, STATIC, TEXTURE
from support.record_bytes import NONE, UINT, file_bytes
from support.small_files import MESH_FORMAT, SKIN_FORMAT, bone, node, packed, render, skin, small, transform, vertex_format
from zrm_inspect import ZrmError, evaluate, parse, read_file
from zrm_inspect.__main__ import main
from zrm_inspect.data import as_data
from zrm_inspect.summary import summary_lines, tree_lines

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


PATCHES = [  # position in the empty model, bytes put there, offset of the error, part of the text
    (0, b"ZRN", 0, "no ZRM file"), (3, b"\x08", 3, "version 8"), (5, b"\x45", 77, "NUL"),
    (5, b"\xff\xff\xff\xff", 5, "size of the string table"), (67, b"__VERSION__", 67, "twice"),
    (86, b"\x01", 79, "reserved"), (87, b"\x01", 87, "used before string 0"), (87, b"\x04", 87, "table of 4"),
    (91, b"\xff\xff\xff\xff", 91, "length of the name"), (95, b"\x01", 95, "reserved"),
    (99, b"\xff\xff\xff\xff", 99, "number of properties"), (99, b"\x00", 103, "version 0"),
    (103, b"\x00", 103, "no type of a property"), (111, b"\x02", 103, "version 2"),
    (259, b"\x01", 259, "number of materials"), (263, b"\x01", 263, "reserved"), (267, b"\x01", 267, "handles"),
    (271, b"\x00", 271, "without nodes"), (271, b"\x02", 271, "number of tree nodes"),
    (275, b"\x00", 275, "no type of a tree node"), (287, b"\x01", 287, "reserved"),
    (291, b"\x01", 291, "number of properties"), (295, b"\x00\x00\x00\x00", 295, "has the parent 0"),
    (299, b"\x05", 299, "5 sections"), (299, b"\x01", 303, "file ends"), (303, b"\x00", 303, "behind the end")]  # fmt: skip


@pytest.mark.parametrize("position, change, offset, text", PATCHES)
def test_patched_empty_model(position, change, offset, text):
    assert small([(-1, node() | {"name": "root"})]) == EMPTY_MODEL
    data = EMPTY_MODEL[:position] + change + EMPTY_MODEL[position + len(change) :]
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    assert caught.value.offset == offset and str(caught.value).startswith(f"offset {offset}: ")


WOOD = TEXTURE | {"name": "wood"}
REFUSED = [  # path in the file of every record, value put there, part of the text
    ("nodes.1.parent", -1, "second node without a parent"), ("nodes.1.parent", 1, "doesn't stand before"),
    ("nodes.1.parent", 5, "doesn't stand before"), ("nodes.9.parent", 2, "breaks the pre-order"),
    ("nodes.11.type_name", "model::ShellNode", "no type of a tree node"),
    ("nodes.4.type_name", "model::ArgScaleNode", "has the channels of"),
    ("nodes.5.position_channels.0.argument", NONE, "has no argument"),
    ("nodes.6.rotation_channels.0.argument", NONE, "has no argument"),
    ("nodes.4.scale_channels.0.argument", NONE, "has no argument"), ("root.handle_count", 34, "34 handles where 35"),
    ("root.handle_count", 36, "36 handles where 35"), ("root.materials.0.uniforms", ANIMATED, "among the static"),
    ("root.materials.0.animated_uniforms", STATIC, "among the animated"),
    ("root.materials.1.textures", {19: WOOD}, "texture slot 19"),
    ("root.materials.1.textures", {3: WOOD, 1: WOOD}, "slot 1 stands after slot 3"),
    ("root.materials.1.textures", {2: WOOD, 13: WOOD}, "2 and 13"),
    ("root.materials.0.textures.0.name", "Wood.png", "capitals"), ("root.materials.0.casts_shadow", 2, "shadow bits"),
    ("root.materials.0.depth_bias", 2, "depth bias is 2"),
    ("root.materials.0.vertex_format", vertex_format(POSITION0=4), "6 floats a vertex where the format has 4"),
    ("render_nodes.4.material", 1, "used by no render node"), ("render_nodes.4.material", 3, "material 3 of 3"),
    ("render_nodes.0.material", 1, "material 1 is used before material 0"),
    ("render_nodes.0.parents.0.0", 12, "parent 12 of 12"), ("render_nodes.3.parents.1.0", 12, "parent 12 of 12"),
    ("render_nodes.0.mesh.width", 1, "wider than"),
    ("render_nodes.0.mesh", SMALL["render_nodes"][0]["mesh"] | {"indices": [0, 1, 255], "width": 1}, "wider than"),
    ("render_nodes.0.mesh", SMALL["render_nodes"][0]["mesh"] | {"indices": [0, 1, 65535], "width": 2}, "wider than"),
    ("render_nodes.4.mesh.width", 2, "wider than"), ("render_nodes.1.purpose", 2, "purpose 2"),
    ("render_nodes.2.pivots", [[0, 0, 0]] * 7, "7 pivots"),
    ("render_nodes.1.properties", [(UINT, "__VERSION__", 3)], "version 3"), ("render_nodes.6.bones.0", 12, "bone 12 of 12"),
    ("render_nodes.6.bones.1", 1, "no bone"), ("render_nodes.8.controls.1", 12, "12 of 12"),
    ("render_nodes.8.animation.argument", NONE, "has no argument"),
    ("render_nodes.8.animation.samples", [[0.0] * 128], "is 128, not 256"), ("render_nodes.11.controls.1", 12, "12 of 12"),
    ("render_nodes.0.type_name", "model::ShellNode", "no type of a record in RENDER_NODES"),
    ("connectors.0.control", 12, "control node 12 of 12"), ("shell_nodes.0.control", 12, "control node 12 of 12"),
    ("shell_nodes.1.control", 12, "control node 12 of 12"), ("light_nodes.0.control", 12, "control node 12 of 12"),
    ("light_nodes.0.light_type", 2, "light type 2"),
    ("light_nodes.0.volume", SMALL["light_nodes"][1]["volume"], "is 10, not 7"),
    ("light_nodes.1.volume.near_distance", ("model::ArgumentProperty", "near", 3), "as a volume setting"),
    ("shell_nodes.3.skin_box", [[0, 0, 0], [1, -1, 1]], "isn't valid"),
    ("shell_nodes.3.skin_box", [[0, 0, float("nan")], [1, 1, 1]], "isn't valid"),
    ("shell_nodes.3.skin_box", [[0, 0, 0]], "neither"), ("sections", ["light_nodes", "connectors"], "out of order"),
    ("sections", ["OTHER"], "no name of a section"), ("sections", ["CONNECTORS"], "is empty")]  # fmt: skip


@pytest.mark.parametrize("path, value, text", REFUSED)
def test_refused(path, value, text):
    data = edited(path, value)
    with pytest.raises(ZrmError, match=text) as caught:
        parse(data)
    assert 9 <= caught.value.offset <= len(data)


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
        as_data(file)
        list(summary_lines(file))
        try:
            evaluate(file, {1: 0.5})
        except ValueError:
            pass
    assert legal > 60  # most bytes are floats, which may hold anything


bent = lambda number, weight: skin([0], [[0, 0, 0, packed(0, number, 0, 0), 0, 0, 1, 1, weight, 0, 0]] * 3)


UNUSABLE = [  # something drawn, its format, the warnings, why it can't be evaluated
    (render(triangles=[0, 1, 3]), MESH_FORMAT, ["index 3 of 3 vertices"], "index 3 of 3"),
    (render(triangles=[0, 1]), MESH_FORMAT, ["2 indices are no whole number of triangles"], ""),
    (render(rows=[[0, 0, 0, 1] + [0] * 5] * 3), MESH_FORMAT, ["vertex of parent 1 of 1"], "vertex of parent 1 of 1"),
    (render(rows=[[0, 0, 0, math.nan] + [0] * 5] * 3), MESH_FORMAT, ["vertex whose parent is no number"], "vertex of parent -1 of 1"),
    (bent(7, 0.5), SKIN_FORMAT, ["vertex of bone 7 of 1"], "vertex of bone 7 of 1"), (bent(7, 0), SKIN_FORMAT, [], ""),
    (render(rows=[[0, 0]] * 3), vertex_format(POSITION0=2), [], "a position of 2 floats"),
    (render(rows=[[0] * 5] * 3), vertex_format(POSITION0=4, NORMAL0=1), [], "a direction of 1 floats")]  # fmt: skip


@pytest.mark.parametrize("record, form, warnings, text", UNUSABLE)
def test_unusable_meshes(record, form, warnings, text):
    file = parse(small([(-1, bone())], form=form, render_nodes=[record]))
    assert [told for _, told in file.warnings] == warnings and all(offset > 87 for offset, _ in file.warnings)
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
    assert sum(len(line) < 200 for line in tree_lines(file)) == count
    assert file.path(count - 1) == "/".join("t" * count)


def test_command_line(tmp_path, capsys):
    good, bad = tmp_path / "good.zrm", tmp_path / "bad.zrm"
    good.write_bytes(edited("nodes.11.name", "\udcff\0x"))
    bad.write_bytes(EMPTY_MODEL[:-1])
    assert read_file(good).size == good.stat().st_size
    assert main([str(good), "--tree", "--strings"]) == 0
    told = capsys.readouterr().out
    assert "uniforms: 11;" in told and "(35 handles)" in told
    assert "TmpNumberRoot '\\udcff\\x00x'" in told and "'beam.png'" in told
    assert main([str(good), "--json"]) == 0
    data = json.loads(capsys.readouterr().out)
    assert [entry["class"] for entry in data["connectors"]] == ["Connector"] and len(data["nodes"]) == 12
    assert main([str(bad), str(good)]) == 1
    assert capsys.readouterr().err == f"{bad}: offset 299: the file ends here: 4 bytes needed, 3 left\n"
    assert main([str(tmp_path / "none")]) == 1
