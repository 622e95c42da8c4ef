"""A generated city, from filled facades to the closed file, against gltfpack on the same scene."""

from __future__ import annotations

import os
import shutil
import subprocess
import tempfile
import time

import pyzrm_313 as zrm
from support.city import Part, city, material_name, write_glb
from support.scenes import enable_all, save
from support.timing import best_by_turns, heading, nothing, ratio_line
from zrm_scene import SWITCHES

Filled = tuple[zrm.Model, list[zrm.PBRNode]]


def filled(parts: list[Part]) -> Filled:
    """The facades as a script fills them; nothing of this is timed."""
    model = zrm.Model()
    nodes = []
    for part in parts:
        control = zrm.Transform(part.name)
        x, y, z = part.offset
        control.setMatrix([(1, 0, 0, x), (0, 1, 0, y), (0, 0, 1, z), (0, 0, 0, 1)])
        model.getRootTransform().addChild(control)
        block = zrm.BaseBlock()
        block.setPositions(part.positions.reshape(-1))
        block.setNormals(part.normals.reshape(-1))
        block.setAlbedoMapUV(part.uvs.reshape(-1))
        block.setAlbedoMap(material_name(part.material))
        node = zrm.PBRNode("", material_name(part.material))
        node.addBlock(block)
        node.setIndices(part.indices)
        node.setControlNode(control)
        nodes.append(node)
    return model, nodes


def convert(subject: Filled, path: str = "city.zrm") -> None:
    model, nodes = subject
    for node in nodes:
        if text := model.addRenderNode(node):
            raise RuntimeError(text)
    save(model, path)


def gltfpack(source: str, target: str) -> None:
    subprocess.run(["gltfpack", "-i", source, "-o", target, "-noq"], check=True, capture_output=True)


def report_shares(parts: list[Part]) -> None:
    """What each switch adds to the conversion, on top of those before it."""
    heading("The same city, switch by switch")
    enable_all(False)
    cases = [("all off", ())] + [(f"+ {SWITCHES[i]}", SWITCHES[: i + 1]) for i in range(len(SWITCHES))]
    for name, switches in cases:
        enable_all(False)
        for switch in switches:
            zrm.enable_model_optimization(switch, True)
        best = float("inf")
        for _ in range(3):
            subject = filled(parts)
            start = time.perf_counter()
            convert(subject)
            best = min(best, time.perf_counter() - start)
        print(f"{name:<28} {best * 1e3:9.1f} ms  {os.path.getsize('city.zrm'):>12,} bytes")


def main() -> None:
    parts = city()
    heading(f"City: {len(parts):,} parts, {sum(len(p.positions) for p in parts):,} vertices")
    enable_all(True)
    if shutil.which("gltfpack") is None:
        print("gltfpack is not installed (Debian package gltfpack): no comparison")
    else:
        write_glb(parts, "city.glb")
        ours, peer = best_by_turns(
            [(lambda: filled(parts), convert), (nothing, lambda _: gltfpack("city.glb", "packed.glb"))], rounds=5
        )
        ratio_line("conversion, all switches on", ours, peer, "gltfpack -noq, whole process", "at most 1, then 0.5")
        print(f"files: {os.path.getsize('city.zrm'):,} bytes, gltfpack's {os.path.getsize('packed.glb'):,}")
    report_shares(parts)


if __name__ == "__main__":
    os.chdir(tempfile.mkdtemp())
    main()
