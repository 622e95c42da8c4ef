"""Models that passes have work in: nodes that do nothing, equal materials, meshes side by side, vertices to weld.

Everything is chosen so that it looks the same to within rounding before and after: matrices turn by quarters and scale
alike along the axes, points lie on a grid.
"""

import random

import numpy as np
import pyzrm_313 as zrm

from .arguments import IDENTITY, Expected, Source
from .call_table import NODES
from .scripted import KINDS, Script

_FLIPS = [((1, 0, 0), (0, 1, 0), (0, 0, 1)), ((0, 1, 0), (-1, 0, 0), (0, 0, 1)), ((0, 0, 1), (1, 0, 0), (0, 1, 0))]


class Tame(Source):
    def grid(self, rows, width, choices):
        found = np.array([self.random.choice(choices) for _ in range(rows * width)], np.float32).reshape(rows, width)
        return Expected(found.ravel(), found)

    def keys(self, count, value):
        """At least one: a scale without keys leaves nothing to see."""
        return super().keys(max(count, 1), value)

    def k_matrix(self):
        if self.random.random() < 0.3:
            return IDENTITY
        scale = self.random.choice((0.5, 1.0, 2.0))
        turn = self.random.choice(_FLIPS)
        columns = [(*(scale * value for value in column), float(self.random.randrange(-4, 5))) for column in turn]
        return [*columns, (0.0, 0.0, 0.0, 1.0)]

    def k_points(self):
        points = self.grid(self.count, 3, (-1.0, 0.0, 0.5, 2.0)).found
        points[1::2] += np.float32(4e-6)
        return Expected(points.ravel(), points)

    def k_normals(self):
        rows = np.eye(3, dtype=np.float32)[[self.random.randrange(3) for _ in range(self.count)]]
        return Expected(rows.ravel(), rows)

    def k_uvs(self):
        """One of two, so that sets repeat."""
        step = self.random.choice((0.25, 0.5))
        rows = (np.arange(2 * self.count, dtype=np.float32) % 5 * np.float32(step)).reshape(-1, 2)
        return Expected(rows.ravel(), rows)

    def k_triangles(self):
        flat = [self.random.randrange(self.count) for _ in range(3 * self.random.randrange(4, 12))]
        return Expected(flat, flat)

    def k_bones(self):
        chosen = [self.random.choice(self.bones) for _ in range(2)]
        return Expected([bone for bone, _ in chosen], [place for _, place in chosen])

    def k_bone_numbers(self):
        numbers = [self.random.randrange(3) for _ in range(4 * self.count)]
        return Expected(numbers, np.zeros((self.count, 1), np.float32))

    k_map = lambda self: "map"
    k_f3 = lambda self: (self.k_f(),) * 3
    k_f = lambda self: self.random.choice((0.5, 1.0, 2.0))
    k_sides = lambda self: False
    k_handle = lambda self: self.random.randrange(3)
    k_mode = lambda self: self.random.randrange(2)

    def k_value1(self, width=1):
        self.random.random()
        facade = (zrm.PropertyFloat, zrm.PropertyFloat2, zrm.PropertyFloat3)[width - 1]
        value = (0.5, (0.5, 0.5), (0.5, 1.0, 0.5))[width - 1]
        return Expected(facade(value), ("", value))


def tame_script(seed, boxes=True):
    """Each kind of mesh and light three times over, on nodes of its own choice; no skins without boxes."""
    script = Script(seed, 0.5, Tame)
    for kind in [*NODES, *script.random.choices([*NODES, "Transform", "Transform"], k=8), "Bone"]:
        script.add_node(kind)
    for kind in [*KINDS, "PBRNode", "PBRNode"]:
        state = script.random.getstate()
        for _ in range(3):
            script.random.setstate(state)
            if kind in ("PBRNode", "GlassNode"):
                blocks = blocks_of(script, kind)
                script.add_mesh(kind, [name for name in blocks if boxes or name != "BoneBlock"])
            else:
                script.add(kind)
    if boxes:
        script.finish()
    return script


def blocks_of(script, kind):
    """An infrared map has the albedo's coordinates, so it never comes without."""
    blocks = script.blocks(kind)
    return [name for name in blocks if name != "FlirBlock" or "BaseBlock" in blocks]


def golden_script(meshes=64):
    """With meshes that reordering may or may not be worth: near to what the pass asks for on either side."""
    script = tame_script(5)
    for number in range(meshes):
        mesh = crowd(212 + number // 4) if number % 4 == 3 else shuffled_strip(number)
        mesh.setControlNode(script.facades[number % len(script.facades)])
        assert script.model.addRenderNode(mesh) == ""
    return script


def shuffled_strip(seed):
    """A band of quads of which only some are out of order; in every other one each triangle has corners of its own."""
    chance = random.Random(seed)
    length = chance.choice((chance.randrange(8, 40), chance.randrange(40, 600)))
    points = [(float(k // 2), float(k % 2), 0.0) for k in range(2 * length + 2)]
    triangles = [t for k in range(0, 2 * length, 2) for t in ((k, k + 1, k + 2), (k + 2, k + 1, k + 3))]
    for _ in range(chance.randrange(4)):
        a, b = chance.randrange(len(triangles)), chance.randrange(len(triangles))
        triangles[a], triangles[b] = triangles[b], triangles[a]
    if seed % 2:
        points = [points[k] for triangle in triangles for k in triangle]
        triangles = [(k, k + 1, k + 2) for k in range(0, len(points), 3)]
    return flat_mesh(seed, points, triangles)


def crowd(seed):
    """Many triangles on few points, group after group that the cache holds, and some that ask for two points more."""
    chance = random.Random(seed)
    groups = chance.randrange(1, 6)
    points = [(float(k % 5), float(k // 5), 0.0) for k in range(16 * groups + 2)]
    triangles = [tuple(chance.sample(range(k, k + 16), 3)) for k in range(0, 16 * groups, 16) for _ in range(700)]
    for _ in range(chance.randrange(1, 5)):
        triangles[chance.randrange(len(triangles))] = (chance.randrange(15), len(points) - 2, len(points) - 1)
    return flat_mesh(seed, points, triangles)


def flat_mesh(number, points, triangles):
    node = zrm.ColorNode(f"mesh {number}", "paint")
    node.setPositions(np.array(points).ravel())
    node.setNormals([0.0, 0.0, 1.0] * len(points))
    node.setIndices(np.array(triangles).ravel())
    return node
