#pragma once

#include <cstdint>

#include <platform/files.h>

namespace platform
{
/// A file's content as memory, for reading alone.
struct Mapping
{
    const unsigned char* data = nullptr;
    std::uint64_t size = 0;
    void* guard = nullptr; ///< the platform's own
};

/// Maps the first `size` bytes of a file, which may be closed then. `size` is above 0 and at most the file's.
///
/// A file that shrinks later takes pages away from under the mapping. Whoever reads such a page gets zeros from there
/// to the mapping's end: a system that would end the process with a signal instead has that signal handled from the
/// first mapping on, and handed on to whoever handled it before when it concerns none of ours.
Error mapFile(FileHandle file, std::uint64_t size, Mapping& mapping) noexcept;

/// Ends a mapping. False if somebody read a page of it that had gone.
bool unmapFile(Mapping& mapping) noexcept;
} // namespace platform
