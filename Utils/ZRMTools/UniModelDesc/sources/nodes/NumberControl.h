#pragma once

#include "base/types.h"

namespace model
{
/// How two arguments shift the texture coordinates of a number display.
struct NumberControl
{
    u32 uArgument = kNoArgument;
    f32 uFactor = 0.0f;
    u32 vArgument = kNoArgument;
    f32 vFactor = 0.0f;
};
} // namespace model
