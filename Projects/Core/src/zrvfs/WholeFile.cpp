#include <zrvfs/WholeFile.h>

#include <platform/files.h>
#include <zr/log/Log.h>
#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
using Bytes = std::span<const zr::u8>;
using Parts = std::span<const Bytes>;

zr::u64 sizeOf(Parts parts)
{
    zr::u64 size = 0;
    for (const Bytes part : parts)
        size += part.size();
    return size;
}

/// written the bytes written, less than all only with an error
platform::Error writeParts(platform::FileHandle file, Parts parts, zr::u64& written)
{
    written = 0;
    for (const Bytes part : parts)
    {
        std::size_t count;
        const platform::Error error = platform::writeAll(file, part.data(), part.size(), count);
        written += count;
        if (error) return error;
    }
    return {};
}

/// Writes over what the file holds, in place, so that the file keeps its links and rights.
platform::Error replaceContent(platform::FileHandle file, Parts parts)
{
    bool reserved;
    if (const platform::Error error = platform::reserveSpace(file, sizeOf(parts), reserved)) return error;
    // Without a promise the old content goes first, as the new may need its room.
    if (!reserved)
        if (const platform::Error error = platform::setFileSize(file, 0)) return error;
    zr::u64 written;
    const platform::Error error = writeParts(file, parts, written);
    // Nothing old may stand behind the new, least of all behind a part of it.
    const platform::Error cut = platform::setFileSize(file, written);
    return error ? error : cut;
}

platform::Error writeAndClose(platform::FileHandle file, Parts parts)
{
    const platform::Error error = replaceContent(file, parts);
    const platform::Error closed = platform::closeFile(file);
    return error ? error : closed;
}
} // namespace

bool writeWholeFile(std::string_view path, Parts parts, bool quiet)
{
    constexpr zr::u64 kMaxSize = 0xFFFFFFFF;
    const zr::u64 size = sizeOf(parts);
    if (isVirtualPath(path) || path.find('\0') != path.npos || size > kMaxSize) return false;
    const zr::string name(path);
    platform::FileHandle file;
    bool created = false;
    platform::Error error = platform::checkFileSize(size);
    if (!error)
    {
        error = platform::openForWriting(name.c_str(), file, created);
        if (error)
        {
            reportFileError(path, error, "CreateFile(REWRITE)");
            if (!quiet)
                ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't open file '%.*s' from real path fs.", ZR_VIEW(path));
            return false;
        }
        error = writeAndClose(file, parts);
    }
    if (!error) return true;
    reportFileError(path, error, "WriteFile(%lld)", static_cast<long long>(size));
    if (created) static_cast<void>(platform::removeFile(name.c_str()));
    return false;
}

bool writeWholeFile(std::string_view path, const void* data, zr::u64 size, bool quiet)
{
    const Bytes whole(static_cast<const zr::u8*>(data), static_cast<std::size_t>(size));
    return writeWholeFile(path, Parts(&whole, 1), quiet);
}
} // namespace zrvfs
