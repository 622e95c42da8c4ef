"""Draws the pictures of passes.md: saves small models with one switch off and on, reads both files, draws them."""

from __future__ import annotations

import os
import sys
import tempfile
from collections.abc import Callable
from html import escape
from pathlib import Path

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
import zrm_inspect
from zrm_inspect import model as records

COLOURS = ("#4477aa", "#ee6677", "#228833", "#ccbb44", "#66ccee", "#aa3377")
PANEL_WIDTH, PANEL_HEIGHT, LINE, LETTER = 360, 240, 20, 6.7

Triangles = npt.NDArray[np.float64]


def shifted(x: float, y: float = 0.0, z: float = 0.0) -> list[tuple[float, float, float, float]]:
    return [(1, 0, 0, x), (0, 1, 0, y), (0, 0, 1, z), (0, 0, 0, 1)]


def sheet(side: int, welded: bool = True) -> tuple[npt.NDArray[np.float32], npt.NDArray[np.uint32]]:
    """A square of side x side quads in the x-y plane; not welded, each triangle has its own vertices."""
    points = np.array([(x, y, 0) for y in range(side + 1) for x in range(side + 1)], dtype=np.float32)
    quads = [y * (side + 1) + x for y in range(side) for x in range(side)]
    row = side + 1
    triangles = [t for q in quads for t in ((q, q + 1, q + row), (q + 1, q + row + 1, q + row))]
    indices = np.array(triangles, dtype=np.uint32).reshape(-1)
    if not welded:
        points, indices = points[indices], np.arange(len(indices), dtype=np.uint32)
    return points, indices


def mesh(
    points: npt.NDArray[np.float32],
    indices: npt.NDArray[np.uint32],
    control: zrm.Node,
    material: str = "paint",
    normal_uv: npt.NDArray[np.float32] | None = None,
) -> zrm.PBRNode:
    block = zrm.BaseBlock()
    block.setPositions(points.reshape(-1))
    block.setNormals(np.tile(np.array([0, 0, 1], dtype=np.float32), len(points)))
    uv = points[:, :2].reshape(-1)
    block.setAlbedoMapUV(uv)
    block.setAlbedoMap(material)
    node = zrm.PBRNode("", material)
    node.addBlock(block)
    if normal_uv is not None:
        bumps = zrm.NormalBlock()
        bumps.setNormalMap("bumps")
        bumps.setNormalMapUV(normal_uv.reshape(-1))
        node.addBlock(bumps)
    node.setIndices(indices)
    node.setControlNode(control)
    return node


def add(model: zrm.Model, node: zrm.PBRNode) -> None:
    if text := model.addRenderNode(node):
        raise RuntimeError(text)


# ---------------------------------------------------------------- the models


def house() -> zrm.Model:
    """A group nobody needs, a static place, a turning vane and a dead end."""
    model = zrm.Model()
    group = model.getRootTransform().addChild(zrm.Node("group"))
    add(model, mesh(*sheet(1), group.addChild(zrm.Transform("wall", shifted(2)))))
    roof = group.addChild(zrm.Transform("roof", shifted(0, 3)))
    vane = zrm.AnimationNode("vane")
    vane.setRotationAnimation([(0, [(0.0, (1, 0, 0, 0)), (1.0, (0, 0, 0, 1))])])
    add(model, mesh(*sheet(1), roof.addChild(vane), "copper"))
    group.addChild(zrm.Transform("left over", shifted(9)))
    return model


def row_of_parts() -> zrm.Model:
    """Four parts, three of which say the same about their material."""
    model = zrm.Model()
    for index, material in enumerate(("paint", "paint", "glass", "paint")):
        part = zrm.AnimationNode(f"part{index}")
        part.setPositionAnimation([(index, [(0.0, (index * 1.25, 0, 0)), (1.0, (index * 1.25, 1, 0))])])
        add(model, mesh(*sheet(1), model.getRootTransform().addChild(part), material))
    return model


def twin_coordinates() -> zrm.Model:
    """A normal map that uses the albedo's own coordinates."""
    model = zrm.Model()
    points, indices = sheet(1)
    add(model, mesh(points, indices, model.getRootTransform(), "brick", points[:, :2]))
    return model


def triangle_soup() -> zrm.Model:
    """Every triangle has three vertices of its own, and one has no area."""
    model = zrm.Model()
    points, indices = sheet(3, welded=False)
    sliver = np.array([(0, 0, 0), (1, 0, 0), (2, 0, 0)], dtype=np.float32)
    indices = np.concatenate([indices, np.arange(3, dtype=np.uint32) + np.uint32(len(points))])
    add(model, mesh(np.concatenate([points, sliver]), indices, model.getRootTransform()))
    return model


def shuffled_triangles() -> zrm.Model:
    model = zrm.Model()
    points, indices = sheet(10)
    order = np.random.default_rng(5).permutation(len(indices) // 3)
    add(model, mesh(points, indices.reshape(-1, 3)[order].reshape(-1), model.getRootTransform()))
    return model


# ---------------------------------------------------------------- what a panel shows


def text_lines(lines: list[str]) -> list[str]:
    return [
        f'<text x="14" y="{52 + i * LINE}" xml:space="preserve">{escape(line)}</text>' for i, line in enumerate(lines)
    ]


def label(x: float, y: float, text: str, colour: str) -> list[str]:
    """A box with a text, whose middle of the left edge is at a place."""
    width = LETTER * len(text) + 12
    return [
        f'<rect x="{x:g}" y="{y - 9:g}" width="{width:g}" height="18" rx="4" fill="{colour}" fill-opacity="0.2" stroke="{colour}"/>',
        f'<text x="{x + 6:g}" y="{y + 4:g}" font-family="monospace" font-size="11">{escape(text)}</text>',
    ]


def wire(points: list[tuple[float, float]], colour: str = "#888888") -> str:
    return f'<polyline points="{" ".join(f"{x:g},{y:g}" for x, y in points)}" fill="none" stroke="{colour}" stroke-width="1.5"/>'


def tree(file: zrm_inspect.ZrmFile) -> list[str]:
    """Each node in a row of its own, below its parent; what hangs on it to the right."""
    shapes: list[str] = []
    places: list[tuple[int, int]] = []
    for row, node in enumerate(file.nodes):
        above = places[node.parent] if node.parent >= 0 else (-10, 0)
        x, y = above[0] + 24, 52 + row * 26
        places.append((x, y))
        if node.parent >= 0:
            shapes.append(wire([(above[0] + 10, above[1] + 9), (above[0] + 10, y), (x, y)]))
        text = f"{node.name or '(no name)'}: {node.kind}"
        shapes += label(x, y, text, COLOURS[0] if node.arguments else "#999999")
        end = x + LETTER * len(text) + 12
        for number, render in enumerate(file.render_nodes, 1):
            if node.index in render.controls:
                shapes += [wire([(end, y), (end + 12, y)]), *label(end + 12, y, f"mesh {number}", COLOURS[1])]
                end += 24 + LETTER * 6
    return shapes


def wired(left: list[str], right: list[str], wires: list[tuple[int, int]]) -> list[str]:
    """Two columns, and which of the one belongs to which of the other."""
    ends = [20 + LETTER * len(text) + 12 for text in left]
    lines = [
        wire([(ends[a], 76 + 32 * a), (200, 76 + 32 * b)], COLOURS[b % len(COLOURS)]) for a, b in wires
    ]
    shapes = [shape for k, text in enumerate(left) for shape in label(20, 76 + 32 * k, text, COLOURS[1])]
    return [*lines, *shapes, *(shape for k, text in enumerate(right) for shape in label(200, 76 + 32 * k, text, COLOURS[k % len(COLOURS)]))]


def materials(file: zrm_inspect.ZrmFile) -> list[str]:
    meshes = [f"mesh {number}" for number in range(1, len(file.render_nodes) + 1)]
    names = [f"{number} {material.name}" for number, material in enumerate(file.materials)]
    uses = [(number, render.material) for number, render in enumerate(file.render_nodes)]
    return [*text_lines([f"{len(names)} materials"]), *wired(meshes, names, uses)]


def channels(file: zrm_inspect.ZrmFile) -> list[str]:
    material = file.materials[0]
    sets = [name for name, _, _ in records.layout(material.vertex_format) if name.startswith("TEXCOORD")]
    maps = ["albedo", "normal"]
    uses = [(place, sets.index(f"TEXCOORD{material.channel(kind)}")) for place, kind in enumerate(maps)]
    text = f"floats a vertex: {int(material.vertex_format.sum())}"
    return [*text_lines([text]), *wired([f"{kind} map" for kind in maps], sets, uses)]


def polygon(points: npt.NDArray[np.float64], colour: str, opacity: float = 1.0) -> str:
    corners = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    return f'<polygon points="{corners}" fill="{colour}" fill-opacity="{opacity:.2f}" stroke="white"/>'


def placed(points: Triangles) -> Triangles:
    """World x and y on the panel, one scale for both axes."""
    low, high = points.reshape(-1, 2).min(axis=0), points.reshape(-1, 2).max(axis=0)
    scale = min((PANEL_WIDTH - 60) / max(high[0] - low[0], 1), (PANEL_HEIGHT - 100) / max(high[1] - low[1], 1))
    moved: Triangles = (points - low) * scale
    moved[..., 1] = PANEL_HEIGHT - 30 - moved[..., 1]
    moved[..., 0] += 30
    return moved


def world_triangles(file: zrm_inspect.ZrmFile) -> list[Triangles]:
    scene = zrm_inspect.evaluate(file, {})
    return [np.asarray(m.positions, dtype=np.float64)[m.triangles][..., :2] for m in scene.meshes]


def parts(file: zrm_inspect.ZrmFile) -> list[str]:
    """Each mesh of the file in a colour of its own."""
    meshes = world_triangles(file)
    points = placed(np.concatenate(meshes))
    owner = np.repeat(np.arange(len(meshes)), [len(m) for m in meshes])
    shapes = [polygon(t, COLOURS[o % len(COLOURS)]) for t, o in zip(points, owner)]
    return [*text_lines([f"{len(meshes)} meshes, {len(file.materials)} materials"]), *shapes]


def vertices(file: zrm_inspect.ZrmFile) -> list[str]:
    """Triangles pulled a little towards their middle, so that vertices of their own show."""
    node = file.render_nodes[0]
    assert isinstance(node, records.RenderNode)
    points = placed(world_triangles(file)[0])
    used = np.bincount(np.asarray(node.mesh.indices, dtype=np.int64), minlength=node.mesh.vertex_count)
    shared = bool((used > 1).any())
    pulled = points if shared else points + (points.mean(axis=1, keepdims=True) - points) * 0.18
    shapes = [polygon(t, COLOURS[0], 0.5) for t in pulled]
    for x, y in sorted({(round(x, 1), round(y, 1)) for x, y in pulled.reshape(-1, 2).tolist()}):
        shapes.append(f'<circle cx="{x}" cy="{y}" r="3" fill="{COLOURS[1]}"/>')
    text = f"{node.mesh.vertex_count} vertices, {node.mesh.triangle_count} triangles"
    return [*text_lines([text]), *shapes]


def order(file: zrm_inspect.ZrmFile) -> list[str]:
    """The later a triangle is drawn, the darker."""
    points = placed(world_triangles(file)[0])
    shapes = [polygon(t, COLOURS[0], 0.15 + 0.85 * i / len(points)) for i, t in enumerate(points)]
    return [*text_lines(["dark triangles are drawn last"]), *shapes]


PICTURES: list[tuple[str, Callable[[], zrm.Model], Callable[[zrm_inspect.ZrmFile], list[str]]]] = [
    ("optimizeTransformations", house, tree),
    ("mergePopertiesSets", row_of_parts, materials),
    ("optimizeTextureChannels", twin_coordinates, channels),
    ("mergeNodes", row_of_parts, parts),
    ("extremlyOptimizeMeshes", triangle_soup, vertices),
    ("optimizeVertexCache", shuffled_triangles, order),
]


def saved(build: Callable[[], zrm.Model], switches: tuple[str, ...]) -> zrm_inspect.ZrmFile:
    for switch, _, _ in PICTURES:
        zrm.enable_model_optimization(switch, switch in switches)
    if text := build().save("picture.zrm", 10):
        raise RuntimeError(text)
    return zrm_inspect.read_file("picture.zrm")


def picture(before: list[str], after: list[str]) -> str:
    width = 2 * PANEL_WIDTH
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{PANEL_HEIGHT}" font-family="sans-serif"'
        ' font-size="13">',
        f'<rect width="{width}" height="{PANEL_HEIGHT}" fill="white" stroke="#bbbbbb"/>',
    ]
    for x, title, panel in ((0, "off", before), (PANEL_WIDTH, "on", after)):
        lines.append(f'<g transform="translate({x})"><text x="14" y="26" font-weight="bold">{title}</text>')
        lines += [*panel, "</g>"]
    return "\n".join([*lines, "</svg>", ""])


def main(folder: Path) -> None:
    folder.mkdir(parents=True, exist_ok=True)
    os.chdir(tempfile.mkdtemp())
    for switch, build, panel in PICTURES:
        # Merging needs equal materials to be one object, as it does in a real save.
        with_it = ("mergePopertiesSets", switch) if switch == "mergeNodes" else (switch,)
        text = picture(panel(saved(build, ())), panel(saved(build, with_it)))
        (folder / f"{switch}.svg").write_text(text, encoding="utf-8")
        print(f"{switch}.svg")


if __name__ == "__main__":
    main(Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent / "pictures").resolve())
