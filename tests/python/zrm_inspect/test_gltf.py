"""The glTF that zrm-inspect writes shows, in an evaluation of its own, what the file shows."""

import numpy as np
import pytest
from click.testing import CliRunner
from support.exporter_support import MODELS, export
from support.gltf_scene import GltfScene
from support.small_files import animation, bone, lod, node, packed, render, skin, small, transform, visibility
from support.small_files import SKIN_FORMAT
from zrm_inspect import evaluate, read_file
from zrm_inspect.cli import main


def compare(path, folder, level=0):
    """At rest and at some values of each argument; the corners of each part in the order of the file."""
    output = folder / "out.glb"
    assert CliRunner().invoke(main, ["gltf", str(path), "-o", str(output), "--level", str(level)]).exit_code == 0
    file, scene = read_file(path), GltfScene(output)
    moments = [(None, 0.0, {})]
    for number, entry in enumerate(scene.json.get("animations", [])):
        extras, spans = entry["extras"], [scene.accessor(sampler["input"])[-1, 0] for sampler in entry["samplers"]]
        for seconds in np.random.default_rng(number).uniform(0, max(spans), 3):
            moments.append((number, seconds, {extras["argument"]: extras["start"] + seconds}))
    for number, seconds, arguments in moments:
        want = [mesh.positions[mesh.triangles[mesh.parts[mesh.triangles[:, 0]] == part]] * mesh.visible[part]
                for mesh in evaluate(file, arguments).meshes for part in range(len(mesh.controls))]  # fmt: skip
        have = sorted(scene.meshes(scene.worlds(number, seconds)), key=lambda mesh: mesh.node)
        want = [corners for corners in want if len(corners)]
        assert len(have) == len(want)
        size = max((np.abs(corners).max() for corners in want), default=1.0)
        for one, other in zip(have, want):
            assert one.positions.shape == other.shape
            assert np.abs(one.positions - other).max() <= 2e-4 * max(size, 1.0), (arguments, one.node)
    return scene.json


@pytest.mark.skipif(not MODELS.is_dir(), reason=f"no models in {MODELS}; set ZRM_MODELS")
@pytest.mark.parametrize("source", sorted(MODELS.glob("*.gl*")), ids=lambda path: path.name)
def test_real_models(source, folder):
    export(source, ())
    compare(folder / "out.zrm", folder)


QUARTER = (0.0, 0.0, 0.5**0.5, 0.5**0.5)
TURN = [(0, [(0, 0, 0, 0, 1), (1, *QUARTER)])]
SHIFTS = [(0, [(-1, 0, 0, 0), (0.5, 3, 4, 5), (0.5, 9, 9, 9), (2, 1, 1, 1)]), (1, [(0, 0, 0, 0), (1, 1, 0, 0)])]
MOTION = animation("ArgAnimationNode", SHIFTS, TURN * 2, [(2, [], [(0, 1, 1, 1), (1, 2, 3, 4)])], base_rotation=QUARTER,
                   base_scale=(1, -2, 1))  # fmt: skip
TREE = [(-1, transform()), (0, MOTION), (0, bone()), (2, bone())]


def test_motion_parts_and_mirrors(folder):
    rows = [[x, y, 0.0, part, 0, 0, 1, 0, 0] for part in (0, 1) for x, y in ((0, 0), (1, 0), (0, 1))]
    two = render(parents=[[1, 0xFFFFFFFF], [2, 3]], rows=rows, triangles=range(6))
    (folder / "a.zrm").write_bytes(small(TREE, 4, render_nodes=[two]))
    told = compare(folder / "a.zrm", folder)
    assert [entry["name"] for entry in told["animations"]] == ["argument 0", "argument 1", "argument 2"]


def test_skins_switches_and_levels(folder):
    rows = [[x, y, 0.0, packed(0, 1, 0, 9), 0, 0, 1, 0.25, 0.75, 0, 0] for x, y in ((0, 0), (1, 0), (0, 1))]
    (folder / "b.zrm").write_bytes(small(TREE, 3, SKIN_FORMAT, render_nodes=[skin([2, 3], rows)]))
    assert compare(folder / "b.zrm", folder)["skins"][0]["joints"] != []
    nodes = [(-1, node()), (0, lod((0, 1), (1, 2))), (1, transform()), (1, visibility((0, [(0.25, 0.5)])))]
    (folder / "c.zrm").write_bytes(small(nodes, 1, render_nodes=[render([[3, 0xFFFFFFFF]])]))
    assert compare(folder / "c.zrm", folder, level=1)["animations"][0]["channels"][0]["target"]["path"] == "scale"
    assert CliRunner().invoke(main, ["gltf", "c.zrm", "-o", "d.glb"]).exit_code == 0
    assert GltfScene(folder / "d.glb").json.get("meshes") in (None, [])
