"""A generated city: many small parts, few materials, vertices that nobody has welded."""

from __future__ import annotations

import numpy as np

from .scenes import Part, sheet, unwelded

PARTS = 2_000
MATERIALS = 8


def city() -> list[Part]:
    """Each part is a folded wall of 5 by 25 quads, 750 vertices, and no two are folded alike."""
    rng = np.random.default_rng(11)
    parts = []
    for index in range(PARTS):
        wall = unwelded(sheet(np.repeat(rng.random((26, 1), dtype=np.float32), 6, axis=1)))
        offset = (float(index % 50 * 8), 0.0, float(index // 50 * 8))
        parts.append(Part(f"part{index}", f"facade{index % MATERIALS}", offset, wall))
    return parts
