"""Builds a textured box that turns once about its y axis while argument 0 goes from 0 to 1, and saves it."""
import os
import sys
import numpy as np
import pyzrm_313 as zrm

normals = np.concatenate([np.eye(3), -np.eye(3)]).astype(np.float32)  # one for each face
right = np.roll(normals, 1, axis=1)
corners = np.array([(-1, -1), (1, -1), (1, 1), (-1, 1)], np.float32)  # of a face, counter-clockwise
sides = np.stack([right, np.cross(normals, right)], axis=1)  # to the right and up, seen from outside
box = zrm.BaseBlock()
box.setPositions((normals[:, None] + corners @ sides).ravel())
box.setNormals(np.repeat(normals, 4, axis=0).ravel())
box.setAlbedoMapUV(np.tile((corners * (1, -1) + 1) / 2, (6, 1)).astype(np.float32).ravel())
box.setAlbedoMap("box_albedo")
model = zrm.Model()
spin = zrm.AnimationNode("spin")
# Not quarters: the key at 0.25 lies halfway between those at 0 and 0.5 and would be dropped; half a turn has no shorter way.
thirds = [(k / 3, (np.cos(k * np.pi / 3), 0, np.sin(k * np.pi / 3), 0)) for k in range(4)]
spin.setRotationAnimation([(0, thirds)])
model.getRootTransform().addChild(spin)
mesh = zrm.PBRNode("box", "box_material")
mesh.addBlock(box)
mesh.setIndices(np.add.outer(np.arange(0, 24, 4), (0, 1, 2, 0, 2, 3)).astype(np.uint32).ravel())
mesh.setControlNode(spin)
path = os.path.relpath(sys.argv[1] if len(sys.argv) > 1 else "box.zrm")  # never begins with "/"
if error := model.addRenderNode(mesh) or model.save(path, 10):
    sys.exit(error)
