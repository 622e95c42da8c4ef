#pragma once

#include <cmath>
#include <cstring>

#include "base/types.h"
#include <zr/containers.h>

/// The rule of the weld as a comparison of all pairs.
namespace test::reference
{
using namespace model;

inline bool agree(const f32* a, const f32* b, std::size_t dimension, f32 tolerance)
{
    for (std::size_t i = 0; i < dimension; ++i)
    {
        if (i == 3 && std::memcmp(a + i, b + i, sizeof(f32)) != 0) return false;
        if (i == 3) continue;
        if (i < 3 && (std::isnan(a[i]) || std::isnan(b[i]))) return false;
        if (std::abs(a[i] - b[i]) > tolerance) return false;
    }
    return true;
}

inline zr::vector<u32> weldTargets(const zr::vector<f32>& points, std::size_t dimension, f32 tolerance)
{
    const std::size_t count = points.size() / dimension;
    zr::vector<u32> targets(count);
    zr::vector<bool> isMerged(count);
    for (u32 v = 0; v < count; ++v)
        targets[v] = v;
    for (u32 v = 0; v < count; ++v)
        for (u32 w = v + 1; w < count && !isMerged[v]; ++w)
            if (agree(&points[v * dimension], &points[w * dimension], dimension, tolerance))
            {
                isMerged[w] = true;
                targets[w] = v;
            }
    return targets;
}
} // namespace test::reference
