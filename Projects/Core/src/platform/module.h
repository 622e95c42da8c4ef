#pragma once

#include <cstddef>

namespace platform
{
/// Writes the path of the loaded file (module, shared library or program) whose code or data contains `address`,
/// UTF-8 and zero-terminated, as the system loaded it: it may be relative to the folder that was current then.
///
/// out     [capacity], written only on success
/// returns the length without the terminator; 0 when no loaded file contains the address or the path does not fit
std::size_t getModulePath(const void* address, char* out, std::size_t capacity) noexcept;
} // namespace platform
