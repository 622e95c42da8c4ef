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

void Vertices::interleaveInto(void* out) const
{
    checkConsistent();
    interleaveInto(out, 0, getVertexCount());
}

void Vertices::interleaveInto(void* out, std::size_t first, std::size_t count) const
{
    if (packed)
    {
        std::memcpy(out, packed[first], count * packed.getStride() * sizeof(f32));
        return;
    }
    zr::small_vector<Lane<const f32>, kNumSemantics> lanes;
    std::size_t floats = 0;
    for (const auto& [semantic, attribute] : attributes)
    {
        if (attribute.stride == 0) continue;
        lanes.push_back({attribute.data.data() + first * attribute.stride, attribute.stride, floats});
        floats += attribute.stride;
    }
    moveLanes(lanes, static_cast<u8*>(out), floats * sizeof(f32), count);
}

zr::vector<f32> Vertices::interleave() const
{
    checkConsistent(); // before the memory that the counts ask for
    zr::vector<f32> floats(std::size_t{getVertexCount()} * getStride());
    interleaveInto(floats.data(), 0, getVertexCount());
    return floats;
}

void Vertices::deinterleave(const zr::vector<f32>& floats, u32 vertexCount)
{
    const std::size_t stride = getStride();
    if (stride && floats.size() / stride < vertexCount) ZR_RAISE("Vertex data is invalid.");
    packed = {};
    deinterleaveFrom(floats.data(), vertexCount);
}

void Vertices::deinterleaveFrom(const f32* floats, std::size_t count) const
{
    zr::small_vector<Lane<f32>, kNumSemantics> lanes;
    std::size_t stride = 0;
    for (auto& [semantic, attribute] : attributes)
    {
        attribute.data.resize(count * attribute.stride);
        if (attribute.stride == 0) continue;
        lanes.push_back({attribute.data.data(), attribute.stride, stride});
        stride += attribute.stride;
    }
    moveLanes(lanes, reinterpret_cast<const u8*>(floats), stride * sizeof(f32), count);
}

PackedVertices* Vertices::pack()
{
    if (packed) return &packed;
    checkConsistent();
    const std::size_t count = getVertexCount();
    const std::size_t stride = getStride();
    if (count == 0 || stride == 0) return nullptr;
    PackedVertices all(count, stride);
    interleaveInto(all.data());
    setPacked(std::move(all));
    return &packed;
}

void Vertices::setPacked(PackedVertices newVertices)
{
    for (auto& [semantic, attribute] : attributes)
        attribute.data = zr::vector<f32>(); // "{}" would keep the memory
    packed = std::move(newVertices);
}

Vertices::Attributes& Vertices::unpacked() const
{
    if (packed)
    {
        deinterleaveFrom(packed.data(), packed.getCount());
        packed = {};
    }
    return attributes;
}

std::size_t Vertices::offsetOf(i32 semantic) const
{
    std::size_t floats = 0;
    for (const auto& [earlier, attribute] : attributes)
        if (earlier < semantic) floats += attribute.stride;
    return floats;
}
} // namespace model
