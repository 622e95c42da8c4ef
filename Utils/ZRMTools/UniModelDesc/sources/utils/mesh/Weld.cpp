#include "utils/mesh/Weld.h"

#include <algorithm>
#include <memory>

#include "mesh/MeshUtils.h"
#include "utils/mesh/CellCounts.h"
#include "utils/mesh/CellPlace.h"
#include "utils/mesh/CellTable.h"
#include "utils/mesh/FloatRanges.h"
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
constexpr u32 kLongestChain = 32;
/// Marks a table entry that names a tree, or is the one of a crowd; such counts of vertices don't fit any memory.
constexpr u32 kTreeFlag = 0x80000000u;
constexpr u32 kCrowd = 0xFFFFFFFEu;
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

struct Free
{
    void operator()(void* pointer) const { std::free(pointer); }
};

class WeldGrid
{
public:
    /// kept  its vertices are looked at from their `findOrAdd` on
    WeldGrid(PackedVertices& kept, f32 weldTolerance, const FloatRanges& floatRanges, std::size_t expectedCells)
        : finder(weldTolerance, kept.getStride()),
          points(kept),
          tolerance(weldTolerance),
          scale(weldTolerance),
          ranges(floatRanges),
          cells(expectedCells),
          parts(0),
          next(static_cast<u32*>(zr_malloc(points.getCount() * sizeof(u32)))),
          tree(points, next.get(), weldTolerance, ranges)
    {
    }

    void prefetch(u32 hash) const { cells.prefetch(hash); }
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

    const CellFinder finder;

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
            finder.find(point, place);
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
    const FloatRanges& ranges;
    zr::vector<u32> crowdAxes;
    CellTable cells;
    CellTable parts; ///< of crowds
    std::unique_ptr<u32[], Free> next;
    VertexKdTree tree;
};
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
    bool touch(const CellPlace& place)
    {
        if (place.hasNeighbours()) place.forEachNeighbour(kFactors, [this](u64 key) { counts.touch(hashOf(key)); });
        return counts.touch(place.hash);
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
