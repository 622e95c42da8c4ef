"""Names for the numbers that the module takes."""

from __future__ import annotations

from collections.abc import Iterator
from enum import IntEnum


class Blending(IntEnum):
    """`PBRNode.setTransparentMode`; what 3 looks like is the renderer's own matter."""

    OPAQUE = 0
    BLEND = 1
    MASK = 2
    MODE_3 = 3


class GlassBlending(IntEnum):
    """`GlassNode.setTransparentMode`; what 3 and 6 look like is the renderer's own matter."""

    BLEND = 1
    MODE_3 = 3
    MODE_6 = 6


class Shadows(IntEnum):
    """`PBRNode.setShadowCaster`."""

    CAST = 0
    NONE = 1
    SECOND_FLAG = 2


class EmissiveType(IntEnum):
    """`EmissiveBlock.setEmissiveType`; KEEP leaves the type of the mesh as it is."""

    KEEP = 0
    SELF_ILLUMINATED = 2
    TRANSPARENT = 3
    ADDITIVE = 4
    ADDITIVE_COLOUR = 5
    ADDITIVE_TEXTURE = 6


class GlassType(IntEnum):
    """`GlassNode.setGlassType`."""

    INSTRUMENT = 0
    OTHER = 1


class Arguments:
    """Names of a model's arguments, numbered from 0 in their order: `Arguments("gear", "flaps").flaps` is 1."""

    def __init__(self, *names: str) -> None:
        if len(set(names)) != len(names):
            raise ValueError(f"an argument is named twice: {', '.join(names)}")
        self._numbers = {name: number for number, name in enumerate(names)}

    def __getattr__(self, name: str) -> int:
        try:
            return self[name]
        except KeyError:
            raise AttributeError(f"no argument is called {name!r}") from None

    def __getitem__(self, name: str) -> int:
        return self._numbers[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._numbers)

    def __len__(self) -> int:
        return len(self._numbers)
