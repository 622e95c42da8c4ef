#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "base/ObjectRegistry.h"
#include "mesh/MeshUtils.h"
#include "utils/mesh/TwoSided.h"

using namespace test;

namespace
{
bool isWithin(const Vertices& vertices, u32 a, u32 b, u32 axis)
{
    const auto& [data, stride] = vertices.getAttribute(0);
    return std::abs(data[stride * a + axis] - data[stride * b + axis]) <= 0.0001f;
}

TEST(MeshUtils, DropTrianglesAndVerticesAsTheLiteralRulesDo)
{
    for (std::uint64_t seed = 1; seed <= 2000; ++seed)
    {
        Random random(seed);
        const u32 count = 1 + random.below(random.pick({8u, 150u}));
        Vertices vertices;
        vertices[0].stride = random.pick({3u, 4u, 5u});
        for (u32 i = 0; i < vertices[0].stride * count; ++i)
            vertices[0].data.push_back(random.pick({0.0f, 1.0f, 0.0001f, 0.00011f, -0.0001f}));
        Indices indices;
        for (u32 i = 1 + random.below(40); i-- > 0;)
            indices.indices.push_back(random.below(count));

        zr::vector<u32> kept;
        const zr::vector<u32>& list = indices.indices;
        for (std::size_t i = 0; i + 3 <= list.size(); i += 3)
        {
            const u32 a = list[i], b = list[i + 1], c = list[i + 2];
            u32 flat = a == b || b == c || c == a ? 2 : 0;
            for (u32 axis = 0; axis < 3; ++axis)
                flat += isWithin(vertices, a, b, axis) && isWithin(vertices, a, c, axis);
            if (flat < 2) kept.insert(kept.end(), {a, b, c});
        }
        const auto rest = static_cast<std::ptrdiff_t>(list.size() % 3); // what makes no whole triangle stays
        kept.insert(kept.end(), list.end() - rest, list.end());
        removeDegenerateTriangles(vertices, indices);
        ASSERT_EQ(kept, indices.indices) << "seed " << seed;

        const std::set<u32> used(kept.begin(), kept.end());
        EXPECT_EQ(uniqueSorted(indices), zr::vector<u32>(used.begin(), used.end()));
        for (u32& index : kept)
            index = static_cast<u32>(std::distance(used.begin(), used.find(index)));
        const Vertices extracted = extractVertices(indices, vertices);
        Indices compact = indices;
        compactIndices(compact);
        ASSERT_EQ(count - used.size(), removeUnusedVertices(vertices, indices)) << "seed " << seed;
        ASSERT_EQ(kept, compact.indices) << "seed " << seed;
        ASSERT_EQ(kept, indices.indices) << "seed " << seed;
        ASSERT_EQ(extracted.getAttribute(0).data, vertices[0].data) << "seed " << seed;
    }
}

TEST(ApplyMatrices, TurnsDirectionsAndLeavesMeshesWithoutVertices)
{
    matrixd mirror;
    mirror.m[0] = -2.0;
    Vertices vertices;
    vertices[0].stride = 4;
    for (const i32 semantic : {1, 2, 3, 22, 23, 24, 25})
        vertices[semantic] = {{3, 0, 4}, 3};
    vertices.applyMatrix(mirror.m, 0);
    vertices[0].data = {1, 1, 1, 0};
    vertices.applyMatrix(mirror.m, 0);
    EXPECT_EQ(vertices[0].data, (zr::vector<f32>{-2, 1, 1, 0}));
    EXPECT_EQ(vertices[22].data, (zr::vector<f32>{-6, 0, 4}));
    for (const i32 semantic : {1, 2, 3, 23, 24, 25})
        EXPECT_EQ(vertices[semantic].data, (zr::vector<f32>{-0.6f, 0, 0.8f})) << semantic;
}

TEST(TwoSided, BacksAreWoundTheOtherWayWithTurnedNormals)
{
    const auto node = create<RenderNode>();
    node->vertices[0] = {{0, 0, 0, 1, 0, 0, 0, 1, 0}, 3};
    node->vertices[1] = {{0, 0, 1, 0, 0, 1, 0, 0, 0.5f}, 3};
    node->indices.indices = {0, 1, 2, 2, 1, 0, 1};
    makeTwoSided(*node);
    EXPECT_EQ(node->indices.indices, (zr::vector<u32>{0, 1, 2, 2, 1, 0, 3, 5, 4, 5, 3, 4, 1}));
    EXPECT_EQ(node->vertices.getVertexCount(), 6u);
    EXPECT_EQ(node->vertices[1].data[17], -0.5f);
    node->indices.indices = {6, 7, 8};
    const std::string before = describe(node->vertices, node->indices);
    EXPECT_THROW(makeTwoSided(*node), std::out_of_range);
    EXPECT_EQ(before, describe(node->vertices, node->indices));
}
} // namespace
