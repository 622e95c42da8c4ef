#include "nodes/BaseNode.h"

namespace model
{
void BaseNode::setName(const char* text)
{
    name = text ? text : "";
}

bool BaseNode::applyMatrix(u32, const f64*)
{
    return false;
}

void BaseNode::forEachArgument(const std::function<void(u32)>& function) const
{
    model::forEachArgument(properties, function);
}
} // namespace model
