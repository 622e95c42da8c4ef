#include <cmath>

#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "ReferenceMaterials.h"
#include "base/ObjectRegistry.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
ObjectPtr<RenderNode> randomNode(Random& random)
{
    const auto node = create<RenderNode>("model::RenderNode");
    node->material = MaterialPtr(new PropertiesSet());
    const unsigned count = random.below(4);
    const unsigned sets = random.pick({2u, 4u, 16u});
    node->vertices[0].stride = 4;
    node->vertices[0].data.resize(4 * count);
    for (unsigned i = random.below(6); i-- > 0;)
    {
        Attribute& attribute = node->vertices[static_cast<i32>(4 + random.below(sets))];
        attribute.stride = random.pick({2u, 2u, 2u, 3u, 0u});
        attribute.data.clear();
        for (unsigned k = 0; k < attribute.stride * count; ++k)
            attribute.data.push_back(random.pick({0.0f, 0.0f, 0.0f, 0.0005f, 0.0011f, 1.0f}));
    }
    for (i32& channel : node->material->channels)
        if (random.chance(30)) channel = static_cast<i32>(random.below(sets));
    if (random.chance(3)) node->material->channels[random.below(13)] = random.pick({40, -7});
    return node;
}

TEST(OptimizeTextureChannels, DoesWhatThePlainVersionDoes)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        Random random(seed);
        Random again(seed);
        const auto root = create<RootNode>("model::RootNode");
        const auto expected = create<RootNode>("model::RootNode");
        const auto expectedNode = randomNode(random);
        expected->addRenderNode(expectedNode);
        root->addRenderNode(randomNode(again));
        u32 removed = 0;
        u32 expectedRemoved = 0;
        const std::string failure =
            failureOf([&] { expectedRemoved = reference::optimizeTextureChannels(*expectedNode); });
        ASSERT_EQ(failure, failureOf([&] { optimizeTextureChannels(root.get(), &removed); })) << "seed " << seed;
        ASSERT_EQ(expectedRemoved, removed) << "seed " << seed;
        ASSERT_EQ(describe(*expected), describe(*root)) << "seed " << seed;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 100);
}

TEST(OptimizeTextureChannels, GivesEachNodeAMaterialOfItsOwn)
{
    const auto root = create<RootNode>("model::RootNode");
    const MaterialPtr shared(new PropertiesSet());
    for (int i = 0; i < 2; ++i)
    {
        const auto node = create<RenderNode>("model::RenderNode");
        node->material = shared;
        root->addRenderNode(node);
    }
    u32 removed = 7;
    optimizeTextureChannels(root.get(), &removed);
    EXPECT_EQ(removed, 0u);
    EXPECT_EQ(root->getMaterials().size(), 2u);
}

struct NormalCase
{
    f32 normal[3];
    bool isReplaced;
};

TEST(FixZeroNormals, ReplacesShortOnesOfThreeFloats)
{
    const NormalCase cases[] = {
        {{0.009f, 0, 0}, true}, {{0.011f, 0, 0}, false}, {{0, 0, 0}, true}, {{NAN, 0, 0}, false}, {{-1, 0, 0}, false},
    };
    for (const NormalCase& c : cases)
        for (const u32 stride : {3u, 4u})
        {
            const auto root = create<RootNode>("model::RootNode");
            const auto node = create<RenderNode>("model::RenderNode");
            Attribute& normals = node->vertices[1];
            normals.stride = stride;
            normals.data.assign(c.normal, c.normal + 3);
            normals.data.resize(stride);
            root->addRenderNode(node);
            const bool isReplaced = c.isReplaced && stride == 3;
            EXPECT_EQ(fixZeroNormals(root.get()), isReplaced);
            EXPECT_EQ(normals.data[1] == 1.0f, isReplaced);
        }
}
} // namespace
} // namespace test
