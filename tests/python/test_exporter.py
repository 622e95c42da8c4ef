"""The exporter on real models: each converts without an error text and looks in the saved file as in the source."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pytest
from exporter_support import MODELS, SWITCHES, compare, export, fingerprint, moments

FILES = sorted(path for path in MODELS.glob("*") if path.suffix in (".gltf", ".glb")) if MODELS.is_dir() else []
needs_models = pytest.mark.skipif(not FILES, reason=f"no models in {MODELS}; set ZRM_MODELS")
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
@pytest.mark.parametrize("off", ONE_OFF, ids=lambda off: "all on" if not off else "+".join(set(SWITCHES) - set(off)))
@pytest.mark.parametrize("path", FILES, ids=lambda path: path.name)
def test_passes_of_the_module_change_nothing_that_shows(path: Path, off: tuple[str, ...], tmp_path: Path) -> None:
    exported = export(path, tmp_path, off)
    looks = [(None, 0.0)]
    looks += [(entry["animation"], float(s)) for entry in exported.report["arguments"] for s in moments(exported, entry["animation"], 3)]
    for animation, seconds in looks:
        source, saved = exported.at(animation, seconds)
        points = np.vstack([mesh.positions for mesh in source])
        size = float(np.linalg.norm(points.max(axis=0) - points.min(axis=0)))
        want = fingerprint([(mesh.positions, None, mesh.triangles) for mesh in source], size)
        have = fingerprint([(mesh.positions, None, mesh.triangles) for mesh in saved.meshes], size)
        assert np.abs(want - have).max() < 5e-4


@needs_models
@pytest.mark.parametrize(
    ("spoil", "why"),
    [
        (lambda p, t: (p, t[:, ::-1]), "winding"),
        (lambda p, t: (p * [1.0, 1.0, 1.002], t), "a scale of two thousandths"),
        (lambda p, t: (p, t[:-20]), "twenty triangles lost"),
    ],
    ids=lambda value: value if isinstance(value, str) else "",
)
def test_the_comparison_sees_small_faults(spoil: object, why: str) -> None:
    """Else the test above proves nothing."""
    from gltf_scene import GltfScene

    mesh = GltfScene(MODELS / "Duck.glb").meshes()[0]
    size = float(np.linalg.norm(np.ptp(mesh.positions, axis=0)))
    good = fingerprint([(mesh.positions, None, mesh.triangles)], size)
    positions, triangles = spoil(mesh.positions, mesh.triangles)  # type: ignore[operator]
    assert np.abs(good - fingerprint([(positions, None, triangles)], size)).max() > 5e-4


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
    assert set(report["counts"] if "counts" in report else report) >= {"nodes", "materials", "meshes", "vertices", "triangles", "bytes", "seconds"}
