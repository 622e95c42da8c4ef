"""The exporter on real models: each converts without an error text and looks in the saved file as in the source."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import pytest
from exporter_support import MODELS, SWITCHES, compare, export, fingerprint, looks_of, moments, size_of
from gltf_scene import GltfScene

FILES = sorted(path for path in MODELS.glob("*") if path.suffix in (".gltf", ".glb")) if MODELS.is_dir() else []
needs_models = pytest.mark.skipif(not FILES, reason=f"no models in {MODELS}; set ZRM_MODELS")
TOLERANCE = 1e-4
ONE_OFF = [(), *[tuple(other for other in SWITCHES if other != switch) for switch in SWITCHES]]


@needs_models
@pytest.mark.parametrize("path", FILES, ids=lambda path: path.name)
def test_each_vertex_stands_where_the_source_has_it(path: Path, tmp_path: Path) -> None:
    exported = export(path, tmp_path)
    compare(*exported.at())
    for entry in exported.report["arguments"]:
        for seconds in moments(exported, entry["animation"], 14):
            compare(*exported.at(entry["animation"], float(seconds)))


@needs_models
@pytest.mark.parametrize("path", FILES, ids=lambda path: path.name)
def test_passes_of_the_module_change_nothing_that_shows(path: Path, tmp_path: Path) -> None:
    """All passes on and each alone, against the file without any, which the test above holds against the source."""
    plain = export(path, tmp_path)
    entries = plain.report["arguments"]
    moment = [(None, 0.0), *[(entry["animation"], float(s)) for entry in entries for s in moments(plain, entry["animation"], 3)]]
    for off in ONE_OFF:
        passed = export(path, tmp_path, off)
        for animation, seconds in moment:
            want, have = plain.saved(animation, seconds), passed.saved(animation, seconds)
            size = size_of([mesh.positions for mesh in want.meshes])
            expected, found = looks_of(want, size), looks_of(have, size)
            for name in expected:
                assert np.abs(expected[name] - found[name]).max() < TOLERANCE, (name, off, animation, seconds)


@needs_models
@pytest.mark.parametrize(
    "spoil",
    [
        lambda p, uv, t: (p, uv, t[:, ::-1]),
        lambda p, uv, t: (p * [1.0, 1.0, 1.002], uv, t),
        lambda p, uv, t: (p, uv, t[:-20]),
        lambda p, uv, t: (p, uv + [0.0, 0.001], t),
    ],
    ids=["winding", "scaled by two thousandths", "twenty triangles lost", "UVs moved by a thousandth"],
)
def test_the_comparison_sees_small_faults(spoil: Any) -> None:
    """Else the test above proves nothing."""
    mesh = GltfScene(MODELS / "Duck.glb").meshes()[0]
    size = size_of([mesh.positions])
    good = fingerprint([mesh.positions], [mesh.uvs[0]], [mesh.triangles], size)
    positions, uv, triangles = spoil(mesh.positions, mesh.uvs[0], mesh.triangles)
    assert np.abs(good - fingerprint([positions], [uv], [triangles], size)).max() > TOLERANCE


@needs_models
def test_lights_and_animated_materials_of_a_large_scene(tmp_path: Path) -> None:
    path = MODELS / "AnimateAllTheThings.gltf"
    if not path.exists():
        pytest.skip(f"{path} is missing")
    exported = export(path, tmp_path)
    file, report = exported.file, exported.report
    lights = {light.name: light for light in file.light_nodes}
    assert sorted(lights) == ["KHR_lights_punctual-spot", "KHR_lights_punctual-spot-static", "KHR_lights_punctual-spot2"]
    static = lights["KHR_lights_punctual-spot-static"]
    assert static.light_type == 1
    assert static.phi.value == pytest.approx(2 * 0.14609091)  # type: ignore[attr-defined]
    assert static.distance.value == pytest.approx(3.473857)  # type: ignore[attr-defined]
    moving = lights["KHR_lights_punctual-spot2"]
    for name in ("color", "brightness", "phi", "theta", "distance"):
        assert getattr(moving, name).argument == 0, name
    animated = {entry.name for material in file.materials for entry in material.animated_uniforms}
    assert {"color", "selfIlluminationColor", "selfIlluminationValue", "diffuseShift", "opacityValue"} <= animated
    skipped = " ".join(entry["what"] for entry in report["skipped"])
    for word in ("light 0", "weights", "camera", "KHR_materials_iridescence", "normalTexture/scale"):
        assert word in skipped
    assert set(report) >= {"nodes", "materials", "meshes", "vertices", "triangles", "bytes", "seconds"}
