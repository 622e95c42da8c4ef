#include <array>

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
    // COLOR0 numbers the vertices. Of each argument there are four, one unused, in two triangles that share an edge. A
    // triangle of two arguments belongs to no part.
    for (u32 i = 0; i < 4 * 9; ++i)
    {
        const f32 argument = static_cast<f32>((i / 4 * 37 + 5) % 1000);
        node->vertices[20].data.push_back(static_cast<f32>(i));
        node->vertices[26].data.push_back(i == 4 * 8 + 1 ? 0.5f : argument);
    }
    for (const std::array<u32, 3> corners : {std::array<u32, 3>{3, 1, 2}, {1, 3, 2}})
        for (u32 first = 0; first < 4 * 9; first += 4)
            for (const u32 corner : corners)
                node->indices.indices.push_back(first + corner);
    const auto parts = splitRenderNodeByDamageArgument(node.get());
    std::vector<u32> order;
    for (const auto& entry : parts)
    {
        const auto part = cast<RenderNode>(entry);
        order.push_back(part->getArgument(0));
        const auto first = static_cast<f32>((order.back() + 1000 - 5) % 1000 * 973 % 1000 * 4);
        EXPECT_EQ(part->vertices[20].data, (zr::vector<f32>{first + 1, first + 2, first + 3}));
        EXPECT_EQ(part->indices.indices, (zr::vector<u32>{2, 0, 1, 0, 2, 1}));
        EXPECT_FALSE(part->vertices.findAttribute(26));
    }
    EXPECT_EQ(order, kOrder);
    EXPECT_EQ(node->vertices.getVertexCount(), 4u * 9);
}
