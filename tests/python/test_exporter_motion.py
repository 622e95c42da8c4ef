"""Every moment of an animation, against what the module's reduction of keys leaves of it."""

from __future__ import annotations

from pathlib import Path
from typing import Any

import numpy as np
import pytest
from exporter_support import Exported, compare, export
from gltf_build import Gltf

MODES = ("LINEAR", "STEP", "CUBICSPLINE")
SEED = 20240601


def worst(exported: Exported, animation: int, times: Any, step: bool = False) -> float:
    """Largest distance of any vertex from the source's, at the given seconds; next to a jump both sides are right."""
    distances = []
    for seconds in times:
        source, saved = exported.at(animation, float(seconds))
        distances.append(max(float(np.abs(a.positions[a.triangles] - b.positions[b.triangles]).max()) for a, b in zip(source, saved.meshes)))
    if step:
        distances = sorted(distances)[: -max(1, len(distances) // 100)]
    return max(distances)


def looks(rng: np.random.Generator, times: Any, count: int) -> Any:
    """Random seconds, and the middles between keys."""
    return np.concatenate([rng.uniform(times[0], times[-1], count), (np.array(times[1:]) + np.array(times[:-1])) / 2])


# Values that lie on the straight way from the rest pose to a later key, where the module's walk takes them for superfluous.
LINES = {
    "a key on the way to the end": ([0, 1, 2, 10], [0, 5, 2, 10]),
    "back to rest at once": ([0, 1, 2, 3], [0, 4, 0, 0]),
    "there and back": ([0, 1, 2, 3, 4, 5], [0, 1, -1, 1, -1, 0]),
    "one jump within a hundredth of a second": ([0, 5, 5.01, 10], [0, 0, 3, 3]),
    "late start": ([8, 9, 10], [7, 8, 7]),
    "one key": ([3], [2]),
}


@pytest.mark.parametrize("mode", ["LINEAR", "STEP"])
@pytest.mark.parametrize("path", ["translation", "rotation", "scale"])
@pytest.mark.parametrize("name", LINES)
def test_keys_that_the_reduction_would_lose(name: str, path: str, mode: str, tmp_path: Path) -> None:
    times, heights = LINES[name]
    heights = np.array(heights, float)
    # The key at the second 2 also lies on the way from rest, at the argument 0, if the way to the clip's start counts.
    span = max(times) - min(times) or 1.0
    sloped = heights + (1.0 if mode == "LINEAR" else 0.0) * span / 7.0
    for shape in (heights, sloped):
        values = {
            "translation": np.stack([shape, 0 * shape, 2 * shape], axis=1),
            "rotation": np.stack([np.sin(shape / 9), 0 * shape, 0 * shape, np.cos(shape / 9)], axis=1),
            "scale": np.exp(np.stack([shape, 0 * shape, shape], axis=1) / 5),
        }[path]
        gltf = Gltf()
        node = gltf.node(mesh=gltf.triangle())
        gltf.animation((node, path, times, values, mode))
        exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
        compare(*exported.at())
        assert worst(exported, 0, looks(np.random.default_rng(SEED), times, 60), mode == "STEP") <= 0.001


@pytest.mark.parametrize("seed", range(SEED, SEED + 5))
@pytest.mark.parametrize("mode", MODES)
def test_random_chains_of_moving_nodes(mode: str, seed: int, tmp_path: Path) -> None:
    rng = np.random.default_rng(seed)
    gltf = Gltf()
    chain: list[int] = []
    for level in range(4):
        rest = {"translation": rng.normal(size=3).tolist(), "scale": rng.uniform(0.5, 2.0, 3).tolist()}
        turn = rng.normal(size=4)
        rest["rotation"] = (turn / np.linalg.norm(turn)).tolist()
        node = gltf.node(root=level == 0, **rest)
        if chain:
            gltf.json["nodes"][chain[-1]]["children"] = [node]
        chain.append(node)
    gltf.json["nodes"][chain[-1]]["mesh"] = gltf.triangle(3.0)
    for _ in range(2):  # two clips on the same nodes must leave each other alone
        tracks = []
        for node in chain:
            for path, width in (("translation", 3), ("rotation", 4), ("scale", 3)):
                count = int(rng.integers(1, 9))
                times = np.sort(rng.choice(np.arange(60), count, replace=False)) / 7.0
                # Small whole numbers lie on common lines far more often than chance would have it.
                values = rng.integers(-2, 3, size=(count * (3 if mode == "CUBICSPLINE" else 1), width)).astype(float)
                if path == "rotation":
                    values[:, 3] += 2.5
                    if mode != "CUBICSPLINE":
                        values /= np.linalg.norm(values, axis=1, keepdims=True)
                if path == "scale":
                    values = 1.0 + values * 0.2
                tracks.append((node, path, times, values, mode))
        gltf.animation(*tracks)
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    compare(*exported.at())
    for animation in range(2):
        entry = exported.report["arguments"][animation]
        times = rng.uniform(entry["seconds_start"], entry["seconds_end"], 80)
        assert worst(exported, animation, times, mode == "STEP") <= 0.001


@pytest.mark.parametrize(("count", "reach"), [(400, 1.0), (400, 300.0), (20000, 1.0)])
def test_baked_motion(count: int, reach: float, tmp_path: Path) -> None:
    """Every frame a key, small steps; what is far from a turning node needs finer keys."""
    rng = np.random.default_rng(SEED)
    times = np.arange(count) / 60.0
    steps = rng.normal(size=(count, 3)).cumsum(axis=0) * 0.001
    turn = np.concatenate([steps, np.ones((count, 1))], axis=1)
    gltf = Gltf()
    node = gltf.node(mesh=gltf.triangle(reach))
    turn /= np.linalg.norm(turn, axis=1, keepdims=True)
    gltf.animation((node, "translation", times, steps * 5, "LINEAR"), (node, "rotation", times, turn, "LINEAR"), (node, "scale", times, np.exp(steps), "LINEAR"))
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    assert worst(exported, 0, looks(rng, times[:: max(count // 200, 1)], 200)) <= 0.001


def test_rest_scale_of_zero(tmp_path: Path) -> None:
    gltf = Gltf()
    node = gltf.node(mesh=gltf.triangle(10.0), scale=[0, 1, 0])
    gltf.animation((node, "scale", [0, 1, 2], [[0, 1, 0], [3, 2, 0.5], [1, 1, 1]], "LINEAR"))
    gltf.animation((node, "scale", [0, 1], [[1, 1, 1], [2, 2, 2]], "LINEAR"))
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    compare(*exported.at())
    for animation, last in ((0, 2.0), (1, 1.0)):
        assert worst(exported, animation, np.linspace(0, last, 33)) <= 0.001


def test_half_turns_go_the_way_of_their_signs(tmp_path: Path) -> None:
    gltf = Gltf()
    node = gltf.node(mesh=gltf.triangle(), rotation=[0.6, 0.0, 0.8, 0.0])
    gltf.animation((node, "rotation", [0, 1, 2], [[0, 0, 0, 1], [0, 1, 0, 0], [0, 0, 0, -1]], "LINEAR"))
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    assert worst(exported, 0, np.linspace(0.05, 1.95, 39)) <= 0.001


def test_pointers_to_nodes_move_them(tmp_path: Path) -> None:
    gltf = Gltf()
    node = gltf.node(mesh=gltf.triangle())
    gltf.animation((node, "translation", [0, 1], [[0, 0, 0], [1, 2, 3]], "LINEAR"))
    target = {"path": "pointer", "extensions": {"KHR_animation_pointer": {"pointer": f"/nodes/{node}/translation"}}}
    gltf.json["animations"][0]["channels"][0]["target"] = target
    exported = export(gltf.save(tmp_path / "in.gltf"), tmp_path)
    assert worst(exported, 0, np.linspace(0, 1, 9)) <= 0.001
    source, _ = exported.at(0, 1.0)
    assert source[0].positions[0, 2] == pytest.approx(3.0)
