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
Error checkRegular(int descriptor) noexcept
{
    struct stat status;
    if (fstat(descriptor, &status) == -1) return lastError();
    return S_ISREG(status.st_mode) ? Error{} : Error{S_ISDIR(status.st_mode) ? EISDIR : EINVAL};
}

int openWith(const char* path, int flags) noexcept
{
    // Without O_NONBLOCK the open of a pipe waits for a reader, perhaps for ever.
    return uninterrupted([=] { return open(path, flags | O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666); });
}

/// Takes over what was opened if it is a regular file, and closes it otherwise.
Error keepRegular(int descriptor, FileHandle& file) noexcept
{
    if (descriptor == -1) return lastError();
    const Error error = checkRegular(descriptor);
    if (error)
        close(descriptor);
    else
        file = {descriptor};
    return error;
}
} // namespace

Error openForWriting(const char* path, FileHandle& file, bool& created) noexcept
{
    created = false;
    int descriptor = openWith(path, 0);
    if (descriptor == -1 && errno == ENOENT)
    {
        descriptor = openWith(path, O_CREAT | O_EXCL);
        created = descriptor != -1;
        // Something stands there after all: a link to nothing, or a file that another process has just made.
        if (descriptor == -1 && errno == EEXIST) descriptor = openWith(path, O_CREAT);
    }
    return keepRegular(descriptor, file);
}

Error openForAppend(const char* path, FileHandle& file) noexcept
{
    return keepRegular(openWith(path, O_CREAT | O_APPEND), file);
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
