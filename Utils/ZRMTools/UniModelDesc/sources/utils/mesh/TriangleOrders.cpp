#include "utils/mesh/TriangleOrders.h"

#include <algorithm>

#include <meshoptimizer.h>

namespace model
{
namespace
{
u64 hashOf(const u32* piece, std::size_t length)
{
    u64 hash = length;
    const u32 first = piece[0];
    for (std::size_t i = 0; i < length; i += 3)
    {
        const u64 ab = u64{piece[i] - first} << 32 | (piece[i + 1] - first);
        const u64 c = u64{piece[i + 2] - first} * 0xC2B2AE3D27D4EB4F;
        hash = (hash ^ ab ^ c) * 0x9E3779B97F4A7C15; // one multiplication a triangle waits for that before it
    }
    return hash;
}

bool isEqual(const u32* piece, const u32* shape, std::size_t length)
{
    u32 difference = 0;
    for (std::size_t i = 0; i < length; ++i)
        difference |= (piece[i] - piece[0]) ^ shape[i];
    return difference == 0;
}

void copyRaised(const u32* from, std::size_t length, u32 by, u32* to)
{
    for (std::size_t i = 0; i < length; ++i)
        to[i] = from[i] + by;
}

/// Counts as `meshopt_analyzeVertexCache` does: a cache of the vertices missed last.
class Cache
{
public:
    explicit Cache(std::size_t numVertices) : missedAt(numVertices) {}

    /// Of indices behind those counted before.
    u32 countMisses(const u32* indices, std::size_t length)
    {
        const u32 begin = now;
        for (std::size_t i = 0; i < length; ++i)
        {
            u32& at = missedAt[indices[i]];
            if (now - at > kCacheSize) at = now++;
        }
        return now - begin;
    }

private:
    u32 now = kCacheSize + 1;
    zr::vector<u32> missedAt;
};
} // namespace

TriangleOrder TriangleOrders::order(const zr::vector<u32>& list, std::size_t numVertices,
                                    const zr::vector<u32>& closedPieces)
{
    if (isFull()) *this = TriangleOrders();
    zr::vector<Piece> pieces;
    pieces.reserve(closedPieces.size());
    for (std::size_t i = 1; i < closedPieces.size(); ++i)
        pieces.push_back(find(list, std::size_t{3} * closedPieces[i - 1], std::size_t{3} * closedPieces[i]));

    const bool areAllNew = std::all_of(pieces.begin(), pieces.end(), [](const Piece& piece) { return piece.isNew; });
    const zr::vector<u32> some = areAllNew ? zr::vector<u32>() : collectNew(list, pieces);
    const zr::vector<u32>& unknown = areAllNew ? list : some;
    // The tables of a search are as long as this. What others repeat stands in front as a rule.
    if (!areAllNew) numVertices = some.empty() ? 0 : std::size_t{*std::max_element(some.begin(), some.end())} + 1;

    zr::vector<u32> ordered(list.size());
    if (!unknown.empty()) meshopt_optimizeVertexCache(ordered.data(), unknown.data(), unknown.size(), numVertices);
    const u32 numMisses = keepOrders(list, pieces, ordered.data(), numVertices);
    spread(list, pieces, unknown.size(), ordered.data());
    return {std::move(ordered), numMisses};
}

TriangleOrders::Piece TriangleOrders::find(const zr::vector<u32>& list, std::size_t begin, std::size_t end)
{
    const std::size_t length = end - begin;
    const Piece unknown{begin, end, kNoShape, true};
    if (length > kMaxLength) return unknown;
    const u32* const piece = &list[begin];
    const u64 hash = hashOf(piece, length);
    if (const auto found = numbers.find(hash); found != numbers.end())
    {
        const Shape& shape = shapes[found->second];
        const bool isKnown = shape.length == length && isEqual(piece, &indices[shape.begin], length);
        return isKnown ? Piece{begin, end, found->second, false} : unknown;
    }
    if (isFull()) return unknown;
    const u32 number = static_cast<u32>(shapes.size());
    numbers.emplace(hash, number);
    const std::size_t place = indices.size();
    shapes.push_back({place, length});
    indices.resize(place + 2 * length);
    copyRaised(piece, length, 0 - piece[0], &indices[place]);
    return {begin, end, number, true};
}

zr::vector<u32> TriangleOrders::collectNew(const zr::vector<u32>& list, const zr::vector<Piece>& pieces)
{
    zr::vector<u32> unknown;
    for (const Piece& piece : pieces)
        if (piece.isNew) unknown.insert(unknown.end(), &list[piece.begin], &list[piece.begin] + piece.length());
    return unknown;
}

u32 TriangleOrders::keepOrders(const zr::vector<u32>& list, const zr::vector<Piece>& pieces, const u32* searched,
                               std::size_t numVertices)
{
    Cache cache(numVertices);
    u32 numMisses = 0;
    for (const Piece& piece : pieces)
    {
        const std::size_t length = piece.length();
        const u32 misses = piece.isNew ? cache.countMisses(searched, length) : shapes[piece.shape].numMisses;
        numMisses += misses;
        if (!piece.isNew) continue; // a known one has no place in `searched`
        if (piece.shape != kNoShape)
        {
            Shape& shape = shapes[piece.shape];
            shape.numMisses = misses;
            copyRaised(searched, length, 0 - list[piece.begin], &indices[shape.begin + length]);
        }
        searched += length;
    }
    return numMisses;
}

void TriangleOrders::spread(const zr::vector<u32>& list, const zr::vector<Piece>& pieces, std::size_t numSearched,
                            u32* ordered) const
{
    // From the end, so that nothing is written over before it has moved. When only new pieces are left, they are in
    // their places.
    for (auto piece = pieces.rbegin(); piece != pieces.rend() && numSearched != piece->end; ++piece)
    {
        const std::size_t length = piece->length();
        if (piece->isNew)
        {
            std::copy_backward(ordered + numSearched - length, ordered + numSearched, ordered + piece->end);
            numSearched -= length;
        }
        else
            copyRaised(&indices[shapes[piece->shape].begin + length], length, list[piece->begin],
                       ordered + piece->begin);
    }
}
} // namespace model
