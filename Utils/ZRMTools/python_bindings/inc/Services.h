#pragma once

#include <string_view>

#include <zr/types.h>

namespace pyzrm
{
/// The core's task system, from `init` to `deinit`. Nothing of a model needs it. Either may come twice, or without the
/// other.
void init();
void deinit();

/// Writes a text to the core's log as it is, up to its first NUL, under the tag of the module.
/// level  one of `zr::log::Level`
void logText(zr::u32 level, std::string_view text);
} // namespace pyzrm
