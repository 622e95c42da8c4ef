"""Animations as arguments: which value of an argument shows which second, and which track drives what.

At the argument 0 everything stands in the rest pose; a clip runs from its `start` to its `end`, linear in seconds; between 0
and the start the model goes from the rest pose to the clip's first frame. START and END are exact in 32 bits. An argument
has 32 bits, so a clip of T seconds is told in steps of T x 7e-8 seconds.
"""

from __future__ import annotations

from dataclasses import dataclass, field

import numpy as np

from .arrays import Floats
from .tracks import Mode, Track

START = 0.125
END = 1.0
# How exactly values that are no motion follow their source.
FINE = 0.0005


@dataclass
class Clip:
    """One animation and its place on its argument.

    argument     the number of the argument
    first, last  seconds at which it starts and ends
    start, end   the argument's values there
    """

    argument: int
    name: str = ""
    first: float = 0.0
    last: float = 0.0
    start: float = START
    end: float = END

    def to_argument(self, seconds: Floats) -> Floats:
        """Argument values, exact in 32 bits, of times within the clip."""
        if self.last <= self.first:
            return np.full(len(seconds), self.start)
        share = (seconds - self.first) / (self.last - self.first)
        return (self.start + share * (self.end - self.start)).astype(np.float32).astype(np.float64)


@dataclass
class Driven:
    """A track and the clip it belongs to."""

    clip: Clip
    track: Track

    def keys(self, rest: Floats, tolerance: float) -> tuple[Floats, Floats]:
        """Key times and values of a channel: the rest value at 0, then the clip from its start on."""
        seconds, values = self.track.polyline(tolerance)
        times, start = self.clip.to_argument(seconds), self.clip.start
        if self.track.mode is Mode.STEP:
            times, values = stairs(times, values)
        if times[0] > start:  # a track that begins late holds its first value from the clip's start
            times, values = np.concatenate([[start], times]), np.concatenate([values[:1], values])
        times, values = rising(times, values)
        return np.concatenate([[0.0], times]), np.concatenate([rest.reshape(1, -1), values])


@dataclass
class Value:
    """A constant of one to four components, or what drives it away from that.

    component, factor  a single float is one of the components, times the factor
    """

    rest: Floats
    driven: Driven | None = None
    component: int = 0
    factor: float = 1.0

    @classmethod
    def of(cls, *rest: float) -> Value:
        """A constant."""
        return cls(np.array(rest))


@dataclass
class Moves:
    """What drives the three parts of a node's place, in order of arguments."""

    translation: list[Driven] = field(default_factory=list)
    rotation: list[Driven] = field(default_factory=list)
    scale: list[Driven] = field(default_factory=list)

    def all(self) -> list[Driven]:
        """Every one of them."""
        return [*self.translation, *self.rotation, *self.scale]

    def __bool__(self) -> bool:
        return bool(self.translation or self.rotation or self.scale)


def stairs(times: Floats, values: Floats) -> tuple[Floats, Floats]:
    """A jump is two keys: the old value one 32-bit step before the time of the new one."""
    before = np.nextafter(times[1:].astype(np.float32), np.float32(0.0)).astype(np.float64)
    out_times, out_values = np.empty(2 * len(times) - 1), np.empty((2 * len(times) - 1, values.shape[1]))
    out_times[0::2], out_times[1::2] = times, before
    out_values[0::2], out_values[1::2] = values, values[:-1]
    return out_times, out_values


def rising(times: Floats, values: Floats) -> tuple[Floats, Floats]:
    """Keys closer than 32 bits can tell apart become one, the last of them."""
    last = np.append(np.diff(times) > 0.0, True)
    return times[last], values[last]
