#include "nodes/BillboardNode.h"

#include "base/INodeVisitor.h"

namespace model
{
void BillboardNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}
} // namespace model
