#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"
#include "utils/mesh/VertexKdTree.h"

namespace model
{
/// Which vertices take the place of which. Vertices go in ascending order: one that agrees (`isSamePoint`) with no
/// vertex kept before is kept, any other is taken by the highest kept one that it agrees with. Agreement is not
/// transitive: it goes from vertex to vertex, never along a chain.
///
/// A NaN among the first three floats agrees with nothing; among the others it agrees with any value.
///
/// tolerance  finite, not negative
/// returns    points.count numbers: its own for a kept vertex, that of the vertex that takes it for any other
///
/// Expected O(n) for any distribution that has fewer than some dozens of kept vertices within the reach of one another;
/// O(n log n) where there are more. Calls on different points may run together.
zr::vector<u32> findWeldTargets(const PackedPoints& points, f32 tolerance);

/// Drops unused vertices, then welds those whose packed floats agree. The lowest number of a welded set survives with
/// its own values; kept vertices keep their order. A mesh whose attributes don't go together stays as it is. Calls on
/// different meshes may run together.
/// returns  vertices removed
/// @throws std::out_of_range "Expected idx < size()" for an index beyond the vertices, with nothing changed
u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance);
} // namespace model
