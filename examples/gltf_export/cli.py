"""The command line."""

from __future__ import annotations

import argparse
import sys
import traceback
from pathlib import Path

import pyzrm_313 as zrm

from .attachments import CONVENTION
from .clips import END, START
from .convert import convert, save
from .problems import GltfError
from .report import Report
from .vehicle import build_vehicle

SWITCHES = (
    "optimizeTransformations",
    "mergePopertiesSets",
    "optimizeTextureChannels",
    "mergeNodes",
    "extremlyOptimizeMeshes",
    "optimizeVertexCache",
)

DESCRIPTION = """\
Turns a glTF 2.0 file (.gltf or .glb) into a ZRM model.  Without OUT.zrm it takes IN's name, with .zrm, in the
current folder.  With --demo it writes a model of its own making: a vehicle with turning wheels, a lamp and damage."""

EPILOG = f"""\
Animation i of the file is argument i of the model.  With every argument at 0 the model stands in the rest pose;
the animation runs from {START:g} to {END:g}, linear in seconds; on the way from 0 to {START:g} the model goes from
the rest pose to the animation's first frame.

{CONVENTION}

Lights are point lights and spot lights; alpha modes OPAQUE, BLEND and MASK become the transparent modes 0, 1 and
2.  What can't be carried over is named on standard error and in the report."""


def parser() -> argparse.ArgumentParser:
    """All options."""
    result = argparse.ArgumentParser(
        prog="gltf_to_zrm.py",
        usage="%(prog)s [options] IN.gltf|IN.glb [OUT.zrm]\n       %(prog)s [options] --demo OUT.zrm",
        description=DESCRIPTION,
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    result.add_argument("paths", nargs="+", metavar="PATH", help="the input and the output")
    result.add_argument("--demo", action="store_true", help="no input file: write the vehicle to OUT.zrm")
    result.add_argument("--report", metavar="FILE.json", help="write what the exporter knows as JSON")
    result.add_argument("--quiet", action="store_true", help="nothing on standard error but the end of a failure")
    passes = result.add_argument_group("passes of the module, all on unless switched off")
    passes.add_argument("--no-optimization", action="store_true", help="all of them off")
    for switch in SWITCHES:
        passes.add_argument(f"--no-{switch}", action="store_true", dest=switch)
    return result


def fault(error: Exception) -> str:
    """In one line what went wrong and the last place of ours that it went through."""
    folder = str(Path(__file__).parent)
    place = [frame for frame in traceback.extract_tb(error.__traceback__) if frame.filename.startswith(folder)][-1]
    what = " ".join([type(error).__name__, *str(error).split()])
    return f"{what} (in {place.name}, {Path(place.filename).name}:{place.lineno})"


def main(arguments: list[str] | None = None) -> int:
    """Exit code 0, or 1 with one line on standard error."""
    commands = parser()
    options = commands.parse_args(arguments)
    if len(options.paths) > (1 if options.demo else 2):
        commands.error("give IN and OUT, or --demo and OUT")
    for switch in SWITCHES:
        zrm.enable_model_optimization(switch, not (options.no_optimization or getattr(options, switch)))
    report = Report(quiet=options.quiet, path=Path(options.report) if options.report else None)
    source = Path(options.paths[0])
    output = Path(options.paths[1] if len(options.paths) == 2 else f"{source.stem}.zrm")
    try:
        if options.demo:
            output = source
            save(build_vehicle(report), output, report)
        else:
            convert(source, output, report)
        report.write()
    except (GltfError, OSError, MemoryError) as error:
        print(f"{options.paths[0]}: {error or type(error).__name__}", file=sys.stderr)
        return 1
    except Exception as error:
        # Whatever is wrong with a file is a GltfError by now.
        print(f"{options.paths[0]}: a fault of the exporter, not of the file: {fault(error)}", file=sys.stderr)
        return 1
    report.print_table(str(output))
    return 0
