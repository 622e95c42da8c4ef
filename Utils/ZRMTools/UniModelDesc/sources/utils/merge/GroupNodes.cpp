#include "utils/merge/GroupNodes.h"

#include <algorithm>
#include <map>
#include <tuple>

#include <parallel_hashmap/phmap.h>

#include "utils/merge/ControlPlaces.h"

namespace model
{
namespace
{
constexpr u32 kNoGroup = 0xFFFFFFFFu;

/// The groups whose keys share material, variant and nearest visibility node. Only level-of-detail nodes keep its plain
/// nodes apart.
///
/// So the keys of plain groups meet, any two of them, at such nodes, and what a place finds is simple: go up to the
/// first region that has keys in or below it. Is it a level-of-detail node, then all keys below it, and with them all
/// keys, are refused. Otherwise all keys below it are taken, and the first of them is what counts. That answer never
/// changes later, since no place below that could find it makes a key.
class Bucket
{
public:
    explicit Bucket(const ControlPlaces& controlPlaces) : places(controlPlaces) {}

    /// The first group of a plain key for a node in this region.
    u32 findPlain(u32 region)
    {
        path.clear();
        for (u32 at = region; at != kNoRegion; at = places.region(at).parent)
        {
            u32 group = kNoGroup;
            if (const auto known = settled.find(at); known != settled.end())
                group = known->second;
            else if (const auto found = firstBelow.find(at); found != firstBelow.end())
            {
                if (places.region(at).isLod) return kNoGroup;
                group = found->second;
            }
            path.push_back(at);
            if (group == kNoGroup) continue;
            for (const u32 passed : path)
                settled[passed] = group;
            return group;
        }
        // Keys in another tree have no common ancestor with this place.
        return firstPlain;
    }

    void addPlain(u32 region, u32 group)
    {
        if (firstPlain == kNoGroup) firstPlain = group;
        for (u32 at = region; at != kNoRegion && firstBelow.try_emplace(at, group).second;
             at = places.region(at).parent)
        {
        }
    }

    /// Ascending numbers of the groups whose keys are not plain, and of all.
    zr::vector<u32> special;
    zr::vector<u32> all;

private:
    const ControlPlaces& places;
    u32 firstPlain = kNoGroup;
    /// The first group with a key in or below a region, and what regions without one have found.
    phmap::flat_hash_map<u32, u32> firstBelow;
    phmap::flat_hash_map<u32, u32> settled;
    zr::vector<u32> path;
};

class Grouper
{
public:
    Grouper(const MergeRule& mergeRule) : rule(mergeRule) {}

    void add(const ObjectPtr<BaseRenderNode>& node)
    {
        if (node->getNumControlNodes() != 1 || !rule.canJoin(*node))
        {
            start(node);
            return;
        }
        const ObjectPtr<Node> control = node->getControlNode(0);
        const ControlPlaces::Place place = places.find(control.get());
        Bucket& bucket =
            buckets.try_emplace({node->material.get(), place.visibility, rule.variant(*node)}, places).first->second;
        const u32 found = find(bucket, *node, place.region);
        if (found != kNoGroup)
            groups[found].push_back(node);
        else
            startIn(bucket, node, place);
    }

    zr::vector<zr::vector<ObjectPtr<BaseRenderNode>>> groups;

private:
    using Key = std::tuple<const PropertiesSet*, const Node*, u32>;

    u32 start(const ObjectPtr<BaseRenderNode>& node)
    {
        groups.emplace_back().push_back(node);
        return static_cast<u32>(groups.size() - 1);
    }

    void startIn(Bucket& bucket, const ObjectPtr<BaseRenderNode>& node, const ControlPlaces::Place& place)
    {
        const u32 group = start(node);
        if (rule.isBillboardAlone() && place.isUnderBillboard) return;
        // What another group of this key would take, the first one takes.
        if (!keys.try_emplace(node.get(), group).second) return;
        bucket.all.push_back(group);
        if (rule.isPlain(*node))
            bucket.addPlain(place.region, group);
        else
            bucket.special.push_back(group);
    }

    u32 find(Bucket& bucket, const BaseRenderNode& node, u32 region)
    {
        if (!rule.isPlain(node)) return findIn(bucket.all, node, region, kNoGroup);
        // A key that comes again can't join itself, and what kept it from the others does so now.
        const u32 plain = keys.find(&node) == keys.end() ? bucket.findPlain(region) : kNoGroup;
        return findIn(bucket.special, node, region, plain);
    }

    /// The first of the groups in front of `best` whose key takes the node, `best` when there is none.
    u32 findIn(const zr::vector<u32>& candidates, const BaseRenderNode& node, u32 region, u32 best)
    {
        for (const u32 group : candidates)
        {
            if (group >= best) break;
            const BaseRenderNode& key = *groups[group].front();
            if (&key != &node && rule.agree(key, node) &&
                !places.meetAtLod(places.find(key.getControlNode(0).get()).region, region))
                return group;
        }
        return best;
    }

    const MergeRule& rule;
    ControlPlaces places;
    /// Ordered by addresses, which never show: the table is only looked up.
    std::map<Key, Bucket> buckets;
    phmap::flat_hash_map<const BaseNode*, u32> keys;
};
} // namespace

zr::vector<zr::vector<ObjectPtr<BaseRenderNode>>> groupNodes(const RootNode& root, u32 type, const MergeRule& rule)
{
    Grouper grouper(rule);
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (node && node->getType() == type) grouper.add(cast<BaseRenderNode>(node));
    return std::move(grouper.groups);
}
} // namespace model
