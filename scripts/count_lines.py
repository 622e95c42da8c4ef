#!/usr/bin/env python3
"""Counts the lines of code and of tests by folder: those that hold more than blanks and comments, docstrings being comments.

    scripts/count_lines.py [--json | --total]
"""

from __future__ import annotations

import ast
import io
import json
import re
import sys
import tokenize
from collections import Counter
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
KINDS = {
    "code": ("Projects", "Utils", "examples", "docs", "scripts"),
    "tests": ("tests",),
    "beside": ("benchmarks", "fuzz"),
}
NO_CODE = {tokenize.COMMENT, tokenize.NL, tokenize.NEWLINE, tokenize.INDENT, tokenize.DEDENT, tokenize.ENDMARKER}

# A comment, or a literal, in which nothing begins a comment.
CXX_TOKEN = re.compile(
    r"""//(?:[^\n\\]|\\.)* | /\*.*?\*/ | R"(?P<end>[^(\n]*)\(.*?\)(?P=end)" | "(?:[^"\\\n]|\\.)*" | '(?:[^'\\\n]|\\.)*'""",
    re.DOTALL | re.VERBOSE,
)


def cxx_lines(text: str) -> int:
    def blank(match: re.Match[str]) -> str:
        token = match[0]
        return "\n" * token.count("\n") if token.startswith(("//", "/*")) else token

    # The quotes of 1'000'000 begin no literal.
    text = re.sub(r"(?<=[0-9])'(?=[0-9])", "", text)
    return sum(1 for line in CXX_TOKEN.sub(blank, text).splitlines() if line.strip())


def python_lines(text: str) -> int:
    lines: set[int] = set()
    for token in tokenize.generate_tokens(io.StringIO(text).readline):
        if token.type not in NO_CODE:
            lines.update(range(token.start[0], token.end[0] + 1))
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, ast.Expr) and isinstance(node.value, ast.Constant) and isinstance(node.value.value, str):
            lines.difference_update(range(node.lineno, (node.end_lineno or node.lineno) + 1))
    blank = {number for number, line in enumerate(text.splitlines(), 1) if not line.strip()}
    return len(lines - blank)


COUNTERS = {
    ".cpp": cxx_lines,
    ".h": cxx_lines,
    ".inc": cxx_lines,
    ".js": cxx_lines,
    ".py": python_lines,
    ".pyi": python_lines,
}


def count() -> dict[str, dict[str, int]]:
    """{kind: {folder: lines}}."""
    result: dict[str, dict[str, int]] = {}
    for kind, tops in KINDS.items():
        folders: Counter[str] = Counter()
        for path in sorted(path for top in tops for path in (ROOT / top).rglob("*")):
            if path.suffix in COUNTERS and path.is_file():
                folders[path.parent.relative_to(ROOT).as_posix()] += COUNTERS[path.suffix](path.read_text(encoding="utf-8"))
        result[kind] = dict(folders)
    return result


def main() -> None:
    counted = count()
    code, tests = (sum(counted[kind].values()) for kind in ("code", "tests"))
    if "--json" in sys.argv:
        print(json.dumps({**counted, "code_lines": code, "test_lines": tests}, indent=2))
        return
    if "--total" not in sys.argv:
        for kind, folders in counted.items():
            print(f"{kind}:")
            for folder, lines in folders.items():
                print(f"  {lines:6}  {folder}")
    print(f"tests {tests} lines, code {code} lines: {100 * tests / code:.1f} %")


if __name__ == "__main__":
    main()
