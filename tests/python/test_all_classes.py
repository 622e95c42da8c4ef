"""A file with every class, optional field and version, of which scripts reach only a part, read back field by field.

tests/cpp/writer/all_classes.cpp builds the model; its numbers stand here once more.
"""

from __future__ import annotations

import os
import subprocess
from dataclasses import fields, is_dataclass
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313
import zrm_inspect
from module_support import NONE
from zrm_inspect import ZrmFile
from zrm_inspect.model import Property, RenderNode

BUILDS = (Path(pyzrm_313.__file__).absolute().parents[1], Path(__file__).resolve().parents[2] / "build/release")
WRITERS = [path for build in BUILDS if (path := build / "tests/test_writer").is_file()]
TRANSFORM, BONE, ANIMATED_BONE = 1, 2, 3
FULL, PLAIN, BILLBOARD, DECAL, EMPTY = range(5)
NO_BOX = [[3.4028234663852886e38] * 3, [-3.4028234663852886e38] * 3]
VERSION = "model::Property<unsigned int>", "__VERSION__"


@pytest.fixture(scope="module")
def file(tmp_path_factory: pytest.TempPathFactory) -> ZrmFile:
    if not WRITERS:
        pytest.skip("the C++ tests are not built: no tests/test_writer beside the module or in build/release")
    folder = tmp_path_factory.mktemp("all_classes")
    subprocess.run(
        [WRITERS[0], "--gtest_filter=AllClasses.ReachTheFile"],
        cwd=folder,
        env=os.environ | {"ZRM_ALL_CLASSES_FILE": "all.zrm"},
        check=True,
        stdout=subprocess.DEVNULL,
    )
    return zrm_inspect.read_file(folder / "all.zrm")


def content(value: Any) -> Any:
    """A record as plain data, without its place in the file; properties as tuples of type, name and value."""
    if isinstance(value, np.ndarray) and value.dtype.names:
        return [tuple(content(row[name]) for name in value.dtype.names) for row in value]
    if isinstance(value, (np.ndarray, np.generic)):
        return value.tolist()
    if is_dataclass(value):
        found = {field.name: content(getattr(value, field.name)) for field in fields(value) if field.name != "offset"}
        return tuple(found.values()) if isinstance(value, Property) else found
    if isinstance(value, list):
        return [content(entry) for entry in value]
    if isinstance(value, dict):
        return {key: content(entry) for key, entry in value.items()}
    return value


def counting(first: float) -> list[list[float]]:
    return [[first + 4 * row + column for column in range(4)] for row in range(4)]


def number(name: str, value: float) -> tuple[Any, ...]:
    return ("model::Property<float>", name, value)


def driven_number(name: str, argument: int) -> tuple[Any, ...]:
    return ("model::AnimatedProperty<float>", name, argument, [(0.25, [1.0]), (0.5, [2.0])])


def driven_vector(name: str, argument: int) -> tuple[Any, ...]:
    return ("model::AnimatedProperty<osg::Vec3f>", name, argument, [(0.0, [1.0, 2.0, 3.0]), (1.0, [4.0, 5.0, 6.0])])


STATIC = [
    number("float", 0.5),
    ("model::Property<unsigned int>", "uint", 0xFFFFFFFE),
    ("model::Property<osg::Vec2f>", "vec2", (1.0, 2.0)),
    ("model::Property<osg::Vec3f>", "vec3", (1.0, 2.0, 3.0)),
    ("model::Property<osg::Vec4f>", "vec4", (1.0, 2.0, 3.0, 4.0)),
    ("model::Property<const char*>", "string", "Text"),
]
ANIMATED = [
    driven_number("animated float", 30),
    ("model::ArgumentProperty", "argument", 31),
    ("model::AnimatedProperty<osg::Vec2f>", "animated vec2", 32, [(0.5, [7.0, 8.0])]),
    driven_vector("animated vec3", 33),
    ("model::AnimatedProperty<osg::Vec4f>", "animated vec4", 34, [(2.0, [1.0, 2.0, 3.0, 4.0])]),
]

# ---------------------------------------------------------------- root and tree


def test_root(file: ZrmFile) -> None:
    root = content(file.root)
    del root["materials"]
    assert root == {
        "type_name": "model::RootNode",
        "name": "model",
        "properties": [number("weight", 12.5), (*VERSION, 3)],
        "version": 3,
        "bounding_box": [[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]],
        "user_box": [[7.0, 8.0, 9.0], [10.0, 11.0, 12.0]],
        "light_box": NO_BOX,
        "handle_count": 35,
    }
    assert file.warnings == [] and len(file.nodes) == len(TREE)


ANIMATION = {
    "matrix": counting(600),
    "base_position": [1.0, 2.0, 3.0],
    "base_rotation": [4.0, 5.0, 6.0, 7.0],
    "base_scale_rotation": [8.0, 9.0, 10.0, 11.0],
    "base_scale": [12.0, 13.0, 14.0],
    "position_channels": [{"argument": 4, "keys": [(0.25, [1.0, 2.0, 3.0]), (0.75, [4.0, 5.0, 6.0])]}],
    "rotation_channels": [{"argument": 5, "keys": [(0.5, [1.0, 2.0, 3.0, 4.0])]}, {"argument": 6, "keys": []}],
    "scale_channels": [
        {
            "argument": 7,
            "rotation_keys": [(0.25, [5.0, 6.0, 7.0, 8.0])],
            "keys": [(0.5, [9.0, 10.0, 11.0]), (1.0, [12.0, 13.0, 14.0])],
        }
    ],
}
STILL = {
    "matrix": np.eye(4).tolist(),
    "base_position": [0.0] * 3,
    "base_rotation": [0.0, 0.0, 0.0, 1.0],
    "base_scale_rotation": [0.0, 0.0, 0.0, 1.0],
    "base_scale": [1.0] * 3,
    "position_channels": [],
    "rotation_channels": [],
    "scale_channels": [],
}
POSITIONS = [{"argument": 1, "keys": []}, {"argument": 2, "keys": [(0.5, [1.0, 2.0, 3.0])]}]
ROTATIONS = [{"argument": 3, "keys": [(0.5, [1.0, 2.0, 3.0, 4.0])]}]
BILLBOARD_FIELDS = {
    "properties": [(*VERSION, 1)], "mode": 2, "axis_mode": 3, "matrix": counting(500), "axis": [1.0, 2.0, 3.0],
}  # fmt: skip
RANGES = [{"argument": 8, "ranges": [[0.25, 0.5], [2.0, 3.0]]}, {"argument": NONE, "ranges": [[0.0, 1.0]]}]

# Class, name, parent, what it has beyond that; properties are none unless given.
TREE: list[tuple[str, str, int, dict[str, Any]]] = [
    ("Node", "root", -1, {"properties": [STATIC[0], ANIMATED[0], *STATIC[1:], *ANIMATED[1:]]}),
    ("TransformNode", "transform", 0, {"matrix": counting(100)}),
    ("Bone", "bone", TRANSFORM, {"matrix": counting(200), "inverted_base_bone_matrix": counting(300)}),
    ("ArgAnimatedBone", "animated bone", BONE, {**ANIMATION, "inverted_base_bone_matrix": counting(400)}),
    ("ArgAnimationNode", "animation", 0, ANIMATION),
    ("ArgPositionNode", "positions", 0, {**STILL, "position_channels": POSITIONS}),
    ("ArgRotationNode", "rotations", 0, {**STILL, "rotation_channels": ROTATIONS}),
    ("ArgScaleNode", "nothing", 0, STILL),
    ("BillboardNode", "billboard", 0, BILLBOARD_FIELDS),
    ("ArgVisibilityNode", "visibility", 0, {"arguments": RANGES}),
    ("LodNode", "lod", 0, {"levels": [[0.0, 100.0], [100.0, 400.0]]}),
    ("TmpNumberRoot", "number root", 0, {}),
]


@pytest.mark.parametrize("index", range(len(TREE)), ids=[name for _, name, _, _ in TREE])
def test_tree_node(file: ZrmFile, index: int) -> None:
    kind, name, parent, more = TREE[index]
    head = {"index": index, "type_name": f"model::{kind}", "name": name, "properties": [], "parent": parent}
    assert content(file.nodes[index]) == head | more


# ---------------------------------------------------------------- materials and meshes

FORMAT = [4, 0, 0, 0, 2, *[0] * 22]
TEXTURE = {"texture_index": NONE, "sampler": (2, 2, 10, 6), "transform": np.eye(4).tolist()}
MATERIAL = {
    "blending": 0, "depth_bias": 0, "vertex_format": FORMAT, "channels": [-1] * 13, "material_name": "", "name": "",
    "casts_shadow": True, "shadow_flag2": False, "textures": {}, "uniforms": [], "animated_uniforms": [],
    "billboard": None, "decal_id": 0,
}  # fmt: skip


def test_materials(file: ZrmFile) -> None:
    materials = [content(material) for material in file.materials]
    assert materials[FULL] == {
        "blending": 2,
        "depth_bias": 1,
        "vertex_format": FORMAT,
        "channels": [0, -1, 1, -1, 2, -1, 3, -1, 4, -1, 5, -1, 6],
        "material_name": "Kind",
        "name": "full",
        "casts_shadow": False,
        "shadow_flag2": True,
        "textures": {
            0: {"texture_index": 12, "name": "albedo.png", "sampler": (1, 3, 9, 7), "transform": counting(700)},
            13: TEXTURE | {"name": "kept"},
            18: TEXTURE | {"name": "last"},
        },
        "uniforms": STATIC,
        "animated_uniforms": ANIMATED,
        "billboard": (3, 4),
        "decal_id": 77,
    }
    assert materials[PLAIN:] == [
        MATERIAL | {"name": "plain"},
        MATERIAL | {"name": "billboard", "billboard": (0, 6)},
        MATERIAL | {"name": "decal", "decal_id": 1},
        MATERIAL | {"vertex_format": [0] * 27},
    ]


def mesh(fourth: float = 0.0) -> dict[str, Any]:
    vertices = [[0.0 + i, 10.0 + i, 20.0 + i, fourth, 30.0 + i, 40.0 + i] for i in range(3)]
    return {"vertices": vertices, "vertex_format": FORMAT, "indices": [0, 1, 2], "primitive_type": 5}


def head(kind: str, name: str, version: int = 0) -> dict[str, Any]:
    properties = [(*VERSION, version)] if version else []
    return {"type_name": f"model::{kind}", "name": name, "properties": properties, "version": version}


def render_node(name: str, material: int = PLAIN, version: int = 0, kind: str = "RenderNode", **more: Any) -> dict[str, Any]:
    plain = {"material": material, "parents": [[0, NONE]], "mesh": mesh(), "purpose": 0, "pivots": []}
    return head(kind, name, version) | plain | more


NOTHING = {"vertices": [], "vertex_format": [0] * 27, "indices": [], "primitive_type": 1}
NUMBERS: dict[str, Any] = {
    "kind": "NumberNode",
    "parents": [[0, 11], [TRANSFORM, NONE]],
    "numbers": [[(12, 0.5, NONE, 2.0), (NONE, 3.0, 13, 0.25)], []],
}
# Bytes 0, 1, 0, 1 as a float.
BENT = mesh(np.array([0x01000100], np.uint32).view(np.float32)[0].item())
BOX = [[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]]


def skin(name: str, version: int, **more: Any) -> dict[str, Any]:
    plain = {"material": PLAIN, "bones": [BONE, ANIMATED_BONE], "argument": NONE, "skin_box": None, "pivots": [], "mesh": BENT}
    return head("SkinNode", name, version) | plain | more


OMNI = ([1.0, 2.0, 3.0], [4.0, 5.0], [6.0, 7.0], 8.0)
OMNIS = [(*OMNI, 0), (*OMNI, 1)]
BACK = ([9.0, 10.0], [11.0, 12.0])
SPOTS = [(*OMNI, 0, *BACK, 0), (*OMNI, 1, *BACK, 1)]
SAMPLES = {"argument": 15, "samples": [[(128 * light + k) / 2 for k in range(128)] for light in range(2)]}


def omni(kind: str, name: str, animation: Any) -> dict[str, Any]:
    return head(kind, name) | {"material": PLAIN, "controls": [0, TRANSFORM], "lights": OMNIS, "animation": animation}


def spot(kind: str, name: str, version: int, animation: Any) -> dict[str, Any]:
    return head(kind, name, version) | {
        "material": PLAIN,
        "controls": [0, TRANSFORM],
        "control_directions": [[1.0, 0.0, 0.0], [0.0, 1.0, 0.0]],
        "lights": SPOTS,
        "directions": [[0.0, 0.0, 1.0], [0.0, 0.0, -1.0]] if version == 2 else None,
        "animation": animation,
    }


# The two large meshes are tested apart.
RENDER_NODES: list[dict[str, Any] | None] = [
    render_node("version 0", FULL, parents=[[TRANSFORM, 9]]),
    render_node("version 1", version=1, purpose=1),
    render_node("version 2", version=2, pivots=[[float(k), 1.0, 2.0] for k in range(6)]),
    render_node("purpose and pivot", BILLBOARD, 2, purpose=1, pivots=[[4.0, 5.0, 6.0]]),
    render_node("two parts", DECAL, parents=[[TRANSFORM, 10], [0, NONE]]),
    render_node("no parts", EMPTY, parents=[], mesh=NOTHING),
    None,
    None,
    render_node("numbers", **NUMBERS),
    render_node("numbers and pivot", version=2, pivots=[[7.0, 8.0, 9.0]], **NUMBERS),
    skin("skin", 0, argument=14),
    skin("skin with box", 1, skin_box=BOX),
    skin("skin with box and pivot", 2, skin_box=BOX, pivots=[[1.0, 2.0, 3.0]]),
    skin("skin with pivot", 2, skin_box=NO_BOX, pivots=[[1.0, 2.0, 3.0]]),
    omni("FakeOmniLightsNode", "omni", None),
    omni("AnimatedFakeOmniLightsNode", "animated omni", SAMPLES),
    spot("FakeSpotLightsNode", "spot", 1, None),
    spot("AnimatedFakeSpotLightsNode", "animated spot", 1, SAMPLES),
    spot("FakeSpotLightsNode", "spot", 2, None),
    spot("AnimatedFakeSpotLightsNode", "animated spot", 2, SAMPLES),
    head("FakeSpotLights3Node", "spot 3")
    | {"material": PLAIN, "controls": [TRANSFORM, 0], "mesh": mesh() | {"indices": [], "primitive_type": 0}},
]


@pytest.mark.parametrize("index", range(len(RENDER_NODES)))
def test_render_node(file: ZrmFile, index: int) -> None:
    assert len(file.render_nodes) == len(RENDER_NODES)
    if (expected := RENDER_NODES[index]) is not None:
        assert content(file.render_nodes[index]) == expected


@pytest.mark.parametrize(("name", "count", "width"), [("version 0", 3, 1), ("words", 257, 2), ("double words", 65537, 4)])
def test_index_widths(file: ZrmFile, name: str, count: int, width: int) -> None:
    (node,) = [node for node in file.render_nodes if node.name == name]
    assert isinstance(node, RenderNode)
    found = node.mesh
    assert found.indices.itemsize == width and found.indices.tolist() == [0, 1, count - 1]
    steps = np.arange(count, dtype=np.float32)[:, None]
    assert np.array_equal(found.vertices, steps * [1, 1, 1, 0, 1, 1] + [0, 10, 20, 0, 30, 40])


# ---------------------------------------------------------------- shells, lights, connectors

SHELL_SKIN = {"bones": [ANIMATED_BONE, BONE], "mesh": mesh()}
SEGMENTS = [[[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]], [[7.0, 8.0, 9.0], [10.0, 11.0, 12.0]]]
SHELLS = [
    head("ShellNode", "shell") | {"control": TRANSFORM, "mesh": mesh()},
    head("SegmentsNode", "segments") | {"control": TRANSFORM, "segments": SEGMENTS},
    head("ShellSkinNode", "shell skin") | SHELL_SKIN | {"argument": NONE, "skin_box": None},
    head("ShellSkinNode", "shell skin with box") | SHELL_SKIN | {"argument": 16, "skin_box": BOX},
]
SETTINGS = {
    "control": TRANSFORM,
    "color": ("model::Property<osg::Vec3f>", "color", (0.0, 0.0, 0.0)),
    "brightness": number("brightness", 0.0),
    "phi": number("phi", 0.0),
    "theta": number("theta", 0.0),
    "distance": number("distance", 0.0),
    "specular_amount": number("specularAmount", 1.0),
    "softness": number("softness", 0.0),
    "volume": None,
    "texture": None,
}


def volume(radius: Any, density: Any, near: Any, kind: int) -> dict[str, Any]:
    factors = {"radius_factor": number(*radius), "density_factor": number(*density), "near_distance": number(*near)}
    return factors | {"volume_type": kind}


LIGHTS = [
    head("LightNode", "defaults", 2) | SETTINGS | {"light_type": 0},
    head("LightNode", "textured", 2)
    | SETTINGS
    | {"light_type": 1, "texture": TEXTURE | {"name": "beam.png", "sampler": (4, 5, 6, 7)}},
    head("LightNode", "volume", 3)
    | {
        "control": TRANSFORM,
        "light_type": 1,
        "color": driven_vector("hue", 17),
        "brightness": driven_number("power", 18),
        "phi": number("outer", 1.0),
        "theta": driven_number("inner", 19),
        "distance": number("reach", 2.0),
        "specular_amount": number("shine", 3.0),
        "softness": number("soft", 4.0),
        "volume": volume(("radius", 5.0), ("density", 6.0), ("near", 7.0), 2),
        "texture": TEXTURE | {"name": "beam.png"},
    },
    head("LightNode", "volume of a type", 3)
    | SETTINGS
    | {"light_type": 0, "volume": volume(("radiusFactor", 0.0), ("densityFactor", 1.0), ("nearDistance", 0.0), 5)},
]
CONNECTORS = [
    # The first one's version is a property of its own, the second one's is its version in the place of that property.
    head("Connector", name, version) | {"properties": [(*VERSION, version), number("mass", 2.0)], "control": TRANSFORM}
    for name, version in (("hook", 1), ("versioned", 4))
]


def test_what_hangs_on_the_tree(file: ZrmFile) -> None:
    assert content(file.shell_nodes) == SHELLS
    assert content(file.light_nodes) == LIGHTS
    assert content(file.connectors) == CONNECTORS
