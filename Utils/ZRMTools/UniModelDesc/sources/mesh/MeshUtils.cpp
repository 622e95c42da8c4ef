#include "mesh/MeshUtils.h"

#include <algorithm>

#include "mesh/PositionView.h"
#include "mesh/VertexFloats.h"
#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
using Positions = PositionView<const f32>;

/// Indices that are asked for ahead of their use: beside the positions, the processor does so by itself too late.
constexpr std::size_t kAhead = 4096;

/// Whether there are three coordinates to compare.
bool areUsable(const Positions& positions)
{
    return positions.width >= 3;
}

bool hasEqualIndices(u32 a, u32 b, u32 c)
{
    return a == b || b == c || a == c;
}

/// Equal infinities agree, though their difference is NaN.
ChunkMask isWithin(Chunk a, Chunk b, Chunk epsilon)
{
    return (a == b) | (absolute(a - b) <= epsilon);
}

/// The axes of a vertex, and a zero: bone bytes, as numbers, are so small that their differences take the processor
/// long.
Chunk readPosition(const Positions& positions, u32 vertex)
{
    constexpr ChunkMask kAxes = {-1, -1, -1, 0};
    const f32* const p = positions[vertex];
    if (positions.width == 3) return readThree(p);
    return std::bit_cast<Chunk>(std::bit_cast<ChunkMask>(readChunk(p)) & kAxes);
}

/// Without a branch: which axes of a triangle are flat can't be foreseen.
inline bool isFlat(Chunk a, Chunk b, Chunk c, Chunk epsilon)
{
    const ChunkMask flat = isWithin(a, b, epsilon) & isWithin(a, c, epsilon);
    return flat[0] + flat[1] + flat[2] <= -2;
}

/// @throws as `isDegenerateTriangle`
inline bool isDegenerate(const Positions& positions, u32 a, u32 b, u32 c, f32 epsilon)
{
    if (hasEqualIndices(a, b, c)) return true;
    if (!areUsable(positions)) return false;
    if (std::max({a, b, c}) >= positions.count) zr::raiseBadIndex();
    return isFlat(readPosition(positions, a), readPosition(positions, b), readPosition(positions, c),
                  Chunk{epsilon, epsilon, epsilon, epsilon});
}
} // namespace

bool isDegenerateTriangle(u32 a, u32 b, u32 c, const Vertices& vertices, f32 epsilon)
{
    return isDegenerate(Positions(vertices), a, b, c, epsilon);
}

u32 removeDegenerateTriangles(const Vertices& vertices, Indices& indices, f32 epsilon)
{
    if (indices.primitiveType != kTriangles) return 0;
    zr::vector<u32>& list = indices.indices;
    const std::size_t whole = list.size() / 3 * 3;
    const Positions positions(vertices);
    const auto isGone = [&](const u32* corners)
    { return isDegenerate(positions, corners[0], corners[1], corners[2], epsilon); };

    std::size_t kept = 0; // most meshes have none
    for (; kept < whole && !isGone(&list[kept]); kept += 3)
        __builtin_prefetch(&list[std::min(kept + kAhead, whole - 1)]);
    if (kept == whole) return 0;
    // All indices are checked before anything moves.
    if (hasBadTriangle(vertices, indices)) zr::raiseBadIndex();
    for (std::size_t i = kept; i < whole; i += 3)
    {
        if (isGone(&list[i])) continue;
        std::copy_n(&list[i], 3, &list[kept]);
        kept += 3;
    }
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(kept), list.begin() + static_cast<std::ptrdiff_t>(whole));
    return static_cast<u32>((whole - kept) / 3);
}

bool hasBadTriangle(const Vertices& vertices, const Indices& indices)
{
    const Positions positions(vertices);
    const zr::vector<u32>& list = indices.indices;
    if (indices.primitiveType != kTriangles || !areUsable(positions) || areBelow(indices, positions.count))
        return false;
    for (std::size_t i = 0; i + 3 <= list.size(); i += 3)
        if (!hasEqualIndices(list[i], list[i + 1], list[i + 2]) &&
            *std::max_element(&list[i], &list[i] + 3) >= positions.count)
            return true;
    return false;
}

bool areBelow(const Indices& indices, std::size_t vertexCount)
{
    const u32 limit = static_cast<u32>(std::min<std::size_t>(vertexCount, 0xFFFFFFFFu));
    u32 beyond = 0; // without a branch, many are looked at at once
    for (const u32 index : indices.indices)
        beyond |= index >= limit ? 1u : 0u;
    return beyond == 0;
}

void checkIndices(const Indices& indices, std::size_t vertexCount)
{
    if (!areBelow(indices, vertexCount)) zr::raiseBadIndex();
}

zr::vector<u8> markUsed(const Indices& indices, std::size_t vertexCount)
{
    zr::vector<u8> isUsed(vertexCount); // bytes: bits would make each mark wait for the one before
    for (const u32 index : indices.indices)
    {
        if (index >= vertexCount) return {};
        isUsed[index] = 1;
    }
    return isUsed;
}

void renumberVertices(Vertices& vertices, u32 from, u32 to)
{
    renumberVertices(vertices, from, to, 0, vertices.getVertexCount());
}

void renumberVertices(Vertices& vertices, u32 from, u32 to, std::size_t first, std::size_t end)
{
    if (vertices.strideOf(kPosition0) == 0) vertices[kPosition0];
    const PositionView<f32> positions(vertices);
    if (positions.width != 4 || from == kNoEntry) return;
    for (std::size_t i = first; i < std::min(end, positions.count); ++i)
        if (f32& fourth = positions[i][3]; entryIndexOf(fourth) == from) fourth = static_cast<f32>(to);
    if (PackedVertices* packed = vertices.getPacked() ? vertices.pack() : nullptr) packed->areDistinct = false;
}

zr::vector<u32> uniqueSorted(const Indices& indices)
{
    zr::vector<u32> unique = indices.indices;
    std::sort(unique.begin(), unique.end());
    unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
    return unique;
}

Attribute selectVertices(const zr::vector<u32>& numbers, const Attribute& attribute)
{
    const std::size_t stride = attribute.stride;
    Attribute selected;
    selected.stride = attribute.stride;
    selected.data.reserve(numbers.size() * stride);
    const f32* const data = attribute.data.data();
    for (std::size_t i = 0; i < numbers.size();)
    {
        const std::size_t first = i++;
        while (i < numbers.size() && numbers[i] == numbers[i - 1] + 1)
            ++i;
        selected.data.insert(selected.data.end(), data + numbers[first] * stride,
                             data + (numbers[i - 1] + std::size_t{1}) * stride);
    }
    return selected;
}

Vertices extractVertices(const Indices& indices, const Vertices& vertices)
{
    vertices.checkConsistent();
    const zr::vector<u32> unique = uniqueSorted(indices);
    if (!unique.empty() && unique.back() >= vertices.getVertexCount()) zr::raiseBadIndex();

    Vertices extracted;
    for (const auto& [semantic, attribute] : vertices.getAttributes())
        extracted[semantic] = selectVertices(unique, attribute);
    return extracted;
}

void compactIndices(Indices& indices)
{
    const zr::vector<u32> unique = uniqueSorted(indices);
    for (u32& index : indices.indices)
        index = static_cast<u32>(std::lower_bound(unique.begin(), unique.end(), index) - unique.begin());
}

u32 removeUnusedVertices(Vertices& vertices, Indices& indices)
{
    const u32 count = vertices.getVertexCount();
    if (count == 0) return 0;
    const zr::vector<u8> isUsed = markUsed(indices, count);
    if (isUsed.empty()) zr::raiseBadIndex();
    zr::vector<u32> kept;
    zr::vector<u32> numbers(count);
    for (u32 vertex = 0; vertex < count; ++vertex)
    {
        numbers[vertex] = static_cast<u32>(kept.size());
        if (isUsed[vertex]) kept.push_back(vertex);
    }
    if (kept.size() == count) return 0;

    vertices.checkConsistent();
    for (auto& [semantic, attribute] : vertices.getAttributes())
        attribute = selectVertices(kept, attribute);
    for (u32& index : indices.indices)
        index = numbers[index];
    return count - static_cast<u32>(kept.size());
}
} // namespace model
