#include <zrvfs/WholeFile.h>

#include <platform/files.h>

namespace zrvfs
{
bool writeWholeFile(const char* path, const void* data, zr::u64 size, bool /*quiet*/)
{
    constexpr zr::u64 kMaxSize = 0xFFFFFFFF;
    if (!path || path[0] == '/' || size > kMaxSize) return false;
    platform::FileHandle file;
    if (platform::openForRewrite(path, file)) return false;
    std::size_t written;
    const bool complete = !platform::writeAll(file, data, static_cast<std::size_t>(size), written);
    return !platform::closeFile(file) && complete;
}
} // namespace zrvfs
