"""How large a file is, and why: bytes, vertices and triangles by what they belong to."""

from __future__ import annotations

from collections import Counter, defaultdict
from collections.abc import Iterable, Sequence
from typing import Any

import numpy as np

from .model import BaseNode, Mesh, ZrmFile, layout
from .report import Table, first_rows

CACHE_SIZE = 16  # vertices, as the pass that orders triangles for the cache measures
_MEASURED = 300_000  # indices of a mesh: enough to know its order


def cache_misses(indices: Sequence[int]) -> int:
    """How many vertices a cache that forgets the oldest one first has to load. A hit doesn't make a vertex younger."""
    loaded_at: dict[int, int] = {}
    misses = 0
    for vertex in indices:
        if misses - loaded_at.get(vertex, -CACHE_SIZE - 1) > CACHE_SIZE:
            loaded_at[vertex] = misses
            misses += 1
    return misses


def miss_ratio(mesh: Mesh) -> float:
    """Vertices loaded for each triangle, of the first ones of a large mesh: 0.5 at best, 3 at worst."""
    indices = mesh.triangles().reshape(-1)[:_MEASURED]
    return 3 * cache_misses(indices.tolist()) / len(indices) if len(indices) else 0.0


def _extents(records: Iterable[BaseNode], end: int) -> list[tuple[BaseNode, int]]:
    """Each record with its bytes; they follow each other up to the section's end."""
    every = list(records)
    offsets = [record.offset for record in every] + [end]
    return [(record, offsets[k + 1] - offsets[k]) for k, record in enumerate(every)]


def tables(file: ZrmFile, limit: int) -> list[Table]:
    sizes = []
    for title, records in (
        ("CONNECTORS", file.connectors),
        ("SHELL_NODES", file.shell_nodes),
        ("LIGHT_NODES", file.light_nodes),
        ("RENDER_NODES", file.render_nodes),
    ):
        sizes += _extents(records, file.ends.get(title, 0))
    return [
        _contents(file),
        _sections(file),
        _kinds(file, sizes),
        first_rows("materials", *_materials(file), limit),
        first_rows("vertex formats", *_formats(file), limit),
        first_rows("largest records", *_largest(sizes, limit), limit),
        first_rows("textures used more than once", *_textures(file), limit),
        first_rows("longest strings", ["bytes", "string"], _strings(file), limit),
    ]


def _sections(file: ZrmFile) -> Table:
    rows, start = [], 0
    for name, end in file.ends.items():
        rows.append((name, end - start, (end - start) / max(file.size, 1) * 100))
        start = end
    return Table("bytes by section", ["section", "bytes", "percent"], rows)


def _kinds(file: ZrmFile, sizes: list[tuple[BaseNode, int]]) -> Table:
    counts: Counter[str] = Counter()
    weights: Counter[str] = Counter()
    for record, size in sizes:
        counts[record.kind] += 1
        weights[record.kind] += size
    offsets = [node.offset for node in file.nodes] + [file.ends["tree"] - 4 * len(file.nodes)]
    for place, node in enumerate(file.nodes):
        counts[node.kind] += 1
        weights[node.kind] += offsets[place + 1] - offsets[place]
    rows = [(kind, counts[kind], weight) for kind, weight in weights.most_common()]
    return Table("bytes by kind", ["kind", "count", "bytes"], rows)


def _contents(file: ZrmFile) -> Table:
    meshes = [record.mesh for record in file.render_nodes if record.mesh]
    shells = [record.mesh for record in file.shell_nodes if record.mesh]
    rows = [
        ("bytes", file.size),
        ("strings", len(file.strings)),
        ("tree nodes", len(file.nodes)),
        ("materials", len(file.materials)),
        ("render nodes", len(file.render_nodes)),
        ("vertices", sum(mesh.vertex_count for mesh in meshes)),
        ("triangles", sum(mesh.triangle_count for mesh in meshes)),
        ("triangles of shells", sum(mesh.triangle_count for mesh in shells)),
        ("lights", len(file.light_nodes)),
        ("fake lights", sum(len(r.lights) for r in file.render_nodes if r.lights is not None)),
        ("connectors", len(file.connectors)),
        ("arguments in use", len(file.arguments)),
        ("handles", file.root.handle_count),
    ]
    return Table("contents", ["what", "number"], rows)


def format_words(mesh_format: Iterable[tuple[str, int, int]]) -> str:
    return " ".join(f"{name}:{width}" for name, _, width in mesh_format)


def _materials(file: ZrmFile) -> tuple[list[str], list[tuple[Any, ...]]]:
    users: Counter[int] = Counter()
    vertices: Counter[int] = Counter()
    triangles: Counter[int] = Counter()
    for record in file.render_nodes:
        users[record.material] += 1
        if record.mesh:
            vertices[record.material] += record.mesh.vertex_count
            triangles[record.material] += record.mesh.triangle_count
    rows: list[tuple[Any, ...]] = [
        (
            k, m.name, m.material_name, m.blending, users[k], vertices[k], triangles[k],
            ", ".join(f"{slot} {texture.name}" for slot, texture in m.textures.items()),
        )
        for k, m in enumerate(file.materials)
    ]  # fmt: skip
    rows.sort(key=lambda row: -row[5])
    return ["material", "name", "type", "blending", "nodes", "vertices", "triangles", "textures"], rows


def _formats(file: ZrmFile) -> tuple[list[str], list[tuple[Any, ...]]]:
    vertices: Counter[str] = Counter()
    widths: dict[str, int] = {}
    nodes: Counter[str] = Counter()
    for record in file.render_nodes:
        if record.mesh:
            words = format_words(layout(record.mesh.vertex_format))
            vertices[words] += record.mesh.vertex_count
            nodes[words] += 1
            widths[words] = 4 * int(record.mesh.vertex_format.sum())
    rows: list[tuple[Any, ...]] = [(words, nodes[words], count, widths[words]) for words, count in vertices.most_common()]
    return ["format", "nodes", "vertices", "bytes a vertex"], rows


def _largest(sizes: list[tuple[BaseNode, int]], limit: int) -> tuple[list[str], list[tuple[Any, ...]]]:
    rows: list[tuple[Any, ...]] = []
    for record, size in sorted(sizes, key=lambda entry: -entry[1])[:limit]:
        mesh = record.mesh
        counts = (mesh.vertex_count, mesh.triangle_count, miss_ratio(mesh)) if mesh else (0, 0, 0.0)
        rows.append((record.kind, record.name, size, *counts))
    return ["kind", "name", "bytes", "vertices", "triangles", "misses a triangle"], rows


def _textures(file: ZrmFile) -> tuple[list[str], list[tuple[Any, ...]]]:
    users: dict[str, list[int]] = defaultdict(list)
    for number, material in enumerate(file.materials):
        for texture in material.textures.values():
            users[texture.name].append(number)
    shared = {name: found for name, found in users.items() if len(found) > 1}
    rows: list[tuple[Any, ...]] = [(name, len(u), " ".join(map(str, dict.fromkeys(u)))) for name, u in shared.items()]
    return ["texture", "uses", "materials"], sorted(rows, key=lambda row: (-row[1], row[0]))


def _strings(file: ZrmFile) -> list[tuple[int, str]]:
    sizes = np.array([len(text.encode("utf-8", "surrogateescape")) + 1 for text in file.strings], np.int64)
    return [(int(sizes[k]), file.strings[k]) for k in np.argsort(-sizes, kind="stable")]
