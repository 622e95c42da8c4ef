#include <limits>
#include <map>
#include <set>

#include "Builders.h"
#include "Random.h"
#include "utils/mesh/TwoSided.h"

namespace model
{
namespace
{
constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();

TEST(Degenerate, TwoOfThreeAxesDecide)
{
    struct Row
    {
        const char* what;
        std::vector<std::array<f32, 3>> points;
        bool isDegenerate;
    };
    const Row kRows[] = {
        {"a right angle", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, false},
        {"same x and y", {{0, 0, 0}, {0, 0, 1}, {0, 0, 2}}, true},
        {"same x", {{0, 0, 0}, {0, 1, 0}, {0, 0, 1}}, false},
        {"exactly the tolerance", {{0, 0, 0}, {0.0001f, 0, 1}, {0, 0.0001f, 2}}, true},
        {"above the tolerance", {{0, 0, 0}, {0.00011f, 0, 1}, {0, 0, 2}}, false},
        {"b and c farther from each other", {{0, 0, 0}, {0.0001f, 0, 1}, {-0.0001f, 0, 2}}, true},
        {"a diagonal line", {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, false},
        {"NaN agrees with nothing", {{kNaN, kNaN, 0}, {kNaN, kNaN, 1}, {kNaN, kNaN, 2}}, false},
        {"equal infinities agree", {{kInfinity, 0, 0}, {kInfinity, 0, 1}, {kInfinity, 0, 2}}, true},
        {"opposite infinities don't", {{kInfinity, 0, 0}, {-kInfinity, 0, 1}, {kInfinity, 0, 2}}, false},
    };
    for (const Row& row : kRows)
        EXPECT_EQ(isDegenerateTriangle(0, 1, 2, points(row.points), kDegenerateEpsilon), row.isDegenerate) << row.what;
}

TEST(Degenerate, IndicesDecideBeforePositions)
{
    const Vertices one = points({{0, 0, 0}});
    EXPECT_TRUE(isDegenerateTriangle(9, 9, 1, one, kDegenerateEpsilon));
    EXPECT_TRUE(isDegenerateTriangle(9, 1, 1, one, kDegenerateEpsilon));
    EXPECT_TRUE(isDegenerateTriangle(9, 1, 9, one, kDegenerateEpsilon));
    EXPECT_FALSE(isDegenerateTriangle(7, 8, 9, Vertices(), kDegenerateEpsilon));
    EXPECT_THROW(isDegenerateTriangle(0, 1, 2, one, kDegenerateEpsilon), std::out_of_range);
}

TEST(Degenerate, RemovalEqualsErasingOneByOne)
{
    for (u64 seed = 0; seed < 200; ++seed)
    {
        test::Random random(seed);
        std::vector<std::array<f32, 3>> positions;
        for (u32 i = 0; i < 8; ++i)
            positions.push_back(
                {static_cast<f32>(random.below(2)), static_cast<f32>(random.below(2)), random.between(-1, 1)});
        const Vertices vertices = points(positions);
        Indices indices;
        for (u32 i = random.below(40); i > 0; --i)
            indices.indices.push_back(random.below(8));

        std::vector<u32> expected = listOf(indices.indices);
        u32 removed = 0;
        for (std::size_t i = 0; i + 3 <= expected.size();)
        {
            if (!isDegenerateTriangle(expected[i], expected[i + 1], expected[i + 2], vertices, kDegenerateEpsilon))
            {
                i += 3;
                continue;
            }
            const auto at = expected.begin() + static_cast<std::ptrdiff_t>(i);
            expected.erase(at, at + 3);
            ++removed;
        }
        EXPECT_EQ(removeDegenerateTriangles(vertices, indices), removed) << "seed " << seed;
        EXPECT_EQ(listOf(indices.indices), expected) << "seed " << seed;
    }
}

TEST(Degenerate, WhatRemovalLeavesAlone)
{
    const Vertices vertices = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    Indices strip = triangles({0, 0, 0});
    strip.primitiveType = 6;
    EXPECT_EQ(removeDegenerateTriangles(vertices, strip), 0u);
    EXPECT_EQ(strip.indices.size(), 3u);

    // The failure comes before the first triangle goes.
    Indices bad = triangles({0, 0, 0, 0, 1, 3});
    EXPECT_THROW(removeDegenerateTriangles(vertices, bad), std::out_of_range);
    EXPECT_EQ(bad.indices.size(), 6u);

    // What makes no whole triangle stays, and isn't followed.
    Indices rest = triangles({1, 1, 1, 0, 1, 2, 99, 99});
    EXPECT_EQ(removeDegenerateTriangles(vertices, rest), 1u);
    EXPECT_EQ(listOf(rest.indices), (std::vector<u32>{0, 1, 2, 99, 99}));
}

TEST(Unused, DropsAndRenumbersLikeTheLiteralRule)
{
    for (u64 seed = 0; seed < 200; ++seed)
    {
        test::Random random(seed);
        const u32 count = 1 + random.below(150);
        Vertices vertices;
        vertices[kPosition0].stride = 3;
        vertices[kColor0].stride = 1;
        for (u32 i = 0; i < count; ++i)
        {
            for (u32 k = 0; k < 3; ++k)
                vertices[kPosition0].data.push_back(random.between(-1, 1));
            vertices[kColor0].data.push_back(static_cast<f32>(i));
        }
        Indices indices;
        for (u32 i = random.below(100); i > 0; --i)
            indices.indices.push_back(random.below(count));

        const std::set<u32> used(indices.indices.begin(), indices.indices.end());
        std::vector<u32> expectedIndices = listOf(indices.indices);
        for (u32& index : expectedIndices)
            index = static_cast<u32>(std::distance(used.begin(), used.find(index)));
        std::vector<f32> expectedColors(used.begin(), used.end());

        EXPECT_EQ(removeUnusedVertices(vertices, indices), count - used.size()) << "seed " << seed;
        EXPECT_EQ(listOf(indices.indices), expectedIndices) << "seed " << seed;
        EXPECT_EQ(listOf(vertices[kColor0].data), expectedColors) << "seed " << seed;
        EXPECT_EQ(vertices[kPosition0].data.size(), used.size() * 3);
    }
}

TEST(Unused, FailuresChangeNothing)
{
    Vertices vertices = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    Indices beyond = triangles({2, 2, 3});
    EXPECT_THROW(removeUnusedVertices(vertices, beyond), std::out_of_range);
    EXPECT_EQ(vertices.getVertexCount(), 3u);

    // Nothing to drop: an attribute of a bad length is still there for the check at writing.
    vertices[kNormal0] = attribute(3, {0, 0, 1, 0});
    Indices all = triangles({0, 1, 2});
    EXPECT_EQ(removeUnusedVertices(vertices, all), 0u);
    EXPECT_EQ(vertices[kNormal0].data.size(), 4u);
    Indices some = triangles({2, 2, 2});
    EXPECT_EQ(raised([&] { removeUnusedVertices(vertices, some); }), "Vertex data is invalid.");
    EXPECT_EQ(some.indices[0], 2u);

    Vertices none;
    Indices kept = triangles({5, 6, 7});
    EXPECT_EQ(removeUnusedVertices(none, kept), 0u);
    EXPECT_EQ(listOf(kept.indices), (std::vector<u32>{5, 6, 7}));
}

TEST(Extract, SparseAndDenseIndicesGiveTheSame)
{
    Vertices vertices;
    vertices[kColor0].stride = 1;
    for (u32 i = 0; i < 70000; ++i)
        vertices[kColor0].data.push_back(static_cast<f32>(i));
    for (const u32 count : {3u, 30000u}) // by sorting and by a bit for each vertex
    {
        test::Random random(count);
        Indices indices;
        for (u32 i = 0; i < count; ++i)
            indices.indices.push_back(random.below(70000));
        const std::set<u32> used(indices.indices.begin(), indices.indices.end());
        EXPECT_EQ(listOf(uniqueSorted(indices)), std::vector<u32>(used.begin(), used.end()));

        const Vertices extracted = extractVertices(indices, vertices);
        const std::vector<u32> before = listOf(indices.indices);
        compactIndices(indices);
        ASSERT_EQ(extracted.getVertexCount(), used.size());
        for (std::size_t i = 0; i < before.size(); ++i)
            ASSERT_EQ(extracted.getAttribute(kColor0).data[indices.indices[i]], static_cast<f32>(before[i]));
    }
    EXPECT_THROW(extractVertices(triangles({0, 70000, 1}), vertices), std::out_of_range);
    EXPECT_EQ(extractVertices(Indices(), vertices).getVertexCount(), 0u);
}

TEST(Renumber, OnlyTheVerticesOfOneEntry)
{
    Vertices vertices;
    vertices[kPosition0] = attribute(4, {0, 0, 0, 0.4f, 0, 0, 0, 1, 0, 0, 0, -8});
    renumberVertices(vertices, 0, 7);
    EXPECT_EQ(listOf(vertices[kPosition0].data), (std::vector<f32>{0, 0, 0, 7, 0, 0, 0, 1, 0, 0, 0, -8}));

    Vertices narrow;
    narrow[kPosition0] = attribute(3, {0, 0, 0});
    renumberVertices(narrow, 0, 7);
    EXPECT_EQ(listOf(narrow[kPosition0].data), (std::vector<f32>{0, 0, 0}));

    Vertices none;
    renumberVertices(none, 0, 7);
    ASSERT_NE(none.findAttribute(kPosition0), nullptr);
    EXPECT_EQ(none[kPosition0].stride, 0u);
}

Vertices triangleWithNormals()
{
    Vertices vertices = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    vertices[kNormal0] = attribute(3, {0, 0, 1, 0, 0, 1, 0, 0, 0.5f});
    vertices[kTangent0] = attribute(3, {1, 0, 0, 1, 0, 0, 1, 0, 0});
    return vertices;
}

TEST(TwoSided, BacksAreWoundTheOtherWayWithTurnedNormals)
{
    const auto node = renderNode(triangleWithNormals(), triangles({0, 1, 2, 2, 1, 0}));
    makeTwoSided(*node);
    EXPECT_EQ(listOf(node->indices.indices), (std::vector<u32>{0, 1, 2, 2, 1, 0, 3, 5, 4, 5, 3, 4}));
    EXPECT_EQ(node->vertices.getVertexCount(), 6u);
    EXPECT_EQ(listOf(node->vertices[kNormal0].data),
              (std::vector<f32>{0, 0, 1, 0, 0, 1, 0, 0, 0.5f, 0, 0, -1, 0, 0, -1, 0, 0, -0.5f}));
    const zr::vector<f32>& tangents = node->vertices[kTangent0].data;
    EXPECT_TRUE(std::equal(tangents.begin(), tangents.begin() + 9, tangents.begin() + 9));

    makeTwoSided(*node);
    EXPECT_EQ(node->vertices.getVertexCount(), 12u);
    EXPECT_EQ(node->indices.indices.size(), 24u);
    EXPECT_EQ(node->vertices[kNormal0].data[6 * 3 + 2], -1);
}

TEST(TwoSided, FailuresAndOtherTypesChangeNothing)
{
    const auto strip = renderNode(triangleWithNormals(), triangles({0, 1, 2}));
    strip->indices.primitiveType = 6;
    makeTwoSided(*strip);
    EXPECT_EQ(strip->indices.indices.size(), 3u);

    const auto bare = renderNode(points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), triangles({0, 1, 2}));
    EXPECT_EQ(raised([&] { makeTwoSided(*bare); }), "Vertices don't have NORMAL0 attribute.");
    EXPECT_EQ(bare->indices.indices.size(), 3u);

    const auto uneven = renderNode(triangleWithNormals(), triangles({0, 1, 2}));
    uneven->vertices[kTangent0].data.pop_back();
    EXPECT_EQ(raised([&] { makeTwoSided(*uneven); }), "Vertex data is invalid.");
    EXPECT_EQ(uneven->indices.indices.size(), 3u);
    EXPECT_EQ(uneven->vertices.getVertexCount(), 3u);

    // Behind the doubling the index would mean a vertex of the back.
    const auto beyond = renderNode(triangleWithNormals(), triangles({0, 1, 3}));
    EXPECT_THROW(makeTwoSided(*beyond), std::out_of_range);
    EXPECT_EQ(beyond->vertices.getVertexCount(), 3u);
}

TEST(TwoSided, ARemainderStaysAtTheEnd)
{
    const auto node = renderNode(triangleWithNormals(), triangles({0, 1, 2, 1}));
    makeTwoSided(*node);
    EXPECT_EQ(listOf(node->indices.indices), (std::vector<u32>{0, 1, 2, 3, 5, 4, 1}));
}
} // namespace
} // namespace model
