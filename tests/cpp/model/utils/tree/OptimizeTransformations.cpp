#include "ReferenceTree.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

using namespace test;

TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    const auto make = [](std::uint64_t seed) { return Scenes(About::kTree, seed).make(); };
    compare(make, [](RootNode& root) { reference::Tree(root).optimize(); }, optimizeTransformations, 10);
}
