#include <platform/files.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/posix/calls.h>

namespace platform
{
using posix::errorOf;
using posix::lastError;
using posix::uninterrupted;

namespace
{
Error checkRegular(const struct stat& status) noexcept
{
    return S_ISREG(status.st_mode) ? Error{} : Error{S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
}

int openWith(const char* path, int flags) noexcept
{
    // Without O_NONBLOCK the open of a pipe waits for its other end, perhaps for ever.
    return uninterrupted([=] { return open(path, flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666); });
}

/// Takes over what was opened if it is a regular file, and closes it otherwise.
Error keepRegular(int descriptor, FileHandle& file, struct stat& status) noexcept
{
    if (descriptor == -1) return lastError();
    const Error error = fstat(descriptor, &status) == -1 ? lastError() : checkRegular(status);
    if (error)
        close(descriptor);
    else
        file = {descriptor};
    return error;
}

Error keepRegular(int descriptor, FileHandle& file) noexcept
{
    struct stat status;
    return keepRegular(descriptor, file, status);
}

/// Calls `readPart(destination, size, bytes read before)` until all is there, the file ends or an error comes.
template <class ReadPart>
Error readWhole(void* destination, std::uint64_t size, std::uint64_t& count, ReadPart readPart) noexcept
{
    count = 0;
    while (count < size)
    {
        // One call gives at most 2 GiB less a page.
        const ssize_t part =
            uninterrupted([&] { return readPart(static_cast<char*>(destination) + count, size - count, count); });
        if (part == -1) return lastError();
        if (part == 0) break;
        count += static_cast<std::uint64_t>(part);
    }
    return {};
}
} // namespace

Error openForWriting(const char* path, FileHandle& file, bool& created) noexcept
{
    created = false;
    int descriptor = openWith(path, O_WRONLY);
    if (descriptor == -1 && errno == ENOENT)
    {
        descriptor = openWith(path, O_WRONLY | O_CREAT | O_EXCL);
        created = descriptor != -1;
        // Something stands there after all: a link to nothing, or a file that another process has just made.
        if (descriptor == -1 && errno == EEXIST) descriptor = openWith(path, O_WRONLY | O_CREAT);
    }
    return keepRegular(descriptor, file);
}

Error openForAppend(const char* path, FileHandle& file) noexcept
{
    return keepRegular(openWith(path, O_WRONLY | O_CREAT | O_APPEND), file);
}

Error openForReading(const char* path, bool inOrder, FileHandle& file, std::uint64_t& size) noexcept
{
    // To open a device or a pipe may already do something to it.
    struct stat status;
    if (stat(path, &status) == -1) return lastError();
    if (const Error error = checkRegular(status)) return error;
    if (const Error error = keepRegular(openWith(path, O_RDONLY), file, status)) return error;
    size = static_cast<std::uint64_t>(status.st_size);
    if (inOrder) posix_fadvise(static_cast<int>(file.value), 0, 0, POSIX_FADV_SEQUENTIAL);
    return {};
}

Error readNext(FileHandle file, void* destination, std::uint64_t size, std::uint64_t& count) noexcept
{
    return readWhole(destination, size, count, [file](char* to, std::size_t part, std::uint64_t)
                     { return read(static_cast<int>(file.value), to, part); });
}

Error readAt(FileHandle file, std::uint64_t offset, void* destination, std::uint64_t size,
             std::uint64_t& count) noexcept
{
    return readWhole(destination, size, count, [=](char* to, std::size_t part, std::uint64_t done)
                     { return pread(static_cast<int>(file.value), to, part, static_cast<off_t>(offset + done)); });
}

Error getFileSize(FileHandle file, std::uint64_t& size) noexcept
{
    struct stat status;
    if (fstat(static_cast<int>(file.value), &status) == -1) return lastError();
    size = static_cast<std::uint64_t>(status.st_size);
    return {};
}

Error getPosition(FileHandle file, std::uint64_t& position) noexcept
{
    const off_t found = lseek(static_cast<int>(file.value), 0, SEEK_CUR);
    if (found == -1) return lastError();
    position = static_cast<std::uint64_t>(found);
    return {};
}

Error setPosition(FileHandle file, std::uint64_t position) noexcept
{
    return lseek(static_cast<int>(file.value), static_cast<off_t>(position), SEEK_SET) == -1 ? lastError() : Error{};
}

Error movePosition(FileHandle file, std::int64_t distance) noexcept
{
    return lseek(static_cast<int>(file.value), static_cast<off_t>(distance), SEEK_CUR) == -1 ? lastError() : Error{};
}

Error flushFile(FileHandle file) noexcept
{
    return errorOf(uninterrupted([&] { return fdatasync(static_cast<int>(file.value)); }));
}

Error checkFileSize(std::uint64_t size) noexcept
{
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) == -1) return lastError();
    return limit.rlim_cur != RLIM_INFINITY && size > limit.rlim_cur ? Error{EFBIG} : Error{};
}

Error setFileSize(FileHandle file, std::uint64_t size) noexcept
{
    return errorOf(uninterrupted([=] { return ftruncate(static_cast<int>(file.value), static_cast<off_t>(size)); }));
}

Error writeAll(FileHandle file, const void* data, std::size_t size, std::size_t& written) noexcept
{
    const char* bytes = static_cast<const char*>(data);
    written = 0;
    while (written < size)
    {
        // One call takes at most 2 GiB less a page, and less when the disk is nearly full.
        const ssize_t count =
            uninterrupted([&] { return write(static_cast<int>(file.value), bytes + written, size - written); });
        if (count == -1) return lastError();
        if (count == 0) return {EIO};
        written += static_cast<std::size_t>(count);
    }
    return {};
}

Error closeFile(FileHandle file) noexcept
{
    // Never repeated: after an interruption the descriptor is gone and may already be another thread's.
    const Error error = errorOf(close(static_cast<int>(file.value)));
    return error == Error{EINTR} ? Error{} : error;
}

Error removeFile(const char* path) noexcept
{
    return errorOf(unlink(path));
}

Error getPathInfo(const char* path, PathInfo& info) noexcept
{
    using Kind = PathInfo::Kind;
    struct stat status;
    if (stat(path, &status) == -1) return lastError();
    info.kind = S_ISREG(status.st_mode) ? Kind::kFile : S_ISDIR(status.st_mode) ? Kind::kDirectory : Kind::kOther;
    info.size = static_cast<std::uint64_t>(status.st_size);
    info.seconds = status.st_mtime;
    info.device = status.st_dev;
    info.node = status.st_ino;
    return {};
}

bool pathExists(const char* path) noexcept
{
    struct stat status;
    return stat(path, &status) == 0;
}

void writeStandardError(const char* text, std::size_t size) noexcept
{
    std::size_t written;
    static_cast<void>(writeAll({STDERR_FILENO}, text, size, written));
}
} // namespace platform
