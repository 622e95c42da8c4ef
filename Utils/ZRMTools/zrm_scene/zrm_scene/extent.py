"""The box of a whole model: what records and scripts put into it, each in the space of a node.

Where nothing moves and nothing has bones the module finds the box by itself. Where something does, everything counts, also
what stands still; the place of a node that the script made with the module itself can't be asked for.
"""

from __future__ import annotations

import numpy as np
import pyzrm_313 as zrm

from .arrays import IDENTITY, Box, Floats, Reals
from .bounds import as_box, box_between, sides
from .errors import ZrmError


class Extent:
    """Grows with what is added.

    needed  the module's own box isn't enough
    given   by hand
    """

    def __init__(self, root: zrm.Node) -> None:
        self.needed = False
        self.given = False
        self.low, self.high = np.full(3, np.inf), np.full(3, -np.inf)
        self.unknown: list[str] = []
        # The nodes are kept, so that no other one gets their identity.
        self.worlds: dict[int, tuple[zrm.Node, Floats]] = {id(root): (root, IDENTITY)}

    def place(self, node: zrm.Node, parent: zrm.Node, local: Floats | None) -> None:
        """A node that stands still below another one."""
        if (above := self.worlds.get(id(parent))) is not None:
            self.worlds[id(node)] = (node, above[1] if local is None else above[1] @ local)

    def add(self, control: zrm.Node, subject: str, low: Reals, high: Reals) -> None:
        """What lies between two corners in a node's space."""
        if not (low <= high).all():
            return
        if (found := self.worlds.get(id(control))) is None:
            self.miss(subject)
            return
        ends = (low, high) if found[1] is IDENTITY else sides(found[1] @ box_between(low, high))
        self.low, self.high = np.minimum(self.low, ends[0]), np.maximum(self.high, ends[1])

    def miss(self, subject: str) -> None:
        """Something whose place or size isn't known."""
        self.unknown.append(subject)

    def box(self) -> Box | None:
        """Around everything, or None where the module finds it, or the script has given it."""
        if self.given or not self.needed:
            return None
        if self.unknown:
            raise ZrmError(self.unknown[0], "something moves, and where this is isn't known", "give the box of the whole model with Scene.box")
        return as_box(self.low, self.high)
