#include <algorithm>
#include <cstring>
#include <type_traits>

#include "Vertices.h"
#include <zr/exceptions.h>

// Vertices are packed in blocks that fit the first-level cache: within a block each attribute is one tight loop with a
// width known to the compiler, and the lines of the packed data are still there when the next attribute comes to them.
namespace model
{
namespace
{
constexpr std::size_t kBlockVertices = 256;

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
void packBlock(u8* packed, std::size_t stride, const f32* data, std::size_t width, std::size_t count)
{
    const std::size_t floats = kWidth ? kWidth : width;
    for (std::size_t i = 0; i < count; ++i, packed += stride, data += floats)
        std::memcpy(packed, data, floats * sizeof(f32));
}

template <std::size_t kWidth>
void unpackBlock(const u8* packed, std::size_t stride, f32* data, std::size_t width, std::size_t count)
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
            packBlock<kWidth>(packed, stride, data, width, count);
        else
            unpackBlock<kWidth>(packed, stride, data, width, count);
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

/// Moves all lanes of `count` vertices between their arrays and the packed bytes.
template <class Float, class Byte>
void moveLanes(const zr::small_vector<Lane<Float>, kNumSemantics>& lanes, Byte* packed, std::size_t stride,
               std::size_t count)
{
    for (std::size_t first = 0; first < count; first += kBlockVertices)
    {
        const std::size_t block = std::min(kBlockVertices, count - first);
        for (const Lane<Float>& lane : lanes)
            moveLane(packed + first * stride + lane.offset * sizeof(f32), stride, lane.data + first * lane.width,
                     lane.width, block);
    }
}
} // namespace

zr::vector<f32> Vertices::interleave() const
{
    checkConsistent(); // before the memory that the counts ask for
    zr::vector<f32> packed(std::size_t{getVertexCount()} * getStride());
    interleaveInto(packed.data());
    return packed;
}

void Vertices::interleaveInto(void* out) const
{
    checkConsistent();
    zr::small_vector<Lane<const f32>, kNumSemantics> lanes;
    std::size_t floats = 0;
    for (const auto& [semantic, attribute] : attributes)
    {
        if (attribute.stride == 0) continue;
        lanes.push_back({attribute.data.data(), attribute.stride, floats});
        floats += attribute.stride;
    }
    moveLanes(lanes, static_cast<u8*>(out), floats * sizeof(f32), getVertexCount());
}

void Vertices::deinterleave(const zr::vector<f32>& packed, u32 vertexCount)
{
    std::size_t floats = 0;
    for (const auto& [semantic, attribute] : attributes)
        floats += attribute.stride;
    if (floats && packed.size() / floats < vertexCount) ZR_RAISE("Vertex data is invalid.");

    zr::small_vector<Lane<f32>, kNumSemantics> lanes;
    std::size_t offset = 0;
    for (auto& [semantic, attribute] : attributes)
    {
        attribute.data.resize(std::size_t{vertexCount} * attribute.stride);
        if (attribute.stride == 0) continue;
        lanes.push_back({attribute.data.data(), attribute.stride, offset});
        offset += attribute.stride;
    }
    moveLanes(lanes, reinterpret_cast<const u8*>(packed.data()), floats * sizeof(f32), vertexCount);
}
} // namespace model
