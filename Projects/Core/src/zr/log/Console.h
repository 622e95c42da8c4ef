#pragma once

#include <zr/log/LogRecord.h>

/// The lines on standard error and on the debugger stream.
namespace zr::log
{
/// Writes a record to both; what has the TRACE bit goes nowhere.
void writeToConsole(const LogRecord& record) noexcept;

/// Writes a record to the debugger stream alone.
void writeToDebugger(const LogRecord& record) noexcept;

/// In the child of a fork.
void forgetConsoleThreads() noexcept;
} // namespace zr::log
