#include "nodes/Connector.h"

#include "base/INodeVisitor.h"

namespace model
{
void Connector::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}
} // namespace model
