#include "nodes/BaseRenderNode.h"

namespace model
{
void BaseRenderNode::forEachArgument(const std::function<void(u32)>& function) const
{
    BaseNode::forEachArgument(function);
    if (material) material->forEachArgument(function);
}
} // namespace model
