"""What stands between a host and the module pyzrm_313: plain records of a scene, checked and written as a model.

`save` opens a scene for scripts; `Node`, `Mesh`, `Surface`, `Skin`, `Light` and `Clip` are records for exporters, which
`Scene.write` puts into the model with all that a motion needs. Nothing here knows a file format or a host.
"""

from .clips import Clip, Driven, Moves, Value
from .errors import ZrmError
from .names import Arguments, Blending, EmissiveType, GlassBlending, GlassType, Shadows
from .records import FAR, Kind, Light, Map, Mesh, Node, Shape, Shown, Skin, Surface
from .report import Report
from .scene import Scene, save
from .switches import SWITCHES, optimizations
from .tracks import Mode, Track

__all__ = [
    "FAR",
    "SWITCHES",
    "Arguments",
    "Blending",
    "Clip",
    "Driven",
    "EmissiveType",
    "GlassBlending",
    "GlassType",
    "Kind",
    "Light",
    "Map",
    "Mesh",
    "Mode",
    "Moves",
    "Node",
    "Report",
    "Scene",
    "Shadows",
    "Shape",
    "Shown",
    "Skin",
    "Surface",
    "Track",
    "Value",
    "ZrmError",
    "optimizations",
    "save",
]
