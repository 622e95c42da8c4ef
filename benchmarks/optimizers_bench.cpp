// What the passes of a save cost: the weld as a ratio to a library's exact remap of the same vertices, the tree and
// material passes as the ratio of ten times the work.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <meshoptimizer.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/RenderNode.h"
#include "support/measure.h"
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

// ---------------------------------------------------------------------------------------------------- vertices

constexpr f32 kTolerance = 1e-5f;
constexpr u32 kFloats = 9; // position with an index, normal, texture coordinate

struct Mesh
{
    Vertices vertices;
    Indices indices;
};

/// An unwelded mesh: each of `numDistinct` vertices comes up about count / numDistinct times, once where these are
/// equal, moved by up to `jitter`.
struct MeshCase
{
    const char* name;
    u32 count;
    u32 numDistinct;
    f32 jitter;
    bool isAtOnePoint;
    double aim;
};

Mesh makeMesh(const MeshCase& c)
{
    Random random;
    std::vector<f32> distinct;
    for (u32 i = 0; i < c.numDistinct; ++i)
        for (u32 k = 0; k < kFloats; ++k)
        {
            const f32 value = 10.0f * random.unit();
            distinct.push_back(k == 3 ? 0.0f : c.isAtOnePoint && k < 3 ? 1.0f : value);
        }
    zr::vector<f32> packed;
    for (u32 i = 0; i < c.count; ++i)
    {
        const std::size_t number = c.numDistinct == c.count ? i : random.below(c.numDistinct);
        const f32* vertex = &distinct[number * kFloats];
        for (u32 k = 0; k < kFloats; ++k)
            packed.push_back(k == 3 || c.jitter == 0.0f ? vertex[k] : vertex[k] + c.jitter * random.unit());
    }
    Mesh mesh;
    mesh.vertices[0].stride = 4;
    mesh.vertices[1].stride = 3;
    mesh.vertices[4].stride = 2;
    mesh.vertices.deinterleave(packed, c.count);
    for (u32 i = 0; i < c.count / 3 * 3; ++i)
        mesh.indices.indices.push_back(i);
    return mesh;
}

const MeshCase kMeshCases[] = {
    {"duplicates", 1'000'000, 200'000, 0.0f, false, 1.0},
    {"near-duplicates", 1'000'000, 200'000, 0.4e-5f, false, 1.0},
    {"no duplicates", 1'000'000, 1'000'000, 0.0f, false, 1.0},
    {"one position", 100'000, 100'000, 0.0f, true, 3.0},
};

std::size_t remap(const Mesh& mesh, const zr::vector<f32>& packed)
{
    std::vector<u32> table(mesh.vertices.getVertexCount());
    return meshopt_generateVertexRemap(table.data(), mesh.indices.indices.data(), mesh.indices.indices.size(),
                                       packed.data(), table.size(), kFloats * sizeof(f32));
}

void reportWeld(const MeshCase& c)
{
    const Mesh mesh = makeMesh(c);
    const zr::vector<f32> packed = mesh.vertices.interleave();
    Mesh copy;
    std::size_t kept = 0;
    double whole = 1e9;
    double peer = 1e9;
    for (int round = 0; round < 7; ++round)
    {
        copy = mesh;
        whole = std::min(whole, bench::secondsOf([&] { weldVertices(copy.vertices, copy.indices, kTolerance); }));
        peer = std::min(peer, bench::secondsOf([&] { kept = remap(mesh, packed); }));
    }
    bench::row(fmt::format("weld, {}", c.name), whole / peer, c.aim,
               fmt::format("the exact remap ({:.1f} ns a vertex, {} of {} vertices kept, the remap {})",
                           1e9 * whole / c.count, copy.vertices.getVertexCount(), c.count, kept));
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
    {"nodes, wide, transforms",
     [](std::size_t n) { return makeTree(n, [](std::size_t) { return 0; }, kTransform, kAlways); }},
    {"nodes, deep, transforms",
     [](std::size_t n) { return makeTree(n, kBefore, kTransform, [n](std::size_t i) { return i == n; }); }},
    {"nodes, deep, unused",
     [](std::size_t n) { return makeTree(n, kBefore, kTransform, [](std::size_t) { return false; }); }},
    {"nodes, deep, plain nodes",
     [](std::size_t n) { return makeTree(n, kBefore, [](std::size_t) { return std::size_t{0}; }, kAlways); }},
    {"nodes, deep, transform and visibility by turns",
     [](std::size_t n)
     {
         return makeTree(
             n, kBefore, [](std::size_t i) { return i % 2 ? std::size_t{3} : std::size_t{1}; },
             [n](std::size_t i) { return i == n; });
     }},
    {"nodes, deep, one transform above visibility",
     [](std::size_t n)
     {
         return makeTree(
             n, kBefore, [](std::size_t i) { return i == 1 ? std::size_t{3} : std::size_t{1}; },
             [n](std::size_t i) { return i == n; });
     }},
    {"nodes, deep, transform and animation by turns",
     [](std::size_t n) { return makeTree(n, kBefore, [](std::size_t i) { return 2 + i % 2; }, kAlways); }},
    {"nodes, random, all kinds",
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

double bestOf(const TreeCase& c, const Pass& pass, std::size_t count)
{
    double best = 1e9;
    for (int round = 0; round < 3; ++round)
    {
        const ObjectPtr<RootNode> root = c.make(count);
        best = std::min(best, bench::secondsOf([&] { pass(root.get()); }));
    }
    return best;
}

void reportGrowth(const TreeCase& c, const Pass& pass, std::size_t count)
{
    const double small = bestOf(c, pass, count);
    const double large = bestOf(c, pass, 10 * count);
    bench::row(fmt::format("{} {}", fmt::group_digits(10 * count), c.name), large / small, 12.0,
               fmt::format("the time of a tenth ({:.2f} ms -> {:.2f} ms)", 1e3 * small, 1e3 * large));
}
} // namespace

int main()
{
    std::printf("Welding against meshopt_generateVertexRemap of the same vertices\n");
    for (const MeshCase& c : kMeshCases)
        reportWeld(c);
    std::printf("\nThe tree pass, ten times the nodes\n");
    for (const TreeCase& c : kTreeCases)
        reportGrowth(c, kTreePass, 10'000);
    std::printf("\nMaterial passes and merging, ten times the materials\n");
    for (const TreeCase& c : kMaterialCases)
        reportGrowth(c, kMaterialPasses, 1'000);
}
