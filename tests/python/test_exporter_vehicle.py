"""The model that the exporter builds without an input file."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest
import zrm_inspect
from exporter_support import SWITCHES, main
from zrm_inspect.animation import property_at
from zrm_inspect.evaluate import evaluate


@pytest.mark.parametrize("off", [SWITCHES, ()], ids=["all off", "all on"])
def test_the_vehicle_is_sound_and_moves(off: tuple[str, ...], tmp_path: Path) -> None:
    path = tmp_path / "vehicle.zrm"
    assert main([*(f"--no-{switch}" for switch in off), "--quiet", str(path)]) == 0
    file = zrm_inspect.read_file(path)
    assert file.root.handle_count == 3 and file.warnings == []
    rest, quarter, full = (evaluate(file, {0: value}) for value in (0.0, 0.25, 1.0))
    moved = 0
    for a, b, c in zip(rest.meshes, quarter.meshes, full.meshes):
        corners = a.positions[a.triangles]
        face = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        assert a.normals is not None
        assert ((face * a.normals[a.triangles[:, 0]]).sum(axis=1) > 0).all(), "wound against its normals"
        assert np.abs(a.positions - c.positions).max() < 1e-5, "a full turn"
        moved += int(np.abs(a.positions - b.positions).max(axis=1).max() > 0.1)
    assert moved >= 1
    points = np.vstack([mesh.positions for mesh in rest.meshes])
    assert points[:, 1].min() == pytest.approx(0.0, abs=1e-5), "the wheels stand on the ground"
    assert {int(argument) for mesh in rest.meshes for argument in mesh.arguments} == {2, zrm_inspect.NO_ARGUMENT}
    (lamp,) = file.light_nodes
    assert [property_at(lamp.brightness, {1: value}) for value in (0.0, 1.0)] == [0.0, 40.0]
