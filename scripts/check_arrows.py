#!/usr/bin/env python3
"""Holds the arrows of use: no file may include one of a room that its own room must not know.

The table is the order of the rooms: each has the files whose paths begin so, the longest beginning counting, and may use
itself and what the third column names. A file of ours that belongs to no room is a fault too.
"""

from __future__ import annotations

import re
import sys
from pathlib import Path

CORE = "platform zr zrvfs"
MATERIALS = f"{CORE} types base io"
NODES = f"{MATERIALS} materials mesh nodes"
WHOLE = f"{NODES} whole"
PASSES = "tree materials_pass merge mesh_pass"
MODEL = f"{WHOLE} utils {PASSES} io_10 finishing"
FACADES = f"{MODEL} arguments compute"
ROOMS: dict[str, tuple[str, str]] = {  # room: (beginnings of paths below the roots, rooms that it may use)
    "platform": ("platform/", ""),
    "zr": ("zr/", "platform"),
    "zr_private": ("zr_private/", "platform zr"),
    "zrvfs": ("zrvfs/", "platform zr"),
    "formats": ("zrvfs/Drivers/ZipArchive. zrvfs/Drivers/ZRCZArchive. zrvfs/Drivers/littleEndian.", CORE),
    "providers": ("zrvfs/Drivers/DataProviders/", f"{CORE} formats"),
    "real_files": ("zrvfs/RealFiles.", f"{CORE} providers"),
    "drivers": ("zrvfs/Drivers/", f"{CORE} formats providers real_files"),
    "tree_of_mounts": ("zrvfs/VFSManager. zrvfs/LuaSource.", f"{CORE} providers real_files drivers"),
    "types": ("base/types.h", "zr"),
    "base": ("base/", f"{CORE} types"),
    "io": ("io/", f"{CORE} types"),
    "materials": ("materials/", MATERIALS),
    "mesh": ("mesh/ Vertices.", f"{MATERIALS} materials"),
    "nodes": ("nodes/", NODES),
    "whole": ("RootNode. ModelArguments. ModelClasses. IClassWriter.", NODES),
    "tree": ("utils/tree/", f"{WHOLE} utils"),
    "materials_pass": ("utils/materials/", f"{WHOLE} utils"),
    "mesh_pass": ("utils/mesh/", f"{WHOLE} utils"),
    "merge": ("utils/merge/", f"{WHOLE} utils"),
    "utils": ("utils/Optimizers.h utils/VertexUtils.h utils/RemoveEmpty.", WHOLE),  # what the families share
    "passes": ("utils/Optimizers.cpp utils/VertexUtils.cpp", f"{WHOLE} utils {PASSES}"),
    "io_10": ("io/10/", WHOLE),
    "finishing": ("finishing/", MODEL),
    "arguments": ("inc/Arguments.h", MODEL),  # the forms in which scripts pass values
    "compute": ("compute/", f"{MODEL} arguments"),
    "inc": ("inc/", FACADES),
    "blocks": ("blocks/", f"{FACADES} inc"),
    "facades": ("facades/", f"{FACADES} zr_private inc"),
    "bind": ("bind/ module.cpp", f"{FACADES} inc tree_of_mounts"),
}
ROOTS = [
    Path(__file__).resolve().parents[1] / folder
    for folder in ("Projects/Core/src", "Utils/ZRMTools/UniModelDesc/sources", "Utils/ZRMTools/python_bindings")
]
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)', re.MULTILINE)


def room_of(path: str) -> str:
    begins = [(begin, room) for room, (files, _) in ROOMS.items() for begin in files.split() if path.startswith(begin)]
    return max(begins, default=("", ""))[1]  # of two beginnings of one path, the longer sorts last


def faults() -> list[str]:
    files = {file.relative_to(root).as_posix(): file for root in ROOTS for file in sorted(root.rglob("*.[chi]*"))}
    paths = {file: path for path, file in files.items()}
    found = []
    for path, file in files.items():
        room = room_of(path)
        if not room:
            found.append(f"{path} belongs to no room of the table")
            continue
        allowed = (room, *ROOMS[room][1].split())
        for name in INCLUDE.findall(file.read_text(encoding="utf-8")):
            name = paths.get((file.parent / name).resolve(), name)  # it may be one of the same folder
            if name in files and room_of(name) not in allowed:
                found.append(f"{path} ({room}) must not include {name} ({room_of(name)})")
    return found


if __name__ == "__main__":
    sys.exit("\n".join(faults()) or 0)
