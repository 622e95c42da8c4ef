"""Whole scenes and real models, from filled facades to the closed file with all switches on, against gltfpack:
    bench_peer.py [NAME...]
by the names of `SCENES`, "models" and "switches"; all of them without a name."""

from __future__ import annotations

import os
import shutil
import subprocess
import sys
import time
from collections.abc import Callable
from contextlib import chdir
from pathlib import Path
from tempfile import TemporaryDirectory
from typing import Any, NamedTuple

import pyzrm_313 as zrm
from gltf2zrm.convert import convert as convert_file
from gltf2zrm.source import Options
from support.city import city
from support.glb import write_glb
from support.rows import heading, ratio_row
from support.scenes import Mesh, Part, convert, enable_all, filled, grid, skin_of, small_meshes, spread, unwelded
from support.timing import best_by_turns, nothing
from zrm_scene import SWITCHES, Report

MODELS = Path(os.environ.get("ZRM_MODELS", Path(__file__).resolve().parents[2] / "shared" / "models"))
ROUNDS = 5


def skinned(meshes: list[Mesh], bone_count: int) -> list[Part]:
    return [Part(f"skin{i}", "fur", (0.0, 0.0, 0.0), mesh, skin_of(mesh, bone_count)) for i, mesh in enumerate(meshes)]


class Scene(NamedTuple):
    title: str
    make: Callable[[], list[Part]]
    options: tuple[str, ...] = ()
    aim: float = 0.35


SCENES = {
    "city": Scene("city of 2,000 parts, 1,500,000 vertices", city),
    "welded": Scene("one welded mesh of 1,000,000 vertices", lambda: spread([grid(1_000_000)])),
    "unwelded": Scene("the same unwelded, 5,988,006 vertices", lambda: spread([unwelded(grid(1_000_000))])),
    "soup": Scene("one unwelded mesh of 998,784 vertices", lambda: spread([unwelded(grid(409 * 409))])),
    "small": Scene("10,000 welded meshes of 100 vertices, one material", lambda: spread(small_meshes(10_000, 10))),
    "materials": Scene(
        "10,000 unwelded meshes of 150 vertices, 36 materials",
        lambda: spread([unwelded(mesh) for mesh in small_meshes(10_000, 6)], 36),
    ),
    "skin": Scene("one skin of 300,000 vertices, 60 bones", lambda: skinned([grid(300_000)], 60)),
    "skins": Scene("500 skins of 1,000 vertices, 8 bones each", lambda: skinned(small_meshes(500, 32), 8)),
    "instances": Scene("20,000 instances of 8 meshes", lambda: spread(small_meshes(8, 10) * 2_500), ("-mm",), 0.7),
}


def gltfpack(source: str, *options: str) -> None:
    subprocess.run(["gltfpack", "-i", source, "-o", "packed.glb", "-noq", *options], check=True, capture_output=True)


def report_scene(scene: Scene) -> None:
    parts = scene.make()
    write_glb(parts, "scene.glb")
    ours, peer = best_by_turns(
        [
            (lambda: filled(parts), lambda subject: convert(subject, "scene.zrm")),
            (nothing, lambda _: gltfpack("scene.glb", *scene.options)),
        ],
        ROUNDS,
    )
    ratio_row(scene.title, ours, peer, " ".join(["gltfpack -noq", *scene.options]), scene.aim)
    print(f"    files: {os.path.getsize('scene.zrm'):,} bytes, gltfpack's {os.path.getsize('packed.glb'):,}")


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


def report_models() -> None:
    """The module's own share of a conversion, without what the converter does in Python."""
    files = sorted([*MODELS.glob("*.glb"), *MODELS.glob("*.gltf")])
    if not files:
        print(f"no models in {MODELS} (or ZRM_MODELS)")
    meter = Meter()
    for name in ("addRenderNode", "addShellNode", "save"):
        meter.watch(zrm.Model, name)
    for file in files:
        ours = peer = float("inf")
        try:
            for _ in range(ROUNDS):
                meter.seconds = 0.0
                convert_file(file, Path("model.zrm"), Options(), Report(quiet=True))
                ours = min(ours, meter.seconds)
                start = time.perf_counter()
                gltfpack(str(file))
                peer = min(peer, time.perf_counter() - start)
        except subprocess.CalledProcessError:
            print(f"{file.name:<46} {ours * 1e3:10.2f} ms; gltfpack refuses it")
            continue
        ratio_row(f"model {file.name}", ours, peer, "gltfpack -noq", 0.5)


def report_switches() -> None:
    """What each switch adds to the conversion of the city, on top of those before it."""
    heading("The city, switch by switch")
    parts = city()
    for count in range(len(SWITCHES) + 1):
        enable_all(False)
        for switch in SWITCHES[:count]:
            zrm.enable_model_optimization(switch, True)
        best = best_by_turns([(lambda: filled(parts), lambda subject: convert(subject, "city.zrm"))], 3)[0]
        name = f"+ {SWITCHES[count - 1]}" if count else "all off"
        print(f"{name:<28} {best * 1e3:9.1f} ms  {os.path.getsize('city.zrm'):>12,} bytes")


def main(names: list[str]) -> None:
    known = [*SCENES, "models", "switches"]
    if unknown := set(names) - set(known):
        sys.exit(f"no rows are called {', '.join(sorted(unknown))}; there are {', '.join(known)}")
    names = names or known
    heading("From filled facades to the closed file, all switches on")
    enable_all(True)
    if shutil.which("gltfpack") is None:
        print("gltfpack is not installed (Debian package gltfpack): no comparison")
    else:
        for name in names:
            if name in SCENES:
                report_scene(SCENES[name])
        if "models" in names:
            report_models()
    if "switches" in names:
        report_switches()


if __name__ == "__main__":
    with TemporaryDirectory() as folder, chdir(folder):
        main(sys.argv[1:])
