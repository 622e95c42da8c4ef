#include <zrvfs/EntryPaths.h>

#include <algorithm>

#include <zr/log/Log.h>

namespace zrvfs
{
namespace
{
std::string_view trimmedOf(std::string_view path)
{
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

bool climbs(std::string_view path)
{
    return path.ends_with("/..") || path.find("/../") != path.npos;
}

/// Tested on the normalised path: ".x/../y" climbs out, for all that it seems to stay.
bool liesUnder(std::string_view path, std::string_view mountPoint, bool isDirectory)
{
    if (isDirectory && path == trimmedOf(mountPoint)) return true;
    return path.starts_with(mountPoint) && !climbs(path.substr(mountPoint.size() - 1));
}

void logLeftOut(std::string_view mountPoint, std::string_view name)
{
    constexpr std::size_t kShown = 1024;
    ZR_LOG(zr::log::kCoreTag, zr::log::kWarning, "Left out, as it doesn't lie under its mount point %.*s: %.*s",
           static_cast<int>(std::min(mountPoint.size(), kShown)), mountPoint.data(),
           static_cast<int>(std::min(name.size(), kShown)), name.data());
}
} // namespace

bool addEntryPaths(TextPool& texts, std::string_view mountPoint, std::string_view name, std::string_view sourcePath,
                   bool trimmed, EntryPaths& paths)
{
    PathString joined;
    joinPath(mountPoint, name, joined);
    const PathString normalized = normalizePath(joined.view(), false);
    const std::string_view path = trimmed ? trimmedOf(normalized.view()) : normalized.view();
    if (!liesUnder(path, mountPoint, trimmed) || path.size() > TextPool::kMaxLength ||
        sourcePath.size() > TextPool::kMaxLength)
    {
        logLeftOut(mountPoint, name);
        return false;
    }
    paths.path = texts.add(path);
    const PathString lowered = normalizePath(path, true);
    paths.lowerPath = lowered.view() == path ? paths.path : texts.add(lowered.view());
    if (path.ends_with(sourcePath))
        paths.sourcePath = {(paths.path.offset + path.size() - sourcePath.size()) & ((zr::u64{1} << 40) - 1),
                            sourcePath.size() & TextPool::kMaxLength};
    else
        paths.sourcePath = texts.add(sourcePath);
    return true;
}
} // namespace zrvfs
