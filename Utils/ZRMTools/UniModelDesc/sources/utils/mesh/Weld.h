#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"

namespace model
{
/// In the place of the new number of a vertex that was dropped before the weld.
constexpr u32 kDropped = 0xFFFFFFFFu;

/// Welds the used vertices. They go in ascending order: one that agrees (`isSamePoint`) with no vertex kept before is
/// kept, any other is taken by the highest kept one that it agrees with. Agreement is not transitive: it goes from
/// vertex to vertex, never along a chain.
///
/// A NaN among the first three floats agrees with nothing; among the others it agrees with any value.
///
/// vertices   consistent, at least one, in any form; packed afterwards: what is kept, in its order
/// isUsed     of each vertex, not 0 for what takes part
/// tolerance  finite, not negative
/// returns    the new number of each vertex, that of the one that takes it for a welded one
///
/// Expected O(n) for any distribution that has fewer than some dozens of kept vertices within the reach of one another;
/// O(n log n) where there are more. Calls on different vertices may run together.
zr::vector<u32> weld(Vertices& vertices, const zr::vector<u8>& isUsed, f32 tolerance);

/// Drops unused vertices, then welds those whose packed floats agree. The lowest number of a welded set survives with
/// its own values; kept vertices keep their order. A mesh whose attributes don't go together stays as it is; any other
/// is packed afterwards. Calls on different meshes may run together.
/// returns  vertices removed
/// @throws std::out_of_range "Expected idx < size()" for an index beyond the vertices, with nothing changed
u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance);
} // namespace model
