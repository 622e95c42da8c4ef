"""Runs the exporter and compares what it saved with the source, for the exporter's tests."""

from __future__ import annotations

import json
import os
import sys
import zlib
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


def corners_of(saved: Scene, size: float) -> Array:
    """(t, 3, values) for all triangles with an area: what shows at each corner, the same for equal looks in any file."""
    parts = []
    for mesh in saved.meshes:
        points = mesh.positions[mesh.triangles]
        area = np.linalg.norm(np.cross(points[:, 1] - points[:, 0], points[:, 2] - points[:, 0]), axis=1) / 2
        count = len(mesh.positions)
        uvs = [mesh.uv_of(kind) for kind in ("albedo", "emissive")]
        columns = [mesh.positions / size, np.zeros((count, 3)) if mesh.normals is None else mesh.normals]
        columns += [np.zeros((count, 2)) if uv is None else uv for uv in uvs]
        columns.append(np.full((count, 1), zlib.crc32(mesh.material.name.encode()) / 2**32))
        parts.append(np.hstack(columns)[mesh.triangles][area > 1e-10 * size**2])
    return np.concatenate(parts)


def multiset(corners: Array) -> Array:
    """Two lists of triangles are equal as multisets, within some tolerance, when these are, within about the same.

    Each row is a smooth number for each triangle, in ascending order. It is a sum over the three rotations of the
    corners, so it doesn't depend on which comes first, but on the winding.
    """
    rng = np.random.default_rng(7)
    waves, phases = rng.normal(size=(6, *corners.shape[1:])), rng.uniform(0.0, 2.0 * np.pi, (6, 1))
    turned = [np.roll(corners, turn, axis=1) for turn in range(3)]
    sums = [np.cos(np.einsum("tcv,kcv->kt", turn, waves) + phases) for turn in turned]
    return np.sort(sum(sums), axis=1)
