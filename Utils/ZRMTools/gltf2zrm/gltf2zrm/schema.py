"""The fields of glTF 2.0 that are read, and those of the extensions."""

from __future__ import annotations

from typing import Required, TypedDict

Extensions = dict[str, dict[str, object]]


class Entry(TypedDict, total=False):
    """What everything may have."""

    name: str
    extensions: Extensions
    extras: object


class Asset(TypedDict, total=False):
    version: Required[str]
    minVersion: str


class BufferEntry(Entry, total=False):
    uri: str
    byteLength: Required[int]


class ViewEntry(Entry, total=False):
    buffer: Required[int]
    byteOffset: int
    byteLength: Required[int]
    byteStride: int


class SparseIndices(TypedDict, total=False):
    bufferView: Required[int]
    byteOffset: int
    componentType: Required[int]


class SparseValues(TypedDict, total=False):
    bufferView: Required[int]
    byteOffset: int


class Sparse(TypedDict, total=False):
    count: Required[int]
    indices: Required[SparseIndices]
    values: Required[SparseValues]


class AccessorEntry(Entry, total=False):
    bufferView: int
    byteOffset: int
    componentType: Required[int]
    count: Required[int]
    type: Required[str]
    normalized: bool
    sparse: Sparse


class NodeEntry(Entry, total=False):
    children: list[int]
    mesh: int
    skin: int
    camera: int
    matrix: list[float]
    translation: list[float]
    rotation: list[float]
    scale: list[float]
    weights: list[float]


class SceneEntry(Entry, total=False):
    nodes: list[int]


class Primitive(Entry, total=False):
    attributes: Required[dict[str, int]]
    indices: int
    material: int
    mode: int
    targets: list[dict[str, int]]


class MeshEntry(Entry, total=False):
    primitives: Required[list[Primitive]]
    weights: list[float]


class SkinEntry(Entry, total=False):
    joints: Required[list[int]]
    inverseBindMatrices: int


class Target(TypedDict, total=False):
    node: int
    path: Required[str]
    extensions: Extensions


class Channel(TypedDict, total=False):
    sampler: Required[int]
    target: Required[Target]


class AnimationSampler(TypedDict, total=False):
    input: Required[int]
    output: Required[int]
    interpolation: str


class AnimationEntry(Entry, total=False):
    channels: Required[list[Channel]]
    samplers: Required[list[AnimationSampler]]


class ImageEntry(Entry, total=False):
    uri: str
    bufferView: int
    mimeType: str


class SamplerEntry(Entry, total=False):
    magFilter: int
    minFilter: int
    wrapS: int
    wrapT: int


class TextureEntry(Entry, total=False):
    source: int
    sampler: int


class TextureInfo(Entry, total=False):
    index: Required[int]
    texCoord: int
    scale: float
    strength: float


class Roughness(Entry, total=False):
    baseColorFactor: list[float]
    baseColorTexture: TextureInfo
    metallicFactor: float
    roughnessFactor: float
    metallicRoughnessTexture: TextureInfo


class MaterialEntry(Entry, total=False):
    pbrMetallicRoughness: Roughness
    normalTexture: TextureInfo
    occlusionTexture: TextureInfo
    emissiveTexture: TextureInfo
    emissiveFactor: list[float]
    alphaMode: str
    alphaCutoff: float
    doubleSided: bool


class Perspective(TypedDict, total=False):
    aspectRatio: float
    yfov: Required[float]
    zfar: float
    znear: Required[float]


class Orthographic(TypedDict, total=False):
    xmag: Required[float]
    ymag: Required[float]
    zfar: Required[float]
    znear: Required[float]


class CameraEntry(Entry, total=False):
    type: str
    perspective: Perspective
    orthographic: Orthographic


class Root(Entry, total=False):
    """Its lists are checked when they are first used."""

    asset: Required[Asset]
    extensionsUsed: list[str]
    extensionsRequired: list[str]
    scene: int


# ---------------------------------------------------------------- extensions


class TextureTransform(TypedDict, total=False):
    offset: list[float]
    rotation: float
    scale: list[float]
    texCoord: int


class Spot(TypedDict, total=False):
    innerConeAngle: float
    outerConeAngle: float


class LightEntry(Entry, total=False):
    type: Required[str]
    color: list[float]
    intensity: float
    range: float
    spot: Spot


class Lights(TypedDict, total=False):
    lights: Required[list[LightEntry]]


class LightUse(TypedDict):
    light: int


class Strength(TypedDict, total=False):
    emissiveStrength: float


class ImageUse(TypedDict, total=False):
    source: int


class Pointer(TypedDict, total=False):
    pointer: Required[str]


class Instancing(TypedDict, total=False):
    attributes: Required[dict[str, int]]


class Visibility(TypedDict, total=False):
    visible: bool


class Levels(TypedDict, total=False):
    ids: Required[list[int]]


class Variant(TypedDict, total=False):
    name: str


class Variants(TypedDict, total=False):
    variants: list[Variant]


class Draco(TypedDict, total=False):
    bufferView: Required[int]
    attributes: Required[dict[str, int]]


class Packed(TypedDict, total=False):
    buffer: Required[int]
    byteOffset: int
    byteLength: Required[int]
    byteStride: Required[int]
    count: Required[int]
    mode: Required[str]
    filter: str
