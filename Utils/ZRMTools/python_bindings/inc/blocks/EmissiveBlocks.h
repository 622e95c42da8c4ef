#pragma once

#include "inc/blocks/pyzrm_iblock.h"

namespace pyzrm
{
/// Light that the surface gives off, by a map, a colour or both.
class EmissiveBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Emissive; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setEmissiveMap(const zr::string& name) { map = name; }
    void setEmissiveMapUV(Floats data) { uv = std::move(data.values); }
    void setAmount(Ref<PropertyFloat> value) { amount = value->get(); }
    void setColor(Ref<PropertyFloat3> value) { color = value->get(); }
    /// 2 to 6 choose the material type; any other number leaves it.
    void setEmissiveType(WholeNumber value) { type = value.asHandle(); }
    void setUVShift(Ref<PropertyFloat2> value) { shift = value->get(); }

private:
    zr::string map;
    model::SharedFloats uv;
    model::PropertyPtr amount;
    model::PropertyPtr color;
    u32 type = 0;
    model::PropertyPtr shift;
};

/// Light of one colour.
class EmissiveColorBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Emissive; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setColor(Ref<PropertyFloat3> value) { color = value->get(); }
    void setAmount(Ref<PropertyFloat> value) { amount = value->get(); }

private:
    model::PropertyPtr color;
    model::PropertyPtr amount;
};
} // namespace pyzrm
