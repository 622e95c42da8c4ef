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
constexpr u32 kSelectorPlace = 3;
constexpr u32 kSelectorStride = 4;

bool isAligned(const void* pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer) % alignof(f32) == 0;
}

/// The parts of a position, but not the fourth float.
bool lacksSelector(const VertexSource& source)
{
    return std::none_of(source.parts.begin(), source.parts.end(), [](const VertexSource::Part& part)
                        { return part.semantic == kPosition0 && part.place + part.width > kSelectorPlace; });
}

void prefetchSource(const VertexSource& source)
{
    __builtin_prefetch(source.moves.data());
    for (const VertexSource::Part& part : source.parts)
        prefetchFloats(part.floats.data(), std::size_t{source.count} * part.width);
}

/// Copies some vertices of a part to where they belong among packed floats.
void copyPart(f32* out, std::size_t stride, const VertexSource::Part& part, std::size_t first, std::size_t count)
{
    moveLane(reinterpret_cast<u8*>(out + part.place), stride * sizeof(f32), part.floats.data() + first * part.width,
             part.width, count);
}
} // namespace

void Vertices::share(i32 semantic, u32 stride, u32 width, SharedFloats floats)
{
    const std::size_t count = floats.size() / width;
    const bool isFirst = empty() && count <= std::numeric_limits<u32>::max();
    if (isFirst) sources.push_back({.count = static_cast<u32>(count), .parts = {}, .moves = {}});
    if (isFirst || (canShare(semantic) && floats.size() == std::size_t{getVertexCount()} * width))
    {
        attributes[semantic].stride = stride;
        sources.front().parts.push_back({semantic, 0, width, std::move(floats)});
        return;
    }
    Attribute& attribute = (*this)[semantic];
    attribute.stride = stride;
    attribute.data.assign(width == stride ? floats.size() : count * stride, 0.0f);
    if (width == stride)
        std::copy(floats.begin(), floats.end(), attribute.data.begin());
    else
        copyPart(attribute.data.data(), stride, {semantic, 0, width, std::move(floats)}, 0, count);
}

void Vertices::addZeros(i32 semantic, u32 stride)
{
    if (canShare(semantic))
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
    VertexSource::Part part{semantic, place, 1, std::move(floats)};
    if (sources.size() == 1)
    {
        sources.front().parts.push_back(std::move(part));
        return;
    }
    Attribute& attribute = getAttribute(semantic);
    copyPart(attribute.data.data(), attribute.stride, part, 0, attribute.count());
}

bool Vertices::erase(i32 semantic)
{
    if (!attributes.contains(semantic)) return false;
    if (!isSharing()) return unpacked().erase(semantic) != 0;
    for (VertexSource& source : sources)
    {
        const auto isErased = [semantic](const VertexSource::Part& part) { return part.semantic == semantic; };
        source.parts.erase(std::remove_if(source.parts.begin(), source.parts.end(), isErased), source.parts.end());
    }
    attributes.erase(semantic);
    if (empty()) sources.clear();
    return true;
}

std::span<const f32> Vertices::floatsOf(i32 semantic) const
{
    const auto found = attributes.find(semantic);
    if (found == attributes.end()) return {};
    const bool isMoved = movingOf(semantic, found->second.stride) && isSharing() && !sources.front().moves.empty();
    if (sources.size() == 1 && !isMoved)
        for (const VertexSource::Part& part : sources.front().parts)
            if (part.semantic == semantic && part.width == found->second.stride)
                return {part.floats.data(), std::size_t{getVertexCount()} * part.width};
    unpacked();
    return found->second.data;
}

bool Vertices::isOneSource() const
{
    return sources.size() == 1 && strideOf(kPosition0) == kSelectorStride && lacksSelector(sources.front());
}

void Vertices::appendSource(Vertices mesh, u32 selector)
{
    VertexSource& source = mesh.sources.front();
    source.first = getVertexCount();
    source.selector = static_cast<f32>(selector);
    sources.push_back(std::move(source));
}

std::size_t Vertices::postpone(const zr::vector<SelectorMatrix>& list)
{
    if (!isOneSource() || sources.front().selector != 0.0f) return 0;
    zr::vector<VertexMove>& moves = sources.front().moves;
    for (std::size_t i = 0; i < list.size(); ++i)
    {
        if (list[i].selector != 0) continue;
        if (moves.size() == kMaxMoves) return i;
        moves.emplace_back(list[i].matrix);
    }
    return list.size();
}

void Vertices::interleaveSources(u8* out, std::size_t first, std::size_t count) const
{
    const auto isBehind = [](std::size_t vertex, const VertexSource& source) { return vertex < source.first; };
    auto source = std::upper_bound(sources.begin(), sources.end(), first, isBehind) - 1;
    const std::size_t vertexBytes = getStride() * sizeof(f32);
    for (; count != 0; ++source)
    {
        const std::size_t from = first - source->first;
        if (from == 0 && source + 1 != sources.end()) prefetchSource(source[1]);
        const std::size_t taken = std::min(count, source->count - from);
        interleaveSource(out, *source, from, taken);
        out += taken * vertexBytes;
        first += taken;
        count -= taken;
    }
}

void Vertices::interleaveSource(u8* out, const VertexSource& source, std::size_t first, std::size_t count) const
{
    const std::size_t stride = getStride();
    LaneList<const f32> lanes;
    std::size_t width = 0;
    for (const VertexSource::Part& part : source.parts)
    {
        lanes.push_back({part.floats.data() + first * part.width, part.width, offsetOf(part.semantic) + part.place});
        width += part.width;
    }
    const bool needsSelector = strideOf(kPosition0) == kSelectorStride && lacksSelector(source);
    const std::size_t selectorOffset = offsetOf(kPosition0) + kSelectorPlace;
    // Vertices are moved as floats, which the file's place for them may not be aligned for.
    zr::vector<f32> aligned(source.moves.empty() || isAligned(out) ? 0 : kBlockVertices * stride);
    for (std::size_t done = 0; done < count; done += kBlockVertices)
    {
        const std::size_t block = std::min(kBlockVertices, count - done);
        u8* const place = out + done * stride * sizeof(f32);
        u8* const packedBlock = aligned.empty() ? place : reinterpret_cast<u8*>(aligned.data());
        if (width + needsSelector != stride) std::memset(packedBlock, 0, block * stride * sizeof(f32));
        moveLanes(lanes, packedBlock, stride * sizeof(f32), block);
        for (Lane<const f32>& lane : lanes)
            lane.data += block * lane.width;
        for (std::size_t i = 0; needsSelector && i < block; ++i)
            std::memcpy(packedBlock + (i * stride + selectorOffset) * sizeof(f32), &source.selector, sizeof(f32));
        if (!source.moves.empty()) movePacked(reinterpret_cast<f32*>(packedBlock), block, source.moves);
        if (!aligned.empty()) std::memcpy(place, packedBlock, block * stride * sizeof(f32));
    }
}

void Vertices::movePacked(f32* floats, std::size_t count, const zr::vector<VertexMove>& moves) const
{
    const std::size_t stride = getStride();
    for (const auto& [semantic, attribute] : attributes)
    {
        if (const Moving moving = movingOf(semantic, attribute.stride))
            for (const VertexMove& move : moves)
                moving(floats, stride, count, move);
        floats += attribute.stride;
    }
}

void Vertices::readPositions(f32* out, const VertexSource& source, std::size_t first, std::size_t count) const
{
    for (std::size_t i = 0; i < count; ++i)
        out[i * kSelectorStride + kSelectorPlace] = source.selector;
    for (const VertexSource::Part& part : source.parts)
        if (part.semantic == kPosition0) copyPart(out, kSelectorStride, part, first, count);
    for (const VertexMove& move : source.moves)
        movePoints(out, kSelectorStride, count, move);
}

void Vertices::resolveSources() const
{
    const std::size_t count = getVertexCount();
    const VertexSources from = std::exchange(sources, {});
    for (auto& [semantic, attribute] : attributes)
        attribute.data.assign(count * attribute.stride, 0.0f);
    for (const VertexSource& source : from)
    {
        if (strideOf(kPosition0) == kSelectorStride)
            for (std::size_t i = source.first; i < std::size_t{source.first} + source.count; ++i)
                attributes[kPosition0].data[i * kSelectorStride + kSelectorPlace] = source.selector;
        for (const VertexSource::Part& part : source.parts)
        {
            Attribute& attribute = attributes[part.semantic];
            copyPart(attribute.data.data() + std::size_t{source.first} * attribute.stride, attribute.stride, part, 0,
                     source.count);
        }
        for (auto& [semantic, attribute] : attributes)
            if (const Moving moving = movingOf(semantic, attribute.stride))
                for (const VertexMove& move : source.moves)
                    moving(attribute.data.data() + std::size_t{source.first} * attribute.stride, attribute.stride,
                           source.count, move);
    }
}
} // namespace model
