#include "nodes/SkinNode.h"

#include "nodes/Bone.h"
#include <zr/checked.h>

namespace model
{
void setBone(Bones& bones, u64 index, ObjectPtr<Node> node)
{
    ObjectPtr<Node>& entry = zr::at(bones, index);
    if (dynamic_cast<IBone*>(node.get())) entry = std::move(node);
}

void SkinNode::forEachArgument(const std::function<void(u32)>& function) const
{
    BaseRenderNode::forEachArgument(function);
    if (argument != kNoArgument) function(argument);
}

void SkinNode::setGeometry(Vertices newVertices, Indices newIndices)
{
    if (!fitsMaterial(newVertices)) return;
    vertices = std::move(newVertices);
    indices = std::move(newIndices);
}
} // namespace model
