"""Models made by the calls of the table, each with the file that it must become when no pass runs."""

import copy
import random

import numpy as np
import pyzrm_313 as zrm
from conftest import SWITCHES

from .arguments import Source
from .call_table import BLOCKS, FAKE_LIGHTS, HUNG, MESHES, NODES
from .every_record import MATERIAL, NO_BOX, TEXTURE, head, light, root, tree_node
from .record_bytes import NONE, UINT
from zrm_inspect import SEMANTICS

NO_FORMAT = [0] * len(SEMANTICS)
KINDS = [*MESHES, *FAKE_LIGHTS, *HUNG]
ALONE = {"BaseBlock", "ColorBaseBlock", "EmissiveColorBlock", "BoneBlock", "NumberBlock"}  # those that others shut out
NOT_IN = {"GlassNode": {"EmissiveBlock", "AoBlock", "DecalBlock"}, "PBRNode": {"GlassFilterBlock"}}


def together(kind):
    """The blocks of the table that one mesh can have all at once."""
    return [name for name in BLOCKS if name not in ALONE | NOT_IN[kind]]


def plain(on=()):
    """Switches all passes off but the given ones; without any the file shows what the facades stored."""
    for name in SWITCHES:
        zrm.enable_model_optimization(name, name in on)


class Expectation:
    """One record of a section, and the material of what is drawn."""

    def __init__(self, record, material=None, properties=()):
        self.record = record
        self.material = copy.deepcopy(MATERIAL | {"vertex_format": NO_FORMAT} | (material or {}))
        self.properties = dict(properties)
        self.attributes = {}
        self.uv_count = 0
        self.two_sided = False
        self.purpose = 0

    @property
    def count(self):
        return len(self.attributes["POSITION0"])

    def uniform(self, name, value):
        """One of that name keeps its place."""
        self.properties[name] = value

    def texture(self, slot, name):
        self.material["textures"][slot] = TEXTURE | {"name": name}

    def attribute(self, name, rows):
        self.attributes[name] = np.array(rows, np.float32)

    def uv(self, channel, rows):
        self.attribute(f"TEXCOORD{self.uv_count}", rows)
        self.material["channels"][channel] = self.uv_count
        self.uv_count += 1

    def finish(self, material):
        self.record["material"] = material
        self.material["textures"] = dict(sorted(self.material["textures"].items()))
        for field, animated in (("uniforms", False), ("animated_uniforms", True)):
            self.material[field] = [(kind, name, *rest)
                for name, (kind, *rest) in self.properties.items()
                if kind.startswith(("model::Animated", "model::Argument")) == animated]  # fmt: skip
        if "mesh" in self.record:
            self.finish_mesh()

    def finish_mesh(self):
        record, mesh = self.record, self.record["mesh"]
        names = sorted(self.attributes, key=SEMANTICS.index)
        if self.two_sided:
            mesh["indices"] = mesh["indices"] + [
                index + self.count for a, b, c in zip(*[iter(mesh["indices"])] * 3) for index in (a, c, b)]  # fmt: skip
            for name in names:
                rows = self.attributes[name]
                self.attributes[name] = np.concatenate([rows, -rows if name == "NORMAL0" else rows])
        self.material["vertex_format"] = [self.attributes[n].shape[1] if n in names else 0 for n in SEMANTICS]
        mesh.update(vertices=np.concatenate([self.attributes[n] for n in names], 1), vertex_format=self.material["vertex_format"])
        if "bones" in record:
            record["argument"] = record.pop("damage", NONE)
            del record["purpose"]
            record["skin_box"] = record["skin_box"] or (NO_BOX if record["pivots"] else None)
        else:
            record["parents"] = [[record["parents"][0][0], record.pop("damage", NONE)]]
            if record["type_name"] == "model::RenderNode":
                record.update(purpose=self.purpose, version=self.purpose)
        if record["pivots"]:
            record["version"] = 2


class Script:
    """Builds a model call by call. `share` is the part of the optional calls that it makes."""

    def __init__(self, seed, share=0.5, source=Source):
        self.source = source(seed)
        self.random = self.source.random
        self.places = random.Random(seed)
        self.share = share
        self.model = zrm.Model()
        self.facades = [self.model.getRootTransform()]
        self.chain = [0]
        self.file = {"root": root([]), "nodes": [tree_node("Node", "root")],
            "connectors": [], "shell_nodes": [], "light_nodes": [], "render_nodes": []}  # fmt: skip

    def run(self, rows, facade, e, later=False):
        for calls, land in rows:
            if later != ("+" in calls) or calls.startswith("__") or (calls[0] == "?" and self.random.random() > self.share):
                continue
            found = []
            for call in calls.lstrip("?+").split():
                name, _, kinds = call.partition(":")
                drawn = [self.source.draw(kind) for kind in kinds.split(",") if kind]
                getattr(facade, name)(*(passed for passed, _ in drawn))
                found += [left for _, left in drawn]
            land(e, *found)

    # ------------------------------------------------------------ the tree

    def add_node(self, kind, under=None):
        """Hangs a node under one of the chain from the last node up, so that nodes are made in the file's order."""
        type_name, fields, rows = NODES[kind]
        index = len(self.file["nodes"])
        parent = self.random.choice(self.chain) if under is None else under
        record = tree_node(type_name, f"{kind} {index}", parent, **copy.deepcopy(fields)) | {"index": index}
        more = []
        if kind == "Lod":
            passed, record["levels"] = self.source.draw("distances")
            more = [passed]
        facade = getattr(zrm, kind)(record["name"], *more)
        assert self.facades[parent].addChild(facade) is facade
        self.run(rows, facade, Expectation(record))
        if kind == "AnimationNode":
            has = [bool(record[name + "_channels"]) for name in ("position", "rotation", "scale")]
            names = {(True, False, False): "Position", (False, True, False): "Rotation"}
            scale = not has[0] and not has[1]
            record["type_name"] = f"model::Arg{'Scale' if scale else names.get((has[0], has[1], has[2]), 'Animation')}Node"
        if kind == "Bone":
            self.source.bones.append((facade, index))
        self.file["nodes"].append(record)
        self.facades.append(facade)
        self.chain = [*self.chain[: self.chain.index(parent) + 1], index]
        return index

    def place(self, facade, kind=None):
        """A control node for a facade."""
        choices = [i for i, node in enumerate(self.file["nodes"]) if kind is None or node["type_name"] == "model::" + kind]
        index = self.places.choice(choices)
        facade.setControlNode(self.facades[index])
        return index

    # ------------------------------------------------------------ what hangs on it

    def blocks(self, kind):
        """Some that go together; all of a share of 1."""
        glass = kind == "GlassNode"
        chosen = [name for name in together(kind) if self.random.random() <= self.share]
        if "EmissiveBlock" in chosen and self.random.random() < 0.3:
            chosen[chosen.index("EmissiveBlock")] = "EmissiveColorBlock"
        special = self.random.choice(["", "BoneBlock"] if glass else ["", "BoneBlock", "NumberBlock"])
        return [self.random.choice(["BaseBlock", "ColorBaseBlock"]), *chosen, *([special] if special else [])]

    def add_mesh(self, kind, blocks=None):
        self.source.count = self.random.choice((3, 5, 300)) if kind in ("PBRNode", "GlassNode") else 4
        material, properties, rows = MESHES[kind]
        facade = getattr(zrm, kind)("mesh", "paint")
        is_block_node = isinstance(facade, zrm.PBRNode)
        names = [] if not is_block_node else list(blocks) if blocks is not None else self.blocks(kind)
        record = head("RenderNode", "" if is_block_node else "mesh", pivots=[], purpose=0)
        record["mesh"] = {"vertices": [], "indices": [], "primitive_type": 5}
        e = Expectation(record, material | {"name": "paint"}, properties)
        if "BoneBlock" in names:
            record.update(type_name="model::SkinNode", skin_box=None, bones=[self.place(facade, "Bone")])
        else:
            record.update(type_name="model::" + ("NumberNode" if "NumberBlock" in names else "RenderNode"))
            record["parents"] = [[self.place(facade)]]
        self.run(rows, facade, e)
        for name in self.random.sample(names, len(names)):
            facade.addBlock(getattr(zrm, name)())
        for name in sorted(names, key=list(BLOCKS).index):
            block = facade.getBlock(getattr(zrm, name)().getTypeName())
            self.run(BLOCKS[name], block, e)
        assert self.model.addRenderNode(facade) == ""
        self.run(rows, facade, e, later=True)
        self.add_drawn(e)

    def add_fake_lights(self, kind):
        type_name, fields, material_name, properties, rows = FAKE_LIGHTS[kind]
        facade = getattr(zrm, kind)("sprites")
        e = Expectation(head(type_name, "sprites", **copy.deepcopy(fields)),
                        {"material_name": material_name, "blending": 1}, properties)  # fmt: skip
        e.record["controls"] = [self.place(facade)]
        self.run(rows, facade, e)
        assert self.model.addRenderNode(facade) == ""
        self.add_drawn(e)

    def add_drawn(self, e):
        materials = self.file["root"]["materials"]
        e.finish(len(materials))
        materials.append(e.material)
        self.file["render_nodes"].append(e.record)

    def add_hung(self, kind):
        self.source.count = 5
        add, type_name, fields, rows = HUNG[kind]
        facade = getattr(zrm, kind)(kind)
        record = head(type_name, kind, **copy.deepcopy(fields))
        if type_name == "LightNode":
            record = light(kind, fields["light_type"])
        if type_name == "ShellNode":
            record["mesh"] = {"vertex_format": [3, *NO_FORMAT[1:]], "primitive_type": 5}
        record["control"] = self.place(facade)
        self.run(rows, facade, Expectation(record))
        getattr(self.model, add)(facade)
        section = {"addLight": "light_nodes", "addConnector": "connectors"}.get(add, "shell_nodes")
        self.file[section].append(record)

    def add(self, kind):
        (self.add_mesh if kind in MESHES else self.add_fake_lights if kind in FAKE_LIGHTS else self.add_hung)(kind)

    def finish(self):
        """Sets the boxes; the file."""
        boxes = self.file["root"]
        passed, boxes["bounding_box"] = self.source.draw("box")
        self.model.setBBox(passed)
        boxes["user_box"] = boxes["bounding_box"]
        if self.random.random() < self.share:
            passed, boxes["user_box"] = self.source.draw("box")
            self.model.setUserBox(passed)
        passed, light_box = self.source.draw("box")
        self.model.setLightBox(passed)
        boxes["light_box"] = light_box if self.file["light_nodes"] else NO_BOX
        for listed in (self.file["light_nodes"], self.file["render_nodes"]):
            for record in listed:
                record["properties"] = [(UINT, "__VERSION__", record["version"])] if record["version"] else []
        boxes["handle_count"] = 1 + max((a for a in arguments_of(self.file) if a != NONE), default=-1)
        return self.file


def arguments_of(value):
    """Every argument that a file names, wherever it stands."""
    if isinstance(value, dict):
        own = [value["argument"]] if "argument" in value else [a for _, a in value.get("parents", ())]
        own += [row[place] for rows in value.get("numbers", ()) for row in rows for place in (0, 2)]
        return own + [a for entry in value.values() for a in arguments_of(entry)]
    if isinstance(value, tuple) and value and isinstance(value[0], str) and value[0].startswith("model::A"):
        return [value[2]]
    if isinstance(value, (list, tuple)):
        return [a for entry in value for a in arguments_of(entry)]
    return []


def random_script(seed, share=None):
    script = Script(seed)
    script.share = script.random.choice((0.2, 0.5, 0.8)) if share is None else share
    for _ in range(script.random.randrange(3, 12)):
        script.add_node(script.random.choice(list(NODES)))
    script.add_node("Bone")
    for _ in range(script.random.randrange(12)):
        script.add(script.random.choice(KINDS))
    script.finish()
    return script


def whole_script():
    """One of everything with all that can be set, and one as it is made; every block."""
    script = Script(7, 1.0)
    for share in (1.0, 0.0):
        script.share = share
        for kind in NODES:
            script.add_node(kind)
        for kind in KINDS:
            script.add(kind)
        for base in ("BaseBlock", "ColorBaseBlock"):
            for kind, *last in (("PBRNode", "NumberBlock"), ("PBRNode", "BoneBlock"), ("GlassNode",)):
                script.add_mesh(kind, [base, *together(kind), *last])
            script.add_mesh("PBRNode", [base, "EmissiveColorBlock", "FlirBlock"])
            script.add_mesh("PBRNode", [base])
    script.finish()
    return script
