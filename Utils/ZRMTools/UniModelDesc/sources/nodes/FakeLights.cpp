#include "nodes/FakeLights.h"

namespace model
{
void moveLight(FakeOmniLight& light, const f64* m)
{
    const vec3d p = light.position;
    const auto column = [&](int c) { return p.x * m[c] + p.y * m[4 + c] + p.z * m[8 + c] + m[12 + c]; };
    const f64 w = column(3);
    light.position = {column(0) / w, column(1) / w, column(2) / w};
}

void extendByLight(Box& box, const FakeOmniLight& light)
{
    const f64 half = static_cast<f64>(light.size) / 2.0;
    const vec3d& p = light.position;
    for (const f64 offset : {-half, half})
        box.extend(static_cast<f32>(p.x + offset), static_cast<f32>(p.y + offset), static_cast<f32>(p.z + offset));
}
} // namespace model
