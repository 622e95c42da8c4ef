"""What the module refuses, as exceptions that name the mesh or node, the module's text, and the cure."""

from __future__ import annotations

import re

# The texts of `Model.addRenderNode` and `Model.save`, those of one cure together; the first that matches counts.
CURES = [
    (re.compile(pattern), cure)
    for pattern, cure in (
        (r"must have the following blocks", "add a BaseBlock or a ColorBaseBlock"),
        (r"doesn't support block", "leave the block out, or take the other class of mesh"),
        (r"bone\(skin\) and number", "leave out the bones or the number"),
        (r"Indices are", "set the triangles with setIndices"),
        (r"Control node of a skin must be a bone", "hang the mesh on a Bone"),
        (r"Control node isn't set", "name the node that it hangs on with setControlNode"),
        (r"unordered_map<K, T> key", "add each node below the root with addChild, and set each control node"),
        (r"Expected idx < size|Invalid normals|texture coordinates|Vetices|Vertex data|vertex size", "give one row for each vertex and number the vertices from 0"),
        (r"Invalid size of bone|Bone weights|Bone indices", "give four bones and four weights with the sum 1 for each vertex"),
        (r"bounding box", "call Model.setBBox"),
        (r"Too much transparent pivots", "add at most 6 pivots to a mesh"),
        (r"Argument of animated fake|argument is not set|invalid .* handle|arguments were set", "give the number of an argument"),
        (r"Only one way to set", "set one argument for all, or one for each vertex"),
        (r"Invalid data size|directions array", "give one entry for each light, in order"),
        (r"still equal properties sets", "make a property object for each place"),
        (r"Empty texture channel|Broken texture channels|map|[Tt]exture|Albedo|Color not set|attribute|isn't set", "set the map or attribute that the text names"),
        (r"Can't write to file", "make sure the folder is there and may be written to"),
    )
]


class ZrmError(Exception):
    """Something can't become part of a model, or the model no file.

    subject  the mesh, node or file it is about
    text     what is wrong: the module's own text where the module refused
    cure     what to do about it, or ""
    """

    def __init__(self, subject: str, text: str, cure: str = "") -> None:
        super().__init__(f"{subject}: {text}" + (f" ({cure})" if cure else ""))
        self.subject = subject
        self.text = text
        self.cure = cure


def refused(subject: str, text: str) -> ZrmError:
    """A text of the module with its cure."""
    return ZrmError(subject, text, next((cure for pattern, cure in CURES if pattern.search(text)), ""))
