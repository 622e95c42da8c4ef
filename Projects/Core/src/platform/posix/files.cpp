#include <platform/files.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform
{
namespace
{
/// Repeats a call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) noexcept
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

bool isRegular(int descriptor) noexcept
{
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}
} // namespace

FileHandle openForRewrite(const char* path) noexcept
{
    // Without O_NONBLOCK the open of a pipe waits for a reader, perhaps for ever. Without O_TRUNC nothing is lost
    // before the file is known to be a regular one.
    constexpr int kFlags = O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    const int descriptor = uninterrupted([&] { return open(path, kFlags, 0666); });
    if (descriptor == -1) return {};
    if (isRegular(descriptor) && uninterrupted([&] { return ftruncate(descriptor, 0); }) == 0) return {descriptor};
    close(descriptor);
    return {};
}

std::size_t writeAll(FileHandle file, const void* data, std::size_t size) noexcept
{
    const char* bytes = static_cast<const char*>(data);
    std::size_t written = 0;
    while (written < size)
    {
        // One call takes at most 2 GiB less a page, and less when the disk is nearly full.
        const ssize_t count =
            uninterrupted([&] { return write(static_cast<int>(file.value), bytes + written, size - written); });
        if (count <= 0) break;
        written += static_cast<std::size_t>(count);
    }
    return written;
}

bool closeFile(FileHandle file) noexcept
{
    // Never repeated: after an interruption the descriptor is gone and may already be another thread's.
    return close(static_cast<int>(file.value)) == 0 || errno == EINTR;
}

bool pathExists(const char* path) noexcept
{
    struct stat status;
    return stat(path, &status) == 0;
}

void writeStandardError(const char* text, std::size_t size) noexcept
{
    writeAll({STDERR_FILENO}, text, size);
}
} // namespace platform
