#include "Vertices.h"
#include "mesh/Lanes.h"
#include <zr/exceptions.h>

// Vertices are packed in blocks that fit the first-level cache: within a block each attribute is one tight loop with a
// width known to the compiler, and the lines of the packed data are still there when the next attribute comes to them.
namespace model
{
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
    if (isSharing()) return interleaveSources(static_cast<u8*>(out), first, count);
    LaneList<const f32> lanes;
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
    sources.clear();
    deinterleaveFrom(floats.data(), vertexCount);
}

void Vertices::deinterleaveFrom(const f32* floats, std::size_t count) const
{
    LaneList<f32> lanes;
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
    sources.clear();
}

Vertices::Attributes& Vertices::unpacked() const
{
    if (packed)
    {
        deinterleaveFrom(packed.data(), packed.getCount());
        packed = {};
    }
    if (isSharing()) resolveSources();
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
