#!/usr/bin/env python3
"""Puts the licence texts of everything that a wheel has compiled in into the wheel.

    scripts/add_licenses.py WHEEL

The libraries are those of cmake/libraries.txt, as Debian's packages document them, and pybind11. auditwheel, which runs behind this,
writes the wheel's list of files anew.
"""

from __future__ import annotations

import gzip
import sys
import zipfile
from importlib.metadata import distribution
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
DOCUMENTS = (Path("/usr/share/doc"), ROOT / "build/deps/usr/share/doc")
NAMES = ("copyright", "LICENSE", "LICENSE.gz")


def packages() -> list[str]:
    lines = (ROOT / "cmake/libraries.txt").read_text(encoding="utf-8").splitlines()
    return sorted({line.split()[1] for line in lines if line and not line.startswith("#")})


def text_of(package: str) -> bytes:
    """SystemExit when there is none: a wheel without it must not leave the house."""
    for path in (folder / package / name for folder in DOCUMENTS for name in NAMES):
        if path.exists():
            return gzip.decompress(path.read_bytes()) if path.suffix == ".gz" else path.read_bytes()
    sys.exit(f"no licence text of {package}")


def pybind11_text() -> bytes:
    found = [file for file in distribution("pybind11").files or () if file.name == "LICENSE"]
    return found[0].read_binary() if found else sys.exit("no licence text of pybind11")


def main(wheel: Path) -> None:
    texts = {package: text_of(package) for package in packages()} | {"pybind11": pybind11_text()}
    with zipfile.ZipFile(wheel, "a", zipfile.ZIP_DEFLATED) as archive:
        info = next(name for name in archive.namelist() if name.endswith(".dist-info/METADATA")).rpartition("/")[0]
        for package, text in texts.items():
            archive.writestr(f"{info}/licenses/third-party/{package}.txt", text)


if __name__ == "__main__":
    main(Path(sys.argv[1]))
