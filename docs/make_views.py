"""Makes the pictures of the pages by what `zrm-inspect view` draws: of the models that their scripts build, and the demo."""

from __future__ import annotations

import contextlib
import io
import os
import re
import runpy
import sys
import tempfile
from collections.abc import Iterator
from pathlib import Path

from PIL import Image

DOCS = Path(__file__).resolve().parent
sys.path[:0] = [str(DOCS.parent / "Utils/ZRMTools" / package) for package in ("zrm_inspect", "zrm_scene", "gltf2zrm")]

from zrm_inspect import read_file  # noqa: E402
from zrm_inspect.picture import to_picture  # noqa: E402

SIZE = (480, 360)


def script(page: Path) -> str:
    """The Python of a page, one block behind the other."""
    text = re.sub(r"(?m)^#quote (.*)\n", lambda m: (DOCS.parent / m[1]).read_text(encoding="utf-8"), page.read_text(encoding="utf-8"))
    return "\n".join(re.findall(r"```python\n(.*?)```", text, re.DOTALL))


def run_script(path: Path, *given: str) -> None:
    """Runs a script as a program, in the current folder."""
    arguments, sys.argv = sys.argv, [str(path), *given]
    try:
        runpy.run_path(str(path), run_name="__main__")
    finally:
        sys.argv = arguments


def run(page: Path) -> None:
    """Runs the blocks of a page, in the current folder."""
    path = Path("page.py")
    path.write_text(script(page), encoding="utf-8")
    run_script(path)


def export(*arguments: str) -> bool:
    """Converts a glTF file, quietly."""
    from gltf2zrm.cli import main as convert

    with contextlib.redirect_stdout(io.StringIO()):
        return convert(["--quiet", *arguments]) == 0


def pictures() -> Iterator[tuple[str, Image.Image]]:
    """Each by name; in the current folder, where the models are saved."""
    run(DOCS / "index.md")
    yield "box", to_picture(read_file("box.zrm"), {0: 0.1}, SIZE, (40.0, 25.0))
    run(DOCS / "tutorial.md")
    for name, arguments in (("tutorial", {}), ("tutorial_moved", {0: 0.27, 2: 1.0})):
        yield name, to_picture(read_file("vehicle.zrm"), arguments, SIZE, (130.0, 20.0))
    run_script(DOCS.parent / "examples/vehicle.py", "demo.zrm")
    yield "demo", to_picture(read_file("demo.zrm"), {}, SIZE, (40.0, 25.0))


def real_models() -> Iterator[tuple[str, Image.Image]]:
    """Of those that other people made, where they are at hand; they and their pictures aren't ours to keep."""
    folder = Path(os.environ.get("ZRM_MODELS", DOCS.parents[1] / "shared" / "models"))
    for source in (folder / "2CylinderEngine.glb", folder / "CesiumMilkTruck.glb", folder / "03_skinned_cylinder.gltf"):
        if source.exists() and export(str(source), "real.zrm"):
            file = read_file("real.zrm")
            yield source.stem, to_picture(file, {number: 0.3 for number in file.arguments}, SIZE, (40.0, 25.0))


def main(folder: Path) -> None:
    folder.mkdir(parents=True, exist_ok=True)
    os.chdir(tempfile.mkdtemp())
    for name, picture in pictures():
        picture.quantize(64).save(folder / f"{name}.png", optimize=True)
        print(f"{name}.png")


if __name__ == "__main__":
    main(Path(sys.argv[1] if len(sys.argv) > 1 else DOCS / "pictures").resolve())
