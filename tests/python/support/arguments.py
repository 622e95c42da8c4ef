"""Arguments of calls: for each kind a value to pass, and what is left of it in 32 bits."""

import random
from typing import Any, NamedTuple

import numpy as np
import pyzrm_313 as zrm

from .record_bytes import NONE

# A quad in the plane z = 0.
POSITIONS = [0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 1.0, 1.0, 0.0, 0.0, 1.0, 0.0]
NORMALS = [0.0, 0.0, 1.0] * 4
UV = [0.0, 0.0, 1.0, 0.0, 1.0, 1.0, 0.0, 1.0]
INDICES = [0, 1, 2, 0, 2, 3]
IDENTITY = [(1.0, 0.0, 0.0, 0.0), (0.0, 1.0, 0.0, 0.0), (0.0, 0.0, 1.0, 0.0), (0.0, 0.0, 0.0, 1.0)]
_TURNS = [(1.0, 0.0, 0.0, 0.0), (0.0, 1.0, 0.0, 0.0), (0.0, 0.0, 1.0, 0.0), (0.0, 0.0, 0.0, -1.0)]
_SHAPES = (np.ndarray.tolist, lambda flat: tuple(flat.tolist()), lambda flat: np.repeat(flat, 2)[::2],
    lambda flat: flat[::-1].copy()[::-1], lambda flat: flat.reshape(-1, 1), lambda flat: flat, lambda flat: flat.astype(float),
    lambda flat: np.frombuffer(b"x" + flat.tobytes(), flat.dtype, offset=1),
    lambda flat: flat.astype(flat.dtype.newbyteorder(">")))  # fmt: skip


def narrow(value):
    """Floats at any depth as they are after 32 bits."""
    if isinstance(value, float):
        return float(np.float32(value))
    if isinstance(value, (list, tuple)):
        return type(value)(narrow(entry) for entry in value)
    return value


class Expected(NamedTuple):
    """What is passed, and what is to be found of it."""

    passed: Any
    found: Any


class Source:
    """Random arguments of a kind, `kind(self)` for each name in the table of calls.

    A method gives (what is passed, what is to be found), or what serves as both. `count` is the number of vertices of
    the mesh in hand, `bones` what a skin may name, each with its place in the tree.
    """

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.count = 4
        self.bones = []

    def draw(self, kind):
        passed = getattr(self, "k_" + kind)()
        return passed if isinstance(passed, Expected) else (passed, narrow(passed))

    numbers = lambda self, count: tuple(self.random.uniform(-8.0, 8.0) for _ in range(count))

    def array(self, rows, width, low=-8.0):
        """Flat data in one of the shapes that a script may pass, and as rows."""
        flat = np.array([self.random.uniform(low, 8.0) for _ in range(rows * width)], np.float32)
        return Expected(self.shaped(flat), flat.reshape(rows, width))

    def listed(self, flat):
        """For calls that take a sequence."""
        return self.random.choice((flat, tuple(flat.tolist()), flat.tolist(), np.repeat(flat, 2)[::2]))

    def shaped(self, flat):
        """For calls that take an array."""
        return self.random.choice(_SHAPES)(flat)

    # ------------------------------------------------------------ single values

    k_f = lambda self: self.random.uniform(-8.0, 8.0)
    k_f2 = lambda self: self.numbers(2)
    k_f3 = lambda self: self.numbers(3)

    def k_quaternion(self):
        w, *xyz = self.numbers(4)
        return Expected((w, *xyz), narrow([*xyz, w]))

    k_text = lambda self: self.random.choice(("albedo", "map", "ä✓", "x" * 5000, "a/b.png", " "))

    def k_map(self):
        text = self.random.choice(("Albedo.PNG", "map", "Straße Ä", "Y" * 5000))
        return Expected(text, text.lower())

    k_bool = lambda self: self.random.random() < 0.5
    k_sides = lambda self: self.k_bool()
    k_handle = lambda self: self.random.randrange(100)
    k_mode = lambda self: self.random.choice((0, 1, 2, 3, 4, 5, 6, 7, -1, NONE))

    def k_byte(self):
        value = self.random.choice((0, 7, 255, 256, 300, -1, NONE))
        return Expected(value, value & 255)

    def k_box(self):
        low = self.numbers(3)
        high = tuple(value + self.random.uniform(1.0, 3.0) for value in low)
        return Expected((*low, *high), narrow([list(low), list(high)]))

    def k_matrix(self):
        columns = [self.numbers(4) for _ in range(4)]
        return Expected([*columns, (9.0,) * 4], narrow([list(row) for row in zip(*columns)]))

    def k_distances(self):
        values = [abs(value) for value in self.numbers(3)]
        squares = [value * value for value in narrow(values)]
        return Expected(values, [list(pair) for pair in zip([0.0, *squares], squares)])

    # ------------------------------------------------------------ keys

    def keys(self, count, value):
        """Times ascend; no key follows from the others when `value(k)` bends."""
        return [(k * 0.3 - 0.5, value(k)) for k in range(count)]

    shuffled = lambda self, keys: self.random.sample(keys, len(keys))

    def bent(self, width):
        start = self.numbers(width)
        return lambda k: tuple(value + k * k for value in start) if width > 1 else start[0] + k * k

    def k_value1(self, width=1):
        """A constant or animated value; what is found is all of its record but the name."""
        facade = (zrm.PropertyFloat, zrm.PropertyFloat2, zrm.PropertyFloat3)[width - 1]
        form = ("float", "osg::Vec2f", "osg::Vec3f")[width - 1]
        if self.random.random() < 0.5:
            value = self.numbers(width) if width > 1 else self.k_f()
            return Expected(facade(value), (f"model::Property<{form}>", narrow(value)))
        argument = self.random.choice((self.k_handle(), self.k_handle(), NONE))
        keys = self.keys(self.random.randrange(4), self.bent(width))
        found = [(narrow(time), list(narrow(value)) if width > 1 else [narrow(value)]) for time, value in keys]
        return Expected(facade(argument, self.shuffled(keys)), (f"model::AnimatedProperty<{form}>", argument, found))

    k_value2 = lambda self: self.k_value1(2)
    k_value3 = lambda self: self.k_value1(3)

    def channels(self, value, found):
        passed, expected = [], []
        for argument in (self.k_handle() for _ in range(self.random.randrange(3))):
            keys = self.keys(self.random.randrange(4), value())
            passed.append((argument, self.shuffled(keys)))
            expected.append({"argument": argument, "keys": [(narrow(time), found(narrow(v))) for time, v in keys]})
        return Expected(passed, expected)

    k_moves = lambda self: self.channels(lambda: self.bent(3), list)
    k_turns = lambda self: self.channels(lambda: lambda k: _TURNS[k], lambda turn: [*turn[1:], turn[0]])

    def k_ranges(self):
        """Arguments in any order, each shown twice; they are sorted."""
        passed, found = [], []
        for argument in sorted(self.random.sample(range(100), self.random.randrange(4))):
            keys = self.keys(4, lambda k: 1.0 - k % 2)
            times = narrow([time for time, _ in keys])
            passed.append((argument, keys))
            found.append({"argument": argument, "ranges": [times[:2], times[2:]]})
        return Expected(self.shuffled(passed), found)

    # ------------------------------------------------------------ geometry

    k_points = lambda self: self.array(self.count, 3)
    k_normals = lambda self: self.array(self.count, 3, 1.0)
    k_uvs = lambda self: self.array(self.count, 2)

    def k_triangles(self):
        flat = np.array([self.random.randrange(self.count) for _ in range(3 * self.random.randrange(1, 6))], np.uint32)
        return Expected(self.shaped(flat), flat.tolist())

    def k_weights(self):
        rows = np.tile(np.array([0.25, 0.5, 0.125, 0.125], np.float32), (self.count, 1))
        return Expected(self.shaped(rows.ravel()), rows)

    def k_bone_numbers(self):
        """Any bytes, also such as are no number when four of them are taken for a float; higher bits go."""
        numbers = np.array([self.random.choice((0, 1, 127, 128, 160, 255)) for _ in range(4 * self.count)], np.uint32)
        passed = self.shaped(numbers + np.uint32(256 * self.random.randrange(2)))
        return Expected(passed, numbers.astype(np.uint8).view(np.float32).reshape(-1, 1))

    def k_bones(self):
        chosen = [self.random.choice(self.bones) for _ in range(self.random.randrange(3))]
        return Expected([bone for bone, _ in chosen], [place for _, place in chosen])

    rows_listed = lambda self, rows: Expected(self.listed(rows.ravel()), rows)
    k_point_list = lambda self: self.rows_listed(self.k_points().found)
    k_uv_list = lambda self: self.rows_listed(self.k_uvs().found)
    index_list = lambda self, indices: Expected(self.listed(np.array(indices, np.uint32)), indices)
    k_index_list = lambda self: self.index_list(self.k_triangles().found)
    k_quad_points = lambda self: self.rows_listed(np.array(POSITIONS, np.float32).reshape(-1, 3))
    k_quad_normals = lambda self: self.rows_listed(np.array(NORMALS, np.float32).reshape(-1, 3))
    k_quad_uvs = lambda self: self.rows_listed(np.array(UV, np.float32).reshape(-1, 2))
    k_quad = lambda self: self.index_list(INDICES)

    def k_segments(self):
        rows = [(self.numbers(3), self.numbers(3)) for _ in range(self.random.randrange(1, 4))]
        return Expected(rows, narrow([[list(a), list(b)] for a, b in rows]))

    # ------------------------------------------------------------ sprites

    def sprite(self, light, is_spot):
        position, size, first, second = self.numbers(3), self.k_f(), self.numbers(2), self.numbers(2)
        light.setPos(position)
        light.setSize(size)
        light.setUV(first, second)
        found = (narrow(position), _turned(first), _turned(second), narrow(size), 0)
        if is_spot:
            first, second, direction, back = self.numbers(2), self.numbers(2), self.numbers(3), self.k_bool()
            light.setBackUV(first, second)
            light.setBackSide(back)
            light.setDirection(direction)
            found += (_turned(first), _turned(second), int(back), narrow(direction))
        return found

    def k_omnis(self):
        lights = [zrm.FakeOmniLight() for _ in range(2)]
        return Expected(lights, [self.sprite(light, False) for light in lights])

    def k_spots(self):
        lights = [zrm.FakeSpotLight() for _ in range(2)]
        rows = [self.sprite(light, True) for light in lights[:1]]
        rows.append(((0.0,) * 3, (0.0, 0.0), (0.0, 0.0), 0.0, 0, (0.0, 0.0), (0.25, 0.5), 0, (0.0, 1.0, 0.0)))
        return Expected(lights, rows)

    def k_steady(self):
        """One key for each of two sprites: 128 samples of its value."""
        values = self.numbers(2)
        return Expected([(k, [(0.5, value)]) for k, value in enumerate(values)], [[narrow(v)] * 128 for v in values])

    k_argument = lambda self: self.random.uniform(0.0, 50.0)

    def k_still(self):
        value = self.k_f()
        return Expected(zrm.PropertyFloat(value), narrow(value))

    k_names = lambda self: ["a", "ä"]
    k_controls = lambda self: [self.numbers(4)]

    def k_flat(self):
        """A blend of 1, which leaves an inner angle of 0."""
        return Expected(zrm.PropertyFloat(1.0), 0.0)

    def k_angle(self):
        value = self.random.uniform(0.1, 3.0)
        return Expected(zrm.PropertyFloat(value), ("model::Property<float>", narrow(value)))


def _turned(uv):
    """The v coordinate turned over, in 32 bits."""
    return float(np.float32(uv[0])), float(np.float32(1.0) - np.float32(uv[1]))
