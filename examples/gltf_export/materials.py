"""glTF materials as facades with blocks, and what of them has no place in a block.

base colour texture -> BaseBlock; a plain base colour -> ColorBaseBlock; normal texture -> NormalBlock;
metallic-roughness texture -> AormsBlock (red occlusion, green roughness, blue metalness, as both sides order
them); occlusion texture -> AoBlock, unless it is the metallic-roughness image, whose red it then already is;
emissive factor and texture -> EmissiveBlock.  Alpha modes OPAQUE, BLEND and MASK become the transparent
modes 0, 1 and 2; the alpha of a blended base colour becomes the opacity value.
"""

from __future__ import annotations

from typing import Any

import numpy as np
import pyzrm_313 as zrm

from .accessors import Floats
from .clips import Clips
from .container import Container, item
from .keys import property_channel, thinned
from .meshes import Geometry
from .report import Report
from .scene import extension, number, numbers
from .textures import Map, Textures
from .transforms import script_vector

TRANSFORM = "KHR_texture_transform"
STRENGTH = "KHR_materials_emissive_strength"
ALPHA_MODES = {"OPAQUE": 0, "BLEND": 1, "MASK": 2}
# Properties that the module does not reduce are thinned here: to this share of their range.
FINE = 0.0005


class Properties:
    """Makes property facades, animated ones where a pointer drives the value.  Each call gives a new facade:
    the module renames the one it takes."""

    def __init__(self, clips: Clips, report: Report) -> None:
        self.clips = clips
        self.report = report

    def keys(self, pointer: str, rest: Floats) -> tuple[int, Floats, Floats] | None:
        """Argument, times and values of what drives a pointer."""
        if (driven := self.clips.of_pointer(pointer, self.report)) is None:
            return None
        times, values = driven.keys(rest, 0.0005)
        return driven.clip.argument, times, values

    def single(self, pointer: str, rest: Floats, component: int = 0, factor: float = 1.0) -> Any:
        """A float: one component of a value, times a factor."""
        if (found := self.keys(pointer, rest)) is None:
            return zrm.PropertyFloat(float(rest[component]) * factor)
        argument, times, values = found
        values = values[:, [component]] * factor
        kept = thinned(times, values, FINE * max(float(np.ptp(values)), 1e-30))
        pairs: list[tuple[float, float]] = list(zip(times[kept].tolist(), values[kept, 0].tolist()))
        return zrm.PropertyFloat(argument, pairs, False)

    def pair(self, pointer: str, rest: Floats) -> Any | None:
        """What moves a pair away from its rest value, or None when nothing does."""
        if (found := self.keys(pointer, rest)) is None:
            return None
        argument, times, values = found
        channel = property_channel(times, values - rest)
        rows: list[list[float]] = channel.values.tolist()
        moments: list[float] = channel.times.tolist()
        return zrm.PropertyFloat2(argument, [(time, (row[0], row[1])) for time, row in zip(moments, rows)])

    def colour(self, pointer: str, rest: Floats) -> Any:
        """The first three components of a colour."""
        if (found := self.keys(pointer, rest)) is None:
            return zrm.PropertyFloat3(script_vector(rest))
        argument, times, values = found
        channel = property_channel(times, values[:, :3])
        rows: list[list[float]] = channel.values.tolist()
        moments: list[float] = channel.times.tolist()
        return zrm.PropertyFloat3(argument, [(time, (row[0], row[1], row[2])) for time, row in zip(moments, rows)])


class Materials:
    """Builds the render facade of a mesh from its material."""

    def __init__(self, container: Container, properties: Properties, report: Report) -> None:
        self.container = container
        self.properties = properties
        self.textures = Textures(container, report)
        self.report = report
        self.used: set[int | None] = set()

    def facade(self, index: int | None, name: str, geometry: Geometry) -> Any:
        """A PBRNode with blocks, indices not yet set."""
        if index not in self.used:
            self.used.add(index)
            self.report.counts["materials"] = len(self.used)
        if index is None:  # glTF's default material: plain white
            facade = zrm.PBRNode(name, "default")
            block = zrm.ColorBaseBlock()
            block.setColor(zrm.PropertyFloat3((1.0, 1.0, 1.0)))
            set_shape(block, geometry)
            facade.addBlock(block)
            return facade
        return Surface(self, index, name, geometry).facade


def set_shape(block: Any, geometry: Geometry) -> None:
    """Positions and normals of either base block."""
    block.setPositions(np.ascontiguousarray(geometry.positions, np.float32).reshape(-1))
    block.setNormals(np.ascontiguousarray(geometry.normals, np.float32).reshape(-1))


class Surface:
    """One material on one mesh, block by block."""

    def __init__(self, materials: Materials, index: int, name: str, geometry: Geometry) -> None:
        self.report = materials.report
        self.properties = materials.properties
        self.textures = materials.textures
        self.entry = item(materials.container.json.materials, index, "material")
        self.geometry = geometry
        self.label = f"material {index}" + (f" ({self.entry.name})" if self.entry.name else "")
        self.root = f"/materials/{index}"
        self.facade = zrm.PBRNode(name, str(self.entry.name or f"material_{index}"))
        mode = self.entry.alphaMode or "OPAQUE"
        if mode not in ALPHA_MODES:
            self.report.warn(f"{self.label}: unknown alpha mode {mode!r}, taken as OPAQUE")
        self.mode = ALPHA_MODES.get(mode, 0)
        self.facade.setTransparentMode(self.mode)
        self.facade.setTwoSided(bool(self.entry.doubleSided))
        cutoff = self.entry.alphaCutoff
        if mode == "MASK" and cutoff is not None and cutoff != 0.5:
            self.report.skip(f"{self.label}: alphaCutoff {cutoff}", "the renderer's own limit holds")
        self._base()
        self._normal()
        self._aorms()
        self._occlusion()
        self._emissive()

    def _map(self, info: Any, path: str) -> Map | None:
        if info is None:
            return None
        where = f"{self.label}: {path}"
        name = self.textures.name(info.index, where)
        if name is None:
            self.report.skip(where, "its texture has no image")
            return None
        transform = extension(info, TRANSFORM) or {}
        coordinates = transform.get("texCoord", info.texCoord) or 0
        return Map(
            name,
            coordinates if isinstance(coordinates, int) else 0,
            numbers(transform.get("offset"), 2, [0.0, 0.0], f"{where}: offset"),
            number(transform.get("rotation"), 0.0, f"{where}: rotation"),
            numbers(transform.get("scale"), 2, [1.0, 1.0], f"{where}: scale"),
            f"{self.root}/{path}/extensions/{TRANSFORM}/offset",
        )

    def _uv(self, found: Map) -> Any:
        uv = self.geometry.uvs.get(found.coordinates)
        if uv is None:
            self.report.warn(f"{self.geometry.label}: no TEXCOORD_{found.coordinates} for {found.texture}, zeros are given")
            uv = np.zeros((len(self.geometry.positions), 2))
        return np.ascontiguousarray(found.apply(uv), np.float32).reshape(-1)

    def _shift(self, found: Map) -> Any | None:
        return self.properties.pair(found.pointer, found.offset)

    def _base(self) -> None:
        pbr = self.entry.pbrMetallicRoughness
        factor = numbers(pbr.baseColorFactor if pbr else None, 4, [1.0] * 4, f"{self.label}: baseColorFactor")
        found = self._map(pbr.baseColorTexture, "pbrMetallicRoughness/baseColorTexture") if pbr else None
        pointer = f"{self.root}/pbrMetallicRoughness/baseColorFactor"
        block: Any
        if found is None:
            block = zrm.ColorBaseBlock()
            block.setColor(self.properties.colour(pointer, factor))
        else:
            block = zrm.BaseBlock()
            block.setAlbedoMap(found.texture)
            block.setAlbedoMapUV(self._uv(found))
            if (shift := self._shift(found)) is not None:
                block.setAlbedoMapUVShift(shift)
            if not np.array_equal(factor[:3], np.ones(3)) or self.properties.keys(pointer, factor) is not None:
                self.report.skip(f"{self.label}: baseColorFactor", "a base colour texture can't be tinted")
        set_shape(block, self.geometry)
        self.facade.addBlock(block)
        if self.mode == ALPHA_MODES["BLEND"]:
            self.facade.setOpacityValue(self.properties.single(pointer, factor, component=3))
        elif factor[3] != 1.0:
            self.report.skip(f"{self.label}: alpha {factor[3]:g}", "only a blended material has an opacity")

    def _normal(self) -> None:
        info = self.entry.normalTexture
        if (found := self._map(info, "normalTexture")) is None:
            return
        if info.scale is not None and info.scale != 1.0:
            self.report.skip(f"{self.label}: normal scale {info.scale}", "a normal block has no factor")
        block = zrm.NormalBlock()
        block.setNormalMap(found.texture)
        block.setNormalMapUV(self._uv(found))
        self.facade.addBlock(block)

    def _aorms(self) -> None:
        pbr = self.entry.pbrMetallicRoughness
        if pbr is None:
            return
        found = self._map(pbr.metallicRoughnessTexture, "pbrMetallicRoughness/metallicRoughnessTexture")
        for name in ("metallicFactor", "roughnessFactor"):
            value = getattr(pbr, name)
            if value is not None and value != 1.0:
                why = "an aorms map can't be scaled" if found else "without a texture the material type's own value holds"
                self.report.skip(f"{self.label}: {name} {value:g}" if isinstance(value, (int, float)) else name, why)
        if found is None:
            return
        block = zrm.AormsBlock()
        block.setAormsMap(found.texture)
        block.setAormsMapUV(self._uv(found))
        self.facade.addBlock(block)

    def _occlusion(self) -> None:
        info = self.entry.occlusionTexture
        if (found := self._map(info, "occlusionTexture")) is None:
            return
        if info.strength is not None and info.strength != 1.0:
            self.report.skip(f"{self.label}: occlusion strength {info.strength}", "an occlusion block has no factor")
        pbr = self.entry.pbrMetallicRoughness
        packed = self._map(pbr.metallicRoughnessTexture, "pbrMetallicRoughness/metallicRoughnessTexture") if pbr else None
        if packed is not None and (packed.texture, packed.coordinates) == (found.texture, found.coordinates):
            return
        block = zrm.AoBlock()
        block.setAoMap(found.texture)
        block.setAoMapUV(self._uv(found))
        if (shift := self._shift(found)) is not None:
            block.setAoShift(shift)
        self.facade.addBlock(block)

    def _emissive(self) -> None:
        factor = numbers(self.entry.emissiveFactor, 3, [0.0] * 3, f"{self.label}: emissiveFactor")
        pointer = f"{self.root}/emissiveFactor"
        if not factor.any() and self.properties.keys(pointer, factor) is None:
            return
        strength = (extension(self.entry, STRENGTH) or {}).get("emissiveStrength")
        block = zrm.EmissiveBlock()
        block.setColor(self.properties.colour(pointer, factor))
        block.setAmount(
            self.properties.single(
                f"{self.root}/extensions/{STRENGTH}/emissiveStrength",
                np.array([number(strength, 1.0, f"{self.label}: emissiveStrength")]),
            )
        )
        found = self._map(self.entry.emissiveTexture, "emissiveTexture")
        if found is not None:
            block.setEmissiveMap(found.texture)
            block.setEmissiveMapUV(self._uv(found))
            if (shift := self._shift(found)) is not None:
                block.setUVShift(shift)
        self.facade.addBlock(block)
