"""Lights, connectors, shells and segments of records, as facades on a node."""

from __future__ import annotations

from collections.abc import Mapping

import numpy as np
import pyzrm_313 as zrm

from .records import Light, Mesh
from .surfaces import flat
from .values import colour, single


def light_of(light: Light, control: zrm.Node) -> zrm.ILight:
    """The facade of a light."""
    made: zrm.OmniLight | zrm.SpotLight
    if light.outer is None:
        made = zrm.OmniLight(light.name)
    else:
        made = spot = zrm.SpotLight(light.name)
        spot.setPhi(single(light.outer))
        if light.inner is not None:
            spot.setTheta(single(light.inner))
    made.setColor(colour(light.colour))
    made.setBrightness(single(light.brightness))
    made.setDistance(single(light.distance))
    made.setControlNode(control)
    return made


def connector_of(name: str, values: Mapping[str, float | str], control: zrm.Node) -> zrm.Connector:
    """A connector with its properties."""
    connector = zrm.Connector(name)
    connector.setControlNode(control)
    for key, value in values.items():
        if isinstance(value, str):
            connector.setPropertyString(key, value)
        else:
            connector.setPropertyFloat(key, float(value))
    return connector


def shell_of(name: str, mesh: Mesh, factor: float, control: zrm.Node) -> zrm.ShellNode:
    """The triangles of a mesh as a collision shell."""
    shell = zrm.ShellNode(name)
    shell.setPositions(flat(mesh.positions if factor == 1.0 else mesh.positions * np.float64(factor)))
    shell.setIndices(np.ascontiguousarray(mesh.indices, np.uint32).reshape(-1))
    shell.setControlNode(control)
    return shell


def segments_of(name: str, mesh: Mesh, control: zrm.Node) -> zrm.SegmentsNode:
    """Lines, or each edge of the triangles once."""
    pairs = mesh.indices
    if pairs.shape[1] == 3:
        edges = np.vstack([pairs[:, [0, 1]], pairs[:, [1, 2]], pairs[:, [2, 0]]])
        pairs = np.unique(np.sort(edges, axis=1), axis=0)
    ends = mesh.positions[pairs].reshape(-1, 6).astype(np.float64).tolist()
    segments = zrm.SegmentsNode(name)
    segments.set([((row[0], row[1], row[2]), (row[3], row[4], row[5])) for row in ends])
    segments.setControlNode(control)
    return segments
