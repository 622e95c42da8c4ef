"""Lights, light sprites, shells, segments and connectors, each setter by what it leaves in the file."""

from __future__ import annotations

import math
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from module_support import INDICES, NONE, POSITIONS, f32, hang, plain, save, saved_render, shell_node

LIGHTS = {"color": 3, "brightness": 1, "distance": 1, "specular_amount": 1, "softness": 1}
DEFAULTS = {"brightness": 0.0, "phi": 0.0, "theta": 0.0, "distance": 0.0, "specular_amount": 1.0, "softness": 0.0}


def saved_light(light: Any) -> Any:
    plain()
    model = zrm.Model()
    model.addLight(hang(light, model))
    return save(model).light_nodes[0]


def keys_of(record: Any) -> list[tuple[float, float]]:
    return [(float(key["time"]), float(key["value"].reshape(-1)[0])) for key in record.keys]


@pytest.mark.parametrize(("kind", "light_type"), [(zrm.OmniLight, 0), (zrm.SpotLight, 1)])
def test_light(folder: Path, kind: Any, light_type: int) -> None:
    record = saved_light(kind("lamp"))
    assert (record.name, record.light_type, record.version, record.volume) == ("lamp", light_type, 2, None)
    assert {name: getattr(record, name).value for name in DEFAULTS} == DEFAULTS
    assert (record.color.name, record.color.value) == ("color", (0.0, 0.0, 0.0))

    light = kind("lamp")
    light.setColor(zrm.PropertyFloat3((1.0, 2.0, 3.0)))
    light.setBrightness(zrm.PropertyFloat(4.0))
    light.setDistance(zrm.PropertyFloat(5.0))
    light.setSpecularAmount(zrm.PropertyFloat(6.0))
    light.setSoftness(zrm.PropertyFloat(7, [(0.0, 1.0)]))
    record = saved_light(light)
    assert record.color.value == (1.0, 2.0, 3.0) and record.color.name == "_DUMMY_NAME_"
    assert [record.brightness.value, record.distance.value, record.specular_amount.value] == [4.0, 5.0, 6.0]
    assert record.softness.argument == 7 and keys_of(record.softness) == [(0.0, 1.0)]


@pytest.mark.parametrize("setter", ["RadiusFactor", "DensityFactor", "NearDistance"])
def test_volume(folder: Path, setter: str) -> None:
    defaults = {"RadiusFactor": 0.0, "DensityFactor": 1.0, "NearDistance": 0.0}
    fields = {"RadiusFactor": "radius_factor", "DensityFactor": "density_factor", "NearDistance": "near_distance"}
    light = zrm.OmniLight("l")
    call = getattr(light, "setVolume" + setter)
    call(zrm.PropertyFloat(defaults[setter]))
    call(zrm.PropertyFloat(3, [(0.0, 0.5)]))
    assert saved_light(light).version == 2
    call(zrm.PropertyFloat(0.5))
    record = saved_light(light)
    assert record.version == 3 and record.volume.volume_type == 4
    expected = {fields[name]: value for name, value in {**defaults, setter: 0.5}.items()}
    assert {name: getattr(record.volume, name).value for name in expected} == expected


def test_volume_type(folder: Path) -> None:
    light = zrm.SpotLight("l")
    light.setVolumeType(4)
    assert saved_light(light).version == 2
    light.setVolumeType(3)
    assert saved_light(light).volume.volume_type == 3


def test_cone_angles(folder: Path) -> None:
    light = zrm.SpotLight("l")
    light.setPhi(zrm.PropertyFloat(0.5))
    light.setTheta(zrm.PropertyFloat(0.25))
    record = saved_light(light)
    assert (record.phi.value, record.theta.value) == (0.5, 0.25)


def inner(phi: float, blend: float) -> np.float32:
    slope = np.float32(np.tan(np.float64(np.float32(phi) * np.float32(0.5))))
    return np.float32(2) * np.float32(np.arctan(np.float64(slope * (np.float32(1) - np.float32(blend)))))


@pytest.mark.parametrize("phi", [0.0, 0.1, 1.0, 3.0, -1.0, 1e30, math.nan, math.inf])
@pytest.mark.parametrize("blend", [0.0, 0.3, 1.0, math.nan])
def test_constant_angles(folder: Path, phi: float, blend: float) -> None:
    light = zrm.SpotLight("l")
    light.setAngles(zrm.PropertyFloat(phi), zrm.PropertyFloat(blend))
    record = saved_light(light)
    assert record.theta.name == "EMPTY_NAME" and record.theta.type_name == "model::Property<float>"
    with np.errstate(all="ignore"):
        expected = float(inner(phi, blend))
    assert record.theta.value == pytest.approx(expected, abs=1e-6, nan_ok=True)
    assert record.phi.value == pytest.approx(f32(phi)[0], nan_ok=True)


def test_animated_angles(folder: Path) -> None:
    constant = zrm.PropertyFloat(5, [(0.0, 1.0), (1.0, 1.0)], False)
    light = zrm.SpotLight("l")
    light.setAngles(constant, zrm.PropertyFloat(0.5))
    record = saved_light(light)
    assert (record.theta.name, record.theta.argument) == ("EMPTY_NAME", 5)
    assert keys_of(record.theta) == [(-1.0, float(inner(1.0, 0.5)))]

    blend = zrm.PropertyFloat(6, [(0.0, 0.0), (1.0, 1.0)])
    for phi, argument in ((zrm.PropertyFloat(1.0), 6), (constant, 5)):
        light.setAngles(phi, blend)
        theta = saved_light(light).theta
        assert theta.argument == argument
        times, values = (np.array(part) for part in zip(*keys_of(theta)))
        assert times[0] == -1.0 and abs(times[-1] - 1.0) < 2e-3 and np.all(np.diff(times) > 0)
        assert 2 < len(times) < 1000
        for at in np.linspace(-1.0, 1.0, 301):
            assert abs(np.interp(at, times, values) - inner(1.0, min(max(at, 0.0), 1.0))) < 2.1e-3

    light.setAngles(zrm.PropertyFloat(3, []), zrm.PropertyFloat(0.0))  # an angle without keys is 0
    assert keys_of(saved_light(light).theta) == [(-1.0, 0.0)]


OMNI_PROPERTIES = {"shiftToCamera": 0.0, "sizeFactors": (20.0, 1000.0, 0.0), "luminance": 1.0}
SPOT_PROPERTIES = {
    "shiftToCamera": 0.0, "minSizeInPixels": 20.0, "maxDistance": 1000.0, "coneSetup": f32(1, 0.8, 0.05), "luminance": 1.0,
}  # fmt: skip


def values(material: Any) -> dict[str, Any]:
    return {uniform.name: uniform.value for uniform in material.uniforms}


def test_fake_omni_lights(folder: Path) -> None:
    lights = zrm.FakeOmniLights("sprites")
    node, material = saved_render(lights)
    assert (node.type_name, node.name) == ("model::FakeOmniLightsNode", "sprites") and len(node.lights) == 0
    assert (material.material_name, material.blending) == ("fake_omni_lights2", 1)
    assert values(material) == OMNI_PROPERTIES and list(values(material)) == list(OMNI_PROPERTIES)

    light = zrm.FakeOmniLight()
    light.setPos((0.1, 2.0, 3.0))
    light.setSize(0.5)
    light.setUV((0.25, 0.25), (0.75, 0.5))
    lights.set([light, zrm.FakeOmniLight()])
    light.setSize(9.0)  # the node holds copies
    lights.setTexture("Glow")
    lights.setMinSizeInPixels(3.0)
    lights.setMaxDistance(50.0)
    lights.setShiftToCamera(0.25)
    lights.setLuminance(zrm.PropertyFloat(2.0))
    node, material = saved_render(lights)
    first, second = node.lights
    assert first["position"].tolist() == [*f32(0.1), 2.0, 3.0] and first["size"] == 0.5
    assert first["uvMin"].tolist() == [0.25, 0.75] and first["uvMax"].tolist() == [0.75, 0.5]
    assert second["uvMin"].tolist() == [0.0, 0.0] and first["controlIndex"] == 0
    assert material.textures[0].name == "glow"
    assert values(material) == {"shiftToCamera": 0.25, "sizeFactors": (3.0, 50.0, 0.0), "luminance": 2.0}
    lights.set([])
    assert len(saved_render(lights)[0].lights) == 0


def test_luminance_is_renamed(folder: Path) -> None:
    value = zrm.PropertyFloat(5, [(0.0, 1.0)])
    lights = zrm.FakeSpotLights("n")
    lights.setLuminance(value)
    assert repr(value) == "pyzrm::PropertyFloat(luminance = animation(5, 0.000000,1.000000);)"
    _, material = saved_render(lights)
    assert [(u.name, u.argument) for u in material.animated_uniforms] == [("luminance", 5)]
    assert "luminance" not in values(material)


def test_fake_spot_lights(folder: Path) -> None:
    lights = zrm.FakeSpotLights("sprites")
    lights.set([])
    node, material = saved_render(lights)
    assert (node.type_name, node.version, node.directions) == ("model::FakeSpotLightsNode", 1, None)
    assert (material.material_name, material.blending) == ("fake_spot_lights2", 1)
    assert values(material) == SPOT_PROPERTIES and list(values(material)) == list(SPOT_PROPERTIES)

    light = zrm.FakeSpotLight()
    light.setPos((1.0, 2.0, 3.0))
    light.setSize(0.5)
    light.setUV((0.25, 0.25), (0.75, 0.5))
    light.setBackUV((0.0, 0.25), (1.0, 1.0))
    light.setBackSide(True)
    light.setDirection((0.0, 0.0, 1.0))
    lights.set([zrm.FakeSpotLight(), light])
    lights.setMinSizeInPixels(3.0)
    lights.setMaxDistance(50.0)
    lights.setShiftToCamera(0.25)
    lights.setConeSetup((0.5, 0.25, 0.125))
    lights.setTexture("glow")
    node, material = saved_render(lights)
    assert node.version == 2 and material.material_name == "fake_spot_lights2_wdir"
    assert node.directions.tolist() == [[0.0, 1.0, 0.0], [0.0, 0.0, 1.0]]
    first, second = node.lights
    assert first["backUvMin"].tolist() == [0.0, 0.0] and first["backUvMax"].tolist() == [0.25, 0.5]
    assert not first["backSide"] and second["backSide"]
    assert second["backUvMin"].tolist() == [0.0, 0.75] and second["backUvMax"].tolist() == [1.0, 0.0]
    assert second["uvMin"].tolist() == [0.25, 0.75] and second["position"].tolist() == [1.0, 2.0, 3.0]
    assert values(material) == {
        "shiftToCamera": 0.25, "minSizeInPixels": 3.0, "maxDistance": 50.0, "coneSetup": (0.5, 0.25, 0.125),
        "luminance": 1.0,
    }  # fmt: skip
    lights.set([])  # changes nothing
    assert len(saved_render(lights)[0].lights) == 2


ANIMATED = [
    (zrm.AnimatedFakeOmniLight, zrm.FakeOmniLight, "animated_fake_omni_lights2"),
    (zrm.AnimatedFakeSpotLight, zrm.FakeSpotLight, "fake_spot_lights2_wdir"),
]


@pytest.mark.parametrize(("kind", "sprite", "material_name"), ANIMATED)
def test_animated_fake_lights(folder: Path, kind: Any, sprite: Any, material_name: str) -> None:
    lights = kind("sprites")
    lights.set([sprite(), sprite(), sprite(), sprite()])
    lights.setAnimationArg(7.9)
    ramp, single = [(1.0, 2.0), (0.0, 0.0), (0.5, 1.0)], [(0.3, 5.0)]
    lights.setLightsAnimation([(0, [(0.5, 1.0)])])
    lights.setLightsAnimation([(0, ramp), (1, single), (2, []), (3, [(0.25, 1.0), (0.75, 3.0)])])
    node, material = saved_render(lights)
    assert node.animation.argument == 7 and values(material)["arg"] == f32(7.9)[0]
    assert material.material_name == material_name and material.blending == 1
    samples = node.animation.samples
    at = np.arange(128) / 127
    assert samples.shape == (4, 128) and samples.dtype == np.float32
    assert np.array_equal(samples[0], (2.0 * at).astype(np.float32))
    assert set(samples[1]) == {5.0} and not samples[2].any()
    assert samples[3][0] == 1.0 and samples[3][-1] == 3.0
    assert np.allclose(samples[3], np.interp(at, [0.25, 0.75], [1.0, 3.0]), atol=1e-6)


@pytest.mark.parametrize(("kind", "sprite", "material_name"), ANIMATED)
def test_animated_fake_lights_that_are_refused(
    folder: Path, kind: Any, sprite: Any, material_name: str
) -> None:
    keys = [(0.0, 1.0)]

    def save_with(argument: float | None, animation: list[tuple[int, list[tuple[float, float]]]] | None) -> str:
        plain()
        model, lights = zrm.Model(), kind("sprites")
        lights.set([sprite(), sprite()])
        if argument is not None:
            lights.setAnimationArg(argument)
        if animation is not None:
            lights.setLightsAnimation([(0, keys), (1, keys)])
            lights.setLightsAnimation(animation)
        assert model.addRenderNode(hang(lights, model)) == ""
        return model.save("model.zrm", 10)

    assert save_with(1.0, [(0, keys), (1, keys)]) == ""
    for argument in (None, -1.0):
        text = "Argument of animated fake omni lights must be valid. Node id: "  # of spot lights too
        assert save_with(argument, [(0, keys), (1, keys)]).startswith(text)
    for wrong in (None, [], [(0, keys)], [(1, keys), (0, keys)], [(0, keys), (2, keys)], [(0, keys), (-1, keys)],
                  [(0, keys), (1, keys), (2, keys)]):  # fmt: skip
        assert save_with(1.0, wrong).startswith("Invalid data size. Node id: "), wrong


@pytest.mark.parametrize(("argument", "stored"), [(0.0, 0), (-0.9, 0), (math.nan, 0), (-2.0, NONE - 1), (1e9, 10**9)])
def test_animation_arguments(folder: Path, argument: float, stored: int) -> None:
    lights = zrm.AnimatedFakeOmniLight("n")
    lights.set([zrm.FakeOmniLight()])
    lights.setAnimationArg(argument)
    lights.setLightsAnimation([(0, [])])
    assert saved_render(lights)[0].animation.argument == stored


def test_sprites_that_are_no_numbers(folder: Path) -> None:
    for value in (math.nan, math.inf, -1e300):
        omni, spot = zrm.FakeOmniLight(), zrm.FakeSpotLight()
        for light in (omni, spot):
            light.setPos((value, value, value))
            light.setSize(value)
            light.setUV((value, value), (value, value))
        spot.setDirection((value, value, value))
        for facade, light in ((zrm.FakeOmniLights("o"), omni), (zrm.FakeSpotLights("s"), spot)):
            model = zrm.Model()
            facade.set([light])
            assert model.addRenderNode(hang(facade, model)) == ""
            assert model.save("model.zrm", 10) == ""


def saved_shell(add: str, facade: Any) -> Any:
    plain()
    model = zrm.Model()
    getattr(model, add)(hang(facade, model))
    return save(model).shell_nodes[0]


def test_shell(folder: Path) -> None:
    record = saved_shell("addShellNode", shell_node())
    assert (record.name, record.type_name) == ("shell", "model::ShellNode")
    assert record.mesh.vertices.reshape(-1).tolist() == POSITIONS and record.mesh.indices.tolist() == INDICES
    shell = shell_node()
    shell.setPositions(POSITIONS[:9])  # replaces, other than the render facades
    shell.setIndices([2, 1, 0])
    record = saved_shell("addShellNode", shell)
    assert record.mesh.vertex_count == 3 and record.mesh.indices.tolist() == [2, 1, 0]


def test_unfinished_shells_have_no_geometry(folder: Path) -> None:
    for repair in (lambda s: None, lambda s: s.setPositions(POSITIONS), lambda s: s.setIndices(INDICES)):
        shell = zrm.ShellNode("shell")
        repair(shell)
        plain()
        model = zrm.Model()
        model.addShellNode(hang(shell, model))
        assert model.save("model.zrm", 10) == ""


@pytest.mark.parametrize("switches_on", [True, False])
def test_wrong_shells(folder: Path, switches_on: bool) -> None:
    def save_with(positions: list[float], indices: list[int]) -> Any:
        if not switches_on:
            plain()
        model, shell = zrm.Model(), zrm.ShellNode("shell")
        shell.setPositions(positions)
        shell.setIndices(indices)
        model.addShellNode(hang(shell, model))
        try:
            return model.save("model.zrm", 10)
        except IndexError:
            return IndexError

    assert save_with(POSITIONS[:-1], INDICES[:3]) == "Vertex data is invalid."
    assert save_with(POSITIONS, [0, 1, 4]) == (IndexError if switches_on else "")
    assert save_with([math.nan] * 12, INDICES) == ""
    assert save_with(POSITIONS, INDICES[:5]) == ""
    for wrong in (-1, 2**32, 1.5, "1"):
        with pytest.raises(TypeError):
            zrm.ShellNode("s").setIndices([wrong])


def test_segments(folder: Path) -> None:
    segments = zrm.SegmentsNode("lines")
    segments.set([((9.0, 9.0, 9.0), (8.0, 8.0, 8.0))])
    segments.set([((0.0, 0.1, 2.0), (3.0, 4.0, 5.0)), ((1.0, 1.0, 1.0), (2.0, 2.0, 2.0))])
    record = saved_shell("addSegmentsNode", segments)
    assert record.name == "lines" and record.segments.dtype == np.float32
    assert record.segments.tolist() == [[[0.0, *f32(0.1), 2.0], [3.0, 4.0, 5.0]], [[1.0] * 3, [2.0] * 3]]


def test_connector(folder: Path) -> None:
    plain()
    model = zrm.Model()
    connector = hang(zrm.Connector("hook"), model, zrm.Transform("place"))
    connector.setPropertyFloat("mass", 1.0)
    connector.setPropertyString("kind", "trailer\0gone")
    connector.setPropertyFloat("mass", 0.1)
    connector.setPropertyString("empty", "")
    model.addConnector(connector)
    file = save(model)
    (record,) = file.connectors
    assert record.name == "hook" and file.nodes[record.control].name == "place"
    assert [(p.name, p.value) for p in record.properties] == [("mass", f32(0.1)[0]), ("kind", "trailer"), ("empty", "")]
    connector.setPropertyString("mass", "heavy")
    assert save(model).connectors[0].properties[0].value == "heavy"


def test_without_control_node(folder: Path) -> None:
    """Nothing that hangs nowhere reaches a file, and nothing crashes."""

    def outcome(model: zrm.Model) -> Any:
        try:
            return model.save("model.zrm", 10)
        except IndexError:
            return IndexError

    segments, omni, spot = zrm.SegmentsNode("s"), zrm.FakeOmniLights("o"), zrm.FakeSpotLights("f")
    segments.set([((0.0, 0.0, 0.0), (1.0, 1.0, 1.0))])
    omni.set([zrm.FakeOmniLight()])
    spot.set([zrm.FakeSpotLight()])
    for switches_on in (True, False):
        for add, facade in (
            ("addSegmentsNode", segments),
            ("addShellNode", shell_node()),
            ("addConnector", zrm.Connector("c")),
            ("addLight", zrm.OmniLight("l")),
            ("addRenderNode", omni),
            ("addRenderNode", spot),
        ):
            if not switches_on:
                plain()
            model = zrm.Model()
            assert getattr(model, add)(facade) in (None, "")
            result = outcome(model)
            assert result is IndexError or "Control node isn't set." in result, (add, result)
            assert list(folder.iterdir()) == []


def test_a_base_light_is_refused() -> None:
    light = zrm.ILight()
    with pytest.raises(ValueError, match="no light"):
        zrm.Model().addLight(light)
    for setter in (light.setVolumeRadiusFactor, light.setVolumeDensityFactor, light.setVolumeNearDistance):
        with pytest.raises(ValueError):
            setter(zrm.PropertyFloat(0.5))
    with pytest.raises(ValueError):
        light.setVolumeType(1)
