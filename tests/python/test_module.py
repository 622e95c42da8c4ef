"""What a script sees of the module: names, order, texts, switches."""

import ast
import shutil
from pathlib import Path

import pytest
import pyzrm_313 as zrm
from bindings.test_uncrashable import CLASSES, make
from conftest import ROOT, SWITCHES
from support.process import run_python
from support.quick import model_of, pbr
from support.tame import tame_script

STUBS = ROOT / "Utils/ZRMTools/python_bindings/stubs/pyzrm_313-stubs/__init__.pyi"
FUNCTIONS = {"get_num_alived_objects": "Returns number of alived objects.",
    "dev_mode": "Returns if development mode is enabled.",
    "enable_model_optimization": "Controls which optimizationa will be enabled."}  # fmt: skip


def test_module_and_stubs_agree():
    """Names, bases and methods, each in the order of the stubs, and nothing beyond them."""
    tree = ast.parse(STUBS.read_text(encoding="utf-8")).body
    functions = [node.name for node in tree if isinstance(node, ast.FunctionDef)]
    classes = [node for node in tree if isinstance(node, ast.ClassDef) and not node.name.startswith("_")]
    public = [name for name in vars(zrm) if not name.startswith("_")]
    assert public == [*functions, *(node.name for node in classes)]
    for node in classes:
        kind = getattr(zrm, node.name)
        bases = [base.id for base in node.bases if isinstance(base, ast.Name)]
        assert kind.__base__.__name__ == (bases or ["pybind11_object"])[0]
        methods = list(dict.fromkeys(entry.name for entry in node.body if isinstance(entry, ast.FunctionDef)))
        bound = [name for name in vars(kind) if not name.startswith("_") or name in ("__init__", "__repr__")]
        assert bound == methods, node.name


def test_only_the_functions_have_docstrings():
    assert {name: getattr(zrm, name).__doc__ for name in FUNCTIONS} == FUNCTIONS
    for kind in CLASSES:
        assert not any(callable(method) and method.__doc__ for method in vars(kind).values())


def test_parameters_have_no_names():
    for call in (lambda: zrm.Node(name="a"), lambda: zrm.Model().save(path="a", version=10), lambda: zrm.Node()):
        with pytest.raises(TypeError, match="Node.__init__|save"):
            call()


NATIVE = {"AnimatedFakeOmniLight": "AnimatedFakeOmniLights", "AnimatedFakeSpotLight": "AnimatedFakeSpotLights"}
INSIDE = {"Model": "", "PBRNode": "EMPTY PBRNode", "GlassNode": "EMPTY PBRNode", "ColorBaseBlock": "BT_Base",
    "EmissiveColorBlock": "BT_Emissive", "GlassFilterBlock": "BT_Glass",
    "PropertyFloat": "_DUMMY_NAME_ = 0.000000;", "PropertyFloat2": "_DUMMY_NAME_ = vec2(0.000000,0.000000);",
    "PropertyFloat3": "_DUMMY_NAME_ = vec3(0.000000,0.000000,0.000000);"}  # fmt: skip


@pytest.mark.parametrize("kind", CLASSES)
def test_repr(kind):
    name = kind.__name__
    if "__repr__" not in vars(kind):
        assert name in ("IBlock", "IRenderNode", "ILight", "FakeOmniLight", "FakeSpotLight")
        return
    inside = INSIDE.get(name, "BT_" + name.removesuffix("Block") if issubclass(kind, zrm.IBlock) else "n")
    assert repr(make(kind)) == f"pyzrm::{NATIVE.get(name, name)}({inside})"
    if issubclass(kind, zrm.IBlock):
        assert make(kind).getTypeName() == inside


def test_repr_of_values_and_built_nodes():
    for value, text in ((zrm.PropertyFloat(5, [(0.0, 2.0)]), "PropertyFloat(_DUMMY_NAME_ = animation(5, 0.000000,2.000000);)"),
        (zrm.PropertyFloat(-1, [(0.0, 2.0)]), "PropertyFloat(_DUMMY_NAME_ = animation(4294967295, 0.000000,2.000000);)"),
        (zrm.PropertyFloat3(5, []), "PropertyFloat3(_DUMMY_NAME_ = animation(5,);)")):  # fmt: skip
        assert repr(value) == "pyzrm::" + text
    node = pbr()
    assert node.getName() == "EMPTY PBRNode"
    model = model_of(node)
    assert (repr(node), node.getName(), model.getName()) == ("pyzrm::PBRNode()", "", "")


def test_switches_know_their_names_only(folder):
    def data():
        assert tame_script(3).model.save("model.zrm", 10) == ""
        return Path("model.zrm").read_bytes()

    optimised = data()
    for wrong in ("mergePropertiesSets", *(name for s in SWITCHES for name in (s.lower(), s[:-1], s + "\0", s + " ")), ""):
        zrm.enable_model_optimization(wrong, False)
    assert data() == optimised
    zrm.enable_model_optimization("mergeNodes", False)
    assert data() != optimised


@pytest.mark.parametrize("content", [None, b"", b"not json"])
def test_dev_mode_is_read_once_and_import_makes_nothing(folder, content):
    module = shutil.copy(zrm.__file__, folder)
    if content is not None:
        (folder / "dev_mode.json").write_bytes(content)
    code = (f"import sys; sys.path.insert(0, {str(folder)!r}); import pyzrm_313 as z, os\n"
        "print(z.__file__, z.dev_mode(), z.get_num_alived_objects())\n"
        "os.remove('dev_mode.json') if z.dev_mode() else open('dev_mode.json', 'w').close()\n"
        "m = z.Model(); print(z.dev_mode(), z.get_num_alived_objects()); del m; print(z.get_num_alived_objects())")
    ran = run_python(code, folder)
    assert ran.stdout.split() == [str(module), str(content is not None), "0", str(content is not None), "2", "0"], ran.stderr
