"""Values as property facades. Each call gives a new one: the module renames the one it takes."""

from __future__ import annotations

import numpy as np
import pyzrm_313 as zrm

from .arrays import Floats, triple
from .clips import FINE, Value
from .keys import property_channel, thinned


def keys_of(value: Value) -> tuple[int, Floats, Floats] | None:
    """Argument, times and values of what drives it."""
    if value.driven is None:
        return None
    times, values = value.driven.keys(value.rest, FINE)
    return value.driven.clip.argument, times, values


def single(value: Value) -> zrm.PropertyFloat:
    """One component, times its factor. The module leaves these keys alone: they are thinned here, to a share of their range."""
    if (found := keys_of(value)) is None:
        return zrm.PropertyFloat(float(value.rest[value.component]) * value.factor)
    argument, times, values = found
    values = values[:, [value.component]] * value.factor
    kept = thinned(times, values, FINE * max(float(np.ptp(values)), 1e-30))
    pairs: list[tuple[float, float]] = list(zip(times[kept].tolist(), values[kept, 0].tolist()))
    return zrm.PropertyFloat(argument, pairs, False)


def shift(value: Value) -> zrm.PropertyFloat2 | None:
    """What moves a pair away from its rest value, or None when nothing does."""
    if (found := keys_of(value)) is None:
        return None
    argument, times, values = found
    channel = property_channel(times, values - value.rest)
    rows: list[list[float]] = channel.values.tolist()
    moments: list[float] = channel.times.tolist()
    return zrm.PropertyFloat2(argument, [(time, (row[0], row[1])) for time, row in zip(moments, rows)])


def colour(value: Value) -> zrm.PropertyFloat3:
    """The first three components."""
    if (found := keys_of(value)) is None:
        return zrm.PropertyFloat3(triple(value.rest))
    argument, times, values = found
    channel = property_channel(times, values[:, :3])
    rows: list[list[float]] = channel.values.tolist()
    moments: list[float] = channel.times.tolist()
    return zrm.PropertyFloat3(argument, [(time, (row[0], row[1], row[2])) for time, row in zip(moments, rows)])
