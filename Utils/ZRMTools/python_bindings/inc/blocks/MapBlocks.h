#pragma once

#include "inc/blocks/pyzrm_iblock.h"

/// The blocks that are little more than one map.
namespace pyzrm
{
class NormalBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Normal; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setNormalMap(const zr::string& name) { map = name; }
    void setNormalMapUV(Floats data) { uv = std::move(data.values); }

private:
    zr::string map;
    zr::vector<f32> uv;
};

/// The infrared map; it lies on the albedo's texture coordinates.
class FlirBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Flir; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setFlirMap(const zr::string& name) { map = name; }

private:
    zr::string map;
};

class AormsBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Aorms; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setAormsMap(const zr::string& name) { map = name; }
    void setAormsMapUV(Floats data) { uv = std::move(data.values); }

private:
    zr::string map;
    zr::vector<f32> uv;
};

class AoBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Ao; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setAoMap(const zr::string& name) { map = name; }
    void setAoMapUV(Floats data) { uv = std::move(data.values); }
    void setAoShift(Ref<PropertyFloat2> value) { shift = value->get(); }
    void setAoAnimationArgument(WholeNumber argument) { animationArgument = static_cast<i32>(argument.asHandle()); }

private:
    zr::string map;
    zr::vector<f32> uv;
    model::PropertyPtr shift;
    /// None when it is below 0.
    i32 animationArgument = -1;
};

class DecalBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Decal; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setDecalMap(const zr::string& name) { map = name; }
    void setDecalMapUV(Floats data) { uv = std::move(data.values); }
    void setDecalShift(Ref<PropertyFloat2> value) { shift = value->get(); }

private:
    zr::string map;
    zr::vector<f32> uv;
    model::PropertyPtr shift;
};

/// The colour that glass lets through; any content is sound.
class GlassFilterBlock : public IBlock
{
public:
    u32 getType() const override { return BT_Glass; }
    zr::string check() const override { return {}; }
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setColorMap(const zr::string& name) { map = name; }
    void setInstrumental(bool value) { instrumental = value; }
    void setColor(Ref<PropertyFloat3> value) { color = value->get(); }

private:
    bool instrumental = false;
    zr::string map;
    model::PropertyPtr color;
};
} // namespace pyzrm
