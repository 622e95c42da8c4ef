"""What `view` makes: the page in a browser that reaches no network, and pictures."""

import html
import json
import os
import re
import shutil
import subprocess
import sys

import numpy as np
import pytest
from click.testing import CliRunner
from PIL import Image
from support.exporter_support import ROOT
from support.scripted import plain
from support.small_files import node, small
from support.tame import tame_script
from zrm_inspect import evaluate, read_file
from zrm_inspect.animation import property_at
from zrm_inspect.cli import main

BROWSER = shutil.which("chromium-headless-shell") or shutil.which("chromium")
OFFLINE = ("--headless", "--no-sandbox", "--host-resolver-rules=MAP * ~NOTFOUND", "--window-size=640,480", "--virtual-time-budget=10000")
needs_browser = pytest.mark.skipif(BROWSER is None, reason="no chromium-headless-shell: ./dev setup brings it")


def view(source, output, *options):
    result = CliRunner().invoke(main, ["view", str(source), "-o", str(output), *map(str, options)])
    assert result.exit_code == 0, result.output


def in_browser(page, script):
    """What a script in the page says, as JSON; it runs behind the page's own."""
    text = page.read_text(encoding="ascii")
    assert not re.search(r"(?:https?:)?//[a-z0-9.-]+\.[a-z]+/|src=|<link", text.partition("<script>")[0])
    told = f"<script>document.body.dataset.told = JSON.stringify((() => {{ {script} }})());</script></html>"
    tested = page.with_suffix(".test.html")
    tested.write_text(text.replace("</html>", told), encoding="ascii")
    command = [BROWSER, *OFFLINE, "--dump-dom", tested.as_uri()]
    unpreloaded = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}  # a sanitizer is for us, not for the browser
    shown = subprocess.run(command, env=unpreloaded, capture_output=True, text=True, encoding="utf-8", timeout=300)
    found = re.search(r'data-told="([^"]*)"', shown.stdout)
    assert found, shown.stdout[-2000:] + shown.stderr[-2000:]
    return json.loads(html.unescape(found[1]))


PIXELS = """
  draw();
  const pixels = () => {
    const all = new Uint8Array(canvas.width * canvas.height * 4);
    gl.readPixels(0, 0, canvas.width, canvas.height, gl.RGBA, gl.UNSIGNED_BYTE, all);
    return all;
  };
  const moved = (a, b) => a.reduce((sum, v, k) => sum + (v !== b[k]), 0), first = pixels();
  const slide = (id, change) => {
    const input = document.getElementById(id);
    change(input); input.dispatchEvent(new Event('input')); draw();
    return moved(first, pixels());
  };
"""


@pytest.fixture
def vehicle(folder):
    subprocess.run([sys.executable, str(ROOT / "examples/vehicle.py"), "vehicle.zrm"], check=True)
    return folder / "vehicle.zrm"


@needs_browser
def test_the_page_draws_and_a_slider_turns_the_wheels(vehicle):
    page = vehicle.with_suffix(".html")
    view(vehicle, page)
    told = in_browser(page, PIXELS + """
      const covered = moved(first, new Uint8Array(first.length).map((_, k) => first[k % 4]));
      const wheel = data.nodes.findIndex(node => node.name === 'wheel front left'), rest = worlds[wheel];
      const turned = slide('argument0', input => { input.value = 0.27; });
      return { covered, error: gl.getError(), turned, wheel: worlds[wheel], rest, lit: slide('argument1', input => { input.value = 1; }),
               unlit: slide('lights', input => { input.checked = false; }) };""")  # fmt: skip
    assert told["error"] == 0 and told["covered"] > 20_000 and told["turned"] > 500 and told["lit"] != told["turned"]
    assert told["lit"] != told["unlit"] and told["wheel"] != told["rest"]
    file = read_file(vehicle)
    index = next(node.index for node in file.nodes if node.name == "wheel front left")
    assert np.allclose(np.reshape(told["wheel"], (4, 4)), evaluate(file, {0: 0.27}).world[index], atol=1e-6)


@needs_browser
def test_the_page_evaluates_as_the_library_does(folder):
    """World matrices, what is shown and the colours of random scenes, at random values of all arguments."""
    for seed in range(4):
        plain()
        assert tame_script(seed).model.save("tame.zrm", 10) == ""
        file = read_file("tame.zrm")
        view("tame.zrm", folder / "tame.html")
        chance = np.random.default_rng(seed)
        poses = [{number: float(chance.uniform(-0.5, 1.2)) for number in file.arguments} for _ in range(3)]
        told = in_browser(folder / "tame.html", f"""
          shown.level = 1e9; data.nodes.forEach(node => {{ delete node.levels; }});
          return {json.dumps([list(pose.items()) for pose in poses])}.map(pose_values => {{
            values.clear(); pose_values.forEach(([number, value]) => values.set(number, value)); pose(); draw();
            return {{ worlds, visible, lights: data.lines.filter(line => line.light).map(line => propertyAt(line.light)), error: gl.getError() }};
          }});""")  # fmt: skip
        for at, found in zip(poses, told):
            scene = evaluate(file, at)
            assert np.allclose(np.reshape(found["worlds"], (-1, 4, 4)), scene.world, rtol=1e-5, atol=1e-5)
            assert found["visible"] == scene.visible.tolist() and found["error"] == 0
            colours = [np.atleast_1d(property_at(light.color, at)) for light in file.light_nodes]
            assert all(np.allclose(one, other, atol=1e-6) for one, other in zip(found["lights"], colours, strict=True))


@needs_browser
def test_names_stay_names(folder):
    """What would end the script, or begin another, or is no text."""
    odd = "</script><!--<script>\udcff\u2028'@SCRIPT@"
    (folder / "odd.zrm").write_bytes(small([(-1, node() | {"name": odd})]))
    view("odd.zrm", folder / "odd.html")
    assert in_browser(folder / "odd.html", "draw(); return data.nodes[0].name;") == odd


def test_pictures(vehicle):
    """One is as large as asked for, has the vehicle in its middle and nothing at its edge, and arguments and angles show."""
    pictures = []
    for options in ((), ("--arg", "0=0.27"), ("--angles", 90, 0)):
        view(vehicle, "out.png", "--size", 200, 120, *options)
        pictures.append(np.asarray(Image.open("out.png")).astype(int))
    sky = pictures[0][0, 0]
    covered = (pictures[0] != sky).any(axis=2)
    assert covered.shape == (120, 200) and covered[55:65, 90:110].all() and not covered[[0, -1]].any() and not covered[:, [0, -1]].any()
    assert 10 < (pictures[0] != pictures[1]).any(axis=2).sum() < covered.sum() / 2 < (pictures[0] != pictures[2]).any(axis=2).sum()
