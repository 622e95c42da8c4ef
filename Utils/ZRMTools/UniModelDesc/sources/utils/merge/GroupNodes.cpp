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

/// The groups of nodes with equal `MergeCandidate::shared`: others don't come into question.
struct Bucket
{
    explicit Bucket(const ControlPlaces& places) : regions(places) {}

    /// The keys that take others, with the numbers of their groups, in the order of their creation.
    zr::vector<std::pair<MergeCandidate, u32>> keys;
    KeyRegions regions;
};

class Grouper
{
public:
    /// arePlain  all candidates are, so that regions alone decide
    Grouper(const ControlPlaces& controlPlaces, bool arePlain) : places(controlPlaces), isByRegion(arePlain) {}

    void add(const MergeCandidate& candidate)
    {
        if (!candidate.canJoin)
        {
            start(candidate);
            return;
        }
        Bucket& bucket = buckets.try_emplace(candidate.shared, places).first->second;
        const u32 found = isByRegion ? findByRegion(bucket, candidate) : findByKeys(bucket, candidate);
        if (found != kNoGroup)
            groups[found].push_back(candidate.node);
        else if (candidate.canTake)
            addKey(bucket, candidate, start(candidate));
        else
            start(candidate);
    }

    zr::vector<Group<BaseRenderNode>> groups;

private:
    u32 start(const MergeCandidate& candidate)
    {
        groups.emplace_back().push_back(candidate.node);
        return static_cast<u32>(groups.size() - 1);
    }

    void addKey(Bucket& bucket, const MergeCandidate& key, u32 group)
    {
        if (!isByRegion)
            bucket.keys.emplace_back(key, group);
        else if (keyNodes.insert(key.node.get())
                     .second) // what a second group of a node would take, the first one takes
            bucket.regions.add(key.region, group);
    }

    u32 findByKeys(const Bucket& bucket, const MergeCandidate& candidate) const
    {
        for (const auto& [key, group] : bucket.keys)
            if (canMerge(key, candidate, places)) return group;
        return kNoGroup;
    }

    u32 findByRegion(Bucket& bucket, const MergeCandidate& candidate) const
    {
        // A key that comes again can't join itself, and what kept it from the others does so now.
        if (keyNodes.find(candidate.node.get()) != keyNodes.end()) return kNoGroup;
        return bucket.regions.find(candidate.region);
    }

    const ControlPlaces& places;
    const bool isByRegion;
    /// Ordered by addresses, which never show: the table is only looked up.
    std::map<MergeCandidate::Shared, Bucket> buckets;
    phmap::flat_hash_set<const BaseRenderNode*> keyNodes;
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
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (node && node->getType() == type) candidates.push_back(makeCandidate(cast<BaseRenderNode>(node), places));
    checkMaterials(candidates);

    const bool arePlain = std::all_of(candidates.begin(), candidates.end(),
                                      [](const MergeCandidate& candidate) { return candidate.isPlain(); });
    Grouper grouper(places, arePlain);
    for (const MergeCandidate& candidate : candidates)
        grouper.add(candidate);
    return std::move(grouper.groups);
}
} // namespace model
