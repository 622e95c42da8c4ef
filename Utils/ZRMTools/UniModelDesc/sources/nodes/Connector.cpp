#include "nodes/Connector.h"

#include "INodeVisitor.h"

namespace model
{
void Connector::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}
} // namespace model
