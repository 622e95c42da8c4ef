#include <gtest/gtest.h>

#include "Describe.h"
#include "base/ObjectRegistry.h"
#include "utils/mesh/DamageSplit.h"

using namespace test;

TEST(DamageSplit, PartsHoldTheTrianglesOfTheirArgumentInTheOrderOfTheHashList)
{
    const std::vector<u32> kOrder = {5, 42, 264, 79, 116, 153, 190, 227}; // 264 and 79 share a bucket
    const auto node = create<RenderNode>();
    node->material = MaterialPtr(new PropertiesSet());
    for (const i32 semantic : {20, 26})
    {
        node->material->setFormat(semantic, 1);
        node->vertices[semantic].stride = 1;
    }
    // COLOR0 says of each vertex which argument it has. A triangle of two arguments belongs to no part.
    for (u32 i = 0; i < 3 * 9; ++i)
    {
        const f32 argument = static_cast<f32>((i / 3 * 37 + 5) % 1000);
        node->vertices[20].data.push_back(argument);
        node->vertices[26].data.push_back(i == 3 * 8 ? 0.5f : argument);
        node->indices.indices.push_back(i);
    }
    const auto parts = splitRenderNodeByDamageArgument(node.get());
    std::vector<u32> order;
    for (const auto& entry : parts)
    {
        const auto part = cast<RenderNode>(entry);
        order.push_back(part->getArgument(0));
        EXPECT_EQ(part->vertices[20].data, zr::vector<f32>(3, static_cast<f32>(order.back())));
        EXPECT_EQ(part->indices.indices, (zr::vector<u32>{0, 1, 2}));
        EXPECT_FALSE(part->vertices.findAttribute(26));
    }
    EXPECT_EQ(order, kOrder);
    EXPECT_EQ(node->vertices.getVertexCount(), 3u * 9);
}
