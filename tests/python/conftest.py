"""Finds the extension module, our packages, the examples and `support`, and gives each test its own folder and all switches on."""

import importlib.util
import os
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
PACKAGES = [ROOT / "Utils/ZRMTools" / name for name in ("zrm_inspect", "zrm_scene", "gltf2zrm")]
sys.path[:0] = [str(Path(__file__).resolve().parent), *map(str, PACKAGES), str(ROOT / "examples")]
if "ZRM_MODULE_DIR" in os.environ:
    sys.path.insert(0, os.environ["ZRM_MODULE_DIR"])
elif importlib.util.find_spec("pyzrm_313") is None:
    sys.path.insert(0, str(ROOT / "build/release/python"))

SWITCHES = ("optimizeTransformations", "mergePopertiesSets", "optimizeTextureChannels", "mergeNodes", "extremlyOptimizeMeshes",
    "optimizeVertexCache")  # fmt: skip


@pytest.fixture
def folder(tmp_path, monkeypatch):
    """An empty folder that is the current one: a model can't be saved under an absolute path."""
    monkeypatch.chdir(tmp_path)
    return tmp_path


@pytest.fixture(autouse=True)
def switches():
    """Puts back the switches of the process."""
    yield
    if module := sys.modules.get("pyzrm_313"):
        for name in SWITCHES:
            module.enable_model_optimization(name, True)
