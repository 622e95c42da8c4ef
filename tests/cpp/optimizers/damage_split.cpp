#include <limits>
#include <map>

#include "Builders.h"
#include "utils/mesh/DamageSplit.h"

namespace model
{
namespace
{
TEST(DamageSplit, ArgumentsFromFloats)
{
    const std::pair<f32, u32> kRows[] = {
        {0, 0},
        {41.9f, 41},
        {-0.9f, 0},
        {-1, 0xFFFFFFFF},
        {-2.5f, 0xFFFFFFFE},
        {3e9f, 3000000000u},
        {-3e9f, 0x80000000},
        {1e20f, 0xFFFFFFFF},
        {std::numeric_limits<f32>::infinity(), 0xFFFFFFFF},
        {-std::numeric_limits<f32>::infinity(), 0x80000000},
        {std::numeric_limits<f32>::quiet_NaN(), 0},
    };
    for (const auto& [value, argument] : kRows)
        EXPECT_EQ(argumentFromFloat(value), argument) << value;
}

/// One triangle for each argument, each with three vertices of its own; COLOR0 numbers the vertices.
ObjectPtr<RenderNode> meshOf(const std::vector<f32>& arguments)
{
    Vertices vertices;
    vertices[kPosition0].stride = 4;
    vertices[kColor0].stride = 1;
    vertices[kColor2].stride = 1;
    Indices indices;
    for (const f32 argument : arguments)
        for (int corner = 0; corner < 3; ++corner)
        {
            const u32 vertex = static_cast<u32>(indices.indices.size());
            indices.indices.push_back(vertex);
            for (int k = 0; k < 4; ++k)
                vertices[kPosition0].data.push_back(0.0f);
            vertices[kColor0].data.push_back(static_cast<f32>(vertex));
            vertices[kColor2].data.push_back(argument);
        }
    return renderNode(vertices, indices);
}

std::vector<u32> argumentsOf(const zr::vector<ObjectPtr<BaseRenderNode>>& parts)
{
    std::vector<u32> result;
    for (const auto& part : parts)
        result.push_back(part->getArgument(0));
    return result;
}

TEST(DamageSplit, OrderIsThatOfTheHashList)
{
    // Worked out by hand-written list and buckets; 70 keys pass two growths.
    const std::vector<u32> expected = {5,   42,  264, 151, 448, 79,  116, 338, 153, 190, 819, 227, 301, 40,
                                       375, 412, 560, 449, 486, 523, 3,   782, 597, 634, 225, 671, 78,  708,
                                       930, 745, 856, 41,  299, 893, 967, 4,   115, 152, 374, 189, 226, 263,
                                       300, 337, 411, 596, 485, 522, 559, 818, 633, 670, 707, 114, 744, 781,
                                       188, 855, 262, 77,  892, 929, 966, 336, 373, 410, 447, 484, 521, 558};
    std::vector<f32> arguments;
    for (u32 i = 0; i < 70; ++i)
        arguments.push_back(static_cast<f32>((i * 37 + 5) % 1000));
    EXPECT_EQ(argumentsOf(splitRenderNodeByDamageArgument(meshOf(arguments).get())), expected);
}

TEST(DamageSplit, PartsHoldTheTrianglesOfTheirArgument)
{
    const auto node = meshOf({7, 8, 7.9f, 9, 8});
    node->setName("whole");
    const auto control = transformNode();
    node->setControlNode(0, control);
    Attribute& arguments = node->vertices[kColor2];
    arguments.data[9] = 1; // the triangle of argument 9 is mixed now and belongs to no part
    const auto parts = splitRenderNodeByDamageArgument(node.get());
    ASSERT_EQ(parts.size(), 2u);

    std::map<u32, std::vector<f32>> corners;
    for (const auto& entry : parts)
    {
        const auto part = cast<RenderNode>(entry);
        EXPECT_EQ(part->getName(), "");
        EXPECT_EQ(part->getControlNode(0).get(), control.get());
        EXPECT_EQ(part->material, cast<RenderNode>(parts[0])->material);
        EXPECT_EQ(part->vertices.findAttribute(kColor2), nullptr);
        for (const u32 index : part->indices.indices)
            corners[part->getArgument(0)].push_back(part->vertices[kColor0].data[index]);
    }
    EXPECT_EQ(corners[7], (std::vector<f32>{0, 1, 2, 6, 7, 8}));
    EXPECT_EQ(corners[8], (std::vector<f32>{3, 4, 5, 12, 13, 14}));

    EXPECT_NE(cast<RenderNode>(parts[0])->material, node->material);
    EXPECT_EQ(node->material->vertexFormat[kColor2], 1);
    EXPECT_EQ(cast<RenderNode>(parts[0])->material->vertexFormat[kColor2], 0);
    EXPECT_EQ(node->vertices.getVertexCount(), 15u);
    EXPECT_EQ(node->indices.indices.size(), 15u);
}

TEST(DamageSplit, WhatGivesNoParts)
{
    const auto mixed = meshOf({1});
    mixed->vertices[kColor2].data[2] = 2;
    EXPECT_TRUE(splitRenderNodeByDamageArgument(mixed.get()).empty());

    const auto strip = meshOf({1});
    strip->indices.primitiveType = 1;
    EXPECT_TRUE(splitRenderNodeByDamageArgument(strip.get()).empty());

    const auto merged = meshOf({1});
    merged->parents.resize(2);
    EXPECT_TRUE(splitRenderNodeByDamageArgument(merged.get()).empty());
    EXPECT_TRUE(splitRenderNodeByDamageArgument(nullptr).empty());
}

TEST(DamageSplit, WrongDataFail)
{
    const auto missing = meshOf({1});
    missing->vertices.erase(kColor2);
    EXPECT_EQ(raised([&] { splitRenderNodeByDamageArgument(missing.get()); }), "Vertices don't have COLOR2 attribute.");

    const auto shorter = meshOf({1, 2});
    shorter->vertices[kColor2].data.resize(5);
    EXPECT_THROW(splitRenderNodeByDamageArgument(shorter.get()), std::out_of_range);

    const auto uneven = meshOf({1, 2});
    uneven->vertices[kColor0].data.resize(5);
    EXPECT_EQ(raised([&] { splitRenderNodeByDamageArgument(uneven.get()); }), "Vertex data is invalid.");
}
} // namespace
} // namespace model
