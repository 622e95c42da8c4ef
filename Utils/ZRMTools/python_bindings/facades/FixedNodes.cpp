#include "inc/FixedNodes.h"

#include <algorithm>

#include "inc/PropertyFacades.h"
#include "inc/VertexChecks.h"

namespace pyzrm
{
FixedNode::FixedNode(const zr::string& name, const zr::string& materialName, const char* materialType,
                     std::initializer_list<std::pair<model::Semantic, u8>> format)
    : ControlledNode("model::RenderNode", name),
      material(new model::PropertiesSet())
{
    material->setName(materialName.c_str());
    material->setMaterialName(materialType);
    for (const auto& [semantic, width] : format)
        material->setFormat(static_cast<std::size_t>(semantic), width);
    node->setMaterial(material);
    vertices.setFormat(material->getVertexFormat());
}

void FixedNode::addPositions(const zr::vector<f32>& points)
{
    zr::vector<f32>& data = vertices[model::kPosition0].data;
    std::size_t end = data.size();
    data.resize(end + points.size() + points.size() / 3);
    for (std::size_t i = 0; i < points.size(); i += 3, end += 4)
        std::copy_n(&points[i], std::min<std::size_t>(3, points.size() - i), &data[end]);
}

ColorNode::ColorNode(const zr::string& name, const zr::string& materialName)
    : FixedNode(name, materialName, "color_material", {{model::kPosition0, 4}, {model::kNormal0, 3}})
{
    setColor(1.0f, 0.0f, 0.0f);
}

void ColorNode::setColor(f32 red, f32 green, f32 blue)
{
    material->properties.set(makeStatic("color", model::vec3f(red, green, blue)));
}

zr::string ColorNode::build()
{
    if (zr::string text = findEmptyAttribute(vertices); !text.empty()) return text;
    if (indices.indices.empty()) return "Indices aren't set.";
    if (!hasControlNode()) return kNoControlNode;
    node->setGeometry(vertices, indices);
    return {};
}

MirrorNode::MirrorNode(const zr::string& name, const zr::string& materialName)
    : FixedNode(name, materialName, "mirror_material",
                {{model::kPosition0, 4}, {model::kNormal0, 3}, {model::kTexCoord0, 2}})
{
    material->setChannel(0, 0);
    material->properties.set(makeStatic("color", model::vec3f(1.0f, 0.0f, 0.0f)));
}

zr::string MirrorNode::build()
{
    if (zr::string text = findEmptyAttribute(vertices); !text.empty()) return text;
    if (indices.indices.empty()) return "Indices are empty.";
    if (texture.empty()) return "Texture aren't set.";
    if (!hasControlNode()) return kNoControlNode;
    node->setGeometry(vertices, indices);
    material->setTexture(0, texture.c_str());
    return {};
}
} // namespace pyzrm
