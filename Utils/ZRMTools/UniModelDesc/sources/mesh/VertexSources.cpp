#include "mesh/VertexSources.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "Vertices.h"
#include "mesh/Lanes.h"

// The third form of `Vertices`. What doesn't fit it is no mistake here: uneven attributes are told when they are
// written.
namespace model
{
namespace
{
/// Beyond, the arrays become the mesh's own: under a long chain of nodes the matrices would outweigh them.
constexpr std::size_t kMaxMoves = 4;

bool isAligned(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) % alignof(f32) == 0;
}

bool isOf(const VertexSources::Part& part, i32 semantic)
{
    return part.semantic == semantic;
}
} // namespace

void Vertices::share(i32 semantic, u32 stride, u32 width, SharedFloats floats)
{
    const std::size_t count = floats.size() / width;
    const bool isFirst = empty() && count <= std::numeric_limits<u32>::max();
    if (isFirst) sources.count = static_cast<u32>(count);
    if (isFirst || (sources && floats.size() == std::size_t{sources.count} * width && !attributes.contains(semantic)))
    {
        attributes[semantic].stride = stride;
        sources.parts.push_back({semantic, 0, width, std::move(floats)});
        return;
    }
    Attribute& attribute = (*this)[semantic];
    attribute.stride = stride;
    if (width == stride)
        attribute.data.assign(floats.begin(), floats.end());
    else
    {
        attribute.data.assign(count * stride, 0.0f);
        moveLane(reinterpret_cast<u8*>(attribute.data.data()), stride * sizeof(f32), floats.data(), width, count);
    }
}

void Vertices::addZeros(i32 semantic, u32 stride)
{
    if (sources && !attributes.contains(semantic))
    {
        attributes[semantic].stride = stride;
        return;
    }
    const std::size_t count = getVertexCount();
    Attribute& attribute = (*this)[semantic];
    attribute.stride = stride;
    attribute.data.assign(count * stride, 0.0f);
}

void Vertices::shareOne(i32 semantic, u32 place, SharedFloats floats)
{
    if (sources)
    {
        sources.parts.push_back({semantic, place, 1, std::move(floats)});
        return;
    }
    Attribute& attribute = getAttribute(semantic);
    moveLane(reinterpret_cast<u8*>(attribute.data.data() + place), attribute.stride * sizeof(f32), floats.data(), 1,
             attribute.count());
}

bool Vertices::erase(i32 semantic)
{
    // The last part says that there are sources at all.
    const auto isOther = [semantic](const VertexSources::Part& part) { return !isOf(part, semantic); };
    if (!attributes.contains(semantic)) return false;
    if (!std::any_of(sources.parts.begin(), sources.parts.end(), isOther)) return unpacked().erase(semantic) != 0;
    std::erase_if(sources.parts, [semantic](const VertexSources::Part& part) { return isOf(part, semantic); });
    return attributes.erase(semantic) != 0;
}

std::span<const f32> Vertices::floatsOf(i32 semantic) const
{
    for (const VertexSources::Part& part : sources.parts)
        if (isOf(part, semantic) && part.width == strideOf(semantic) && (sources.moves.empty() || !movingOf(semantic)))
            return {part.floats.data(), std::size_t{sources.count} * part.width};
    const Attribute* attribute = attributes.contains(semantic) ? findAttribute(semantic) : nullptr;
    return attribute ? std::span<const f32>(attribute->data) : std::span<const f32>();
}

bool Vertices::hasOneSelector() const
{
    return sources && strideOf(kPosition0) == 4 &&
           std::none_of(sources.parts.begin(), sources.parts.end(), [](const VertexSources::Part& part)
                        { return isOf(part, kPosition0) && part.place + part.width > 3; });
}

std::size_t Vertices::postpone(const zr::vector<SelectorMatrix>& list)
{
    if (!hasOneSelector()) return 0;
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (list[i].selector != 0) continue;
        if (sources.moves.size() == kMaxMoves) return i;
        sources.moves.emplace_back(list[i].matrix);
    }
    return list.size();
}

void Vertices::interleaveSources(void* out, std::size_t first, std::size_t count) const
{
    const std::size_t stride = getStride();
    LaneList<const f32> lanes;
    std::size_t width = 0;
    for (const VertexSources::Part& part : sources.parts)
    {
        lanes.push_back({part.floats.data() + first * part.width, part.width, offsetOf(part.semantic) + part.place});
        width += part.width;
    }
    // Vertices are moved as floats, which the file's place for them may not be aligned for.
    zr::vector<f32> aligned(sources.moves.empty() || isAligned(out) ? 0 : kBlockVertices * stride);
    for (std::size_t done = 0; done < count; done += kBlockVertices)
    {
        const std::size_t block = std::min(kBlockVertices, count - done);
        u8* const place = static_cast<u8*>(out) + done * stride * sizeof(f32);
        u8* const packedBlock = aligned.empty() ? place : reinterpret_cast<u8*>(aligned.data());
        if (width != stride) std::memset(packedBlock, 0, block * stride * sizeof(f32));
        moveLanes(lanes, packedBlock, stride * sizeof(f32), block);
        for (Lane<const f32>& lane : lanes)
            lane.data += block * lane.width;
        if (!sources.moves.empty()) movePacked(reinterpret_cast<f32*>(packedBlock), block);
        if (!aligned.empty()) std::memcpy(place, packedBlock, block * stride * sizeof(f32));
    }
}

void Vertices::movePacked(f32* floats, std::size_t count) const
{
    const std::size_t stride = getStride();
    for (const auto& [semantic, attribute] : attributes)
    {
        const Moving moving = attribute.stride < 3 ? nullptr : movingOf(semantic);
        for (std::size_t i = 0; moving && i < sources.moves.size(); ++i)
            moving(floats, stride, count, sources.moves[i]);
        floats += attribute.stride;
    }
}

void Vertices::readPositions(f32* out, std::size_t first, std::size_t count) const
{
    const u32 stride = strideOf(kPosition0);
    std::fill_n(out, count * stride, 0.0f);
    for (const VertexSources::Part& part : sources.parts)
        if (isOf(part, kPosition0))
            moveLane(reinterpret_cast<u8*>(out + part.place), stride * sizeof(f32),
                     part.floats.data() + first * part.width, part.width, count);
    for (const VertexMove& move : sources.moves)
        movePoints(out, stride, count, move);
}

void Vertices::resolveSources() const
{
    const VertexSources from = std::exchange(sources, {});
    for (auto& [semantic, attribute] : attributes)
        attribute.data.assign(std::size_t{from.count} * attribute.stride, 0.0f);
    for (const VertexSources::Part& part : from.parts)
    {
        Attribute& attribute = attributes[part.semantic];
        moveLane(reinterpret_cast<u8*>(attribute.data.data() + part.place), attribute.stride * sizeof(f32),
                 part.floats.data(), part.width, from.count);
    }
    for (auto& [semantic, attribute] : attributes)
        if (const Moving moving = attribute.stride < 3 ? nullptr : movingOf(semantic))
            for (const VertexMove& move : from.moves)
                moving(attribute.data.data(), attribute.stride, from.count, move);
}
} // namespace model
