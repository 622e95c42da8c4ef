"""Extensions that are read: each against a plain file that shows the same."""

import sys

import DracoPy
import meshoptimizer
import numpy as np
import pytest
from support.exporter_support import SWITCHES, corners_of, export, main, multiset, near
from support.gltf_build import Gltf
from support.gltf_random import unit
from zrm_scene import FAR

GRID = np.array([(x, y, x * y / 9) for y in range(4) for x in range(4)], np.float32)
QUADS = np.array([(k, k + 1, k + 4, k + 1, k + 5, k + 4) for k in range(11) if k % 4 < 3], np.uint32).reshape(-1)


def saved(gltf, folder, *more):
    return export(gltf.save(folder / "in.glb", "glb"), SWITCHES, *more)


def test_instances_are_nodes(folder):
    rng, gltf = np.random.default_rng(1), Gltf()
    places, turns, sizes = rng.normal(size=(5, 3)), unit(rng, 5, 4), rng.uniform(1, 2, (5, 3))
    columns = {"TRANSLATION": gltf.array(places), "ROTATION": gltf.array(turns), "SCALE": gltf.array(sizes)}
    above = {"translation": [1, 2, 3], "rotation": [0, 0.6, 0, 0.8]}
    gltf.node(mesh=gltf.triangle(), extensions={"EXT_mesh_gpu_instancing": {"attributes": columns}}, **above)
    plain = Gltf()
    parts = [{"translation": t.tolist(), "rotation": r.tolist(), "scale": s.tolist()} for t, r, s in zip(places, turns, sizes)]
    mesh = plain.triangle()
    plain.node(children=[plain.node(root=False, mesh=mesh, **part) for part in parts], **above)
    have, want = [corners_of(saved(source, folder).saved()) for source in (gltf, plain)]
    assert len(have) == 5
    near(have, want, 1e-6, "instances")


def test_visibility_at_rest_and_animated(folder):
    gltf = Gltf()
    hidden = {"extensions": {"KHR_node_visibility": {"visible": False}}}
    gltf.node(children=[gltf.node(root=False, mesh=gltf.triangle())], **hidden)
    blink = gltf.node(children=[gltf.node(root=False, mesh=0)], **hidden)
    gltf.node(mesh=0)
    gltf.animation((0, "pointer", [0, 1, 2, 3], [0, 0, 0, 0], "STEP"))
    entry = gltf.json["animations"][0]
    entry["samplers"][0]["output"] = gltf.array([0, 1, 0, 1], "u1")
    entry["channels"][0]["target"] = {"path": "pointer", "extensions": {"KHR_animation_pointer": {"pointer": f"/nodes/{blink}/extensions/KHR_node_visibility/visible"}}}
    exported = saved(gltf, folder)
    shows = [[mesh.triangle_visible.all() for mesh in exported.saved(0, seconds).meshes] for seconds in (0.5, 1.5, 2.5, 3.0)]
    assert shows == [[False, True], [True, True], [False, True], [True, True]]
    assert [mesh.triangle_visible.all() for mesh in exported.saved().meshes] == [False, True] and exported.lost == {}


def test_levels_of_detail_end_where_they_cover_their_share(folder):
    gltf = Gltf()
    coarse = [gltf.node(root=False, name=f"coarse {k}", mesh=gltf.triangle(), translation=[k, 0, 0]) for k in range(2)]
    told = {"extensions": {"MSFT_lod": {"ids": coarse}}, "extras": {"MSFT_screencoverage": [0.25, 0.04, 0.0]}}
    gltf.node(mesh=gltf.mesh([[-2, 0, 0], [2, 0, 0], [0, 0, 0]], [0, 1, 2]), **told)
    gltf.node(mesh=0, extensions={"MSFT_lod": {"ids": [gltf.node(root=False, mesh=0)]}})
    scene = saved(gltf, folder).saved()
    ranges = [scene.lod_ranges(int(mesh.controls[0]))[0][1:] for mesh in scene.meshes]
    reach = 2.0 * 3**0.5  # of a ball of radius 2 that fills a field of 60 degrees
    near(np.sqrt([ranges[0][1], ranges[1][0], ranges[1][1], ranges[2][0]]), np.array([2, 2, 5, 5]) * reach, 1e-3, "limits")
    assert ranges[2][1] >= FAR and ranges[4][1] >= FAR and ranges[3][1] == ranges[4][0]


def quantised(gltf):
    """Whole numbers for positions, as KHR_mesh_quantization allows them."""
    gltf.json["extensionsRequired"] = ["KHR_mesh_quantization"]
    mesh = gltf.mesh(GRID, QUADS)
    steps = np.round(GRID * 9).astype("u2")
    gltf.json["meshes"][mesh]["primitives"][0]["attributes"]["POSITION"] = gltf.array(steps, "u2")
    gltf.node(mesh=mesh, scale=[1 / 9] * 3)


def draco(gltf):
    data = DracoPy.encode(GRID, QUADS, preserve_order=True, quantization_bits=20)
    mesh = gltf.mesh(GRID, QUADS)
    packed = {"bufferView": gltf.view(data), "attributes": {"POSITION": 0}}
    gltf.json["meshes"][mesh]["primitives"][0]["extensions"] = {"KHR_draco_mesh_compression": packed}
    gltf.node(mesh=mesh)


def meshopt(gltf):
    positions, indices = np.ascontiguousarray(GRID), np.ascontiguousarray(QUADS)
    streams = {"POSITION": (meshoptimizer.encode_vertex_buffer(positions, len(GRID), 12), 12, len(GRID), "ATTRIBUTES"),
        "indices": (meshoptimizer.encode_index_buffer(indices, len(QUADS), len(GRID)), 4, len(QUADS), "TRIANGLES")}  # fmt: skip
    mesh = gltf.mesh(GRID * np.nan, QUADS * 0)  # what isn't read
    primitive = gltf.json["meshes"][mesh]["primitives"][0]
    for name, (data, stride, count, mode) in streams.items():
        accessor = primitive["attributes"][name] if name != "indices" else primitive["indices"]
        raw = bytes(data)
        gltf.view(raw)
        where = gltf.json["bufferViews"].pop()["byteOffset"]
        packed = {"buffer": 0, "byteOffset": where, "byteLength": len(raw), "byteStride": stride, "count": count, "mode": mode}
        gltf.json["bufferViews"][gltf.json["accessors"][accessor]["bufferView"]]["extensions"] = {"EXT_meshopt_compression": packed}
    gltf.node(mesh=mesh)


@pytest.mark.parametrize("pack", [quantised, draco, meshopt])
def test_packed_meshes_show_the_plain_one(pack, folder):
    gltf, plain = Gltf(), Gltf()
    pack(gltf)
    plain.node(mesh=plain.mesh(GRID, QUADS))
    have, want = [multiset(corners_of(saved(source, folder).saved())) for source in (gltf, plain)]
    near(have, want, 1e-3, "corners")


def test_missing_decoders_are_named_unless_plain_data_lie_beside(folder, capsys, monkeypatch):
    monkeypatch.setitem(sys.modules, "DracoPy", None)
    monkeypatch.setitem(sys.modules, "meshoptimizer", None)
    extensions = {draco: "KHR_draco_mesh_compression", meshopt: "EXT_meshopt_compression"}
    for pack, required, told in ((draco, True, "gltf2zrm[draco]"), (meshopt, True, "gltf2zrm[meshopt]"), (draco, False, ""), (meshopt, False, "not finite")):
        gltf = Gltf()
        pack(gltf)
        if required:
            gltf.json["extensionsRequired"] = [extensions[pack]]
        gltf.save(folder / "in.glb", "glb")
        assert main(["--quiet", "in.glb", "out.zrm"]) == int(bool(told))
        assert told in capsys.readouterr().err


def test_broken_packed_data_are_refused(folder, capsys):
    for pack in (draco, meshopt):
        gltf = Gltf()
        pack(gltf)
        data = bytearray(gltf.save(folder / "in.glb", "glb").read_bytes())
        rng = np.random.default_rng(2)
        for _ in range(60):
            broken = data.copy()
            broken[int(rng.integers(len(data) // 2, len(data)))] ^= int(rng.integers(1, 256))
            (folder / "in.glb").write_bytes(broken)
            status = main(["--quiet", "in.glb", "out.zrm"])
            assert status in (0, 1) and "fault of" not in capsys.readouterr().err


def test_the_scene_that_is_asked_for_and_cameras_on_wish(folder, capsys):
    gltf = Gltf()
    gltf.node(mesh=gltf.triangle(), name="first")
    camera = gltf.add("cameras", {"type": "perspective", "perspective": {"yfov": 0.5, "znear": 0.1}})
    second = gltf.node(root=False, camera=camera, name="eye")
    gltf.add("scenes", {"nodes": [second], "name": "view"})
    for asked in ("view", "1"):
        exported = saved(gltf, folder, "--scene", asked, "--cameras")
        (eye,) = exported.file.connectors
        found = {entry.name: entry.value for entry in eye.properties}
        assert (eye.name, found["camera"], pytest.approx(found["yfov"])) == ("eye", "perspective", 0.5) and not exported.file.render_nodes
    assert main(["--quiet", "--scene", "none", "in.glb", "out.zrm"]) == 1 and "no scene 'none'" in capsys.readouterr().err


def test_textures_go_along_under_names_that_differ(folder):
    from PIL import Image

    (folder / "A").mkdir()
    (folder / "b").mkdir()
    Image.new("RGB", (2, 2), (10, 20, 30)).save(folder / "A" / "Map.png")
    Image.new("RGB", (2, 2), (40, 50, 60)).save(folder / "b" / "map.jpg")
    gltf = Gltf()
    images = [{"uri": "A/Map.png"}, {"uri": "b/map.jpg"}, {"name": "map", "bufferView": gltf.view((folder / "A" / "Map.png").read_bytes())}, {"uri": "gone.png"}]
    for image in images:
        gltf.add("textures", {"source": gltf.add("images", image)})
    roles = {"normalTexture": {"index": 1}, "emissiveTexture": {"index": 2}, "emissiveFactor": [1, 1, 1], "occlusionTexture": {"index": 3}}
    pbr = {"baseColorTexture": {"index": 0}, "metallicRoughnessTexture": {"index": 0}}
    material = gltf.add("materials", roles | {"pbrMetallicRoughness": pbr})
    gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2], material=material, TEXCOORD_0=gltf.array(np.zeros((3, 2)))))
    exported = saved(gltf, folder, "--textures", "out")
    names = sorted(texture.name for texture in exported.file.materials[0].textures.values())
    written = {path.stem.lower(): path for path in (folder / "out").iterdir()}
    assert sorted([*written, "gone"]) == names == ["gone", "map", "map_2", "map_3", "map_rm"]
    assert Image.open(written["map_rm"]).getpixel((0, 0)) == (255, 20, 30), "no occlusion"
    assert written["map_3"].suffix == ".png" and written["map_2"].read_bytes() == (folder / "b" / "map.jpg").read_bytes()
    assert exported.lost == {"missing image": 1}
