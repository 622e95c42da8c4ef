"""The command line."""

from __future__ import annotations

import argparse
import gc
import io
import os
import sys
import traceback
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from pathlib import Path

import zrm_scene
from zrm_scene import SWITCHES, Report, ZrmError, optimizations
from zrm_scene.clips import END, START

import gltf2zrm

from .attachments import CONVENTION
from .convert import convert
from .problems import GltfError
from .source import Options

DESCRIPTION = """\
Turns a glTF 2.0 file (.gltf or .glb) into a ZRM model.  Without OUT.zrm it takes IN's name, with .zrm, in the
current folder."""

EPILOG = f"""\
Animation i of the file is argument i of the model.  With every argument at 0 the model stands in the rest pose;
the animation runs from {START:g} to {END:g}, linear in seconds; on the way from 0 to {START:g} the model goes from
the rest pose to the animation's first frame.

{CONVENTION}

What can't be carried over is named on standard error and in the report, each kind once with how many places.  The exit
status is 0, 1 when the file is refused, or 2 for a mistake on the command line.  Draco, meshopt and metallic-roughness
images need packages of their own: pip install gltf2zrm[draco,meshopt,images]."""


def parser() -> argparse.ArgumentParser:
    """All options."""
    result = argparse.ArgumentParser(
        prog="gltf2zrm",
        usage="%(prog)s [options] IN.gltf|IN.glb [OUT.zrm]",
        description=DESCRIPTION,
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    result.add_argument("source", type=Path, metavar="IN", help="the glTF file")
    result.add_argument("output", type=Path, nargs="?", metavar="OUT.zrm", help="the model")
    result.add_argument("--scene", metavar="SCENE", help="number or name of the scene, in place of the file's default")
    result.add_argument("--textures", type=Path, metavar="DIR", help="write the images there, under names that cannot collide")
    result.add_argument("--cameras", action="store_true", help="cameras become connectors")
    result.add_argument("--no-name-rules", action="store_true", help="names say nothing of what a node is for")
    result.add_argument("--strict", action="store_true", help="refuse a file of which something would be lost")
    result.add_argument("--report", type=Path, metavar="FILE.json", help="write what is known as JSON, of a failure too")
    result.add_argument("--quiet", action="store_true", help="nothing on standard error but the end of a failure")
    result.add_argument("--trace", action="store_true", help="show where a fault of gltf2zrm itself comes from")
    passes = result.add_argument_group("passes of the module, all on unless switched off")
    passes.add_argument("--no-optimization", action="store_true", help="all of them off")
    for switch in SWITCHES:
        passes.add_argument(f"--no-{switch}", action="store_true", dest=switch)
    return result


def main(arguments: list[str] | None = None) -> int:
    """Exit status 0, or 1 with one line on standard error; 2 for a mistake on the command line."""
    given = parser().parse_args(arguments)
    options = Options(given.scene, given.cameras, not given.no_name_rules, given.textures, given.strict)
    lively = sys.stderr.isatty()
    report = Report(quiet=given.quiet, lively=lively, colourful=lively and not os.environ.get("NO_COLOR"), path=given.report)
    source: Path = given.source
    output: Path = given.output or Path(f"{source.stem}.zrm")
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(errors="backslashreplace")  # a path need not be text in the terminal's encoding
    passes = {switch: not (given.no_optimization or getattr(given, switch)) for switch in SWITCHES}
    try:
        with optimizations(**passes), without_collector():
            report.error = attempt(lambda: convert(source, output, options, report), given.trace)
        report.error = attempt(report.write, given.trace) or report.error
        if report.error:
            print(f"{report.over()}{source}: {report.error}", file=sys.stderr)
            return 1
        print(report.over(), end="", file=sys.stderr, flush=True)
        print(report.table(str(output)), flush=True)
    except BrokenPipeError:
        # Nobody reads any more; what is left in the buffers must not complain at the end of the process either.
        for stream in (sys.stdout, sys.stderr):
            os.dup2(os.open(os.devnull, os.O_WRONLY), stream.fileno())
    return 0


@contextmanager
def without_collector() -> Iterator[None]:
    """Records have no cycles worth looking for, again and again, among hundreds of thousands of them."""
    was_on = gc.isenabled()
    gc.disable()
    try:
        yield
    finally:
        if was_on:
            gc.enable()


def attempt(work: Callable[[], None], trace: bool) -> str:
    """Gives "" or what went wrong, in one line."""
    try:
        work()
    except BrokenPipeError:
        raise
    except (GltfError, ZrmError, OSError, MemoryError) as error:
        return " ".join(str(error).split()) or type(error).__name__
    except Exception as error:
        # Whatever is wrong with a file is a GltfError by now.
        if trace:
            traceback.print_exc()
        return f"a fault of gltf2zrm, not of the file: {fault(error)}" + ("" if trace else "; --trace shows more")
    return ""


def fault(error: Exception) -> str:
    """In one line what went wrong and the last place of ours that it went through."""
    folders = tuple(str(Path(module.__file__ or "").parent) for module in (gltf2zrm, zrm_scene))
    place = [frame for frame in traceback.extract_tb(error.__traceback__) if frame.filename.startswith(folders)][-1]
    what = " ".join([type(error).__name__, *str(error).split()])
    return f"{what} (in {place.name}, {Path(place.filename).name}:{place.lineno})"
