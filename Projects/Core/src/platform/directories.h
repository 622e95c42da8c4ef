#pragma once

#include <platform/error.h>
#include <platform/files.h>

namespace platform
{
/// What `forEachName` tells of a name, without a look at the thing itself.
enum class NameKind
{
    kFile,
    kDirectory,
    kOther,   ///< a pipe, a socket, a device
    kUnknown, ///< a symbolic link, or the file system doesn't tell: see `getPathInfo`
};

/// Calls back for each name in a directory but those of itself and its parent, in the system's order. The name is valid
/// during the call. What the callback raises goes through.
///
/// returns why the directory couldn't be opened, or not be read to its end
Error forEachName(const char* directory, void (*callback)(void* context, const char* name, NameKind kind),
                  void* context);
} // namespace platform
