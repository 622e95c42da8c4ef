#include "utils/mesh/MeshOptimizers.h"

#include <algorithm>

#include <meshoptimizer.h>

#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include "nodes/ShellNode.h"
#include "utils/Optimizers.h"
#include "utils/RemoveEmpty.h"
#include "utils/mesh/ExactRemap.h"
#include "utils/mesh/Weld.h"

// The library asserts what it asks of its input, and a distribution's build may keep asserts: whatever a script can
// bring about is tested here before the library sees it.
namespace model
{
namespace
{
/// The largest vertex in bytes that the library compares.
constexpr std::size_t kMaxLibraryVertex = 256;

constexpr unsigned kCacheSize = 16;
constexpr unsigned kNoWarps = 0;
constexpr unsigned kNoGroups = 0;
/// A new order is taken for a better average per triangle (misses) or per vertex (transformations).
constexpr f32 kMinTriangleGain = 0.01f;
constexpr f32 kMinVertexGain = 0.1f;

bool areInRange(const zr::vector<u32>& indices, u32 vertexCount)
{
    return std::all_of(indices.begin(), indices.end(), [vertexCount](u32 index) { return index < vertexCount; });
}

bool areTriangles(const zr::vector<u32>& indices)
{
    return !indices.empty() && indices.size() % 3 == 0;
}

/// Calls `work` with each mesh render node, in list order.
template <class Work>
void forEachRenderMesh(const RootNode& root, Work work)
{
    for (const ObjectPtr<BaseNode>& node : root.renderNodes)
        if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(node.get())) work(*mesh);
}

/// Calls `work` with each node that is exactly a `ShellNode`, in list order.
template <class Work>
void forEachShellMesh(const RootNode& root, Work work)
{
    for (const ObjectPtr<BaseNode>& node : root.shellNodes)
        if (node && node->getType() == kShellNode) work(static_cast<ShellNode&>(*node));
}
} // namespace

u32 remapVertices(Vertices& vertices, Indices& indices)
{
    zr::vector<u32>& list = indices.indices;
    const u32 count = vertices.getVertexCount();
    const std::size_t stride = vertices.getStride();
    if (list.empty() || !vertices.isConsistent() || !areInRange(list, count)) return 0;

    const zr::vector<f32> packed = vertices.interleave();
    const std::size_t size = stride * sizeof(f32);
    const bool isLibraryCase = areTriangles(list) && size <= kMaxLibraryVertex;
    zr::vector<u32> remap(count);
    const std::size_t unique =
        isLibraryCase ? meshopt_generateVertexRemap(remap.data(), list.data(), list.size(), packed.data(), count, size)
                      : generateExactRemap(remap, list, packed.data(), count, size);
    if (unique >= count) return 0;

    zr::vector<f32> remapped;
    if (isLibraryCase)
    {
        remapped.resize(unique * stride);
        meshopt_remapVertexBuffer(remapped.data(), packed.data(), count, size, remap.data());
        meshopt_remapIndexBuffer(list.data(), list.data(), list.size(), remap.data());
    }
    else
    {
        remapped = remapPacked(packed, stride, remap, unique);
        for (u32& index : list)
            index = remap[index];
    }
    vertices.deinterleave(remapped, static_cast<u32>(unique));
    return count - static_cast<u32>(unique);
}

bool optimizeVertexCache(const Vertices& vertices, Indices& indices)
{
    zr::vector<u32>& list = indices.indices;
    const u32 count = vertices.getVertexCount();
    if (!areTriangles(list) || !areInRange(list, count)) return false;

    const auto before = meshopt_analyzeVertexCache(list.data(), list.size(), count, kCacheSize, kNoWarps, kNoGroups);
    zr::vector<u32> candidate(list.size());
    meshopt_optimizeVertexCache(candidate.data(), list.data(), list.size(), count);
    const auto after =
        meshopt_analyzeVertexCache(candidate.data(), candidate.size(), count, kCacheSize, kNoWarps, kNoGroups);
    if (!(before.acmr - after.acmr > kMinTriangleGain || before.atvr - after.atvr > kMinVertexGain)) return false;
    list = std::move(candidate);
    return true;
}

std::pair<u32, u32> extremlyOptimizeMeshes(RootNode* root, f32 tolerance)
{
    u32 vertices = 0;
    u32 triangles = 0;
    forEachRenderMesh(*root,
                      [&](BaseMeshRenderNode& mesh)
                      {
                          vertices += weldVertices(mesh.vertices, mesh.indices, tolerance);
                          triangles += mesh.removeDegenerateTriangles();
                      });
    removeEmptyRenderNodes(root);
    forEachShellMesh(*root,
                     [&](ShellNode& shell)
                     {
                         vertices += weldVertices(shell.vertices, shell.indices, tolerance);
                         triangles += shell.removeDegenerates();
                     });
    removeEmptyShellNodes(root);
    return {vertices, triangles};
}

u32 remapMeshes(RootNode* root)
{
    u32 removed = 0;
    const auto remap = [&removed](auto& mesh) { removed += remapVertices(mesh.vertices, mesh.indices); };
    forEachRenderMesh(*root, remap);
    forEachShellMesh(*root, remap);
    return removed;
}

bool optimizeVertexCache(RootNode* root)
{
    bool isChanged = false;
    const auto reorder = [&isChanged](auto& mesh) { isChanged |= optimizeVertexCache(mesh.vertices, mesh.indices); };
    forEachRenderMesh(*root, reorder);
    forEachShellMesh(*root, reorder);
    return isChanged;
}
} // namespace model
