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
} // namespace

zr::vector<u32> TriangleOrders::order(const zr::vector<u32>& list, std::size_t numVertices,
                                      const zr::vector<u32>& closedPieces)
{
    if (isFull())
    {
        shapes.clear();
        indices.clear();
    }
    zr::vector<Piece> pieces;
    pieces.reserve(closedPieces.size());
    for (std::size_t i = 1; i < closedPieces.size(); ++i)
        pieces.push_back(find(list, std::size_t{3} * closedPieces[i - 1], std::size_t{3} * closedPieces[i]));
    zr::vector<u32> ordered(list.size());
    const std::size_t numSearched = search(list, pieces, numVertices, ordered.data());
    keepOrders(list, pieces, ordered.data());
    spread(list, pieces, numSearched, ordered.data());
    return ordered;
}

TriangleOrders::Piece TriangleOrders::find(const zr::vector<u32>& list, std::size_t begin, std::size_t end)
{
    const std::size_t length = end - begin;
    const Piece unknown{begin, end, kNoShape, true};
    if (length > kMaxLength) return unknown;
    const u32* const piece = &list[begin];
    const u64 hash = hashOf(piece, length);
    if (const auto found = shapes.find(hash); found != shapes.end())
    {
        const Shape& shape = found->second;
        const bool isKnown = shape.length == length && isEqual(piece, &indices[shape.begin], length);
        return isKnown ? Piece{begin, end, shape.begin, false} : unknown;
    }
    if (isFull()) return unknown;
    const u32 shape = static_cast<u32>(indices.size());
    shapes.emplace(hash, Shape{shape, static_cast<u32>(length)});
    indices.resize(shape + 2 * length);
    copyRaised(piece, length, 0 - piece[0], &indices[shape]);
    return {begin, end, shape, true};
}

std::size_t TriangleOrders::search(const zr::vector<u32>& list, const zr::vector<Piece>& pieces,
                                   std::size_t numVertices, u32* ordered)
{
    if (std::all_of(pieces.begin(), pieces.end(), [](const Piece& piece) { return piece.isNew; }))
    {
        meshopt_optimizeVertexCache(ordered, list.data(), list.size(), numVertices);
        return list.size();
    }
    zr::vector<u32> unknown;
    for (const Piece& piece : pieces)
        if (piece.isNew) unknown.insert(unknown.end(), list.begin() + piece.begin, list.begin() + piece.end);
    if (unknown.empty()) return 0;
    // The library makes tables of all vertices; what others repeat stands in front as a rule, and needs few of them.
    numVertices = std::size_t{*std::max_element(unknown.begin(), unknown.end())} + 1;
    meshopt_optimizeVertexCache(ordered, unknown.data(), unknown.size(), numVertices);
    return unknown.size();
}

void TriangleOrders::keepOrders(const zr::vector<u32>& list, const zr::vector<Piece>& pieces, const u32* searched)
{
    for (const Piece& piece : pieces)
    {
        if (!piece.isNew) continue;
        const std::size_t length = piece.length();
        if (piece.shape != kNoShape)
            copyRaised(searched, length, 0 - list[piece.begin], &indices[piece.shape + length]);
        searched += length;
    }
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
            copyRaised(&indices[piece->shape + length], length, list[piece->begin], ordered + piece->begin);
    }
}
} // namespace model
