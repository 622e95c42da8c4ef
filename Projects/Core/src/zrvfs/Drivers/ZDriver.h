#pragma once

#include <zrvfs/Drivers/DataProviders/ArchiveFile.h>
#include <zrvfs/Drivers/ZipArchive.h>
#include <zrvfs/EntryPaths.h>
#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// One member of a zip archive.
struct ZipEntry : EntryPaths
{
    zr::u64 localHeaderOffset;
    zr::u64 compressedSize;
    zr::u64 uncompressedSize;
    zr::i64 stamp; ///< its time plus its CRC-32, so that another content of the same time has another stamp
    zr::u32 type;
    zr::u32 crc32;
};

/// What a scan takes over from an archive.
struct ZipEntries
{
    zr::vector<ZipEntry> entries;
    TextPool texts;
};

/// A zip archive. It is open only while something is read from it.
class ZDriver final : public Driver
{
public:
    ZDriver(const MountRequest& request, std::string_view location, ZipEntries&& scanned);

    void forEachEntry(EntryCallback callback, void* context) override;
    bool stat(zr::u64 index, FileStat& out) override;
    FilePtr openFile(zr::u64 index) override;
    const char* typeName() const noexcept override { return "ZipDriver"; }
    const char* info() const noexcept override { return "ZDriver::no info"; }
    void openBuffer(zr::BufferRef& out, zr::u64 index) override;
    void openReader(zr::ReaderPtr& out, zr::u64 index) override;

    /// What the archive says of a member's content; reading doesn't compare it.
    zr::u32 getCrc32(zr::u64 index) const { return archive.entries.at(index).crc32; }

private:
    class ZReader;

    /// Finds a file's content in the archive; false when that isn't open or doesn't have it, which was logged.
    bool reach(const ArchiveFile& file, const ZipEntry& entry, ZipContent& content) const;
    zr::BufferRef readContent(const ArchiveFile& file, const ZipEntry& entry, const ZipContent& content) const;
    std::string_view sourceOf(const ZipEntry& entry) const { return archive.texts.at(entry.sourcePath); }

    const ZipEntries archive;
};

/// Takes a file that begins as a zip archive does, or the one with ".zip" behind the name.
class ZDriverFactory final : public IDriverFactory
{
public:
    void create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop) override;
};
} // namespace zrvfs
