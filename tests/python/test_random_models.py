"""Models made of random calls, sound and unsound, saved: a file that reads back, a text or an exception."""

from __future__ import annotations

import math
import random
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pyzrm_313 as zrm
import zrm_inspect
from module_support import INDICES, NORMALS, POSITIONS, SWITCHES, UV, run_python
from test_whole_model import build_everything
from test_wrong_input import EXPECTED


class Source:
    """Random arguments; most are what a careful script would pass."""

    def __init__(self, seed: int) -> None:
        self.random = random.Random(seed)

    def choose(self, *choices: Any) -> Any:
        return self.random.choice(choices)

    def number(self) -> float:
        odd = (math.nan, math.inf, -math.inf, 1e30, 1e-30, -1.0)
        return self.random.choice(odd) if self.random.random() < 0.02 else self.random.uniform(-2.0, 3.0)

    def numbers(self, count: int) -> tuple[float, ...]:
        return tuple(self.number() for _ in range(count))

    def whole(self) -> int:
        return self.random.choice((-1, 0, 1, 2, 3, 4, 5, 6, 7, 41, 2**32 - 1))

    def array(self, sound: list[float]) -> Any:
        kind = self.random.random()
        if kind < 0.7:
            return np.array(sound, np.float32)
        if kind < 0.8:
            return [self.number() for _ in sound]
        return [self.number() for _ in range(self.random.randrange(14))]

    def indices(self) -> list[int]:
        if self.random.random() < 0.7:
            return INDICES
        return [self.random.choice((0, 1, 2, 3, 3, 2, 1, 0, 4, 2**32 - 1)) for _ in range(self.random.randrange(9))]

    def name(self) -> str:
        return self.random.choice(("", "a", "b", "c" * 5000, "ä", "x\0y"))

    def keys(self, width: int = 0) -> list[Any]:
        count = self.random.randrange(5)
        return [(self.number(), self.numbers(width) if width else self.number()) for _ in range(count)]

    def channels(self, width: int = 0) -> list[Any]:
        return [(self.choose(0, 1, self.whole()), self.keys(width)) for _ in range(self.random.randrange(3))]


def argument_makers(s: Source, pool: list[Any]) -> dict[str, Callable[[], tuple[Any, ...]]]:
    """For each method the arguments that it takes; by name, as names mean the same everywhere."""

    def some(kind: type) -> Any:
        return s.random.choice([facade for facade in pool if isinstance(facade, kind)])

    def value(width: int = 1) -> Any:
        kind = {1: zrm.PropertyFloat, 2: zrm.PropertyFloat2, 3: zrm.PropertyFloat3}[width]
        return kind(s.whole(), s.keys(0 if width == 1 else width)) if s.random.random() < 0.5 else some(kind)

    def matrix() -> list[tuple[float, ...]]:
        return [s.numbers(4) for _ in range(4)]

    makers: dict[str, Callable[[], tuple[Any, ...]]] = {
        "addChild": lambda: (some(zrm.Node),),
        "setControlNode": lambda: (some(zrm.Node),),
        "addBlock": lambda: (some(zrm.IBlock),),
        "setBones": lambda: ([some(zrm.Bone) for _ in range(s.random.randrange(4))],),
        "setIndices": lambda: (s.indices(),),
        "setPositions": lambda: (s.array(POSITIONS),),
        "setNormals": lambda: (s.array(NORMALS),),
        "setPerVertexArguments": lambda: (s.array([1.0, 1.0, 1.0, 2.0]),),
        "setBoneWeights": lambda: ([1.0, 0.0, 0.0, 0.0] * s.random.randrange(3, 6),),
        "setBoneIndices": lambda: ([s.random.randrange(6) for _ in range(4 * s.random.randrange(3, 6))],),
        "setUVParams": lambda: (s.whole(), s.number(), s.whole(), s.number()),
        "setArguments": lambda: (s.channels(),),
        "setLightsAnimation": lambda: ([(i, s.keys()) for i in range(s.random.randrange(3))],),
        "setPositionAnimation": lambda: (s.channels(3),),
        "setRotationAnimation": lambda: (s.channels(4),),
        "setScaleAnimation": lambda: (s.channels(3),),
        "setControls": lambda: ([s.numbers(4)],),
        "setBasePosition": lambda: (s.numbers(3),),
        "setBaseRotation": lambda: (s.numbers(4),),
        "setBaseScale": lambda: (s.numbers(3),),
        "addTransparentPivot": lambda: (s.numbers(3),),
        "setAngles": lambda: (value(), value()),
        "setPropertyFloat": lambda: (s.name(), s.number()),
        "setPropertyString": lambda: (s.name(), s.name()),
        "setDirection": lambda: (s.numbers(3),),
        "setPos": lambda: (s.numbers(3),),
        "setConeSetup": lambda: (s.numbers(3),),
    }
    for name in ("setMatrix", "setBaseMatrix", "setInvertedBaseBoneMatrix"):
        makers[name] = lambda: (matrix(),)
    for name in ("setUV", "setBackUV"):
        makers[name] = lambda: (s.numbers(2), s.numbers(2))
    for name in ("setSkinBox", "setBBox", "setUserBox", "setLightBox"):
        makers[name] = lambda: (s.choose(s.numbers(6), (0.0, 0.0, 0.0, 1.0, 1.0, 1.0)),)
    for name in ("setShadowCaster", "setTransparentMode", "setDecalId", "setGlassType", "setEmissiveType", "setArgument",
                 "setAoAnimationArgument", "setVolumeType"):  # fmt: skip
        makers[name] = lambda: (s.whole(),)
    for name in ("setTwoSided", "setInstrumental", "setBackSide"):
        makers[name] = lambda: (s.choose(True, False),)
    for name in ("setSize", "setMinSizeInPixels", "setMaxDistance", "setShiftToCamera", "setAnimationArg"):
        makers[name] = lambda: (s.number(),)

    def others(facade: Any, name: str) -> tuple[Any, ...]:
        if name == "set":
            if isinstance(facade, zrm.SegmentsNode):
                return ([(s.numbers(3), s.numbers(3)) for _ in range(3)],)
            kind = zrm.FakeOmniLight if isinstance(facade, zrm.FakeOmniLights) else zrm.FakeSpotLight
            return ([some(kind) for _ in range(s.random.randrange(3))],)
        if name == "setColor":
            return s.numbers(3) if isinstance(facade, zrm.ColorNode) else (value(3),)
        if name.endswith(("UV", "Coordinates")):
            return (s.array(UV),)
        if name.endswith("Shift"):
            return (value(2),)
        if name.endswith(("Map", "Mask", "RGBA", "Texture")):
            return (s.name(),)
        return (value(),) if name.startswith(("set", "add")) else ()

    return {"": lambda: (others,), **makers}


def random_call(s: Source, pool: list[Any], model: zrm.Model) -> None:
    facade = s.random.choice([*pool, model])
    names = [name for name in dir(facade) if name.startswith(("set", "add")) and name != "setAnim"]
    if isinstance(facade, zrm.PropertyFloat | zrm.PropertyFloat2 | zrm.PropertyFloat3) or not names:
        return
    name = s.random.choice(names)
    makers = argument_makers(s, pool)
    kinds = {
        "addRenderNode": zrm.IRenderNode, "addSegmentsNode": zrm.SegmentsNode, "addShellNode": zrm.ShellNode,
        "addConnector": zrm.Connector, "addLight": zrm.ILight,
    }  # fmt: skip
    try:
        if name in kinds:
            added = s.random.choice([thing for thing in pool if isinstance(thing, kinds[name])])
            getattr(facade, name)(added)
        elif name in makers:
            getattr(facade, name)(*makers[name]())
        else:
            (others,) = makers[""]()
            getattr(facade, name)(*others(facade, name))
    except EXPECTED:
        pass


def build_pool() -> tuple[list[Any], zrm.Model]:
    """A model of everything, and what it was made of, blocks and values included."""
    pool: list[Any] = []
    model = build_everything(pool)
    for mesh in list(pool):
        if isinstance(mesh, zrm.PBRNode):
            for name in ("Base", "Normal", "Flir", "Damage", "Aorms", "Bone", "Emissive", "Ao", "Decal", "Glass", "Number"):
                if mesh.hasBlock("BT_" + name):
                    pool.append(mesh.getBlock("BT_" + name))
    pool += [zrm.PropertyFloat(0.5), zrm.PropertyFloat2((0.5, 0.5)), zrm.PropertyFloat3((0.1, 0.2, 0.3))]
    pool += [zrm.FakeOmniLight(), zrm.FakeSpotLight(), model.getRootTransform(), zrm.Model().getRootTransform()]
    return pool, model


def run(seeds: range) -> tuple[int, int]:
    """Saves a model for each seed; how many reached a file that could be read, and how many were refused."""
    saved = refused = 0
    for seed in seeds:
        print(seed, flush=True)
        s = Source(seed)
        pool, model = build_pool()
        for name in SWITCHES:
            zrm.enable_model_optimization(name, s.random.random() < 0.7)
        for _ in range(s.random.randrange(60)):
            random_call(s, pool, model)
        for _ in range(2):
            try:
                text = model.save("random.zrm", 10)
            except EXPECTED:
                text = "raised"
            if text:
                refused += 1
                continue
            try:
                zrm_inspect.read_file("random.zrm")
            except zrm_inspect.ZrmError as failure:
                raise AssertionError(f"seed {seed}: {failure}") from failure
            saved += 1
    return saved, refused


def test_random_models(folder: Path) -> None:
    code = "import test_random_models as t\nsaved, refused = t.run(range(150))\nassert saved > 40 and refused > 40, (saved, refused)"
    ran = run_python(code, folder)
    assert ran.returncode == 0, f"after seed {ran.stdout.split()[-1:]}: {ran.stderr[-3000:]}"
