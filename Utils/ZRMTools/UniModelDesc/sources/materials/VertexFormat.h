#pragma once

#include "base/types.h"
#include <zr/array.h>
#include <zr/containers.h>

namespace model
{
constexpr std::size_t kNumSemantics = 27;

/// The number of floats of each vertex attribute, by its semantic; 0 for one that isn't there.
using VertexFormat = zr::array<u8, kNumSemantics>;
} // namespace model
