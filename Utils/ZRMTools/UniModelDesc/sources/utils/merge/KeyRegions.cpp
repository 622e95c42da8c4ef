#include "utils/merge/KeyRegions.h"

namespace model
{
u32 KeyRegions::find(u32 region)
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
    return firstGroup;
}

void KeyRegions::add(u32 region, u32 group)
{
    if (firstGroup == kNoGroup) firstGroup = group;
    for (u32 at = region; at != kNoRegion && firstBelow.try_emplace(at, group).second; at = places.region(at).parent)
    {
    }
}
} // namespace model
