"""Runs the exporter and compares what it saved with the source, for the exporter's tests."""

from __future__ import annotations

import json
import os
import sys
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "Utils/ZRMTools/zrm_inspect"))
sys.path.insert(0, str(ROOT / "examples"))

import zrm_inspect  # noqa: E402
from gltf_export.cli import SWITCHES, main  # noqa: E402
from gltf_scene import GltfScene, SceneMesh  # noqa: E402
from zrm_inspect.evaluate import Scene, evaluate  # noqa: E402

MODELS = Path(os.environ.get("ZRM_MODELS", ROOT.parent / "shared" / "models"))
Array = np.ndarray[Any, Any]


@dataclass
class Exported:
    source: GltfScene
    file: zrm_inspect.ZrmFile
    report: dict[str, Any]

    def at(self, animation: int | None = None, seconds: float = 0.0) -> tuple[list[SceneMesh], Scene]:
        """The source and the file at one second of an animation, or at rest."""
        return self.source.meshes(animation, seconds), self.saved(animation, seconds)

    def saved(self, animation: int | None = None, seconds: float = 0.0) -> Scene:
        """The file alone."""
        return evaluate(self.file, {} if animation is None else {animation: self.argument(animation, seconds)})

    def argument(self, animation: int, seconds: float) -> float:
        entry = self.report["arguments"][animation]
        assert entry["argument"] == entry["animation"] == animation
        span = entry["seconds_end"] - entry["seconds_start"]
        share = (seconds - entry["seconds_start"]) / span if span else 0.0
        return float(entry["start"] + share * (entry["end"] - entry["start"]))


def export(source: Path, folder: Path, off: tuple[str, ...] = SWITCHES) -> Exported:
    """Converts with some switches off, all of them unless told otherwise, so that meshes and vertices keep their order."""
    output, report = folder / "out.zrm", folder / "report.json"
    options = [f"--no-{switch}" for switch in off]
    assert main([*options, "--quiet", "--report", str(report), str(source), str(output)]) == 0
    return Exported(GltfScene(source), zrm_inspect.read_file(output), json.loads(report.read_text(encoding="utf-8")))


def moments(exported: Exported, animation: int, count: int) -> Array:
    entry = exported.report["arguments"][animation]
    return np.linspace(entry["seconds_start"], entry["seconds_end"], count)


def compare(want: list[SceneMesh], have: Scene, tolerance: float = 0.001) -> None:
    """Mesh by mesh and vertex by vertex: only for files saved with all switches off."""
    assert len(have.meshes) == len(want)
    for a, b in zip(want, have.meshes):
        got, expected = b.positions[b.triangles], a.positions[a.triangles]
        assert got.shape == expected.shape
        assert np.abs(got - expected).max(initial=0.0) <= tolerance, f"positions of node {a.node}"
        if a.normals is not None and b.normals is not None:
            off = np.abs(b.normals[b.triangles] - a.normals[a.triangles]).max(initial=0.0)
            assert off < 2e-3, f"normals of node {a.node}"
        uv = b.uv_of(0)
        if uv is not None and 0 in a.uvs:
            assert np.abs(uv[b.triangles] - a.uvs[0][a.triangles]).max(initial=0.0) < 1e-5, f"UVs of node {a.node}"


def size_of(positions: list[Array]) -> float:
    """Diagonal of the box around everything."""
    points = np.vstack(positions)
    return float(np.linalg.norm(np.ptp(points, axis=0)))


def fingerprint(positions: list[Array], values: list[Array | None], triangles: list[Array], size: float) -> Array:
    """Sums over all triangles that do not depend on their order, on which corner comes first or on how vertices are
    shared, but on everything that shows: position, winding, size, and `values` (normals, UVs) at the corners.

    The sums weigh each triangle's area vector by waves through space, so a triangle without area adds nothing.
    """
    rng = np.random.default_rng(7)
    waves = rng.normal(size=(24, 3)) * 4.0 / size
    phases = rng.uniform(0.0, 2.0 * np.pi, 24)
    sums, area = np.zeros((24, 6)), 0.0
    for points, extra, faces in zip(positions, values, triangles):
        corners = points[faces]
        normal = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0]) * 0.5
        weight = np.linalg.norm(normal, axis=1, keepdims=True)
        height = np.cos(corners.mean(axis=1) @ waves.T + phases)
        sums[:, :3] += height.T @ normal
        if extra is not None:
            sums[:, 3 : 3 + extra.shape[1]] += height.T @ (weight * extra[faces].mean(axis=1))
        area += float(weight.sum())
    return np.vstack([sums / max(area, 1e-30), np.full(6, area / size**2)])


def looks_of(saved: Scene, size: float) -> dict[str, Array]:
    """Fingerprints of a saved file's shape, normals and texture coordinates."""
    meshes = saved.meshes
    shapes, faces = [mesh.positions for mesh in meshes], [mesh.triangles for mesh in meshes]
    return {
        "normals": fingerprint(shapes, [mesh.normals for mesh in meshes], faces, size),
        "albedo UVs": fingerprint(shapes, [mesh.uv_of(0) for mesh in meshes], faces, size),
        "emissive UVs": fingerprint(shapes, [mesh.uv_of(8) for mesh in meshes], faces, size),
    }
