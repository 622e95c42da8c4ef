"""Every record of the format: what the reader finds in its bytes, and that the writer's are the same."""

from __future__ import annotations

import os
import subprocess
from dataclasses import fields, is_dataclass
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313
import zrm_inspect
from support.every_record import EVERY_RECORD
from support.record_bytes import difference, file_bytes
from zrm_inspect.model import Property

BUILDS = (Path(pyzrm_313.__file__).absolute().parents[1], Path(__file__).resolve().parents[3] / "build/release")


def content(value: Any) -> Any:
    """A record as plain data, without its place in the file; properties as tuples of type, name and value."""
    if isinstance(value, np.ndarray) and value.dtype.names:
        return [tuple(content(row[name]) for name in value.dtype.names) for row in value]
    if isinstance(value, (np.ndarray, np.generic)):
        return value.tolist()
    if is_dataclass(value):
        found = {field.name: content(getattr(value, field.name)) for field in fields(value) if field.name != "offset"}
        return tuple(found.values()) if isinstance(value, Property) else found
    if isinstance(value, list):
        return [content(entry) for entry in value]
    if isinstance(value, dict):
        return {key: content(entry) for key, entry in value.items()}
    return value


def test_each_field_is_read() -> None:
    file = zrm_inspect.parse(file_bytes(EVERY_RECORD))
    assert file.warnings == []
    for name, expected in EVERY_RECORD.items():
        found = content(getattr(file, name))
        if isinstance(expected, dict):
            found, expected = sorted(found.items()), sorted(expected.items())
        assert len(found) == len(expected)
        for have, wanted in zip(found, expected):
            assert have == wanted
    sizes = [node.mesh.indices.itemsize for node in file.render_nodes if "words" in node.name]  # type: ignore[attr-defined]
    assert sizes == [2, 4]


def test_the_writer_writes_the_same(tmp_path: Path) -> None:
    """Also of the classes and fields that no script reaches: a C++ program writes them."""
    programs = [path for build in BUILDS if (path := build / "tests/test_writer").is_file()]
    if not programs:
        pytest.skip("the C++ tests are not built: no tests/test_writer beside the module or in build/release")
    environment = os.environ | {"ZRM_ALL_CLASSES_FILE": "all.zrm"}
    command = [programs[0], "--gtest_filter=AllClasses.ReachTheFile"]
    subprocess.run(command, cwd=tmp_path, env=environment, check=True, stdout=subprocess.DEVNULL)
    assert difference(EVERY_RECORD, (tmp_path / "all.zrm").read_bytes()) == ""
