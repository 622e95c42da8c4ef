"""Who keeps what alive, and that everything goes in every order."""

from __future__ import annotations

import gc
import itertools
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import pytest
import pyzrm_313 as zrm
from module_support import BOX, bone_block, color_node, deck_node, hang, pbr, run_python, save
from test_whole_model import build_everything


@pytest.fixture(autouse=True)
def nothing_is_left() -> Iterator[None]:
    """Each test ends with as many model objects as it began with."""
    gc.collect()
    before = zrm.get_num_alived_objects()
    yield
    gc.collect()
    assert zrm.get_num_alived_objects() == before


def alive() -> int:
    return zrm.get_num_alived_objects()


def test_a_model_frees_its_tree() -> None:
    start = alive()
    model = zrm.Model()
    assert alive() == start + 2
    top = model.getRootTransform()
    for name in "abc":
        top = top.addChild(zrm.Transform(name))
    assert alive() == start + 5
    del model
    assert alive() == start + 1  # the last facade holds its node, which no longer holds the others
    assert top.getName() == "c"
    del top
    assert alive() == start


def test_facades_die_first(folder: Path) -> None:
    model = zrm.Model()
    node = zrm.Transform("t", [(1, 0, 0, 5), (0, 1, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)])
    mesh = color_node()
    assert model.addRenderNode(hang(mesh, model, node)) == ""
    del node, mesh
    gc.collect()
    file = save(model)
    assert len(file.render_nodes) == 1 and file.root.bounding_box.tolist() == [[5.0, 6.0, 7.0], [6.0, 7.0, 7.0]]


def test_models_die_in_every_order() -> None:
    """Roots that hang under nodes of other models, in every order of death."""
    for order in itertools.permutations(range(3)):
        models: list[Any] = [zrm.Model() for _ in range(3)]
        nodes = [zrm.Node(str(i)) for i in range(3)]
        for model, node in zip(models, nodes):
            model.getRootTransform().addChild(node)
        nodes[0].addChild(models[1].getRootTransform())
        nodes[0].addChild(zrm.Node("beside"))
        nodes[1].addChild(models[2].getRootTransform())
        with pytest.raises(ValueError):
            nodes[2].addChild(models[0].getRootTransform())
        for number in order:
            models[number] = None
            for node in nodes:  # what is left is whole
                node.addChild(zrm.Node("late")).addChild(zrm.Node("later"))
        roots = [zrm.Model() for _ in range(3)]
        for model, node in zip(roots, nodes):
            model.getRootTransform().addChild(node)


def test_a_child_leaves_a_parent_that_only_it_holds() -> None:
    model, child = zrm.Model(), zrm.Node("child")
    zrm.Node("forgotten").addChild(child)
    model.getRootTransform().addChild(child)

    place, stranded = zrm.Model().getRootTransform(), zrm.Node("stranded")
    place.addChild(zrm.Node("between")).addChild(stranded)
    model.getRootTransform().addChild(place)
    child.addChild(stranded)


def test_a_saved_model_with_a_dead_subtree(folder: Path) -> None:
    outer, inner = zrm.Model(), zrm.Model()
    outer.getRootTransform().addChild(inner.getRootTransform())
    outer.getRootTransform().addChild(zrm.Bone("beside"))
    del inner
    names = [node.name for node in save(outer).nodes]
    assert names[0] == "root" and "beside" not in names[2:]


def test_a_model_that_hangs_below_another_one_saves(folder: Path) -> None:
    outer, inner = zrm.Model(), zrm.Model()
    node = hang(color_node(), inner, zrm.Transform("place"))
    assert inner.addRenderNode(node) == ""
    outer.getRootTransform().addChild(inner.getRootTransform())
    assert outer.save("outer.zrm", 10) == ""
    try:
        inner.save("inner.zrm", 10)
    except IndexError:
        pass
    del outer
    gc.collect()
    try:
        inner.save("inner.zrm", 10)
    except IndexError:
        pass


def test_bones_outlive_their_facades(folder: Path) -> None:
    model = zrm.Model()
    model.setBBox(BOX)
    top = zrm.Bone("top")
    mesh = pbr(bone_block([zrm.Bone("loose")]))
    assert model.addRenderNode(hang(mesh, model, top)) == ""
    del mesh, top
    gc.collect()
    # A bone that hangs in no tree has no number in the file.
    with pytest.raises(IndexError):
        model.save("model.zrm", 10)
    assert list(folder.iterdir()) == []


def test_setters_after_a_save_reach_nodes_that_left(folder: Path) -> None:
    model = zrm.Model()
    node = zrm.Transform("gone")
    model.getRootTransform().addChild(node)
    save(model)
    node.setMatrix([(2, 0, 0, 0), (0, 2, 0, 0), (0, 0, 2, 0), (0, 0, 0, 1)])
    node.addChild(zrm.Node("child"))
    save(model)
    model.getRootTransform().addChild(node)  # only a dying model cuts the links of a tree


def break_up(parts: list[Any], order: list[int]) -> None:
    for number in order:
        parts[number] = None


@pytest.mark.parametrize("seed", range(5))
def test_everything_goes_in_any_order(folder: Path, seed: int) -> None:
    import random

    facades: list[Any] = []
    model = build_everything(facades)
    assert model.save("model.zrm", 10) == ""
    parts = [*facades, model]
    del facades, model
    order = list(range(len(parts)))
    random.Random(seed).shuffle(order)
    break_up(parts, order)


@pytest.mark.parametrize(
    "failing",
    [
        lambda: zrm.Transform("t", []),
        lambda: zrm.Bone("b", [(1.0, 0.0, 0.0, 0.0)] * 4, []),
        lambda: zrm.PropertyFloat(3, [(1.0, None)]),
        lambda: zrm.Model().addRenderNode(pbr(bone_block())),
    ],
)
def test_failures_leave_nothing(failing: Callable[[], object]) -> None:
    with pytest.raises((ValueError, TypeError)):
        failing()
        raise ValueError


def test_globals_at_interpreter_exit(folder: Path) -> None:
    """Facades that only die with the interpreter, also in a cycle and in another module's hands."""
    code = (
        "import builtins, sys, threading, pyzrm_313 as z\n"
        "from test_whole_model import build_everything\n"
        "kept = []\nmodel = build_everything(kept)\nassert model.save('m.zrm', 10) == ''\n"
        "builtins.kept_elsewhere = [model, kept, z.Node('alone').addChild(z.Bone('b'))]\n"
        "class Holder(z.Node): pass\nh = Holder('h'); h.me = h; h.model = z.Model()\n"
        "sys.modules['keeper'] = type(sys)('keeper'); sys.modules['keeper'].all = kept\n"
        "def f(a=[z.Model(), z.PropertyFloat()]): yield a\ng = f(); next(g)\n"
        "threading.local().x = z.Model()\n"
    )
    ran = run_python(code, folder)
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "", "")


def test_deck_holds_its_control_node(folder: Path) -> None:
    model = zrm.Model()
    deck = hang(deck_node(), model)
    gc.collect()
    assert model.addRenderNode(deck) == ""
    assert len(save(model).render_nodes) == 1
