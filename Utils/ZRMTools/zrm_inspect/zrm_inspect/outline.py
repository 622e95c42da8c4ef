"""The tree of a file in lines: each node with what it follows, and below it what hangs on it."""

from __future__ import annotations

from collections import defaultdict
from collections.abc import Iterator

from .model import BaseNode, Node, ZrmFile
from .report import printable

_INDENT_LIMIT = 16


def depths(file: ZrmFile) -> list[int]:
    found: list[int] = []
    for node in file.nodes:
        found.append(found[node.parent] + 1 if node.parent >= 0 else 0)
    return found


def attachments(file: ZrmFile) -> dict[int, list[str]]:
    """What hangs on each tree node, in words. A skin is told at its control node."""
    found: dict[int, list[str]] = defaultdict(list)
    for section, records in (
        ("connector", file.connectors),
        ("shell", file.shell_nodes),
        ("light", file.light_nodes),
        ("render node", file.render_nodes),
    ):
        for index, record in enumerate(records):
            controls = record.controls[:1] if record.bones is not None else record.controls
            for control in dict.fromkeys(controls.tolist()):
                found[control].append(f"{section} {index} {_words(file, record)}")
    return found


def _words(file: ZrmFile, record: BaseNode) -> str:
    parts = [f"{record.kind} '{printable(record.name)}'"]
    if record.material is not None:
        parts.append(f"material '{printable(file.materials[record.material].name)}'")
    if record.mesh is not None:
        parts.append(f"{record.mesh.triangle_count} triangles")
    if record.lights is not None:
        parts.append(f"{len(record.lights)} lights")
    if record.segments is not None:
        parts.append(f"{len(record.segments)} segments")
    if record.bones is not None:
        parts.append(f"{len(record.bones)} bones")
    return ", ".join(parts + _followed(record.arguments))


def _followed(arguments: list[int]) -> list[str]:
    numbers = list(dict.fromkeys(arguments))
    told = " ".join(map(str, numbers[:8])) + (" ..." if len(numbers) > 8 else "")
    return [f"argument{'s' * (len(numbers) > 1)} {told}"] if numbers else []


def _node_words(node: Node) -> str:
    return ", ".join([f"{node.kind} '{printable(node.name)}'", *_followed(node.arguments)])


def tree_lines(file: ZrmFile) -> Iterator[tuple[str, bool]]:
    """Lines, and whether each is a node's own. Beyond a limit the depth is told as a number."""
    hanging = attachments(file)
    for node, depth in zip(file.nodes, depths(file)):
        indent = "  " * min(depth, _INDENT_LIMIT) + (f"[depth {depth}] " if depth > _INDENT_LIMIT else "")
        yield f"{node.index:6d} {indent}{_node_words(node)}", True
        for words in hanging.get(node.index, ()):
            yield f"       {'  ' * min(depth + 1, _INDENT_LIMIT)}- {words}", False
