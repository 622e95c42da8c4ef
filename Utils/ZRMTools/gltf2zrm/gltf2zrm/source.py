"""One file on its way: its content, what is asked for, and what is told."""

from __future__ import annotations

from dataclasses import dataclass
from pathlib import Path

import numpy as np
from zrm_scene import Report
from zrm_scene.arrays import Floats

from .accessors import Reader
from .container import Container
from .form import checked
from .problems import GltfError
from .schema import Entry


@dataclass(frozen=True)
class Options:
    """What the command line asks for.

    scene       number or name, None for the default one
    cameras     they become connectors
    name_rules  names say what a node is for
    textures    folder for the images, if they go along
    strict      a loss is an error
    """

    scene: str | None = None
    cameras: bool = False
    name_rules: bool = True
    textures: Path | None = None
    strict: bool = False


class Source:
    """What every reader of a part needs."""

    def __init__(self, container: Container, options: Options, report: Report) -> None:
        self.container = container
        self.options = options
        self.report = report
        self.reader = Reader(container)


def extension[T](entry: Entry, name: str, form: type[T], where: str) -> T | None:
    """An extension's object, checked, or None."""
    found = (entry.get("extensions") or {}).get(name)
    return None if found is None else checked(found, form, f"{where}.extensions.{name}")


def vector(value: list[float] | None, default: tuple[float, ...], where: str) -> tuple[float, ...] | list[float]:
    """As many numbers as the default has."""
    if value is None:
        return default
    if len(value) != len(default):
        raise GltfError(f"{where}: {len(value)} numbers where {len(default)} belong")
    return value


def floats(value: list[float] | None, default: tuple[float, ...], where: str) -> Floats:
    """The same as an array."""
    return np.array(vector(value, default, where), np.float64)
