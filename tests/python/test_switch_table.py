"""The table of what each pass does to a model."""

import numpy as np
import switch_table
import zrm_inspect
from support.gltf_build import Gltf


def test_rows_of_a_small_scene(folder):
    """Two quads of unwelded triangles with equal materials, one of them under a fixed node."""
    gltf = Gltf()
    corners = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 0, 0], [1, 1, 0], [0, 1, 0]], float)
    for _ in range(2):
        material = gltf.add("materials", {"name": "paint"})
        gltf.node(mesh=gltf.mesh(corners, np.arange(6), material=material), translation=[3.0 * material, 0.0, 0.0])
    # The hub is in every triangle, yet it is the oldest vertex once 16 were loaded: a hit doesn't make it younger.
    assert switch_table.cache_misses(np.array([[0, k, k + 1] for k in range(1, 21)], np.uint16).ravel()) == 23
    rows = switch_table.compare(gltf.save(folder / "in.gltf"), folder / "out")
    assert list(rows) == list(switch_table.RUNS)
    off, on = rows["all off"], rows["all on"]
    assert (off.materials, off.render_nodes, off.vertices, off.triangles, off.misses) == (2, 2, 12, 4, 12)
    assert (on.materials, on.render_nodes, on.vertices, on.triangles, on.misses) == (1, 1, 8, 4, 8)
    assert on.nodes < off.nodes and rows["optimizeTransformations"].nodes < off.nodes
    for label, row in rows.items():
        path = folder / "out" / f"{label.replace(' ', '_')}.zrm"
        assert row.bytes == path.stat().st_size and row.nodes == len(zrm_inspect.read_file(path).nodes)


def test_the_printed_table(folder, capsys):
    assert switch_table.main(["--demo", "tables"]) == 0
    _, headings, *lines = capsys.readouterr().out.splitlines()
    assert [line.split("  ")[1] for line in lines] == ["all off", *switch_table.SWITCHES, "all on"]
    assert len({len(line) for line in (headings, *lines)}) == 1, "columns stand under their headings"
    assert switch_table.main(["missing.gltf", "tables"]) == 1
