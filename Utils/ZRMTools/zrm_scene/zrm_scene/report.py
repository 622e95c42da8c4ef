"""What became of a scene: losses, warnings, choices, counts, as texts as they come, as a table and as JSON."""

from __future__ import annotations

import json
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import TextIO

from .clips import Clip

COUNTS = ("nodes", "materials", "meshes", "vertices", "triangles", "bytes")
PLACES, SPOKEN_PLACES = 8, 3  # of one loss that are kept, and that are said
COLOURS = {"warning": "\x1b[33m", "lost": "\x1b[35m", "note": "\x1b[36m"}


@dataclass
class Loss:
    """Something of the source that the result lacks, and where."""

    what: str
    why: str
    count: int = 0
    places: list[str] = field(default_factory=list)

    def __str__(self) -> str:
        said = self.places[:SPOKEN_PLACES]
        places = [*said, *([f"{self.count - len(said)} more places"] if self.count > len(said) else [])]
        return f"{self.what}: {self.why}" + (f" ({', '.join(places)})" if said else "")


@dataclass
class Report:
    """Gathers while the work is done. Each text comes once; losses of one kind are told together, at the end.

    quiet     nothing is said
    lively    somebody is watching: progress is shown
    colourful texts have colours
    path      of the JSON file, which nobody may have asked for
    """

    quiet: bool = False
    lively: bool = False
    colourful: bool = False
    path: Path | None = None
    stream: TextIO | None = None  # standard error
    clips: list[Clip] = field(default_factory=list)
    losses: dict[tuple[str, str], Loss] = field(default_factory=dict)
    warnings: list[str] = field(default_factory=list)
    notes: list[str] = field(default_factory=list)
    counts: dict[str, int] = field(default_factory=lambda: dict.fromkeys(COUNTS, 0))
    error: str = ""
    started: float = field(default_factory=time.monotonic)
    spoken: float = 0.0
    seen: set[str] = field(default_factory=set)

    def warn(self, text: str) -> None:
        """Something that may look wrong in the result."""
        if text not in self.seen:
            self.seen.add(text)
            self.warnings.append(text)
            self._say("warning", text)

    def lose(self, what: str, why: str, place: str = "") -> None:
        """Something of the source that the result lacks, at some place of it, which counts once."""
        if place and (key := f"{what}\0{why}\0{place}") in self.seen:
            return
        if place:
            self.seen.add(key)
        loss = self.losses.setdefault((what, why), Loss(what, why))
        loss.count += 1
        if place and len(loss.places) < PLACES:
            loss.places.append(place)

    def note(self, text: str) -> None:
        """A choice that was made for the user."""
        self.notes.append(text)
        self._say("note", text)

    def progress(self, what: str, done: int, total: int) -> None:
        """On a terminal, a line that replaces itself, for work that takes long enough to wonder."""
        now = time.monotonic()
        if self.lively and not self.quiet and now - max(self.spoken, self.started) >= 0.5:
            self.spoken = now
            print(f"\r\x1b[K{what}: {done} of {total}", end="", file=self.stream or sys.stderr, flush=True)

    def tell_losses(self) -> None:
        """Says every loss, each kind once with how many places."""
        for loss in self.losses.values():
            self._say("lost", str(loss))

    def _say(self, label: str, text: str) -> None:
        if self.quiet:
            return
        if self.colourful:
            label = f"{COLOURS[label]}{label}\x1b[0m"
        line = " ".join(text.splitlines())  # names may hold line breaks
        print(f"{self.over()}{label}: {line}", file=self.stream or sys.stderr)

    def over(self) -> str:
        """What wipes a line of progress away."""
        spoken, self.spoken = self.spoken, 0.0
        return "\r\x1b[K" if spoken else ""

    def seconds(self) -> float:
        """Time since the work began."""
        return time.monotonic() - self.started

    def table(self, output: str) -> str:
        """The closing table."""
        rows = [(name, f"{count:,}".replace(",", " ")) for name, count in self.counts.items()]
        rows.append(("seconds", f"{self.seconds():.2f}"))
        width = max(len(value) for _, value in rows)
        return "\n".join([output, *(f"  {name:<10} {value:>{width}}" for name, value in rows)])

    def write(self) -> None:
        """The JSON file, if there is to be one, of a failure too."""
        if self.path is None:
            return
        content = {
            "error": self.error,
            "arguments": [argument(clip) for clip in self.clips],
            "lost": [vars(loss) for loss in self.losses.values()],
            "warnings": self.warnings,
            "notes": self.notes,
            **self.counts,
            "seconds": round(self.seconds(), 3),
        }
        self.path.write_text(json.dumps(content, indent=2, ensure_ascii=False) + "\n", encoding="utf-8", errors="backslashreplace")


def argument(clip: Clip) -> dict[str, object]:
    """What a clip's argument shows."""
    span = {"start": clip.start, "end": clip.end, "seconds_start": clip.first, "seconds_end": clip.last}
    return {"argument": clip.argument, "name": clip.name, **span}
