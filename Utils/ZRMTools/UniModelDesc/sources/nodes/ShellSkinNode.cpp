#include "nodes/ShellSkinNode.h"

#include "base/INodeVisitor.h"
#include "mesh/MeshUtils.h"

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
