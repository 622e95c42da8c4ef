#pragma once

#include <functional>

#include <zrvfs/IDriver.h>

namespace zrvfs
{
constexpr zr::u64 kNoMount = ~zr::u64{0};

using MountFilter = bool (*)(const char* source, const char* mountPoint, void* context);
using RemountCallback = void (*)(zr::string& newSource, const char* path, void* context);
using NameCallback = void (*)(void* context, std::string_view directory, std::string_view name, zr::u32 type);
using MountCallback = void (*)(const char* mountPoint, const char* path, void* context);
using DriverCallback = void (*)(IDriver& driver, void* context);
using SourceCallback = void (*)(const char* path, void* context);
/// Whether a listing takes a name.
using NameFilter = std::function<bool(std::string_view name, zr::u32 type)>;

struct ListedEntry
{
    zr::string name;
    zr::u32 type;
};

/// One read-only tree of virtual paths over any number of mounted sources. A path that begins with "/" is virtual, any
/// other is real. Virtual paths are looked up in lower case; paths are UTF-8.
///
/// What fails gives false or null and is logged, unless `quiet`. Any thread may call anything. Callbacks run under the
/// tree's lock unless told otherwise: they may call in again, but must not wait for another thread that does.
class IVFSandbox
{
public:
    /// Unmounts everything without messages.
    virtual ~IVFSandbox() = default;

    /// Joins a source to the tree: a directory, a zip or ZRCZ archive by its name with or without the extension. A
    /// source that stands for several of them (a folder and the archive beside it) brings them all. A second mount of
    /// one source at the same place counts up, and so needs a second unmount.
    ///
    /// source     relative to the working directory or absolute, whatever its capitals; null or empty for "./"
    /// mountPoint begins with "/"
    /// append     whether what is there already is served first, for a path that stands in both
    /// returns    the mount's id, or `kNoMount`. Raises `zr::ReadFormatError` for an archive that is corrupt inside.
    virtual zr::u64 mount(const char* source, const char* mountPoint, bool append, const char* tag, bool quiet) = 0;
    /// True if a driver went. One with open files leaves the tree and gives false; it lives on with its files.
    virtual bool unmount(zr::u64 id) = 0;
    /// True if at least one driver went and each that went had no open files.
    virtual bool unmount_by_tag(std::string_view tag) = 0;
    /// As `unmount_by_tag`, by the location in use: an archive's with its extension.
    virtual bool unmount_by_source(std::string_view source) = 0;
    /// Asks for each driver's new source, and mounts that in its place with the same id. An empty answer, or open
    /// files, keep the driver.
    virtual void remount(RemountCallback callback, void* context) = 0;
    virtual bool stat(std::string_view path, FileStat& out) = 0;
    /// Whether the path is a file or a directory of the tree.
    virtual bool exists(std::string_view path) = 0;
    /// mode  0; the tree is read-only
    virtual FilePtr openFile(std::string_view path, zr::u32 mode, bool quiet) = 0;
    /// The whole content of a virtual or real file.
    virtual void openBuffer(zr::BufferRef& out, std::string_view path, bool quiet) = 0;
    /// A stream of a virtual or real file.
    virtual void openReader(zr::ReaderPtr& out, std::string_view path, bool quiet) = 0;
    /// Always false.
    virtual bool openWrite(std::string_view path, zr::u32 mode, bool append, bool quiet) = 0;
    /// Calls with the content of each version of a path, the one served first; not under the lock. False for an unknown
    /// path; versions that can't be read are left out.
    virtual bool forAllVersions(std::string_view path, const std::function<void(zr::BufferRef&)>& callback,
                                bool quiet) = 0;
    virtual zr::u64 countVersions(std::string_view path) = 0;
    /// What lies directly in a directory of the tree: files by their lower-case name, directories by their original
    /// one, in no promised order. `callback` gets `directory` as it was given.
    virtual void enumerate(std::string_view directory, NameCallback callback, void* context) = 0;
    /// The locations of the drivers whose mount point is exactly this one.
    virtual zr::vector<zr::string> sourcesOf(const char* mountPoint) = 0;
    /// In search order.
    virtual void forEachMount(MountCallback callback, void* context) = 0;
    /// As `enumerate`, for real directories too, into a list that is emptied first.
    ///
    /// bare  whether names come alone instead of joined to the directory
    virtual void listNames(zr::vector<zr::string>& out, std::string_view directory, const NameFilter& filter,
                           bool bare) = 0;
    virtual void listEntries(zr::vector<ListedEntry>& out, std::string_view directory, const NameFilter& filter,
                             bool bare) = 0;
    virtual void resetDrivers() = 0;
    /// Asked behind the others, or, not `back`, before them; one that is there already is ignored.
    virtual void addFactory(std::shared_ptr<IDriverFactory> factory, bool back) = 0;
    virtual void removeFactory(const std::shared_ptr<IDriverFactory>& factory) = 0;
    virtual void forEachDriver(DriverCallback callback, void* context) = 0;
    virtual void clearFactories() = 0;
    /// A filter may veto mounts; null for none.
    virtual void setMountFilter(MountFilter filter, void* context) = 0;
    /// Calls with the location of each version's driver. False for an unknown path.
    virtual bool forEachVersionSource(std::string_view path, SourceCallback callback, void* context) = 0;
};
} // namespace zrvfs
