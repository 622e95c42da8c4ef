"""Array setters against numpy.copy."""

from __future__ import annotations

import numpy as np
import pyzrm_313 as zrm
from support.timing import best_by_turns, heading, nothing, ratio_line

COUNT = 3_000_000


def main() -> None:
    heading("Array setters, 3,000,000 values")
    floats = np.arange(COUNT, dtype=np.float32)
    integers = np.arange(COUNT, dtype=np.uint32)
    block = zrm.BaseBlock()
    bones = zrm.BoneBlock()
    setters = [
        ("setPositions, float32", lambda _: block.setPositions(floats), floats),
        ("setBoneIndices, uint32", lambda _: bones.setBoneIndices(integers), integers),
        ("setPositions, float32, every second value", lambda _: block.setPositions(floats[::2]), floats[::2]),
        ("setPositions, float64", lambda _: block.setPositions(floats.astype(np.float64)), floats),
    ]
    for name, setter, array in setters:
        ours, peer = best_by_turns([(nothing, setter), (nothing, lambda _, a=array: np.copy(a))], rounds=25)
        ratio_line(name, ours, peer, "numpy.copy", "1" if name.endswith("32") else "")


if __name__ == "__main__":
    main()
