#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// Collision geometry on one node.
class BaseShellNode : public BaseNode
{
public:
    u64 getNumControlNodes() const override { return 1; }
    ObjectPtr<Node> getControlNode(u64) const override { return control; }
    void setControlNode(u64, ObjectPtr<Node> node) override { control = std::move(node); }

    /// In the space of the control node; not set when there is nothing.
    virtual Box getBoundingBox() const = 0;
    /// Whether there is nothing to write.
    virtual bool isEmpty() const = 0;
    /// Returns the number of items removed.
    virtual u32 removeDegenerates() = 0;

    ObjectPtr<Node> control;
};

/// A collision mesh.
class ShellNode final : public BaseShellNode
{
public:
    u32 getType() const override { return kShellNode; }
    void accept(INodeVisitor& visitor) const override;
    bool applyMatrix(u32 index, const f64* m) override;

    Box getBoundingBox() const override { return vertices.computeBox(0); }
    bool isEmpty() const override { return indices.indices.empty(); }
    u32 removeDegenerates() override;

    Vertices& getVertices() { return vertices; }
    const Vertices& getVertices() const { return vertices; }
    Indices& getIndices() { return indices; }
    const Indices& getIndices() const { return indices; }
    const VertexFormat& getVertexFormat() const { return vertexFormat; }
    /// Takes all three over when the vertices are of that format; otherwise nothing changes.
    void setGeometry(const VertexFormat& format, Vertices newVertices, Indices newIndices);

    Vertices vertices;
    Indices indices;
    VertexFormat vertexFormat;
};
} // namespace model
