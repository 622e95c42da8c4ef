#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "Builders.h"
#include "Describe.h"
#include "base/ObjectRegistry.h"
#include "utils/Optimizers.h"

using namespace test;

namespace
{
using Sets = std::map<i32, f32>; // the value of each coordinate set

struct ChannelCase
{
    Sets before;
    std::vector<i32> channels;
    Sets after;
    std::vector<i32> newChannels;
    u32 repeats = 0;
    std::string failure = "";
};

const ChannelCase kChannelCases[] = {
    {{}, {}, {}, {}},
    {{{1, 10}, {3, 30}}, {3, 3, -1, 1}, {{0, 30}, {1, 10}}, {0, 0, -1, 1}},
    {{{0, 10}, {1, 20}}, {1, 0}, {{0, 20}, {1, 10}}, {0, 1}},
    {{{0, 10}, {5, 20}}, {5}, {{0, 20}}, {0}},
    {{{0, 1}, {2, 1.0005f}, {4, 1.0015f}}, {4, 2, 0}, {{0, 1.0015f}, {1, 1}}, {0, 1, 1}, 1},
    {{{15, 1}}, {15}, {{0, 1}}, {0}},
    {{{0, 1}}, {0, 2}, {}, {}, 0, "Empty texture channel"},
    {{{0, 1}}, {0, -1, -1, -1, -1, -1, -1, -1, 2}, {{0, 1}}, {0, -1, -1, -1, -1, -1, -1, -1, 1}},
    {{{0, 1}}, {0, 40}, {}, {}, 0, "zr::array: index out of range"},
};

TEST(OptimizeTextureChannels, DropsAndRenumbers)
{
    for (const ChannelCase& c : kChannelCases)
    {
        const auto root = create<RootNode>();
        const MaterialPtr shared(new PropertiesSet());
        for (std::size_t i = 0; i < c.channels.size(); ++i)
            shared->channels[i] = c.channels[i];
        const auto node = create<RenderNode>();
        node->material = shared;
        for (const auto& [set, value] : c.before)
            node->vertices[4 + set] = {{value, 7}, 2};
        root->addRenderNode(node);
        u32 repeats = 9;
        EXPECT_EQ(raised([&] { optimizeTextureChannels(root.get(), &repeats); }), c.failure);
        if (!c.failure.empty()) continue;
        EXPECT_EQ(repeats, c.repeats);
        EXPECT_NE(node->material, shared) << "the table of this one node changes";
        EXPECT_TRUE(node->vertices.matchesFormat(node->material->vertexFormat));
        Sets after;
        for (auto& [semantic, attribute] : node->vertices.getAttributes())
            if (attribute.stride != 0) after[semantic - 4] = attribute.data.at(0);
        EXPECT_EQ(after, c.after);
        for (std::size_t i = 0; i < c.newChannels.size(); ++i)
            EXPECT_EQ(node->material->channels[i], c.newChannels[i]) << i;
    }
}

TEST(FixZeroNormals, ReplacesShortOnesOfThreeFloats)
{
    const std::pair<f32, bool> kCases[] = {{0.009f, true}, {0.011f, false}, {0.0f, true}, {NAN, false}, {-1.0f, false}};
    for (const auto& [x, isShort] : kCases)
        for (const u32 stride : {3u, 4u})
        {
            const auto root = create<RootNode>();
            const auto node = create<RenderNode>();
            node->vertices[1] = {{x, 0, 0}, stride};
            node->vertices[1].data.resize(stride);
            root->addRenderNode(node);
            EXPECT_EQ(fixZeroNormals(root.get()), isShort && stride == 3);
            EXPECT_EQ(node->vertices[1].data[1] == 1.0f, isShort && stride == 3);
        }
}
} // namespace
