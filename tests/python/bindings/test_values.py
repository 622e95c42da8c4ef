"""What facades compute: reduced keys, cone angles, samples, tangents, splits."""

from __future__ import annotations

import math
from pathlib import Path
from typing import Any

import numpy as np
import pytest
import pyzrm_313 as zrm
from support.arguments import INDICES, NORMALS, POSITIONS, UV
from support.quick import BOX, base_block, bone_block, color_node, damage_block, deck_node, hang, model_of, pbr, save, saved
from support.record_bytes import NONE
from support.scripted import plain


def keys_of(record: Any) -> list[tuple[float, float]]:
    return [(float(key["time"]), float(key["value"].reshape(-1)[0])) for key in record.keys]


def brightness(value: zrm.PropertyFloat) -> Any:
    light = zrm.OmniLight("l")
    light.setBrightness(value)
    return saved(light).brightness


def test_reduced_keys(folder: Path) -> None:
    flat = [(0.0, 1.0), (0.5, 1.0), (1.0, 1.0)]
    assert [len(brightness(zrm.PropertyFloat(3, flat, *more)).keys) for more in ((), (True,), (False,))] == [1, 1, 3]
    for reduce, count in ((True, 1), (False, 3)):
        value = zrm.PropertyFloat(1.0)
        value.setAnim(3, flat, reduce)
        assert len(brightness(value).keys) == count
    for bump, left in ((0.0009, 1), (0.0011, 3)):
        assert len(brightness(zrm.PropertyFloat(3, [(0.0, 0.0), (0.5, bump), (1.0, 0.0)])).keys) == left
    unsorted = brightness(zrm.PropertyFloat(-1, [(0.5, 1.0), (0.125, 2.0), (math.inf, 3.0)], False))
    assert (unsorted.argument, keys_of(unsorted)) == (NONE, [(0.125, 2.0), (0.5, 1.0), (math.inf, 3.0)])


def test_a_value_handed_over_does_not_change(folder: Path) -> None:
    value = zrm.PropertyFloat(1.0)
    first, second = zrm.OmniLight("a"), zrm.OmniLight("b")
    first.setBrightness(value)
    value.set(2.0)
    second.setBrightness(value)
    value.setAnim(3, [(0.0, 5.0)], False)
    assert [saved(light).brightness.value for light in (first, second)] == [1.0, 2.0]


def test_a_shared_value_carries_the_last_name(folder: Path) -> None:
    shift, luminance = zrm.PropertyFloat2((1.0, 2.0)), zrm.PropertyFloat(5, [(0.0, 1.0)])
    base, decal = base_block(), zrm.DecalBlock()
    base.setAlbedoMapUVShift(shift)
    decal.setDecalMap("decal"), decal.setDecalMapUV(UV), decal.setDecalShift(shift)
    model = model_of(pbr(base))
    assert model.addRenderNode(hang(pbr(decal), model)) == ""
    plain()
    assert [u.name for material in save(model).materials for u in material.uniforms] == ["decalShift"] * 2
    zrm.FakeSpotLights("n").setLuminance(luminance)
    assert repr(luminance) == "pyzrm::PropertyFloat(luminance = animation(5, 0.000000,1.000000);)"


def inner(phi: float, blend: float) -> np.float32:
    slope = np.float32(np.tan(np.float64(np.float32(phi) * np.float32(0.5))))
    return np.float32(2) * np.float32(np.arctan(np.float64(slope * (np.float32(1) - np.float32(blend)))))


@pytest.mark.parametrize("phi", [0.0, 0.1, 1.0, 3.0, -1.0, 1e30, math.nan, math.inf])
def test_constant_angles(folder: Path, phi: float) -> None:
    for blend in (0.0, 0.3, 1.0, math.nan):
        light = zrm.SpotLight("l")
        light.setAngles(zrm.PropertyFloat(phi), zrm.PropertyFloat(blend))
        theta = saved(light).theta
        assert (theta.name, theta.type_name) == ("EMPTY_NAME", "model::Property<float>")
        with np.errstate(all="ignore"):
            assert theta.value == pytest.approx(float(inner(phi, blend)), abs=1e-6, nan_ok=True)


def test_animated_angles(folder: Path) -> None:
    constant = zrm.PropertyFloat(5, [(0.0, 1.0), (1.0, 1.0)], False)
    blend = zrm.PropertyFloat(6, [(0.0, 0.0), (1.0, 1.0)])
    light = zrm.SpotLight("l")
    for phi, argument in ((zrm.PropertyFloat(1.0), 6), (constant, 5)):
        light.setAngles(phi, blend)
        theta = saved(light).theta
        assert (theta.name, theta.argument) == ("EMPTY_NAME", argument)
        times, values = (np.array(part) for part in zip(*keys_of(theta)))
        assert times[0] == -1.0 and abs(times[-1] - 1.0) < 2e-3 and np.all(np.diff(times) > 0) and 2 < len(times) < 1000
        for at in np.linspace(-1.0, 1.0, 301):
            assert abs(np.interp(at, times, values) - inner(1.0, min(max(at, 0.0), 1.0))) < 2.1e-3
    for phi, narrowed, value in ((constant, 0.5, inner(1.0, 0.5)), (zrm.PropertyFloat(3, []), 0.0, 0.0)):
        light.setAngles(phi, zrm.PropertyFloat(narrowed))
        assert keys_of(saved(light).theta) == [(-1.0, float(value))]


ANIMATED = [(zrm.AnimatedFakeOmniLight, zrm.FakeOmniLight), (zrm.AnimatedFakeSpotLight, zrm.FakeSpotLight)]


@pytest.mark.parametrize(("kind", "sprite"), ANIMATED)
def test_samples_of_animated_sprites(folder: Path, kind: Any, sprite: Any) -> None:
    lights = kind("sprites")
    lights.set([sprite() for _ in range(4)])
    lights.setAnimationArg(7.9)
    lights.setLightsAnimation([(0, [(0.5, 1.0)])])
    ramp = [(1.0, 2.0), (0.0, 0.0), (0.5, 1.0)]
    lights.setLightsAnimation([(0, ramp), (1, [(0.3, 5.0)]), (2, []), (3, [(0.25, 1.0), (0.75, 3.0)])])
    animation, at = saved(lights).animation, np.arange(128) / 127
    assert animation.argument == 7
    assert np.array_equal(animation.samples[0], (2.0 * at).astype(np.float32))
    assert set(animation.samples[1]) == {5.0} and not animation.samples[2].any()
    assert np.allclose(animation.samples[3], np.interp(at, [0.25, 0.75], [1.0, 3.0]), atol=1e-6)


@pytest.mark.parametrize(("argument", "stored"), [(0.0, 0), (-0.9, 0), (math.nan, 0), (-2.0, NONE - 1), (1e9, 10**9)])
def test_animation_arguments(folder: Path, argument: float, stored: int) -> None:
    lights = zrm.AnimatedFakeOmniLight("n")
    lights.setAnimationArg(argument)
    assert saved(lights).animation.argument == stored


def reference_tangents(mesh: dict[str, Any], triangles: Any) -> tuple[Any, Any]:
    """The tangent space of a mesh, by whole-array arithmetic in 64 bits."""
    point, normal, uv = (mesh[name].astype(float) for name in ("POSITION0", "NORMAL0", "TEXCOORD0"))
    a, b, c = triangles.T
    e1, e2, d1, d2 = point[b] - point[a], point[c] - point[a], uv[b] - uv[a], uv[c] - uv[a]
    area = d1[:, 0] * d2[:, 1] - d1[:, 1] * d2[:, 0]
    use = np.abs(area) >= 1e-5
    along = np.zeros((2, *point[:, :3].shape))
    for axis, direction in (
        (0, d2[:, 1:] * e1[:, :3] - d1[:, 1:] * e2[:, :3]),
        (1, d1[:, :1] * e2[:, :3] - d2[:, :1] * e1[:, :3]),
    ):
        for corner in (a, b, c):
            np.add.at(along[axis], corner[use], direction[use] / area[use, None])
    tangent = along[0] - normal * np.sum(normal * along[0], 1, keepdims=True)
    flat = np.linalg.norm(tangent, axis=1) < 0.01
    x, y, z = normal.T
    zero = np.zeros_like(x)
    first, second = np.stack([y, -x, zero], 1), np.stack([-z, zero, x], 1)
    longer = np.sum(first**2, 1) > np.sum(second**2, 1)
    tangent[flat] = np.where(longer[:, None], first, second)[flat]
    tangent /= np.linalg.norm(tangent, axis=1, keepdims=True)
    binormal = np.cross(normal, tangent)
    binormal[np.sum(binormal * along[1], 1) < 0] *= -1
    return tangent, binormal


def test_tangents_of_a_random_deck(folder: Path) -> None:
    random = np.random.default_rng(20240229)
    normals = random.normal(size=(200, 3))
    normals /= np.linalg.norm(normals, axis=1, keepdims=True)
    uv = random.uniform(size=(200, 2))
    uv[:40] = uv[0]  # triangles without area in u, v
    triangles = np.concatenate([random.integers(0, 40, (50, 3)), random.integers(0, 200, (300, 3))])
    parts = saved(deck_node(random.normal(size=600), normals.ravel(), uv.ravel(), triangles.ravel())).mesh.split()
    # Sums of steep triangles lose bits; nothing here is near enough to a branch to go the other way.
    for name, expected in zip(("TANGENT0", "BINORMAL0"), reference_tangents(parts, triangles)):
        assert np.allclose(parts[name], expected, atol=2e-3)


def test_tangents_without_area(folder: Path) -> None:
    normals = [0.0, 0.0, 1.0, 0.0, 1.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, -1.0]
    parts = saved(deck_node(POSITIONS, normals, [0.5] * 8)).mesh.split()
    assert parts["TANGENT0"].tolist() == [[-1.0, 0.0, 0.0], [1.0, 0.0, 0.0], [0.0, 0.0, 1.0], [1.0, 0.0, 0.0]]
    assert parts["BINORMAL0"].tolist() == [[0.0, -1.0, 0.0], [0.0, 0.0, -1.0], [0.0, -1.0, 0.0], [0.0, -1.0, 0.0]]


def split_block(arguments: list[float], uv: list[float] = UV) -> zrm.DamageBlock:
    block = damage_block()
    block.setAlbedoMapUV(uv)
    block.setArgument(-1)
    block.setPerVertexArguments(arguments)
    return block


def test_per_vertex_damage_is_split(folder: Path) -> None:
    base, arguments = base_block(), [3.0] * 4 + [5.9] * 4
    base.setPositions(POSITIONS * 2), base.setNormals(NORMALS * 2), base.setAlbedoMapUV(UV * 2)
    blocks = pbr(base, split_block(arguments, UV * 2))
    deck = deck_node(POSITIONS * 2, NORMALS * 2, UV * 2)
    deck.setPerVertexArguments(arguments)
    for node in (blocks, deck):
        node.setIndices([*INDICES, *(i + 4 for i in INDICES), 0, 1, 7])  # the last one has mixed corners
        model = model_of(node)
        if node is blocks:
            node.addTransparentPivot([1.0, 2.0, 3.0])
        plain()
        parts: Any = save(model).render_nodes
        assert [int(part.parents[0, 1]) for part in parts] == [3, 5]
        for part in parts:
            assert "COLOR2" not in part.mesh.split() and part.mesh.indices.tolist() == INDICES and part.name == ""
            assert part.pivots.tolist() == ([[1.0, 2.0, 3.0]] if node is blocks else [])
    assert (repr(blocks), repr(deck)) == ("pyzrm::PBRNode()", "pyzrm::DeckNode(,,)")


def test_per_vertex_damage_on_a_skin_stays(folder: Path) -> None:
    plain()
    (skin,) = save(model_of(pbr(split_block([3.0, 3.0, 4.0, 4.0]), bone_block()), zrm.Bone("b"))).render_nodes
    assert skin.type_name == "model::SkinNode"
    assert skin.mesh.attribute("COLOR2").reshape(-1).tolist() == [3.0, 3.0, 4.0, 4.0]  # type: ignore[attr-defined]


def test_what_a_second_call_does(folder: Path) -> None:
    """Positions of the fixed meshes are appended, a shell's are replaced; a second build adds a second time."""
    plain()
    node, shell = color_node(), zrm.ShellNode("shell")
    node.setPositions(POSITIONS[:3])
    node.setNormals(NORMALS + [0.0, 1.0, 0.0])
    for points in (POSITIONS, POSITIONS[:9]):
        shell.setPositions(points)
    shell.setIndices([2, 1, 0])
    model = model_of(node)
    assert model.addRenderNode(node) == ""
    model.addShellNode(hang(shell, model))
    file: Any = save(model)
    assert [record.mesh.vertex_count for record in (*file.render_nodes, *file.shell_nodes)] == [5, 5, 3]
    lights = zrm.FakeOmniLights("n")
    for sprites in ([zrm.FakeOmniLight()], []):
        lights.set(sprites)
    assert len(saved(lights).lights) == 0
    spots = zrm.FakeSpotLights("n")
    for sprites in ([zrm.FakeSpotLight()], []):
        spots.set(sprites)  # an empty list changes nothing
    assert len(saved(spots).lights) == 1
    two_sided = pbr()
    two_sided.setTwoSided(True)
    saved(two_sided)
    two_sided.setTwoSided(False)  # a build does not take back what the first one set
    assert saved(two_sided).mesh.triangle_count == 4
    early = pbr()
    early.addTransparentPivot([9.0, 9.0, 9.0])  # before the build it does nothing
    assert saved(early).version == 0


def test_block_list() -> None:
    node = zrm.PBRNode("n", "m")
    node.addBlock(None)
    first, second, normal = zrm.BaseBlock(), zrm.ColorBaseBlock(), zrm.NormalBlock()
    assert node.getBlock("BT_Base") is None and not node.hasBlock("BT_Base")
    for block in (first, normal, second):
        node.addBlock(block)
        assert node.getBlock(block.getTypeName()) is block and node.hasBlock(block.getTypeName())
    assert not any(node.hasBlock(name) for name in ("BT_base", "UNKNOWN", "")) and node.getBlock("") is None
    assert not zrm.IRenderNode().hasBlock("BT_Base")
    del second  # the native block lives on without its Python half
    assert isinstance(node.getBlock("BT_Base"), zrm.ColorBaseBlock)
    names = zrm.BoneBlock()
    names.setBoneNames(["a", "ä"])
    assert names.getBoneNames() == ["a", "ä"]


@pytest.mark.parametrize("value", [math.nan, math.inf, -math.inf, 1e30])
def test_geometry_that_is_no_number(folder: Path, value: float) -> None:
    for switches_on in (True, False):
        if not switches_on:
            plain()
        base = base_block()
        base.setPositions([value, *POSITIONS[1:]])
        base.setAlbedoMapUV([value, *UV[1:]])
        sprite, lights = zrm.FakeSpotLight(), zrm.FakeSpotLights("s")
        sprite.setPos((value,) * 3), sprite.setSize(value), sprite.setDirection((value,) * 3)
        lights.set([sprite])
        deck = deck_node(POSITIONS, [value, *NORMALS[1:]], [value, *UV[1:]])
        for node in (deck, pbr(base), pbr(base, split_block([value] * 4)), lights):
            model = model_of(node)
            model.setBBox(BOX[:3] + (-9.0,) * 3)  # so that it is computed
            assert model.save("model.zrm", 10) == ""
