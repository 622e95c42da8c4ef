"""What a scene is made of: plain records, which know no file format, no host, and nothing of how a model is built.

Matrices are 4 by 4 for column vectors; quaternions are x, y, z, w; a place is scale, then rotation, then translation.
"""

from __future__ import annotations

from collections.abc import Mapping, Sequence
from dataclasses import dataclass, field, replace
from enum import Enum

import numpy as np

from .arrays import Floats, Indices, Integers, Reals, Vector
from .clips import Moves, Value
from .names import Blending, Shadows

ORIGIN = (0.0, 0.0, 0.0)
NO_TURN = (0.0, 0.0, 0.0, 1.0)
FULL_SIZE = (1.0, 1.0, 1.0)
FAR = 1.0e30  # the limit of a level of detail that has none


@dataclass(slots=True)
class Mesh:
    """Triangles, or lines where `indices` is (m, 2). Rows of the arrays are vertices.

    joints   (n, 4 k) numbers of joints of the skin
    weights  alike
    """

    positions: Reals
    indices: Indices
    normals: Reals
    uvs: dict[int, Reals] = field(default_factory=dict)
    joints: Integers | None = None
    weights: Floats | None = None

    def picked(self, vertices: Indices, indices: Indices) -> Mesh:
        """The same surface made of other vertices, each a copy of an old one."""
        return replace(
            self,
            positions=self.positions[vertices],
            normals=self.normals[vertices],
            indices=indices,
            uvs={number: uv[vertices] for number, uv in self.uvs.items()},
            joints=None if self.joints is None else self.joints[vertices],
            weights=None if self.weights is None else self.weights[vertices],
        )

    def compact(self, indices: Indices) -> Mesh:
        """Only these triangles and the vertices they use."""
        vertices, places = np.unique(indices, return_inverse=True)
        return self.picked(vertices, places.reshape(indices.shape))


@dataclass(slots=True)
class Map:
    """One use of a texture: its name, the set of coordinates and their transform, and what moves its offset."""

    texture: str
    uvs: int = 0
    offset: Vector = (0.0, 0.0)
    rotation: float = 0.0
    scale: Vector = (1.0, 1.0)
    shift: Value | None = None

    def apply(self, uv: Reals) -> Reals:
        """Coordinates with the static transform in them. Turned against the clock as seen with v downward."""
        if tuple(self.offset) == (0.0, 0.0) and self.rotation == 0.0 and tuple(self.scale) == (1.0, 1.0):
            return uv
        u, v = (uv.astype(np.float64) * self.scale).T
        cosine, sine = np.cos(self.rotation), np.sin(self.rotation)
        return np.stack([cosine * u + sine * v, cosine * v - sine * u], axis=1) + self.offset


@dataclass(slots=True)
class Surface:
    """What a mesh looks like. Without an albedo map it has the colour.

    opacity  counts with Blending.BLEND
    """

    name: str
    colour: Value = field(default_factory=lambda: Value.of(1.0, 1.0, 1.0))
    albedo: Map | None = None
    normal: Map | None = None
    aorms: Map | None = None
    occlusion: Map | None = None
    emissive_colour: Value | None = None
    emissive_amount: Value = field(default_factory=lambda: Value.of(1.0))
    emissive: Map | None = None
    blending: Blending | None = None
    opacity: Value | None = None
    two_sided: bool | None = None
    shadows: Shadows | None = None


@dataclass(slots=True, eq=False)
class Skin:
    """Joints and their inverse bind matrices (n, 4, 4)."""

    name: str
    joints: list[Node]
    inverses: Floats


class Kind(Enum):
    """What a mesh is for."""

    DRAWN = "mesh"
    SHELL = "shell"
    SEGMENTS = "segments"


@dataclass(slots=True)
class Shape:
    """A mesh on a node. `label` names it in messages."""

    mesh: Mesh
    surface: Surface | None = None
    kind: Kind = Kind.DRAWN
    skin: Skin | None = None
    label: str = "mesh"


@dataclass(slots=True)
class Light:
    """A point light, or a spot light with the whole angles of its cones, in radians; it shines along the node's -Z."""

    name: str
    brightness: Value
    distance: Value
    colour: Value = field(default_factory=lambda: Value.of(1.0, 1.0, 1.0))
    outer: Value | None = None
    inner: Value | None = None


@dataclass(slots=True)
class Shown:
    """Keys (value of the argument, state) that show what is below a node."""

    argument: int
    keys: list[tuple[float, float]]


@dataclass(slots=True, eq=False)
class Node:
    """One node of the tree. A parent stands before its children in the list that is written.

    matrix   stands in place of translation, rotation and scale
    levels   far limits: the children are levels of detail; such a node has no place of its own
    shown    shows and hides what is below; such a node has no place of its own
    """

    name: str
    parent: Node | None = None
    translation: Vector = ORIGIN
    rotation: Vector = NO_TURN
    scale: Vector = FULL_SIZE
    matrix: Floats | None = None
    moves: Moves | None = None
    levels: Sequence[float] | None = None
    shown: Sequence[Shown] = ()
    shapes: list[Shape] = field(default_factory=list)
    light: Light | None = None
    connector: Mapping[str, float | str] | None = None
