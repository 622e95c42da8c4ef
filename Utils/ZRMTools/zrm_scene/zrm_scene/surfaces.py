"""Surfaces as meshes made of blocks."""

from __future__ import annotations

from typing import Protocol

import numpy as np
import pyzrm_313 as zrm

from .arrays import Floats32
from .errors import refused
from .names import Blending
from .records import Map, Mesh, Surface
from .report import Report
from .values import colour, shift, single


class Shaped(Protocol):
    """Either base block."""

    def setPositions(self, positions: Floats32, /) -> None: ...
    def setNormals(self, normals: Floats32, /) -> None: ...


def flat(values: object) -> Floats32:
    """Rows as the module takes them; no copy where they are 32 bits in one piece."""
    return np.ascontiguousarray(values, np.float32).reshape(-1)


class Dresser:
    """Makes the facade of a mesh on a surface, indices and control node not yet set."""

    def __init__(self, report: Report) -> None:
        self.report = report

    def facade(self, name: str, mesh: Mesh, surface: Surface, label: str) -> zrm.PBRNode:
        """The whole of it, block by block."""
        facade = zrm.PBRNode(name, surface.name)
        if surface.blending is not None:
            facade.setTransparentMode(surface.blending)
        if surface.shadows is not None:
            facade.setShadowCaster(surface.shadows)
        if surface.two_sided is not None:
            facade.setTwoSided(surface.two_sided)
        facade.addBlock(self._base(mesh, surface, label))
        if surface.blending == Blending.BLEND and surface.opacity is not None:
            facade.setOpacityValue(single(surface.opacity))
        if surface.normal is not None:
            normal = zrm.NormalBlock()
            normal.setNormalMap(surface.normal.texture)
            normal.setNormalMapUV(self._uv(mesh, surface.normal, label))
            facade.addBlock(normal)
        if surface.aorms is not None:
            aorms = zrm.AormsBlock()
            aorms.setAormsMap(surface.aorms.texture)
            aorms.setAormsMapUV(self._uv(mesh, surface.aorms, label))
            facade.addBlock(aorms)
        if surface.occlusion is not None:
            occlusion = zrm.AoBlock()
            occlusion.setAoMap(surface.occlusion.texture)
            occlusion.setAoMapUV(self._uv(mesh, surface.occlusion, label))
            if (moved := shift_of(surface.occlusion)) is not None:
                occlusion.setAoShift(moved)
            facade.addBlock(occlusion)
        if surface.emissive_colour is not None:
            facade.addBlock(self._emissive(mesh, surface, label))
        return facade

    def _base(self, mesh: Mesh, surface: Surface, label: str) -> zrm.IBlock:
        if surface.albedo is None:
            plain = zrm.ColorBaseBlock()
            plain.setColor(colour(surface.colour))
            set_shape(plain, mesh)
            return plain
        block = zrm.BaseBlock()
        block.setAlbedoMap(surface.albedo.texture)
        block.setAlbedoMapUV(self._uv(mesh, surface.albedo, label))
        if (moved := shift_of(surface.albedo)) is not None:
            block.setAlbedoMapUVShift(moved)
        set_shape(block, mesh)
        return block

    def _emissive(self, mesh: Mesh, surface: Surface, label: str) -> zrm.IBlock:
        assert surface.emissive_colour is not None
        block = zrm.EmissiveBlock()
        block.setColor(colour(surface.emissive_colour))
        block.setAmount(single(surface.emissive_amount))
        if surface.emissive is not None:
            block.setEmissiveMap(surface.emissive.texture)
            block.setEmissiveMapUV(self._uv(mesh, surface.emissive, label))
            if (moved := shift_of(surface.emissive)) is not None:
                block.setUVShift(moved)
        return block

    def _uv(self, mesh: Mesh, found: Map, label: str) -> Floats32:
        uv = mesh.uvs.get(found.uvs)
        if uv is None:
            self.report.warn(f"{label}: no texture coordinates {found.uvs} for {found.texture}, zeros are given")
            return np.zeros(2 * len(mesh.positions), np.float32)
        return flat(found.apply(uv))


def shift_of(found: Map) -> zrm.PropertyFloat2 | None:
    """What moves the offset of a map."""
    return None if found.shift is None else shift(found.shift)


def set_shape(block: Shaped, mesh: Mesh) -> None:
    """Positions and normals of either base block."""
    block.setPositions(flat(mesh.positions))
    block.setNormals(flat(mesh.normals))


def add(model: zrm.Model, facade: zrm.IRenderNode, label: str) -> None:
    """Hands a facade to the model; its refusal names the mesh."""
    try:
        text = model.addRenderNode(facade)
    except IndexError as error:
        raise refused(label, str(error)) from error
    if text:
        raise refused(label, text)

