#include <gtest/gtest.h>

#include "ReferenceMerge.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
TEST(MergeNodes, DoesWhatTheSearchThroughAllGroupsDoes)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const Scene expected = Scenes(About::kMerge, seed).make();
        const Scene actual = Scenes(About::kMerge, seed).make();
        const std::string before = expected.describe();
        const std::string failure = failureOf([&] { reference::mergeNodes(*expected.root); });
        ASSERT_EQ(failure, failureOf([&] { mergeNodes(actual.root.get()); })) << "seed " << seed << '\n' << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 50) << "the scenes are to bring about failures too";
}

/// In the merged mesh the index would mean a vertex of the other.
TEST(MergeNodes, RefusesAnIndexBeyondItsOwnMesh)
{
    for (const char* name : {"model::RenderNode", "model::NumberNode"})
        for (const std::size_t bad : {0u, 1u})
        {
            const auto root = create<RootNode>("model::RootNode");
            const MaterialPtr material(new PropertiesSet());
            material->setFormat(0, 4);
            material->setFormat(21, 1);
            for (std::size_t i = 0; i < 2; ++i)
            {
                const auto node = create<RenderNode>(name);
                node->material = material;
                node->vertices[0] = {{0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}, 4};
                node->vertices[21] = {{0, 0, 0}, 1};
                node->indices.indices = {0, 1, i == bad ? 3u : 2u};
                root->addRenderNode(node);
            }
            EXPECT_EQ(failureOf([&] { mergeNodes(root.get()); }), "raised Expected idx < size()") << name << bad;
        }
}
} // namespace
} // namespace test
