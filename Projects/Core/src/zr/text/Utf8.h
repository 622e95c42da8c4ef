#pragma once

#include <zr/containers.h>

/// UTF-8, one character at a time.
namespace zr
{
/// What `readCharacter` gives for bytes that are no character.
inline constexpr u32 kNoCharacter = 0xFFFFFFFF;

/// Reads the character at `at`, which is before `end`, and moves behind it. Bytes that are not the shortest form of a
/// character, and surrogates, give `kNoCharacter` and move nothing.
u32 readCharacter(const char*& at, const char* end) noexcept;

/// Appends the UTF-8 form of a character up to U+10FFFF.
void appendCharacter(string& text, u32 character);
} // namespace zr
