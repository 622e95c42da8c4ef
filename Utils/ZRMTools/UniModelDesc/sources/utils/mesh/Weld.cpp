#include "utils/mesh/Weld.h"

#include <algorithm>
#include <bit>
#include <memory>

#include "mesh/MeshUtils.h"
#include "utils/mesh/CellTable.h"
#include "utils/mesh/FloatRanges.h"
#include "utils/mesh/VertexKdTree.h"
#include <zr/checked.h>

// A grid over the first three floats, hashed into a table of chains of kept vertices. Its cells are many times wider
// than the tolerance, so that a vertex rarely has to look into more than its own cell, and still small against the
// distance of vertices in a mesh.
//
// A chain that grows long holds vertices that differ in their other floats: its cell becomes a crowd, parted by a
// second grid over some of those. A chain that grows long there too, as in a mesh of tiny size, becomes a tree.
namespace model
{
namespace
{
/// Floats whose cells make the key in the first grid, and in the second one.
constexpr std::size_t kPlaceAxes = 3;
constexpr std::size_t kCrowdAxes = 5;
/// Width of a cell in tolerances.
constexpr f64 kCellWidth = 50.0;
/// Where the cells begin, in cells: coordinates are mostly round numbers, which shall not lie at the border of two.
constexpr f64 kCellOffset = 0.381966011250105;
constexpr u32 kLongestChain = 32;
/// Marks a table entry that names a tree, or is the one of a crowd; such counts of vertices don't fit any memory.
constexpr u32 kTreeFlag = 0x80000000u;
constexpr u32 kCrowd = 0xFFFFFFFEu;
/// Vertices whose places are computed ahead, so that the table is on its way to the cache when their turn comes.
constexpr std::size_t kBlock = 128;
/// How far back the same vertex is looked for first: the triangles of a mesh without shared vertices mostly share some
/// of their corners with the one before.
constexpr std::size_t kRecent = 4;
/// As far ahead a vertex is asked for: the table's random accesses keep the processor from doing so by itself.
constexpr std::size_t kAhead = 64;

/// Odd numbers without a pattern, by which the coordinates of a cell go into its key.
constexpr u64 kFactors[kPlaceAxes + kCrowdAxes] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                                   0xD6E8FEB86659FD93u, 0xA0761D6478BD642Fu, 0xE7037ED1A0B428DBu,
                                                   0x8EBC6AF09C88C6E3u, 0x589965CC75374CC3u};
constexpr u64 kBitsFactor = 0x27D4EB2F165667C5u;

u32 hashOf(u64 key)
{
    key = (key ^ (key >> 32)) * 0xD6E8FEB86659FD93u;
    return static_cast<u32>((key ^ (key >> 29)) * kFactors[0] >> 32);
}

/// The cell in which some floats of a vertex lie.
struct CellPlace
{
    u64 key = 0;
    /// Of the key, when the place is complete.
    u32 hash = 0;
    /// One of the floats is NaN.
    bool isNowhere = false;
    /// A bit for each axis on which the cell before, or the one behind, lies within reach.
    u8 before = 0;
    u8 behind = 0;

    bool hasNeighbours() const { return (before | behind) != 0; }

    /// Calls `function` with the key of each cell besides the own that lies within reach.
    template <class Function>
    void forEachNeighbour(const u64* factors, Function function) const
    {
        u64 keys[1 << kCrowdAxes];
        keys[0] = key;
        std::size_t count = 1;
        for (std::size_t axis = 0; (before | behind) >> axis != 0; ++axis)
        {
            if (!((before | behind) >> axis & 1)) continue;
            const u64 step = before >> axis & 1 ? u64{0} - factors[axis] : factors[axis];
            for (std::size_t i = 0; i < count; ++i)
                keys[count + i] = keys[i] + step;
            count *= 2;
        }
        for (std::size_t i = 1; i < count; ++i)
            function(keys[i]);
    }
};

/// Cells of one width along any float.
class CellScale
{
public:
    explicit CellScale(f32 tolerance)
        : cellsPerUnit(1.0 / (kCellWidth * std::max(static_cast<f64>(tolerance), 1e-30))),
          // A little more than the tolerance, for what rounding hides; in cells.
          reach(static_cast<f64>(tolerance) * cellsPerUnit * 1.0001)
    {
    }

    /// `add` of the first axes to the key of a place, without a branch on any of them. False, with nothing added, when
    /// there is more to say: a float is large or NaN, or another cell within reach.
    bool addInner(u64& key, const f32* point) const
    {
        bool isInner = true;
        u64 sum = key;
        for (std::size_t axis = 0; axis < kPlaceAxes; ++axis)
        {
            const f64 x = static_cast<f64>(point[axis]) * cellsPerUnit + kCellOffset;
            const f64 whole = x + kNearestWhole;
            sum += std::bit_cast<u64>(whole) * kFactors[axis];
            isInner &= std::abs(x) < kManyCells;
            isInner &= std::abs(x - (whole - kNearestWhole)) <= 0.5 - reach;
        }
        key = isInner ? sum : key;
        return isInner;
    }

    /// Adds a float to a place, as the coordinate on one of its axes.
    void add(CellPlace& place, f32 coordinate, std::size_t axis, u64 factor) const
    {
        const f64 x = static_cast<f64>(coordinate) * cellsPerUnit + kCellOffset;
        if (!(std::abs(x) < kManyCells))
        {
            place.isNowhere |= std::isnan(x);
            place.key += (u64{std::bit_cast<u32>(coordinate)} << 32) * factor;
            return;
        }
        const f64 sum = x + kNearestWhole;
        const f64 fraction = x - (sum - kNearestWhole);
        place.key += std::bit_cast<u64>(sum) * factor;
        place.before |= static_cast<u8>((fraction < reach - 0.5) << axis);
        place.behind |= static_cast<u8>((fraction > 0.5 - reach) << axis);
    }

private:
    /// Cells are numbered as far as that is exact enough. Beyond, floats are so far apart that only equal ones agree.
    static constexpr f64 kManyCells = 0x1p50;
    /// In the low bits of a sum with this number stands the nearest whole number.
    static constexpr f64 kNearestWhole = 0x1.8p52;

    f64 cellsPerUnit;
    f64 reach;
};

/// The nearest of the last vertices before the one at `place` in a block that has the same bytes; `place` for none.
std::size_t findRecent(const f32* points, std::size_t stride, std::size_t place)
{
    const f32* point = points + place * stride;
    for (std::size_t back = 1; back <= std::min(kRecent, place); ++back)
        if (isSameVertex(point - back * stride, point, stride)) return place - back;
    return place;
}

struct Free
{
    void operator()(void* pointer) const { std::free(pointer); }
};

class WeldGrid
{
public:
    /// kept  its vertices are looked at from their `findOrAdd` on
    WeldGrid(PackedVertices& kept, f32 weldTolerance, const FloatRanges& floatRanges)
        : points(kept),
          tolerance(weldTolerance),
          scale(weldTolerance),
          axes(std::min(points.getStride(), kPlaceAxes)),
          ranges(floatRanges),
          cells(points.getCount() / 2),
          parts(0),
          next(static_cast<u32*>(zr_malloc(points.getCount() * sizeof(u32)))),
          tree(points, next.get(), weldTolerance, ranges)
    {
    }

    void find(const f32* point, CellPlace& place) const
    {
        // The fourth float has to agree by its bits, so it belongs to the cell.
        u64 key = points.getStride() > kBitsFloat ? std::bit_cast<u32>(point[kBitsFloat]) * kBitsFactor : 0;
        const bool isInner = axes == kPlaceAxes && scale.addInner(key, point);
        place = {key};
        for (std::size_t axis = 0; !isInner && axis < axes; ++axis)
            scale.add(place, point[axis], axis, kFactors[axis]);
        place.hash = hashOf(place.key);
    }

    void prefetch(const CellPlace& place) const
    {
        cells.prefetch(place.hash);
        if (place.hasNeighbours()) place.forEachNeighbour(kFactors, [this](u64 key) { cells.prefetch(hashOf(key)); });
    }

    /// Whether the point is that of a kept vertex. Then no other agrees with it, as kept ones don't agree.
    bool isKept(u32 vertex, const f32* point) const
    {
        return vertex != kNoVertex && isSameVertex(points[vertex], point, points.getStride());
    }

    /// The highest vertex in the grid that agrees with a point. When there is none, `candidate`, which lies above all
    /// that came before: it becomes a copy of the point.
    u32 findOrAdd(const CellPlace& place, const f32* point, u32 candidate)
    {
        CellTable::Cell& cell = cells.find(place.hash);
        if (cell.value == kCrowd) return findOrAddInCrowd(place, point, candidate);
        u32 best = searchPlain(cell, point);
        searchAround(place, point, best);
        if (best != kNoVertex) return best;
        keep(point, candidate);
        if (cell.value != kCrowd)
            insert(cells, cell, place.hash, candidate);
        else
            insertIntoCrowd(findInCrowd(place.key, point), candidate);
        return candidate;
    }

    void keep(const f32* point, u32 candidate)
    {
        if (point != points[candidate]) copyVertex(point, points[candidate], points.getStride());
    }

private:
    static void raise(u32& best, u32 found)
    {
        if (found != kNoVertex && (best == kNoVertex || found > best)) best = found;
    }

    u32 findOrAddInCrowd(const CellPlace& place, const f32* point, u32 candidate)
    {
        const CellPlace inCrowd = findInCrowd(place.key, point);
        u32 best = searchCrowd(inCrowd, point);
        searchAround(place, point, best);
        if (best != kNoVertex) return best;
        keep(point, candidate);
        insertIntoCrowd(inCrowd, candidate);
        return candidate;
    }

    /// Raises `best` to what is found in the cells around the own.
    void searchAround(const CellPlace& place, const f32* point, u32& best)
    {
        if (place.hasNeighbours() && !isKept(best, point))
            place.forEachNeighbour(kFactors, [&](u64 key) { raise(best, search(key, point)); });
    }

    /// In a cell of the first grid.
    u32 search(u64 key, const f32* point)
    {
        CellTable::Cell& cell = cells.find(hashOf(key));
        return cell.value == kCrowd ? searchCrowd(findInCrowd(key, point), point) : searchPlain(cell, point);
    }

    /// In one that is no crowd, but may become one.
    u32 searchPlain(CellTable::Cell& cell, const f32* point)
    {
        bool isLong = false;
        const u32 found = searchCell(cell, point, isLong);
        if (isLong) part(cell);
        return found;
    }

    u32 searchCrowd(const CellPlace& place, const f32* point)
    {
        u32 best = searchPart(place.hash, point);
        if (place.hasNeighbours() && !isKept(best, point))
            place.forEachNeighbour(kFactors + kPlaceAxes,
                                   [&](u64 key) { raise(best, searchPart(hashOf(key), point)); });
        return best;
    }

    u32 searchPart(u32 hash, const f32* point)
    {
        CellTable::Cell& cell = parts.find(hash);
        bool isLong = false;
        const u32 found = searchCell(cell, point, isLong);
        if (isLong) cell.value = tree.create(cell.value) | kTreeFlag;
        return found;
    }

    u32 searchCell(const CellTable::Cell& cell, const f32* point, bool& isLong)
    {
        if (cell.value == kNoVertex) return kNoVertex;
        if (cell.value & kTreeFlag) return tree.findHighest(cell.value & ~kTreeFlag, point);
        u32 length = 0;
        for (u32 i = cell.value; i != kNoVertex; i = next[i], ++length)
            if (isSamePoint(points[i], point, points.getStride(), tolerance)) return i;
        isLong = length > kLongestChain;
        return kNoVertex;
    }

    /// To be called in ascending order: chains have their highest vertex in front.
    void insert(CellTable& table, CellTable::Cell& cell, u32 hash, u32 vertex)
    {
        if (cell.value != kNoVertex && cell.value & kTreeFlag)
        {
            tree.insert(cell.value & ~kTreeFlag, vertex);
            return;
        }
        next[vertex] = cell.value;
        table.set(cell, hash, vertex);
    }

    void insertIntoCrowd(const CellPlace& place, u32 vertex)
    {
        insert(parts, parts.find(place.hash), place.hash, vertex);
    }

    /// Turns a cell of the first grid into a crowd, or a tree where no other float parts vertices. What shares its hash
    /// is in its chain, too, and will be looked for by its own key.
    void part(CellTable::Cell& cell)
    {
        if (crowdAxes.empty()) crowdAxes = ranges.widest(kBitsFloat + 1, kCrowdAxes);
        if (crowdAxes.empty())
        {
            cell.value = tree.create(cell.value) | kTreeFlag;
            return;
        }
        zr::vector<u32> members;
        for (u32 i = cell.value; i != kNoVertex; i = next[i])
            members.push_back(i);
        cell.value = kCrowd;
        for (std::size_t i = members.size(); i-- > 0;)
        {
            const f32* point = points[members[i]];
            CellPlace place;
            find(point, place);
            insertIntoCrowd(findInCrowd(place.key, point), members[i]);
        }
    }

    CellPlace findInCrowd(u64 key, const f32* point) const
    {
        CellPlace place{key};
        for (std::size_t i = 0; i < crowdAxes.size(); ++i)
            scale.add(place, point[crowdAxes[i]], i, kFactors[kPlaceAxes + i]);
        place.hash = hashOf(place.key);
        return place;
    }

    PackedVertices& points;
    const f32 tolerance;
    const CellScale scale;
    const std::size_t axes;
    const FloatRanges& ranges;
    zr::vector<u32> crowdAxes;
    CellTable cells;
    CellTable parts; ///< of crowds
    std::unique_ptr<u32[], Free> next;
    VertexKdTree tree;
};
} // namespace

zr::vector<u32> weld(Vertices& vertices, const zr::vector<u8>& isUsed, f32 tolerance)
{
    const std::size_t count = vertices.getVertexCount();
    const std::size_t stride = vertices.getStride();
    // Attributes are packed block by block: in a mesh of many copies, the memory for most of them is never touched.
    const bool wasPacked = vertices.getPacked() != nullptr;
    PackedVertices ofAttributes = wasPacked ? PackedVertices() : PackedVertices(count, stride);
    PackedVertices& kept = wasPacked ? *vertices.pack() : ofAttributes;
    zr::vector<f32> packedBlock(wasPacked ? 0 : kBlock * stride);

    const FloatRanges ranges(vertices);
    WeldGrid grid(kept, tolerance, ranges);
    zr::vector<u32> numbers(count, kDropped);
    CellPlace places[kBlock];
    std::size_t recent[kBlock];
    u32 numKept = 0;
    bool areAllPlaced = true;
    for (std::size_t first = 0; first < count; first += kBlock)
    {
        const std::size_t block = std::min(kBlock, count - first);
        if (!wasPacked) vertices.interleaveInto(packedBlock.data(), first, block);
        const f32* points = wasPacked ? kept[first] : packedBlock.data();
        for (std::size_t i = 0; i < block; ++i)
        {
            if (wasPacked) __builtin_prefetch(kept[std::min(first + i + kAhead, count - 1)]);
            recent[i] = i;
            recent[i] = recent[findRecent(points, stride, i)];
            if (recent[i] != i) continue;
            grid.find(points + i * stride, places[i]);
            grid.prefetch(places[i]);
        }
        for (std::size_t i = 0; i < block; ++i)
        {
            if (!isUsed[first + i]) continue;
            const f32* const point = points + i * stride;
            const CellPlace& place = places[recent[i]];
            const bool isPlaced = !place.isNowhere;
            areAllPlaced &= isPlaced;
            if (const u32 same = numbers[first + recent[i]]; isPlaced && grid.isKept(same, point))
            {
                numbers[first + i] = same;
                continue;
            }
            // What is kept closes up behind the others that are.
            if (!isPlaced) grid.keep(point, numKept);
            const u32 number = isPlaced ? grid.findOrAdd(place, point, numKept) : numKept;
            numbers[first + i] = number;
            numKept += number == numKept;
        }
    }
    if (numKept != count) kept.shrink(numKept);
    kept.areDistinct = areAllPlaced; // what has the same bytes agrees, unless it is nowhere
    if (!wasPacked) vertices.setPacked(std::move(ofAttributes));
    return numbers;
}

u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance)
{
    const u32 count = vertices.getVertexCount();
    if (!vertices.isConsistent() || count == 0) return 0;
    const zr::vector<u8> isUsed = markUsed(indices, count);
    if (isUsed.empty()) zr::raiseBadIndex();
    const zr::vector<u32> numbers = weld(vertices, isUsed, tolerance);
    const u32 kept = vertices.getVertexCount();
    if (kept == count) return 0;
    for (u32& index : indices.indices)
        index = numbers[index];
    return count - kept;
}
} // namespace model
