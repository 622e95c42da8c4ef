#include "LodNode.h"

#include "../INodeVisitor.h"

namespace model
{
void LodNode::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}
} // namespace model
