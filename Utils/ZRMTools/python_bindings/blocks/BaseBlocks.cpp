#include "inc/blocks/BaseBlocks.h"

namespace pyzrm
{
zr::string GeometryBlock::check() const
{
    if (positions.empty()) return "Vetices positions aren't set.";
    if (normals.empty() || normals.size() / 3 != getVertexCount()) return "Invalid normals.";
    return {};
}

zr::string GeometryBlock::apply(model::BaseMeshRenderNode& node, u32&) const
{
    node.getMaterial()->setFormat(model::kPosition0, 4);
    node.getVertices().share(model::kPosition0, 4, 3, positions);
    setAttribute(node, model::kNormal0, 3, normals);
    return {};
}

zr::string BaseBlock::check() const
{
    if (zr::string text = GeometryBlock::check(); !text.empty()) return text;
    if (albedoUV.empty() || albedoUV.size() / 2 != getVertexCount()) return "Invalid albedo texture coordinates.";
    if (albedoMap.empty()) return "Albedo isn't set.";
    return {};
}

zr::string BaseBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    GeometryBlock::apply(node, uvCounter);
    addTexCoords(node, uvCounter, 0, albedoUV);
    node.getMaterial()->setTexture(0, albedoMap.c_str());
    setNamedProperty(*node.getMaterial(), "diffuseShift", albedoShift);
    return {};
}

zr::string ColorBaseBlock::check() const
{
    if (zr::string text = GeometryBlock::check(); !text.empty()) return text;
    return color ? "" : "Color not set.";
}

zr::string ColorBaseBlock::apply(model::BaseMeshRenderNode& node, u32& uvCounter) const
{
    GeometryBlock::apply(node, uvCounter);
    setNamedProperty(*node.getMaterial(), "color", color);
    node.getMaterial()->setMaterialName("color_material");
    return {};
}
} // namespace pyzrm
