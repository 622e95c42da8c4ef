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

/// Opens `path` for writing at its start and leaves what it holds; makes an empty file when there is none. Only a
/// regular file is opened: what blocks or has no size (a directory, a pipe, a device) is refused at once and stays as
/// it is.
///
/// file    written only on success
/// created whether this call made the file; false for one that it made at the end of a symbolic link
Error openForWriting(const char* path, FileHandle& file, bool& created) noexcept;

/// Opens a regular file for reading at its start; anything else is refused unopened.
///
/// inOrder  promises that the file will be read from its start to its end
/// size     in bytes
Error openForReading(const char* path, bool inOrder, FileHandle& file, std::uint64_t& size) noexcept;

/// Reads at the file's position, which moves on by what was read.
///
/// count the bytes read, less than `size` at the end of the file or after an error
Error readNext(FileHandle file, void* destination, std::uint64_t size, std::uint64_t& count) noexcept;

/// Reads at `offset`; the position stays. Any number of threads may read one file so.
Error readAt(FileHandle file, std::uint64_t offset, void* destination, std::uint64_t size,
             std::uint64_t& count) noexcept;

Error getFileSize(FileHandle file, std::uint64_t& size) noexcept;

Error getPosition(FileHandle file, std::uint64_t& position) noexcept;
/// A position may lie behind the end of the file.
Error setPosition(FileHandle file, std::uint64_t position) noexcept;
Error movePosition(FileHandle file, std::int64_t distance) noexcept;

/// Whether this process may make a file of `size` bytes. To write on past that limit would end the process.
Error checkFileSize(std::uint64_t size) noexcept;

/// Gives a file that is open for writing the room that its first `size` bytes need on the disk, so that writing these
/// cannot fail for want of it. Content and size stay as they are, after a failure the room too.
///
/// reserved false, without an error, on a file system that promises no room
Error reserveSpace(FileHandle file, std::uint64_t size, bool& reserved) noexcept;

/// Cuts the file, or lengthens it with zeros; the position stays.
Error setFileSize(FileHandle file, std::uint64_t size) noexcept;

/// Opens `path` for writing behind whatever its end is at each write; makes an empty file when there is none. Only a
/// regular file is opened.
Error openForAppend(const char* path, FileHandle& file) noexcept;

/// Comes back when what was written is on the disk.
Error flushFile(FileHandle file) noexcept;

/// Writes at the file's position, which moves on by what was written. A write that the system cuts short or
/// interrupts is continued.
///
/// written the bytes written, less than `size` only when the system refuses to go on; the result then says why
Error writeAll(FileHandle file, const void* data, std::size_t size, std::size_t& written) noexcept;

/// Closes an open file. A failure tells that something written before was lost; the handle is gone either way.
Error closeFile(FileHandle file) noexcept;

/// Removes the file, or the symbolic link, at `path`.
Error removeFile(const char* path) noexcept;

/// What stands at a path, or at the end of the symbolic link there.
struct PathInfo
{
    enum class Kind
    {
        kFile,
        kDirectory,
        kOther, ///< a pipe, a socket, a device
    };

    Kind kind = Kind::kOther;
    std::uint64_t size = 0;   ///< of a file, in bytes
    std::int64_t seconds = 0; ///< of the last change of its content, since the Unix epoch
    /// Together they tell whether two paths lead to one and the same thing.
    std::uint64_t device = 0;
    std::uint64_t node = 0;
};

Error getPathInfo(const char* path, PathInfo& info) noexcept;

/// Whether anything, a directory too, stands at `path`.
bool pathExists(const char* path) noexcept;

/// Writes `size` bytes to standard error; gives up silently when it takes none.
void writeStandardError(const char* text, std::size_t size) noexcept;
} // namespace platform
