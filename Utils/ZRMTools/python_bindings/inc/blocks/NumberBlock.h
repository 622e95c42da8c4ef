#pragma once

#include "inc/blocks/pyzrm_iblock.h"
#include "nodes/NumberControl.h"

namespace pyzrm
{
/// Makes the mesh a digit of a number display.
class NumberBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Number; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    /// A negative argument means none.
    void setUVParams(WholeNumber uArgument, f32 uFactor, WholeNumber vArgument, f32 vFactor);

private:
    model::NumberControl control;
};
} // namespace pyzrm
