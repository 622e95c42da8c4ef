"""Which extensions are read, and what becomes of the others: a file that requires one is refused, else it is named."""

from __future__ import annotations

from typing import Any

from .container import Container
from .problems import GltfError
from .report import Report

READ = {
    "EXT_texture_avif",
    "EXT_texture_webp",
    "KHR_animation_pointer",
    "KHR_lights_punctual",
    "KHR_materials_emissive_strength",
    "KHR_mesh_quantization",
    "KHR_texture_basisu",
    "KHR_texture_transform",
}
# How the renderer lights a surface is its own matter, so what requires this is shown all the same, and named.
HARMLESS = {"KHR_materials_unlit"}


def check_extensions(container: Container, report: Report) -> None:
    """GltfError for a file that can't be shown without something that isn't read; a line for each other extension."""
    for name in container.raw.get("extensionsRequired") or []:
        if name not in READ | HARMLESS:
            raise GltfError(f"the file requires the extension {name}, which is not read")
    for name in sorted(used(container.raw) - READ):
        report.skip(f"extension {name}", "it is not read")


def used(content: dict[str, Any]) -> set[str]:
    """The extensions that a file lists, and those that stand in it unlisted."""
    names = set(content.get("extensionsUsed") or [])
    waiting: list[Any] = [content]
    while waiting:
        value = waiting.pop()
        if isinstance(value, dict):
            if isinstance(inside := value.get("extensions"), dict):
                names.update(inside)
            waiting.extend(entry for key, entry in value.items() if key != "extras")
        elif isinstance(value, list):
            waiting.extend(value)
    return names
