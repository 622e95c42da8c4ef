"""`save` with all six switches off against NumPy interleaving the same attributes and writing them."""

from __future__ import annotations

import os
import subprocess
import sys
import tempfile

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from support.scenes import Grid, add_mesh, enable_all, grid, save
from support.timing import best_by_turns, heading, nothing, ratio_line


def model_of(meshes: list[Grid]) -> zrm.Model:
    model = zrm.Model()
    for index, mesh in enumerate(meshes):
        control = zrm.Transform(f"part{index}")
        model.getRootTransform().addChild(control)
        add_mesh(model, control, mesh)
    return model


def interleaved(mesh: Grid) -> npt.NDArray[np.float32]:
    """The packed vertices of the file: position with its fourth float, normal, UV."""
    packed = np.empty((len(mesh.positions), 9), dtype=np.float32)
    packed[:, 0:3] = mesh.positions
    packed[:, 3] = 0
    packed[:, 4:7] = mesh.normals
    packed[:, 7:9] = mesh.uvs
    return packed


def numpy_save(meshes: list[Grid], path: str) -> None:
    parts: list[npt.NDArray[np.float32] | npt.NDArray[np.uint32]] = []
    for mesh in meshes:
        parts += [interleaved(mesh), mesh.indices]
    data = parts[0] if len(parts) == 1 else np.concatenate([part.reshape(-1).view(np.uint8) for part in parts])
    with open(path, "wb") as file:
        file.write(data)


def write_alone(data: bytes, path: str) -> None:
    with open(path, "wb") as file:
        file.write(data)


def compare(name: str, meshes: list[Grid], aim: str) -> None:
    ours_path, numpy_path, plain_path = "ours.zrm", "numpy.bin", "plain.bin"
    data = bytes(sum(m.positions.nbytes * 3 + m.indices.nbytes for m in meshes))
    ours, numpy_time, plain = best_by_turns(
        [
            (lambda: model_of(meshes), lambda model: save(model, ours_path)),
            (nothing, lambda _: numpy_save(meshes, numpy_path)),
            (nothing, lambda _: write_alone(data, plain_path)),
        ],
        rounds=7,
    )
    print(f"{name}: {os.path.getsize(ours_path):,} bytes, NumPy's {os.path.getsize(numpy_path):,}")
    ratio_line("  save", ours, numpy_time, "NumPy interleave + write", aim)
    ratio_line("  save", ours, plain, "write alone")


def status_bytes(field: str) -> int:
    with open("/proc/self/status", encoding="ascii") as status:
        line = next(line for line in status if line.startswith(field))
    return int(line.split()[1]) * 1024


def memory_child(vertex_count: int) -> None:
    """A process of its own, so that no earlier case has left free memory to reuse."""
    enable_all(False)
    model = model_of([grid(vertex_count)])
    with open("/proc/self/clear_refs", "w", encoding="ascii") as clear:
        clear.write("5")  # resets the peak to what is resident now
    before = status_bytes("VmRSS")
    save(model, "memory.zrm")
    print((status_bytes("VmHWM") - before) / os.path.getsize("memory.zrm"))


def memory() -> None:
    for count in (1_000_000, 4_000_000):
        command = [sys.executable, os.path.abspath(__file__), "--memory-child", str(count)]
        output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        print(f"peak memory of the first save, {count:,} vertices: {float(output):.2f} x the file   (aim: at most 2.2)")


def main() -> None:
    heading("save, all switches off")
    enable_all(False)
    compare("one mesh of 1,000,000 vertices", [grid(1_000_000)], "at most 1")
    compare("10,000 meshes of 100 vertices", [grid(100)] * 10_000, "")
    memory()


if __name__ == "__main__":
    os.chdir(tempfile.mkdtemp())
    if sys.argv[1:2] == ["--memory-child"]:
        memory_child(int(sys.argv[2]))
    else:
        main()
