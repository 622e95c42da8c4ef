#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "mesh/MeshUtils.h"
#include "nodes/BaseRenderNode.h"

namespace model
{
/// The most transparent pivots that a file can hold; more are refused at writing.
constexpr std::size_t kMaxPivots = 6;
/// The version from which a record has the pivots.
constexpr u32 kPivotVersion = 2;
/// Few nodes have any, so they take no room in the node.
using Pivots = zr::vector<vec3f>;

/// A render node that draws a mesh. `getVertices` and `getIndices` are the data themselves.
class BaseMeshRenderNode : public BaseRenderNode
{
public:
    BaseMeshRenderNode* asMesh() override { return this; }

    bool applyMatrix(u32 index, const f64* m) override
    {
        vertices.applyMatrix(m, index);
        return true;
    }

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
    virtual u32 removeDegenerateTriangles() { return model::removeDegenerateTriangles(vertices, indices); }

    /// A point by which transparent parts are sorted. It makes the node version 2 when it is saved.
    void addPivot(const vec3f& pivot) { pivots.push_back(pivot); }

    Vertices vertices;
    Indices indices;
    Pivots pivots;

protected:
    /// Whether there is a material and its vertex format is that of `candidate`.
    bool fitsMaterial(const Vertices& candidate) const
    {
        return material && candidate.matchesFormat(material->vertexFormat);
    }
};
} // namespace model
