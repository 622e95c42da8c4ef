#include <zrvfs/RealFiles.h>

#include <algorithm>

#include <zr/EmptyBuffer.h>
#include <zr/MemBuffer.h>
#include <zr/log/Log.h>
#include <zrvfs/Drivers/DataProviders/WinFileRaw.h>
#include <zrvfs/MappedFileBuffer.h>
#include <zrvfs/RealDirectory.h>
#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
/// Files from here on are mapped instead of copied.
constexpr zr::u64 kMapFrom = 0x100000;

FilePtr openForRewrite(const char* path)
{
    platform::FileHandle file;
    bool created;
    if (const platform::Error error = platform::openForWriting(path, file, created))
    {
        reportFileError(path, error, "CreateFile(REWRITE)");
        return nullptr;
    }
    if (const platform::Error error = platform::setFileSize(file, 0)) reportFileError(path, error, "SetEndOfFile()");
    return WinFileRaw::make(file, path);
}

FilePtr openForAppend(const char* path)
{
    platform::FileHandle file;
    if (const platform::Error error = platform::openForAppend(path, file))
    {
        reportFileError(path, error, "CreateFile(APPEND)");
        return nullptr;
    }
    return WinFileRaw::make(file, path);
}

FilePtr openInMode(std::string_view path, zr::u32 mode, bool quiet)
{
    if (isVirtualPath(path)) return nullptr;
    if (mode == static_cast<zr::u32>(OpenMode::kRead)) return WinFileRaw::openForReading(path, nullptr, path, quiet);
    // Files are written under the very name that was given.
    const zr::string name(path.find('\0') == path.npos ? path : std::string_view());
    if (mode == static_cast<zr::u32>(OpenMode::kRewrite)) return openForRewrite(name.c_str());
    if (mode == static_cast<zr::u32>(OpenMode::kAppend)) return openForAppend(name.c_str());
    return nullptr;
}

/// Reads an open file below 1 MiB into `content`, or into a new buffer.
zr::BufferRef readSmall(platform::FileHandle file, zr::u64 size, zr::RefPtr<zr::MemBuffer> content)
{
    if (content)
        content->setSize(size);
    else
        content = zr::MemBuffer::acquire(size);
    zr::u64 done;
    const bool isWhole = !platform::readNext(file, content->data(), size, done) && done == size;
    static_cast<void>(platform::closeFile(file));
    return isWhole ? zr::BufferRef(content) : zr::BufferRef();
}

zr::BufferRef readWhole(std::string_view path, bool& found, bool forceMap, const zr::RefPtr<zr::MemBuffer>& content)
{
    platform::FileHandle file;
    zr::u64 size;
    found = !withRealPath(path, [&](const char* real) { return platform::openForReading(real, true, file, size); });
    if (!found) return nullptr;
    if (size == 0)
    {
        static_cast<void>(platform::closeFile(file));
        return zr::EmptyBuffer::get();
    }
    if (!forceMap && size < kMapFrom) return readSmall(file, size, content);
    const zr::RefPtr<MappedFileBuffer> mapped = MappedFileBuffer::create(file, size);
    return mapped->size() != 0 ? zr::BufferRef(mapped) : zr::BufferRef();
}

/// False for what is neither file nor directory.
bool toFileStat(const platform::PathInfo& info, FileStat& out)
{
    if (info.kind == platform::PathInfo::Kind::kOther) return false;
    const bool isFile = info.kind == platform::PathInfo::Kind::kFile;
    out = {isFile ? info.size : 0, std::max(info.seconds, zr::i64{0}), isFile ? kFile : kDirectory};
    return true;
}
} // namespace

FilePtr openRealFile(std::string_view path, zr::u32 mode, bool quiet)
{
    FilePtr file = openInMode(path, mode, quiet);
    if (!file && !quiet)
        ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't open file '%.*s' from real path fs.", ZR_VIEW(path));
    return file;
}

zr::BufferRef readRealFile(std::string_view path, bool& found, bool forceMap)
{
    return readWhole(path, found, forceMap, nullptr);
}

zr::BufferRef readRealFileInto(std::string_view path, const zr::RefPtr<zr::MemBuffer>& buffer, bool quiet)
{
    bool found;
    zr::BufferRef content = isVirtualPath(path) ? zr::BufferRef() : readWhole(path, found, false, buffer);
    if (!content && !quiet)
        ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't open file '%.*s' from real path fs.", ZR_VIEW(path));
    return content;
}

zr::BufferRef loadRealFile(std::string_view path, bool quiet)
{
    bool found;
    zr::BufferRef content = readRealFile(path, found, false);
    if (!content && !quiet) ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't open file '%.*s' from fs", ZR_VIEW(path));
    return content;
}

bool statRealPath(std::string_view path, FileStat& out)
{
    platform::PathInfo info;
    const auto look = [&](const char* real) { return platform::getPathInfo(real, info); };
    return !withRealPath(path, look) && toFileStat(info, out);
}

bool enumerateRealDir(std::string_view path, RealEntryCallback callback, void* context)
{
    zr::vector<RealName> names;
    zr::string directory;
    const auto list = [&](const char* real) { return listRealDirectory(directory = real, names); };
    if (withRealPath(path, list)) return false;
    for (const RealName& name : names)
    {
        platform::PathInfo info;
        FileStat stat;
        // What has gone meanwhile is no entry any more.
        if (platform::getPathInfo((directory + '/' + name.name).c_str(), info) || !toFileStat(info, stat)) continue;
        callback(context, path, name.name, stat);
    }
    return true;
}
} // namespace zrvfs
