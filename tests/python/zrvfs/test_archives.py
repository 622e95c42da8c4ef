"""The program zrvfs on archives that other tools made, on damaged ones and on hostile ones."""

import importlib.util
import os
import re
import resource
import struct
import subprocess
import zipfile
import zlib
from pathlib import Path

import pytest
from support import archives
from support.archives import MIXED, SMALL, TIME

MODULE = importlib.util.find_spec("pyzrm_313")
BUILDS = ([Path(MODULE.origin).parents[1]] if MODULE and MODULE.origin else []) + [Path(__file__).parents[3] / "build/release"]
PROGRAM = next((build / "bin/zrvfs" for build in BUILDS if (build / "bin/zrvfs").exists()), "zrvfs")
OPTIONS = os.environ.get("ASAN_OPTIONS", "") + ":allocator_may_return_null=1"
IS_LIMITED = not {"ASAN_OPTIONS", "TSAN_OPTIONS"} & os.environ.keys()  # sanitizers need much address space
MEMORY = 192 << 20
BOMB = 256 << 20
HUGE = struct.pack("<Q", 1 << 60)
BUILDERS = {
    **archives.ZIPS,
    **archives.ZIPS64,
    **archives.ZRCZS,
    **archives.REFUSED,
    "zip64": lambda folder, archive: archives.write_zip64(archive, 6),
    "zipfile of nothing": lambda folder, archive: zipfile.ZipFile(archive, "w").close(),
}
READABLE = {**archives.ZIPS, **archives.ZIPS64, **archives.ZRCZS}


def zrvfs(*arguments, memory=None):
    """Runs the program in the current folder; it may fail but not crash."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if memory and IS_LIMITED:
            resource.setrlimit(resource.RLIMIT_AS, (memory, memory))

    done = subprocess.run(
        [PROGRAM, *arguments], capture_output=True, preexec_fn=limit, env={**os.environ, "ASAN_OPTIONS": OPTIONS}
    )
    log = done.stderr.decode(errors="replace")
    assert done.returncode in (0, 1), log[-3000:]
    return done.returncode, done.stdout, log


def built(folder, build, tree, name):
    """Builds an archive of `tree`, and gives its bytes."""
    archives.write_tree(folder / "tree", tree)
    build(folder / "tree", folder / name)
    return (folder / name).read_bytes()


def extension(kind):
    return ".zrcz" if kind.startswith("zrcz") else ".zip"


@pytest.mark.parametrize("kind", READABLE)
def test_archives_hold_what_was_packed(folder, kind):
    built(folder, READABLE[kind], MIXED, "Archive" + extension(kind))
    lowered = str.lower if kind.startswith("zrcz") else lambda name: str(Path(name).with_name(Path(name).name.lower()))
    paths = {"/data/" + lowered(name) for name in MIXED}
    directories = {f"{parent}/" for path in paths for parent in Path(path).parents if parent != Path("/")}

    status, listing, log = zrvfs("ls", "Archive=/Data")  # the mount point is lowered, the source is found by its extension
    assert (status, log) == (0, "")
    assert sorted(listing.decode().splitlines()) == sorted(directories | paths)
    assert zrvfs("verify", "Archive") == (0, b"%d files, 0 damaged\n" % len(MIXED), "")
    for name, content in MIXED.items():
        assert zrvfs("cat", "Archive=/data", "/Data/" + name) == (0, content, "")
        stamp = TIME + (0 if kind.startswith("zrcz") else zlib.crc32(content))
        assert zrvfs("stat", "Archive", "/" + name)[1] == b"file %d %d\n" % (len(content), stamp)
    assert zrvfs("stat", "Archive", "/deep/er")[1] == b"directory 0 0\n"
    assert zrvfs("cat", "Archive", "/deep/er")[:2] == zrvfs("cat", "Archive", "/none")[:2] == (1, b"")


END = "Invalid EndOfCentralDirectoryRecord."
LOCATOR64, END64 = "Invalid EndOfCentralDirectoryLocator64.", "Invalid EndOfCentralDirectoryRecord64."
VERSION = b"\3\0\0\0ZRCZ"
REFUSALS = [  # an archive, what is changed at the last place that holds it, the reason
    ("zip with fields to a pipe", b"", b"", LOCATOR64),
    ("zip with a comment", b"", b"", END),
    ("zipfile with a comment", b"", b"", END),
    ("bsdtar to a pipe", b"", b"", END),
    ("zipfile of nothing", b"", b"", END),
    ("zip stored", b"PK\3\4", b"", "Invalid CentralDirectoryFileHeader."),
    ("zip deflated", b"PK\5\6", b"PK\5\7", END),
    ("7z", b"PK\1\2", b"PK\1\3", "Invalid CentralDirectoryFileHeader."),
    ("zip64", b"PK\6\7", b"PK\6\6", LOCATOR64),
    ("zip64", b"PK\6\6", b"PK\6\5", END64),
    ("zip64", b"\1\0\0\0PK\6\6", b"\2\0\0\0PK\6\6", "Extra fields missing 64 bit file record."),
    ("zrcz", VERSION, b"\2\0\0\0ZRCZ", "archive is broken."),
    ("zrcz", bytes(8) + VERSION, b"\1" + bytes(7) + VERSION, "encrypted archive isn't supported."),
    ("zrcz", bytes(16) + VERSION, bytes(15) + b"\1" + VERSION, "encrypted archive isn't supported."),
]


@pytest.mark.parametrize("kind, old, new, reason", REFUSALS)
def test_what_is_refused_is_refused_with_its_reason(folder, kind, old, new, reason):
    tree = SMALL if kind != "zipfile of nothing" else {}
    name = "archive" + extension(kind)
    whole = built(folder, BUILDERS[kind], tree, name)
    at = whole.rindex(old)
    (folder / name).write_bytes(whole[:at] + new + whole[at + len(old) :])
    status, listing, log = zrvfs("ls", "archive")
    assert (status, listing) == (1, b"") and f"Reason: {reason}\n" in log
    status, _, log = zrvfs("ls", "other")
    assert status == 1 and "No suitable driver found to mount other\n" in log


def test_a_hundred_thousand_members(folder):
    count = 100_000
    archives.write_zip64(folder / "many.zip", count)
    status, listing, _ = zrvfs("ls", "many.zip")
    files = [line for line in listing.decode().splitlines() if not line.endswith("/")]
    assert status == 0 and sorted(files) == ["/" + archives.member_name(number) for number in range(count)]
    assert zrvfs("verify", "many.zip", "/d0567")[:2] == (0, b"100 files, 0 damaged\n")
    assert zrvfs("cat", "many.zip", "/" + archives.member_name(99_999))[1] == struct.pack("<Q", 99_999)


@pytest.mark.parametrize("kind", ["zipfile stored", "zip deflated", "zip64", "zrcz"])
def test_damage_ends_in_a_refusal(folder, kind):
    """Cut after every byte, every byte inverted, 2^60 at every place: in little memory, and all in one process."""
    suffix = extension(kind)
    whole = built(folder, BUILDERS[kind], SMALL, "whole" + suffix)
    places = range(len(whole))
    damaged = {f"cut{at}": whole[:at] for at in places}
    damaged |= {f"inverted{at}": whole[:at] + bytes([whole[at] ^ 0xFF]) + whole[at + 1 :] for at in places}
    damaged |= {f"huge{at}": whole[:at] + HUGE + whole[at + 8 :] for at in places[:-7]}
    sources = []
    for number, (name, content) in enumerate(damaged.items()):
        file = folder / f"{number // 50}" / (name + suffix)  # a folder is searched for what isn't found in it
        file.parent.mkdir(exist_ok=True)
        file.write_bytes(content)
        sources.append(f"{file.relative_to(folder)}=/{name}")
    status, report, log = zrvfs("verify", *sources, memory=MEMORY)
    assert status == 1
    refused = re.findall(r"archive \d+/(cut\d+)\.z|^\d+/(cut\d+)\.zrcz: Not enough input data", log, re.MULTILINE)
    assert {first or second for first, second in refused} == {f"cut{at}" for at in places}
    if kind.startswith("zip") and kind != "zip64":
        start = whole.index(SMALL["Stored.bin"])
        found = {int(at) for at in re.findall(rb"damaged: /inverted(\d+)/Stored.bin of .* has the CRC-32", report)}
        assert found >= {*range(start, start + len(SMALL["Stored.bin"]))}


HOSTILE = [  # the name in an archive, and how it is listed below the mount point, if it is
    (b"../up", None),
    (b"a/../../up", None),
    (b"..\\..\\up", None),
    (b".x/../../up", None),
    (b"/etc/passwd", b"/etc/passwd"),
    (b"//host/share", b"/host/share"),
    (b"C:\\Windows\\x", b"/C:/Windows/x"),
    (b"a/../b", b"/b"),
    (b"...", b"/..."),
    (b"nul\0/../../x", None),
    (b"\xc0\xae\xc0\xae/up", b"/\xc0\xae\xc0\xae/up"),
    (b"\xff\xfe\x80", b"/\xff\xfe\x80"),
    (b"good", b"/good"),
]


@pytest.mark.parametrize("suffix", [".zip", ".zrcz"])
def test_names_stay_below_the_mount_point(folder, suffix):
    archive = folder / ("hostile" + suffix)
    if suffix == ".zrcz":
        archives.write_zrcz(archive, [(name, b"content") for name, _ in HOSTILE])
    else:
        with zipfile.ZipFile(archive, "w") as out:
            for number, (name, _) in enumerate(HOSTILE):
                out.writestr(f"{number:02}".ljust(len(name), "_"), b"content")
        content = archive.read_bytes()
        for number, (name, _) in enumerate(HOSTILE):
            content = content.replace(f"{number:02}".ljust(len(name), "_").encode(), name)
        archive.write_bytes(content)
    status, listing, log = zrvfs("ls", "hostile=/m/n")
    files = [line for line in listing.splitlines() if not line.endswith(b"/")]
    shown = [b"/m/n" + path for _, path in HOSTILE if path]
    assert status == 0 and sorted(files) == sorted(path.lower() if suffix == ".zrcz" else path for path in shown)
    assert all(line == b"/m/" or line.startswith(b"/m/n/") for line in listing.splitlines())
    assert log.count("Left out, as it doesn't lie under its mount point /m/n/: ") == sum(path is None for _, path in HOSTILE)


def test_bombs_take_the_memory_of_one_member_or_none(folder):
    """Members that share one stream, one that is larger than memory, and sizes that are no stream's."""
    megabyte = bytes(1 << 20)
    with zipfile.ZipFile("bomb.zip", "w", zipfile.ZIP_DEFLATED, compresslevel=1) as out:
        with out.open("bomb", "w") as member:
            for _ in range(BOMB >> 20):
                member.write(megabyte)
    bomb = (folder / "bomb.zip").read_bytes()
    start = bomb.rindex(b"PK\1\2")
    one, end = bomb[start : bomb.rindex(b"PK\5\6")], bomb[bomb.rindex(b"PK\5\6") :]
    with_size = lambda size: one[:24] + struct.pack("<I", size) + one[28:]
    for name, members in {"shared": [with_size(100)] * 50, "liars": [with_size(size) for size in (0, 1, 4_000_000_000)]}.items():
        directory = b"".join(members)
        counts = struct.pack("<HHII", len(members), len(members), len(directory), start)
        (folder / f"{name}.zip").write_bytes(bomb[:start] + directory + end[:8] + counts + bytes(2))
    archives.write_zrcz(folder / "frame.zrcz", [(b"bomb", bytes(BOMB))])
    sources = ("bomb=/bomb", "shared=/shared", "liars=/liars", "frame=/frame")
    status, report, _ = zrvfs("verify", *sources, memory=MEMORY)
    assert status == 1 and (not IS_LIMITED or report.splitlines()[-1] == b"55 files, 55 damaged")


@pytest.mark.skipif("ZR_LARGE_FILES" not in os.environ, reason="writes 5 GB; ZR_LARGE_FILES=1 runs it")
def test_members_above_four_gigabytes(folder):
    with zipfile.ZipFile("large.zip", "w") as out:
        with out.open("large", "w", force_zip64=True) as member:
            for number in range(4200):
                member.write(struct.pack("<Q", number) * (1 << 17))
        out.writestr("behind", b"content")
    assert zrvfs("stat", "large", "/large")[1].split()[1] == b"%d" % (4200 << 20)
    assert zrvfs("cat", "large", "/behind")[1] == b"content"
    assert zrvfs("verify", "large")[:2] == (0, b"2 files, 0 damaged\n")
