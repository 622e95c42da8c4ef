#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "nodes/BaseRenderNode.h"

namespace model
{
/// A render node that draws a mesh.
class BaseMeshRenderNode : public BaseRenderNode
{
public:
    bool applyMatrix(u32 index, const f64* m) override;

    u32 getPrimitiveCount() const override { return indices.getPrimitiveCount(); }
    Box getBoundingBox(u32 index) const override { return vertices.computeBox(index); }
    zr::vector<Box> getBoundingBoxes() const override { return vertices.computeBoxes(getNumControlNodes()); }

    /// Takes the mesh over when it fits the material's vertex format; otherwise nothing changes.
    virtual void setGeometry(Vertices newVertices, Indices newIndices) = 0;
    virtual Vertices& getVertices() { return vertices; }
    virtual const Vertices& getVertices() const { return vertices; }
    virtual Indices& getIndices() { return indices; }
    virtual const Indices& getIndices() const { return indices; }
    /// See `model::removeDegenerateTriangles`.
    virtual u32 removeDegenerateTriangles();

    Vertices vertices;
    Indices indices;

protected:
    /// Whether there is a material and its vertex format is that of `candidate`.
    bool fitsMaterial(const Vertices& candidate) const;
};
} // namespace model
