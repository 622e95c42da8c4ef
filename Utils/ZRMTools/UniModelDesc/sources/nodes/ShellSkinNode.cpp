#include "nodes/ShellSkinNode.h"

#include "INodeVisitor.h"
#include "utils/MeshUtils.h"

namespace model
{
void ShellSkinNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

u32 ShellSkinNode::removeDegenerates()
{
    return removeDegenerateTriangles(vertices, indices);
}
} // namespace model
