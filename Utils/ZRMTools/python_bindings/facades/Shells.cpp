#include "inc/Shells.h"

#include "inc/PropertyFacades.h"
#include "inc/VertexChecks.h"

namespace pyzrm
{
void SegmentsNode::set(const zr::vector<std::tuple<Float3, Float3>>& segments)
{
    auto& list = node->getSegments();
    list.clear();
    list.reserve(segments.size());
    for (const auto& [start, end] : segments)
        list.push_back({toValue(start), toValue(end)});
}

ShellNode::ShellNode(const zr::string& name) : ControlledNode("model::ShellNode", name)
{
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
