#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "base/ObjectRegistry.h"
#include "nodes/ShellSkinNode.h"
#include "utils/Optimizers.h"
#include "utils/mesh/MeshOptimizers.h"

namespace test
{
namespace
{
std::string meshText(const Vertices& vertices, const Indices& indices)
{
    Describer describer;
    describer.mesh(vertices, indices);
    return describer.text();
}

Vertices makeVertices(Random& random, u32 count, u32 width)
{
    Vertices vertices;
    vertices[0].stride = width;
    for (u32 i = 0; i < count * width; ++i)
        vertices[0].data.push_back(random.pick({0.0f, 0.0f, 0.0f, -0.0f}));
    for (u32 i = 0; i < count && width > 1; ++i)
        vertices[0].data[i * width + 1] = static_cast<f32>(random.below(4));
    return vertices;
}

u32 plainRemap(Vertices& vertices, Indices& indices)
{
    const zr::vector<f32> packed = vertices.interleave();
    const std::size_t stride = vertices.getStride();
    std::map<std::string, u32> numbers;
    zr::vector<f32> kept;
    zr::vector<u32> list;
    for (const u32 index : indices.indices)
    {
        const f32* vertex = packed.data() + index * stride;
        const std::string bytes(reinterpret_cast<const char*>(vertex), stride * sizeof(f32));
        const auto [found, isNew] = numbers.emplace(bytes, static_cast<u32>(numbers.size()));
        if (isNew) kept.insert(kept.end(), vertex, vertex + stride);
        list.push_back(found->second);
    }
    const u32 before = vertices.getVertexCount();
    const u32 unique = static_cast<u32>(numbers.size());
    if (unique >= before) return 0;
    vertices.deinterleave(kept, unique);
    indices.indices = list;
    return before - unique;
}

TEST(RemapVertices, KeepsEachBytesOnceInTheOrderOfUse)
{
    for (std::uint64_t seed = 1; seed <= 3000; ++seed)
    {
        Random random(seed);
        const u32 count = 1 + random.below(20);
        // 64 floats are the most that the library compares.
        Vertices vertices = makeVertices(random, count, random.pick({1u, 3u, 4u, 64u, 65u, 80u}));
        Indices indices;
        for (unsigned i = 1 + random.below(40); i-- > 0;)
            indices.indices.push_back(random.below(count));
        Vertices expectedVertices = vertices;
        Indices expectedIndices = indices;
        const u32 expected = plainRemap(expectedVertices, expectedIndices);
        ASSERT_EQ(expected, remapVertices(vertices, indices)) << "seed " << seed;
        ASSERT_EQ(meshText(expectedVertices, expectedIndices), meshText(vertices, indices)) << "seed " << seed;
    }
}

struct BadMesh
{
    const char* name;
    u32 numVertices;
    zr::vector<u32> indices;
    bool canRemap;
};

const BadMesh kBadMeshes[] = {
    {"nothing", 0, {}, false},
    {"no indices", 3, {}, false},
    {"no vertices", 0, {0, 0, 0}, false},
    {"an index beyond the vertices", 3, {0, 1, 3}, false},
    {"the largest index", 3, {0, 1, 0xFFFFFFFFu}, false},
    {"one index", 3, {1}, true},
    {"a remainder", 3, {0, 1, 2, 0, 1}, true},
};

TEST(MeshPasses, LeaveWhatTheLibraryRefuses)
{
    for (const BadMesh& bad : kBadMeshes)
    {
        Vertices vertices;
        vertices[0].stride = 3;
        vertices[0].data.resize(3 * bad.numVertices);
        Indices indices;
        indices.indices = bad.indices;
        const std::string before = meshText(vertices, indices);
        EXPECT_FALSE(optimizeVertexCache(vertices, indices)) << bad.name;
        EXPECT_EQ(before, meshText(vertices, indices)) << bad.name;
        EXPECT_EQ(remapVertices(vertices, indices) != 0, bad.canRemap) << bad.name;
        EXPECT_EQ(before == meshText(vertices, indices), !bad.canRemap) << bad.name;
    }
}

using Triangle = std::array<u32, 3>;

std::vector<Triangle> trianglesOf(const Indices& indices)
{
    std::vector<Triangle> triangles;
    for (std::size_t i = 0; i + 3 <= indices.indices.size(); i += 3)
    {
        Triangle triangle{indices.indices[i], indices.indices[i + 1], indices.indices[i + 2]};
        std::rotate(triangle.begin(), std::min_element(triangle.begin(), triangle.end()), triangle.end());
        triangles.push_back(triangle);
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

TEST(OptimizeVertexCache, KeepsTheTrianglesAndAGoodOrder)
{
    Random random(1);
    constexpr u32 kSide = 40;
    Indices indices;
    for (u32 y = 0; y + 1 < kSide; ++y)
        for (u32 x = 0; x + 1 < kSide; ++x)
        {
            const u32 a = y * kSide + x;
            for (const u32 index : {a, a + 1, a + kSide, a + 1, a + kSide + 1, a + kSide})
                indices.indices.push_back(index);
        }
    for (std::size_t i = indices.indices.size() / 3; i-- > 1;)
        std::swap_ranges(indices.indices.begin() + static_cast<std::ptrdiff_t>(3 * i),
                         indices.indices.begin() + static_cast<std::ptrdiff_t>(3 * i + 3),
                         indices.indices.begin() + static_cast<std::ptrdiff_t>(3 * random.below(i)));
    Vertices vertices;
    vertices[0].stride = 3;
    vertices[0].data.resize(3 * kSide * kSide);

    const std::vector<Triangle> triangles = trianglesOf(indices);
    EXPECT_TRUE(optimizeVertexCache(vertices, indices));
    EXPECT_EQ(triangles, trianglesOf(indices));
    const zr::vector<u32> good = indices.indices;
    EXPECT_FALSE(optimizeVertexCache(vertices, indices)) << "no gain any more";
    EXPECT_EQ(good, indices.indices);
}

ObjectPtr<RenderNode> makeNode(std::initializer_list<f32> positions, std::initializer_list<u32> indices)
{
    const auto node = create<RenderNode>("model::RenderNode");
    node->vertices[0].stride = 3;
    node->vertices[0].data = positions;
    node->indices.indices = indices;
    return node;
}

TEST(ExtremlyOptimizeMeshes, RemovesWhatIsLeftEmpty)
{
    const auto root = create<RootNode>("model::RootNode");
    const auto whole = makeNode({0, 0, 0, 1, 0, 0, 0, 1, 0, 1e-6f, 0, 0}, {0, 1, 2, 3, 1, 2, 0, 3, 1});
    const auto flat = makeNode({0, 0, 0, 1, 0, 0, 2, 0, 0}, {0, 1, 2});
    root->addRenderNode(flat);
    root->addRenderNode(whole);
    const auto shell = create<ShellNode>("model::ShellNode");
    shell->vertices = whole->vertices;
    shell->indices = whole->indices;
    const auto emptied = create<ShellNode>("model::ShellNode");
    emptied->vertices = flat->vertices;
    emptied->indices = flat->indices;
    const auto skin = create<ShellSkinNode>("model::ShellSkinNode");
    skin->vertices = flat->vertices;
    skin->indices = flat->indices;
    for (const ObjectPtr<BaseNode>& node :
         {ObjectPtr<BaseNode>(emptied), ObjectPtr<BaseNode>(skin),
          ObjectPtr<BaseNode>(create<ShellSkinNode>("model::ShellSkinNode")), ObjectPtr<BaseNode>(shell)})
        root->addShellNode(node);

    EXPECT_EQ(extremlyOptimizeMeshes(root.get(), 1e-5f), (std::pair<u32, u32>(2, 4)));
    EXPECT_EQ(root->renderNodes, (RootNode::List{whole}));
    EXPECT_EQ(root->shellNodes, (RootNode::List{skin, shell}));
    EXPECT_EQ(whole->indices.indices, (zr::vector<u32>{0, 1, 2, 0, 1, 2}));
    EXPECT_EQ(shell->indices.indices, whole->indices.indices);
    EXPECT_EQ(skin->indices.indices.size(), 3u) << "left alone";
}

TEST(ExtremlyOptimizeMeshes, RefusesIndicesBeyondTheVertices)
{
    const auto root = create<RootNode>("model::RootNode");
    root->addRenderNode(makeNode({0, 0, 0}, {0, 1, 2}));
    EXPECT_THROW(extremlyOptimizeMeshes(root.get(), 1e-5f), std::out_of_range);
}
} // namespace
} // namespace test
