"""Random glTF scenes: in small, everything that the exporter carries over. A seed decides all of it."""

import numpy as np
from support.gltf_build import Gltf
from support.gltf_scene import local_matrix

MATERIALS, MAPS, JOINTS = 5, 4, 4


def unit(rng, *shape):
    values = rng.normal(size=shape)
    return values / np.linalg.norm(values, axis=-1, keepdims=True)


def random_scene(seed, uneven=0.3):
    """A forest of turned, scaled, mirrored nodes with meshes, a skin, lights, and two animations on the same nodes.

    uneven: how many nodes have a scale of their own for each axis
    """
    rng, gltf = np.random.default_rng(seed), Gltf()
    for k in range(MAPS):
        gltf.add("textures", {"source": gltf.add("images", {"uri": f"maps/map%20{k}.png"})})
    for k in range(MATERIALS):
        gltf.add("materials", random_material(rng, k))
    lights = [{"type": "point", "range": 5.0}, {"type": "spot", "intensity": 3.0}]
    gltf.json["extensions"] = {"KHR_lights_punctual": {"lights": lights}}
    nodes = []
    for k in range(9):
        fields = {"extensions": {"KHR_lights_punctual": {"light": k % 2}}} if k % 4 == 3 else {"mesh": random_mesh(rng, gltf)}
        nodes.append(hang(gltf, rng, nodes, random_place(rng, uneven) | fields))
    sizes = 10.0 ** rng.integers(-7, 4, 3)  # small ones have to be enlarged to survive the module's own tolerances
    for size in sizes[:2]:
        far = gltf.node(root=False, mesh=random_mesh(rng, gltf, size), scale=[size**-0.5] * 3)
        hang(gltf, rng, nodes, {"children": [far], "scale": [size**-0.5] * 3})
    joints = []
    for _ in range(JOINTS):  # all scaled alike: else their normals are the renderer's own matter
        joints.append(hang(gltf, rng, joints, {"translation": rng.normal(size=3).tolist(), "rotation": unit(rng, 4).tolist()}))
    inverses = [matrix(rng.normal(size=3), unit(rng, 4), np.ones(3) / sizes[2]) for _ in joints]
    gltf.add("skins", {"joints": joints, "inverseBindMatrices": gltf.array(np.reshape(inverses, (-1, 16)))})
    gltf.node(mesh=random_mesh(rng, gltf, sizes[2], joints=JOINTS), skin=0, translation=[9, 9, 9])
    free = [node for node in nodes if "matrix" not in gltf.json["nodes"][node]]
    targets = [(node, path) for node in free for path in ("translation", "rotation", "scale")]
    targets += [(joint, path) for joint in joints for path in ("translation", "rotation")]
    for _ in range(2):
        gltf.animation(*[random_track(rng, *targets[k]) for k in rng.choice(len(targets), 8, replace=False)])
    return gltf


def hang(gltf, rng, above, fields):
    """A node below one of some others, or at the top."""
    parent = int(rng.integers(-1, len(above)))
    node = gltf.node(root=parent < 0, **fields)
    if parent >= 0:
        gltf.json["nodes"][above[parent]].setdefault("children", []).append(node)
    return node


def matrix(translation, rotation, scale):
    """Sixteen numbers, column by column."""
    return local_matrix({"translation": translation, "rotation": rotation, "scale": scale}, 0, {}).T.reshape(16)


def random_place(rng, uneven):
    scale = rng.uniform(0.6, 1.6, 3 if rng.random() < uneven else 1) * np.ones(3) * [rng.choice([1, 1, -1]), 1, 1]
    parts = {"translation": rng.normal(size=3), "rotation": unit(rng, 4), "scale": scale}
    if rng.random() < 0.3:
        return {"matrix": matrix(*parts.values()).tolist()}
    return {name: value.tolist() for name, value in parts.items() if rng.random() < 0.8}


def random_material(rng, number):
    def texture():
        info = {"index": int(rng.integers(MAPS)), "texCoord": 7 * int(rng.integers(2))}
        change = {"offset": rng.normal(size=2).tolist(), "rotation": rng.normal(), "scale": rng.uniform(1, 2, 2).tolist()}
        return info | ({"extensions": {"KHR_texture_transform": change}} if rng.random() < 0.5 else {})

    maps = {name: texture() for name in ("normalTexture", "occlusionTexture", "emissiveTexture") if rng.random() < 0.6}
    base = {"baseColorFactor": [*rng.uniform(0, 1, 3), 1.0]} if number % 2 else {"baseColorTexture": texture()}
    look = {"alphaMode": str(rng.choice(["OPAQUE", "BLEND", "MASK"])), "emissiveFactor": [1.0, 0.5, 0.0]}
    return {"name": f"material {number}", "pbrMetallicRoughness": base} | maps | look


def random_mesh(rng, gltf, size=1.0, joints=0):
    """One to three primitives: lists, strips and fans, with and without indices, normals, a material, a morph target."""
    primitives = []
    for _ in range(int(rng.integers(1, 4))):
        count = 3 * int(rng.integers(2, 5))
        values = {"POSITION": rng.normal(size=(count, 3)) * size, "TEXCOORD_0": rng.normal(size=(count, 2))}
        if joints or rng.random() < 0.7:
            values["NORMAL"] = unit(rng, count, 3)
        if joints:
            values["WEIGHTS_0"] = rng.dirichlet(np.ones(4), count)
        primitive = {"attributes": {name: gltf.array(rows) for name, rows in values.items()}, "mode": int(rng.integers(4, 7))}
        # Normalised, and interleaved with something else.
        signed = np.hstack([rng.integers(-32768, 32767, (count, 2)), np.zeros((count, 2))]).astype("i2")
        bits = {"bufferView": gltf.view(signed.tobytes(), byteStride=8), "componentType": 5122, "count": count, "type": "VEC2", "normalized": True}
        primitive["attributes"]["TEXCOORD_7"] = gltf.add("accessors", bits)
        if joints:
            primitive["attributes"]["JOINTS_0"] = gltf.array(rng.integers(0, joints, (count, 4)), "u1")
        if rng.random() < 0.8:
            primitive["material"] = int(rng.integers(MATERIALS))
        if rng.random() < 0.8:
            primitive["indices"] = gltf.array(rng.permutation(count), str(rng.choice(["u1", "u2", "u4"])))
        # All zeros but for two rows.
        indices = {"bufferView": gltf.view(bytes([1, count - 1])), "componentType": 5121}
        sparse = {"count": 2, "indices": indices, "values": {"bufferView": gltf.view((rng.normal(size=(2, 3)) * size).astype("f4").tobytes())}}
        moved = gltf.add("accessors", {"componentType": 5126, "count": count, "type": "VEC3", "sparse": sparse})
        primitive["targets"] = [{"POSITION": moved}]
        primitives.append(primitive)
    return gltf.add("meshes", {"primitives": primitives, "weights": [float(rng.integers(2))]})


def random_track(rng, node, path):
    """Small whole numbers lie on common lines, where keys look superfluous, far more often than chance would have it."""
    mode = str(rng.choice(["LINEAR", "STEP", "CUBICSPLINE"]))
    count = int(rng.integers(1, 9))
    times = np.sort(rng.choice(np.arange(60), count, replace=False)) / 7.0
    width = 4 if path == "rotation" else 3
    values = rng.integers(-2, 3, (count * (3 if mode == "CUBICSPLINE" else 1), width)).astype(float)
    if path == "rotation":
        values[:, 3] += 2.5
        values = values if mode == "CUBICSPLINE" else values / np.linalg.norm(values, axis=1, keepdims=True)
    elif path == "scale":
        values = 1.0 + 0.2 * values
        if mode == "STEP":  # shown and hidden
            values = np.repeat(rng.integers(0, 2, (count, 1)), 3, axis=1).astype(float)
    return node, path, times, values, mode
