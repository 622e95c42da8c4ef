#include <gtest/gtest.h>

#include "ReferenceTree.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const Scene expected = Scenes(About::kTree, seed).make();
        const Scene actual = Scenes(About::kTree, seed).make();
        const std::string before = actual.describe();
        const std::string failure = failureOf([&] { reference::Tree(*expected.root).optimize(); });
        ASSERT_EQ(failure, failureOf([&] { optimizeTransformations(actual.root.get()); })) << "seed " << seed << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 10) << "the scenes are to bring about failures too";
}
} // namespace
} // namespace test
