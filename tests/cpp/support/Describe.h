#pragma once

#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "RootNode.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/NumberNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellNode.h"
#include "nodes/TransformNode.h"

/// Everything of a model that a pass can change, as text: two models are the same exactly if their texts are.
namespace test
{
using namespace model;

class Describer
{
public:
    std::string describe(const RootNode& root)
    {
        Node::visit(static_cast<const Node*>(root.rootTransform.get()),
                    [this](const Node* node) { return treeNode(*node), true; });
        for (const RootNode::List* list : {&root.connectors, &root.lights, &root.shellNodes, &root.renderNodes})
            for (const ObjectPtr<BaseNode>& node : *list)
                listed(*node);
        return out.str();
    }

    std::string describe(const Vertices& vertices, const Indices& indices)
    {
        mesh(vertices, indices);
        return out.str();
    }

private:
    template <class T>
    void bits(const T& value)
    {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        for (const unsigned char byte : bytes)
            out << "0123456789abcdef"[byte >> 4] << "0123456789abcdef"[byte & 15];
        out << ' ';
    }

    void treeNode(const Node& node)
    {
        const auto parent = places.find(node.parent()); // none for the top
        out << " below #" << (parent == places.end() ? 0 : parent->second) << ' ';
        out << node.getType() << " \"" << node.name << "\" " << node.properties.size() << ' ';
        places.emplace(&node, places.size());
        if (const auto* transform = dynamic_cast<const TransformNode*>(&node)) bits(transform->matrix);
        out << '\n';
    }

    void listed(const BaseNode& node)
    {
        out << node.getType() << " \"" << node.name << "\" v" << node.version << " at";
        for (u64 i = 0; i < node.getNumControlNodes(); ++i)
        {
            const ObjectPtr<Node> control = node.getControlNode(i);
            out << " #" << (places.contains(control.get()) ? std::to_string(places[control.get()]) : "outside:");
            if (control) out << control->name;
        }
        if (const auto* render = dynamic_cast<const BaseRenderNode*>(&node)) material(render->material.get());
        data(node);
        out << '\n';
    }

    void material(const PropertiesSet* set)
    {
        if (!set) return;
        out << " material " << materials.emplace(set, materials.size()).first->second << '[' << set->name << ' '
            << int{set->singleSided};
        for (const u8 width : set->vertexFormat)
            out << int{width};
        for (const i32 channel : set->channels)
            out << ',' << channel;
        for (const PropertyPtr& property : set->properties)
            out << property->toString();
        out << ']';
    }

    void mesh(const Vertices& vertices, const Indices& indices)
    {
        for (const auto& [semantic, attribute] : vertices.getAttributes())
        {
            out << "\n  " << semantic << '/' << attribute.stride << ": ";
            for (const f32& value : attribute.data)
                bits(value);
        }
        out << "\n  " << indices.primitiveType << ": ";
        for (const u32 index : indices.indices)
            out << index << ' ';
    }

    template <class Lights>
    void lights(const Lights& list)
    {
        for (const auto& light : list)
            bits(std::make_pair(light.position, std::make_pair(light.size, light.controlIndex)));
    }

    void data(const BaseNode& node)
    {
        if (const auto* render = dynamic_cast<const BaseMeshRenderNode*>(&node))
            mesh(render->vertices, render->indices);
        if (const auto* render = dynamic_cast<const RenderNode*>(&node))
            for (const ParentEntry& entry : render->parents)
                out << " argument " << entry.argument;
        if (const auto* number = dynamic_cast<const NumberNode*>(&node))
            for (const auto& part : number->numbers)
                for (const NumberControl& entry : part)
                    out << (&entry == part.data() ? " controls " : "/") << entry.uArgument;
        if (const auto* spots = dynamic_cast<const FakeSpotLights3Node*>(&node)) mesh(spots->vertices, {});
        if (const auto* shell = dynamic_cast<const MeshShellNode*>(&node)) mesh(shell->vertices, shell->indices);
        if (const auto* segments = dynamic_cast<const SegmentsNode*>(&node))
            for (const Segment& segment : segments->segments)
                bits(segment);
        if (const auto* omni = dynamic_cast<const FakeOmniLightsNode*>(&node)) lights(omni->lights);
        if (const auto* spot = dynamic_cast<const FakeSpotLightsNode*>(&node))
        {
            lights(spot->lights);
            for (const vec3f& direction : spot->directions)
                bits(direction);
            for (const SpotControl& entry : spot->controls)
                bits(entry.direction);
        }
    }

    std::ostringstream out;
    std::map<const Node*, std::size_t> places;
    std::map<const PropertiesSet*, std::size_t> materials;
};

inline std::string describe(const RootNode& root)
{
    return Describer().describe(root);
}

inline std::string describe(const Vertices& vertices, const Indices& indices)
{
    return Describer().describe(vertices, indices);
}
} // namespace test
