#include "nodes/LodNode.h"

#include "base/INodeVisitor.h"

namespace model
{
void LodNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}
} // namespace model
