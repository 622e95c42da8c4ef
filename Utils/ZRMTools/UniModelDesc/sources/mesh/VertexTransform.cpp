#include <algorithm>
#include <bit>
#include <cmath>
#include <compare>
#include <cstring>

#include "mesh/PositionView.h"
#include "mesh/VertexFloats.h"
#include <zr/unordered_set.h>

namespace model
{
namespace
{
/// Columns up to this length are not brought to length 1, and a matrix below this determinant turns no direction.
constexpr f64 kShortColumn = 1e-6;
constexpr f64 kSmallDeterminant = 1e-5;

/// Directions go through this 3 by 3 matrix, row vectors from the left.
struct NormalMatrix
{
    f64 rows[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};

/// The inverse transpose of the 3 by 3 block after its columns are brought to length 1; the identity when that has
/// (nearly) no inverse.
NormalMatrix normalMatrix(const f64* m)
{
    f64 a[3][3];
    for (int column = 0; column < 3; ++column)
    {
        const f64 x = m[column];
        const f64 y = m[4 + column];
        const f64 z = m[8 + column];
        f64 length = std::sqrt(x * x + y * y + z * z);
        if (length <= kShortColumn) length = 1.0;
        a[0][column] = x / length;
        a[1][column] = y / length;
        a[2][column] = z / length;
    }

    // Indices modulo 3 give the cofactors their signs.
    f64 cofactors[3][3];
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
        {
            const int r1 = (row + 1) % 3;
            const int r2 = (row + 2) % 3;
            const int c1 = (column + 1) % 3;
            const int c2 = (column + 2) % 3;
            cofactors[row][column] = a[r1][c1] * a[r2][c2] - a[r1][c2] * a[r2][c1];
        }
    const f64 determinant = a[0][0] * cofactors[0][0] + a[0][1] * cofactors[0][1] + a[0][2] * cofactors[0][2];

    NormalMatrix result;
    if (std::abs(determinant) < kSmallDeterminant) return result;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            result.rows[row][column] = cofactors[row][column] / determinant;
    return result;
}

/// A matrix as positions and as directions go through it.
struct Transform
{
    const f64* point;
    NormalMatrix direction;
};

/// Vertices that are moved together: as many coordinates side by side keep the processor's wide registers busy.
constexpr std::size_t kLanes = 8;

struct Lanes
{
    void read(std::size_t lane, const f32* vertex)
    {
        x[lane] = vertex[0];
        y[lane] = vertex[1];
        z[lane] = vertex[2];
    }
    void write(std::size_t lane, f32* vertex) const
    {
        vertex[0] = static_cast<f32>(x[lane]);
        vertex[1] = static_cast<f32>(y[lane]);
        vertex[2] = static_cast<f32>(z[lane]);
    }

    f64 x[kLanes] = {};
    f64 y[kLanes] = {};
    f64 z[kLanes] = {};
};

/// v x M with the translation row.
void movePoints(Lanes& lanes, const Transform& transform)
{
    const f64* m = transform.point;
    for (std::size_t i = 0; i < kLanes; ++i)
    {
        const f64 x = lanes.x[i];
        const f64 y = lanes.y[i];
        const f64 z = lanes.z[i];
        lanes.x[i] = x * m[0] + y * m[4] + z * m[8] + m[12];
        lanes.y[i] = x * m[1] + y * m[5] + z * m[9] + m[13];
        lanes.z[i] = x * m[2] + y * m[6] + z * m[10] + m[14];
    }
}

/// v x N, brought to length 1.
void turnDirections(Lanes& lanes, const Transform& transform)
{
    const auto& n = transform.direction.rows;
    f64 lengths[kLanes];
    for (std::size_t i = 0; i < kLanes; ++i)
    {
        const f64 x = lanes.x[i];
        const f64 y = lanes.y[i];
        const f64 z = lanes.z[i];
        lanes.x[i] = x * n[0][0] + y * n[1][0] + z * n[2][0];
        lanes.y[i] = x * n[0][1] + y * n[1][1] + z * n[2][1];
        lanes.z[i] = x * n[0][2] + y * n[1][2] + z * n[2][2];
        lengths[i] = std::sqrt(lanes.x[i] * lanes.x[i] + lanes.y[i] * lanes.y[i] + lanes.z[i] * lanes.z[i]);
    }
    for (std::size_t i = 0; i < kLanes; ++i)
    {
        const f64 length = lengths[i] > 0.0 ? lengths[i] : 1.0;
        lanes.x[i] /= length;
        lanes.y[i] /= length;
        lanes.z[i] /= length;
    }
}

using Move = void (*)(Lanes&, const Transform&);

/// Moves neighbours that go through one transform. Equal neighbours, as the directions of a flat face, share a lane.
template <Move kMove>
void moveRun(f32* vertex, std::size_t stride, std::size_t count, const Transform& transform)
{
    constexpr std::size_t kBatch = 4 * kLanes;
    u8 laneOf[kBatch];
    Lanes lanes;
    for (std::size_t first = 0; first < count;)
    {
        std::size_t numLanes = 0;
        std::size_t batch = 0;
        for (f32* v = vertex; batch < kBatch && first + batch < count; ++batch, v += stride)
        {
            if (batch == 0 || std::memcmp(v, v - stride, 3 * sizeof(f32)) != 0)
            {
                if (numLanes == kLanes) break;
                lanes.read(numLanes++, v);
            }
            laneOf[batch] = static_cast<u8>(numLanes - 1);
        }
        kMove(lanes, transform);
        for (std::size_t i = 0; i < batch; ++i, vertex += stride)
            lanes.write(laneOf[i], vertex);
        first += batch;
    }
}

/// Vertices `first` to `last` - 1 go through one transform.
struct Run
{
    std::size_t first;
    std::size_t last;
    u32 transform;
};

/// An attribute without three floats a vertex isn't moved; vertices that it lacks are left out.
template <Move kMove>
void moveAttribute(Attribute* attribute, const zr::small_vector<Run, 4>& runs, const zr::vector<Transform>& transforms)
{
    if (!attribute || attribute->stride < 3) return;
    const std::size_t count = attribute->count();
    for (const Run& run : runs)
        if (run.first < count)
            moveRun<kMove>(&attribute->data[run.first * attribute->stride], attribute->stride,
                           std::min(run.last, count) - run.first, transforms[run.transform]);
}

/// Moves each vertex through the transform of its run.
void moveVertices(Vertices& vertices, const zr::small_vector<Run, 4>& runs, const zr::vector<Transform>& transforms)
{
    moveAttribute<movePoints>(vertices.findAttribute(kPosition0), runs, transforms);
    for (const i32 semantic : {kNormal0, kTangent0, kBinormal0, kNormal1, kTangent1, kBinormal1})
        moveAttribute<turnDirections>(vertices.findAttribute(semantic), runs, transforms);
    moveAttribute<movePoints>(vertices.findAttribute(kPosition1), runs, transforms);
}

/// A selector and the position of its transform.
struct Choice
{
    u32 selector;
    u32 transform;

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
            runs.push_back({start, i, found->transform});
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

using Positions = PositionView<const f32>;

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
void extendBoxes(const Positions& positions, BoxOf boxOf)
{
    const f32* p = positions.data;
    const f32* const end = positions.data + positions.count * positions.step;
    while (p != end)
    {
        const u32 bits = std::bit_cast<u32>(p[3]);
        GrowingBox box(boxOf(entryIndexOf(p[3])));
        do
        {
            box.extend(readChunk(p));
            p += positions.step;
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
    const Attribute* positions = findAttribute(kPosition0);
    if (!positions || (positions->stride != 3 && positions->stride != 4)) return;

    const bool selectsAll = positions->stride == 3;
    for (std::size_t first = 0; first < list.size();)
    {
        const std::size_t last = selectsAll ? first + 1 : distinctRun(list, first);
        zr::vector<Transform> transforms;
        for (std::size_t i = first; i < last; ++i)
            transforms.push_back({list[i].matrix, normalMatrix(list[i].matrix)});
        const zr::small_vector<Run, 4> runs = selectsAll ? zr::small_vector<Run, 4>{{0, positions->count(), 0}}
                                                         : chooseBySelector(*positions, list, first, last);
        moveVertices(*this, runs, transforms);
        first = last;
    }
}

Box Vertices::computeBox(u32 selector) const
{
    Box box;
    Box other; // of vertices that it doesn't select
    const Positions positions(*this);
    if (positions.width == 3)
        for (std::size_t i = 0; i < positions.count; ++i)
            box.extend(positions[i][0], positions[i][1], positions[i][2]);
    if (positions.width == 4)
        extendBoxes(positions, [&](u32 entry) -> Box& { return entry == selector && entry != kNoEntry ? box : other; });
    return box;
}

zr::vector<Box> Vertices::computeBoxes(std::size_t count) const
{
    if (count == 0) return {};
    const Positions positions(*this);
    if (positions.width != 4) return zr::vector<Box>(count, computeBox(0));
    zr::vector<Box> boxes(count);
    Box other; // of vertices that belong to no entry
    extendBoxes(positions,
                [&](u32 entry) -> Box& { return entry < count && entry != kNoEntry ? boxes[entry] : other; });
    return boxes;
}
} // namespace model
