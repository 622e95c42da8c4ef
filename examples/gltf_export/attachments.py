"""Connectors, collision shells and segments: what a node is for, told by its name or its extras."""

from __future__ import annotations

import json
import re
from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .form import is_number
from .meshes import Geometry
from .report import Report
from .scene import SceneNode

CONVENTION = """\
What a node becomes, told by its extras or by its name.  A name tells when it is one of the words below, or begins
with one that "_", "-", "." or a digit follows (letter case does not matter): "shell", "Shell.001" and "SHELL_hull"
are shells, "Shell Oil sign" is drawn.
  connector  an empty node (no mesh, camera, light or skin, and no joint of one) with extras that are an object, or
             with the word connector, attach, socket, mount or locator; numbers and booleans of its extras become
             float properties, texts string properties, anything else its JSON text
  shell      a mesh node with the word collision, collider or shell, or with a name that ends with _col or -col: its
             triangles become a collision shell and are not drawn
  segments   a mesh node with the word segment or segments: its lines, or the edges of its triangles
The extra "zrm" with one of the values connector, shell, segments or mesh overrides the name.  Each use is told."""


def rule(words: str, ends: str = "(?!)") -> re.Pattern[str]:
    """Names that begin with one of the words, or end with one of the ends."""
    return re.compile(rf"(?:{words})(?:\Z|[-_.0-9])|.*(?:{ends})\Z", re.IGNORECASE | re.ASCII | re.DOTALL)


CONNECTOR_NAMES = rule("connector|attach|socket|mount|locator")
SHELL_NAMES = rule("collision|collider|shell", "[-_]col")
SEGMENTS_NAMES = rule("segments?")
VALUES = ("connector", "shell", "segments", "mesh")


def purpose(node: SceneNode, joints: set[int], report: Report) -> str:
    """connector, shell, segments, mesh, or nothing of these.  What the convention decides is told in the report."""
    told, label = node.extras.get("zrm"), f"node {node.index} ({node.name})"
    if told is not None and told not in VALUES:
        report.warn(f'{label}: the extra "zrm" is none of {", ".join(VALUES)}')
    if told in (VALUES[1:] if node.mesh is not None else VALUES[:1]):
        report.note(f'{label}: {told}, by its extra "zrm"')
        return str(told)
    if node.mesh is not None:
        for kind, names in (("segments", SEGMENTS_NAMES), ("shell", SHELL_NAMES)):
            if names.match(node.name):
                report.note(f"{label}: {kind}, by its name")
                return kind
        return "mesh"
    taken = node.camera is not None or node.light is not None or node.skin is not None or node.index in joints
    if taken or not (node.extras or CONNECTOR_NAMES.match(node.name)):
        return ""
    report.note(f"{label}: connector, by its {'extras' if node.extras else 'name'}")
    return "connector"


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
