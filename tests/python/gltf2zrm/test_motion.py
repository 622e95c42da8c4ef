"""Every moment of an animation, against what the module's reduction of keys leaves of it."""

import numpy as np
import pytest
from support.exporter_support import export
from support.gltf_build import Gltf

# Values that lie on the straight way from the rest pose to a later key, where the module's walk takes them for superfluous.
LINES = {"a key on the way to the end": ([0, 1, 2, 10], [0, 5, 2, 10]), "back to rest at once": ([0, 1, 2, 3], [0, 4, 0, 0]),
    "there and back": ([0, 1, 2, 3, 4, 5], [0, 1, -1, 1, -1, 0]),
    "one jump within a hundredth of a second": ([0, 5, 5.01, 10], [0, 0, 3, 3]),
    "late start": ([8, 9, 10], [7, 8, 7]),
    "one key": ([3], [2])}  # fmt: skip


@pytest.mark.parametrize("mode", ["LINEAR", "STEP"])
@pytest.mark.parametrize("name", LINES)
def test_keys_that_the_reduction_would_lose(name, mode, folder):
    times, heights = LINES[name]
    gltf, tracks = Gltf(), []
    # With a slope, the key at the second 2 also lies on the way from rest, if the way to the clip's start counts.
    for rise in {0.0, (mode == "LINEAR") * (max(times) - min(times) or 1.0) / 7.0}:
        h = np.array(heights) + rise
        tracks.append((gltf.node(mesh=gltf.triangle()), "translation", times, np.stack([h, 0 * h, 2 * h], axis=1), mode))
        tracks.append((gltf.node(mesh=0), "rotation", times, np.stack([np.sin(h / 9), 0 * h, 0 * h, np.cos(h / 9)], axis=1), mode))
        tracks.append((gltf.node(mesh=0), "scale", times, np.exp(np.stack([h, 0 * h, h], axis=1) / 5), mode))
    gltf.animation(*tracks)
    exported = export(gltf.save(folder / "in.gltf"))
    middles = [(0, (a + b) / 2) for a, b in zip(times, times[1:])]
    exported.compare([*exported.moments(60), *middles])


@pytest.mark.parametrize(("count", "reach"), [(400, 1.0), (400, 300.0), (20000, 1.0)])
def test_baked_motion(count, reach, folder):
    """Every frame a key, small steps; what is far from a turning node needs finer keys."""
    times = np.arange(count) / 60.0
    steps = np.random.default_rng(20240601).normal(size=(count, 3)).cumsum(axis=0) * 0.001
    turn = np.hstack([steps, np.ones((count, 1))])
    values = {"translation": steps * 5, "rotation": turn / np.linalg.norm(turn, axis=1, keepdims=True), "scale": np.exp(steps)}
    gltf = Gltf()
    gltf.animation(*[(0, path, times, rows, "LINEAR") for path, rows in values.items()])
    gltf.node(mesh=gltf.triangle(reach))
    exported = export(gltf.save(folder / "in.gltf"))
    exported.compare(exported.moments(300))


def test_scales_of_zero_half_turns_and_pointers(folder):
    gltf = Gltf()
    flat, pointed = gltf.node(mesh=gltf.triangle(), scale=[0, 1, 0]), gltf.node(mesh=0)
    turned = gltf.node(mesh=0, rotation=[0.6, 0.0, 0.8, 0.0])
    gltf.animation((flat, "scale", [0, 1, 2], [[0, 1, 0], [3, 2, 0.5], [1, 1, 1]], "LINEAR"))
    gltf.animation((flat, "scale", [0, 1], [[1, 1, 1], [2, 2, 2]], "LINEAR"))
    # A half turn goes the way of its signs; in its exact middle both ways are right.
    gltf.animation((turned, "rotation", [0, 1, 2], [[0, 0, 0, 1], [0, 1, 0, 0], [0, 0, 0, -1]], "LINEAR"))
    gltf.animation((pointed, "pointer", [0, 1], [[0, 0, 0], [1, 2, 3]], "LINEAR"))
    pointer = {"KHR_animation_pointer": {"pointer": f"/nodes/{pointed}/translation"}}
    gltf.json["animations"][3]["channels"][0]["target"] = {"path": "pointer", "extensions": pointer}
    exported = export(gltf.save(folder / "in.gltf"))
    exported.compare(exported.moments(30))
    assert exported.source.worlds(3, 1.0)[pointed][2, 3] == 3.0
