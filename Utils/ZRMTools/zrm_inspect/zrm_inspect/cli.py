"""The command zrm-inspect: what is in a ZRM file, what is wrong with it, and what it looks like."""

from __future__ import annotations

import io
import json
import math
import sys
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from pathlib import Path
from typing import Any

import click

from .diff import compare
from .faults import CODES, ERROR, ZrmError
from .model import BaseRenderNode, ZrmFile
from .outline import tree_lines
from .reader import examine, load, open_file, read_file
from .report import Printer, Table, first_rows, printable
from .stats import tables
from .why import Reasons, almost_equal, apart
from .writer import build, dump

FILE = click.Path(dir_okay=False, path_type=Path)


def _opened(path: Path, read: Callable[[Path], ZrmFile] = open_file) -> ZrmFile:
    """The file; the command ends with one line when it is none."""
    try:
        return read(path)
    except ZrmError as error:
        reason = f"{error}; `check` lists all faults"
    except OSError as error:
        reason = error.strerror or str(error)
    raise click.ClickException(f"{printable(str(path))}: {printable(reason)}")


@contextmanager
def _extra(name: str) -> Iterator[None]:
    """Around an import that needs a package which nothing else does."""
    try:
        yield
    except ImportError as error:
        raise click.ClickException(f"This needs the package {error.name}: pip install 'pyzrm_313[{name}]' brings it.") from None


@click.group(context_settings={"help_option_names": ["-h", "--help"], "max_content_width": 110})
def main() -> None:
    """Shows what is in ZRM model files of version 10."""


@main.command()
@click.argument("file", type=FILE)
def tree(file: Path) -> None:
    """The tree of nodes, what each follows, and what hangs on it."""
    printer = Printer()
    for line, is_node in tree_lines(_opened(file)):
        printer.line(line, "bold" if is_node else "cyan")


@main.command()
@click.argument("file", type=FILE)
@click.option("--rows", default=20, show_default=True, help="Rows of each table at most.")
@click.option("--json", "as_json", is_flag=True, help="All tables as JSON.")
def stats(file: Path, rows: int, as_json: bool) -> None:
    """Bytes, vertices and triangles by what they belong to."""
    printer = Printer()
    found = tables(_opened(file), rows)
    if as_json:
        printer.json({table.title: table.as_data() for table in found})
        return
    for table in found:
        printer.table(table)


@main.command()
@click.argument("files", type=FILE, nargs=-1, required=True)
@click.option("--json", "as_json", is_flag=True, help="All faults as JSON.")
@click.option("--codes", is_flag=True, help="Only explain the codes that were met.")
def check(files: tuple[Path, ...], as_json: bool, codes: bool) -> None:
    """Every fault: code, severity, byte offset and record. The exit code is 1 when there is an error."""
    printer = Printer()
    found: list[dict[str, Any]] = []
    for path in files:
        try:
            _, faults = examine(load(path))
        except OSError as error:
            raise click.ClickException(f"{printable(str(path))}: {error.strerror or error}") from None
        for f in faults:
            told = {"code": f.code, "offset": f.offset, "record": f.record, "message": f.message}
            found.append({"file": str(path), "severity": f.severity, **told})
    if as_json:
        printer.json(found)
    elif codes:
        met = dict.fromkeys(fault["code"] for fault in found)
        printer.table(Table("codes", ("code", "severity", "meaning"), [(code, *CODES[code]) for code in met]))
    else:
        for fault in found:
            where = f"offset {fault['offset']}" + (f", {fault['record']}" if fault["record"] else "")
            line = f"{printable(fault['file'])}: {fault['severity']} {fault['code']} at {where}: {printable(fault['message'])}"
            printer.line(line, "red" if fault["severity"] == ERROR else "yellow")
    sys.exit(any(fault["severity"] == ERROR for fault in found))


@main.command("dump")
@click.argument("file", type=FILE)
@click.option("-o", "--output", type=FILE, help="Where to; standard output without it.")
@click.option("--json", "as_json", is_flag=True, help="As JSON, which is the only form.")
def dump_command(file: Path, output: Path | None, as_json: bool) -> None:
    """Everything in a file as JSON, from which `build` makes the same bytes."""
    plain = dump(_opened(file, read_file))
    with click.open_file(str(output or "-"), "w", encoding="ascii") as stream:
        json.dump(plain, stream, allow_nan=False, indent=1)
        stream.write("\n")


@main.command("build")
@click.argument("file", type=FILE)
@click.option("-o", "--output", type=FILE, required=True, help="The ZRM file to write.")
def build_command(file: Path, output: Path) -> None:
    """A ZRM file from what `dump` printed, which may have been changed. Nothing is written when it isn't legal."""
    try:
        data = build(json.loads(file.read_text(encoding="utf-8")))
    except OSError as error:
        raise click.ClickException(f"{printable(str(file))}: {error.strerror or error}") from None
    except (KeyError, ValueError, TypeError, AttributeError, IndexError, ArithmeticError) as error:
        told = f"lacks {error}" if isinstance(error, KeyError) else str(error)
        raise click.ClickException(f"{printable(str(file))}: no dump of a file: {printable(told)}") from None
    _, faults = examine(data)
    if illegal := faults.first_error():
        told = printable(illegal.message)
        raise click.ClickException(f"{printable(str(file))}: what it describes is no legal file: {told}")
    _write(output, data)


@main.command()
@click.argument("first", type=FILE)
@click.argument("second", type=FILE)
@click.option("--tolerance", default=1e-5, show_default=True, help="Numbers this near count as equal.")
def diff(first: Path, second: Path, tolerance: float) -> None:
    """What differs between two files, by node path and material. The exit code is 1 when something does."""
    printer = Printer()
    differ = False
    for line in compare(_opened(first), _opened(second), tolerance):
        differ = True
        printer.line(line, {"-": "red", "+": "green"}.get(line[0], "yellow"))
    sys.exit(differ)


@main.command()
@click.argument("file", type=FILE)
@click.argument("meshes", nargs=-1, metavar="[MESH MESH]")
@click.option("--rows", default=50, show_default=True, help="Rows of each table at most.")
def why(file: Path, meshes: tuple[str, ...], rows: int) -> None:
    """Which render nodes share a material and still stand apart, and the first reason; or why two of them do.

    A MESH is the number of a render node or its name.
    """
    printer = Printer()
    opened = _opened(file)
    if meshes:
        if len(meshes) != 2:
            raise click.UsageError("Give two meshes, or none.")
        a, b = (opened.render_nodes[_number(opened, mesh)] for mesh in meshes)
        printer.line(Reasons(opened).first(a, b))
        return
    names = [_known(opened, record) for record in opened.render_nodes]
    found = [
        (opened.materials[opened.render_nodes[b].material].name, a, names[a], b, names[b], reason)
        for a, b, reason in apart(opened)
    ]
    columns = ("material", "node", "name", "other", "its name", "first reason")
    printer.table(first_rows("of one material, and apart", columns, found, rows))
    materials = opened.materials
    pairs = [(a, materials[a].name, b, materials[b].name, name) for a, b, name in almost_equal(materials)]
    titles = ("material", "name", "other", "its name", "differ only in")
    printer.table(first_rows("materials that differ in one thing", titles, pairs, rows))
    if not found and not pairs:
        printer.line("Nothing stands apart.")


class _Argument(click.ParamType[tuple[int, float]]):
    """NUMBER=VALUE"""

    name = "NUMBER=VALUE"

    def convert(self, value: Any, param: click.Parameter | None, ctx: click.Context | None) -> tuple[int, float]:
        number, equals, told = str(value).partition("=")
        try:
            found = int(number), float(told)
        except ValueError:
            found = -1, 0.0
        if found[0] < 0 or not equals or not math.isfinite(found[1]):
            self.fail(f"'{value}' is not of the form 3=0.5", param, ctx)
        return found


_SIZE = click.IntRange(1, 8192)
ARGUMENTS = click.option("--arg", "arguments", type=_Argument(), multiple=True, help="An argument's value; 0 for the others.")


@main.command("gltf")
@click.argument("file", type=FILE)
@click.option("-o", "--output", type=FILE, required=True, help="The .glb to write.")
@click.option("--level", default=0, show_default=True, help="Which level of detail to write.")
@ARGUMENTS
def gltf_command(file: Path, output: Path, level: int, arguments: tuple[tuple[int, float], ...]) -> None:
    """The model as binary glTF, with an animation for each argument that moves or shows something."""
    with _extra("gltf"):
        from .gltf import to_glb
    _write(output, to_glb(_opened(file, read_file), dict(arguments), level))


@main.command()
@click.argument("file", type=FILE)
@click.option("-o", "--output", type=FILE, required=True, help="The .html or .png to write.")
@click.option("--size", type=(_SIZE, _SIZE), default=(960, 720), show_default=True, help="Of a picture.")
@click.option("--angles", type=(float, float), default=(40.0, 25.0), show_default=True, help="Of the eye, around and above.")
@ARGUMENTS
def view(
    file: Path, output: Path, size: tuple[int, int], angles: tuple[float, float], arguments: tuple[tuple[int, float], ...]
) -> None:
    """A page with the model in it, which turns and zooms and has a slider for each argument; or a picture."""
    opened = _opened(file, read_file)
    try:
        if output.suffix == ".html":
            from .page import to_page

            _write(output, to_page(opened, dict(arguments), file.name).encode("ascii", "xmlcharrefreplace"))
        elif output.suffix == ".png":
            with _extra("picture"):
                from .picture import to_picture
            stream = io.BytesIO()
            to_picture(opened, dict(arguments), size, angles).save(stream, "png")
            _write(output, stream.getvalue())
        else:
            raise click.UsageError("The output is neither .html nor .png.")
    except ValueError as error:
        raise click.ClickException(f"{printable(str(file))}: {printable(str(error))}") from None


def _write(path: Path, data: bytes) -> None:
    try:
        path.write_bytes(data)
    except OSError as error:
        raise click.ClickException(f"{printable(str(path))}: {error.strerror or error}") from None


def _known(file: ZrmFile, record: BaseRenderNode) -> str:
    """A render node's name, or that of what it hangs on."""
    if record.name or not len(record.controls):
        return record.name
    return f"at {file.nodes[int(record.controls[0])].name}"


def _number(file: ZrmFile, mesh: str) -> int:
    count = len(file.render_nodes)
    if mesh.isdecimal() and int(mesh) < count:
        return int(mesh)
    named = [number for number, record in enumerate(file.render_nodes) if record.name == mesh]
    if len(named) != 1:
        raise click.UsageError(f"{len(named)} render nodes are called '{printable(mesh)}'; there are {count}, from 0.")
    return named[0]
