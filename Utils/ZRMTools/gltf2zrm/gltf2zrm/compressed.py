"""Compressed data, read with decoders from PyPI where they are installed."""

from __future__ import annotations

from importlib import import_module
from typing import Protocol, cast

import numpy as np
from numpy.typing import NDArray

from .container import Container, whole
from .form import checked
from .problems import GltfError
from .schema import BufferEntry, Draco, Packed, ViewEntry

MESHOPT = "EXT_meshopt_compression"
DRACO = "KHR_draco_mesh_compression"
Bytes8 = NDArray[np.uint8]
# No stream expands further, whatever it claims; a few bytes must not ask for gigabytes.
MOST_GROWTH, LEAST_BOUND = 2048, 1 << 16


class MeshoptModule(Protocol):
    """What we use of the package meshoptimizer."""

    def decode_vertex_buffer(self, vertex_count: int, vertex_size: int, buffer: Bytes8) -> NDArray[np.generic]: ...
    def decode_index_buffer(self, index_count: int, index_size: int, buffer: Bytes8) -> NDArray[np.generic]: ...
    def decode_index_sequence(self, index_count: int, index_size: int, buffer: Bytes8) -> NDArray[np.generic]: ...
    def decode_filter_oct(self, buffer: Bytes8, count: int, stride: int) -> NDArray[np.generic]: ...
    def decode_filter_quat(self, buffer: Bytes8, count: int, stride: int) -> NDArray[np.generic]: ...
    def decode_filter_exp(self, buffer: Bytes8, count: int, stride: int) -> NDArray[np.generic]: ...


class DracoMesh(Protocol):
    """What we use of a decoded mesh."""

    faces: NDArray[np.generic]

    def get_attribute_by_unique_id(self, unique_id: int) -> dict[str, object]: ...


class DracoModule(Protocol):
    """What we use of the package DracoPy."""

    def decode(self, buffer: bytes) -> DracoMesh: ...


def decoder(package: str, extension: str, extra: str) -> object:
    """An installed package, or a refusal that says how to get it."""
    try:
        return import_module(package)
    except ImportError as error:
        raise GltfError(f"{extension} needs the package {package}: pip install gltf2zrm[{extra}]") from error


def has(package: str) -> bool:
    """Is a package installed?"""
    try:
        import_module(package)
    except ImportError:
        return False
    return True


def is_hollow(container: Container, view: ViewEntry, where: str) -> bool:
    """Does its buffer only tell of the size that the unpacked data have?"""
    buffer = container.entry("buffers", BufferEntry, view["buffer"], f"{where}.buffer")
    return MESHOPT in (buffer.get("extensions") or {})


def unpacked(container: Container, view: ViewEntry, where: str) -> memoryview | None:
    """The bytes of a buffer view that EXT_meshopt_compression has packed; None where the plain ones count."""
    found = (view.get("extensions") or {}).get(MESHOPT)
    if found is None:
        return None
    place = f"{where}.extensions.{MESHOPT}"
    entry = checked(found, Packed, place)
    if MESHOPT not in (container.root.get("extensionsRequired") or []) and not has("meshoptimizer") and not is_hollow(container, view, where):
        return None
    module = cast(MeshoptModule, decoder("meshoptimizer", MESHOPT, "meshopt"))
    count, stride = whole(entry["count"], f"{place}.count"), whole(entry["byteStride"], f"{place}.byteStride")
    length = whole(entry["byteLength"], f"{place}.byteLength")
    if count * stride > MOST_GROWTH * length + LEAST_BOUND or not 0 < stride <= 256 or (entry["mode"] == "ATTRIBUTES" and stride % 4):
        raise GltfError(f"{place}: {count} elements of {stride} bytes")
    data = container.buffer(entry["buffer"], f"{place}.buffer")
    start = whole(entry.get("byteOffset") or 0, f"{place}.byteOffset")
    if start + length > len(data):
        raise GltfError(f"{place}: it ends at byte {start + length} of a buffer of {len(data)}")
    packed = np.frombuffer(data, np.uint8, length, start)
    try:
        values = unpack(module, entry, count, stride, packed, place)
    except (RuntimeError, ValueError) as error:
        raise GltfError(f"{place}: {error}") from error
    return memoryview(np.ascontiguousarray(values)).cast("B")


def unpack(module: MeshoptModule, entry: Packed, count: int, stride: int, packed: Bytes8, place: str) -> NDArray[np.generic]:
    """The decoder that the mode names, and the filter behind it."""
    mode, filtered = entry["mode"], entry.get("filter") or "NONE"
    if mode in ("TRIANGLES", "INDICES"):
        if stride not in (2, 4) or (mode == "TRIANGLES" and count % 3):
            raise GltfError(f"{place}: {count} indices of {stride} bytes")
        decode = module.decode_index_buffer if mode == "TRIANGLES" else module.decode_index_sequence
        return decode(count, stride, packed).astype(np.dtype(f"<u{stride}"))
    if mode != "ATTRIBUTES":
        raise GltfError(f"{place}.mode: {mode!r} is none of ATTRIBUTES, TRIANGLES, INDICES")
    values = np.frombuffer(np.ascontiguousarray(module.decode_vertex_buffer(count, stride, packed)).tobytes(), np.uint8)
    filters = {"OCTAHEDRAL": (module.decode_filter_oct, (4, 8)), "QUATERNION": (module.decode_filter_quat, (8,)), "EXPONENTIAL": (module.decode_filter_exp, range(4, 257, 4))}
    if filtered == "NONE":
        return values
    if filtered not in filters or stride not in filters[filtered][1]:
        raise GltfError(f"{place}.filter: {filtered!r} with {stride} bytes")
    return filters[filtered][0](values.copy(), count, stride)


class DracoShape:
    """A primitive's own attributes and indices, decoded."""

    def __init__(self, data: memoryview, entry: Draco, place: str) -> None:
        module = cast(DracoModule, decoder("DracoPy", DRACO, "draco"))
        self.place = place
        self.attributes = entry["attributes"]
        try:
            self.mesh = module.decode(bytes(data))
            self.faces = np.asarray(self.mesh.faces, np.uint32).reshape(-1)
        except Exception as error:  # the decoder has classes of its own
            raise GltfError(f"{place}: {error}") from error

    def values(self, name: str) -> NDArray[np.generic] | None:
        """The rows of one attribute, or None where it isn't compressed."""
        if name not in self.attributes:
            return None
        try:
            rows = np.asarray(self.mesh.get_attribute_by_unique_id(self.attributes[name])["data"])
        except Exception as error:
            raise GltfError(f"{self.place}.attributes.{name}: {error!r}") from error
        return rows.reshape(len(rows), -1)
