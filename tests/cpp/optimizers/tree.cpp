#include <gtest/gtest.h>

#include "ReferenceTree.h"
#include "TreeScenes.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    constexpr std::uint64_t kFirstSeed = 1;
    for (std::uint64_t seed = kFirstSeed; seed < kFirstSeed + 20000; ++seed)
    {
        const TreeScene expected = TreeScenes(seed).make();
        const TreeScene actual = TreeScenes(seed).make();
        const std::string before = actual.describe();
        const std::string expectedFailure = failureOf([&] { reference::Tree(*expected.root).optimize(); });
        const std::string failure = failureOf([&] { optimizeTransformations(actual.root.get()); });
        ASSERT_EQ(expectedFailure, failure) << "seed " << seed << '\n' << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        ASSERT_EQ(fileOf(*expected.root), fileOf(*actual.root)) << "seed " << seed;
    }
}
} // namespace
} // namespace test
