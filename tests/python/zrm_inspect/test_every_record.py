"""Every record of the format: what the reader finds in its bytes."""

from dataclasses import fields, is_dataclass

import numpy as np
import pytest
import zrm_inspect
from support.every_record import EVERY_RECORD
from support.record_bytes import file_bytes
from support.scripted import whole_script
from zrm_inspect.model import Property


def content(value):
    """A record as lists and dicts, without its place in the file."""
    if isinstance(value, np.ndarray) and value.dtype.names:
        return [[content(row[name]) for name in value.dtype.names] for row in value]
    if isinstance(value, (np.ndarray, np.generic)):
        return value.tolist()
    if is_dataclass(value):
        found = {field.name: content(getattr(value, field.name)) for field in fields(value) if field.name != "offset"}
        return list(found.values()) if isinstance(value, Property) else found
    if isinstance(value, dict):
        return {key: content(entry) for key, entry in sorted(value.items(), key=str)}
    return [content(entry) for entry in value] if isinstance(value, (list, tuple)) else value


listed = lambda value: value if isinstance(value, list) else [value]


@pytest.mark.parametrize("file", [EVERY_RECORD, whole_script().file])
def test_each_field_is_read(file):
    found = zrm_inspect.parse(file_bytes(file))
    for name, expected in file.items():
        for one, other in zip(listed(getattr(found, name)), listed(expected), strict=True):
            assert repr(content(content(one))) == repr(content(other))  # as texts, since some floats are no numbers
