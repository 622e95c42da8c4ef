"""The model that the exporter builds without an input file."""

import numpy as np
import pytest
import zrm_inspect
from support.exporter_support import SWITCHES, main
from zrm_inspect.animation import property_at
from zrm_inspect.evaluate import evaluate


@pytest.mark.parametrize("off", [SWITCHES, ()], ids=["all off", "all on"])
def test_the_vehicle_is_sound_and_moves(off, folder):
    assert main([*(f"--no-{switch}" for switch in off), "--quiet", "--demo", "vehicle.zrm"]) == 0
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
