#pragma once

#include <algorithm>
#include <bit>
#include <cmath>

#include "utils/mesh/VertexKdTree.h"

/// The cells of the weld's grids: where a vertex lies, and which others are within reach.
namespace model
{
/// Floats whose cells make the key in the first grid, and in the second one.
constexpr std::size_t kPlaceAxes = 3;
constexpr std::size_t kCrowdAxes = 5;
/// Width of a cell in tolerances.
constexpr f64 kCellWidth = 50.0;
/// Where the cells begin, in cells: coordinates are mostly round numbers, which shall not lie at the border of two.
constexpr f64 kCellOffset = 0.381966011250105;

/// Odd numbers without a pattern, by which the coordinates of a cell go into its key.
constexpr u64 kFactors[kPlaceAxes + kCrowdAxes] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu, 0x165667B19E3779F9u,
                                                   0xD6E8FEB86659FD93u, 0xA0761D6478BD642Fu, 0xE7037ED1A0B428DBu,
                                                   0x8EBC6AF09C88C6E3u, 0x589965CC75374CC3u};
constexpr u64 kBitsFactor = 0x27D4EB2F165667C5u;

inline u32 hashOf(u64 key)
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
    /// One of the first three floats is NaN, which agrees with nothing; one of the others, which agrees with all.
    bool isNowhere = false;
    bool isAnywhere = false;
    /// A bit for each axis on which the cell before, or the one behind, lies within reach.
    u8 before = 0;
    u8 behind = 0;

    bool hasNeighbours() const { return (before | behind) != 0; }

    /// Calls `function` with the key of each cell besides the own that lies within reach.
    template <class Function>
    void forEachNeighbour(const u64* factors, Function function) const
    {
        u64 keys[1 << (kPlaceAxes + kCrowdAxes)];
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

/// Finds the cell of a packed vertex by its first floats.
class CellFinder
{
public:
    /// numOthers  floats behind the fourth one that count, too: `kCrowdAxes` at most, and fewer where there are fewer
    CellFinder(f32 tolerance, std::size_t vertexStride, std::size_t numOthers = 0)
        : scale(tolerance),
          stride(vertexStride),
          others(std::min(numOthers, stride - std::min(stride, kBitsFloat + 1)))
    {
    }

    void find(const f32* point, CellPlace& place) const
    {
        // The fourth float has to agree by its bits, so it belongs to the cell.
        u64 key = stride > kBitsFloat ? std::bit_cast<u32>(point[kBitsFloat]) * kBitsFactor : 0;
        const bool isInner = stride >= kPlaceAxes && scale.addInner(key, point);
        place = {key};
        for (std::size_t axis = 0; !isInner && axis < std::min(stride, kPlaceAxes); ++axis)
            scale.add(place, point[axis], axis, kFactors[axis]);
        if (others != 0) addOthers(point + kBitsFloat + 1, place);
        place.hash = hashOf(place.key);
    }

private:
    void addOthers(const f32* floats, CellPlace& place) const
    {
        for (std::size_t i = 0; i < others; ++i)
        {
            place.isAnywhere |= std::isnan(floats[i]);
            if (!std::isnan(floats[i])) scale.add(place, floats[i], kPlaceAxes + i, kFactors[kPlaceAxes + i]);
        }
    }

    CellScale scale;
    std::size_t stride;
    std::size_t others;
};
} // namespace model
