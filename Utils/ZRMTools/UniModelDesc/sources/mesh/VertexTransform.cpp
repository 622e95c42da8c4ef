#include <algorithm>
#include <bit>
#include <compare>

#include "mesh/Lanes.h"
#include "mesh/PositionView.h"
#include <zr/unordered_set.h>

namespace model
{
namespace
{
/// Vertices `first` to `last` - 1 go through one matrix.
struct Run
{
    std::size_t first;
    std::size_t last;
    u32 move;
};

/// Moves each vertex by the matrix of its run. An attribute without three floats a vertex isn't moved; vertices that it
/// lacks are left out.
void moveVertices(Vertices::Attributes& attributes, const zr::small_vector<Run, 4>& runs,
                  const zr::vector<VertexMove>& moves)
{
    for (auto& [semantic, attribute] : attributes)
    {
        const Moving moving = attribute.stride < 3 ? nullptr : movingOf(semantic);
        const std::size_t count = attribute.count();
        for (const Run& run : runs)
            if (moving && run.first < count)
                moving(&attribute.data[run.first * attribute.stride], attribute.stride,
                       std::min(run.last, count) - run.first, moves[run.move]);
    }
}

/// A selector and the position of its matrix.
struct Choice
{
    u32 selector;
    u32 move;

    auto operator<=>(const Choice&) const = default;
};

/// Runs of vertices whose selector is in `list[first..last)`, with its position there. No selector comes twice.
zr::small_vector<Run, 4> chooseBySelector(const Attribute& positions, const zr::vector<SelectorMatrix>& list,
                                          std::size_t first, std::size_t last)
{
    zr::vector<Choice> bySelector; // sorted, so that selectors may be any numbers
    for (std::size_t i = first; i < last; ++i)
        bySelector.push_back({list[i].selector, static_cast<u32>(i - first)});
    std::sort(bySelector.begin(), bySelector.end());

    zr::small_vector<Run, 4> runs;
    const std::size_t count = positions.count();
    const auto bitsOf = [&](std::size_t vertex) { return std::bit_cast<u32>(positions.data[4 * vertex + 3]); };
    for (std::size_t i = 0; i < count;)
    {
        const std::size_t start = i;
        const u32 entry = entryIndexOf(positions.data[4 * i + 3]);
        while (++i < count && bitsOf(i) == bitsOf(start))
        {
        }
        const auto found = std::lower_bound(bySelector.begin(), bySelector.end(), Choice{entry, 0});
        if (entry != kNoEntry && found != bySelector.end() && found->selector == entry)
            runs.push_back({start, i, found->move});
    }
    return runs;
}

/// The end of the longest run from `first` in which no selector comes twice.
std::size_t distinctRun(const zr::vector<SelectorMatrix>& list, std::size_t first)
{
    zr::unordered_set<u32> seen;
    std::size_t last = first;
    while (last < list.size() && seen.insert(list[last].selector).second)
        ++last;
    return last;
}
} // namespace

u32 entryIndexOf(f32 value)
{
    const f64 index = static_cast<f64>(value) + 0.5;
    return index > -1.0 && index < 4294967296.0 ? static_cast<u32>(std::max(index, 0.0)) : kNoEntry;
}

void Vertices::applyMatrix(const f64* m, u32 selector)
{
    applyMatrices({{selector, m}});
}

void Vertices::applyMatrices(const zr::vector<SelectorMatrix>& list)
{
    std::size_t first = postpone(list);
    if (first == list.size()) return;
    const Attribute* positions = findAttribute(kPosition0);
    if (!positions || (positions->stride != 3 && positions->stride != 4)) return;

    const bool selectsAll = positions->stride == 3;
    while (first < list.size())
    {
        const std::size_t last = selectsAll ? first + 1 : distinctRun(list, first);
        zr::vector<VertexMove> moves;
        for (std::size_t i = first; i < last; ++i)
            moves.emplace_back(list[i].matrix);
        const zr::small_vector<Run, 4> runs = selectsAll ? zr::small_vector<Run, 4>{{0, positions->count(), 0}}
                                                         : chooseBySelector(*positions, list, first, last);
        moveVertices(attributes, runs, moves);
        first = last;
    }
}

template <class Function>
void Vertices::forPositions(Function function) const
{
    if (!isSharing() || strideOf(kPosition0) != 4)
    {
        const PositionView<const f32> positions(*this);
        return function(positions.data, positions.step, positions.count);
    }
    f32 block[kBlockVertices * 4];
    for (const VertexSource& source : sources)
        for (std::size_t first = 0; first < source.count; first += kBlockVertices)
        {
            const std::size_t count = std::min<std::size_t>(kBlockVertices, source.count - first);
            readPositions(block, source, first, count);
            function(block, 4, count);
        }
}

Box Vertices::computeBox(u32 selector) const
{
    Box box;
    const u32 width = strideOf(kPosition0);
    if (width != 3 && width != 4) return box;
    forPositions(
        [&](const f32* p, std::size_t step, std::size_t count)
        {
            for (std::size_t i = 0; i < count; ++i, p += step)
                if (width == 3 || (selector != kNoEntry && entryIndexOf(p[3]) == selector))
                    box.extend(p[0], p[1], p[2]);
        });
    return box;
}

zr::vector<Box> Vertices::computeBoxes(std::size_t count) const
{
    if (count == 0) return {};
    if (strideOf(kPosition0) != 4) return zr::vector<Box>(count, computeBox(0));
    zr::vector<Box> boxes(count);
    Box other; // of vertices that belong to no entry
    Box* box = &other;
    u32 bits = std::bit_cast<u32>(-1.0f); // of an entry that isn't there
    forPositions(
        [&](const f32* p, std::size_t step, std::size_t numPositions)
        {
            for (std::size_t i = 0; i < numPositions; ++i, p += step)
            {
                // Neighbours mostly belong to one entry.
                if (const u32 own = std::bit_cast<u32>(p[3]); own != bits)
                {
                    const u32 entry = entryIndexOf(p[3]);
                    box = entry < count && entry != kNoEntry ? &boxes[entry] : &other;
                    bits = own;
                }
                box->extend(p[0], p[1], p[2]);
            }
        });
    return boxes;
}
} // namespace model
