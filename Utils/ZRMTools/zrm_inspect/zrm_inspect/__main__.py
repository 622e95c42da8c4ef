"""Command line: what is in a ZRM file, or why it isn't one."""

from __future__ import annotations

import argparse
import io
import json
import math
import os
import sys
from collections.abc import Iterable, Sequence
from typing import Any

from .cursor import ZrmError
from .data import as_data
from .reader import read_file
from .summary import printable, string_lines, summary_lines, tree_lines


def _finite(value: Any) -> Any:
    """JSON has no infinities and no NaN: they become their names. The data are a few levels deep, not more."""
    if isinstance(value, float) and not math.isfinite(value):
        return str(value)
    if isinstance(value, dict):
        return {key: _finite(entry) for key, entry in value.items()}
    if isinstance(value, (list, tuple)):
        return [_finite(entry) for entry in value]
    return value


def _print_lines(lines: Iterable[str]) -> None:
    for line in lines:
        print(line)


def main(arguments: Sequence[str] | None = None) -> int:
    """Prints what is asked for; the result is the exit code: 0, or 1 when the file is no legal one."""
    parser = argparse.ArgumentParser(prog="zrm_inspect", description="Shows what is in ZRM model files, version 10.")
    parser.add_argument("files", nargs="+", metavar="FILE")
    parser.add_argument("--json", action="store_true", help="the whole file but its geometry, as JSON")
    parser.add_argument("--tree", action="store_true", help="the tree of nodes too")
    parser.add_argument("--strings", action="store_true", help="the string table too")
    options = parser.parse_args(arguments)
    failed = False
    for path in options.files:
        try:
            file = read_file(path)
        except (ZrmError, OSError) as error:
            reason = str(error) if isinstance(error, ZrmError) else error.strerror or str(error)
            print(f"{printable(path)}: {printable(reason)}", file=sys.stderr)
            failed = True
            continue
        if options.json:
            print(json.dumps(_finite(as_data(file)), allow_nan=False))
            continue
        print(f"{printable(path)}:")
        _print_lines(summary_lines(file))
        if options.tree:
            print("tree:")
            _print_lines(tree_lines(file))
        if options.strings:
            print("strings:")
            _print_lines(string_lines(file))
    return 1 if failed else 0


if __name__ == "__main__":
    for stream in (sys.stdout, sys.stderr):
        # A terminal that lacks a character of a name shows its number instead.
        if isinstance(stream, io.TextIOWrapper):
            stream.reconfigure(errors="backslashreplace")
    try:
        sys.exit(main())
    except BrokenPipeError:
        # Whoever read the output has had enough. Python would try to flush the rest at exit and complain.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        sys.exit(1)
