#include "utils/mesh/Weld.h"

#include <algorithm>

#include "mesh/MeshUtils.h"
#include "utils/mesh/CellCounts.h"
#include "utils/mesh/WeldGrid.h"
#include <zr/checked.h>

// Two ways to one result: in a mesh where most vertices are far from all others, a walk ahead tells these apart; in any
// other each vertex goes through the grid.
namespace model
{
namespace
{
/// Vertices whose places are computed ahead, so that the table is on its way to the cache when their turn comes.
constexpr std::size_t kBlock = 128;
/// How far back the same vertex is looked for first: the triangles of a mesh without shared vertices mostly share some
/// of their corners with the one before.
constexpr std::size_t kRecent = 4;
/// Vertices by which the kind of a mesh is told.
constexpr std::size_t kSample = 1024;
/// A mesh of lone vertices has at least so many for each that shares its cell.
constexpr std::size_t kLonePerShared = 4;
/// As far ahead a vertex is asked for: the table's random accesses keep the processor from doing so by itself.
constexpr std::size_t kAhead = 64;

/// The nearest of the last vertices before the one at `place` in a block that has the same bytes; `place` for none.
std::size_t findRecent(const f32* points, std::size_t stride, std::size_t place)
{
    const f32* point = points + place * stride;
    for (std::size_t back = 1; back <= std::min(kRecent, place); ++back)
        if (isSameVertex(point - back * stride, point, stride)) return place - back;
    return place;
}

/// Whether hardly any vertex shares a cell with another, by the first ones.
bool areMostlyLone(const Vertices& vertices, const CellFinder& finder)
{
    if (vertices.getVertexCount() < 4 * kSample) return false;
    const std::size_t stride = vertices.getStride();
    zr::vector<f32> points(kSample * stride);
    vertices.interleaveInto(points.data(), 0, kSample);
    CellCounts counts(kSample);
    zr::vector<CellPlace> places(kSample);
    for (std::size_t i = 0; i < kSample; ++i)
    {
        finder.find(&points[i * stride], places[i]);
        counts.touch(places[i].hash);
    }
    const auto isShared = [&counts](const CellPlace& place) { return place.isAnywhere || counts.isShared(place.hash); };
    return std::count_if(places.begin(), places.end(), isShared) < std::ptrdiff_t{kSample / kLonePerShared};
}

/// The weld of a mesh in which few vertices have others near them. A first walk counts how often each cell is touched:
/// by the vertices in it, and by those within reach of it. Of two that agree each touches the other's cell, so a vertex
/// whose cell no other touches is kept as it is. Only the rest go through the grid, and only they are in it.
class LoneWeld
{
public:
    LoneWeld(Vertices& vertices, const zr::vector<u8>& usedVertices, f32 tolerance, const CellFinder& cellFinder)
        : isUsed(usedVertices),
          finder(cellFinder),
          points(*vertices.pack()),
          ranges(vertices),
          grid(points, tolerance, ranges, points.getCount() / 8),
          counts(points.getCount()),
          notes(points.getCount())
    {
    }

    /// The walk ahead. False when it has met too many that share their cells: then this weld doesn't pay.
    bool touchAll()
    {
        CellPlace places[kBlock];
        std::size_t numShared = 0;
        for (std::size_t first = 0; first < points.getCount(); first += kBlock)
        {
            const std::size_t block = std::min(kBlock, points.getCount() - first);
            for (std::size_t i = 0; i < block; ++i)
            {
                __builtin_prefetch(points[std::min(first + i + kAhead, points.getCount() - 1)]);
                finder.find(points[first + i], places[i]);
                counts.prefetch(places[i].hash);
            }
            for (std::size_t i = 0; i < block; ++i)
            {
                notes[first + i] = places[i].isNowhere ? kNowhere : places[i].hash & ~kNowhere;
                if (!isUsed[first + i] || places[i].isNowhere) continue;
                if (places[i].isAnywhere) return false;
                numShared += touch(places[i]);
            }
            if (numShared > kSample / kLonePerShared + first / kLonePerShared) return false;
        }
        return true;
    }

    /// Returns the new numbers.
    zr::vector<u32> run()
    {
        for (std::size_t i = 0; i < notes.size(); ++i)
        {
            prefetch(i);
            const u32 note = std::exchange(notes[i], kDropped);
            if (!isUsed[i]) continue;
            notes[i] = findOrKeep(points[i], note);
            numKept += notes[i] == numKept;
        }
        if (numKept != points.getCount()) points.shrink(numKept);
        points.areDistinct = areAllPlaced; // what has the same bytes agrees, unless it is nowhere
        return std::move(notes);
    }

private:
    /// Returns 1 for a cell that was touched before, and more for a vertex near many borders: touching all these cells
    /// would take longer than the grid.
    std::size_t touch(const CellPlace& place)
    {
        std::size_t numNeighbours = 0;
        const auto touchNeighbour = [&](u64 key)
        {
            counts.touch(hashOf(key));
            ++numNeighbours;
        };
        if (place.hasNeighbours()) place.forEachNeighbour(kFactors, touchNeighbour);
        return counts.touch(place.hash) + numNeighbours / kLonePerShared;
    }

    u32 findOrKeep(const f32* point, u32 note)
    {
        areAllPlaced &= (note & kNowhere) == 0;
        if (!mayHaveOthers(note))
        {
            grid.keep(point, numKept);
            return numKept;
        }
        CellPlace place;
        grid.finder.find(point, place);
        return grid.findOrAdd(place, point, numKept);
    }

    bool mayHaveOthers(u32 note) const { return (note & kNowhere) == 0 && counts.isShared(note); }

    /// What the vertices behind this one will ask for.
    void prefetch(std::size_t i) const
    {
        const std::size_t last = notes.size() - 1;
        counts.prefetch(notes[std::min(i + 2 * kAhead, last)]);
        const std::size_t ahead = std::min(i + kAhead, last);
        if (!mayHaveOthers(notes[ahead])) return;
        __builtin_prefetch(points[ahead]);
        grid.prefetch(notes[ahead]);
    }

    static constexpr u32 kNowhere = 1;

    const zr::vector<u8>& isUsed;
    const CellFinder finder;
    PackedVertices& points;
    const FloatRanges ranges;
    WeldGrid grid;
    CellCounts counts;
    /// Of each vertex the hash of its cell but for the lowest bit, or `kNowhere`; in the end its number.
    zr::vector<u32> notes;
    u32 numKept = 0;
    bool areAllPlaced = true;
};

/// The weld of any mesh: each vertex looks for those before it.
zr::vector<u32> weldAll(Vertices& vertices, const zr::vector<u8>& isUsed, f32 tolerance)
{
    const std::size_t count = vertices.getVertexCount();
    const std::size_t stride = vertices.getStride();
    // Attributes are packed block by block: in a mesh of many copies, the memory for most of them is never touched.
    const bool wasPacked = vertices.getPacked() != nullptr;
    PackedVertices ofAttributes = wasPacked ? PackedVertices() : PackedVertices(count, stride);
    PackedVertices& kept = wasPacked ? *vertices.pack() : ofAttributes;
    zr::vector<f32> packedBlock(wasPacked ? 0 : kBlock * stride);

    const FloatRanges ranges(vertices);
    WeldGrid grid(kept, tolerance, ranges, count / 2);
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
            grid.finder.find(points + i * stride, places[i]);
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
} // namespace

zr::vector<u32> weld(Vertices& vertices, const zr::vector<u8>& isUsed, f32 tolerance)
{
    // Where places are shared, as in a mesh of flat triangles, it may be that no vertex shares its other floats, too.
    for (const std::size_t others : {std::size_t{0}, kCrowdAxes})
    {
        const CellFinder finder(tolerance, vertices.getStride(), others);
        if (!areMostlyLone(vertices, finder)) continue;
        LoneWeld lone(vertices, isUsed, tolerance, finder);
        if (lone.touchAll()) return lone.run();
    }
    return weldAll(vertices, isUsed, tolerance);
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
