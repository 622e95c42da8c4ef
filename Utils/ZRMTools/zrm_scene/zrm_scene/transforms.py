"""Quaternions and matrices, vectorised.  Quaternions are x, y, z, w; matrices act on column vectors."""

from __future__ import annotations

import numpy as np

from .arrays import Floats


def multiply(a: Floats, b: Floats) -> Floats:
    """Quaternion that turns by b first and then by a."""
    ax, ay, az, aw = np.moveaxis(a, -1, 0)
    bx, by, bz, bw = np.moveaxis(b, -1, 0)
    return np.stack(
        [
            aw * bx + ax * bw + ay * bz - az * by,
            aw * by - ax * bz + ay * bw + az * bx,
            aw * bz + ax * by - ay * bx + az * bw,
            aw * bw - ax * bx - ay * by - az * bz,
        ],
        axis=-1,
    )


def conjugate(q: Floats) -> Floats:
    """Inverse of unit quaternions."""
    return np.asarray(q * np.array([-1.0, -1.0, -1.0, 1.0]))


def normalised(q: Floats) -> Floats:
    """Unit quaternions; a zero one becomes the identity."""
    length = np.linalg.norm(q, axis=-1, keepdims=True)
    safe = np.where(length > 0.0, length, 1.0)
    return np.asarray(np.where(length > 0.0, q / safe, np.array([0.0, 0.0, 0.0, 1.0])))


def continuous(q: Floats) -> Floats:
    """The same rotations with the signs chosen so that neighbours lie close to each other."""
    if len(q) < 2:
        return q
    flips = np.where(np.sum(q[1:] * q[:-1], axis=1) < 0.0, -1.0, 1.0)
    return np.asarray(q * np.concatenate([[1.0], np.cumprod(flips)])[:, None])


def slerp(a: Floats, b: Floats, t: Floats) -> Floats:
    """Spherical interpolation on the shorter way, row by row, with t of shape [n]."""
    dot = np.sum(a * b, axis=1)
    b = np.where(dot[:, None] < 0.0, -b, b)
    dot = np.abs(dot)
    wide = 1.0 - dot > 1e-5
    angle = np.arccos(np.where(wide, dot, 0.0))
    sine = np.sin(angle)
    first = np.where(wide, np.sin((1.0 - t) * angle) / sine, 1.0 - t)
    second = np.where(wide, np.sin(t * angle) / sine, t)
    return np.asarray(first[:, None] * a + second[:, None] * b)


def compose(translation: Floats, rotation: Floats, scale: Floats) -> Floats:
    """4 by 4 matrices of T x R x S; inputs [..., 3], [..., 4], [..., 3]."""
    x, y, z, w = np.moveaxis(normalised(rotation), -1, 0)
    matrix = np.zeros((*x.shape, 4, 4))
    matrix[..., 0, 0] = 1.0 - 2.0 * (y * y + z * z)
    matrix[..., 0, 1] = 2.0 * (x * y - z * w)
    matrix[..., 0, 2] = 2.0 * (x * z + y * w)
    matrix[..., 1, 0] = 2.0 * (x * y + z * w)
    matrix[..., 1, 1] = 1.0 - 2.0 * (x * x + z * z)
    matrix[..., 1, 2] = 2.0 * (y * z - x * w)
    matrix[..., 2, 0] = 2.0 * (x * z - y * w)
    matrix[..., 2, 1] = 2.0 * (y * z + x * w)
    matrix[..., 2, 2] = 1.0 - 2.0 * (x * x + y * y)
    matrix[..., :3, :3] *= scale[..., None, :]
    matrix[..., :3, 3] = translation
    matrix[..., 3, 3] = 1.0
    return matrix


def script_quaternion(q: Floats) -> tuple[float, float, float, float]:
    """w, x, y, z, the order in which the module takes quaternions."""
    return (float(q[3]), float(q[0]), float(q[1]), float(q[2]))
