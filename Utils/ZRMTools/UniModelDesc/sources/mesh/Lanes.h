#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "materials/VertexFormat.h"
#include <zr/containers.h>

/// Floats of each vertex between an array of their own and packed vertices.
namespace model
{
/// Vertices that are packed together: a block fits the first-level cache, and so its lines are still there when the
/// next array comes to them.
constexpr std::size_t kBlockVertices = 256;

/// Asks for an array ahead of its use: thousands of small meshes lie anywhere in memory.
inline void prefetchFloats(const f32* floats, std::size_t count)
{
    constexpr std::size_t kLine = 64 / sizeof(f32);
    constexpr std::size_t kEnough = 64 * kLine; // of a long array the processor itself fetches the rest
    for (std::size_t i = 0; i < std::min(count, kEnough); i += kLine)
        __builtin_prefetch(floats + i);
}

/// One attribute's place in the packed vertex. `Float` is `f32` when the attribute is written, else `const f32`.
template <class Float>
struct Lane
{
    Float* data;
    std::size_t width;
    /// Floats of a packed vertex in front of this attribute.
    std::size_t offset;
};

/// Packed data have no alignment, so they go through `memcpy`, which the compiler turns into plain moves.
template <std::size_t kWidth>
void packFloats(u8* packed, std::size_t stride, const f32* data, std::size_t width, std::size_t count)
{
    const std::size_t floats = kWidth ? kWidth : width;
    for (std::size_t i = 0; i < count; ++i, packed += stride, data += floats)
        std::memcpy(packed, data, floats * sizeof(f32));
}

template <std::size_t kWidth>
void unpackFloats(const u8* packed, std::size_t stride, f32* data, std::size_t width, std::size_t count)
{
    const std::size_t floats = kWidth ? kWidth : width;
    for (std::size_t i = 0; i < count; ++i, packed += stride, data += floats)
        std::memcpy(data, packed, floats * sizeof(f32));
}

template <class Float, class Byte>
void moveLane(Byte* packed, std::size_t stride, Float* data, std::size_t width, std::size_t count)
{
    const auto move = [&](auto fixed)
    {
        constexpr std::size_t kWidth = decltype(fixed)::value;
        if constexpr (std::is_const_v<Float>)
            packFloats<kWidth>(packed, stride, data, width, count);
        else
            unpackFloats<kWidth>(packed, stride, data, width, count);
    };
    switch (width)
    {
    case 1:
        return move(std::integral_constant<std::size_t, 1>());
    case 2:
        return move(std::integral_constant<std::size_t, 2>());
    case 3:
        return move(std::integral_constant<std::size_t, 3>());
    case 4:
        return move(std::integral_constant<std::size_t, 4>());
    default:
        return move(std::integral_constant<std::size_t, 0>());
    }
}

template <class Float>
using LaneList = zr::small_vector<Lane<Float>, kNumSemantics>;

/// Moves all lanes of `count` vertices between their arrays and the packed bytes.
template <class Float, class Byte>
void moveLanes(const LaneList<Float>& lanes, Byte* packed, std::size_t stride, std::size_t count)
{
    for (std::size_t first = 0; first < count; first += kBlockVertices)
    {
        const std::size_t block = std::min(kBlockVertices, count - first);
        for (const Lane<Float>& lane : lanes)
            moveLane(packed + first * stride + lane.offset * sizeof(f32), stride, lane.data + first * lane.width,
                     lane.width, block);
    }
}
} // namespace model
