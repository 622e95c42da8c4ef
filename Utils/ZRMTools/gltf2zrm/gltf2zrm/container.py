"""Opens .gltf and .glb files: the JSON as plain data, whose lists are checked when they are first used, and the buffers."""

from __future__ import annotations

import base64
import binascii
import json
import struct
import urllib.parse
from pathlib import Path

from .form import checked
from .problems import GltfError
from .schema import BufferEntry, ImageEntry, Root

GLB_MAGIC = b"glTF"
GLB_JSON = 0x4E4F534A
GLB_BINARY = 0x004E4942
# What one entry of each list is called.
SINGULAR = {"meshes": "mesh", "accessors": "accessor", "bufferViews": "buffer view"}

Bytes = memoryview | bytes


class Container:
    """A parsed file.  Buffers are read when first asked for, so an unused missing one does no harm."""

    def __init__(self, raw: dict[str, object], folder: Path, binary: Bytes | None) -> None:
        self.root = checked(raw, Root, "")
        self.raw = raw
        self.folder = folder
        self.binary = binary
        self.extended = True  # extensions may stand in it
        self.lists: dict[str, object] = {}
        self.loaded: dict[int, memoryview] = {}

    def entries[T](self, kind: str, form: type[T]) -> list[T]:
        """A whole list of the file, checked; an absent one is empty."""
        if kind not in self.lists:
            self.lists[kind] = checked(self.raw.get(kind) or [], list[form], kind)  # type: ignore[valid-type]
        return self.lists[kind]  # type: ignore[return-value]

    def entry[T](self, kind: str, form: type[T], index: int, where: str) -> T:
        """One entry of a list, named by a field of the file."""
        return item(self.entries(kind, form), index, SINGULAR.get(kind, kind.removesuffix("s")), where)

    def buffer(self, index: int, where: str) -> memoryview:
        """The bytes of one buffer, cut to its byteLength."""
        if index not in self.loaded:
            self.loaded[index] = self._load(index, self.entry("buffers", BufferEntry, index, where))
        return self.loaded[index]

    def _load(self, index: int, entry: BufferEntry) -> memoryview:
        where = f"buffers[{index}]"
        length = whole(entry["byteLength"], f"{where}.byteLength")
        data: Bytes
        if (uri := entry.get("uri")) is not None:
            data = read_uri(uri, self.folder, f"{where}.uri")
        elif index == 0 and self.binary is not None:  # only the first buffer may stand for the binary part of a .glb file
            data = self.binary
        else:
            raise GltfError(f"{where}: no uri, and the file holds no binary part for it")
        if len(data) < length:
            raise GltfError(f"{where}: {len(data)} bytes where {length} are promised")
        return memoryview(data)[:length]

    def files(self) -> list[Path]:
        """Every file that the buffers and images name, whether it is there or not."""
        uris = [entry.get("uri") for entry in self.entries("buffers", BufferEntry)]
        uris += [entry.get("uri") for entry in self.entries("images", ImageEntry)]
        return [self.folder / urllib.parse.unquote(uri) for uri in uris if uri and not uri.startswith("data:")]


def item[T](entries: list[T], index: int, what: str, where: str) -> T:
    """entries[index] with a message instead of a wrap-around or an IndexError."""
    if not 0 <= index < len(entries):
        raise GltfError(f"{where}: no {what} {index} (there are {len(entries)})")
    return entries[index]


def whole(value: int, where: str) -> int:
    """A number that isn't negative."""
    if value < 0:
        raise GltfError(f"{where}: {value} is negative")
    return value


def read_uri(uri: str, folder: Path, where: str) -> bytes:
    """Bytes of a data URI or of a file beside the glTF file."""
    if uri.startswith("data:"):
        head, comma, body = uri.partition(",")
        if not comma:
            raise GltfError(f"{where}: the data URI has no data")
        if not head.endswith(";base64"):
            return urllib.parse.unquote_to_bytes(body)
        try:
            return base64.b64decode(body, validate=True)
        except (binascii.Error, ValueError) as error:
            raise GltfError(f"{where}: the data URI is no base64: {error}") from error
    if "://" in uri:
        raise GltfError(f"{where}: {uri!r} is not a file; only relative paths and data URIs are read")
    path = folder / urllib.parse.unquote(uri)
    try:
        return path.read_bytes()
    except (OSError, ValueError) as error:
        raise GltfError(f"{where}: can't read {str(path)!r}: {error}") from error


def open_container(path: Path) -> Container:
    """Opens a file; its first bytes, not its name, say which of the two forms it has."""
    binary: Bytes | None = None
    try:
        text: Bytes = path.read_bytes()
    except (OSError, ValueError) as error:
        raise GltfError(f"can't read {str(path)!r}: {error}") from error
    if text[:4] == GLB_MAGIC:
        text, binary = split_glb(memoryview(text))
    container = Container(read_json(text), path.parent, binary)
    container.extended = b'"extensions"' in bytes(text) or b"\\u" in bytes(text)
    check_version(container)
    return container


def read_json(text: Bytes) -> dict[str, object]:
    """The JSON of either form; glTF's is UTF-8 always."""
    try:
        decoded = str(text, "utf-8-sig")
        raw = json.loads(decoded, parse_constant=no_number)
        if "\\u" in decoded:  # half a surrogate pair can't be written anywhere
            json.dumps(raw, ensure_ascii=False).encode()
    except UnicodeError as error:
        raise GltfError(f"not a glTF file: the text is no UTF-8: {error}") from error
    except ValueError as error:
        raise GltfError(f"not a glTF file: {error}") from error
    except RecursionError as error:
        raise GltfError("not a glTF file: the JSON is nested too deeply") from error
    return checked(raw, dict[str, object], "")


def no_number(name: str) -> None:
    """NaN and Infinity are no JSON."""
    raise ValueError(f"{name} is no number of JSON")


def check_version(container: Container) -> None:
    """What needs a later version can't be read; what merely has one is told by the losses."""
    asset = container.root["asset"]
    if not asset["version"].startswith("2."):
        raise GltfError(f"asset.version: {asset['version']!r}; only 2.x is read")
    if (least := asset.get("minVersion")) is not None and least != "2.0":
        raise GltfError(f"asset.minVersion: the file needs a reader of {least!r}; this one is of '2.0'")


def split_glb(data: memoryview) -> tuple[memoryview, memoryview | None]:
    """The JSON text and the binary part of a .glb file."""
    if len(data) < 20:
        raise GltfError("the .glb file ends within its header")
    _, version, length = struct.unpack_from("<4sII", data)
    if version != 2:
        raise GltfError(f".glb version {version}; only 2 is read")
    if length > len(data):
        raise GltfError(f"the .glb file holds {len(data)} bytes where {length} are promised")
    text: memoryview | None = None
    binary: memoryview | None = None
    offset = 12
    while offset + 8 <= length:
        size, kind = struct.unpack_from("<II", data, offset)
        offset += 8
        if size > length - offset:
            raise GltfError(f"a .glb chunk at byte {offset - 8} runs over the end of the file")
        if kind == GLB_JSON and text is None:
            text = data[offset : offset + size]
        elif kind == GLB_BINARY and binary is None:
            binary = data[offset : offset + size]
        offset += size
    if text is None:
        raise GltfError("the .glb file has no JSON chunk")
    return text, binary
