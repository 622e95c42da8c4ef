#include <platform/files.h>

#include <fcntl.h>
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
} // namespace

Error openForRewrite(const char* path, FileHandle& file) noexcept
{
    // Without O_NONBLOCK the open of a pipe waits for a reader, perhaps for ever. Without O_TRUNC nothing is lost
    // before the file is known to be a regular one.
    constexpr int kFlags = O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    const int descriptor = uninterrupted([&] { return open(path, kFlags, 0666); });
    if (descriptor == -1) return lastError();
    Error error = checkRegular(descriptor);
    if (!error) error = errorOf(uninterrupted([&] { return ftruncate(descriptor, 0); }));
    if (error)
        close(descriptor);
    else
        file = {descriptor};
    return error;
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
