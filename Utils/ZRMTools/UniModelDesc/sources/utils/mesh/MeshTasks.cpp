#include "utils/mesh/MeshTasks.h"

#include <algorithm>

#include <meshoptimizer.h>
#include <parallel_hashmap/phmap.h>

#include "RootNode.h"
#include "mesh/MeshUtils.h"
#include "nodes/BaseMeshRenderNode.h"
#include "nodes/ShellNode.h"
#include "utils/mesh/ExactRemap.h"
#include "utils/mesh/Weld.h"

// The library asserts what it asks of its input, and a distribution's build may keep asserts: whatever a script can
// bring about is tested here before the library sees it.
namespace model
{
namespace
{
constexpr unsigned kNoWarps = 0;
constexpr unsigned kNoGroups = 0;
/// A new order is taken for a better average per triangle (misses) or per vertex (transformations).
constexpr f32 kMinTriangleGain = 0.01f;
constexpr f32 kMinVertexGain = 0.1f;
/// Of the squares of the numbers of triangles at each vertex, added up: far more than any mesh of a surface has.
constexpr u64 kMaxSquares = u64{1} << 28;
constexpr u64 kMaxSquaresPerTriangle = 1000;

/// Makes one task of each node before `end`, whatever `meshOf` finds in it.
template <class MeshOf>
MeshTasks tasksOf(const RootNode::List& list, std::size_t end, MeshOf meshOf)
{
    MeshTasks tasks;
    phmap::flat_hash_map<const BaseNode*, std::size_t> numbers;
    for (std::size_t place = 0; place < std::min(end, list.size()); ++place)
    {
        BaseNode* const node = list[place].get();
        auto* mesh = meshOf(node);
        if (!mesh) continue;
        const auto [found, isNew] = numbers.try_emplace(node, tasks.size());
        if (isNew)
            tasks.push_back({.vertices = &mesh->vertices, .indices = &mesh->indices, .place = place});
        else
            ++tasks[found->second].times;
    }
    return tasks;
}

/// Whether two of the three numbers of triangles, gained and needed at least, tell that no order gains enough.
bool isNearBest(const meshopt_VertexCacheStatistics& now, u32 numUsed, std::size_t numTriangles)
{
    // Every used vertex is missed once.
    const f32 bestPerTriangle = static_cast<f32>(numUsed) / static_cast<f32>(numTriangles);
    return !(now.acmr - bestPerTriangle > kMinTriangleGain || now.atvr - 1.0f > kMinVertexGain);
}

/// What a walk over the triangles of a mesh tells about its vertices.
struct Valences
{
    Valences(const zr::vector<u32>& indices, u32 vertexCount)
    {
        struct Vertex
        {
            u32 numCorners = 0;
            u32 firstTriangle = 0;
        };
        zr::vector<Vertex> vertices(vertexCount);
        u32 triangle = 0;
        for (const u32 *corners = indices.data(), *end = corners + indices.size(); corners != end; corners += 3)
        {
            u32 earliest = triangle;
            for (int i = 0; i < 3; ++i)
            {
                areInRange = areInRange && corners[i] < vertexCount;
                if (!areInRange) return;
                Vertex& vertex = vertices[corners[i]];
                const u32 count = vertex.numCorners++;
                vertex.firstTriangle = count == 0 ? triangle : vertex.firstTriangle;
                earliest = std::min(earliest, vertex.firstTriangle);
                numUsed += count == 0;
                squares += 2 * u64{count} + 1;
            }
            while (!closedPieces.empty() && closedPieces.back() > earliest)
                closedPieces.pop_back();
            if (earliest == triangle) closedPieces.push_back(triangle);
            ++triangle;
        }
        closedPieces.push_back(triangle);
    }

    bool areInRange = true;
    u32 numUsed = 0;
    /// Of the numbers of corners at each vertex, added up.
    u64 squares = 0;
    /// The first triangle of each, and behind them the number of triangles. A piece goes when a later triangle joins it
    /// to one before.
    zr::vector<u32> closedPieces;
};
} // namespace

MeshTasks renderMeshTasks(const RootNode& root, std::size_t end)
{
    return tasksOf(root.renderNodes, end, [](BaseNode* node) { return node ? node->asMesh() : nullptr; });
}

MeshTasks shellMeshTasks(const RootNode& root, std::size_t end)
{
    return tasksOf(root.shellNodes, end, [](BaseNode* node)
                   { return node && node->getType() == kShellNode ? static_cast<ShellNode*>(node) : nullptr; });
}

std::size_t countSound(const MeshTasks& tasks)
{
    const auto isSound = [](const MeshTask& task)
    {
        const u32 count = task.vertices->getVertexCount();
        if (areBelow(*task.indices, count)) return true;
        // The weld looks at all indices; where there is nothing to weld, only what the triangles need counts.
        const bool isWelded = task.vertices->isConsistent() && count != 0;
        return !isWelded && !hasBadTriangle(*task.vertices, *task.indices);
    };
    return static_cast<std::size_t>(std::find_if_not(tasks.begin(), tasks.end(), isSound) - tasks.begin());
}

std::pair<u32, u32> cleanMesh(const MeshTask& task, f32 tolerance)
{
    const u32 vertices = weldVertices(*task.vertices, *task.indices, tolerance);
    return {vertices, removeDegenerateTriangles(*task.vertices, *task.indices)};
}

u32 remapVertices(Vertices& vertices, Indices& indices)
{
    zr::vector<u32>& list = indices.indices;
    const u32 count = vertices.getVertexCount();
    if (list.empty() || count == 0 || !vertices.isConsistent()) return 0;
    const zr::vector<u8> isUsed = markUsed(indices, count);
    if (isUsed.empty()) return 0;
    const PackedVertices& packed = *vertices.pack();
    if (packed.areDistinct && std::find(isUsed.begin(), isUsed.end(), 0) == isUsed.end()) return 0;

    const ExactRemap remap = packed.areDistinct ? numberByFirstUse(list, packed) : generateExactRemap(list, packed);
    if (remap.numVertices == count) return 0;
    vertices.setPacked(remapPacked(packed, remap));
    for (u32& index : list)
        index = remap.numbers[index];
    return count - static_cast<u32>(remap.numVertices);
}

bool optimizeVertexCache(const Vertices& vertices, Indices& indices, TriangleOrders& orders)
{
    zr::vector<u32>& list = indices.indices;
    const u32 count = vertices.getVertexCount();
    if (list.empty() || list.size() % 3 != 0) return false;
    const std::size_t numTriangles = list.size() / 3;
    const Valences valences(list, count);
    if (!valences.areInRange) return false;
    if (valences.squares > std::max(kMaxSquares, kMaxSquaresPerTriangle * numTriangles)) return false;

    const auto before = meshopt_analyzeVertexCache(list.data(), list.size(), count, kCacheSize, kNoWarps, kNoGroups);
    if (isNearBest(before, valences.numUsed, numTriangles)) return false;
    TriangleOrder order = orders.order(list, count, valences.closedPieces);
    const f32 perTriangle = static_cast<f32>(order.numMisses) / static_cast<f32>(numTriangles);
    const f32 perVertex = static_cast<f32>(order.numMisses) / static_cast<f32>(valences.numUsed);
    const bool gains = before.acmr - perTriangle > kMinTriangleGain || before.atvr - perVertex > kMinVertexGain;
    if (gains) list = std::move(order.indices);
    return gains;
}
} // namespace model
