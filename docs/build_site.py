"""Builds the documentation as a site: the pages of this folder, one for each family of classes from the stubs, and the format.

    python docs/build_site.py FOLDER

A warning is an error. Nothing in the site is fetched from other people's servers.
"""

from __future__ import annotations

import ast
import contextlib
import importlib.util
import re
import shutil
import subprocess
import sys
import tomllib
from collections.abc import Iterator, Mapping
from pathlib import Path
from typing import Any

DOCS = Path(__file__).resolve().parent
ROOT = DOCS.parent
sys.path.insert(0, str(ROOT / "Utils/ZRMTools/zrm_inspect"))

from zrm_inspect import SEMANTICS, kinds, layouts  # noqa: E402
from zrm_inspect.blocks import MeshBlock  # noqa: E402
from zrm_inspect.faults import CODES  # noqa: E402
from zrm_inspect.named import NamedFields  # noqa: E402

STUBS = ROOT / "Utils/ZRMTools/python_bindings/stubs/pyzrm_313-stubs/__init__.pyi"
FAMILIES: dict[str, tuple[str, str]] = {  # page: (title, its classes)
    "nodes": ("Model and nodes", "Model Node Transform AnimationNode VisibilityNode Lod Bone NumberRoot"),
    "blocks": (
        "Blocks of materials",
        "IBlock BaseBlock ColorBaseBlock NormalBlock AormsBlock AoBlock EmissiveBlock EmissiveColorBlock DecalBlock DamageBlock"
        " FlirBlock GlassFilterBlock BoneBlock NumberBlock",
    ),
    "meshes": ("Meshes", "IRenderNode PBRNode GlassNode MirrorNode ColorNode DeckNode"),
    "lights": (
        "Lights",
        "ILight OmniLight SpotLight FakeOmniLight FakeOmniLights AnimatedFakeOmniLight FakeSpotLight FakeSpotLights"
        " AnimatedFakeSpotLight",
    ),
    "shells": ("Collision and connectors", "ShellNode SegmentsNode Connector"),
    "properties": ("Properties", "PropertyFloat PropertyFloat2 PropertyFloat3"),
}

# ---------------------------------------------------------------- classes


def markdown(docstring: str | None) -> str:
    """A docstring's text: its literals become code; indented lists of parameters stay as they stand."""
    text = re.sub(r"``(.*?)``", r"`\1`", docstring or "")
    listed = r"(?m)^(?:\w+(?:, \w+)*  +\S.*(?:\n +\S.*)*(?:\n|$))+"
    return re.sub(listed, lambda match: f"\n```text\n{match[0].rstrip()}\n```\n", text)


def signature(function: ast.FunctionDef, of: str = "") -> str:
    arguments = [a for a in (*function.args.posonlyargs, *function.args.args) if a.arg != "self"]
    told = ", ".join(f"{a.arg}: {ast.unparse(a.annotation)}" if a.annotation else a.arg for a in arguments)
    name = of if function.name == "__init__" else function.name
    result = ast.unparse(function.returns) if function.returns else "None"
    return f"{name}({told})" if name == of else f"def {name}({told}) -> {result}: ..."


def functions_of(body: list[ast.stmt], of: str = "") -> Iterator[str]:
    for entry in body:
        if isinstance(entry, ast.FunctionDef) and entry.name != "__repr__":
            title = of if entry.name == "__init__" else entry.name
            yield f"### `{title}`\n\n```python\n{signature(entry, of)}\n```\n\n{markdown(ast.get_docstring(entry))}\n"


def class_page(title: str, names: list[str], classes: Mapping[str, ast.ClassDef]) -> str:
    parts = [f"# {title}\n"]
    for name in names:
        entry = classes[name]
        bases = [ast.unparse(base) for base in entry.bases]
        parts.append(f"## `{name}`\n")
        parts += [f"A {', '.join(f'`{base}`' for base in bases)}, with all that these have.\n"] if bases else []
        parts += [markdown(ast.get_docstring(entry)) + "\n", *functions_of(entry.body, name)]
    return "\n".join(parts)


def class_pages() -> dict[str, str]:
    tree = ast.parse(STUBS.read_text(encoding="utf-8"))
    classes = {entry.name: entry for entry in tree.body if isinstance(entry, ast.ClassDef)}
    listed = {name for _, names in FAMILIES.values() for name in names.split()}
    if missing := classes.keys() - listed - {"_FacadeType"}:
        raise ValueError(f"classes without a page, see FAMILIES: {missing}")
    pages = {page: class_page(title, names.split(), classes) for page, (title, names) in FAMILIES.items()}
    whole = "\n".join(["# The whole module\n", markdown(ast.get_docstring(tree)), "\n## Functions\n", *functions_of(tree.body)])
    return pages | {"module": whole}


# ---------------------------------------------------------------- the format

_SCALARS = {"u1": "u8", "u2": "u16", "u4": "u32", "i4": "i32", "f4": "f32", "f8": "f64"}


def dtype_words(dtype: Any) -> str:
    if dtype.names:
        return "{" + ", ".join(f"{name}: {dtype_words(dtype[name])}" for name in dtype.names) + "}"
    count = " × ".join(map(str, dtype.shape))
    return (f"{count} × " if count else "") + _SCALARS[dtype.base.str[1:]]


def kind_words(kind: kinds.Kind) -> str:
    """A field in words."""
    match kind:
        case kinds.When():
            return f"{kind_words(kind.kind)}, not in every version"
        case kinds.Flagged():
            return f"u8, 1 when there is one, else 0; then {kind_words(kind.kind)}"
        case kinds.Constant():
            return f"u32, {kind.what}"
        case kinds.Counted():
            return f"u32 {kind.shape[0]}, then {kind.shape[0]} × {dtype_words(kind.dtype)}"
        case kinds.Array():
            return " × ".join([*map(str, kind.shape), dtype_words(kind.dtype)])
        case kinds.Rows():
            return "u32 count, then for each: " + " × ".join([*map(str, kind.tail), dtype_words(kind.dtype)])
        case kinds.List():
            return f"u32 count, then for each: {kind_words(kind.kind)}"
        case kinds.Layout():
            return "; ".join(f"{name.strip('_')}: {kind_words(inner)}" for name, inner in kind.fields)
        case kinds.Tagged():
            return f"{kind.what} (a type as str, then its fields)"
        case kinds.Number():
            allowed = f", {' or '.join(map(str, kind.allowed))}" if 0 < len(kind.allowed) < 8 else ""
            return f"{'u32' if kind.least == 4 else 'u8'}{allowed}"
        case NamedFields():
            return "a material, see below"
        case MeshBlock():
            return ("vertex format, " if kind.own_format else "") + "vertex block" + (", index block" if kind.indices else "")
        case _:
            first = (type(kind).__doc__ or type(kind).__name__).partition(".")[0].replace("\n", " ")
            return {"String": "str", "RawName": "name", "Argument": "u32 argument", "MaterialIndex": "u32 0, u32 material"}.get(
                type(kind).__name__, " ".join(first.split())
            )


def record_table(layout: Any) -> str:
    rows = ["| Field | Form |", "|---|---|"]
    rows += [f"| {name.strip('_')} | {kind_words(kind)} |" for name, kind in layout.fields if name != "version"]
    return "\n".join(rows)


def tagged_tables(tagged: kinds.Tagged) -> Iterator[str]:
    """A table for each layout; types of one layout share it."""
    by_layout: dict[int, list[str]] = {}
    for name, layout in tagged.layouts.items():
        by_layout.setdefault(id(layout), []).append(name)
    for names in by_layout.values():
        yield "### " + ", ".join(f"`{name}`" for name in names) + f"\n\n{record_table(tagged.layouts[names[0]])}\n"


def format_page() -> str:
    material = ["| Field | In the record | Form |", "|---|---|---|"]
    for title, name, kind in (*layouts.MATERIAL.always, *layouts.MATERIAL.optional):
        material.append(f"| `{title}` | {name} | {kind_words(kind)} |")
    parts = ["## The root\n", *tagged_tables(layouts.ROOT), "## Materials\n"]
    parts += ["A count, then for each field its name as str and its value; the last two only when they hold something.\n", *material]
    parts += ["\n## A texture\n", record_table(layouts.TEXTURE), "\n## Properties\n", *tagged_tables(layouts.PROPERTY)]
    parts += ["## Tree nodes\n", *tagged_tables(layouts.TREE_NODE)]
    for title, _, tagged in layouts.SECTIONS:
        parts += [f"## `{title}`\n", *tagged_tables(tagged)]
    numbered = ", ".join(f"{number} {name}" for number, name in enumerate(SEMANTICS))
    return "\n".join([*parts, f"## Semantics\n\n{numbered}.\n"])


def codes_table() -> str:
    rows = ["| Code | Severity | |", "|---|---|---|"]
    return "\n".join([*rows, *(f"| `{code}` | {severity} | {text} |" for code, (severity, text) in CODES.items())])


# ---------------------------------------------------------------- the site


def included(text: str) -> str:
    """A page with the files that it quotes."""
    return re.sub(r"(?m)^#quote (.*)\n", lambda match: (ROOT / match[1]).read_text(encoding="utf-8"), text)


def sources(folder: Path) -> None:
    """Everything that the site is made from, in one place."""
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "api").mkdir(parents=True)
    shutil.copytree(DOCS / "pictures", folder / "pictures")
    for page in DOCS.glob("*.md"):
        text = included(page.read_text(encoding="utf-8"))
        text = text.replace("<!-- records -->", format_page()).replace("<!-- codes -->", codes_table())
        (folder / page.name).write_text(text, encoding="utf-8")
    for name, text in class_pages().items():
        (folder / "api" / f"{name}.md").write_text(text, encoding="utf-8")
    for script in DOCS.glob("make_*.py"):
        shutil.copy(script, folder)
    shutil.copy(ROOT / "CHANGELOG.md", folder / "changes.md")


def gallery(folder: Path) -> None:
    """A page of models that aren't ours; it needs the module, which the rest of the site doesn't."""
    lines = ["# Gallery", "", "What `zrm-inspect view` makes of real models, converted by the example exporter, all arguments at 0.3.", ""]
    if importlib.util.find_spec("pyzrm_313") is None:
        lines.append("The module wasn't built when this page was.")
    else:
        import make_views

        with contextlib.chdir(folder):
            for name, picture in make_views.real_models():
                picture.save(folder / "pictures" / f"{name}.png")
                lines += [f"## {name}", "", f"![{name}](pictures/{name}.png)", ""]
            Path("real.zrm").unlink(missing_ok=True)
    (folder / "gallery.md").write_text("\n".join(lines), encoding="utf-8")


def main(site: Path) -> int:
    project = tomllib.loads((ROOT / "pyproject.toml").read_text(encoding="utf-8"))["project"]
    work = site.with_name(site.name + "-sources")
    sources(work)
    gallery(work)
    settings = {
        "project": project["name"],
        "release": project["version"],
        "html_title": f"{project['name']} {project['version']}",
        "extensions": "myst_parser",
        "html_theme": "furo",
        "myst_heading_anchors": "3",
        "html_show_sourcelink": "0",
        "html_copy_source": "0",
        "html_show_copyright": "0",
        "html_show_sphinx": "0",
    }
    options = [word for name, value in settings.items() for word in ("-D", f"{name}={value}")]
    shutil.rmtree(site, ignore_errors=True)
    command = [sys.executable, "-m", "sphinx", "-q", "-W", "--keep-going", "-C", "-d", str(work / ".doctrees"), *options]
    return subprocess.run([*command, str(work), str(site)]).returncode


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1]).resolve()))
