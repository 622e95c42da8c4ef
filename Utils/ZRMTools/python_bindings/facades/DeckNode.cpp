#include "compute/Tangents.h"
#include "inc/FixedNodes.h"
#include "inc/VertexChecks.h"
#include "utils/mesh/DamageSplit.h"

namespace pyzrm
{
DeckNode::DeckNode(const zr::string& name, const zr::string& materialName)
    : FixedNode(name, materialName, "deck_material",
                {{model::kPosition0, 4},
                 {model::kNormal0, 3},
                 {model::kTangent0, 3},
                 {model::kBinormal0, 3},
                 {model::kTexCoord0, 2},
                 {kRegularTexCoord, 2}})
{
    for (const std::size_t map : {0u, 1u, 2u})
        material->setChannel(map, 0);
    for (const std::size_t map : {3u, 4u, 7u})
        material->setChannel(map, 1);
}

zr::string DeckNode::build()
{
    if (zr::string text = check(); !text.empty()) return text;
    fillTangents();
    fillMaterial();
    if (!perVertexArguments.empty())
    {
        material->setFormat(model::kColor2, 1);
        vertices[model::kColor2].stride = 1;
        vertices[model::kColor2].data = perVertexArguments;
    }
    node->setGeometry(vertices, indices);
    if (transparentMode <= 3) material->setBlending(transparentMode);
    material->setDecalId(decalId);
    node->setControlNode(0, control->getNode());
    node->setArgument(0, argument);
    if (!perVertexArguments.empty()) splitNodes = model::splitRenderNodeByDamageArgument(node.get());
    return {};
}

NodeList DeckNode::getNodes() const
{
    if (!splitNodes.empty()) return NodeList(splitNodes.begin(), splitNodes.end());
    return FixedNode::getNodes();
}

zr::string DeckNode::check() const
{
    zr::string text = findEmptyAttribute(vertices, {model::kTangent0, model::kBinormal0});
    if (!text.empty()) return text;
    if (argument != model::kNoArgument && !perVertexArguments.empty())
        return "Only one way to set damage argument is possible.";
    if (indices.indices.empty()) return "Indices aren't set.";
    if (baseTiledMap.empty()) return "baseTiledMap isn't set.";
    if (normalTiledMap.empty()) return "normalTiledMap isn't set.";
    if (aormsTiledMap.empty()) return "aormsTiledMap isn't set.";
    if (baseMap.empty()) return "baseMap isn't set.";
    if (aormsMap.empty()) return "aormsMap isn't set.";
    if (!control) return kNoControlNode;
    return {};
}

void DeckNode::fillTangents()
{
    zr::vector<f32>& tangents = vertices[model::kTangent0].data;
    zr::vector<f32>& binormals = vertices[model::kBinormal0].data;
    const u32 vertexCount = vertices.getVertexCount();
    tangents.assign(std::size_t(vertexCount) * 3, 0.0f);
    binormals.assign(std::size_t(vertexCount) * 3, 0.0f);
    const model::Attribute& positions = vertices[model::kPosition0];
    const model::Attribute& normals = vertices[model::kNormal0];
    const model::Attribute& uvs = vertices[model::kTexCoord0];
    // Attributes of different lengths are refused when the file is written; here they only must not be followed.
    if (normals.count() < vertexCount || uvs.count() < vertexCount) return;
    computeTangents(vertexCount, positions.stride, indices.indices.size() / 3, positions.data.data(),
                    normals.data.data(), uvs.data.data(), indices.indices.data(), tangents.data(), binormals.data());
}

void DeckNode::fillMaterial()
{
    material->setTexture(0, baseTiledMap.c_str());
    material->setTexture(1, normalTiledMap.c_str());
    material->setTexture(2, aormsTiledMap.c_str());
    material->setTexture(3, baseMap.c_str());
    material->setTexture(4, aormsMap.c_str());
    material->setTexture(6, damageMask.c_str());
    material->setTexture(7, damageMap.c_str());
    material->setTexture(9, damageMaskRGBA.c_str());
    material->setTexture(5, rainMask.c_str());
}
} // namespace pyzrm
