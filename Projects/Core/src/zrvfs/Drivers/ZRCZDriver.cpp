#include <zrvfs/Drivers/ZRCZDriver.h>

#include <cstdio>

#include <zr/ZstdDecompressReader.h>
#include <zr/tasks/ProcessPool.h>
#include <zrvfs/Drivers/DataProviders/ArchiveFile.h>
#include <zrvfs/Drivers/DataProviders/ZRCZFile.h>

namespace zrvfs
{
/// Streams a member; the archive is its driver's.
class ZRCZDriver::ZRCZReader final : public zr::Reader
{
public:
    static zr::ReaderPtr make(ZRCZDriver& driver, const ZRCZEntry& entry)
    {
        return zr::ReaderPtr(pool.create<ZRCZReader>(driver, entry));
    }

    zr::u64 read(void* destination, zr::u64 count) override { return content.read(destination, count); }
    zr::u64 skip(zr::u64 count) override { return content.skip(count); }
    zr::u64 remaining() const override { return content.remaining(); }
    const char* name() const noexcept override { return path.c_str(); }
    std::span<const zr::u8> peek() override { return content.peek(); }
    void destroy() noexcept override { pool.destroy(this); }

private:
    friend class zr::ObjectPool;

    ZRCZReader(ZRCZDriver& owner, const ZRCZEntry& entry)
        : driver(&owner),
          path(owner.texts.at(entry.path)),
          stored(owner.archive, entry.record.offset, entry.record.offset + entry.record.storedSize),
          content(stored, entry.record.size)
    {
    }

    static zr::ProcessPool pool;

    const DriverRef driver;
    const zr::string path;
    OverlappedFileReader stored;
    zr::ZstdDecompressReader content;
};

constinit zr::ProcessPool ZRCZDriver::ZRCZReader::pool{sizeof(ZRCZReader), 128,
                                                       "Projects/Core/src/zrvfs/Drivers/ZRCZDriver"};

ZRCZDriver::ZRCZDriver(const MountRequest& request, std::string_view location, const ZRCZIndex& index)
    : Driver(request, location),
      archive(location)
{
    entries.reserve(index.fileNames.size() + index.directoryNames.size());
    for (std::size_t i = 0; i < index.fileNames.size(); ++i)
        add(index.fileNames[i], index.records[i], false);
    fileCount = entries.size();
    for (std::size_t i = 0; i < index.directoryNames.size(); ++i)
        add(index.directoryNames[i],
            {.offset = 0, .storedSize = 0, .size = 0, .time = index.directoryTimes[i], .flags = 0}, true);
    texts.shrink();
}

void ZRCZDriver::add(std::string_view name, const ZRCZRecord& record, bool isDirectory)
{
    ZRCZEntry entry;
    entry.record = record;
    if (addEntryPaths(texts, mountPoint, name, name, isDirectory, entry)) entries.push_back(entry);
}

void ZRCZDriver::forEachEntry(EntryCallback callback, void* context)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        const std::string_view lowerPath = texts.at(entries[i].lowerPath);
        callback(context, i, lowerPath, lowerPath, i < fileCount ? kFile : kDirectory);
    }
}

bool ZRCZDriver::stat(zr::u64 index, FileStat& out)
{
    const ZRCZRecord& record = entries.at(index).record;
    out = {record.size, static_cast<zr::i64>(record.time), index < fileCount ? kFile : kDirectory};
    return true;
}

const ZRCZDriver::ZRCZEntry* ZRCZDriver::reach(zr::u64 index)
{
    return index < fileCount && archive.open() ? &entries[index] : nullptr;
}

FilePtr ZRCZDriver::openFile(zr::u64 index)
{
    const ZRCZEntry* const entry = reach(index);
    if (!entry) return nullptr;
    return ZRCZFile::create(DriverRef(this), archive, entry->record, texts.at(entry->path),
                            texts.at(entry->sourcePath));
}

void ZRCZDriver::openBuffer(zr::BufferRef& out, zr::u64 index)
{
    const ZRCZEntry* const entry = reach(index);
    out = entry ? extract(archive, entry->record, texts.at(entry->path)) : nullptr;
}

void ZRCZDriver::openReader(zr::ReaderPtr& out, zr::u64 index)
{
    const ZRCZEntry* const entry = reach(index);
    out = nullptr;
    if (entry && archive.has(entry->record.offset, entry->record.storedSize)) out = ZRCZReader::make(*this, *entry);
}

void ZRCZDriverFactory::create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop)
{
    stop = false;
    out = nullptr;
    zr::string location = request.path;
    if (!location.ends_with(".zrcz")) location += ".zrcz";
    const ArchiveFile file(location, true);
    if (!file.isOpen()) return;
    ZRCZIndex index;
    const char* const reason = readIndex(file, index);
    if (!reason)
        out = DriverRef(new ZRCZDriver(request, location, index));
    else if (error)
        std::snprintf(error, errorSize, "ZRCZDriver: Failed to open zrcz archive %s. Reason: %s.", location.c_str(),
                      reason);
}
} // namespace zrvfs
