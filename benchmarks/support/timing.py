"""Timing by turns: every figure is a ratio of two things measured in one run."""

from __future__ import annotations

import gc
import time
from collections.abc import Callable
from typing import Any

# A case is prepared outside the clock and timed inside it.
Prepare = Callable[[], Any]
Run = Callable[[Any], object]


def seconds(prepare: Prepare, run: Run) -> float:
    """Time of one `run` on a fresh `prepare()`, with the collector held off."""
    subject = prepare()
    gc.collect()
    gc.disable()
    try:
        start = time.perf_counter()
        run(subject)
        return time.perf_counter() - start
    finally:
        gc.enable()


def best_by_turns(cases: list[tuple[Prepare, Run]], rounds: int) -> list[float]:
    """Best time of each case; the cases take turns, so that a drift of the machine touches all of them."""
    best = [float("inf")] * len(cases)
    for _ in range(rounds):
        for index, (prepare, run) in enumerate(cases):
            best[index] = min(best[index], seconds(prepare, run))
    return best


def nothing() -> None:
    """The preparation of a case that needs none."""
