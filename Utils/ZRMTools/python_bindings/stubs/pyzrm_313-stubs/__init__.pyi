"""Builds a 3-D model in memory and writes it as a ZRM file, version 10.

Conventions that hold for the whole module:

* Every call is positional and complete: no parameter has a name or a default.
* ``None`` in place of an object, an object made by ``__new__`` without ``__init__``, and wrong types or tuple sizes
  give ``TypeError``, whose text names the place, for instance "Lod.__init__(): argument 2, entry 3: a float expected,
  not str"; entries and keys count from 0. Nothing is stored then. Where ``None`` is accepted the signature says so.
* Failures of a model come on two channels. ``Model.save`` and ``Model.addRenderNode`` return a text, ``""`` when all
  went well, and raise what no text is foreseen for; everything else raises. Check the text of each call. All texts,
  with cause and cure, stand in docs/messages.md.
* A float goes through 32 bits, wherever it is stored: a value beyond that range becomes infinite.
* A matrix is a list of four tuples of four floats, or an array of shape (4, 4). Each tuple or row of the array is a
  column of the model's matrix, so that the translation is the fourth value of the first three. What lies beyond the
  fourth is ignored; fewer give ``ValueError``.
* A quaternion is (w, x, y, z). A key is (value of the argument, value). Keys may come in any order.
* An argument handle is the number of an animation argument, 0 to 4294967294; 4294967295, or the negative number -1,
  means none. Numbers outside -2147483648 .. 4294967295 give ``TypeError``.
* Array parameters take flat data: x, y, z, x, y, z. A contiguous array of the exact type, float32 or uint32, is copied
  at the speed of memory; strided arrays, other number types and plain sequences are converted. Shape (N,) or (N, 1);
  any other shape gives ``IndexError``, what can't be converted ``TypeError``.
* Nine list parameters, ``_FloatList`` and ``_IndexList``, copy a flat array as fast, from float64 and the signed
  integers too, but take each value by itself: another shape, a fraction as an index, or an index below 0 or beyond
  4294967295 gives ``TypeError``.
* Lengths, units and angles are not interpreted, except where a method says so: the file holds what the script gave.
"""

from collections.abc import Sequence
from typing import Any, TypeAlias, overload

import numpy as np
import numpy.typing as npt

_Floats: TypeAlias = npt.NDArray[np.float32] | npt.NDArray[np.floating[Any]] | Sequence[float]
_Indices: TypeAlias = npt.NDArray[np.uint32] | npt.NDArray[np.integer[Any]] | Sequence[int]
_FloatList: TypeAlias = npt.NDArray[np.floating[Any] | np.integer[Any]] | Sequence[float]
_IndexList: TypeAlias = npt.NDArray[np.integer[Any]] | Sequence[int]
_Float2: TypeAlias = tuple[float, float]
_Float3: TypeAlias = tuple[float, float, float]
_Float4: TypeAlias = tuple[float, float, float, float]
_Box: TypeAlias = tuple[float, float, float, float, float, float]
_Matrix: TypeAlias = Sequence[_Float4] | npt.NDArray[np.floating[Any] | np.integer[Any]]
_FloatKeys: TypeAlias = Sequence[tuple[float, float]]
_Float2Keys: TypeAlias = Sequence[tuple[float, _Float2]]
_Float3Keys: TypeAlias = Sequence[tuple[float, _Float3]]
_Float4Keys: TypeAlias = Sequence[tuple[float, _Float4]]

def init() -> None:
    """Initialization of plugin.

    Starts the threads of the core's task system: one worker for each processor that the process may use, and a timer. They
    sleep: nothing that a script calls needs them, and `Model.save` writes the same bytes with and without. A second call
    does nothing. RuntimeError when the system has no thread left; then nothing was started.

    Whatever is left out, the end of the process stops them. After `os.fork` the child has none, and may call `init` anew.
    """

def deinit() -> None:
    """Deinitialization of plugin.

    Ends what `init` started and waits for the threads. Without a running task system it does nothing.
    """

def get_num_alived_objects() -> int:
    """Returns number of alived objects.

    Counts every node and property that a model, a facade or a tree still holds; materials are not counted.
    """

def dev_mode() -> bool:
    """Returns if development mode is enabled.

    True when a file "dev_mode.json" lay beside the module when it was loaded. It changes nothing else.
    """

def enable_model_optimization(name: str, enable: bool, /) -> None:
    """Controls which optimizationa will be enabled.

    The switches hold for every later ``Model.save`` of the process, and all are on at the start. In the order in which
    the passes run: "optimizeTransformations", "mergePopertiesSets", "optimizeTextureChannels", "mergeNodes",
    "extremlyOptimizeMeshes", "optimizeVertexCache". Any other name is ignored.
    """

def log_error(text: str | bytes | bytearray, /) -> None:
    """Writes error message to log.

    Each of the four writes one line to standard error, whether `init` was called or not:

        1970-01-01 00:00:01.000 ERROR   PYZRM_313 (1234): text

    The date counts from the start of the process's log as if that were 1970; behind the tag stands the calling thread's
    number. On a terminal the line has the colour of its level. The text is taken as it is, a percent sign too, up to its
    first NUL; a line ends after 65535 bytes. No call fails for what becomes of the line: on a closed or full standard error
    it is lost. TypeError for anything but a text, and for one with lone surrogates.
    """

def log_info(text: str | bytes | bytearray, /) -> None:
    """Writes info message to log.

    As `log_error`, with the label INFO.
    """

def log_warning(text: str | bytes | bytearray, /) -> None:
    """Writes warning message to log.

    As `log_error`, with the label WARNING.
    """

def log_debug(text: str | bytes | bytearray, /) -> None:
    """Writes debug message to log.

    As `log_error`, with the label DEBUG.
    """

class _FacadeType(type): ...

class Model(metaclass=_FacadeType):
    """A model: a tree of nodes, and what hangs on them.

    A model does not keep the objects of the script alive, nor they the model; the data that was added stays.
    """

    def __init__(self, /) -> None:
        """Makes a model whose tree is one node named "root"."""
    def getRootTransform(self, /) -> Node:
        """The root of the node tree; hang nodes under it with ``addChild``."""
    def setBBox(self, box: _Box, /) -> None:
        """Sets the bounding box: minimum x, y, z, maximum x, y, z.

        A model with bones needs it. A box whose maximum lies below its minimum on some axis counts as not set, and
        ``save`` computes it from meshes and shells at rest.
        """
    def setUserBox(self, box: _Box, /) -> None:
        """Sets the user box, as ``setBBox``; when it is not set ``save`` takes the bounding box."""
    def setLightBox(self, box: _Box, /) -> None:
        """Sets the light box, as ``setBBox``.

        When it is not set ``save`` takes the bounding box grown by the largest light distance; a model without lights
        loses it.
        """
    def save(self, path: str, version: int, /) -> str:
        """Checks and optimises the model and writes it to a file.

        path     relative to the working folder; one that begins with "/" is refused
        version  10; cut to 16 bits
        returns  "" or what is wrong. The file is touched last: on a failure an older file of that name stays whole.

        The model is changed for good: a second save works on the result of the first, and doubles two-sided meshes a
        second time. Texts, where {} is filled in: "Unsupported version {}", "Can't write to file {}",
        "if the model has bones, then you need to set a bounding box.", "Vertex data is invalid." (numbers of vertices
        that differ or are not whole), "Too much transparent pivots.", "Control node isn't set. BaseShellNode: {}.",
        "Node '{}' has invalid {} handle.", "Argument of animated fake omni lights must be valid. Node id: {}.",
        "Invalid data size. Node id: {}.", and rarer ones; see docs/messages.md.

        Raises IndexError "invalid unordered_map<K, T> key" when something hangs on a node that is not in the tree: its
        control node, or a skin's bone, was never added below the root with ``addChild``; or a light, fake light or
        connector has no control node. Raises IndexError "Expected idx < size()" for an index at or beyond the number
        of vertices where a pass follows it, and ValueError for a path with a NUL character.
        """
    def addRenderNode(self, node: IRenderNode, /) -> str:
        """Builds the node and adds it.

        returns  "" or what is missing; nothing is added then. See the classes for the texts.

        Adding one object twice builds and adds it twice. An ``IRenderNode()`` gives "" and adds nothing.
        Raises IndexError when the node's data refer to vertices that are not there. Whether the control node is in
        the tree only ``save`` finds out.
        """
    def addSegmentsNode(self, node: SegmentsNode, /) -> None:
        """Adds collision segments."""
    def addShellNode(self, node: ShellNode, /) -> None:
        """Builds a collision shell and adds it; one without positions or indices is added without geometry."""
    def addConnector(self, node: Connector, /) -> None:
        """Adds a connector."""
    def addLight(self, light: ILight, /) -> None:
        """Adds a light. Raises ValueError for an ``ILight()``, which is no light."""
    def getName(self, /) -> str:
        """The name of the model, which is always empty."""
    def __repr__(self, /) -> str: ...

class Node(metaclass=_FacadeType):
    """A plain node of the tree. All nodes can have children."""

    def __init__(self, name: str, /) -> None:
        """Makes a node that hangs nowhere. Names need not be unique; one ends at its first NUL character."""
    def getName(self, /) -> str:
        """The node's name. Raises UnicodeDecodeError for a name given as bytes that are no UTF-8."""
    def addChild[N: Node](self, child: N, /) -> N:
        """Moves ``child`` with all below it to the end of this node's children.

        returns  ``child``
        Raises ValueError when ``child`` is this node or one above it.
        """
    def __repr__(self, /) -> str: ...

class Transform(Node):
    """A node with a matrix."""

    @overload
    def __init__(self, name: str, /) -> None:
        """Makes a node with the identity."""
    @overload
    def __init__(self, name: str, matrix: _Matrix, /) -> None:
        """Makes a node with a matrix. Raises ValueError for fewer than four tuples."""
    def setMatrix(self, matrix: _Matrix, /) -> None:
        """Replaces the matrix. Raises ValueError for fewer than four tuples."""
    def __repr__(self, /) -> str: ...

class Lod(Node):
    """Levels of detail: child i is shown up to the i-th distance, from the one before it on.

    Its children stay at ``save``, also those without anything; a Lod without children goes.
    """

    def __init__(self, name: str, distances: Sequence[float], /) -> None:
        """Makes a node with the far limit of each level, in the model's units. Neither sorted nor checked."""
    def __repr__(self, /) -> str: ...

class NumberRoot(Node):
    """The node that a number display hangs on."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without controls."""
    def setControls(self, controls: Sequence[_Float4], /) -> None:
        """Appends controls (u argument, u factor, v argument, v factor); they do not reach the file.

        Arguments are cut to whole numbers; a negative one means none.
        """
    def __repr__(self, /) -> str: ...

class VisibilityNode(Node):
    """A node whose subtree is shown while every one of its arguments lies in one of its ranges.

    With nothing on it or below it, it goes at ``save``, as animated nodes do.
    """

    def __init__(self, name: str, /) -> None:
        """Makes a node without arguments, which is always shown."""
    def setArguments(self, arguments: Sequence[tuple[int, _FloatKeys]], /) -> None:
        """Replaces the arguments: (argument handle, keys (value of the argument, state)) each.

        From a key with a state of 0.5 or more the subtree is visible, up to the next key, in the order given, with a
        lower state, or to 1.0001. A single visible key makes the range -1 to 1. An entry that is never visible is
        dropped and does not hide anything.
        """
    def __repr__(self, /) -> str: ...

class AnimationNode(Node):
    """A node that moves, turns and scales with arguments.

    A point goes through the scale, the rotation, the translation, then the base matrix. The base position is added to
    the animated ones, base rotation and base scale are applied after the animated ones.

    The three ``set...Animation`` calls sort the keys of each channel and drop those that interpolation between the
    others reproduces within 0.0001. A key that breaks a motion can go with them: of the values 0, 5, 2, 10 at 0, 1, 2
    and 10 the one at 2 is lost.
    """

    def __init__(self, name: str, /) -> None:
        """Makes a node that doesn't move: no channels, base position 0, base rotation 1, 0, 0, 0, base scale 1."""
    def setBaseMatrix(self, matrix: _Matrix, /) -> None:
        """Replaces the base matrix. Raises ValueError for fewer than four tuples."""
    def setBasePosition(self, position: _Float3, /) -> None:
        """Replaces the base position x, y, z, in the model's units; default 0, 0, 0."""
    def setBaseRotation(self, rotation: _Float4, /) -> None:
        """Replaces the base rotation, (w, x, y, z); not normalised."""
    def setBaseScale(self, scale: _Float3, /) -> None:
        """Replaces the base scale along x, y, z; default 1, 1, 1."""
    def setPositionAnimation(self, channels: Sequence[tuple[int, _Float3Keys]], /) -> None:
        """Replaces the position channels: (argument handle, keys (value, (x, y, z))) each. Their values add up."""
    def setRotationAnimation(self, channels: Sequence[tuple[int, _Float4Keys]], /) -> None:
        """Replaces the rotation channels: (argument handle, keys (value, (w, x, y, z))) each.

        Interpolation is spherical; rotations of several channels follow one another. q and -q are different keys.
        """
    def setScaleAnimation(self, channels: Sequence[tuple[int, _Float3Keys]], /) -> None:
        """Replaces the scale channels: (argument handle, keys (value, (x, y, z))) each. Their values multiply."""
    def __repr__(self, /) -> str: ...

class IBlock(metaclass=_FacadeType):
    """Base of the material blocks, of no use by itself."""

    def __init__(self, /) -> None:
        """Makes a block of no type, which ``PBRNode.addBlock`` refuses."""
    def getTypeName(self, /) -> str:
        """The block's type, for instance "BT_Base". Raises RuntimeError on an ``IBlock()``."""

class BaseBlock(IBlock):
    """Geometry and albedo map. Every PBRNode and GlassNode needs it or a ColorBaseBlock; type "BT_Base".

    Texts of ``addRenderNode``: "Vetices positions aren't set.", "Invalid normals." (none, or another number of
    vertices), "Invalid albedo texture coordinates." (likewise), "Albedo isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without data."""
    def setPositions(self, positions: _Floats, /) -> None:
        """x, y, z for each vertex, flat."""
    def setNormals(self, normals: _Floats, /) -> None:
        """x, y, z for each vertex, flat; unit length. One of no length becomes 0, 1, 0 at ``save``."""
    def setAlbedoMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setAlbedoMap(self, name: str, /) -> None:
        """The file name of the albedo map, in small letters in the file; needed."""
    def setAlbedoMapUVShift(self, shift: PropertyFloat2, /) -> None:
        """Moves the coordinates of the albedo map by (u, v), constant or animated; not there at the start. Property
        "diffuseShift"."""
    def __repr__(self, /) -> str: ...

class ColorBaseBlock(IBlock):
    """Geometry in one colour, in place of a BaseBlock; type "BT_Base".

    Texts of ``addRenderNode``: "Vetices positions aren't set.", "Invalid normals.", "Color not set."
    """

    def __init__(self, /) -> None:
        """Makes a block without data."""
    def setPositions(self, positions: _Floats, /) -> None:
        """x, y, z for each vertex, flat."""
    def setNormals(self, normals: _Floats, /) -> None:
        """x, y, z for each vertex, flat."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """Red, green and blue, linear, 0 to 1; needed. Property "color"."""
    def __repr__(self, /) -> str: ...

class FlirBlock(IBlock):
    """Infrared map on the albedo's texture coordinates; type "BT_Flir". Text: "Flir map isn't set." """

    def __init__(self, /) -> None:
        """Makes a block without a map."""
    def setFlirMap(self, name: str, /) -> None:
        """The file name of the infrared map, in small letters in the file; needed."""
    def __repr__(self, /) -> str: ...

class DamageBlock(IBlock):
    """A second layer that an argument blends in; type "BT_Damage".

    The argument is one for the mesh or one for each vertex. In the latter case a PBRNode without bones is split into
    one mesh for each argument; triangles whose corners differ are dropped.

    Texts of ``addRenderNode``: "Damage block: argument is not set.",
    "Damage block: Only one way to set argument is possible.",
    "Damage block: Invalid albedo texture coordinates.",
    "Damage block: Normal map texture coordinates are set but texture isn't.",
    "Damage block: Normal map texture coordinates aren't set.", "Damage block: Albedo isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without data and argument."""
    def setAlbedoMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setNormalMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setPerVertexArguments(self, arguments: _Floats, /) -> None:
        """One argument handle for each vertex, cut to a whole number."""
    def setAlbedoMap(self, name: str, /) -> None:
        """The file name of the damaged albedo map, in small letters in the file; needed."""
    def setNormalMap(self, name: str, /) -> None:
        """The file name of the damaged normal map, in small letters in the file; needed when ``setNormalMapUV`` was
        called, and only then."""
    def setMask(self, name: str, /) -> None:
        """The file name of the mask, in small letters in the file; without it there is none."""
    def setMaskRGBA(self, name: str, /) -> None:
        """The file name of the mask of four channels, in small letters in the file; without it there is none."""
    def setArgument(self, argument: int, /) -> None:
        """The argument handle of the whole mesh."""
    def __repr__(self, /) -> str: ...

class BoneBlock(IBlock):
    """Makes the mesh a skin; type "BT_Bone". The model needs a bounding box then.

    A bone number counts from the mesh's control node, which must be a Bone: 0 is the control node, i + 1 the i-th bone
    of ``setBones``.

    Texts of ``addRenderNode``: "Bone weights aren't set.", "Bone indices aren't set.",
    "Invalid size of bone indices." (no multiple of 4), "Invalid size of bone weights.",
    "Bone weights are not normalized." (the four of a vertex differ from a sum of 1 by more than 0.0001),
    "Control node of a skin must be a bone."
    ``addRenderNode`` raises IndexError when there are fewer groups of four than vertices.
    """

    def __init__(self, /) -> None:
        """Makes a block without weights, bone numbers and bones."""
    def setBoneWeights(self, weights: _Floats, /) -> None:
        """Four weights for each vertex, flat, with the sum 1."""
    def setBoneIndices(self, indices: _Indices, /) -> None:
        """Four bone numbers for each vertex, flat, each cut to its low byte."""
    def setBones(self, bones: Sequence[Bone], /) -> None:
        """Replaces the bones beside the control node; bone i of the list has the number i + 1."""
    def getBoneNames(self, /) -> list[str]:
        """What ``setBoneNames`` stored."""
    def setBoneNames(self, names: Sequence[str], /) -> None:
        """Stores names for the script's own use."""
    def setSkinBox(self, box: _Box, /) -> None:
        """The box of the skin at rest: minimum x, y, z, maximum x, y, z."""
    def __repr__(self, /) -> str: ...

class NumberBlock(IBlock):
    """Makes the mesh a digit of a number display; type "BT_Number".

    Texts of ``addRenderNode``: "Number block: None of arguments were set.", and
    "You can not use bone(skin) and number at the same time." beside a BoneBlock.
    """

    def __init__(self, /) -> None:
        """Makes a block without arguments."""
    def setUVParams(self, u_argument: int, u_factor: float, v_argument: int, v_factor: float, /) -> None:
        """The arguments that shift u and v, and by how much for each unit; a negative argument means none.

        A drum whose picture has ten digits one below the other turns with argument 4: ``digit.setUVParams(-1, 0.0, 4, 0.1)``.
        """
    def __repr__(self, /) -> str: ...

class EmissiveBlock(IBlock):
    """Light that the surface gives off; type "BT_Emissive". Not for GlassNode.

    Texts of ``addRenderNode``, only without a colour: "Emissive block: Texture coordinates are not set.",
    "Emissive block: Emissive texture isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without map and colour, of type 0."""
    def setEmissiveMap(self, name: str, /) -> None:
        """The file name of the emissive map, in small letters in the file; needed without a colour."""
    def setEmissiveMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setAmount(self, amount: PropertyFloat, /) -> None:
        """How strongly the surface shines, 0 not at all; the file has none without this call. Property
        "selfIlluminationValue"."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """Red, green and blue of the light, 0 to 1, in place of a map or beside it. Property "selfIlluminationColor"."""
    def setEmissiveType(self, type: int, /) -> None:
        """The material type: 2 self-illuminated, 3 transparent, 4 additive, 5 additive colour, 6 additive texture.

        Any other number keeps the type that the mesh has; 0 is what a new block has.
        """
    def setUVShift(self, shift: PropertyFloat2, /) -> None:
        """Moves the coordinates of the emissive map by (u, v), constant or animated; not there at the start. Property
        "emissiveShift"."""
    def __repr__(self, /) -> str: ...

class EmissiveColorBlock(IBlock):
    """Light of one colour without a map; type "BT_Emissive". Text of ``addRenderNode``: "Color not set." """

    def __init__(self, /) -> None:
        """Makes a block without colour."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """Red, green and blue of the light, 0 to 1; needed. Property "selfIlluminationColor"."""
    def setAmount(self, amount: PropertyFloat, /) -> None:
        """How strongly the surface shines, as ``EmissiveBlock.setAmount``."""
    def __repr__(self, /) -> str: ...

class AoBlock(IBlock):
    """Ambient occlusion map; type "BT_Ao". Not for GlassNode.

    Texts of ``addRenderNode``: "AO block: Invalid texture coordinates.", "AO block: AO texture isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without a map."""
    def setAoMap(self, name: str, /) -> None:
        """The file name of the ambient occlusion map, in small letters in the file; needed."""
    def setAoMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setAoShift(self, shift: PropertyFloat2, /) -> None:
        """Moves the coordinates of the ambient occlusion map by (u, v), constant or animated; not there at the start.
        Property "ambientOcclusionShift"."""
    def setAoAnimationArgument(self, argument: int, /) -> None:
        """An argument handle up to 2147483647; anything else means none."""
    def __repr__(self, /) -> str: ...

class DecalBlock(IBlock):
    """Decal map; type "BT_Decal". Not for GlassNode.

    Texts of ``addRenderNode``: "Decal block: Invalid texture coordinates.", "Decal block: decal texture isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without a map."""
    def setDecalMap(self, name: str, /) -> None:
        """The file name of the decal map, in small letters in the file; needed."""
    def setDecalMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setDecalShift(self, shift: PropertyFloat2, /) -> None:
        """Moves the coordinates of the decal map by (u, v), constant or animated; not there at the start. Property
        "decalShift"."""
    def __repr__(self, /) -> str: ...

class NormalBlock(IBlock):
    """Normal map; type "BT_Normal".

    Texts of ``addRenderNode``: "Normal block: Invalid texture coordinates.",
    "Normal block: normal texture isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without a map."""
    def setNormalMap(self, name: str, /) -> None:
        """The file name of the normal map, in small letters in the file; needed."""
    def setNormalMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def __repr__(self, /) -> str: ...

class AormsBlock(IBlock):
    """Map of ambient occlusion, roughness, metalness and specular; type "BT_Aorms".

    Texts of ``addRenderNode``: "Aorms block: Invalid texture coordinates.", "Aorms block: aorms texture isn't set."
    """

    def __init__(self, /) -> None:
        """Makes a block without a map."""
    def setAormsMap(self, name: str, /) -> None:
        """The file name of the AORMS map, in small letters in the file; needed."""
    def setAormsMapUV(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def __repr__(self, /) -> str: ...

class GlassFilterBlock(IBlock):
    """The colour that glass lets through; type "BT_Glass". Only for GlassNode, where it has the last word."""

    def __init__(self, /) -> None:
        """Makes a block without map and colour, for glass that is no instrument's."""
    def setColorMap(self, name: str, /) -> None:
        """The file name of the filter's colour map, in small letters in the file; without it there is none."""
    def setInstrumental(self, instrumental: bool, /) -> None:
        """True: glass of an instrument; False, the default: any other glass."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """Red, green and blue that pass, 0 to 1; the file has none without this call. Property "color"."""
    def __repr__(self, /) -> str: ...

class IRenderNode(metaclass=_FacadeType):
    """Base of everything that ``Model.addRenderNode`` takes; by itself it builds nothing."""

    def __init__(self, /) -> None:
        """Makes a node that builds nothing."""
    def hasBlock(self, type_name: str, /) -> bool:
        """Whether a block of that type is there, for instance "BT_Normal"."""

class FakeOmniLight(metaclass=_FacadeType):
    """One light sprite of FakeOmniLights. Everything is 0 at the start."""

    def __init__(self, /) -> None:
        """Makes a light with everything 0."""
    def setPos(self, position: _Float3, /) -> None:
        """x, y, z in the space of the control node, in the model's units; kept in 64 bits."""
    def setSize(self, size: float, /) -> None:
        """Edge length, in the model's units."""
    def setUV(self, first: _Float2, second: _Float2, /) -> None:
        """The two corners (u, v) of the sprite in the texture; v is turned over: 1 - v is stored."""

class FakeOmniLights(IRenderNode):
    """Light sprites that shine all around. ``addRenderNode`` always gives ""."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without lights."""
    def set(self, lights: Sequence[FakeOmniLight], /) -> None:
        """Replaces the lights by copies of these."""
    def setTexture(self, name: str, /) -> None:
        """The file name of the sprites' picture, in small letters in the file; default none."""
    def setMinSizeInPixels(self, pixels: float, /) -> None:
        """Default 20."""
    def setMaxDistance(self, distance: float, /) -> None:
        """Default 1000, in the model's units."""
    def setLuminance(self, luminance: PropertyFloat, /) -> None:
        """Default 1. The property takes the name "luminance"."""
    def setShiftToCamera(self, shift: float, /) -> None:
        """Default 0, in the model's units."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the lights hang on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class AnimatedFakeOmniLight(FakeOmniLights):
    """FakeOmniLights whose brightness follows an argument."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without lights, argument and animation."""
    def setAnimationArg(self, argument: float, /) -> None:
        """The argument handle, cut to a whole number. Needed before ``save``."""
    def setLightsAnimation(self, animation: Sequence[tuple[int, _FloatKeys]], /) -> None:
        """Replaces the animation: (number of the light, keys (0 to 1, brightness)) for each light, in order.

        Keys within 0.001 of what the others give are dropped, then 128 samples from 0 to 1 are taken. Without keys the
        samples are 0. Numbers that do not count 0, 1, 2 ... leave no samples, and ``save`` fails.

        Two lights that blink in turn, following argument 7:

            lights.setAnimationArg(7)
            lights.setLightsAnimation([(0, [(0.0, 1.0), (0.5, 0.0)]), (1, [(0.0, 0.0), (0.5, 1.0)])])
        """
    def setControlNode(self, node: Node, /) -> None:
        """The node that the lights hang on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class FakeSpotLight(metaclass=_FacadeType):
    """One light sprite of FakeSpotLights. Position, corners and size are 0 at the start, the direction is 0, 1, 0."""

    def __init__(self, /) -> None:
        """Makes a light at 0, 0, 0 that shines along 0, 1, 0."""
    def setPos(self, position: _Float3, /) -> None:
        """x, y, z in the space of the control node, in the model's units; kept in 64 bits."""
    def setSize(self, size: float, /) -> None:
        """Edge length, in the model's units."""
    def setUV(self, first: _Float2, second: _Float2, /) -> None:
        """The two corners (u, v) of the sprite in the texture; v is turned over: 1 - v is stored."""
    def setBackUV(self, first: _Float2, second: _Float2, /) -> None:
        """The same for the back; (0, 0) and (0.25, 0.5) are stored at the start."""
    def setBackSide(self, enable: bool, /) -> None:
        """Whether the sprite is seen from behind, by its ``setBackUV``; default False."""
    def setDirection(self, direction: _Float3, /) -> None:
        """Where the light shines; unit length."""

class FakeSpotLights(IRenderNode):
    """Light sprites that shine in a direction. ``addRenderNode`` always gives ""."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without lights."""
    def set(self, lights: Sequence[FakeSpotLight], /) -> None:
        """Replaces the lights by copies of these; an empty list changes nothing."""
    def setTexture(self, name: str, /) -> None:
        """The file name of the sprites' picture, in small letters in the file; default none."""
    def setMinSizeInPixels(self, pixels: float, /) -> None:
        """Default 20."""
    def setMaxDistance(self, distance: float, /) -> None:
        """Default 1000, in the model's units."""
    def setLuminance(self, luminance: PropertyFloat, /) -> None:
        """Default 1. The property takes the name "luminance"."""
    def setShiftToCamera(self, shift: float, /) -> None:
        """Default 0, in the model's units."""
    def setConeSetup(self, setup: _Float3, /) -> None:
        """Three numbers of the cone in which the sprites show, stored as they are; default 1, 0.8, 0.05.

        For instance ``lights.setConeSetup((0.9, 0.5, 0.02))``.
        """
    def setControlNode(self, node: Node, /) -> None:
        """The node that the lights hang on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class AnimatedFakeSpotLight(FakeSpotLights):
    """FakeSpotLights whose brightness follows an argument."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without lights, argument and animation."""
    def setAnimationArg(self, argument: float, /) -> None:
        """The argument handle, cut to a whole number. Needed before ``save``."""
    def setLightsAnimation(self, animation: Sequence[tuple[int, _FloatKeys]], /) -> None:
        """As ``AnimatedFakeOmniLight.setLightsAnimation``."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the lights hang on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class SegmentsNode(metaclass=_FacadeType):
    """Collision segments."""

    def __init__(self, name: str, /) -> None:
        """Makes a node without segments."""
    def set(self, segments: Sequence[tuple[_Float3, _Float3]], /) -> None:
        """Replaces the segments, (start, end) each. ``save`` keeps them all, short ones too."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the segments hang on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class ShellNode(metaclass=_FacadeType):
    """A collision mesh."""

    def __init__(self, name: str, /) -> None:
        """Makes a shell without positions and triangles."""
    def setIndices(self, indices: _IndexList, /) -> None:
        """Three for each triangle, flat."""
    def setPositions(self, positions: _FloatList, /) -> None:
        """x, y, z for each vertex, flat. Another length gives "Vertex data is invalid." at ``save``."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the shell hangs on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class Connector(metaclass=_FacadeType):
    """A named place on the model, with properties."""

    def __init__(self, name: str, /) -> None:
        """Makes a connector without properties."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the connector hangs on, in the tree; needed before ``save``."""
    def setPropertyFloat(self, key: str, value: float, /) -> None:
        """Adds a property, or replaces the one of that key."""
    def setPropertyString(self, key: str, value: str, /) -> None:
        """Adds a property, or replaces the one of that key."""
    def __repr__(self, /) -> str: ...

class ILight(metaclass=_FacadeType):
    """Base of the lights. An ``ILight()`` is no light: its methods and ``Model.addLight`` raise ValueError."""

    def __init__(self, /) -> None:
        """Makes an object that is no light."""
    def setVolumeRadiusFactor(self, factor: PropertyFloat, /) -> None:
        """Default 0. An animated value is ignored, as for the other two."""
    def setVolumeDensityFactor(self, factor: PropertyFloat, /) -> None:
        """Default 1."""
    def setVolumeNearDistance(self, distance: PropertyFloat, /) -> None:
        """Default 0, in the model's units."""
    def setVolumeType(self, type: int, /) -> None:
        """Default 4."""

class OmniLight(ILight):
    """A light that shines all around. Colour, brightness, distance and softness are 0 at the start, specular 1.

    The property objects are shared: a later ``set`` on the script's object does not reach the light.
    """

    def __init__(self, name: str, /) -> None:
        """Makes a dark light: colour, brightness, distance and softness 0, specular 1."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """Red, green and blue, linear, 0 to 1; default 0, 0, 0."""
    def setBrightness(self, brightness: PropertyFloat, /) -> None:
        """The light's strength; default 0. The exporter writes candela, as glTF has it."""
    def setDistance(self, distance: PropertyFloat, /) -> None:
        """How far the light reaches, in the model's units."""
    def setSpecularAmount(self, amount: PropertyFloat, /) -> None:
        """The light's specular amount, stored as it is; default 1."""
    def setSoftness(self, softness: PropertyFloat, /) -> None:
        """The light's softness, stored as it is; default 0."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the light hangs on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class SpotLight(ILight):
    """A light with a cone. As OmniLight; the cone's angles are 0 at the start."""

    def __init__(self, name: str, /) -> None:
        """Makes a dark light, as ``OmniLight``, with both angles 0."""
    def setColor(self, color: PropertyFloat3, /) -> None:
        """As ``OmniLight.setColor``."""
    def setBrightness(self, brightness: PropertyFloat, /) -> None:
        """As ``OmniLight.setBrightness``."""
    def setDistance(self, distance: PropertyFloat, /) -> None:
        """How far the light reaches, in the model's units."""
    def setSpecularAmount(self, amount: PropertyFloat, /) -> None:
        """As ``OmniLight.setSpecularAmount``."""
    def setSoftness(self, softness: PropertyFloat, /) -> None:
        """As ``OmniLight.setSoftness``."""
    def setPhi(self, phi: PropertyFloat, /) -> None:
        """The whole angle of the outer cone, in radians."""
    def setTheta(self, theta: PropertyFloat, /) -> None:
        """The whole angle of the inner cone, in radians."""
    def setAngles(self, phi: PropertyFloat, blend: PropertyFloat, /) -> None:
        """Sets phi, and theta as 2 atan(tan(phi / 2) (1 - blend)).

        phi    the whole angle of the outer cone, in radians
        blend  0 to 1: how much narrower the inner cone is

        When one of them is animated, theta follows its argument (phi's when both are) with 2001 steps from -1 to 1,
        of which those within 0.001 of the others' interpolation are dropped.
        """
    def setControlNode(self, node: Node, /) -> None:
        """The node that the light hangs on, in the tree; needed before ``save``."""
    def __repr__(self, /) -> str: ...

class Bone(Node):
    """A node that moves vertices of skins."""

    @overload
    def __init__(self, name: str, /) -> None:
        """Makes a bone with two identities."""
    @overload
    def __init__(self, name: str, matrix: _Matrix, /) -> None:
        """Makes a bone with its matrix. Raises ValueError for fewer than four tuples, as all of these."""
    @overload
    def __init__(self, name: str, matrix: _Matrix, inverted: _Matrix, /) -> None:
        """Makes a bone with its matrix and the inverse of its place at rest.

        inverted  the inverse of the bone's world matrix at rest: it takes a vertex of the skin, seen from the top of the
                  tree, into the bone's space

        Under a node at x = 2, three above it: ``Bone("tip", up_3, np.linalg.inv(right_2 @ up_3))`` with
        matrices whose fourth column is the translation.
        """
    def setMatrix(self, matrix: _Matrix, /) -> None:
        """Replaces the matrix, from the bone's space to its parent's; default the identity. ValueError for fewer than
        four tuples."""
    def setInvertedBaseBoneMatrix(self, matrix: _Matrix, /) -> None:
        """The inverse of the bone's place at rest."""
    def getName(self, /) -> str:
        """The node's name, as ``Node.getName``."""
    def __repr__(self, /) -> str: ...

class PropertyFloat(metaclass=_FacadeType):
    """A float, constant or animated.

    The call that takes it takes what it holds at that time; a later ``set`` or ``setAnim`` makes a new value. One
    object given to two blocks of a mesh has the name of the last in both: make one for each.

    A reduced list loses the keys that interpolation between the others reproduces within 0.001.
    """

    @overload
    def __init__(self, /) -> None:
        """The constant 0."""
    @overload
    def __init__(self, value: float, /) -> None:
        """A constant."""
    @overload
    def __init__(self, argument: int, keys: _FloatKeys, /) -> None:
        """Animated by an argument handle, with a reduced list of keys (value of the argument, value)."""
    @overload
    def __init__(self, argument: int, keys: _FloatKeys, reduce: bool, /) -> None:
        """Animated, and reduced only when ``reduce`` is true."""
    def set(self, value: float, /) -> None:
        """Makes it a constant."""
    def setAnim(self, argument: int, keys: _FloatKeys, reduce: bool, /) -> None:
        """Makes it animated by an argument handle; reduced only when ``reduce`` is true."""
    def __repr__(self, /) -> str: ...

class PropertyFloat2(metaclass=_FacadeType):
    """Two floats, constant or animated; see PropertyFloat. Animated ones are always reduced."""

    @overload
    def __init__(self, /) -> None:
        """The constant 0, 0."""
    @overload
    def __init__(self, value: _Float2, /) -> None:
        """A constant."""
    @overload
    def __init__(self, argument: int, keys: _Float2Keys, /) -> None:
        """Animated by an argument handle, with a reduced list of keys (value of the argument, (u, v))."""
    def set(self, value: _Float2, /) -> None:
        """Makes it a constant."""
    def setAnim(self, argument: int, keys: _Float2Keys, /) -> None:
        """Makes it animated by an argument handle."""
    def __repr__(self, /) -> str: ...

class PropertyFloat3(metaclass=_FacadeType):
    """Three floats, constant or animated; see PropertyFloat. Animated ones are always reduced."""

    @overload
    def __init__(self, /) -> None:
        """The constant 0, 0, 0."""
    @overload
    def __init__(self, value: _Float3, /) -> None:
        """A constant."""
    @overload
    def __init__(self, argument: int, keys: _Float3Keys, /) -> None:
        """Animated by an argument handle, with a reduced list of keys (value of the argument, (x, y, z))."""
    def set(self, value: _Float3, /) -> None:
        """Makes it a constant."""
    def setAnim(self, argument: int, keys: _Float3Keys, /) -> None:
        """Makes it animated by an argument handle."""
    def __repr__(self, /) -> str: ...

class PBRNode(IRenderNode):
    """A mesh whose material is made of blocks. Needs "BT_Base"; takes every block but "BT_Glass".

    Texts of ``addRenderNode``, first of these, then the blocks' own:
    "You can not use bone(skin) and number at the same time.", "Material {} must have the following blocks {}.",
    "Material {} doesn't support block {}.", "Indices aren't set.", "Control node isn't set."
    """

    def __init__(self, name: str, material: str, /) -> None:
        """Makes a mesh without blocks. The first name is not used: the nodes of the mesh have an empty one."""
    def getName(self, /) -> str:
        """The name of the node that was built; "EMPTY PBRNode" before ``addRenderNode``."""
    def setIndices(self, indices: _Indices, /) -> None:
        """Three for each triangle, flat. One at or beyond the number of vertices gives IndexError where followed."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the mesh hangs on; a Bone when there is a BoneBlock.

        Needed before ``addRenderNode``, and in the tree before ``save``.
        """
    def addBlock(self, block: IBlock | None, /) -> None:
        """Adds a block, in place of one of the same type; None is ignored. Raises RuntimeError for an ``IBlock()``."""
    def getBlock(self, type_name: str, /) -> IBlock | None:
        """The block of that type, for instance "BT_Normal"."""
    def hasBlock(self, type_name: str, /) -> bool:
        """Whether a block of that type is there; False for a text that is no type."""
    def setShadowCaster(self, mode: int, /) -> None:
        """0 casts shadows (the default), 1 does not, 2 sets the second shadow flag; others are ignored."""
    def setTransparentMode(self, mode: int, /) -> None:
        """The blending, 0 to 3, default 0; others are ignored.

        With 1 the surface is blended with what is behind it, and never joined with other meshes:
        ``pane.setTransparentMode(1)`` and ``pane.setOpacityValue(PropertyFloat(0.3))``.
        """
    def setOpacityValue(self, value: PropertyFloat, /) -> None:
        """The opacity, 0 to 1; the file has none without this call. Property "opacityValue"."""
    def setOpacityFresnelPower(self, power: PropertyFloat, /) -> None:
        """The power of the opacity's Fresnel term, stored as it is. Property "opacityFresnelPower"."""
    def setOpacityFresnelFactor(self, factor: PropertyFloat, /) -> None:
        """The factor of the opacity's Fresnel term, stored as it is. Property "opacityFresnelFactor"."""
    def setDecalId(self, id: int, /) -> None:
        """Cut to its low byte; 0 is none."""
    def setTwoSided(self, enable: bool, /) -> None:
        """True: ``save`` doubles the triangles, with turned normals."""
    def setPurposeWaterMask(self, /) -> None:
        """Marks the mesh as a water mask; not for skins and numbers."""
    def addTransparentPivot(self, point: _Float3 | Sequence[float], /) -> None:
        """Adds a pivot x, y, z; after ``addRenderNode``, before it nothing happens. At most 6, see ``Model.save``."""
    def __repr__(self, /) -> str: ...

class GlassNode(PBRNode):
    """A mesh of glass. As PBRNode, but takes BT_Base, BT_Normal, BT_Flir, BT_Damage, BT_Aorms, BT_Bone, BT_Glass."""

    def __init__(self, name: str, material: str, /) -> None:
        """Makes a mesh without blocks, of instrument's glass, with the blending 1. Names as in ``PBRNode``."""
    def setTransparentMode(self, mode: int, /) -> None:
        """The blending, 1, 3 or 6; others are ignored."""
    def setGlassType(self, type: int, /) -> None:
        """0 glass of an instrument, the default, 1 any other; a GlassFilterBlock overrides it."""
    def __repr__(self, /) -> str: ...

class MirrorNode(IRenderNode):
    """A mirror.

    Texts of ``addRenderNode``: "Vetex attribute {} isn't set." with POSITION0, NORMAL0 or TEXCOORD0,
    "Indices are empty.", "Texture aren't set.", "Control node isn't set."
    """

    def __init__(self, name: str, material: str, /) -> None:
        """Makes a mirror without data; the names of the node and of its material."""
    def setPositions(self, positions: _FloatList, /) -> None:
        """Appends points x, y, z, flat, to those of earlier calls."""
    def setNormals(self, normals: _Floats, /) -> None:
        """x, y, z for each vertex, flat."""
    def setIndices(self, indices: _IndexList, /) -> None:
        """Three for each triangle, flat."""
    def setTexture(self, name: str, /) -> None:
        """The file name of the mirror's picture, in small letters in the file; needed."""
    def setTextureCoordinates(self, coordinates: _Floats, /) -> None:
        """u, v for each vertex, flat."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the mirror hangs on; needed before ``addRenderNode``, and in the tree before ``save``."""
    def __repr__(self, /) -> str: ...

class ColorNode(IRenderNode):
    """A mesh of one colour.

    Texts of ``addRenderNode``: "Vetex attribute {} isn't set." with POSITION0 or NORMAL0, "Indices aren't set.",
    "Control node isn't set."
    """

    def __init__(self, name: str, material: str, /) -> None:
        """Makes a red mesh without data; the names of the node and of its material."""
    def setPositions(self, positions: _Floats, /) -> None:
        """Appends points x, y, z, flat, to those of earlier calls."""
    def setNormals(self, normals: _Floats, /) -> None:
        """x, y, z for each vertex, flat."""
    def setIndices(self, indices: _Indices, /) -> None:
        """Three for each triangle, flat."""
    def setColor(self, red: float, green: float, blue: float, /) -> None:
        """Default 1, 0, 0."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the mesh hangs on; needed before ``addRenderNode``, and in the tree before ``save``."""
    def __repr__(self, /) -> str: ...

class DeckNode(IRenderNode):
    """A deck: tiled maps, and regular and damage maps on a second set of texture coordinates.

    Texts of ``addRenderNode``: "Vetex attribute {} isn't set." with POSITION0, NORMAL0, TEXCOORD0 (tiled) or TEXCOORD1
    (regular), "Only one way to set damage argument is possible.", "Indices aren't set.",
    "baseTiledMap isn't set.", "normalTiledMap isn't set.", "aormsTiledMap isn't set.", "baseMap isn't set.",
    "aormsMap isn't set.", "Control node isn't set."
    ``addRenderNode`` raises IndexError for an index at or beyond the number of vertices.
    """

    def __init__(self, name: str, material: str, /) -> None:
        """Makes a deck without data; the names of the node and of its material."""
    def setPositions(self, positions: _FloatList, /) -> None:
        """Appends points x, y, z, flat, to those of earlier calls."""
    def setNormals(self, normals: _FloatList, /) -> None:
        """x, y, z for each vertex, flat."""
    def setTiledUV(self, coordinates: _FloatList, /) -> None:
        """u, v for each vertex, flat, for the tiled maps; tangents follow from these."""
    def setRegularUV(self, coordinates: _FloatList, /) -> None:
        """u, v for each vertex, flat, for the other maps."""
    def setIndices(self, indices: _IndexList, /) -> None:
        """Three for each triangle, flat."""
    def setBaseTiledMap(self, name: str, /) -> None:
        """The file name of the tiled albedo map, in small letters in the file; needed; read with the tiled coordinates."""
    def setNormalTiledMap(self, name: str, /) -> None:
        """The file name of the tiled normal map, in small letters in the file; needed; read with the tiled coordinates."""
    def setAormsTiledMap(self, name: str, /) -> None:
        """The file name of the tiled AORMS map, in small letters in the file; needed; read with the tiled coordinates."""
    def setBaseMap(self, name: str, /) -> None:
        """The file name of the albedo map, in small letters in the file; needed; read with the regular coordinates."""
    def setAormsMap(self, name: str, /) -> None:
        """The file name of the AORMS map, in small letters in the file; needed; read with the regular coordinates."""
    def setDamageMap(self, name: str, /) -> None:
        """The file name of the damaged albedo map, in small letters in the file; without it there is none."""
    def setDamageMask(self, name: str, /) -> None:
        """The file name of the damage mask, in small letters in the file; without it there is none."""
    def setDamageMaskRGBA(self, name: str, /) -> None:
        """The file name of the damage mask of four channels, in small letters in the file; without it there is none."""
    def setRainMask(self, name: str, /) -> None:
        """The file name of the rain mask, in small letters in the file; without it there is none."""
    def setTransparentMode(self, mode: int, /) -> None:
        """The blending, 0 to 3; others are ignored."""
    def setDecalId(self, id: int, /) -> None:
        """Cut to its low byte; 0 is none."""
    def setArgument(self, argument: int, /) -> None:
        """The damage argument handle of the whole deck."""
    def setPerVertexArguments(self, arguments: _Floats, /) -> None:
        """One damage argument handle for each vertex, see DamageBlock."""
    def setControlNode(self, node: Node, /) -> None:
        """The node that the deck hangs on; needed before ``addRenderNode``, and in the tree before ``save``."""
    def __repr__(self, /) -> str: ...
