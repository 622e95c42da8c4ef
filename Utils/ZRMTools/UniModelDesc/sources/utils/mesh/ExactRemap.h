#pragma once

#include "mesh/PackedVertices.h"
#include <zr/containers.h>

namespace model
{
/// What no index refers to has no place behind a remap.
constexpr u32 kUnusedVertex = 0xFFFFFFFFu;

/// New numbers of vertices, in the order of their first use.
struct ExactRemap
{
    /// By the old number; `kUnusedVertex` for what no index refers to.
    zr::vector<u32> numbers;
    std::size_t numVertices = 0;
};

/// Gives vertices whose bytes are equal one number, as the library's `meshopt_generateVertexRemap` does, which is
/// called where it takes the mesh: triangles of vertices of at most 256 bytes.
///
/// indices  every value below the number of vertices
///
/// Expected linear. Calls on different meshes may run together.
ExactRemap generateExactRemap(const zr::vector<u32>& indices, const PackedVertices& vertices);

/// The same for vertices that are known to be distinct.
ExactRemap numberByFirstUse(const zr::vector<u32>& indices, const PackedVertices& vertices);

/// The vertices in their new places.
PackedVertices remapPacked(const PackedVertices& vertices, const ExactRemap& remap);
} // namespace model
