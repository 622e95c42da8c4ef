#include "inc/blocks/EmissiveBlocks.h"

namespace pyzrm
{
namespace
{
/// Null for the types that leave the material's type alone.
const char* getMaterialName(u32 emissiveType)
{
    switch (emissiveType)
    {
    case 2:
        return "self_illum_material";
    case 3:
        return "transparent_self_illum_material";
    case 4:
        return "additive_self_illum_material";
    case 5:
        return "additive_self_illum_color_material";
    case 6:
        return "additive_self_illum_tex_material";
    default:
        return nullptr;
    }
}
} // namespace

zr::string EmissiveBlock::check() const
{
    if (color) return {};
    if (uv.empty()) return "Emissive block: Texture coordinates are not set.";
    if (map.empty()) return "Emissive block: Emissive texture isn't set.";
    return {};
}

zr::string EmissiveBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    model::PropertiesSet& material = *node.getMaterial();
    if (!map.empty())
    {
        addTexCoords(node, uvCounter, 8, uv);
        material.setTexture(8, map.c_str());
    }
    setNamedProperty(material, "selfIlluminationValue", amount);
    setNamedProperty(material, "selfIlluminationColor", color);
    setNamedProperty(material, "emissiveShift", shift);
    if (const char* name = getMaterialName(type)) material.setMaterialName(name);
    return {};
}

zr::string EmissiveColorBlock::check() const
{
    return color ? "" : "Color not set.";
}

zr::string EmissiveColorBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    model::PropertiesSet& material = *node.getMaterial();
    setNamedProperty(material, "selfIlluminationValue", amount);
    setNamedProperty(material, "selfIlluminationColor", color);
    material.setMaterialName("self_illum_material");
    return {};
}
} // namespace pyzrm
