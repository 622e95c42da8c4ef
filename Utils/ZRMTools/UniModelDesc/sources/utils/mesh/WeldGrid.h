#pragma once

#include <memory>

#include "mesh/PackedVertices.h"
#include "utils/mesh/CellPlace.h"
#include "utils/mesh/CellTable.h"
#include "utils/mesh/FloatRanges.h"

// A grid over the first three floats, hashed into a table of chains of kept vertices. Its cells are many times wider
// than the tolerance, so that a vertex rarely has to look into more than its own cell, and still small against the
// distance of vertices in a mesh.
//
// A chain that grows long holds vertices that differ in their other floats: its cell becomes a crowd, parted by a
// second grid over some of those. A chain that grows long there too, as in a mesh of tiny size, becomes a tree.
namespace model
{
/// The kept vertices of a weld, by where they are.
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
    static constexpr u32 kLongestChain = 32;
    /// Marks a table entry that names a tree, or is the one of a crowd; such counts of vertices don't fit any memory.
    static constexpr u32 kTreeFlag = 0x80000000u;
    static constexpr u32 kCrowd = 0xFFFFFFFEu;

    struct Free
    {
        void operator()(void* pointer) const { std::free(pointer); }
    };

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
} // namespace model
