#pragma once

#include "nodes/FakeOmniLights.h"

/// What omni and spot lights share.
namespace model
{
/// Moves the light as a projective point.
inline void moveLight(FakeOmniLight& light, const f64* m)
{
    const vec3d p = light.position;
    const auto column = [&](int c) { return p.x * m[c] + p.y * m[4 + c] + p.z * m[8 + c] + m[12 + c]; };
    const f64 w = column(3);
    light.position = {column(0) / w, column(1) / w, column(2) / w};
}

/// Widens the box by the cube of the light's size around its position.
inline void extendByLight(Box& box, const FakeOmniLight& light)
{
    const f64 half = static_cast<f64>(light.size) / 2.0;
    const vec3d& p = light.position;
    for (const f64 offset : {-half, half})
        box.extend(static_cast<f32>(p.x + offset), static_cast<f32>(p.y + offset), static_cast<f32>(p.z + offset));
}

template <class Lights>
Box boxOfLights(const Lights& lights, u32 controlIndex)
{
    Box box;
    for (const auto& light : lights)
        if (light.controlIndex == controlIndex) extendByLight(box, light);
    return box;
}

template <class Lights>
zr::vector<Box> boxesOfLights(const Lights& lights, std::size_t count)
{
    zr::vector<Box> boxes(count);
    for (const auto& light : lights)
        if (light.controlIndex < count) extendByLight(boxes[light.controlIndex], light);
    return boxes;
}
} // namespace model
