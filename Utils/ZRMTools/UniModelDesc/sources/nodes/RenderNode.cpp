#include "nodes/RenderNode.h"

namespace model
{
void RenderNode::forEachArgument(const std::function<void(u32)>& function) const
{
    BaseRenderNode::forEachArgument(function);
    reportArguments(parents, function);
}

void RenderNode::setGeometry(Vertices newVertices, Indices newIndices)
{
    if (newVertices.empty() || newIndices.indices.empty() || !fitsMaterial(newVertices)) return;
    vertices = std::move(newVertices);
    indices = std::move(newIndices);
    parents.resize(1);
    parents[0].argument = kNoArgument;

    Attribute* positions = vertices.findAttribute(kPosition0);
    if (!positions || positions->stride != 4) return;
    for (std::size_t i = 3; i < positions->data.size(); i += 4)
        positions->data[i] = 0.0f;
}

void RenderNode::setGeometry(Vertices newVertices, Indices newIndices, ParentEntries newParents)
{
    if (!fitsMaterial(newVertices)) return;
    vertices = std::move(newVertices);
    indices = std::move(newIndices);
    parents = std::move(newParents);
}

void RenderNode::setPurpose(u32 value)
{
    purpose = value;
    if (value != 0) version = 1;
}
} // namespace model
