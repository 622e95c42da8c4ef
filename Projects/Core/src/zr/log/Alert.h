#pragma once

#include <zr/types.h>

namespace zr::log
{
/// Calls the alert handler if `level` is in the alert mask, alerts are not silenced and a handler is set. Not from
/// within itself: an alert that a handler raises shows as a line alone.
void raiseAlert(const char* text, u32 level) noexcept;

/// Whether the calling thread is inside the alert handler, and so in the middle of a message.
bool insideAlertHandler() noexcept;
} // namespace zr::log
