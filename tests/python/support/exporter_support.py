"""Runs gltf2zrm and compares what it saved with the source."""

import json
import os
import zlib
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np
import zrm_inspect
from gltf2zrm.cli import main
from support.gltf_scene import GltfScene
from zrm_inspect.animation import property_at
from zrm_inspect.evaluate import evaluate
from zrm_scene import SWITCHES

ROOT = Path(__file__).resolve().parents[3]
MODELS = Path(os.environ.get("ZRM_MODELS", ROOT.parent / "shared" / "models"))
Array = np.ndarray[Any, Any]
Moment = tuple[int | None, float]  # an animation and a second of it, or rest


@dataclass
class Exported:
    source: GltfScene
    file: zrm_inspect.ZrmFile
    report: dict[str, Any]

    def saved(self, animation=None, seconds=0.0):
        """The file at one second of an animation, or at rest."""
        return evaluate(self.file, {} if animation is None else {animation: self.argument(animation, seconds)})

    def argument(self, animation, seconds):
        entry = self.report["arguments"][animation]
        assert entry["argument"] == animation
        span = entry["seconds_end"] - entry["seconds_start"]
        share = (seconds - entry["seconds_start"]) / span if span else 0.0
        return float(entry["start"] + share * (entry["end"] - entry["start"]))

    @property
    def lost(self):
        """How many places each kind of loss has."""
        return {loss["what"]: loss["count"] for loss in self.report["lost"]}

    def moments(self, count, seed=1):
        """Rest, and for each animation both ends and some random seconds. (Next to a jump both sides of it are right.)"""
        rng = np.random.default_rng(seed)
        ends = [(entry["seconds_start"], entry["seconds_end"]) for entry in self.report["arguments"]]
        return [(None, 0.0), *((k, float(s)) for k, span in enumerate(ends) for s in [*span, *rng.uniform(*span, count)])]

    def compare(self, moments):
        """Mesh by mesh and corner by corner: only for files saved with all switches off."""
        for animation, seconds in moments:
            have, worlds = self.saved(animation, seconds), self.source.worlds(animation, seconds)
            want = self.source.meshes(worlds)
            assert len(have.meshes) == len(want)
            low, high = self.file.root.bounding_box
            rounding = 1e-6 * float(np.abs([low, high]).max())
            for a, b in zip(want, have.meshes):
                place = f"node {a.node}, animation {animation} at {seconds}"
                near(b.positions[b.triangles], a.positions, 0.001, f"{place}: positions")
                assert (b.positions >= low - rounding).all() and (b.positions <= high + rounding).all(), f"{place}: it leaves the box"
                if a.normals is not None and b.normals is not None:
                    near(b.normals[b.triangles], a.normals, 2e-3, f"{place}: normals")
                for kind, uv in a.uvs.items():
                    found = b.uv_of(kind)
                    assert found is not None, f"{place}: {kind}"
                    near(found[b.triangles], uv, 1e-4, f"{place}: UVs of {kind}")
                assert b.material.name == a.material.get("name", b.material.name), place
                color = b.material.uniform("color")
                if color is not None and animation is None and "albedo" not in a.uvs:
                    factor = a.material.get("pbrMetallicRoughness", {}).get("baseColorFactor", [1, 1, 1])
                    near(property_at(color, {}), factor[:3], 1e-6, f"{place}: colour")
            lights = self.source.lights(worlds)
            assert len(lights) == len(have.file.light_nodes)
            for world, light in zip(lights, have.file.light_nodes):
                near(have.world[light.control].T, world, 0.002 * max(1.0, float(np.abs(world).max())), f"light {light.name}")


def near(have, want, tolerance, what):
    assert np.shape(have) == np.shape(want), what
    worst = float(np.abs(np.asarray(have) - want).max(initial=0.0))
    assert worst <= tolerance, f"{what} off by {worst}"


def export(source, off=SWITCHES, *more):
    """Converts with some switches off, all of them unless told otherwise, so that meshes and vertices keep their order."""
    output, report = source.with_suffix(".out.zrm"), source.with_suffix(".report.json")
    if source.parent == MODELS:
        output, report = Path("out.zrm"), Path("report.json")
    options = [*(f"--no-{switch}" for switch in off), *more, "--trace"]
    assert main([*options, "--quiet", "--report", str(report), str(source), str(output)]) == 0
    return Exported(GltfScene(source), zrm_inspect.read_file(output), json.loads(report.read_text(encoding="utf-8")))


def corners_of(saved):
    """(t, 3, values) for all triangles with an area: what shows at each corner, the same for equal looks in any file."""
    size = float(np.linalg.norm(np.ptp(np.vstack([mesh.positions for mesh in saved.meshes]), axis=0)))
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


def multiset(corners):
    """Two lists of triangles are equal as multisets, within some tolerance, when these are, within about the same.

    Each row is a smooth number for each triangle, in ascending order. It is a sum over the three rotations of the
    corners, so it doesn't depend on which comes first, but on the winding.
    """
    rng = np.random.default_rng(7)
    waves, phases = rng.normal(size=(6, *corners.shape[1:])), rng.uniform(0.0, 2.0 * np.pi, (6, 1))
    turned = [np.roll(corners, turn, axis=1) for turn in range(3)]
    return np.sort(sum(np.cos(np.einsum("tcv,kcv->kt", turn, waves) + phases) for turn in turned), axis=1)
