"""Constant and animated values, seen through a light that stores them as they are."""

from __future__ import annotations

import math
from pathlib import Path
from typing import Any

import pytest
import pyzrm_313 as zrm
from module_support import NONE, f32, hang, plain, save

KEYS = [(0.0, 1.0), (0.5, 1.0), (1.0, 1.0)]


def saved(value: Any, setter: str = "setBrightness") -> Any:
    """The record of a value that a light was given."""
    plain()
    model = zrm.Model()
    light = hang(zrm.SpotLight("l"), model)
    getattr(light, setter)(value)
    model.addLight(light)
    (record,) = save(model).light_nodes
    return getattr(record, {"setColor": "color", "setBrightness": "brightness"}[setter])


def keys_of(record: Any) -> list[tuple[float, Any]]:
    return [(float(key["time"]), key["value"].tolist()) for key in record.keys]


def test_constants(folder: Path) -> None:
    for value, expected in ((zrm.PropertyFloat(), 0.0), (zrm.PropertyFloat(0.1), f32(0.1)[0]), (zrm.PropertyFloat(3), 3.0)):
        record = saved(value)
        assert (record.type_name, record.name, record.value) == ("model::Property<float>", "_DUMMY_NAME_", expected)
    record = saved(zrm.PropertyFloat3((1, 2.5, 1e300)), "setColor")
    assert (record.type_name, record.value) == ("model::Property<osg::Vec3f>", (1.0, 2.5, math.inf))
    assert repr(zrm.PropertyFloat2()) == "pyzrm::PropertyFloat2(_DUMMY_NAME_ = vec2(0.000000,0.000000);)"


def test_reduction(folder: Path) -> None:
    assert len(saved(zrm.PropertyFloat(3, KEYS)).keys) == 1
    assert len(saved(zrm.PropertyFloat(3, KEYS, True)).keys) == 1
    assert len(saved(zrm.PropertyFloat(3, KEYS, False)).keys) == 3
    for reduce, count in ((True, 1), (False, 3)):
        value = zrm.PropertyFloat(1.0)
        value.setAnim(3, KEYS, reduce)
        assert len(saved(value).keys) == count
    vectors = [(time, (x, x, x)) for time, x in KEYS]
    assert len(saved(zrm.PropertyFloat3(3, vectors), "setColor").keys) == 1
    value3 = zrm.PropertyFloat3()
    value3.setAnim(3, [(1.0, (2.0, 3.0, 4.0)), (0.0, (1.0, 1.0, 1.0))])
    record = saved(value3, "setColor")
    assert record.type_name == "model::AnimatedProperty<osg::Vec3f>" and record.argument == 3
    assert keys_of(record) == [(0.0, [1.0, 1.0, 1.0]), (1.0, [2.0, 3.0, 4.0])]
    value2 = zrm.PropertyFloat2(3, [(0.0, (1.0, 2.0)), (1.0, (1.0, 2.0))])
    assert repr(value2) == "pyzrm::PropertyFloat2(_DUMMY_NAME_ = animation(3, 0.000000,vec2(1.000000,2.000000),);)".replace(",);", ");")  # fmt: skip


def test_unreduced_keys_are_sorted(folder: Path) -> None:
    record = saved(zrm.PropertyFloat(-1, [(0.5, 1.0), (0.1, 2.0), (math.inf, 3.0)], False))
    assert record.argument == NONE
    assert keys_of(record) == [(f32(0.1)[0], [2.0]), (0.5, [1.0]), (math.inf, [3.0])]


def test_tolerance_of_reduction(folder: Path) -> None:
    for bump, left in ((0.0009, 1), (0.0011, 3)):
        record = saved(zrm.PropertyFloat(3, [(0.0, 0.0), (0.5, bump), (1.0, 0.0)]))
        assert len(record.keys) == left


def test_a_value_handed_over_does_not_change(folder: Path) -> None:
    plain()
    model = zrm.Model()
    first, second = hang(zrm.OmniLight("a"), model), hang(zrm.OmniLight("b"), model)
    value = zrm.PropertyFloat(1.0)
    first.setBrightness(value)
    value.set(2.0)
    second.setBrightness(value)
    value.setAnim(3, KEYS, False)
    model.addLight(first)
    model.addLight(second)
    assert [light.brightness.value for light in save(model).light_nodes] == [1.0, 2.0]


def test_handles(folder: Path) -> None:
    for given, stored in ((0, 0), (2**32 - 1, NONE), (-1, NONE), (-(2**31), 2**31), (True, 1)):
        assert saved(zrm.PropertyFloat(given, [])).argument == stored
    for wrong in (2**32, -(2**31) - 1, 10**100, 1.0, "1", None):
        with pytest.raises(TypeError):
            zrm.PropertyFloat(wrong, [])
