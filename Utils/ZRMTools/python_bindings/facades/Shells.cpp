#include "inc/Shells.h"

#include "inc/PropertyFacades.h"
#include "inc/VertexChecks.h"

namespace pyzrm
{
SegmentsNode::SegmentsNode(const zr::string& name) : node(model::create<model::SegmentsNode>("model::SegmentsNode"))
{
    node->setName(name.c_str());
}

void SegmentsNode::set(const std::vector<std::tuple<Float3, Float3>>& segments)
{
    auto& list = node->getSegments();
    list.clear();
    list.reserve(segments.size());
    for (const auto& [start, end] : segments)
        list.push_back({toVec3f(start), toVec3f(end)});
}

ShellNode::ShellNode(const zr::string& name) : node(model::create<model::ShellNode>("model::ShellNode"))
{
    node->setName(name.c_str());
    vertexFormat[model::kPosition0] = 3;
    vertices.setFormat(vertexFormat);
}

zr::string ShellNode::build()
{
    if (zr::string text = findEmptyAttribute(vertices); !text.empty()) return text;
    if (indices.indices.empty()) return "Indices aren't set.";
    node->setGeometry(vertexFormat, vertices, indices);
    return {};
}

Connector::Connector(const zr::string& name) : node(model::create<model::Connector>("model::Connector"))
{
    node->setName(name.c_str());
}

void Connector::setPropertyFloat(const zr::string& key, f32 value)
{
    node->properties.set(makeStatic(key.c_str(), value));
}

void Connector::setPropertyString(const zr::string& key, const zr::string& value)
{
    // The file ends a string at its first zero character.
    node->properties.set(makeStatic(key.c_str(), zr::string(value.c_str())));
}
} // namespace pyzrm
