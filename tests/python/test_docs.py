"""The documentation: its scripts run, its pictures are those of today, and its version is the project's."""

import ast
import sys
import tomllib
from pathlib import Path

import numpy as np
import pytest
from PIL import Image

ROOT = Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"
sys.path[:0] = [str(DOCS)]

import build_site  # noqa: E402
import make_pictures  # noqa: E402
import make_views  # noqa: E402

PAGES = [page for page in sorted(DOCS.glob("*.md")) if make_views.script(page)]


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_scripts_of_pages_run(page, folder):
    make_views.run(page)


def test_pictures_are_those_of_today(folder):
    for name, picture in make_views.pictures():
        kept = np.asarray(Image.open(DOCS / "pictures" / f"{name}.png").convert("RGB")).astype(int)
        assert np.abs(kept - np.asarray(picture)).mean() < 1.5, f"{name}.png: make_views.py draws another one"  # few colours are kept
    make_pictures.main(folder)
    for kept in DOCS.glob("pictures/*.svg"):
        assert kept.read_text(encoding="utf-8") == (folder / kept.name).read_text(encoding="utf-8"), f"{kept.name}: run make_pictures.py"


def test_the_changes_know_the_version():
    version = tomllib.loads((ROOT / "pyproject.toml").read_text(encoding="utf-8"))["project"]["version"]
    headings = [line[3:] for line in (ROOT / "CHANGELOG.md").read_text(encoding="utf-8").splitlines() if line.startswith("## ")]
    assert version in headings[:2] and headings[0] in ("Unreleased", version)


def test_every_method_is_described():
    classes = [entry for entry in ast.parse(build_site.STUBS.read_text(encoding="utf-8")).body if isinstance(entry, ast.ClassDef)]
    methods = [(entry.name, method) for entry in classes for method in entry.body if isinstance(method, ast.FunctionDef)]
    assert [f"{name}.{method.name}" for name, method in methods if method.name != "__repr__" and not ast.get_docstring(method)] == []
