"""`save` with all switches off against NumPy interleaving the same attributes and writing them, and peak memory of it."""

from __future__ import annotations

import os
import tempfile
from functools import partial

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from support.memory import peak_bytes
from support.rows import heading, ratio_row, row
from support.scenes import Floats, Mesh, add, enable_all, filled, grid, save, small_meshes, spread
from support.timing import best_by_turns, nothing


def model_of(meshes: list[Mesh]) -> zrm.Model:
    model, nodes = filled(spread(meshes, 1))
    for node in nodes:
        add(model, node)
    return model


def interleaved(mesh: Mesh) -> Floats:
    """The packed vertices of the file: position with its fourth float, normal, UV."""
    packed = np.empty((len(mesh.positions), 9), dtype=np.float32)
    packed[:, 0:3] = mesh.positions
    packed[:, 3] = 0
    packed[:, 4:7] = mesh.normals
    packed[:, 7:9] = mesh.uvs
    return packed


def numpy_save(meshes: list[Mesh], path: str) -> None:
    parts: list[Floats | npt.NDArray[np.uint32]] = []
    for mesh in meshes:
        parts += [interleaved(mesh), mesh.indices]
    data = parts[0] if len(parts) == 1 else np.concatenate([part.reshape(-1).view(np.uint8) for part in parts])
    write_alone(data.data, path)


def write_alone(data: bytes | memoryview, path: str) -> None:
    with open(path, "wb") as file:
        file.write(data)


def compare(name: str, meshes: list[Mesh]) -> None:
    data = bytes(sum(m.positions.nbytes * 3 + m.indices.nbytes for m in meshes))
    ours, numpy_time, plain = best_by_turns(
        [
            (lambda: model_of(meshes), lambda model: save(model, "ours.zrm")),
            (nothing, lambda _: numpy_save(meshes, "numpy.bin")),
            (nothing, lambda _: write_alone(data, "plain.bin")),
        ],
        rounds=7,
    )
    ratio_row(f"save, {name}", ours, numpy_time, "NumPy interleave + write", 1.0)
    ratio_row(f"save, {name}, against a write", ours, plain, "write alone")


def prepared(enabled: bool, mesh_count: int, side: int) -> zrm.Model:
    enable_all(enabled)
    return model_of(small_meshes(mesh_count, side))


def save_for_memory(model: zrm.Model) -> None:
    save(model, "memory.zrm")


def memory(enabled: bool, mesh_count: int, side: int, aim: float) -> None:
    peak = peak_bytes(partial(prepared, enabled, mesh_count, side), save_for_memory)
    name = f"peak memory, {mesh_count:,} x {side * side:,} vertices, switches {'on' if enabled else 'off'}"
    size = os.path.getsize("memory.zrm")
    row(name, peak / size, aim, f"the file ({peak:,} bytes, {size:,} bytes)")


def main() -> None:
    heading("save, all switches off")
    enable_all(False)
    compare("one mesh of 1,000,000 vertices", [grid(1_000_000)])
    compare("10,000 meshes of 100 vertices", small_meshes(10_000, 10))
    heading("Peak memory of the first save")
    memory(False, 1, 1_000, 2.2)
    memory(False, 1, 2_000, 2.2)
    memory(True, 10_000, 10, 1.5)


if __name__ == "__main__":
    os.chdir(tempfile.mkdtemp())
    main()
