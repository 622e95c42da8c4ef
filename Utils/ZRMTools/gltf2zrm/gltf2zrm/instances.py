"""EXT_mesh_gpu_instancing: a node for each instance, below the node that has them."""

from __future__ import annotations

import numpy as np
from zrm_scene import Node

from .problems import GltfError
from .schema import Instancing, NodeEntry
from .source import Source, extension

NAME = "EXT_mesh_gpu_instancing"
# An accessor of zeros costs its file nothing, so its instances need a bound of ours.
MOST = 1 << 21
WIDTHS = {"TRANSLATION": 3, "ROTATION": 4, "SCALE": 3}


def instances_of(source: Source, entry: NodeEntry, where: str, node: Node) -> list[Node] | None:
    """The nodes of the instances, or None for a node that shows its mesh itself."""
    if (found := extension(entry, NAME, Instancing, where)) is None:
        return None
    place, columns = f"{where}.extensions.{NAME}.attributes", {}
    for name, accessor in found["attributes"].items():
        if name in WIDTHS:
            if (count := source.reader.count(accessor, f"{place}.{name}")) > MOST:
                raise GltfError(f"{place}.{name}: {count} instances; at most {MOST} are read")
            columns[name] = source.reader.floats(accessor, WIDTHS[name], f"{place}.{name}")
            if not np.isfinite(columns[name]).all():
                raise GltfError(f"{place}.{name}: numbers that are not finite")
        else:
            source.report.lose(f"instance attribute {name}", "nothing in the model carries it", where)
    counts = {len(rows) for rows in columns.values()}
    if len(counts) > 1:
        raise GltfError(f"{place}: {sorted(counts)} rows; all must have as many")
    made = [Node(f"{node.name} {number}", node) for number in range(counts.pop() if counts else 1)]
    for name, rows in columns.items():
        for instance, row in zip(made, rows.tolist()):
            setattr(instance, name.lower(), row)
    return made
