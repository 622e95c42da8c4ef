"""Every method of every class with every kind of wrong argument: an exception or a text, never harm."""

from __future__ import annotations

import itertools
import math
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import hang, pbr, run_python

CLASSES = [kind for kind in vars(zrm).values() if isinstance(kind, type)]
METHODS = [(kind, name) for kind in CLASSES for name in dir(kind) if not name.startswith("_")] + [
    (kind, "__repr__") for kind in CLASSES if "__repr__" in vars(kind)
]
CONSTRUCTORS: dict[type, tuple[Any, ...]] = {
    zrm.Lod: ("n", [1.0]),
    **dict.fromkeys([zrm.PBRNode, zrm.GlassNode, zrm.MirrorNode, zrm.ColorNode, zrm.DeckNode], ("n", "m")),
}


def make(kind: type) -> Any:
    """An object of a class, made as its constructor wants it."""
    if kind in CONSTRUCTORS:
        return kind(*CONSTRUCTORS[kind])
    try:
        return kind()
    except TypeError:
        return kind("n")


def bare(kind: type) -> Any:
    """An object whose constructor never ran."""
    return kind.__new__(kind)


class Hostile:
    """Answers every conversion with something else than it should."""

    def __init__(self, answer: Callable[[], Any]) -> None:
        self.answer = answer

    def __float__(self) -> Any:
        return self.answer()

    def __index__(self) -> Any:
        return self.answer()

    def __len__(self) -> Any:
        return self.answer()

    def __getitem__(self, index: Any) -> Any:
        return self.answer()

    def __bool__(self) -> Any:
        return self.answer()


class Boastful(list):
    """A sequence that claims to be far longer than memory."""

    def __len__(self) -> int:
        return 2**62


def fail() -> Any:
    raise ZeroDivisionError


def values() -> Iterator[Any]:
    """One of each kind of argument, sound ones among them, so that later parameters are reached too."""
    yield from (None, True, 0, -1, 2**31, 2**32, -(2**63), 2**64, 10**400, 0.0, -0.5, math.nan, math.inf, 1e300, 1j)
    yield from ("", "x", "BT_Base", "\0", "\ud800", b"\xff", bytearray(b"a"), object(), Ellipsis, int, fail)
    yield from ([], (), {}, set(), [None], [[]], [()], "abc", [1.0], [math.nan] * 4, [-1], [2**32], range(5))
    yield from ((1.0, 2.0), (1.0, 2.0, 3.0), (1.0,) * 4, (math.inf,) * 6, [(1.0,) * 4] * 4, [(1.0,) * 4] * 3)
    yield from ([(0, [(0.0, 1.0)])], [(0, [(math.nan, 1.0), (math.nan, 0.0)])], [(0, [(0.0, (1.0, 2.0, 3.0))])])
    yield from ([(0, [(0.0, (1.0,) * 4)])], [((0.0,) * 3, (math.nan,) * 3)], [(0.0, 1.0), (-math.inf, math.nan)])
    yield from (np.zeros(0, np.float32), np.zeros((2, 3), np.float32), np.zeros((), np.float32), np.array(["a"]))
    yield from (np.array([1.0, math.nan]), np.zeros(3, complex), np.array([None]), np.float32(1.0), np.int64(2))
    yield from (np.zeros(3, "datetime64[s]"), np.zeros(4, [("a", "f4")]), memoryview(b"abcd"))
    for answer in (fail, lambda: None, lambda: "x", lambda: 2**62, lambda: -1, lambda: 1.0):
        yield Hostile(answer)
    yield Boastful([1.0, 2.0])
    yield (item for item in [1.0, None])
    for kind in CLASSES:
        yield make(kind)
        yield bare(kind)
        yield [bare(kind)]
    subclass = type("Sub", (zrm.Node,), {"__init__": lambda self: None})
    yield bare(subclass)
    for base in (zrm.IBlock, zrm.IRenderNode, zrm.ILight):
        yield type("Sub", (base,), {})()
    yield type("Both", (zrm.Bone, zrm.OmniLight), {"__init__": lambda self: None}).__new__(
        type("Both", (zrm.Bone, zrm.OmniLight), {})
    )


EXPECTED = (TypeError, ValueError, IndexError, RuntimeError, MemoryError, UnicodeDecodeError, ZeroDivisionError, OverflowError)  # fmt: skip


def call(function: Callable[..., Any], *arguments: Any) -> type[Exception] | None:
    try:
        function(*arguments)
    except EXPECTED as failure:
        return type(failure)
    return None


def sweep() -> int:
    """All methods and constructors with up to four arguments of one kind, and with mixed ones."""
    calls = 0
    arguments = list(values())
    for kind, name in METHODS:
        method = getattr(kind, name)
        if name == "save":
            continue
        target = make(kind)
        for value in arguments:
            call(method, value)
            for count in (1, 2, 3, 4):
                call(method, target, *[value] * count)
                calls += 1
    for kind in CLASSES:
        for value in arguments:
            call(kind, value)
            call(kind.__init__, value, value)
            for other in ("n", 3, [], value):
                call(kind, other, value)
                call(kind, other, value, value)
                call(kind.__init__, bare(kind), other, value)
                calls += 4
    return calls


def test_everything_wrong(folder: Path) -> None:
    """In a process of its own, since what it looks for is a crash."""
    ran = run_python("import test_wrong_input as t\nprint(t.sweep() > 50_000)", folder)
    assert (ran.returncode, ran.stdout.strip()) == (0, "True"), ran.stderr


@pytest.mark.parametrize(("kind", "name"), METHODS)
def test_wrong_self(kind: type, name: str) -> None:
    method = getattr(kind, name)
    arguments = ("x",) * 4
    foreign: list[Any] = [None, 1, "x", object(), bare(kind), kind]
    foreign += [make(other) for other in CLASSES if not issubclass(other, kind) and not hasattr(other, name)]
    for wrong in foreign:
        for count in range(5):
            assert call(method, wrong, *arguments[:count]) is TypeError


@pytest.mark.parametrize("kind", CLASSES)
def test_objects_that_were_not_constructed(kind: type) -> None:
    """Wherever the class is taken, alone or in a list."""
    model, node = zrm.Model(), pbr()
    takers: dict[type, list[Callable[[Any], Any]]] = {
        zrm.Node: [zrm.Node("a").addChild, node.setControlNode, zrm.OmniLight("l").setControlNode,
                   zrm.ShellNode("s").setControlNode],
        zrm.Bone: [lambda bone: zrm.BoneBlock().setBones([zrm.Bone("b"), bone])],
        zrm.IBlock: [node.addBlock],
        zrm.IRenderNode: [model.addRenderNode],
        zrm.ILight: [model.addLight],
        zrm.SegmentsNode: [model.addSegmentsNode],
        zrm.ShellNode: [model.addShellNode],
        zrm.Connector: [model.addConnector],
        zrm.PropertyFloat: [zrm.OmniLight("l").setBrightness, node.setOpacityValue],
        zrm.PropertyFloat2: [zrm.BaseBlock().setAlbedoMapUVShift],
        zrm.PropertyFloat3: [zrm.OmniLight("l").setColor],
        zrm.FakeOmniLight: [lambda light: zrm.FakeOmniLights("f").set([zrm.FakeOmniLight(), light])],
        zrm.FakeSpotLight: [lambda light: zrm.FakeSpotLights("f").set([light])],
    }  # fmt: skip
    for base, calls in takers.items():
        if issubclass(kind, base):
            for take in calls:
                with pytest.raises(TypeError, match="__init__"):
                    take(bare(kind))
                with pytest.raises(TypeError):
                    take(None) if take != node.addBlock else fail_with_type_error()


def fail_with_type_error() -> None:
    raise TypeError


def test_construction_is_once_and_of_the_very_class() -> None:
    node = zrm.Node("first")
    node.__init__("second")
    assert node.getName() == "first"
    for kind, derived in itertools.product(CLASSES, CLASSES):
        if kind is not derived and issubclass(derived, kind):
            for target in (bare(derived), make(derived)):
                for arguments in ((), ("x",), ("x", "y")):
                    with pytest.raises(TypeError):
                        kind.__init__(target, *arguments)


def test_construction_from_within_a_conversion() -> None:
    class Again:
        def __float__(self) -> float:
            value.__init__(2.0)
            return 1.0

    value = bare(zrm.PropertyFloat)
    value.__init__(Again())
    assert "2.000000" in repr(value)


def test_self_is_unusable_while_it_is_constructed() -> None:
    class Peeks:
        def __float__(self) -> float:
            value.set(1.0)
            return 1.0

    value = bare(zrm.PropertyFloat)
    with pytest.raises(TypeError):
        value.__init__(Peeks())


def test_changed_classes() -> None:
    """Python lets a script give an object another class of the same layout."""
    node = zrm.Node("n")
    try:
        node.__class__ = zrm.Transform
    except TypeError:
        return
    with pytest.raises(TypeError, match="not made as a Transform"):
        node.setMatrix([(1.0, 0.0, 0.0, 0.0)] * 4)
    with pytest.raises(TypeError):
        repr(node)


def test_lists_that_change_while_they_are_read() -> None:
    class Shrinks:
        def __float__(self) -> float:
            numbers.clear()
            return 1.0

    numbers: list[Any] = [1.0, Shrinks(), *range(1000)]
    shell = zrm.ShellNode("s")
    call(shell.setPositions, numbers)
    shell.setPositions([1.0])


def test_several_bases(folder: Path) -> None:
    class Both(zrm.Bone, zrm.OmniLight):
        def __init__(self) -> None:
            zrm.Bone.__init__(self, "bone")
            zrm.OmniLight.__init__(self, "light")

    both, model = Both(), zrm.Model()
    model.getRootTransform().addChild(both)
    both.setBrightness(zrm.PropertyFloat(1.0))
    zrm.OmniLight.setControlNode(both, both)
    model.addLight(both)
    assert model.save("model.zrm", 10) == ""

    class Half(zrm.Bone, zrm.OmniLight):
        def __init__(self) -> None:
            zrm.Bone.__init__(self, "bone")

    with pytest.raises(TypeError, match="__init__"):
        Half()
    half = bare(Half)
    zrm.Bone.__init__(half, "bone")
    with pytest.raises(TypeError, match="__init__"):
        model.addLight(half)


def test_base_objects_and_subclasses(folder: Path) -> None:
    class Mesh(zrm.IRenderNode):
        def build(self) -> str:
            return "never called"

    class Light(zrm.ILight):
        pass

    class Block(zrm.IBlock):
        pass

    model = zrm.Model()
    assert model.addRenderNode(Mesh()) == "" and model.addRenderNode(zrm.IRenderNode()) == ""
    with pytest.raises(ValueError):
        model.addLight(Light())
    for block in (Block(), zrm.IBlock()):
        with pytest.raises(RuntimeError, match="^Calling pure virtual function.$"):
            pbr(block)

    class Painted(zrm.PBRNode):
        pass

    class Place(zrm.Node):
        pass

    painted = Painted("n", "m")
    assert model.addRenderNode(hang(painted, model, Place("p"))).startswith("Material m must have")
    assert model.save("model.zrm", 10) == ""
