"""Unusual, broken and hostile input: read as glTF says, or refused with one line and the exit code 1."""

from __future__ import annotations

import json
import os
import random
import re
import struct
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from exporter_support import ROOT, compare, export
from gltf_build import Gltf

import gltf_export.cli
from gltf_export.accessors import Reader
from gltf_export.container import open_container

POINTS = np.array([[1.0, 0, 0], [0, 1, 0], [0, 0, 1], [1, 1, 1]])


@pytest.mark.parametrize("buffer", ["data", "file", "glb"])
def test_each_kind_of_buffer(buffer: str, tmp_path: Path) -> None:
    gltf = Gltf()
    gltf.node(mesh=gltf.mesh(POINTS, [0, 1, 2, 2, 1, 3]))
    exported = export(gltf.save(tmp_path / "in.any", buffer), tmp_path)
    if buffer != "file":
        compare(*exported.at())
    assert len(exported.saved().meshes[0].triangles) == 2


def accessor(gltf: Gltf, tmp_path: Path, index: int, width: int) -> Any:
    return Reader(open_container(gltf.save(tmp_path / "a.gltf"))).floats(index, width, "test")


def test_accessors_of_every_form(tmp_path: Path) -> None:
    gltf = Gltf()
    plain = gltf.array(POINTS)
    bytes_ = gltf.array([[0, 255, 51, 102]], "u1", normalized=True)
    signed = gltf.array([[-128, 127, 0, -64]], "i1", normalized=True)
    view = gltf.view(np.arange(20, dtype="f4").tobytes(), byteStride=20)
    strided = gltf.add("accessors", {"bufferView": view, "byteOffset": 4, "componentType": 5126, "count": 4, "type": "VEC2"})
    # Columns of a 2 by 2 matrix of bytes lie four bytes apart, of which two are padding.
    view = gltf.view(bytes([1, 2, 99, 99, 3, 4, 99, 99]))
    matrix = gltf.add("accessors", {"bufferView": view, "componentType": 5121, "count": 1, "type": "MAT2"})
    sparse = gltf.add(
        "accessors",
        {
            "componentType": 5126,
            "count": 3,
            "type": "VEC3",
            "sparse": {
                "count": 1,
                "indices": {"bufferView": gltf.view(bytes([2])), "componentType": 5121},
                "values": {"bufferView": gltf.view(np.array([7, 8, 9], "f4").tobytes())},
            },
        },
    )
    np.testing.assert_array_equal(accessor(gltf, tmp_path, plain, 3), POINTS)
    np.testing.assert_allclose(accessor(gltf, tmp_path, bytes_, 4), [[0, 1, 0.2, 0.4]])
    np.testing.assert_allclose(accessor(gltf, tmp_path, signed, 4), [[-1, 1, 0, -64 / 127]])
    assert accessor(gltf, tmp_path, matrix, 4).tolist() == [[1, 2, 3, 4]]
    assert accessor(gltf, tmp_path, sparse, 3).tolist() == [[0, 0, 0], [0, 0, 0], [7, 8, 9]]
    with pytest.raises(Exception, match="run over the end"):  # the last element would begin at byte 64 of 80, but at 4
        gltf.json["accessors"][strided]["count"] = 5
        accessor(gltf, tmp_path, strided, 2)
    gltf.json["accessors"][strided]["count"] = 4
    assert accessor(gltf, tmp_path, strided, 2).tolist() == [[1, 2], [6, 7], [11, 12], [16, 17]]


@pytest.mark.parametrize(
    ("mode", "indices", "corners"),
    [
        (4, [0, 1, 2, 2, 1, 3], [(0, 1, 2), (2, 1, 3)]),
        (4, None, [(0, 1, 2)]),
        (5, [0, 1, 2, 3], [(0, 1, 2), (1, 3, 2)]),
        (6, [0, 1, 2, 3], [(1, 2, 0), (2, 3, 0)]),
        (5, [0, 1], []),
        (0, [0, 1, 2], []),
        (1, [0, 1, 2, 3], []),
    ],
)
def test_primitives_become_triangles(mode: int, indices: list[int] | None, corners: list[tuple[int, ...]], tmp_path: Path) -> None:
    gltf = Gltf()
    gltf.node(mesh=gltf.mesh(POINTS, indices, mode=mode))
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    meshes = exported.saved().meshes
    have = [mesh.positions[triangle].tolist() for mesh in meshes for triangle in mesh.triangles]
    assert have == [POINTS[list(triangle)].tolist() for triangle in corners]
    if mode < 4:
        assert exported.report["skipped"]


def test_missing_normals_are_those_of_the_faces(tmp_path: Path) -> None:
    gltf = Gltf()
    gltf.node(mesh=gltf.mesh(POINTS, [0, 1, 2, 2, 1, 3]))
    (mesh,) = export(gltf.save(tmp_path / "in.gltf"), tmp_path).saved().meshes
    assert mesh.normals is not None
    corners = mesh.positions[mesh.triangles]
    face = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
    face /= np.linalg.norm(face, axis=1, keepdims=True)
    np.testing.assert_allclose(mesh.normals[mesh.triangles], face[:, None].repeat(3, axis=1), atol=1e-6)


def sample() -> Gltf:
    """Something of everything, to be broken."""
    gltf = Gltf()
    joint = gltf.node(name="joint")
    gltf.add("skins", {"joints": [joint], "inverseBindMatrices": gltf.array(np.eye(4).reshape(1, 16))})
    skin = {"JOINTS_0": gltf.array(np.zeros((4, 4)), "u1"), "WEIGHTS_0": gltf.array(np.tile([1.0, 0, 0, 0], (4, 1)))}
    gltf.add("images", {"uri": "a.png"})
    gltf.add("textures", {"source": 0})
    gltf.add("materials", {"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}})
    gltf.node(mesh=gltf.mesh(POINTS, [0, 1, 2, 2, 1, 3], material=0, **skin), skin=0)
    gltf.animation((joint, "translation", [0, 1], [[0, 0, 0], [1, 0, 0]], "LINEAR"))
    return gltf


def change(*path: Any, to: Any) -> Callable[[dict[str, Any]], None]:
    def apply(content: dict[str, Any]) -> None:
        for step in path[:-1]:
            content = content[step]
        content[path[-1]] = to

    return apply


BROKEN = {
    "version 1": (change("asset", "version", to="1.0"), "version"),
    "a cycle": (change("nodes", 0, "children", to=[0]), "child"),
    "two parents": (lambda c: c["nodes"].extend([{"children": [0]}, {"children": [0]}]), "two parents"),
    "a child that does not exist": (change("nodes", 0, "children", to=[99]), "99"),
    "a negative reference": (change("nodes", 1, "mesh", to=-1), "-1"),
    "a reference that is a text": (change("nodes", 1, "mesh", to="first"), "first"),
    "a scene root that does not exist": (change("scenes", 0, "nodes", to=[7]), "7"),
    "positions beyond the buffer": (change("accessors", 5, "count", to=10**9), "accessor 5|runs? over|values for"),
    "an accessor of 10^12 zeros": (change("accessors", 3, to={"componentType": 5126, "count": 10**12, "type": "VEC3"}), ""),
    "a buffer view beyond the buffer": (change("bufferViews", 1, "byteLength", to=10**9), "view"),
    "a longer buffer than there is": (change("buffers", 0, "byteLength", to=10**6), "promised"),
    "a missing buffer file": (change("buffers", 0, "uri", to="none.bin"), "none.bin"),
    "a buffer from elsewhere": (change("buffers", 0, "uri", to="https://example.org/a.bin"), "relative"),
    "bad base64": (change("buffers", 0, "uri", to="data:;base64,@@@@"), "base64"),
    "a joint that does not exist": (change("skins", 0, "joints", to=[44]), "44"),
    "no joints": (change("skins", 0, "joints", to=[]), "joints"),
    "an unknown interpolation": (change("animations", 0, "samplers", 0, "interpolation", to="SINE"), "SINE"),
    "times that are values": (change("animations", 0, "samplers", 0, "input", to=0), "components"),
    "a translation of two numbers": (change("nodes", 0, "translation", to=[1, 2]), "translation"),
    "a translation of texts": (change("nodes", 0, "translation", to=["a", "b", "c"]), "'a'"),
    "nodes that are no list": (change("nodes", to={"a": 1}), ""),
    "a node that is no object": (change("nodes", 0, to=5), ""),
    "meshes without primitives": (change("meshes", 0, to={"primitives": 3}), ""),
    "a material that does not exist": (change("meshes", 0, "primitives", 0, "material", to=5), "material"),
    "a texture that does not exist": (change("materials", 0, "pbrMetallicRoughness", "baseColorTexture", "index", to=5), "texture"),
}


def run(*arguments: str, folder: Path) -> subprocess.CompletedProcess[str]:
    script = str(ROOT / "examples" / "gltf_to_zrm.py")
    return subprocess.run([sys.executable, script, *arguments], cwd=folder, capture_output=True, text=True, timeout=120)


def refused(path: Path, capsys: pytest.CaptureFixture[str]) -> str:
    output = path.parent / "out.zrm"
    assert gltf_export.cli.main(["--quiet", str(path), str(output)]) == 1
    text = capsys.readouterr().err
    assert text.count("\n") == 1 and "Traceback" not in text and not output.exists()
    return text


@pytest.mark.parametrize("name", BROKEN)
def test_broken_scenes_are_refused_in_one_line(name: str, tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    spoil, expected = BROKEN[name]
    path = sample().save(tmp_path / "in.gltf")
    content = json.loads(path.read_text())
    spoil(content)
    path.write_text(json.dumps(content))
    assert re.search(expected, refused(path, capsys))


@pytest.mark.parametrize(
    "data",
    [b"", b"{", b"[]", b"null", b"glTF", b"\xff\xfe{}", b"[" * 200000, struct.pack("<4sII", b"glTF", 2, 10**6), b"glTF" + bytes(40)],
    ids=range(9),
)
def test_files_that_are_no_gltf(data: bytes, tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    path = tmp_path / "in.gltf"
    path.write_bytes(data)
    refused(path, capsys)


def test_random_damage_never_ends_in_a_traceback(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    random.seed(5)
    data = sample().save(tmp_path / "good.glb", "glb").read_bytes()
    for _ in range(300):
        broken = bytearray(data)
        for _ in range(random.randint(1, 4)):
            broken[random.randrange(len(broken))] = random.randrange(256)
        path = tmp_path / "in.glb"
        path.write_bytes(broken)
        assert gltf_export.cli.main(["--quiet", str(path), str(tmp_path / "out.zrm")]) in (0, 1)
        assert "Traceback" not in capsys.readouterr().err


def test_every_cut_of_a_file_is_refused(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    data = sample().save(tmp_path / "good.glb", "glb").read_bytes()
    path = tmp_path / "in.glb"
    for size in range(0, len(data) - 4, 37):
        path.write_bytes(data[:size])
        refused(path, capsys)


def test_the_script_itself(tmp_path: Path) -> None:
    sample().save(tmp_path / "in.gltf")
    good = run("in.gltf", "out.zrm", "--report", "r.json", folder=tmp_path)
    assert good.returncode == 0 and "triangles" in good.stdout
    report = json.loads((tmp_path / "r.json").read_text())
    size = (tmp_path / "out.zrm").stat().st_size
    assert (report["bytes"], report["triangles"], report["meshes"]) == (size, 2, 1)
    (entry,) = report["arguments"]
    assert set(entry) == {"argument", "animation", "name", "start", "end", "seconds_start", "seconds_end"}
    bad = run("missing.gltf", "out.zrm", folder=tmp_path)
    assert bad.returncode == 1 and "Traceback" not in bad.stderr
    absolute = run("--demo", str(tmp_path / "demo.zrm"), folder=tmp_path)
    assert absolute.returncode == 0 and os.path.getsize(tmp_path / "demo.zrm") > 1000
    assert "collision" in run("--help", folder=tmp_path).stdout
