#include <algorithm>
#include <array>
#include <cmath>
#include <latch>
#include <map>
#include <thread>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <meshoptimizer.h>

#include "Builders.h"
#include "Describe.h"
#include "Random.h"
#include "utils/Optimizers.h"
#include "utils/RemoveEmpty.h"
#include "utils/mesh/MeshTasks.h"
#include <zr/checked.h>

using namespace test;

namespace
{
constexpr f32 kTolerance = 1e-5f;

/// The library does it for up to 64 floats, and we for more.
TEST(RemapVertices, GivesEqualBytesOneNumberInTheOrderOfFirstUse)
{
    for (std::uint64_t seed = 1; seed <= 1000; ++seed)
    {
        Random random(seed);
        const u32 count = 1 + random.below(20);
        const u32 width = random.pick({4u, 65u});
        Vertices vertices;
        vertices[0] = {zr::vector<f32>(width * count), width};
        for (u32 i = 0; i < 4 * count; ++i)
            vertices[0].data[i / 4 * width + i % 4] = random.chance(80) ? 0.0f : random.pick({-0.0f, 1.0f});
        Indices indices;
        for (unsigned i = 3 + 3 * random.below(14); i-- > 0;)
            indices.indices.push_back(random.below(count));

        Vertices kept = vertices.withoutData();
        Indices renumbered;
        std::map<std::string, u32> numbers;
        for (const u32 index : indices.indices)
        {
            const f32* vertex = &vertices[0].data[width * index];
            const std::string bytes(reinterpret_cast<const char*>(vertex), width * sizeof(f32));
            const auto [found, isNew] = numbers.try_emplace(bytes, static_cast<u32>(numbers.size()));
            if (isNew) kept[0].data.insert(kept[0].data.end(), vertex, vertex + width);
            renumbered.indices.push_back(found->second);
        }
        const u32 removed = count - static_cast<u32>(numbers.size());
        const std::string expected = removed ? describe(kept, renumbered) : describe(vertices, indices);
        ASSERT_EQ(removed, remapVertices(vertices, indices)) << "seed " << seed;
        ASSERT_EQ(expected, describe(vertices, indices)) << "seed " << seed;
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
        TriangleOrders orders;
        EXPECT_FALSE(optimizeVertexCache(vertices, indices, orders));
        EXPECT_EQ(remapVertices(vertices, indices), 0u);
        EXPECT_EQ(indices.indices, list);
    }
}

/// Both fans would gain as much; around the larger one's hub the search for an order would take time by the square.
TEST(OptimizeVertexCache, KeepsTheOrderAroundAVertexOfTooManyTriangles)
{
    for (const u32 numTriangles : {200u, 16'500u})
    {
        Indices fan;
        for (u32 i = 0; i < numTriangles; ++i)
        {
            const u32 corner = 1 + i * 77 % numTriangles; // no two that follow each other share more than the hub
            fan.indices.insert(fan.indices.end(), {0, corner, corner + 1});
        }
        const zr::vector<u32> before = fan.indices;
        Vertices vertices;
        vertices[0] = {zr::vector<f32>(3 * (numTriangles + 2)), 3};
        const bool isKept = numTriangles > 16'384;
        TriangleOrders orders;
        EXPECT_NE(optimizeVertexCache(vertices, fan, orders), isKept);
        EXPECT_EQ(fan.indices == before, isKept);
    }
}

/// By one call of the library for the whole list. Returns which measures gained.
std::array<bool, 2> expectLibraryOrder(const zr::vector<u32>& list, u32 count, TriangleOrders& orders)
{
    const auto measure = [count](const zr::vector<u32>& order)
    { return meshopt_analyzeVertexCache(order.data(), order.size(), count, 16, 0, 0); };
    zr::vector<u32> order(list.size());
    meshopt_optimizeVertexCache(order.data(), list.data(), list.size(), count);
    const auto before = measure(list);
    const auto after = measure(order);
    const std::array<bool, 2> gains{before.acmr - after.acmr > 0.01f, before.atvr - after.atvr > 0.1f};
    const bool isTaken = gains[0] || gains[1];
    Vertices vertices;
    vertices[0] = {zr::vector<f32>(3 * count), 3};
    Indices indices;
    indices.indices = list;
    EXPECT_EQ(optimizeVertexCache(vertices, indices, orders), isTaken);
    EXPECT_TRUE(indices.indices == (isTaken ? order : list));
    return gains;
}

/// Slightly disturbed good orders gain around one threshold on a grid, and around the other where few vertices have
/// many triangles.
TEST(OptimizeVertexCache, TakesWhatGainsByEitherMeasure)
{
    constexpr u32 kSide = 24;
    int counts[2][2] = {};
    TriangleOrders orders;
    for (std::uint64_t seed = 1; seed <= 400; ++seed)
    {
        SCOPED_TRACE(seed);
        Random random(seed);
        const u32 count = random.pick({kSide * kSide, 20u});
        zr::vector<u32> list;
        for (u32 a = 0; a + kSide < count; ++a)
            if (a % kSide != kSide - 1) list.insert(list.end(), {a, a + 1, a + kSide, a + 1, a + kSide + 1, a + kSide});
        for (u32 a = random.below(count); list.size() < 3 * 1000; a = (a + 1) % count)
            list.insert(list.end(), {a, (a + 1 + random.below(9)) % count, (a + 10 + random.below(9)) % count});
        zr::vector<u32> disturbed(list.size());
        meshopt_optimizeVertexCache(disturbed.data(), list.data(), list.size(), count);
        for (unsigned i = random.below(12); i-- > 0;)
            std::swap_ranges(&disturbed[3 * i], &disturbed[3 * i + 3], &disturbed[30 + 99 * i]);
        const auto [gainsByTriangle, gainsByVertex] = expectLibraryOrder(disturbed, count, orders);
        ++counts[gainsByTriangle][gainsByVertex];
    }
    EXPECT_TRUE(counts[0][0] && counts[0][1] && counts[1][0]) << "the scenes are to bring about all answers";
}

/// Triangles of `count` vertices anywhere in a mesh, some degenerate, of pieces that now and then hang together.
zr::vector<u32> randomPiece(Random& random)
{
    const bool isLong = random.chance(1);
    const std::size_t numTriangles =
        isLong ? TriangleOrders::kMaxLength / 3 - 5 + random.below(10) : 1 + random.below(random.pick({1u, 2u, 30u}));
    const u32 count = 1 + random.below(numTriangles + 2);
    zr::vector<u32> piece;
    for (std::size_t i = 0; i < 3 * numTriangles; ++i)
        piece.push_back((static_cast<u32>(i / 6) + random.below(8)) % count);
    return piece;
}

/// Pieces of few kinds, so that they repeat, in their order or mixed, over vertices in any order that leave gaps.
TEST(OptimizeVertexCache, OrdersPiecesAsOneCallOrdersThemAll)
{
    TriangleOrders orders;
    for (std::uint64_t seed = 1; seed <= 1500; ++seed)
    {
        SCOPED_TRACE(seed);
        Random random(seed);
        std::vector<zr::vector<u32>> kinds;
        for (unsigned i = 1 + random.below(4); i-- > 0;)
            kinds.push_back(randomPiece(random));
        const unsigned numPieces = 1 + random.below(12);
        const bool isDescending = random.chance(50);
        zr::vector<u32> list;
        u32 count = 0;
        for (unsigned i = 0; i < numPieces; ++i)
        {
            const zr::vector<u32>& kind = kinds[random.below(kinds.size())];
            for (const u32 index : kind)
                list.push_back(count + index);
            count += *std::max_element(kind.begin(), kind.end()) + 1 + random.below(3);
            if (random.chance(10)) list.back() = random.below(count);
            for (unsigned swaps = i > 0 && random.chance(10) ? random.below(4) : 0; swaps-- > 0;)
                std::swap_ranges(&list[0], &list[3], &list[3 + 3 * random.below(list.size() / 3 - 1)]);
        }
        if (isDescending)
            for (u32& index : list)
                index = count - 1 - index;
        expectLibraryOrder(list, count, orders);
        ASSERT_FALSE(HasFailure());
    }
}

/// As the blocks of a script fill a mesh.
void shareArrays(Vertices& vertices)
{
    const Vertices plain = std::exchange(vertices, {});
    for (const auto& [semantic, attribute] : plain.getAttributes())
        vertices.share(semantic, attribute.stride, attribute.stride, attribute.data);
}

/// What a script can make of a mesh, in few places: all kinds of vertices that agree, degenerate triangles, vertices of
/// no triangle, and now and then attributes or indices that don't go together.
void fill(Vertices& vertices, Indices& indices, Random& random)
{
    vertices[0].stride = random.pick({3u, 4u, 4u});
    if (random.chance(50)) vertices[1].stride = 3;
    const u32 count = random.below(random.pick({2u, 9u, 40u, 200u}));
    for (auto& [semantic, attribute] : vertices.getAttributes())
        for (u32 i = 0; i < count * attribute.stride; ++i)
            attribute.data.push_back(random.chance(1) ? NAN
                                                      : static_cast<f32>(random.below(2)) +
                                                            static_cast<f32>(random.below(4)) * 0.4e-5f);
    for (unsigned i = count ? random.below(8) : 0; i-- > 0;)
        for (auto& [semantic, attribute] : vertices.getAttributes())
            std::copy_n(&attribute.data[0], attribute.stride, &attribute.data[random.below(count) * attribute.stride]);
    if (count && random.chance(5)) vertices.getAttributes().rbegin()->second.data.pop_back();
    if (random.chance(5)) vertices.erase(0);
    if (vertices.isConsistent() && random.chance(33))
        vertices.pack();
    else if (vertices.isConsistent() && random.chance(50))
        shareArrays(vertices);

    const unsigned numIndices = 3 * random.below(2 * count + 1) + (random.chance(5) ? 2 : 0);
    for (unsigned i = 0; i < numIndices; ++i)
        indices.indices.push_back(count ? random.below(count) : 0);
    if (numIndices && random.chance(5)) indices.indices[random.below(numIndices)] = count + random.below(2);
    if (random.chance(5)) indices.primitiveType = random.pick({0u, 1u, 3u});
}

ObjectPtr<RootNode> randomMeshes(std::uint64_t seed)
{
    Random random(seed);
    const auto root = create<RootNode>();
    const BaseMeshRenderNode* last = nullptr;
    for (unsigned i = 1 + random.below(12); i-- > 0;)
    {
        const auto render = create<BaseRenderNode>(
            random.pick({"model::RenderNode", "model::NumberNode", "model::SkinNode", "model::FakeOmniLightsNode"}));
        const auto shell =
            create<BaseShellNode>(random.pick({"model::ShellNode", "model::ShellSkinNode", "model::SegmentsNode"}));
        if (auto* mesh = render->asMesh())
        {
            fill(mesh->vertices, mesh->indices, random);
            if (last && random.chance(20)) mesh->vertices = last->vertices; // the same arrays, where they are shared
            last = mesh;
        }
        if (auto* mesh = dynamic_cast<MeshShellNode*>(shell.get())) fill(mesh->vertices, mesh->indices, random);
        root->renderNodes.push_back(render);
        root->shellNodes.push_back(shell);
        if (random.chance(10)) root->renderNodes.push_back(root->renderNodes.front());
        if (random.chance(10)) root->shellNodes.push_back(root->shellNodes.front());
    }
    return root;
}

/// Vertices and triangles cleaned away, vertices that repeated others, meshes that got a new order.
using Counts = std::array<u32, 4>;

void add(const Counts& some, Counts& sums)
{
    for (std::size_t i = 0; i < some.size(); ++i)
        sums[i] += some[i];
}

void clean(const MeshTask& task, Counts& counts)
{
    for (u32 i = 0; i < task.times; ++i)
    {
        const auto [vertices, triangles] = cleanMesh(task, kTolerance);
        counts[0] += vertices;
        counts[1] += triangles;
    }
}

void remap(const MeshTask& task, Counts& counts)
{
    for (u32 i = 0; i < task.times; ++i)
        counts[2] += remapVertices(*task.vertices, *task.indices);
}

void reorder(const MeshTask& task, Counts& counts)
{
    TriangleOrders orders;
    for (u32 i = 0; i < task.times; ++i)
        counts[3] += optimizeVertexCache(*task.vertices, *task.indices, orders);
}

/// The passes without tasks: walks over a list in which a mesh raises when its turn comes. It brings nothing along from
/// the pass before, so meshes stand as attributes.
Counts runLiterally(RootNode& root)
{
    Counts counts{};
    const auto forEachMesh = [&counts](const RootNode::List& list, auto work)
    {
        const auto workOn = [&counts, work](auto* mesh)
        {
            if (!mesh) return;
            mesh->vertices.getAttributes();
            work({&mesh->vertices, &mesh->indices}, counts);
        };
        for (const ObjectPtr<BaseNode>& node : list)
        {
            workOn(dynamic_cast<BaseMeshRenderNode*>(node.get()));
            workOn(dynamic_cast<ShellNode*>(node.get()));
        }
    };
    forEachMesh(root.renderNodes, clean);
    removeEmptyRenderNodes(&root);
    forEachMesh(root.shellNodes, clean);
    removeEmptyShellNodes(&root);
    for (const auto work : {remap, reorder})
        for (const RootNode::List* list : {&root.renderNodes, &root.shellNodes})
            forEachMesh(*list, work);
    return counts;
}

Counts runPasses(RootNode& root)
{
    const auto [vertices, triangles] = extremlyOptimizeMeshes(&root, kTolerance);
    const u32 repeats = remapMeshes(&root);
    const bool isReordered = optimizeVertexCache(&root);
    return {vertices, triangles, repeats, isReordered};
}

/// In shuffled order, on threads that nothing but their begin and end brings into an order.
template <class Work>
void workAtOnce(MeshTasks tasks, Random& random, Counts& counts, Work work)
{
    constexpr std::size_t kNumThreads = 4;
    for (std::size_t i = tasks.size(); i > 1; --i)
        std::swap(tasks[i - 1], tasks[random.below(i)]);
    std::array<Counts, kNumThreads> parts{};
    std::latch start(kNumThreads);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kNumThreads; ++thread)
        threads.emplace_back(
            [&, thread]
            {
                start.arrive_and_wait();
                for (std::size_t i = thread; i < tasks.size(); i += kNumThreads)
                    work(tasks[i], parts[thread]);
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const Counts& part : parts)
        add(part, counts);
}

/// Meshes of both lists at the same time. What concerns a list, and the exception, comes when they are done.
Counts runAtOnce(RootNode& root, Random& random)
{
    Counts counts{};
    MeshTasks tasks = renderMeshTasks(root);
    MeshTasks shells = shellMeshTasks(root);
    const std::size_t numSound = countSound(tasks);
    const std::size_t numShellsSound = countSound(shells);
    const bool areSound = numSound == tasks.size();
    const bool areShellsSound = numShellsSound == shells.size();
    if (!areShellsSound) shells = shellMeshTasks(root, shells[numShellsSound].place);
    if (areSound)
        tasks.insert(tasks.end(), shells.begin(), shells.end());
    else
        tasks = renderMeshTasks(root, tasks[numSound].place);
    workAtOnce(tasks, random, counts, clean);
    if (!areSound) zr::raiseBadIndex();
    removeEmptyRenderNodes(&root);
    if (!areShellsSound) zr::raiseBadIndex();
    removeEmptyShellNodes(&root);

    tasks = renderMeshTasks(root);
    shells = shellMeshTasks(root);
    tasks.insert(tasks.end(), shells.begin(), shells.end());
    workAtOnce(tasks, random, counts,
               [](const MeshTask& task, Counts& part)
               {
                   remap(task, part);
                   reorder(task, part);
               });
    return counts;
}

/// What a run brought about: an exception's text or counts, and every float and index of the model.
template <class Run>
std::string outcomeOf(std::uint64_t seed, Run run)
{
    const auto root = randomMeshes(seed);
    std::string counted;
    const std::string failure = raised(
        [&]
        {
            const auto [vertices, triangles, repeats, reordered] = run(*root);
            counted = fmt::format("{} {} {} {} ", vertices, triangles, repeats, reordered != 0);
        });
    return failure + counted + describe(*root);
}

TEST(MeshTasks, MayBeDoneInAnyOrderAndAtOnce)
{
    Counts sums{};
    const auto literally = [&sums](RootNode& root)
    {
        const Counts counts = runLiterally(root);
        add(counts, sums);
        return counts;
    };
    Random order(1);
    const auto atOnce = [&order](RootNode& root) { return runAtOnce(root, order); };
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 500; ++seed)
    {
        const std::string expected = outcomeOf(seed, literally);
        failures += expected.starts_with("Expected idx");
        ASSERT_TRUE(expected == outcomeOf(seed, runPasses)) << "seed " << seed;
        ASSERT_TRUE(expected == outcomeOf(seed, atOnce)) << "seed " << seed;
    }
    EXPECT_GT(failures, 100);
    for (const u32 sum : sums)
        EXPECT_GT(sum, 100u);
}
} // namespace
