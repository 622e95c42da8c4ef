"""Every method of every class with every kind of wrong argument: an exception or a text, never harm."""

import itertools
import math

import numpy as np
import pytest
import pyzrm_313 as zrm
from support.quick import hang, outcome, pbr
from support.process import run_python

CLASSES = [kind for kind in vars(zrm).values() if isinstance(kind, type)]
METHODS = [(kind, name) for kind in CLASSES for name in dir(kind) if not name.startswith("_") and name != "save"] + [
    (kind, "__repr__") for kind in CLASSES if "__repr__" in vars(kind)]  # fmt: skip
EXPECTED = (TypeError, ValueError, IndexError, RuntimeError, MemoryError, UnicodeDecodeError, ZeroDivisionError, OverflowError)  # fmt: skip


def make(kind):
    """An object of a class, made as its constructor wants it."""
    for arguments in ((), ("n",), ("n", "m"), ("n", [1.0])):
        try:
            return kind(*arguments)
        except TypeError:
            pass
    raise AssertionError(kind)


def bare(kind):
    """An object whose constructor never ran."""
    return kind.__new__(kind)


class Hostile:
    """Answers every conversion with something else than it should."""

    def __init__(self, answer):
        self.answer = answer

    def __getitem__(self, index):
        return self.answer()

    __float__ = __index__ = __len__ = __bool__ = __array__ = __fspath__ = lambda self, *more: self.answer()


class Shifty(list):
    """A list that tells another length than it has, or changes while it tells."""

    def __init__(self, items, tell):
        super().__init__(items)
        self.tell = tell

    def __len__(self):
        return self.tell(self)


def fail(*arguments):
    raise ZeroDivisionError


def values():
    """One of each kind of argument, sound ones among them, so that later parameters are reached too."""
    yield from (None, True, 0, -1, 2**31, 2**32, -(2**63), 2**64, 10**400, 0.0, -0.5, math.nan, math.inf, 1e300, 1j)
    yield from ("", "x", "BT_Base", "\0", "\ud800", b"\xff", bytearray(b"a"), object(), Ellipsis, int, fail)
    yield from ([], (), {}, set(), [None], [[]], [()], "abc", [1.0], [math.nan] * 4, [-1], [2**32], range(5))
    yield from ((1.0, 2.0), (1.0, 2.0, 3.0), (1.0,) * 4, (math.inf,) * 6, [(1.0,) * 4] * 4, [(1.0,) * 4] * 3)
    yield from ([(0, [(0.0, 1.0)])], [(0, [(math.nan, 1.0), (math.nan, 0.0)])], [(0, [(0.0, (1.0, 2.0, 3.0))])])
    yield from ([(0, [(0.0, (1.0,) * 4)])], [((0.0,) * 3, (math.nan,) * 3)], [(0.0, 1.0), (-math.inf, math.nan)])
    yield from (np.zeros(0, np.float32), np.zeros((2, 3), np.float32), np.zeros((), np.float32), np.array(["a"]))
    yield from (np.array([1.0, math.nan]), np.zeros(3, complex), np.array([None]), np.float32(1.0), np.int64(2))
    yield from (np.zeros(3, "datetime64[s]"), np.zeros(4, [("a", "f4")]), memoryview(b"abcd"), (item for item in [1.0, None]))
    yield from (Hostile(answer) for answer in (fail, *(lambda *more, give=give: give for give in (None, "x", 2**62, -1, 1.0))))
    tells = [*(lambda items, give=give: give for give in (2**62, -1, 3, 0)), fail]
    tells += [lambda items: (list.__len__(items), items.clear())[0], lambda items: (items.append(1.0), list.__len__(items))[1]]
    for tell, items in itertools.product(tells, ([1.0] * 3, [(0, Shifty([(0.0, 1.0)], tells[5]))], [make(zrm.Bone)], [(1.0,) * 4] * 4)):
        yield Shifty(items, tell)
    clearing = [1.0, *range(1000)]
    clearing[1] = Hostile(lambda *more: (clearing.clear(), 1.0)[1])
    yield clearing
    for kind in CLASSES:
        yield from (make(kind), bare(kind), [bare(kind)], [make(kind), None])
    for base in (zrm.IBlock, zrm.IRenderNode, zrm.ILight):
        yield type("Sub", (base,), {})()
    for bases in ((zrm.Node,), (zrm.Bone, zrm.OmniLight)):
        yield bare(type("Sub", bases, {"__init__": lambda self: None}))


def call(function, *arguments):
    try:
        function(*arguments)
    except EXPECTED as failure:
        return type(failure)
    return None


def sweep(part, parts):
    """All methods and constructors with up to four arguments of one kind, and with mixed ones. Names each that it begins."""
    calls = 0
    for kind, name in METHODS[part::parts]:
        print(kind.__name__, name, flush=True)
        method, target = getattr(kind, name), make(kind)
        owner = next(base for base in kind.__mro__ if name in vars(base))
        if name == "addTransparentPivot":  # reads nothing before the node is built
            target = pbr(kind=kind)
            model = zrm.Model()
            assert model.addRenderNode(hang(target, model)) == ""
        for value in values():
            assert call(method, value) is TypeError or isinstance(value, owner), f"{kind} {name} of {value!r:.99}"
            calls += sum(call(method, target, *[value] * count) is not fail for count in (1, 2, 3, 4))
    for kind in CLASSES[part::parts]:
        print(kind.__name__, "__init__", flush=True)
        for value in values():
            for other in ("n", 3, [], value):
                for arguments in ((value,), (other, value), (other, value, value)):
                    call(kind, *arguments)
                    call(kind.__init__, bare(kind), *arguments)
                    calls += 2
    return calls


@pytest.mark.parametrize("part", range(2))
def test_everything_wrong(folder, part):
    """In a process of its own, since what it looks for is a crash; the last line says where it was."""
    ran = run_python(f"from bindings.test_uncrashable import sweep\nprint(sweep({part}, 2) > 25_000)", folder)
    last = ran.stdout.splitlines()[-1:]
    assert (ran.returncode, last) == (0, ["True"]), f"in {last}: {ran.stderr[-3000:]}"


WRONG_ITEMS = [  # a call, what it gets, the place that its text names
    (zrm.AnimationNode("a").setPositionAnimation,
     [(0, [])] * 3 + [(0, [(0.0, (1.0, 2.0, 3.0))] * 17 + [(0.0, (1.0, 2.0))])], "entry 3, key 17"),
    (zrm.AnimationNode("a").setRotationAnimation, [(0, [(0.0, (1.0,) * 4)] * 5 + [(0.0, (1.0,) * 3)])], "entry 0, key 5"),
    (zrm.VisibilityNode("v").setArguments, [(0, [])] * 7 + [(1, [(0.0, 1.0), ("x", 1.0)])], "entry 7, key 1"),
    (lambda keys: zrm.PropertyFloat(3, keys, False), [(0.0, 1.0)] * 40_000 + [(0.0, None)], "40000"),
    (zrm.SegmentsNode("s").set, [((0.0,) * 3, (0.0,) * 3)] * 1000 + [((0.0,) * 3, (0.0,) * 2)], "entry 1000"),
    (zrm.DeckNode("d", "m").setPositions, [0.0] * 5000 + ["x"], "entry 5000"),
    (zrm.ShellNode("s").setIndices, [0] * 5000 + [-1], "entry 5000")]  # fmt: skip


@pytest.mark.parametrize(("method", "argument", "place"), WRONG_ITEMS)
def test_a_wrong_item_is_named(method, argument, place):
    """Among thousands: the text is short and tells where it is."""
    with pytest.raises(TypeError) as caught:
        method(argument)
    assert len(text := str(caught.value)) < 300 and place in text, text[:500]


@pytest.mark.parametrize(("kind", "take"), [
    (zrm.Bone, zrm.Node("a").addChild), (zrm.Bone, lambda bone: zrm.BoneBlock().setBones([zrm.Bone("b"), bone])),
    (zrm.DeckNode, zrm.Model().addRenderNode), (zrm.SpotLight, zrm.Model().addLight), (zrm.AoBlock, pbr().addBlock),
    (zrm.ShellNode, zrm.Model().addShellNode), (zrm.PropertyFloat3, zrm.OmniLight("l").setColor)])  # fmt: skip
def test_objects_that_were_not_constructed(kind, take):
    with pytest.raises(TypeError, match="__init__"):
        take(bare(kind))
    if kind is not zrm.AoBlock:  # no block is ignored
        assert outcome(take, None) is outcome(take, zrm.Model()) is TypeError


WRONG_ARRAYS = [(np.zeros((4, 3), np.float32), IndexError, "index 4 is out of bounds for axis 0 with size 4"),
    (np.zeros((1, 12), np.float32), IndexError, "index 1 is out of bounds for axis 0 with size 1"),
    (np.float32(1.0), IndexError, "too many indices for an array"),
    (None, IndexError, "too many indices"),  # NumPy makes a number of it
    ("abc", TypeError, "setPositions|setNormals"), ([object()], TypeError, "setPositions|setNormals"),
    ([[1.0], [1.0, 2.0]], TypeError, "setPositions|setNormals")]  # fmt: skip


@pytest.mark.parametrize(("wrong", "failure", "text"), WRONG_ARRAYS)
def test_wrong_arrays_store_nothing(wrong, failure, text):
    node = zrm.ColorNode("n", "m")
    for setter in (node.setPositions, node.setNormals):
        with pytest.raises(failure, match=text):
            setter(wrong)
    node.setNormals(np.zeros((0, 3), np.float32))
    assert zrm.Model().addRenderNode(node) == "Vetex attribute POSITION0 isn't set."


def test_construction_is_once_and_of_the_very_class():
    node = zrm.Node("first")
    node.__init__("second")
    assert node.getName() == "first"
    for kind, derived in itertools.product(CLASSES, CLASSES):
        if kind is not derived and issubclass(derived, kind):
            for target, arguments in itertools.product((bare(derived), make(derived)), ((), ("x",), ("x", "y"))):
                with pytest.raises(TypeError):
                    kind.__init__(target, *arguments)


def test_construction_and_conversion_in_each_other():
    class Again:
        def __init__(self, act):
            self.act = act

        def __float__(self):
            self.act()
            return 1.0

    value = bare(zrm.PropertyFloat)
    value.__init__(Again(lambda: value.__init__(2.0)))
    assert "2.000000" in repr(value)
    unmade = bare(zrm.PropertyFloat)
    with pytest.raises(TypeError):
        unmade.__init__(Again(lambda: unmade.set(1.0)))


def test_changed_classes():
    """Python may let a script give an object another class of the same layout; then no call takes it."""
    node = zrm.Node("n")
    changed = outcome(setattr, node, "__class__", zrm.Transform)
    assert changed in (None, TypeError)
    assert type(node) is (zrm.Node if changed else zrm.Transform)
    with pytest.raises(AttributeError if changed else TypeError):
        node.setMatrix([(1.0, 0.0, 0.0, 0.0)] * 4)


def test_several_bases(folder):
    class Both(zrm.Bone, zrm.OmniLight):
        def __init__(self, also_light):
            zrm.Bone.__init__(self, "bone")
            if also_light:
                zrm.OmniLight.__init__(self, "light")

    both, model = Both(True), zrm.Model()
    model.getRootTransform().addChild(both)
    both.setBrightness(zrm.PropertyFloat(1.0))
    zrm.OmniLight.setControlNode(both, both)
    model.addLight(both)
    assert model.save("model.zrm", 10) == ""
    with pytest.raises(TypeError, match="__init__"):
        Both(False)
    half = bare(Both)
    zrm.Bone.__init__(half, "bone")
    with pytest.raises(TypeError, match="__init__"):
        model.addLight(half)


def test_base_objects_and_subclasses(folder):
    class Mesh(zrm.IRenderNode):
        def build(self):
            return "never called"

    model, light = zrm.Model(), zrm.ILight()
    assert model.addRenderNode(Mesh()) == "" and model.addRenderNode(zrm.IRenderNode()) == ""
    value = zrm.PropertyFloat(0.5)
    for method, argument in ((model.addLight, light), (model.addLight, type("Light", (zrm.ILight,), {})()),
                             (light.setVolumeRadiusFactor, value), (light.setVolumeDensityFactor, value),
                             (light.setVolumeNearDistance, value), (light.setVolumeType, 1)):  # fmt: skip
        with pytest.raises(ValueError):
            method(argument)
    for block in (type("Block", (zrm.IBlock,), {})(), zrm.IBlock()):
        for call_it in (block.getTypeName, lambda block=block: zrm.PBRNode("n", "m").addBlock(block)):
            with pytest.raises(RuntimeError, match="^Calling pure virtual function.$"):
                call_it()
    painted = type("Painted", (zrm.PBRNode,), {})("n", "m")
    assert model.addRenderNode(hang(painted, model, type("Place", (zrm.Node,), {})("p"))).startswith("Material m must have")
    assert model.save("model.zrm", 10) == ""
