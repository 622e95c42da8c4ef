#include <algorithm>
#include <bit>
#include <cmath>
#include <compare>

#include "Vertices.h"
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

/// v x M with the translation row.
void transformPoint(f32* v, const f64* m)
{
    const f64 x = v[0];
    const f64 y = v[1];
    const f64 z = v[2];
    for (int column = 0; column < 3; ++column)
        v[column] = static_cast<f32>(x * m[column] + y * m[4 + column] + z * m[8 + column] + m[12 + column]);
}

/// v x N, brought to length 1.
void transformDirection(f32* v, const NormalMatrix& n)
{
    const f64 x = v[0];
    const f64 y = v[1];
    const f64 z = v[2];
    f64 out[3];
    for (int column = 0; column < 3; ++column)
        out[column] = x * n.rows[0][column] + y * n.rows[1][column] + z * n.rows[2][column];
    const f64 length = std::sqrt(out[0] * out[0] + out[1] * out[1] + out[2] * out[2]);
    for (int column = 0; column < 3; ++column)
        v[column] = static_cast<f32>(length > 0.0 ? out[column] / length : out[column]);
}

/// A matrix as positions and as directions go through it.
struct Transform
{
    const f64* point;
    NormalMatrix direction;
};

constexpr u32 kUnmoved = 0xFFFFFFFFu;

/// Calls `move(vertex, transform)` for each vertex of an attribute that has a transform. An attribute without three
/// floats a vertex isn't moved; vertices that it lacks are left out.
template <class Move>
void moveAttribute(Attribute* attribute, const zr::vector<u32>& choices, const zr::vector<Transform>& transforms,
                   Move move)
{
    if (!attribute || attribute->stride < 3) return;
    const std::size_t count = std::min(attribute->count(), choices.size());
    f32* vertex = attribute->data.data();
    for (std::size_t i = 0; i < count; ++i, vertex += attribute->stride)
        if (choices[i] != kUnmoved) move(vertex, transforms[choices[i]]);
}

/// Moves each vertex through the transform that `choices` holds for it.
void moveVertices(Vertices& vertices, const zr::vector<u32>& choices, const zr::vector<Transform>& transforms)
{
    const auto point = [](f32* vertex, const Transform& transform) { transformPoint(vertex, transform.point); };
    const auto direction = [](f32* vertex, const Transform& transform)
    { transformDirection(vertex, transform.direction); };
    moveAttribute(vertices.findAttribute(kPosition0), choices, transforms, point);
    for (const i32 semantic : {kNormal0, kTangent0, kBinormal0, kNormal1, kTangent1, kBinormal1})
        moveAttribute(vertices.findAttribute(semantic), choices, transforms, direction);
    moveAttribute(vertices.findAttribute(kPosition1), choices, transforms, point);
}

/// A selector and the position of its transform.
struct Choice
{
    u32 selector;
    u32 transform;

    auto operator<=>(const Choice&) const = default;
};

/// For each vertex the position in `list[first..last)` of its selector, or `kUnmoved`. No selector comes twice there.
zr::vector<u32> chooseBySelector(const Attribute& positions, const zr::vector<SelectorMatrix>& list, std::size_t first,
                                 std::size_t last)
{
    // Sorted pairs, so that selectors may be any numbers; a single one, the common case, needs no search.
    zr::vector<Choice> bySelector;
    for (std::size_t i = first; i < last; ++i)
        bySelector.push_back({list[i].selector, static_cast<u32>(i - first)});
    std::sort(bySelector.begin(), bySelector.end());

    zr::vector<u32> choices(positions.count(), kUnmoved);
    for (std::size_t i = 0; i < choices.size(); ++i)
    {
        const u32 entry = entryIndexOf(positions.data[4 * i + 3]);
        const auto found = std::lower_bound(bySelector.begin(), bySelector.end(), Choice{entry, 0});
        if (entry != kNoEntry && found != bySelector.end() && found->selector == entry) choices[i] = found->transform;
    }
    return choices;
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
    const Attribute* positions = findAttribute(kPosition0);
    if (!positions || (positions->stride != 3 && positions->stride != 4)) return;

    const bool selectsAll = positions->stride == 3;
    for (std::size_t first = 0; first < list.size();)
    {
        const std::size_t last = selectsAll ? first + 1 : distinctRun(list, first);
        zr::vector<Transform> transforms;
        for (std::size_t i = first; i < last; ++i)
            transforms.push_back({list[i].matrix, normalMatrix(list[i].matrix)});
        const zr::vector<u32> choices =
            selectsAll ? zr::vector<u32>(positions->count(), 0u) : chooseBySelector(*positions, list, first, last);
        moveVertices(*this, choices, transforms);
        first = last;
    }
}

namespace
{
/// The positions of a mesh in either form: none unless POSITION0 has three or four floats.
struct PositionView
{
    explicit PositionView(const Vertices& vertices) : width(vertices.strideOf(kPosition0))
    {
        if (width != 3 && width != 4) return;
        if (const PackedVertices* packed = vertices.getPacked())
        {
            data = packed->data() + vertices.offsetOf(kPosition0);
            step = packed->getStride();
            count = packed->getCount();
            return;
        }
        const Attribute& positions = vertices.getAttribute(kPosition0);
        data = positions.data.data();
        step = width;
        count = positions.count();
    }

    std::size_t width;
    const f32* data = nullptr;
    /// Floats from one position to the next.
    std::size_t step = 0;
    std::size_t count = 0;
};
} // namespace

Box Vertices::computeBox(u32 selector) const
{
    Box box;
    const PositionView positions(*this);
    const f32* p = positions.data;
    for (std::size_t i = 0; i < positions.count; ++i, p += positions.step)
        if (positions.width == 3 || (selector != kNoEntry && entryIndexOf(p[3]) == selector))
            box.extend(p[0], p[1], p[2]);
    return box;
}

zr::vector<Box> Vertices::computeBoxes(std::size_t count) const
{
    if (count == 0) return {};
    const PositionView positions(*this);
    if (positions.width != 4) return zr::vector<Box>(count, computeBox(0));
    zr::vector<Box> boxes(count);
    Box other; // of vertices that belong to no entry
    Box* box = &other;
    u32 bits = std::bit_cast<u32>(-1.0f); // of an entry that isn't there
    const f32* p = positions.data;
    for (std::size_t i = 0; i < positions.count; ++i, p += positions.step)
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
    return boxes;
}
} // namespace model
