#include "compute/InnerAngle.h"

#include <cmath>

namespace pyzrm
{
using zr::f32;
using zr::f64;

f32 innerAngle(f32 outer, f32 blend)
{
    // The functions in 64 bits, rounded to 32: C libraries agree on that, but not on their own 32-bit versions.
    const f32 slope = static_cast<f32>(std::tan(static_cast<f64>(outer * 0.5f)));
    const f32 narrowed = slope * (1.0f - blend);
    return 2.0f * static_cast<f32>(std::atan(static_cast<f64>(narrowed)));
}

f32 valueAt(const model::IProperty& property, f32 time)
{
    if (const auto* animated = dynamic_cast<const model::AnimatedFloatProperty*>(&property))
        return model::evaluateKeys(animated->getKeys(), time);
    return dynamic_cast<const model::FloatProperty&>(property).getValue();
}

model::Keys<f32> innerAngleKeys(const model::IProperty& outer, const model::IProperty& blend)
{
    model::Keys<f32> keys;
    keys.reserve(2001);
    for (f32 time = -1.0f; time <= 1.0f; time += 0.001f)
        keys.push_back({time, innerAngle(valueAt(outer, time), valueAt(blend, time))});
    return keys;
}
} // namespace pyzrm
