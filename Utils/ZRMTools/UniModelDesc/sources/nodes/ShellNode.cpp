#include "nodes/ShellNode.h"

#include "mesh/MeshUtils.h"

namespace model
{
bool ShellNode::applyMatrix(u32, const f64* m)
{
    vertices.applyMatrix(m, 0);
    return true;
}

u32 MeshShellNode::removeDegenerates()
{
    return removeDegenerateTriangles(vertices, indices);
}

void ShellNode::setGeometry(const VertexFormat& format, Vertices newVertices, Indices newIndices)
{
    if (!newVertices.matchesFormat(format)) return;
    vertices = std::move(newVertices);
    indices = std::move(newIndices);
    vertexFormat = format;
}
} // namespace model
