#include <algorithm>
#include <bit>
#include <compare>

#include "mesh/Lanes.h"
#include "mesh/PositionView.h"
#include "mesh/VertexFloats.h"
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
        const Moving moving = movingOf(semantic, attribute.stride);
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

/// `Box::extend` of all axes at once.
class GrowingBox
{
public:
    explicit GrowingBox(Box& grown) : box(grown), low(readThree(grown.min.ptr())), high(readThree(grown.max.ptr())) {}
    ~GrowingBox()
    {
        for (int axis = 0; axis < 3; ++axis)
        {
            box.min[axis] = low[axis];
            box.max[axis] = high[axis];
        }
    }
    GrowingBox(const GrowingBox&) = delete;
    GrowingBox& operator=(const GrowingBox&) = delete;

    void extend(Chunk point)
    {
        low = point < low ? point : low;
        high = point > high ? point : high;
    }

private:
    Box& box;
    Chunk low;
    Chunk high;
};

/// Extends the box that `boxOf` gives for the entry of each vertex. It is asked once for neighbours of one entry.
template <class BoxOf>
void extendBoxes(const f32* p, std::size_t step, std::size_t count, BoxOf boxOf)
{
    const f32* const end = p + count * step;
    while (p != end)
    {
        const u32 bits = std::bit_cast<u32>(p[3]);
        GrowingBox box(boxOf(entryIndexOf(p[3])));
        do
        {
            box.extend(readChunk(p));
            p += step;
        } while (p != end && std::bit_cast<u32>(p[3]) == bits);
    }
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
    Box other; // of vertices that it doesn't select
    const u32 width = strideOf(kPosition0);
    const auto boxOf = [&](u32 entry) -> Box& { return entry == selector && entry != kNoEntry ? box : other; };
    forPositions(
        [&](const f32* p, std::size_t step, std::size_t count)
        {
            for (std::size_t i = 0; width == 3 && i < count; ++i)
                box.extend(p[i * step], p[i * step + 1], p[i * step + 2]);
            if (width == 4) extendBoxes(p, step, count, boxOf);
        });
    return box;
}

zr::vector<Box> Vertices::computeBoxes(std::size_t count) const
{
    if (count == 0) return {};
    if (strideOf(kPosition0) != 4) return zr::vector<Box>(count, computeBox(0));
    zr::vector<Box> boxes(count);
    Box other; // of vertices that belong to no entry
    const auto boxOf = [&](u32 entry) -> Box& { return entry < count && entry != kNoEntry ? boxes[entry] : other; };
    forPositions([&](const f32* p, std::size_t step, std::size_t size) { extendBoxes(p, step, size, boxOf); });
    return boxes;
}
} // namespace model
