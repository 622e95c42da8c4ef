"""What a ZRM file of version 10 holds, as plain records.

Names of fields follow the format. Arrays are read-only views of the file's bytes, which they keep
alive. `offset` is the position of a record's first byte. An argument of 0xFFFFFFFF means none.
Matrices are 4 by 4 in row-vector convention: a point is v x M, the translation is the last row.
Quaternions are x, y, z, w.
"""

from __future__ import annotations

from collections.abc import Iterable, Iterator
from dataclasses import dataclass, field
from mmap import mmap
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .cursor import NO_ARGUMENT
from .faults import WARNING, FaultList

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


def real(numbers: Iterable[int]) -> list[int]:
    """The arguments among these numbers."""
    return [int(number) for number in numbers if number != NO_ARGUMENT]


@dataclass(slots=True)
class Property:
    offset: int
    type_name: str
    name: str

    @property
    def arguments(self) -> list[int]:
        """The argument that it follows, if any."""
        return []


def arguments_of(properties: Iterable[Property]) -> list[int]:
    return [number for entry in properties for number in entry.arguments]


@dataclass(slots=True)
class StaticProperty(Property):
    """One value: a float, an int, a string, or a tuple of 2 to 4 floats."""

    value: float | int | str | tuple[float, ...]


@dataclass(slots=True)
class ArgumentProperty(Property):
    argument: int

    @property
    def arguments(self) -> list[int]:
        return real([self.argument])


@dataclass(slots=True)
class AnimatedProperty(Property):
    """`keys` has the fields time (f64) and value (f32, n wide), n from 1 to 4."""

    argument: int
    keys: Records

    @property
    def arguments(self) -> list[int]:
        return real([self.argument])


@dataclass(slots=True)
class Texture:
    texture_index: int
    name: str
    sampler: Words
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
    shadows: int
    textures: dict[int, Texture]
    uniforms: list[Property]
    animated_uniforms: list[Property]
    billboard: Bytes | None
    decal: int | None

    @property
    def decal_id(self) -> int:
        """0 for none."""
        return self.decal or 0

    @property
    def casts_shadow(self) -> bool:
        return bool(self.shadows & 1)

    @property
    def shadow_flag2(self) -> bool:
        return bool(self.shadows & 4)

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
    parent: int
    type_name: str
    name: str
    properties: list[Property]

    @property
    def kind(self) -> str:
        return self.type_name.removeprefix("model::")

    @property
    def matrix(self) -> Doubles | None:
        """The local matrix, or of an animation its base matrix; None for the identity."""
        return None

    @property
    def inverted(self) -> Doubles | None:
        """Of a bone the matrix that leads into it."""
        return None

    @property
    def channels(self) -> list[Channel]:
        """Of an animation: positions, then rotations, then scales."""
        return []

    @property
    def conditions(self) -> list[VisibilityArgument]:
        """Of a visibility node."""
        return []

    @property
    def levels(self) -> Doubles | None:
        """Of a LOD node."""
        return None

    @property
    def arguments(self) -> list[int]:
        """The arguments that it follows, in the order of the file."""
        own = [entry.argument for entry in (*self.channels, *self.conditions)]
        return [*arguments_of(self.properties), *real(own)]


@dataclass(slots=True)
class TransformNode(Node):
    matrix: Doubles = field()


@dataclass(slots=True)
class BoneNode(TransformNode):
    inverted_base_bone_matrix: Doubles

    @property
    def inverted(self) -> Doubles | None:
        return self.inverted_base_bone_matrix


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


Channel = VectorChannel | RotationChannel | ScaleChannel


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

    @property
    def channels(self) -> list[Channel]:
        return [*self.position_channels, *self.rotation_channels, *self.scale_channels]


@dataclass(slots=True)
class ArgAnimatedBone(ArgAnimationNode):
    inverted_base_bone_matrix: Doubles

    @property
    def inverted(self) -> Doubles | None:
        return self.inverted_base_bone_matrix


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
    """Shown while the value of each condition's argument lies in one of its ranges."""

    conditions: list[VisibilityArgument] = field()


@dataclass(slots=True)
class LodNode(Node):
    """`levels` is (n, 2): near and far bound of child i as squared distances."""

    levels: Doubles = field()


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

    def part_numbers(self) -> NDArray[np.int32]:
        """For each vertex of a render node the number of its parent entry; -1 where the float is no number."""
        position = self.attribute("POSITION0")
        if position.shape[1] != 4:
            return np.zeros(len(position), np.int32)
        raised = position[:, 3] + np.float32(0.5)
        usable = (raised > -1.0) & (raised < 2.0**31)
        return np.where(usable, raised, np.float32(-1.0)).astype(np.int32)

    def bone_indices(self) -> Bytes:
        """(n, 4) numbers in a skin's list of bones: 0 is the control node, i + 1 the script's bone i.

        They are the bytes of POSITION0's fourth float, the first one lowest.
        """
        packed = np.ascontiguousarray(self.attribute("POSITION0")[:, 3:4])
        return packed.view(np.uint8).reshape(-1, 4)


# ---------------------------------------------------------------- what hangs on the tree


@dataclass(slots=True)
class BaseNode:
    """What all records outside of the tree answer, each by its own fields."""

    offset: int
    type_name: str
    name: str
    properties: list[Property]
    version: int

    @property
    def kind(self) -> str:
        return self.type_name.removeprefix("model::")

    @property
    def material(self) -> int | None:
        """Its number, of what is drawn."""
        return None

    @property
    def mesh(self) -> Mesh | None:
        return None

    @property
    def controls(self) -> Words:
        """The tree nodes that it hangs on; of a skin the control node and the bones."""
        return np.zeros(0, np.uint32)

    @property
    def bones(self) -> Words | None:
        return None

    @property
    def lights(self) -> Records | None:
        """Of fake lights."""
        return None

    @property
    def segments(self) -> Floats | None:
        return None

    @property
    def own_arguments(self) -> list[int]:
        """The arguments beside those of properties."""
        return []

    def settings(self) -> list[Property]:
        """Properties that have a place of their own in the record."""
        return []

    @property
    def arguments(self) -> list[int]:
        """The arguments that it follows, its material's aside."""
        return [*arguments_of(self.properties), *arguments_of(self.settings()), *self.own_arguments]


@dataclass(slots=True)
class SingleControl(BaseNode):
    control: int

    @property
    def controls(self) -> Words:
        return np.array([self.control], np.uint32)


@dataclass(slots=True)
class Connector(SingleControl):
    pass


@dataclass(slots=True)
class LightVolume:
    radius_factor: Property
    density_factor: Property
    near_distance: Property
    volume_type: int


@dataclass(slots=True)
class LightNode(SingleControl):
    """Each setting bears the name that the script gave it. `volume` is None below version 3."""

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
        found = [self.color, self.brightness, self.phi, self.theta, self.distance, self.specular_amount, self.softness]
        if self.volume is not None:
            found += [self.volume.radius_factor, self.volume.density_factor, self.volume.near_distance]
        return found


@dataclass(slots=True)
class ShellNode(SingleControl):
    mesh: Mesh = field()


@dataclass(slots=True)
class ShellSkinNode(BaseNode):
    bones: Words = field()
    argument: int
    skin_box: Floats | None
    mesh: Mesh = field()

    @property
    def controls(self) -> Words:
        return self.bones

    @property
    def own_arguments(self) -> list[int]:
        return real([self.argument])


@dataclass(slots=True)
class SegmentsNode(SingleControl):
    """`segments` is (n, 2, 3): start and end of each."""

    segments: Floats = field()


@dataclass(slots=True)
class BaseRenderNode(BaseNode):
    material: int = field()


@dataclass(slots=True)
class RenderNode(BaseRenderNode):
    """`parents` has one row (tree index, argument) for each parent entry."""

    parents: Words
    mesh: Mesh = field()
    purpose: int
    pivots: Floats

    @property
    def controls(self) -> Words:
        return self.parents[:, 0]

    @property
    def own_arguments(self) -> list[int]:
        return real(self.parents[:, 1].tolist())


@dataclass(slots=True)
class NumberNode(RenderNode):
    """For each parent entry its controls: uArgument, uFactor, vArgument, vFactor."""

    numbers: list[Records]

    @property
    def own_arguments(self) -> list[int]:
        rows = (rows[name].tolist() for rows in self.numbers for name in ("uArgument", "vArgument"))
        return [*real(self.parents[:, 1].tolist()), *(number for row in rows for number in real(row))]


@dataclass(slots=True)
class SkinNode(BaseRenderNode):
    """`bones` are tree indices, the control node's first. `skin_box` is (2, 3), None at version 0."""

    bones: Words = field()
    argument: int
    skin_box: Floats | None
    pivots: Floats
    mesh: Mesh = field()

    @property
    def controls(self) -> Words:
        return self.bones

    @property
    def own_arguments(self) -> list[int]:
        return real([self.argument])


@dataclass(slots=True)
class LightSamples:
    """`samples` is (lights, 128): values at k / 127 of the argument's axis from 0 to 1."""

    argument: int
    samples: Floats


@dataclass(slots=True)
class FakeLightsNode(BaseRenderNode):
    """`lights` has the fields position, uvMin, uvMax, size, controlIndex, a row of `control_rows`."""

    control_rows: Records
    lights: Records = field()

    @property
    def controls(self) -> Words:
        found: Words = self.control_rows["control"]
        return found


@dataclass(slots=True)
class FakeOmniLightsNode(FakeLightsNode):
    """Also the animated class."""

    animation: LightSamples | None

    @property
    def own_arguments(self) -> list[int]:
        return real([self.animation.argument]) if self.animation else []


@dataclass(slots=True)
class FakeSpotLightsNode(FakeLightsNode):
    """As fake omni lights, plus backUvMin, backUvMax, backSide; `directions` is (lights, 3), None below version 2."""

    directions: Floats | None
    animation: LightSamples | None

    @property
    def control_directions(self) -> Floats:
        """(controls, 3)"""
        found: Floats = self.control_rows["direction"]
        return found

    @property
    def own_arguments(self) -> list[int]:
        return real([self.animation.argument]) if self.animation else []


@dataclass(slots=True)
class FakeSpotLights3Node(BaseRenderNode):
    controls: Words = field()
    mesh: Mesh = field()


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
    """A whole file. `ends` are the offsets behind its parts, by name; `data` are the bytes that the arrays are views of."""

    data: bytes | mmap
    strings: list[str]
    root: Root
    nodes: list[Node]
    parents: NDArray[np.int64]
    connectors: list[Connector]
    shell_nodes: list[ShellNode | ShellSkinNode | SegmentsNode]
    light_nodes: list[LightNode]
    render_nodes: list[BaseRenderNode]
    faults: FaultList
    ends: dict[str, int]

    @property
    def size(self) -> int:
        return len(self.data)

    @property
    def materials(self) -> list[Material]:
        return self.root.materials

    @property
    def records(self) -> list[BaseNode]:
        """All that hangs on the tree, in the order of the file."""
        return [*self.connectors, *self.shell_nodes, *self.light_nodes, *self.render_nodes]

    @property
    def warnings(self) -> list[tuple[int, str]]:
        """(offset, text) of what is legal in a file but of no use to a renderer."""
        return [(fault.offset, fault.message) for fault in self.faults if fault.severity == WARNING]

    @property
    def arguments(self) -> list[int]:
        """The arguments that anything in the file follows, in ascending order."""
        found = {number for node in self.nodes for number in node.arguments}
        found.update(number for record in self.records for number in record.arguments)
        found.update(number for material in self.materials for number in arguments_of(material.animated_uniforms))
        return sorted(found)

    def path(self, index: int) -> str:
        """Names from the top down to a node, joined by "/"."""
        names: list[str] = []
        while index >= 0:
            node = self.nodes[index]
            names.append(node.name)
            index = node.parent
        return "/".join(reversed(names))
