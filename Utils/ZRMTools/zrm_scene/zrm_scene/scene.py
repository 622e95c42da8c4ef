"""The front for plugin authors: a model that is saved at the end of a `with`, and raises instead of handing out texts."""

from __future__ import annotations

import os
from collections.abc import Iterator, Sequence
from contextlib import contextmanager

import pyzrm_313 as zrm
from numpy.typing import ArrayLike

from .arrays import Box, corners, matrix, rows
from .checks import check_surface
from .clips import Clip
from .errors import ZrmError, refused
from .extent import Extent
from .records import Mesh, Node, Surface
from .report import Report
from .surfaces import Dresser, add
from .writer import Writer

FORMAT_VERSION = 10
Drawn = zrm.PBRNode | zrm.MirrorNode | zrm.ColorNode | zrm.DeckNode | zrm.FakeOmniLights | zrm.FakeSpotLights
SOLID = (zrm.PBRNode, zrm.MirrorNode, zrm.ColorNode, zrm.DeckNode)
Facade = Drawn | zrm.OmniLight | zrm.SpotLight | zrm.ShellNode | zrm.SegmentsNode | zrm.Connector


class Scene:
    """A model under construction. Everything of the module may be used beside it.

    model  the module's own
    root   of its tree
    """

    def __init__(self, report: Report | None = None) -> None:
        self.model = zrm.Model()
        self.root = self.model.getRootTransform()
        self.report = report or Report(quiet=True)
        self.hung: list[tuple[str, zrm.Node]] = []  # what hangs on which node
        self.extent = Extent(self.root)

    def node(self, name: str, place: ArrayLike | None = None, parent: zrm.Node | None = None) -> zrm.Node:
        """A node below another one, or below the root, with a 4 by 4 matrix for column vectors or without."""
        local = None if place is None else matrix(place, f"node {name!r}")
        made = self.attach(zrm.Node(name) if local is None else zrm.Transform(name, local), parent)
        self.extent.place(made, self.root if parent is None else parent, local)
        return made

    def attach[N: zrm.Node](self, node: N, parent: zrm.Node | None = None) -> N:
        """Hangs a node of the module's below another one, or below the root, and gives it back."""
        try:
            return (self.root if parent is None else parent).addChild(node)
        except ValueError as error:
            raise ZrmError(f"node {node.getName()!r}", str(error), "hang no node below itself") from error

    def mesh(
        self,
        control: zrm.Node,
        surface: Surface,
        positions: ArrayLike,
        triangles: ArrayLike,
        normals: ArrayLike,
        uvs: ArrayLike | None = None,
        blocks: Sequence[zrm.IBlock] = (),
        name: str = "mesh",
    ) -> zrm.PBRNode:
        """A mesh on a node.

        positions, normals  (n, 3); float32 in one piece is handed on as it is
        uvs                 (n, 2), of the maps of the surface
        triangles           (m, 3), counter-clockwise as seen from outside
        blocks              more of the module's own
        """
        subject = f"mesh {name!r} of node {control.getName()!r}"
        points = rows(positions, 3, None, subject, "positions").reshape(-1, 3)
        count = len(points)
        indices = corners(triangles, 3, count, subject)
        upright = rows(normals, 3, count, subject, "normals").reshape(-1, 3)
        coordinates = {} if uvs is None else {0: rows(uvs, 2, count, subject, "uvs").reshape(-1, 2)}
        check_surface(surface)
        facade = Dresser(self.report).facade(name, Mesh(points, indices, upright, coordinates), surface, subject)
        for block in blocks:
            facade.addBlock(block)
        facade.setIndices(indices)
        if count:
            self.extent.add(control, subject, points.min(axis=0), points.max(axis=0))
        return self._add(facade, control, subject)

    def add[F: Facade](self, facade: F, control: zrm.Node, subject: str = "") -> F:
        """Hangs a facade of the module's on a node and adds it to the model."""
        subject = subject or f"{type(facade).__name__} of node {control.getName()!r}"
        if isinstance(facade, (*SOLID, zrm.ShellNode)):
            self.extent.miss(subject)
        return self._add(facade, control, subject)

    def _add[F: Facade](self, facade: F, control: zrm.Node, subject: str) -> F:
        facade.setControlNode(control)
        if isinstance(facade, zrm.IRenderNode):
            add(self.model, facade, subject)
        elif isinstance(facade, zrm.ILight):
            self.model.addLight(facade)
        elif isinstance(facade, zrm.ShellNode):
            self.model.addShellNode(facade)
        elif isinstance(facade, zrm.SegmentsNode):
            self.model.addSegmentsNode(facade)
        else:
            self.model.addConnector(facade)
        self.hung.append((subject, control))
        return facade

    def write(self, nodes: Sequence[Node], clips: Sequence[Clip] = (), parent: zrm.Node | None = None) -> dict[Node, zrm.Node]:
        """Records, parents before children; gives the module's node of each."""
        top = self.root if parent is None else parent
        writer = Writer(self.model, top, nodes, clips, self.report)
        low, high = writer.write()
        self.extent.needed |= writer.needs_box
        self.extent.add(top, f"node {nodes[0].name!r}" if nodes else "", low, high)
        return dict(zip(nodes, writer.facades))

    def box(self, box: Box) -> None:
        """The bounding box, by hand: minimum, then maximum."""
        if not all(low <= high for low, high in zip(box[:3], box[3:])):
            raise ZrmError("box", f"{box} has no inside", "give the minimum x, y, z, then the maximum")
        self.model.setBBox(box)
        self.extent.given = True

    def save(self, path: str | os.PathLike[str]) -> int:
        """Writes the file and gives its size. The model is changed for good, as by `Model.save`."""
        target = os.fspath(path)
        self._find_loose()
        if (box := self.extent.box()) is not None:
            self.model.setBBox(box)
        try:
            # A path that begins with "/" would name something in the module's own file tree.
            text = self.model.save(os.path.relpath(target), FORMAT_VERSION)
        except (IndexError, ValueError) as error:
            raise refused(repr(target), str(error)) from error
        if text:
            raise refused(repr(target), text)
        self.hung.clear()  # passes may have taken nodes out of the tree
        return os.stat(target).st_size

    def _find_loose(self) -> None:
        """ZrmError for what hangs on a node that nobody attached. The module can't be asked for a node's place, but it
        refuses to hang the root below a node that is below the root; where it doesn't, the model is of no use any more."""
        loose = [(subject, control) for subject, control in self.hung if not self._is_attached(control)]
        if loose:
            names = ", ".join(dict.fromkeys(repr(control.getName()) for _, control in loose))
            raise ZrmError(loose[0][0], f"nobody attached the nodes {names}", "hang them below the root with attach or addChild")

    def _is_attached(self, control: zrm.Node) -> bool:
        try:
            control.addChild(self.root)
        except ValueError:
            return True
        return False


@contextmanager
def save(path: str | os.PathLike[str], report: Report | None = None) -> Iterator[Scene]:
    """A scene that is written to a file at the end of the `with`, if nothing was raised in it."""
    scene = Scene(report)
    yield scene
    scene.report.counts["bytes"] = scene.save(path)
