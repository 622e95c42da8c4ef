"""What the passes of a save do to whole models, and what they leave as it was."""

import hashlib
import itertools
import math
import random
import subprocess
from pathlib import Path

import numpy as np
import pytest
import pyzrm_313 as zrm
import zrm_inspect
from conftest import SWITCHES
from support.every_record import LARGEST
from support.process import run_python
from support.quick import changed, hang, model_of, pbr, save as save_as_it_is
from support.scene_parts import parts, same
from support.scripted import plain
from support.tame import golden_script, tame_script
from zrm_inspect.model import BaseRenderNode, FakeOmniLightsNode, FakeSpotLightsNode, RenderNode, SegmentsNode, ShellNode

SEEDS = range(12)
# Pairs of passes, by their places in the order, of which the second one's work depends on the first one's.
ORDERED = {(1, 2), (2, 3), (3, 4), (4, 5), (0, 3), (3, 5)}


def save(script, on):
    plain(on)
    assert script.model.save("model.zrm", 10) == ""
    return Path("model.zrm").read_bytes()


digest = lambda data: hashlib.sha256(data).hexdigest()[:32]


def poses(seed):
    chance = random.Random(seed)
    return [{}] + [{k: chance.uniform(-0.6, 0.6) for k in range(100)} for _ in range(2)]


@pytest.mark.parametrize("seed", SEEDS)
def test_everything_that_shows_survives(folder, seed):
    before = zrm_inspect.parse(save(tame_script(seed), ()))
    wanted = [(pose, parts(before, pose)) for pose in poses(seed)]
    assert len(wanted[0][1]) >= 8
    for on in (*[(name,) for name in SWITCHES], SWITCHES):
        after = zrm_inspect.parse(save(tame_script(seed), on))
        for pose, parts_before in wanted:
            assert same(parts_before, parts(after, pose)) == "", on


def test_the_order_of_the_passes(folder):
    """A save with several switches is as many saves with one each, in the one order."""

    def one_by_one(names):
        script = golden_script(8)
        return [save(script, [name]) for name in names][-1]

    assert one_by_one(SWITCHES) == save(golden_script(8), SWITCHES)
    matters = set()
    for first, second in itertools.combinations(range(len(SWITCHES)), 2):
        pair = SWITCHES[first], SWITCHES[second]
        assert one_by_one(pair) == save(golden_script(8), pair)
        if one_by_one(pair[::-1]) != one_by_one(pair):
            matters.add((first, second))
    assert matters == ORDERED


CASES = {name: [name] for name in SWITCHES} | {"none": [], "all": SWITCHES}
CASES["all but mergeNodes"] = [name for name in SWITCHES if name != "mergeNodes"]
# The first half of the SHA-256 of the file that these passes leave.
GOLDEN = {"optimizeTransformations": "279016bdf4154d309e94ea4172b372f8",
    "mergePopertiesSets": "6ecd55a6a6e7a95ec50cd82cea62b893", "optimizeTextureChannels": "f22fdf502ad5f6efa0de1acb92a5eb40",
    "mergeNodes": "0b4639af7e104dd80d2b165b3657feb5", "extremlyOptimizeMeshes": "dcbf914a1d18c30f42c68a845991da19",
    "optimizeVertexCache": "bb7ab29e6f5f74373df8652b8c32ae79", "none": "9c94d54407c27759eb60faf9a42d4170",
    "all": "8a00933bfdde729d292de700a880b8a1", "all but mergeNodes": "331f9e890c4adf2b95f1035d479bbc7c"}  # fmt: skip


def test_golden_files(folder):
    """A change of one of these is a change of what scripts get: say so where it is made."""
    found = {case: digest(save(golden_script(), on)) for case, on in CASES.items()}
    assert found == GOLDEN


FRESH = """
import locale, sys
locale.setlocale(locale.LC_ALL, "")
from support.tame import golden_script
import pyzrm_313 as zrm
assert golden_script().model.save("all.zrm", 10) == ""
zrm.enable_model_optimization("mergeNodes", False)  # which merges materials itself
assert golden_script().model.save("all but mergeNodes.zrm", 10) == ""
value = zrm.PropertyFloat3(1234567, [(0.5, (1234.5, -0.25, 1e20))])
print(locale.localeconv()["decimal_point"], value, zrm.Model().save("x", 54321))
"""


def test_fresh_processes(folder):
    """All passes are on at the start, and neither hash seeds nor locales reach the file or a text."""
    points = {}
    for seed, name in (("0", "C"), ("1", "de_DE.UTF-8"), ("77", "tr_TR.UTF-8")):
        language = name.partition(".")[0]
        if name != "C" and subprocess.run(["localedef", "-i", language, "-f", "UTF-8", f"./{name}"]).returncode:
            pytest.skip(f"localedef makes no {name} here: the package of locale sources is missing")
        ran = run_python(FRESH, folder, PYTHONHASHSEED=seed, LC_ALL=name, LOCPATH=str(folder))
        assert ran.returncode == 0, ran.stderr
        point, _, texts = ran.stdout.strip().partition(" ")
        points[name] = point
        for case in ("all", "all but mergeNodes"):
            assert digest(Path(f"{case}.zrm").read_bytes()) == GOLDEN[case]
        numbers = "animation(1234567, 0.500000,vec3(1234.500000,-0.250000,100000002004087734272.000000))"
        assert texts == f"pyzrm::PropertyFloat3(_DUMMY_NAME_ = {numbers};) Unsupported version 54321"
    assert points == {"C": ".", "de_DE.UTF-8": ",", "tr_TR.UTF-8": ","}


def test_what_keeps_materials_apart(folder):
    for name, value in (("setDecalId", 1), ("setShadowCaster", 1), ("setShadowCaster", 2), ("setTransparentMode", 2)):
        model = zrm.Model()
        for calls in ({}, {name: value}, {}):
            assert model.addRenderNode(hang(changed(pbr(), **calls), model)) == ""
        plain(["mergePopertiesSets"])
        assert len(save_as_it_is(model).materials) == 2, name


def test_shells_get_an_order_for_the_cache_too(folder):
    found = []
    for on in ((), ["optimizeVertexCache"]):
        strip = np.add.outer(np.random.default_rng(1).permutation(30), range(3)).ravel()
        shell = changed(zrm.ShellNode("shell"), setPositions=np.arange(96.0), setIndices=strip)
        plain(on)
        found.append(save_as_it_is(model_of(shell)).shell_nodes[0].mesh.indices.tolist())
    assert found[0] != found[1] and sorted(found[0]) == sorted(found[1])


def corners_at(low, high, matrix):
    corners = np.array([[(low, high)[k >> axis & 1][axis] for axis in range(3)] + [1.0] for k in range(8)])
    return (corners @ matrix)[:, :3]


def boxes_at_rest(file):
    """The corners of each part's own box, where its node takes them."""
    world = zrm_inspect.evaluate(file, {}).world
    for node in (*file.render_nodes, *file.shell_nodes):
        if isinstance(node, RenderNode):
            numbers, points = node.mesh.part_numbers(), node.mesh.attribute("POSITION0")
            chosen = [(parent, points[numbers == part, :3]) for part, (parent, _) in enumerate(node.parents.tolist())]
        elif isinstance(node, FakeOmniLightsNode | FakeSpotLightsNode):
            spread = node.lights["size"][:, None].astype(float) / 2 * [[[-1.0]], [[1.0]]]
            points = (node.lights["position"] + spread).astype(np.float32)
            chosen = [(parent, points[:, node.lights["controlIndex"] == k].reshape(-1, 3))
                      for k, parent in enumerate(node.controls.tolist())]  # fmt: skip
        else:
            points = node.segments.reshape(-1, 3) if isinstance(node, SegmentsNode) else node.mesh.vertices
            chosen = [(node.control, points)]
        for parent, points in chosen:
            if len(points):
                yield corners_at(points.min(0).astype(float), points.max(0).astype(float), world[parent])
            elif not isinstance(node, BaseRenderNode):  # nothing, from the largest to the smallest number, turns inside out
                yield corners_at([LARGEST] * 3, [-LARGEST] * 3, world[parent])


@pytest.mark.parametrize("seed", SEEDS)
def test_box_of_a_model_that_has_none(folder, seed):
    for on in ((), SWITCHES):
        file = zrm_inspect.parse(save(tame_script(seed, boxes=False), on))
        with np.errstate(over="ignore"):
            corners = np.concatenate(list(boxes_at_rest(file))).astype(np.float32)
        expected = [corners.min(0), corners.max(0)]
        assert np.allclose(file.root.bounding_box, expected, rtol=1e-6, atol=1e-6)
        reach = max(float(np.max(property_values(light.distance))) for light in file.light_nodes)
        assert np.allclose(file.root.light_box, expected + np.array([[-reach], [reach]]), rtol=1e-6, atol=1e-6)
        assert np.array_equal(file.root.user_box, file.root.bounding_box)


property_values = lambda entry: entry.keys["value"] if hasattr(entry, "keys") else entry.value


@pytest.mark.parametrize(("distance", "left"), [(9e-6, 4), (1e-5, 4), (1.1e-5, 5), (math.nan, 4)])
def test_what_is_near_enough_to_weld(folder, distance, left):
    """What is no number is near to nothing, but the same bytes are one vertex all the same."""
    shell, first = zrm.ShellNode("shell"), 0.0 if distance > 0 else distance
    shell.setPositions([first, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0, 0.0, distance, 0.0, 0.0, 0.0, 0.0, 1.0])
    shell.setIndices([0, 1, 2, 3, 2, 4])
    model = zrm.Model()
    shell.setControlNode(model.getRootTransform())
    model.addShellNode(shell)
    assert model.save("model.zrm", 10) == ""
    (record,) = zrm_inspect.read_file("model.zrm").shell_nodes
    assert isinstance(record, ShellNode) and record.mesh.vertex_count == left
