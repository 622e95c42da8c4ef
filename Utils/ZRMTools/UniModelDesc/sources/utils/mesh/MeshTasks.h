#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"

namespace model
{
class RootNode;

/// One mesh of a model, for work that looks at nothing else: tasks may be done in any order, and at the same time.
struct MeshTask
{
    Vertices* vertices = nullptr;
    Indices* indices = nullptr;
    /// Where the list has the node: a pass works on it as often.
    zr::small_vector<u32, 1> places;
};
using MeshTasks = zr::vector<MeshTask>;

/// The mesh render nodes of a model, in list order.
MeshTasks renderMeshTasks(const RootNode& root);
/// Its nodes that are exactly `ShellNode`s, in list order.
MeshTasks shellMeshTasks(const RootNode& root);

/// Leaves what stands in the list before the first mesh whose `cleanMesh` raises. Returns whether there is one.
bool cutAtUnsound(MeshTasks& tasks);

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
bool optimizeVertexCache(const Vertices& vertices, Indices& indices);
} // namespace model
