"""Cameras as connectors, on wish: a connector on the camera's node with the camera's numbers as properties."""

from __future__ import annotations

from .schema import CameraEntry, NodeEntry
from .source import Source


def camera_of(source: Source, entry: NodeEntry, where: str) -> dict[str, float | str] | None:
    """Properties of the connector that stands for a node's camera; None, with a loss, where nobody asked for one."""
    if (index := entry.get("camera")) is None:
        return None
    camera = source.container.entry("cameras", CameraEntry, index, f"{where}.camera")
    if not source.options.cameras:
        source.report.lose("camera", "a model holds no cameras; --cameras makes connectors of them", where)
        return None
    found: dict[str, float | str] = {"camera": camera.get("type") or ""}
    for kind in ("perspective", "orthographic"):
        values = camera.get(kind)
        if isinstance(values, dict):
            found |= {name: float(value) for name, value in values.items() if isinstance(value, (int, float))}
    return found
