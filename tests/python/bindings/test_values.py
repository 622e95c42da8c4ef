"""Calls that do more than store: reduced keys, cone angles, samples, splits, places and names."""

import math

import numpy as np
import pytest
import pyzrm_313 as zrm
from support.arguments import IDENTITY, INDICES, NORMALS, POSITIONS, UV
from support.quick import base_block, bone_block, changed, color_node, damage_block, deck_node, f32, hang, model_of, pbr
from support.quick import save, saved
from support.record_bytes import NONE
from support.scripted import plain

MATRIX = [(1.5, 2.0, 3.0, 5.0), (4.0, 5.5, 6.0, 6.0), (7.0, 8.0, 9.5, 7.0), (0.25, 0.5, 0.75, 1.0)]


keys_of = lambda record: [(float(key["time"]), tuple(key["value"].tolist())) for key in record.keys]


def brightness(value):
    light = zrm.OmniLight("l")
    light.setBrightness(value)
    return saved(light).brightness


def test_matrices(folder):
    bone = zrm.Bone("b", MATRIX, IDENTITY[::-1])
    for call in (lambda short: zrm.Transform("t", short), lambda short: zrm.Bone("b", short),
                 lambda short: zrm.Bone("b", MATRIX, short), zrm.AnimationNode("a").setBaseMatrix, bone.setMatrix,
                 bone.setInvertedBaseBoneMatrix):  # fmt: skip
        for count in range(4):
            with pytest.raises(ValueError, match="four tuples"):
                call(MATRIX[:count])
    record = saved(bone)
    found = [record.matrix, record.inverted_base_bone_matrix, saved(zrm.Transform("t", MATRIX)).matrix]
    found += [saved(zrm.Bone("b", MATRIX)).matrix]
    assert [[tuple(column) for column in matrix.T.tolist()] for matrix in found] == [MATRIX, IDENTITY[::-1], MATRIX, MATRIX]
    wide = saved(zrm.Transform("t", [(0.1, 1e300, -1e300, math.nan)] * 4)).matrix[:, 0].tolist()
    assert wide[:3] == [f32(0.1), math.inf, -math.inf] and math.isnan(wide[3])


SIMPLIFIED = [  # keys (time, x), and what is left
    ([(5.0, 1.0)], [(5.0, 1.0)]), ([(0.0, 1.0), (1.0, 1.0)], [(0.0, 1.0)]),
    ([(0.0, 0.0), (0.5, 0.5), (1.0, 1.0)], [(0.0, 0.0), (1.0, 1.0)]),
    ([(0.0, 0.0), (1.0, 5.0), (2.0, 2.0), (10.0, 10.0)], [(0.0, 0.0), (1.0, 5.0), (10.0, 10.0)]),
    ([(0.0, 0.0), (1.0, 0.00009), (2.0, 0.0)], [(0.0, 0.0)]),
    ([(0.0, 0.0), (1.0, 0.00011), (2.0, 0.0)], [(0.0, 0.0), (1.0, f32(0.00011)), (2.0, 0.0)])]  # fmt: skip


@pytest.mark.parametrize(("keys", "left"), SIMPLIFIED)
def test_channels_are_simplified(folder, keys, left):
    node = zrm.AnimationNode("a")
    for argument in (9, 3):  # the second call replaces
        node.setPositionAnimation([(argument, [(time, (value, 2.0, -value)) for time, value in keys])])
    (channel,) = saved(node).position_channels
    assert (channel.argument, keys_of(channel)) == (3, [(time, (value, 2.0, -value)) for time, value in left])


def test_rotations_are_simplified(folder):
    """q and -q are different keys; the middle of an arc follows from its ends."""
    node, half = zrm.AnimationNode("a"), math.sqrt(0.5)
    arc = [(1.0, 0.0, 0.0, 0.0), (math.cos(math.pi / 8), math.sin(math.pi / 8), 0.0, 0.0), (half, half, 0.0, 0.0)]
    node.setRotationAnimation([(1, [(1.0, (-1.0, 0.0, 0.0, 0.0)), (0.0, arc[0])]), (2, list(zip((0.0, 0.5, 1.0), arc)))])
    turned, along = saved(node).rotation_channels
    assert keys_of(turned) == [(0.0, (0.0, 0.0, 0.0, 1.0)), (1.0, (0.0, 0.0, 0.0, -1.0))]
    assert [time for time, _ in keys_of(along)] == [0.0, 1.0]


def test_keys_that_are_no_numbers(folder):
    """Any order will do; every key is one that was given, first and last perhaps twice, and nothing runs wild."""
    times = [math.nan, 1.0, -math.inf, 0.0, math.nan, math.inf, 1.0, 0.0]
    node = zrm.AnimationNode("a")
    node.setPositionAnimation([(0, [(time, (float(i), math.nan, math.inf)) for i, time in enumerate(times)])])
    node.setRotationAnimation([(0, [(time, (math.nan, math.inf, 0.0, 1e30)) for time in times])])
    keys = saved(node).position_channels[0].keys
    assert 0 < len(keys) <= len(times) + 2 and {key["value"][0] for key in keys} <= set(range(len(times)))


def test_reduced_values(folder):
    flat = [(0.0, 1.0), (0.5, 1.0), (1.0, 1.0)]
    assert [len(brightness(zrm.PropertyFloat(3, flat, *more)).keys) for more in ((), (True,), (False,))] == [1, 1, 3]
    value = zrm.PropertyFloat(1.0)
    for reduce, count in ((True, 1), (False, 3)):
        value.setAnim(3, flat, reduce)
        assert len(brightness(value).keys) == count
    for bump, left in ((0.0009, 1), (0.0011, 3)):
        assert len(brightness(zrm.PropertyFloat(3, [(0.0, 0.0), (0.5, bump), (1.0, 0.0)])).keys) == left
    for given, stored in ((2**32 - 1, NONE), (-1, NONE), (-(2**31), 2**31), (True, 1)):
        assert brightness(zrm.PropertyFloat(given, [])).argument == stored


def test_values_that_are_shared(folder):
    """One handed over does not change with its facade; one in two places carries the last name in both."""
    value, lights = zrm.PropertyFloat(1.0), (zrm.OmniLight("a"), zrm.OmniLight("b"))
    for number, light in enumerate(lights):
        light.setBrightness(value)
        value.set(2.0) if number == 0 else value.setAnim(3, [(0.0, 5.0)], False)
    assert [saved(light).brightness.value for light in lights] == [1.0, 2.0]
    shift, base, decal = zrm.PropertyFloat2((1.0, 2.0)), base_block(), zrm.DecalBlock()
    base.setAlbedoMapUVShift(shift), decal.setDecalMap("decal"), decal.setDecalMapUV(UV), decal.setDecalShift(shift)
    model = model_of(pbr(base))
    assert model.addRenderNode(hang(pbr(decal), model)) == ""
    assert [u.name for material in save(model).materials for u in material.uniforms] == ["decalShift"] * 2


def inner(phi, blend):
    slope = np.float32(np.tan(np.float64(np.float32(phi) * np.float32(0.5))))
    return np.float32(2) * np.float32(np.arctan(np.float64(slope * (np.float32(1) - np.float32(blend)))))


def test_animated_angles(folder):
    constant, blend = zrm.PropertyFloat(5, [(0.0, 1.0), (1.0, 1.0)], False), zrm.PropertyFloat(6, [(0.0, 0.0), (1.0, 1.0)])
    light = zrm.SpotLight("l")
    for phi, argument in ((zrm.PropertyFloat(1.0), 6), (constant, 5)):
        light.setAngles(phi, blend)
        theta = saved(light).theta
        assert (theta.name, theta.argument) == ("EMPTY_NAME", argument)
        times, values = theta.keys["time"], theta.keys["value"].ravel()
        assert times[0] == -1.0 and abs(times[-1] - 1.0) < 2e-3 and np.all(np.diff(times) > 0) and 2 < len(times) < 1000
        for at in np.linspace(-1.0, 1.0, 301):
            assert abs(np.interp(at, times, values) - inner(1.0, min(max(at, 0.0), 1.0))) < 2.1e-3
    for phi, narrowed, value in ((constant, 0.5, inner(1.0, 0.5)), (zrm.PropertyFloat(3, []), 0.0, 0.0)):
        light.setAngles(phi, zrm.PropertyFloat(narrowed))
        assert keys_of(saved(light).theta) == [(-1.0, (float(value),))]


def test_samples_of_animated_sprites(folder):
    lights, at = zrm.AnimatedFakeOmniLight("sprites"), np.arange(128) / 127
    for argument, stored in ((-0.9, 0), (math.nan, 0), (-2.0, NONE - 1), (1e9, 10**9), (7.9, 7)):
        lights.setAnimationArg(argument)
        assert saved(lights).animation.argument == stored
    lights.set([zrm.FakeOmniLight() for _ in range(3)])
    lights.setLightsAnimation([(0, [(1.0, 2.0), (0.0, 0.0), (0.5, 1.0)]), (1, []), (2, [(0.25, 1.0), (0.75, 3.0)])])
    samples = saved(lights).animation.samples
    assert np.array_equal(samples[0], (2.0 * at).astype(np.float32)) and not samples[1].any()
    assert np.allclose(samples[2], np.interp(at, [0.25, 0.75], [1.0, 3.0]), atol=1e-6)


def test_tangents_of_a_deck(folder):
    """Where points follow from u and v along two directions, the tangent is the first one, made upright on the normal."""
    random = np.random.default_rng(20240229)
    for along, across in random.normal(size=(20, 2, 3)):
        uv, normals = random.uniform(size=(60, 2)), random.normal(size=(60, 3))
        normals /= np.linalg.norm(normals, axis=1, keepdims=True)
        deck = deck_node((uv @ [along, across]).ravel(), normals.ravel(), uv.ravel(), np.arange(60))
        parts = saved(deck).mesh.split()
        tangents = along - normals * (normals @ along)[:, None]
        tangents /= np.linalg.norm(tangents, axis=1, keepdims=True)
        binormals = np.cross(normals, tangents)
        binormals[binormals @ across < 0] *= -1
        assert np.allclose(parts["TANGENT0"], tangents, atol=2e-3) and np.allclose(parts["BINORMAL0"], binormals, atol=2e-3)


def split_block(arguments, uv=UV):
    return changed(damage_block(), setAlbedoMapUV=uv, setArgument=-1, setPerVertexArguments=arguments)


def test_per_vertex_damage_is_split(folder):
    base, arguments = base_block(), [3.0] * 4 + [5.9] * 4
    base.setPositions(POSITIONS * 2), base.setNormals(NORMALS * 2), base.setAlbedoMapUV(UV * 2)
    blocks, deck = pbr(base, split_block(arguments, UV * 2)), deck_node(POSITIONS * 2, NORMALS * 2, UV * 2)
    deck.setPerVertexArguments(arguments)
    plain()
    for node in (blocks, deck):
        node.setIndices([*INDICES, *(i + 4 for i in INDICES), 0, 1, 7])  # the last one has mixed corners
        model = model_of(node)
        if node is blocks:
            node.addTransparentPivot([1.0, 2.0, 3.0])
        parts = save(model).render_nodes
        assert [int(part.parents[0, 1]) for part in parts] == [3, 5]
        for part in parts:
            assert "COLOR2" not in part.mesh.split() and part.mesh.indices.tolist() == INDICES and part.name == ""
            assert part.pivots.tolist() == ([[1.0, 2.0, 3.0]] if node is blocks else [])
    assert (repr(blocks), repr(deck)) == ("pyzrm::PBRNode()", "pyzrm::DeckNode(,,)")
    skin = save(model_of(pbr(split_block([3.0, 3.0, 4.0, 4.0]), bone_block()), zrm.Bone("b"))).render_nodes[0]
    assert skin.type_name == "model::SkinNode"
    assert skin.mesh.attribute("COLOR2").ravel().tolist() == [3.0, 3.0, 4.0, 4.0]


def test_what_a_second_call_does(folder):
    """Positions of the fixed meshes are appended, a shell's are replaced; a second build adds a second time."""
    plain()
    node, shell = color_node(), zrm.ShellNode("shell")
    node.setPositions(POSITIONS[:3]), node.setNormals(NORMALS + [0.0, 1.0, 0.0])
    shell.setPositions(POSITIONS), shell.setPositions(POSITIONS[:9]), shell.setIndices([2, 1, 0])
    model = model_of(node)
    assert model.addRenderNode(node) == ""
    model.addShellNode(hang(shell, model))
    file = save(model)
    assert [record.mesh.vertex_count for record in (*file.render_nodes, *file.shell_nodes)] == [5, 5, 3]
    lights, spots, two_sided, early = zrm.FakeOmniLights("n"), zrm.FakeSpotLights("n"), pbr(), pbr()
    lights.set([zrm.FakeOmniLight()]), lights.set([])
    spots.set([zrm.FakeSpotLight()]), spots.set([])  # changes nothing
    assert [len(saved(facade).lights) for facade in (lights, spots)] == [0, 1]
    two_sided.setTwoSided(True)
    saved(two_sided)
    two_sided.setTwoSided(False)  # a build does not take back what the first one set
    early.addTransparentPivot([9.0, 9.0, 9.0])  # before the build it does nothing
    assert saved(two_sided).mesh.triangle_count == 4 and saved(early).version == 0


def test_block_list():
    node, first, second, normal = zrm.PBRNode("n", "m"), zrm.BaseBlock(), zrm.ColorBaseBlock(), zrm.NormalBlock()
    node.addBlock(None)
    assert node.getBlock("BT_Base") is None and not node.hasBlock("BT_Base")
    for block in (first, normal, second):
        node.addBlock(block)
        assert node.getBlock(block.getTypeName()) is block and node.hasBlock(block.getTypeName())
    assert not any(node.hasBlock(name) for name in ("BT_base", "UNKNOWN", "")) and node.getBlock("") is None
    del second, block  # the native block lives on without its Python half
    assert isinstance(node.getBlock("BT_Base"), zrm.ColorBaseBlock) and not zrm.IRenderNode().hasBlock("BT_Base")


def test_children_move(folder):
    plain()
    model = zrm.Model()
    root, a, b, c = model.getRootTransform(), zrm.Transform("a"), zrm.Bone("b"), zrm.Lod("c", [1.0])
    for parent, child in ((root, a), (root, b), (a, c), (root, zrm.Node("d")), (b, a), (root, b)):
        assert parent.addChild(child) is child  # leaves its former parent and goes to the end
    for above, below in ((a, a), (a, b), (c, b), (c, root)):
        with pytest.raises(ValueError, match="under itself"):
            above.addChild(below)
    found = [(node.name, node.parent) for node in save(model).nodes]
    assert found == [("root", -1), ("d", 0), ("b", 0), ("a", 2), ("c", 3)]


def test_names(folder):
    for name in ("", "ä✓𝄞", "a\nb", "x" * 100_000):
        node = zrm.Node(name)
        assert node.getName() == name and saved(node).name == name
    assert zrm.Node("a\0b").getName() == "a"
    odd = zrm.Node(b"\xff\xfe")
    for call in (odd.getName, lambda: repr(odd)):
        with pytest.raises(UnicodeDecodeError):
            call()
    assert saved(odd).name == "\udcff\udcfe"


@pytest.mark.parametrize("value", [math.nan, math.inf, -math.inf, 1e30])
def test_geometry_that_is_no_number(folder, value):
    for passes in (True, False):
        base, sprite, lights = base_block(), zrm.FakeSpotLight(), zrm.FakeSpotLights("s")
        base.setPositions([value, *POSITIONS[1:]]), base.setAlbedoMapUV([value, *UV[1:]])
        sprite.setPos((value,) * 3), sprite.setSize(value), sprite.setDirection((value,) * 3)
        lights.set([sprite])
        deck = deck_node(POSITIONS, [value, *NORMALS[1:]], [value, *UV[1:]])
        for node in (deck, pbr(base), pbr(base, split_block([value] * 4)), lights):
            model = model_of(node)
            model.setBBox((0.0,) * 3 + (-1.0,) * 3)  # so that it is computed
            assert passes or plain() is None
            assert model.save("model.zrm", 10) == ""
