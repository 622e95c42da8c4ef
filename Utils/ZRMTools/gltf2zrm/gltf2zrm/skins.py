"""Skins as records."""

from __future__ import annotations

import numpy as np
from zrm_scene import Skin

from .container import item
from .problems import GltfError
from .scene import Scene
from .schema import SkinEntry


class Skins:
    """Reads each skin once."""

    def __init__(self, scene: Scene) -> None:
        self.scene = scene
        self.entries = scene.source.container.entries("skins", SkinEntry)
        self.joints = {joint for entry in self.entries for joint in entry["joints"]}
        self.cache: dict[int, Skin] = {}

    def of_node(self, index: int, where: str) -> Skin:
        """A skin that a node names."""
        entry = item(self.entries, index, "skin", f"{where}.skin")
        if index not in self.cache:
            self.cache[index] = self._read(index, entry)
        return self.cache[index]

    def _read(self, index: int, entry: SkinEntry) -> Skin:
        where, numbers = f"skins[{index}]", entry["joints"]
        for place, joint in enumerate(numbers):
            item(self.scene.entries, joint, "node", f"{where}.joints[{place}]")
            if joint not in self.scene.nodes:
                raise GltfError(f"{where}.joints[{place}]: node {joint} lies outside the scene")
        if not numbers:
            raise GltfError(f"{where}: no joints")
        accessor = entry.get("inverseBindMatrices")
        if accessor is None:
            inverses = np.repeat(np.eye(4)[None], len(numbers), axis=0)
        else:
            matrices = f"{where}.inverseBindMatrices"
            flat = self.scene.source.reader.floats(accessor, 16, matrices)
            if len(flat) < len(numbers):
                raise GltfError(f"{matrices}: {len(flat)} matrices for {len(numbers)} joints")
            inverses = flat[: len(numbers)].reshape(-1, 4, 4).transpose(0, 2, 1)
            if not np.isfinite(inverses).all():
                raise GltfError(f"{matrices}: matrices that are not finite")
        return Skin(entry.get("name") or f"skin_{index}", [self.scene.nodes[joint] for joint in numbers], inverses)
