// What the passes of a save cost: the weld as a ratio to the library's exact remap of the same vertices, the tree and
// material passes as the ratio of ten times the work, and the share of each pass in one city. A table of ratios follows
// what Google Benchmark prints.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <meshoptimizer.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/RenderNode.h"
#include "utils/Optimizers.h"
#include "utils/mesh/Weld.h"

namespace
{
using namespace model;

/// The same numbers everywhere (splitmix64).
class Random
{
public:
    std::uint64_t next()
    {
        std::uint64_t z = state += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    std::size_t below(std::size_t count) { return static_cast<std::size_t>(next() % count); }
    f32 unit() { return static_cast<f32>(static_cast<double>(next() >> 11) * 0x1p-53); }

private:
    std::uint64_t state = 1;
};

/// Of the processor, so that what else runs on the machine counts little.
double secondsOf(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// ---------------------------------------------------------------------------------------------------- vertices

constexpr f32 kTolerance = 1e-5f;
constexpr u32 kFloats = 9; // position with an index, normal, texture coordinate

struct Mesh
{
    Vertices vertices;
    Indices indices;
};

/// An unwelded mesh: each of `numDistinct` vertices comes up about count / numDistinct times, moved by up to `jitter`.
Mesh makeMesh(u32 count, u32 numDistinct, f32 jitter, bool isAtOnePoint)
{
    Random random;
    std::vector<f32> distinct;
    for (u32 i = 0; i < numDistinct; ++i)
        for (u32 k = 0; k < kFloats; ++k)
        {
            const f32 value = 10.0f * random.unit();
            distinct.push_back(k == 3 ? 0.0f : isAtOnePoint && k < 3 ? 1.0f : value);
        }
    zr::vector<f32> packed;
    for (u32 i = 0; i < count; ++i)
    {
        const f32* vertex = &distinct[random.below(numDistinct) * kFloats];
        for (u32 k = 0; k < kFloats; ++k)
            packed.push_back(k == 3 || jitter == 0.0f ? vertex[k] : vertex[k] + jitter * random.unit());
    }
    Mesh mesh;
    mesh.vertices[0].stride = 4;
    mesh.vertices[1].stride = 3;
    mesh.vertices[4].stride = 2;
    mesh.vertices.deinterleave(packed, count);
    for (u32 i = 0; i < count / 3 * 3; ++i)
        mesh.indices.indices.push_back(i);
    return mesh;
}

struct MeshCase
{
    const char* name;
    u32 count;
    u32 numDistinct;
    f32 jitter;
    bool isAtOnePoint;
};

const MeshCase kMeshCases[] = {
    {"duplicates", 1'000'000, 200'000, 0.0f, false},
    {"near-duplicates", 1'000'000, 200'000, 0.4e-5f, false},
    {"no duplicates", 1'000'000, 1'000'000, 0.0f, false},
    {"one position", 100'000, 100'000, 0.0f, true},
};

std::size_t remap(const Mesh& mesh, const zr::vector<f32>& packed)
{
    std::vector<u32> table(mesh.vertices.getVertexCount());
    return meshopt_generateVertexRemap(table.data(), mesh.indices.indices.data(), mesh.indices.indices.size(),
                                       packed.data(), table.size(), kFloats * sizeof(f32));
}

void weld(benchmark::State& state, const MeshCase& c)
{
    const Mesh mesh = makeMesh(c.count, c.numDistinct, c.jitter, c.isAtOnePoint);
    for (auto _ : state)
    {
        state.PauseTiming();
        Mesh copy = mesh;
        state.ResumeTiming();
        benchmark::DoNotOptimize(weldVertices(copy.vertices, copy.indices, kTolerance));
    }
}

void printWeldRatios()
{
    std::printf("\nweldVertices against meshopt_generateVertexRemap of the same vertices, best of 7 by turns\n");
    for (const MeshCase& c : kMeshCases)
    {
        const Mesh mesh = makeMesh(c.count, c.numDistinct, c.jitter, c.isAtOnePoint);
        const zr::vector<f32> packed = mesh.vertices.interleave();
        double whole = 1e9;
        double pairs = 1e9;
        double peer = 1e9;
        u32 removed = 0;
        for (int round = 0; round < 7; ++round)
        {
            Mesh copy = mesh;
            whole =
                std::min(whole, secondsOf([&] { removed = weldVertices(copy.vertices, copy.indices, kTolerance); }));
            pairs = std::min(
                pairs,
                secondsOf(
                    [&] { benchmark::DoNotOptimize(findWeldTargets({packed.data(), c.count, kFloats}, kTolerance)); }));
            peer = std::min(peer, secondsOf([&] { benchmark::DoNotOptimize(remap(mesh, packed)); }));
        }
        std::printf("  %-16s %8u vertices, %8u removed: %6.1f ns a vertex, %5.2f times the peer; pairs alone %5.2f\n",
                    c.name, c.count, removed, 1e9 * whole / c.count, whole / peer, pairs / peer);
    }
}

// --------------------------------------------------------------------------------------------------------- tree

matrixd offset(f64 x)
{
    matrixd m;
    m.m[0] = 1.0 + 1.0 / 1024.0;
    m.m[12] = x;
    return m;
}

ObjectPtr<Node> makeTreeNode(std::size_t kind)
{
    if (kind == 0) return create<Node>("model::Node");
    if (kind == 1)
    {
        const auto node = create<ArgVisibilityNode>("model::ArgVisibilityNode");
        node->arguments = {{1, {{0.0, 1.0}}}};
        return node;
    }
    if (kind == 2)
    {
        const auto node = create<ArgAnimationNode>("model::ArgAnimationNode");
        node->positionChannels = {{1, {{0.0, {}}}}};
        return node;
    }
    const auto node = create<TransformNode>("model::TransformNode");
    node->setMatrix(offset(static_cast<f64>(kind)));
    return node;
}

ObjectPtr<RenderNode> makeRenderNode(const ObjectPtr<Node>& control)
{
    const auto node = create<RenderNode>("model::RenderNode");
    node->material = MaterialPtr(new PropertiesSet());
    node->vertices[0].stride = 4;
    node->vertices[0].data.assign({0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0});
    node->indices.indices = {0, 1, 2};
    node->setControlNode(0, control);
    return node;
}

/// `parentOf` gives the parent's number of node i, `kindOf` its class, `isUsed` whether a mesh hangs on it.
ObjectPtr<RootNode> makeTree(std::size_t count, const std::function<std::size_t(std::size_t)>& parentOf,
                             const std::function<std::size_t(std::size_t)>& kindOf,
                             const std::function<bool(std::size_t)>& isUsed)
{
    const auto root = create<RootNode>("model::RootNode");
    std::vector<ObjectPtr<Node>> nodes{create<Node>("model::Node")};
    for (std::size_t i = 1; i <= count; ++i)
    {
        nodes.push_back(makeTreeNode(kindOf(i)));
        nodes[parentOf(i)]->insert(nodes.back(), nullptr);
        if (isUsed(i)) root->addRenderNode(makeRenderNode(nodes.back()));
    }
    root->setRootTransform(nodes.front());
    return root;
}

struct TreeCase
{
    const char* name;
    std::function<ObjectPtr<RootNode>(std::size_t)> make;
};

const auto kAlways = [](std::size_t) { return true; };
const auto kBefore = [](std::size_t i) { return i - 1; };
const auto kTransform = [](std::size_t) { return std::size_t{3}; };

const TreeCase kTreeCases[] = {
    {"wide, transforms", [](std::size_t n) { return makeTree(n, [](std::size_t) { return 0; }, kTransform, kAlways); }},
    {"deep, transforms",
     [](std::size_t n) { return makeTree(n, kBefore, kTransform, [n](std::size_t i) { return i == n; }); }},
    {"deep, unused", [](std::size_t n) { return makeTree(n, kBefore, kTransform, [](std::size_t) { return false; }); }},
    {"deep, plain nodes",
     [](std::size_t n) { return makeTree(n, kBefore, [](std::size_t) { return std::size_t{0}; }, kAlways); }},
    {"deep, transform and visibility by turns",
     [](std::size_t n)
     {
         return makeTree(
             n, kBefore, [](std::size_t i) { return i % 2 ? std::size_t{3} : std::size_t{1}; },
             [n](std::size_t i) { return i == n; });
     }},
    {"deep, one transform above visibility",
     [](std::size_t n)
     {
         return makeTree(
             n, kBefore, [](std::size_t i) { return i == 1 ? std::size_t{3} : std::size_t{1}; },
             [n](std::size_t i) { return i == n; });
     }},
    {"deep, transform and animation by turns",
     [](std::size_t n) { return makeTree(n, kBefore, [](std::size_t i) { return 2 + i % 2; }, kAlways); }},
    {"random, all kinds",
     [](std::size_t n)
     {
         Random random;
         return makeTree(
             n, [&](std::size_t i) { return random.below(i); }, [&](std::size_t) { return random.below(6); },
             [&](std::size_t) { return random.below(2) == 0; });
     }},
};

// ---------------------------------------------------------------------------------------------------- materials

/// As many materials as nodes; `copies` of each distinct one.
ObjectPtr<RootNode> makeMaterials(std::size_t count, std::size_t copies, bool differByValue)
{
    const auto root = create<RootNode>("model::RootNode");
    const auto top = create<Node>("model::Node");
    root->setRootTransform(top);
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto node = makeRenderNode(top);
        const std::size_t number = i / copies;
        node->material->setFormat(0, 4);
        const auto property = create<FloatProperty>("model::Property<float>");
        property->setName("opacityValue");
        property->setValue(differByValue ? static_cast<f32>(number) : 1.0f);
        node->material->properties.push_back(property);
        if (!differByValue) node->material->setTexture(0, ("texture" + std::to_string(number)).c_str());
        root->addRenderNode(node);
    }
    return root;
}

const TreeCase kMaterialCases[] = {
    {"materials, all different by a value", [](std::size_t n) { return makeMaterials(n, 1, true); }},
    {"materials, all different by a texture", [](std::size_t n) { return makeMaterials(n, 1, false); }},
    {"materials, ten copies of each", [](std::size_t n) { return makeMaterials(n, 10, true); }},
};

using Pass = std::function<void(RootNode*)>;

const Pass kTreePass = [](RootNode* root) { optimizeTransformations(root); };
const Pass kMaterialPasses = [](RootNode* root)
{
    u32 removed = 0;
    mergeEqualPropertiesSets(root);
    optimizeTextureChannels(root, &removed);
    mergeNodes(root);
};

void runPass(benchmark::State& state, const TreeCase& c, const Pass& pass)
{
    for (auto _ : state)
    {
        state.PauseTiming();
        ObjectPtr<RootNode> root = c.make(static_cast<std::size_t>(state.range(0)));
        state.ResumeTiming();
        pass(root.get());
        state.PauseTiming();
        root.release();
        state.ResumeTiming();
    }
}

double bestOf(const TreeCase& c, const Pass& pass, std::size_t count, int rounds)
{
    double best = 1e9;
    for (int round = 0; round < rounds; ++round)
    {
        const ObjectPtr<RootNode> root = c.make(count);
        best = std::min(best, secondsOf([&] { pass(root.get()); }));
    }
    return best;
}

void printGrowth(const TreeCase& c, const Pass& pass, const std::vector<std::size_t>& counts)
{
    std::printf("  %-42s", c.name);
    double before = 0.0;
    for (const std::size_t count : counts)
    {
        const double seconds = bestOf(c, pass, count, 3);
        std::printf(" %7zu: %8.2f ms", count, 1e3 * seconds);
        if (before > 0.0) std::printf(" (%5.1f times)", seconds / before);
        before = seconds;
    }
    std::printf("\n");
}

// --------------------------------------------------------------------------------------------------------- city

/// 2,000 parts, 40 materials of which most are copies, 1,500,000 unwelded vertices.
ObjectPtr<RootNode> makeCity()
{
    constexpr u32 kParts = 2000;
    constexpr u32 kVertices = 750;
    const auto root = create<RootNode>("model::RootNode");
    const auto top = create<Node>("model::Node");
    root->setRootTransform(top);
    std::vector<MaterialPtr> materials;
    for (int i = 0; i < 40; ++i)
    {
        materials.emplace_back(new PropertiesSet());
        materials.back()->setTexture(0, ("wall" + std::to_string(i % 8)).c_str());
        materials.back()->setFormat(0, 4);
        materials.back()->setFormat(1, 3);
        materials.back()->setFormat(4, 2);
        materials.back()->setChannel(0, 0);
    }
    for (u32 part = 0; part < kParts; ++part)
    {
        const auto place = create<TransformNode>("model::TransformNode");
        place->setMatrix(offset(part));
        top->insert(place, nullptr);
        const auto node = create<RenderNode>("model::RenderNode");
        Mesh mesh = makeMesh(kVertices, kVertices / 4, 0.0f, false);
        node->material = materials[part % materials.size()];
        node->vertices = std::move(mesh.vertices);
        node->indices = std::move(mesh.indices);
        node->setControlNode(0, place);
        root->addRenderNode(node);
    }
    return root;
}

void printShares()
{
    struct Step
    {
        const char* name;
        Pass pass;
        double seconds = 1e9;
    };
    std::vector<Step> steps = {
        {"fixZeroNormals", [](RootNode* root) { fixZeroNormals(root); }},
        {"optimizeTransformations", [](RootNode* root) { optimizeTransformations(root); }},
        {"mergeEqualPropertiesSets", [](RootNode* root) { mergeEqualPropertiesSets(root); }},
        {"optimizeTextureChannels",
         [](RootNode* root)
         {
             u32 removed = 0;
             optimizeTextureChannels(root, &removed);
         }},
        {"mergeNodes", [](RootNode* root) { mergeNodes(root); }},
        {"extremlyOptimizeMeshes", [](RootNode* root) { extremlyOptimizeMeshes(root, kTolerance); }},
        {"remapMeshes", [](RootNode* root) { remapMeshes(root); }},
        {"optimizeVertexCache", [](RootNode* root) { optimizeVertexCache(root); }},
    };
    for (int round = 0; round < 3; ++round)
    {
        const auto root = makeCity();
        for (Step& step : steps)
            step.seconds = std::min(step.seconds, secondsOf([&] { step.pass(root.get()); }));
    }
    double sum = 0.0;
    for (const Step& step : steps)
        sum += step.seconds;
    std::printf("\nShare of each pass in a city of 2,000 parts and 1,500,000 vertices, %.1f ms together\n", 1e3 * sum);
    for (const Step& step : steps)
        std::printf("  %-26s %7.1f ms %5.1f %%\n", step.name, 1e3 * step.seconds, 100.0 * step.seconds / sum);
}

void registerAll()
{
    for (const MeshCase& c : kMeshCases)
        benchmark::RegisterBenchmark((std::string("weld/") + c.name).c_str(),
                                     [&c](benchmark::State& state) { weld(state, c); })
            ->Unit(benchmark::kMillisecond);
    for (const TreeCase& c : kTreeCases)
        benchmark::RegisterBenchmark((std::string("tree/") + c.name).c_str(),
                                     [&c](benchmark::State& state) { runPass(state, c, kTreePass); })
            ->Arg(10'000)
            ->Unit(benchmark::kMillisecond);
    for (const TreeCase& c : kMaterialCases)
        benchmark::RegisterBenchmark(c.name, [&c](benchmark::State& state) { runPass(state, c, kMaterialPasses); })
            ->Arg(1'000)
            ->Unit(benchmark::kMillisecond);
}
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    printWeldRatios();
    std::printf("\nTree passes, best of 3, and the ratio for ten times the nodes\n");
    for (const TreeCase& c : kTreeCases)
        printGrowth(c, kTreePass, {1'000, 10'000, 100'000});
    std::printf("\nMaterial passes and merging, best of 3, and the ratio for ten times the materials\n");
    for (const TreeCase& c : kMaterialCases)
        printGrowth(c, kMaterialPasses, {100, 1'000, 10'000});
    printShares();
    return 0;
}
