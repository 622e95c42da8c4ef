"""The commands of zrm-inspect by what they print, and by how they end."""

import json
import os
import subprocess
import sys

import pytest
import zrm_inspect
from click.testing import CliRunner
from support.every_record import IDENTITY, MATERIAL, TEXTURE, head, root, tree_node
from support.exporter_support import MODELS, export
from support.record_bytes import NONE, file_bytes
from support.small_files import MESH_FORMAT, TRIANGLE, lod, mesh, node, packed, render, small, transform, vertex_format, visibility
from test_reader import SMALL, edited
from zrm_inspect.cli import main
from zrm_inspect.stats import cache_misses


def run(*arguments, code=0):
    result = CliRunner().invoke(main, [str(argument) for argument in arguments])
    assert result.exit_code == code, result.output
    return result.output


@pytest.fixture
def saved(folder):
    def save(name, data):
        (folder / name).write_bytes(data)
        return folder / name

    return save


@pytest.mark.skipif(not MODELS.is_dir(), reason=f"no models in {MODELS}; set ZRM_MODELS")
@pytest.mark.parametrize("source", sorted(path for path in MODELS.glob("*.gl*")), ids=lambda path: path.name)
def test_dump_of_real_models_builds_the_same_bytes(source, folder):
    for off in ((), ("mergeNodes",)):
        export(source, off)
        run("dump", "out.zrm", "-o", "out.json")
        run("build", "out.json", "-o", "again.zrm")
        assert (folder / "again.zrm").read_bytes() == (folder / "out.zrm").read_bytes()


BITS = [0x7F800001, 0xFFC12345, 0x7F800000, 0x80000000, 1, 0x3DCCCCCD]  # no numbers of both kinds, infinity, -0, denormal, 0.1


def test_dump_keeps_each_bit(saved):
    rows = [[packed(*bits.to_bytes(4, "little")) for bits in BITS] + [0.0] * 3] * 3
    path = saved("odd.zrm", small([(-1, transform([[float("nan")] * 4, *IDENTITY[1:]]))], render_nodes=[render(rows=rows)]))
    told = json.loads(run("dump", path))
    assert told["render_nodes"][0]["mesh"]["vertices"][0][5] == 0.1
    (path.parent / "odd.json").write_text(json.dumps(told))
    run("build", "odd.json", "-o", "same.zrm")
    assert path.read_bytes() == (path.parent / "same.zrm").read_bytes()
    for place, value, reason in (("root", {}, "no type of the root"), ("nodes", [told["nodes"][0] | {"type_name": "x"}], "no type of a tree node"),
                                 ("nodes", [], "no legal file"), ("nodes", [{"type_name": "model::Node"}], "lacks 'name'")):  # fmt: skip
        (path.parent / "odd.json").write_text(json.dumps(told | {place: value}))
        assert reason in run("build", "odd.json", "-o", "none.zrm", code=1) and not (path.parent / "none.zrm").exists()


PAINT = MATERIAL | {"name": "paint", "vertex_format": MESH_FORMAT}
GLASS = PAINT | {"blending": 1}
AT = lambda control, **more: render(parents=[[control, NONE]], **more)
APART = [  # materials, tree, two render nodes, how the reason begins
    ([PAINT], [(-1, node())], AT(0), AT(0), "nothing in the file"),
    ([PAINT, PAINT | {"vertex_format": vertex_format(POSITION0=4)}], [(-1, node())], AT(0),
     AT(0, material=1, mesh=mesh([[0.0] * 4] * 3)), "format: the materials have other vertex formats"),
    ([PAINT, PAINT], [(-1, node())], AT(0), AT(0, material=1), "materials: equal, but two"),
    ([PAINT, PAINT | {"decal_id": 4}], [(-1, node())], AT(0), AT(0, material=1), "materials: they differ in decal"),
    ([PAINT], [(-1, node())], AT(0), AT(0) | {"type_name": "model::NumberNode", "numbers": [[]]}, "classes: RenderNode and"),
    ([GLASS], [(-1, node())], AT(0), AT(0), "blending: "),
    ([PAINT], [(-1, node())], AT(0), AT(0, properties=[("model::Property<float>", "wear", 1.0)]), "properties: "),
    ([PAINT], [(-1, node())], AT(0), AT(0, mesh=mesh(TRIANGLE, primitive_type=1)), "primitives: types 5 and 1"),
    ([PAINT], [(-1, node()), (0, tree_node("BillboardNode", "b", mode=0, axis_mode=0, matrix=IDENTITY, axis=[0, 0, 1])), (1, node())],
     AT(0), AT(2), "billboard: under tree node 1 'b'"),
    ([PAINT], [(-1, node()), (0, visibility((0, [(0, 1)]))), (1, node())], AT(0), AT(2), "visibility: tree node 1 'v'"),
    ([PAINT], [(-1, visibility((0, [(0, 1)]))), (0, node()), (0, node())], AT(1), AT(2), "nothing in the file"),
    ([PAINT], [(-1, node()), (0, lod((0, 1), (1, 2))), (1, node()), (2, node()), (1, node())], AT(3), AT(4), "levels: tree node 1 'l'"),
    ([PAINT], [(-1, node()), (0, lod((0, 1))), (1, node()), (2, node()), (2, node())], AT(3), AT(4), "nothing in the file")]  # fmt: skip


@pytest.mark.parametrize("materials, tree, first, second, reason", APART)
def test_why_two_nodes_stand_apart(saved, materials, tree, first, second, reason):
    handles = int(any("conditions" in record for _, record in tree))
    path = saved("two.zrm", small(tree, handles, root=root(materials, handles), render_nodes=[first, second]))
    assert run("why", path, 0, 1).startswith(reason)
    assert reason.partition(":")[0] in run("why", path)
    assert ("decal" in run("why", path).partition("one thing")[2]) == (reason.endswith("decal"))


CHANGES = [  # path in the file of every record, what it becomes, the line that tells it
    ("nodes.1.matrix.3.0", 200.0, "~ node root/transform: matrix: 1 of 16 differ, by up to 88"),
    ("nodes.11.name", "other", "- node root/number root\n+ node root/other"),
    ("root.materials.0.blending", 1, "~ material 'full': blending: 2 and 1"),
    ("root.materials.0.textures.0.name", "x.png", "~ material 'full': textures[0].name: albedo.png and x.png"),
    ("render_nodes.0.mesh.vertices.1.2", 7.0, "~ RenderNode 'one part' of material 'full' at root/transform: mesh.vertices: 1 of 18"),
    ("light_nodes.0.control", 0, "- LightNode 'textured' at root/transform\n+ LightNode 'textured' at root"),
    ("root.bounding_box", [[1.0, 2.0, 3.0], [4.0, 5.0, 7.0]], "~ root: bounding_box: 1 of 6 differ, by up to 1")]  # fmt: skip


@pytest.mark.parametrize("path, value, expected", CHANGES)
def test_diff_tells_what_changed(saved, path, value, expected):
    first, second = saved("a.zrm", file_bytes(SMALL)), saved("b.zrm", edited(path, value))
    assert run("diff", first, first) == ""
    lines = run("diff", first, second, code=1).splitlines()
    assert len(lines) == expected.count("\n") + 1 and all(map(str.startswith, lines, expected.split("\n"))), lines
    if isinstance(value, float):
        assert run("diff", first, second, "--tolerance", 100) == ""


def test_stats(saved):
    twice = [MATERIAL | {"name": name, "textures": {0: TEXTURE | {"name": "wood"}}} for name in "ab"]
    data = small([(-1, node())], root=root(twice), render_nodes=[head("FakeOmniLightsNode", "f", material=k, controls=[0], lights=[],
                 animation=None) for k in (0, 1)])  # fmt: skip
    told = json.loads(run("stats", saved("two.zrm", data), "--json"))
    assert sum(row["bytes"] for row in told["bytes by section"]) == len(data)
    assert told["textures used more than once"] == [{"texture": "wood", "uses": 2, "materials": "0 1"}]
    assert {row["kind"]: row["count"] for row in told["bytes by kind"]} == {"FakeOmniLightsNode": 2, "Node": 1}
    assert cache_misses([0, 1, 2, 2, 1, 3]) == 4 and cache_misses([*range(17), 0, 16]) == 18


def test_tree_and_check(saved):
    path = saved("odd.zrm", edited("nodes.11.name", "\udcff\0x"))
    told = run("tree", path)
    assert "TmpNumberRoot '\\udcff\\x00x'" in told and "- render node 0 RenderNode 'one part', material 'full', 1 triangles, argument 9" in told
    bad = saved("bad.zrm", edited("render_nodes.1.purpose", 2))
    assert f"{bad}: error value at offset" in run("check", path, bad, code=1)
    assert [f["code"] for f in json.loads(run("check", bad, "--json", code=1)) if f["severity"] == "error"] == ["value"]
    assert "purpose is 2" in run("tree", bad, code=1) and "No such file" in run("tree", "none", code=1)


def test_pipes_and_ascii(saved):
    """An encoding that lacks the names' characters, a reader that has had enough, and no colours on a pipe."""
    path = saved("names.zrm", edited("nodes.1.name", "Räder"))
    command = [sys.executable, "-m", "zrm_inspect", "tree", path]
    environment = os.environ | {"PYTHONPATH": os.pathsep.join(sys.path), "PYTHONIOENCODING": "ascii"}
    told = subprocess.run(command, env=environment, capture_output=True, check=True).stdout
    assert b"'R\\xe4der'" in told and b"\x1b" not in told
    many = saved("many.zrm", small([(k - 1, node()) for k in range(20_000)]))
    with subprocess.Popen([*command[:-1], many], env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
        assert process.stdout and process.stderr
        process.stdout.close()
        assert process.stderr.read() == b"" and process.wait() == 1


def test_large_files_are_mapped(saved, monkeypatch):
    """The same file whether it is mapped or read."""
    path = saved("every.zrm", file_bytes(SMALL))
    read = zrm_inspect.dump(zrm_inspect.open_file(path))
    monkeypatch.setattr("zrm_inspect.reader._MAPPED_FROM", 1)
    mapped = zrm_inspect.open_file(path)
    assert not isinstance(mapped.data, bytes) and json.dumps(zrm_inspect.dump(mapped)) == json.dumps(read)
