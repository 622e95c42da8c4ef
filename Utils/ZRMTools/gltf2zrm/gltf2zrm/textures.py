"""Textures by name, and the images that go along.

A model holds no pixels, only the names under which its renderer finds them, in lower case. `--textures DIR` writes every
image that the model names into a folder, under names that differ in lower case, too.
"""

from __future__ import annotations

import re
import urllib.parse
from collections.abc import Callable
from dataclasses import dataclass
from importlib import import_module
from io import BytesIO
from pathlib import Path, PurePosixPath
from typing import Protocol, cast

from .container import read_uri
from .problems import GltfError
from .schema import ImageEntry, ImageUse, SamplerEntry, TextureEntry
from .source import Source, extension

SOURCES = ("KHR_texture_basisu", "EXT_texture_webp", "EXT_texture_avif")
REPEAT, LINEAR, LINEAR_MIPMAP_LINEAR = 10497, 9729, 9987
# The first bytes of each kind of image.
SIGNS = [
    (re.compile(rb"\x89PNG"), ".png"),
    (re.compile(rb"\xff\xd8"), ".jpg"),
    (re.compile(rb"RIFF....WEBP", re.DOTALL), ".webp"),
    (re.compile(rb"\xabKTX 20"), ".ktx2"),
    (re.compile(rb"DDS "), ".dds"),
    (re.compile(rb"....ftypavif", re.DOTALL), ".avif"),
]


class Band(Protocol):
    """One channel of an image."""

    def point(self, table: Callable[[int], int]) -> Band: ...


class Image(Protocol):
    """What we use of an image of the package Pillow."""

    def convert(self, mode: str) -> Image: ...
    def split(self) -> tuple[Band, ...]: ...
    def save(self, target: BytesIO, format: str) -> None: ...


class ImageModule(Protocol):
    """What we use of PIL.Image."""

    def open(self, file: BytesIO) -> Image: ...
    def merge(self, mode: str, bands: tuple[Band, ...]) -> Image: ...


Shows = tuple[str, str | int | None]  # what makes two images the same: where their bytes are


@dataclass
class Job:
    """One file to write."""

    target: Path
    source: int
    without_red: bool = False


class Textures:
    """Gives names, and tells what a name can't hold."""

    def __init__(self, source: Source) -> None:
        self.source = source
        self.report = source.report
        self.folder = source.options.textures
        self.entries = source.container.entries("textures", TextureEntry)
        self.names: dict[Shows, str] = {}
        self.owners: dict[str, Shows] = {}  # for each name in lower case, what it shows
        self.jobs: list[Job] = []

    def image_of(self, index: int, where: str) -> int | None:
        """The image of a texture, or None, with a loss."""
        texture = self.source.container.entry("textures", TextureEntry, index, where)
        found = texture.get("source")
        for name in SOURCES:
            if found is None and (use := extension(texture, name, ImageUse, f"textures[{index}]")) is not None:
                found = use.get("source")
        if found is None:
            self.report.lose("texture without an image", "there is nothing to name", where)
            return None
        self._tell_sampler(texture, f"textures[{index}]")
        return found

    def name(self, index: int, where: str) -> str | None:
        """The file's stem, the image's name, or its number; None for a texture without an image."""
        image = self.image_of(index, where)
        return None if image is None else self._name(image, where)

    def without_red(self, index: int, where: str) -> str | None:
        """The name of a copy whose red is white, or None where there can't be one."""
        image = self.image_of(index, where)
        if image is None or self.folder is None or pillow() is None:
            return None
        stem, (kind, place) = self._stem(image, where)
        key = (f"{kind} without red", place)
        if key not in self.names:
            name = self.names[key] = self._free(f"{stem}_rm", key)
            self.jobs.append(Job(self.folder / f"{name}.png", image, without_red=True))
        return self.names[key]

    def _name(self, image: int, where: str) -> str:
        stem, shows = self._stem(image, where)
        if self.folder is None:
            owner = self.owners.setdefault(stem.lower(), shows)
            if owner != shows:
                self.report.lose("image of a name that another one has", f"both are called {stem.lower()!r} in the model; see --textures", f"images[{image}]")
            return stem
        if shows not in self.names:
            name = self.names[shows] = self._free(stem, shows)
            self.jobs.append(Job(self.folder / name, image))
        return self.names[shows]

    def _stem(self, image: int, where: str) -> tuple[str, Shows]:
        """What an image is called, and what it shows."""
        entry = self.source.container.entry("images", ImageEntry, image, where)
        uri = entry.get("uri")
        if uri is not None and not uri.startswith("data:"):
            return PurePosixPath(urllib.parse.unquote(uri)).stem or uri, ("uri", uri)
        stem = entry.get("name") or f"image_{image}"
        if self.folder is None:
            self.report.lose("embedded image", "the model holds its name alone; see --textures", f"images[{image}]: {stem}")
        return stem, ("view", entry.get("bufferView")) if uri is None else ("uri", uri)

    def _free(self, stem: str, key: Shows) -> str:
        """A name of a file that no other image has, in lower case."""
        stem = re.sub(r'[\x00-\x1f/\\:*?"<>|]', "_", stem).strip(". ") or "image"
        name, number = stem, 1
        while self.owners.setdefault(name.lower(), key) != key:
            number += 1
            name = f"{stem}_{number}"
        if name != stem:
            self.report.note(f"texture {name}: renamed, as another image is called {stem}")
        return name

    def _tell_sampler(self, texture: TextureEntry, where: str) -> None:
        """The renderer repeats and filters textures as it likes."""
        if (number := texture.get("sampler")) is None:
            return
        sampler = self.source.container.entry("samplers", SamplerEntry, number, f"{where}.sampler")
        if any((wrap or REPEAT) != REPEAT for wrap in (sampler.get("wrapS"), sampler.get("wrapT"))):
            self.report.lose("wrap modes", "textures repeat", f"samplers[{number}]")
        if (sampler.get("magFilter") or LINEAR) != LINEAR or (sampler.get("minFilter") or LINEAR_MIPMAP_LINEAR) != LINEAR_MIPMAP_LINEAR:
            self.report.lose("texture filters", "the renderer has its own", f"samplers[{number}]")

    def files(self) -> list[tuple[Path, bytes]]:
        """Names and bytes of the files to write."""
        found = []
        for job in self.jobs:
            entry = self.source.container.entry("images", ImageEntry, job.source, "images")
            data = self._pixels(entry, f"images[{job.source}]")
            if data is None:
                self.report.lose("missing image", "it can't be read", f"images[{job.source}]: {entry.get('uri')}")
            elif job.without_red:
                found.append((job.target, whitened(data, f"images[{job.source}]")))
            else:
                found.append((job.target.with_name(job.target.name + ending(data, entry)), data))
        return found

    def _pixels(self, entry: ImageEntry, where: str) -> bytes | None:
        uri, view = entry.get("uri"), entry.get("bufferView")
        if uri is None:
            return None if view is None else bytes(self.source.reader.bytes_of(view, f"{where}.bufferView"))
        try:
            return read_uri(uri, self.source.container.folder, f"{where}.uri")
        except GltfError:
            return None


def ending(data: bytes, entry: ImageEntry) -> str:
    """By the first bytes, or that of the file."""
    for sign, end in SIGNS:
        if sign.match(data):
            return end
    return PurePosixPath(urllib.parse.unquote(entry.get("uri") or "")).suffix if not (entry.get("uri") or "").startswith("data:") else ".bin"


def pillow() -> ImageModule | None:
    """PIL.Image, where it is installed."""
    try:
        return cast(ImageModule, import_module("PIL.Image"))
    except ImportError:
        return None


def whitened(data: bytes, where: str) -> bytes:
    """The same image as PNG with red at its most, which is no occlusion at all."""
    module = pillow()
    assert module is not None
    try:
        red, green, blue = module.open(BytesIO(data)).convert("RGB").split()
        out = BytesIO()
        module.merge("RGB", (red.point(lambda value: 255), green, blue)).save(out, "PNG")
    except (OSError, ValueError, SyntaxError) as error:
        raise GltfError(f"{where}: {error}") from error
    return out.getvalue()
