"""Materials: what a name and a block can hold, and animated values that are no motion."""

import numpy as np
import pytest
from support.exporter_support import export, near
from support.gltf_build import Gltf
from zrm_inspect.animation import property_at

# Keys that lie on the straight way from the rest value to a later key, which the module's reduction takes for superfluous.
TIMES, HEIGHTS = [0.0, 1.0, 2.0, 3.0, 4.0], np.array([0.0, 0.8, 0.0, 0.4, 0.0])


@pytest.mark.parametrize("mode", ["LINEAR", "STEP"])
def test_pointers_drive_materials_and_lights(mode, folder):
    colours = np.outer(HEIGHTS, [1.0, 0.5, 0.25, 0.5]) + [0, 0, 0, 0.5]
    gltf = Gltf()
    gltf.add("materials", {"alphaMode": "BLEND", "pbrMetallicRoughness": {"baseColorFactor": [0, 0, 0, 0.5]}})
    gltf.add("textures", {"source": gltf.add("images", {"uri": "a.png"})})
    gltf.add("materials", {"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}, "emissiveFactor": [0, 0, 0]})
    for material in range(2):
        gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2], material=material, TEXCOORD_0=gltf.array(np.zeros((3, 2)))))
    lights = [{"type": "point", "intensity": 4.0}, {"type": "spot", "range": 3.0, "spot": {"outerConeAngle": 0.5}}, {"type": "directional"}]
    gltf.json["extensions"] = {"KHR_lights_punctual": {"lights": lights}}
    for light in range(3):
        gltf.node(extensions={"KHR_lights_punctual": {"light": light}})
    # pointer, values of the source, name in the file, rest there, values there, tolerance
    spot, base = "/extensions/KHR_lights_punctual/lights/1", "/pbrMetallicRoughness/baseColor"
    offset, strength, angle = np.outer(HEIGHTS, [3.0, -1.0]), 1 + 50 * HEIGHTS, 0.5 + HEIGHTS
    rows = [(f"/materials/0{base}Factor", colours, "color", [0, 0, 0], colours[:, :3], 0.003),
        (f"/materials/0{base}Factor", None, "opacityValue", 0.5, colours[:, 3], 0.001),
        (f"/materials/1{base}Texture/extensions/KHR_texture_transform/offset", offset, "diffuseShift", [0, 0], offset, 0.003),
        ("/materials/1/emissiveFactor", colours[:, :3], "selfIlluminationColor", [0, 0, 0], colours[:, :3], 0.003),
        ("/materials/1/extensions/KHR_materials_emissive_strength/emissiveStrength", strength, "selfIlluminationValue", 1, strength, 0.05),
        (f"{spot}/color", 1 - colours[:, :3], "spot color", [1, 1, 1], 1 - colours[:, :3], 0.003),
        (f"{spot}/intensity", strength, "spot brightness", 1, strength, 0.05),
        (f"{spot}/spot/outerConeAngle", angle, "spot phi", 1, 2 * angle, 0.002),
        ("/materials/0/alphaCutoff", HEIGHTS, "", 0, 0, 0)]  # fmt: skip
    tracks = [(pointer, values) for pointer, values, *_ in rows if values is not None]
    gltf.animation(*[(0, "pointer", TIMES, values, mode) for _, values in tracks])
    for channel, (pointer, _) in zip(gltf.json["animations"][0]["channels"], tracks):
        channel["target"] = {"path": "pointer", "extensions": {"KHR_animation_pointer": {"pointer": pointer}}}
    exported = export(gltf.save(folder / "in.gltf"))
    point_light, spot_light = exported.file.light_nodes
    found = {entry.name: entry for material in exported.file.materials for entry in material.animated_uniforms}
    found |= {f"spot {name}": getattr(spot_light, name) for name in ("color", "brightness", "phi")}
    for _, _, name, rest, values, tolerance in rows[:-1]:
        near(property_at(found[name], {0: 0.0}), rest, 1e-6, name)
        for seconds in np.arange(0.01, 4.0, 0.07):
            k, t = int(seconds), (mode == "LINEAR") * (seconds - int(seconds))
            near(property_at(found[name], {0: exported.argument(0, seconds)}), values[k] * (1 - t) + values[k + 1] * t, tolerance, name)
    assert (point_light.light_type, spot_light.light_type) == (0, 1)
    # Without a range a light ends where it has fallen to a hundredth of a candela per square metre.
    near([property_at(light.distance, {}) for light in (point_light, spot_light)], [20.0, 3.0], 1e-4, "distances")
    assert exported.lost == {"animated value": 1, "directional light": 1}


def test_what_a_texture_name_cannot_hold_is_told(folder):
    gltf = Gltf()
    for image in ({"uri": "a/base%20one.png"}, {"uri": "b/base one.jpg"}, {"name": "rough", "bufferView": 0}, {"bufferView": 0}, {"uri": "data:,x"}):
        gltf.add("textures", {"source": gltf.add("images", image)})
    roles = {"normalTexture": {"index": 1}, "occlusionTexture": {"index": 2}, "emissiveTexture": {"index": 3}, "emissiveFactor": [1, 1, 1]}
    pbr = {"baseColorTexture": {"index": 0}, "metallicRoughnessTexture": {"index": 2}}
    for entry in ({"doubleSided": True, "alphaMode": "MASK", "pbrMetallicRoughness": pbr} | roles, {"normalTexture": {"index": 4}}):
        gltf.node(mesh=gltf.mesh(np.eye(3), [0, 1, 2], material=gltf.add("materials", entry), TEXCOORD_0=gltf.array(np.eye(3)[:, :2])))
    exported = export(gltf.save(folder / "in.gltf"))
    first, second = exported.file.materials
    assert [{slot: texture.name for slot, texture in material.textures.items()} for material in (first, second)] == [
        {0: "base one", 1: "base one", 8: "image_3", 13: "rough"}, {1: "image_4"}  # the occlusion is the red of "rough"
    ]  # fmt: skip
    assert first.blending == 2 and len(exported.saved().meshes[0].triangles) == 2, "two-sided"
    assert exported.lost == {"image of a name that another one has": 1, "embedded image": 3}
