#include "utils/tree/CandidateOrder.h"

#include <algorithm>
#include <utility>

namespace model::utils
{
void sortByWalk(zr::vector<u32>& candidates, const ShadowTree& tree, u32 round)
{
    if (candidates.size() < 2) return;
    const std::size_t count = candidates.size();
    candidates.clear();
    for (u32 node = tree.top; node != kNoNode && candidates.size() < count; node = tree.following(node))
        if (tree[node].round == round) candidates.push_back(node);
}

void sortByParents(zr::vector<u32>& candidates, ShadowTree& tree, u32 round)
{
    if (candidates.size() < 2) return;
    zr::vector<u32> sorted;
    sorted.reserve(candidates.size());
    for (const u32 candidate : candidates)
    {
        // The way up to the first that isn't waiting, put down from its end.
        const std::size_t first = sorted.size();
        for (u32 node = candidate; node != kNoNode && tree[node].round == round; node = tree[node].parent)
        {
            tree[node].round = 0;
            sorted.push_back(node);
        }
        std::reverse(sorted.begin() + static_cast<std::ptrdiff_t>(first), sorted.end());
    }
    candidates = std::move(sorted);
}
} // namespace model::utils
