"""The format: every record of a file of version 10, field by field, in the order of the bytes.

This table is what reads a file, writes one back, and is printed in the documentation. It was written from the format's
description and shares nothing with the module that writes the files.

A file is: "ZRM", u16 version, u32 size of the string table, the strings with a NUL behind each, a reserved u64, ROOT, u32
number of tree nodes and as many TREE_NODE, the u32 number of each node's parent, u32 number of sections, and the SECTIONS that
aren't empty: name, u32 count, records.
"""

from __future__ import annotations

from typing import Any

import numpy as np

from . import model
from .blocks import VERTEX_FORMAT, Directions, ForEachParent, MeshBlock, OptionalBox, Samples
from .kinds import (
    Argument,
    Array,
    Constant,
    Counted,
    Flagged,
    Floats,
    Kind,
    Layout,
    List,
    Number,
    RawName,
    Rows,
    String,
    Tagged,
    When,
)
from .named import Materials, NamedFields, TextureName, TextureSlots
from .references import Bones, ControlRows, MaterialIndex, NumberRows, Parents, TreeIndex, TreeIndices, Version

U8, U32 = Number(1), Number(4)
STRING, NAME = String(), RawName()
MATRIX = Array("<f8", 4, 4)
VECTOR, QUATERNION = Array("<f8", 3), Array("<f8", 4)
BOX, SKIN_BOX = Array("<f8", 2, 3), Array("<f4", 2, 3)


def vector_keys(value: str, width: int) -> Rows:
    return Rows("keys", [("time", "<f8"), ("value", value, (width,))])


def at_least(version: int, kind: Kind, absent: Any = None) -> When:
    """A field that records of this version and above have."""
    return When(lambda values: bool(values["version"] >= version), kind, absent)


# ---------------------------------------------------------------- properties

_STATIC = {
    "float": Floats(1),
    "unsigned int": U32,
    "osg::Vec2f": Floats(2),
    "osg::Vec3f": Floats(3),
    "osg::Vec4f": Floats(4),
    "const char*": STRING,
}
_ANIMATED = {"float": 1, "osg::Vec2f": 2, "osg::Vec3f": 3, "osg::Vec4f": 4}
STATIC_LAYOUTS = {
    f"model::Property<{name}>": Layout(model.StaticProperty, name=STRING, value=kind) for name, kind in _STATIC.items()
}
ANIMATED_LAYOUTS = {
    "model::ArgumentProperty": Layout(model.ArgumentProperty, name=STRING, argument=Argument()),
    **{
        f"model::AnimatedProperty<{name}>": Layout(
            model.AnimatedProperty, name=STRING, argument=Argument(), keys=vector_keys("<f4", width)
        )
        for name, width in _ANIMATED.items()
    },
}
PROPERTY = Tagged("a property", STATIC_LAYOUTS | ANIMATED_LAYOUTS)
PROPERTIES = List("properties", PROPERTY)
FLOAT_PROPERTY = Tagged("a volume setting", {"model::Property<float>": STATIC_LAYOUTS["model::Property<float>"]})


def record(cls: type[model.BaseNode], *versions: int, **fields: Kind) -> Layout:
    """A record outside the tree: behind its type the head, then these fields. Versions are 0 and 1 ... as given, or any."""
    head: dict[str, Kind] = {"name": NAME, "_reserved": Constant("reserved word of a record"), "properties": PROPERTIES}
    return Layout(cls, **head, version=Version(versions), **fields)


# ---------------------------------------------------------------- materials

TEXTURE = Layout(
    model.Texture,
    texture_index=U32,
    name=TextureName(),
    sampler=Array("<u4", 4),
    transform=Array("<f4", 4, 4),
)
MATERIAL = NamedFields(
    model.Material,
    ("BLENDING", "blending", U8),
    ("DEPTH_BIAS", "depth_bias", Number(4, "depth bias", (0, 1))),
    ("VERTEX_FORMAT", "vertex_format", VERTEX_FORMAT),
    ("TEXTURE_COORDINATES_CHANNELS", "channels", Counted("channels", "<i4", 13)),
    ("MATERIAL_NAME", "material_name", STRING),
    ("NAME", "name", STRING),
    ("SHADOWS", "shadows", Number(1, "shadow bits", (0, 1, 4, 5))),
    ("TEXTURES", "textures", TextureSlots(TEXTURE)),
    ("UNIFORMS", "uniforms", List("uniforms", Tagged("a property among the static uniforms", STATIC_LAYOUTS))),
    (
        "ANIMATED_UNIFORMS",
        "animated_uniforms",
        List("animated uniforms", Tagged("a property among the animated uniforms", ANIMATED_LAYOUTS)),
    ),
    optional=(("BILLBOARD", "billboard", Array("u1", 2)), ("DECAL", "decal", Number(1, "decal id", tuple(range(1, 256))))),
)
ROOT = Tagged(
    "the root",
    {
        "model::RootNode": record(
            model.Root,
            3,
            bounding_box=BOX,
            user_box=BOX,
            light_box=BOX,
            materials=Materials(MATERIAL),
            _reserved2=Constant("second reserved word of the root"),
            handle_count=U32,
        )
    },
)

# ---------------------------------------------------------------- the tree


def tree_node(cls: type[model.Node], **fields: Kind) -> Layout:
    head: dict[str, Kind] = {"name": NAME, "_reserved": Constant("reserved word of a record"), "properties": PROPERTIES}
    return Layout(cls, **head, **fields)


VECTOR_KEYS, ROTATION_KEYS = vector_keys("<f8", 3), vector_keys("<f8", 4)
MOTION: dict[str, Kind] = {
    "matrix": MATRIX,
    "base_position": VECTOR,
    "base_rotation": QUATERNION,
    "base_scale_rotation": QUATERNION,
    "base_scale": VECTOR,
    "position_channels": List(
        "position channels", Layout(model.VectorChannel, argument=Argument("a position channel"), keys=VECTOR_KEYS)
    ),
    "rotation_channels": List(
        "rotation channels", Layout(model.RotationChannel, argument=Argument("a rotation channel"), keys=ROTATION_KEYS)
    ),
    "scale_channels": List(
        "scale channels",
        Layout(
            model.ScaleChannel, argument=Argument("a scale channel"), rotation_keys=ROTATION_KEYS, keys=VECTOR_KEYS
        ),
    ),
}
CONDITION = Layout(model.VisibilityArgument, argument=Argument(), ranges=Rows("ranges", "<f8", 2))
ANIMATION = tree_node(model.ArgAnimationNode, **MOTION)
TREE_NODE = Tagged(
    "a tree node",
    {
        "model::Node": tree_node(model.Node),
        "model::TmpNumberRoot": tree_node(model.Node),
        "model::TransformNode": tree_node(model.TransformNode, matrix=MATRIX),
        "model::Bone": tree_node(model.BoneNode, matrix=MATRIX, inverted_base_bone_matrix=MATRIX),
        "model::ArgAnimationNode": ANIMATION,
        "model::ArgPositionNode": ANIMATION,
        "model::ArgRotationNode": ANIMATION,
        "model::ArgScaleNode": ANIMATION,
        "model::ArgAnimatedBone": tree_node(model.ArgAnimatedBone, **MOTION, inverted_base_bone_matrix=MATRIX),
        "model::BillboardNode": tree_node(model.BillboardNode, mode=U8, axis_mode=U8, matrix=MATRIX, axis=VECTOR),
        "model::ArgVisibilityNode": tree_node(
            model.ArgVisibilityNode, conditions=List("visibility arguments", CONDITION)
        ),
        "model::LodNode": tree_node(model.LodNode, levels=Rows("levels", "<f8", 2)),
    },
)

# ---------------------------------------------------------------- what hangs on the tree

CONTROL = TreeIndex("control node")
PIVOTS = Rows("pivots", "<f4", 3, limit=6)
NO_PIVOTS = np.zeros((0, 3), np.float32)

CONNECTORS = {"model::Connector": record(model.Connector, control=CONTROL, _reserved2=Constant("reserved word of a connector"))}
SHELL_NODES = {
    "model::ShellNode": record(model.ShellNode, control=CONTROL, mesh=MeshBlock(own_format=True)),
    "model::ShellSkinNode": record(  # shells don't take part in the count of handles: their argument is a plain number
        model.ShellSkinNode, bones=Bones(), argument=U32, skin_box=OptionalBox(), mesh=MeshBlock(own_format=True)
    ),
    "model::SegmentsNode": record(model.SegmentsNode, control=CONTROL, segments=Rows("segments", "<f4", 2, 3)),
}
LIGHT_NODES = {
    "model::LightNode": record(
        model.LightNode,
        2,
        3,
        control=CONTROL,
        light_type=Number(1, "light type", (0, 1)),
        _count=Constant("number of light properties", "count", lambda values: 10 if values["version"] >= 3 else 7),
        color=PROPERTY,
        brightness=PROPERTY,
        phi=PROPERTY,
        theta=PROPERTY,
        distance=PROPERTY,
        specular_amount=PROPERTY,
        softness=PROPERTY,
        volume=at_least(
            3,
            Layout(
                model.LightVolume,
                radius_factor=FLOAT_PROPERTY,
                density_factor=FLOAT_PROPERTY,
                near_distance=FLOAT_PROPERTY,
                volume_type=U8,
            ),
        ),
        texture=Flagged("texture mark", TEXTURE),
    )
}
DRAWN: dict[str, Kind] = {
    "material": MaterialIndex(),
    "parents": Parents(),
    "mesh": MeshBlock(),
    "purpose": at_least(1, Number(4, "purpose", (0, 1)), 0),
    "pivots": at_least(2, PIVOTS, NO_PIVOTS),
}
OMNI_LIGHT: list[Any] = [
    ("position", "<f8", (3,)),
    ("uvMin", "<f4", (2,)),
    ("uvMax", "<f4", (2,)),
    ("size", "<f4"),
    ("controlIndex", "<u4"),
]
SPOT_LIGHT: list[Any] = [
    *OMNI_LIGHT,
    ("backUvMin", "<f4", (2,)),
    ("backUvMax", "<f4", (2,)),
    ("backSide", "u1"),
]
OMNI_CONTROL: list[Any] = [("control", "<u4"), ("reserved", "<u4")]
SPOT_CONTROL: list[Any] = [*OMNI_CONTROL, ("direction", "<f4", (3,))]
ANIMATED = When(lambda values: values["type_name"].startswith("model::Animated"), Samples())
FAKE_OMNI = record(
    model.FakeOmniLightsNode,
    material=MaterialIndex(),
    control_rows=ControlRows("control", OMNI_CONTROL),
    lights=Rows("lights", OMNI_LIGHT),
    animation=ANIMATED,
)
FAKE_SPOT = record(
    model.FakeSpotLightsNode,
    1,
    2,
    material=MaterialIndex(),
    control_rows=ControlRows("control", SPOT_CONTROL),
    lights=Rows("lights", SPOT_LIGHT),
    directions=at_least(2, Directions()),
    animation=ANIMATED,
)
RENDER_NODES = {
    "model::RenderNode": record(model.RenderNode, 0, 1, 2, **DRAWN),
    "model::NumberNode": record(model.NumberNode, 0, 1, 2, **DRAWN, numbers=ForEachParent(NumberRows())),
    "model::SkinNode": record(
        model.SkinNode,
        0,
        1,
        2,
        material=MaterialIndex(),
        bones=Bones(),
        argument=Argument(),
        skin_box=at_least(1, SKIN_BOX),
        pivots=at_least(2, PIVOTS, NO_PIVOTS),
        mesh=MeshBlock(),
    ),
    "model::FakeOmniLightsNode": FAKE_OMNI,
    "model::AnimatedFakeOmniLightsNode": FAKE_OMNI,
    "model::FakeSpotLightsNode": FAKE_SPOT,
    "model::AnimatedFakeSpotLightsNode": FAKE_SPOT,
    "model::FakeSpotLights3Node": record(
        model.FakeSpotLights3Node, material=MaterialIndex(), controls=TreeIndices("control"), mesh=MeshBlock(indices=False)
    ),
}

# In the order of the file: the section's name there, its name in ZrmFile, its records.
SECTIONS: tuple[tuple[str, str, Tagged], ...] = tuple(
    (title, title.lower(), Tagged(f"a record in {title}", layouts))
    for title, layouts in (
        ("CONNECTORS", CONNECTORS),
        ("SHELL_NODES", SHELL_NODES),
        ("LIGHT_NODES", LIGHT_NODES),
        ("RENDER_NODES", RENDER_NODES),
    )
)
