#pragma once

#include <source_location>

#include <zr/containers.h>

// Older releases of clang have no column but by this name, g++ none but by the standard's.
#if __has_builtin(__builtin_COLUMN)
#define ZR_COLUMN __builtin_COLUMN()
#else
#define ZR_COLUMN std::source_location::current().column()
#endif

namespace zr
{
/// Where an assertion stands.
struct source_location_internal
{
    u32 line;
    u32 column;
    const char* file;
    const char* function; ///< the full signature
};

/// Room for a message without heap memory.
using AssertMessage = small_vector<char, 4072>;

/// The message of an assertion, zero-terminated; empty for a null format.
[[gnu::format(printf, 1, 2)]] AssertMessage formatAssertMessage(const char* format, ...);
inline AssertMessage formatAssertMessage()
{
    return {};
}

/// Reports a failed assertion and asks a person on the controlling terminal whether to abort, to break into a
/// debugger or to go on; without a terminal it aborts. Comes back if the program may go on. One assertion at a time:
/// a thread that fails meanwhile waits. Throws nothing.
void assertImpl(const char* condition, const source_location_internal& location, AssertMessage&& message) noexcept;

/// Process-wide; both are off at the start.
void setAssertAbortsAtOnce(bool abortAtOnce) noexcept;
/// Assertions are logged and nobody is asked.
void setAssertNotificationsOff(bool off) noexcept;
} // namespace zr

/// Checks a condition that only a fault of the program's own can break, in every build: `zr_assert(condition)` or
/// `zr_assert(condition, format, ...)` with stb_sprintf's grammar. See `zr::assertImpl` for what follows.
#define zr_assert(condition, ...)                                                                                      \
    ((condition) ? static_cast<void>(0)                                                                                \
                 : ::zr::assertImpl(#condition, {__LINE__, ZR_COLUMN, __FILE__, __PRETTY_FUNCTION__},                  \
                                    ::zr::formatAssertMessage(__VA_ARGS__)))
