"""Strict reader, checks, pictures and evaluation of ZRM model files, version 10.

open_file(path) gives a ZrmFile (see model.py) at once, read_file(path) and parse(bytes) one whose contents are checked too;
ZrmError with a byte offset where it is none. examine(bytes) lists every fault. dump(file) and build(data) are each other's
inverse. evaluate(file, {argument: value}) gives the world-space meshes at these argument values.
"""

from .cursor import NO_ARGUMENT
from .evaluate import Scene, SceneMesh, evaluate
from .faults import Fault, FaultList, ZrmError
from .model import CHANNELS, SEMANTICS, ZrmFile
from .reader import examine, open_file, parse, read_file
from .writer import build, dump

__all__ = [
    "CHANNELS",
    "NO_ARGUMENT",
    "SEMANTICS",
    "Fault",
    "FaultList",
    "Scene",
    "SceneMesh",
    "ZrmError",
    "ZrmFile",
    "build",
    "dump",
    "evaluate",
    "examine",
    "open_file",
    "parse",
    "read_file",
]
