#include "inc/blocks/MapBlocks.h"

namespace pyzrm
{
zr::string NormalBlock::check() const
{
    if (uv.empty()) return "Normal block: Invalid texture coordinates.";
    if (map.empty()) return "Normal block: normal texture isn't set.";
    return {};
}

zr::string NormalBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, 1, uv);
    setZeroAttribute(node, model::kTangent0, 3);
    setZeroAttribute(node, model::kBinormal0, 3);
    node.getMaterial()->setTexture(1, map.c_str());
    return {};
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

zr::string AormsBlock::check() const
{
    if (uv.empty()) return "Aorms block: Invalid texture coordinates.";
    if (map.empty()) return "Aorms block: aorms texture isn't set.";
    return {};
}

zr::string AormsBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, 12, uv);
    node.getMaterial()->setTexture(13, map.c_str());
    return {};
}

zr::string AoBlock::check() const
{
    if (uv.empty()) return "AO block: Invalid texture coordinates.";
    if (map.empty()) return "AO block: AO texture isn't set.";
    return {};
}

zr::string AoBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, 9, uv);
    model::PropertiesSet& material = *node.getMaterial();
    material.setTexture(9, map.c_str());
    setNamedProperty(material, "ambientOcclusionShift", shift);
    if (animationArgument > -1)
    {
        auto property = model::create<model::ArgumentProperty>("model::ArgumentProperty");
        property->setArgument(static_cast<u32>(animationArgument));
        setNamedProperty(material, "ambientOcclusionAnim", property);
    }
    return {};
}

zr::string DecalBlock::check() const
{
    if (uv.empty()) return "Decal block: Invalid texture coordinates.";
    if (map.empty()) return "Decal block: decal texture isn't set.";
    return {};
}

zr::string DecalBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, 3, uv);
    node.getMaterial()->setTexture(3, map.c_str());
    setNamedProperty(*node.getMaterial(), "decalShift", shift);
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
