"""Every record of the format: what the reader finds in its bytes."""

from dataclasses import fields

import numpy as np
import pytest
import zrm_inspect
from support.every_record import EVERY_RECORD
from support.record_bytes import file_bytes
from support.scripted import whole_script
from zrm_inspect.model import Property


def content(value, like=None):
    """A record as lists and dicts, with the fields that the expected one names."""
    if isinstance(value, np.ndarray) and value.dtype.names:
        return [[content(row[name]) for name in value.dtype.names] for row in value]
    if isinstance(value, (np.ndarray, np.generic)):
        return value.tolist()
    if isinstance(value, Property):
        return [content(getattr(value, field.name)) for field in fields(value) if field.name != "offset"]
    if isinstance(like, dict) and not isinstance(value, dict):
        return {key: content(getattr(value, key), like[key]) for key in sorted(like) if key != "width"}
    if isinstance(value, dict):
        return {key: content(entry, (like or value)[key]) for key, entry in sorted(value.items(), key=str)}
    if isinstance(value, (list, tuple)):
        likes = like if isinstance(like, (list, tuple)) and len(like) == len(value) else [None] * len(value)
        return [content(entry, one) for entry, one in zip(value, likes)]
    return value


listed = lambda value: value if isinstance(value, list) else [value]


@pytest.mark.parametrize("file", [EVERY_RECORD, whole_script().file])
def test_each_field_is_read(file):
    found = zrm_inspect.parse(file_bytes(file))
    for name, expected in file.items():
        for one, other in zip(listed(getattr(found, name)), listed(expected), strict=True):
            assert repr(content(one, other)) == repr(content(other))  # as texts, since some floats are no numbers
