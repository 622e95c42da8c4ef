"""A file with every class and property, also of those that no script makes; scripted.py has all that one makes.

The numbers of a record differ, so that two fields in each other's place show.
"""

import struct

import numpy as np

from .record_bytes import NONE, UINT

TRANSFORM, BONE, ANIMATED_BONE = 1, 2, 3
FULL, PLAIN, EMPTY = range(3)
LARGEST = 3.4028234663852886e38
NO_BOX = [[LARGEST] * 3, [-LARGEST] * 3]
BOX = [[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]]
IDENTITY = np.eye(4).tolist()
FORMAT = [4, 0, 0, 0, 2, *[0] * 22]


counting = lambda first: [[float(first + 4 * row + column) for column in range(4)] for row in range(4)]
number = lambda name, value: ("model::Property<float>", name, value)
driven_number = lambda name, argument: ("model::AnimatedProperty<float>", name, argument, [(0.25, [1.0]), (0.5, [2.0])])


def driven_vector(name, argument):
    return ("model::AnimatedProperty<osg::Vec3f>", name, argument, [(0.0, [1.0, 2.0, 3.0]), (1.0, [4.0, 5.0, 6.0])])


def head(kind, name="", version=0, **fields):
    """A record outside the tree; its version is a property as well."""
    properties = [(UINT, "__VERSION__", version)] if version else []
    return {"type_name": f"model::{kind}", "name": name, "properties": properties, "version": version} | fields


STATIC = [number("float", 0.5),
    (UINT, "uint", 0xFFFFFFFE), ("model::Property<osg::Vec2f>", "vec2", (1.0, 2.0)),
    ("model::Property<osg::Vec3f>", "vec3", (1.0, 2.0, 3.0)), ("model::Property<osg::Vec4f>", "vec4", (1.0, 2.0, 3.0, 4.0)),
    ("model::Property<const char*>", "string", "Text")]  # fmt: skip
ANIMATED = [driven_number("animated float", 30),
    ("model::ArgumentProperty", "argument", 31),
    ("model::AnimatedProperty<osg::Vec2f>", "animated vec2", 32, [(0.5, [7.0, 8.0])]), driven_vector("animated vec3", 33),
    ("model::AnimatedProperty<osg::Vec4f>", "animated vec4", 34, [(2.0, [1.0, 2.0, 3.0, 4.0])])]  # fmt: skip

# ---------------------------------------------------------------- the tree

STILL = {"matrix": IDENTITY, "base_position": [0.0] * 3, "base_rotation": [0.0, 0.0, 0.0, 1.0],
    "base_scale_rotation": [0.0, 0.0, 0.0, 1.0], "base_scale": [1.0] * 3,
    "position_channels": [], "rotation_channels": [], "scale_channels": []}  # fmt: skip
MOVING = {"matrix": counting(600), "base_position": [1.0, 2.0, 3.0], "base_rotation": [4.0, 5.0, 6.0, 7.0],
    "base_scale_rotation": [8.0, 9.0, 10.0, 11.0], "base_scale": [12.0, 13.0, 14.0],
    "position_channels": [{"argument": 4, "keys": [(0.25, [1.0, 2.0, 3.0]), (0.75, [4.0, 5.0, 6.0])]}],
    "rotation_channels": [{"argument": 5, "keys": [(0.5, [1.0, 2.0, 3.0, 4.0])]}, {"argument": 6, "keys": []}],
    "scale_channels": [{
        "argument": 7, "rotation_keys": [(0.25, [5.0, 6.0, 7.0, 8.0])],
        "keys": [(0.5, [9.0, 10.0, 11.0]), (1.0, [12.0, 13.0, 14.0])]}]}  # fmt: skip
POSITIONS = [{"argument": 1, "keys": []}, {"argument": 2, "keys": [(0.5, [1.0, 2.0, 3.0])]}]
ROTATIONS = [{"argument": 3, "keys": [(0.5, [1.0, 2.0, 3.0, 4.0])]}]
RANGES = [{"argument": 8, "ranges": [[0.25, 0.5], [2.0, 3.0]]}, {"argument": NONE, "ranges": [[0.0, 1.0]]}]


def tree_node(kind, name="", parent=-1, **fields):
    plain = {"index": 0, "type_name": f"model::{kind}", "name": name, "properties": [], "parent": parent}
    return plain | fields


numbered = lambda nodes: [node | {"index": index} for index, node in enumerate(nodes)]


TREE = numbered([tree_node("Node", "root", properties=[STATIC[0], ANIMATED[0], *STATIC[1:], *ANIMATED[1:]]),
    tree_node("TransformNode", "transform", 0, matrix=counting(100)),
    tree_node("Bone", "bone", TRANSFORM, matrix=counting(200), inverted_base_bone_matrix=counting(300)),
    tree_node("ArgAnimatedBone", "animated bone", BONE, **MOVING, inverted_base_bone_matrix=counting(400)),
    tree_node("ArgAnimationNode", "animation", 0, **MOVING),
    tree_node("ArgPositionNode", "positions", 0, **STILL | {"position_channels": POSITIONS}),
    tree_node("ArgRotationNode", "rotations", 0, **STILL | {"rotation_channels": ROTATIONS}),
    tree_node("ArgScaleNode", "nothing", 0, **STILL),
    tree_node("BillboardNode", "billboard", 0, properties=[(UINT, "__VERSION__", 1)], mode=2, axis_mode=3,
              matrix=counting(500), axis=[1.0, 2.0, 3.0]), tree_node("ArgVisibilityNode", "visibility", 0, conditions=RANGES),
    tree_node("LodNode", "lod", 0, levels=[[0.0, 100.0], [100.0, 400.0]]), tree_node("TmpNumberRoot", "number root", 0)])  # fmt: skip

# ---------------------------------------------------------------- materials and meshes

TEXTURE = {"texture_index": NONE, "name": "", "sampler": (2, 2, 10, 6), "transform": IDENTITY}
MATERIAL = {"blending": 0, "depth_bias": 0, "vertex_format": FORMAT, "channels": [-1] * 13, "material_name": "", "name": "",
    "casts_shadow": True, "shadow_flag2": False, "textures": {}, "uniforms": [], "animated_uniforms": [],
    "billboard": None, "decal_id": 0}  # fmt: skip
MATERIALS = [
    MATERIAL | {
        "blending": 2, "depth_bias": 1, "channels": [0, -1, 1, -1, 2, -1, 3, -1, 4, -1, 5, -1, 6],
        "material_name": "Kind", "name": "full", "casts_shadow": False, "shadow_flag2": True,
        "textures": {0: {"texture_index": 12, "name": "albedo.png", "sampler": (1, 3, 9, 7), "transform": counting(700)},
                     18: TEXTURE | {"name": "last"}},
        "uniforms": STATIC, "animated_uniforms": ANIMATED, "billboard": (3, 4), "decal_id": 77},
    MATERIAL | {"name": "plain"}, MATERIAL | {"name": "empty", "vertex_format": [0] * 27}]  # fmt: skip


def mesh(fourth=0.0, count=3):
    steps = np.arange(count, dtype=np.float32)[:, None] * [1, 1, 1, 0, 1, 1]
    vertices = (steps + np.array([0, 10, 20, fourth, 30, 40], np.float32)).astype(np.float32).tolist()
    return {"vertices": vertices, "vertex_format": FORMAT, "indices": [0, 1, count - 1], "primitive_type": 5}


def render_node(name, material=PLAIN, version=0, kind="RenderNode", **more):
    plain = {"material": material, "parents": [[0, NONE]], "mesh": mesh(), "purpose": 0, "pivots": []}
    return head(kind, name, version) | plain | more


NOTHING = {"vertices": [], "vertex_format": [0] * 27, "indices": [], "primitive_type": 1}
NUMBERS = {"kind": "NumberNode", "parents": [[0, 11], [TRANSFORM, NONE]],
    "numbers": [[(12, 0.5, NONE, 2.0), (NONE, 3.0, 13, 0.25)], []]}  # fmt: skip
BENT = mesh(struct.unpack("<f", bytes([0, 1, 0, 1]))[0])


def skin(name, version, **more):
    plain = {"material": PLAIN, "bones": [BONE, ANIMATED_BONE], "argument": NONE, "skin_box": None, "pivots": [], "mesh": BENT}
    return head("SkinNode", name, version) | plain | more


OMNI = ([1.0, 2.0, 3.0], [4.0, 5.0], [6.0, 7.0], 8.0)
BACK = ([9.0, 10.0], [11.0, 12.0])
SAMPLES = {"argument": 15, "samples": [[(128 * light + k) / 2 for k in range(128)] for light in range(2)]}


SPRITES = [(*OMNI, 0, *BACK, 0), (*OMNI, 1, *BACK, 1)]
FAKE = {"material": PLAIN, "controls": [0, TRANSFORM]}
SPOT = FAKE | {"control_directions": [[1.0, 0.0, 0.0], [0.0, 1.0, 0.0]], "lights": SPRITES, "directions": None}
DIRECTIONS = [[0.0, 0.0, 1.0], [0.0, 0.0, -1.0]]

RENDER_NODES = [render_node("one part", FULL, parents=[[TRANSFORM, 9]]), render_node("purpose", version=1, purpose=1),
    render_node("pivots", version=2, pivots=[[float(k), 1.0, 2.0] for k in range(6)]),
    render_node("two parts", parents=[[TRANSFORM, 10], [0, NONE]]), render_node("no parts", EMPTY, parents=[], mesh=NOTHING),
    render_node("numbers and pivot", version=2, pivots=[[7.0, 8.0, 9.0]], **NUMBERS), skin("skin", 0, argument=14),
    skin("skin with box and pivot", 2, skin_box=BOX, pivots=[[1.0, 2.0, 3.0]]),
    head("AnimatedFakeOmniLightsNode", "omni", **FAKE, lights=[light[:5] for light in SPRITES], animation=SAMPLES),
    head("FakeSpotLightsNode", "spot", 1, **SPOT, animation=None),
    head("AnimatedFakeSpotLightsNode", "spot", 2, **SPOT | {"directions": DIRECTIONS}, animation=SAMPLES),
    head("FakeSpotLights3Node", "spot 3", **FAKE, mesh=mesh() | {"indices": [], "primitive_type": 0}),
    render_node("words", mesh=mesh(count=257))]  # fmt: skip

# ---------------------------------------------------------------- shells, lights, connectors

SEGMENTS = [[[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]], [[7.0, 8.0, 9.0], [10.0, 11.0, 12.0]]]
SHELL_SKIN = {"bones": [ANIMATED_BONE, BONE], "mesh": mesh()}
SHELLS = [head("ShellNode", "shell", control=TRANSFORM, mesh=mesh()),
    head("SegmentsNode", "segments", control=TRANSFORM, segments=SEGMENTS),
    head("ShellSkinNode", "shell skin", argument=NONE, skin_box=None, **SHELL_SKIN),
    head("ShellSkinNode", "shell skin with box", argument=16, skin_box=BOX, **SHELL_SKIN)]  # fmt: skip


def light(name, light_type, version=2, **more):
    return head("LightNode", name, version) | {
        "control": TRANSFORM, "light_type": light_type, "color": ("model::Property<osg::Vec3f>", "color", (0.0,) * 3),
        "brightness": number("brightness", 0.0), "phi": number("phi", 0.0), "theta": number("theta", 0.0),
        "distance": number("distance", 0.0), "specular_amount": number("specularAmount", 1.0),
        "softness": number("softness", 0.0), "volume": None, "texture": None} | more  # fmt: skip


LIGHTS = [light("textured", 0, texture=TEXTURE | {"name": "beam.png", "sampler": (4, 5, 6, 7)}),
    light("volume", 1, 3, color=driven_vector("hue", 17), brightness=driven_number("power", 18),
          phi=number("outer", 1.0), theta=driven_number("inner", 19), distance=number("reach", 2.0),
          specular_amount=number("shine", 3.0), softness=number("soft", 4.0), volume={
              "radius_factor": number("radius", 5.0), "density_factor": number("density", 6.0),
              "near_distance": number("near", 7.0), "volume_type": 2})]  # fmt: skip
# A property that a script named "__VERSION__" has no say in a connector's record.
CONNECTOR = head("Connector", "hook", control=TRANSFORM) | {"properties": [number("__VERSION__", 7.0)]}


def root(materials, handles=0, **more):
    boxes = dict.fromkeys(("bounding_box", "user_box", "light_box"), NO_BOX)
    return head("RootNode", version=3, materials=materials, handle_count=handles) | boxes | more


EVERY_RECORD = {"root": root(MATERIALS, 35, name="model", properties=[number("weight", 12.5), (UINT, "__VERSION__", 3)],
                 bounding_box=BOX, user_box=[[7.0, 8.0, 9.0], [10.0, 11.0, 12.0]]), "nodes": TREE, "connectors": [CONNECTOR],
    "shell_nodes": SHELLS, "light_nodes": LIGHTS, "render_nodes": RENDER_NODES}  # fmt: skip

# The smallest file: a model as it is made. Put together by hand.
EMPTY_MODEL = bytes.fromhex("5a524d 0a00 46000000"
    + (b"model::RootNode\0model::Property<unsigned int>\0__VERSION__\0model::Node\0").hex()
    + "0000000000000000"  # reserved
    + "00000000 00000000 00000000"  # the root's type, no name, reserved
    + "01000000 01000000 02000000 03000000"  # one property: "__VERSION__" = 3
    + ("000000e0ffffef47" * 3 + "000000e0ffffefc7" * 3) * 3  # three boxes that aren't set
    + "00000000 00000000 00000000"  # no materials, reserved, no handles
    + "01000000 03000000 04000000 726f6f74 00000000 00000000"  # one node, "root", without properties
    + "ffffffff 00000000"  # it has no parent; no sections
)  # fmt: skip
