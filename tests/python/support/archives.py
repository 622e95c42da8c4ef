"""Archives made on the spot: by the tools that people use and, for what these can't make, by small writers of the formats.

As a program, for the benchmarks:
    archives.py zip64 FILE COUNT       many small members, each with the ZIP64 field
    archives.py content FOLDER MB      the same content as stored.zip, deflated.zip and packed.zrcz
"""

from __future__ import annotations

import os
import struct
import subprocess
import sys
import zipfile
import zlib
from collections.abc import Callable, Iterable, Iterator, Mapping
from pathlib import Path

import numpy as np
import zstandard

Tree = Mapping[str, bytes]
Builder = Callable[[Path, Path], None]

TIME = 1577934246  # 2020-01-02 03:04:06, an even second as zips keep them
DATE = (2020, 1, 2, 3, 4, 6)
ENVIRONMENT = {**os.environ, "TZ": "UTC", "LC_ALL": "C.UTF-8"}

SMALL: Tree = {"Stored.bin": bytes(range(40)), "deep/er/text.txt": b"again and " * 30, "empty": b""}
MIXED: Tree = {
    **SMALL,
    "Textures/Hull.DDS": np.random.default_rng(1).integers(0, 16, 300_000, np.uint8).tobytes(),
    "Textures/Grüße/Ä ß.txt": "größer\n".encode() * 5000,
    "Textures/noise": np.random.default_rng(2).bytes(70_000),
}


def write_tree(folder: Path, tree: Tree) -> None:
    for name, content in tree.items():
        file = folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(content)
    for path in folder.rglob("*"):
        os.utime(path, (TIME, TIME))


def names_in(folder: Path) -> list[str]:
    return sorted(os.listdir(folder))


def tool(*command: str | Path) -> Builder:
    """A builder that runs a command in the tree's folder, with the archive for OUT and the tree's names for NAMES."""

    def build(folder: Path, archive: Path) -> None:
        words = [w for word in command for w in (names_in(folder) if word == "NAMES" else [str(archive) if word == "OUT" else word])]
        subprocess.run(words, cwd=folder, env=ENVIRONMENT, check=True, stdin=subprocess.DEVNULL, capture_output=True)

    return build


def through_pipe(*command: str) -> Builder:
    """As `tool`, with the archive's bytes through a pipe, in which no tool can go back."""

    def build(folder: Path, archive: Path) -> None:
        writer = subprocess.Popen([*command, *names_in(folder)], cwd=folder, env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        written, errors = writer.communicate()
        assert writer.returncode == 0, errors
        archive.write_bytes(written)

    return build


def with_zipfile(method: int, zip64: bool = False, comment: bytes = b"") -> Builder:
    def build(folder: Path, archive: Path) -> None:
        with zipfile.ZipFile(archive, "w", method) as out:
            for path in sorted(folder.rglob("*")):
                info = zipfile.ZipInfo(path.relative_to(folder).as_posix() + "/" * path.is_dir(), DATE)
                info.compress_type = method
                if path.is_dir():
                    out.writestr(info, b"")
                else:
                    with out.open(info, "w", force_zip64=zip64) as member:
                        member.write(path.read_bytes())
            out.comment = comment

    return build


def with_zrcz(packed: bool) -> Builder:
    def build(folder: Path, archive: Path) -> None:
        paths = sorted(folder.rglob("*"))
        names = {path: path.relative_to(folder).as_posix().encode() for path in paths}
        files = ((names[path], path.read_bytes()) for path in paths if path.is_file())
        write_zrcz(archive, files, [names[path] for path in paths if path.is_dir()], packed)

    return build


def write_zrcz(archive: Path, files: Iterable[tuple[bytes, bytes]], directories: Iterable[bytes] = (), packed: bool = True) -> None:
    """Members first, each a zstd frame or stored, then the index, then the trailer."""
    compressor = zstandard.ZstdCompressor(level=3)
    names, records = list(directories), []
    count = len(names)
    with archive.open("wb") as out:
        for name, content in files:
            stored = compressor.compress(content) if packed else content
            records.append(struct.pack("<6Q", out.tell(), len(stored), len(content), TIME, packed, 0))
            names.append(name)
            out.write(stored)
        ends = np.cumsum([len(name) for name in names], dtype=np.uint64).tolist()
        spans = [struct.pack("<2Q", end - len(name), len(name)) for name, end in zip(names, ends, strict=True)]
        pool = b"".join(names)
        index = b"".join([
            struct.pack("<IQQ", 0, 0, len(pool)), pool, struct.pack("<4Q", 0, 0, 0, count), *spans[:count],
            struct.pack("<Q", TIME) * count, struct.pack("<Q", len(records)), *records, bytes(24 * len(records)),
            *spans[count:], bytes(32 * len(records))])  # fmt: skip
        out.write(index + struct.pack("<4QI4s", len(index), 0, 0, 0, 3, b"ZRCZ"))


def member_name(number: int) -> str:
    return f"d{number // 100:04}/f{number:06}.bin"


def write_zip64(archive: Path, count: int) -> None:
    """An archive in the ZIP64 form in which each member, 8 bytes with its number, has the field, as few tools give it."""
    name = np.frombuffer("".join(map(member_name, range(count))).encode(), f"S{len(member_name(0))}")
    content = np.arange(count, dtype="<u8")
    raw = content.tobytes()
    crc = np.array([zlib.crc32(raw[at : at + 8]) for at in range(0, len(raw), 8)], "<u4")
    width = name.itemsize
    local = np.zeros(count, [("signature", "S4"), ("skipped", "S10"), ("crc", "<u4"), ("sizes", "<u4", 2), ("lengths", "<u2", 2),
        ("name", f"S{width}"), ("content", "<u8")])  # fmt: skip
    central = np.zeros(count, [("signature", "S4"), ("skipped", "V8"), ("time", "<u2"), ("date", "<u2"), ("crc", "<u4"),
        ("sizes", "<u4", 2), ("lengths", "<u2", 3), ("skipped2", "V8"), ("offset", "<u4"), ("name", f"S{width}"), ("field", "<u2", 2)])  # fmt: skip
    local["signature"], central["signature"] = b"PK\3\4", b"PK\1\2"
    local["lengths"], central["lengths"] = (width, 0), (width, 4, 0)
    central["time"], central["date"] = 3 << 11 | 4 << 5 | 3, 40 << 9 | 1 << 5 | 2
    central["field"] = (1, 0)
    central["offset"] = np.arange(count) * local.itemsize
    local["content"] = content
    for table in (local, central):
        table["crc"], table["sizes"], table["name"] = crc, 8, name
    start, size = local.nbytes, central.nbytes
    end64 = struct.pack("<4sQHHIIQQQQ", b"PK\6\6", 44, 45, 45, 0, 0, count, count, size, start)
    locator = struct.pack("<4sIQI", b"PK\6\7", 0, start + size, 1)
    end = struct.pack("<4sHHHHIIH", b"PK\5\6", 0, 0, 0xFFFF, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0)
    archive.write_bytes(local.tobytes() + central.tobytes() + end64 + locator + end)


ZIPS: dict[str, Builder] = {  # what a tool makes and the file system reads
    "zip stored": tool("zip", "-q", "-r", "-0", "OUT", "."),
    "zip deflated": tool("zip", "-q", "-r", "-9", "OUT", "."),
    "zip without directories": tool("zip", "-q", "-r", "-D", "OUT", "."),
    "zip to a pipe": through_pipe("zip", "-q", "-r", "-"),
    "7z": tool("7z", "a", "-tzip", "-y", "OUT", "NAMES"),
    "7z stored": tool("7z", "a", "-tzip", "-mx0", "-y", "OUT", "NAMES"),
    "zipfile stored": with_zipfile(zipfile.ZIP_STORED),
    "zipfile deflated": with_zipfile(zipfile.ZIP_DEFLATED),
    "bsdtar": tool("bsdtar", "-c", "-f", "OUT", "--format", "zip", "NAMES"),
}  # fmt: skip
ZIPS64: dict[str, Builder] = {  # in parts or as a whole
    "zip with fields": tool("zip", "-q", "-r", "-fz", "OUT", "."),
    "zipfile with fields": with_zipfile(zipfile.ZIP_DEFLATED, zip64=True),
}
REFUSED: dict[str, Builder] = {
    "zip with fields to a pipe": through_pipe("zip", "-q", "-r", "-fz", "-"),
    "zip with a comment": tool("sh", "-c", "echo hello | zip -q -r -z $0 .", "OUT"),
    "zipfile with a comment": with_zipfile(zipfile.ZIP_STORED, comment=b"hello"),
    "bsdtar to a pipe": through_pipe("bsdtar", "-c", "--format", "zip", "-f", "-"),
}
ZRCZS: dict[str, Builder] = {"zrcz": with_zrcz(True), "zrcz stored": with_zrcz(False)}


def content_like(megabytes: int) -> Iterator[tuple[str, bytes]]:
    """Files of 0.1 to 4 MB such as content has: numbers that vary little, text, and pictures that pack badly."""
    random = np.random.default_rng(3)
    left = megabytes << 20
    number = 0
    while left > 0:
        size = min(left, int(2 ** random.uniform(16.7, 22)))
        kind = number % 3
        if kind == 0:
            walk = np.cumsum(random.normal(0, 0.01, size // 4 + 1).astype(np.float32))
            content = np.round(walk, 2).astype(np.float32).tobytes()
        elif kind == 1:
            words = np.array([random.bytes(int(n)).hex() + " " for n in random.integers(1, 6, 3000)])
            content = "".join(words[np.minimum(random.geometric(0.004, size // 3), 2999)]).encode()
        else:
            content = random.integers(0, 100, size, np.uint8).tobytes()
        left -= size
        yield f"Content{number % 16}/File{number:04}.bin", content[:size]
        number += 1


def write_content(folder: Path, megabytes: int) -> None:
    for name, method in (("stored.zip", zipfile.ZIP_STORED), ("deflated.zip", zipfile.ZIP_DEFLATED)):
        with zipfile.ZipFile(folder / name, "w", method) as out:
            for file, content in content_like(megabytes):
                out.writestr(zipfile.ZipInfo(file, DATE), content, method)
    write_zrcz(folder / "packed.zrcz", ((name.encode(), content) for name, content in content_like(megabytes)))


if __name__ == "__main__":
    kind, target, amount = sys.argv[1:]
    {"zip64": write_zip64, "content": write_content}[kind](Path(target), int(amount))
