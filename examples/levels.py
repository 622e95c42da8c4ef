"""A ball in three levels of detail, and a lid on it that the argument 0 hides.

    python levels.py [OUT.zrm]
"""

from __future__ import annotations

import sys

import zrm_scene
from shapes import Shape
from zrm_scene import FAR, Arguments, Kind, Mesh, Node, Shown, Surface, Value

ARGUMENTS = Arguments("open")
RINGS = (32, 12, 5)
LIMITS = (20.0, 80.0, FAR)  # up to which distance each is shown


def mesh(shape: Shape) -> Mesh:
    """A shape as a record."""
    return Mesh(shape.positions, shape.triangles, shape.normals, {0: shape.uvs})


def nodes() -> list[Node]:
    """The scene, parents before their children."""
    paint, wood = Surface("paint", colour=Value.of(0.2, 0.4, 0.9)), Surface("wood", colour=Value.of(0.5, 0.3, 0.1))
    ball = Node("ball", levels=LIMITS)
    found = [ball]
    for rings in RINGS:
        level = Node(f"{rings} rings", ball)
        level.shapes.append(zrm_scene.Shape(mesh(Shape().ball(1.0, rings)), paint, label="ball"))
        found.append(level)
    gate = Node("closed", shown=[Shown(ARGUMENTS.open, [(0.0, 1.0), (0.5, 0.0)])])
    lid = Node("lid", gate, translation=(0.0, 1.0, 0.0))
    lid.shapes.append(zrm_scene.Shape(mesh(Shape().box((-0.6, 0.0, -0.6), (0.6, 0.1, 0.6))), wood, label="lid"))
    hull = Node("hull")
    hull.shapes.append(zrm_scene.Shape(mesh(Shape().ball(1.0, 4)), kind=Kind.SHELL, label="hull"))
    return [*found, gate, lid, hull]


if __name__ == "__main__":
    with zrm_scene.save(sys.argv[1] if len(sys.argv) > 1 else "levels.zrm") as scene:
        scene.write(nodes())
