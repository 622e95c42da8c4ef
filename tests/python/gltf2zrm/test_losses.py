"""Nothing is lost without a word: each loss is provoked once, told once, and an error with --strict."""

import json
from pathlib import Path

import numpy as np
import pytest
from support.exporter_support import export, main
from support.gltf_build import Gltf

NAN = [[0, 0, 1], [0, np.nan, 1], [0, 0, 1]]
TRIANGLE = np.eye(3)
UV = np.zeros((3, 2))


def shown(gltf, *, node=None, uv=False, material=None, mode=4, count=3, **more):
    """A triangle on a node."""
    fields = {} if material is None else {"material": gltf.add("materials", material)}
    if uv:
        fields["TEXCOORD_0"] = gltf.array(UV)
    return gltf.node(mesh=gltf.mesh(TRIANGLE, list(range(3))[:count], mode=mode, **fields, **more), **(node or {}))


def texture(gltf, name="a.png", **sampler):
    """The use of a texture."""
    more = {"sampler": gltf.add("samplers", sampler)} if sampler else {}
    return {"index": gltf.add("textures", {"source": gltf.add("images", {"uri": name}), **more})}


def textured(gltf, *more, **sampler):
    shown(gltf, uv=True, material={"pbrMetallicRoughness": {"baseColorTexture": texture(gltf, **sampler)} | (more[0] if more else {})})


def rough(gltf, info=None, **more):
    """Metalness and roughness in a texture, with something else beside it."""
    pbr = {"metallicRoughnessTexture": texture(gltf) | (info or {})}
    material = {"pbrMetallicRoughness": pbr | more.pop("pbr", {})} | more
    shown(gltf, uv=True, material=material)


def occluded(gltf):
    """The same image as occlusion, turned otherwise."""
    info = texture(gltf)
    turned = info | {"extensions": {"KHR_texture_transform": {"rotation": 1.0}}}
    shown(gltf, uv=True, material={"occlusionTexture": info, "pbrMetallicRoughness": {"metallicRoughnessTexture": turned}})


def animated(gltf, path="translation", times=(0, 1), values=None, node=None, more=0):
    index = shown(gltf, node=node)
    rows = np.zeros((len(times), 4 if path == "rotation" else 3)) if values is None else values
    gltf.animation(*[(index, path, times, rows, "LINEAR")] * (1 + more))


def morphed(gltf, weights=False):
    index = shown(gltf, targets=[{"POSITION": gltf.array(TRIANGLE)}])
    if weights:
        gltf.animation((index, "weights", [0, 1], [0, 1], "LINEAR"))


def variants(gltf):
    gltf.json["extensions"] = {"KHR_materials_variants": {"variants": [{"name": "red"}, {"name": "blue"}]}}
    shown(gltf, extensions={"KHR_materials_variants": {"mappings": []}})


def levels(gltf):
    shared = shown(gltf)
    shown(gltf, node={"extensions": {"MSFT_lod": {"ids": [shared]}}})


def scenes(gltf):
    shown(gltf)
    gltf.add("scenes", {"nodes": []})
    gltf.add("nodes", {})


def factor(key, value, **more):
    return lambda gltf: shown(gltf, material={"pbrMetallicRoughness": {key: value}} | more)


LOSSES = {
    "wrap modes": lambda gltf: textured(gltf, wrapS=33071),
    "texture filters": lambda gltf: textured(gltf, magFilter=9728),
    "tangents": lambda gltf: shown(gltf, TANGENT=gltf.array(np.zeros((3, 4)))),
    "vertex colours": lambda gltf: shown(gltf, COLOR_0=gltf.array(TRIANGLE)),
    "attribute _OWN": lambda gltf: shown(gltf, _OWN=gltf.array([1.0, 2, 3])),
    "attribute TEXCOORD_9": lambda gltf: shown(gltf, TEXCOORD_9=gltf.array(UV)),
    "extras of nodes": lambda gltf: shown(gltf, node={"extras": {"made by": "hand"}}),
    "morph targets": morphed,
    "animated morph targets": lambda gltf: morphed(gltf, weights=True),
    "camera": lambda gltf: shown(gltf, node={"camera": gltf.add("cameras", {"type": "perspective"})}),
    "metallicFactor": factor("metallicFactor", 0.5),
    "roughnessFactor": factor("roughnessFactor", 0.5),
    "alpha": factor("baseColorFactor", [1, 1, 1, 0.5]),
    "alpha cutoff": factor("baseColorFactor", [1, 1, 1, 1], alphaMode="MASK", alphaCutoff=0.2),
    "alpha mode 'ODD'": factor("baseColorFactor", [1, 1, 1, 1], alphaMode="ODD"),
    "base colour factor": lambda gltf: textured(gltf, {"baseColorFactor": [1, 0, 0, 1]}),
    "metallic-roughness map": rough,
    "occlusion strength": lambda gltf: shown(gltf, uv=True, material={"occlusionTexture": texture(gltf) | {"strength": 0.5}}),
    "normal scale": lambda gltf: shown(gltf, uv=True, material={"normalTexture": texture(gltf) | {"scale": 2.0}}),
    "texture without an image": lambda gltf: shown(gltf, uv=True, material={"normalTexture": {"index": gltf.add("textures", {})}}),
    "normals that are not finite": lambda gltf: shown(gltf, NORMAL=gltf.array(NAN)),
    "texture coordinates that are not finite": lambda gltf: shown(gltf, TEXCOORD_0=gltf.array(UV * np.nan)),
    "keys at equal times": lambda gltf: animated(gltf, times=(0, 1, 1)),
    "animated matrix": lambda gltf: animated(gltf, node={"matrix": np.eye(4).ravel().tolist()}),
    "animated odd": lambda gltf: animated(gltf, path="odd"),
    "channels that drive one thing twice": lambda gltf: animated(gltf, more=1),
    "points": lambda gltf: (shown(gltf), shown(gltf, mode=0)),
    "lines": lambda gltf: (shown(gltf), shown(gltf, mode=2)),
    "lines of a shell": lambda gltf: (shown(gltf), shown(gltf, mode=2, node={"name": "shell"})),
    "incomplete triangles or lines": lambda gltf: gltf.node(mesh=gltf.mesh(TRIANGLE, [0, 1, 2, 0])),
    "primitives": lambda gltf: gltf.node(mesh=gltf.add("meshes", {"primitives": [{"attributes": {}}]})),
    "glTF version 2.1": lambda gltf: (shown(gltf), gltf.json.update(asset={"version": "2.1"})),
    "extension KHR_unheard_of": lambda gltf: shown(gltf, node={"extensions": {"KHR_unheard_of": {}}}),
    "material variants": variants,
    "levels of detail": levels,
    "scenes": scenes,
}  # fmt: skip


@pytest.mark.parametrize("what", LOSSES)
def test_each_loss_is_told_once_and_refused_by_strict(what, folder, capsys):
    gltf = Gltf()
    LOSSES[what](gltf)
    source = gltf.save(folder / "in.gltf")
    assert main(["in.gltf", "out.zrm", "--report", "r.json"]) == 0
    told = [line for line in capsys.readouterr().err.splitlines() if line.startswith(f"lost: {what}: ")]
    assert len(told) == 1, what
    assert [loss["count"] for loss in json.loads(Path("r.json").read_text())["lost"] if loss["what"] == what] == [1]
    Path("out.zrm").unlink()
    assert main(["--quiet", "--strict", source.name, "out.zrm", "--report", "r.json"]) == 1
    assert "--strict" in capsys.readouterr().err and not Path("out.zrm").exists()
    assert what in [loss["what"] for loss in json.loads(Path("r.json").read_text())["lost"]]


def test_what_is_carried_over_is_no_loss(folder, capsys):
    """Everything that a random scene has, extensions that are merely listed, and no red taken for occlusion."""
    from support.gltf_random import random_scene

    random_scene(3).save(folder / "in.gltf")
    assert main(["--quiet", "--strict", "in.gltf"]) == 1 and "losses of 1 kinds" in capsys.readouterr().err, "morph targets alone"
    gltf = Gltf()
    occluded(gltf)
    (material,) = export(gltf.save(folder / "in.gltf")).file.materials
    assert [texture.name for texture in material.textures.values()] == ["a"] and 13 not in material.textures
