"""The model: what it saves, where, and what it says when it can't."""

from __future__ import annotations

import os
from pathlib import Path

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import (
    BOX,
    POSITIONS,
    bone_block,
    color_node,
    f32,
    hang,
    mirror_node,
    model_of,
    pbr,
    plain,
    run_python,
    save,
    saved_bytes,
    shell_node,
)

LARGEST = bytes.fromhex("000000E0FFFFEF47") * 3 + bytes.fromhex("000000E0FFFFEFC7") * 3
EMPTY_MODEL = (
    bytes.fromhex("5A524D 0A00 46000000")
    + b"model::RootNode\0model::Property<unsigned int>\0__VERSION__\0model::Node\0"
    + bytes(8)
    + bytes.fromhex("00000000 00000000 00000000 01000000 01000000 02000000 03000000")
    + LARGEST * 3
    + bytes.fromhex("00000000 00000000 00000000 01000000 03000000 04000000 726F6F74")
    + bytes.fromhex("00000000 00000000 FFFFFFFF 00000000")
)


def test_empty_model(folder: Path) -> None:
    assert len(EMPTY_MODEL) == 303
    model = zrm.Model()
    assert saved_bytes(model) == EMPTY_MODEL
    assert saved_bytes(model) == EMPTY_MODEL  # a second save of what the first one left
    assert model.getName() == ""


@pytest.mark.parametrize(
    ("version", "text"),
    [
        (10, ""),
        (10 + 65536, ""),
        (10 - 65536, ""),
        (-(2**63) + 10, ""),
        (9, "Unsupported version 9"),
        (0, "Unsupported version 0"),
        (-1, "Unsupported version 65535"),
        (2**63 - 1, "Unsupported version 65535"),
    ],
)
def test_versions(folder: Path, version: int, text: str) -> None:
    assert zrm.Model().save("model.zrm", version) == text
    assert Path("model.zrm").exists() is (text == "")
    assert text or Path("model.zrm").read_bytes() == EMPTY_MODEL


def test_paths(folder: Path) -> None:
    model = zrm.Model()
    for path in (str(folder / "a.zrm"), "/", "missing/a.zrm", ".", ""):
        assert model.save(path, 10) == "Can't write to file " + path
    assert list(folder.iterdir()) == []
    with pytest.raises(ValueError, match="null"):
        model.save("a\0b", 10)
    with pytest.raises(TypeError):
        model.save("a", 2**63)
    assert model.save("täpä ✓.zrm", 10) == ""
    assert (folder / "täpä ✓.zrm").read_bytes() == EMPTY_MODEL


def test_failing_saves_leave_the_older_file(folder: Path) -> None:
    """Each failure of the sequence, with a file of that name in place."""

    def bones_without_box() -> zrm.Model:
        model = zrm.Model()
        assert model.addRenderNode(hang(pbr(bone_block()), model, zrm.Bone("b"))) == ""
        return model

    def bad_shell() -> zrm.Model:
        model, shell = zrm.Model(), shell_node()
        shell.setPositions([*POSITIONS, 5.0])
        model.addShellNode(hang(shell, model))
        return model

    def too_many_pivots() -> zrm.Model:
        node = pbr()
        model = model_of(node)
        for _ in range(7):
            node.addTransparentPivot([0.0, 0.0, 0.0])
        return model

    def animation_without_argument() -> zrm.Model:
        model = zrm.Model()
        lights = zrm.AnimatedFakeOmniLight("n")
        lights.set([zrm.FakeOmniLight()])
        assert model.addRenderNode(hang(lights, model)) == ""
        return model

    def normals_of_another_count() -> zrm.Model:
        node = color_node()
        node.setNormals([0.0, 0.0, 1.0])
        return model_of(node)

    Path("model.zrm").write_bytes(b"older")
    for build, text in (
        (zrm.Model, "Unsupported version 9"),
        (bones_without_box, "if the model has bones, then you need to set a bounding box."),
        (bad_shell, "Vertex data is invalid."),
        (too_many_pivots, "Too much transparent pivots."),
        (animation_without_argument, "Argument of animated fake omni lights must be valid. Node id: "),
        (normals_of_another_count, "Vertex data is invalid."),
    ):
        for switches_on in (True, False):
            if not switches_on:
                plain()
            result = build().save("model.zrm", 9 if build is zrm.Model else 10)
            assert result.startswith(text), build
            assert Path("model.zrm").read_bytes() == b"older"
        for name in ("optimizeTransformations", "mergeNodes", "extremlyOptimizeMeshes", "optimizeVertexCache"):
            zrm.enable_model_optimization(name, True)


def test_bones_need_a_box_and_get_through_with_one(folder: Path) -> None:
    model = zrm.Model()
    assert model.addRenderNode(hang(pbr(bone_block()), model, zrm.Bone("b"))) == ""
    assert model.save("model.zrm", 10) != ""
    model.setBBox(BOX)
    assert len(save(model).render_nodes) == 1


def test_boxes(folder: Path) -> None:
    unset = np.frombuffer(LARGEST, np.float64).reshape(2, 3)

    def boxes(model: zrm.Model) -> list[list[float]]:
        root = save(model).root
        return [box.reshape(-1).tolist() for box in (root.bounding_box, root.user_box, root.light_box)]

    model = zrm.Model()
    model.setBBox((0.1, 2.0, 3.0, 4.0, 5.0, 6.0))
    model.setLightBox(BOX)  # is thrown away without lights
    assert boxes(model) == [list(f32(0.1, 2, 3, 4, 5, 6))] * 2 + [unset.reshape(-1).tolist()]

    model = zrm.Model()
    model.setBBox(BOX)
    model.setUserBox((0.0, 0.0, 0.0, -1.0, 9.0, 9.0))  # a maximum below its minimum counts as not given
    assert boxes(model)[1] == list(BOX)
    model.setUserBox((0.0, 0.0, 0.0, 0.0, 9.0, 1e300))
    assert boxes(model)[1] == [0.0, 0.0, 0.0, 0.0, 9.0, float("inf")]

    model = zrm.Model()
    light = hang(zrm.OmniLight("l"), model)
    light.setDistance(zrm.PropertyFloat(3, [(0.0, 2.0), (1.0, 10.0)]))
    model.addLight(light)
    model.setBBox(BOX)
    assert boxes(model)[2] == [-11.0, -12.0, -13.0, 11.0, 12.0, 13.0]
    model.setLightBox((0.0, 0.0, 0.0, 1.0, 1.0, 1.0))
    assert boxes(model)[2] == [0.0, 0.0, 0.0, 1.0, 1.0, 1.0]


def test_computed_box_follows_the_tree(folder: Path) -> None:
    model = zrm.Model()
    mover = zrm.AnimationNode("mover")
    mover.setBasePosition((10.0, 20.0, 30.0))
    model.addShellNode(hang(shell_node(), model, mover))
    assert save(model).root.bounding_box.tolist() == [[10.0, 20.0, 30.0], [11.0, 21.0, 30.0]]


def test_adding_twice(folder: Path) -> None:
    plain()
    model = zrm.Model()
    node = hang(color_node(), model)
    assert model.addRenderNode(node) == "" and model.addRenderNode(node) == ""
    assert len(save(model).render_nodes) == 2


def test_a_refused_node_is_not_added(folder: Path) -> None:
    model = zrm.Model()
    node = mirror_node()
    assert model.addRenderNode(node) == "Control node isn't set."
    assert model.addRenderNode(zrm.IRenderNode()) == ""
    assert saved_bytes(model) == EMPTY_MODEL


def test_order_of_lists(folder: Path) -> None:
    plain()
    model = zrm.Model()
    for name in ("b", "a", "c"):
        connector, light, segments, node = zrm.Connector(name), zrm.OmniLight(name), zrm.SegmentsNode(name), None
        segments.set([((0.0, 0.0, 0.0), (1.0, 0.0, 0.0))])
        node = zrm.FakeOmniLights(name)
        model.addConnector(hang(connector, model))
        model.addLight(hang(light, model))
        model.addSegmentsNode(hang(segments, model))
        assert model.addRenderNode(hang(node, model)) == ""
    file = save(model)
    for listed in (file.connectors, file.light_nodes, file.shell_nodes, file.render_nodes):
        assert [entry.name for entry in listed] == ["b", "a", "c"]


def test_root_transform_is_one_object() -> None:
    model = zrm.Model()
    root = model.getRootTransform()
    assert root is model.getRootTransform()
    assert type(root) is zrm.Node and root.getName() == "root"


def test_equal_bytes_in_every_process(folder: Path) -> None:
    """Neither hash seeds nor locale nor addresses reach the file."""
    code = (
        "from test_whole_model import build_everything\nfrom module_support import *\n"
        "import locale, sys\nlocale.setlocale(locale.LC_ALL, '')\n"
        "padding = [bytearray(n) for n in range(1000 * int(sys.flags.hash_randomization), 3000)]\n"
        "assert build_everything().save('out.zrm', 10) == ''"
    )
    results = set()
    for seed, locale in (("0", "C"), ("1", "C.UTF-8"), ("random", "de_DE.UTF-8"), ("7", "tr_TR.UTF-8")):
        environment = {"PYTHONHASHSEED": seed, "LC_ALL": locale}
        ran = run_python(code.replace("locale.setlocale(locale.LC_ALL, '')", "pass" if "_" in locale else "0"), folder,
                         **environment)  # fmt: skip
        assert ran.returncode == 0, ran.stderr
        results.add((folder / "out.zrm").read_bytes())
        os.remove(folder / "out.zrm")
    assert len(results) == 1
