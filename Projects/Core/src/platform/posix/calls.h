#pragma once

#include <cerrno>

#include <platform/error.h>

/// What the POSIX bodies share; included by these alone.
namespace platform::posix
{
/// The failure of the last call of this thread.
inline Error lastError() noexcept
{
    return {errno};
}

/// The answer of a call that gives -1 on failure.
inline Error errorOf(int result) noexcept
{
    return result == -1 ? lastError() : Error{};
}

/// Repeats a call that a signal interrupted, and gives its last result.
template <class Call>
auto uninterrupted(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}
} // namespace platform::posix
