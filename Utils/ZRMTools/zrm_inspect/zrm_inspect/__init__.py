"""Strict reader, summary and evaluation of ZRM model files, version 10.

parse(bytes) and read_file(path) give a ZrmFile (see model.py) or raise ZrmError with a byte offset.
evaluate(file, {argument: value}) gives the world-space meshes at these argument values.
"""

from .cursor import NO_ARGUMENT, ZrmError
from .evaluate import Scene, SceneMesh, evaluate
from .model import CHANNELS, SEMANTICS, ZrmFile
from .reader import parse, read_file

__all__ = [
    "CHANNELS",
    "NO_ARGUMENT",
    "SEMANTICS",
    "Scene",
    "SceneMesh",
    "ZrmError",
    "ZrmFile",
    "evaluate",
    "parse",
    "read_file",
]
