#include "nodes/BaseMeshRenderNode.h"

#include "mesh/MeshUtils.h"

namespace model
{
bool BaseMeshRenderNode::applyMatrix(u32 index, const f64* m)
{
    vertices.applyMatrix(m, index);
    return true;
}

u32 BaseMeshRenderNode::removeDegenerateTriangles()
{
    return model::removeDegenerateTriangles(vertices, indices);
}

bool BaseMeshRenderNode::fitsMaterial(const Vertices& candidate) const
{
    return material && candidate.matchesFormat(material->vertexFormat);
}
} // namespace model
