"""What commands print: tables and lines, in colours on a terminal, in plain columns on a pipe, or as JSON."""

from __future__ import annotations

import io
import json
import sys
from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from typing import Any

from rich import box
from rich.console import Console
from rich.table import Table as RichTable
from rich.text import Text

_PIPE_WIDTH = 1 << 16  # nothing is cut or folded where no terminal gives a width


def printable(text: str, width: int | None = None) -> str:
    """A name on one line of any terminal: control characters and bytes that are no text are escaped."""
    if width is not None and len(text) > width:
        text = text[: width - 3] + "..."
    return "".join(c if c.isprintable() else c.encode("unicode_escape", "surrogatepass").decode() for c in text)


@dataclass
class Table:
    """Rows of texts and numbers; `more` says how many were left out."""

    title: str
    columns: Sequence[str]
    rows: Sequence[Sequence[Any]]
    more: int = 0

    def as_data(self) -> list[dict[str, Any]]:
        return [dict(zip(self.columns, row, strict=True)) for row in self.rows]


def first_rows(title: str, columns: Sequence[str], rows: Iterable[Sequence[Any]], limit: int) -> Table:
    every = list(rows)
    return Table(title, columns, every[:limit], max(len(every) - limit, 0))


def _cell(value: Any) -> str:
    if isinstance(value, float):
        return f"{value:.4g}"
    return f"{value:,}".replace(",", " ") if isinstance(value, int) else printable(str(value))


class Printer:
    """Standard output; a character that its encoding lacks becomes its number."""

    def __init__(self) -> None:
        for stream in (sys.stdout, sys.stderr):
            if isinstance(stream, io.TextIOWrapper):
                stream.reconfigure(errors="backslashreplace")
        self.is_terminal = sys.stdout.isatty()
        width = None if self.is_terminal else _PIPE_WIDTH
        self.console = Console(markup=False, emoji=False, highlight=False, width=width)

    def table(self, table: Table) -> None:
        if not table.rows:
            return
        drawn = RichTable(
            title=table.title, title_justify="left", box=box.SIMPLE_HEAD if self.is_terminal else None, pad_edge=False
        )
        for place, column in enumerate(table.columns):
            is_number = isinstance(table.rows[0][place], (int, float))
            drawn.add_column(column, justify="right" if is_number else "left", overflow="fold")
        for row in table.rows:
            drawn.add_row(*(Text(_cell(value)) for value in row))
        self.console.print(drawn)
        if table.more:
            self.line(f"... {table.more} more")
        self.line("")

    def line(self, text: str, style: str = "") -> None:
        """A line without any limit of width; the style is for terminals."""
        if self.is_terminal and style:
            self.console.print(Text(text, style), soft_wrap=True)
        else:
            sys.stdout.write(text + "\n")

    def json(self, value: Any) -> None:
        json.dump(value, sys.stdout, allow_nan=False, indent=1)
        sys.stdout.write("\n")
