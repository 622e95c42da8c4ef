"""Who keeps what alive, at any depth, and that everything goes in every order."""

import gc
import itertools
import random

import pytest
import pyzrm_313 as zrm
import zrm_inspect
from support.quick import bone_block, color_node, deck_node, hang, model_of, outcome, pbr, save
from support.process import run_python
from support.scripted import plain, whole_script


@pytest.fixture(autouse=True)
def nothing_is_left():
    """Each test ends with as many model objects as it began with."""
    gc.collect()
    before = zrm.get_num_alived_objects()
    yield
    gc.collect()
    assert zrm.get_num_alived_objects() == before


def test_a_model_frees_its_tree():
    start = zrm.get_num_alived_objects()
    model = zrm.Model()
    top = model.getRootTransform()
    for name in "abc":
        top = top.addChild(zrm.Transform(name))
    assert zrm.get_num_alived_objects() == start + 5
    del model
    assert zrm.get_num_alived_objects() == start + 1  # the last facade holds its node, which no longer holds the others
    assert top.getName() == "c"


def test_facades_die_first(folder):
    model = zrm.Model()
    node = zrm.Transform("t", [(1, 0, 0, 5), (0, 1, 0, 6), (0, 0, 1, 7), (0, 0, 0, 1)])
    for mesh in (color_node(), deck_node()):
        hang(mesh, model, node)
        gc.collect()
        assert model.addRenderNode(mesh) == ""
    del node, mesh
    gc.collect()
    file = save(model)
    assert len(file.render_nodes) == 2 and file.root.bounding_box.tolist() == [[5.0, 6.0, 7.0], [6.0, 7.0, 7.0]]


def test_models_die_in_every_order(folder):
    """Roots that hang under nodes of other models."""
    for order in itertools.permutations(range(3)):
        models = [zrm.Model() for _ in range(3)]
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
            for left in models:
                if left is not None:
                    outcome(left.save, "model.zrm", 10)
            for node in nodes:  # what is left is whole
                node.addChild(zrm.Node("late")).addChild(zrm.Node("later"))
        last = [zrm.Model() for _ in nodes]  # only a dying model cuts the links of a tree
        for model, node in zip(last, nodes):
            model.getRootTransform().addChild(node)


def save_under_others():
    """The node above the root goes, goes deep down, goes with its model, or stays; the root and its children draw meshes."""
    for case, count in itertools.product(range(4), range(3)):
        model, node = zrm.Model(), zrm.Transform("a")
        root = model.getRootTransform()
        above = {1: lambda: node.addChild(zrm.Node("between")).addChild(zrm.Bone("b")), 2: zrm.Model().getRootTransform}
        above.get(case, lambda: node)().addChild(root)
        del above
        if case != 3:
            del node
        gc.collect()
        print(case, count, flush=True)
        for k in range(count):
            mesh = color_node()
            mesh.setControlNode(root.addChild(zrm.Transform("t")) if k else root)
            assert model.addRenderNode(mesh) == ""
        for _ in range(2):
            outcome(model.save, "model.zrm", 10)
        root.addChild(zrm.Node("late"))
        del model, root
        gc.collect()
    print("end")


def test_a_root_under_what_is_gone(folder):
    """In a process of its own: the model is saved whatever became of the nodes above its root."""
    ran = run_python("from bindings.test_ownership import save_under_others as run\nrun()", folder)
    last = ran.stdout.splitlines()[-1] if ran.stdout else ""
    assert ran.returncode == 0 and last == "end", f"after {last}: {ran.stderr[-500:]}"


def test_a_bone_in_no_tree(folder):
    model = model_of(pbr(bone_block([zrm.Bone("loose")])), zrm.Bone("top"))
    gc.collect()
    with pytest.raises(IndexError):  # it has no number in the file
        model.save("model.zrm", 10)
    assert list(folder.iterdir()) == []


def test_setters_after_a_save_reach_nodes_that_left(folder):
    model, node = zrm.Model(), zrm.Transform("gone")
    model.getRootTransform().addChild(node)
    save(model)
    assert node.getName() == "_DELETED_"
    node.setMatrix([(2, 0, 0, 0), (0, 2, 0, 0), (0, 0, 2, 0), (0, 0, 0, 1)])
    node.addChild(zrm.Node("child"))
    model.getRootTransform().addChild(node)
    save(model)


@pytest.mark.parametrize("seed", range(5))
def test_everything_goes_in_any_order(folder, seed):
    plain()
    script = whole_script()
    assert script.model.save("model.zrm", 10) == ""
    parts = [*script.facades, script.model]
    del script
    for number in random.Random(seed).sample(range(len(parts)), len(parts)):
        parts[number] = None


def test_globals_at_interpreter_exit(folder):
    """Facades that only die with the interpreter, also in a cycle and in another module's hands."""
    code = ("import builtins, sys, threading, pyzrm_313 as z\n"
        "from support.scripted import plain, whole_script\n"
        "plain()\nscript = whole_script()\nassert script.model.save('m.zrm', 10) == ''\n"
        "builtins.kept_elsewhere = [script, z.Node('alone').addChild(z.Bone('b'))]\n"
        "class Holder(z.Node): pass\nh = Holder('h'); h.me = h; h.model = z.Model()\n"
        "sys.modules['keeper'] = type(sys)('keeper'); sys.modules['keeper'].all = script\n"
        "def f(a=[z.Model(), z.PropertyFloat()]): yield a\ng = f(); next(g)\n"
        "threading.local().x = z.Model()\n")  # fmt: skip
    ran = run_python(code, folder)
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "", "")


def chain(kinds, count, downward):
    """Nodes with a connector at the end: built from above or from below, saved, and dropped from either end."""
    model, hook = zrm.Model(), zrm.Connector("hook")
    nodes = [model.getRootTransform(), *(getattr(zrm, kinds[i % len(kinds)])(str(i)) for i in range(count))]
    for i in range(count)[:: 1 if downward else -1]:
        nodes[i].addChild(nodes[i + 1])
    assert outcome(nodes[-1].addChild, nodes[0]) is ValueError
    hook.setControlNode(nodes[-1])
    model.addConnector(hook)
    assert model.save("deep.zrm", 10) == ""
    if downward:
        del nodes, hook
    else:
        del model
    gc.collect()


@pytest.mark.parametrize(
    ("kinds", "count", "downward", "left"),
    [(["Bone"], 300_000, True, 300_001), (["Bone"], 300_000, False, 300_001), (["Node", "Transform"], 100_000, True, 1)])
def test_a_deep_chain(folder, kinds, count, downward, left):
    code = "import gc, pyzrm_313\nfrom bindings.test_ownership import chain\n"
    ran = run_python(f"{code}chain({kinds}, {count}, {downward})\ngc.collect()\nprint(pyzrm_313.get_num_alived_objects())", folder)
    assert (ran.returncode, ran.stdout.strip()) == (0, "0"), ran.stderr[-500:]
    data = (folder / "deep.zrm").read_bytes()
    if left == 1:
        assert len(zrm_inspect.parse(data).nodes) == 1
    else:
        assert data.count(b"\x06\0\0\x00299999") == 1 and len(data) > 100 * count
