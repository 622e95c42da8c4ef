"""Small glTF files made for tests."""

import base64
import json
import struct

import numpy as np

CODES = {"i1": 5120, "u1": 5121, "i2": 5122, "u2": 5123, "u4": 5125, "f4": 5126}
SHAPES = {1: "SCALAR", 2: "VEC2", 3: "VEC3", 4: "VEC4", 16: "MAT4"}


class Gltf:
    """JSON under construction; `json` may be changed freely before `save`."""

    def __init__(self):
        self.data = bytearray()
        self.json = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": []}]}

    def add(self, kind, entry):
        entries = self.json.setdefault(kind, [])
        entries.append(entry)
        return len(entries) - 1

    def view(self, data, **more):
        self.data += bytes(-len(self.data) % 4)
        self.data += data
        return self.add("bufferViews", {"buffer": 0, "byteOffset": len(self.data) - len(data), "byteLength": len(data)} | more)

    def array(self, values, kind="f4", **more):
        """An accessor of an array (n,) or (n, width)."""
        rows = np.asarray(values, kind)
        rows = rows.reshape(len(rows), -1)
        entry = {"bufferView": self.view(rows.tobytes()), "componentType": CODES[kind], "count": len(rows), "type": SHAPES[rows.shape[1]]}
        return self.add("accessors", entry | more)

    def node(self, root=True, **fields):
        index = self.add("nodes", fields)
        if root:
            self.json["scenes"][0]["nodes"].append(index)
        return index

    def mesh(self, positions, indices=None, **more):
        """A mesh of one primitive; `more` goes into the primitive, ATTRIBUTES in capitals as arrays."""
        attributes = {"POSITION": self.array(positions)}
        attributes |= {name: more.pop(name) for name in list(more) if name.isupper() or name[-2:-1] == "_"}
        primitive = {"attributes": attributes} | more
        if indices is not None:
            primitive["indices"] = self.array(indices, "u4")
        return self.add("meshes", {"primitives": [primitive]})

    triangle = lambda self, size=1.0: self.mesh([[size, 0, 0], [0, size, 0], [0, 0, -size]], [0, 1, 2])

    def animation(self, *tracks, **more):
        """Tracks are (node, path, times, values, interpolation)."""
        channels, samplers = [], []
        for node, path, times, values, mode in tracks:
            channels.append({"sampler": len(samplers), "target": {"node": node, "path": path}})
            samplers.append({"input": self.array(times), "output": self.array(values), "interpolation": mode})
        return self.add("animations", {"channels": channels, "samplers": samplers} | more)

    def save(self, path, buffer="data"):
        """As .gltf with its buffer in a data URI, or in a file beside it ("file"), or as .glb ("glb")."""
        uri = {"data": "data:application/octet-stream;base64," + base64.b64encode(self.data).decode(), "file": "some%20buffer.bin"}
        entry = {"byteLength": len(self.data)} | ({"uri": uri[buffer]} if buffer in uri else {})
        if buffer == "file":
            (path.parent / "some buffer.bin").write_bytes(self.data)
        text = json.dumps(self.json | ({"buffers": [entry]} if self.data else {})).encode()
        if buffer != "glb":
            path.write_bytes(text)
            return path
        text += b" " * (-len(text) % 4)
        binary = bytes(self.data) + bytes(-len(self.data) % 4)
        chunks = struct.pack("<I4s", len(text), b"JSON") + text + struct.pack("<I4s", len(binary), b"BIN\0") + binary
        path.write_bytes(struct.pack("<4sII", b"glTF", 2, 12 + len(chunks)) + chunks)
        return path
