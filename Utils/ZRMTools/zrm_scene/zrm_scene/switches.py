"""The passes of `save`, switched for the length of a `with`."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager

import pyzrm_313 as zrm

SWITCHES = (
    "optimizeTransformations",
    "mergePopertiesSets",
    "optimizeTextureChannels",
    "mergeNodes",
    "extremlyOptimizeMeshes",
    "optimizeVertexCache",
)
# The module has no way to ask; whoever switches by another way must switch back himself.
_state = dict.fromkeys(SWITCHES, True)


@contextmanager
def optimizations(every: bool | None = None, /, **switches: bool) -> Iterator[None]:
    """Switches passes on or off, all of them with the first value, and puts back what this function knows of before.

    `with optimizations(mergeNodes=False):` or `with optimizations(False, mergeNodes=True):`
    """
    if unknown := switches.keys() - set(SWITCHES):
        raise ValueError(f"no pass is called {sorted(unknown)[0]}; there are {', '.join(SWITCHES)}")
    before = _state.copy()
    _switch({**({} if every is None else dict.fromkeys(SWITCHES, every)), **switches})
    try:
        yield
    finally:
        _switch(before)


def _switch(states: dict[str, bool]) -> None:
    for name, state in states.items():
        _state[name] = state
        zrm.enable_model_optimization(name, state)
