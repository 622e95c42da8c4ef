#pragma once

#include <zr/log/LogRecord.h>

namespace zr::log
{
/// Calls the listeners in order. A message that a listener logs is not handed on to them.
void callListeners(const LogRecord& record) noexcept;

/// Whether the calling thread is inside a listener: it must not wait for records that only the end of this call, on
/// the worker, gives back.
bool insideListener() noexcept;

/// In the child of a fork.
void forgetListenerThreads() noexcept;
} // namespace zr::log
