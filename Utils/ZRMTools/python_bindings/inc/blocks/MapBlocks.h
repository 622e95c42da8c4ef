#pragma once

#include "inc/blocks/pyzrm_iblock.h"

/// The blocks that are little more than one map.
namespace pyzrm
{
/// A map with texture coordinates of its own.
class MapBlock : public IBlock
{
public:
    /// What sets one kind apart from the others; the names are those of its texts.
    struct Facts
    {
        BlockType type;
        const char* blockName;
        const char* textureName;
        std::size_t map;
        std::size_t slot;
    };

    u32 getType() const override { return facts.type; }
    zr::string check() const override;
    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setMap(const zr::string& name) { map = name; }
    void setUV(Floats data) { uv = std::move(data.values); }

protected:
    explicit MapBlock(const Facts& kind) : facts(kind) {}

private:
    const Facts& facts;
    zr::string map;
    model::SharedFloats uv;
};

class NormalBlock : public MapBlock
{
public:
    NormalBlock();

    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;
};

class AormsBlock : public MapBlock
{
public:
    AormsBlock();
};

class AoBlock : public MapBlock
{
public:
    AoBlock();

    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setShift(Ref<PropertyFloat2> value) { shift = value->get(); }
    /// None when its 32 bits are a negative number.
    void setAnimationArgument(WholeNumber argument) { animationArgument = static_cast<i32>(argument.asHandle()); }

private:
    model::PropertyPtr shift;
    i32 animationArgument = -1;
};

class DecalBlock : public MapBlock
{
public:
    DecalBlock();

    zr::string apply(model::BaseMeshRenderNode& node, u32& uvCounter) const override;

    void setShift(Ref<PropertyFloat2> value) { shift = value->get(); }

private:
    model::PropertyPtr shift;
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
