#include "mesh/VertexMove.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "mesh/Semantics.h"

namespace model
{
namespace
{
/// Columns up to this length are not brought to length 1, and a matrix below this determinant turns no direction.
constexpr f64 kShortColumn = 1e-6;
constexpr f64 kSmallDeterminant = 1e-5;

/// See `VertexMove::direction`.
void setDirection(const f64* m, f64 (&direction)[3][3])
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

    const bool hasInverse = !(std::abs(determinant) < kSmallDeterminant);
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            direction[row][column] = hasInverse ? cofactors[row][column] / determinant : row == column;
}

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

void moveLanes(Lanes& lanes, const VertexMove& move)
{
    const f64* m = move.point;
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

void turnLanes(Lanes& lanes, const VertexMove& move)
{
    const auto& n = move.direction;
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

using Move = void (*)(Lanes&, const VertexMove&);

/// Moves neighbours that go through one transform. Equal neighbours, as the directions of a flat face, share a lane.
template <Move kMove>
void moveRun(f32* vertex, std::size_t stride, std::size_t count, const VertexMove& move)
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
        kMove(lanes, move);
        for (std::size_t i = 0; i < batch; ++i, vertex += stride)
            lanes.write(laneOf[i], vertex);
        first += batch;
    }
}
} // namespace

VertexMove::VertexMove(const f64* m)
{
    std::copy_n(m, 16, point);
    setDirection(m, direction);
}

void movePoints(f32* first, std::size_t stride, std::size_t count, const VertexMove& move)
{
    moveRun<moveLanes>(first, stride, count, move);
}

void turnDirections(f32* first, std::size_t stride, std::size_t count, const VertexMove& move)
{
    moveRun<turnLanes>(first, stride, count, move);
}

Moving movingOf(i32 semantic)
{
    switch (semantic)
    {
    case kPosition0:
    case kPosition1:
        return movePoints;
    case kNormal0:
    case kTangent0:
    case kBinormal0:
    case kNormal1:
    case kTangent1:
    case kBinormal1:
        return turnDirections;
    default:
        return nullptr;
    }
}
} // namespace model
