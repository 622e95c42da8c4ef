"""What a run finds: each figure is printed as it comes, and kept for the table that `./dev bench` ends with."""

from __future__ import annotations

import json
import os
import sys


def heading(text: str) -> None:
    print(f"\n{text}\n{'-' * len(text)}")


def verdict(value: float, aim: float | None) -> str:
    """By the digits that are shown."""
    return "" if aim is None else "met" if round(value, 2) <= aim else "missed"


def row(name: str, value: float, aim: float | None, details: str) -> None:
    """Keeps a line of the table; `value` is a ratio and at most `aim` where there is an aim."""
    tail = "" if aim is None else f"   (aim: at most {aim:g}, {verdict(value, aim)})"
    print(f"{name:<60} {value:6.2f} x {details}{tail}", flush=True)
    if path := os.environ.get("ZRM_BENCH_ROWS"):
        program = os.path.basename(sys.argv[0])
        with open(path, "a", encoding="utf-8") as file:
            file.write(json.dumps({"program": program, "row": name, "ratio": round(value, 4), "aim": aim}) + "\n")


def ratio_row(name: str, ours: float, peer: float, peer_name: str, aim: float | None = None) -> None:
    row(name, ours / peer, aim, f"{peer_name} ({ours * 1e3:.2f} ms, {peer * 1e3:.2f} ms)")


def growth_row(name: str, small: float, large: float, aim: float = 12.0) -> None:
    row(name, large / small, aim, f"the time of a tenth ({small * 1e3:.2f} ms -> {large * 1e3:.2f} ms)")
