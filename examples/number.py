"""A display of three digits: each digit shifts the strip 0 1 2 ... 9 of its texture by an argument of its own, 0 to 1.

    python number.py [OUT.zrm]
"""

from __future__ import annotations

import sys

import numpy as np
import pyzrm_313 as zrm
import zrm_scene
from shapes import Shape, moved
from zrm_scene import Arguments, Map, Surface

ARGUMENTS = Arguments("hundreds", "tens", "ones")
WIDTH, HEIGHT = 0.6, 1.0
DIGITS = 10  # side by side in the texture

if __name__ == "__main__":
    with zrm_scene.save(sys.argv[1] if len(sys.argv) > 1 else "number.zrm") as scene:
        display = scene.attach(zrm.NumberRoot("display"))
        for place, name in enumerate(ARGUMENTS):
            digit = scene.node(name, moved(place * WIDTH, 0, 0), display)
            shift = zrm.NumberBlock()
            shift.setUVParams(ARGUMENTS[name], 1.0, -1, 0.0)
            sheet = Shape().sheet(WIDTH, HEIGHT)
            uvs = sheet.uvs * np.array([1 / DIGITS, 1], np.float32)
            scene.mesh(digit, Surface("digits", albedo=Map("digits")), sheet.positions, sheet.triangles, sheet.normals, uvs, [shift], name)
