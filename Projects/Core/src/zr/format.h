#pragma once

#include <cstdarg>
#include <cstddef>

#include <zr/types.h>

namespace zr
{
/// Formats by stb_sprintf's grammar: printf's with additions, independent of the locale; "%s" of null gives "null".
/// Allocates nothing.
///
/// out     [capacity], at least 1; gets as much as fits, zero-terminated
/// returns the length of the whole text; negative when it has no length (2^31 characters and more)
[[gnu::format(printf, 3, 0)]] i32 formatText(char* out, std::size_t capacity, const char* format,
                                             std::va_list arguments) noexcept;
[[gnu::format(printf, 3, 4)]] i32 formatText(char* out, std::size_t capacity, const char* format, ...) noexcept;
} // namespace zr
