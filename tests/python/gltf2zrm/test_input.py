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
import pyzrm_313 as zrm
from support.exporter_support import SWITCHES, main
from support.gltf_build import Gltf
from support.gltf_random import random_scene

import gltf2zrm.convert

# Node 0 is a triangle, node 1 a joint; animation 0 moves the joint.
BROKEN = [("asset/version", "1.0", "asset.version: '1.0'"), ("asset/minVersion", "2.1", "asset.minVersion"),
    ("nodes/0/children", [0], "nodes[0].children[0]: node 0 is the node itself"),
    ("nodes", [{"children": [2]}, {"children": [2]}, {}], "already a child of node 0"),
    ("nodes/0/children", [99], "nodes[0].children[0]: no node 99 (there are 2)"), ("nodes/0/mesh", 7, "nodes[0].mesh: no mesh 7 (there are 1)"),
    ("nodes/0/mesh", "first", "nodes[0].mesh: 'first' is no whole number"), ("nodes/0/matrix", [1], "nodes[0].matrix: 1 numbers"),
    ("nodes/0/translation", [1, 2, 10**400], "nodes[0].translation[2]: 1000"), ("nodes", {"a": 1}, "nodes: no list"),
    ("nodes/0/name", "\ud800", "no UTF-8"), ("accessors/0/count", 10**9, "accessors[0]: 1000000000 elements run over"),
    ("accessors/0", {"componentType": 5126, "count": 10**12, "type": "VEC3"}, "without a buffer view"),
    ("bufferViews/0/byteLength", 10**9, "bufferViews[0]: it ends at byte"), ("buffers/0/byteLength", 10**6, "promised"),
    ("buffers/0/uri", "none.bin", "none.bin"), ("skins/0/joints", [44], "skins[0].joints[0]: no node 44 (there are 2)"),
    ("animations/0/samplers/0/interpolation", "SINE", "animations[0].samplers[0].interpolation: 'SINE'"), ("scene", 3, "scene: no scene 3"),
    ("extensionsRequired", ["EXT_unheard_of"], "extensionsRequired: the file needs EXT_unheard_of")]  # fmt: skip


def refused(data, capsys):
    Path("in.gltf").write_bytes(data)
    assert main(["--quiet", "in.gltf", "out.zrm"]) == 1
    text = capsys.readouterr().err
    assert text.count("\n") == 1 and "fault of gltf2zrm" not in text and not Path("out.zrm").exists()
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
        assert expected in refused(json.dumps(broken).encode(), capsys), expected
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


def test_no_damage_is_a_fault_of_ours(folder, capsys):
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
        assert (code, text.count("\n")) in ((0, 0), (1, 1)) and "fault of gltf2zrm" not in text, (k, text)


def test_a_fault_of_ours_is_told_as_one(folder, capsys, monkeypatch):
    monkeypatch.setattr(gltf2zrm.convert, "set_distances", None)
    random_scene(1).save(folder / "in.gltf")
    for trace in ([], ["--trace"]):
        assert main(["--quiet", *trace, "--report", "r.json", "in.gltf"]) == 1
        text = capsys.readouterr().err
        assert re.search(r"fault of gltf2zrm.*TypeError.*\(in __init__, convert.py:\d+\)", text) and ("Traceback" in text) == bool(trace)
        assert "TypeError" in json.loads(Path("r.json").read_text())["error"]


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
    (folder / "none.gltf").write_text("{")
    assert main(["--quiet", "none.gltf", "--report", "none.gltf"]) == 1 and (folder / "none.gltf").read_text() == "{"
    (folder / "none.gltf").unlink()
    assert {path: path.read_bytes() for path in folder.glob("*.*")} == before
    os.chdir("sub")
    assert main(["--quiet", "../in.gltf"]) == 0 and [path.name for path in Path().iterdir()] == ["in.zrm"]


def test_the_command_itself(folder):
    def run(*arguments, stdout=subprocess.PIPE):
        path = os.pathsep.join([str(Path(zrm.__file__).parent), *sys.path])
        command = [sys.executable, "-m", "gltf2zrm", *arguments]
        return subprocess.run(command, stdout=stdout, stderr=subprocess.PIPE, text=True, timeout=120, env={**os.environ, "PYTHONPATH": path})

    random_scene(2).save(folder / "in.gltf")
    good = run("in.gltf", "out.zrm", "--report", "r.json")
    assert good.returncode == 0 and "triangles" in good.stdout and "\x1b" not in good.stderr
    assert json.loads(Path("r.json").read_text())["bytes"] == Path("out.zrm").stat().st_size
    bad = run("missing.gltf")
    assert bad.returncode == 1 and bad.stderr.startswith("missing.gltf: can't read")
    assert run("in.gltf", "out.zrm", "more").returncode == 2
    assert all(word in run("--help").stdout for word in ("collision", *SWITCHES))
    reader, writer = os.pipe()
    os.close(reader)
    broken = run("--quiet", "in.gltf", "out.zrm", stdout=writer)
    os.close(writer)
    assert (broken.returncode, broken.stderr) == (0, ""), "nobody reads"
