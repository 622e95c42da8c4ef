"""Array setters against numpy.copy."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np
import numpy.typing as npt
import pyzrm_313 as zrm
from support.rows import heading, ratio_row
from support.timing import best_by_turns, nothing

COUNT = 3_000_000


def compare(name: str, setter: Callable[[npt.NDArray[Any]], None], array: npt.NDArray[Any], aim: float | None = None) -> None:
    def ours(_: None) -> None:
        setter(array)

    kept = [array]

    def peer(_: None) -> None:
        kept[0] = np.copy(array)  # which holds the one before as long as a block does

    ours_time, peer_time = best_by_turns([(nothing, ours), (nothing, peer)], rounds=25)
    ratio_row(name, ours_time, peer_time, "numpy.copy", aim)


def main() -> None:
    heading("Array setters, 3,000,000 values")
    floats = np.arange(COUNT, dtype=np.float32)
    integers = np.arange(COUNT, dtype=np.uint32)
    block = zrm.BaseBlock()
    bones = zrm.BoneBlock()
    doubles = floats.astype(np.float64)
    compare("setPositions, float32", block.setPositions, floats, 1.0)
    compare("setBoneIndices, uint32", bones.setBoneIndices, integers, 1.0)
    compare("setPositions, float32, every second value", block.setPositions, floats[::2])
    compare("setPositions, float64", block.setPositions, doubles)


if __name__ == "__main__":
    main()
