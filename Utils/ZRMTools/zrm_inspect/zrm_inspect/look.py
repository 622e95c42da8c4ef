"""How a material is shown where its textures aren't at hand: a colour, an opacity, a light of its own."""

from __future__ import annotations

import colorsys
import zlib
from dataclasses import dataclass

import numpy as np

from .animation import Arguments, property_at
from .cursor import encode
from .model import Material, Property

Colour = tuple[float, float, float]
TRANSPARENT = 1  # the blending of surfaces that let through what is behind them


@dataclass(frozen=True, slots=True)
class Look:
    colour: Colour
    opacity: float
    glow: Colour


def colour_of(entry: Property | None, arguments: Arguments) -> Colour | None:
    value = None if entry is None else property_at(entry, arguments)
    if not isinstance(value, tuple) or len(value) < 3 or not np.isfinite(value[:3]).all():
        return None
    red, green, blue = (min(max(float(part), 0.0), 1.0) for part in value[:3])
    return red, green, blue


def number_of(entry: Property | None, arguments: Arguments, otherwise: float) -> float:
    value = None if entry is None else property_at(entry, arguments)
    return float(value) if isinstance(value, (int, float, np.float32)) and np.isfinite(value) else otherwise


def pale(name: str) -> Colour:
    """A colour that a name always has."""
    number = zlib.crc32(encode(name))
    return colorsys.hls_to_rgb(number % 360 / 360.0, 0.62, 0.25 + (number >> 9) % 64 / 200.0)


def look_of(material: Material, arguments: Arguments) -> Look:
    """Its own colour, or where it has a texture instead, one made from the texture's name."""
    textured = material.textures.get(0)
    colour = colour_of(material.uniform("color"), arguments)
    if colour is None or textured:
        colour = pale(textured.name if textured else material.name)
    amount = number_of(material.uniform("selfIlluminationValue"), arguments, 0.0)
    glow = colour_of(material.uniform("selfIlluminationColor"), arguments) or (1.0, 1.0, 1.0)
    opacity = number_of(material.uniform("opacityValue"), arguments, 0.4) if material.blending == TRANSPARENT else 1.0
    shine = min(max(amount, 0.0), 1.0)
    return Look(colour, min(max(opacity, 0.0), 1.0), (glow[0] * shine, glow[1] * shine, glow[2] * shine))
