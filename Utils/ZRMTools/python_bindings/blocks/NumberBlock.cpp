#include "inc/blocks/NumberBlock.h"

#include "nodes/NumberNode.h"

namespace pyzrm
{
namespace
{
u32 handleOrNone(WholeNumber argument)
{
    return argument.value < 0 ? model::kNoArgument : argument.asHandle();
}
} // namespace

void NumberBlock::setUVParams(WholeNumber uArgument, f32 uFactor, WholeNumber vArgument, f32 vFactor)
{
    control = {handleOrNone(uArgument), uFactor, handleOrNone(vArgument), vFactor};
}

zr::string NumberBlock::check() const
{
    const bool hasNone = control.uArgument == model::kNoArgument && control.vArgument == model::kNoArgument;
    return hasNone ? "Number block: None of arguments were set." : "";
}

zr::string NumberBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    auto* number = dynamic_cast<model::NumberNode*>(&node);
    if (!number) return "Number block : render node is not number node.";
    number->setControls({{control}});
    setZeroAttribute(node, model::kColor1, 1);
    return {};
}
} // namespace pyzrm
