"""Key lists that keep their motion through the module's reduction of keys.

The module walks a list from its last key down and drops each key that lies, within a fixed tolerance, on
the straight way from the first key to the key it kept last.  That can lose keys that matter: of the values
0, 5, 2, 10 at the times 0, 1, 2, 10 it loses the 2, which lies on the way from 0 to 10 before the 5 is
back.  A jump back to the rest pose is lost in the same manner.  So every list is put through a copy of that
walk here, and where the outcome strays from the source, one of three things is done so that it can't:

- positions and scales: the list is lifted far off the line that starts at the rest key, and a second
  channel on the same argument takes the lift back (positions add up, scales multiply);
- rotations: q and -q turn the same way but differ for the walk, so all keys but the rest key get the sign
  that the line from the rest key doesn't have;
- properties, which have one channel only: a key that would be lost is moved by half more than the
  tolerance, which at 0.0015 no eye can tell.

A list here starts with the rest value at the argument 0, and its second key stands where the clip starts.
"""

from __future__ import annotations

import math
from dataclasses import dataclass

import numpy as np

from .arrays import Floats
from .transforms import slerp

# The module's tolerances are 32-bit floats, widened.
NODE_TOLERANCE = float(np.float32(0.0001))
PROPERTY_TOLERANCE = float(np.float32(0.001))
LIFTS = (8.0, 32.0, 128.0, 16.0, 64.0, 512.0, 2048.0)

Key = tuple[float, ...]


@dataclass
class Channel:
    """Keys of one channel: times [n] and values [n, c], all of them exact in 32 bits."""

    times: Floats
    values: Floats


def as_float32(values: Floats) -> Floats:
    """What is left of values on their way through the module's 32-bit parameters."""
    return values.astype(np.float32).astype(np.float64)


def between(first: Key, last: Key, t: float, rotation: bool) -> Key:
    """The module's interpolation of two keys."""
    if not rotation:
        return tuple(t * b + (1.0 - t) * a for a, b in zip(first, last))
    dot = sum(a * b for a, b in zip(first, last))
    if dot < 0.0:
        last = tuple(-b for b in last)
        dot = -dot
    if 1.0 - dot > 1e-5:
        angle = math.acos(dot)
        sine = math.sin(angle)
        u, v = math.sin((1.0 - t) * angle) / sine, math.sin(t * angle) / sine
    else:
        u, v = 1.0 - t, t
    return tuple(u * a + v * b for a, b in zip(first, last))


def close(a: Key, b: Key, tolerance: float) -> bool:
    """Within the tolerance in every component."""
    return all(tolerance >= abs(x - y) for x, y in zip(a, b))


def reduced(times: Floats, values: Floats, tolerance: float, rotation: bool = False) -> list[int]:
    """Numbers of the keys that the module keeps, ascending.

    As keys come in falling time, the line that a key is held against always runs from the first key to
    the one kept last: the whole walk is linear.
    """
    moments: list[float] = times.tolist()
    keys: list[Key] = [tuple(row) for row in values.tolist()]
    first, origin = keys[0], moments[0]
    kept: list[int] = []
    for i in range(len(keys) - 1, 0, -1):
        if kept:
            last = kept[-1]
            t = (moments[i] - origin) / (moments[last] - origin)
            line = between(first, keys[last], t, rotation)
        else:
            line = first
        if not close(line, keys[i], tolerance):
            kept.append(i)
    end = len(keys) - 1
    if end > 0 and not close(keys[kept[0]] if kept else first, keys[end], tolerance):
        kept.insert(0, end)
    return [0, *reversed(kept)]


def along(times: Floats, values: Floats, at: Floats, rotation: bool) -> Floats:
    """Value of a key list at many times, as the module's files are evaluated."""
    if len(times) == 1:
        return np.repeat(values, len(at), axis=0)
    if not rotation:
        return np.stack([np.interp(at, times, column) for column in values.T], axis=1)
    inside = np.clip(at, times[0], times[-1])
    left = np.clip(np.searchsorted(times, inside, side="right") - 1, 0, len(times) - 2)
    t = (inside - times[left]) / (times[left + 1] - times[left])
    return slerp(values[left], values[left + 1], t)


def error(times: Floats, values: Floats, kept: list[int], rotation: bool) -> float:
    """Largest distance, from the clip's start on, between the kept keys and all keys.

    Between two neighbouring times both are straight, so the times themselves tell; arcs get their middles too.
    """
    at = times[1:]
    if rotation:
        at = np.concatenate([at, (times[2:] + times[1:-1]) * 0.5])
    have = along(times[kept], values[kept], at, rotation)
    want = along(times, values, at, rotation)
    if rotation:
        have = have / np.linalg.norm(have, axis=1, keepdims=True)
        want = want / np.linalg.norm(want, axis=1, keepdims=True)
        have = np.where(np.sum(have * want, axis=1, keepdims=True) < 0.0, -have, have)
    return float(np.linalg.norm(have - want, axis=1).max(initial=0.0))


def thinned(times: Floats, values: Floats, tolerance: float) -> list[int]:
    """Our own reduction, which loses nothing: from each kept key the longest straight piece whose line passes
    every key between within the tolerance.  The first two keys stay, as the ramp from the rest pose is free."""
    moments: list[float] = times.tolist()
    keys: list[Key] = [tuple(row) for row in values.tolist()]
    width = range(len(keys[0]))
    kept = list(range(min(2, len(keys))))
    low, high = [-math.inf] * len(width), [math.inf] * len(width)
    i = 2
    while i < len(keys):
        anchor = kept[-1]
        span = moments[i] - moments[anchor]
        start, here = keys[anchor], keys[i]
        if i > anchor + 1 and not all(low[c] <= (here[c] - start[c]) / span <= high[c] for c in width):
            kept.append(i - 1)
            low, high = [-math.inf] * len(width), [math.inf] * len(width)
            continue
        for c in width:
            low[c] = max(low[c], (here[c] - tolerance - start[c]) / span)
            high[c] = min(high[c], (here[c] + tolerance - start[c]) / span)
        i += 1
    if kept[-1] != len(keys) - 1:
        kept.append(len(keys) - 1)
    return kept


def sum_channels(times: Floats, values: Floats, allowed: float) -> tuple[list[Channel], float]:
    """Position channels whose sum follows the keys, and how far they stray.  The rest value is zero."""
    values = as_float32(values)
    plain = error(times, values, reduced(times, values, NODE_TOLERANCE), False)
    if plain <= allowed:
        return [Channel(times, values)], plain
    thin = thinned(times, values, allowed * 0.25)
    size = max(1.0, float(np.abs(values).max()))
    best: tuple[list[Channel], float] = ([Channel(times, values)], plain)
    for factor in LIFTS:
        # Powers of two: small lifts cost the values no digits, and the three axes are not lifted alike,
        # since a key is only lost when it lies on the line in all three.
        lift = 2.0 ** math.ceil(math.log2(factor * size)) * np.array([1.0, -2.0, 0.5])
        for pick in (thin, list(range(len(times)))):
            moments, exact = times[pick], values[pick]
            lifted = as_float32(exact + np.where(np.arange(len(pick))[:, None] > 0, lift, 0.0))
            kept = reduced(moments, lifted, NODE_TOLERANCE)
            stray = float(np.abs(along(moments[kept], lifted[kept], times[1:], False) - lift - values[1:]).max())
            if stray < best[1]:
                back = Channel(times[:2], np.stack([np.zeros(3), -lift]))
                best = ([Channel(moments, lifted), back], stray)
            if stray <= allowed:
                return best
    return best


def product_channels(times: Floats, values: Floats, allowed: float) -> tuple[list[Channel], float]:
    """Scale channels whose product follows the keys, and how far they stray.  The rest value is one."""
    values = as_float32(values)
    plain = error(times, values, reduced(times, values, NODE_TOLERANCE), False)
    if plain <= allowed:
        return [Channel(times, values)], plain
    thin = thinned(times, values, allowed * 0.25)
    best: tuple[list[Channel], float] = ([Channel(times, values)], plain)
    for factor in LIFTS:
        lift = factor * np.array([1.0, 2.0, 0.5])  # powers of two, so the product gives the values back exactly
        for pick in (thin, list(range(len(times)))):
            moments = times[pick]
            lifted = values[pick] * np.where(np.arange(len(pick))[:, None] > 0, lift, 1.0)
            kept = reduced(moments, lifted, NODE_TOLERANCE)
            stray = float(np.abs(along(moments[kept], lifted[kept], times[1:], False) / lift - values[1:]).max())
            if stray < best[1]:
                back = Channel(times[:2], np.stack([np.ones(3), 1.0 / lift]))
                best = ([Channel(moments, lifted), back], stray)
            if stray <= allowed:
                return best
    return best


def turn_channels(times: Floats, values: Floats, allowed: float) -> tuple[list[Channel], float]:
    """The rotation channel that follows the keys, and how far it strays.  The rest value is the identity."""
    values = as_float32(values)
    plain = error(times, values, reduced(times, values, NODE_TOLERANCE, True), True)
    if plain <= allowed:
        return [Channel(times, values)], plain
    best: tuple[list[Channel], float] = ([Channel(times, values)], plain)
    for pick in (thinned(times, values, allowed * 0.25), list(range(len(times)))):
        held = held_signs(times[pick], values[pick])
        kept = [pick[i] for i in reduced(times[pick], held, NODE_TOLERANCE, True)]
        stray = error(times, values, kept, True)
        if stray < best[1]:
            best = ([Channel(times[pick], held)], stray)
        if stray <= allowed:
            break
    return best


def held_signs(times: Floats, values: Floats) -> Floats:
    """The same rotations with the signs that make the module's walk keep every one of them."""
    moments: list[float] = times.tolist()
    keys: list[Key] = [tuple(row) for row in values.tolist()]
    first, origin = keys[0], moments[0]
    for i in range(len(keys) - 1, 0, -1):
        if i == len(keys) - 1:
            line = first
            aim = tuple(-c for c in first)
        else:
            aim = keys[i + 1]
            line = between(first, aim, (moments[i] - origin) / (moments[i + 1] - origin), True)
        if sum(a * b for a, b in zip(keys[i], aim)) < 0.0:
            keys[i] = tuple(-c for c in keys[i])
        if close(line, keys[i], NODE_TOLERANCE):
            keys[i] = tuple(-c for c in keys[i])
    return np.array(keys)


def property_channel(times: Floats, values: Floats) -> Channel:
    """Keys of an animated property of two or three components: thinned, then moved where they would be lost."""
    values = as_float32(values)
    if error(times, values, reduced(times, values, PROPERTY_TOLERANCE), False) <= 2.0 * PROPERTY_TOLERANCE:
        return Channel(times, values)
    pick = thinned(times, values, PROPERTY_TOLERANCE * 0.25)
    moments: list[float] = times[pick].tolist()
    keys: list[Key] = [tuple(row) for row in values[pick].tolist()]
    for i in range(len(keys) - 1, 0, -1):
        line = keys[0]
        if i < len(keys) - 1:
            line = between(keys[0], keys[i + 1], (moments[i] - moments[0]) / (moments[i + 1] - moments[0]), False)
        if close(line, keys[i], PROPERTY_TOLERANCE * 1.01):
            away = 1.5 * PROPERTY_TOLERANCE * (1.0 if keys[i][0] >= line[0] else -1.0)
            keys[i] = (float(np.float32(keys[i][0] + away)), *keys[i][1:])
    return Channel(times[pick], np.array(keys))
