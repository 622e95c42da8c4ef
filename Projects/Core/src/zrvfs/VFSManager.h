#pragma once

#include <zr/threads/CriticalSection.h>
#include <zrvfs/IVFSandbox.h>
#include <zrvfs/PathIndex.h>

namespace zrvfs
{
/// The tree of the process. Its lock is never held while a source is scanned or content is read, but by `remount`.
class Manager final : public IVFSandbox
{
public:
    /// With the factories of directories, zip archives and ZRCZ archives, in this order.
    Manager();
    ~Manager() override;

    zr::u64 mount(const char* source, const char* mountPoint, bool append, const char* tag, bool quiet) override;
    bool unmount(zr::u64 id) override;
    bool unmount_by_tag(std::string_view tag) override;
    bool unmount_by_source(std::string_view source) override;
    void remount(RemountCallback callback, void* context) override;
    bool stat(std::string_view path, FileStat& out) override;
    bool exists(std::string_view path) override;
    FilePtr openFile(std::string_view path, zr::u32 mode, bool quiet) override;
    void openBuffer(zr::BufferRef& out, std::string_view path, bool quiet) override;
    void openReader(zr::ReaderPtr& out, std::string_view path, bool quiet) override;
    bool openWrite(std::string_view path, zr::u32 mode, bool append, bool quiet) override;
    bool forAllVersions(std::string_view path, const std::function<void(zr::BufferRef&)>& callback,
                        bool quiet) override;
    zr::u64 countVersions(std::string_view path) override;
    void enumerate(std::string_view directory, NameCallback callback, void* context) override;
    zr::vector<zr::string> sourcesOf(const char* mountPoint) override;
    void forEachMount(MountCallback callback, void* context) override;
    void listNames(zr::vector<zr::string>& out, std::string_view directory, const NameFilter& filter,
                   bool bare) override;
    void listEntries(zr::vector<ListedEntry>& out, std::string_view directory, const NameFilter& filter,
                     bool bare) override;
    void resetDrivers() override;
    void addFactory(std::shared_ptr<IDriverFactory> factory, bool back) override;
    void removeFactory(const std::shared_ptr<IDriverFactory>& factory) override;
    void forEachDriver(DriverCallback callback, void* context) override;
    void clearFactories() override;
    void setMountFilter(MountFilter filter, void* context) override;
    bool forEachVersionSource(std::string_view path, SourceCallback callback, void* context) override;

private:
    using Factories = zr::vector<std::shared_ptr<IDriverFactory>>;
    struct Round;
    /// A version of a path with a reference of its own, so that it may be used without the lock.
    struct HeldFile
    {
        DriverRef driver;
        zr::u64 index = 0;
    };

    bool passesFilter(const char* source, const char* mountPoint);
    /// Counts up the driver that already serves a source at a mount point. Gives its id, or `kNoMount`.
    zr::u64 countUp(std::string_view source, std::string_view mountPoint);
    /// Asks for a driver's new source; false if the driver stays. The new ones join `kept`.
    bool replace(const IDriver& driver, std::string_view source, zr::vector<DriverRef>& kept);
    template <class Predicate>
    bool unmountWhere(Predicate isMeant, const char* reason);
    HeldFile findFile(std::string_view path);

    Factories factories;
    MountFilter mountFilter = nullptr;
    void* mountFilterContext = nullptr;
    zr::CriticalSection lock;
    zr::vector<DriverRef> drivers;
    PathIndex index;
};

/// The one tree of the process. It stands ready from the static initialisers on, with nothing mounted.
Manager& manager();

/// Where a mount without a source looks, where an application keeps its data, and where it may write for a while.
extern const char* const kDefaultSource;
extern const char* const kAppDataPath;
extern const char* const kTempPath;

/// The whole content of a file: of the tree for a path that begins with "/", of the real file system otherwise. Null,
/// and logged unless `quiet`, when it can't be read.
zr::BufferRef loadBuffer(std::string_view path, bool quiet);
} // namespace zrvfs
