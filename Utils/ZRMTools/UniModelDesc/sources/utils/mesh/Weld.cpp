#include "utils/mesh/Weld.h"

#include <algorithm>
#include <bit>
#include <memory>

#include "mesh/MeshUtils.h"
#include "utils/mesh/VertexKdTree.h"
#include <zr/checked.h>

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
/// Where the cells begin, in cells: coordinates are mostly round numbers, which shall not lie at the border of two.
constexpr f64 kCellOffset = 0.381966011250105;
constexpr u32 kLongestChain = 32;
/// Marks a table entry that names a tree; such counts of vertices don't fit any memory.
constexpr u32 kTreeFlag = 0x80000000u;
/// Vertices whose places are computed ahead, so that the table is on its way to the cache when their turn comes.
constexpr u32 kBlock = 128;
/// As far ahead a vertex is asked for: the table's random accesses keep the processor from doing so by itself.
constexpr std::size_t kAhead = 64;

/// Odd numbers without a pattern, by which the coordinates of a cell go into its key.
constexpr u64 kFactors[kGridAxes + 1] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                         0x27D4EB2F165667C5u};

/// Where a vertex lies.
struct GridPlace
{
    /// Of its own cell.
    u64 key = 0;
    u32 hash = 0;
    /// It has a NaN for a coordinate, and so is nowhere.
    bool isNowhere = false;
    /// A bit for each axis on which the cell before, or the one behind, lies within reach.
    u8 before = 0;
    u8 behind = 0;

    bool hasNeighbours() const { return (before | behind) != 0; }
};

/// A table of the cells that have vertices, found by the hash of their key; cells of one hash count as one.
class CellTable
{
public:
    struct Cell
    {
        u32 hash = 0;
        /// `kNoVertex` for a cell that isn't there.
        u32 value = kNoVertex;
    };

    explicit CellTable(std::size_t expected) : cells(std::bit_ceil(std::max<std::size_t>(expected, 16))) { setShift(); }

    void prefetch(u32 hash) const { __builtin_prefetch(&cells[hash >> shift]); }
    /// The cell, or where it belongs. Valid until the next `set`.
    Cell& find(u32 hash)
    {
        std::size_t slot = hash >> shift;
        while (cells[slot].value != kNoVertex && cells[slot].hash != hash)
            slot = (slot + 1) & (cells.size() - 1);
        return cells[slot];
    }
    void set(Cell& cell, u32 hash, u32 value)
    {
        const bool isNew = cell.value == kNoVertex;
        cell = {hash, value};
        if (isNew && ++used > cells.size() / 2) grow();
    }

private:
    void setShift() { shift = 32 - std::countr_zero(cells.size()); }

    /// The high bits of a hash give its slot, so all keep their order, and memory is gone through once. Most meshes
    /// have either far fewer cells than vertices or nearly as many.
    void grow()
    {
        zr::vector<Cell> old(cells.size() * 4);
        old.swap(cells);
        setShift();
        for (const Cell& cell : old)
            if (cell.value != kNoVertex) find(cell.hash) = cell;
    }

    zr::vector<Cell> cells;
    std::size_t used = 0;
    int shift = 0;
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
          cells(packed.count / 2),
          next(static_cast<u32*>(zr_malloc(packed.count * sizeof(u32)))),
          tree(points, next.get(), weldTolerance)
    {
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
        place.hash = hashOf(place.key);
        return place;
    }

    void prefetchCells(const GridPlace& place) const
    {
        cells.prefetch(place.hash);
        if (place.hasNeighbours()) forEachNeighbour(place, [this](u32 hash) { cells.prefetch(hash); });
    }
    /// The highest vertex in the grid that agrees with a point. When there is none, `candidate`, which stands for the
    /// point from then on and lies above all that came before.
    u32 findOrAdd(const GridPlace& place, const f32* point, u32 candidate)
    {
        CellTable::Cell& cell = cells.find(place.hash);
        u32 best = search(cell, point);
        if (place.hasNeighbours() && !isKept(best, point))
            forEachNeighbour(place,
                             [&](u32 hash)
                             {
                                 const u32 found = search(cells.find(hash), point);
                                 if (found != kNoVertex && (best == kNoVertex || found > best)) best = found;
                             });
        if (best != kNoVertex) return best;
        insert(cell, place.hash, candidate);
        return candidate;
    }

private:
    void addAxis(GridPlace& place, f32 coordinate, std::size_t axis) const
    {
        const f64 x = static_cast<f64>(coordinate) * cellsPerUnit + kCellOffset;
        // Cells are numbered as far as that is exact enough. Beyond, floats are so far apart that only equal ones
        // agree.
        if (!(std::abs(x) < 0x1p50))
        {
            place.isNowhere |= std::isnan(x);
            place.key += (u64{std::bit_cast<u32>(coordinate)} << 32) * kFactors[axis];
            return;
        }
        // The nearest whole number stands in the low bits of this sum.
        const f64 sum = x + 0x1.8p52;
        const f64 fraction = x - (sum - 0x1.8p52);
        place.key += std::bit_cast<u64>(sum) * kFactors[axis];
        place.before |= static_cast<u8>((fraction < reach - 0.5) << axis);
        place.behind |= static_cast<u8>((fraction > 0.5 - reach) << axis);
    }

    static u32 hashOf(u64 key)
    {
        key = (key ^ (key >> 32)) * 0xD6E8FEB86659FD93u;
        return static_cast<u32>((key ^ (key >> 29)) * kFactors[0] >> 32);
    }

    /// Calls `function` with the hash of each cell besides the own that lies within reach.
    template <class Function>
    static void forEachNeighbour(const GridPlace& place, Function function)
    {
        u64 keys[1 << kGridAxes] = {place.key};
        std::size_t count = 1;
        for (std::size_t axis = 0; axis < kGridAxes; ++axis)
        {
            if (!((place.before | place.behind) >> axis & 1)) continue;
            const u64 step = place.before >> axis & 1 ? u64{0} - kFactors[axis] : kFactors[axis];
            for (std::size_t i = 0; i < count; ++i)
                keys[count + i] = keys[i] + step;
            count *= 2;
        }
        for (std::size_t i = 1; i < count; ++i)
            function(hashOf(keys[i]));
    }

    /// Whether the point is that of a kept vertex. Then no other agrees with it, as kept ones don't agree.
    bool isKept(u32 vertex, const f32* point) const
    {
        return vertex != kNoVertex && std::memcmp(points[vertex], point, points.dimension * sizeof(f32)) == 0;
    }

    u32 search(CellTable::Cell& cell, const f32* point)
    {
        if (cell.value == kNoVertex) return kNoVertex;
        if (cell.value & kTreeFlag) return tree.findHighest(cell.value & ~kTreeFlag, point);
        u32 length = 0;
        for (u32 i = cell.value; i != kNoVertex; i = next[i], ++length)
            if (isSamePoint(points[i], point, points.dimension, tolerance)) return i;
        if (length > kLongestChain) cell.value = tree.create(cell.value) | kTreeFlag;
        return kNoVertex;
    }

    /// Chains have their highest vertex in front.
    void insert(CellTable::Cell& cell, u32 hash, u32 vertex)
    {
        if (cell.value != kNoVertex && cell.value & kTreeFlag)
        {
            tree.insert(cell.value & ~kTreeFlag, vertex);
            return;
        }
        next[vertex] = cell.value;
        cells.set(cell, hash, vertex);
    }

    struct Free
    {
        void operator()(void* pointer) const { std::free(pointer); }
    };

    const PackedPoints points;
    const f32 tolerance;
    const f64 cellsPerUnit;
    const f64 reach;
    const std::size_t axes;
    CellTable cells;
    std::unique_ptr<u32[], Free> next;
    VertexKdTree tree;
};
} // namespace

zr::vector<u32> weld(PackedVertices& vertices, const zr::vector<u8>& isUsed, f32 tolerance)
{
    const std::size_t count = vertices.getCount();
    const std::size_t bytes = vertices.getStride() * sizeof(f32);
    WeldGrid grid({vertices.data(), count, vertices.getStride()}, tolerance);
    zr::vector<u32> numbers(count, kDropped);
    GridPlace places[kBlock];
    u32 inBlock[kBlock];
    u32 kept = 0;
    bool areAllPlaced = true;
    for (u32 vertex = 0; vertex < count;)
    {
        std::size_t block = 0;
        for (; vertex < count && block < kBlock; ++vertex)
        {
            if (!isUsed[vertex]) continue;
            __builtin_prefetch(vertices[std::min(vertex + kAhead, count - 1)]);
            inBlock[block] = vertex;
            places[block] = grid.find(vertices[vertex]);
            grid.prefetchCells(places[block++]);
        }
        for (std::size_t i = 0; i < block; ++i)
        {
            const f32* point = vertices[inBlock[i]];
            const bool isPlaced = !places[i].isNowhere;
            areAllPlaced &= isPlaced;
            // The kept ones close up, so that those that are looked at again lie together. Whether this one is kept
            // isn't known yet: otherwise the next one takes its place.
            if (kept != inBlock[i]) std::memcpy(vertices[kept], point, bytes);
            numbers[inBlock[i]] = isPlaced ? grid.findOrAdd(places[i], vertices[kept], kept) : kept;
            kept += numbers[inBlock[i]] == kept;
        }
    }
    if (kept != count) vertices.shrink(kept);
    vertices.areDistinct = areAllPlaced; // what has the same bytes agrees, unless it is nowhere
    return numbers;
}

u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance)
{
    const u32 count = vertices.getVertexCount();
    if (!vertices.isConsistent() || count == 0) return 0;
    const zr::vector<u8> isUsed = markUsed(indices, count);
    if (isUsed.empty()) zr::raiseBadIndex();
    PackedVertices* packed = vertices.pack();
    const zr::vector<u32> numbers = weld(*packed, isUsed, tolerance);
    const u32 kept = vertices.getVertexCount();
    if (kept == count) return 0;
    for (u32& index : indices.indices)
        index = numbers[index];
    return count - kept;
}
} // namespace model
