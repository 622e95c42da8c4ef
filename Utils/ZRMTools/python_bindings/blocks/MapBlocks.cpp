#include "inc/blocks/MapBlocks.h"

namespace pyzrm
{
namespace
{
constexpr MapBlock::Facts kNormal{BT_Normal, "Normal", "normal", /*map=*/1, /*slot=*/1};
constexpr MapBlock::Facts kAorms{BT_Aorms, "Aorms", "aorms", /*map=*/12, /*slot=*/13};
constexpr MapBlock::Facts kAo{BT_Ao, "AO", "AO", /*map=*/9, /*slot=*/9};
constexpr MapBlock::Facts kDecal{BT_Decal, "Decal", "decal", /*map=*/3, /*slot=*/3};
} // namespace

zr::string MapBlock::check() const
{
    if (uv.empty()) return zr::string(facts.blockName) + " block: Invalid texture coordinates.";
    if (map.empty()) return zr::string(facts.blockName) + " block: " + facts.textureName + " texture isn't set.";
    return {};
}

zr::string MapBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, facts.map, uv);
    node.getMaterial()->setTexture(facts.slot, map.c_str());
    return {};
}

NormalBlock::NormalBlock() : MapBlock(kNormal) {}

zr::string NormalBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    setZeroAttribute(node, model::kTangent0, 3);
    setZeroAttribute(node, model::kBinormal0, 3);
    return MapBlock::apply(node, uvCounter);
}

AormsBlock::AormsBlock() : MapBlock(kAorms) {}

AoBlock::AoBlock() : MapBlock(kAo) {}

zr::string AoBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    model::PropertiesSet& material = *node.getMaterial();
    setNamedProperty(material, "ambientOcclusionShift", shift);
    if (animationArgument > -1)
    {
        auto property = model::create<model::ArgumentProperty>();
        property->setArgument(static_cast<u32>(animationArgument));
        setNamedProperty(material, "ambientOcclusionAnim", property);
    }
    return MapBlock::apply(node, uvCounter);
}

DecalBlock::DecalBlock() : MapBlock(kDecal) {}

zr::string DecalBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    setNamedProperty(*node.getMaterial(), "decalShift", shift);
    return MapBlock::apply(node, uvCounter);
}

zr::string FlirBlock::check() const
{
    return map.empty() ? "Flir map isn't set." : "";
}

zr::string FlirBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    node.getMaterial()->setChannel(0, 0);
    node.getMaterial()->setTexture(16, map.c_str());
    return {};
}

zr::string GlassFilterBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    model::PropertiesSet& material = *node.getMaterial();
    setNamedProperty(material, "color", color);
    material.setMaterialName(instrumental ? "glass_instrumental_material" : "glass_material");
    material.setBlending(1);
    if (!map.empty()) material.setTexture(14, map.c_str());
    return {};
}
} // namespace pyzrm
