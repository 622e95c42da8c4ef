"""The exporter on real models: each converts without an error text and looks in the saved file as in the source."""

from __future__ import annotations

from collections.abc import Callable
from pathlib import Path

import numpy as np
import pytest
from exporter_support import MODELS, SWITCHES, Array, compare, corners_of, export, moments, multiset, size_of

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
            expected, found = multiset(corners_of(want, size)), multiset(corners_of(have, size))
            assert expected.shape == found.shape, (off, animation, seconds)
            assert np.abs(expected - found).max(initial=0.0) < TOLERANCE, (off, animation, seconds)


def turn_one_over(corners: Array) -> Array:
    return np.concatenate([corners[:1, ::-1], corners[1:]])


def move_one_uv(corners: Array) -> Array:
    changed = corners.copy()
    changed[5, 1, 6] += 0.002
    return changed


@needs_models
@pytest.mark.parametrize("spoil", [turn_one_over, move_one_uv, lambda c: c * ([1, 1, 1.002] + [1] * 8), lambda c: c + 0.001])
def test_the_comparison_sees_small_faults(spoil: Callable[[Array], Array], tmp_path: Path) -> None:
    """Else the test above proves nothing."""
    scene = export(MODELS / "Duck.glb", tmp_path).saved()
    corners = corners_of(scene, size_of([mesh.positions for mesh in scene.meshes]))
    good = multiset(corners)
    assert np.abs(good - multiset(np.roll(corners[::-1], 1, axis=1))).max() < 1e-12
    assert np.abs(good - multiset(spoil(corners))).max() > TOLERANCE


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
