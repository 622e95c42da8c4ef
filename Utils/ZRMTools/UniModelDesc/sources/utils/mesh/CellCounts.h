#pragma once

#include <algorithm>
#include <bit>

#include "base/types.h"
#include <zr/containers.h>

namespace model
{
/// Whether a cell was touched once or more often. Cells are told apart by some bits of their hash alone: what counts as
/// lone is, and of what is some counts as shared.
class CellCounts
{
public:
    explicit CellCounts(std::size_t numVertices)
        : words(std::bit_ceil(std::max<std::size_t>(numVertices * kCellsPerVertex, 2 * kCellsPerWord)) / kCellsPerWord),
          shift(32 - std::countr_zero(words.size() * kCellsPerWord))
    {
    }

    void prefetch(u32 hash) const { __builtin_prefetch(&words[wordOf(hash)]); }
    /// Returns whether it was touched before.
    bool touch(u32 hash)
    {
        u64& word = words[wordOf(hash)];
        const u32 place = placeOf(hash);
        const u64 wasTouched = word >> place & 1;
        word |= (1 | wasTouched << 1) << place;
        return wasTouched != 0;
    }
    bool isShared(u32 hash) const { return (words[wordOf(hash)] >> placeOf(hash) & 2) != 0; }

private:
    /// So few vertices of other cells meet in one: of a million that are lone, an eighth count as shared.
    static constexpr std::size_t kCellsPerVertex = 8;
    static constexpr std::size_t kCellsPerWord = 32;

    std::size_t wordOf(u32 hash) const { return (hash >> shift) / kCellsPerWord; }
    u32 placeOf(u32 hash) const { return (hash >> shift) % kCellsPerWord * 2; }

    /// Two bits a cell: touched, and touched again.
    zr::vector<u64> words;
    int shift;
};
} // namespace model
