#pragma once

#include <span>

#include "io/ByteBuffer.h"
#include <zr/containers.h>

namespace model
{
/// The bytes of a whole file: its parts, one behind the other. Some lie in `own`; the others belong to what was written
/// and are good until that changes.
struct FileParts
{
    ByteBuffer own;
    zr::vector<std::span<const u8>> parts;
};
} // namespace model
