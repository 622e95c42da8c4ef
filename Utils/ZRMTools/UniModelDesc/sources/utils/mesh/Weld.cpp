#include "utils/mesh/Weld.h"

#include <algorithm>
#include <bit>

#include "mesh/MeshUtils.h"

// A grid over the first three floats, hashed into a table of chains of kept vertices. Its cells are many times wider
// than the tolerance, so that a vertex rarely has to look into more than its own cell, and still small against the
// distance of vertices in a mesh. A chain that grows long holds vertices that differ in their other floats, or a mesh
// of tiny size, and becomes a tree.
namespace model
{
namespace
{
constexpr std::size_t kGridAxes = 3;
/// Width of a cell in tolerances.
constexpr f64 kCellWidth = 32.0;
constexpr u32 kLongestChain = 32;
/// Marks a table entry that names a tree; such counts of vertices don't fit any memory.
constexpr u32 kTreeFlag = 0x80000000u;
/// Vertices whose places are computed ahead, so that the table and the vertices in it are on their way to the cache
/// when their turn comes.
constexpr u32 kBlock = 128;
constexpr u32 kAhead = 8;

/// Odd numbers without a pattern, by which the coordinates of a cell go into its key.
constexpr u64 kFactors[kGridAxes + 1] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                         0x27D4EB2F165667C5u};

/// Where a vertex lies.
struct GridPlace
{
    /// Of its own cell.
    u64 key = 0;
    u32 slot = 0;
    /// The key's step to the neighbour cell on each axis that lies within reach, or 0.
    bool hasNeighbours = false;
    /// It has a NaN for a coordinate, and so is nowhere.
    bool isNowhere = false;
    u64 steps[kGridAxes] = {};
};

class WeldGrid
{
public:
    WeldGrid(const PackedPoints& packed, f32 weldTolerance)
        : points(packed),
          tolerance(weldTolerance),
          cellsPerUnit(1.0 / (kCellWidth * std::max(static_cast<f64>(weldTolerance), 1e-30))),
          // A little more than the tolerance, for what rounding hides; in cells.
          reach(static_cast<f64>(weldTolerance) * cellsPerUnit * 1.0001),
          axes(std::min(packed.dimension, kGridAxes)),
          next(packed.count, kNoVertex),
          tree(points, next, weldTolerance)
    {
        const std::size_t size = std::bit_ceil(std::max<std::size_t>(points.count, 16));
        heads.assign(size, kNoVertex);
        shift = 64 - std::countr_zero(size);
    }

    GridPlace find(const f32* point) const
    {
        GridPlace place;
        if (points.dimension > kBitsFloat)
        {
            // The fourth float has to agree by its bits, so it belongs to the cell.
            u32 bits;
            std::memcpy(&bits, point + kBitsFloat, sizeof(bits));
            place.key = bits * kFactors[kGridAxes];
        }
        for (std::size_t axis = 0; axis < axes; ++axis)
            addAxis(place, point[axis], axis);
        place.slot = slotOf(place.key);
        return place;
    }

    void prefetchSlot(const GridPlace& place) const { __builtin_prefetch(&heads[place.slot]); }
    void prefetchVertex(const GridPlace& place) const
    {
        // A prefetch of any address is harmless, but only that of a vertex helps.
        if (const u32 head = heads[place.slot]; !(head & kTreeFlag)) __builtin_prefetch(points[head]);
    }

    /// The highest vertex in the grid that agrees with this one, `kNoVertex` when there is none.
    u32 findHighest(const GridPlace& place, u32 vertex)
    {
        if (!place.hasNeighbours) return search(place.slot, vertex);
        u32 best = kNoVertex;
        for (unsigned corner = 0; corner < 1u << kGridAxes; ++corner)
        {
            u64 key = place.key;
            bool isRepeated = false;
            for (unsigned axis = 0; axis < kGridAxes; ++axis)
                if (corner >> axis & 1)
                {
                    key += place.steps[axis];
                    isRepeated |= place.steps[axis] == 0;
                }
            if (isRepeated) continue;
            const u32 found = search(slotOf(key), vertex);
            if (found != kNoVertex && (best == kNoVertex || found > best)) best = found;
        }
        return best;
    }

    /// To be called in ascending order: chains have their highest vertex in front.
    void insert(const GridPlace& place, u32 vertex)
    {
        u32& head = heads[place.slot];
        if (head != kNoVertex && head & kTreeFlag)
        {
            tree.insert(head & ~kTreeFlag, vertex);
            return;
        }
        next[vertex] = head;
        head = vertex;
    }

private:
    void addAxis(GridPlace& place, f32 coordinate, std::size_t axis) const
    {
        const f64 x = static_cast<f64>(coordinate) * cellsPerUnit;
        // Cells are numbered as far as that is exact enough. Beyond, floats are so far apart that only equal ones
        // agree.
        if (!(std::abs(x) < 0x1p50))
        {
            place.isNowhere |= std::isnan(x);
            place.key += (u64{std::bit_cast<u32>(coordinate)} << 32) * kFactors[axis];
            return;
        }
        const i64 truncated = static_cast<i64>(x);
        const i64 cell = truncated - (x < static_cast<f64>(truncated));
        const f64 fraction = x - static_cast<f64>(cell);
        place.key += static_cast<u64>(cell) * kFactors[axis];
        if (fraction >= reach && fraction < 1.0 - reach) return;
        place.hasNeighbours = true;
        place.steps[axis] = fraction < reach ? u64{0} - kFactors[axis] : kFactors[axis];
    }

    u32 slotOf(u64 key) const
    {
        key = (key ^ (key >> 32)) * 0xD6E8FEB86659FD93u;
        return static_cast<u32>((key ^ (key >> 29)) * kFactors[0] >> shift);
    }

    u32 search(u32 slot, u32 vertex)
    {
        u32& head = heads[slot];
        if (head != kNoVertex && head & kTreeFlag) return tree.findHighest(head & ~kTreeFlag, vertex);
        u32 length = 0;
        for (u32 i = head; i != kNoVertex; i = next[i], ++length)
            if (isSamePoint(points[i], points[vertex], points.dimension, tolerance)) return i;
        if (length > kLongestChain) head = tree.create(head) | kTreeFlag;
        return kNoVertex;
    }

    const PackedPoints points;
    const f32 tolerance;
    const f64 cellsPerUnit;
    const f64 reach;
    const std::size_t axes;
    int shift;
    zr::vector<u32> heads;
    zr::vector<u32> next;
    VertexKdTree tree;
};
} // namespace

zr::vector<u32> findWeldTargets(const PackedPoints& points, f32 tolerance)
{
    WeldGrid grid(points, tolerance);
    zr::vector<u32> targets(points.count);
    GridPlace places[kBlock];
    for (std::size_t first = 0; first < points.count; first += kBlock)
    {
        const std::size_t block = std::min<std::size_t>(kBlock, points.count - first);
        for (std::size_t i = 0; i < block; ++i)
        {
            places[i] = grid.find(points[first + i]);
            grid.prefetchSlot(places[i]);
        }
        for (std::size_t i = 0; i < block; ++i)
        {
            if (i + kAhead < block) grid.prefetchVertex(places[i + kAhead]);
            const u32 vertex = static_cast<u32>(first + i);
            targets[vertex] = vertex;
            if (places[i].isNowhere) continue;
            const u32 found = grid.findHighest(places[i], vertex);
            if (found == kNoVertex)
                grid.insert(places[i], vertex);
            else
                targets[vertex] = found;
        }
    }
    return targets;
}

u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance)
{
    if (!vertices.isConsistent()) return 0;
    const u32 unused = removeUnusedVertices(vertices, indices);
    const u32 count = vertices.getVertexCount();
    const std::size_t stride = vertices.getStride();
    if (count == 0) return unused;

    zr::vector<f32> packed = vertices.interleave();
    zr::vector<u32> targets = findWeldTargets({packed.data(), count, stride}, tolerance);
    u32 kept = 0;
    for (u32 vertex = 0; vertex < count; ++vertex)
    {
        if (targets[vertex] != vertex)
        {
            // The target lies below, so it has its new number already.
            targets[vertex] = targets[targets[vertex]];
            continue;
        }
        if (kept != vertex) std::memcpy(&packed[kept * stride], &packed[vertex * stride], stride * sizeof(f32));
        targets[vertex] = kept++;
    }
    if (kept == count) return unused;

    vertices.deinterleave(packed, kept);
    for (u32& index : indices.indices)
        index = targets[index];
    return unused + (count - kept);
}
} // namespace model
