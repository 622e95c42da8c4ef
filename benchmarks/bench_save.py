"""`save` with all switches off against NumPy interleaving the same attributes and writing them, and peak memory of it."""

from __future__ import annotations

import os
from collections.abc import Callable
from contextlib import chdir
from functools import partial
from tempfile import TemporaryDirectory

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from support.city import city
from support.memory import peak_bytes
from support.rows import heading, ratio_row, row
from support.scenes import Floats, Mesh, Part, add, enable_all, filled, grid, save, small_meshes, spread, unwelded
from support.timing import best_by_turns, nothing


def model_of(parts: list[Part]) -> zrm.Model:
    model, nodes = filled(parts)
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


def compare(name: str, parts: list[Part]) -> None:
    meshes = [part.mesh for part in parts]
    data = bytes(sum(m.positions.nbytes * 3 + m.indices.nbytes for m in meshes))
    ours, numpy_time, plain = best_by_turns(
        [
            (lambda: model_of(parts), lambda model: save(model, "ours.zrm")),
            (nothing, lambda _: numpy_save(meshes, "numpy.bin")),
            (nothing, lambda _: write_alone(data, "plain.bin")),
        ],
        rounds=7,
    )
    ratio_row(f"save, {name}", ours, numpy_time, "NumPy interleave + write", 1.0)
    ratio_row(f"save, {name}, against a write", ours, plain, "write alone")


def loaded(enabled: bool, make: Callable[[], list[Part]]) -> zrm.Model:
    enable_all(enabled)
    return model_of(make())


def save_for_memory(model: zrm.Model) -> None:
    save(model, "memory.zrm")


def sheets(mesh_count: int, vertex_count: int) -> list[Part]:
    return spread([grid(vertex_count) for _ in range(mesh_count)])


def soups(mesh_count: int, side: int) -> list[Part]:
    return spread([unwelded(mesh) for mesh in small_meshes(mesh_count, side)])


MEMORY: list[tuple[str, bool, Callable[[], list[Part]], float | None]] = [
    ("1,000,000 vertices, switches off", False, partial(sheets, 1, 1_000_000), 2.2),
    ("4,000,000 vertices, switches off", False, partial(sheets, 1, 4_000_000), 2.2),
    ("10,000 welded meshes, switches on", True, partial(sheets, 10_000, 100), 1.5),
    ("10,000 unwelded meshes, switches on", True, partial(soups, 10_000, 6), 1.5),
    ("city, switches on", True, city, None),
]


def main() -> None:
    heading("save, all switches off")
    enable_all(False)
    compare("one mesh of 1,000,000 vertices", sheets(1, 1_000_000))
    compare("10,000 meshes of 100 vertices", sheets(10_000, 100))
    heading("What the first save adds to the memory in use, at its peak")
    for name, enabled, make, aim in MEMORY:
        peak = peak_bytes(partial(loaded, enabled, make), save_for_memory)
        size = os.path.getsize("memory.zrm")
        row(f"peak memory, {name}", peak / size, aim, f"the file ({peak:,} bytes, {size:,} bytes)")


if __name__ == "__main__":
    with TemporaryDirectory() as folder, chdir(folder):
        main()
