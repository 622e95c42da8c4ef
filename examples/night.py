"""A street at night: lamps that light it, and far lights that are only sprites, some of which blink with the argument 0.

    python night.py [OUT.zrm]
"""

from __future__ import annotations

import math
import sys

import pyzrm_313 as zrm
import zrm_scene
from shapes import Shape, moved
from zrm_scene import Arguments, Blending, Shadows, Surface, Value

ARGUMENTS = Arguments("blink")
LAMPS = range(-20, 21, 10)


def lamp(scene: zrm_scene.Scene, x: float) -> None:
    """A post whose head glows, and the light that it gives."""
    post = scene.node(f"lamp {x}", moved(x, 0, 0))
    pole = Shape().box((-0.05, 0, -0.05), (0.05, 4, 0.05))
    scene.mesh(post, Surface("steel", colour=Value.of(0.3, 0.3, 0.3)), pole.positions, pole.triangles, pole.normals, name="pole")
    head = Shape().ball(0.2, 8)
    glow = Surface("glow", emissive_colour=Value.of(1.0, 0.8, 0.5), emissive_amount=Value.of(4.0), blending=Blending.OPAQUE, shadows=Shadows.NONE)
    top = scene.node("head", moved(0, 4, 0), post)
    scene.mesh(top, glow, head.positions, head.triangles, head.normals, name="head")
    light = zrm.SpotLight("lamp")
    light.setColor(zrm.PropertyFloat3((1.0, 0.8, 0.5)))
    light.setBrightness(zrm.PropertyFloat(30.0))
    light.setDistance(zrm.PropertyFloat(25.0))
    light.setAngles(zrm.PropertyFloat(math.radians(110.0)), zrm.PropertyFloat(0.3))
    scene.add(light, top)


def far_lights(scene: zrm_scene.Scene) -> None:
    """Sprites around the horizon: half of them shine always, the others in turn."""
    sprites = []
    for number in range(16):
        angle = math.tau * number / 16
        sprite = zrm.FakeOmniLight()
        sprite.setPos((200 * math.cos(angle), 3.0, 200 * math.sin(angle)))
        sprite.setSize(1.5)
        sprite.setUV((0.0, 0.0), (1.0, 1.0))
        sprites.append(sprite)
    steady = zrm.FakeOmniLights("steady")
    steady.set(sprites[::2])
    blinking = zrm.AnimatedFakeOmniLight("blinking")
    blinking.set(sprites[1::2])
    blinking.setAnimationArg(ARGUMENTS.blink)
    blinking.setLightsAnimation([(number, [(0.0, number % 2), (0.5, 1 - number % 2), (1.0, number % 2)]) for number in range(8)])
    horizon = scene.node("horizon")
    for lights in (steady, blinking):
        lights.setTexture("flare")
        lights.setMaxDistance(5000.0)
        scene.add(lights, horizon)


if __name__ == "__main__":
    with zrm_scene.save(sys.argv[1] if len(sys.argv) > 1 else "night.zrm") as scene:
        road = Shape().box((-30, -0.1, -3), (30, 0, 3))
        ground = scene.node("road")
        scene.mesh(ground, Surface("asphalt", colour=Value.of(0.1, 0.1, 0.1)), road.positions, road.triangles, road.normals, name="road")
        for x in LAMPS:
            lamp(scene, float(x))
        far_lights(scene)
