#pragma once

#include <string_view>

#include <platform/files.h>
#include <zr/containers.h>

namespace zrvfs
{
/// Whether a path belongs to the tree of mounts.
inline bool isVirtualPath(std::string_view path)
{
    return path.starts_with('/');
}

/// The path under which the system finds what `path` names, whatever its capitals: itself where something stands there,
/// otherwise the first, in the order of bytes, of those that differ in capitals alone, component by component. A path
/// that leads nowhere comes back as it was given. The empty path is the working directory.
zr::string findRealPath(std::string_view path);

/// Calls `open(const char*)`, which gives a `platform::Error`, with the path as given, and after a failure with the
/// path that `findRealPath` finds. A path that holds a NUL byte names nothing.
template <class Open>
platform::Error withRealPath(std::string_view path, Open open)
{
    if (path.find('\0') != path.npos) return open("");
    const zr::string exact(path.empty() ? "." : path);
    const platform::Error error = open(exact.c_str());
    if (!error || platform::pathExists(exact.c_str())) return error;
    const zr::string found = findRealPath(path);
    return found == exact ? error : open(found.c_str());
}
} // namespace zrvfs
