#pragma once

#include <string_view>

#include <zr/containers.h>
#include <zrvfs/IFile.h>

namespace zrvfs
{
/// The types of what a path leads to.
constexpr zr::u32 kFile = 1;
constexpr zr::u32 kDirectory = 2;

struct FileStat
{
    zr::u64 size = 0; ///< in bytes; 0 for a directory
    zr::i64 time = 0; ///< of the last change, in seconds since 1970; sources may keep more in it
    zr::u32 type = 0; ///< `kFile` or `kDirectory`
};

/// Told of one file or directory of a source. Both paths are virtual ones and stay valid as long as the driver.
using EntryCallback = void (*)(void* context, zr::u64 index, std::string_view lowerPath, std::string_view path,
                               zr::u32 type);

/// A mounted source: its files and directories, by index, each under its virtual path. They never change, and any
/// number of threads may use a driver at once. Files and readers hold a reference of their driver.
class IDriver : public zr::RefCounted
{
public:
    zr::string tag;        ///< a label of whoever mounted it
    zr::string path;       ///< the location in use, as the factory has completed it
    zr::string source;     ///< the normalised source as asked for
    zr::string mountPoint; ///< normalised, lower case, with a trailing slash
    zr::u64 id = 0;
    zr::i64 mountCount = 1;

    virtual ~IDriver() = default;
    virtual void forEachEntry(EntryCallback callback, void* context) = 0;
    /// False with a zeroed record when what the entry stood for is gone.
    virtual bool stat(zr::u64 index, FileStat& out) = 0;
    /// Null, and logged, when it can't be opened; null for a directory.
    virtual FilePtr openFile(zr::u64 index) = 0;
    virtual const char* typeName() const noexcept = 0;
    /// Whether files or readers, or calls under way, hold the driver beside its one owner.
    virtual bool hasOpenFiles() const noexcept = 0;
    virtual void reset() = 0;
    virtual bool isVirtual() const noexcept = 0;
    virtual const char* info() const noexcept = 0;
    /// The whole content, or null when it can't be read or the entry is a directory.
    virtual void openBuffer(zr::BufferRef& out, zr::u64 index) = 0;
    /// As `openBuffer`, for a reader. What is damaged may show only when it is read.
    virtual void openReader(zr::ReaderPtr& out, zr::u64 index) = 0;
};

using DriverRef = zr::RefPtr<IDriver>;

/// What a mount asks of the factories.
struct MountRequest
{
    zr::u64 id;
    const char* source;
    const char* path;
    const char* mountPoint;
    const char* tag;
};

/// Makes drivers of one kind.
class IDriverFactory
{
public:
    virtual ~IDriverFactory() = default;
    /// Makes a driver, or leaves null if the source is none of its own. Raises `zr::ReadFormatError` for an archive
    /// that is corrupt inside.
    ///
    /// error  gets a zero-terminated text, cut to `errorSize` bytes, if the source is its own and can't be used; may be
    /// null stop   whether no later factory is to be asked
    virtual void create(DriverRef& out, const MountRequest& request, char* error, zr::u64 errorSize, bool& stop) = 0;
};

/// What the drivers of this library share.
class Driver : public zr::RefCountedImpl<IDriver>
{
public:
    bool hasOpenFiles() const noexcept override { return getReferenceCount() > 1; }
    void reset() override {}
    bool isVirtual() const noexcept override { return false; }
    const char* info() const noexcept override { return ""; }

protected:
    Driver(const MountRequest& request, std::string_view location);
};
} // namespace zrvfs
