"""Prints the table of a run, in Markdown, from the rows that its programs left.
    python -m support.table ROWS [JSON]
ROWS holds a JSON object a line. JSON is a file to keep everything in, also the rows that have no aim."""

from __future__ import annotations

import json
import os
import re
import subprocess
import sys
import time
from pathlib import Path

from support.rows import verdict

def machine() -> str:
    model = re.search(r"^model name\s*: (.*)$", Path("/proc/cpuinfo").read_text(encoding="utf-8"), re.MULTILINE)
    version = subprocess.run([os.environ.get("CXX", "c++"), "--version"], capture_output=True, text=True).stdout
    name = model[1] if model else os.uname().machine
    return f"{name}, {os.cpu_count()} cores, {version.splitlines()[0]}, {time.strftime('%Y-%m-%d')}"


def main(rows_path: str, json_path: str = "") -> None:
    rows = [json.loads(text) for text in Path(rows_path).read_text(encoding="utf-8").splitlines()]
    aimed = [(row, verdict(row["ratio"], row["aim"])) for row in rows if row["aim"] is not None]
    met = sum(result == "met" for _, result in aimed)
    print(f"\n{machine()}: {met} of {len(aimed)} aims met\n\n| Row | Ratio | At most | |\n|---|---|---|---|")
    for row, result in aimed:
        print(f"| {row['row']} | {row['ratio']:.2f} | {row['aim']:g} | {result} |")
    if json_path:
        kept = {"machine": machine(), "rows": rows}
        Path(json_path).write_text(json.dumps(kept, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
