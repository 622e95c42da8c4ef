"""What each pass of the module does to a model: saves it with all switches off, each one alone and all on, and prints
how large the files and the scenes in them are.  See --help."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import numpy as np
import vehicle
import zrm_inspect
import zrm_scene
from gltf2zrm.convert import convert
from gltf2zrm.problems import GltfError
from gltf2zrm.source import Options
from numpy.typing import NDArray
from zrm_inspect.model import Mesh, RenderNode, SkinNode, ZrmFile
from zrm_scene import SWITCHES, Report, ZrmError, optimizations

CACHE_SIZE = 16  # as the pass that orders triangles for the cache measures
ALL_OFF, ALL_ON = "all off", "all on"
RUNS: dict[str, tuple[str, ...]] = {ALL_OFF: (), **{switch: (switch,) for switch in SWITCHES}, ALL_ON: SWITCHES}
HEADINGS = ("switch", "nodes", "materials", "render nodes", "vertices", "triangles", "ACMR", "bytes")


@dataclass(frozen=True)
class Row:
    """What one file holds."""

    nodes: int
    materials: int
    render_nodes: int
    vertices: int
    triangles: int
    misses: int
    bytes: int

    def cells(self) -> list[str]:
        """The row as text; without triangles there is no miss ratio."""
        ratio = f"{self.misses / self.triangles:.3f}" if self.triangles else "-"
        counts = (self.nodes, self.materials, self.render_nodes, self.vertices, self.triangles)
        return [*map(str, counts), ratio, str(self.bytes)]


def cache_misses(indices: NDArray[np.integer[Any]]) -> int:
    """How many vertices a cache that forgets the oldest one first has to load.  A hit doesn't make a vertex younger."""
    loaded_at = [-CACHE_SIZE - 1] * (int(indices.max()) + 1 if len(indices) else 0)
    misses = 0
    for vertex in indices.tolist():
        if misses - loaded_at[vertex] > CACHE_SIZE:
            loaded_at[vertex] = misses
            misses += 1
    return misses


def measure(file: ZrmFile) -> Row:
    """The numbers of one file; each mesh starts with an empty cache."""
    meshes: list[Mesh] = [node.mesh for node in file.render_nodes if isinstance(node, (RenderNode, SkinNode))]
    return Row(
        nodes=len(file.nodes),
        materials=len(file.materials),
        render_nodes=len(file.render_nodes),
        vertices=sum(mesh.vertex_count for mesh in meshes),
        triangles=sum(mesh.triangle_count for mesh in meshes),
        misses=sum(cache_misses(mesh.triangles().reshape(-1)) for mesh in meshes),
        bytes=file.size,
    )


def write_model(source: Path | None, output: Path) -> None:
    """Converts `source`, or builds the vehicle.  Saving changes a model, so each file needs one of its own."""
    if source is not None:
        convert(source, output, Options(), Report(quiet=True))
        return
    with zrm_scene.save(output) as scene:
        vehicle.build(scene)


def compare(source: Path | None, folder: Path) -> dict[str, Row]:
    """Writes a file for each of RUNS into `folder` and measures it."""
    folder.mkdir(parents=True, exist_ok=True)
    rows: dict[str, Row] = {}
    for label, active in RUNS.items():
        output = folder / f"{label.replace(' ', '_')}.zrm"
        with optimizations(False, **dict.fromkeys(active, True)):
            write_model(source, output)
        rows[label] = measure(zrm_inspect.read_file(output))
    return rows


def table_lines(rows: dict[str, Row]) -> Iterable[str]:
    """Names on the left, numbers on the right of their columns."""
    table = [list(HEADINGS), *([label, *row.cells()] for label, row in rows.items())]
    first, *widths = [max(map(len, column)) for column in zip(*table)]
    for label, *cells in table:
        yield "  ".join([f"{label:<{first}}", *(f"{cell:>{width}}" for cell, width in zip(cells, widths))])


def main(arguments: list[str] | None = None) -> int:
    """Exit code 0, or 1 with one line on standard error."""
    parser = argparse.ArgumentParser(prog="switch_table.py", usage="%(prog)s IN.gltf|IN.glb FOLDER\n       %(prog)s --demo FOLDER", description=__doc__)
    parser.add_argument("paths", nargs="+", metavar="PATH", help="the input and the folder for the files")
    parser.add_argument("--demo", action="store_true", help="no input file: take the vehicle")
    options = parser.parse_args(arguments)
    if len(options.paths) != (1 if options.demo else 2):
        parser.error("give IN and FOLDER, or --demo and FOLDER")
    source = None if options.demo else Path(options.paths[0])
    try:
        rows = compare(source, Path(options.paths[-1]))
    except (GltfError, ZrmError, OSError, MemoryError) as error:
        print(f"{options.paths[0]}: {error or type(error).__name__}", file=sys.stderr)
        return 1
    print(f"The model by the switches that are on; ACMR is vertices loaded for each triangle, cache of {CACHE_SIZE}:")
    for line in table_lines(rows):
        print(f"  {line}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
