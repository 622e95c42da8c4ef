#include "ReferenceMerge.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

using namespace test;

TEST(MergeNodes, DoesWhatTheSearchThroughAllGroupsDoes)
{
    const auto make = [](std::uint64_t seed) { return Scenes(About::kMerge, seed).make(); };
    compare(make, reference::mergeNodes, mergeNodes, 50);
}
