#pragma once

#include <zrvfs/Drivers/DataProviders/OverlappedFile.h>
#include <zrvfs/Drivers/ZRCZArchive.h>
#include <zrvfs/EntryPaths.h>
#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// A ZRCZ archive. It is opened when content is first read, and stays open; its members are read by position, so that
/// any number of threads read at once.
class ZRCZDriver final : public Driver
{
public:
    ZRCZDriver(const MountRequest& request, std::string_view location, const ZRCZIndex& index);

    void forEachEntry(EntryCallback callback, void* context) override;
    bool stat(zr::u64 index, FileStat& out) override;
    FilePtr openFile(zr::u64 index) override;
    const char* typeName() const noexcept override { return "ZRCZDriver"; }
    void openBuffer(zr::BufferRef& out, zr::u64 index) override;
    /// Takes every member for a zstd frame: reading a stored one raises `zr::ZstdError`.
    void openReader(zr::ReaderPtr& out, zr::u64 index) override;

private:
    class ZRCZReader;

    /// `sourcePath` is the name in the archive; of a directory, the record holds the time alone.
    struct ZRCZEntry : EntryPaths
    {
        ZRCZRecord record;
    };

    void add(std::string_view name, const ZRCZRecord& record, bool isDirectory);
    /// The entry if it is a file of the archive, which is open then; null otherwise.
    const ZRCZEntry* reach(zr::u64 index);

    OverlappedFile archive;
    zr::vector<ZRCZEntry> entries; ///< files, then directories
    zr::u64 fileCount = 0;
    TextPool texts;
};

/// Takes a source's name with ".zrcz" behind it, unless it ends so already.
class ZRCZDriverFactory final : public IDriverFactory
{
public:
    void create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop) override;
};
} // namespace zrvfs
