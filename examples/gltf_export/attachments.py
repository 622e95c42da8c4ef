"""Connectors, collision shells and segments: what a node is for, told by its name or its extras."""

from __future__ import annotations

import json
from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .meshes import Geometry
from .report import Report
from .scene import SceneNode, is_number

CONVENTION = """\
What a node becomes, told by its extras or by its name (letter case does not matter):
  connector  an empty node (no mesh, camera, light or skin, and no joint of one) that has any extras, or whose
             name begins with connector, attach, socket, mount or locator; numbers and booleans of its extras
             become float properties, texts string properties, anything else its JSON text
  shell      a mesh node whose name begins with collision, collider or shell, or ends with _col or -col:
             its triangles become a collision shell and are not drawn
  segments   a mesh node whose name begins with segment: its lines, or the edges of its triangles
The extra "zrm" with one of the values connector, shell, segments or mesh overrides the name."""

CONNECTOR_NAMES = ("connector", "attach", "socket", "mount", "locator")
SHELL_NAMES = ("collision", "collider", "shell")
SHELL_ENDS = ("_col", "-col")


def purpose(node: SceneNode, joints: set[int]) -> str:
    """connector, shell, segments, mesh, or nothing of these."""
    told = node.extras.get("zrm")
    name = node.name.lower()
    if node.mesh is not None:
        if told in ("shell", "segments", "mesh"):
            return str(told)
        if name.startswith("segment"):
            return "segments"
        return "shell" if name.startswith(SHELL_NAMES) or name.endswith(SHELL_ENDS) else "mesh"
    if node.camera is not None or node.light is not None or node.skin is not None or node.index in joints:
        return "connector" if told == "connector" else ""
    return "connector" if told == "connector" or node.extras or name.startswith(CONNECTOR_NAMES) else ""


def add_connector(node: SceneNode, facade: Any, model: Any) -> None:
    """A connector on a node, with the node's extras as properties."""
    connector = zrm.Connector(node.name)
    connector.setControlNode(facade)
    for key, value in node.extras.items():
        if key == "zrm":
            continue
        if isinstance(value, bool) or is_number(value):
            connector.setPropertyFloat(str(key), float(value))
        else:
            connector.setPropertyString(str(key), value if isinstance(value, str) else json.dumps(value))
    model.addConnector(connector)


def add_shell(node: SceneNode, geometry: Geometry, facade: Any, factor: float, model: Any, report: Report) -> None:
    """The triangles of a primitive as a collision shell."""
    if geometry.indices.shape[1] != 3:
        report.skip(f"{geometry.label} of node {node.index}", "a collision shell is made of triangles")
        return
    shell = zrm.ShellNode(node.name)
    shell.setPositions((geometry.positions * factor).astype(np.float32).reshape(-1).tolist())
    shell.setIndices(geometry.indices.reshape(-1).tolist())
    shell.setControlNode(facade)
    model.addShellNode(shell)


def add_segments(node: SceneNode, geometry: Geometry, facade: Any, model: Any) -> None:
    """Lines, or each edge of the triangles once."""
    pairs = geometry.indices
    if pairs.shape[1] == 3:
        edges = np.vstack([pairs[:, [0, 1]], pairs[:, [1, 2]], pairs[:, [2, 0]]])
        pairs = np.unique(np.sort(edges, axis=1), axis=0)
    ends = geometry.positions[pairs].reshape(-1, 6).tolist()
    segments = zrm.SegmentsNode(node.name)
    segments.set([((row[0], row[1], row[2]), (row[3], row[4], row[5])) for row in ends])
    segments.setControlNode(facade)
    model.addSegmentsNode(segments)
