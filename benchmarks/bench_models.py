"""Real models: the module's own share of a conversion (from filled facades to closed file) against gltfpack."""

from __future__ import annotations

import os
import shutil
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Any

import pyzrm_313 as zrm
from gltf2zrm.convert import convert
from gltf2zrm.source import Options
from support.scenes import enable_all
from support.timing import heading, ratio_line
from zrm_scene import Report

ROOT = Path(__file__).resolve().parents[1]
MODELS = Path(os.environ.get("ZRM_MODELS", ROOT.parent / "shared" / "models"))
ROUNDS = 5


class Meter:
    """Adds up the time spent in some of the module's methods."""

    def __init__(self) -> None:
        self.seconds = 0.0

    def watch(self, owner: type, name: str) -> None:
        method = getattr(owner, name)

        def timed(*arguments: Any) -> Any:
            start = time.perf_counter()
            try:
                return method(*arguments)
            finally:
                self.seconds += time.perf_counter() - start

        setattr(owner, name, timed)


def gltfpack_seconds(source: Path) -> float:
    start = time.perf_counter()
    subprocess.run(["gltfpack", "-i", str(source), "-o", "packed.glb", "-noq"], check=True, capture_output=True)
    return time.perf_counter() - start


def main() -> None:
    files = sorted([*MODELS.glob("*.glb"), *MODELS.glob("*.gltf")])
    heading("Real models, all switches on")
    if not files or shutil.which("gltfpack") is None:
        print(f"needs models in {MODELS} (or ZRM_MODELS) and gltfpack (Debian package gltfpack)")
        return
    enable_all(True)
    meter = Meter()
    for name in ("addRenderNode", "addShellNode", "save"):
        meter.watch(zrm.Model, name)
    for file in files:
        ours = peer = float("inf")
        try:
            for _ in range(ROUNDS):
                meter.seconds = 0.0
                convert(file, Path("model.zrm"), Options(), Report(quiet=True))
                ours = min(ours, meter.seconds)
                peer = min(peer, gltfpack_seconds(file))
        except subprocess.CalledProcessError:
            print(f"{file.name:<46} {ours * 1e3:10.2f} ms; gltfpack refuses it")
            continue
        ratio_line(file.name, ours, peer, "gltfpack -noq, whole process", "at most 1, then 0.5")


if __name__ == "__main__":
    os.chdir(tempfile.mkdtemp())
    main()
