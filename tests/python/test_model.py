"""The model: what it saves, where, and what it says when it can't."""

from pathlib import Path

import pytest
import pyzrm_313 as zrm
from support.every_record import EMPTY_MODEL, NO_BOX
from support.quick import BOX, f32, save


def test_empty_model(folder):
    model = zrm.Model()
    for _ in range(2):  # the second time what the first one left
        assert model.save("model.zrm", 10) == ""
        assert Path("model.zrm").read_bytes() == EMPTY_MODEL
    root = model.getRootTransform()
    assert root is model.getRootTransform() and type(root) is zrm.Node and root.getName() == "root"


@pytest.mark.parametrize(("version", "text"), [
    (10, ""), (10 + 65536, ""), (10 - 65536, ""), (-(2**63) + 10, ""), (9, "Unsupported version 9"),
    (0, "Unsupported version 0"), (-1, "Unsupported version 65535"), (2**63 - 1, "Unsupported version 65535")])  # fmt: skip
def test_versions(folder, version, text):
    assert zrm.Model().save("model.zrm", version) == text
    assert Path("model.zrm").exists() is (text == "")
    assert text or Path("model.zrm").read_bytes() == EMPTY_MODEL


def test_paths(folder):
    model = zrm.Model()
    for path in (str(folder / "a.zrm"), "/", "missing/a.zrm", ".", ""):
        assert model.save(path, 10) == "Can't write to file " + path
    with pytest.raises(ValueError, match="null"):
        model.save("a\0b", 10)
    with pytest.raises(TypeError, match="save"):
        model.save("a", 2**63)
    assert list(folder.iterdir()) == []
    assert model.save("täpä ✓.zrm", 10) == ""
    assert (folder / "täpä ✓.zrm").read_bytes() == EMPTY_MODEL


def boxes(model):
    root = save(model).root
    return [box.tolist() for box in (root.bounding_box, root.user_box, root.light_box)]


def test_boxes_that_count_as_not_set(folder):
    own = [[f32(0.1), 2.0, 3.0], [4.0, 5.0, 6.0]]
    for axis in range(3):
        high = [9.0] * 3
        high[axis] = -1.0
        model = zrm.Model()
        model.setBBox((0.1, 2.0, 3.0, 4.0, 5.0, 6.0))
        model.setUserBox((0.0, 0.0, 0.0, high[0], high[1], high[2]))
        model.setLightBox(BOX)  # is thrown away without lights
        assert boxes(model) == [own, own, NO_BOX]
    model.setUserBox((0.0, 0.0, 0.0, 0.0, 9.0, 1e300))
    assert boxes(model)[1] == [[0.0] * 3, [0.0, 9.0, float("inf")]]
