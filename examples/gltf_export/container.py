"""Opens .gltf and .glb files: the JSON as pygltflib objects, the buffers as bytes."""

from __future__ import annotations

import base64
import binascii
import json
import struct
import urllib.parse
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

import pygltflib

from .form import check
from .problems import GltfError

GLB_MAGIC = b"glTF"
GLB_JSON = 0x4E4F534A
GLB_BINARY = 0x004E4942


@dataclass
class Container:
    """A parsed file.  Buffers are read when first asked for, so an unused missing one does no harm."""

    json: Any  # pygltflib.GLTF2, which has no types
    raw: dict[str, Any]  # the same as plain JSON, for what pygltflib drops or refuses
    folder: Path
    binary: bytes | None
    loaded: dict[int, memoryview] = field(default_factory=dict)

    def buffer(self, index: int) -> memoryview:
        """The bytes of one buffer, cut to its byteLength."""
        if index not in self.loaded:
            self.loaded[index] = self._load(index)
        return self.loaded[index]

    def files(self) -> list[Path]:
        """Every file that the buffers and images name, whether it is there or not."""
        entries = [*(self.raw.get("buffers") or []), *(self.raw.get("images") or [])]
        uris = [entry.get("uri") or "data:" for entry in entries]
        return [self.folder / urllib.parse.unquote(uri) for uri in uris if not uri.startswith("data:")]

    def _load(self, index: int) -> memoryview:
        entry = item(self.json.buffers, index, "buffer")
        length = whole(entry.byteLength, f"byteLength of buffer {index}")
        if entry.uri is None:
            # Only the first buffer may stand for the binary part of a .glb file.
            if index != 0 or self.binary is None:
                raise GltfError(f"buffer {index} has no uri and the file holds no binary part for it")
            data = self.binary
        else:
            data = read_uri(str(entry.uri), self.folder, f"buffer {index}")
        if len(data) < length:
            raise GltfError(f"buffer {index} holds {len(data)} bytes where {length} are promised")
        return memoryview(data)[:length]


def item(entries: Any, index: Any, what: str) -> Any:
    """entries[index] with a message instead of a wrap-around or an IndexError."""
    count = len(entries) if isinstance(entries, list) else 0
    if isinstance(index, bool) or not isinstance(index, int) or not 0 <= index < count:
        raise GltfError(f"{what} {index!r} does not exist (there are {count})")
    return entries[index]


def whole(value: Any, what: str) -> int:
    """A non-negative whole number."""
    if isinstance(value, bool) or not isinstance(value, int) or value < 0:
        raise GltfError(f"{what} is {value!r}, not a whole number")
    return value


def read_uri(uri: str, folder: Path, what: str) -> bytes:
    """Bytes of a data URI or of a file beside the glTF file."""
    if uri.startswith("data:"):
        head, comma, body = uri.partition(",")
        if not comma:
            raise GltfError(f"{what}: the data URI has no data")
        if not head.endswith(";base64"):
            return urllib.parse.unquote_to_bytes(body)
        try:
            return base64.b64decode(body, validate=True)
        except (binascii.Error, ValueError) as error:
            raise GltfError(f"{what}: the data URI is no base64: {error}") from error
    if "://" in uri:
        raise GltfError(f"{what}: {uri!r} is not a file; only relative paths and data URIs are read")
    path = folder / urllib.parse.unquote(uri)
    try:
        return path.read_bytes()
    except (OSError, ValueError) as error:
        raise GltfError(f"{what}: can't read {str(path)!r}: {error}") from error


def open_container(path: Path) -> Container:
    """Reads a file; its first bytes, not its name, say which of the two forms it has."""
    try:
        data = path.read_bytes()
    except (OSError, ValueError) as error:
        raise GltfError(f"can't read {str(path)!r}: {error}") from error
    binary: bytes | None = None
    if data[:4] == GLB_MAGIC:
        data, binary = split_glb(data)
    try:
        # pygltflib's own load() reads .gltf in the locale's encoding; glTF is UTF-8 always.
        text = data.decode("utf-8-sig")
        raw = json.loads(text)
        check(raw)
        json.dumps(raw, ensure_ascii=False).encode()  # half a surrogate pair can't be written anywhere
        # pygltflib takes extras for objects, but glTF allows any value there.
        document = pygltflib.GLTF2.from_json(text, infer_missing=True, object_hook=without_extras)
    except UnicodeError as error:
        raise GltfError(f"not a glTF file: the text is no UTF-8: {error}") from error
    except ValueError as error:
        raise GltfError(f"not a glTF file: {error}") from error
    except RecursionError as error:
        raise GltfError("not a glTF file: the JSON is nested too deeply") from error
    except (AttributeError, KeyError, TypeError) as error:
        raise GltfError(f"the JSON does not have the form of glTF: {error}") from error
    if not (version := raw["asset"]["version"]).startswith("2."):
        raise GltfError(f"glTF version {version!r}; only 2.x is read")
    return Container(document, raw, path.parent, binary)


def without_extras(entry: dict[str, Any]) -> dict[str, Any]:
    """An object of the JSON as pygltflib can take it."""
    return {key: value for key, value in entry.items() if key != "extras"}


def split_glb(data: bytes) -> tuple[bytes, bytes | None]:
    """The JSON text and the binary part of a .glb file."""
    if len(data) < 20:
        raise GltfError("the .glb file ends within its header")
    _, version, length = struct.unpack_from("<4sII", data)
    if version != 2:
        raise GltfError(f".glb version {version}; only 2 is read")
    if length > len(data):
        raise GltfError(f"the .glb file holds {len(data)} bytes where {length} are promised")
    text: bytes | None = None
    binary: bytes | None = None
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
