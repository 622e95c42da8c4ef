"""What the export did: warnings, choices, things left out, counts, the closing table and the JSON report."""

from __future__ import annotations

import json
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any


@dataclass
class Report:
    """Gathers while the export runs.  Texts go to standard error as they come, each only once."""

    quiet: bool = False
    path: Path | None = None  # of the JSON report, which nobody may have asked for
    arguments: list[dict[str, Any]] = field(default_factory=list)
    skipped: list[dict[str, str]] = field(default_factory=list)
    warnings: list[str] = field(default_factory=list)
    notes: list[str] = field(default_factory=list)
    counts: dict[str, int] = field(
        default_factory=lambda: dict.fromkeys(("nodes", "materials", "meshes", "vertices", "triangles", "bytes"), 0)
    )
    started: float = field(default_factory=time.monotonic)
    spoken: float = 0.0
    seen: set[str] = field(default_factory=set)

    def warn(self, text: str) -> None:
        """Something that may look wrong in the result."""
        if text not in self.seen:
            self.seen.add(text)
            self.warnings.append(text)
            self._say(f"warning: {text}")

    def skip(self, what: str, why: str) -> None:
        """Something of the source that the result lacks."""
        if (key := f"{what}\0{why}") not in self.seen:
            self.seen.add(key)
            self.skipped.append({"what": what, "why": why})
            self._say(f"skipped: {what}: {why}")

    def note(self, text: str) -> None:
        """A choice that was made for the user."""
        self.notes.append(text)
        self._say(f"note: {text}")

    def progress(self, what: str, done: int, total: int) -> None:
        """At most two lines a second, and none for work that is done in less."""
        now = time.monotonic()
        self.spoken = self.spoken or self.started
        if now - self.spoken >= 0.5:
            self.spoken = now
            self._say(f"{what}: {done} of {total}")

    def _say(self, text: str) -> None:
        if not self.quiet:
            print(" ".join(text.splitlines()), file=sys.stderr)  # names may hold line breaks

    def table(self) -> list[tuple[str, str]]:
        """The rows of the closing table."""
        rows = [(name, f"{count:,}".replace(",", " ")) for name, count in self.counts.items()]
        return [*rows, ("seconds", f"{self.seconds():.2f}")]

    def seconds(self) -> float:
        """Time since the export began."""
        return time.monotonic() - self.started

    def print_table(self, output: str) -> None:
        """The closing table, on standard output."""
        rows = self.table()
        width = max(len(value) for _, value in rows)
        print(output)
        for name, value in rows:
            print(f"  {name:<10} {value:>{width}}")

    def write(self) -> None:
        """The JSON report, if there is to be one."""
        if self.path is None:
            return
        lists = ("arguments", "skipped", "warnings", "notes")
        content: dict[str, Any] = {name: getattr(self, name) for name in lists} | self.counts
        content["seconds"] = round(self.seconds(), 3)
        self.path.write_text(json.dumps(content, indent=2, ensure_ascii=False) + "\n", encoding="utf-8")
