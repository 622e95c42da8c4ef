"""What a file shows at given values of its arguments, as multisets that no pass may change."""

from typing import Any

import numpy as np
from zrm_inspect import evaluate
from zrm_inspect.animation import property_at
from zrm_inspect.model import FakeOmniLightsNode, FakeSpotLightsNode, SegmentsNode, ShellNode

Parts = dict[Any, Any]


_weights = lambda width: np.random.default_rng(width).uniform(0.5, 1.5, width)


def _value(entry, arguments):
    value = property_at(entry, arguments)
    return tuple(np.round(np.atleast_1d(value), 4).tolist()) if isinstance(value, (int, float, tuple)) else value


def _material(material, arguments):
    """All of a material but its names and the numbers of its texture coordinates."""
    values = {entry.name: _value(entry, arguments) for entry in (*material.uniforms, *material.animated_uniforms)}
    maps = tuple((slot, texture.name) for slot, texture in material.textures.items())
    flags = (material.blending, material.casts_shadow, material.shadow_flag2, material.decal_id)
    return material.material_name, flags, maps, tuple(sorted(values.items(), key=str))


def _canonical(corners):
    """(n, 3, width): each triangle from its least corner on."""
    first = np.argmin(corners @ _weights(corners.shape[2]), axis=1)
    order = (first[:, None] + np.arange(3)) % 3
    return np.take_along_axis(corners, order[:, :, None], axis=1)


def _has_area(points):
    a, b = points[:, 1] - points[:, 0], points[:, 2] - points[:, 0]
    longest = np.maximum((a**2).sum(1), (b**2).sum(1))
    return np.linalg.norm(np.cross(a, b), axis=1) > 1e-3 * longest


_levels = lambda scene, control: tuple((near, far) for _, near, far in scene.lod_ranges(control))


def _meshes(scene, arguments):
    for mesh in scene.meshes:
        columns = [mesh.positions, mesh.normals, mesh.tangents, mesh.binormals]
        columns += [mesh.uvs[k] for k in mesh.material.channels.tolist() if k in mesh.uvs]
        kind = mesh.node.type_name
        if kind == "model::NumberNode":
            which = mesh.node.mesh.attribute("COLOR1")[:, 0].astype(int)
            rows = [mesh.node.numbers[part][k].tolist() for part, k in zip(mesh.parts, which)]
            columns.append(np.array(rows, np.float64) / 1e9)
        corners = np.concatenate([column for column in columns if column is not None], 1)[mesh.triangles]
        shown = mesh.triangle_visible & _has_area(corners[:, :, :3])
        if kind == "model::SkinNode":  # what has no area at rest goes, though bones may pull its corners apart
            shown &= _has_area(mesh.node.mesh.vertices[:, :3].astype(np.float64)[mesh.triangles])
        part_of = mesh.parts[mesh.triangles[:, 0]] if len(mesh.triangles) else np.zeros(0, int)
        for part, control in enumerate(mesh.controls.tolist()):
            chosen = corners[shown & (part_of == part)]
            levels = () if kind == "model::SkinNode" else _levels(scene, control)
            key = kind, _material(mesh.material, arguments), int(mesh.arguments[part]), levels
            if len(chosen):
                yield key, _canonical(chosen).reshape(len(chosen), -1)


def _sprites(scene, arguments):
    for node in scene.file.render_nodes:
        if not isinstance(node, (FakeOmniLightsNode, FakeSpotLightsNode)):
            continue
        look = _material(scene.file.materials[node.material], arguments)
        for place, light in enumerate(node.lights):
            control = int(node.controls[int(light["controlIndex"])])
            world = scene.world[control]
            if not scene.visible[control]:
                continue
            row = [*(np.array([*light["position"], 1.0]) @ world)[:3], light["size"], *light["uvMin"], *light["uvMax"]]
            if node.animation is not None:
                row += [node.animation.argument, *node.animation.samples[place]]
            if isinstance(node, FakeSpotLightsNode) and node.directions is not None:
                direction = node.directions[place] @ world[:3, :3]
                row += [*(direction / max(np.linalg.norm(direction), 1e-9)), *light["backUvMin"], *light["backUvMax"], light["backSide"]]
            yield (node.type_name, look, _levels(scene, control)), np.array([row], np.float64)


def _hung(scene, arguments):
    for record in (*scene.file.shell_nodes, *scene.file.light_nodes, *scene.file.connectors):
        control = int(getattr(record, "control"))
        world = scene.world[control]
        if not scene.visible[control]:
            continue
        key = (record.type_name, _levels(scene, control))
        row = world.reshape(1, 16)
        if isinstance(record, SegmentsNode):
            row = (record.segments @ world[:3, :3] + world[3, :3]).reshape(-1, 6)
        elif isinstance(record, ShellNode):
            points = (record.mesh.vertices @ world[:3, :3] + world[3, :3])[record.mesh.triangles()]
            row = _canonical(points[_has_area(points)]).reshape(-1, 9)
        elif record.type_name == "model::LightNode":
            key += (record.light_type, record.version, tuple(_value(entry, arguments) for entry in record.settings()))
        else:
            key += tuple((entry.name, _value(entry, arguments)) for entry in record.properties)
        yield key, row


def parts(file, arguments):
    """Rows of numbers by what they belong to; the order of the rows has no meaning."""
    scene = evaluate(file, arguments)
    found = {}
    for source in (_meshes, _sprites, _hung):
        for key, rows in source(scene, arguments):
            if len(rows):
                found.setdefault(key, []).append(rows)
    return {key: np.concatenate(rows) for key, rows in found.items()}


def same(one, other):
    """"" or what differs."""
    if one.keys() != other.keys():
        return f"only in one: {list(one.keys() ^ other.keys())[:2]}"
    for key, rows in one.items():
        others = other[key]
        if rows.shape != others.shape:
            return f"{rows.shape} and {others.shape} of {key}"
        sort = _weights(rows.shape[1])
        first, second = (table[np.argsort(table @ sort)] for table in (rows, others))
        if not np.allclose(first, second, rtol=1e-4, atol=1e-3):
            return f"{np.argwhere(~np.isclose(first, second, rtol=1e-4, atol=1e-3))[:3].tolist()} differ in {key}"
    return ""
