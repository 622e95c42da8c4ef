#include "nodes/NumberNode.h"

namespace model
{
void NumberNode::forEachArgument(const std::function<void(u32)>& function) const
{
    RenderNode::forEachArgument(function);
    for (const zr::vector<NumberControl>& list : numbers)
        for (const NumberControl& control : list)
            for (const u32 argument : {control.uArgument, control.vArgument})
                if (argument != kNoArgument) function(argument);
}
} // namespace model
