#pragma once

#include "Vertices.h"
#include "mesh/Indices.h"

/// What the library does to one mesh, with what a script can bring about tested before. Calls on different meshes may
/// run together.
namespace model
{
/// Removes the vertices whose bytes repeat those of another; the rest stand in the order of their first use. Without a
/// repeat nothing changes. A mesh without indices, with an index beyond its vertices or whose attributes don't go
/// together stays as it is.
/// returns  vertices removed
u32 remapVertices(Vertices& vertices, Indices& indices);

/// Reorders triangles for the vertex cache when that gains enough. A mesh that is no whole number of triangles or has
/// an index beyond its vertices stays as it is. Returns whether the order was changed.
bool optimizeVertexCache(const Vertices& vertices, Indices& indices);
} // namespace model
