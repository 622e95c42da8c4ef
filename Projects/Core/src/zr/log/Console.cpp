#include <zr/log/Console.h>

#include <mutex>

#include <zr/log/Control.h>
#include <zr/log/Line.h>
#include <zr/log/Log.h>
#include <zr/threads/CriticalSection.h>

namespace zr::log
{
namespace
{
constinit CriticalSection lock;
constinit Line consoleLine;  // under the lock
constinit LineStream stream; // under the lock

/// What standard error was when the first line came.
enum class Kind
{
    Unknown,
    Terminal,
    Other,
};
constinit Kind kind = Kind::Unknown; // under the lock
constinit std::atomic<u32> consoleFormat{kUtcTime | kLabel | kTag | kThreadName | kDropRepeated};

/// The bits of `platform::colourSequence`.
u32 attributeOf(u32 level) noexcept
{
    switch (level & 0x7fff)
    {
    case kAlert:
        return 5;
    case kError:
        return 12;
    case kWarning:
        return 14;
    case kErrorOnce:
        return 13;
    case kDebug:
        return 7;
    case kTrace:
        return 2;
    default:
        return 15;
    }
}

void buildForDebugger(const LogRecord& record) noexcept
{
    consoleLine.build(record, consoleFormat.load(std::memory_order_relaxed));
    platform::writeDebugger(consoleLine.view().data(), consoleLine.view().size());
}
} // namespace

void writeToConsole(const LogRecord& record) noexcept
{
    if (record.level & kTrace) return;
    const platform::FileHandle file = platform::standardError();
    const std::lock_guard guard(lock);
    buildForDebugger(record);
    if (kind == Kind::Unknown) kind = platform::isTerminal(file) ? Kind::Terminal : Kind::Other;
    const bool coloured = kind == Kind::Terminal;
    stream.write(file, consoleLine, coloured ? platform::colourSequence(attributeOf(record.level)) : nullptr);
}

void writeToDebugger(const LogRecord& record) noexcept
{
    const std::lock_guard guard(lock);
    buildForDebugger(record);
}

void forgetConsoleThreads() noexcept
{
    lock.forgetHolder();
    kind = Kind::Unknown; // a child is often given another standard error
}

void setConsoleFormat(u32 format) noexcept
{
    consoleFormat.store(format, std::memory_order_relaxed);
}

void setPrefixCallback(PrefixCallback callback) noexcept
{
    lineSettings.prefix.store(callback, std::memory_order_release);
}
} // namespace zr::log
