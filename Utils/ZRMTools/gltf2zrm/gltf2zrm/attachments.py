"""Connectors, collision shells and segments: what a node is for, told by explicit means first, then by its name."""

from __future__ import annotations

import json
import re

from zrm_scene import Kind

from .form import is_number
from .scene import COVERAGE, Scene, name_of
from .schema import NodeEntry

CONVENTION = """\
What a node is for is told by the first of these that says so; each use is one line of the report.
  extras       {"zrm": {"kind": "shell"}}, or {"zrm": "shell"}; the kinds are mesh, shell and segments for a node with a
               mesh, connector for one without
  collections  a node without a mesh that is called zrm_shells, zrm_segments or zrm_connectors (letter case and an ending
               such as .001 do not matter) makes everything below it that
  names        (not with --no-name-rules) a whole word at the beginning of the name, one that "_", "-", "." or a digit
               follows, whatever its case: collision, collider or shell, or an ending _col or -col, make a shell;
               segment or segments make segments; connector, attach, socket, mount or locator make an empty node (no
               mesh, camera, light or skin, and no joint of one) a connector, and so do extras that are an object.
               "shell", "Shell.001" and "SHELL_hull" are shells, "Shell Oil sign" is drawn
A shell has the triangles of the mesh and is not drawn; segments have its lines, or the edges of its triangles.  Numbers and
booleans among the extras of a connector become float properties, texts string properties, anything else its JSON text."""

CONNECTOR = "connector"
KINDS = {kind.value: kind for kind in Kind}
COLLECTIONS = re.compile(r"zrm_(shell|segment|connector)s(?:\.\d+)?", re.IGNORECASE | re.ASCII)


def rule(words: str, ends: str = "(?!)") -> re.Pattern[str]:
    """Names that begin with one of the words, or end with one of the ends."""
    return re.compile(rf"(?:{words})(?:\Z|[-_.0-9])|.*(?:{ends})\Z", re.IGNORECASE | re.ASCII | re.DOTALL)


CONNECTOR_NAMES = rule("connector|attach|socket|mount|locator")
SHELL_NAMES = rule("collision|collider|shell", "[-_]col")
SEGMENTS_NAMES = rule("segments?")


class Purposes:
    """Says of each shown node what it is for: a kind of mesh, CONNECTOR, or neither of them."""

    def __init__(self, scene: Scene, joints: set[int]) -> None:
        self.scene = scene
        self.report = scene.source.report
        self.by_name = scene.source.options.name_rules
        self.joints = joints
        self.collected: dict[int, str] = {}  # what the collection around a node says

    def of(self, index: int, entry: NodeEntry) -> Kind | str:
        """What a node is for; parents are asked before their children."""
        if (above := self.collected.get(self.scene.parents[index])) is not None:
            self.collected[index] = above
        meshed = entry.get("mesh") is not None
        if not meshed and (match := COLLECTIONS.fullmatch(entry.get("name") or "")) is not None:
            word = match[1].lower()
            self.collected[index] = "segments" if word == "segment" else word
            return ""
        told, how = self._told(index, entry, meshed)
        if told is None:
            return Kind.DRAWN if meshed else ""
        if told != Kind.DRAWN.value or how.startswith("extras"):
            self.report.note(f"nodes[{index}] ({name_of(entry, index)}): {told}, by its {how}")
        return KINDS[told] if meshed else told

    def _told(self, index: int, entry: NodeEntry, meshed: bool) -> tuple[str | None, str]:
        """A kind, and what says so."""
        kinds = list(KINDS) if meshed else [CONNECTOR]
        if (told := kind_in(entry.get("extras"))) is not None:
            if told in kinds:
                return told, "extras"
            self.report.warn(f"nodes[{index}].extras.zrm: {told!r} is none of {', '.join(kinds)}")
        if self.collected.get(index) in kinds:
            return self.collected[index], "collection"
        if meshed:
            name = entry.get("name") or ""
            if self.by_name and SEGMENTS_NAMES.match(name):
                return Kind.SEGMENTS.value, "name"
            if self.by_name and SHELL_NAMES.match(name):
                return Kind.SHELL.value, "name"
            return None, ""
        return self._empty(index, entry)

    def _empty(self, index: int, entry: NodeEntry) -> tuple[str | None, str]:
        """The rules for nodes that nothing hangs on."""
        taken = any(entry.get(key) is not None for key in ("camera", "skin")) or "KHR_lights_punctual" in (entry.get("extensions") or {})
        if not self.by_name or taken or index in self.joints:
            return None, ""
        extras = entry.get("extras")
        if isinstance(extras, dict) and extras:
            return CONNECTOR, "extras"
        return (CONNECTOR, "name") if CONNECTOR_NAMES.match(entry.get("name") or "") else (None, "")


def kind_in(extras: object) -> str | None:
    """What the extra "zrm" says."""
    told = extras.get("zrm") if isinstance(extras, dict) else None
    if isinstance(told, dict):
        told = told.get("kind")
    return None if told is None else told if isinstance(told, str) else json.dumps(told)


def has_more(extras: object) -> bool:
    """Is there anything in them but what tells us what to do?"""
    return not isinstance(extras, dict) or bool(extras.keys() - {"zrm", COVERAGE})


def properties_of(entry: NodeEntry) -> dict[str, float | str]:
    """The extras of a connector as properties."""
    extras = entry.get("extras")
    found: dict[str, float | str] = {}
    for key, value in extras.items() if isinstance(extras, dict) else ():
        if key == "zrm":
            continue
        if isinstance(value, bool) or is_number(value):
            found[str(key)] = float(value)
        else:
            found[str(key)] = value if isinstance(value, str) else json.dumps(value)
    return found
