#pragma once

#include <platform/directories.h>
#include <zr/containers.h>

namespace zrvfs
{
struct RealName
{
    zr::string name;
    platform::NameKind kind;
};

/// The names in a real directory, in the order of their bytes, whatever order the system has; hidden ones, which begin
/// with a dot, and those of pipes, sockets and devices are left out.
platform::Error listRealDirectory(const zr::string& directory, zr::vector<RealName>& names);
} // namespace zrvfs
