"""One animated value of the source: keys with linear, step or cubic sampling, evaluated or turned into a polyline."""

from __future__ import annotations

from dataclasses import dataclass
from enum import Enum

import numpy as np

from .arrays import Floats, Integers
from .transforms import continuous, normalised, slerp

# A cubic piece is cut into at most this many straight ones.
MOST_CUTS = 4096
# Product of two rotations' quaternions below which they are taken for opposite.
HALF_TURN = 0.01


class Mode(Enum):
    """How values between two keys are found."""

    LINEAR = "LINEAR"
    STEP = "STEP"
    CUBIC = "CUBICSPLINE"


@dataclass
class Track:
    """Keys at strictly rising seconds.  Values [n, c]; tangents only with cubic sampling."""

    mode: Mode
    seconds: Floats
    values: Floats
    rotation: bool
    before: Floats | None = None  # in-tangents
    after: Floats | None = None  # out-tangents

    def sample(self, seconds: Floats) -> Floats:
        """The source's own value at any times, clamped at both ends as glTF says."""
        if len(self.seconds) == 1:
            return np.repeat(self.unit(self.values), len(seconds), axis=0)
        inside = np.clip(seconds, self.seconds[0], self.seconds[-1])
        left = np.clip(np.searchsorted(self.seconds, inside, side="right") - 1, 0, len(self.seconds) - 2)
        span = self.seconds[left + 1] - self.seconds[left]
        t = (inside - self.seconds[left]) / span
        if self.mode is Mode.STEP:
            return self.unit(self.values[np.where(inside >= self.seconds[-1], len(self.seconds) - 1, left)])
        if self.mode is Mode.CUBIC:
            return self.unit(self._hermite(left, t[:, None], span[:, None]))
        if self.rotation:
            unit = normalised(self.values)
            return normalised(slerp(unit[left], unit[left + 1], t))
        return np.asarray(self.values[left] * (1.0 - t)[:, None] + self.values[left + 1] * t[:, None])

    def unit(self, values: Floats) -> Floats:
        """Rotations are normalised behind every interpolation."""
        return normalised(values) if self.rotation else values

    def _hermite(self, left: Integers, t: Floats, span: Floats) -> Floats:
        assert self.before is not None and self.after is not None
        square, cube = t * t, t * t * t
        return np.asarray(
            (2.0 * cube - 3.0 * square + 1.0) * self.values[left]
            + span * (cube - 2.0 * square + t) * self.after[left]
            + (3.0 * square - 2.0 * cube) * self.values[left + 1]
            + span * (cube - square) * self.before[left + 1]
        )

    def polyline(self, tolerance: float) -> tuple[Floats, Floats]:
        """Seconds and values of straight pieces that stay within `tolerance` of this track.

        Step tracks give their keys as they are: only the caller, who knows the finest step of the
        argument, can tell how close a jump's two keys may lie.
        """
        if self.mode is not Mode.CUBIC or len(self.seconds) == 1:
            if self.rotation and self.mode is not Mode.STEP:
                return self._halved()
            return self.seconds, self.unit(self.values)
        seconds = self._cuts(tolerance)
        values = self.sample(seconds)
        return seconds, continuous(values) if self.rotation else values

    def _halved(self) -> tuple[Floats, Floats]:
        """A half turn between two keys goes the way that their signs say.  The last bit of a rounding could
        turn it round, so such a pair gets a third key in its middle."""
        unit = self.unit(self.values)
        wide = np.flatnonzero(np.abs(np.sum(unit[1:] * unit[:-1], axis=1)) < HALF_TURN)
        if not len(wide):
            return self.seconds, continuous(unit)
        middle = (self.seconds[wide] + self.seconds[wide + 1]) * 0.5
        seconds = np.insert(self.seconds, wide + 1, middle)
        return seconds, continuous(np.insert(unit, wide + 1, self.sample(middle), axis=0))

    def _cuts(self, tolerance: float) -> Floats:
        """A chord leaves a curve by at most h^2 / 8 times the largest second derivative, which is
        largest at an end of a cubic piece, as it runs straight between the two."""
        assert self.before is not None and self.after is not None
        span = np.diff(self.seconds)[:, None]
        rise = self.values[1:] - self.values[:-1]
        first, last = span * self.after[:-1], span * self.before[1:]
        bend = np.maximum(np.abs(6.0 * rise - 4.0 * first - 2.0 * last), np.abs(6.0 * rise - 2.0 * first - 4.0 * last))
        worst = np.linalg.norm(bend, axis=1)
        # Of a rotation's curve most is the turn along the arc, which the interpolation follows by itself: begin
        # with an eighth of the pieces and look.
        slack = 64.0 if self.rotation else 1.0
        counts = np.clip(np.ceil(np.sqrt(worst / (8.0 * tolerance * slack))), 1, MOST_CUTS).astype(np.int64)
        if self.rotation:
            counts = self._refine(counts, tolerance)
        return self._spread(counts)

    def _refine(self, counts: Integers, tolerance: float) -> Integers:
        """Normalising bends a rotation's curve once more, so its cuts are checked where they are worst."""
        for _ in range(12):
            seconds = self._spread(counts)
            unit = self.sample(seconds)
            middle = (seconds[1:] + seconds[:-1]) * 0.5
            chord = normalised(slerp(unit[:-1], unit[1:], np.full(len(middle), 0.5)))
            true = self.sample(middle)
            off = np.linalg.norm(chord * np.sign(np.sum(chord * true, axis=1, keepdims=True)) - true, axis=1)
            piece = np.clip(np.searchsorted(self.seconds, middle, side="right") - 1, 0, len(counts) - 1)
            bad = np.zeros(len(counts), bool)
            np.logical_or.at(bad, piece, off > tolerance)
            bad &= counts < MOST_CUTS
            if not bad.any():
                break
            counts = np.where(bad, counts * 2, counts)
        return counts

    def _spread(self, counts: Integers) -> Floats:
        piece = np.repeat(np.arange(len(counts)), counts)
        step = np.arange(len(piece)) - np.repeat(np.cumsum(counts) - counts, counts)
        span = np.diff(self.seconds)
        seconds = self.seconds[piece] + span[piece] * (step / counts[piece])
        return np.concatenate([seconds, self.seconds[-1:]])
