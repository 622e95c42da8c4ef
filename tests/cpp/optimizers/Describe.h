#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <string>

#include "RootNode.h"
#include "finishing/WriteToFile.h"
#include "io/10/ClassWriter10.h"
#include "materials/Properties.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/NumberNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellNode.h"
#include "nodes/SkinNode.h"

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
                    [this](const Node* node)
                    {
                        places.emplace(node, places.size());
                        return true;
                    });
        Node::visit(static_cast<const Node*>(root.rootTransform.get()),
                    [this](const Node* node)
                    {
                        treeNode(*node);
                        return true;
                    });
        list("connectors", root.connectors);
        list("lights", root.lights);
        list("shells", root.shellNodes);
        list("render", root.renderNodes);
        return out.str();
    }

    template <class T>
    void bits(const T& value)
    {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        static const char digits[] = "0123456789abcdef";
        for (const unsigned char byte : bytes)
            out << digits[byte >> 4] << digits[byte & 15];
        out << ' ';
    }
    void mesh(const Vertices& vertices, const Indices& indices)
    {
        for (const auto& [semantic, attribute] : vertices.getAttributes())
        {
            out << "\n    " << semantic << '/' << attribute.stride << ": ";
            for (const f32& value : attribute.data)
                bits(value);
        }
        out << "\n    " << indices.primitiveType << ": ";
        for (const u32 index : indices.indices)
            out << index << ' ';
    }
    std::string text() const { return out.str(); }

private:
    void treeNode(const Node& node)
    {
        int depth = 0;
        for (const Node* up = node.parent(); up; up = up->parent())
            ++depth;
        out << std::string(static_cast<std::size_t>(depth), ' ') << node.getType() << " \"" << node.name << "\" "
            << node.properties.size() << ' ';
        if (const auto* transform = dynamic_cast<const TransformNode*>(&node)) bits(transform->matrix);
        out << '\n';
    }

    void control(const Node* node)
    {
        if (!node)
            out << "none ";
        else if (const auto found = places.find(node); found != places.end())
            out << '#' << found->second << ' ';
        else
            out << "outside:" << node->name << ' ';
    }

    void material(const PropertiesSet* set)
    {
        if (!set)
        {
            out << " no material";
            return;
        }
        out << " material " << materials.emplace(set, materials.size()).first->second << '[' << set->name << ';'
            << set->blending << ';';
        for (const u8 width : set->vertexFormat)
            out << int{width};
        out << ';';
        for (const i32 channel : set->channels)
            out << channel << ',';
        for (const PropertyPtr& property : set->properties)
            out << property->toString();
        out << ']';
    }

    template <class Lights>
    void lights(const Lights& list)
    {
        for (const auto& light : list)
        {
            out << "\n    light " << light.controlIndex << ' ';
            bits(light.position);
            bits(light.size);
        }
    }

    void list(const char* title, const RootNode::List& nodes)
    {
        out << title << ":\n";
        for (const ObjectPtr<BaseNode>& node : nodes)
        {
            out << "  " << node->getType() << " \"" << node->name << "\" v" << node->version << " at ";
            for (u64 i = 0; i < node->getNumControlNodes(); ++i)
                control(node->getControlNode(i).get());
            if (const auto* render = dynamic_cast<const BaseRenderNode*>(node.get())) material(render->material.get());
            data(*node);
            out << '\n';
        }
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
            {
                out << " controls(";
                for (const NumberControl& entry : part)
                    out << entry.uArgument << '/' << entry.vArgument << ' ';
                out << ')';
            }
        if (const auto* shell = dynamic_cast<const ShellNode*>(&node)) mesh(shell->vertices, shell->indices);
        if (const auto* segments = dynamic_cast<const SegmentsNode*>(&node))
            for (const Segment& segment : segments->segments)
                bits(segment);
        if (const auto* omni = dynamic_cast<const FakeOmniLightsNode*>(&node)) lights(omni->lights);
        if (const auto* points = dynamic_cast<const FakeSpotLights3Node*>(&node)) mesh(points->vertices, Indices());
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

/// The bytes of the file that the model makes, or the text of what stopped it.
inline std::string fileOf(RootNode& root)
{
    try
    {
        ByteBuffer bytes;
        prepareForWriting(root);
        ClassWriter10().write(&root, bytes);
        return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
}

/// Runs a pass and gives the text of what it raised, "" for nothing.
inline std::string failureOf(const std::function<void()>& pass)
{
    try
    {
        pass();
        return "";
    }
    catch (const std::exception& error)
    {
        return std::string("raised ") + error.what();
    }
}
} // namespace test
