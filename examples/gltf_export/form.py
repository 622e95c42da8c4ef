"""What the JSON of a glTF file looks like, held against a file once, before anything is read from it.

A form is a type, a list of one form, or a dict: the fields that we read, those with "!" must be there, and "*"
stands for any other.  `float` is any 32-bit number.  Behind this check a value of another type is a mistake of
ours and not of the file.  The depth of the walk is that of the form, whatever the file holds.
"""

from __future__ import annotations

from typing import Any

from .problems import GltfError

NUMBERS = [float]
TEXTURE = {"index!": int, "texCoord": int, "scale": float, "strength": float}
SPARSE = {
    "count!": int,
    "indices!": {"bufferView!": int, "byteOffset": int, "componentType!": int},
    "values!": {"bufferView!": int, "byteOffset": int},
}
ACCESSOR = {
    "bufferView": int,
    "byteOffset": int,
    "componentType!": int,
    "count!": int,
    "type!": str,
    "normalized": bool,
    "sparse": SPARSE,
}
ANIMATION = {
    "channels!": [{"sampler!": int, "target!": {"node": int, "path!": str}}],
    "samplers!": [{"input!": int, "output!": int, "interpolation": str}],
}
MATERIAL = {
    "pbrMetallicRoughness": {
        "baseColorFactor": NUMBERS,
        "baseColorTexture": TEXTURE,
        "metallicFactor": float,
        "roughnessFactor": float,
        "metallicRoughnessTexture": TEXTURE,
    },
    "normalTexture": TEXTURE,
    "occlusionTexture": TEXTURE,
    "emissiveTexture": TEXTURE,
    "emissiveFactor": NUMBERS,
    "alphaMode": str,
    "alphaCutoff": float,
    "doubleSided": bool,
}
NODE = {
    "children": [int],
    "mesh": int,
    "skin": int,
    "camera": int,
    "matrix": NUMBERS,
    "translation": NUMBERS,
    "rotation": NUMBERS,
    "scale": NUMBERS,
    "weights": NUMBERS,
}
PRIMITIVE = {"attributes!": {"*": int}, "indices": int, "material": int, "mode": int, "targets": [{"*": int}]}
FILE = {
    "asset!": {"version!": str},
    "extensionsUsed": [str],
    "extensionsRequired": [str],
    "scene": int,
    "scenes": [{"nodes": [int]}],
    "nodes": [NODE],
    "meshes": [{"primitives!": [PRIMITIVE], "weights": NUMBERS}],
    "skins": [{"joints!": [int], "inverseBindMatrices": int}],
    "animations": [ANIMATION],
    "accessors": [ACCESSOR],
    "bufferViews": [{"buffer!": int, "byteOffset": int, "byteLength!": int, "byteStride": int}],
    "buffers": [{"uri": str, "byteLength!": int}],
    "images": [{"uri": str, "bufferView": int}],
    "textures": [{"source": int}],
    "materials": [MATERIAL],
    "cameras": [{}],
}
LARGEST = 3.4028235e38
KINDS = {int: "whole number", float: "32-bit number", str: "text", bool: "boolean"}


def is_number(value: Any) -> bool:
    """A float or int that glTF's 32-bit floats can hold."""
    return isinstance(value, (int, float)) and not isinstance(value, bool) and abs(value) <= LARGEST


def check(value: Any, form: Any = FILE, place: str = "") -> None:
    """GltfError, with the place in the file, where a value is none of its form."""
    if isinstance(form, list):
        if not isinstance(value, list):
            raise GltfError(f"{place} is no list")
        for index, entry in enumerate(value):
            check(entry, form[0], f"{place}/{index}")
    elif isinstance(form, dict):
        check_object(value, form, place)
    elif not (is_number(value) if form is float else type(value) is form):
        raise GltfError(f"{place} is {value!r:.60}, not a {KINDS[form]}")


def check_object(value: Any, form: dict[str, Any], place: str) -> None:
    """An object; a null counts as a field that isn't there."""
    if not isinstance(value, dict):
        raise GltfError(f"{place or 'the JSON'} is no object")
    for field, inner in form.items():
        if field == "*":
            for key, entry in value.items():
                if key != "extensions" and key != "extras":
                    check(entry, inner, f"{place}/{key}")
        elif (entry := value.get(field.rstrip("!"))) is not None:
            check(entry, inner, f"{place}/{field.rstrip('!')}")
        elif field.endswith("!"):
            raise GltfError(f"{place} has no {field[:-1]}")
    extensions = value.get("extensions") or {}
    if not isinstance(extensions, dict) or not all(isinstance(entry, dict) for entry in extensions.values()):
        raise GltfError(f"{place}/extensions is no object of objects")
