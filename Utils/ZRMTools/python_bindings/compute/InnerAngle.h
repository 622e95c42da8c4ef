#pragma once

#include "base/Keys.h"
#include "materials/Properties.h"

namespace pyzrm
{
/// 2 atan(tan(outer / 2) (1 - blend)), angles in radians, in steps of 32 bits.
zr::f32 innerAngle(zr::f32 outer, zr::f32 blend);

/// The present value of a float property, or its value at `time` when it is animated; 0 without keys.
zr::f32 valueAt(const model::IProperty& property, zr::f32 time);

/// The inner angle at 2001 times from -1 to 1, of properties of which one at least is animated.
model::Keys<zr::f32> innerAngleKeys(const model::IProperty& outer, const model::IProperty& blend);
} // namespace pyzrm
