"""What records must hold, looked at once for each mesh, surface and skin, before 32 bits hide what is wrong."""

from __future__ import annotations

from collections.abc import Sequence

import numpy as np

from .arrays import LARGEST, extent, is_finite
from .clips import Value
from .errors import ZrmError
from .records import Kind, Light, Mesh, Node, Shape, Skin, Surface


def check_all(nodes: Sequence[Node]) -> None:
    """ZrmError for the first thing that can't become part of a model. Translations are looked at by `Tree`."""
    seen: set[int] = set()
    for node in nodes:
        for shape in node.shapes:
            subject = f"{shape.label} of node {node.name!r}"
            check_shape(shape, subject)
            if id(shape.mesh) not in seen:
                seen.add(id(shape.mesh))
                check_mesh(shape.mesh, subject)
            if shape.surface is not None and id(shape.surface) not in seen:
                seen.add(id(shape.surface))
                check_surface(shape.surface)
            if shape.skin is not None and id(shape.skin) not in seen:
                seen.add(id(shape.skin))
                check_skin(shape.skin)
        if node.light is not None:
            check_light(node.light)


def check_shape(shape: Shape, subject: str) -> None:
    """Triangles, or lines that are no more than that."""
    indices = shape.mesh.indices
    if indices.ndim != 2 or indices.shape[1] not in (2, 3) or indices.dtype.kind not in "iu":
        raise ZrmError(subject, f"indices of the shape {indices.shape} and the kind {indices.dtype}", "pass integers of the shape (m, 3)")
    if indices.shape[1] == 2 and shape.kind is not Kind.SEGMENTS:
        raise ZrmError(subject, "it is not made of triangles", "lines can become segments")


def check_mesh(mesh: Mesh, subject: str) -> None:
    """As many rows of everything, and numbers that 32 bits can hold."""
    count = len(mesh.positions)
    rows = {"positions": (mesh.positions, 3), "normals": (mesh.normals, 3), **{f"uvs {number}": (uv, 2) for number, uv in mesh.uvs.items()}}
    for what, (values, width) in rows.items():
        if values.shape != (count, width):
            raise ZrmError(subject, f"{what} of the shape {values.shape} for {count} positions", f"give {width} numbers for each vertex")
        if not is_finite(values):
            raise ZrmError(subject, f"{what}: a number is not finite in 32 bits", "replace NaN, infinities and values beyond 3.4e38")
    low, high = extent(mesh.indices)
    if mesh.indices.size and not 0 <= low <= high < count:
        raise ZrmError(subject, f"indices from {low:g} to {high:g} for {count} vertices", "number the vertices from 0")
    if mesh.joints is not None and mesh.weights is not None and (mesh.joints.shape != mesh.weights.shape or len(mesh.joints) != count):
        raise ZrmError(subject, f"joints of the shape {mesh.joints.shape}, weights of {mesh.weights.shape}", "give as many of both for each vertex")


def check_value(value: Value | None, width: int, subject: str, what: str) -> None:
    """Components enough, and an argument that there can be."""
    if value is None:
        return
    if value.rest.shape[0] < width or not (np.abs(value.rest * value.factor) <= LARGEST).all():
        raise ZrmError(subject, f"{what} is {value.rest.tolist()}", f"give {width} finite numbers")
    if value.driven is not None and not 0 <= value.driven.clip.argument < 2**32 - 1:
        raise ZrmError(subject, f"{what} follows the argument {value.driven.clip.argument}", "number arguments from 0")


def check_surface(surface: Surface) -> None:
    """Its values."""
    subject = f"surface {surface.name!r}"
    check_value(surface.colour, 3, subject, "the colour")
    check_value(surface.emissive_colour, 3, subject, "the emissive colour")
    check_value(surface.emissive_amount, 1, subject, "the emissive amount")
    check_value(surface.opacity, 1, subject, "the opacity")


def check_light(light: Light) -> None:
    """Its values."""
    subject = f"light {light.name!r}"
    check_value(light.colour, 3, subject, "the colour")
    for what, value in (("brightness", light.brightness), ("distance", light.distance), ("outer angle", light.outer), ("inner angle", light.inner)):
        check_value(value, 1, subject, f"the {what}")


def check_skin(skin: Skin) -> None:
    """A matrix for each joint."""
    if not skin.joints or skin.inverses.shape != (len(skin.joints), 4, 4) or not np.isfinite(skin.inverses).all():
        raise ZrmError(f"skin {skin.name!r}", f"matrices of the shape {skin.inverses.shape} for {len(skin.joints)} joints", "give each joint a finite matrix")
