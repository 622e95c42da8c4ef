#pragma once

#include <cstddef>
#include <cstdint>

#include <platform/error.h>

/// What the core needs of the system's files. Paths are zero-terminated UTF-8. Nothing here allocates, throws or logs.
namespace platform
{
/// An open file; belongs to one thread at a time.
struct FileHandle
{
    std::intptr_t value = -1;

    explicit operator bool() const noexcept { return value != -1; }
};

/// Opens `path` for writing from empty; creates the file when there is none. Only a regular file is opened: what
/// blocks or has no size (a directory, a pipe, a device) is refused at once and stays as it is.
///
/// file    written only on success
Error openForRewrite(const char* path, FileHandle& file) noexcept;

/// Writes at the file's position, which moves on by what was written. A write that the system cuts short or
/// interrupts is continued.
///
/// written the bytes written, less than `size` only when the system refuses to go on; the result then says why
Error writeAll(FileHandle file, const void* data, std::size_t size, std::size_t& written) noexcept;

/// Closes an open file. A failure tells that something written before was lost; the handle is gone either way.
Error closeFile(FileHandle file) noexcept;

/// Whether anything, a directory too, stands at `path`.
bool pathExists(const char* path) noexcept;

/// Writes `size` bytes to standard error; gives up silently when it takes none.
void writeStandardError(const char* text, std::size_t size) noexcept;
} // namespace platform
