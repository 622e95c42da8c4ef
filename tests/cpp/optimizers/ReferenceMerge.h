#pragma once

#include <cmath>

#include "ReferenceMaterials.h"
#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/NumberNode.h"
#include "nodes/ShellNode.h"
#include "utils/merge/Merge.h"
#include "utils/merge/ParentNodes.h"
#include <zr/checked.h>

/// The rules of merging: each node against the key of every group, each entry by a search.
namespace test::reference
{
inline bool isClose(const vec3f& a, const vec3f& b)
{
    for (int i = 0; i < 3; ++i)
        if (!(std::abs(a[i] - b[i]) <= 1e-5f)) return false;
    return true;
}

inline bool agree(const RenderNode& a, const RenderNode& b)
{
    MergeStats stats;
    return canMerge(a, b, stats);
}

inline bool agreeOnPlace(const BaseRenderNode& a, const BaseRenderNode& b)
{
    if (&a == &b || a.material != b.material) return false;
    if (a.getNumControlNodes() != 1 || b.getNumControlNodes() != 1) return false;
    if (!propertiesEqual(a.properties, b.properties)) return false;
    const Node* above = commonControlAncestor(a, b);
    return !checkParentNodes<ArgVisibilityNode>(a.getControlNode(0).get(), above) &&
           !checkParentNodes<ArgVisibilityNode>(b.getControlNode(0).get(), above) &&
           !(above && above->getType() == kLodNode);
}

inline bool agree(const FakeOmniLightsNode& a, const FakeOmniLightsNode& b)
{
    return agreeOnPlace(a, b);
}

inline bool agree(const NumberNode& a, const NumberNode& b)
{
    return agreeOnPlace(a, b) && a.material && a.material->vertexFormat[21] == 1;
}

inline bool agree(const FakeSpotLightsNode& a, const FakeSpotLightsNode& b)
{
    return agreeOnPlace(a, b) && isClose(a.controls[0].direction, b.controls[0].direction) &&
           a.directions.empty() == b.directions.empty();
}

template <class T>
using NodeList = zr::vector<ObjectPtr<T>>;

inline ObjectPtr<RenderNode> merge(const NodeList<RenderNode>& group)
{
    return mergeRenderNodes(group);
}

inline ObjectPtr<FakeOmniLightsNode> merge(const NodeList<FakeOmniLightsNode>& group)
{
    if (group.size() == 1) return group[0];
    const auto merged = create<FakeOmniLightsNode>("model::FakeOmniLightsNode");
    zr::vector<ObjectPtr<Node>> controls;
    for (const auto& member : group)
        for (FakeOmniLight light : member->lights)
        {
            const auto& control = zr::at(member->controls, light.controlIndex);
            const auto found = std::find(controls.begin(), controls.end(), control);
            light.controlIndex = static_cast<u32>(found - controls.begin());
            if (found == controls.end()) controls.push_back(control);
            merged->lights.push_back(light);
        }
    merged->controls = controls;
    merged->material = group[0]->material;
    merged->root = group[0]->root;
    return merged;
}

inline ObjectPtr<FakeSpotLightsNode> merge(const NodeList<FakeSpotLightsNode>& group)
{
    if (group.size() == 1) return group[0];
    const auto merged = create<FakeSpotLightsNode>("model::FakeSpotLightsNode");
    zr::vector<SpotControl> controls;
    for (const auto& member : group)
        for (std::size_t i = 0; i < member->lights.size(); ++i)
        {
            FakeSpotLight light = member->lights[i];
            const SpotControl& control = zr::at(member->controls, light.controlIndex);
            const auto found =
                std::find_if(controls.begin(), controls.end(), [&](const SpotControl& entry)
                             { return entry.parent == control.parent && isClose(entry.direction, control.direction); });
            light.controlIndex = static_cast<u32>(found - controls.begin());
            if (found == controls.end()) controls.push_back(control);
            merged->lights.push_back(light);
            if (!group[0]->directions.empty()) merged->directions.push_back(zr::at(member->directions, i));
        }
    merged->version = merged->directions.empty() ? 1 : 2;
    merged->controls = controls;
    merged->material = group[0]->material;
    merged->root = group[0]->root;
    return merged;
}

inline ObjectPtr<NumberNode> merge(const NodeList<NumberNode>& group)
{
    if (group.size() == 1) return group[0];
    const auto merged = create<NumberNode>("model::NumberNode");
    zr::vector<std::pair<ParentEntry, zr::vector<NumberControl>>> entries;
    Vertices vertices;
    Indices indices;
    for (const auto& member : group)
    {
        const ParentEntry& entry = zr::at(member->parents, 0);
        const auto found =
            std::find_if(entries.begin(), entries.end(), [&](const auto& known)
                         { return known.first.parent == entry.parent && known.first.argument == entry.argument; });
        const u32 place = static_cast<u32>(found - entries.begin());
        if (found == entries.end()) entries.push_back({entry, {}});
        const f32 offset = static_cast<f32>(entries[place].second.size());
        for (const auto& part : member->numbers)
            entries[place].second.insert(entries[place].second.end(), part.begin(), part.end());
        if (member == group[0])
        {
            vertices = member->vertices;
            indices = member->indices;
            continue;
        }
        Vertices copy = member->vertices;
        for (const u32 index : member->indices.indices)
            indices.indices.push_back(index + vertices.getVertexCount());
        renumberVertices(copy, 0, place);
        for (f32& control : copy[21].data)
            control += offset;
        vertices.append(copy);
    }
    merged->material = group[0]->material;
    ParentEntries parents;
    for (const auto& [entry, controls] : entries)
    {
        parents.push_back(entry);
        merged->numbers.push_back(controls);
    }
    merged->setGeometry(vertices, indices, parents);
    merged->root = group[0]->root;
    return merged;
}

template <class T>
void mergeClass(const RootNode& root, u32 type, RootNode::List& removed, RootNode::List& added)
{
    zr::vector<NodeList<T>> groups;
    for (const auto& node : root.renderNodes)
    {
        if (node->getType() != type) continue;
        const ObjectPtr<T> candidate = cast<T>(node);
        const auto found = std::find_if(groups.begin(), groups.end(),
                                        [&](const NodeList<T>& group) { return agree(*group[0], *candidate); });
        if (found == groups.end())
            groups.push_back({candidate});
        else
            found->push_back(candidate);
    }
    for (const NodeList<T>& group : groups)
    {
        added.push_back(merge(group));
        removed.insert(removed.end(), group.begin(), group.end());
    }
}

inline void removeEmpty(RootNode& root)
{
    RootNode::List kept;
    for (const auto& node : root.renderNodes)
        if (renderNode(node)->getPrimitiveCount() != 0) kept.push_back(node);
    root.renderNodes = kept;
    kept.clear();
    for (const auto& node : root.shellNodes)
        if (!dynamic_cast<BaseShellNode&>(*node).isEmpty()) kept.push_back(node);
    root.shellNodes = kept;
}

inline void mergeNodes(RootNode& root)
{
    const RootNode::List shells = root.shellNodes;
    removeEmpty(root);
    root.shellNodes = shells;
    mergeEqualPropertiesSets(root);
    RootNode::List removed;
    RootNode::List added;
    mergeClass<RenderNode>(root, 11, removed, added);
    mergeClass<FakeOmniLightsNode>(root, 19, removed, added);
    mergeClass<FakeSpotLightsNode>(root, 20, removed, added);
    mergeClass<NumberNode>(root, 23, removed, added);
    RootNode::List& list = root.renderNodes;
    for (const auto& node : removed)
    {
        *std::find(list.begin(), list.end(), node) = list.back();
        list.pop_back();
    }
    for (const auto& node : added)
    {
        node->root = &root;
        list.push_back(node);
    }
    removeEmpty(root);
}
} // namespace test::reference
