"""gltf2zrm on whole scenes, random ones and real ones: each looks in the saved file as in the source."""

from pathlib import Path

import numpy as np
import pytest
from support.exporter_support import MODELS, SWITCHES, corners_of, export, multiset
from support.gltf_random import random_scene

FILES = sorted(path for path in MODELS.glob("*") if path.suffix in (".gltf", ".glb"))
NO_FILES = pytest.param(None, marks=pytest.mark.skip(reason=f"no models in {MODELS}; set ZRM_MODELS"), id="real models")
REAL = [pytest.param(path, id=path.name) for path in FILES] or [NO_FILES]
ONE_OFF = [(), *[tuple(other for other in SWITCHES if other != switch) for switch in SWITCHES]]


seeds = lambda first, count: [pytest.param(seed, id=f"seed {seed}") for seed in range(first, first + count)]


def opened(source, folder, uneven=0.3):
    return source if isinstance(source, Path) else random_scene(source, uneven).save(folder / "in.glb", ["data", "glb", "file"][source % 3])


@pytest.mark.parametrize("source", [*seeds(100, 24), *REAL])
def test_each_corner_shows_what_the_source_has_there(source, folder):
    exported = export(opened(source, folder))
    exported.compare(exported.moments(14))


@pytest.mark.parametrize("source", [*seeds(200, 4), *REAL])
def test_passes_of_the_module_change_nothing_that_shows(source, folder):
    """All passes on and each alone, against the file without any, which the test above holds against the source.

    Where uneven scales meet turns, a normal depends on the number of steps in which it is moved.
    """
    path = opened(source, folder, uneven=0.0)
    plain = export(path)
    moments = plain.moments(2)
    wanted = [multiset(corners_of(plain.saved(*moment))) for moment in moments]
    for off in ONE_OFF:
        passed = export(path, off)
        for moment, want in zip(moments, wanted):
            have = multiset(corners_of(passed.saved(*moment)))
            assert have.shape == want.shape and np.abs(have - want).max(initial=0.0) < 1e-4, (off, moment)
