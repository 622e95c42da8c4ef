#pragma once

#include "nodes/ShellNode.h"
#include "nodes/SkinNode.h"
#include <zr/checked.h>

namespace model
{
/// A collision mesh that bones deform. No script makes one.
class ShellSkinNode final : public BaseShellNode
{
public:
    u32 getType() const override { return kShellSkinNode; }
    void accept(INodeVisitor& visitor) const override;

    /// The control nodes are the bones; `setControlNode` still sets `control`.
    u64 getNumControlNodes() const override { return bones.size(); }
    ObjectPtr<Node> getControlNode(u64 index) const override { return zr::at(bones, index); }

    Box getBoundingBox() const override { return vertices.computeBox(0); }
    bool isEmpty() const override { return indices.indices.empty(); }
    u32 removeDegenerates() override;

    u32 getPrimitiveCount() const { return indices.getPrimitiveCount(); }
    Vertices& getVertices() { return vertices; }
    const Vertices& getVertices() const { return vertices; }
    Indices& getIndices() { return indices; }
    const Indices& getIndices() const { return indices; }

    Vertices vertices;
    Indices indices;
    Bones bones;
    u32 argument = kNoArgument;
    Box skinBox;
    VertexFormat vertexFormat;
};
} // namespace model
