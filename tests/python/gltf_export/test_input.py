"""Unusual, broken and hostile input: read as glTF says, or refused with one line and the exit code 1."""

import copy
import json
import os
import re
import struct
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from support.exporter_support import ROOT, SWITCHES, export, main
from support.gltf_build import Gltf
from support.gltf_random import random_scene

import gltf_export.convert

# Node 0 is a triangle, node 1 a joint; animation 0 moves the joint.
BROKEN = [("asset/version", "1.0", "version '1.0'"), ("nodes/0/children", [0], "names the child 0 wrongly"),
    ("nodes", [{"children": [2]}, {"children": [2]}, {}], "two parents"), ("nodes/0/children", [99], "child 99 does not exist"),
    ("nodes/0/mesh", "first", "/nodes/0/mesh is 'first', not a whole number"),
    ("nodes/0/translation", [1, 2, 10**400], "/nodes/0/translation/2 is 1000"), ("nodes", {"a": 1}, "/nodes is no list"),
    ("nodes/0/name", "\ud800", "no UTF-8"), ("accessors/0/count", 10**9, "runs? over|values for"),
    ("accessors/0", {"componentType": 5126, "count": 10**12, "type": "VEC3"}, "without a buffer view"),
    ("bufferViews/0/byteLength", 10**9, "its view ends at byte"), ("buffers/0/byteLength", 10**6, "promised"),
    ("buffers/0/uri", "none.bin", "none.bin"), ("skins/0/joints", [44], "joint 44 does not exist"),
    ("animations/0/samplers/0/interpolation", "SINE", "unknown interpolation 'SINE'"),
    ("extensionsRequired", ["EXT_mesh_gpu_instancing"], "requires the extension EXT_mesh_gpu_instancing")]  # fmt: skip


def refused(data, capsys):
    Path("in.gltf").write_bytes(data)
    assert main(["--quiet", "in.gltf", "out.zrm"]) == 1
    text = capsys.readouterr().err
    assert text.count("\n") == 1 and "fault of the exporter" not in text and not Path("out.zrm").exists()
    return text


def test_broken_files_are_refused_in_one_line(folder, capsys):
    gltf = Gltf()
    gltf.node(mesh=gltf.triangle())
    gltf.add("skins", {"joints": [gltf.node()]})
    gltf.json["nodes"][0] |= {"skin": 0}
    gltf.animation((1, "translation", [0, 1], [[0, 0, 0], [1, 0, 0]], "LINEAR"))
    content = json.loads(gltf.save(folder / "good.gltf").read_text())
    for path, value, expected in BROKEN:
        broken = holder = copy.deepcopy(content)
        *steps, last = [int(step) if step.isdecimal() else step for step in path.split("/")]
        for step in steps:
            holder = holder[step]
        holder[last] = value
        assert re.search(expected, refused(json.dumps(broken).encode(), capsys)), expected
    no_gltf = [b"", b"{", b"[]", b"null", b"glTF", b"\xff\xfe{}", b"[" * 200000, struct.pack("<4sII", b"glTF", 2, 10**6), b"glTF" + bytes(40)]
    binary = gltf.save(folder / "good.glb", "glb").read_bytes()
    for data in [*no_gltf, *(binary[:size] for size in range(0, len(binary) - 4, 37))]:
        refused(data, capsys)


def places(value):
    """Every container of a JSON value with each key in it."""
    for key in list(value.keys() if isinstance(value, dict) else range(len(value))):
        yield value, key
        if isinstance(value[key], (dict, list)):
            yield from places(value[key])


def test_no_damage_is_a_fault_of_the_exporter(folder, capsys):
    """Each value of a scene with something of everything becomes one of another kind; bytes are changed too."""
    gltf, rng = random_scene(7), np.random.default_rng(5)
    content = json.loads(gltf.save(folder / "good.gltf").read_text())
    odd = [None, True, -1, 0, 3, 99, 10**12, 1e300, 0.5, "", "x", [], [0], {}, {"a": 1}, [[]], [{}]]
    every = list(places(content))
    binary = gltf.save(folder / "good.glb", "glb").read_bytes()
    for k in range(160):
        if k % 3:
            holder, key = every[rng.integers(len(every))]
            kept, holder[key] = holder[key], odd[rng.integers(len(odd))]
            Path("in.gltf").write_text(json.dumps(content))
            holder[key] = kept
        else:
            spots = dict(zip(rng.integers(0, len(binary), 3).tolist(), rng.bytes(3)))
            Path("in.gltf").write_bytes(bytes(spots.get(i, byte) for i, byte in enumerate(binary)))
        code = main(["--quiet", "in.gltf", "out.zrm"])
        text = capsys.readouterr().err
        assert (code, text.count("\n")) in ((0, 0), (1, 1)) and "fault of the exporter" not in text, (k, text)


def test_a_fault_of_the_exporter_is_told_as_one(folder, capsys, monkeypatch):
    monkeypatch.setattr(gltf_export.convert, "allowances", None)
    random_scene(1).save(folder / "in.gltf")
    assert main(["--quiet", "in.gltf"]) == 1
    assert re.search(r"fault of the exporter.*TypeError.*\(in build, convert.py:\d+\)\n", capsys.readouterr().err)


def test_legal_oddities_are_read_and_what_is_lost_is_told(folder):
    gltf = Gltf()
    instances = {"EXT_mesh_gpu_instancing": {"attributes": {}}}
    camera = gltf.add("cameras", {"type": "perspective", "extras": 3})
    gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2]), extras=[1, "two"], extensions=instances, camera=camera)
    gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2, 1], mode=1))
    gltf.node(mesh=gltf.mesh(np.eye(3), mode=0))
    gltf.json |= {"extras": "text", "extensionsUsed": ["KHR_materials_variants"], "extensionsRequired": ["KHR_mesh_quantization"]}
    exported = export(gltf.save(folder / "in.any", "glb"))
    exported.compare([(None, 0.0)])
    told = [entry["what"] for entry in exported.report["skipped"]]
    names = ["extension EXT_mesh_gpu_instancing", "extension KHR_materials_variants", "mesh 2", "mesh 1", "camera of"]
    assert [" ".join(what.split()[:2]) for what in told] == names


def test_an_input_is_never_overwritten(folder, capsys):
    gltf = Gltf()
    gltf.node(mesh=gltf.triangle())
    gltf.add("images", {"uri": "a%20map.png"})
    source = gltf.save(folder / "in.gltf", "file")
    (folder / "a map.png").write_bytes(b"pixels")
    os.symlink("in.gltf", "soft.zrm")
    os.link("in.gltf", "hard.zrm")
    os.mkdir("sub")
    names = ["in.gltf", "./in.gltf", "sub/../in.gltf", str(source), "soft.zrm", "hard.zrm", "some buffer.bin", "a map.png"]
    before = {path: path.read_bytes() for path in folder.glob("*.*")}
    for arguments in [*([name] for name in names), ["out.zrm", "--report", "a map.png"], ["out.zrm", "--report", "out.zrm"]]:
        assert main(["--quiet", "in.gltf", *arguments]) == 1
        assert "would overwrite" in capsys.readouterr().err
    with pytest.raises(SystemExit):
        main(["--demo", "in.gltf", "out.zrm"])
    assert {path: path.read_bytes() for path in folder.glob("*.*")} == before
    os.chdir("sub")
    assert main(["--quiet", "../in.gltf"]) == 0 and [path.name for path in Path().iterdir()] == ["in.zrm"]


def test_the_script_itself(folder):
    def run(*arguments):
        return subprocess.run([sys.executable, str(ROOT / "examples" / "gltf_to_zrm.py"), *arguments], capture_output=True, text=True, timeout=120)

    random_scene(2).save(folder / "in.gltf")
    good = run("in.gltf", "out.zrm", "--report", "r.json")
    assert good.returncode == 0 and "triangles" in good.stdout
    assert json.loads(Path("r.json").read_text())["bytes"] == Path("out.zrm").stat().st_size
    bad = run("missing.gltf")
    assert bad.returncode == 1 and bad.stderr.startswith("missing.gltf: can't read")
    assert all(word in run("--help").stdout for word in ("collision", *SWITCHES))
