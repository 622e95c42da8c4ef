#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "nodes/SingleControlNode.h"

namespace model
{
/// Collision geometry on one node.
class BaseShellNode : public SingleControlNode
{
public:
    /// In the space of the control node; not set when there is nothing.
    virtual Box getBoundingBox() const = 0;
    /// Whether there is nothing to write.
    virtual bool isEmpty() const = 0;
    /// Returns the number of items removed.
    virtual u32 removeDegenerates() = 0;
};

/// Collision geometry that is a mesh.
class MeshShellNode : public BaseShellNode
{
public:
    Box getBoundingBox() const override { return vertices.computeBox(0); }
    bool isEmpty() const override { return indices.indices.empty(); }
    u32 removeDegenerates() override;

    Vertices& getVertices() { return vertices; }
    const Vertices& getVertices() const { return vertices; }
    Indices& getIndices() { return indices; }
    const Indices& getIndices() const { return indices; }

    Vertices vertices;
    Indices indices;
    VertexFormat vertexFormat;
};

/// A collision mesh.
class ShellNode final : public NodeClass<ShellNode, MeshShellNode>
{
public:
    /// Moves every vertex of a POSITION0 of three floats, or those of entry 0; the index plays no part.
    bool applyMatrix(u32 index, const f64* m) override;

    const VertexFormat& getVertexFormat() const { return vertexFormat; }
    /// Takes all three over when the vertices are of that format; otherwise nothing changes.
    void setGeometry(const VertexFormat& format, Vertices newVertices, Indices newIndices);
};
} // namespace model
