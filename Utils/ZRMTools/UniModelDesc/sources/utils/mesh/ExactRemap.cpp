#include "utils/mesh/ExactRemap.h"

#include <bit>
#include <cstring>

#include <zr/hash.h>

namespace model
{
namespace
{
/// The low bits of the hash pick the slot, so the high ones have to reach them.
u64 hashVertex(const u8* bytes, std::size_t size)
{
    const u64 hash = zr::hashBytes(bytes, size);
    return hash ^ (hash >> 32);
}
} // namespace

std::size_t generateExactRemap(zr::vector<u32>& remap, const zr::vector<u32>& indices, const void* vertices,
                               std::size_t vertexCount, std::size_t vertexSize)
{
    const u8* bytes = static_cast<const u8*>(vertices);
    const std::size_t size = std::bit_ceil(vertexCount * 2 + 1);
    zr::vector<u32> table(size, kUnusedVertex); // open addressing, at most half full
    remap.assign(vertexCount, kUnusedVertex);
    u32 count = 0;
    for (const u32 vertex : indices)
    {
        if (remap[vertex] != kUnusedVertex) continue;
        const u8* record = bytes + vertex * vertexSize;
        std::size_t slot = hashVertex(record, vertexSize) & (size - 1);
        while (table[slot] != kUnusedVertex && std::memcmp(bytes + table[slot] * vertexSize, record, vertexSize) != 0)
            slot = (slot + 1) & (size - 1);
        if (table[slot] == kUnusedVertex)
        {
            table[slot] = vertex;
            remap[vertex] = count++;
        }
        else
            remap[vertex] = remap[table[slot]];
    }
    return count;
}

zr::vector<f32> remapPacked(const zr::vector<f32>& packed, std::size_t vertexSize, const zr::vector<u32>& remap,
                            std::size_t newCount)
{
    zr::vector<f32> out(newCount * vertexSize);
    for (std::size_t i = 0; i < remap.size(); ++i)
        if (remap[i] != kUnusedVertex)
            std::memcpy(out.data() + remap[i] * vertexSize, packed.data() + i * vertexSize, vertexSize * sizeof(f32));
    return out;
}
} // namespace model
