#include <zrvfs/Drivers/ZDriver.h>

#include <cstdio>

#include <zr/BufferReader.h>
#include <zr/ZlibInflateReader.h>
#include <zr/log/Log.h>
#include <zr/tasks/ProcessPool.h>
#include <zrvfs/Drivers/DataProviders/WinFileRaw.h>
#include <zrvfs/FileReaders.h>
#include <zrvfs/MemFile.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
using zr::log::kCoreTag;
using zr::log::kError;

/// Streams a deflated member from an archive of its own.
class ZDriver::ZReader final : public zr::Reader
{
public:
    /// `file` stands at the content. Raises `zr::ZlibError` if zlib can't start.
    static zr::ReaderPtr make(ZDriver& driver, FilePtr file, const ZipEntry& entry)
    {
        return zr::ReaderPtr(
            pool.create<ZReader>(driver, makeOwningReader(std::move(file), entry.compressedSize), entry));
    }

    zr::u64 read(void* destination, zr::u64 count) override { return content.read(destination, count); }
    zr::u64 skip(zr::u64 count) override { return content.skip(count); }
    zr::u64 remaining() const override { return content.remaining(); }
    const char* name() const noexcept override { return path.c_str(); }
    std::span<const zr::u8> peek() override { return content.peek(); }
    void destroy() noexcept override { pool.destroy(this); }

private:
    friend class zr::ObjectPool;

    ZReader(ZDriver& owner, zr::ReaderPtr compressed, const ZipEntry& entry)
        : driver(&owner),
          path(owner.archive.texts.at(entry.path)),
          source(std::move(compressed)),
          content(*source, entry.uncompressedSize)
    {
    }

    static zr::ProcessPool pool;

    const DriverRef driver;
    const zr::string path;
    const zr::ReaderPtr source;
    zr::ZlibInflateReader content;
};

constinit zr::ProcessPool ZDriver::ZReader::pool{sizeof(ZReader), 128, "Projects/Core/src/zrvfs/Drivers/ZDriver"};

namespace
{
/// Notes the members of an archive that a driver would mount at `mountPoint`.
struct Collector
{
    ZipEntries& scanned;
    std::string_view mountPoint;

    static void expect(void* context, zr::u64 count)
    {
        static_cast<Collector*>(context)->scanned.entries.reserve(count);
    }
    static void see(void* context, const ZipMember& member) { static_cast<Collector*>(context)->add(member); }

    void add(const ZipMember& member)
    {
        PathString source = normalizePath(member.name, false);
        if (member.isDirectory)
            while (source.view().ends_with('/'))
                source.setLength(source.size() - 1);
        ZipEntry entry;
        if (!addEntryPaths(scanned.texts, mountPoint, member.name, source.view(), member.isDirectory, entry)) return;
        entry.localHeaderOffset = member.localHeaderOffset;
        entry.compressedSize = member.compressedSize;
        entry.uncompressedSize = member.uncompressedSize;
        entry.stamp = member.time + member.crc32;
        entry.type = member.isDirectory ? kDirectory : kFile;
        entry.crc32 = member.crc32;
        scanned.entries.push_back(entry);
    }
};

/// Null, or the reason why the file is no archive; `found` tells whether there is a file.
const char* scan(const char* path, std::string_view mountPoint, ZipEntries& scanned, bool& found)
{
    const ArchiveFile file(path, true);
    found = file.isOpen();
    if (!found) return "No such file.";
    Collector collector{scanned, mountPoint};
    const char* const reason = scanZip(file, Collector::expect, Collector::see, &collector);
    scanned.texts.shrink();
    return reason;
}
} // namespace

ZDriver::ZDriver(const MountRequest& request, std::string_view location, ZipEntries&& scanned)
    : Driver(request, location),
      archive(std::move(scanned))
{
}

void ZDriver::forEachEntry(EntryCallback callback, void* context)
{
    for (std::size_t i = 0; i < archive.entries.size(); ++i)
    {
        const ZipEntry& entry = archive.entries[i];
        callback(context, i, archive.texts.at(entry.lowerPath), archive.texts.at(entry.path), entry.type);
    }
}

bool ZDriver::stat(zr::u64 index, FileStat& out)
{
    const ZipEntry& entry = archive.entries.at(index);
    out = {entry.uncompressedSize, entry.stamp, entry.type};
    return true;
}

bool ZDriver::reach(const ArchiveFile& file, const ZipEntry& entry, ZipContent& content) const
{
    if (!file.isOpen()) return false;
    if (findZipContent(file, entry.localHeaderOffset, content)) return true;
    ZR_LOG(kCoreTag, kError, "Invalid local file header: %.*s", ZR_VIEW(sourceOf(entry)));
    return false;
}

zr::BufferRef ZDriver::readContent(const ArchiveFile& file, const ZipEntry& entry, const ZipContent& content) const
{
    if (content.method == kZipStored) return readStored(file, content, entry.uncompressedSize);
    if (!isDeflate(content.method)) return nullptr;
    int result;
    zr::BufferRef buffer = readDeflated(file, content, entry.compressedSize, entry.uncompressedSize, result);
    if (!buffer) ZR_LOG(kCoreTag, kError, "Decompress error: %d, file: %.*s", result, ZR_VIEW(sourceOf(entry)));
    return buffer;
}

void ZDriver::openBuffer(zr::BufferRef& out, zr::u64 index)
{
    out = nullptr;
    const ZipEntry& entry = archive.entries.at(index);
    if (entry.type == kDirectory) return;
    const ArchiveFile file(path, false);
    ZipContent content;
    if (reach(file, entry, content)) out = readContent(file, entry, content);
}

FilePtr ZDriver::openFile(zr::u64 index)
{
    zr::BufferRef content;
    openBuffer(content, index);
    return content ? MemReader::create(content, sourceOf(archive.entries[index]), path) : nullptr;
}

void ZDriver::openReader(zr::ReaderPtr& out, zr::u64 index)
{
    out = nullptr;
    const ZipEntry& entry = archive.entries.at(index);
    if (entry.type == kDirectory) return;
    const ArchiveFile file(path, false);
    ZipContent content;
    if (!reach(file, entry, content)) return;
    if (isDeflate(content.method))
    {
        FilePtr streamed = WinFileRaw::openForReading(path, nullptr, path, false);
        if (streamed && streamed->seek(content.offset)) out = ZReader::make(*this, std::move(streamed), entry);
    }
    else if (const zr::BufferRef stored = readContent(file, entry, content))
        out = zr::ReaderPtr(new zr::BufferReader(stored));
}

void ZDriverFactory::create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop)
{
    stop = false;
    out = nullptr;
    zr::string location = request.path;
    bool found = false;
    const char* reason = nullptr;
    ZipEntries scanned;
    for (const char* const extension : {"", ".zip"})
    {
        location += extension;
        scanned = {};
        reason = scan(location.c_str(), request.mountPoint, scanned, found);
        if (found) break;
    }
    if (!found) return;
    if (!reason)
    {
        stop = true;
        out = DriverRef(new ZDriver(request, location, std::move(scanned)));
    }
    else if (error)
        std::snprintf(error, errorSize, "ZipDriver: Failed to open zip archive %s. Reason: %s", location.c_str(),
                      reason);
}
} // namespace zrvfs
