#include "utils/merge/GroupNodes.h"

#include <algorithm>
#include <map>

#include <parallel_hashmap/phmap.h>

#include "utils/merge/KeyRegions.h"
#include "utils/merge/MergeRule.h"
#include <zr/exceptions.h>

namespace model
{
namespace
{
using Candidates = zr::vector<MergeCandidate>;

/// What plain nodes have to have in common besides their place among levels of detail.
using BucketKey = std::pair<MergeCandidate::Shared, const Node*>;

class Grouper
{
public:
    /// arePlain  all candidates are, so that regions alone decide
    Grouper(const ControlPlaces& controlPlaces, bool arePlain) : places(controlPlaces), isByRegion(arePlain) {}

    void add(const MergeCandidate& candidate)
    {
        if (candidate.alone != kNumRefusals)
            start(candidate);
        else if (isByRegion)
            addPlain(candidate);
        else if (const u32 found = findByKeys(candidate); found != kNoGroup)
            groups[found].push_back(candidate.node);
        else
            keys.emplace_back(candidate, start(candidate));
    }

    zr::vector<Group<BaseRenderNode>> groups;

private:
    u32 start(const MergeCandidate& candidate)
    {
        groups.emplace_back().push_back(candidate.node);
        return static_cast<u32>(groups.size() - 1);
    }

    u32 findByKeys(const MergeCandidate& candidate)
    {
        for (const auto& [key, group] : keys)
            if (canMerge(key, candidate, stats)) return group;
        return kNoGroup;
    }

    void addPlain(const MergeCandidate& candidate)
    {
        KeyRegions& regions = buckets.try_emplace({candidate.shared, candidate.visibility}, places).first->second;
        // A key that comes again can't join itself, and what kept it from the others does so now.
        const bool isKey = keyNodes.contains(candidate.node.get());
        const u32 found = isKey ? kNoGroup : regions.find(candidate.region);
        if (found != kNoGroup)
        {
            groups[found].push_back(candidate.node);
            return;
        }
        const u32 group = start(candidate);
        if (!candidate.canTake || isKey) return; // what a second group of a node would take, the first one takes
        keyNodes.insert(candidate.node.get());
        regions.add(candidate.region, group);
    }

    const ControlPlaces& places;
    const bool isByRegion;
    /// By region. Ordered by addresses, which never show: the table is only looked up.
    std::map<BucketKey, KeyRegions> buckets;
    phmap::flat_hash_set<const BaseRenderNode*> keyNodes;
    /// One by one: the first nodes of groups, with the numbers of these, and why they refused others.
    zr::vector<std::pair<MergeCandidate, u32>> keys;
    MergeStats stats{};
};

/// Two render nodes without a material are an error, wherever they hang.
void checkMaterials(const Candidates& candidates)
{
    const BaseRenderNode* without = nullptr;
    for (const MergeCandidate& candidate : candidates)
    {
        const BaseRenderNode& node = *candidate.node;
        if (node.getType() != kRenderNode || node.material || node.getNumControlNodes() != 1) continue;
        if (without && without != &node) ZR_RAISE("Material of render node isn't set.");
        without = &node;
    }
}
} // namespace

zr::vector<Group<BaseRenderNode>> groupNodes(const RootNode& root, u32 type)
{
    ControlPlaces places;
    Candidates candidates;
    candidates.reserve(root.renderNodes.size());
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (node->getType() == type)
            candidates.push_back(makeCandidate(ObjectPtr<BaseRenderNode>(node->asRenderNode()), places));
    checkMaterials(candidates);

    const bool arePlain = std::all_of(candidates.begin(), candidates.end(),
                                      [](const MergeCandidate& candidate) { return candidate.isPlain(); });
    Grouper grouper(places, arePlain);
    for (const MergeCandidate& candidate : candidates)
        grouper.add(candidate);
    return std::move(grouper.groups);
}
} // namespace model
