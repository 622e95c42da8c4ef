#pragma once

#include "nodes/NumberControl.h"
#include "nodes/RenderNode.h"

namespace model
{
/// A mesh whose texture coordinates are driven by arguments, such as the drums of a counter. COLOR1 holds one float for
/// each vertex: the position of its control in the list of its parent entry.
class NumberNode final : public NodeClass<NumberNode, RenderNode>
{
public:
    void forEachArgument(const std::function<void(u32)>& function) const override;

    void setControls(zr::vector<zr::vector<NumberControl>> list) { numbers = std::move(list); }

    /// One inner list for each entry of `parents`.
    zr::vector<zr::vector<NumberControl>> numbers;
};
} // namespace model
