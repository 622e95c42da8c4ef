#pragma once

#include <cstddef>
#include <span>

#include <zr/types.h>

/// The log of the process, for those who set it up: its start and stop, its sinks, listeners and settings.
/// All of it may be called from any thread, except from within a listener, an alert handler or a prefix callback.
namespace zr::log
{
/// What a line holds, in this order. A sum of these.
enum Format : u32
{
    kUtcTime = 0x001,      ///< date and time
    kRelativeTime = 0x080, ///< seconds since the clock's start
    kLocalTime = 0x081,    ///< date and time; takes the place of the other two
    kLabel = 0x002,
    kTag = 0x004,
    kThreadName = 0x008,
    kDropRepeated = 0x100, ///< no part of a line: the sink counts repeated messages instead of writing them
    kPrefix = 0x200,       ///< what the prefix callback writes
};

/// Which messages a sink takes: the first rule that accepts or rejects a message decides, and what no rule accepts is
/// rejected. A pattern names one text exactly; with a trailing "*" it matches every text that begins so, and with a
/// leading "-" what it matches is rejected. Patterns are cut to 127 characters.
struct Rule
{
    u32 levels = 0;               ///< the levels it is about; 0: all
    const char* tag = nullptr;    ///< pattern; null: any
    const char* thread = nullptr; ///< pattern; null: any. A thread without a name goes by its number
};

/// An open destination of lines.
class Sink;

/// Opens a file at its end, creating it when there is none, and adds it behind the open sinks. Only regular files.
/// Null when it can't be opened. Lines of several processes don't mix.
Sink* openSink(const char* path, u32 format, std::span<const Rule> rules) noexcept;

/// Removes the sink, writes what it still has to say about repeated messages, and closes its file.
void closeSink(Sink* sink) noexcept;

struct Options
{
    bool synchronous = false; ///< lines are written on the calling thread, and the sinks' files reach the disk
    bool allReserved = false; ///< every message waits for room; by default DEBUG, INFO and WARNING get lost instead
};

/// Starts the log: dates count from the wall clock, and a thread of its own writes the lines in the order in which
/// they came, so that the callers don't wait for files. False when the log is started already or no thread can be had.
bool start(const Options& options = {}) noexcept;

/// Writes what has come so far and ends the thread. Messages then take the direct road again. Nothing when the log
/// isn't started. At exit and in the child of a fork it need not be called.
void stop() noexcept;

/// Waits until the worker has written what came so far, at most that long. False when it hasn't.
bool flush(i64 nanoseconds) noexcept;

/// Messages that got no record since the process began.
u64 droppedMessages() noexcept;

struct Message
{
    f64 time; ///< seconds since the clock's start
    const char* tag;
    const char* text;
    u32 level;
    f64 absoluteTime; ///< seconds since the Unix epoch
    const char* threadName;
};

/// Gets every message of a started log, one at a time. What it logs itself is not handed to listeners.
using Listener = void (*)(const Message& message, void* context);
void addListener(Listener listener, void* context);
/// Afterwards the listener isn't called any more and isn't running.
void removeListener(Listener listener, void* context) noexcept;

/// Gets the text and the label of a message whose level is in the alert mask, on the thread that logs it; what isn't
/// zero silences all later alerts. The first one asks on the controlling terminal; null: none.
using AlertHandler = int (*)(const char* text, const char* label);
void setAlertHandler(AlertHandler handler) noexcept;
int alertBox(const char* text, const char* label) noexcept;

/// Levels that go to the alert handler (ALERT at the start).
void setAlertMask(u32 levels) noexcept;
/// Brings alerts back after a handler silenced them.
void setAlertsSilenced(bool silenced) noexcept;
/// Levels that wait for room while the log runs (ALERT, ERROR, ERROR_ONCE, TRACE and 0x8000 at the start).
void setReservedMask(u32 levels) noexcept;
/// The console's lines; at the start UTC date and time, label, tag and thread name.
void setConsoleFormat(u32 format) noexcept;
/// Lines of a log that isn't started go to the debugger stream alone.
void setDebuggerOnly(bool only) noexcept;

/// Writes at most `capacity` characters of a prefix and gives their number. Called under the log's own locks.
using PrefixCallback = std::size_t (*)(char* out, std::size_t capacity);
void setPrefixCallback(PrefixCallback callback) noexcept;
} // namespace zr::log
