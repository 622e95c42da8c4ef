#pragma once

#include <bit>
#include <cstring>

#include "base/types.h"

/// The floats of one packed vertex, as bytes: some dozens, for which a call of the library takes longer than the work.
namespace model
{
/// As many floats are taken at once; a vertex that is no multiple of them has its last ones taken with some before.
constexpr std::size_t kChunk = 4;
using Chunk = f32 __attribute__((vector_size(16)));
/// All bits of a lane, or none.
using ChunkMask = i32 __attribute__((vector_size(16)));

inline Chunk readChunk(const f32* floats)
{
    Chunk chunk;
    std::memcpy(&chunk, floats, sizeof(chunk));
    return chunk;
}

/// Three floats and a zero.
inline Chunk readThree(const f32* floats)
{
    return Chunk{floats[0], floats[1], floats[2], 0.0f};
}

inline Chunk absolute(Chunk chunk)
{
    return std::bit_cast<Chunk>(std::bit_cast<ChunkMask>(chunk) & 0x7FFFFFFF);
}

/// Of the lanes whose bits differ.
inline ChunkMask isDifferent(Chunk a, Chunk b)
{
    return std::bit_cast<ChunkMask>(a) != std::bit_cast<ChunkMask>(b);
}

inline bool anyOf(ChunkMask mask)
{
    using Halves = u64 __attribute__((vector_size(16)));
    const Halves halves = std::bit_cast<Halves>(mask);
    return (halves[0] | halves[1]) != 0;
}

/// Whether two floats each have the same bytes.
inline bool isSamePair(const f32* a, const f32* b)
{
    u64 pairs[2];
    std::memcpy(&pairs[0], a, sizeof(u64));
    std::memcpy(&pairs[1], b, sizeof(u64));
    return pairs[0] == pairs[1];
}

/// Calls `function` with the place of each chunk. For a `stride` of a chunk at least.
template <class Function>
void forEachChunk(std::size_t stride, Function function)
{
    const std::size_t last = stride - kChunk;
    for (std::size_t place = 0; place < last; place += kChunk)
        function(place);
    function(last);
}

/// Whether two vertices have the same bytes.
inline bool isSameVertex(const f32* a, const f32* b, std::size_t stride)
{
    if (stride < kChunk) return std::memcmp(a, b, stride * sizeof(f32)) == 0;
    // Most that differ do so in the first floats. What comes then is compared whole: where it differs can't be
    // foreseen.
    if (!isSamePair(a, b)) return false;
    ChunkMask isOther = {};
    forEachChunk(stride,
                 [&](std::size_t place) { isOther |= isDifferent(readChunk(a + place), readChunk(b + place)); });
    return !anyOf(isOther);
}

/// Of vertices that don't overlap.
inline void copyVertex(const f32* from, f32* to, std::size_t stride)
{
    if (stride < kChunk)
    {
        std::memcpy(to, from, stride * sizeof(f32));
        return;
    }
    forEachChunk(stride, [=](std::size_t place) { std::memcpy(to + place, from + place, kChunk * sizeof(f32)); });
}
} // namespace model
