"""Every setter of the module: the kinds of its arguments, and where their values land in the file.

A row is (calls, landing). `calls` names methods that belong together, each with the kinds of its arguments (see
arguments.py); a "?" in front marks a row that a script may leave out, "+" one that is called once the node was added.
The landing writes what is found into the expectation `e` (see scripted.py), in the order of the file.
"""

from collections.abc import Callable

import numpy as np

from .arguments import narrow
from .every_record import IDENTITY, STILL, number

Row = tuple[str, Callable[..., object]]


into = lambda field: lambda e, value: e.record.__setitem__(field, value)
of_material = lambda field: lambda e, value: e.material.__setitem__(field, value)
uniform = lambda name: lambda e, value: e.uniform(name, value)
plain_uniform = lambda name, form="float": lambda e, value: e.uniform(name, (f"model::Property<{form}>", value))
texture = lambda slot: lambda e, name: e.texture(slot, name)
mode_of = lambda *accepted: lambda e, mode: e.material.update(blending=mode) if mode in accepted else None


def nothing(e, *values):
    pass


def shadow(e, mode):
    e.material.update({0: {"casts_shadow": True}, 1: {"casts_shadow": False}, 2: {"shadow_flag2": True}}.get(mode, {}))


def normal_map(slot, number):
    def land(e, name, uvs):
        e.uv(slot, uvs)
        for attribute in ("TANGENT", "BINORMAL"):
            e.attribute(f"{attribute}{number}", np.zeros((len(uvs), 3)))
        e.texture(slot, name)

    return land


def numbers(e, a, x, b, y):
    e.record["numbers"] = [[(a, x, b, y)]]
    e.attribute("COLOR1", np.zeros((e.count, 1)))


def bones(e, weights, packed, places):
    e.record["bones"].extend(places)
    e.attribute("COLOR1", weights)
    e.attributes["POSITION0"][:, 3:] = packed


GLOW = {2: "self_illum_material", 3: "transparent_self_illum_material", 4: "additive_self_illum_material",
        5: "additive_self_illum_color_material", 6: "additive_self_illum_tex_material"}  # fmt: skip


def glow(e, kind):
    e.material["material_name"] = GLOW.get(kind, e.material["material_name"])


mapped = lambda channel, slot: lambda e, name, uvs: (e.uv(channel, uvs), e.texture(slot, name))


def base(e, points, normals):
    e.attribute("POSITION0", np.concatenate([points, np.zeros((len(points), 1), np.float32)], 1))
    e.attribute("NORMAL0", normals)


# ---------------------------------------------------------------- the tree: class of the file, fields of a new node, rows

NODES = {"Node": ("Node", {}, []),
    "Transform": ("TransformNode", {"matrix": IDENTITY}, [("?setMatrix:matrix", into("matrix"))]),
    "Lod": ("LodNode", {}, [("__init__:distances", into("levels"))]),
    "NumberRoot": ("TmpNumberRoot", {}, [("?setControls:controls", nothing)]),
    "VisibilityNode": ("ArgVisibilityNode", {"conditions": []}, [("?setArguments:ranges", into("conditions"))]),
    "AnimationNode": ("Arg", STILL, [
        ("?setBaseMatrix:matrix", into("matrix")), ("?setBasePosition:f3", into("base_position")),
        ("?setBaseRotation:quaternion", into("base_rotation")), ("?setBaseScale:f3", into("base_scale")),
        ("?setPositionAnimation:moves", into("position_channels")), ("?setRotationAnimation:turns", into("rotation_channels")),
        ("?setScaleAnimation:moves",
         lambda e, found: e.record.update(scale_channels=[channel | {"rotation_keys": []} for channel in found]))]),
    "Bone": ("Bone", {"matrix": IDENTITY, "inverted_base_bone_matrix": IDENTITY}, [
        ("?setMatrix:matrix", into("matrix")), ("?setInvertedBaseBoneMatrix:matrix", into("inverted_base_bone_matrix"))])}  # fmt: skip

# ---------------------------------------------------------------- blocks, in the order in which a mesh applies them

BLOCKS = {
    "BaseBlock": [
        ("setPositions:points setNormals:normals", base), ("setAlbedoMap:map setAlbedoMapUV:uvs", mapped(0, 0)),
        ("?setAlbedoMapUVShift:value2", uniform("diffuseShift"))],
    "ColorBaseBlock": [
        ("setPositions:points setNormals:normals", base),
        ("setColor:value3", lambda e, value: (e.uniform("color", value), e.material.update(material_name="color_material")))],
    "NormalBlock": [("setNormalMap:map setNormalMapUV:uvs", normal_map(1, 0))],
    "FlirBlock": [("setFlirMap:map", lambda e, name: (e.material["channels"].__setitem__(0, 0), e.texture(16, name)))],
    "DamageBlock": [
        ("setAlbedoMap:map setAlbedoMapUV:uvs", mapped(5, 5)), ("?setNormalMap:map setNormalMapUV:uvs", normal_map(10, 1)),
        ("?setMask:map", texture(15)), ("?setMaskRGBA:map", texture(18)),
        ("setArgument:handle", lambda e, handle: e.record.update(damage=handle))],
    "AormsBlock": [("setAormsMap:map setAormsMapUV:uvs", mapped(12, 13))],
    "BoneBlock": [
        ("setBoneWeights:weights setBoneIndices:bone_numbers setBones:bones", bones),
        ("?setSkinBox:box", lambda e, box: e.record.update(skin_box=box, version=1)), ("?setBoneNames:names", nothing)],
    "EmissiveBlock": [
        ("?setEmissiveMap:map setEmissiveMapUV:uvs", mapped(8, 8)), ("?setAmount:value1", uniform("selfIlluminationValue")),
        ("setColor:value3", uniform("selfIlluminationColor")), ("?setUVShift:value2", uniform("emissiveShift")),
        ("?setEmissiveType:mode", glow)],
    "EmissiveColorBlock": [
        ("?setAmount:value1", uniform("selfIlluminationValue")),
        ("setColor:value3", lambda e, value: (e.uniform("selfIlluminationColor", value), glow(e, 2)))],
    "AoBlock": [
        ("setAoMap:map setAoMapUV:uvs", mapped(9, 9)), ("?setAoShift:value2", uniform("ambientOcclusionShift")),
        ("?setAoAnimationArgument:handle",
         lambda e, handle: e.uniform("ambientOcclusionAnim", ("model::ArgumentProperty", handle)))],
    "DecalBlock": [
        ("setDecalMap:map setDecalMapUV:uvs", mapped(3, 3)), ("?setDecalShift:value2", uniform("decalShift"))],
    "GlassFilterBlock": [
        ("?setColor:value3", uniform("color")),
        ("setInstrumental:bool", lambda e, instrumental: e.material.update(
            material_name="glass_instrumental_material" if instrumental else "glass_material", blending=1)),
        ("?setColorMap:map", texture(14))], "NumberBlock": [("setUVParams:handle,f,handle,f", numbers)]}  # fmt: skip

# ---------------------------------------------------------------- what is drawn

_MESH = [("setIndices:triangles", lambda e, indices: e.record["mesh"].update(indices=indices)),
    ("?setShadowCaster:mode", shadow), ("?setOpacityValue:value1", uniform("opacityValue")),
    ("?setOpacityFresnelPower:value1", uniform("opacityFresnelPower")),
    ("?setOpacityFresnelFactor:value1", uniform("opacityFresnelFactor")), ("?setDecalId:byte", of_material("decal_id")),
    ("?setTwoSided:sides", lambda e, two_sided: setattr(e, "two_sided", two_sided)),
    ("?setPurposeWaterMask:", lambda e: setattr(e, "purpose", 1)),
    ("?+addTransparentPivot:f3", lambda e, point: e.record["pivots"].append(point))]  # fmt: skip
_FLAT = [("setPositions:quad_points setNormals:quad_normals", base),
    ("setIndices:quad", lambda e, indices: e.record["mesh"].update(indices=indices))]  # fmt: skip
_RED = ("color", ("model::Property<osg::Vec3f>", (1.0, 0.0, 0.0)))


def deck_tangents(e, tiled, regular):
    e.attribute("TANGENT0", np.tile([1.0, 0.0, 0.0], (4, 1)))
    e.attribute("BINORMAL0", np.tile([0.0, 1.0, 0.0], (4, 1)))
    e.attribute("TEXCOORD0", tiled)
    e.attribute("TEXCOORD1", regular)


# Class: what a new material has beyond the default, its properties, and the rows.
MESHES = {"PBRNode": ({"material_name": "def_material"}, [], [*_MESH, ("?setTransparentMode:mode", mode_of(0, 1, 2, 3))]),
    "GlassNode": ({"material_name": "glass_instrumental_material", "blending": 1}, [], [
        *_MESH,
        ("?setTransparentMode:mode", mode_of(1, 3, 6)),
        ("?setGlassType:mode", lambda e, kind: e.material.update(
            {0: {"material_name": "glass_instrumental_material"}, 1: {"material_name": "glass_material"}}.get(kind, {})))]),
    "ColorNode": ({"material_name": "color_material"}, [_RED], [
        *_FLAT,
        ("?setColor:f,f,f", lambda e, *color: e.uniform("color", ("model::Property<osg::Vec3f>", color)))]),
    "MirrorNode": ({"material_name": "mirror_material", "channels": [0, *[-1] * 12]}, [_RED], [
        *_FLAT,
        ("setTextureCoordinates:quad_uvs", lambda e, uvs: e.attribute("TEXCOORD0", uvs)), ("setTexture:map", texture(0))]),
    "DeckNode": ({"material_name": "deck_material", "channels": [0, 0, 0, 1, 1, -1, -1, 1, *[-1] * 5]}, [], [
        *_FLAT,
        ("setTiledUV:quad_uvs setRegularUV:uv_list", deck_tangents), ("setBaseTiledMap:map", texture(0)),
        ("setNormalTiledMap:map", texture(1)), ("setAormsTiledMap:map", texture(2)), ("setBaseMap:map", texture(3)),
        ("setAormsMap:map", texture(4)), ("?setRainMask:map", texture(5)), ("?setDamageMask:map", texture(6)),
        ("?setDamageMap:map", texture(7)), ("?setDamageMaskRGBA:map", texture(9)),
        ("?setTransparentMode:mode", mode_of(0, 1, 2, 3)), ("?setDecalId:byte", of_material("decal_id")),
        ("?setArgument:handle", lambda e, handle: e.record.update(damage=handle))])}  # fmt: skip


def spots(e, found):
    e.record.update(lights=[light[:8] for light in found], directions=[light[8] for light in found], version=2)
    e.material["material_name"] = "fake_spot_lights2_wdir"


def sizes(place):
    def land(e, value):
        kind, factors = e.properties["sizeFactors"]
        e.uniform("sizeFactors", (kind, tuple(value if k == place else old for k, old in enumerate(factors))))

    return land


def animation_argument(e, value):
    e.uniform("arg", ("model::Property<float>", value))
    e.record["animation"] = {"argument": int(value), "samples": []}


_float = lambda name, value: (name, ("model::Property<float>", value))


_LAMPS = [("?setTexture:map", texture(0)), ("?setLuminance:value1", uniform("luminance")),
    ("?setShiftToCamera:f", plain_uniform("shiftToCamera"))]  # fmt: skip


def motion(sprites, land):
    """Two sprites, each with its samples."""

    def both(e, lights, samples):
        land(e, lights)
        e.record["animation"]["samples"] = samples

    return [("setAnimationArg:argument", animation_argument), (f"?set:{sprites} setLightsAnimation:steady", both)]


_OMNI = [*_LAMPS, ("?setMinSizeInPixels:f", sizes(0)), ("?setMaxDistance:f", sizes(1))]
_SPOT = [*_LAMPS,
    ("?setMinSizeInPixels:f", plain_uniform("minSizeInPixels")), ("?setMaxDistance:f", plain_uniform("maxDistance")),
    ("?setConeSetup:f3", plain_uniform("coneSetup", "osg::Vec3f"))]  # fmt: skip
_OMNI_START = [_float("shiftToCamera", 0.0), ("sizeFactors", ("model::Property<osg::Vec3f>", (20.0, 1000.0, 0.0))),
    _float("luminance", 1.0)]  # fmt: skip
_SPOT_START = [_float("shiftToCamera", 0.0), _float("minSizeInPixels", 20.0), _float("maxDistance", 1000.0),
    ("coneSetup", ("model::Property<osg::Vec3f>", narrow((1.0, 0.8, 0.05)))), _float("luminance", 1.0)]  # fmt: skip
_OMNI_NEW = {"version": 0, "lights": [], "animation": None}
_SPOT_NEW = {"version": 1, "lights": [], "animation": None, "directions": None, "control_directions": [[0.0, 0.0, 0.0]]}

# Class: that of the file, fields of a new node, the material's name and properties, the rows.
FAKE_LIGHTS = {"FakeOmniLights": ("FakeOmniLightsNode", _OMNI_NEW, "fake_omni_lights2", _OMNI_START,
                       [*_OMNI, ("?set:omnis", into("lights"))]),
    "FakeSpotLights": ("FakeSpotLightsNode", _SPOT_NEW, "fake_spot_lights2", _SPOT_START, [*_SPOT, ("?set:spots", spots)]),
    "AnimatedFakeOmniLight": ("AnimatedFakeOmniLightsNode", _OMNI_NEW, "animated_fake_omni_lights2",
                              [*_OMNI_START, _float("arg", -1.0)], [*_OMNI, *motion("omnis", into("lights"))]),
    "AnimatedFakeSpotLight": ("AnimatedFakeSpotLightsNode", _SPOT_NEW, "animated_fake_spot_lights2",
                              [*_SPOT_START, _float("arg", -1.0)], [*_SPOT, *motion("spots", spots)])}  # fmt: skip

# ---------------------------------------------------------------- lights, shells, connectors


setting = lambda field: lambda e, value: e.record.update({field: (value[0], "_DUMMY_NAME_", *value[1:])})


def volume(field):
    def land(e, value):
        start = {"radius_factor": number("radiusFactor", 0.0), "density_factor": number("densityFactor", 1.0),
                 "near_distance": number("nearDistance", 0.0), "volume_type": 4}  # fmt: skip
        settings = e.record["volume"] or start
        value = value if field == "volume_type" else number("_DUMMY_NAME_", value)
        if value != settings[field]:
            e.record.update(volume=settings | {field: value}, version=3)

    return land


def angles(e, outer, inner):
    setting("phi")(e, outer)
    e.record["theta"] = number("EMPTY_NAME", inner)


def own_property(form):
    def land(e, key, value):
        e.record["properties"] = [p for p in e.record["properties"] if p[1] != key] + [(f"model::Property<{form}>", key, value)]

    return land


_LIGHT = [("?setColor:value3", setting("color")), ("?setBrightness:value1", setting("brightness")),
    ("?setDistance:value1", setting("distance")), ("?setSpecularAmount:value1", setting("specular_amount")),
    ("?setSoftness:value1", setting("softness")), ("?setVolumeRadiusFactor:still", volume("radius_factor")),
    ("?setVolumeDensityFactor:still", volume("density_factor")), ("?setVolumeNearDistance:still", volume("near_distance")),
    ("?setVolumeType:handle", volume("volume_type"))]  # fmt: skip
# Class: model's method that adds it, class of the file, fields of a new one, rows.
HUNG = {"OmniLight": ("addLight", "LightNode", {"light_type": 0}, _LIGHT),
    "SpotLight": ("addLight", "LightNode", {"light_type": 1}, [
        *_LIGHT, ("?setPhi:value1", setting("phi")), ("?setTheta:value1", setting("theta")),
        ("?setAngles:angle,flat", angles)]),
    "ShellNode": ("addShellNode", "ShellNode", {}, [("setPositions:point_list setIndices:index_list", lambda e, points, indices:
                                                     e.record["mesh"].update(vertices=points, indices=indices))]),
    "SegmentsNode": ("addSegmentsNode", "SegmentsNode", {"segments": []}, [("?set:segments", into("segments"))]),
    "Connector": ("addConnector", "Connector", {}, [
        ("?setPropertyFloat:text,f", own_property("float")), ("?setPropertyString:text,text", own_property("const char*"))])}  # fmt: skip
