#pragma once

#include <cmath>
#include <cstring>

#include "mesh/MeshUtils.h"

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

inline u32 weldVertices(Vertices& vertices, Indices& indices, f32 tolerance)
{
    const u32 unused = removeUnusedVertices(vertices, indices);
    const zr::vector<f32> packed = vertices.interleave();
    const std::size_t stride = vertices.getStride();
    if (packed.empty()) return unused;
    zr::vector<u32> targets = weldTargets(packed, stride, tolerance);
    zr::vector<f32> kept;
    u32 skipped = 0;
    for (u32 i = 0; i < targets.size(); ++i)
    {
        if (targets[i] != i)
        {
            targets[i] = targets[targets[i]];
            ++skipped;
            continue;
        }
        targets[i] = i - skipped;
        kept.resize(kept.size() + stride);
        std::memcpy(&kept[kept.size() - stride], &packed[i * stride], stride * sizeof(f32));
    }
    if (skipped == 0) return unused;
    for (u32& index : indices.indices)
        index = targets[index];
    vertices.deinterleave(kept, static_cast<u32>(kept.size() / stride));
    return unused + skipped;
}
} // namespace test::reference
