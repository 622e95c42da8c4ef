#include <zrvfs/VFSManager.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>
#include <mutex>

#include <zr/log/Log.h>
#include <zrvfs/Drivers/DataProviders/WinFileRaw.h>
#include <zrvfs/Drivers/FSDriver.h>
#include <zrvfs/Drivers/ZDriver.h>
#include <zrvfs/Drivers/ZRCZDriver.h>
#include <zrvfs/FileReaders.h>
#include <zrvfs/RealFiles.h>
#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
const char* const kDefaultSource = "./";
const char* const kAppDataPath = "./AppData";
const char* const kTempPath = "./Temp/";

namespace
{
using zr::log::kCoreTag;

std::atomic<zr::u64> nextMountId{1};

PathString directoryForm(std::string_view directory)
{
    PathString form = normalizePath(directory, true);
    if (!form.view().ends_with('/')) form.append('/');
    return form;
}

void collect(IDriver& driver, zr::vector<CollectedEntry>& entries)
{
    struct Context
    {
        IDriver* driver;
        zr::vector<CollectedEntry>& entries;
    } context{&driver, entries};
    driver.forEachEntry(
        [](void* to, zr::u64 index, std::string_view lowerPath, std::string_view path, zr::u32 type)
        {
            const Context& into = *static_cast<Context*>(to);
            into.entries.push_back({{into.driver, index}, lowerPath, path, type});
        },
        &context);
}

void logMounted(const char* source, const char* mountPoint, const char* tag)
{
    ZR_LOG(kCoreTag, zr::log::kDebug, "Mounted: %s into: %s with tag: %s", source, mountPoint, tag);
}

void logUnmounted(const IDriver& driver)
{
    ZR_LOG(kCoreTag, zr::log::kDebug, "Unmounted source: %s, tag: %s, driver: %s.", driver.path.c_str(),
           driver.tag.c_str(), driver.typeName());
}
} // namespace

/// One question to all factories.
struct Manager::Round
{
    zr::vector<DriverRef> drivers;
    zr::vector<zr::string> errors;

    void ask(const Factories& asked, const MountRequest& request)
    {
        for (const std::shared_ptr<IDriverFactory>& factory : asked)
        {
            char error[512] = "";
            bool stop = false;
            DriverRef driver;
            factory->create(driver, request, error, sizeof(error), stop);
            if (driver)
                drivers.push_back(std::move(driver));
            else if (error[0] != '\0')
                errors.emplace_back(error);
            if (stop) break;
        }
    }

    void logErrors(const char* heading, const char* source) const
    {
        if (errors.empty()) return;
        ZR_LOG(kCoreTag, zr::log::kError, "%s %s:", heading, source);
        for (const zr::string& error : errors)
            ZR_LOG(kCoreTag, zr::log::kError, "\t%s", error.c_str());
    }
};

Manager::Manager()
{
    factories.reserve(8);
    factories.push_back(std::make_shared<FSDriverFactory>());
    factories.push_back(std::make_shared<ZDriverFactory>());
    factories.push_back(std::make_shared<ZRCZDriverFactory>());
    drivers.reserve(128);
}

Manager::~Manager()
{
    index.clear(); // before the drivers, whose texts it shows
}

zr::u64 Manager::countUp(std::string_view source, std::string_view mountPoint)
{
    const auto isSame = [&](const DriverRef& driver)
    { return (driver->source == source || driver->path == source) && driver->mountPoint == mountPoint; };
    const auto known = std::find_if(drivers.begin(), drivers.end(), isSame);
    if (known == drivers.end()) return kNoMount;
    ++(*known)->mountCount;
    ZR_LOG(kCoreTag, zr::log::kWarning, "Source %.*s is already mounted to the same mount %.*s.", ZR_VIEW(source),
           ZR_VIEW(mountPoint));
    return (*known)->id;
}

bool Manager::passesFilter(const char* source, const char* mountPoint)
{
    std::unique_lock guard(lock);
    const MountFilter filter = mountFilter;
    void* const context = mountFilterContext;
    guard.unlock();
    return !filter || filter(source, mountPoint, context);
}

zr::u64 Manager::mount(const char* source, const char* mountPoint, bool append, const char* tag, bool quiet)
{
    if (!source || !*source) source = kDefaultSource;
    if (!mountPoint) mountPoint = "";
    if (!tag) tag = "";
    if (!passesFilter(source, mountPoint)) return kNoMount;
    if (mountPoint[0] != '/')
    {
        if (!quiet) ZR_LOG(kCoreTag, zr::log::kError, "Invalid mount point %s.", mountPoint);
        return kNoMount;
    }
    const PathString point = directoryForm(mountPoint);
    const PathString place = normalizeSource(source);
    const zr::u64 id = nextMountId.fetch_add(1);
    Factories asked;
    {
        const std::lock_guard guard(lock);
        asked = factories;
        if (const zr::u64 known = countUp(place.view(), point.view()); known != kNoMount) return known;
    }
    Round round;
    round.ask(asked, {id, place.c_str(), place.c_str(), point.c_str(), tag});
    if (round.drivers.empty() && round.errors.empty() && !quiet)
        ZR_LOG(kCoreTag, zr::log::kError, "No suitable driver found to mount %s", place.c_str());
    round.logErrors("Drivers errors while mounting", place.c_str());
    if (round.drivers.empty()) return kNoMount;

    zr::vector<CollectedEntry> entries;
    for (const DriverRef& driver : round.drivers)
        collect(*driver, entries);
    // In front of what is there, entries go one by one, each before the last. A single driver's keep their order all
    // the same, those of several drivers come out reversed.
    if (!append && round.drivers.size() == 1) std::reverse(entries.begin(), entries.end());
    const std::lock_guard guard(lock);
    index.add(entries, !append);
    drivers.insert(append ? drivers.end() : drivers.begin(), std::move_iterator(round.drivers.begin()),
                   std::move_iterator(round.drivers.end()));
    logMounted(place.c_str(), point.c_str(), tag);
    return id;
}

template <class Predicate>
bool Manager::unmountWhere(Predicate isMeant, const char* reason)
{
    bool hasFailed = false;
    bool hasMatched = false;
    zr::vector<DriverRef> leaving; // they must outlive their entries in the index
    const std::lock_guard guard(lock);
    for (DriverRef& driver : drivers)
    {
        if (!isMeant(*driver)) continue;
        hasMatched = true;
        if (--driver->mountCount > 0)
        {
            ZR_LOG(kCoreTag, zr::log::kWarning, "Driver %s:%s(%s) mount count: %d.", driver->typeName(),
                   driver->path.c_str(), driver->tag.c_str(), static_cast<int>(driver->mountCount));
            continue;
        }
        leaving.push_back(std::move(driver));
    }
    std::erase(drivers, nullptr);
    const auto isLeaving = [&leaving](const IDriver& driver)
    { return std::find(leaving.begin(), leaving.end(), &driver) != leaving.end(); };
    index.remove(isLeaving);
    for (const DriverRef& driver : leaving)
    {
        if (!driver->hasOpenFiles())
        {
            logUnmounted(*driver);
            continue;
        }
        hasFailed = true;
        ZR_LOG(kCoreTag, zr::log::kError, "Can't unmount driver %s:%s(%s). Reason: as it has files opened",
               driver->typeName(), driver->path.c_str(), driver->tag.c_str());
    }
    if (!hasMatched && reason) ZR_LOG(kCoreTag, zr::log::kError, "Can't unmount drivers. Reason: %s", reason);
    return !leaving.empty() && !hasFailed;
}

bool Manager::unmount(zr::u64 id)
{
    char reason[64];
    std::snprintf(reason, sizeof(reason), "Can't found drivers with given id == %zu", static_cast<std::size_t>(id));
    return unmountWhere([id](const IDriver& driver) { return driver.id == id; }, reason);
}

bool Manager::unmount_by_tag(std::string_view tag)
{
    return unmountWhere([tag](const IDriver& driver) { return driver.tag == tag; }, nullptr);
}

bool Manager::unmount_by_source(std::string_view source)
{
    const PathString place = normalizeSource(source);
    return unmountWhere([&place](const IDriver& driver) { return driver.path == place.view(); }, nullptr);
}

void Manager::remount(RemountCallback callback, void* context)
{
    zr::vector<DriverRef> left; // they must outlive their entries in the index
    const std::lock_guard guard(lock);
    // All are asked before anything changes: the callback may mount and unmount, too.
    zr::vector<std::pair<const IDriver*, zr::string>> wishes;
    for (std::size_t i = 0; i < drivers.size(); ++i)
    {
        const IDriver* const driver = drivers[i].get();
        zr::string wanted;
        callback(wanted, driver->path.c_str(), context);
        if (!wanted.empty()) wishes.emplace_back(driver, std::move(wanted));
    }
    zr::vector<DriverRef> kept;
    for (const DriverRef& driver : drivers)
    {
        const auto isOfDriver = [&driver](const auto& wish) { return driver == wish.first; };
        const auto wish = std::find_if(wishes.begin(), wishes.end(), isOfDriver);
        if (wish != wishes.end() && replace(*driver, wish->second, kept))
            left.push_back(driver);
        else
            kept.push_back(driver);
    }
    zr::vector<CollectedEntry> entries;
    for (const DriverRef& driver : kept)
        collect(*driver, entries);
    index.clear();
    index.add(entries, false);
    drivers = std::move(kept);
}

bool Manager::replace(const IDriver& driver, std::string_view source, zr::vector<DriverRef>& kept)
{
    if (driver.hasOpenFiles())
    {
        ZR_LOG(kCoreTag, zr::log::kError, "Can't unmount driver %s:%s(%s). Reason: as it has files opened.",
               driver.typeName(), driver.path.c_str(), driver.tag.c_str());
        return false;
    }
    const PathString place = normalizeSource(source);
    Round round;
    round.ask(factories, {driver.id, place.c_str(), place.c_str(), driver.mountPoint.c_str(), driver.tag.c_str()});
    round.logErrors("Driver errors while remounting", place.c_str());
    logUnmounted(driver);
    logMounted(place.c_str(), driver.mountPoint.c_str(), driver.tag.c_str());
    std::move(round.drivers.begin(), round.drivers.end(), std::back_inserter(kept));
    return true;
}

Manager::HeldFile Manager::findFile(std::string_view path)
{
    const PathString form = normalizePath(path, true);
    const std::lock_guard guard(lock);
    const FileRef found = index.find(form.view());
    return {DriverRef(found.driver), found.index};
}

bool Manager::stat(std::string_view path, FileStat& out)
{
    const PathString form = normalizePath(path, true);
    const std::lock_guard guard(lock);
    if (const FileRef found = index.find(form.view()); found.driver) return found.driver->stat(found.index, out);
    if (!index.hasDirectory(form.view())) return false;
    out = {0, 0, kDirectory};
    return true;
}

bool Manager::exists(std::string_view path)
{
    const PathString form = normalizePath(path, true);
    const std::lock_guard guard(lock);
    return index.find(form.view()).driver || index.hasDirectory(form.view());
}

FilePtr Manager::openFile(std::string_view path, zr::u32 mode, bool quiet)
{
    if (mode != 0)
    {
        if (!quiet)
            ZR_LOG(kCoreTag, zr::log::kError,
                   "Can't open file not for writing: %.*s. VFS supports only open for reading.", ZR_VIEW(path));
        return nullptr;
    }
    const HeldFile found = findFile(path);
    FilePtr file = found.driver ? found.driver->openFile(found.index) : nullptr;
    if (!file && !quiet) ZR_LOG(kCoreTag, zr::log::kError, "Can't open file: %.*s.", ZR_VIEW(path));
    return file;
}

void Manager::openBuffer(zr::BufferRef& out, std::string_view path, bool quiet)
{
    out = nullptr;
    if (isVirtualPath(path))
    {
        if (const HeldFile found = findFile(path); found.driver)
        {
            found.driver->openBuffer(out, found.index);
            if (!out && !quiet) ZR_LOG(kCoreTag, zr::log::kError, "Can't open file: %.*s.", ZR_VIEW(path));
        }
    }
    else
        out = readRealFileInto(path, nullptr, quiet);
    if (!out && !quiet) ZR_LOG(kCoreTag, zr::log::kError, "Can't open file: %.*s", ZR_VIEW(path));
}

void Manager::openReader(zr::ReaderPtr& out, std::string_view path, bool quiet)
{
    out = nullptr;
    if (!isVirtualPath(path))
        out = makeOwningReader(openRealFile(path, static_cast<zr::u32>(OpenMode::kRead), quiet));
    else if (const HeldFile found = findFile(path); found.driver)
        found.driver->openReader(out, found.index);
    if (!out && !quiet) ZR_LOG(kCoreTag, zr::log::kError, "Can't open file: %.*s.", ZR_VIEW(path));
}

bool Manager::openWrite(std::string_view path, zr::u32, bool, bool quiet)
{
    if (!quiet) ZR_LOG(kCoreTag, zr::log::kError, "Trying to open %.*s on ro vfs.", ZR_VIEW(path));
    return false;
}

bool Manager::forAllVersions(std::string_view path, const std::function<void(zr::BufferRef&)>& callback, bool quiet)
{
    const PathString form = normalizePath(path, true);
    zr::vector<HeldFile> versions;
    {
        const std::lock_guard guard(lock);
        for (const FileRef& version : index.versionsOf(form.view()))
            versions.push_back({DriverRef(version.driver), version.index});
    }
    for (const HeldFile& version : versions)
    {
        const FilePtr file = version.driver->openFile(version.index);
        zr::BufferRef content = file ? file->toBuffer() : nullptr;
        if (content)
            callback(content);
        else if (!quiet)
            ZR_LOG(kCoreTag, zr::log::kError, "Can't open file: %.*s.", ZR_VIEW(path));
    }
    return !versions.empty();
}

zr::u64 Manager::countVersions(std::string_view path)
{
    const PathString form = normalizePath(path, true);
    const std::lock_guard guard(lock);
    return index.versionsOf(form.view()).size();
}

bool Manager::forEachVersionSource(std::string_view path, SourceCallback callback, void* context)
{
    const PathString form = normalizePath(path, true);
    const std::lock_guard guard(lock);
    const zr::vector<FileRef> versions = index.versionsOf(form.view());
    for (const FileRef& version : versions)
        callback(version.driver->path.c_str(), context);
    return !versions.empty();
}

void Manager::enumerate(std::string_view directory, NameCallback callback, void* context)
{
    const PathString form = directoryForm(directory);
    const std::lock_guard guard(lock);
    // Names may move when the callback mounts or unmounts, so they are taken first.
    zr::vector<ListedEntry> entries;
    index.forEachIn(form.view(),
                    [&entries](std::string_view name, zr::u32 type) { entries.push_back({zr::string(name), type}); });
    for (const ListedEntry& entry : entries)
        callback(context, directory, entry.name, entry.type);
}

void Manager::listEntries(zr::vector<ListedEntry>& out, std::string_view directory, const NameFilter& filter, bool bare)
{
    struct Context
    {
        zr::vector<ListedEntry>& out;
        const NameFilter& filter;
        bool bare;

        void take(std::string_view within, std::string_view name, zr::u32 type) const
        {
            if (filter && !filter(name, type)) return;
            PathString shown;
            joinPath(bare ? std::string_view() : within, name, shown);
            out.push_back({zr::string(shown.view()), type});
        }
    } context{out, filter, bare};
    out.clear();
    out.reserve(64);
    if (isVirtualPath(directory))
        enumerate(
            directory, [](void* to, std::string_view within, std::string_view name, zr::u32 type)
            { static_cast<Context*>(to)->take(within, name, type); }, &context);
    else
        enumerateRealDir(
            directory, [](void* to, std::string_view within, std::string_view name, const FileStat& stat)
            { static_cast<Context*>(to)->take(within, name, stat.type); }, &context);
}

void Manager::listNames(zr::vector<zr::string>& out, std::string_view directory, const NameFilter& filter, bool bare)
{
    zr::vector<ListedEntry> entries;
    listEntries(entries, directory, filter, bare);
    out.clear();
    out.reserve(128);
    for (ListedEntry& entry : entries)
        out.push_back(std::move(entry.name));
}

zr::vector<zr::string> Manager::sourcesOf(const char* mountPoint)
{
    zr::vector<zr::string> sources;
    const std::lock_guard guard(lock);
    for (const DriverRef& driver : drivers)
        if (driver->mountPoint == mountPoint) sources.push_back(driver->path);
    return sources;
}

void Manager::forEachMount(MountCallback callback, void* context)
{
    const std::lock_guard guard(lock);
    for (std::size_t i = 0; i < drivers.size(); ++i) // the callback may mount and unmount
        callback(drivers[i]->mountPoint.c_str(), drivers[i]->path.c_str(), context);
}

void Manager::forEachDriver(DriverCallback callback, void* context)
{
    const std::lock_guard guard(lock);
    for (std::size_t i = 0; i < drivers.size(); ++i) // the callback may mount and unmount
        callback(*drivers[i], context);
}

void Manager::resetDrivers()
{
    const std::lock_guard guard(lock);
    for (const DriverRef& driver : drivers)
        driver->reset();
}

void Manager::addFactory(std::shared_ptr<IDriverFactory> factory, bool back)
{
    const std::lock_guard guard(lock);
    if (!factory || std::find(factories.begin(), factories.end(), factory) != factories.end()) return;
    factories.insert(back ? factories.end() : factories.begin(), std::move(factory));
}

void Manager::removeFactory(const std::shared_ptr<IDriverFactory>& factory)
{
    const std::lock_guard guard(lock);
    std::erase(factories, factory);
}

void Manager::clearFactories()
{
    const std::lock_guard guard(lock);
    factories.clear();
}

void Manager::setMountFilter(MountFilter filter, void* context)
{
    const std::lock_guard guard(lock);
    mountFilter = filter;
    mountFilterContext = context;
}

namespace
{
Manager theManager;
} // namespace

Manager& manager()
{
    return theManager;
}

zr::BufferRef loadBuffer(std::string_view path, bool quiet)
{
    if (!isVirtualPath(path)) return loadRealFile(path, quiet);
    zr::BufferRef content;
    manager().openBuffer(content, path, quiet);
    return content;
}
} // namespace zrvfs
