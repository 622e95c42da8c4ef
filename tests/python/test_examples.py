"""The example scripts: each writes a legal file that shows what the script says."""

import runpy
import sys
from pathlib import Path

import numpy as np
import pytest
import vehicle
import zrm_inspect
import zrm_scene
from zrm_inspect.animation import property_at
from zrm_inspect.evaluate import evaluate

EXAMPLES = Path(vehicle.__file__).parent


def run(name, folder, monkeypatch):
    """A script with the name of its output, as from the command line."""
    monkeypatch.setattr(sys, "argv", [name, str(folder / "out.zrm")])
    runpy.run_path(str(EXAMPLES / f"{name}.py"), run_name="__main__")
    file = zrm_inspect.read_file("out.zrm")
    assert file.warnings == []
    return file


@pytest.mark.parametrize("on", [False, True], ids=["all off", "all on"])
def test_the_vehicle_is_sound_and_moves(on, folder):
    with zrm_scene.optimizations(on), zrm_scene.save("vehicle.zrm") as scene:
        vehicle.build(scene)
    file = zrm_inspect.read_file("vehicle.zrm")
    assert file.root.handle_count == 3 and file.warnings == []
    rest, quarter, full = (evaluate(file, {0: value}).meshes for value in (0.0, 0.25, 1.0))
    for mesh in rest:
        corners = mesh.positions[mesh.triangles]
        face = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        assert mesh.normals is not None and ((face * mesh.normals[mesh.triangles[:, 0]]).sum(axis=1) > 0).all(), "winding"
    turned, back = [max(np.abs(a.positions - b.positions).max() for a, b in zip(rest, other)) for other in (quarter, full)]
    assert turned > 0.1 and back < 1e-5, "the wheels turn once"
    assert min(mesh.positions[:, 1].min() for mesh in rest) == pytest.approx(0.0, abs=1e-5), "they stand on the ground"
    assert {int(argument) for mesh in rest for argument in mesh.arguments} == {2, zrm_inspect.NO_ARGUMENT}
    assert [property_at(file.light_nodes[0].brightness, {1: value}) for value in (0.0, 1.0)] == [0.0, 40.0]


def test_levels_of_detail_and_a_lid(folder, monkeypatch):
    file = run("levels", folder, monkeypatch)
    closed, open_ = (evaluate(file, {0: value}) for value in (0.0, 0.75))
    ranges = [closed.lod_ranges(int(mesh.controls[0])) for mesh in closed.meshes]
    fars = [[far for _, _, far in found] for found in ranges]
    assert fars[0] == [400.0] and fars[1] == [6400.0] and len(fars[2]) == 1 and fars[3] == []
    assert [scene.meshes[3].triangle_visible.all() for scene in (closed, open_)] == [True, False]
    assert len(file.shell_nodes) == 1


def test_a_number_display(folder, monkeypatch):
    file = run("number", folder, monkeypatch)
    controls = [row[0] for node in file.render_nodes for rows in node.numbers for row in rows.tolist()]
    assert sorted(controls) == [0, 1, 2] and {node.type_name for node in file.render_nodes} == {"model::NumberNode"}


def test_a_night_scene(folder, monkeypatch):
    file = run("night", folder, monkeypatch)
    assert len(file.light_nodes) == 5
    sprites = {node.type_name: len(node.lights) for node in file.render_nodes if node.lights is not None}
    assert sprites == {"model::FakeOmniLightsNode": 8, "model::AnimatedFakeOmniLightsNode": 8}
