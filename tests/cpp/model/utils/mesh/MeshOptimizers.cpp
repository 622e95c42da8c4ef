#include <algorithm>

#include <gtest/gtest.h>
#include <meshoptimizer.h>

#include "Describe.h"
#include "Random.h"
#include "base/ObjectRegistry.h"
#include "nodes/ShellSkinNode.h"
#include "utils/Optimizers.h"
#include "utils/mesh/MeshTasks.h"

using namespace test;

namespace
{
Vertices padded(const Vertices& vertices, u32 width)
{
    Vertices wide;
    wide[0] = {zr::vector<f32>(vertices.getVertexCount() * width), width};
    for (std::size_t i = 0; i < vertices.getAttribute(0).data.size(); ++i)
        wide[0].data[i / 4 * width + i % 4] = vertices.getAttribute(0).data[i];
    return wide;
}

/// The library compares up to 64 floats; wider vertices are to come out in the same way.
TEST(RemapVertices, DoesForWideVerticesWhatTheLibraryDoes)
{
    for (std::uint64_t seed = 1; seed <= 1000; ++seed)
    {
        Random random(seed);
        const u32 count = 1 + random.below(20);
        Vertices vertices;
        vertices[0].stride = 4;
        for (u32 i = 0; i < 4 * count; ++i)
            vertices[0].data.push_back(random.chance(80) ? 0.0f : random.pick({-0.0f, 1.0f}));
        Indices indices;
        for (unsigned i = 3 + 3 * random.below(14); i-- > 0;)
            indices.indices.push_back(random.below(count));
        Vertices wide = padded(vertices, 65);
        Indices wideIndices = indices;
        const u32 removed = remapVertices(vertices, indices);
        ASSERT_EQ(removed, remapVertices(wide, wideIndices)) << "seed " << seed;
        ASSERT_EQ(describe(padded(vertices, 65), indices), describe(wide, wideIndices)) << "seed " << seed;
    }
}

TEST(MeshPasses, LeaveWhatTheLibraryRefuses)
{
    const std::pair<u32, zr::vector<u32>> kBadMeshes[] = {
        {0, {}}, {3, {}}, {0, {0, 0, 0}}, {3, {0, 1, 3}}, {3, {0, 1, 0xFFFFFFFFu}}};
    for (const auto& [count, list] : kBadMeshes)
    {
        Vertices vertices;
        vertices[0].stride = 3;
        vertices[0].data.resize(3 * count);
        Indices indices;
        indices.indices = list;
        EXPECT_FALSE(optimizeVertexCache(vertices, indices));
        EXPECT_EQ(remapVertices(vertices, indices), 0u);
        EXPECT_EQ(indices.indices, list);
    }
}

/// Slightly disturbed good orders gain around one threshold on a grid, and around the other where few vertices have
/// many triangles.
TEST(OptimizeVertexCache, TakesWhatGainsByEitherMeasure)
{
    constexpr u32 kSide = 24;
    int counts[2][2] = {};
    for (std::uint64_t seed = 1; seed <= 400; ++seed)
    {
        Random random(seed);
        const u32 count = random.pick({kSide * kSide, 20u});
        zr::vector<u32> list;
        for (u32 a = 0; a + kSide < count; ++a)
            if (a % kSide != kSide - 1) list.insert(list.end(), {a, a + 1, a + kSide, a + 1, a + kSide + 1, a + kSide});
        for (u32 a = random.below(count); list.size() < 3 * 1000; a = (a + 1) % count)
            list.insert(list.end(), {a, (a + 1 + random.below(9)) % count, (a + 10 + random.below(9)) % count});
        Indices indices;
        indices.indices.resize(list.size());
        meshopt_optimizeVertexCache(indices.indices.data(), list.data(), list.size(), count);
        for (unsigned i = random.below(12); i-- > 0;)
            std::swap_ranges(&indices.indices[3 * i], &indices.indices[3 * i + 3], &indices.indices[30 + 99 * i]);
        const auto measure = [count](const zr::vector<u32>& order)
        { return meshopt_analyzeVertexCache(order.data(), order.size(), count, 16, 0, 0); };
        meshopt_optimizeVertexCache(list.data(), indices.indices.data(), list.size(), count);
        const auto before = measure(indices.indices);
        const auto after = measure(list);
        const bool gainsByTriangle = before.acmr - after.acmr > 0.01f;
        const bool gainsByVertex = before.atvr - after.atvr > 0.1f;
        ++counts[gainsByTriangle][gainsByVertex];
        const bool isTaken = gainsByTriangle || gainsByVertex;
        const zr::vector<u32> expected = isTaken ? list : indices.indices;
        Vertices vertices;
        vertices[0] = {zr::vector<f32>(3 * count), 3};
        EXPECT_EQ(optimizeVertexCache(vertices, indices), isTaken) << "seed " << seed;
        EXPECT_EQ(indices.indices, expected) << "seed " << seed;
    }
    EXPECT_TRUE(counts[0][0] && counts[0][1] && counts[1][0]) << "the scenes are to bring about all answers";
}

TEST(ExtremlyOptimizeMeshes, WeldsAtTheToleranceAndRemovesWhatIsLeftEmpty)
{
    const auto root = create<RootNode>();
    const auto skin = create<ShellSkinNode>();
    for (const bool isFlat : {true, false})
    {
        const auto node = create<RenderNode>();
        const auto shell = create<ShellNode>();
        node->vertices[0] = {{0, 0, 0, 1, 0, 0, 0, isFlat ? 0.0f : 1.0f, 0, 1e-5f, 0, 0}, 3};
        node->indices.indices = {0, 1, 2, 3, 1, 2, 0, 3, 1};
        shell->vertices = skin->vertices = node->vertices;
        shell->indices = skin->indices = node->indices;
        root->renderNodes.push_back(node);
        root->shellNodes.push_back(shell);
    }
    root->shellNodes.push_back(create<ShellSkinNode>());
    root->shellNodes.push_back(skin);
    const RootNode::List expected{root->shellNodes[1], skin};
    EXPECT_EQ(extremlyOptimizeMeshes(root.get(), 1e-5f), (std::pair<u32, u32>(6, 8)));
    ASSERT_EQ(root->renderNodes.size(), 1u);
    EXPECT_EQ(root->shellNodes, expected);
    EXPECT_EQ(static_cast<RenderNode&>(*root->renderNodes[0]).indices.indices, (zr::vector<u32>{0, 1, 2, 0, 1, 2}));
    EXPECT_EQ(skin->indices.indices.size(), 9u) << "left alone";
}
} // namespace
