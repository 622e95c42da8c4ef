#pragma once

#include <zrvfs/EntryPaths.h>
#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// A directory with all that lies below it, as it was when it was mounted. Symbolic links are followed, but never round
/// in a circle, and to one directory a bounded number of times.
class FSDriver final : public Driver
{
public:
    explicit FSDriver(const MountRequest& request);

    void forEachEntry(EntryCallback callback, void* context) override;
    bool stat(zr::u64 index, FileStat& out) override;
    FilePtr openFile(zr::u64 index) override;
    const char* typeName() const noexcept override { return "FSDriver"; }
    void openBuffer(zr::BufferRef& out, zr::u64 index) override;
    void openReader(zr::ReaderPtr& out, zr::u64 index) override;

private:
    struct FileEntry : EntryPaths
    {
        zr::u32 type;
    };

    /// Scans the directory `root`, as the system knows it.
    void scan(const zr::string& root);
    std::string_view sourceOf(zr::u64 index) const { return texts.at(entries.at(index).sourcePath); }
    bool isDirectory(zr::u64 index) const { return entries.at(index).type == kDirectory; }

    zr::vector<FileEntry> entries;
    TextPool texts;
};

/// Takes every source that is a directory.
class FSDriverFactory final : public IDriverFactory
{
public:
    void create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop) override;
};
} // namespace zrvfs
