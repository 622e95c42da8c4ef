#include "utils/Weld.h"

#include <algorithm>
#include <bit>

#include "utils/MeshUtils.h"

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

class WeldGrid
{
public:
    WeldGrid(const PackedPoints& packed, f32 weldTolerance)
        : points(packed),
          tolerance(weldTolerance),
          reach(static_cast<f64>(weldTolerance) * 1.000001),
          cellsPerUnit(1.0 / (kCellWidth * std::max(static_cast<f64>(weldTolerance), 1e-30))),
          axes(std::min(packed.dimension, kGridAxes)),
          next(packed.count, kNoVertex),
          tree(points, next, weldTolerance)
    {
        const std::size_t size = std::bit_ceil(std::max<std::size_t>(points.count, 16));
        heads.assign(size, kNoVertex);
        shift = 64 - std::countr_zero(size);
    }

    /// The highest vertex in the grid that agrees with this one, `kNoVertex` when there is none.
    u32 findHighest(u32 vertex)
    {
        const f32* point = points[vertex];
        u64 cells[kGridAxes][2];
        std::size_t choices[kGridAxes] = {1, 1, 1};
        for (std::size_t axis = 0; axis < axes; ++axis)
        {
            const f64 x = static_cast<f64>(point[axis]);
            cells[axis][0] = cellOf(x - reach) * kFactors[axis];
            cells[axis][1] = cellOf(x + reach) * kFactors[axis];
            choices[axis] = cells[axis][0] == cells[axis][1] ? 1 : 2;
        }
        for (std::size_t axis = axes; axis < kGridAxes; ++axis)
            cells[axis][0] = 0;

        const u64 bits = bitsOf(point);
        u32 best = kNoVertex;
        for (std::size_t i = 0; i < choices[0]; ++i)
            for (std::size_t j = 0; j < choices[1]; ++j)
                for (std::size_t k = 0; k < choices[2]; ++k)
                {
                    const u32 found = search(slotOf(cells[0][i] + cells[1][j] + cells[2][k] + bits), vertex);
                    if (found != kNoVertex && (best == kNoVertex || found > best)) best = found;
                }
        return best;
    }

    /// To be called in ascending order: chains have their highest vertex in front.
    void insert(u32 vertex)
    {
        const f32* point = points[vertex];
        u64 key = bitsOf(point);
        for (std::size_t axis = 0; axis < axes; ++axis)
            key += cellOf(static_cast<f64>(point[axis])) * kFactors[axis];
        u32& head = heads[slotOf(key)];
        if (head != kNoVertex && head & kTreeFlag)
        {
            tree.insert(head & ~kTreeFlag, vertex);
            return;
        }
        next[vertex] = head;
        head = vertex;
    }

private:
    static constexpr u64 kFactors[kGridAxes + 1] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                                    0x27D4EB2F165667C5u};

    /// Cells are numbered as far as that is exact enough. Beyond, floats are so far apart that only equal ones agree.
    u64 cellOf(f64 x) const
    {
        const f64 cell = std::floor(x * cellsPerUnit);
        if (std::abs(cell) < 0x1p62) return static_cast<u64>(static_cast<i64>(cell));
        return u64{std::bit_cast<u32>(static_cast<f32>(x))} << 32;
    }

    /// The fourth float has to agree by its bits, so it belongs to the cell.
    u64 bitsOf(const f32* point) const
    {
        if (points.dimension <= kBitsFloat) return 0;
        u32 bits;
        std::memcpy(&bits, point + kBitsFloat, sizeof(bits));
        return bits * kFactors[kGridAxes];
    }

    std::size_t slotOf(u64 key) const
    {
        key = (key ^ (key >> 32)) * 0xD6E8FEB86659FD93u;
        return static_cast<std::size_t>((key ^ (key >> 29)) * kFactors[0] >> shift);
    }

    u32 search(std::size_t slot, u32 vertex)
    {
        u32& head = heads[slot];
        u32 length = 0;
        if (head == kNoVertex || !(head & kTreeFlag))
        {
            for (u32 i = head; i != kNoVertex; i = next[i], ++length)
                if (isSamePoint(points[i], points[vertex], points.dimension, tolerance)) return i;
            if (length > kLongestChain) head = tree.create(head) | kTreeFlag;
            return kNoVertex;
        }
        return tree.findHighest(head & ~kTreeFlag, vertex);
    }

    const PackedPoints points;
    const f32 tolerance;
    const f64 reach;
    const f64 cellsPerUnit;
    const std::size_t axes;
    int shift;
    zr::vector<u32> heads;
    zr::vector<u32> next;
    VertexKdTree tree;
};

bool hasNaN(const f32* point, std::size_t axes)
{
    return std::any_of(point, point + axes, [](f32 x) { return std::isnan(x); });
}
} // namespace

zr::vector<u32> findWeldTargets(const PackedPoints& points, f32 tolerance)
{
    WeldGrid grid(points, tolerance);
    const std::size_t axes = std::min(points.dimension, kGridAxes);
    zr::vector<u32> targets(points.count);
    for (u32 vertex = 0; vertex < points.count; ++vertex)
    {
        targets[vertex] = vertex;
        if (hasNaN(points[vertex], axes)) continue;
        const u32 found = grid.findHighest(vertex);
        if (found == kNoVertex)
            grid.insert(vertex);
        else
            targets[vertex] = found;
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
