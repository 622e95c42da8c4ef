"""Textures by name.  A model holds no pixels, only the names under which its renderer finds them."""

from __future__ import annotations

import urllib.parse
from dataclasses import dataclass
from pathlib import PurePosixPath
from typing import Any

import numpy as np

from .accessors import Floats
from .container import Container, item
from .report import Report
from .scene import extension

SOURCES = ("KHR_texture_basisu", "EXT_texture_webp", "EXT_texture_avif")


@dataclass
class Map:
    """One use of a texture: its name, its texture coordinates' set and their transform."""

    texture: str
    coordinates: int
    offset: Floats
    rotation: float
    scale: Floats
    pointer: str

    def apply(self, uv: Floats) -> Floats:
        """Coordinates with the static transform in them.  Turned against the clock as seen with v downward."""
        u, v = (uv * self.scale).T
        cosine, sine = np.cos(self.rotation), np.sin(self.rotation)
        return np.stack([cosine * u + sine * v, cosine * v - sine * u], axis=1) + self.offset


class Textures:
    """Gives names, and tells once for each image what a name alone can't hold."""

    def __init__(self, container: Container, report: Report) -> None:
        self.container = container
        self.report = report
        self.owners: dict[str, tuple[int, Any]] = {}  # for each name the first image and what it shows

    def name(self, index: Any, where: str) -> str | None:
        """The file's stem, the image's name, or its number; None for a texture without an image."""
        texture = item(self.container.json.textures, index, f"{where}: texture")
        source = texture.source
        for name in SOURCES:
            if source is None:
                source = (extension(texture, name) or {}).get("source")
        if source is None:
            return None
        image = item(self.container.json.images, source, f"{where}: image")
        if image.uri is not None and not image.uri.startswith("data:"):
            result = PurePosixPath(urllib.parse.unquote(image.uri)).stem or image.uri
        else:
            result = str(image.name) if image.name else f"image_{source}"
            self.report.skip(f"image {source} ({result})", "its pixels lie within the file; the model holds the name alone")
        shows = image.bufferView if image.uri is None else image.uri
        first, shown = self.owners.setdefault(result, (source, shows))
        if shows != shown:
            self.report.warn(f"images {first} and {source} differ, but are both called {result!r} in the model")
        return result
