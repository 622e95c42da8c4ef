#include <zrvfs/Drivers/FSDriver.h>

#include <algorithm>

#include <zr/log/Log.h>
#include <zr/unordered_map.h>
#include <zrvfs/Drivers/DataProviders/WinFileRaw.h>
#include <zrvfs/FileReaders.h>
#include <zrvfs/RealDirectory.h>
#include <zrvfs/RealFiles.h>
#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
/// Links can lead to one directory on very many ways; more than this are no content but a trap.
constexpr zr::u32 kMaxVisits = 64;

/// Walks a directory and all below it, each directory's names in order and what lies below a directory right behind it.
/// The way down is a list, not the call stack: directories can be nested as deep as paths are long.
class Walk
{
public:
    /// Tells of everything below `root`, with the path from there on: `callback(path below the root, type)`.
    template <class Callback>
    void run(const zr::string& root, Callback callback)
    {
        enter(root, "");
        while (!way.empty())
        {
            if (way.back().next == way.back().names.size())
            {
                way.pop_back();
                continue;
            }
            const RealName name = std::move(way.back().names[way.back().next++]);
            const zr::string below = way.back().below + name.name;
            const zr::u32 type = typeOf(root, below, name.kind);
            if (type == 0) continue;
            callback(below, type);
            if (type == kDirectory) enter(root, below + '/');
        }
    }

private:
    struct Level
    {
        zr::string below; ///< with a trailing slash, but for the root
        zr::vector<RealName> names;
        std::size_t next;
        platform::PathInfo info;
    };

    static zr::string join(const zr::string& root, const zr::string& below)
    {
        return root.ends_with('/') ? root + below : root + '/' + below;
    }

    /// 0 for what is neither file nor directory, or has gone.
    static zr::u32 typeOf(const zr::string& root, const zr::string& below, platform::NameKind kind)
    {
        if (kind == platform::NameKind::kFile) return kFile;
        if (kind == platform::NameKind::kDirectory) return kDirectory;
        FileStat stat;
        return statRealPath(join(root, below), stat) ? stat.type : 0;
    }

    void enter(const zr::string& root, const zr::string& below)
    {
        const zr::string directory = join(root, below);
        Level level{below, {}, 0, {}};
        platform::Error error = platform::getPathInfo(directory.c_str(), level.info);
        if (!error && !mayEnter(level.info, directory)) return;
        if (!error) error = listRealDirectory(directory, level.names);
        if (error) reportFileError(directory, error, "FindFirstFileEx()");
        way.push_back(std::move(level));
    }

    bool mayEnter(const platform::PathInfo& info, const zr::string& directory)
    {
        const auto isSame = [&info](const Level& level)
        { return level.info.node == info.node && level.info.device == info.device; };
        // Nodes of two devices can have one number; they share the bound then.
        const zr::u32 visit = ++visits[info.node];
        const bool isRound = std::any_of(way.begin(), way.end(), isSame);
        if (isRound ? visit == 2 : visit == kMaxVisits + 1) // of many refusals, one is told
            ZR_LOG(zr::log::kCoreTag, zr::log::kWarning, "Left out, as links lead there again and again: %s",
                   directory.c_str());
        return !isRound && visit <= kMaxVisits;
    }

    zr::vector<Level> way;
    zr::unordered_map<zr::u64, zr::u32> visits;
};
} // namespace

FSDriver::FSDriver(const MountRequest& request) : Driver(request, request.path)
{
    scan(findRealPath(path));
}

void FSDriver::scan(const zr::string& root)
{
    entries.reserve(64);
    zr::string real = root == "." && path.empty() ? zr::string() : root;
    if (!real.empty() && !real.ends_with('/')) real += '/';
    const std::size_t rootLength = real.size();
    Walk().run(root,
               [&](const zr::string& below, zr::u32 type)
               {
                   real.resize(rootLength);
                   real += below;
                   FileEntry entry;
                   entry.type = type;
                   if (addEntryPaths(texts, mountPoint, below, real, type == kDirectory, entry))
                       entries.push_back(entry);
               });
    texts.shrink();
}

void FSDriver::forEachEntry(EntryCallback callback, void* context)
{
    for (std::size_t i = 0; i < entries.size(); ++i)
        callback(context, i, texts.at(entries[i].lowerPath), texts.at(entries[i].path), entries[i].type);
}

bool FSDriver::stat(zr::u64 index, FileStat& out)
{
    if (statRealPath(sourceOf(index), out)) return true;
    out = {};
    return false;
}

FilePtr FSDriver::openFile(zr::u64 index)
{
    return WinFileRaw::openForReading(sourceOf(index), DriverRef(this), path, false);
}

void FSDriver::openBuffer(zr::BufferRef& out, zr::u64 index)
{
    bool found;
    out = isDirectory(index) ? nullptr : readRealFile(sourceOf(index), found, false);
}

void FSDriver::openReader(zr::ReaderPtr& out, zr::u64 index)
{
    out = isDirectory(index) ? nullptr : makeOwningReader(openFile(index));
}

void FSDriverFactory::create(DriverRef& out, const MountRequest& request, char*, zr::u64, bool& stop)
{
    stop = false;
    FileStat stat;
    const bool isDirectory = statRealPath(request.path, stat) && stat.type == kDirectory;
    out = isDirectory ? DriverRef(new FSDriver(request)) : nullptr;
}
} // namespace zrvfs
