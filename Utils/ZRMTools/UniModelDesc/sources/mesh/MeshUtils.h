#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"

/// Operations on the vertices and indices of one mesh. Calls on different meshes may run together.
namespace model
{
/// The tolerance with which all callers look for degenerate triangles.
constexpr f32 kDegenerateEpsilon = 0.0001f;

/// Whether two of the indices are equal, or the three positions agree within `epsilon` (inclusive) on two of the axes.
/// Without a POSITION0 of at least three floats only the indices decide. A NaN agrees with nothing, an infinity with
/// its equal.
/// @throws std::out_of_range "Expected idx < size()" for an index beyond the positions that would be read
bool isDegenerateTriangle(u32 a, u32 b, u32 c, const Vertices& vertices, f32 epsilon);

/// Removes the degenerate triangles of a triangle list; the others and a remainder of one or two indices keep their
/// order. Linear. Lists of other primitive types stay as they are.
/// returns  the number of triangles removed
/// @throws as `isDegenerateTriangle`, with nothing changed
u32 removeDegenerateTriangles(const Vertices& vertices, Indices& indices, f32 epsilon = kDegenerateEpsilon);

/// Whether `removeDegenerateTriangles` raises.
bool hasBadTriangle(const Vertices& vertices, const Indices& indices);

/// Whether all indices are below a number of vertices.
bool areBelow(const Indices& indices, std::size_t vertexCount);

/// For operations that move index lists behind other vertices, where an index beyond its own mesh would come to mean a
/// vertex of another.
/// @throws std::out_of_range "Expected idx < size()" for an index at or beyond `vertexCount`
void checkIndices(const Indices& indices, std::size_t vertexCount);

/// For each of at least one vertex, 1 when an index refers to it, else 0. Empty for an index beyond the vertices.
zr::vector<u8> markUsed(const Indices& indices, std::size_t vertexCount);

/// In a POSITION0 of four floats, the fourth float of every vertex that belongs to the entry `from` becomes `to`.
/// A missing POSITION0 is created empty; one of another width stays as it is.
void renumberVertices(Vertices& vertices, u32 from, u32 to);
/// The same for the vertices `first` to `end` - 1.
void renumberVertices(Vertices& vertices, u32 from, u32 to, std::size_t first, std::size_t end);

/// The distinct indices in ascending order.
zr::vector<u32> uniqueSorted(const Indices& indices);

/// The vertices of these numbers, in their order. All are below `attribute.count()`; not checked.
Attribute selectVertices(const zr::vector<u32>& numbers, const Attribute& attribute);

/// The vertices that the indices refer to, in ascending order of their numbers. Cost goes by the number of indices,
/// not of vertices.
/// @throws zr::ExtException "Vertex data is invalid." for attributes of unequal vertex counts,
///         std::out_of_range "Expected idx < size()" for an index beyond the vertices
Vertices extractVertices(const Indices& indices, const Vertices& vertices);

/// Replaces each index by its position in `uniqueSorted`.
void compactIndices(Indices& indices);

/// Drops the vertices that no index refers to and lowers the indices to match; the rest keep their order. Linear.
/// Nothing is written when nothing is dropped, and a mesh without vertices stays as it is.
/// returns  the number of vertices dropped
/// @throws as `extractVertices`, with nothing changed
u32 removeUnusedVertices(Vertices& vertices, Indices& indices);
} // namespace model
