"""What a script sees of the module: names, order, texts."""

from __future__ import annotations

import shutil
from pathlib import Path

import pytest
import pyzrm_313 as zrm
from module_support import NONE, color_node, hang, mirror_node, model_of, pbr, run_python, save

CLASSES: list[tuple[str, str]] = [
    ("Model", ""), ("Node", ""), ("Transform", "Node"), ("Lod", "Node"), ("NumberRoot", "Node"),
    ("VisibilityNode", "Node"), ("AnimationNode", "Node"), ("IBlock", ""), ("BaseBlock", "IBlock"),
    ("ColorBaseBlock", "IBlock"), ("FlirBlock", "IBlock"), ("DamageBlock", "IBlock"), ("BoneBlock", "IBlock"),
    ("NumberBlock", "IBlock"), ("EmissiveBlock", "IBlock"), ("EmissiveColorBlock", "IBlock"), ("AoBlock", "IBlock"),
    ("DecalBlock", "IBlock"), ("NormalBlock", "IBlock"), ("AormsBlock", "IBlock"), ("GlassFilterBlock", "IBlock"),
    ("IRenderNode", ""), ("FakeOmniLight", ""), ("FakeOmniLights", "IRenderNode"),
    ("AnimatedFakeOmniLight", "FakeOmniLights"), ("FakeSpotLight", ""), ("FakeSpotLights", "IRenderNode"),
    ("AnimatedFakeSpotLight", "FakeSpotLights"), ("SegmentsNode", ""), ("ShellNode", ""), ("Connector", ""),
    ("ILight", ""), ("OmniLight", "ILight"), ("SpotLight", "ILight"), ("Bone", "Node"), ("PropertyFloat", ""),
    ("PropertyFloat2", ""), ("PropertyFloat3", ""), ("PBRNode", "IRenderNode"), ("GlassNode", "PBRNode"),
    ("MirrorNode", "IRenderNode"), ("ColorNode", "IRenderNode"), ("DeckNode", "IRenderNode"),
]  # fmt: skip


def test_names_order_and_bases() -> None:
    names = [name for name in vars(zrm) if not name.startswith("_")]
    assert names == ["get_num_alived_objects", "dev_mode", "enable_model_optimization", *(name for name, _ in CLASSES)]
    for name, base in CLASSES:
        assert getattr(zrm, name).__base__.__name__ == (base or "pybind11_object")


def test_only_the_functions_have_docstrings() -> None:
    assert zrm.get_num_alived_objects.__doc__ == "Returns number of alived objects."
    assert zrm.dev_mode.__doc__ == "Returns if development mode is enabled."
    assert zrm.enable_model_optimization.__doc__ == "Controls which optimizationa will be enabled."
    for name, _ in CLASSES:
        for method in vars(getattr(zrm, name)).values():
            assert not callable(method) or not method.__doc__


def test_methods_in_order() -> None:
    assert [name for name in vars(zrm.SpotLight) if name.startswith("set")] == [
        "setColor", "setBrightness", "setDistance", "setSpecularAmount", "setSoftness", "setPhi", "setTheta",
        "setAngles", "setControlNode",
    ]  # fmt: skip
    bound = [name for name in vars(zrm.PropertyFloat) if not name.startswith("_") or name == "__repr__"]
    assert bound == ["set", "setAnim", "__repr__"]
    assert "getName" in vars(zrm.Bone) and "getName" not in vars(zrm.Transform)
    assert "setTexture" not in vars(zrm.AnimatedFakeOmniLight) and "setControlNode" in vars(zrm.AnimatedFakeOmniLight)


def test_parameters_have_no_names() -> None:
    with pytest.raises(TypeError):
        zrm.Node(name="a")
    with pytest.raises(TypeError):
        zrm.Model().save(path="a", version=10)
    with pytest.raises(TypeError, match="Node.__init__"):
        zrm.Node()


REPRS = {
    "pyzrm::Model()": zrm.Model,
    "pyzrm::Node(n)": lambda: zrm.Node("n"),
    "pyzrm::Transform(n)": lambda: zrm.Transform("n"),
    "pyzrm::Lod(n)": lambda: zrm.Lod("n", []),
    "pyzrm::NumberRoot(n)": lambda: zrm.NumberRoot("n"),
    "pyzrm::VisibilityNode(n)": lambda: zrm.VisibilityNode("n"),
    "pyzrm::AnimationNode(n)": lambda: zrm.AnimationNode("n"),
    "pyzrm::Bone(n)": lambda: zrm.Bone("n"),
    "pyzrm::BaseBlock(BT_Base)": zrm.BaseBlock,
    "pyzrm::ColorBaseBlock(BT_Base)": zrm.ColorBaseBlock,
    "pyzrm::FlirBlock(BT_Flir)": zrm.FlirBlock,
    "pyzrm::DamageBlock(BT_Damage)": zrm.DamageBlock,
    "pyzrm::BoneBlock(BT_Bone)": zrm.BoneBlock,
    "pyzrm::NumberBlock(BT_Number)": zrm.NumberBlock,
    "pyzrm::EmissiveBlock(BT_Emissive)": zrm.EmissiveBlock,
    "pyzrm::EmissiveColorBlock(BT_Emissive)": zrm.EmissiveColorBlock,
    "pyzrm::AoBlock(BT_Ao)": zrm.AoBlock,
    "pyzrm::DecalBlock(BT_Decal)": zrm.DecalBlock,
    "pyzrm::NormalBlock(BT_Normal)": zrm.NormalBlock,
    "pyzrm::AormsBlock(BT_Aorms)": zrm.AormsBlock,
    "pyzrm::GlassFilterBlock(BT_Glass)": zrm.GlassFilterBlock,
    "pyzrm::FakeOmniLights(n)": lambda: zrm.FakeOmniLights("n"),
    "pyzrm::AnimatedFakeOmniLights(n)": lambda: zrm.AnimatedFakeOmniLight("n"),
    "pyzrm::FakeSpotLights(n)": lambda: zrm.FakeSpotLights("n"),
    "pyzrm::AnimatedFakeSpotLights(n)": lambda: zrm.AnimatedFakeSpotLight("n"),
    "pyzrm::SegmentsNode(n)": lambda: zrm.SegmentsNode("n"),
    "pyzrm::ShellNode(n)": lambda: zrm.ShellNode("n"),
    "pyzrm::Connector(n)": lambda: zrm.Connector("n"),
    "pyzrm::OmniLight(n)": lambda: zrm.OmniLight("n"),
    "pyzrm::SpotLight(n)": lambda: zrm.SpotLight("n"),
    "pyzrm::PropertyFloat(_DUMMY_NAME_ = 1.500000;)": lambda: zrm.PropertyFloat(1.5),
    "pyzrm::PropertyFloat(_DUMMY_NAME_ = animation(5, 0.000000,2.000000);)": lambda: zrm.PropertyFloat(5, [(0.0, 2.0)]),
    "pyzrm::PropertyFloat2(_DUMMY_NAME_ = vec2(1.000000,2.000000);)": lambda: zrm.PropertyFloat2((1.0, 2.0)),
    "pyzrm::PropertyFloat3(_DUMMY_NAME_ = vec3(0.000000,0.000000,0.000000);)": zrm.PropertyFloat3,
    "pyzrm::PropertyFloat3(_DUMMY_NAME_ = animation(5,);)": lambda: zrm.PropertyFloat3(5, []),
    "pyzrm::PBRNode(EMPTY PBRNode)": lambda: zrm.PBRNode("n", "m"),
    "pyzrm::GlassNode(EMPTY PBRNode)": lambda: zrm.GlassNode("n", "m"),
    "pyzrm::MirrorNode(n)": lambda: zrm.MirrorNode("n", "m"),
    "pyzrm::ColorNode(n)": lambda: zrm.ColorNode("n", "m"),
    "pyzrm::DeckNode(n)": lambda: zrm.DeckNode("n", "m"),
}  # fmt: skip


@pytest.mark.parametrize("text", REPRS)
def test_repr(text: str) -> None:
    assert repr(REPRS[text]()) == text


def test_repr_of_built_nodes() -> None:
    node = pbr()
    model = model_of(node)
    # A node of blocks has no name, whatever the constructor was given.
    assert repr(node) == "pyzrm::PBRNode()" and node.getName() == ""
    split = zrm.DeckNode("deck", "m")
    assert repr(split) == "pyzrm::DeckNode(deck)"
    assert repr(model) == "pyzrm::Model()"


def test_switches_know_their_names_only(folder: Path) -> None:
    def merged() -> int:
        model = zrm.Model()
        for _ in range(2):
            assert model.addRenderNode(hang(color_node(), model, zrm.Bone("b"))) == ""
        return len(save(model).materials)

    assert merged() == 1
    for wrong in ("mergePropertiesSets", "mergepopertiessets", "mergePopertiesSet", "mergePopertiesSets\0", ""):
        zrm.enable_model_optimization(wrong, False)
    assert merged() == 1
    zrm.enable_model_optimization("mergePopertiesSets", False)
    zrm.enable_model_optimization("mergeNodes", False)
    assert merged() == 2


def test_import_makes_no_objects(folder: Path) -> None:
    ran = run_python(
        "import pyzrm_313 as z\nprint(z.get_num_alived_objects())\nm = z.Model()\nprint(z.get_num_alived_objects())\n"
        "del m\nprint(z.get_num_alived_objects())",
        folder,
    )
    assert ran.stdout.split() == ["0", "2", "0"], ran.stderr


@pytest.mark.parametrize("content", [None, b"", b"not json"])
def test_dev_mode(folder: Path, content: bytes | None) -> None:
    module = shutil.copy(zrm.__file__, folder)
    if content is not None:
        (folder / "dev_mode.json").write_bytes(content)
    code = f"import sys; sys.path.insert(0, {str(folder)!r}); import pyzrm_313 as z; print(z.__file__, z.dev_mode())"
    ran = run_python(code, folder)
    assert ran.stdout.split() == [str(module), str(content is not None)], ran.stderr


def test_dev_mode_is_read_once(folder: Path) -> None:
    shutil.copy(zrm.__file__, folder)
    ran = run_python(
        f"import sys; sys.path.insert(0, {str(folder)!r}); import pyzrm_313 as z\n"
        "open('dev_mode.json', 'w').close(); print(z.dev_mode())",
        folder,
    )
    assert ran.stdout.split() == ["False"], ran.stderr


def test_properties_of_no_argument() -> None:
    for handle in (-1, NONE):
        assert f"({NONE}," in repr(zrm.PropertyFloat(handle, [(0.0, 1.0)]))
    assert mirror_node().hasBlock("BT_Base") is False
