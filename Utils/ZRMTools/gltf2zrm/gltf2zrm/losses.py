"""Extensions: a file that requires one that isn't read is refused, others in use are named, each with how many places."""

from __future__ import annotations

from collections import Counter
from collections.abc import Iterator

from .compressed import DRACO, MESHOPT
from .problems import GltfError
from .source import Source

READ = {
    DRACO,
    MESHOPT,
    "EXT_mesh_gpu_instancing",
    "EXT_texture_avif",
    "EXT_texture_webp",
    "KHR_animation_pointer",
    "KHR_lights_punctual",
    "KHR_materials_emissive_strength",
    "KHR_materials_variants",
    "KHR_mesh_quantization",
    "KHR_node_visibility",
    "KHR_texture_basisu",
    "KHR_texture_transform",
    "MSFT_lod",
}
# How the renderer lights a surface is its own matter, so what requires this is shown all the same, and named.
HARMLESS = {"KHR_materials_unlit"}


def check_extensions(source: Source) -> None:
    """GltfError for a file that can't be shown without something that isn't read; a loss for each other extension."""
    root, report = source.container.root, source.report
    for name in root.get("extensionsRequired") or []:
        if name not in READ | HARMLESS:
            raise GltfError(f"extensionsRequired: the file needs {name}, which is not read")
    places = Counter(names_in(source.container.raw) if source.container.extended else ())
    for name in sorted({*places, *(root.get("extensionsUsed") or [])} - READ):
        count = places[name]
        report.lose(f"extension {name}", f"it is not read; the file has it in {count} places" if count != 1 else "it is not read; the file has it in one place")
    if (version := root["asset"]["version"]) != "2.0":
        report.lose(f"glTF version {version}", "what it has beyond 2.0 is not read", "asset.version")


def names_in(content: object) -> Iterator[str]:
    """The extension of each place that has one, extras left out."""
    waiting = [content]
    while waiting:
        value = waiting.pop()
        if isinstance(value, dict):
            if isinstance(inside := value.get("extensions"), dict):
                yield from inside
            waiting += [entry for key, entry in value.items() if key != "extras" and isinstance(entry, (dict, list))]
        elif isinstance(value, list) and value and isinstance(value[0], (dict, list)):
            waiting += value
