#!/usr/bin/env python3
"""Makes the inputs that the fuzz targets begin with, a folder for each target: fuzz/make_seeds.py FOLDER"""

from __future__ import annotations

import sys
import tempfile
import zlib
from collections.abc import Iterator
from pathlib import Path

import zstandard

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests/python"))
from support import archives

PATHS = ["", "/", "/a/./b//c/../d", "..abc", "/a/..", "./x/./y/", "../../up", "\\Data\\..\\Textures\\Hull.DDS", ".x/../../y",
    "C:\\Windows\\x", "a/.../b", "Grüße/ÄÖÜ/ẞ", "\u0130\u2126\uffff/\U00010400"]  # fmt: skip
BAD_PATHS = [b"nul\0/x", b"\xc0\xae\xc0\xae/over", b"\xff\xfe/\x80", b"\xed\xa0\x80\xed\xb0\x80"]


def path_seeds() -> Iterator[bytes]:
    yield from (path.encode() for path in PATHS)
    yield from BAD_PATHS


def archive_seeds(builders: dict[str, archives.Builder], extension: str) -> Iterator[bytes]:
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name).resolve()
        archives.write_tree(folder / "tree", archives.SMALL)
        for number, build in enumerate(builders.values()):
            archive = folder / f"{number}{extension}"
            build(folder / "tree", archive)
            yield archive.read_bytes()


def zip_seeds() -> Iterator[bytes]:
    yield from archive_seeds({**archives.ZIPS, **archives.ZIPS64, **archives.REFUSED}, ".zip")
    with tempfile.TemporaryDirectory() as name:
        archive = Path(name) / "many.zip"
        archives.write_zip64(archive, 20)
        yield archive.read_bytes()


def zrcz_seeds() -> Iterator[bytes]:
    yield from archive_seeds(archives.ZRCZS, ".zrcz")


def reader_seeds() -> Iterator[bytes]:
    """A kind with the size of the lent pieces, the stated total, the numbers of the steps, the stream."""
    contents = [b"", b"content", b"again and " * 400, bytes(range(256)) * 4]
    for number, content in enumerate(contents):
        for level in (0, 1, 9):
            deflater = zlib.compressobj(level, zlib.DEFLATED, -15)
            streams = [deflater.compress(content) + deflater.flush(), zstandard.ZstdCompressor(level=level + 1).compress(content)]
            streams.append(zstandard.ZstdCompressor(write_content_size=False, write_checksum=True).compress(content))
            for kind, stream in enumerate(streams):
                piece = (0, 6, 255)[number % 3] & 0xFE | (kind > 0)
                steps = bytes((37 * i + 11 * number + level) % 256 for i in range(32))
                yield bytes([piece]) + len(content).to_bytes(3, "little") + steps + stream


def main(folder: Path) -> None:
    targets = {"path": path_seeds, "zip": zip_seeds, "zrcz": zrcz_seeds, "readers": reader_seeds}
    for target, seeds in targets.items():
        (folder / target).mkdir(parents=True, exist_ok=True)
        for number, seed in enumerate(seeds()):
            (folder / target / f"seed-{number:02}").write_bytes(seed)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(Path(sys.argv[1]))
