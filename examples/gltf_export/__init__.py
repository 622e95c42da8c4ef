"""Turns glTF 2.0 scenes into ZRM models with the module pyzrm_313.

One idea a file: `container` opens .gltf and .glb, `form` checks their JSON, `extensions` what they
need, `accessors` reads numbers, `scene` the node graph,
`tracks` and `clips` the animations, `keys` the key lists that survive the module's own reduction,
`budget` how exact they must be, `skeleton` the tree, `materials`, `textures`, `meshes`, `skins`, `lights` and
`attachments` what hangs on it, `report` what became of it all.  `vehicle` needs no input file.
"""
