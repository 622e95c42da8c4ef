#pragma once

#include "base/types.h"
#include <zr/containers.h>

namespace model
{
/// What no index refers to has no place behind a remap.
constexpr u32 kUnusedVertex = 0xFFFFFFFFu;

/// Finds vertices whose bytes are equal. Does what `meshopt_generateVertexRemap` does, with the same numbers, for
/// vertices of any size and any number of indices.
///
/// indices     every value below vertexCount
/// vertices    vertexCount * vertexSize bytes
/// remap       written, [vertexCount]: the new number of each vertex, in the order of first use, or `kUnusedVertex`
/// returns     how many vertices remain. Expected linear. Calls on different meshes may run together.
std::size_t generateExactRemap(zr::vector<u32>& remap, const zr::vector<u32>& indices, const void* vertices,
                               std::size_t vertexCount, std::size_t vertexSize);

/// The vertices in their new places. vertexSize in floats.
zr::vector<f32> remapPacked(const zr::vector<f32>& packed, std::size_t vertexSize, const zr::vector<u32>& remap,
                            std::size_t newCount);
} // namespace model
