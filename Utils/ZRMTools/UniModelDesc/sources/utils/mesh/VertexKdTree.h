#pragma once

#include <cmath>

#include "mesh/VertexFloats.h"
#include "utils/mesh/FloatRanges.h"

namespace model
{
constexpr u32 kNoVertex = 0xFFFFFFFFu;

/// The float of a packed vertex that is an index or four bytes, not a number, and so is compared by its bits.
constexpr std::size_t kBitsFloat = 3;
constexpr ChunkMask kBitsLane = {0, 0, 0, -1};

/// Whether all floats agree: the fourth by its bits, any other unless the difference is above `tolerance`. So a NaN,
/// and the difference of two equal infinities, which is one, agree.
inline bool isSamePoint(const f32* a, const f32* b, std::size_t dimension, f32 tolerance)
{
    // Most that differ do so here.
    if (std::abs(a[0] - b[0]) > tolerance) return false;
    if (dimension > kBitsFloat)
    {
        const Chunk limit = {tolerance, tolerance, tolerance, tolerance};
        ChunkMask isFar = isDifferent(readChunk(a), readChunk(b)) & kBitsLane;
        forEachChunk(dimension, [&](std::size_t place)
                     { isFar |= absolute(readChunk(a + place) - readChunk(b + place)) > limit; });
        return !anyOf(isFar); // the fourth float of the same bits isn't far
    }
    for (std::size_t i = 1; i < dimension; ++i)
        if (std::abs(a[i] - b[i]) > tolerance) return false;
    return true;
}

/// Sets of vertices that lie so close together that only their other floats tell them apart: trees that split on any
/// float, each node in the middle of its region, so that the order of insertion has no influence on the depth.
///
/// A node has three children: below the split, from the split on, and NaN, which agrees with everything and is
/// therefore always looked at. Leaves are chains of vertices. An object is for one thread at a time, the search too.
class VertexKdTree
{
public:
    /// packed  looked at as long as the tree lives; what was inserted stays as it is
    /// links   one for each vertex, shared with the owner: a vertex is in one chain at a time
    /// ranges  of all vertices that will be inserted
    VertexKdTree(const PackedVertices& packed, u32* links, f32 weldTolerance, const FloatRanges& floatRanges);

    /// A new tree; the result names it. It takes over the chain that starts at `head`.
    u32 create(u32 head);
    void insert(u32 tree, u32 vertex);
    /// The highest vertex of the tree that agrees with a point, `kNoVertex` when there is none.
    u32 findHighest(u32 tree, const f32* point) const;

private:
    static constexpr u32 kLeaf = 0xFFFFFFFFu;
    enum Side
    {
        kBelow,
        kFrom,
        kNaN
    };

    struct TreeNode
    {
        u32 axis = kLeaf;
        /// Of an inner node: by `Side`.
        u32 children[3] = {};
        f64 split = 0.0;
        /// Of a leaf.
        u32 head = kNoVertex;
        u32 size = 0;
        u32 limit = 32;
    };
    using Range = FloatRanges::Range;
    struct Step
    {
        u32 node;
        Side side;
    };

    f64 coordinate(u32 vertex, u32 axis) const { return static_cast<f64>(points[vertex][axis]); }
    Side sideOf(const TreeNode& node, u32 vertex) const;
    /// The finite values of an axis among the vertices of a leaf.
    Range spread(const TreeNode& leaf, u32 axis) const;
    u32 widestAxis(const TreeNode& leaf) const;
    Range region(u32 axis, const zr::vector<Step>& path) const;
    void prepend(u32 leaf, u32 vertex);
    void splitLeaf(u32 leaf, zr::vector<Step>& path);

    const PackedVertices& points;
    u32* next;
    f32 tolerance;
    /// `tolerance` widened by what rounding can hide in a difference.
    f64 reach;
    const FloatRanges& bounds;
    zr::vector<TreeNode> nodes;
    mutable zr::vector<u32> pending;
    zr::vector<Step> path;
};
} // namespace model
