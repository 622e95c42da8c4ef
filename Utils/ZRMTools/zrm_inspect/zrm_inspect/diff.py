"""What differs between two files: nodes by their paths, records by place and material, numbers within a tolerance."""

from __future__ import annotations

from collections import Counter
from collections.abc import Iterator
from dataclasses import fields, is_dataclass
from typing import Any

import numpy as np

from .layouts import SECTIONS
from .model import BaseNode, ZrmFile
from .report import printable

_PLACES = {"offset", "index", "parent"}  # where a record stands says nothing about what it is
_REFERENCES = {"control", "controls", "bones", "parents", "material", "control_rows"}


class _Names:
    """Keys of what a file holds, that are the same in another file of the same content."""

    def __init__(self, file: ZrmFile) -> None:
        self.file = file
        self.nodes: list[str] = []
        unique = _Unique()
        for node in file.nodes:
            above = self.nodes[node.parent] + "/" if node.parent >= 0 else ""
            self.nodes.append(unique(above + printable(node.name)))
        unique = _Unique()
        self.materials = [unique(printable(material.name)) for material in file.materials]

    def record(self, record: BaseNode) -> str:
        parts = [record.kind]
        parts += [f"'{printable(record.name)}'"] if record.name else []
        parts += [f"of {self.material(record.material)}"] if record.material is not None else []
        parts += [f"at {self.node(record.controls[0])}"] if len(record.controls) else []
        return " ".join(parts)

    def node(self, index: int) -> str:
        return self.nodes[index] or "/"

    def material(self, index: int) -> str:
        return f"material '{self.materials[index]}'"

    def references(self, record: BaseNode) -> list[Any]:
        rows = getattr(record, "parents", None)
        arguments = rows[:, 1].tolist() if rows is not None and len(rows) else []
        return [[self.node(index) for index in record.controls], arguments]


class _Unique:
    """Numbers equal names, in their order."""

    def __init__(self) -> None:
        self.seen: Counter[str] = Counter()

    def __call__(self, name: str) -> str:
        self.seen[name] += 1
        return name if self.seen[name] == 1 else f"{name}#{self.seen[name]}"


def _array_difference(a: Any, b: Any, tolerance: float) -> str:
    if a.shape != b.shape:
        return f"{len(a)} rows of {a.shape[1:]} and {len(b)} of {b.shape[1:]}" if a.ndim > 1 else f"{len(a)} and {len(b)}"
    if a.dtype.names:
        told = ((name, _array_difference(a[name], b[name], tolerance)) for name in a.dtype.names)
        return ", ".join(f"{name} {text}" for name, text in told if text)
    if a.dtype.kind != "f" and b.dtype.kind != "f":
        count = int((a != b).sum())
        return f"{count} of {a.size} differ" if count else ""
    with np.errstate(invalid="ignore"):
        apart = np.abs(a - b)
        unequal = ~((apart <= tolerance) | (a == b) | (np.isnan(a) & np.isnan(b)))
    return f"{int(unequal.sum())} of {a.size} differ, by up to {np.nanmax(apart):.3g}" if unequal.any() else ""


def differences(a: Any, b: Any, tolerance: float, name: str = "") -> Iterator[str]:
    """The fields in which two values differ. References to other records are the caller's to compare."""
    label = name or "value"
    if isinstance(a, np.ndarray) and isinstance(b, np.ndarray):
        if text := _array_difference(a, b, tolerance):
            yield f"{label}: {text}"
    elif is_dataclass(a) and type(a) is type(b):
        for entry in fields(a):
            if entry.name not in _PLACES | _REFERENCES:
                inner = f"{name}.{entry.name}" if name else entry.name
                yield from differences(getattr(a, entry.name), getattr(b, entry.name), tolerance, inner)
    elif isinstance(a, (list, tuple)) and isinstance(b, (list, tuple)) and len(a) == len(b):
        for place, (one, other) in enumerate(zip(a, b)):
            yield from differences(one, other, tolerance, f"{label}[{getattr(one, 'name', place)}]")
    elif isinstance(a, dict) and isinstance(b, dict) and a.keys() == b.keys():
        for key in a:
            yield from differences(a[key], b[key], tolerance, f"{name}[{key}]" if name else str(key))
    elif isinstance(a, float) and isinstance(b, float):
        if not (abs(a - b) <= tolerance or a == b or (a != a and b != b)):
            yield f"{label}: {a:g} and {b:g}"
    elif isinstance(a, (list, tuple, dict)) and isinstance(b, (list, tuple, dict)):
        yield f"{label}: {len(a)} and {len(b)}"
    elif a != b:
        yield f"{label}: {_short(a)} and {_short(b)}"


def _short(value: Any) -> str:
    return printable(str(value), 60)


def _keyed(file: ZrmFile, names: _Names) -> dict[str, tuple[Any, list[Any]]]:
    """Everything in a file by key, with what it refers to."""
    found: dict[str, tuple[Any, list[Any]]] = {"root": (_Root(file), [])}
    for index, node in enumerate(file.nodes):
        found[f"node {names.node(index)}"] = (node, [])
    for index, material in enumerate(file.materials):
        found[names.material(index)] = (material, [])
    unique = _Unique()
    for _, section, _ in SECTIONS:
        for record in getattr(file, section):
            found[unique(names.record(record))] = (record, names.references(record))
    return found


class _Root:
    """What the root holds beside its materials."""

    def __init__(self, file: ZrmFile) -> None:
        root = file.root
        names = ("name", "properties", "bounding_box", "user_box", "light_box")
        self.parts = {name: getattr(root, name) for name in names}


def compare(first: ZrmFile, second: ZrmFile, tolerance: float) -> Iterator[str]:
    """Lines that begin with - (only in the first file), + (only in the second one) or ~ (in both, but different)."""
    a, b = (_keyed(file, _Names(file)) for file in (first, second))
    for key, (one, references) in a.items():
        if key not in b:
            yield f"- {key}"
            continue
        other, others = b[key]
        if isinstance(one, _Root):
            one, other = one.parts, other.parts
        if type(one) is not type(other):
            yield f"~ {key}: {type(one).__name__} and {type(other).__name__}"
            continue
        for text in differences(one, other, tolerance):
            yield f"~ {key}: {text}"
        if references != others:
            yield f"~ {key}: {_short(references)} and {_short(others)}"
    for key in b:
        if key not in a:
            yield f"+ {key}"
