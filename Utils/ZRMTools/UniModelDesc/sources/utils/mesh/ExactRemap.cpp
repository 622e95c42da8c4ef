#include "utils/mesh/ExactRemap.h"

#include <bit>
#include <cstring>

#include <meshoptimizer.h>

#include <zr/hash.h>

namespace model
{
namespace
{
/// The largest vertex in bytes that the library compares.
constexpr std::size_t kMaxLibraryVertex = 256;

/// The low bits of the hash pick the slot, so the high ones have to reach them.
u64 hashVertex(const f32* vertex, std::size_t bytes)
{
    const u64 hash = zr::hashBytes(reinterpret_cast<const u8*>(vertex), bytes);
    return hash ^ (hash >> 32);
}

ExactRemap generateByTable(const zr::vector<u32>& indices, const PackedVertices& vertices)
{
    const std::size_t bytes = vertices.getStride() * sizeof(f32);
    const std::size_t size = std::bit_ceil(vertices.getCount() * 2 + 1);
    zr::vector<u32> table(size, kUnusedVertex); // open addressing, at most half full
    ExactRemap remap{zr::vector<u32>(vertices.getCount(), kUnusedVertex)};
    for (const u32 vertex : indices)
    {
        if (remap.numbers[vertex] != kUnusedVertex) continue;
        std::size_t slot = hashVertex(vertices[vertex], bytes) & (size - 1);
        while (table[slot] != kUnusedVertex && std::memcmp(vertices[table[slot]], vertices[vertex], bytes) != 0)
            slot = (slot + 1) & (size - 1);
        if (table[slot] == kUnusedVertex)
        {
            table[slot] = vertex;
            remap.numbers[vertex] = static_cast<u32>(remap.numVertices++);
        }
        else
            remap.numbers[vertex] = remap.numbers[table[slot]];
    }
    return remap;
}
} // namespace

ExactRemap generateExactRemap(const zr::vector<u32>& indices, const PackedVertices& vertices)
{
    const std::size_t bytes = vertices.getStride() * sizeof(f32);
    // The library asserts what it asks for, and a distribution's build may keep asserts.
    if (indices.size() % 3 != 0 || bytes > kMaxLibraryVertex) return generateByTable(indices, vertices);
    ExactRemap remap{zr::vector<u32>(vertices.getCount())};
    remap.numVertices = meshopt_generateVertexRemap(remap.numbers.data(), indices.data(), indices.size(),
                                                    vertices.data(), vertices.getCount(), bytes);
    return remap;
}

ExactRemap numberByFirstUse(const zr::vector<u32>& indices, const PackedVertices& vertices)
{
    ExactRemap remap{zr::vector<u32>(vertices.getCount(), kUnusedVertex)};
    for (const u32 vertex : indices)
        if (remap.numbers[vertex] == kUnusedVertex) remap.numbers[vertex] = static_cast<u32>(remap.numVertices++);
    return remap;
}

PackedVertices remapPacked(const PackedVertices& vertices, const ExactRemap& remap)
{
    PackedVertices out(remap.numVertices, vertices.getStride());
    const std::size_t bytes = vertices.getStride() * sizeof(f32);
    for (std::size_t i = 0; i < remap.numbers.size(); ++i)
        if (remap.numbers[i] != kUnusedVertex) std::memcpy(out[remap.numbers[i]], vertices[i], bytes);
    out.areDistinct = true;
    return out;
}
} // namespace model
