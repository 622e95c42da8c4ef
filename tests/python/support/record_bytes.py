"""Writes ZRM files from plain data. It shares no code with the reader, whose records it has the shape of.

A file is a dict: "root" (with "materials"), "nodes", and the lists of the sections. A record is a dict with the field
names of the reader; a property is a tuple (type, name, value), (type, name, argument) or (type, name, argument, keys).
What a dict holds is written: whether it is legal is not asked.
"""

import bisect
import struct
from typing import Any

import numpy as np

Record = dict[str, Any]
NONE = 0xFFFFFFFF
UINT = "model::Property<unsigned int>"
SECTIONS = {
    "connectors": "CONNECTORS", "shell_nodes": "SHELL_NODES", "light_nodes": "LIGHT_NODES", "render_nodes": "RENDER_NODES"}  # fmt: skip
_FORMS = {"float": "f", "unsigned int": "I", "osg::Vec2f": "2f", "osg::Vec3f": "3f", "osg::Vec4f": "4f"}


class Output:
    """The bytes behind the string table, and what stands where."""

    def __init__(self):
        self.body = bytearray()
        self.strings = {}
        self.marks = [(0, "header")]
        self.record = ""

    def at(self, field):
        self.marks.append((len(self.body), f"{self.record}: {field}"))
        return self

    def pack(self, form, *values):
        self.body += struct.pack("<" + form, *values)
        return self

    u8 = lambda self, *values: self.pack(f"{len(values)}B", *values)
    u32 = lambda self, *values: self.pack(f"{len(values)}I", *values)

    def array(self, kind, values):
        self.body += np.asarray(values, "<" + kind).tobytes()
        return self

    def text(self, *texts):
        for text in texts:
            raw = text.encode("utf-8", "surrogateescape")
            self.u32(self.strings.setdefault(raw, len(self.strings)))
        return self

    def each(self, write, entries):
        self.u32(len(entries))
        for entry in entries:
            write(self, entry)
        return self

    def start(self, record, where):
        self.record = f"{where} {record['type_name']} {record['name']!r}"
        name = record["name"].encode("utf-8", "surrogateescape")
        self.at("type").text(record["type_name"]).at("name").u32(len(name)).body.extend(name)
        return self.u32(0).at("properties").each(write_property, record["properties"])

    def finish(self):
        table = b"".join(text + b"\0" for text in self.strings)
        return b"ZRM" + struct.pack("<HI", 10, len(table)) + table + bytes(8) + bytes(self.body)


def write_property(out, entry):
    kind, name, value, *keys = entry
    out.text(kind, name)
    form = kind.partition("<")[2].rstrip(">")
    if form == "const char*":
        out.text(value)
    elif keys:
        out.u32(value, len(keys[0]))
        for time, numbers in keys[0]:
            out.pack("d", time).array("f4", numbers)
    else:
        out.pack(_FORMS.get(form, "I"), *(value if isinstance(value, (tuple, list)) else [value]))


def write_texture(out, texture):
    out.u32(texture["texture_index"]).text(texture["name"]).array("u4", texture["sampler"])
    out.array("f4", texture["transform"])


def write_material(out, m):
    out.record = f"material {m['name']!r}"
    out.at("count").u32(10 + (m["billboard"] is not None) + (m["decal_id"] > 0))
    out.at("blending").text("BLENDING").u8(m["blending"]).text("DEPTH_BIAS").u32(m["depth_bias"])
    out.at("vertex_format").text("VERTEX_FORMAT").u32(27).array("u1", m["vertex_format"])
    out.at("channels").text("TEXTURE_COORDINATES_CHANNELS").u32(13).array("i4", m["channels"])
    out.at("names").text("MATERIAL_NAME", m["material_name"], "NAME", m["name"])
    out.at("shadows").text("SHADOWS").u8(m["casts_shadow"] + 4 * m["shadow_flag2"])
    out.at("textures").text("TEXTURES").u32(len(m["textures"]))
    for slot, texture in m["textures"].items():
        write_texture(out.u32(slot), texture)
    out.at("uniforms").text("UNIFORMS").each(write_property, m["uniforms"])
    out.at("animated uniforms").text("ANIMATED_UNIFORMS").each(write_property, m["animated_uniforms"])
    if m["billboard"] is not None:
        out.at("billboard").text("BILLBOARD").u8(*m["billboard"])
    if m["decal_id"]:
        out.at("decal").text("DECAL").u8(m["decal_id"])


def write_root(out, root):
    out.start(root, "root")
    for box in ("bounding_box", "user_box", "light_box"):
        out.at(box).array("f8", root[box])
    out.at("materials").each(write_material, root["materials"])
    out.record = "root"
    out.at("handles").u32(0, root["handle_count"])


# ---------------------------------------------------------------- the tree


def _keys(out, keys):
    out.u32(len(keys))
    for time, value in keys:
        out.pack("d", time).array("f8", value)


def write_channel(out, channel):
    out.u32(channel["argument"])
    if "rotation_keys" in channel:
        _keys(out, channel["rotation_keys"])
    _keys(out, channel["keys"])


def write_range(out, entry):
    out.u32(entry["argument"], len(entry["ranges"])).array("f8", entry["ranges"])


def write_level(out, level):
    out.array("f8", level)


# The fields of a tree node in the order of the file, whatever class has them.
NODE_FIELDS = {"mode": "u1", "axis_mode": "u1", "matrix": "f8", "base_position": "f8", "base_rotation": "f8",
    "base_scale_rotation": "f8", "base_scale": "f8", "position_channels": write_channel, "rotation_channels": write_channel,
    "scale_channels": write_channel, "inverted_base_bone_matrix": "f8", "axis": "f8", "conditions": write_range,
    "levels": write_level}  # fmt: skip


NODE_HEAD = {"index", "type_name", "name", "properties", "parent"}


def write_node(out, node):
    if unknown := node.keys() - NODE_FIELDS.keys() - NODE_HEAD:
        raise KeyError(f"no place in NODE_FIELDS: {sorted(unknown)}")
    out.start(node, f"node {node['index']}")
    for field, how in NODE_FIELDS.items():
        if field in node:
            out.at(field)
            out.array(how, node[field]) if isinstance(how, str) else out.each(how, node[field])


# ---------------------------------------------------------------- what hangs on the tree


def write_mesh(out, mesh, with_format=False, with_indices=True):
    if with_format:
        out.at("vertex_format").u32(27).array("u1", mesh["vertex_format"])
    vertices, indices = mesh["vertices"], mesh["indices"]
    out.at("vertices").u32(len(vertices), len(vertices[0]) if len(vertices) else 0).array("f4", vertices)
    if with_indices:
        largest = max(indices, default=0)
        width = mesh.get("width", (largest > 255) + (largest > 65535))
        out.at("indices").u8(width).u32(len(indices), mesh["primitive_type"]).array(("u1", "u2", "u4")[width], indices)


def write_light(out, light):
    out.at("control").u32(light["control"]).at("type").u8(light["light_type"])
    names = ("color", "brightness", "phi", "theta", "distance", "specular_amount", "softness")
    volume = light["volume"]
    settings = [light[name] for name in names]
    settings += [volume[name] for name in ("radius_factor", "density_factor", "near_distance")] if volume else []
    out.at("settings").each(write_property, settings)
    if volume:
        out.at("volume_type").u8(volume["volume_type"])
    out.at("texture").u8(light["texture"] is not None)
    if light["texture"] is not None:
        write_texture(out, light["texture"])


def write_control(out, node):
    out.at("control").u32(node["control"])
    if "segments" in node:
        out.at("segments").u32(len(node["segments"])).array("f4", node["segments"])
    elif "mesh" in node:
        write_mesh(out, node["mesh"], with_format=True)
    else:
        out.u32(0)


def _pivots(out, node):
    if node["version"] > 1:
        out.at("pivots").u32(len(node["pivots"])).array("f4", node["pivots"])


def write_skin(out, skin):
    is_shell = "material" not in skin
    out.at("bones").u32(len(skin["bones"]), *skin["bones"]).at("argument").u32(skin["argument"])
    if skin["skin_box"] is not None:
        out.at("skin_box").array("f4", skin["skin_box"])
    if not is_shell:
        _pivots(out, skin)
    write_mesh(out, skin["mesh"], with_format=is_shell)


def write_render(out, node):
    parents = node["parents"]
    out.at("parents").u32(len(parents))
    for parent, argument in parents:
        out.u32(parent, argument) if len(parents) == 1 else out.u32(parent, 0, argument)
    write_mesh(out, node["mesh"])
    if node["version"] > 0:
        out.at("purpose").u32(node["purpose"])
    _pivots(out, node)
    for rows in node.get("numbers", ()):
        out.at("numbers").u32(len(rows))
        for row in rows:
            out.pack("IfIf", *row)


def write_fake(out, node):
    is_spot = "control_directions" in node
    out.at("controls").u32(len(node["controls"]))
    for place, control in enumerate(node["controls"]):
        out.u32(control, *([] if "mesh" in node else [0]))
        if is_spot:
            out.array("f4", node["control_directions"][place])
    if "mesh" in node:
        return write_mesh(out, node["mesh"], with_indices=False)
    out.at("lights").u32(len(node["lights"]))
    for light in node["lights"]:
        out.array("f8", light[0]).array("f4", light[1]).array("f4", light[2]).pack("fI", *light[3:5])
        if is_spot:
            out.array("f4", light[5]).array("f4", light[6]).u8(light[7])
    if is_spot and node["version"] == 2:
        out.at("directions").array("f4", node["directions"])
    if node["animation"] is not None:
        samples = np.asarray(node["animation"]["samples"], "<f4")
        out.at("samples").u32(node["animation"]["argument"], 128, samples.size).array("f4", samples)
    return None


# The writer of a record by a field that only its kind has.
WRITERS = {"light_type": write_light, "bones": write_skin, "parents": write_render, "controls": write_fake}


def write_record(out, record):
    out.start(record, out.record)
    if "material" in record:
        out.at("material").u32(0, record["material"])
    next((write for field, write in WRITERS.items() if field in record), write_control)(out, record)


def compose(file):
    out = Output()
    write_root(out, file["root"])
    out.record = "tree"
    out.at("count").each(write_node, file["nodes"])
    out.record = "tree"
    out.at("parents").u32(*(node["parent"] & NONE for node in file["nodes"]))
    sections = file.get("sections", [name for name in SECTIONS if file.get(name)])
    out.at("sections").u32(len(sections))
    for name in sections:
        out.record = "section"
        out.at(name).text(SECTIONS.get(name, name)).u32(len(file[name]))
        for place, record in enumerate(file[name]):
            out.record = f"{name}[{place}]"
            write_record(out, record)
    return out


file_bytes = lambda file: compose(file).finish()


def difference(file, found):
    """Where bytes first differ from those of a file: "" or the place, by record and field."""
    out = compose(file)
    expected = out.finish()
    if found == expected:
        return ""
    start = len(expected) - len(out.body)
    if found[:start] != expected[:start]:
        have = found[9 : 9 + struct.unpack_from("<I", found, 5)[0]].split(b"\0")[:-1]
        return f"string table: lacks {set(out.strings) - set(have)}, has beyond it {set(have) - set(out.strings)}"
    same = next((k for k, pair in enumerate(zip(expected, found)) if pair[0] != pair[1]), min(len(expected), len(found)))
    place = out.marks[bisect.bisect(out.marks, same - start, key=lambda mark: mark[0]) - 1]
    at = max(place[0] + start, same - 16)
    return f"byte {same}, {place[1]}: {expected[at : same + 16].hex(' ')} expected, {found[at : same + 16].hex(' ')} found"
