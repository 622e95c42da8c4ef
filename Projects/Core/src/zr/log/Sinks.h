#pragma once

#include <string_view>

#include <zr/log/LogRecord.h>

/// The list of open sinks, under one lock. `openSink` and `closeSink` stand in Control.h.
namespace zr::log
{
/// Writes a record to each sink whose rules let it pass, in the order of the list.
/// toDisk  the files have reached the disk when this comes back
void writeToSinks(const LogRecord& record, bool toDisk) noexcept;

/// Whether some sink's rules let a message pass.
bool sinksTake(std::string_view tag, u32 level, std::string_view thread) noexcept;

/// Sets `detail::unwantedLevels` by what the sinks want, for a log that is running or not.
void updateUnwantedLevels(bool running) noexcept;

/// In the child of a fork.
void forgetSinkThreads() noexcept;
} // namespace zr::log
