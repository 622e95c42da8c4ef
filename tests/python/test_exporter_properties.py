"""Animated values that are no motion: colours, texture shifts, lights."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import pytest
from exporter_support import Exported, export
from gltf_build import Gltf
from zrm_inspect.animation import property_at

# Keys that lie on the straight way from the rest value to a later key, which the module's reduction takes for superfluous.
TIMES = [0.0, 1.0, 2.0, 3.0, 4.0]
HEIGHTS = np.array([0.0, 0.8, 0.0, 0.4, 0.0])


def pointers(gltf: Gltf, mode: str, tracks: dict[str, Any]) -> None:
    gltf.animation(*[(0, "pointer", TIMES, values, mode) for values in tracks.values()])
    for channel, pointer in zip(gltf.json["animations"][0]["channels"], tracks):
        channel["target"] = {"path": "pointer", "extensions": {"KHR_animation_pointer": {"pointer": pointer}}}


def follows(exported: Exported, entry: Any, rest: Any, values: Any, mode: str, tolerance: float) -> None:
    """An animated property has its rest value at the argument 0, and the source's values during the clip."""
    rows = np.asarray(values, float).reshape(len(TIMES), -1)
    np.testing.assert_allclose(np.atleast_1d(property_at(entry, {0: 0.0})), rest, atol=1e-6)
    for seconds in np.arange(0.01, 4.0, 0.07):
        k = int(seconds)
        want = rows[k] if mode == "STEP" else rows[k] + (rows[k + 1] - rows[k]) * (seconds - k)
        have = np.atleast_1d(property_at(entry, {0: exported.argument(0, float(seconds))}))
        np.testing.assert_allclose(have, want, atol=tolerance, err_msg=f"{entry.name} at {seconds}")


@pytest.mark.parametrize("mode", ["LINEAR", "STEP"])
def test_pointers_drive_materials_and_lights(mode: str, tmp_path: Path) -> None:
    colours = np.outer(HEIGHTS, [1.0, 0.5, 0.25, 0.0]) + [0, 0, 0, 0.5]
    colours[:, 3] += HEIGHTS / 2
    gltf = Gltf()
    gltf.add("materials", {"alphaMode": "BLEND", "pbrMetallicRoughness": {"baseColorFactor": [0, 0, 0, 0.5]}})
    gltf.add("textures", {"source": gltf.add("images", {"uri": "a.png"})})
    gltf.add("materials", {"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}, "emissiveFactor": [0, 0, 0]})
    uv = gltf.array(np.zeros((3, 2)))
    for material in range(2):
        gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2], material=material, TEXCOORD_0=uv))
    lights = [{"type": "point", "intensity": 4.0}, {"type": "spot", "range": 3.0, "spot": {"outerConeAngle": 0.5}}, {"type": "directional"}]
    gltf.json["extensions"] = {"KHR_lights_punctual": {"lights": lights}}
    for light in range(3):
        gltf.node(extensions={"KHR_lights_punctual": {"light": light}})
    offset = np.outer(HEIGHTS, [3.0, -1.0])
    root = "/extensions/KHR_lights_punctual/lights/1"
    tracks = {
        "/materials/0/pbrMetallicRoughness/baseColorFactor": colours,
        "/materials/1/pbrMetallicRoughness/baseColorTexture/extensions/KHR_texture_transform/offset": offset,
        "/materials/1/emissiveFactor": colours[:, :3],
        "/materials/1/extensions/KHR_materials_emissive_strength/emissiveStrength": 1 + HEIGHTS,
        f"{root}/color": 1 - colours[:, :3],
        f"{root}/intensity": 1 + 50 * HEIGHTS,
        f"{root}/spot/outerConeAngle": 0.5 + HEIGHTS,
        "/materials/0/alphaCutoff": HEIGHTS,
    }
    pointers(gltf, mode, tracks)
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    plain, textured = exported.file.materials
    found = {entry.name: entry for material in (plain, textured) for entry in material.animated_uniforms}
    follows(exported, found["color"], [0, 0, 0], colours[:, :3], mode, 0.003)
    follows(exported, found["opacityValue"], [0.5], colours[:, 3], mode, 0.001)
    follows(exported, found["diffuseShift"], [0, 0], offset, mode, 0.003)
    follows(exported, found["selfIlluminationColor"], [0, 0, 0], colours[:, :3], mode, 0.003)
    follows(exported, found["selfIlluminationValue"], [1], 1 + HEIGHTS, mode, 0.002)
    point, spot = exported.file.light_nodes
    follows(exported, spot.color, [1, 1, 1], 1 - colours[:, :3], mode, 0.003)
    follows(exported, spot.brightness, [1], 1 + 50 * HEIGHTS, mode, 0.05)
    follows(exported, spot.phi, [1], 1 + 2 * HEIGHTS, mode, 0.002)
    assert (point.light_type, spot.light_type) == (0, 1)
    # Without a range a light ends where it has fallen to a hundredth of a candela per square metre.
    assert property_at(point.distance, {}) == pytest.approx(20.0)
    assert property_at(spot.distance, {}) == pytest.approx(3.0)
    skipped = [entry["what"] for entry in exported.report["skipped"]]
    assert any("alphaCutoff" in what for what in skipped) and any("light 2" in what for what in skipped)
