"""What a ZRM file of version 10 holds, as plain records.

Names of fields follow the format. Arrays are read-only views of the file's bytes, which they keep
alive. `offset` is the position of a record's first byte. An argument of 0xFFFFFFFF means none.
Matrices are 4 by 4 in row-vector convention: a point is v x M, the translation is the last row.
Quaternions are x, y, z, w.
"""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import numpy as np
from numpy.typing import NDArray

Bytes = NDArray[np.uint8]
Floats = NDArray[np.float32]
Doubles = NDArray[np.float64]
Words = NDArray[np.uint32]
Records = NDArray[Any]

SEMANTICS: tuple[str, ...] = (
    "POSITION0",
    "NORMAL0",
    "TANGENT0",
    "BINORMAL0",
    *(f"TEXCOORD{k}" for k in range(16)),
    "COLOR0",
    "COLOR1",
    "POSITION1",
    "NORMAL1",
    "TANGENT1",
    "BINORMAL1",
    "COLOR2",
)

# Numbers of the texture coordinate channels of a material. A deck uses 0 to 4 and 7 for its own maps.
CHANNELS: dict[str, int] = {
    "albedo": 0,
    "normal": 1,
    "deck_tiled_aorms": 2,
    "decal": 3,
    "deck_aorms": 4,
    "damage_albedo": 5,
    "deck_damage": 7,
    "emissive": 8,
    "ambient_occlusion": 9,
    "damage_normal": 10,
    "aorms": 12,
}


def layout(vertex_format: Bytes) -> Iterator[tuple[str, int, int]]:
    """(semantic, first float, width) of each attribute that a vertex format has, in order."""
    first = 0
    for name, width in zip(SEMANTICS, vertex_format.tolist()):
        if width:
            yield name, first, width
            first += width


# ---------------------------------------------------------------- properties and materials


@dataclass(slots=True)
class Property:
    offset: int
    type_name: str
    name: str


@dataclass(slots=True)
class StaticProperty(Property):
    """One value: a float, an int, a string, or a tuple of 2 to 4 floats."""

    value: float | int | str | tuple[float, ...]


@dataclass(slots=True)
class ArgumentProperty(Property):
    argument: int


@dataclass(slots=True)
class AnimatedProperty(Property):
    """`keys` has the fields time (f64) and value (f32, n wide), n from 1 to 4."""

    argument: int
    keys: Records


@dataclass(slots=True)
class Texture:
    texture_index: int
    name: str
    sampler: tuple[int, ...]
    transform: Floats


@dataclass(slots=True)
class Material:
    offset: int
    blending: int
    depth_bias: int
    vertex_format: Bytes
    channels: NDArray[np.int32]
    material_name: str
    name: str
    casts_shadow: bool
    shadow_flag2: bool
    textures: dict[int, Texture]
    uniforms: list[Property]
    animated_uniforms: list[Property]
    billboard: tuple[int, int] | None
    decal_id: int

    def channel(self, map_kind: int | str) -> int | None:
        """The texture coordinate set of a map, by number or by name of CHANNELS; None when it has none."""
        number = CHANNELS[map_kind] if isinstance(map_kind, str) else map_kind
        value = int(self.channels[number])
        return None if value == -1 else value

    def uniform(self, name: str) -> Property | None:
        """The first property of that name, static ones first."""
        for entry in (*self.uniforms, *self.animated_uniforms):
            if entry.name == name:
                return entry
        return None


# ---------------------------------------------------------------- the tree


@dataclass(slots=True)
class Node:
    """A node of the tree without data of its own; also model::TmpNumberRoot. The top's parent is -1."""

    offset: int
    index: int
    type_name: str
    name: str
    properties: list[Property]
    parent: int


@dataclass(slots=True)
class TransformNode(Node):
    matrix: Doubles


@dataclass(slots=True)
class BoneNode(TransformNode):
    inverted_base_bone_matrix: Doubles


@dataclass(slots=True)
class VectorChannel:
    """`keys` has the fields time (f64) and value (3 x f64)."""

    argument: int
    keys: Records


@dataclass(slots=True)
class RotationChannel:
    """`keys` has the fields time (f64) and value (4 x f64: x, y, z, w)."""

    argument: int
    keys: Records


@dataclass(slots=True)
class ScaleChannel:
    """Orientation of the scale axes, and the scale along them."""

    argument: int
    rotation_keys: Records
    keys: Records


@dataclass(slots=True)
class ArgAnimationNode(TransformNode):
    """Also under the names model::ArgPositionNode, model::ArgRotationNode and model::ArgScaleNode."""

    base_position: Doubles
    base_rotation: Doubles
    base_scale_rotation: Doubles
    base_scale: Doubles
    position_channels: list[VectorChannel]
    rotation_channels: list[RotationChannel]
    scale_channels: list[ScaleChannel]


@dataclass(slots=True)
class ArgAnimatedBone(ArgAnimationNode):
    inverted_base_bone_matrix: Doubles


@dataclass(slots=True)
class BillboardNode(TransformNode):
    mode: int
    axis_mode: int
    axis: Doubles


@dataclass(slots=True)
class VisibilityArgument:
    """`ranges` is (n, 2): a value lies in a range from its start up to, not including, its end."""

    argument: int
    ranges: Doubles


@dataclass(slots=True)
class ArgVisibilityNode(Node):
    arguments: list[VisibilityArgument]


@dataclass(slots=True)
class LodNode(Node):
    """`levels` is (n, 2): near and far bound of child i as squared distances."""

    levels: Doubles


# ---------------------------------------------------------------- geometry


@dataclass(slots=True)
class Mesh:
    """A vertex block with the format that names its floats, and an index block.

    vertices        (n, floats per vertex) f32, interleaved as in the file
    vertex_format   27 widths, one for each of SEMANTICS
    indices         u8, u16 or u32 as in the file
    primitive_type  5 is a list of triangles
    """

    vertices: Floats
    vertex_format: Bytes
    indices: NDArray[Any]
    primitive_type: int

    @property
    def vertex_count(self) -> int:
        return int(self.vertices.shape[0])

    @property
    def triangle_count(self) -> int:
        return len(self.indices) // 3 if self.primitive_type == 5 else 0

    def split(self) -> dict[str, Floats]:
        """Each attribute as an (n, width) view of the vertices."""
        return {name: self.vertices[:, first : first + width] for name, first, width in layout(self.vertex_format)}

    def attribute(self, name: str) -> Floats:
        """One attribute as an (n, width) view; KeyError when the format lacks it."""
        return self.split()[name]

    def triangles(self) -> NDArray[Any]:
        """(n, 3) indices of a list of triangles; empty for other primitives. A remainder is left out."""
        count = self.triangle_count
        return self.indices[: 3 * count].reshape(count, 3)

    def part_numbers(self) -> NDArray[np.int64]:
        """For each vertex of a render node the number of its parent entry; -1 where the float is no number."""
        position = self.attribute("POSITION0")
        if position.shape[1] != 4:
            return np.zeros(len(position), np.int64)
        raised = position[:, 3] + np.float32(0.5)
        usable = (raised > -1.0) & (raised < 2.0**31)
        return np.where(usable, np.where(usable, raised, 0.0).astype(np.int64), -1)

    def bone_indices(self) -> Bytes:
        """(n, 4) numbers in a skin's list of bones: 0 is the control node, i + 1 the script's bone i.

        They are the bytes of POSITION0's fourth float, the first one lowest.
        """
        packed = np.ascontiguousarray(self.attribute("POSITION0")[:, 3:4])
        return packed.view(np.uint8).reshape(-1, 4)


# ---------------------------------------------------------------- what hangs on the tree


@dataclass(slots=True)
class BaseNode:
    offset: int
    type_name: str
    name: str
    properties: list[Property]
    version: int


@dataclass(slots=True)
class Connector(BaseNode):
    control: int


@dataclass(slots=True)
class LightVolume:
    radius_factor: Property
    density_factor: Property
    near_distance: Property
    volume_type: int


@dataclass(slots=True)
class LightNode(BaseNode):
    """Each setting bears the name that the script gave it. `volume` is None below version 3."""

    control: int
    light_type: int
    color: Property
    brightness: Property
    phi: Property
    theta: Property
    distance: Property
    specular_amount: Property
    softness: Property
    volume: LightVolume | None
    texture: Texture | None

    def settings(self) -> list[Property]:
        """All properties of the record, in its order."""
        found = [self.color, self.brightness, self.phi, self.theta, self.distance, self.specular_amount, self.softness]
        if self.volume is not None:
            found += [self.volume.radius_factor, self.volume.density_factor, self.volume.near_distance]
        return found


@dataclass(slots=True)
class ShellNode(BaseNode):
    control: int
    mesh: Mesh


@dataclass(slots=True)
class ShellSkinNode(BaseNode):
    bones: Words
    argument: int
    skin_box: Floats | None
    mesh: Mesh


@dataclass(slots=True)
class SegmentsNode(BaseNode):
    """`segments` is (n, 2, 3): start and end of each."""

    control: int
    segments: Floats


@dataclass(slots=True)
class BaseRenderNode(BaseNode):
    material: int


@dataclass(slots=True)
class RenderNode(BaseRenderNode):
    """`parents` has one row (tree index, argument) for each parent entry."""

    parents: Words
    mesh: Mesh
    purpose: int
    pivots: Floats


@dataclass(slots=True)
class NumberNode(RenderNode):
    """For each parent entry its controls: uArgument, uFactor, vArgument, vFactor."""

    numbers: list[Records]


@dataclass(slots=True)
class SkinNode(BaseRenderNode):
    """`bones` are tree indices, the control node's first. `skin_box` is (2, 3), None at version 0."""

    bones: Words
    argument: int
    skin_box: Floats | None
    pivots: Floats
    mesh: Mesh


@dataclass(slots=True)
class LightSamples:
    """`samples` is (lights, 128): values at k / 127 of the argument's axis from 0 to 1."""

    argument: int
    samples: Floats


@dataclass(slots=True)
class FakeOmniLightsNode(BaseRenderNode):
    """`lights` has the fields position, uvMin, uvMax, size, controlIndex. Also the animated class."""

    controls: Words
    lights: Records
    animation: LightSamples | None


@dataclass(slots=True)
class FakeSpotLightsNode(BaseRenderNode):
    """As fake omni lights, plus backUvMin, backUvMax, backSide. Also the animated class.

    control_directions is (controls, 3); directions is (lights, 3), None below version 2.
    """

    controls: Words
    control_directions: Floats
    lights: Records
    directions: Floats | None
    animation: LightSamples | None


@dataclass(slots=True)
class FakeSpotLights3Node(BaseRenderNode):
    controls: Words
    mesh: Mesh


# ---------------------------------------------------------------- the file


@dataclass(slots=True)
class Root(BaseNode):
    """Boxes are (2, 3): minimum, maximum. A box that was never set has its minimum above its maximum."""

    bounding_box: Doubles
    user_box: Doubles
    light_box: Doubles
    materials: list[Material]
    handle_count: int


@dataclass(slots=True)
class ZrmFile:
    """A whole file. `warnings` are (offset, text) of what is legal in a file but of no use to a renderer."""

    size: int
    strings: list[str]
    root: Root
    nodes: list[Node]
    parents: NDArray[np.int64]
    connectors: list[Connector]
    shell_nodes: list[ShellNode | ShellSkinNode | SegmentsNode]
    light_nodes: list[LightNode]
    render_nodes: list[BaseRenderNode]
    warnings: list[tuple[int, str]]

    @property
    def materials(self) -> list[Material]:
        return self.root.materials

    def path(self, index: int) -> str:
        """Names from the top down to a node, joined by "/"."""
        names: list[str] = []
        while index >= 0:
            node = self.nodes[index]
            names.append(node.name)
            index = node.parent
        return "/".join(reversed(names))
