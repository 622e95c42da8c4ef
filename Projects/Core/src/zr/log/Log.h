#pragma once

#include <atomic>

#include <zr/types.h>

/// The log of the process, for those who write to it. Who opens sinks, listens or starts the worker reads `Control.h`.
///
/// Any thread may log at any time, before `start`, after `stop` and while statics are made or destroyed. Nothing here
/// throws, and a message that can't be logged is lost in silence. Without `start` a line goes to the open sinks, to
/// standard error and to the debugger stream on the calling thread, and one that comes while another thread is logging
/// is lost.
namespace zr::log
{
enum Level : u32
{
    kAlert = 2, ///< shown in a box, too
    kError = 8,
    kWarning = 16,
    kErrorOnce = 32,
    kInfo = 64,
    kDebug = 128,
    kTrace = 256, ///< for sinks only, never on the console
};

/// The tag of the core's own messages.
constexpr const char* kCoreTag = "ZRCORESTATIC";

/// Logs a text formatted by stb_sprintf's grammar: printf's with additions; "%s" of null gives "null".
///
/// tag     up to 64 characters of it are shown; null shows as "<NULL>"
/// level   one of `Level`, to which bit 0x8000 may be added: such a message waits for room where others get lost
/// returns false when the message was lost; a disabled one is not
///
/// Allocates nothing for texts below 255 characters. A line holds 65535 at most.
[[gnu::format(printf, 3, 4)]] bool write(const char* tag, u32 level, const char* format, ...) noexcept;

/// Whether some sink's rules let a message pass; false unless the log was started.
bool isEnabled(const char* tag, u32 level) noexcept;

namespace detail
{
/// DEBUG and TRACE while the log is running and no sink wants them; 0 otherwise.
extern std::atomic<u32> unwantedLevels;
} // namespace detail

/// Whether a message of this level would be dropped unseen. One load and a test.
inline bool isUnwanted(u32 level) noexcept
{
    return (level & detail::unwantedLevels.load(std::memory_order_relaxed)) != 0;
}
} // namespace zr::log

/// `zr::log::write` whose arguments are not even evaluated for a level that nobody wants.
#define ZR_LOG(tag, level, ...) (::zr::log::isUnwanted(level) || ::zr::log::write((tag), (level), __VA_ARGS__))
