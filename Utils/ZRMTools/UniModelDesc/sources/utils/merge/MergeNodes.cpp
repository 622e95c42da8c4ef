#include <set>

#include <parallel_hashmap/phmap.h>

#include "utils/Optimizers.h"
#include "utils/merge/GroupNodes.h"
#include "utils/merge/Merge.h"
#include "utils/merge/MergeLights.h"
#include "utils/mesh/MeshOptimizers.h"

namespace model
{
namespace
{
class RenderRule final : public MergeRule
{
public:
    bool canJoin(const BaseRenderNode& node) const override
    {
        const u32 type = variant(node);
        return node.material && node.material->blending != 1 && (type == 1 || type == kTriangles);
    }
    u32 variant(const BaseRenderNode& node) const override
    {
        return static_cast<const RenderNode&>(node).indices.primitiveType;
    }
    bool isPlain(const BaseRenderNode& node) const override { return node.properties.empty(); }
    bool agree(const BaseRenderNode& key, const BaseRenderNode& node) const override
    {
        return propertiesEqual(key.properties, node.properties);
    }
    bool isBillboardAlone() const override { return true; }
};

class OmniRule : public MergeRule
{
public:
    bool canJoin(const BaseRenderNode&) const override { return true; }
    u32 variant(const BaseRenderNode&) const override { return 0; }
    bool isPlain(const BaseRenderNode& node) const override { return node.properties.empty(); }
    bool agree(const BaseRenderNode& key, const BaseRenderNode& node) const override
    {
        return propertiesEqual(key.properties, node.properties);
    }
    bool isBillboardAlone() const override { return false; }
};

class NumberRule final : public OmniRule
{
public:
    bool canJoin(const BaseRenderNode& node) const override
    {
        return node.material && node.material->vertexFormat[kColor1] == 1;
    }
};

class SpotRule final : public OmniRule
{
public:
    u32 variant(const BaseRenderNode& node) const override { return spot(node).directions.empty() ? 0 : 1; }
    bool isPlain(const BaseRenderNode& node) const override
    {
        return node.properties.empty() && direction(node) == vec3f();
    }
    bool agree(const BaseRenderNode& key, const BaseRenderNode& node) const override
    {
        return propertiesEqual(key.properties, node.properties) && isSameDirection(direction(key), direction(node));
    }

private:
    static const FakeSpotLightsNode& spot(const BaseRenderNode& node)
    {
        return static_cast<const FakeSpotLightsNode&>(node);
    }
    static const vec3f& direction(const BaseRenderNode& node) { return spot(node).controls.front().direction; }
};

/// Two render nodes without a material are an error, wherever they hang; the test of such a pair tells it.
void checkMaterials(const RootNode& root)
{
    const RenderNode* without = nullptr;
    for (const ObjectPtr<BaseNode>& entry : root.renderNodes)
    {
        if (entry->getType() != kRenderNode) continue;
        const auto& node = static_cast<const RenderNode&>(*entry);
        if (node.material || node.getNumControlNodes() != 1) continue;
        MergeStats stats;
        if (without) canMerge(*without, node, stats);
        if (!without) without = &node;
    }
}

/// What `mergeNodes` takes out of the root's list and what it puts in.
struct Changes
{
    RootNode::List removed;
    RootNode::List added;
};

template <class T, class Merge>
void mergeClass(const RootNode& root, u32 type, const MergeRule& rule, Merge merge, Changes& changes)
{
    for (const zr::vector<ObjectPtr<BaseRenderNode>>& members : groupNodes(root, type, rule))
    {
        Group<T> group;
        for (const ObjectPtr<BaseRenderNode>& member : members)
            group.push_back(ObjectPtr<T>(static_cast<T*>(member.get())));
        changes.added.push_back(merge(group));
        changes.removed.insert(changes.removed.end(), members.begin(), members.end());
    }
}

/// Where the entries of a list stand, while entries are removed by putting the last one in their place.
class ListPlaces
{
public:
    explicit ListPlaces(RootNode::List& nodes) : list(nodes)
    {
        for (u32 i = 0; i < list.size(); ++i)
            if (!places.try_emplace(list[i].get(), i).second) repeated[list[i].get()].insert(i);
        for (auto& [node, more] : repeated)
            more.insert(places[node]);
    }

    /// Removes the first entry of a node.
    void remove(const BaseNode* node)
    {
        const auto found = repeated.find(node);
        const u32 place = found == repeated.end() ? places[node] : *found->second.begin();
        if (found != repeated.end()) found->second.erase(place);
        const u32 last = static_cast<u32>(list.size() - 1);
        if (place != last) moveLastTo(place, last);
        list.pop_back();
    }

private:
    void moveLastTo(u32 place, u32 last)
    {
        const BaseNode* moved = list[last].get();
        if (const auto found = repeated.find(moved); found != repeated.end())
        {
            found->second.erase(last);
            found->second.insert(place);
        }
        else
            places[moved] = place;
        list[place] = std::move(list[last]);
    }

    RootNode::List& list;
    phmap::flat_hash_map<const BaseNode*, u32> places;
    phmap::flat_hash_map<const BaseNode*, std::set<u32>> repeated;
};
} // namespace

void mergeNodes(RootNode* root)
{
    removeEmptyRenderNodes(root);
    mergeEqualPropertiesSets(root);
    checkMaterials(*root);

    Changes changes;
    mergeClass<RenderNode>(*root, kRenderNode, RenderRule(), mergeRenderNodes, changes);
    mergeClass<FakeOmniLightsNode>(*root, kFakeOmniLightsNode, OmniRule(), mergeFakeOmniLights, changes);
    mergeClass<FakeSpotLightsNode>(*root, kFakeSpotLightsNode, SpotRule(), mergeFakeSpotLights, changes);
    mergeClass<NumberNode>(*root, kNumberNode, NumberRule(), mergeNumberNodes, changes);

    // Nothing can fail from here on.
    ListPlaces places(root->renderNodes);
    for (const ObjectPtr<BaseNode>& node : changes.removed)
        places.remove(node.get());
    for (ObjectPtr<BaseNode>& node : changes.added)
        root->addRenderNode(std::move(node));
    removeEmptyRenderNodes(root);
    removeEmptyShellNodes(root);
}
} // namespace model
