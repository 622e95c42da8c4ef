#pragma once

#include <cmath>
#include <type_traits>

#include "ReferenceMaterials.h"
#include "base/ObjectRegistry.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/NumberNode.h"
#include "nodes/ShellNode.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

/// The rules of merging: each node against the key of every group, each entry by a search.
namespace test::reference
{
inline bool hasAbove(const Node* from, u32 type, const Node* end)
{
    for (const Node* node = from; node && node != end; node = node->parent())
        if (node->getType() == type) return true;
    return false;
}

inline bool agreeOnPlace(const BaseRenderNode& a, const BaseRenderNode& b)
{
    if (!propertiesEqual(a.properties, b.properties)) return false;
    const Node* controlA = a.getControlNode(0).get();
    const Node* controlB = b.getControlNode(0).get();
    const auto isAboveB = [&](const Node* node)
    {
        const Node* at = controlB;
        while (at && at != node)
            at = at->parent();
        return at != nullptr;
    };
    const Node* meeting = controlA;
    while (meeting && !isAboveB(meeting))
        meeting = meeting->parent();
    return !hasAbove(controlA, kArgVisibilityNode, meeting) && !hasAbove(controlB, kArgVisibilityNode, meeting) &&
           !(meeting && meeting->getType() == kLodNode);
}

inline bool isClose(const vec3f& a, const vec3f& b)
{
    return std::abs(a[0] - b[0]) <= 1e-5f && std::abs(a[1] - b[1]) <= 1e-5f && std::abs(a[2] - b[2]) <= 1e-5f;
}

/// What the classes ask beside two nodes of one control node and the same material. `a` is the key.
template <class T>
bool agree(const T& a, const T& b)
{
    if constexpr (std::is_same_v<T, RenderNode>)
    {
        if (!a.material) ZR_RAISE("Material of render node isn't set.");
        const u32 type = a.indices.primitiveType;
        if (a.material->blending == 1 || (type != 1 && type != 5) || b.indices.primitiveType != type) return false;
        if (hasAbove(a.getControlNode(0).get(), kBillboardNode, nullptr)) return false;
    }
    if constexpr (std::is_same_v<T, NumberNode>)
        if (!a.material || a.material->vertexFormat[21] != 1) return false;
    if constexpr (std::is_same_v<T, FakeSpotLightsNode>)
        if (!isClose(a.controls[0].direction, b.controls[0].direction) || a.directions.empty() != b.directions.empty())
            return false;
    return agreeOnPlace(a, b);
}

template <class T>
using NodeList = zr::vector<ObjectPtr<T>>;

inline bool isSame(const ObjectPtr<Node>& a, const ObjectPtr<Node>& b)
{
    return a == b;
}

inline bool isSame(const SpotControl& a, const SpotControl& b)
{
    return a.parent == b.parent && isClose(a.direction, b.direction);
}

template <class T>
void mergeLights(const NodeList<T>& group, T& merged)
{
    merged.controls.clear();
    for (const auto& member : group)
        for (auto light : member->lights)
        {
            const auto& control = zr::at(member->controls, light.controlIndex);
            const auto found = std::find_if(merged.controls.begin(), merged.controls.end(),
                                            [&](const auto& known) { return isSame(known, control); });
            light.controlIndex = static_cast<u32>(found - merged.controls.begin());
            if (found == merged.controls.end()) merged.controls.push_back(control);
            merged.lights.push_back(light);
        }
    if constexpr (std::is_same_v<T, FakeSpotLightsNode>)
        for (const auto& member : group)
            for (std::size_t i = 0; i < member->lights.size() && !group[0]->directions.empty(); ++i)
            {
                merged.directions.push_back(zr::at(member->directions, i));
                merged.version = 2;
            }
}

template <class T>
void mergeMeshes(const NodeList<T>& group, T& merged)
{
    merged.parents.clear();
    for (const auto& member : group)
    {
        const ParentEntry& own = member->parents[0];
        const auto found = std::find_if(merged.parents.begin(), merged.parents.end(), [&](const ParentEntry& known)
                                        { return known.parent == own.parent && known.argument == own.argument; });
        const auto entry = static_cast<std::size_t>(found - merged.parents.begin());
        if (entry == merged.parents.size()) merged.parents.push_back(own);
        for (const u32 index : member->indices.indices)
        {
            if (index >= member->vertices.getVertexCount()) zr::raiseBadIndex();
            merged.indices.indices.push_back(index + merged.vertices.getVertexCount());
        }
        Vertices copy = member->vertices;
        for (std::size_t i = 3; i < copy[0].data.size() && copy[0].stride == 4 && member != group[0]; i += 4)
            if (copy[0].data[i] == 0.0f) copy[0].data[i] = static_cast<f32>(entry);
        if constexpr (std::is_same_v<T, NumberNode>)
        {
            merged.numbers.resize(merged.parents.size());
            auto& controls = merged.numbers[entry];
            for (f32& number : copy[21].data)
                number += static_cast<f32>(controls.size());
            for (const auto& part : member->numbers)
                controls.insert(controls.end(), part.begin(), part.end());
        }
        if (member == group[0]) merged.vertices = copy;
        if (member != group[0]) merged.vertices.append(copy);
    }
    merged.indices.primitiveType = group[0]->indices.primitiveType;
}

template <class T>
void mergeClass(const RootNode& root, const char* name, RootNode::List& removed, RootNode::List& added)
{
    const u32 type = create<T>(name)->getType();
    zr::vector<NodeList<T>> groups;
    for (const auto& node : root.renderNodes)
    {
        if (node->getType() != type) continue;
        const ObjectPtr<T> candidate = cast<T>(node);
        const auto takes = [&](const NodeList<T>& group)
        {
            const T& key = *group[0];
            return group[0] != candidate && key.getNumControlNodes() == 1 && candidate->getNumControlNodes() == 1 &&
                   key.material == candidate->material && agree(key, *candidate);
        };
        const auto found = std::find_if(groups.begin(), groups.end(), takes);
        if (found == groups.end())
            groups.push_back({candidate});
        else
            found->push_back(candidate);
    }
    for (const NodeList<T>& group : groups)
    {
        added.push_back(group[0]);
        removed.insert(removed.end(), group.begin(), group.end());
        if (group.size() == 1) continue;
        const auto merged = create<T>(name);
        if constexpr (std::is_base_of_v<RenderNode, T>)
            mergeMeshes(group, *merged);
        else
            mergeLights(group, *merged);
        merged->material = group[0]->material;
        added.back() = merged;
    }
}

inline void removeEmpty(RootNode::List& list)
{
    const auto isEmpty = [](const ObjectPtr<BaseNode>& node)
    {
        const auto* shell = dynamic_cast<const BaseShellNode*>(node.get());
        return shell ? shell->isEmpty() : renderNode(node)->getPrimitiveCount() == 0;
    };
    list.erase(std::remove_if(list.begin(), list.end(), isEmpty), list.end());
}

inline void mergeNodes(RootNode& root)
{
    removeEmpty(root.renderNodes);
    mergeEqualPropertiesSets(root);
    RootNode::List removed, added;
    mergeClass<RenderNode>(root, "model::RenderNode", removed, added);
    mergeClass<FakeOmniLightsNode>(root, "model::FakeOmniLightsNode", removed, added);
    mergeClass<FakeSpotLightsNode>(root, "model::FakeSpotLightsNode", removed, added);
    mergeClass<NumberNode>(root, "model::NumberNode", removed, added);
    RootNode::List& list = root.renderNodes;
    for (const auto& node : removed)
    {
        *std::find(list.begin(), list.end(), node) = list.back();
        list.pop_back();
    }
    list.insert(list.end(), added.begin(), added.end());
    removeEmpty(list);
    removeEmpty(root.shellNodes);
}
} // namespace test::reference
