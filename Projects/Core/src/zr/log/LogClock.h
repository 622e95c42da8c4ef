#pragma once

#include <zr/types.h>

namespace zr::log
{
/// Seconds since the first reading in the process, which gives 0.
f64 clockSeconds() noexcept;
} // namespace zr::log
