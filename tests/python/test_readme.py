"""The README's script is the example beside it, and it does what the README says."""

import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
import zrm_inspect
from zrm_inspect.model import ArgAnimationNode, RenderNode
from zrm_inspect.world import world_matrices

ROOT = Path(__file__).resolve().parents[2]


python_blocks = lambda: re.findall(r"```python\n(.*?)```", (ROOT / "README.md").read_text(encoding="utf-8"), re.DOTALL)


def test_readme_quotes_the_example():
    assert python_blocks()[0] == (ROOT / "examples" / "box.py").read_text(encoding="utf-8")


def test_readme_script_saves_a_textured_animated_box(tmp_path):
    subprocess.run([sys.executable, "-c", python_blocks()[0], str(tmp_path / "box.zrm")], cwd=tmp_path, check=True)
    file = zrm_inspect.read_file(tmp_path / "box.zrm")

    (mesh,) = (node.mesh for node in file.render_nodes if isinstance(node, RenderNode))
    assert (mesh.vertex_count, mesh.triangle_count) == (24, 12)
    assert np.ptp(mesh.attribute("TEXCOORD0"), axis=0).tolist() == [1, 1]
    assert [material.textures[0].name for material in file.materials] == ["box_albedo"]
    assert file.root.bounding_box.tolist() == [[-1, -1, -1], [1, 1, 1]]

    (spin,) = (node for node in file.nodes if isinstance(node, ArgAnimationNode))
    (channel,) = spin.rotation_channels
    assert channel.argument == 0
    assert channel.keys["time"].tolist() == pytest.approx([0, 1 / 3, 2 / 3, 1])
    for value in np.linspace(0, 1, 25):  # one turn, even and all in one sense
        turn = world_matrices(file, {0: value})[spin.index]
        assert np.exp(2j * np.pi * value) == pytest.approx(complex(turn[0, 0], turn[2, 0]), abs=1e-5)
    assert file.render_nodes[0].parents[0, 0] == spin.index
