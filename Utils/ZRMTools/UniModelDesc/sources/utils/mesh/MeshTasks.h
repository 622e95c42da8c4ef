#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "utils/mesh/TriangleOrders.h"

namespace model
{
class RootNode;

/// One mesh of a model, for work that looks at nothing else: tasks may be done in any order, and at the same time.
struct MeshTask
{
    Vertices* vertices = nullptr;
    Indices* indices = nullptr;
    /// How often the list has the node, and so how often a pass works on it.
    u32 times = 1;
    /// Of the node's first entry in the list.
    std::size_t place = 0;
};
using MeshTasks = zr::vector<MeshTask>;

constexpr std::size_t kWholeList = static_cast<std::size_t>(-1);

/// The mesh render nodes of a model, in list order, by the entries before `end`.
MeshTasks renderMeshTasks(const RootNode& root, std::size_t end = kWholeList);
/// Its nodes that are exactly `ShellNode`s, in the same way.
MeshTasks shellMeshTasks(const RootNode& root, std::size_t end = kWholeList);

/// How many tasks stand before the first one whose `cleanMesh` raises. A node of theirs that is listed again behind it
/// is to be worked on only as often as before it: ask for the tasks anew, up to its place.
std::size_t countSound(const MeshTasks& tasks);

/// Welds vertices within `tolerance` and removes degenerate triangles.
/// returns  vertices and triangles removed
/// @throws std::out_of_range "Expected idx < size()" for an index beyond the vertices, with nothing changed
std::pair<u32, u32> cleanMesh(const MeshTask& task, f32 tolerance);

/// Removes the vertices whose bytes repeat those of another, and those that no index refers to; the rest stand in the
/// order of their first use. When there is neither, nothing changes. A mesh without indices, with an index beyond its
/// vertices or whose attributes don't go together stays as it is.
/// returns  vertices removed
u32 remapVertices(Vertices& vertices, Indices& indices);

/// Reorders triangles for the vertex cache when that gains enough. Returns whether the order was changed.
///
/// A mesh keeps its order when it is no whole number of triangles, has an index beyond its vertices, or vertices with
/// so very many triangles that the search for a better order takes time by their square: the squares of the vertices'
/// numbers of triangles, added up, are above 2^28 and above 1,000 for each triangle. A vertex of 16,384 triangles in a
/// mesh that has no more than these is beyond that.
///
/// orders  what it keeps from other meshes only saves time; not to be lent to two threads at once
bool optimizeVertexCache(const Vertices& vertices, Indices& indices, TriangleOrders& orders);
} // namespace model
