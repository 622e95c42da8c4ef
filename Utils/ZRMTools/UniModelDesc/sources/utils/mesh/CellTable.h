#pragma once

#include <algorithm>
#include <bit>

#include "utils/mesh/VertexKdTree.h"

namespace model
{
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
} // namespace model
