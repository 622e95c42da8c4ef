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

/// Directions that are turned together: as many coordinates side by side keep the processor's wide registers busy.
constexpr std::size_t kLanes = 8;

struct Directions
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

void turnLanes(Directions& lanes, const VertexMove& move)
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

/// Two numbers that are computed together.
using Pair = f64 __attribute__((vector_size(2 * sizeof(f64))));

} // namespace

VertexMove::VertexMove(const f64* m)
{
    std::copy_n(m, 16, point);
    setDirection(m, direction);
}

void movePoints(f32* vertex, std::size_t stride, std::size_t count, const VertexMove& move)
{
    const f64* m = move.point;
    const Pair rows[4] = {{m[0], m[1]}, {m[4], m[5]}, {m[8], m[9]}, {m[12], m[13]}};
    for (std::size_t i = 0; i < count; ++i, vertex += stride)
    {
        const f64 x = static_cast<f64>(vertex[0]);
        const f64 y = static_cast<f64>(vertex[1]);
        const f64 z = static_cast<f64>(vertex[2]);
        const Pair xy = Pair{x, x} * rows[0] + Pair{y, y} * rows[1] + Pair{z, z} * rows[2] + rows[3];
        vertex[0] = static_cast<f32>(xy[0]);
        vertex[1] = static_cast<f32>(xy[1]);
        vertex[2] = static_cast<f32>(x * m[2] + y * m[6] + z * m[10] + m[14]);
    }
}

// Equal neighbours, as the directions of a flat face, share a lane.
void turnDirections(f32* vertex, std::size_t stride, std::size_t count, const VertexMove& move)
{
    constexpr std::size_t kBatch = 4 * kLanes;
    u8 laneOf[kBatch];
    Directions lanes;
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
        turnLanes(lanes, move);
        for (std::size_t i = 0; i < batch; ++i, vertex += stride)
            lanes.write(laneOf[i], vertex);
        first += batch;
    }
}

Moving movingOf(i32 semantic, u32 stride)
{
    if (stride < 3) return nullptr;
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
