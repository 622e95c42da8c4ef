#pragma once

#include <string_view>

#include <zr/containers.h>

namespace zr
{
/// A UTF-8 text with every character replaced by its Unicode simple lower-case mapping, whatever the locale. Bytes that
/// are no UTF-8 stay as they are; others may change their number, as U+2126 (three bytes) gives U+03C9 (two).
string toLowerCase(std::string_view text);

/// The simple lower-case mapping of one character; a character without one gives itself.
u32 toLowerCase(u32 character) noexcept;
} // namespace zr
