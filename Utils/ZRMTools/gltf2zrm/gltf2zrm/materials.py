"""glTF materials as surfaces, and what of them has no place there.

base colour texture -> albedo map; a plain base colour -> colour; normal texture -> normal map; metallic-roughness
texture -> aorms map (red occlusion, green roughness, blue metalness) where its red is the occlusion, or a copy without
it; occlusion texture -> occlusion map, unless it is that red; emissive factor and texture -> emission.  Alpha modes
OPAQUE, BLEND and MASK become the blendings of these names; the alpha of a blended base colour becomes the opacity.
"""

from __future__ import annotations

import numpy as np
from zrm_scene import Blending, Map, Surface, Value

from .animations import Animations
from .schema import MaterialEntry, Roughness, Strength, TextureInfo, TextureTransform
from .source import Source, extension, floats, vector
from .textures import Textures

LOD = "MSFT_lod"
TRANSFORM = "KHR_texture_transform"
STRENGTH = "KHR_materials_emissive_strength"
ALPHA_MODES = {"OPAQUE": Blending.OPAQUE, "BLEND": Blending.BLEND, "MASK": Blending.MASK}
BASE = "pbrMetallicRoughness/baseColorTexture"
ROUGH = "pbrMetallicRoughness/metallicRoughnessTexture"


class Materials:
    """Makes the surface of each material once."""

    def __init__(self, source: Source, animations: Animations, textures: Textures) -> None:
        self.source = source
        self.animations = animations
        self.textures = textures
        self.report = source.report
        self.made: dict[int | None, Surface] = {None: Surface("default")}  # glTF's default material: plain white

    def surface(self, index: int | None, where: str) -> Surface:
        """What a primitive looks like."""
        if index not in self.made:
            assert index is not None
            entry = self.source.container.entry("materials", MaterialEntry, index, where)
            self.made[index] = self._surface(entry, index)
        return self.made[index]

    def _surface(self, entry: MaterialEntry, index: int) -> Surface:
        where, root = f"materials[{index}]", f"/materials/{index}"
        surface = Surface(entry.get("name") or f"material_{index}")
        surface.blending = self._blending(entry, where)
        surface.two_sided = bool(entry.get("doubleSided"))
        rough: Roughness = entry.get("pbrMetallicRoughness") or {}
        self._base(rough, surface, where, root)
        surface.normal = self._map(entry.get("normalTexture"), where, root, "normalTexture", shifts=False)
        self._tell_factor(entry.get("normalTexture"), "scale", "normal scale", where)
        self._rough(entry, rough, surface, where, root)
        self._emission(entry, surface, where, root)
        if LOD in (entry.get("extensions") or {}):
            self.report.lose("levels of detail of materials", "the finest is taken", where)
        return surface

    def _blending(self, entry: MaterialEntry, where: str) -> Blending:
        mode = entry.get("alphaMode") or "OPAQUE"
        if mode not in ALPHA_MODES:
            self.report.lose(f"alpha mode {mode!r}", "it is taken as OPAQUE", f"{where}.alphaMode")
        cutoff = entry.get("alphaCutoff")
        if mode == "MASK" and cutoff is not None and cutoff != 0.5:
            self.report.lose("alpha cutoff", "the renderer's own limit holds", f"{where}.alphaCutoff: {cutoff:g}")
        return ALPHA_MODES.get(mode, Blending.OPAQUE)

    def _map(self, info: TextureInfo | None, where: str, root: str, path: str, shifts: bool = True) -> Map | None:
        """One use of a texture. `shifts`: what moves its offset can be carried."""
        if info is None:
            return None
        place = f"{where}.{path.replace('/', '.')}"
        name = self.textures.name(info["index"], f"{place}.index")
        if name is None:
            return None
        transform = extension(info, TRANSFORM, TextureTransform, place) or {}
        offset = floats(transform.get("offset"), (0.0, 0.0), f"{place}: offset")
        return Map(
            name,
            transform.get("texCoord") or (info.get("texCoord") or 0 if transform.get("texCoord") is None else 0),
            offset,
            transform.get("rotation") or 0.0,
            vector(transform.get("scale"), (1.0, 1.0), f"{place}: scale"),
            self.animations.value(f"{root}/{path}/extensions/{TRANSFORM}/offset", offset) if shifts else None,
        )

    def _tell_factor(self, info: TextureInfo | None, key: str, what: str, where: str) -> None:
        """Factors of maps that no block has."""
        value = None if info is None else (info.get("scale") if key == "scale" else info.get("strength"))
        if value is not None and value != 1.0:
            self.report.lose(what, "no block has such a factor", f"{where}: {value:g}")

    def _base(self, rough: Roughness, surface: Surface, where: str, root: str) -> None:
        place, pointer = f"{where}.pbrMetallicRoughness.baseColorFactor", f"{root}/pbrMetallicRoughness/baseColorFactor"
        factor = floats(rough.get("baseColorFactor"), (1.0, 1.0, 1.0, 1.0), place)
        value = self.animations.value(pointer, factor)
        surface.colour = value
        surface.albedo = self._map(rough.get("baseColorTexture"), where, root, BASE)
        if surface.albedo is not None and (not np.array_equal(factor[:3], np.ones(3)) or value.driven is not None):
            self.report.lose("base colour factor", "a base colour texture can't be tinted", place)
        if surface.blending == Blending.BLEND:
            surface.opacity = Value(value.rest, value.driven, component=3)
        elif factor[3] != 1.0:
            self.report.lose("alpha", "only a blended material has an opacity", f"{place}: {factor[3]:g}")

    def _rough(self, entry: MaterialEntry, rough: Roughness, surface: Surface, where: str, root: str) -> None:
        """Roughness, metalness and occlusion, which share a map here if they share it there, and not otherwise."""
        found = self._map(rough.get("metallicRoughnessTexture"), where, root, ROUGH, shifts=False)
        for name, value in (("metallicFactor", rough.get("metallicFactor")), ("roughnessFactor", rough.get("roughnessFactor"))):
            if value is not None and value != 1.0:
                why = "an aorms map can't be scaled" if found else "without a texture the material type's own value holds"
                self.report.lose(name, why, f"{where}.pbrMetallicRoughness.{name}: {value:g}")
        info = entry.get("occlusionTexture")
        surface.occlusion = self._map(info, where, root, "occlusionTexture")
        self._tell_factor(info, "strength", "occlusion strength", where)
        if found is None:
            return
        if surface.occlusion is not None and same_look(found, surface.occlusion):
            surface.aorms, surface.occlusion = found, None
            return
        texture = rough["metallicRoughnessTexture"]["index"]
        place = f"{where}.{ROUGH.replace('/', '.')}"
        if (white := self.textures.without_red(texture, place)) is not None:
            found.texture = white
            surface.aorms = found
        else:
            self.report.lose("metallic-roughness map", "its red would be taken for occlusion; --textures with Pillow writes a copy without it", place)

    def _emission(self, entry: MaterialEntry, surface: Surface, where: str, root: str) -> None:
        factor = floats(entry.get("emissiveFactor"), (0.0, 0.0, 0.0), f"{where}.emissiveFactor")
        value = self.animations.value(f"{root}/emissiveFactor", factor)
        if not factor.any() and value.driven is None:
            return
        strength = (extension(entry, STRENGTH, Strength, where) or {}).get("emissiveStrength")
        amount = np.array([1.0 if strength is None else strength])
        surface.emissive_colour = value
        surface.emissive_amount = self.animations.value(f"{root}/extensions/{STRENGTH}/emissiveStrength", amount)
        surface.emissive = self._map(entry.get("emissiveTexture"), where, root, "emissiveTexture")


def same_look(one: Map, other: Map) -> bool:
    """Do two uses show the same texture at the same places?"""
    moved = other.shift is not None and other.shift.driven is not None
    one_place = (one.texture, one.uvs, tuple(one.offset), one.rotation, tuple(one.scale))
    return not moved and one_place == (other.texture, other.uvs, tuple(other.offset), other.rotation, tuple(other.scale))
