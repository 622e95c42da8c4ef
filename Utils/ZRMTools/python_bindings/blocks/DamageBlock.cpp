#include "inc/blocks/DamageBlock.h"

namespace pyzrm
{
zr::string DamageBlock::check() const
{
    const bool hasArgument = argument != model::kNoArgument;
    if (!hasArgument && perVertexArguments.empty()) return "Damage block: argument is not set.";
    if (hasArgument && !perVertexArguments.empty()) return "Damage block: Only one way to set argument is possible.";
    if (albedoUV.empty()) return "Damage block: Invalid albedo texture coordinates.";
    if (normalMap.empty() && !normalUV.empty())
        return "Damage block: Normal map texture coordinates are set but texture isn't.";
    if (!normalMap.empty() && normalUV.empty()) return "Damage block: Normal map texture coordinates aren't set.";
    if (albedoMap.empty()) return "Damage block: Albedo isn't set.";
    return {};
}

zr::string DamageBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    addTexCoords(node, uvCounter, 5, albedoUV);
    if (!normalUV.empty())
    {
        addTexCoords(node, uvCounter, 10, normalUV);
        setZeroAttribute(node, model::kTangent1, 3);
        setZeroAttribute(node, model::kBinormal1, 3);
    }
    if (!perVertexArguments.empty()) setAttribute(node, model::kColor2, 1, perVertexArguments);
    model::PropertiesSet& material = *node.getMaterial();
    material.setTexture(5, albedoMap.c_str());
    material.setTexture(10, normalMap.c_str());
    material.setTexture(15, mask.c_str());
    material.setTexture(18, maskRGBA.c_str());
    return {};
}
} // namespace pyzrm
