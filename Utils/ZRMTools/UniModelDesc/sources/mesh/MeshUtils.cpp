#include "mesh/MeshUtils.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include <zr/checked.h>
#include <zr/exceptions.h>

namespace model
{
namespace
{
/// The positions of a mesh; none when there is no POSITION0 of at least three floats.
struct Positions
{
    explicit Positions(const Vertices& vertices)
    {
        if (const PackedVertices* packed = vertices.getPacked())
        {
            if (vertices.strideOf(kPosition0) < 3) return;
            data = packed->data() + vertices.offsetOf(kPosition0);
            stride = packed->getStride();
            count = packed->getCount();
            return;
        }
        const Attribute* attribute = vertices.findAttribute(kPosition0);
        if (!attribute || attribute->stride < 3) return;
        data = attribute->data.data();
        stride = attribute->stride;
        count = attribute->count();
    }

    void check(u32 index) const
    {
        if (index >= count) zr::raiseBadIndex();
    }
    const f32* operator[](u32 index) const { return data + index * stride; }

    const f32* data = nullptr;
    std::size_t stride = 0;
    std::size_t count = 0;
};

/// Equal infinities agree, though their difference is NaN. Without a branch, as all that follows: which axes of a
/// triangle are flat can't be foreseen.
int isWithin(f32 a, f32 b, f32 epsilon)
{
    return static_cast<int>(a == b) | static_cast<int>(std::abs(a - b) <= epsilon);
}

bool hasEqualIndices(u32 a, u32 b, u32 c)
{
    return a == b || b == c || a == c;
}

/// For three different indices below the number of positions.
bool isFlat(const f32* a, const f32* b, const f32* c, f32 epsilon)
{
    int flatAxes = 0;
    for (int axis = 0; axis < 3; ++axis)
        flatAxes += isWithin(a[axis], b[axis], epsilon) & isWithin(a[axis], c[axis], epsilon);
    return flatAxes >= 2;
}

/// A set of numbers below a limit that knows how many members lie below any number.
class RankedSet
{
public:
    explicit RankedSet(std::size_t limit) : words((limit + 63) / 64), ranks(words.size()) {}

    void insert(u32 number) { words[number / 64] |= u64{1} << (number % 64); }
    bool contains(u32 number) const { return words[number / 64] >> (number % 64) & 1; }

    /// To be called once, behind the last `insert`. Gives the number of members.
    u32 count()
    {
        u32 sum = 0;
        for (std::size_t i = 0; i < words.size(); ++i)
        {
            ranks[i] = sum;
            sum += static_cast<u32>(std::popcount(words[i]));
        }
        return sum;
    }
    /// Members below `number`.
    u32 rank(u32 number) const
    {
        const u64 below = words[number / 64] & ((u64{1} << (number % 64)) - 1);
        return ranks[number / 64] + static_cast<u32>(std::popcount(below));
    }
    template <class Function>
    void forEach(Function function) const
    {
        for (std::size_t i = 0; i < words.size(); ++i)
            for (u64 word = words[i]; word; word &= word - 1)
                function(static_cast<u32>(64 * i) + static_cast<u32>(std::countr_zero(word)));
    }

private:
    zr::vector<u64> words;
    zr::vector<u32> ranks;
};
} // namespace

bool isDegenerateTriangle(u32 a, u32 b, u32 c, const Vertices& vertices, f32 epsilon)
{
    if (hasEqualIndices(a, b, c)) return true;
    const Positions positions(vertices);
    if (!positions.stride) return false;
    for (const u32 index : {a, b, c})
        positions.check(index);
    return isFlat(positions[a], positions[b], positions[c], epsilon);
}

u32 removeDegenerateTriangles(const Vertices& vertices, Indices& indices, f32 epsilon)
{
    if (indices.primitiveType != kTriangles) return 0;
    zr::vector<u32>& list = indices.indices;
    const std::size_t whole = list.size() / 3 * 3;
    const Positions positions(vertices);
    const auto isDegenerate = [&](const u32* corners)
    {
        if (hasEqualIndices(corners[0], corners[1], corners[2])) return true;
        if (!positions.stride) return false;
        for (int corner = 0; corner < 3; ++corner)
            positions.check(corners[corner]);
        return isFlat(positions[corners[0]], positions[corners[1]], positions[corners[2]], epsilon);
    };

    std::size_t first = 0; // most meshes have none
    while (first < whole && !isDegenerate(&list[first]))
        first += 3;
    // All indices are checked before anything moves.
    for (std::size_t i = first; i < whole; i += 3)
        isDegenerate(&list[i]);
    std::size_t kept = first;
    for (std::size_t i = first; i < whole; i += 3)
    {
        if (isDegenerate(&list[i])) continue;
        std::copy_n(&list[i], 3, &list[kept]);
        kept += 3;
    }
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(kept), list.begin() + static_cast<std::ptrdiff_t>(whole));
    return static_cast<u32>((whole - kept) / 3);
}

bool hasBadTriangle(const Vertices& vertices, const Indices& indices)
{
    const Positions positions(vertices);
    if (indices.primitiveType != kTriangles || !positions.stride) return false;
    const zr::vector<u32>& list = indices.indices;
    for (std::size_t i = 0; i + 3 <= list.size(); i += 3)
        if (!hasEqualIndices(list[i], list[i + 1], list[i + 2]) &&
            *std::max_element(&list[i], &list[i] + 3) >= positions.count)
            return true;
    return false;
}

void checkIndices(const Indices& indices, std::size_t vertexCount)
{
    for (const u32 index : indices.indices)
        if (index >= vertexCount) zr::raiseBadIndex();
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
    renumberVertices(vertices, from, to, 0);
}

void renumberVertices(Vertices& vertices, u32 from, u32 to, std::size_t first)
{
    Attribute& positions = vertices[kPosition0];
    if (positions.stride != 4) return;
    const std::size_t count = positions.count();
    for (std::size_t i = first; i < count; ++i)
    {
        f32& fourth = positions.data[4 * i + 3];
        if (entryIndexOf(fourth) == from && from != kNoEntry) fourth = static_cast<f32>(to);
    }
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
    RankedSet used(count);
    for (const u32 index : indices.indices)
    {
        if (index >= count) zr::raiseBadIndex();
        used.insert(index);
    }
    const u32 kept = used.count();
    if (kept == count) return 0;

    vertices.checkConsistent();
    for (auto& [semantic, attribute] : vertices.getAttributes())
    {
        const std::size_t stride = attribute.stride;
        f32* out = attribute.data.data();
        used.forEach(
            [&, data = attribute.data.data()](u32 vertex)
            {
                // Never overlaps: the target lies below by at least one vertex, or is the source itself.
                if (out != data + vertex * stride) std::memcpy(out, data + vertex * stride, stride * sizeof(f32));
                out += stride;
            });
        attribute.data.resize(kept * stride);
    }
    for (u32& index : indices.indices)
        index = used.rank(index);
    return count - kept;
}
} // namespace model
