#include <zrvfs/WholeFile.h>

#include <platform/files.h>

namespace zrvfs
{
namespace
{
/// Writes over what the file holds, in place, so that the file keeps its links and rights.
bool replaceContent(platform::FileHandle file, const void* data, std::size_t size)
{
    bool reserved;
    if (platform::reserveSpace(file, size, reserved)) return false;
    // Without a promise the old content goes first, as the new may need its room.
    if (!reserved && platform::setFileSize(file, 0)) return false;
    std::size_t written;
    const bool complete = !platform::writeAll(file, data, size, written);
    // Nothing old may stand behind the new, least of all behind a part of it.
    return !platform::setFileSize(file, written) && complete;
}
} // namespace

bool writeWholeFile(const char* path, const void* data, zr::u64 size, bool /*quiet*/)
{
    constexpr zr::u64 kMaxSize = 0xFFFFFFFF;
    if (!path || path[0] == '/' || size > kMaxSize) return false;
    if (platform::checkFileSize(size)) return false;
    platform::FileHandle file;
    bool created;
    if (platform::openForWriting(path, file, created)) return false;
    const bool complete = replaceContent(file, data, static_cast<std::size_t>(size));
    const bool closed = !platform::closeFile(file);
    if (complete && closed) return true;
    if (created) static_cast<void>(platform::removeFile(path));
    return false;
}
} // namespace zrvfs
